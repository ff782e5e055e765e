#include "tools/ribtool/library/older_forms.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace ribtool
{

namespace
{

constexpr size_t PATH_COUNT_OFFSET = 24;

void append_name(byte_vector &out, std::string_view name, size_t room)
{
    const std::string_view kept = name.substr(0, room - 1);
    out.insert(out.end(), kept.begin(), kept.end());
    out.resize(out.size() + room - kept.size());
}

uint8_t family_of(const ip_address &address)
{
    return address.is_ipv6 ? 2 : 1;
}

} // namespace

byte_vector payload_of(const older_proto &update)
{
    byte_vector payload;
    append_be16(payload, update.proto_id);
    append_be16(payload, update.proto_sub_id);
    append_be32(payload, update.proto_value);
    append_name(payload, update.name, OLDER_PROTO_NAME_ROOM);
    append_name(payload, update.extra_name, OLDER_PROTO_EXTRA_NAME_ROOM);
    return payload;
}

byte_vector payload_of(const older_opaque &update)
{
    byte_vector payload;
    append_be16(payload, update.opaque_type);
    append_be16(payload, 0);
    append_be32(payload, update.opaque_id);
    append_be16(payload, static_cast<uint16_t>(update.first_block.size()));
    append_be16(payload, update.sub_id);
    append_be32(payload, update.value);
    append_be32(payload, static_cast<uint32_t>(update.second_block.size()));
    append_be32(payload, 0);
    append_bytes(payload, update.first_block);
    append_bytes(payload, update.second_block);
    return payload;
}

byte_vector payload_of(const older_route &update)
{
    byte_vector payload;
    payload.push_back(family_of(update.prefix.address));
    payload.push_back(update.prefix.length);
    append_be16(payload, update.kind);
    append_be32(payload, update.metric);
    append_bytes(payload, update.prefix.address.bytes);
    append_be16(payload, static_cast<uint16_t>(update.paths.size()));
    append_be16(payload, 0);
    for (const older_path &path : update.paths) {
        append_be32(payload, family_of(path.next_hop));
        append_bytes(payload, path.next_hop.bytes);
        append_be32(payload, path.metric);
    }
    return payload;
}

std::string older_proto_violation(byte_span payload)
{
    if (payload.size() >= OLDER_PROTO_LEN)
        return {};
    return fmt::format("an older-form protocol update has {} bytes of payload, this one {}", OLDER_PROTO_LEN,
                       payload.size());
}

std::string older_route_violation(byte_span payload)
{
    if (payload.size() < OLDER_ROUTE_FIXED_LEN)
        return fmt::format("an older-form route update has at least {} bytes of payload, this one {}",
                           OLDER_ROUTE_FIXED_LEN, payload.size());
    const size_t path_count = read_be16(payload.data() + PATH_COUNT_OFFSET);
    const size_t needed = OLDER_ROUTE_FIXED_LEN + path_count * OLDER_ROUTE_PATH_LEN;
    if (payload.size() == needed)
        return {};
    return fmt::format("an older-form route update of {} paths has {} bytes of payload, this one {}", path_count,
                       needed, payload.size());
}

older_route_head older_route_head_of(const uint8_t *payload)
{
    return {
        payload[0],
        payload[1],
        read_be16(payload + 2),
        read_be32(payload + 4),
        std::span<const uint8_t, 16>(payload + 8, 16),
        read_be16(payload + PATH_COUNT_OFFSET),
    };
}

} // namespace ribtool
