// Updates for the client library: what `ribtool synth` would write, kept in memory.

#pragma once

#include "bench/workloads.hpp"

#include <optional>
#include <string_view>
#include <vector>

namespace bench
{

// A route with `paths` paths that the client library converts, all of them: a next hop, labels and some scalars each.
bytes make_client_route(uint32_t paths);

// Payloads of one kind and the type code that they travel with.
struct client_updates {
    uint16_t code;
    std::vector<bytes> payloads;
};

// Kinds: proto, opaque, route (one path, as a table's feed has them), service (routes of many services), grid (lists of
// 16 keys), nhid.
const std::vector<std::string_view> &client_update_kinds();
client_updates make_client_updates(std::string_view kind);

// The routes of a real table, where RIB_DATA_DIR names a folder with feed_full_2015.tsv.xz.
std::optional<workload> make_real_workload();

} // namespace bench
