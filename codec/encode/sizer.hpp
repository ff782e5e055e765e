// The sink that counts: what an encoding takes, and whether its sizes are to be trusted.

#pragma once

#include "codec/encode/sinks.hpp"

namespace zidl
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

struct sizer {
    size_t len;
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
        const size_t contents = (notes & ZIDL_ZERO_COPY) != 0 ? 0 : size;
        notes |= size & untrusted_bits;
        len += varint_size(Tag) + varint_size(static_cast<uint32_t>(size)) + contents;
    }

    template <uint32_t Tag, class Record>
    ZIDL_INLINE void put_message(const Record &msg, bool present)
    {
        const sizer inner = encode(sizer{0, notes}, msg);
        notes = inner.notes;
        if (inner.len != 0 || present)
            put_length<Tag>(inner.len);
    }

private:
    template <uint32_t Tag>
    ZIDL_INLINE void put_length(size_t contents)
    {
        len += varint_size(Tag) + varint_size(static_cast<uint32_t>(contents)) + contents;
    }
};

template <class Record>
ZIDL_INLINE sizer measured(const Record &msg, uint64_t notes = 0)
{
    return encode(sizer{0, notes}, msg);
}

template <class Record>
size_t encoded_size(const Record &msg, uint32_t flags)
{
    return measured(msg, flags & ZIDL_ZERO_COPY).len;
}

// Whether the whole encoding fits into `room` bytes.
template <class Record>
bool certainly_fits(const Record &msg, size_t room)
{
    const sizer whole = measured(msg);
    return whole.len <= room && sizes_are_trusted(whole.notes);
}

} // namespace ZIDL_VARIANT
} // namespace zidl
