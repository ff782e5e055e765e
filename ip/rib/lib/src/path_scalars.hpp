// The scalars of a path.

#ifndef IP_RIB_LIB_SRC_PATH_SCALARS_HPP
#define IP_RIB_LIB_SRC_PATH_SCALARS_HPP

#include <stdint.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "messages/rib_common.h"

namespace rib_client
{

// Scalars that are copied without a look at their bits, which would cost more; scalars that are asked for once, all of them
// together; and of those the ones whose place in an entry is far behind all else, and untouched without them.
#define USUAL_PATH_SCALARS(EACH) EACH(1) EACH(2) EACH(3) EACH(10) EACH(11)
#define OTHER_PATH_SCALARS(EACH) EACH(8) EACH(12) EACH(13) EACH(16) EACH(28)
#define FAR_PATH_SCALARS(EACH) EACH(22) EACH(25) EACH(31)

// So it is in a decoded path.
static void clear_absent_scalars(zidl_rib_path &path)
{
#define CLEAR_UNLESS_PRESENT(number)                                                                                   \
    if (!zidl_rib_path_has_path_value_##number(&path))                                                                 \
        path.path_value_##number = 0;
    USUAL_PATH_SCALARS(CLEAR_UNLESS_PRESENT)
    OTHER_PATH_SCALARS(CLEAR_UNLESS_PRESENT)
    FAR_PATH_SCALARS(CLEAR_UNLESS_PRESENT)
#undef CLEAR_UNLESS_PRESENT
}

// The path is decoded or cleared like one. The entry is no part of the message: what has been read of that need not be
// read again after a store.
static void unpack_scalars(const zidl_rib_path &__restrict path, rib_path_entry &__restrict entry)
{
    constexpr uint32_t VALUE_3_MASK = 0x0FFFF7FF; // drops bit 11 and the top four, deliberately
#define OR_HAS(number) || zidl_rib_path_has_path_value_##number(&path)
#define COPY(number) copy(entry.pe_value_##number, path.path_value_##number);
    USUAL_PATH_SCALARS(COPY)
    entry.pe_value_3 &= VALUE_3_MASK;
    SHOWS_AS(path.path_value_3, entry.pe_value_3, reason::masked);
    entry.pe_value_19 = RIB_NO_LABEL;
    if (!(false OR_HAS(19) OTHER_PATH_SCALARS(OR_HAS) FAR_PATH_SCALARS(OR_HAS)))
        return;
    COPY_PRESENT(entry.pe_value_19, rib_path, path, path_value_19);
    OTHER_PATH_SCALARS(COPY)
    if (false FAR_PATH_SCALARS(OR_HAS)) {
        FAR_PATH_SCALARS(COPY)
    }
#undef COPY
#undef OR_HAS
}

#undef FAR_PATH_SCALARS
#undef OTHER_PATH_SCALARS
#undef USUAL_PATH_SCALARS

} // namespace rib_client

#endif
