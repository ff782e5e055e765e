// How much memory is asked of the C library, by all of the process.

#pragma once

#include <cstdint>

namespace ribtool
{

struct allocation_count {
    uint64_t number = 0;
    uint64_t bytes = 0;

    void add(const allocation_count &other)
    {
        number += other.number;
        bytes += other.bytes;
    }
    allocation_count since(const allocation_count &before) const
    {
        return {number - before.number, bytes - before.bytes};
    }
};

// Since the process began: calls of malloc and calloc and the bytes they asked for. Counts one thread.
allocation_count allocations_so_far();

} // namespace ribtool
