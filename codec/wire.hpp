// The wire format's constants and its smallest pieces: tags, varint lengths, unaligned loads and stores.

#pragma once

#include "codec/builds.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__BMI2__) || defined(__SSE2__)
#include <immintrin.h>
#endif

#define ZIDL_INLINE inline __attribute__((always_inline))
#define ZIDL_INLINE_LAMBDA __attribute__((always_inline))
#define ZIDL_NOINLINE __attribute__((noinline))
#define ZIDL_COLD __attribute__((noinline, cold))
#define ZIDL_LIKELY(condition) __builtin_expect(!!(condition), 1)
#define ZIDL_UNLIKELY(condition) __builtin_expect(!!(condition), 0)

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

enum wire_type : uint32_t { varint = 0, fixed64 = 1, delimited = 2, fixed32 = 5 };

constexpr uint32_t make_tag(uint32_t number, wire_type type)
{
    return number << 3 | type;
}

// The place of the highest bit that is set; `word` is not 0.
constexpr unsigned top_bit(uint64_t word)
{
    return 63U - static_cast<unsigned>(__builtin_clzll(word));
}

// Bytes that a varint of `value` takes: one for every seven bits begun.
constexpr unsigned varint_size(uint64_t value)
{
    return (top_bit(value | 1) * 9 + 73) >> 6;
}

// Bytes of a varint that holds a tag or a length, at most.
constexpr unsigned max_varint32_size = 5;

constexpr uint64_t continuation_bits = 0x8080808080808080;

// The tag as it stands on the wire, first byte lowest. Schema numbers give tags of at most five bytes.
constexpr uint64_t wire_tag(uint32_t tag)
{
    uint64_t wire = 0;
    unsigned shift = 0;
    for (; tag > 127; tag >>= 7, shift += 8)
        wire |= static_cast<uint64_t>((tag & 127) | 128) << shift;
    return wire | static_cast<uint64_t>(tag) << shift;
}

template <class Word>
ZIDL_INLINE Word load(const uint8_t *src)
{
    Word word;
    memcpy(&word, src, sizeof word);
    return word;
}

template <class Word>
ZIDL_INLINE void store(uint8_t *dst, Word word)
{
    memcpy(dst, &word, sizeof word);
}

// Words of the wire, whose first byte is the lowest; members of records are loaded and stored as they are.
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define ZIDL_REVERSE(word)
#elif __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
#define ZIDL_REVERSE(word) word = reversed(word)
#else
#error "words begin with their lowest byte, or with their highest"
#endif

template <class Word>
constexpr Word reversed(Word word)
{
    if constexpr (sizeof word == sizeof(uint64_t))
        return __builtin_bswap64(word);
    else if constexpr (sizeof word == sizeof(uint32_t))
        return __builtin_bswap32(word);
    else if constexpr (sizeof word == sizeof(uint16_t))
        return __builtin_bswap16(word);
    else
        return word;
}

template <class Word>
ZIDL_INLINE Word load_wire(const uint8_t *src)
{
    Word word;
    memcpy(&word, src, sizeof word);
    ZIDL_REVERSE(word);
    return word;
}

template <class Word>
ZIDL_INLINE void store_wire(uint8_t *dst, Word word)
{
    ZIDL_REVERSE(word);
    memcpy(dst, &word, sizeof word);
}

// Sizes in records and sums of sizes have 64 bits, also where addresses have 32: whether memory can have so many bytes.
constexpr bool sizes_are_narrow = sizeof(size_t) < sizeof(uint64_t);
constexpr bool is_addressable(uint64_t size)
{
    return static_cast<size_t>(size) == size;
}

// The number of zero bits below the lowest set bit; `word` is not 0.
ZIDL_INLINE unsigned trailing_zeros(uint64_t word)
{
#if defined(__x86_64__) && !defined(__BMI__)
    // tzcnt where the processor knows it, bsf elsewhere: the same result, and a compiler would choose the slow one.
    uint64_t zeros;
    asm("rep bsfq %1, %0" : "=r"(zeros) : "r"(word) : "cc");
    return static_cast<unsigned>(zeros);
#else
    return static_cast<unsigned>(__builtin_ctzll(word));
#endif
}

// Which of the 16 bytes from `src` end a varint, lowest bit first.
ZIDL_INLINE uint32_t varint_ends(const uint8_t *src)
{
#ifdef __SSE2__
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src));
    return static_cast<uint16_t>(~_mm_movemask_epi8(bytes));
