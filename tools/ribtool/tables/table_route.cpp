#include "tools/ribtool/tables/table_route.hpp"

#include <algorithm>

namespace ribtool
{

namespace
{

constexpr uint32_t ATOMIC_AGGREGATE_FLAG = 1;
constexpr uint32_t AGGREGATOR_FLAG = 2;
constexpr uint32_t ON_LINK_FLAG = 4;
constexpr uint32_t DEAD_FLAG = 8;
constexpr uint32_t LINK_DOWN_FLAG = 16;

uint32_t flags(const table_path &path)
{
    return (path.atomic_aggregate ? ATOMIC_AGGREGATE_FLAG : 0) | (path.aggregator ? AGGREGATOR_FLAG : 0) |
           (path.on_link ? ON_LINK_FLAG : 0) | (path.dead ? DEAD_FLAG : 0) | (path.link_down ? LINK_DOWN_FLAG : 0);
}

void set_communities(zidl_rib_path &msg, const table_path &path, scratch &memory)
{
    if (path.communities.empty())
        return;
    zidl_rib_ecomm_array_set_ecomm_value_1(&msg.ecomm, static_cast<uint32_t>(path.communities_are));
    msg.ecomm.ecomm_values = memory.array<uint64_t>(path.communities.size());
    std::copy(path.communities.begin(), path.communities.end(), msg.ecomm.ecomm_values);
    msg.ecomm.ecomm_count = static_cast<uint32_t>(path.communities.size());
    zidl_rib_ecomm_array_mark_ecomm_values(&msg.ecomm);
    zidl_rib_path_mark_ecomm(&msg);
}

} // namespace

#define SET(type, field, value)                                                                                        \
    if ((value).has_value())                                                                                           \
    zidl_##type##_set_##field(&msg, *(value))

zidl_rib_path path_message(const table_path &path, scratch &memory)
{
    zidl_rib_path msg = {};
    SET(rib_path, path_value_1, path.peer_index);
    SET(rib_path, path_value_2, path.age_s);
    zidl_rib_path_set_path_value_3(&msg, flags(path));
    if (path.source) {
        msg.path_address_4 = address_message(*path.source);
        zidl_rib_path_mark_path_address_4(&msg);
    }
    if (path.next_hop) {
        msg.path_address_5 = address_message(*path.next_hop);
        zidl_rib_path_mark_path_address_5(&msg);
    }
    SET(rib_path, path_value_8, path.neighbor_as);
    SET(rib_path, path_value_10, path.med);
    SET(rib_path, path_value_11, path.local_pref);
    SET(rib_path, path_value_12, path.as_path_len);
    SET(rib_path, path_value_13, path.origin);
    SET(rib_path, path_value_16, path.origin_as);
    SET(rib_path, path_value_22, path.interface_index);
    SET(rib_path, path_value_25, path.weight);
    SET(rib_path, path_value_28, path.kernel_type);
    SET(rib_path, path_value_31, path.protocol);
    set_communities(msg, path, memory);
    return msg;
}

zidl_rib_route route_message(const table_route &route, scratch &memory)
{
    zidl_rib_route msg = {};
    msg.route_prefix = prefix_message(route.prefix);
    zidl_rib_route_mark_route_prefix(&msg);
    if (route.paths.empty())
        return msg;

    // The route's own scalars are those of its first path, the best one in a table dump.
    const table_path &first = route.paths.front();
    SET(rib_route, route_value_4, first.protocol);
    SET(rib_route, route_value_5, first.kernel_type);
    SET(rib_route, route_value_9, first.origin_as);
    SET(rib_route, route_value_10, first.med);
    SET(rib_route, route_value_12, first.local_pref);
    SET(rib_route, route_value_13, first.age_s);
    SET(rib_route, route_value_14, first.neighbor_as);
    SET(rib_route, route_value_15, route.table);

    msg.paths = memory.array<zidl_rib_path>(route.paths.size());
    msg.paths_count = static_cast<uint32_t>(route.paths.size());
    std::transform(route.paths.begin(), route.paths.end(), msg.paths,
                   [&](const table_path &path) { return path_message(path, memory); });
    zidl_rib_route_mark_paths(&msg);
    return msg;
}

#undef SET

} // namespace ribtool
