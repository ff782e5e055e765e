// One path of a route, into an entry of the record.

#ifndef IP_RIB_LIB_SRC_ROUTE_PATH_HPP
#define IP_RIB_LIB_SRC_ROUTE_PATH_HPP

#include <stdint.h>

#include "ip/rib/lib/src/path_blocks.hpp"
#include "ip/rib/lib/src/path_ecomm.hpp"
#include "ip/rib/lib/src/path_lists.hpp"
#include "ip/rib/lib/src/path_next_next_hops.hpp"
#include "ip/rib/lib/src/path_scalars.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/route_address.hpp"
#include "ip/rib/lib/src/witness.hpp"
#include "messages/rib_common.h"

namespace rib_client
{

// A path with this field is never converted, and takes no room in the record.
static bool is_skipped(const zidl_rib_path &path)
{
    return zidl_rib_path_has_path_value_27(&path);
}

// What a decoded path is like: the bits of its blocks say all, and a scalar without its bit is 0.
static zidl_rib_path completed(const zidl_rib_path &src)
{
    zidl_rib_path path = src;
    clear_absent_scalars(path);
    if (has_any(path.path_address_4))
        zidl_rib_path_mark_path_address_4(&path);
    if (has_any(path.path_address_5))
        zidl_rib_path_mark_path_address_5(&path);
    if (has_any(path.path_prefix))
        zidl_rib_path_mark_path_prefix(&path);
    if (has_any(path.path_ipv6_address))
        zidl_rib_path_mark_path_ipv6_address(&path);
    if (has_any(path.ecomm))
        zidl_rib_path_mark_ecomm(&path);
    // An empty one of these gives nothing.
    zidl_rib_path_mark_iid_attr(&path);
    zidl_rib_path_mark_l2_info(&path);
    zidl_rib_path_mark_via_srv6_sid(&path);
    zidl_rib_path_mark_grouping_info(&path);
    zidl_rib_path_mark_ip_tunnel_info(&path);
    zidl_rib_path_mark_via_aft_id(&path);
    zidl_rib_path_mark_sl_id_info(&path);
    return path;
}

// ---- One path, decoded or completed. The entry is all zero before ----

static bool unpack_addresses(const zidl_rib_path &path, rib_path_entry &entry)
{
    if (zidl_rib_path_has_path_address_4(&path) &&
        unpack_address(path.path_address_4, entry.pe_addr_4, nullptr) != ZERRNO_OK)
        return false;
    return !zidl_rib_path_has_path_address_5(&path) ||
           unpack_address(path.path_address_5, entry.pe_addr_5, &entry.pe_addr_5_family) == ZERRNO_OK;
}

static bool unpack_ipv6(const zidl_rib_path &path, rib_path_entry &entry)
{
    const zidl_rib_ipv6_address &ipv6 = path.path_ipv6_address;
    if (!zidl_rib_path_has_path_ipv6_address(&path))
        return true;
    if (!zidl_rib_ipv6_address_has_half0(&ipv6))
        return REJECT(reason::ipv6_without_first_half, ipv6, false);
    copy_ipv6(entry.pe_ipv6, ipv6);
    return true;
}

static bool unpack_path_prefix(const zidl_rib_path &path, rib_path_entry &entry)
{
    entry.pe_prefix_len = RIB_NO_PREFIX_LEN;
    return !zidl_rib_path_has_path_prefix(&path) ||
           unpack_prefix(path.path_prefix, entry.pe_prefix, &entry.pe_prefix_len, nullptr) == ZERRNO_OK;
}

static bool has_extras(const zidl_rib_path &path)
{
    return zidl_rib_path_has_iid_attr(&path) || zidl_rib_path_has_l2_info(&path) ||
           zidl_rib_path_has_via_srv6_sid(&path) || zidl_rib_path_has_grouping_info(&path) ||
           zidl_rib_path_has_ip_tunnel_info(&path) || zidl_rib_path_has_via_aft_id(&path) ||
           zidl_rib_path_has_sl_id_info(&path) || zidl_rib_path_has_nnh_entries(&path) ||
           zidl_rib_path_has_path_addresses(&path) || zidl_rib_path_has_srv6_sid_infos(&path);
}

// Out of line, so that a path without extras does not pay for them.
__attribute__((noinline)) static bool unpack_extras(const zidl_rib_path &path, rib_path_entry &entry)
{
    unpack_next_next_hops(path, entry);
    unpack_iid_attr(path, entry);
    unpack_l2_info(path, entry);
    unpack_via_srv6_sid(path, entry);
    unpack_grouping_info(path, entry);
    unpack_ip_tunnel_info(path, entry);
    unpack_via_aft_id(path, entry);
    unpack_sl_id_info(path, entry);
    return unpack_address_list(path, entry) && unpack_sid_infos(path, entry);
}

// False when the path is rejected; the entry is then partly filled.
static bool unpack_path(const zidl_rib_path &__restrict path, rib_path_entry &__restrict entry)
{
    unpack_ecomm(path, entry);
    unpack_scalars(path, entry);
    if (!unpack_addresses(path, entry) || !unpack_ipv6(path, entry) || !unpack_path_prefix(path, entry) ||
        !unpack_labels(path, entry))
        return false;
    entry.pe_via_sid_value = VIA_SID_VALUE_OF_ABSENT;
    return !has_extras(path) || unpack_extras(path, entry);
}

} // namespace rib_client

#endif
