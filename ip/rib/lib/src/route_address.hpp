// Addresses and prefixes of routes. What is present: a nested message is when its own bit says so or anything inside it is.
// In a decoded message the bit is set whenever something inside is, so that the bit alone decides there.

#ifndef IP_RIB_LIB_SRC_ROUTE_ADDRESS_HPP
#define IP_RIB_LIB_SRC_ROUTE_ADDRESS_HPP

#include <stdint.h>
#include <string.h>

#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/witness.hpp"
#include "messages/rib_common.h"

namespace rib_client
{

static bool has_any(const zidl_rib_ipv6_address &ipv6)
{
    return zidl_rib_ipv6_address_has_half0(&ipv6) || zidl_rib_ipv6_address_has_half1(&ipv6);
}

static bool has_any(const zidl_rib_address &address)
{
    return zidl_rib_address_has_family(&address) || zidl_rib_address_has_ipv4(&address) ||
           zidl_rib_address_has_ipv6(&address) || has_any(address.ipv6);
}

static bool has_address(const zidl_rib_prefix &prefix)
{
    return zidl_rib_prefix_has_address(&prefix) || has_any(prefix.address);
}

static bool has_any(const zidl_rib_prefix &prefix)
{
    return has_address(prefix) || zidl_rib_prefix_has_prefix_len(&prefix);
}

static void copy_ipv6(uint8_t *out16, const zidl_rib_ipv6_address &ipv6)
{
    memcpy(out16, &ipv6.half0, sizeof ipv6.half0);
    memcpy(out16 + sizeof ipv6.half0, &ipv6.half1, sizeof ipv6.half1);
    SHOWS(ipv6.half0);
    SHOWS(ipv6.half1);
}

static zerrno unpack_address(const zidl_rib_address &address, uint8_t *out16, uint32_t *family_out)
{
    if (!zidl_rib_address_has_family(&address))
        return REJECT_FOR(reason::missing_field, address, address.family, ZERRNO_MALFORMED);
    if (family_out != nullptr) {
        *family_out = address.family;
        SHOWS(address.family);
    }
    LEAVE(reason::other_family, address); // what remains unseen, if nothing below is wrong

    switch (address.family) {
    case RIB_FAMILY_IPV4:
        if (!zidl_rib_address_has_ipv4(&address))
            return REJECT_FOR(reason::missing_field, address, address.ipv4, ZERRNO_MALFORMED);
        memcpy(out16, &address.ipv4, sizeof address.ipv4);
        SHOWS(address.family);
        SHOWS(address.ipv4);
        return ZERRNO_OK;
    case RIB_FAMILY_IPV6:
        if (!zidl_rib_address_has_ipv6(&address) && !has_any(address.ipv6))
            return REJECT_FOR(reason::missing_field, address, address.ipv6, ZERRNO_MALFORMED);
        if (zidl_rib_ipv6_address_has_half0(&address.ipv6)) {
            copy_ipv6(out16, address.ipv6);
            SHOWS(address.family);
        } else { // success all the same, deliberately
            LEAVE(reason::ipv6_without_first_half, address.ipv6);
            SHOWS_AS(address.family, family_out != nullptr ? address.family : 0, reason::ipv6_without_first_half);
        }
        return ZERRNO_OK;
    default:
        return REJECT_FOR(reason::bad_family, address, address.family, ZERRNO_UNSUPPORTED);
    }
}

// The length is stored before the address is looked at, and stays when that fails.
static zerrno unpack_prefix(const zidl_rib_prefix &prefix, uint8_t *out16, uint32_t *len_out, uint32_t *family_out)
{
    *len_out = zidl_rib_prefix_has_prefix_len(&prefix) ? prefix.prefix_len : RIB_NO_PREFIX_LEN;
    SHOWS(prefix.prefix_len);
    if (has_address(prefix))
        return unpack_address(prefix.address, out16, family_out);
    memset(out16, 0, sizeof(rib_address_bytes));
    return ZERRNO_OK;
}

} // namespace rib_client

#endif
