#include "tools/ribtool/library/record_facts.hpp"

namespace ribtool
{

namespace
{

size_t path_bytes(const struct rib_routetype_ &route)
{
    const rib_path_entry *const first = rib_route_first_path(&route);
    const rib_path_entry *path = first;
    for (uint32_t index = 0; index < route.rt_path_count; ++index)
        path = rib_route_next_path(path);
    return static_cast<size_t>(reinterpret_cast<const uint8_t *>(path) - reinterpret_cast<const uint8_t *>(first));
}

size_t side_block_bytes(const struct rib_routetype_ &route)
{
    size_t bytes = 0;
    if (route.rt_advertisement != nullptr)
        bytes += sizeof(uint32_t) + rib_advertisement_count(route.rt_advertisement) * sizeof(uint16_t);
    for (uint32_t index = 0; index < RIB_ATTR_BLOCKS; ++index) {
        const auto *const block = static_cast<const uint8_t *>(route.rt_attr_blocks[index]);
        if (block != nullptr)
            bytes += static_cast<size_t>(
                rib_attr_data(block, rib_route_attr_size(&route, index), rib_attr_block_count(block)) - block);
    }
    return bytes;
}

} // namespace

record_facts facts_of(const rib_protoid_map &map)
{
    return {sizeof map, {}};
}

record_facts facts_of(const struct rib_routetype_ &route)
{
    return {sizeof route + path_bytes(route) + side_block_bytes(route),
            route_shape{route.rt_family, route.rt_prefix_len, route.rt_path_count}};
}

record_facts facts_of(const grid_sync_list &list)
{
    const size_t each = sizeof *list.keys + sizeof *list.encap_ids;
    return {sizeof list + list.count * each, {}};
}

record_facts facts_of(const nhid_update_local &nhid)
{
    return {sizeof nhid, {}};
}

record_facts facts_of(const rib_opaque_update &opaque, bool owns_blocks)
{
    return {sizeof opaque + (owns_blocks ? size_t{opaque.first_len} + opaque.second_len : 0), {}};
}

} // namespace ribtool
