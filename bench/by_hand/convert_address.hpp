// Addresses and prefixes by hand.

#pragma once

#include "bench/by_hand/member_access.hpp"
#include "ip/rib/lib/src/rib_lib.h"

#include <cstring>

namespace bench::by_hand
{

template <class Message>
void convert_ipv6(const Message &msg, uint8_t *out16)
{
    const uint64_t halves[] = {GET(msg, half0), GET(msg, half1)};
    std::memcpy(out16, halves, sizeof halves);
}

template <class Message>
bool convert_address(const Message &msg, uint8_t *out16, uint32_t *family_out)
{
    if (!HAS(msg, family))
        return false;
    const uint32_t family = GET(msg, family);
    if (family_out != nullptr)
        *family_out = family;
    if (family == RIB_FAMILY_IPV4 && HAS(msg, ipv4)) {
        const uint32_t ipv4 = GET(msg, ipv4);
        std::memcpy(out16, &ipv4, sizeof ipv4);
        return true;
    }
    if (family == RIB_FAMILY_IPV6 && HAS(msg, ipv6)) {
        if (HAS(GET(msg, ipv6), half0))
            convert_ipv6(GET(msg, ipv6), out16);
        return true;
    }
    return false;
}

// The address lies in a cleared record.
template <class Message>
bool convert_prefix(const Message &msg, uint8_t *out16, uint32_t *len_out, uint32_t *family_out)
{
    *len_out = HAS(msg, prefix_len) ? GET(msg, prefix_len) : RIB_NO_PREFIX_LEN;
    return !HAS(msg, address) || convert_address(GET(msg, address), out16, family_out);
}

} // namespace bench::by_hand
