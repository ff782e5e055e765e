// Updates for the client library: what `ribtool synth` would write, kept in memory.

#pragma once

#include "bench/workloads.hpp"

#include <optional>
#include <string_view>
#include <vector>

namespace bench
{

// Payloads of one kind and the type code that they travel with.
struct client_updates {
    uint16_t code;
    std::vector<bytes> payloads;
};

// The kinds of encoded updates:
//   proto, opaque, nhid, grid      as a router sends them; a grid list has 16 keys
//   route                          one path, as a table's feed has them
//   service                        routes of many services, 1 to 16 paths
//   sparse_1, sparse_4, sparse_64  routes of so many paths: a next hop, labels and some scalars each
//   rich_1, rich_4, rich_64        the same with every block that a route and a path may have
//   table                          the routes of the workload `mixed`, none with a mark that keeps clients from it
const std::vector<std::string_view> &client_update_kinds();
const std::vector<std::string_view> &older_update_kinds(); // raw forms: old_proto, old_opaque, old_route
client_updates make_client_updates(std::string_view kind);

// One route of the sparse kind.
bytes make_client_route(uint32_t paths);

// The routes of a real table, where RIB_DATA_DIR names a folder with feed_full_2015.tsv.xz.
std::optional<workload> make_real_workload();

} // namespace bench
