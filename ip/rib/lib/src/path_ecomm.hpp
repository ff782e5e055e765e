// The ecomm block of a path, which is the end of its entry, and its values, which follow the entry.

#ifndef IP_RIB_LIB_SRC_PATH_ECOMM_HPP
#define IP_RIB_LIB_SRC_PATH_ECOMM_HPP

#include <stddef.h>
#include <stdint.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "messages/rib_common.h"

namespace rib_client
{

static bool has_any(const zidl_rib_ecomm_array &ecomm)
{
    return zidl_rib_ecomm_array_has_ecomm_value_1(&ecomm) || zidl_rib_ecomm_array_has_ecomm_values(&ecomm) ||
           zidl_rib_ecomm_array_has_ecomm_value_3(&ecomm);
}

// Of the values behind an entry whose path has an ecomm block.
static size_t ecomm_size(const zidl_rib_path &path)
{
    return path.ecomm.ecomm_count * sizeof(uint64_t);
}

// Of an entry and its ecomm values.
static size_t entry_size(const zidl_rib_path &path)
{
    return sizeof(rib_path_entry) + (zidl_rib_path_has_ecomm(&path) ? ecomm_size(path) : 0);
}

static void unpack_ecomm(const zidl_rib_path &path, rib_path_entry &entry)
{
    if (!zidl_rib_path_has_ecomm(&path))
        return;
    const zidl_rib_ecomm_array &ecomm = path.ecomm;
    entry.pe_ecomm_room = ecomm.ecomm_count;
    if (zidl_rib_ecomm_array_has_ecomm_value_3(&ecomm))
        return LEAVE(reason::ruled_out, ecomm);
    COPY_PRESENT(entry.pe_ecomm_value_1, rib_ecomm_array, ecomm, ecomm_value_1);
    entry.pe_ecomm_count = static_cast<uint16_t>(ecomm.ecomm_count); // low bits only, though all values are copied
    TAKES(ecomm.ecomm_values, entry.pe_ecomm_count, reason::count_wraps);
    copy_bytes(&entry + 1, ecomm.ecomm_values, ecomm_size(path));
}

} // namespace rib_client

#endif
