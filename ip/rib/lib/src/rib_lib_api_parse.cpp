// The four parse entry points: remove the frame, choose by the type code, convert, call the client.

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/decoded_message.hpp"
#include "ip/rib/lib/src/rib_assert.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "messages/ip_rib.h"
#include "messages/rib_encap.h"
#include "platform/rib_strutil.h"
#include "platform/rib_tlv.h"

using namespace rib_client;

namespace
{

constexpr char source_path[] = "ip/rib/lib/src/rib_lib_api_parse";

using decoded_proto_update =
    decoded_message<zidl_ip_rib_proto_update, zidl_ip_rib_proto_update_decode_ext, zidl_ip_rib_proto_update_free_ext>;
using decoded_nhid_update =
    decoded_message<zidl_rib_nhid_update, zidl_rib_nhid_update_decode_ext, zidl_rib_nhid_update_free_ext>;
// A callback may keep the blocks, and gives them to free.
using decoded_opaque = heap_message<zidl_ip_rib_opaque, zidl_ip_rib_opaque_decode_ext, zidl_ip_rib_opaque_free_ext>;

// ---- The frame ----

// A frame may start at any address.
uint16_t load_u16(const void *address)
{
    uint16_t value;
    memcpy(&value, address, sizeof value);
    return value;
}

uint32_t load_u32(const void *address)
{
    uint32_t value;
    memcpy(&value, address, sizeof value);
    return value;
}

// Leaves `cursor` at the payload. Returns the header, null when the update came stripped.
rib_tlv_t *strip_frame(updatetype_local &update, uchar_t *&cursor)
{
    cursor = update.payload;
    if (update.stripped != 0)
        return nullptr;
    rib_tlv_t *header = rib_tlv_strip(&cursor);
    uint8_t *bytes = reinterpret_cast<uint8_t *>(header);
    update.tlv_type = load_u16(bytes + offsetof(rib_tlv_t, type));
    update.payload = bytes + sizeof(rib_tlv_t);
    update.payload_len = load_u16(bytes + offsetof(rib_tlv_t, length));
    return header;
}

void swap_u16(uint8_t *number)
{
    const uint16_t value = __builtin_bswap16(load_u16(number));
    memcpy(number, &value, sizeof value);
}

void swap_u32(uint8_t *number)
{
    const uint32_t value = __builtin_bswap32(load_u32(number));
    memcpy(number, &value, sizeof value);
}

// ---- Protocol updates ----

void fill_protoid_map(const zidl_ip_rib_proto_update &proto, rib_protoid_map &map)
{
#define COPY(member) copy_if(zidl_ip_rib_proto_update_has_##member(&proto), map.member, proto.member)
    COPY(proto_id);
    COPY(proto_sub_id);
    COPY(proto_value);
#undef COPY
    // The room of the first name is that of both: a long one runs on into the second member, deliberately.
    char *names = reinterpret_cast<char *>(&map) + offsetof(rib_protoid_map, proto_name);
    if (zidl_ip_rib_proto_update_has_proto_name(&proto))
        __strcpy_to_buf(sizeof map.proto_name + sizeof map.proto_extra_name, names, proto.proto_name);
    if (zidl_ip_rib_proto_update_has_proto_extra_name(&proto))
        __strcpy_to_buf(sizeof map.proto_extra_name, map.proto_extra_name, proto.proto_extra_name);
}

// By contract a whole record, whatever the payload's stated length.
rib_protoid_map *convert_old_protoid_map(uint8_t *payload)
{
    swap_u16(payload + offsetof(rib_protoid_map, proto_id));
    swap_u16(payload + offsetof(rib_protoid_map, proto_sub_id));
    swap_u32(payload + offsetof(rib_protoid_map, proto_value));
    return reinterpret_cast<rib_protoid_map *>(payload);
}

// ---- Opaque updates ----

void fill_opaque_update(const zidl_ip_rib_opaque &msg, rib_opaque_update &opaque)
{
    opaque.opaque_id = msg.opaque_id;
    opaque.first_block = msg.first_block;
    opaque.first_len = static_cast<uint32_t>(msg.first_block_size);
#define COPY(member, field, value) copy_if(zidl_ip_rib_opaque_has_##field(&msg), opaque.member, msg.value)
    COPY(opaque_type, opaque_type, opaque_type);
    COPY(second_block, second_block, second_block);
    COPY(second_len, second_block, second_block_size);
    COPY(opaque_value, opaque_value, opaque_value);
#undef COPY
}

// The fixed part of an older-form opaque update; the blocks follow it. Bytes 2, 3 and 20 to 23 are not used.
enum old_opaque : uint32_t {
    OLD_OPAQUE_TYPE = 0,        // 2 bytes
    OLD_OPAQUE_ID = 4,          // 4 bytes
    OLD_OPAQUE_FIRST_LEN = 8,   // 2 bytes
    OLD_OPAQUE_SUB_ID = 10,     // 2 bytes
    OLD_OPAQUE_VALUE = 12,      // 4 bytes
    OLD_OPAQUE_SECOND_LEN = 16, // 4 bytes
    OLD_OPAQUE_FIXED_LEN = 24
};

// A payload may break off anywhere: numbers that do not lie wholly inside it stay as they are.
void convert_old_opaque(uint8_t *payload, uint32_t payload_len)
{
    const auto convert_u16 = [=](uint32_t offset) {
        if (payload_len >= offset + sizeof(uint16_t))
            swap_u16(payload + offset);
    };
    const auto convert_u32 = [=](uint32_t offset) {
        if (payload_len >= offset + sizeof(uint32_t))
            swap_u32(payload + offset);
    };
    convert_u16(OLD_OPAQUE_TYPE);
    convert_u32(OLD_OPAQUE_ID);
    convert_u16(OLD_OPAQUE_FIRST_LEN);
    convert_u16(OLD_OPAQUE_SUB_ID);
    convert_u32(OLD_OPAQUE_VALUE);
    convert_u32(OLD_OPAQUE_SECOND_LEN);
}

// The sum of the two lengths wraps at 32 bits, deliberately; only what comes out is compared with the payload.
bool old_opaque_fits(const uint8_t *payload, uint32_t payload_len)
{
    if (payload_len < OLD_OPAQUE_FIXED_LEN)
        return false;
    const uint32_t blocks_len = load_u16(payload + OLD_OPAQUE_FIRST_LEN) + load_u32(payload + OLD_OPAQUE_SECOND_LEN);
    return blocks_len <= payload_len - OLD_OPAQUE_FIXED_LEN;
}

void fill_old_opaque_update(uint8_t *payload, rib_opaque_update &opaque)
{
    opaque.opaque_type = load_u16(payload + OLD_OPAQUE_TYPE);
    opaque.opaque_id = load_u32(payload + OLD_OPAQUE_ID);
    opaque.first_len = load_u16(payload + OLD_OPAQUE_FIRST_LEN);
    opaque.opaque_value = load_u32(payload + OLD_OPAQUE_VALUE);
    opaque.first_block = payload + OLD_OPAQUE_FIXED_LEN;
    opaque.second_len = load_u32(payload + OLD_OPAQUE_SECOND_LEN);
    if (opaque.second_len != 0)
        opaque.second_block = opaque.first_block + opaque.first_len;
}

// ---- Routes ----

// The longest payload of an encoded route so far: the library's only state.
uint32_t payload_high_water;

void raise_payload_high_water(uint32_t payload_len)
{
    uint32_t highest = __atomic_load_n(&payload_high_water, __ATOMIC_RELAXED);
    while (payload_len > highest && !__atomic_compare_exchange_n(&payload_high_water, &highest, payload_len, true,
                                                                 __ATOMIC_RELAXED, __ATOMIC_RELAXED)) {}
}

void release_route(struct rib_routetype_ *route)
{
    if (route == nullptr)
        return;
    free(route->rt_advertisement);
    for (void *block : route->rt_attr_blocks)
        if (block != nullptr) // most are: saves the calls
            free(block);
    free(route);
}

void deliver_route(const updatetype_local &update, const rib_route_client *client)
{
    struct rib_routetype_ *route;
    const zerrno status = rib_lib_route_decode(update.payload, update.payload_len, &route);
    if (status == ZERRNO_OK && client->encoded_route != nullptr)
        client->encoded_route(update.update_id, route, client->context);
    release_route(route);
}

// ---- Grids and next-hop IDs ----

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
    if (rib_server_decode_grid_list_update(update.payload, update.payload_len, &list) == ZERRNO_OK)
        callback(&list, ctx, update.tlv_type);
}

