// One path of a route by hand, member after member, into a cleared entry.

#pragma once

#include "bench/by_hand/convert_address.hpp"

#include <algorithm>

namespace bench::by_hand
{

template <class Path>
void convert_path_scalars(const Path &path, rib_path_entry &entry)
{
    constexpr uint32_t value_3_mask = 0x0fff'f7ff;
    COPY_PRESENT(entry.pe_value_1, path, path_value_1);
    COPY_PRESENT(entry.pe_value_2, path, path_value_2);
    COPY_PRESENT(entry.pe_value_3, path, path_value_3);
    entry.pe_value_3 &= value_3_mask;
    COPY_PRESENT(entry.pe_value_8, path, path_value_8);
    COPY_PRESENT(entry.pe_value_10, path, path_value_10);
    COPY_PRESENT(entry.pe_value_11, path, path_value_11);
    COPY_PRESENT(entry.pe_value_12, path, path_value_12);
    COPY_PRESENT(entry.pe_value_13, path, path_value_13);
    COPY_PRESENT(entry.pe_value_16, path, path_value_16);
    entry.pe_value_19 = RIB_NO_LABEL;
    COPY_PRESENT(entry.pe_value_19, path, path_value_19);
    COPY_PRESENT(entry.pe_value_22, path, path_value_22);
    COPY_PRESENT(entry.pe_value_25, path, path_value_25);
    COPY_PRESENT(entry.pe_value_28, path, path_value_28);
    COPY_PRESENT(entry.pe_value_31, path, path_value_31);
}

template <class Path>
bool convert_path_addresses(const Path &path, rib_path_entry &entry)
{
    entry.pe_prefix_len = RIB_NO_PREFIX_LEN;
    if (HAS(path, path_address_4) && !convert_address(GET(path, path_address_4), entry.pe_addr_4, nullptr))
        return false;
    if (HAS(path, path_address_5) &&
        !convert_address(GET(path, path_address_5), entry.pe_addr_5, &entry.pe_addr_5_family))
        return false;
    if (HAS(path, path_prefix) &&
        !convert_prefix(GET(path, path_prefix), entry.pe_prefix, &entry.pe_prefix_len, nullptr))
        return false;
    if (HAS(path, path_ipv6_address)) {
        if (!HAS(GET(path, path_ipv6_address), half0))
            return false;
        convert_ipv6(GET(path, path_ipv6_address), entry.pe_ipv6);
    }
    if (COUNT(path, path_addresses) > RIB_MAX_PATH_ADDRESSES)
        return false;
    entry.pe_address_count = static_cast<uint8_t>(COUNT(path, path_addresses));
    for (size_t i = 0; i < entry.pe_address_count; ++i)
        convert_address(ELEMENT(path, path_addresses, i), entry.pe_addresses[i], nullptr);
    return true;
}

template <class Path>
bool convert_labels(const Path &path, rib_path_entry &entry)
{
    const size_t count = COUNT(path, path_values_9);
    if (count > RIB_MAX_PATH_LABELS)
        return false;
    if (count == 0)
        std::fill(std::begin(entry.pe_labels), std::end(entry.pe_labels), uint32_t{RIB_NO_LABEL});
    entry.pe_label_count = static_cast<uint8_t>(count);
    for (size_t i = 0; i < count; ++i)
        entry.pe_labels[i] = ELEMENT(path, path_values_9, i);
    return true;
}

template <class Hop>
bool is_usable(const Hop &hop)
{
    if (!HAS(hop, nnh_value_1) || HAS(hop, nnh_value_4))
        return false;
    const uint32_t type = GET(hop, nnh_value_1);
    return (type == 1 && HAS(hop, nnh_value_2) && !HAS(hop, nnh_value_3)) ||
           (type == 2 && HAS(hop, nnh_value_3) && !HAS(hop, nnh_value_2));
}

template <class Path>
void convert_next_next_hops(const Path &path, rib_path_entry &entry)
{
    const size_t count = std::min<size_t>(COUNT(path, nnh_entries), RIB_MAX_NNH);
    for (size_t i = 0; i < count; ++i) {
        const auto &hop = ELEMENT(path, nnh_entries, i);
        if (!is_usable(hop))
            return;
        entry.pe_nnh[i].type = static_cast<uint8_t>(GET(hop, nnh_value_1));
        entry.pe_nnh[i].value = entry.pe_nnh[i].type == 1 ? GET(hop, nnh_value_2) : GET(hop, nnh_value_3);
        entry.pe_nnh_count++;
    }
}

template <class Path>
bool convert_sid_infos(const Path &path, rib_path_entry &entry)
{
    if (COUNT(path, srv6_sid_infos) > RIB_MAX_SID_INFOS)
        return false;
    entry.pe_sid_info_count = static_cast<uint8_t>(COUNT(path, srv6_sid_infos));
    for (size_t i = 0; i < entry.pe_sid_info_count; ++i) {
        const auto &info = ELEMENT(path, srv6_sid_infos, i);
        rib_sid_info_entry &slot = entry.pe_sid_infos[i];
        slot.prefix_len = RIB_NO_PREFIX_LEN;
        if (HAS(info, sid_info_prefix))
            convert_prefix(GET(info, sid_info_prefix), slot.address, &slot.prefix_len, nullptr);
        if (static_cast<uint8_t>(GET(info, sid_info_value_3)) != 0)
            slot.marker = '*';
    }
    return true;
}

template <class Path>
void convert_iid_attr(const Path &path, rib_path_entry &entry)
{
    if (!HAS(path, iid_attr))
        return;
    const auto &iid = GET(path, iid_attr);
    if (!HAS(iid, iid_attr_value_1) || HAS(iid, iid_attr_value_2))
        return;
    entry.pe_iid_value_1 = GET(iid, iid_attr_value_1);
    COPY_PRESENT(entry.pe_iid_value_4, iid, iid_attr_value_4);
    if (!HAS(iid, iid_attr_prefix))
        return;
    uint32_t len = 0;
    uint32_t family = 0;
    convert_prefix(GET(iid, iid_attr_prefix), entry.pe_iid_prefix, &len, &family);
    entry.pe_iid_prefix_len = static_cast<uint8_t>(len);
    entry.pe_iid_prefix_family = static_cast<uint8_t>(family);
}

template <class Path>
void convert_l2_info(const Path &path, rib_path_entry &entry)
{
    if (!HAS(path, l2_info))
        return;
    const auto &l2 = GET(path, l2_info);
    if (HAS(l2, l2_value_1))
        return;
    COPY_PRESENT(entry.pe_l2_5, l2, l2_value_5);
    COPY_PRESENT(entry.pe_l2_6, l2, l2_value_6);
    COPY_PRESENT(entry.pe_l2_7, l2, l2_value_7);
    COPY_PRESENT(entry.pe_l2_8, l2, l2_value_8);
}

template <class Path>
void convert_via_srv6_sid(const Path &path, rib_path_entry &entry)
{
    entry.pe_via_sid_value = 1;
    if (!HAS(path, via_srv6_sid))
        return;
    const auto &via = GET(path, via_srv6_sid);
    if (HAS(via, via_sid_value_1)) {
        entry.pe_via_sid_value = 0;
        return;
    }
    if (HAS(via, via_sid) && HAS(GET(via, via_sid), half0))
        convert_ipv6(GET(via, via_sid), entry.pe_via_sid);
    COPY_PRESENT(entry.pe_via_sid_value, via, via_sid_value_3);
}

template <class Path>
void convert_tunnel(const Path &path, rib_path_entry &entry)
{
    constexpr uint32_t value_6_max = 13;
    constexpr uint32_t low_24_bits = 0x00ff'ffff;
    if (!HAS(path, ip_tunnel_info))
        return;
    const auto &tunnel = GET(path, ip_tunnel_info);
    if (HAS(tunnel, tunnel_value_1))
        return;
    uint32_t flags = GET(tunnel, tunnel_flag) ? 1 : 0;
    if (HAS(tunnel, tunnel_value_6) && GET(tunnel, tunnel_value_6) <= value_6_max)
        flags |= GET(tunnel, tunnel_value_6) << 5;
    if (HAS(tunnel, tunnel_value_7)) {
        flags |= 1 << 1;
        entry.pe_tunnel_7 = GET(tunnel, tunnel_value_7) & low_24_bits;
    }
    if (HAS(tunnel, tunnel_value_9)) {
        flags |= 1 << 2;
        entry.pe_tunnel_9 = GET(tunnel, tunnel_value_9) & low_24_bits;
    }
    if (HAS(tunnel, tunnel_value_8)) {
        flags |= 1 << 3;
        entry.pe_tunnel_8 = GET(tunnel, tunnel_value_8);
    }
    if (HAS(tunnel, tunnel_value_10)) {
        flags |= 1 << 4;
        entry.pe_tunnel_10 = GET(tunnel, tunnel_value_10);
    }
    entry.pe_tunnel_flags = static_cast<uint16_t>(flags);
}

template <class Path>
void convert_aft_id(const Path &path, rib_path_entry &entry)
{
    if (!HAS(path, via_aft_id))
        return;
    const auto &aft = GET(path, via_aft_id);
    if (HAS(aft, via_aft_value_1) || !HAS(aft, via_aft_id) || !HAS(aft, via_aft_value_6) || !HAS(aft, via_aft_value_7))
        return;
    entry.pe_via_aft_id = GET(aft, via_aft_id);
    entry.pe_aft_6 = GET(aft, via_aft_value_6);
    entry.pe_aft_7 = GET(aft, via_aft_value_7) < 3 ? GET(aft, via_aft_value_7) : 0;
}

template <class Path>
void convert_small_blocks(const Path &path, rib_path_entry &entry)
{
    if (HAS(path, grouping_info) && !HAS(GET(path, grouping_info), grouping_value_1))
        COPY_PRESENT(entry.pe_grouping_2, GET(path, grouping_info), grouping_value_2);
    if (!HAS(path, sl_id_info))
        return;
    const auto &sl_id = GET(path, sl_id_info);
    const uint32_t kind = GET(sl_id, sl_id_value_2);
    if (HAS(sl_id, sl_id_value_1) || (kind != 1 && kind != 2))
        return;
    entry.pe_sl_kind = static_cast<uint8_t>(kind);
    COPY_PRESENT(entry.pe_sl_value, sl_id, sl_id_value_3);
}

template <class Path>
size_t ecomm_room(const Path &path)
{
    return HAS(path, ecomm) ? COUNT(GET(path, ecomm), ecomm_values) : 0;
}

template <class Path>
void convert_ecomm(const Path &path, rib_path_entry &entry)
{
    if (!HAS(path, ecomm))
        return;
    const auto &ecomm = GET(path, ecomm);
    entry.pe_ecomm_room = static_cast<uint32_t>(COUNT(ecomm, ecomm_values));
    if (HAS(ecomm, ecomm_value_3))
        return;
    COPY_PRESENT(entry.pe_ecomm_value_1, ecomm, ecomm_value_1);
    entry.pe_ecomm_count = static_cast<uint16_t>(entry.pe_ecomm_room);
    uint64_t *const values = reinterpret_cast<uint64_t *>(&entry + 1);
    for (size_t i = 0; i < entry.pe_ecomm_room; ++i)
        values[i] = ELEMENT(ecomm, ecomm_values, i);
}

template <class Path>
bool convert_path(const Path &path, rib_path_entry &entry)
{
    convert_ecomm(path, entry);
    convert_path_scalars(path, entry);
    if (!convert_path_addresses(path, entry) || !convert_labels(path, entry) || !convert_sid_infos(path, entry))
        return false;
    convert_next_next_hops(path, entry);
    convert_iid_attr(path, entry);
    convert_l2_info(path, entry);
    convert_via_srv6_sid(path, entry);
    convert_tunnel(path, entry);
    convert_aft_id(path, entry);
    convert_small_blocks(path, entry);
    return true;
}

} // namespace bench::by_hand
