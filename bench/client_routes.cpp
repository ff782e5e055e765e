#include "bench/client_routes.hpp"

#include "ip/rib/lib/src/rib_lib.h"
#include "tools/ribtool/generate/random_routes.hpp"
#include "tools/ribtool/tables/table_route.hpp"

namespace bench
{

using ribtool::random_source;
using ribtool::scratch;

namespace
{

constexpr uint32_t algo_labels = 8;
constexpr uint32_t advertised_values = 12;
constexpr uint32_t attributes = 3; // an array
constexpr uint32_t attribute_size = 8;
constexpr uint32_t address_attribute_size_ipv4 = 12;
constexpr uint32_t address_attribute_size_ipv6 = 24;

// A prefix and scalars, with room for paths.
zidl_rib_route route_for(random_source &random, scratch &memory, uint32_t paths)
{
    zidl_rib_route route = ribtool::random_ecmp_route(random, memory, 1);
    route.paths = memory.array<zidl_rib_path>(paths);
    route.paths_count = paths;
    return route;
}

zidl_rib_path rich_path(random_source &random, scratch &memory, bool is_ipv6)
{
    zidl_rib_path path = random_path(random, memory, ribtool::PATH_EVERYTHING, ribtool::extent::usual);
    path.path_address_4 = ribtool::address_message(random_address(random, is_ipv6));
    zidl_rib_path_mark_path_address_4(&path);
    path.path_prefix = ribtool::prefix_message(random_prefix(random, is_ipv6));
    zidl_rib_path_mark_path_prefix(&path);
    zidl_rib_path_set_path_value_19(&path, ribtool::random_label(random));
    return path;
}

void add_blocks(zidl_rib_route &route, random_source &random, scratch &memory, bool is_ipv6)
{
    add_algo_labels(route, random, memory, algo_labels);
    add_advertisement(route, random, memory, advertised_values);
    const uint32_t address_size = is_ipv6 ? address_attribute_size_ipv6 : address_attribute_size_ipv4;
    route.addr_generic_attrs = random_attributes(random, memory, attributes, address_size);
    zidl_rib_route_mark_addr_generic_attrs(&route);
    route.generic_attrs_30 = random_attributes(random, memory, attributes, attribute_size);
    zidl_rib_route_mark_generic_attrs_30(&route);
    zidl_rib_route_l2_info_set_route_l2_value_5(&route.route_l2_info, random.below(256));
    zidl_rib_route_mark_route_l2_info(&route);
    zidl_rib_route_aft_id_set_route_aft_id_value(&route.route_aft_id, random.magnitude(64));
    zidl_rib_route_aft_id_set_route_aft_value_6(&route.route_aft_id, random.magnitude32());
    zidl_rib_route_aft_id_set_route_aft_value_7(&route.route_aft_id, random.magnitude(64));
    zidl_rib_route_mark_route_aft_id(&route);
}

} // namespace

zidl_rib_route sparse_route(random_source &random, scratch &memory, uint32_t paths)
{
    zidl_rib_route route = route_for(random, memory, paths);
    for (uint32_t i = 0; i < paths; ++i)
        route.paths[i] = random_path(random, memory, ribtool::PATH_LABELS, ribtool::extent::small);
    return route;
}

zidl_rib_route rich_route(random_source &random, scratch &memory, uint32_t paths)
{
    zidl_rib_route route = route_for(random, memory, paths);
    const bool is_ipv6 = route.route_prefix.address.family == RIB_FAMILY_IPV6;
    for (uint32_t i = 0; i < paths; ++i)
        route.paths[i] = rich_path(random, memory, is_ipv6);
    add_blocks(route, random, memory, is_ipv6);
    return route;
}

} // namespace bench
