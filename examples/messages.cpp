/* Messages in C++: a route is filled in, encoded, decoded into a message that owns what it points to, changed and kept. */

#include <rib.hpp>

#include <cstdio>
#include <utility>
#include <vector>

#include "expect.h"

namespace
{

using route_message = zidl::message<zidl_rib_route>;

// What a record borrows must last until it has been encoded: here the caller's arrays, and the paths in this function.
std::vector<uint8_t> encoded_route(zidl::span<const uint32_t> labels, zidl::span<const uint64_t> communities)
{
    zidl::record<zidl_rib_path> paths[2];
    paths[0].set_path_value_1(1).set_path_value_8(100);
    paths[0].edit_ecomm().set_ecomm_values(communities);
    paths[1].set_path_value_1(2).set_path_values_9(labels);

    zidl::record<zidl_rib_route> route;
    route.edit_route_prefix().set_prefix_len(24).edit_address().set_family(1).set_ipv4(0xC0000200);
    route.set_paths(paths);

    std::vector<uint8_t> encoded;
    route.append_to(encoded);
    return encoded;
}

void print(zidl::view<zidl_rib_route> route)
{
    const uint32_t dest = route.route_prefix().address().ipv4();
    std::printf("%u.%u.%u.%u/%u\n", dest >> 24, dest >> 16 & 255, dest >> 8 & 255, dest & 255,
                route.route_prefix().prefix_len());
    for (const zidl::view<zidl_rib_path> path : route.paths()) {
        std::printf("  path %u: %zu labels, %zu communities", path.path_value_1(), path.path_values_9().size(),
                    path.ecomm().ecomm_values().size());
        if (path.has_path_value_8())
            std::printf(", value 8 %u", path.path_value_8());
        std::printf("\n");
    }
}

// A message is read only: what changes is a record that borrows from it.
zidl::status copy_with_one_path(const route_message &source, route_message &copy)
{
    zidl::record<zidl_rib_route> shorter(*source);
    shorter.set_paths(source.paths().records().first(1));
    return copy.duplicate(*shorter);
}

size_t count_paths_in_arena(const std::vector<uint8_t> &encoded, unsigned times)
{
    zidl::arena arena;
    zidl::arena_message<zidl_rib_route> route(arena);
    size_t paths = 0;
    for (unsigned i = 0; i < times; ++i) {
        if (route.decode(encoded))
            paths += route.paths().size();
        arena.reset();
    }
    return paths;
}

} // namespace

int main()
{
    const uint32_t labels[] = {16001, 16002};
    const std::vector<uint64_t> communities = {0x0002FDE800000064, 0x0002FDE8000000C8};
    const std::vector<uint8_t> encoded = encoded_route(labels, communities);

    route_message route;
    expect(bool(route.decode(encoded)), "the route is decoded");
    print(route);
    expect(route.paths()[0].ecomm().ecomm_values()[1] == communities[1], "the communities arrived");
    expect(route.paths()[1].path_values_9()[1] == 16002, "the labels arrived");

    std::vector<route_message> table;
    route_message kept;
    expect(bool(copy_with_one_path(route, kept)), "there was memory for the copy");
    route.clear();
    table.push_back(std::move(kept));
    expect(table[0].paths().size() == 1, "the copy stands by itself");

    const zidl::status status = route.decode(zidl::bytes(encoded).first(encoded.size() - 1));
    expect(status.code() == ZIDL_ERR_MALFORMED, "a route that breaks off is malformed");
    expect(route.paths().empty(), "and leaves an empty message");

    expect(count_paths_in_arena(encoded, 100) == 200, "an arena serves one route after the other");
    return 0;
}
