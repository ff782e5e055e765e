/* A client of route updates: walks the paths of a route and their extended communities. */

#include <rib.h>

#include "frame.h"

struct client {
    unsigned paths;
    unsigned communities;
};

/* The route and all that it points to are the library's, and valid only here. */
static int on_route(uint32_t update_id, struct rib_routetype_ *route, void *ctx)
{
    struct client *client = ctx;
    uint32_t dest;
    memcpy(&dest, route->rt_dest, sizeof dest); /* IPv4: a number in host byte order */
    printf("update %u: %u.%u.%u.%u/%u, %u paths\n", update_id, dest >> 24, dest >> 16 & 255, dest >> 8 & 255,
           dest & 255, route->rt_prefix_len, route->rt_path_count);

    const rib_path_entry *path = rib_route_first_path(route);
    for (uint32_t i = 0; i < route->rt_path_count; i++, path = rib_route_next_path(path)) {
        printf("  path %u: value 8 %u, %u labels\n", path->pe_value_1, path->pe_value_8, path->pe_label_count);
        for (uint32_t j = 0; j < path->pe_ecomm_count; j++)
            printf("    community %016llx\n", (unsigned long long)rib_path_ecomm_values(path)[j]);
        client->paths++;
        client->communities += path->pe_ecomm_count;
    }
    return 0;
}

/* What a server sends: an encoded route behind a header. Here 192.0.2.0/24 with two paths. */
static void build_update(uint8_t *frame, size_t size)
{
    uint64_t communities[] = {0x0002FDE800000064, 0x0002FDE8000000C8};
    uint32_t labels[] = {16001};
    zidl_rib_path paths[2];
    memset(paths, 0, sizeof paths);
    zidl_rib_path_set_path_value_1(&paths[0], 1);
    zidl_rib_path_set_path_value_8(&paths[0], 100);
    paths[0].ecomm.ecomm_values = communities;
    paths[0].ecomm.ecomm_count = 2;
    zidl_rib_ecomm_array_mark_ecomm_values(&paths[0].ecomm);
    zidl_rib_path_set_path_value_1(&paths[1], 2);
    paths[1].path_values_9 = labels;
    paths[1].path_values_9_count = 1;
    zidl_rib_path_mark_path_values_9(&paths[1]);

    zidl_rib_route route;
    memset(&route, 0, sizeof route);
    zidl_rib_address_set_family(&route.route_prefix.address, 1);
    zidl_rib_address_set_ipv4(&route.route_prefix.address, 0xC0000200);
    zidl_rib_prefix_set_prefix_len(&route.route_prefix, 24);
    route.paths = paths;
    route.paths_count = 2;
    zidl_rib_route_mark_paths(&route);

    size_t len = zidl_rib_route_encode_ext(&route, frame + HEADER_LEN, size - HEADER_LEN, NULL, NULL, 0);
    expect(len <= size - HEADER_LEN, "the route fits the frame");
    write_header(frame, RIB_TLV_ROUTE, len);
}

int main(void)
{
    uint8_t frame[256];
    build_update(frame, sizeof frame);

    struct client client = {0};
    rib_route_client routes = {.context = &client, .encoded_route = on_route};
    updatetype_local update = {.update_id = 1, .payload = frame};
    rib_lib_pvt_parse_route_update(&update, NULL, NULL, NULL, 0, &routes); /* no older-form routes here */

    expect(client.paths == 2 && client.communities == 2, "both paths and their communities arrived");
    return 0;
}
