/* The codec by itself: encode a message, once into one buffer and once as a list of segments that leaves its blocks where
 * they are, decode it, release it. */

#include <rib.h>

#include "expect.h"

static void *allocate(size_t size, void *ctx)
{
    unsigned *blocks = ctx;
    ++*blocks;
    return malloc(size);
}

static void release(void *ptr, void *ctx)
{
    unsigned *blocks = ctx;
    --*blocks;
    free(ptr);
}

/* Strings the segments together, as writev would on a socket. */
static size_t gather(uint8_t *dst, const zidl_segment *segs, uint32_t count)
{
    size_t len = 0;
    for (uint32_t i = 0; i < count; i++) {
        memcpy(dst + len, segs[i].base, segs[i].len);
        len += segs[i].len;
    }
    return len;
}

int main(void)
{
    static const uint8_t first[] = {1, 2, 3};
    static const uint8_t second[] = {4, 5, 6, 7};
    zidl_ip_rib_opaque msg;
    memset(&msg, 0, sizeof msg);
    zidl_ip_rib_opaque_set_opaque_id(&msg, 100);
    zidl_ip_rib_opaque_set_first_block(&msg, first, sizeof first);
    zidl_ip_rib_opaque_set_second_block(&msg, second, sizeof second);

    /* Into one buffer. The result is the length of the whole encoding, also when it does not fit. */
    uint8_t whole[64];
    size_t len = zidl_ip_rib_opaque_encode_ext(&msg, whole, sizeof whole, NULL, NULL, 0);
    expect(len <= sizeof whole, "the encoding fits");

    /* As segments: numbers and lengths go into the buffer, the blocks are only pointed at. */
    uint8_t buf[64];
    uint8_t gathered[64];
    zidl_segment segs[4];
    uint32_t count = 4;
    zidl_ip_rib_opaque_encode_ext(&msg, buf, sizeof buf, segs, &count, ZIDL_ZERO_COPY);
    expect(count <= 4, "the list has room for all segments");
    expect(gather(gathered, segs, count) == len && memcmp(gathered, whole, len) == 0, "both encodings are the same");
    printf("%zu bytes in %u segments\n", len, count);

    /* Decode: the record owns what the allocation function gave. Release it whatever the status says. */
    unsigned blocks = 0;
    zidl_ip_rib_opaque decoded;
    memset(&decoded, 0, sizeof decoded);
    int32_t status = zidl_ip_rib_opaque_decode_ext(&decoded, whole, len, allocate, &blocks, 0);
    expect(status == ZIDL_OK && decoded.opaque_id == 100 && decoded.second_block_size == 4, "the message came back");
    printf("id %u, %u blocks owned\n", decoded.opaque_id, blocks);
    zidl_ip_rib_opaque_free_ext(&decoded, release, &blocks, 0);
    expect(blocks == 0, "everything was given back");
    return 0;
}
