/* A client of the grid channel: encapsulation keys with their IDs, and next-hop IDs. */

#include <inspect/rib_inspect.h>
#include <rib.h>
#include <rib_frames.h>

#include "expect.h"
#include "rubbish.h"

struct client {
    unsigned keys;
    unsigned next_hops;
};

/* The record is the library's, and valid only here; its kind follows from the type code. */
static int on_grid(void *record, void *ctx, uint32_t tlv_type)
{
    struct client *client = ctx;
    if (tlv_type == RIB_TLV_NHID) {
        const nhid_update_local *update = record;
        printf("next hop: id %llu family %u\n", (unsigned long long)update->nhid, update->address_family);
        client->next_hops++;
        return 0;
    }
    const grid_sync_list *list = record;
    for (uint32_t i = 0; i < list->count; i++) {
        const rib_encap_id_path_key_t *key = &list->keys[i];
        printf("key %u: id %llu type %u prefix length %u\n", i,
               list->multi_key ? (unsigned long long)list->encap_ids[i] : 0, key->key_type, key->key_prefix.prefix_len);
        client->keys++;
    }
    return 0;
}

/* A list that is empty, whose counts differ, or with a key that lacks its second prefix would stop the process: the inspector
 * converts it first, and tells. Nothing that a next-hop ID holds is a danger. */
static int is_safe(const updatetype_local *update)
{
    const rib_explain_options options = {.without = RIB_WITHOUT_LOSSES};
    rib_explanation *why;
    if (rib_frame_code(update->payload) == RIB_TLV_NHID)
        return 1;
    if (rib_frame_code(update->payload) != RIB_TLV_GRID || rib_explain_update(update, &options, &why) != ZIDL_OK)
        return 0; /* the code of another entry point, or of none, would stop the process, too */
    const int is_delivered = why->outcome == RIB_DELIVERED;
    rib_explanation_free(why);
    return is_delivered;
}

static void take_update(uint8_t *frame, void *ctx)
{
    updatetype_local update = {.payload = frame};
    if (is_safe(&update))
        rib_lib_pvt_parse_grid_update(on_grid, &update, ctx);
}

/* ---- What a server sends: here a list of two keys without data of their own, and a next-hop ID ---- */

static size_t encode_list(uint8_t *payload, size_t size)
{
    zidl_rib_encap_id ids[2];
    zidl_rib_encap_id_key keys[2];
    memset(ids, 0, sizeof ids);
    memset(keys, 0, sizeof keys);
    for (uint32_t i = 0; i < 2; i++) {
        zidl_rib_encap_id_set_encap_id(&ids[i], 5000 + i);
        zidl_rib_encap_id_key_set_key_value_1(&keys[i], i);
        zidl_rib_encap_id_key_set_key_value_2(&keys[i], 0);
        zidl_rib_msg_prefix_set_family(&keys[i].key_prefix, 2);
        zidl_rib_msg_prefix_set_prefix_len(&keys[i].key_prefix, 24);
        zidl_rib_msg_prefix_set_ipv4(&keys[i].key_prefix, 0xC0000200);
        zidl_rib_encap_id_key_set_key_value_4(&keys[i], 0);
        zidl_rib_encap_id_key_set_key_type(&keys[i], 3);
    }
    zidl_rib_grid_sync_list list;
    memset(&list, 0, sizeof list);
    zidl_rib_grid_sync_list_set_encap_ids(&list, ids, 2);
    zidl_rib_grid_sync_list_set_keys(&list, keys, 2);
    zidl_rib_grid_sync_list_set_multi_key(&list, 1);
    return zidl_rib_grid_sync_list_encode_ext(&list, payload, size, NULL, NULL, 0);
}

static size_t encode_next_hop(uint8_t *payload, size_t size)
{
    zidl_rib_nhid_update msg;
    memset(&msg, 0, sizeof msg);
    zidl_rib_nhid_update_set_nhid_update_value_1(&msg, 1);
    zidl_rib_nhid_update_set_nhid(&msg, 900);
    zidl_rib_address_set_family(&msg.nhid_encap_key.nhid_key_address, 1);
    zidl_rib_address_set_ipv4(&msg.nhid_encap_key.nhid_key_address, 0xC0000201);
    return zidl_rib_nhid_update_encode_ext(&msg, payload, size, NULL, NULL, 0);
}

int main(void)
{
    uint8_t frame[256];
    uint8_t *payload = frame + RIB_FRAME_HEADER_LEN;
    const size_t room = sizeof frame - RIB_FRAME_HEADER_LEN;
    struct client client = {0};
    rib_frame_put_header(frame, RIB_TLV_GRID, encode_list(payload, room));
    take_update(frame, &client);
    rib_frame_put_header(frame, RIB_TLV_NHID, encode_next_hop(payload, room));
    take_update(frame, &client);
    expect(client.keys == 2 && client.next_hops == 1, "both updates arrived");
    send_rubbish(take_update, &client);
    expect(client.keys == 2 && client.next_hops == 1, "rubbish does not arrive, and stops nothing");
    return 0;
}
