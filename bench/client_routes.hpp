// Routes for the client library with a given number of paths, all of which it converts.

#pragma once

#include "messages/rib_common.h"
#include "tools/ribtool/generate/random.hpp"
#include "tools/ribtool/messages/scratch.hpp"

#include <cstdint>

namespace bench
{

// A next hop, labels and three scalars each: what most routes have.
zidl_rib_route sparse_route(ribtool::random_source &random, ribtool::scratch &memory, uint32_t paths);

// Every block that a route and a path may have.
zidl_rib_route rich_route(ribtool::random_source &random, ribtool::scratch &memory, uint32_t paths);

} // namespace bench
