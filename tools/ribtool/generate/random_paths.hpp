// Paths of a route, with whatever a path may carry.

#pragma once

#include "messages/ip_rib.h"
#include "tools/ribtool/generate/random_values.hpp"
#include "tools/ribtool/messages/scratch.hpp"

#include <cstdint>

namespace ribtool
{

// What a random path carries besides its scalars and its next hop.
enum path_feature : uint32_t {
    PATH_LABELS = 1 << 0,
    PATH_NEXT_NEXT_HOPS = 1 << 1,
    PATH_SRV6 = 1 << 2,
    PATH_BACKUP_ADDRESSES = 1 << 3,
    PATH_IID = 1 << 4,
    PATH_L2 = 1 << 5,
    PATH_TUNNEL = 1 << 6,
    PATH_AFT = 1 << 7,
    PATH_GROUPING = 1 << 8,
    PATH_SL_ID = 1 << 9,
    PATH_ECOMM = 1 << 10,
    PATH_EVERYTHING = (1 << 11) - 1,
};

zidl_rib_path random_path(random_source &random, scratch &memory, uint32_t features, extent size);

} // namespace ribtool
