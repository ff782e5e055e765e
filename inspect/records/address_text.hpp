// Addresses as text.

#pragma once

#include "inspect/records/client_records.hpp"

#include <string>

namespace rib_inspect
{

void append_ipv4(std::string &out, uint32_t value); // 0x0a000001 is 10.0.0.1
void append_ipv6(std::string &out, std::span<const uint8_t, 16> bytes);

// As a client's record holds it; 32 hex digits where the family is unknown.
void append_address(std::string &out, std::span<const uint8_t, 16> bytes, address_family family);

} // namespace rib_inspect
