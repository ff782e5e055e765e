// What must hold for the routes of any reader of a kernel's tables.

#pragma once

#include "fuzz/source_routes.hpp"
#include "tools/ribtool/tables/kernel_source.hpp"

// The payloads of all routes up to the end or to what is malformed. No route is without a path, and times rise.
inline std::vector<ribtool::byte_vector> kernel_routes_of(ribtool::kernel_source &source)
{
    uint64_t next_time_us = 0;
    return routes_of(source, [&](const ribtool::table_route &route, uint64_t time_us) {
        const bool is_sound = !route.paths.empty() && time_us >= next_time_us;
        next_time_us = time_us + 1;
        return is_sound;
    });
}
