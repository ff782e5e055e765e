// Addresses and prefixes as text, as bytes and in messages.
//
// A message holds an IPv4 address as a number (10.0.0.1 is 0x0a000001) and an IPv6 address as two numbers whose memory
// image is the address in network order; the client's 16-byte address stores get both as they are.

#pragma once

#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tools/ribtool/messages/scratch.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ribtool
{

struct ip_address {
    bool is_ipv6 = false;
    std::array<uint8_t, 16> bytes{}; // IPv4: the first four

    uint8_t bit_count() const { return is_ipv6 ? 128 : 32; }
    bool operator==(const ip_address &) const = default;
};

struct ip_prefix {
    ip_address address;
    uint8_t length = 0;

    bool operator==(const ip_prefix &) const = default;
};

std::optional<ip_address> parse_address(std::string_view text);
std::optional<ip_prefix> parse_prefix(std::string_view text); // "10.0.0.0/8"

std::string ipv4_text(uint32_t value);
std::string ipv6_text(const uint8_t *bytes);
std::string prefix_text(const ip_prefix &prefix);

// Clears the bits behind the first `length`.
void mask_address(ip_address &address, uint8_t length);

zidl_rib_address address_message(const ip_address &address);
zidl_rib_ipv6_address ipv6_message(const ip_address &address);
zidl_rib_prefix prefix_message(const ip_prefix &prefix);
zidl_rib_msg_prefix flat_prefix_message(const ip_prefix &prefix, scratch &memory);

} // namespace ribtool