bool has_address(const zidl_rib_nhid_encap_key &key)
{
    const zidl_rib_address &address = key.nhid_key_address;
    return zidl_rib_nhid_encap_key_has_nhid_key_address(&key) || zidl_rib_address_has_family(&address) ||
           zidl_rib_address_has_ipv4(&address) || zidl_rib_address_has_ipv6(&address);
}

void fill_nhid_update(const zidl_rib_nhid_update &msg, nhid_update_local &nhid)
{
    const zidl_rib_nhid_encap_key &key = msg.nhid_encap_key;
    if (has_address(key))
        rib_lib_route_address_unpack(&key.nhid_key_address, nhid.address, &nhid.address_family);
    copy_if(zidl_rib_nhid_encap_key_has_nhid_key_value_3(&key), nhid.key_value_3, key.nhid_key_value_3);
    copy_if(zidl_rib_nhid_encap_key_has_nhid_key_value_1(&key), nhid.key_value_1, key.nhid_key_value_1);
    copy_if(zidl_rib_nhid_encap_key_has_nhid_key_value_4(&key), nhid.key_value_4, key.nhid_key_value_4);
    copy_if(zidl_rib_nhid_update_has_nhid(&msg), nhid.nhid, msg.nhid);
    copy_if(zidl_rib_nhid_update_has_nhid_update_value_1(&msg), nhid.update_value_1, msg.nhid_update_value_1);
}

