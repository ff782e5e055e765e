/* The reader of the client guide: cut connections, reconnects, older forms that are too short, and damage. */

#include "client.h"

#include "stream.inc"

#include "reconnect.inc"

#include "resync.inc"

static enum stream_state read_to_the_end(struct stream *stream)
{
    enum stream_state state;
    do {
        state = stream_read(stream);
    } while (state == STREAM_OPEN);
    return state;
}

static void connection_that_ends_inside_a_frame_is_cut_and_leaves_nothing_to_the_next(void)
{
    struct client client;
    client_begin(&client);
    struct stream stream = {.fd = -1, .client = &client};
    stream_opened(&stream, stream_of(STREAM, 25, 25)); /* three bytes short of the next-hop ID's end */
    EXPECT(read_to_the_end(&stream) == STREAM_CUT);
    EXPECT(client.frames == 2);
    close(stream.fd);

    struct client fresh;
    client_begin(&fresh);
    stream.client = &fresh;
    stream_opened(&stream, stream_of(STREAM, sizeof STREAM, 3));
    EXPECT(read_to_the_end(&stream) == STREAM_ENDED);
    expect_whole_stream(&fresh);
    close(stream.fd);
}

static void older_protocol_is_handed_over_when_its_record_and_last_name_are_whole(void)
{
    uint8_t bytes[8 + 92] = {0, 0, 0, 0, 0, 38, 0, 92};
    struct client client;
    client_begin(&client);
    rib_frame frame = {bytes, sizeof bytes, 38, 92, bytes + 8};
    take_frame(&client, &frame);
    EXPECT(client.protocols == 1 && client.strange == 0);
    memset(bytes + 8 + 49, 'x', 43); /* proto_extra_name without its NUL */
    bytes[5] = 38, bytes[4] = 0, bytes[6] = 0, bytes[7] = 92;
    take_frame(&client, &frame);
    EXPECT(client.protocols == 1 && client.strange == 1);
}

static void older_opaque_is_handed_over_when_its_blocks_are_inside(void)
{
    static const uint8_t fits[32] = {
        0, 0, 0, 0, 0, 37, 0, 24 + 3, /* 27 bytes of payload */
        0, 0, 0, 0, 0, 0,  0, 1,      /* type, unused, ID */
        0, 2, 0, 3, 0, 0,  0, 0,      /* 2 bytes in the first block, sub-ID, value */
        0, 0, 0, 1, 0, 0,  0, 0,      /* 1 byte in the second one, unused */
    };
    const struct {
        size_t place;
        uint8_t value;
        bool is_whole;
    } cases[] = {{19, 3, true},  {27, 2, false}, {17, 3, false}, {16, 1, false},
                 {24, 1, false}, {25, 1, false}, {26, 1, false}};
    for (size_t i = 0; i < sizeof cases / sizeof *cases; i++) {
        uint8_t bytes[8 + 24 + 3] = {0};
        memcpy(bytes, fits, sizeof fits);
        bytes[cases[i].place] = cases[i].value;
        rib_frame frame = {bytes, sizeof bytes, 37, 24 + 3, bytes + 8};
        struct client client;
        client_begin(&client);
        take_frame(&client, &frame);
        EXPECT(client.opaques == cases[i].is_whole && client.strange == !cases[i].is_whole);
    }
    uint8_t *empty = malloc(8); /* reading on behind it is what a sanitizer sees */
    rib_frame frame = {empty, 8, 37, 0, empty + 8};
    EXPECT(!is_whole(&frame));
    free(empty);
}

static void delays_grow_and_stay_below_half_a_minute(void)
{
    unsigned delay = 0;
    for (int attempt = 0; attempt < 100; attempt++) {
        const unsigned next = next_delay(delay);
        EXPECT(next >= 50 && next < 30000);
        EXPECT(delay < 15000 || next >= 15000);
        delay = next;
    }
    EXPECT(delay >= 7500);
}

static void search_goes_on_behind_damage_in_pieces_of_any_size(void)
{
    /* clang-format off */
    const uint8_t damaged[] = {
        0, 0, 0, 0, 0, 47, 0, 2, 0x08, 0x07,        /* protocol */
        0, 0, 0, 0, 0, 0, 0, 0,                     /* delimiter */
        0x7A, 0x7A, 0x7A, 0x7A, 0x7A, 0x7A, 0, 1,   /* a code that nobody knows, 1 byte of payload */
        0x7A, 0x7A, 0x7A,
        0, 0, 0, 0, 0, 47, 0, 2, 0x08, 0x07,        /* protocol */
        0, 0, 0, 0, 0, 50, 0, 2, 0x10, 0x64,        /* opaque */
        0, 0,                                       /* cut off */
    };
    /* clang-format on */
    for (size_t piece = 1; piece <= sizeof damaged; piece++) {
        struct client client;
        client_begin(&client);
        struct search search = {0};
        static uint8_t buf[RIB_FRAMES_RESYNC_LEN];
        size_t held = 0;
        for (size_t pos = 0; pos < sizeof damaged;) {
            const size_t len = sizeof damaged - pos < piece ? sizeof damaged - pos : piece;
            memcpy(buf + held, damaged + pos, len);
            pos += len;
            held += len;
            const size_t rest = take_sound_frames(&client, &search, buf, held, pos == sizeof damaged);
            memmove(buf, buf + held - rest, rest);
            held = rest;
        }
        EXPECT(client.protocols == 2 && client.opaques == 1 && client.delimiters == 1 && client.strange == 0);
        EXPECT(search.skipped == 11);
        EXPECT(held == 2);
    }
}

int main(void)
{
    connection_that_ends_inside_a_frame_is_cut_and_leaves_nothing_to_the_next();
    older_protocol_is_handed_over_when_its_record_and_last_name_are_whole();
    older_opaque_is_handed_over_when_its_blocks_are_inside();
    delays_grow_and_stay_below_half_a_minute();
    search_goes_on_behind_damage_in_pieces_of_any_size();
    return 0;
}
