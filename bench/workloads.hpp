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

// Full-size: 130 000 routes in `full` and `mixed`.
//   full    routes, every optional field an independent coin
//   mixed   the same mix of fields, but routes come in bursts of one of twelve classes
//   wide    one route with 64 paths and every attribute
//   grid    a synchronisation list of 1026 encapsulation IDs and keys
//   proto   protocol updates of 27 bytes
//   opaque  opaque updates with two blocks
//   srv6    a configuration of 256 locators with their SIDs
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
