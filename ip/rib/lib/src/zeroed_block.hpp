// Memory for records: blocks that are all zero. Clearing them is the largest part of converting a small route.

#ifndef IP_RIB_LIB_SRC_ZEROED_BLOCK_HPP
#define IP_RIB_LIB_SRC_ZEROED_BLOCK_HPP

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "codec/processor.hpp"
#include "ip/rib/lib/src/library_memory.hpp"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace rib_client
{

#if defined(__x86_64__) && !defined(RIB_WITNESS)

constexpr size_t CACHE_LINE = 64;

// At least a line. Needs AVX2. Stores that cross no line take half the time of those that do.
__attribute__((target("avx2"))) inline void clear_by_word(uint8_t *block, size_t size)
{
    const size_t before_next_line = CACHE_LINE - (reinterpret_cast<uintptr_t>(block) & (CACHE_LINE - 1));
    uint8_t *const last_line = block + size - CACHE_LINE;
    __m256i zero = _mm256_setzero_si256();
    __asm__("" : "+x"(zero)); // what is seen to store zeros in a loop becomes a call of memset
    memset(block, 0, CACHE_LINE);
    for (uint8_t *line = block + before_next_line; line < last_line; line += CACHE_LINE) {
        __m256i *const words = reinterpret_cast<__m256i *>(line);
        _mm256_store_si256(words, zero);
        _mm256_store_si256(words + 1, zero);
    }
    memset(last_line, 0, CACHE_LINE);
}

// At least a line; null without memory. From some size on the C library may hand out fresh pages, which calloc knows to be
// zero.
inline void *zeroed_block(size_t size)
{
    constexpr size_t MAY_BE_FRESH = 128 * 1024;
    if (size >= MAY_BE_FRESH || !zidl::detail::processor::has(zidl::detail::processor::fills_by_word))
        return new_zeroed_block(size);
    void *const block = new_block(size);
    if (block != nullptr)
        clear_by_word(static_cast<uint8_t *>(block), size);
    return block;
}

#else

inline void *zeroed_block(size_t size)
{
    return new_zeroed_block(size);
}

#endif

} // namespace rib_client

#endif
