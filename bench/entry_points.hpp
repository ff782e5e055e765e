// Updates as a client receives them, and the calls that take them.

#pragma once

#include "bench/client_updates.hpp"
#include "ip/rib/lib/src/rib_lib.h"

#include <span>

namespace bench
{

// The entry points of a client library: by default of the one that the program is linked with.
struct entry_points {
    decltype(&rib_lib_pvt_parse_proto_update) proto = rib_lib_pvt_parse_proto_update;
    decltype(&rib_lib_pvt_parse_opaque_update) opaque = rib_lib_pvt_parse_opaque_update;
    decltype(&rib_lib_pvt_parse_route_update) route = rib_lib_pvt_parse_route_update;
    decltype(&rib_lib_pvt_parse_grid_update) grid = rib_lib_pvt_parse_grid_update;
};

// What a client of all kinds of update has.
struct client_callbacks {
    rib_protoid_map_func_pointer proto;
    rib_opaque_update_func_pointer opaque;
    rib_route_func_pointer route;
    rib_grid_update_func_pointer grid;
    void *context;
};

// They look at the record and count it, for the thread that they run on.
extern const client_callbacks counting_callbacks;

enum class form {
    framed,  // a header in network byte order, the payload right behind it
    stripped // the payload alone
};

class arrivals
{
public:
    arrivals(const client_updates &updates, form how);

    // By the entry point for their code; returns how many reached the counting callbacks.
    size_t parse(const entry_points &entries, size_t first, size_t count,
                 const client_callbacks &client = counting_callbacks);
    size_t parse_all() { return parse({}, 0, count()); }
    std::span<const bytes> updates() const { return updates_; }
    size_t count() const { return updates_.size(); }
    size_t payload_bytes() const { return payload_bytes_; }

private:
    template <size_t converted> // leading bytes that a call converts in place
    void parse_each(const entry_points &entries, std::span<bytes> updates, const client_callbacks &client);

    uint16_t code_;
    form form_;
    size_t payload_bytes_ = 0;
    std::vector<bytes> updates_;
};

} // namespace bench
