// What an update is about: the key under which a client keeps what it brings, so that a later update of the same key takes its place.

#pragma once

#include "ip/rib/lib/src/rib_lib.h"
#include "tools/ribtool/addresses.hpp"
#include "tools/ribtool/output/json_line.hpp"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace ribtool
{

enum class key_kind : uint8_t { route, protocol, opaque, grid, next_hop };

// As the client's record shows it: what the record narrows is narrowed. Both forms of an update have the same keys. Keys are sorted
// by kind, routes by family, address and length, the others by their numbers.
struct update_key {
    key_kind kind = key_kind::route;
    uint8_t family = 0;              // of a route: RIB_FAMILY_; 0 without an address
    std::array<uint8_t, 16> value{}; // of a route its address in network order, else numbers of 32 or 64 bits, likewise
    uint8_t prefix_len = 0;          // of a route

    auto operator<=>(const update_key &) const = default;
};

// `address` is in network order; of other families than IPv6 its first four bytes count.
update_key route_key(uint32_t family, std::span<const uint8_t, 16> address, uint8_t prefix_len);
update_key route_key_of_record(uint32_t family, const rib_address_bytes &address, uint8_t prefix_len);
update_key protocol_key(uint16_t id, uint16_t sub_id);
update_key opaque_key(uint32_t id, uint32_t sub_id);
update_key grid_key(uint64_t encap_id);
update_key next_hop_key(uint64_t nhid);

uint64_t number_of(const update_key &key); // of a grid key or a next hop

// Of a route with an address of either family and no more bits in its length than the address has.
std::optional<ip_prefix> prefix_of(const update_key &key);

std::string_view kind_name(key_kind kind);            // "next-hop ID"
std::string key_text(const update_key &key);          // "10.0.0.0/8", "id 7 sub 0"
void add_key(json_line &line, const update_key &key); // an object "key"

} // namespace ribtool
