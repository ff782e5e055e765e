// The memory of records and messages: the C library's. The inspector's copy of these sources takes it from the call that it
// explains, which outlives records and messages and takes all of it back at once.

#ifndef IP_RIB_LIB_SRC_LIBRARY_MEMORY_HPP
#define IP_RIB_LIB_SRC_LIBRARY_MEMORY_HPP

#include <stddef.h>

#ifdef RIB_WITNESS
#include "inspect/explain/notes.hpp"
#else
#include <stdlib.h>
#endif

namespace rib_client
{

#ifdef RIB_WITNESS

inline void *new_block(size_t size)
{
    return rib_inspect::notes::current().memory.block(size);
}

inline void *new_zeroed_block(size_t size)
{
    return rib_inspect::notes::current().memory.zeroed(size);
}

inline void give_back(void *) {}

#else

inline void *new_block(size_t size)
{
    return malloc(size);
}

inline void *new_zeroed_block(size_t size)
{
    return calloc(1, size);
}

inline void give_back(void *block)
{
    free(block);
}

#endif

} // namespace rib_client

#endif
