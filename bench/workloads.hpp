// The messages that the benchmarks work on: the same bytes for every contender, the same on every machine.

#pragma once

#include "messages/descriptors.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bench
{

using bytes = std::vector<uint8_t>;

struct workload {
    std::string name;
    const zidl::message_descriptor *type;
    std::vector<bytes> messages; // encoded

    size_t total_bytes() const;
};

// Full-size, about
//   full    65 536 routes of 158 bytes with 1 to 4 paths, every optional field an independent coin
//   mixed   the same, but which fields are there follows twelve classes of routes, in short runs of one class
//   wide    one route of 32 KB with 64 paths and nearly every attribute
//   grid    a synchronisation list of 115 KB: 1026 encapsulation IDs and keys, with labels and with SRv6 carriers in turns
//   proto   1024 protocol updates of 26 bytes, with one name or two
//   opaque  1024 opaque updates of 236 bytes with two blocks
//   srv6    a whole SRv6 update of 70 KB: 256 locators of 2 to 8 SIDs
const std::vector<std::string_view> &workload_names();
// With a limit, only so many messages: the first of the whole.
workload make_workload(std::string_view name, size_t limit = SIZE_MAX);
const char *type_name(std::string_view workload_name); // of its messages

// One route with `paths` paths, a list of `keys` keys: for the plots of time against size.
bytes make_route(uint32_t paths);
bytes make_grid(uint32_t keys);

// The same route without the two fields that keep a client from converting it.
bytes make_convertible_route(uint32_t paths);

} // namespace bench
