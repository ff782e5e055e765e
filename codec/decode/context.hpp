// What stays the same for all messages of one call, and what members get to hold. Memory comes from the caller's function
// alone.

#pragma once

#include "codec/wire.hpp"
#include "codec/zidl.h"

namespace zidl::detail
{

// The same for all builds: what is rare is decoded by one of them for all, see built_once.hpp.
struct decode_context {
    zidl_alloc_fn alloc_fn;
    void *alloc_ctx;
    const uint8_t *wide_end;   // the last position from which eight bytes may be loaded; null when there is none
    const uint8_t *window_end; // the last position from which window_size bytes may be loaded; null when there is none
    bool borrow;               // ZIDL_ZERO_COPY: bytes members point into the input
};

inline namespace ZIDL_VARIANT
{

// Sixteen bytes and a word that begins within them.
constexpr size_t window_size = 24;

// A string member gets a copy with a NUL of its own, also out of a buffer that bytes members borrow. False where there is no
// memory.
ZIDL_INLINE bool hold_string(char *&member, const decode_context &context, const uint8_t *contents, uint32_t len)
{
    char *const copy = static_cast<char *>(context.alloc_fn(size_t{len} + 1, context.alloc_ctx));
    if (ZIDL_UNLIKELY(copy == nullptr))
        return false;
    member = copy;
    copy_short(copy, contents, len);
    copy[len] = '\0';
    return true;
}

// A bytes member gets the input itself, or a copy of it. False where there is no memory.
ZIDL_INLINE bool hold_bytes(uint8_t *&member, uint64_t &size, const decode_context &context, const uint8_t *contents,
                            uint32_t len)
{
    uint8_t *block = const_cast<uint8_t *>(contents);
    if (!context.borrow) {
        block = static_cast<uint8_t *>(context.alloc_fn(len, context.alloc_ctx));
        if (ZIDL_UNLIKELY(block == nullptr))
            return false;
        copy_short(block, contents, len);
    }
    member = block;
    size = len;
    return true;
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
