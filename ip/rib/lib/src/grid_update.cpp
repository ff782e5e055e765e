// Grid updates: lists of encapsulation keys, and IDs of next hops.

#include <stdint.h>
#include <string.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/decoded_message.hpp"
#include "ip/rib/lib/src/rib_assert.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/update_frame.hpp"
#include "messages/rib_encap.h"

using namespace rib_client;

namespace
{

using decoded_nhid_update =
    decoded_message<zidl_rib_nhid_update, zidl_rib_nhid_update_decode_ext, zidl_rib_nhid_update_free_ext>;

// The two arrays take nearly half a megabyte of stack; out of line, so that next-hop IDs do without.
__attribute__((noinline)) void deliver_grid_list(rib_grid_update_func_pointer callback, const updatetype_local &update,
                                                 void *ctx)
{
    uint64_t encap_ids[GRID_MAX_KEYS];
    rib_encap_id_path_key_t keys[GRID_MAX_KEYS];
    grid_sync_list list;
    memset(encap_ids, 0, sizeof encap_ids);
    memset(keys, 0, sizeof keys);
    memset(&list, 0, sizeof list);
    list.encap_ids = encap_ids;
    list.keys = keys;
    const zerrno status = rib_server_decode_grid_list_update(update.payload, update.payload_len, &list);
    ENDS_WITH(status);
    if (status == ZERRNO_OK)
        callback(&list, ctx, update.tlv_type);
}

void fill_nhid_update(const zidl_rib_nhid_update &msg, nhid_update_local &nhid)
{
    const zidl_rib_nhid_encap_key &key = msg.nhid_encap_key;
    if (zidl_rib_nhid_encap_key_has_nhid_key_address(&key)) // says all, since the message was decoded to its end
        rib_lib_route_address_unpack(&key.nhid_key_address, nhid.address, &nhid.address_family);
    COPY_PRESENT(nhid.key_value_3, rib_nhid_encap_key, key, nhid_key_value_3);
    COPY_PRESENT(nhid.key_value_1, rib_nhid_encap_key, key, nhid_key_value_1);
    COPY_PRESENT(nhid.key_value_4, rib_nhid_encap_key, key, nhid_key_value_4);
    COPY_PRESENT(nhid.nhid, rib_nhid_update, msg, nhid);
    COPY_PRESENT(nhid.update_value_1, rib_nhid_update, msg, nhid_update_value_1);
}

void deliver_nhid_update(rib_grid_update_func_pointer callback, const updatetype_local &update, void *ctx)
{
    decoded_nhid_update decoded;
    if (decoded.decode(update.payload, update.payload_len) != ZIDL_OK)
        return;
    auto nhid = nhid_update_local(); // all of it 0, padding too
    nhid.nhid = RIB_NO_NHID;
    fill_nhid_update(decoded.msg, nhid);
    if (!zidl_rib_nhid_update_has_nhid_update_value_1(&decoded.msg))
        return LEAVE(reason::missing_field, decoded.msg.nhid_update_value_1); // owns nothing
    decoded.release();
    callback(&nhid, ctx, update.tlv_type);
}

} // namespace

extern "C" void rib_lib_pvt_parse_grid_update(rib_grid_update_func_pointer callback, updatetype_local *update,
                                              void *ctx)
{
    static constexpr char prototype[] =
        "void rib_lib_pvt_parse_grid_update(rib_grid_update_func_pointer, updatetype_local *, void *)";
    uchar_t *cursor;
    strip_frame(*update, cursor);

    switch (update->tlv_type) {
    case RIB_TLV_NHID:
        deliver_nhid_update(callback, *update, ctx);
        return;
    case RIB_TLV_GRID:
        deliver_grid_list(callback, *update, ctx);
        return;
    default:
        RIB_ASSERT(API_PARSE, 127, 0, reason::wrong_entry_point);
    }
}