#else
    // Gathers the top bits of eight bytes in the top byte.
    constexpr uint64_t gather = 0x0002040810204081;
    const uint64_t low = (~load_wire<uint64_t>(src) & continuation_bits) * gather >> 56;
    const uint64_t high = (~load_wire<uint64_t>(src + 8) & continuation_bits) * gather >> 56;
    return static_cast<uint32_t>(low | high << 8);
#endif
}

// Signed numbers travel as 0, -1, 1, -2 and so on, so that small ones are short whatever their sign.
constexpr uint64_t zigzag(int64_t value)
{
    return static_cast<uint64_t>(value) << 1 ^ (value < 0 ? ~uint64_t{0} : 0);
}

constexpr int64_t unzigzag(uint64_t value)
{
    return static_cast<int64_t>(value >> 1 ^ (0 - (value & 1)));
}

constexpr uint64_t group_bits = 0x7f7f7f7f7f7f7f7f;

// Eight groups of seven bits, one in the low bits of each byte, pushed together into 56 bits. Five groups are enough for
// a value of 32 bits.
template <class Value>
ZIDL_INLINE Value pack_groups(uint64_t bytes)
{
#if defined(__BMI2__) && defined(__x86_64__)
    return static_cast<Value>(_pext_u64(bytes, group_bits));
#else
    if constexpr (sizeof(Value) <= sizeof(uint32_t)) {
        return static_cast<Value>((bytes & 0x7f) | (bytes >> 1 & 0x3f80) | (bytes >> 2 & 0x1fc000) |
                                  (bytes >> 3 & 0xfe00000) | (bytes >> 4 & 0xf0000000));
    } else {
        bytes = (bytes & 0x007f007f007f007f) | (bytes & 0x7f007f007f007f00) >> 1;
        bytes = (bytes & 0x00003fff00003fff) | (bytes & 0x3fff00003fff0000) >> 2;
        return (bytes & 0x000000000fffffff) | (bytes & 0x0fffffff00000000) >> 4;
    }
#endif
}

// The reverse: the low 56 bits of `value` dealt out into eight groups of seven bits, from byte `Lowest` on.
template <unsigned Lowest, class Value>
ZIDL_INLINE uint64_t spread_groups(Value value)
{
#if defined(__BMI2__) && defined(__x86_64__)
    return _pdep_u64(value, group_bits << (8 * Lowest));
#else
    if constexpr (sizeof(Value) <= sizeof(uint32_t)) {
        const uint64_t groups = (value & 0x7f) | (value & 0x3f80) << 1 | (value & 0x1fc000) << 2 |
                                static_cast<uint64_t>(value & 0xfe00000) << 3 |
                                static_cast<uint64_t>(value & 0xf0000000) << 4;
        return groups << (8 * Lowest);
    } else {
        value = (value & 0x000000000fffffff) | (value & 0x00fffffff0000000) << 4;
        value = (value & 0x00003fff00003fff) | (value & 0x0fffc0000fffc000) << 2;
        return ((value & 0x007f007f007f007f) | (value & 0x3f803f803f803f80) << 1) << (8 * Lowest);
    }
#endif
}

// memcpy, without a guess at the length between 17 and 128 bytes, as blocks of opaque data have: vectors at places that
// overlap in short blocks. Out of line: inline it was faster still, but every string and bytes member would hold one.
ZIDL_NOINLINE inline void copy_block(uint8_t *dst, const uint8_t *src, size_t len)
{
#ifdef __SSE2__
    constexpr size_t vector = sizeof(__m128i);
    if (len >= vector && len <= 8 * vector) {
        const size_t last = len - vector;
#pragma GCC unroll 8
        for (size_t i = 0; i < 8; ++i) {
            const size_t at = i * vector < last ? i * vector : last;
            _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + at),
                             _mm_loadu_si128(reinterpret_cast<const __m128i *>(src + at)));
        }
        return;
    }
#endif
    memcpy(dst, src, len);
}

// The same for the short lengths that names and addresses have: two overlapping words, exact at both ends.
ZIDL_INLINE void copy_short(void *to, const void *from, size_t len)
{
    uint8_t *const dst = static_cast<uint8_t *>(to);
    const uint8_t *const src = static_cast<const uint8_t *>(from);
    if (len >= 8 && len <= 16) {
        const uint64_t head = load<uint64_t>(src);
        const uint64_t tail = load<uint64_t>(src + len - 8);
        store(dst, head);
        store(dst + len - 8, tail);
    } else if (len >= 4 && len < 8) {
        const uint32_t head = load<uint32_t>(src);
        const uint32_t tail = load<uint32_t>(src + len - 4);
        store(dst, head);
        store(dst + len - 4, tail);
    } else if (len != 0) {
        copy_block(dst, src, len);
    }
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
