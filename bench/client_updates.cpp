#include "bench/client_updates.hpp"

#include "tools/ribtool/encode.hpp"
#include "tools/ribtool/generate/random_grids.hpp"
#include "tools/ribtool/generate/random_routes.hpp"
#include "tools/ribtool/generate/random_updates.hpp"
#include "tools/ribtool/generate/table_source.hpp"
#include "tools/ribtool/table_file.hpp"

#include <cstdlib>
#include <stdexcept>

namespace bench
{
namespace
{

constexpr uint64_t seed = 2026;
constexpr size_t update_total = 10'000;
constexpr size_t grid_total = 500;
constexpr uint32_t grid_keys = 16;
constexpr size_t real_route_total = 130'000;

} // namespace

bytes make_client_route(uint32_t paths)
{
    ribtool::random_source random(seed);
    ribtool::scratch memory;
    zidl_rib_route route = ribtool::random_ecmp_route(random, memory, 1);
    route.paths = memory.array<zidl_rib_path>(paths);
    route.paths_count = paths;
    for (uint32_t i = 0; i < paths; ++i)
        route.paths[i] = random_path(random, memory, ribtool::PATH_LABELS, ribtool::extent::small);
    return ribtool::encoded(route);
}

const std::vector<std::string_view> &client_update_kinds()
{
    static const std::vector<std::string_view> kinds = {"proto", "opaque", "route", "service", "grid", "nhid"};
    return kinds;
}

client_updates make_client_updates(std::string_view kind)
{
    ribtool::random_source random(seed);
    ribtool::scratch memory;
    ribtool::table_source table;
    client_updates made{};
    const auto draw = [&]() -> ribtool::update {
        if (kind == "proto")
            return random_proto(random, memory);
        if (kind == "opaque")
            return random_opaque(random, memory);
        if (kind == "route")
            return {RIB_TLV_ROUTE, ribtool::encoded(route_message(table.draw_single_path(random), memory))};
        if (kind == "service")
            return {RIB_TLV_ROUTE, ribtool::encoded(random_service_route(random, memory))};
        if (kind == "grid")
            return {RIB_TLV_GRID,
                    ribtool::encoded(random_grid(random, memory, grid_keys, true, ribtool::extent::usual))};
        if (kind == "nhid")
            return ribtool::random_nhid(random);
        throw std::invalid_argument("no such kind of update: " + std::string(kind));
    };
    const size_t total = kind == "grid" ? grid_total : update_total;
    while (made.payloads.size() < total) {
        memory.reset();
        ribtool::update update = draw();
        made.code = update.code;
        made.payloads.push_back(std::move(update.payload));
    }
    return made;
}

std::optional<workload> make_real_workload()
{
    const char *const folder = std::getenv("RIB_DATA_DIR");
    if (folder == nullptr)
        return std::nullopt;
    workload made{"real", zidl::find_message("rib_route"), {}};
    ribtool::table_file table(std::string(folder) + "/feed_full_2015.tsv.xz");
    ribtool::scratch memory;
    ribtool::table_route route;
    uint64_t time_us = 0;
    while (made.messages.size() < real_route_total && table.next(route, time_us)) {
        memory.reset();
        made.messages.push_back(ribtool::encoded(route_message(route, memory)));
    }
    return made;
}

} // namespace bench
