// The memory of one explained call: records and messages come from here and go back all at once, whichever way the call ends.

#pragma once

#include <stddef.h>
#include <stdint.h>

namespace rib_inspect
{

class call_memory
{
public:
    call_memory() = default;
    ~call_memory();
    call_memory(const call_memory &) = delete;
    call_memory &operator=(const call_memory &) = delete;

    // What the conversion may take.
    void limit(size_t bytes) { left_ = bytes; }

    // For the conversion, aligned for anything. Null where the limit or the C library has no more: `is_exhausted` tells these
    // apart.
    void *block(size_t size);
    void *zeroed(size_t size);
    bool is_exhausted() const { return is_exhausted_; }

    // The same for the explanation itself, without a limit. Throws std::bad_alloc.
    void *own(size_t size);

private:
    struct chunk {
        chunk *older;
        size_t unused; // keeps what follows aligned
    };

    bool may_take(size_t size);
    void *take(size_t size);
    void *new_chunk(size_t size, bool zeroed);
    void *grown(size_t size);

    uint8_t *free_begin_ = nullptr;
    uint8_t *free_end_ = nullptr;
    chunk *newest_ = nullptr;
    size_t left_ = SIZE_MAX;
    bool is_exhausted_ = false;
};

} // namespace rib_inspect
