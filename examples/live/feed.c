#include "feed.h"

#include <stdlib.h>
#include <string.h>

/* ---- Grid lists: each of their keys has an entry, and so a frame, of its own ---- */

static void *allocate(size_t size, void *ctx)
{
    (void)ctx;
    return malloc(size);
}

static void release(void *block, void *ctx)
{
    (void)ctx;
    free(block);
}

/* The library has taken the list, and judges it by what was read of it: so the status says nothing here either. */
static void open_list(struct feed *feed)
{
    zidl_rib_grid_sync_list_decode_ext(&feed->list, feed->frame->payload, feed->frame->payload_len, allocate, NULL, 0);
    feed->key_count = feed->list.keys_count;
}

static void close_list(struct feed *feed)
{
    zidl_rib_grid_sync_list_free_ext(&feed->list, release, NULL, 0);
    feed->key_count = 0;
}

/* Writes the frame of a list that holds the next key alone. Returns its size, 0 when it does not fit. */
static size_t put_one_key(struct feed *feed, uint8_t *dst)
{
    const uint32_t i = feed->key_index;
    zidl_rib_grid_sync_list one;
    memset(&one, 0, sizeof one);
    zidl_rib_grid_sync_list_set_encap_ids(&one, &feed->list.encap_ids[i], 1);
    zidl_rib_grid_sync_list_set_keys(&one, &feed->list.keys[i], 1);
    zidl_rib_grid_sync_list_set_multi_key(&one, 1);
    const size_t len =
        zidl_rib_grid_sync_list_encode_ext(&one, dst + RIB_FRAME_HEADER_LEN, RIB_FRAME_MAX_PAYLOAD, NULL, NULL, 0);
    return rib_frame_put_header(dst, RIB_TLV_GRID, len) ? RIB_FRAME_HEADER_LEN + len : 0;
}

/* ---- Changes ---- */

static int on_change(const struct change *change, void *ctx)
{
    struct feed *feed = ctx;
    if (feed->frame->code != RIB_TLV_GRID)
        return served_change(feed->served, &change->key, change->withdraws, feed->frame->start, feed->frame->size);
    if (feed->key_count == 0)
        open_list(feed);
    if (feed->key_count == 1)
        return served_change(feed->served, &change->key, 0, feed->frame->start, feed->frame->size);
    const size_t size = feed->key_index < feed->key_count ? put_one_key(feed, feed->copy) : 0;
    feed->key_index++;
    return size != 0 && served_change(feed->served, &change->key, 0, feed->copy, size);
}

/* The payloads of the older forms are converted in place: a copy of the frame is, so that the frame can be sent. */
static void take(struct feed *feed, const rib_frame *frame)
{
    const int is_converted = frame->code == RIB_TLV_OLD_OPAQUE || frame->code == RIB_TLV_OLD_PROTO;
    rib_frame handed = *frame;
    if (is_converted) {
        memcpy(feed->copy, frame->start, frame->size);
        handed.start = feed->copy;
        handed.payload = feed->copy + RIB_FRAME_HEADER_LEN;
    }
    feed->frame = frame;
    feed->key_index = 0;
    updates_take(&feed->updates, &handed);
    if (feed->key_count != 0)
        close_list(feed);
}

void feed_take(struct feed *feed, const rib_frame *frame)
{
    if (!rib_frame_is_delimiter(frame))
        take(feed, frame);
}

void feed_init(struct feed *feed, struct served *served)
{
    memset(feed, 0, sizeof *feed);
    feed->served = served;
    feed->drops.program = "server";
    feed->updates.take = on_change;
    feed->updates.ctx = feed;
    feed->updates.drops = &feed->drops;
}

/* ---- As text: every frame once more through the library, into what a client keeps of it ---- */

struct text_writer {
    struct updates updates;
    struct drop_log drops;
    struct dump dump;
    uint8_t copy[RIB_FRAME_MAX_LEN];
};

static int add_change(const struct change *change, void *ctx)
{
    struct text_writer *writer = ctx;
    const size_t size = kept_size(change);
    uint8_t *kept = malloc(size);
    if (kept == NULL)
        return 0;
    keep(change, kept);
    dump_add(&writer->dump, &change->key, kept, size);
    free(kept);
    return 1;
}

static void add_entry(struct table_entry *entry, void *ctx)
{
    struct text_writer *writer = ctx;
    const struct served_entry *served = (struct served_entry *)(void *)entry;
    rib_frames frames;
    rib_frame frame;
    memcpy(writer->copy, served->frame, served->size);
    rib_frames_begin(&frames, writer->copy, served->size);
    if (!served->is_withdrawn && rib_frames_next(&frames, &frame) && !updates_take(&writer->updates, &frame))
        writer->dump.failed = 1;
}

int feed_dump(struct feed *feed, const char *path)
{
    struct text_writer *writer = calloc(1, sizeof *writer);
    if (writer == NULL)
        return 0;
    writer->drops.program = "server";
    writer->updates.take = add_change;
    writer->updates.ctx = writer;
    writer->updates.drops = &writer->drops;
    table_each(&feed->served->table, add_entry, writer);
    const int is_written = dump_write(&writer->dump, path);
    free(writer);
    return is_written;
}
