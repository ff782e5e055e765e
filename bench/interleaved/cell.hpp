// What is compared between two builds: an operation on a set of messages.

#pragma once

#include "bench/interleaved/loaded_library.hpp"

#include <functional>
#include <string>
#include <vector>

namespace bench
{

// Does the operation on the messages from `first`, `count` of them, all within the set.
using range_function = std::function<void(size_t first, size_t count)>;

// A cell made ready: how many messages there are, and the operation with the functions of either build.
struct prepared_cell {
    size_t messages;
    range_function ours;
    range_function theirs;
};

struct cell {
    std::string name; // operation/messages
    std::function<prepared_cell(const loaded_library &ours, const loaded_library &theirs)> prepare;
};

// The codec's operations on every workload. Preparing throws when the builds encode differently.
std::vector<cell> codec_cells();

// The client library's entry points on every kind of update, framed and stripped. Preparing throws when the builds deliver
// different numbers of updates.
std::vector<cell> entry_cells();

} // namespace bench
