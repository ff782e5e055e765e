// What is counted of a client's record while its callback runs.

#pragma once

#include "ip/rib/lib/src/rib_lib.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace ribtool
{

struct route_shape {
    uint32_t family;    // as the record has it
    uint8_t prefix_len; // likewise: 255 without a length
    uint32_t paths;
};

struct record_facts {
    size_t bytes = 0; // of the record and of all that it owns
    std::optional<route_shape> route;
};

record_facts facts_of(const rib_protoid_map &map);
record_facts facts_of(const struct rib_routetype_ &route);
record_facts facts_of(const grid_sync_list &list);
record_facts facts_of(const nhid_update_local &nhid);

// The blocks of the older form lie in the payload.
record_facts facts_of(const rib_opaque_update &opaque, bool owns_blocks);

} // namespace ribtool
