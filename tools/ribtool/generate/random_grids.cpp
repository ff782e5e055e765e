#include "tools/ribtool/generate/random_grids.hpp"

#include "tools/ribtool/generate/random_values.hpp"

#include <iterator>

namespace ribtool
{

namespace
{

constexpr uint32_t KEY_TYPE_LABEL = 1;
constexpr uint32_t KEY_TYPE_SRV6 = 2;

zidl_rib_encap_id_path_key_label random_label_key(random_source &random, scratch &memory, extent size)
{
    zidl_rib_encap_id_path_key_label msg = {};
    zidl_rib_encap_id_path_key_label_set_label_key_value(&msg, random.below(100));
    msg.labels_count = list_len(random, size, 2, 8, GRID_MAX_LABELS);
    msg.labels = memory.array<uint32_t>(msg.labels_count);
    for (uint32_t index = 0; index < msg.labels_count; ++index)
        msg.labels[index] = random_label(random);
    zidl_rib_encap_id_path_key_label_mark_labels(&msg);
    return msg;
}

zidl_rib_encap_id_path_key_srv6_carriers random_carriers(random_source &random, scratch &memory, extent size)
{
    zidl_rib_encap_id_path_key_srv6_carriers msg = {};
    zidl_rib_srv6_oper_type_set_oper_selector(&msg.oper_type, static_cast<uint8_t>(random.below(2)));
    zidl_rib_srv6_oper_type_set_oper_when_set(&msg.oper_type, random.below(8));
    zidl_rib_srv6_oper_type_set_oper_when_clear(&msg.oper_type, random.below(8));
    zidl_rib_encap_id_path_key_srv6_carriers_mark_oper_type(&msg);
    msg.carriers_count = list_len(random, size, 1, 4, GRID_MAX_CARRIERS);
    msg.carriers = memory.array<zidl_rib_encap_id_path_key_srv6_carrier_info>(msg.carriers_count);
    for (uint32_t index = 0; index < msg.carriers_count; ++index) {
        zidl_rib_encap_id_path_key_srv6_carrier_info &carrier = msg.carriers[index];
        zidl_rib_encap_id_path_key_srv6_carrier_info_set_carrier_value_1(&carrier, random.below(100));
        zidl_rib_encap_id_path_key_srv6_carrier_info_set_carrier_value_2(&carrier, random.below(256));
        carrier.carrier_bytes_size = size == extent::small ? 4 : 16;
        carrier.carrier_bytes = memory.bytes(random_bytes(random, carrier.carrier_bytes_size));
        zidl_rib_encap_id_path_key_srv6_carrier_info_mark_carrier_bytes(&carrier);
    }
    zidl_rib_encap_id_path_key_srv6_carriers_mark_carriers(&msg);
    return msg;
}

void add_usual_members(zidl_rib_encap_id_key &key, random_source &random, scratch &memory, bool is_ipv6)
{
    zidl_rib_encap_id_key_set_key_value_6(&key, random.next32());
    zidl_rib_encap_id_key_set_key_value_8(&key, random.magnitude32());
    key.key_extra_prefixes_count = random.below(GRID_MAX_EXTRA_PREFIXES + 1);
    key.key_extra_prefixes = memory.array<zidl_rib_msg_prefix>(key.key_extra_prefixes_count);
    for (uint32_t index = 0; index < key.key_extra_prefixes_count; ++index)
        key.key_extra_prefixes[index] = flat_prefix_message(random_prefix(random, is_ipv6), memory);
    zidl_rib_encap_id_key_mark_key_extra_prefixes(&key);
    zidl_rib_encap_id_key_set_key_value_12(&key, random.magnitude32());
    zidl_rib_encap_id_key_set_key_value_13(&key, random.below(1u << 16));
    if (random.one_in(2))
        zidl_rib_encap_id_key_set_key_value_15(&key, random_label(random));
    zidl_rib_encap_id_key_set_key_value_16(&key, random.magnitude32());
    zidl_rib_encap_id_key_set_key_value_17(&key, random.below(1u << 16));
    zidl_rib_encap_id_key_set_key_value_18(&key, random.magnitude32());
    if (random.one_in(2))
        zidl_rib_encap_id_key_set_key_value_19(&key, random.magnitude32());
}

void add_type_data(zidl_rib_encap_id_key &key, random_source &random, scratch &memory, extent size)
{
    if (key.key_type == KEY_TYPE_LABEL) {
        key.label_key = random_label_key(random, memory, size);
        zidl_rib_encap_id_key_mark_label_key(&key);
    }
    if (key.key_type != KEY_TYPE_SRV6)
        return;
    key.srv6_carriers = random_carriers(random, memory, size);
    zidl_rib_encap_id_key_mark_srv6_carriers(&key);
    if (size != extent::small) {
        key.key_bytes_20_size = 16;
        key.key_bytes_20 = memory.bytes(random_bytes(random, key.key_bytes_20_size));
        zidl_rib_encap_id_key_mark_key_bytes_20(&key);
    }
}

} // namespace

zidl_rib_encap_id_key random_key(random_source &random, scratch &memory, uint32_t key_type, extent size)
{
    zidl_rib_encap_id_key key = {};
    const bool is_ipv6 = size == extent::full || (size == extent::usual && random.one_in(3));
    zidl_rib_encap_id_key_set_key_value_1(&key, random.below(1u << 14));
    zidl_rib_encap_id_key_set_key_value_2(&key, random.below(100));
    key.key_prefix = flat_prefix_message(random_prefix(random, is_ipv6), memory);
    zidl_rib_encap_id_key_mark_key_prefix(&key);
    zidl_rib_encap_id_key_set_key_value_4(&key, random.below(128));
    zidl_rib_encap_id_key_set_key_type(&key, key_type);
    // The client insists on the second prefix of a key that has data of its own.
    if (key_type == KEY_TYPE_LABEL || key_type == KEY_TYPE_SRV6) {
        key.key_second_prefix = flat_prefix_message(random_prefix(random, is_ipv6), memory);
        zidl_rib_encap_id_key_mark_key_second_prefix(&key);
    }
    if (size != extent::small)
        add_usual_members(key, random, memory, is_ipv6);
    add_type_data(key, random, memory, size);
    return key;
}

zidl_rib_grid_sync_list random_grid(random_source &random, scratch &memory, uint32_t key_count, bool multi_key,
                                    extent size)
{
    constexpr uint32_t KEY_TYPES[] = {KEY_TYPE_LABEL, KEY_TYPE_LABEL, KEY_TYPE_SRV6, 3, 4};
    zidl_rib_grid_sync_list list = {};
    list.encap_ids = memory.array<zidl_rib_encap_id>(key_count);
    list.encap_ids_count = key_count;
    list.keys = memory.array<zidl_rib_encap_id_key>(key_count);
    list.keys_count = key_count;
    for (uint32_t index = 0; index < key_count; ++index) {
        zidl_rib_encap_id_set_encap_id(&list.encap_ids[index], random.below(1u << 28));
        const uint32_t type = KEY_TYPES[random.below(static_cast<uint32_t>(std::size(KEY_TYPES)))];
        list.keys[index] = random_key(random, memory, type, size);
    }
    zidl_rib_grid_sync_list_mark_encap_ids(&list);
    zidl_rib_grid_sync_list_mark_keys(&list);
    zidl_rib_grid_sync_list_set_multi_key(&list, multi_key ? 1 : 0);
    return list;
}

} // namespace ribtool
