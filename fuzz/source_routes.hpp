// What must hold for the routes of any reader of tables.

#pragma once

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/messages/encode.hpp"
#include "tools/ribtool/tables/route_source.hpp"

#include <cstdlib>
#include <string>
#include <vector>

// The payloads of all routes up to the end or to what is malformed. `is_sound` gets each route with its time, for what more must hold.
template <class Check>
std::vector<ribtool::byte_vector> routes_of(ribtool::route_source &source, Check is_sound)
{
    std::vector<ribtool::byte_vector> payloads;
    ribtool::scratch memory;
    ribtool::table_route route;
    uint64_t time_us = 0;
    try {
        while (source.next(route, time_us)) {
            ribtool::ip_address masked = route.prefix.address;
            ribtool::mask_address(masked, route.prefix.length);
            const bool is_prefix = route.prefix.length <= masked.bit_count() && masked == route.prefix.address;
            if (!is_prefix || source.place().empty() || !is_sound(route, time_us))
                std::abort();
            memory.reset();
            payloads.push_back(ribtool::encoded(ribtool::route_message(route, memory)));
        }
    } catch (const ribtool::failure &problem) {
        if (std::string(problem.what()).empty())
            std::abort();
    }
    for (const ribtool::left_out &each : source.left_out_so_far()) {
        if (each.count == 0 || each.what.empty())
            std::abort();
    }
    return payloads;
}

inline std::vector<ribtool::byte_vector> routes_of(ribtool::route_source &source)
{
    return routes_of(source, [](const ribtool::table_route &, uint64_t) { return true; });
}
