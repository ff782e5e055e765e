// The library's malloc, calloc and free, wrapped by the linker: they count, remember what is live and can be made to fail.
// Only what the library itself asks for is seen; the tests' own containers go past the wrapper. What malloc hands out is
// dirty.

#pragma once

#include <cstddef>
#include <vector>

namespace rib_test
{

struct heap_request {
    size_t size;
    bool zeroed; // calloc
    void *block; // null when refused
};

// What happened on this thread since watch_heap().
struct heap_record {
    std::vector<heap_request> requests;
    std::vector<void *> releases; // in order, without nulls
    std::vector<void *> live;
    size_t foreign_releases = 0;              // pointers that the library had not asked for, or had released before
    size_t refused = static_cast<size_t>(-1); // the request that fails, counted from 0
    bool refuse_all_behind = false;           // and all after it
};

heap_record &heap();

// Starts afresh, with the given request failing; the wrapper passes everything through until then.
void watch_heap(size_t refused = static_cast<size_t>(-1), bool refuse_all_behind = false);

// Stops watching, and frees what is still live. Returns how many blocks that were.
size_t end_watch();

} // namespace rib_test
