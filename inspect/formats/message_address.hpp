// What messages that are addresses or prefixes say, as people write it: 192.0.2.1, 2001:db8::/32.

#pragma once

#include "messages/descriptors.hpp"

#include <cstdint>
#include <span>
#include <string>

namespace rib_inspect
{

// From the encoding of a message of one of these types. Empty for other types, and
// where it says none: without its family's value, or with bytes that do not decode. Of two values the family's counts.
std::string message_address(const zidl::message_descriptor &type, std::span<const uint8_t> encoded);

} // namespace rib_inspect
