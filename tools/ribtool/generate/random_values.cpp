#include "tools/ribtool/generate/random_values.hpp"

namespace ribtool
{

uint32_t list_len(random_source &random, extent size, uint32_t small, uint32_t usual, uint32_t full)
{
    switch (size) {
    case extent::small:
        return random.between(1, small);
    case extent::usual:
        return random.between(1, usual);
    case extent::full:
        break;
    }
    return full;
}

uint32_t random_label(random_source &random)
{
    constexpr uint32_t FIRST_UNRESERVED = 16;
    constexpr uint32_t LABELS = 1u << 20;
    return FIRST_UNRESERVED + random.below(LABELS - FIRST_UNRESERVED);
}

byte_vector random_bytes(random_source &random, size_t count)
{
    byte_vector bytes(count);
    for (uint8_t &byte : bytes)
        byte = static_cast<uint8_t>(random.below(256));
    return bytes;
}

uint32_t random_as(random_source &random)
{
    // A quarter has four bytes.
    return random.one_in(4) ? 131072 + random.below(300000) : 1 + random.below(64495);
}

ip_address random_address(random_source &random, bool is_ipv6)
{
    ip_address address;
    address.is_ipv6 = is_ipv6;
    for (size_t index = 0; index < (is_ipv6 ? 16u : 4u); ++index)
        address.bytes[index] = static_cast<uint8_t>(random.below(256));
    if (is_ipv6)
        address.bytes[0] = static_cast<uint8_t>(0x20 | (address.bytes[0] & 0x1f));
    else
        address.bytes[0] = static_cast<uint8_t>(1 + address.bytes[0] % 223);
    return address;
}

ip_prefix random_prefix(random_source &random, bool is_ipv6)
{
    ip_prefix prefix;
    prefix.address = random_address(random, is_ipv6);
    prefix.length = static_cast<uint8_t>(is_ipv6 ? random.between(32, 128) : random.between(8, 32));
    mask_address(prefix.address, prefix.length);
    return prefix;
}

} // namespace ribtool
