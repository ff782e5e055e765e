// The sink that counts: what an encoding takes, and whether its sizes are to be trusted.

#pragma once

#include "codec/encode/sinks.hpp"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

// Which sizes are trusted: bytes members of less than 2^28 bytes. Sums of them cannot wrap, so that an encoding whose length
// was computed out of them is as long as that. Sizes are gathered by these bits, and all of them are judged at once.
constexpr uint64_t untrusted_bits = ~uint64_t{0} << 28;

constexpr bool sizes_are_trusted(uint64_t bits)
{
    return (bits & untrusted_bits) == 0;
}

// In the build for newer processors messages that own no memory are measured as part of the ones around them, as they are
// decoded there.
template <class Record>
constexpr bool is_measured_inline =
#ifdef __BMI2__
    !shape<Record>::owns_memory && !shape<Record>::is_rare;
#else
    false;
#endif

// Bytes that four values side by side take as varints.
ZIDL_INLINE size_t size_of_four(const uint8_t *values)
{
#ifdef __SSE2__
    const __m128i loaded = _mm_loadu_si128(reinterpret_cast<const __m128i *>(values));
    // In the order of the values, where the processor compares as if they had a sign.
    const __m128i ordered = _mm_xor_si128(loaded, _mm_set1_epi32(INT32_MIN));
    const auto minus_one_beyond = [&](int bits) ZIDL_INLINE_LAMBDA {
        return _mm_cmpgt_epi32(ordered, _mm_set1_epi32(INT32_MIN + ((1 << bits) - 1)));
    };
    __m128i longer = _mm_add_epi32(_mm_add_epi32(minus_one_beyond(7), minus_one_beyond(14)),
                                   _mm_add_epi32(minus_one_beyond(21), minus_one_beyond(28)));
    longer = _mm_add_epi32(longer, _mm_shuffle_epi32(longer, 0x4e));
    longer = _mm_add_epi32(longer, _mm_shuffle_epi32(longer, 0xb1));
    return 4 - static_cast<size_t>(_mm_cvtsi128_si32(longer));
#else
    size_t sum = 0;
    for (unsigned i = 0; i < 4; ++i)
        sum += varint_size(load<uint32_t>(values + i * sizeof(uint32_t)));
    return sum;
#endif
}

struct sizer {
    uint64_t len;
    // The bits of all sizes that are not trusted; below them bit 0, ZIDL_ZERO_COPY: the contents of bytes members do not count.
    uint64_t notes;

    template <uint32_t Tag, class Value>
    ZIDL_INLINE void put_varint(Value value)
    {
        len += varint_size(Tag) + varint_size(value);
    }

    template <unsigned TagLen, size_t Behind>
    ZIDL_INLINE void put_numbered(uint32_t, uint32_t value)
    {
        len += TagLen + varint_size(value);
    }

    // `Count` values side by side.
    template <unsigned TagLen, unsigned Count>
    ZIDL_INLINE void put_whole_run(const uint8_t *members)
    {
        len += Count * TagLen;
        for (unsigned i = 0; i + 4 <= Count; i += 4)
            len += size_of_four(members + i * sizeof(uint32_t));
        for (unsigned i = Count / 4 * 4; i < Count; ++i)
            len += varint_size(load<uint32_t>(members + i * sizeof(uint32_t)));
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_byte(uint8_t)
    {
        len += varint_size(Tag) + 1;
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_fixed32(uint32_t)
    {
        len += varint_size(Tag) + 4;
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_string(const char *text)
    {
        put_length<Tag>(strlen(text));
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_bytes(const uint8_t *, uint64_t size)
    {
        const uint64_t contents = (notes & ZIDL_ZERO_COPY) != 0 ? 0 : size;
        notes |= size & untrusted_bits;
        len += varint_size(Tag) + varint_size(static_cast<uint32_t>(size)) + contents;
    }

    template <uint32_t Tag, class Record>
    ZIDL_INLINE void put_message(const Record &msg, bool present)
    {
        sizer inner{0, notes};
        if constexpr (is_measured_inline<Record>)
            encode_fields(inner, msg);
        else
            inner = encode(inner, msg);
        notes = inner.notes;
        if (inner.len != 0 || present)
            put_length<Tag>(inner.len);
    }

private:
    template <uint32_t Tag>
    ZIDL_INLINE void put_length(uint64_t contents)
    {
        len += varint_size(Tag) + varint_size(static_cast<uint32_t>(contents)) + contents;
    }
};

template <>
struct sink_traits<sizer> : usual_sink {
    static constexpr bool counts_whole_runs = true;
};

template <class Record>
ZIDL_INLINE sizer measured(const Record &msg, uint64_t notes = 0)
{
    return encode(sizer{0, notes}, msg);
}

// What callers get of a length. Where sizes have 32 bits, one that has more is too long for any buffer.
constexpr size_t returned_size(uint64_t len)
{
    return is_addressable(len) ? static_cast<size_t>(len) : SIZE_MAX;
}

template <class Record>
size_t encoded_size(const Record &msg, uint32_t flags)
{
    return returned_size(measured(msg, flags & ZIDL_ZERO_COPY).len);
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
