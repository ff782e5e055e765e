/* What the client guide leaves to the client: its record and callbacks. Besides a peer that sends a stream in pieces. */

#ifndef TESTS_GUIDE_CLIENT_H
#define TESTS_GUIDE_CLIENT_H

#include <errno.h>
#include <fcntl.h>
#include <rib.h>
#include <rib_frames.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

struct client {
    unsigned frames, delimiters, strange;
    unsigned protocols, opaques, next_hops, paths, labels;
    uint64_t block_sum; /* of the bytes of all first blocks, each times its place */
    rib_route_client routes;
};

#define EXPECT(holds)                                                                                                  \
    do {                                                                                                               \
        if (!(holds)) {                                                                                                \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #holds);                                                \
            exit(1);                                                                                                   \
        }                                                                                                              \
    } while (0)

static inline int on_protocol(uint32_t update_id, rib_protoid_map *map, void *ctx)
{
    (void)update_id, (void)map;
    ((struct client *)ctx)->protocols++;
    return 0;
}

static inline int on_opaque(uint32_t update_id, uint32_t sub_id, rib_opaque_update *opaque, void *ctx)
{
    (void)update_id, (void)sub_id;
    ((struct client *)ctx)->opaques++;
    for (uint32_t i = 0; i < opaque->first_len; i++)
        ((struct client *)ctx)->block_sum += (uint64_t)opaque->first_block[i] * (i + 1);
    return 0;
}

static inline int on_grid(void *record, void *ctx, uint32_t tlv_type)
{
    (void)record;
    ((struct client *)ctx)->next_hops += tlv_type == RIB_TLV_NHID;
    return 0;
}

#include "route_client.inc"
#include "take_frame.inc"

static const uint8_t STREAM[] = {
    0,    0,    0, 0, 0, 47, 0, 2, /* protocol, 2 bytes */
    0x08, 0x07,                    /*   1 proto_id = 7 */
    0,    0,    0, 0, 0, 0,  0, 0, /* delimiter */
    0,    0,    0, 0, 0, 49, 0, 2, /* next-hop ID, 2 bytes */
    0x08, 0x01,                    /*   1 nhid_update_value_1 = 1 */
    0,    0,    0, 0, 0, 38, 0, 1, /* older protocol, too short for its record */
    0xFF,                          /* */
    0,    0,    0, 0, 0, 99, 0, 0, /* nobody knows it */
    0,    0,    0, 0, 0, 50, 0, 2, /* opaque, 2 bytes */
    0x10, 0x64,                    /*   2 opaque_id = 100 */
};

static inline void expect_whole_stream(const struct client *client)
{
    EXPECT(client->frames == 6);
    EXPECT(client->protocols == 1 && client->opaques == 1 && client->next_hops == 1);
    EXPECT(client->delimiters == 1 && client->strange == 2);
}

/* The reading end of a connection on which a process of its own sends `len` bytes in pieces, then closes. */
static inline int stream_of(const uint8_t *bytes, size_t len, size_t piece)
{
    int ends[2];
    EXPECT(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
    const pid_t peer = fork();
    EXPECT(peer >= 0);
    if (peer == 0) {
        for (size_t pos = 0; pos < len; pos += piece) {
            const size_t rest = len - pos;
            EXPECT(write(ends[1], bytes + pos, rest < piece ? rest : piece) > 0);
        }
        _exit(0);
    }
    close(ends[1]);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return ends[0];
}

#endif
