// Numbers, addresses and labels that look like those of a router.

#pragma once

#include "tools/ribtool/addresses.hpp"
#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/generate/random.hpp"

#include <cstddef>
#include <cstdint>

namespace ribtool
{

// How much a message carries. Small ones leave room for a thousand of their kind in one update; full ones carry as much
// as a client takes.
enum class extent { small, usual, full };

// The length of a list in a message: exactly `full`, or 1 to `small` or `usual`.
uint32_t list_len(random_source &random, extent size, uint32_t small, uint32_t usual, uint32_t full);

uint32_t random_label(random_source &random);
uint32_t random_as(random_source &random);
byte_vector random_bytes(random_source &random, size_t count);

// An address that a router may forward to: 1.0.0.0 to 223.255.255.255, or out of 2000::/3.
ip_address random_address(random_source &random, bool is_ipv6);
ip_prefix random_prefix(random_source &random, bool is_ipv6);

} // namespace ribtool
