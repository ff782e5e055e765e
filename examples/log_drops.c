/* A daemon that says why updates vanish. The library drops in silence what it cannot use; this client asks the inspector when its
 * callback has not run, and only then, so that a healthy stream costs nothing. A peer that sends nothing but rubbish
 * shall not fill the disk: few explanations a second, then a count of what went by without one. */

#include <inspect/rib_inspect.h>
#include <rib.h>
#include <rib_frames.h>
#include <time.h>

#include "expect.h"
#include "rubbish.h"

enum { EXPLANATIONS_A_SECOND = 2 };

struct drop_log {
    time_t second; /* that `explained` counts for */
    unsigned explained;
    unsigned silent; /* drops without an explanation since the last one */
    unsigned all;
};

static const rib_explain_options without_older_routes = {.without = RIB_WITHOUT_OLDER_ROUTES};

struct client {
    int was_called;
    unsigned routes;
    struct drop_log drops;
};

/* ---- The log ---- */

static int may_explain(struct drop_log *drops, time_t now)
{
    if (now != drops->second) {
        drops->second = now;
        drops->explained = 0;
    }
    return drops->explained < EXPLANATIONS_A_SECOND;
}

static void print_explanation(const rib_explanation *why, uint32_t update_id)
{
    printf("update %u (code %u) %s: %s", update_id, why->tlv_type, rib_outcome_name(why->outcome),
           rib_reason_text(why->reason));
    if (why->path != NULL)
        printf(", at %s", why->path);
    if (why->offset != RIB_NO_OFFSET)
        printf(", byte %zu of the payload", why->offset);
    printf(" (%s, %s)\n", rib_reason_name(why->reason), why->status_name);
}

/* The record says where the payload is. A client that leaves the frame to the entry point sets `stripped` now, since that has
 * taken it off; one that gets older forms which are converted in place explains a copy of them. */
static void log_drop(struct drop_log *drops, const updatetype_local *update, time_t now)
{
    drops->all++;
    if (!may_explain(drops, now)) {
        drops->silent++;
        return;
    }
    if (drops->silent != 0)
        printf("%u more updates were dropped\n", drops->silent);
    drops->silent = 0;
    drops->explained++;

    rib_explanation *why;
    if (rib_explain_update(update, &without_older_routes, &why) != ZIDL_OK)
        return; /* no memory */
    print_explanation(why, update->update_id);
    rib_explanation_free(why);
}

/* ---- The loop ---- */

static int on_route(uint32_t update_id, struct rib_routetype_ *route, void *ctx)
{
    struct client *client = ctx;
    (void)update_id;
    (void)route;
    client->was_called = 1;
    client->routes++;
    return 0;
}

/* The code of another entry point, or of none, would stop the process: such an update is logged and not handed over. The frame
 * is taken off here, so that the record is the same in both cases. */
static void take_route(struct client *client, uint32_t update_id, uint8_t *frame, time_t now)
{
    rib_route_client routes = {.context = client, .encoded_route = on_route};
    updatetype_local update = {.update_id = update_id,
                               .tlv_type = rib_frame_code(frame),
                               .stripped = 1,
                               .payload_len = (uint32_t)rib_frame_payload_len(frame),
                               .payload = frame + RIB_FRAME_HEADER_LEN};
    client->was_called = 0;
    if (update.tlv_type == RIB_TLV_ROUTE || update.tlv_type == RIB_TLV_OLD_ROUTE)
        rib_lib_pvt_parse_route_update(&update, NULL, NULL, NULL, 0, &routes);
    if (!client->was_called)
        log_drop(&client->drops, &update, now);
}

static void take_rubbish(uint8_t *frame, void *ctx)
{
    take_route(ctx, 0, frame, 2000);
}

/* 10.0.0.0/8; of another family than 1 it is dropped. */
static void build_route(uint8_t *frame, uint8_t family)
{
    const uint8_t payload[] = {
        0x0A, 0x0B,                     /* 1 route_prefix, 11 bytes */
        0x0A, 0x07,                     /*   1 address, 7 bytes */
        0x08, family,                   /*     1 family */
        0x10, 0x80,   0x80, 0x80, 0x50, /*     2 ipv4 = 0x0A000000 */
        0x10, 0x08,                     /*   2 prefix_len = 8 */
    };
    rib_frame_put_header(frame, RIB_TLV_ROUTE, sizeof payload);
    memcpy(frame + RIB_FRAME_HEADER_LEN, payload, sizeof payload);
}

int main(void)
{
    struct client client = {0};
    uint8_t frame[RIB_FRAME_HEADER_LEN + 13];
    const time_t now = 1000; /* a daemon asks time(NULL), once for each batch */

    for (uint32_t id = 1; id <= 1000; id++) {
        build_route(frame, 1);
        take_route(&client, id, frame, now);
    }
    expect(client.routes == 1000 && client.drops.all == 0, "a healthy stream asks for no explanation");

    for (uint32_t id = 1001; id <= 1010; id++) {
        build_route(frame, 7);
        take_route(&client, id, frame, now);
    }
    expect(client.drops.all == 10 && client.drops.silent == 8, "two of ten drops are explained in this second");

    build_route(frame, 7);
    take_route(&client, 1011, frame, now + 1);
    expect(client.drops.silent == 0 && client.drops.explained == 1, "the next second has explanations again");

    send_rubbish(take_rubbish, &client);
    expect(client.routes == 1001, "of rubbish an empty route arrives, and nothing stops");
    return 0;
}
