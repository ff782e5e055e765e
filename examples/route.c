/* A client of route updates: walks the paths of a route and their extended communities, and takes routes of the older form
 * besides. */

#include <rib.h>
#include <rib_frames.h>
#include <stddef.h>

#include "expect.h"
#include "rubbish.h"

struct client {
    unsigned paths;
    unsigned communities;
    unsigned older_routes;
    int takes_older; /* if not, those are dropped */
};

static void print_destination(uint32_t update_id, const struct rib_routetype_ *route)
{
    uint32_t dest;
    memcpy(&dest, route->rt_dest, sizeof dest); /* IPv4: a number in host byte order */
    printf("update %u: %u.%u.%u.%u/%u, %u paths\n", update_id, dest >> 24, dest >> 16 & 255, dest >> 8 & 255,
           dest & 255, route->rt_prefix_len, route->rt_path_count);
}

/* ---- Encoded routes ---- */

/* The route and all that it points to are the library's, and valid only here. */
static int on_route(uint32_t update_id, struct rib_routetype_ *route, void *ctx)
{
    struct client *client = ctx;
    print_destination(update_id, route);
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
    static const uint64_t communities[] = {0x0002FDE800000064, 0x0002FDE8000000C8};
    static const uint32_t labels[] = {16001};
    zidl_rib_path paths[2];
    memset(paths, 0, sizeof paths);
    zidl_rib_path_set_path_value_1(&paths[0], 1);
    zidl_rib_path_set_path_value_8(&paths[0], 100);
    zidl_rib_ecomm_array_set_ecomm_values(&paths[0].ecomm, communities, 2);
    zidl_rib_path_set_path_value_1(&paths[1], 2);
    zidl_rib_path_set_path_values_9(&paths[1], labels, 1);

    zidl_rib_route route;
    memset(&route, 0, sizeof route);
    zidl_rib_address_set_family(&route.route_prefix.address, 1);
    zidl_rib_address_set_ipv4(&route.route_prefix.address, 0xC0000200);
    zidl_rib_prefix_set_prefix_len(&route.route_prefix, 24);
    zidl_rib_route_set_paths(&route, paths, 2);

    size_t len =
        zidl_rib_route_encode_ext(&route, frame + RIB_FRAME_HEADER_LEN, size - RIB_FRAME_HEADER_LEN, NULL, NULL, 0);
    expect(len <= size - RIB_FRAME_HEADER_LEN, "the route fits the frame");
    rib_frame_put_header(frame, RIB_TLV_ROUTE, len);
}

/* ---- Routes of the older form, whose layout is the client's business: here an address and its prefix length ---- */

enum { OLDER_LEN = 5 };

/* Null for what is no route: that reaches the callback all the same. A stripped update comes without its header, and so
 * without its length; this client hands over none. */
static struct rib_routetype_ *convert_older(rib_tlv_t *header, uchar_t **cursor)
{
    uint16_t len = 0;
    if (header != NULL)
        memcpy(&len, (const uint8_t *)header + offsetof(rib_tlv_t, length), sizeof len);
    if (len != OLDER_LEN)
        return NULL;
    struct rib_routetype_ *route = calloc(1, sizeof *route);
    if (route == NULL)
        return NULL;
    const uchar_t *payload = *cursor;
    const uint32_t dest =
        (uint32_t)payload[0] << 24 | (uint32_t)payload[1] << 16 | (uint32_t)payload[2] << 8 | payload[3];
    route->rt_family = 1;
    memcpy(route->rt_dest, &dest, sizeof dest);
    route->rt_prefix_len = payload[4];
    return route;
}

static void release_older(struct rib_routetype_ *route)
{
    free(route);
}

/* Here `ctx` is what the parse call was given: the rib_route_client, not its context. */
static int on_older_route(uint32_t update_id, struct rib_routetype_ *route, void *ctx)
{
    const rib_route_client *routes = ctx;
    struct client *client = routes->context;
    if (route == NULL)
        return 0;
    print_destination(update_id, route);
    client->older_routes++;
    release_older(route); /* the parse call was told to keep it: otherwise it could have been released before this */
    return 0;
}

static void build_older_update(uint8_t *frame)
{
    static const uint8_t route[OLDER_LEN] = {198, 51, 100, 0, 24};
    rib_frame_put_header(frame, RIB_TLV_OLD_ROUTE, sizeof route);
    memcpy(frame + RIB_FRAME_HEADER_LEN, route, sizeof route);
}

/* ---- Both forms ---- */

/* The peer chooses the form, not the client: the ctx is a rib_route_client for both. Any code but these two would stop the
 * process; what their payloads hold is no danger. */
static void take_update(uint8_t *frame, void *ctx)
{
    struct client *client = ctx;
    rib_route_client routes = {.context = client, .encoded_route = on_route};
    updatetype_local update = {.update_id = 1, .payload = frame};
    const int keep = 1;
    if (rib_frame_code(frame) != RIB_TLV_ROUTE && rib_frame_code(frame) != RIB_TLV_OLD_ROUTE)
        return;
    if (client->takes_older)
        rib_lib_pvt_parse_route_update(&update, on_older_route, convert_older, release_older, keep, &routes);
    else /* without older-form routes their functions are null: what comes all the same is dropped */
        rib_lib_pvt_parse_route_update(&update, NULL, NULL, NULL, 0, &routes);
}

int main(void)
{
    struct client client = {.takes_older = 1};
    uint8_t frame[256];

    build_update(frame, sizeof frame);
    take_update(frame, &client);
    expect(client.paths == 2 && client.communities == 2, "both paths and their communities arrived");
    build_older_update(frame);
    take_update(frame, &client);
    expect(client.older_routes == 1, "the route of the older form arrived");
    send_rubbish(take_update, &client);
    expect(client.paths == 2 && client.older_routes == 1, "rubbish brings no path, and stops nothing");

    client.takes_older = 0;
    build_older_update(frame);
    take_update(frame, &client);
    expect(client.older_routes == 1, "the route of the older form was dropped");
    return 0;
}
