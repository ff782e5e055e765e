// Encoding. A generated `encode` names the fields of its message in the order in which they are written; the sink decides
// what that means:
//   sizer         counts the bytes
//   exact_writer  writes what fits, leaves out what does not, lists segments: the contract for every buffer
//   fast_writer   writes into room that is known to suffice, in one pass
// All give the same bytes. A sink is passed and returned by value, so that its position stays in a register.

#pragma once

#include "codec/presence.hpp"
#include "codec/zidl.h"

namespace zidl
{
inline namespace ZIDL_VARIANT
{

// Sizes above this are no memory that a caller can hold; sums of bounds stay far from wrapping.
constexpr size_t absurd_size = size_t{1} << 56;

struct sizer {
    size_t len;
    bool borrow; // ZIDL_ZERO_COPY: the contents of bytes members do not count

    template <uint32_t Tag>
    ZIDL_INLINE void put_varint(uint64_t value)
    {
        len += varint_size(Tag) + varint_size(value);
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
        const size_t contents = borrow ? 0 : size;
        len += varint_size(Tag) + varint_size(static_cast<uint32_t>(size)) + contents;
    }

    template <uint32_t Tag, class Record>
    ZIDL_INLINE void put_message(const Record &msg, bool present)
    {
        const size_t inner = encode(sizer{0, borrow}, msg).len;
        if (inner != 0 || present)
            put_length<Tag>(inner);
    }

private:
    template <uint32_t Tag>
    ZIDL_INLINE void put_length(size_t contents)
    {
        len += varint_size(Tag) + varint_size(static_cast<uint32_t>(contents)) + contents;
    }
};

template <class Record>
size_t encoded_size(const Record &msg, uint32_t flags)
{
    return encode(sizer{0, (flags & ZIDL_ZERO_COPY) != 0}, msg).len;
}

// Out of line and out of the way: what runs here is short of room, or lists segments.
class exact_writer
{
public:
    exact_writer(uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t capacity, bool listing, uint32_t flags)
        : buf_(buf), buflen_(buflen), segs_(segs), capacity_(capacity), listing_(listing), flags_(flags)
    {
    }

    template <uint32_t Tag>
    void put_varint(uint64_t value)
    {
        put_tagged(Tag, value);
    }

    template <uint32_t Tag>
    void put_byte(uint8_t byte)
    {
        put_raw_varint(Tag);
        put(byte);
    }

    template <uint32_t Tag>
    void put_fixed32(uint32_t value)
    {
        put_raw_varint(Tag);
        for (unsigned shift = 0; shift < 32; shift += 8)
            put(static_cast<uint8_t>(value >> shift));
    }

    template <uint32_t Tag>
    void put_string(const char *text)
    {
        const size_t size = strlen(text);
        put_length(Tag, size);
        put_whole(text, size);
    }

    template <uint32_t Tag>
    void put_bytes(const uint8_t *data, uint64_t size)
    {
        put_block(Tag, data, size);
    }

    // The length first, then the message on the rest of the buffer and of the list.
    template <uint32_t Tag, class Record>
    void put_message(const Record &msg, bool present)
    {
        const size_t len = encoded_size(msg, flags_);
        if (len == 0 && !present)
            return;
        put_length(Tag, len);
        exact_writer inner = encode(rest(), msg);
        listed_ += inner.close();
        pos_ += len;
    }

    // Lists what was written since the last borrowed bytes, when that is anything, and yields the number of entries.
    ZIDL_COLD uint32_t close()
    {
        if (listing_ && pos_ > run_)
            list(segment_base(run_), pos_ - run_);
        return listed_;
    }

    size_t len() const { return pos_; }

private:
    ZIDL_COLD void put(uint8_t byte)
    {
        if (pos_ < buflen_)
            buf_[pos_] = byte;
        ++pos_;
    }

    ZIDL_COLD void put_raw_varint(uint64_t value)
    {
        for (; value > 127; value >>= 7)
            put(static_cast<uint8_t>(value | 128));
        put(static_cast<uint8_t>(value));
    }

    ZIDL_COLD void put_tagged(uint32_t tag, uint64_t value)
    {
        put_raw_varint(tag);
        put_raw_varint(value);
    }

    ZIDL_COLD void put_length(uint32_t tag, uint64_t len) { put_tagged(tag, static_cast<uint32_t>(len)); }

    // A writer on what is left of the buffer and of the list.
    ZIDL_COLD exact_writer rest() const
    {
        const bool room = pos_ < buflen_;
        const uint32_t left = capacity_ > listed_ ? capacity_ - listed_ : 0;
        return {room ? buf_ + pos_ : nullptr,
                room ? buflen_ - pos_ : 0,
                left > 0 ? segs_ + listed_ : nullptr,
                left,
                listing_,
                flags_};
    }

    // Borrowed contents are listed, not copied and not counted.
    ZIDL_COLD void put_block(uint32_t tag, const uint8_t *data, uint64_t size)
    {
        put_length(tag, size);
        if ((flags_ & ZIDL_ZERO_COPY) == 0) {
            put_whole(data, size);
        } else if (listing_ && size > 0) {
            list(segment_base(run_), pos_ - run_);
            list(data, size);
            run_ = pos_;
        }
    }

    // Strings and bytes are written whole or not at all.
    ZIDL_COLD void put_whole(const void *data, size_t size)
    {
        if (size > 0 && pos_ <= buflen_ && size <= buflen_ - pos_)
            memcpy(buf_ + pos_, data, size);
        pos_ += size;
    }

    ZIDL_COLD void list(const uint8_t *base, uint64_t size)
    {
        if (listed_ < capacity_)
            segs_[listed_] = {base, size};
        ++listed_;
    }

    // Also defined where there is no buffer, or where `offset` lies beyond its end.
    const uint8_t *segment_base(size_t offset) const
    {
        return reinterpret_cast<const uint8_t *>(reinterpret_cast<uintptr_t>(buf_) + offset);
    }

    uint8_t *buf_;
    size_t buflen_;
    size_t pos_ = 0;
    size_t run_ = 0; // where the bytes that are not listed yet begin
    zidl_segment *segs_;
    uint32_t capacity_;
    uint32_t listed_ = 0;
    bool listing_;
    uint32_t flags_;
};

// Moves `len` bytes up by `distance`, at most eight at a time and the last ones first.
ZIDL_INLINE void move_up(uint8_t *src, size_t len, unsigned distance)
{
    while (len >= 8) {
        len -= 8;
        store(src + len + distance, load<uint64_t>(src + len));
    }
    while (len > 0) {
        --len;
        src[len + distance] = src[len];
    }
}

// Stores exactly the bytes of the encoding, though some of them first one to four bytes too low: the length of an
// embedded message stands before it and is known after it.
struct fast_writer {
    uint8_t *pos;

    template <uint32_t Tag>
    ZIDL_INLINE void put_varint(uint32_t value)
    {
        constexpr unsigned tag_len = varint_size(Tag);
        if constexpr (tag_len > 3) {
            put_raw_varint(Tag);
            put_raw_varint(value);
            return;
        }
        if (ZIDL_LIKELY(value < 128)) {
            put_tag<Tag>();
            *pos++ = static_cast<uint8_t>(value);
            return;
        }
        const unsigned value_len = varint_size(value);
        const uint64_t bytes = spread_groups(value) | (0x8080808080 & ((uint64_t{1} << (8 * (value_len - 1))) - 1));
        store_exact(bytes << (8 * tag_len) | wire_tag(Tag), tag_len + value_len);
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_varint(uint64_t value)
    {
        put_tag<Tag>();
        if (ZIDL_UNLIKELY(value >> 56 != 0)) {
            // Nine or ten bytes, as addresses have.
            store(pos, spread_groups(value & 0x00ffffffffffffff) | continuation_bits);
            const uint32_t high = static_cast<uint32_t>(value >> 56);
            pos[8] = static_cast<uint8_t>(high);
            pos += 9;
            if (high > 127)
                *pos++ = 1;
            return;
        }
        put_raw_varint(value);
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_byte(uint8_t byte)
    {
        put_tag<Tag>();
        *pos++ = byte;
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_fixed32(uint32_t value)
    {
        put_tag<Tag>();
        store(pos, value);
        pos += 4;
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_string(const char *text)
    {
        put_block<Tag>(text, strlen(text));
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_bytes(const uint8_t *data, uint64_t size)
    {
        put_block<Tag>(data, size);
    }

    // One byte is reserved for the length; the body moves up when it turns out to need more.
    template <uint32_t Tag, class Record>
    ZIDL_INLINE void put_message(const Record &msg, bool present)
    {
        uint8_t *const body = pos + varint_size(Tag) + 1;
        uint8_t *const end = encode(fast_writer{body}, msg).pos;
        const size_t len = static_cast<size_t>(end - body);
        if (len == 0 && !present)
            return;
        put_tag<Tag>();
        if (shape<Record>::fixed_bound < 128 && !shape<Record>::owns_memory) {
            *pos = static_cast<uint8_t>(len);
        } else if (ZIDL_LIKELY(len < 128)) {
            *pos = static_cast<uint8_t>(len);
        } else {
            const unsigned extra = varint_size(static_cast<uint32_t>(len)) - 1;
            move_up(body, len, extra);
            put_raw_varint(static_cast<uint32_t>(len));
            pos = end + extra;
            return;
        }
        pos = end;
    }

private:
    template <uint32_t Tag>
    ZIDL_INLINE void put_tag()
    {
        constexpr uint64_t wire = wire_tag(Tag);
        if constexpr (wire < 0x100)
            *pos++ = static_cast<uint8_t>(wire);
        else if constexpr (wire < 0x10000) {
            store(pos, static_cast<uint16_t>(wire));
            pos += 2;
        } else
            put_raw_varint(Tag);
    }

    ZIDL_INLINE void put_raw_varint(uint64_t value)
    {
        for (; value > 127; value >>= 7)
            *pos++ = static_cast<uint8_t>(value | 128);
        *pos++ = static_cast<uint8_t>(value);
    }

    // The low `len` bytes of `bytes`, three to eight of them, in two overlapping stores.
    ZIDL_INLINE void store_exact(uint64_t bytes, unsigned len)
    {
        if (ZIDL_LIKELY(len >= 4)) {
            store(pos, static_cast<uint32_t>(bytes));
            store(pos + len - 4, static_cast<uint32_t>(bytes >> (8 * (len - 4))));
        } else {
            store(pos, static_cast<uint16_t>(bytes));
            pos[2] = static_cast<uint8_t>(bytes >> 16);
        }
        pos += len;
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_block(const void *data, size_t size)
    {
        put_tag<Tag>();
        put_raw_varint(static_cast<uint32_t>(size));
        copy_short(pos, data, size);
        pos += size;
    }
};

// The kinds of field, as the generated code names them. What is not present is not written; a message that has content
// is written even where its own bit says otherwise, and one whose bit is set even where it is empty.

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_u8(Sink &out, bool present, uint8_t value)
{
    if (present)
        out.template put_varint<make_tag(Number, varint)>(uint32_t{value});
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_u32(Sink &out, bool present, uint32_t value)
{
    if (present)
        out.template put_varint<make_tag(Number, varint)>(value);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_u64(Sink &out, bool present, uint64_t value)
{
    if (present)
        out.template put_varint<make_tag(Number, varint)>(value);
}

// One byte as it stands, whatever it holds.
template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_bool(Sink &out, bool present, uint8_t value)
{
    if (present)
        out.template put_byte<make_tag(Number, varint)>(value);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_fixed32(Sink &out, bool present, uint32_t value)
{
    if (present)
        out.template put_fixed32<make_tag(Number, fixed32)>(value);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_string(Sink &out, bool present, const char *text)
{
    if (present && text != nullptr)
        out.template put_string<make_tag(Number, delimited)>(text);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_bytes(Sink &out, bool present, const uint8_t *data, uint64_t size)
{
    if (present)
        out.template put_bytes<make_tag(Number, delimited)>(data, size);
}

template <uint32_t Number, class Sink, class Record>
ZIDL_INLINE void encode_message(Sink &out, bool present, const Record &msg)
{
    if (present || any_presence(msg) != 0)
        out.template put_message<make_tag(Number, delimited)>(msg, present);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_u8s(Sink &out, bool present, const uint8_t *array, uint32_t count)
{
    for (uint32_t i = 0; present && i < count; ++i)
        out.template put_varint<make_tag(Number, varint)>(uint32_t{array[i]});
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_u32s(Sink &out, bool present, const uint32_t *array, uint32_t count)
{
    for (uint32_t i = 0; present && i < count; ++i)
        out.template put_varint<make_tag(Number, varint)>(array[i]);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_u64s(Sink &out, bool present, const uint64_t *array, uint32_t count)
{
    for (uint32_t i = 0; present && i < count; ++i)
        out.template put_varint<make_tag(Number, varint)>(array[i]);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_byte_blocks(Sink &out, bool present, const zidl_bytes *array, uint32_t count)
{
    for (uint32_t i = 0; present && i < count; ++i)
        out.template put_bytes<make_tag(Number, delimited)>(array[i].data, array[i].size);
}

template <uint32_t Number, class Sink, class Record>
ZIDL_INLINE void encode_messages(Sink &out, bool present, const Record *array, uint32_t count)
{
    for (uint32_t i = 0; present && i < count; ++i)
        out.template put_message<make_tag(Number, delimited)>(array[i], true);
}

// An upper bound of what members of variable length add to a message, for the choice of the writer. Cheap: arrays of
// scalars and of plain messages are bounded by their count.

template <uint32_t Number>
constexpr size_t max_header_size = varint_size(make_tag(Number, delimited)) + max_varint32_size;

template <uint32_t Number>
ZIDL_INLINE size_t bound_string(bool present, const char *text)
{
    return present && text != nullptr ? max_header_size<Number> + strlen(text) : 0;
}

template <uint32_t Number>
ZIDL_INLINE size_t bound_bytes(bool present, uint64_t size)
{
    if (!present)
        return 0;
    return max_header_size<Number> + (size < absurd_size ? size : absurd_size);
}

template <uint32_t Number>
ZIDL_INLINE size_t bound_u8s(bool present, uint32_t count)
{
    return present ? size_t{count} * (varint_size(make_tag(Number, varint)) + 2) : 0;
}

template <uint32_t Number>
ZIDL_INLINE size_t bound_u32s(bool present, uint32_t count)
{
    return present ? size_t{count} * (varint_size(make_tag(Number, varint)) + max_varint32_size) : 0;
}

template <uint32_t Number>
ZIDL_INLINE size_t bound_u64s(bool present, uint32_t count)
{
    return present ? size_t{count} * (varint_size(make_tag(Number, varint)) + max_varint64_size) : 0;
}

template <uint32_t Number>
ZIDL_INLINE size_t bound_byte_blocks(bool present, const zidl_bytes *array, uint32_t count)
{
    size_t bound = 0;
    for (uint32_t i = 0; present && i < count && bound < absurd_size; ++i)
        bound += bound_bytes<Number>(true, array[i].size);
    return bound;
}

template <uint32_t Number, class Record>
ZIDL_INLINE size_t bound_messages(bool present, const Record *array, uint32_t count)
{
    size_t bound = present ? size_t{count} * (max_header_size<Number> + shape<Record>::fixed_bound) : 0;
    if constexpr (shape<Record>::owns_memory) {
        for (uint32_t i = 0; present && i < count && bound < absurd_size; ++i)
            bound += shape<Record>::variable_bound(array[i]);
    }
    return bound;
}

template <class Record>
size_t encoded_bound(const Record &msg)
{
    if constexpr (shape<Record>::owns_memory)
        return shape<Record>::fixed_bound + shape<Record>::variable_bound(msg);
    else
        return shape<Record>::fixed_bound;
}

} // namespace ZIDL_VARIANT
} // namespace zidl