void deliver_nhid_update(rib_grid_update_func_pointer callback, const updatetype_local &update, void *ctx)
{
    decoded_nhid_update decoded;
    if (decoded.decode(update.payload, update.payload_len) != ZIDL_OK)
        return;
    nhid_update_local nhid;
    memset(&nhid, 0, sizeof nhid);
    nhid.nhid = RIB_NO_NHID;
    fill_nhid_update(decoded.msg, nhid);
    if (!zidl_rib_nhid_update_has_nhid_update_value_1(&decoded.msg))
        return; // owns nothing
    decoded.release();
    callback(&nhid, ctx, update.tlv_type);
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
        RIB_ASSERT(168, zidl_ip_rib_proto_update_has_proto_id(&zidl_proto));
        fill_protoid_map(zidl_proto, map);
        decoded.release();
        callback(update->update_id, &map, ctx);
        return;
    }
    case RIB_TLV_OLD_PROTO:
        callback(update->update_id, convert_old_protoid_map(update->payload), ctx);
        return;
    default:
        RIB_ASSERT(188, 0);
    }
}

extern "C" void rib_lib_pvt_parse_opaque_update(rib_opaque_update_func_pointer callback, updatetype_local *update,
                                                void *ctx)
{
    static constexpr char prototype[] =
        "void rib_lib_pvt_parse_opaque_update(rib_opaque_update_func_pointer, updatetype_local *, void *)";
    rib_opaque_update opaque;
    memset(&opaque, 0, sizeof opaque);
    uchar_t *cursor;
    strip_frame(*update, cursor);

    switch (update->tlv_type) {
    case RIB_TLV_OPAQUE: {
        decoded_opaque decoded;
        if (decoded.decode(update->payload, update->payload_len) != ZIDL_OK)
            return;
        fill_opaque_update(decoded.msg, opaque);
        callback(update->update_id, decoded.msg.opaque_sub_id, &opaque, ctx);
        if (update->tlv_type == RIB_TLV_OPAQUE) // a callback keeps the blocks by changing the code, deliberately
            decoded.release();
        return;
    }
    case RIB_TLV_OLD_OPAQUE:
        convert_old_opaque(update->payload, update->payload_len);
        rib_tlv_handle_delim(&cursor);
        if (!old_opaque_fits(update->payload, update->payload_len))
            return;
        fill_old_opaque_update(update->payload, opaque);
        callback(update->update_id, load_u16(update->payload + OLD_OPAQUE_SUB_ID), &opaque, ctx);
        return;
    default:
        RIB_ASSERT(337, 0);
    }
}

extern "C" void rib_lib_pvt_parse_route_update(updatetype_local *update, rib_route_func_pointer route_cb,
                                               struct rib_routetype_ *(*legacy_convert)(rib_tlv_t *, uchar_t **),
                                               void (*legacy_release)(struct rib_routetype_ *), int keep, void *ctx)
{
    static constexpr char prototype[] =
        "void rib_lib_pvt_parse_route_update(updatetype_local *, rib_route_func_pointer, "
        "struct rib_routetype_ *(*)(rib_tlv_t *, uchar_t **), void (*)(struct rib_routetype_ *), int, void *)";
    constexpr uint16_t RELEASED_KIND = 2;
    uchar_t *cursor;
    rib_tlv_t *header = strip_frame(*update, cursor);

    switch (update->tlv_type) {
    case RIB_TLV_ROUTE:
        raise_payload_high_water(update->payload_len);
        if (ctx != nullptr)
            deliver_route(*update, static_cast<const rib_route_client *>(ctx));
        return;
    case RIB_TLV_OLD_ROUTE: {
        const bool releases = keep == 0 && update->update_kind == RELEASED_KIND;
        if (legacy_convert == nullptr || route_cb == nullptr || (releases && legacy_release == nullptr))
            return; // the peer chose a form that the client does not expect
        struct rib_routetype_ *route = legacy_convert(header, &cursor);
        if (releases) // before the callback, deliberately
            legacy_release(route);
        route_cb(update->update_id, route, ctx);
        return;
    }
    default:
        RIB_ASSERT(264, 0);
    }
}

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
        RIB_ASSERT(127, 0);
    }
}

extern "C" uint32_t rib_lib_route_payload_high_water(void)
{
    return __atomic_load_n(&payload_high_water, __ATOMIC_RELAXED);
}
