// The attribute blocks of a path. Each is converted by itself: one that is absent, or that a value of its own rules out,
// leaves its members as they are.

#ifndef IP_RIB_LIB_SRC_PATH_BLOCKS_HPP
#define IP_RIB_LIB_SRC_PATH_BLOCKS_HPP

#include <stdint.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/route_address.hpp"
#include "messages/rib_common.h"

namespace rib_client
{

static void unpack_iid_attr(const zidl_rib_path &path, rib_path_entry &entry)
{
    const zidl_rib_path_iid_attr &iid = path.iid_attr;
    if (!zidl_rib_path_has_iid_attr(&path) || !zidl_rib_path_iid_attr_has_iid_attr_value_1(&iid) ||
        zidl_rib_path_iid_attr_has_iid_attr_value_2(&iid))
        return LEAVE(zidl_rib_path_iid_attr_has_iid_attr_value_2(&iid) ? reason::ruled_out : reason::incomplete, iid);
    entry.pe_iid_value_1 = iid.iid_attr_value_1;
    SHOWS(iid.iid_attr_value_1);
    COPY_PRESENT(entry.pe_iid_value_4, rib_path_iid_attr, iid, iid_attr_value_4);
    if (!zidl_rib_path_iid_attr_has_iid_attr_prefix(&iid) && !has_any(iid.iid_attr_prefix))
        return;
    uint32_t len = 0;
    uint32_t family = 0;
    unpack_prefix(iid.iid_attr_prefix, entry.pe_iid_prefix, &len, &family); // what it got to is kept, deliberately
    entry.pe_iid_prefix_len = static_cast<uint8_t>(len);
    entry.pe_iid_prefix_family = static_cast<uint8_t>(family);
    SHOWS_AS(iid.iid_attr_prefix.prefix_len, entry.pe_iid_prefix_len, reason::narrowed);
    SHOWS_AS(iid.iid_attr_prefix.address.family, entry.pe_iid_prefix_family, reason::narrowed);
}

static void unpack_l2_info(const zidl_rib_path &path, rib_path_entry &entry)
{
    const zidl_rib_path_l2_info &l2 = path.l2_info;
    if (!zidl_rib_path_has_l2_info(&path) || zidl_rib_path_l2_info_has_l2_value_1(&l2))
        return LEAVE(reason::ruled_out, l2);
    COPY_PRESENT(entry.pe_l2_5, rib_path_l2_info, l2, l2_value_5);
    COPY_PRESENT(entry.pe_l2_6, rib_path_l2_info, l2, l2_value_6);
    COPY_PRESENT(entry.pe_l2_7, rib_path_l2_info, l2, l2_value_7);
    COPY_PRESENT(entry.pe_l2_8, rib_path_l2_info, l2, l2_value_8);
}

static void unpack_via_aft_id(const zidl_rib_path &path, rib_path_entry &entry)
{
    constexpr uint32_t VALUE_7_END = 3;
    const zidl_rib_path_via_aft_id &aft = path.via_aft_id;
    if (!zidl_rib_path_has_via_aft_id(&path) || zidl_rib_path_via_aft_id_has_via_aft_value_1(&aft) ||
        !zidl_rib_path_via_aft_id_has_via_aft_id(&aft) || !zidl_rib_path_via_aft_id_has_via_aft_value_6(&aft) ||
        !zidl_rib_path_via_aft_id_has_via_aft_value_7(&aft))
        return LEAVE(zidl_rib_path_via_aft_id_has_via_aft_value_1(&aft) ? reason::ruled_out : reason::incomplete, aft);
    entry.pe_via_aft_id = aft.via_aft_id;
    entry.pe_aft_6 = aft.via_aft_value_6;
    entry.pe_aft_7 = aft.via_aft_value_7 < VALUE_7_END ? aft.via_aft_value_7 : 0;
    SHOWS(aft.via_aft_id);
    SHOWS(aft.via_aft_value_6);
    SHOWS_AS(aft.via_aft_value_7, entry.pe_aft_7, reason::out_of_range);
}

static void unpack_grouping_info(const zidl_rib_path &path, rib_path_entry &entry)
{
    const zidl_rib_path_grouping_info &grouping = path.grouping_info;
    LEAVE(reason::ruled_out, grouping); // if it is
    if (zidl_rib_path_has_grouping_info(&path) && !zidl_rib_path_grouping_info_has_grouping_value_1(&grouping))
        COPY_PRESENT(entry.pe_grouping_2, rib_path_grouping_info, grouping, grouping_value_2);
}

// One of the numbers of a tunnel that announce themselves in its flags.
template <class Member>
static void copy_announced(bool present, uint32_t flag, uint32_t &flags, Member &member, Member value)
{
    if (!present)
        return;
    flags |= 1u << flag;
    member = value;
}

static void unpack_ip_tunnel_info(const zidl_rib_path &path, rib_path_entry &entry)
{
    constexpr uint32_t VALUE_6_MAX = 13;
    constexpr int VALUE_6_SHIFT = 5;
    constexpr uint32_t LOW_24_BITS = 0x00FFFFFF;
    const zidl_rib_path_ip_tunnel_info &tunnel = path.ip_tunnel_info;
    if (!zidl_rib_path_has_ip_tunnel_info(&path) || zidl_rib_path_ip_tunnel_info_has_tunnel_value_1(&tunnel))
        return LEAVE(reason::ruled_out, tunnel);
    uint32_t flags = 0;
    if (zidl_rib_path_ip_tunnel_info_has_tunnel_flag(&tunnel) && tunnel.tunnel_flag != 0)
        flags |= 1;
    if (zidl_rib_path_ip_tunnel_info_has_tunnel_value_6(&tunnel) && tunnel.tunnel_value_6 <= VALUE_6_MAX)
        flags |= tunnel.tunnel_value_6 << VALUE_6_SHIFT;
    SHOWS(tunnel.tunnel_flag);
    SHOWS_AS(tunnel.tunnel_value_6, flags >> VALUE_6_SHIFT, reason::out_of_range);

    copy_announced(zidl_rib_path_ip_tunnel_info_has_tunnel_value_7(&tunnel), 1, flags, entry.pe_tunnel_7,
                   tunnel.tunnel_value_7 & LOW_24_BITS);
    copy_announced(zidl_rib_path_ip_tunnel_info_has_tunnel_value_9(&tunnel), 2, flags, entry.pe_tunnel_9,
                   tunnel.tunnel_value_9 & LOW_24_BITS);
    copy_announced(zidl_rib_path_ip_tunnel_info_has_tunnel_value_8(&tunnel), 3, flags, entry.pe_tunnel_8,
                   tunnel.tunnel_value_8);
    copy_announced(zidl_rib_path_ip_tunnel_info_has_tunnel_value_10(&tunnel), 4, flags, entry.pe_tunnel_10,
                   tunnel.tunnel_value_10);
    SHOWS_AS(tunnel.tunnel_value_7, entry.pe_tunnel_7, reason::masked);
    SHOWS_AS(tunnel.tunnel_value_9, entry.pe_tunnel_9, reason::masked);
    SHOWS(tunnel.tunnel_value_8);
    SHOWS(tunnel.tunnel_value_10);
    entry.pe_tunnel_flags = static_cast<uint16_t>(flags);
}

static void unpack_sl_id_info(const zidl_rib_path &path, rib_path_entry &entry)
{
    const zidl_rib_path_sl_id_info &sl_id = path.sl_id_info;
    if (!zidl_rib_path_has_sl_id_info(&path) || zidl_rib_path_sl_id_info_has_sl_id_value_1(&sl_id) ||
        !zidl_rib_path_sl_id_info_has_sl_id_value_2(&sl_id))
        return LEAVE(zidl_rib_path_sl_id_info_has_sl_id_value_1(&sl_id) ? reason::ruled_out : reason::incomplete,
                     sl_id);
    if (sl_id.sl_id_value_2 != 1 && sl_id.sl_id_value_2 != 2)
        return LEAVE(reason::ruled_out, sl_id);
    entry.pe_sl_kind = static_cast<uint8_t>(sl_id.sl_id_value_2);
    SHOWS(sl_id.sl_id_value_2);
    COPY_PRESENT(entry.pe_sl_value, rib_path_sl_id_info, sl_id, sl_id_value_3);
}

// The value is 1 also when the whole block is absent, but 0 when value 1 rules the block out, deliberately.
constexpr uint8_t VIA_SID_VALUE_OF_ABSENT = 1;

static void unpack_via_srv6_sid(const zidl_rib_path &path, rib_path_entry &entry)
{
    const zidl_rib_path_via_srv6_sid &via = path.via_srv6_sid;
    if (!zidl_rib_path_has_via_srv6_sid(&path))
        return;
    if (zidl_rib_path_via_srv6_sid_has_via_sid_value_1(&via)) {
        entry.pe_via_sid_value = 0;
        return LEAVE(reason::ruled_out, via);
    }
    if (zidl_rib_ipv6_address_has_half0(&via.via_sid))
        copy_ipv6(entry.pe_via_sid, via.via_sid);
    else
        LEAVE(reason::ipv6_without_first_half, via.via_sid);
    COPY_PRESENT(entry.pe_via_sid_value, rib_path_via_srv6_sid, via, via_sid_value_3);
}

} // namespace rib_client

#endif
