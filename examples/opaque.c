/* A client of opaque updates: four numbers and two blocks of bytes that only the peers understand. */

#include <rib.h>
#include <rib_frames.h>

#include "expect.h"
#include "rubbish.h"

/* What this client keeps of the last update. */
struct client {
    unsigned updates;
    uint8_t block[64];
    uint32_t block_len;
};

/* The blocks go when this returns: copy what is to stay. */
static int on_opaque(uint32_t update_id, uint32_t sub_id, rib_opaque_update *opaque, void *ctx)
{
    struct client *client = ctx;
    client->updates++;
    printf("update %u: type %u id %u.%u value %u, blocks of %u and %u bytes\n", update_id, opaque->opaque_type,
           opaque->opaque_id, sub_id, opaque->opaque_value, opaque->first_len, opaque->second_len);
    client->block_len = opaque->first_len < sizeof client->block ? opaque->first_len : (uint32_t)sizeof client->block;
    if (client->block_len != 0) /* an absent block is null */
        memcpy(client->block, opaque->first_block, client->block_len);
    return 0;
}

/* ---- What a peer may send ---- */

static uint64_t big_endian(const uint8_t *src, size_t len)
{
    uint64_t value = 0;
    for (size_t i = 0; i < len; i++)
        value = value << 8 | src[i];
    return value;
}

/* The library compares the sum of both lengths with the payload, and that sum wraps: look yourself, before the numbers are
 * converted in place. */
static int old_blocks_fit(const uint8_t *payload, size_t len)
{
    enum { FIXED_LEN = 24, FIRST_LEN = 8, SECOND_LEN = 16 };
    return len >= FIXED_LEN &&
           big_endian(payload + FIRST_LEN, 2) + big_endian(payload + SECOND_LEN, 4) <= len - FIXED_LEN;
}

/* The code of another entry point, or of none, would stop the process. */
static int is_safe(const uint8_t *frame)
{
    switch (rib_frame_code(frame)) {
    case RIB_TLV_OPAQUE:
        return 1;
    case RIB_TLV_OLD_OPAQUE:
        return old_blocks_fit(frame + RIB_FRAME_HEADER_LEN, rib_frame_payload_len(frame));
    default:
        return 0;
    }
}

static void take_update(uint8_t *frame, void *ctx)
{
    struct client *client = ctx;
    updatetype_local update = {.update_id = client->updates + 1, .payload = frame};
    if (is_safe(frame))
        rib_lib_pvt_parse_opaque_update(on_opaque, &update, client);
}

/* ---- What a server sends: an encoded message behind a header ---- */

static void build_update(uint8_t *frame, size_t size)
{
    static const uint8_t first[] = {0xCA, 0xFE};
    static const uint8_t second[] = {1, 2, 3, 4, 5};
    zidl_ip_rib_opaque msg;
    memset(&msg, 0, sizeof msg);
    zidl_ip_rib_opaque_set_opaque_type(&msg, 5);
    zidl_ip_rib_opaque_set_opaque_id(&msg, 100);
    zidl_ip_rib_opaque_set_opaque_sub_id(&msg, 3);
    zidl_ip_rib_opaque_set_opaque_value(&msg, 77);
    zidl_ip_rib_opaque_set_first_block(&msg, first, sizeof first);
    zidl_ip_rib_opaque_set_second_block(&msg, second, sizeof second);

    size_t len =
        zidl_ip_rib_opaque_encode_ext(&msg, frame + RIB_FRAME_HEADER_LEN, size - RIB_FRAME_HEADER_LEN, NULL, NULL, 0);
    expect(len <= size - RIB_FRAME_HEADER_LEN, "the message fits the frame");
    rib_frame_put_header(frame, RIB_TLV_OPAQUE, len);
}

int main(void)
{
    uint8_t frame[256];
    build_update(frame, sizeof frame);

    struct client client = {0};
    take_update(frame, &client);

    expect(client.updates == 1, "the update arrived");
    expect(client.block_len == 2 && client.block[0] == 0xCA, "its first block was kept");
    send_rubbish(take_update, &client);
    expect(client.updates == 2 && client.block_len == 0, "of rubbish an empty message arrives, and nothing stops");
    return 0;
}
