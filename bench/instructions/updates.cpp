#include "bench/instructions/updates.hpp"

#include "ip/rib/lib/src/rib_lib.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"

#include <cstring>

namespace bench
{
namespace
{

constexpr size_t payload_total = 500; // of the encoded protocol and opaque updates, which vary
constexpr uint32_t path_counts[] = {1, 4, 64};
constexpr uint32_t key_total = 16;

template <class Message, class... Arguments>
bytes encoded(const Message &msg, size_t (*encode)(const Message *, uint8_t *, size_t, Arguments...))
{
    bytes out(encode(&msg, nullptr, 0, Arguments()...));
    encode(&msg, out.data(), out.size(), Arguments()...);
    return out;
}

void set_ipv4(zidl_rib_address &address, uint32_t value)
{
    zidl_rib_address_set_family(&address, RIB_FAMILY_IPV4);
    zidl_rib_address_set_ipv4(&address, value);
}

// A next hop, labels and three scalars a path: what most routes have.
bytes make_sparse_route(uint32_t paths)
{
    uint32_t labels[] = {16, 299'776};
    std::vector<zidl_rib_path> all(paths);
    for (uint32_t i = 0; i < paths; ++i) {
        zidl_rib_path &path = all[i];
        zidl_rib_path_set_path_value_1(&path, i);
        zidl_rib_path_set_path_value_3(&path, 0x204);
        set_ipv4(path.path_address_4, 0x0a000001 + i);
        zidl_rib_path_mark_path_address_4(&path);
        path.path_values_9 = labels;
        path.path_values_9_count = 2;
        zidl_rib_path_mark_path_values_9(&path);
        zidl_rib_path_set_path_value_22(&path, 100);
    }
    zidl_rib_route route = {};
    set_ipv4(route.route_prefix.address, 0xc0a80000);
    zidl_rib_prefix_mark_address(&route.route_prefix);
    zidl_rib_prefix_set_prefix_len(&route.route_prefix, 16);
    zidl_rib_route_mark_route_prefix(&route);
    zidl_rib_route_set_route_value_9(&route, 20);
    route.paths = all.data();
    route.paths_count = paths;
    zidl_rib_route_mark_paths(&route);
    return encoded(route, zidl_rib_route_encode_ext);
}

// Label keys, with what every key must have.
bytes make_grid_list()
{
    uint32_t labels[] = {16, 17, 18};
    std::vector<zidl_rib_encap_id> ids(key_total);
    std::vector<zidl_rib_encap_id_key> keys(key_total);
    for (uint32_t i = 0; i < key_total; ++i) {
        zidl_rib_encap_id_set_encap_id(&ids[i], 1000 + i);
        zidl_rib_encap_id_key &key = keys[i];
        zidl_rib_encap_id_key_set_key_value_1(&key, i);
        zidl_rib_encap_id_key_set_key_value_2(&key, 7);
        for (zidl_rib_msg_prefix *const prefix : {&key.key_prefix, &key.key_second_prefix}) {
            zidl_rib_msg_prefix_set_family(prefix, RIB_SOCKET_FAMILY_IPV4);
            zidl_rib_msg_prefix_set_prefix_len(prefix, 24);
            zidl_rib_msg_prefix_set_ipv4(prefix, 0x0a000000 + 256 * i);
        }
        zidl_rib_encap_id_key_mark_key_prefix(&key);
        zidl_rib_encap_id_key_mark_key_second_prefix(&key);
        zidl_rib_encap_id_key_set_key_value_4(&key, 4);
        zidl_rib_encap_id_key_set_key_type(&key, 1);
        key.label_key.labels = labels;
        key.label_key.labels_count = 3;
        zidl_rib_encap_id_path_key_label_mark_labels(&key.label_key);
        zidl_rib_encap_id_key_mark_label_key(&key);
    }
    zidl_rib_grid_sync_list list = {};
    list.encap_ids = ids.data();
    list.encap_ids_count = key_total;
    zidl_rib_grid_sync_list_mark_encap_ids(&list);
    list.keys = keys.data();
    list.keys_count = key_total;
    zidl_rib_grid_sync_list_mark_keys(&list);
    zidl_rib_grid_sync_list_set_multi_key(&list, true);
    return encoded(list, zidl_rib_grid_sync_list_encode_ext);
}

bytes make_nhid()
{
    zidl_rib_nhid_update nhid = {};
    zidl_rib_nhid_update_set_nhid_update_value_1(&nhid, 1);
    set_ipv4(nhid.nhid_encap_key.nhid_key_address, 0x0a000001);
    zidl_rib_nhid_encap_key_mark_nhid_key_address(&nhid.nhid_encap_key);
    zidl_rib_nhid_encap_key_set_nhid_key_value_3(&nhid.nhid_encap_key, 3);
    zidl_rib_nhid_update_mark_nhid_encap_key(&nhid);
    zidl_rib_nhid_update_set_nhid(&nhid, 77);
    return encoded(nhid, zidl_rib_nhid_update_encode_ext);
}

bytes make_old_proto()
{
    bytes payload = {
        0x00, 0x07,             // proto_id = 7
        0x00, 0x01,             // proto_sub_id = 1
        0x00, 0x00, 0x00, 0x64, // proto_value = 100
        'b',  'g',  'p',        // proto_name
    };
    payload.resize(sizeof(rib_protoid_map));
    return payload;
}

bytes make_old_opaque()
{
    return {
        0x00, 0x01,             // opaque_type = 1
        0x00, 0x00,             // not used
        0x00, 0x00, 0x00, 0x02, // opaque_id = 2
        0x00, 0x03,             // 3 bytes in the first block
        0x00, 0x00,             // sub_id = 0
        0x00, 0x00, 0x00, 0x09, // opaque_value = 9
        0x00, 0x00, 0x00, 0x02, // 2 bytes in the second block
        0x00, 0x00, 0x00, 0x00, // not used
        0xa1, 0xa2, 0xa3,       // first block
        0xb1, 0xb2,             // second block
    };
}

client_updates payloads_of(const char *workload, uint16_t code)
{
    return {code, make_workload(workload, payload_total).messages};
}

} // namespace

std::vector<named_updates> updates_of_every_code()
{
    std::vector<named_updates> all = {
        {"proto", payloads_of("proto", RIB_TLV_PROTO)},
        {"opaque", payloads_of("opaque", RIB_TLV_OPAQUE)},
        {"grid", {RIB_TLV_GRID, {make_grid_list()}}},
        {"nhid", {RIB_TLV_NHID, {make_nhid()}}},
        {"old_proto", {RIB_TLV_OLD_PROTO, {make_old_proto()}}},
        {"old_opaque", {RIB_TLV_OLD_OPAQUE, {make_old_opaque()}}},
        {"old_route", {RIB_TLV_OLD_ROUTE, {bytes(8)}}},
    };
    for (const uint32_t paths : path_counts) {
        const std::string suffix = "_route_" + std::to_string(paths);
        all.push_back({"sparse" + suffix, {RIB_TLV_ROUTE, {make_sparse_route(paths)}}});
        all.push_back({"rich" + suffix, {RIB_TLV_ROUTE, {make_convertible_route(paths)}}});
    }
    return all;
}

} // namespace bench
