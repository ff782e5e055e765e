#include "bench/client_updates.hpp"

#include "bench/client_routes.hpp"
#include "tools/ribtool/generate/random_grids.hpp"
#include "tools/ribtool/generate/random_routes.hpp"
#include "tools/ribtool/generate/random_updates.hpp"
#include "tools/ribtool/generate/table_source.hpp"
#include "tools/ribtool/messages/encode.hpp"
#include "tools/ribtool/tables/table_file.hpp"

#include <cstdlib>
#include <functional>
#include <stdexcept>

namespace bench
{
namespace
{

using ribtool::random_source;
using ribtool::scratch;
using ribtool::update;

constexpr uint64_t seed = 2026;
constexpr size_t update_total = 10'000;
constexpr size_t grid_total = 500;
constexpr uint32_t grid_keys = 16;
constexpr size_t route_total = 256; // of one number of paths
constexpr size_t real_route_total = 130'000;

struct source {
    random_source random{seed};
    scratch memory;
    ribtool::table_source table;
};

template <class Message>
update route_update(const Message &route)
{
    return {RIB_TLV_ROUTE, ribtool::encoded(route)};
}

struct recipe {
    std::string_view kind;
    size_t total;
    std::function<update(source &)> draw;
};

recipe routes(std::string_view kind, zidl_rib_route (*make)(random_source &, scratch &, uint32_t), uint32_t paths)
{
    return {kind, route_total, [=](source &from) { return route_update(make(from.random, from.memory, paths)); }};
}

update draw_grid(source &from)
{
    return {RIB_TLV_GRID,
            ribtool::encoded(random_grid(from.random, from.memory, grid_keys, true, ribtool::extent::usual))};
}

const std::vector<recipe> &recipes()
{
    static const std::vector<recipe> all = {
        {"proto", update_total, [](source &from) { return random_proto(from.random, from.memory); }},
        {"opaque", update_total, [](source &from) { return random_opaque(from.random, from.memory); }},
        {"nhid", update_total, [](source &from) { return ribtool::random_nhid(from.random); }},
        {"grid", grid_total, draw_grid},
        {"old_proto", update_total, [](source &from) { return ribtool::random_older_proto(from.random); }},
        {"old_opaque", update_total, [](source &from) { return ribtool::random_older_opaque(from.random); }},
        {"old_route", update_total, [](source &from) { return ribtool::random_older_route(from.random); }},
        {"route", update_total,
         [](source &from) {
             return route_update(route_message(from.table.draw_single_path(from.random), from.memory));
         }},
        {"service", update_total,
         [](source &from) { return route_update(random_service_route(from.random, from.memory)); }},
        routes("sparse_1", sparse_route, 1),
        routes("sparse_4", sparse_route, 4),
        routes("sparse_64", sparse_route, 64),
        routes("rich_1", rich_route, 1),
        routes("rich_4", rich_route, 4),
        routes("rich_64", rich_route, 64),
    };
    return all;
}

void *allocate(size_t size, void *)
{
    return std::malloc(size);
}

void give_back(void *block, void *)
{
    std::free(block);
}

// Takes a value out of a message, with its presence bit.
template <class Message>
void clear(Message &msg, uint32_t Message::*member, void (*set)(Message *, uint32_t))
{
    Message only{};
    set(&only, 0);
    msg.presence &= ~only.presence;
    msg.*member = 0;
}

// The same route as a client takes it: without the marks that keep it from the route or from one of its paths.
bytes taken_by_clients(const bytes &encoded)
{
    zidl_rib_route route;
    if (zidl_rib_route_decode_ext(&route, encoded.data(), encoded.size(), allocate, nullptr, 0) != ZIDL_OK)
        throw std::runtime_error("a route cannot be decoded");
    clear(route, &zidl_rib_route::route_value_34, zidl_rib_route_set_route_value_34);
    for (uint32_t i = 0; i < route.paths_count; ++i)
        clear(route.paths[i], &zidl_rib_path::path_value_27, zidl_rib_path_set_path_value_27);
    bytes payload = ribtool::encoded(route);
    zidl_rib_route_free_ext(&route, give_back, nullptr, 0);
    return payload;
}

client_updates make_table()
{
    client_updates made{RIB_TLV_ROUTE, {}};
    for (const bytes &route : make_workload("mixed").messages)
        made.payloads.push_back(taken_by_clients(route));
    return made;
}

} // namespace

const std::vector<std::string_view> &client_update_kinds()
{
    static const std::vector<std::string_view> kinds = {"proto",   "opaque",   "nhid",     "grid",      "route",
                                                        "service", "sparse_1", "sparse_4", "sparse_64", "rich_1",
                                                        "rich_4",  "rich_64",  "table"};
    return kinds;
}

const std::vector<std::string_view> &older_update_kinds()
{
    static const std::vector<std::string_view> kinds = {"old_proto", "old_opaque", "old_route"};
    return kinds;
}

client_updates make_client_updates(std::string_view kind)
{
    if (kind == "table")
        return make_table();
    for (const recipe &one : recipes()) {
        if (one.kind != kind)
            continue;
        source from;
        client_updates made{};
        while (made.payloads.size() < one.total) {
            from.memory.reset();
            update drawn = one.draw(from);
            made.code = drawn.code;
            made.payloads.push_back(std::move(drawn.payload));
        }
        return made;
    }
    throw std::invalid_argument("no such kind of update: " + std::string(kind));
}

bytes make_client_route(uint32_t paths)
{
    source from;
    return ribtool::encoded(sparse_route(from.random, from.memory, paths));
}

std::optional<workload> make_real_workload()
{
    const char *const folder = std::getenv("RIB_DATA_DIR");
    if (folder == nullptr)
        return std::nullopt;
    workload made{"real", zidl::find_message("rib_route"), {}};
    ribtool::table_file table(std::string(folder) + "/feed_full_2015.tsv.xz");
    scratch memory;
    ribtool::table_route route;
    uint64_t time_us = 0;
    while (made.messages.size() < real_route_total && table.next(route, time_us)) {
        memory.reset();
        made.messages.push_back(ribtool::encoded(route_message(route, memory)));
    }
    return made;
}

} // namespace bench
