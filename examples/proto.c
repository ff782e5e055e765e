/* A client of protocol updates: receives the identity of a routing protocol in both forms. */

#include <rib.h>
#include <rib_frames.h>
#include <stddef.h>

#include "expect.h"
#include "rubbish.h"

struct client {
    unsigned updates;
};

/* The map is the library's, and valid only here: copy what is to stay. */
static int on_protocol(uint32_t update_id, rib_protoid_map *map, void *ctx)
{
    struct client *client = ctx;
    client->updates++;
    printf("update %u: protocol %u.%u value %u name '%s' extra '%s'\n", update_id, map->proto_id, map->proto_sub_id,
           map->proto_value, map->proto_name, map->proto_extra_name);
    return 0;
}

/* ---- What a peer may send ---- */

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

/* An encoded update without its identifier would stop the process. */
static int has_identifier(const uint8_t *payload, size_t len)
{
    zidl_ip_rib_proto_update msg;
    memset(&msg, 0, sizeof msg);
    const int32_t status = zidl_ip_rib_proto_update_decode_ext(&msg, payload, len, allocate, NULL, 0);
    const int has = status == ZIDL_OK && zidl_ip_rib_proto_update_has_proto_id(&msg);
    zidl_ip_rib_proto_update_free_ext(&msg, release, NULL, 0);
    return has;
}

/* The payload of the older form is taken for a whole record, whatever its length. A NUL in its last name ends both. */
static int is_whole_record(const uint8_t *payload, size_t len)
{
    const size_t extra_name = offsetof(rib_protoid_map, proto_extra_name);
    return len >= sizeof(rib_protoid_map) &&
           memchr(payload + extra_name, 0, sizeof(rib_protoid_map) - extra_name) != NULL;
}

/* The code of another entry point, or of none, would stop the process, too. */
static int is_safe(const uint8_t *frame)
{
    const uint8_t *payload = frame + RIB_FRAME_HEADER_LEN;
    switch (rib_frame_code(frame)) {
    case RIB_TLV_PROTO:
        return has_identifier(payload, rib_frame_payload_len(frame));
    case RIB_TLV_OLD_PROTO:
        return is_whole_record(payload, rib_frame_payload_len(frame));
    default:
        return 0;
    }
}

/* The older form is converted in place. */
static void take_update(uint8_t *frame, void *ctx)
{
    struct client *client = ctx;
    updatetype_local update = {.update_id = client->updates + 1, .payload = frame};
    if (is_safe(frame))
        rib_lib_pvt_parse_proto_update(on_protocol, &update, client);
}

/* ---- What a server sends ---- */

static void send_encoded(struct client *client)
{
    zidl_ip_rib_proto_update msg;
    memset(&msg, 0, sizeof msg);
    zidl_ip_rib_proto_update_set_proto_id(&msg, 7);
    zidl_ip_rib_proto_update_set_proto_sub_id(&msg, 2);
    zidl_ip_rib_proto_update_set_proto_value(&msg, 110);
    zidl_ip_rib_proto_update_set_proto_name(&msg, "static");
    zidl_ip_rib_proto_update_set_proto_extra_name(&msg, "default instance");

    uint8_t frame[256];
    size_t len = zidl_ip_rib_proto_update_encode_ext(&msg, frame + RIB_FRAME_HEADER_LEN,
                                                     sizeof frame - RIB_FRAME_HEADER_LEN, NULL, NULL, 0);
    expect(len <= sizeof frame - RIB_FRAME_HEADER_LEN, "the message fits the frame");
    rib_frame_put_header(frame, RIB_TLV_PROTO, len);
    take_update(frame, client);
}

/* The older form: the record itself, numbers in network byte order. */
static void send_older_form(struct client *client)
{
    static const uint8_t record[sizeof(rib_protoid_map)] = {0, 9, 0, 1, 0, 0, 0, 20, 'k', 'e', 'r', 'n', 'e', 'l'};
    uint8_t frame[RIB_FRAME_HEADER_LEN + sizeof record];
    rib_frame_put_header(frame, RIB_TLV_OLD_PROTO, sizeof record);
    memcpy(frame + RIB_FRAME_HEADER_LEN, record, sizeof record);
    take_update(frame, client);
}

int main(void)
{
    struct client client = {0};
    send_encoded(&client);
    send_older_form(&client);
    expect(client.updates == 2, "both updates arrived");
    send_rubbish(take_update, &client);
    expect(client.updates == 2, "rubbish does not arrive, and stops nothing");
    return 0;
}
