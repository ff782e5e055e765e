/* A client of protocol updates: receives the identity of a routing protocol in both forms. */

#include <rib.h>
#include <rib_frames.h>

#include "expect.h"

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

/* What a server sends: an encoded message behind a header. */
static void send_encoded(struct client *client)
{
    char name[] = "static";
    char extra_name[] = "default instance";
    zidl_ip_rib_proto_update msg;
    memset(&msg, 0, sizeof msg);
    zidl_ip_rib_proto_update_set_proto_id(&msg, 7);
    zidl_ip_rib_proto_update_set_proto_sub_id(&msg, 2);
    zidl_ip_rib_proto_update_set_proto_value(&msg, 110);
    msg.proto_name = name;
    zidl_ip_rib_proto_update_mark_proto_name(&msg);
    msg.proto_extra_name = extra_name;
    zidl_ip_rib_proto_update_mark_proto_extra_name(&msg);

    uint8_t frame[256];
    size_t len = zidl_ip_rib_proto_update_encode_ext(&msg, frame + RIB_FRAME_HEADER_LEN,
                                                     sizeof frame - RIB_FRAME_HEADER_LEN, NULL, NULL, 0);
    expect(len <= sizeof frame - RIB_FRAME_HEADER_LEN, "the message fits the frame");
    rib_frame_put_header(frame, RIB_TLV_PROTO, len);

    updatetype_local update = {.update_id = 1, .payload = frame};
    rib_lib_pvt_parse_proto_update(on_protocol, &update, client);
}

/* The older form: the record itself, numbers in network byte order. It is converted in place. */
static void send_older_form(struct client *client)
{
    uint8_t record[sizeof(rib_protoid_map)] = {0, 9, 0, 1, 0, 0, 0, 20, 'k', 'e', 'r', 'n', 'e', 'l'};
    updatetype_local update = {
        .update_id = 2, .tlv_type = RIB_TLV_OLD_PROTO, .stripped = 1, .payload_len = sizeof record, .payload = record};
    rib_lib_pvt_parse_proto_update(on_protocol, &update, client);
}

int main(void)
{
    struct client client = {0};
    send_encoded(&client);
    send_older_form(&client);
    expect(client.updates == 2, "both updates arrived");
    return 0;
}
