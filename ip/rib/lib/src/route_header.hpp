// What nearly every route has: its destination, its scalars and its flags. The record is all zero before.

#ifndef IP_RIB_LIB_SRC_ROUTE_HEADER_HPP
#define IP_RIB_LIB_SRC_ROUTE_HEADER_HPP

#include <stdint.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/route_address.hpp"
#include "messages/rib_common.h"

namespace rib_client
{

static bool unpack_destination(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    if (!zidl_rib_route_has_route_prefix(&msg))
        return true;
    uint32_t len = 0;
    uint32_t family = 0;
    if (unpack_prefix(msg.route_prefix, route.rt_dest, &len, &family) != ZERRNO_OK)
        return false;
    route.rt_prefix_len = static_cast<uint8_t>(len);
    SHOWS_AS(msg.route_prefix.prefix_len, route.rt_prefix_len, reason::narrowed);
    route.rt_family = family;
    return true;
}

// A decoded scalar without its bit is 0: the first are copied without a look at their bits, which would cost more, and the
// others are asked for once, all of them together.
static void unpack_scalars(const zidl_rib_route &__restrict msg, struct rib_routetype_ &__restrict route)
{
    copy(route.rt_value_2, msg.route_value_2);
    copy(route.rt_value_3, msg.route_value_3);
    copy(route.rt_value_5, msg.route_value_5);
    copy(route.rt_value_9, msg.route_value_9);
    copy(route.rt_value_10, msg.route_value_10);
    copy(route.rt_value_12, msg.route_value_12);
    copy(route.rt_value_13, msg.route_value_13);
    copy(route.rt_value_14, msg.route_value_14);
    copy(route.rt_value_15, msg.route_value_15);
    copy(route.rt_value_16, msg.route_value_16);
    copy(route.rt_value_40, msg.route_value_40);
    copy(route.rt_value_41, msg.route_value_41);

#define OTHERS(EACH)                                                                                                   \
    EACH(4)                                                                                                            \
    EACH(6) EACH(7) EACH(8) EACH(11) EACH(18) EACH(19) EACH(20) EACH(21) EACH(22) EACH(25) EACH(37) EACH(38)
#define OR_HAS(number) || zidl_rib_route_has_route_value_##number(&msg)
#define COPY(number) copy(route.rt_value_##number, msg.route_value_##number);
    if (false OTHERS(OR_HAS)) {
        OTHERS(COPY)
    }
#undef COPY
#undef OR_HAS
#undef OTHERS
}

// The others are dropped.
constexpr uint64_t CLIENT_FLAGS = 0x3FEF;

// Bits 0 to 3 and 5 to 7 stay, bit 8 becomes bit 4, bits 9 to 13 become 8 to 12.
static uint64_t client_flags(uint64_t flags)
{
    return (flags & 0xEF) | (flags >> 4 & 0x10) | (flags >> 1 & 0x1F00);
}

static void unpack_flags(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    constexpr uint64_t COPIES_VALUE_35 = 1 << 2;
    if (zidl_rib_route_has_route_flags(&msg))
        route.rt_flags = client_flags(msg.route_flags);
    SHOWS_AS(msg.route_flags, msg.route_flags & CLIENT_FLAGS, reason::masked);
    if (!zidl_rib_route_has_route_value_35(&msg))
        return;
    route.rt_value_35 = static_cast<uint8_t>(msg.route_value_35);
    SHOWS_AS(msg.route_value_35, route.rt_value_35, reason::narrowed);
    if ((route.rt_flags & COPIES_VALUE_35) != 0)
        route.rt_value_35_copy = static_cast<uint8_t>(msg.route_value_35);
}

} // namespace rib_client

#endif
