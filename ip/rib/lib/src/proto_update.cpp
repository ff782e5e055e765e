// Protocol updates: an identifier with its names, encoded or as the record itself.

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/decoded_message.hpp"
#include "ip/rib/lib/src/rib_assert.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/update_frame.hpp"
#include "messages/ip_rib.h"
#include "platform/rib_strutil.h"

using namespace rib_client;

namespace
{

using decoded_proto_update =
    decoded_message<zidl_ip_rib_proto_update, zidl_ip_rib_proto_update_decode_ext, zidl_ip_rib_proto_update_free_ext>;

void fill_protoid_map(const zidl_ip_rib_proto_update &proto, rib_protoid_map &map)
{
    COPY_PRESENT(map.proto_id, ip_rib_proto_update, proto, proto_id);
    COPY_PRESENT(map.proto_sub_id, ip_rib_proto_update, proto, proto_sub_id);
    COPY_PRESENT(map.proto_value, ip_rib_proto_update, proto, proto_value);
    // The room of the first name is that of both: a long one runs on into the second member, deliberately.
    char *names = reinterpret_cast<char *>(&map) + offsetof(rib_protoid_map, proto_name);
    constexpr size_t room = sizeof map.proto_name + sizeof map.proto_extra_name;
    if (zidl_ip_rib_proto_update_has_proto_name(&proto))
        __strcpy_to_buf(room, names, proto.proto_name);
    SHOWS_TEXT(proto.proto_name, sizeof map.proto_name, room);
    if (zidl_ip_rib_proto_update_has_proto_extra_name(&proto))
        __strcpy_to_buf(sizeof map.proto_extra_name, map.proto_extra_name, proto.proto_extra_name);
    SHOWS_TEXT(proto.proto_extra_name, sizeof map.proto_extra_name, sizeof map.proto_extra_name);
}

// By contract a whole record, whatever the payload's stated length.
rib_protoid_map *convert_old_protoid_map(uint8_t *payload)
{
    swap_u16(payload + offsetof(rib_protoid_map, proto_id));
    swap_u16(payload + offsetof(rib_protoid_map, proto_sub_id));
    swap_u32(payload + offsetof(rib_protoid_map, proto_value));
    return reinterpret_cast<rib_protoid_map *>(payload);
}

} // namespace

extern "C" void rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer callback, updatetype_local *update,
                                               void *ctx)
{
    static constexpr char prototype[] =
        "void rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer, updatetype_local *, void *)";
    rib_protoid_map map;
    memset(&map, 0, sizeof map);
    uchar_t *cursor;
    strip_frame(*update, cursor);

    switch (update->tlv_type) {
    case RIB_TLV_PROTO: {
        decoded_proto_update decoded;
        const zidl_ip_rib_proto_update &zidl_proto = decoded.msg;
        if (decoded.decode(update->payload, update->payload_len) != ZIDL_OK)
            return;
        if (!zidl_ip_rib_proto_update_has_proto_id(&zidl_proto))
            LEAVE(reason::missing_proto_id, zidl_proto.proto_id);
        RIB_ASSERT(API_PARSE, 168, zidl_ip_rib_proto_update_has_proto_id(&zidl_proto), reason::missing_proto_id);
        fill_protoid_map(zidl_proto, map);
        decoded.release();
        callback(update->update_id, &map, ctx);
        return;
    }
    case RIB_TLV_OLD_PROTO:
        callback(update->update_id, convert_old_protoid_map(update->payload), ctx);
        return;
    default:
        RIB_ASSERT(API_PARSE, 188, 0, reason::wrong_entry_point);
    }
}
