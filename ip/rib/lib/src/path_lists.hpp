// The bounded lists of a path: labels, addresses and SIDs. A path with more of one than fits is rejected.

#ifndef IP_RIB_LIB_SRC_PATH_LISTS_HPP
#define IP_RIB_LIB_SRC_PATH_LISTS_HPP

#include <stdint.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/route_address.hpp"
#include "messages/rib_common.h"

namespace rib_client
{

// Counts of lists in a path are judged by their low byte, which is also the number of elements taken, deliberately.
static bool unpack_labels(const zidl_rib_path &path, rib_path_entry &entry)
{
    if (!zidl_rib_path_has_path_values_9(&path)) {
        for (uint32_t &label : entry.pe_labels)
            label = RIB_NO_LABEL;
        return true;
    }
    const auto count = static_cast<uint8_t>(path.path_values_9_count);
    if (count > RIB_MAX_PATH_LABELS)
        return REJECT(reason::too_many_labels, path.path_values_9, false);
    entry.pe_label_count = count;
    TAKES(path.path_values_9, count, reason::count_wraps);
    copy_few(entry.pe_labels, path.path_values_9, count);
    return true;
}

static bool unpack_address_list(const zidl_rib_path &path, rib_path_entry &entry)
{
    if (!zidl_rib_path_has_path_addresses(&path))
        return true;
    const auto count = static_cast<uint8_t>(path.path_addresses_count);
    if (count > RIB_MAX_PATH_ADDRESSES)
        return REJECT(reason::too_many_addresses, path.path_addresses, false);
    entry.pe_address_count = count;
    TAKES(path.path_addresses, count, reason::count_wraps);
    for (uint32_t i = 0; i < count; i++)
        unpack_address(path.path_addresses[i], entry.pe_addresses[i], nullptr); // a malformed one stays 0, deliberately
    return true;
}

static bool unpack_sid_infos(const zidl_rib_path &path, rib_path_entry &entry)
{
    constexpr uint8_t MARKED = 0x2A;
    if (!zidl_rib_path_has_srv6_sid_infos(&path))
        return true;
    const auto count = static_cast<uint8_t>(path.srv6_sid_infos_count);
    if (count > RIB_MAX_SID_INFOS)
        return REJECT(reason::too_many_sids, path.srv6_sid_infos, false);
    entry.pe_sid_info_count = count;
    TAKES(path.srv6_sid_infos, count, reason::count_wraps);
    for (uint32_t i = 0; i < count; i++) {
        const zidl_rib_path_srv6_sid_info &info = path.srv6_sid_infos[i];
        rib_sid_info_entry &slot = entry.pe_sid_infos[i];
        unpack_prefix(info.sid_info_prefix, slot.address, &slot.prefix_len, nullptr); // its result is ignored, too
        if (zidl_rib_path_srv6_sid_info_has_sid_info_value_3(&info) && static_cast<uint8_t>(info.sid_info_value_3) != 0)
            slot.marker = MARKED;
        SHOWS_AS(info.sid_info_value_3, slot.marker != 0, reason::reduced);
    }
    return true;
}

} // namespace rib_client

#endif
