#include "tools/ribtool/state/update_effect.hpp"

#include "messages/ip_rib.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tools/ribtool/library/older_forms.hpp"

#include <cstring>

namespace ribtool
{

namespace
{

update_effect delivered(const update_key &key)
{
    update_effect effect;
    effect.key = key;
    return effect;
}

// ---- The older forms, whose layouts are fixed ----

update_effect effect_of_older_route(byte_span payload)
{
    update_effect effect;
    if (!older_route_violation(payload).empty()) {
        effect.outcome = RIB_REFUSED;
        effect.reason = RIB_REASON_not_tried_too_short;
        return effect;
    }
    const older_route_head head = older_route_head_of(payload.data());
    effect.key = route_key(head.family, head.address, head.prefix_len);
    effect.withdraws = head.path_count == 0 || head.kind == OLDER_ROUTE_WITHDRAWN;
    return effect;
}

std::optional<update_effect> effect_of_older_protocol(byte_span payload)
{
    if (payload.size() < OLDER_PROTO_LEN)
        return {};
    return delivered(protocol_key(read_be16(payload.data()), read_be16(payload.data() + 2)));
}

// Lengths whose sum wraps in 32 bits are not plain.
std::optional<update_effect> effect_of_older_opaque(byte_span payload)
{
    if (payload.size() < OLDER_OPAQUE_FIXED_LEN)
        return {};
    const uint64_t first_len = read_be16(payload.data() + 8);
    const uint64_t second_len = read_be32(payload.data() + 16);
    if (first_len + second_len > payload.size() - OLDER_OPAQUE_FIXED_LEN)
        return {};
    return delivered(opaque_key(read_be32(payload.data() + 4), read_be16(payload.data() + 10)));
}

// ---- Routes ----

bool is_plain(const zidl_rib_address &address)
{
    if (!zidl_rib_address_has_family(&address))
        return false;
    return address.family == RIB_FAMILY_IPV4
               ? zidl_rib_address_has_ipv4(&address)
               : address.family == RIB_FAMILY_IPV6 && zidl_rib_ipv6_address_has_half0(&address.ipv6);
}

// Nothing when the prefix is not plain.
std::optional<update_key> key_of(const zidl_rib_route &msg)
{
    rib_address_bytes bytes = {};
    if (!zidl_rib_route_has_route_prefix(&msg))
        return route_key_of_record(0, bytes, 0);
    const zidl_rib_prefix &prefix = msg.route_prefix;
    const auto len =
        static_cast<uint8_t>(zidl_rib_prefix_has_prefix_len(&prefix) ? prefix.prefix_len : RIB_NO_PREFIX_LEN);
    if (!zidl_rib_prefix_has_address(&prefix))
        return route_key_of_record(0, bytes, len);
    const zidl_rib_address &address = prefix.address;
    if (!is_plain(address))
        return {};
    if (address.family == RIB_FAMILY_IPV4) {
        std::memcpy(bytes, &address.ipv4, sizeof address.ipv4);
    } else {
        std::memcpy(bytes, &address.ipv6.half0, sizeof address.ipv6.half0);
        std::memcpy(bytes + sizeof address.ipv6.half0, &address.ipv6.half1, sizeof address.ipv6.half1);
    }
    return route_key_of_record(address.family, bytes, len);
}

// A path with nothing in it that could have it rejected.
bool is_plain(const zidl_rib_path &path)
{
    return !zidl_rib_path_has_path_value_27(&path) && !zidl_rib_path_has_path_address_4(&path) &&
           (!zidl_rib_path_has_path_address_5(&path) || is_plain(path.path_address_5)) &&
           !zidl_rib_path_has_path_ipv6_address(&path) && !zidl_rib_path_has_path_prefix(&path) &&
           !zidl_rib_path_has_path_values_9(&path) && !zidl_rib_path_has_path_addresses(&path) &&
           !zidl_rib_path_has_srv6_sid_infos(&path);
}

// ---- Explained updates ----

update_key key_of(const rib_explanation &of)
{
    switch (of.record_kind) {
    case RIB_RECORD_PROTO: {
        rib_protoid_map map; // it may lie anywhere
        std::memcpy(&map, of.record, sizeof map);
        return protocol_key(map.proto_id, map.proto_sub_id);
    }
    case RIB_RECORD_OPAQUE:
        return opaque_key(static_cast<const rib_opaque_update *>(of.record)->opaque_id, of.sub_id);
    case RIB_RECORD_ROUTE: {
        const auto &route = *static_cast<const struct rib_routetype_ *>(of.record);
        return route_key_of_record(route.rt_family, route.rt_dest, route.rt_prefix_len);
    }
    case RIB_RECORD_NHID:
        return next_hop_key(static_cast<const nhid_update_local *>(of.record)->nhid);
    case RIB_RECORD_GRID:
    case RIB_RECORD_NONE:
    case RIB_RECORD_MESSAGE:
    case RIB_RECORD_KIND_COUNT:
        break;
    }
    return {};
}

} // namespace

update_effect effect_reader::read(uint16_t code, byte_span payload)
{
    if (const std::optional<update_effect> effect = read_plain(code, payload))
        return *effect;
    return read_explained(code, payload);
}

update_effect effect_reader::read_explained(uint16_t code, byte_span payload)
{
    if (code == RIB_TLV_OLD_ROUTE)
        return effect_of_older_route(payload);
    explained_ = explain(code, payload, RIB_WITHOUT_LOSSES);
    update_effect effect;
    effect.outcome = explained_->outcome;
    effect.reason = explained_->reason;
    if (effect.outcome != RIB_DELIVERED)
        return effect;
    effect.key = key_of(*explained_);
    effect.withdraws = explained_->record_kind == RIB_RECORD_ROUTE &&
                       static_cast<const struct rib_routetype_ *>(explained_->record)->rt_path_count == 0;
    return effect;
}

std::optional<update_effect> effect_reader::read_plain(uint16_t code, byte_span payload)
{
    switch (code) {
    case RIB_TLV_OLD_OPAQUE:
        return effect_of_older_opaque(payload);
    case RIB_TLV_OLD_PROTO:
        return effect_of_older_protocol(payload);
    case RIB_TLV_PROTO:
        return read_protocol(payload);
    case RIB_TLV_NHID:
        return read_next_hop(payload);
    case RIB_TLV_OPAQUE:
        return read_opaque(payload);
    case RIB_TLV_ROUTE:
        return read_route(payload);
    default:
        return {};
    }
}

// What the decoder says of a message it says of every copy of it: blocks are not copied.
template <class Message, auto Decode>
bool effect_reader::decode(Message &msg, byte_span payload)
{
    zidl_arena_reset(&arena_);
    return Decode(&msg, payload.data(), payload.size(), zidl_arena_alloc, &arena_, ZIDL_ZERO_COPY) == ZIDL_OK;
}

std::optional<update_effect> effect_reader::read_route(byte_span payload)
{
    zidl_rib_route msg;
    if (!decode<zidl_rib_route, zidl_rib_route_decode_ext>(msg, payload) || zidl_rib_route_has_route_value_34(&msg))
        return {};
    const std::optional<update_key> key = key_of(msg);
    if (!key)
        return {};
    update_effect effect = delivered(*key);
    effect.withdraws = !brings_path(msg);
    return effect;
}

bool effect_reader::brings_path(const zidl_rib_route &msg)
{
    for (uint32_t index = 0; index < msg.paths_count; ++index) {
        if (is_plain(msg.paths[index]) || is_converted(msg.paths[index]))
            return true;
    }
    return false;
}

// The library's own word on it.
bool effect_reader::is_converted(const zidl_rib_path &path)
{
    if (zidl_rib_path_has_path_value_27(&path))
        return false;
    entry_.resize(sizeof(rib_path_entry) / sizeof entry_[0] + path.ecomm.ecomm_count);
    void *slot = entry_.data();
    return rib_lib_route_path_unpack(&path, &slot, nullptr) != 0;
}

std::optional<update_effect> effect_reader::read_protocol(byte_span payload)
{
    zidl_ip_rib_proto_update msg;
    if (!decode<zidl_ip_rib_proto_update, zidl_ip_rib_proto_update_decode_ext>(msg, payload) ||
        !zidl_ip_rib_proto_update_has_proto_id(&msg))
        return {};
    return delivered(protocol_key(static_cast<uint16_t>(msg.proto_id), static_cast<uint16_t>(msg.proto_sub_id)));
}

std::optional<update_effect> effect_reader::read_opaque(byte_span payload)
{
    zidl_ip_rib_opaque msg;
    if (!decode<zidl_ip_rib_opaque, zidl_ip_rib_opaque_decode_ext>(msg, payload))
        return {};
    return delivered(opaque_key(msg.opaque_id, msg.opaque_sub_id));
}

std::optional<update_effect> effect_reader::read_next_hop(byte_span payload)
{
    zidl_rib_nhid_update msg;
    if (!decode<zidl_rib_nhid_update, zidl_rib_nhid_update_decode_ext>(msg, payload) ||
        !zidl_rib_nhid_update_has_nhid_update_value_1(&msg))
        return {};
    return delivered(next_hop_key(zidl_rib_nhid_update_has_nhid(&msg) ? msg.nhid : RIB_NO_NHID));
}

} // namespace ribtool
