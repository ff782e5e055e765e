// Route updates: to the client's callback for encoded routes, or through its converter for those of the older form.

#include <stdint.h>

#include "ip/rib/lib/src/library_memory.hpp"
#include "ip/rib/lib/src/rib_assert.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/update_frame.hpp"

using namespace rib_client;

namespace
{

// The longest payload of an encoded route so far: the library's only state.
uint32_t payload_high_water;

void raise_payload_high_water(uint32_t payload_len)
{
    uint32_t highest = __atomic_load_n(&payload_high_water, __ATOMIC_RELAXED);
    while (payload_len > highest && !__atomic_compare_exchange_n(&payload_high_water, &highest, payload_len, true,
                                                                 __ATOMIC_RELAXED, __ATOMIC_RELAXED)) {}
}

void release_route(struct rib_routetype_ *route)
{
    if (route == nullptr)
        return;
    give_back(route->rt_advertisement);
    for (void *block : route->rt_attr_blocks)
        if (block != nullptr) // most are: saves the calls
            give_back(block);
    give_back(route);
}

void deliver_route(const updatetype_local &update, const rib_route_client *client)
{
    struct rib_routetype_ *route;
    const zerrno status = rib_lib_route_decode(update.payload, update.payload_len, &route);
    ENDS_WITH(status);
    if (status == ZERRNO_OK && client->encoded_route != nullptr)
        client->encoded_route(update.update_id, route, client->context);
    else if (status == ZERRNO_OK)
        LEAVE(reason::no_callback, update);
    release_route(route);
}

} // namespace

extern "C" void rib_lib_pvt_parse_route_update(updatetype_local *update, rib_route_func_pointer route_cb,
                                               struct rib_routetype_ *(*legacy_convert)(rib_tlv_t *, uchar_t **),
                                               void (*legacy_release)(struct rib_routetype_ *), int keep, void *ctx)
{
    static constexpr char prototype[] =
        "void rib_lib_pvt_parse_route_update(updatetype_local *, rib_route_func_pointer, "
        "struct rib_routetype_ *(*)(rib_tlv_t *, uchar_t **), void (*)(struct rib_routetype_ *), int, void *)";
    constexpr uint16_t RELEASED_KIND = 2;
    uchar_t *cursor;
    rib_tlv_t *header = strip_frame(*update, cursor);

    switch (update->tlv_type) {
    case RIB_TLV_ROUTE:
        raise_payload_high_water(update->payload_len);
        if (ctx != nullptr)
            deliver_route(*update, static_cast<const rib_route_client *>(ctx));
        else
            LEAVE(reason::no_callback, *update);
        return;
    case RIB_TLV_OLD_ROUTE: {
        const auto releases = [=] { return keep == 0 && update->update_kind == RELEASED_KIND; };
        if (legacy_convert == nullptr || route_cb == nullptr || (legacy_release == nullptr && releases()))
            return LEAVE(reason::no_callback, *update); // the peer chose a form that the client does not expect
        struct rib_routetype_ *route = legacy_convert(header, &cursor);
        // By the kind that the converter left, and before the callback, deliberately.
        if (legacy_release != nullptr && releases())
            legacy_release(route);
        route_cb(update->update_id, route, ctx);
        return;
    }
    default:
        RIB_ASSERT(API_PARSE, 264, 0, reason::wrong_entry_point);
    }
}

extern "C" uint32_t rib_lib_route_payload_high_water(void)
{
    return __atomic_load_n(&payload_high_water, __ATOMIC_RELAXED);
}
