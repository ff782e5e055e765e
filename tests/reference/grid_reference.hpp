// A second conversion of grid lists and next-hop IDs, written for the tests: slow and plain. It shares nothing with the
// library but the types of the records.

#pragma once

#include "ip/rib/lib/src/rib_lib.h"
#include "messages/rib_encap.h"

#include <optional>
#include <string>
#include <vector>

namespace rib_reference
{

// What converting a grid list into a client's arrays must give. Keys and IDs that are not listed stay as they were.
struct grid_list {
    zerrno status = 0;
    unsigned failed_line = 0; // of the assertion that stops the process; 0 when none does
    std::optional<uint8_t> multi_key;
    std::optional<uint32_t> count;
    std::vector<uint64_t> ids;
    std::vector<rib_encap_id_path_key_t> keys; // those that were converted whole
    bool open_key = false;                     // the key behind them was begun: what it holds is open
};

// `untouched` is what each element of the client's key array holds before.
grid_list convert_grid_list(const zidl_rib_grid_sync_list &message, const rib_encap_id_path_key_t &untouched);

// Nothing when the update is not delivered.
std::optional<nhid_update_local> convert_nhid(int32_t decode_status, const zidl_rib_nhid_update &message);

// The members that differ, one a line with both values; empty when all are equal.
std::string differences(const rib_encap_id_path_key_t &expected, const rib_encap_id_path_key_t &actual);
std::string differences(const nhid_update_local &expected, const nhid_update_local &actual);

} // namespace rib_reference
