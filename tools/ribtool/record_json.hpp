// The client's records as JSON, member by member in the order of their declaration.
//
// Addresses are text where the record says their family and 32 hex digits otherwise; blocks of bytes are hex. Lists have
// as many elements as the record's count says, except that pe_labels always has all ten.

#pragma once

#include "ip/rib/lib/src/rib_lib.h"

#include <nlohmann/json.hpp>

namespace ribtool
{

using json = nlohmann::ordered_json;

json to_json(const rib_protoid_map &map);
// Blocks that lie in the caller's payload (older form) are shown up to `payload_end`: the library has checked the sum of
// their lengths only, which wraps. Null for blocks of the library's own.
json to_json(const rib_opaque_update &opaque, const uint8_t *payload_end);
json to_json(const struct rib_routetype_ &route);
json to_json(const grid_sync_list &list);
json to_json(const nhid_update_local &update);

} // namespace ribtool
