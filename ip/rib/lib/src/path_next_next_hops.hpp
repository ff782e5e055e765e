// The next-next-hops of a path: a run of usable ones, and what the walk leaves behind it.

#ifndef IP_RIB_LIB_SRC_PATH_NEXT_NEXT_HOPS_HPP
#define IP_RIB_LIB_SRC_PATH_NEXT_NEXT_HOPS_HPP

#include <stdint.h>

#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/witness.hpp"
#include "messages/rib_common.h"

namespace rib_client
{

static bool is_usable(const zidl_rib_nnh &nnh)
{
    if (!zidl_rib_nnh_has_nnh_value_1(&nnh) || zidl_rib_nnh_has_nnh_value_4(&nnh))
        return false;
    const bool has_value_2 = zidl_rib_nnh_has_nnh_value_2(&nnh);
    const bool has_value_3 = zidl_rib_nnh_has_nnh_value_3(&nnh);
    return (nnh.nnh_value_1 == 2 && has_value_3 && !has_value_2) ||
           (nnh.nnh_value_1 == 1 && has_value_2 && !has_value_3);
}

// The first unusable entry ends the run. The walk goes on behind it all the same, deliberately: each slot gets its
// entry's type and, for type 1, its value, without being counted.
static void unpack_next_next_hops(const zidl_rib_path &path, rib_path_entry &entry)
{
    if (!zidl_rib_path_has_nnh_entries(&path))
        return;
    bool in_run = true;
    TAKES(path.nnh_entries, RIB_MAX_NNH, reason::too_many_next_next_hops);
    for (uint32_t i = 0; i < path.nnh_entries_count && i < RIB_MAX_NNH; i++) {
        const zidl_rib_nnh &nnh = path.nnh_entries[i];
        rib_nnh_entry &slot = entry.pe_nnh[i];
        slot.type = static_cast<uint8_t>(nnh.nnh_value_1);
        if (nnh.nnh_value_1 == 1 && zidl_rib_nnh_has_nnh_value_2(&nnh))
            slot.value = nnh.nnh_value_2;
        in_run = in_run && is_usable(nnh);
        if (!in_run) {
            LEFT_OUT(reason::next_next_hops_ended, nnh);
            continue;
        }
        if (nnh.nnh_value_1 == 2)
            slot.value = nnh.nnh_value_3;
        SHOWS(nnh.nnh_value_1);
        SHOWS(nnh.nnh_value_2);
        SHOWS(nnh.nnh_value_3);
        entry.pe_nnh_count++;
    }
}

} // namespace rib_client

#endif
