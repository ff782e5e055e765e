/* A C99 program that builds, encodes and decodes a message and parses a framed update: enough to need the codec, the
 * client library and the platform libraries at link time. Exits with 0 when everything comes back as it went in. */

#include "rib.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void *allocate(size_t size, void *ctx)
{
    (void)ctx;
    return malloc(size);
}

static void release(void *ptr, void *ctx)
{
    (void)ctx;
    free(ptr);
}

static int opaque_survives(void)
{
    static const uint8_t block[] = {1, 2, 3};
    zidl_ip_rib_opaque sent;
    zidl_ip_rib_opaque received;
    uint8_t wire[16];
    size_t len;
    int same;

    memset(&sent, 0, sizeof sent);
    memset(&received, 0, sizeof received);
    zidl_ip_rib_opaque_set_opaque_id(&sent, 300);
    zidl_ip_rib_opaque_set_first_block(&sent, block, sizeof block);

    len = zidl_ip_rib_opaque_encode_ext(&sent, wire, sizeof wire, NULL, NULL, 0);
    if (len != 8 || zidl_ip_rib_opaque_decode_ext(&received, wire, len, allocate, NULL, 0) != ZIDL_OK)
        return 0;
    same = zidl_ip_rib_opaque_has_opaque_id(&received) && received.opaque_id == 300 &&
           received.first_block_size == sizeof block && memcmp(received.first_block, block, sizeof block) == 0;
    zidl_ip_rib_opaque_free_ext(&received, release, NULL, 0);
    return same;
}

static int take_map(uint32_t update_id, rib_protoid_map *map, void *ctx)
{
    *(int *)ctx = update_id == 9 && map->proto_id == 5 && strcmp(map->proto_name, "bgp") == 0;
    return 0;
}

static int framed_update_arrives(void)
{
    uint8_t frame[] = {
        0,    0,    0,   0,        /* not read */
        0,    47,                  /* type: protocol update */
        0,    7,                   /* length */
        0x08, 0x05,                /* 1 proto_id = 5 */
        0x22, 0x03, 'b', 'g', 'p', /* 4 proto_name */
    };
    updatetype_local update;
    int arrived = 0;

    memset(&update, 0, sizeof update);
    update.update_id = 9;
    update.payload = frame;
    rib_lib_pvt_parse_proto_update(take_map, &update, &arrived);
    return arrived;
}

int main(void)
{
    if (!opaque_survives()) {
        puts("an opaque update did not survive encoding and decoding");
        return 1;
    }
    if (!framed_update_arrives()) {
        puts("a framed update did not arrive");
        return 1;
    }
    return 0;
}
