// The older forms of updates: fixed layouts with big-endian numbers instead of messages.
//
// Code 37, opaque:    0 type 16, 2 unused 16, 4 identifier 32, 8 length of the first block 16, 10 sub-identifier 16,
//                     12 value 32, 16 length of the second block 32, 20 unused 32, 24 first block, then second block
// Code 38, protocol:  0 identifier 16, 2 second identifier 16, 4 value 32, 8 name 41 bytes, 49 extra name 43 bytes
// Code 3, route:      the converter of this form belongs to the client; ribtool's own layout is
//                     0 family 8 (1 IPv4, 2 IPv6), 1 prefix length 8, 2 update kind 16, 4 metric 32, 8 address 128,
//                     24 number of paths 16, 26 unused 16, then for each path of 24 bytes:
//                     0 family of the next hop 32, 4 next hop 128, 20 metric 32

#pragma once

#include "tools/ribtool/addresses.hpp"
#include "tools/ribtool/frames/frame.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ribtool
{

constexpr size_t OLDER_PROTO_LEN = 92;
constexpr size_t OLDER_PROTO_NAME_ROOM = 41;
constexpr size_t OLDER_PROTO_EXTRA_NAME_ROOM = 43;
constexpr size_t OLDER_OPAQUE_FIXED_LEN = 24;
constexpr size_t OLDER_ROUTE_FIXED_LEN = 28;
constexpr size_t OLDER_ROUTE_PATH_LEN = 24;

// The kinds of an older-form route update. The library has the record of a withdrawn route released before the callback.
enum older_route_kind : uint16_t { OLDER_ROUTE_CURRENT = 1, OLDER_ROUTE_WITHDRAWN = 2 };

struct older_proto {
    uint16_t proto_id = 0;
    uint16_t proto_sub_id = 0;
    uint32_t proto_value = 0;
    std::string_view name; // cut to the room
    std::string_view extra_name;
};

struct older_opaque {
    uint16_t opaque_type = 0;
    uint32_t opaque_id = 0;
    uint16_t sub_id = 0;
    uint32_t value = 0;
    byte_span first_block;
    byte_span second_block;
};

struct older_path {
    ip_address next_hop;
    uint32_t metric = 0;
};

struct older_route {
    ip_prefix prefix;
    uint16_t kind = OLDER_ROUTE_CURRENT;
    uint32_t metric = 0;
    std::vector<older_path> paths;
};

byte_vector payload_of(const older_proto &update);
byte_vector payload_of(const older_opaque &update);
byte_vector payload_of(const older_route &update);

// Why an entry point must not see this payload, or empty. These two forms name records whose length the library does not
// check: that is the sender's contract, so whoever reads from a file looks first.
std::string older_proto_violation(byte_span payload);
std::string older_route_violation(byte_span payload);

// The fixed part of a route's payload, in which older_route_violation() finds nothing.
struct older_route_head {
    uint8_t family;
    uint8_t prefix_len;
    uint16_t kind;
    uint32_t metric;
    std::span<const uint8_t, 16> address; // IPv4: the first four
    uint16_t path_count;
};
older_route_head older_route_head_of(const uint8_t *payload);

} // namespace ribtool
