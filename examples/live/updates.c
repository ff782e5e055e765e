/* The peer chooses code, length and bytes of a frame. For each kind of update the guide says what stops the process ("When the
 * process stops") and what the library does not check ("Hazards"); may_be_handed_over keeps exactly that from the library:
 *
 *     51 50 49  route, opaque, next-hop ID: no payload is a danger. No check, since nearly all updates are of these.
 *     47 46     protocol without its identifier; empty grid list, one whose counts differ, a key without its second prefix: the
 *               inspector converts them first, which tells exactly, also when the rules grow. Twice the work for the rare kinds.
 *     38        the library takes any payload for a whole record: its length and the ends of its names are compared here
 *     37        the library's own comparison of lengths wraps: compared here, in 64 bits
 *     3         routes of the older form need a converter, which this program does not have: the library drops them
 *     others    belong to no entry point, which would stop the process
 *
 * Another defence is an __assert_fail of the program's own that leaves the call by longjmp. It needs no second conversion, but
 * loses what the library had allocated for that update, so that a peer could use up all memory. */

#include "updates.h"

#include <rib.h>
#include <string.h>

/* ---- What is safe ---- */

static uint64_t big_endian(const uint8_t *src, size_t len)
{
    uint64_t value = 0;
    for (size_t i = 0; i < len; i++)
        value = value << 8 | src[i];
    return value;
}

/* Behind the 24 bytes of its fixed part lie two blocks, whose lengths stand at bytes 8 and 16. */
static int old_opaque_fits(const updatetype_local *update)
{
    enum { FIXED_LEN = 24 };
    if (update->payload_len < FIXED_LEN)
        return 0;
    const uint64_t first_len = big_endian(update->payload + 8, 2);
    const uint64_t second_len = big_endian(update->payload + 16, 4);
    return first_len + second_len <= update->payload_len - FIXED_LEN;
}

/* The callback's names must end inside the record: a NUL in the second one ends the first, too, at the latest there. */
static int old_proto_is_whole(const updatetype_local *update)
{
    const size_t extra_name = offsetof(rib_protoid_map, proto_extra_name);
    return update->payload_len >= sizeof(rib_protoid_map) &&
           memchr(update->payload + extra_name, 0, sizeof(rib_protoid_map) - extra_name) != NULL;
}

static int would_be_delivered(struct drop_log *drops, const updatetype_local *update)
{
    const rib_explain_options options = {.without = RIB_WITHOUT_LOSSES};
    rib_explanation *why;
    if (rib_explain_update(update, &options, &why) != ZIDL_OK) {
        drops_note(drops, update, "there is no memory to look at it");
        return 0;
    }
    const int is_delivered = why->outcome == RIB_DELIVERED;
    if (!is_delivered)
        drops_print(drops, update, why);
    rib_explanation_free(why);
    return is_delivered;
}

static int may_be_handed_over(struct drop_log *drops, const updatetype_local *update)
{
    switch (update->tlv_type) {
    case RIB_TLV_ROUTE:
    case RIB_TLV_OPAQUE:
    case RIB_TLV_NHID:
    case RIB_TLV_OLD_ROUTE:
        return 1;
    case RIB_TLV_PROTO:
    case RIB_TLV_GRID:
        return would_be_delivered(drops, update);
    case RIB_TLV_OLD_PROTO:
        if (old_proto_is_whole(update))
            return 1;
        drops_note(drops, update, "it is no whole record of 92 bytes with names that end");
        return 0;
    case RIB_TLV_OLD_OPAQUE:
        if (old_opaque_fits(update))
            return 1;
        drops_note(drops, update, "its blocks are longer than the payload");
        return 0;
    default:
        drops_note(drops, update, "no entry point takes this code");
        return 0;
    }
}

/* ---- Callbacks: what an update changes. Each runs inside one call of the library, whose result is ignored ---- */

static void take(struct updates *updates, struct table_key key, int withdraws, const void *record)
{
    const struct change change = {.key = key, .withdraws = withdraws, .record = record};
    updates->was_called = 1;
    if (!updates->take(&change, updates->ctx))
        updates->was_refused = 1;
}

static int on_route(uint32_t update_id, struct rib_routetype_ *route, void *ctx)
{
    (void)update_id;
    take(ctx, key_of_route(route->rt_family, route->rt_dest, route->rt_prefix_len), route->rt_path_count == 0, route);
    return 0;
}

/* A map of the older form lies where the payload lies: at any address, which the copy does not. */
static int on_proto(uint32_t update_id, rib_protoid_map *map, void *ctx)
{
    (void)update_id;
    rib_protoid_map copy;
    memcpy(&copy, map, sizeof copy);
    take(ctx, key_of_pair(KEY_PROTO, copy.proto_id, copy.proto_sub_id), 0, &copy);
    return 0;
}

static int on_opaque(uint32_t update_id, uint32_t sub_id, rib_opaque_update *opaque, void *ctx)
{
    (void)update_id;
    take(ctx, key_of_pair(KEY_OPAQUE, opaque->opaque_id, sub_id), 0, opaque);
    return 0;
}

/* A list without multi_key has one key, and no ID in its record: that counts as ID 0. */
static int on_grid(void *record, void *ctx, uint32_t tlv_type)
{
    if (tlv_type == RIB_TLV_NHID) {
        const nhid_update_local *nhid = record;
        take(ctx, key_of_id(KEY_NHID, nhid->nhid), 0, nhid);
        return 0;
    }
    const grid_sync_list *list = record;
    for (uint32_t i = 0; i < list->count; i++)
        take(ctx, key_of_id(KEY_GRID, list->encap_ids[i]), 0, &list->keys[i]);
    return 0;
}

/* ---- One update ---- */

static void hand_over(struct updates *updates, updatetype_local *update)
{
    rib_route_client routes = {.context = updates, .encoded_route = on_route};
    switch (update->tlv_type) {
    case RIB_TLV_ROUTE:
    case RIB_TLV_OLD_ROUTE:
        rib_lib_pvt_parse_route_update(update, NULL, NULL, NULL, 0, &routes);
        return;
    case RIB_TLV_PROTO:
    case RIB_TLV_OLD_PROTO:
        rib_lib_pvt_parse_proto_update(on_proto, update, updates);
        return;
    case RIB_TLV_OPAQUE:
    case RIB_TLV_OLD_OPAQUE:
        rib_lib_pvt_parse_opaque_update(on_opaque, update, updates);
        return;
    case RIB_TLV_GRID:
    case RIB_TLV_NHID:
        rib_lib_pvt_parse_grid_update(on_grid, update, updates);
        return;
    }
}

/* The frame is taken off here: the library would convert its header in place. */
int updates_take(struct updates *updates, const rib_frame *frame)
{
    updatetype_local update = {.update_id = ++updates->count,
                               .tlv_type = frame->code,
                               .stripped = 1,
                               .payload_len = frame->payload_len,
                               .payload = frame->payload};
    if (!may_be_handed_over(updates->drops, &update))
        return 0;
    updates->was_called = 0;
    updates->was_refused = 0;
    hand_over(updates, &update);
    if (!updates->was_called)
        drops_explain(updates->drops, &update);
    else if (updates->was_refused)
        drops_note(updates->drops, &update, "there is no room for it in the table");
    return updates->was_called && !updates->was_refused;
}
