#include "tools/ribtool/generate/random_paths.hpp"

#include "tools/ribtool/generate/random_values.hpp"
#include "tools/ribtool/tables/table_route.hpp"

namespace ribtool
{

namespace
{

void add_path_labels(zidl_rib_path &msg, random_source &random, scratch &memory, extent size)
{
    msg.path_values_9_count = list_len(random, size, 2, 4, RIB_MAX_PATH_LABELS);
    msg.path_values_9 = memory.array<uint32_t>(msg.path_values_9_count);
    for (uint32_t index = 0; index < msg.path_values_9_count; ++index)
        msg.path_values_9[index] = random_label(random);
    zidl_rib_path_mark_path_values_9(&msg);
}

void add_next_next_hops(zidl_rib_path &msg, random_source &random, scratch &memory, extent size)
{
    msg.nnh_entries_count = list_len(random, size, 1, 8, RIB_MAX_NNH);
    msg.nnh_entries = memory.array<zidl_rib_nnh>(msg.nnh_entries_count);
    for (uint32_t index = 0; index < msg.nnh_entries_count; ++index) {
        zidl_rib_nnh &entry = msg.nnh_entries[index];
        const uint32_t type = random.between(1, 2);
        zidl_rib_nnh_set_nnh_value_1(&entry, type);
        if (type == 1)
            zidl_rib_nnh_set_nnh_value_2(&entry, random.below(1u << 24));
        else
            zidl_rib_nnh_set_nnh_value_3(&entry, random_label(random));
    }
    zidl_rib_path_mark_nnh_entries(&msg);
}

void add_srv6(zidl_rib_path &msg, random_source &random, scratch &memory, extent size)
{
    msg.via_srv6_sid.via_sid = ipv6_message(random_address(random, true));
    zidl_rib_path_via_srv6_sid_mark_via_sid(&msg.via_srv6_sid);
    zidl_rib_path_via_srv6_sid_set_via_sid_value_3(&msg.via_srv6_sid, random.below(8));
    zidl_rib_path_mark_via_srv6_sid(&msg);

    msg.srv6_sid_infos_count = list_len(random, size, 1, 4, RIB_MAX_SID_INFOS);
    msg.srv6_sid_infos = memory.array<zidl_rib_path_srv6_sid_info>(msg.srv6_sid_infos_count);
    for (uint32_t index = 0; index < msg.srv6_sid_infos_count; ++index) {
        zidl_rib_path_srv6_sid_info &info = msg.srv6_sid_infos[index];
        info.sid_info_prefix = prefix_message(random_prefix(random, true));
        zidl_rib_path_srv6_sid_info_mark_sid_info_prefix(&info);
        if (size == extent::full || random.one_in(3))
            zidl_rib_path_srv6_sid_info_set_sid_info_value_3(&info, 1);
    }
    zidl_rib_path_mark_srv6_sid_infos(&msg);
}

void add_backup_addresses(zidl_rib_path &msg, random_source &random, scratch &memory, extent size, bool is_ipv6)
{
    msg.path_addresses_count = list_len(random, size, 1, 2, RIB_MAX_PATH_ADDRESSES);
    msg.path_addresses = memory.array<zidl_rib_address>(msg.path_addresses_count);
    for (uint32_t index = 0; index < msg.path_addresses_count; ++index)
        msg.path_addresses[index] = address_message(random_address(random, is_ipv6));
    zidl_rib_path_mark_path_addresses(&msg);
}

void add_iid(zidl_rib_path &msg, random_source &random, bool is_ipv6)
{
    zidl_rib_path_iid_attr_set_iid_attr_value_1(&msg.iid_attr, random.below(100));
    msg.iid_attr.iid_attr_prefix = prefix_message(random_prefix(random, is_ipv6));
    zidl_rib_path_iid_attr_mark_iid_attr_prefix(&msg.iid_attr);
    zidl_rib_path_iid_attr_set_iid_attr_value_4(&msg.iid_attr, random.magnitude32());
    zidl_rib_path_mark_iid_attr(&msg);
}

void add_l2(zidl_rib_path &msg, random_source &random)
{
    zidl_rib_path_l2_info_set_l2_value_5(&msg.l2_info, random.below(4096));
    zidl_rib_path_l2_info_set_l2_value_6(&msg.l2_info, random.magnitude32());
    zidl_rib_path_l2_info_set_l2_value_7(&msg.l2_info, random.below(16));
    zidl_rib_path_l2_info_set_l2_value_8(&msg.l2_info, random.magnitude32());
    zidl_rib_path_mark_l2_info(&msg);
}

void add_tunnel(zidl_rib_path &msg, random_source &random)
{
    zidl_rib_path_ip_tunnel_info &tunnel = msg.ip_tunnel_info;
    zidl_rib_path_ip_tunnel_info_set_tunnel_flag(&tunnel, static_cast<uint8_t>(random.below(2)));
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_6(&tunnel, random.below(14));
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_7(&tunnel, random.below(1u << 24));
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_8(&tunnel, random.magnitude32());
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_9(&tunnel, random.below(1u << 24));
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_10(&tunnel, random.magnitude(64));
    zidl_rib_path_mark_ip_tunnel_info(&msg);
}

void add_aft(zidl_rib_path &msg, random_source &random)
{
    zidl_rib_path_via_aft_id_set_via_aft_id(&msg.via_aft_id, random.magnitude(64));
    zidl_rib_path_via_aft_id_set_via_aft_value_6(&msg.via_aft_id, random.magnitude32());
    zidl_rib_path_via_aft_id_set_via_aft_value_7(&msg.via_aft_id, random.below(4));
    zidl_rib_path_mark_via_aft_id(&msg);
}

void add_grouping(zidl_rib_path &msg, random_source &random)
{
    zidl_rib_path_grouping_info_set_grouping_value_2(&msg.grouping_info, random.magnitude32());
    zidl_rib_path_mark_grouping_info(&msg);
}

void add_sl_id(zidl_rib_path &msg, random_source &random)
{
    zidl_rib_path_sl_id_info_set_sl_id_value_2(&msg.sl_id_info, random.between(1, 2));
    zidl_rib_path_sl_id_info_set_sl_id_value_3(&msg.sl_id_info, random.magnitude32());
    zidl_rib_path_mark_sl_id_info(&msg);
}

void add_ecomm(zidl_rib_path &msg, random_source &random, scratch &memory, extent size)
{
    zidl_rib_ecomm_array_set_ecomm_value_1(&msg.ecomm, static_cast<uint32_t>(community_kind::extended));
    msg.ecomm.ecomm_count = list_len(random, size, 1, 6, 64);
    msg.ecomm.ecomm_values = memory.array<uint64_t>(msg.ecomm.ecomm_count);
    for (uint32_t index = 0; index < msg.ecomm.ecomm_count; ++index)
        msg.ecomm.ecomm_values[index] = uint64_t{2} << 48 | random.next() >> 16;
    zidl_rib_ecomm_array_mark_ecomm_values(&msg.ecomm);
    zidl_rib_path_mark_ecomm(&msg);
}

void add_scalars(zidl_rib_path &msg, random_source &random, extent size)
{
    zidl_rib_path_set_path_value_1(&msg, random.below(1u << 14));
    zidl_rib_path_set_path_value_3(&msg, random.below(1u << 11));
    zidl_rib_path_set_path_value_10(&msg, random.below(1u << 14));
    if (size == extent::small)
        return;
    zidl_rib_path_set_path_value_2(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_8(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_11(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_12(&msg, random.below(256));
    zidl_rib_path_set_path_value_13(&msg, random.below(3));
    zidl_rib_path_set_path_value_16(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_22(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_25(&msg, random.below(1000));
    zidl_rib_path_set_path_value_28(&msg, random.below(256));
    zidl_rib_path_set_path_value_31(&msg, random.magnitude32());
}

void add_whole_addresses(zidl_rib_path &msg, random_source &random, bool is_ipv6)
{
    msg.path_address_4 = address_message(random_address(random, is_ipv6));
    zidl_rib_path_mark_path_address_4(&msg);
    msg.path_prefix = prefix_message(random_prefix(random, is_ipv6));
    zidl_rib_path_mark_path_prefix(&msg);
    msg.path_ipv6_address = ipv6_message(random_address(random, true));
    zidl_rib_path_mark_path_ipv6_address(&msg);
    zidl_rib_path_set_path_value_14(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_19(&msg, random_label(random));
}

} // namespace

zidl_rib_path random_path(random_source &random, scratch &memory, uint32_t features, extent size)
{
    zidl_rib_path msg = {};
    const bool is_ipv6 = size == extent::full || (size == extent::usual && random.one_in(4));
    add_scalars(msg, random, size);
    msg.path_address_5 = address_message(random_address(random, is_ipv6));
    zidl_rib_path_mark_path_address_5(&msg);
    if (size == extent::full)
        add_whole_addresses(msg, random, is_ipv6);
    if ((features & PATH_LABELS) != 0)
        add_path_labels(msg, random, memory, size);
    if ((features & PATH_NEXT_NEXT_HOPS) != 0)
        add_next_next_hops(msg, random, memory, size);
    if ((features & PATH_SRV6) != 0)
        add_srv6(msg, random, memory, size);
    if ((features & PATH_BACKUP_ADDRESSES) != 0)
        add_backup_addresses(msg, random, memory, size, is_ipv6);
    if ((features & PATH_IID) != 0)
        add_iid(msg, random, is_ipv6);
    if ((features & PATH_L2) != 0)
        add_l2(msg, random);
    if ((features & PATH_TUNNEL) != 0)
        add_tunnel(msg, random);
    if ((features & PATH_AFT) != 0)
        add_aft(msg, random);
    if ((features & PATH_GROUPING) != 0)
        add_grouping(msg, random);
    if ((features & PATH_SL_ID) != 0)
        add_sl_id(msg, random);
    if ((features & PATH_ECOMM) != 0)
        add_ecomm(msg, random, memory, size);
    return msg;
}

} // namespace ribtool
