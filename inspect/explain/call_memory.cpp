#include "inspect/explain/call_memory.hpp"

#include <stdlib.h>
#include <string.h>

#include <new>

namespace rib_inspect
{

namespace
{

constexpr size_t ALIGNMENT = 16;
constexpr size_t CHUNK = 32 * 1024; // most updates fit one

constexpr size_t aligned(size_t size)
{
    return size == 0 ? ALIGNMENT : size > SIZE_MAX / 2 ? size : (size + (ALIGNMENT - 1)) & ~(ALIGNMENT - 1);
}

} // namespace

call_memory::~call_memory()
{
    while (newest_ != nullptr) {
        chunk *const older = newest_->older;
        free(newest_);
        newest_ = older;
    }
}

void *call_memory::block(size_t size)
{
    return may_take(size) ? take(size) : nullptr;
}

void *call_memory::own(size_t size)
{
    void *const memory = take(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void *call_memory::take(size_t size)
{
    size = aligned(size);
    if (size > static_cast<size_t>(free_end_ - free_begin_))
        return grown(size);
    uint8_t *const memory = free_begin_;
    free_begin_ += size;
    return memory;
}

// Large blocks are calloc's, which does not touch fresh pages: a record has five kilobytes for each path of a message.
void *call_memory::zeroed(size_t size)
{
    if (size >= CHUNK)
        return may_take(size) ? new_chunk(aligned(size), true) : nullptr;
    void *const memory = block(size);
    if (memory != nullptr)
        memset(memory, 0, size);
    return memory;
}

bool call_memory::may_take(size_t size)
{
    if (size > left_)
        return false;
    if (left_ != SIZE_MAX)
        left_ -= size;
    return true;
}

void *call_memory::new_chunk(size_t size, bool zeroed)
{
    if (size > SIZE_MAX / 4)
        return nullptr;
    auto *const made = static_cast<chunk *>(zeroed ? calloc(1, sizeof(chunk) + size) : malloc(sizeof(chunk) + size));
    if (made == nullptr) {
        is_exhausted_ = true;
        return nullptr;
    }
    made->older = newest_;
    newest_ = made;
    return made + 1;
}

void *call_memory::grown(size_t size)
{
    if (size >= CHUNK / 4)
        return new_chunk(size, false);
    auto *const memory = static_cast<uint8_t *>(new_chunk(CHUNK, false));
    if (memory == nullptr)
        return nullptr;
    free_begin_ = memory + size;
    free_end_ = memory + CHUNK;
    return memory;
}

} // namespace rib_inspect
