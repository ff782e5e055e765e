// What must hold for the routes of any reader of a kernel's tables.

#pragma once

#include "tools/ribtool/encode.hpp"
#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/tables/kernel_source.hpp"

#include <cstdlib>
#include <string>
#include <vector>

// The payloads of all routes up to the end or to what is malformed.
inline std::vector<ribtool::byte_vector> routes_of(ribtool::route_source &source)
{
    std::vector<ribtool::byte_vector> payloads;
    ribtool::scratch memory;
    ribtool::table_route route;
    uint64_t time_us = 0;
    uint64_t next_time_us = 0;
    try {
        while (source.next(route, time_us)) {
            ribtool::ip_address masked = route.prefix.address;
            ribtool::mask_address(masked, route.prefix.length);
            const bool is_prefix = route.prefix.length <= masked.bit_count() && masked == route.prefix.address;
            if (!is_prefix || route.paths.empty() || time_us < next_time_us || source.place().empty())
                std::abort();
            next_time_us = time_us + 1;
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
