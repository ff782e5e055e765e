// What is asked of the C library, counted: its own instructions depend on the processor, calls and bytes do not. The
// linker puts the counters before the functions (--wrap), in this program alone.

#pragma once

#include <cstdint>

namespace bench
{

struct libc_work {
    uint64_t malloc_calls, malloc_bytes; // a caller's allocation functions count as malloc and free
    uint64_t calloc_calls, calloc_bytes;
    uint64_t free_calls;
    uint64_t memset_calls, memset_bytes;
    uint64_t memcpy_calls, memcpy_bytes; // and memmove
    uint64_t strlen_calls, strlen_bytes;
};

extern libc_work libc_work_done; // since somebody set it to zeros

} // namespace bench
