// The sink that stores without looking at the end of the buffer. It is what fast writers hand out where room was made, and
// what whole messages are written with whose bound was compared with the buffer.

#pragma once

#include "codec/encode/sinks.hpp"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

// Moves at least sixteen bytes up by at most sixteen, the last ones first. The first ones are taken along and stored in the
// end, over what has arrived there of them already.
ZIDL_INLINE void move_up(uint8_t *src, size_t len, unsigned distance)
{
    struct block {
        uint64_t low, high;
    };
    const block head = load<block>(src);
    while (len > sizeof(block)) {
        len -= sizeof(block);
        store(src + len + distance, load<block>(src + len));
    }
    store(src + distance, head);
}

// The only sink that stores without looking: a proof of room in itself. Whoever makes one has compared.
class unchecked_writer
{
public:
    // REQUIRES: all that will be written fits behind `pos`.
    ZIDL_INLINE explicit unchecked_writer(uint8_t *from) : pos(from) {}

    uint8_t *pos;

    template <uint32_t Tag, class Value>
    ZIDL_INLINE void put_varint(Value value)
    {
        if constexpr (sizeof(Value) <= sizeof(uint32_t))
            put_short_varint<Tag>(value);
        else
            put_any_varint<Tag>(value);
    }

    template <unsigned TagLen, size_t Behind>
    ZIDL_INLINE void put_numbered(uint32_t number, uint32_t value)
    {
        const uint32_t tag = make_tag(number, varint);
        put_behind_tag<TagLen, 1, Behind>(TagLen == 1 ? tag : (tag & 127) | 128 | (tag >> 7) << 8, value);
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
        store_wire(pos, value);
        pos += 4;
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_bytes(const void *data, uint64_t size)
    {
        put_tag<Tag>();
        put_raw_varint(static_cast<uint32_t>(size));
        copy_short(pos, data, static_cast<size_t>(size));
        pos += size;
    }

    template <uint32_t Tag, class Record>
    ZIDL_INLINE void put_message(const Record &msg, bool present)
    {
        uint8_t *const body = pos + varint_size(Tag) + 1;
        uint8_t *const end = encode(unchecked_writer(body), msg).pos;
        if constexpr (!shape<Record>::owns_memory && shape<Record>::fixed_bound < 128)
            put_short_body<Tag>(body, end, present);
        else
            put_moved_body<Tag>(body, end, present);
    }

    // One byte was kept for the length of the body.
    template <uint32_t Tag>
    ZIDL_INLINE void put_moved_body(uint8_t *body, uint8_t *end, bool present)
    {
        const size_t len = static_cast<size_t>(end - body);
        if (ZIDL_LIKELY(len < 128))
            return put_short_body<Tag>(body, end, present);
        put_tag<Tag>();
        const unsigned extra = varint_size(static_cast<uint32_t>(len)) - 1;
        move_up(body, len, extra);
        put_raw_varint(static_cast<uint32_t>(len));
        pos = end + extra;
    }

    ZIDL_INLINE void put_raw_varint(uint64_t value)
    {
        for (; value > 127; value >>= 7)
            *pos++ = static_cast<uint8_t>(value | 128);
        *pos++ = static_cast<uint8_t>(value);
    }

private:
    // One byte was kept for the length of the body, and is enough for it.
    template <uint32_t Tag>
    ZIDL_INLINE void put_short_body(uint8_t *body, uint8_t *end, bool present)
    {
        const size_t len = static_cast<size_t>(end - body);
        if (len == 0 && !present)
            return;
        put_tag<Tag>();
        *pos = static_cast<uint8_t>(len);
        pos = end;
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_tag()
    {
        constexpr uint64_t wire = wire_tag(Tag);
        if constexpr (wire < 0x100)
            *pos++ = static_cast<uint8_t>(wire);
        else if constexpr (wire < 0x10000) {
            store_wire(pos, static_cast<uint16_t>(wire));
            pos += 2;
        } else
            put_raw_varint(Tag);
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_short_varint(uint32_t value)
    {
        constexpr unsigned tag_len = varint_size(Tag);
        if constexpr (tag_len > 2) {
            put_raw_varint(Tag);
            put_raw_varint(value);
        } else if (ZIDL_LIKELY(value < 128)) {
            put_tag<Tag>();
            *pos++ = static_cast<uint8_t>(value);
        } else {
            put_behind_tag<tag_len, 2, 0>(wire_tag(Tag), value);
        }
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_any_varint(uint64_t value)
    {
        put_tag<Tag>();
        if (ZIDL_UNLIKELY(value >> 56 != 0))
            return put_long_varint(value);
        if (value >> 21 != 0)
            return put_word_varint(value);
        put_raw_varint(value);
    }

    // A value of nine or ten bytes, as addresses have: which of them cannot be foreseen.
    ZIDL_INLINE void put_long_varint(uint64_t value)
    {
        store_wire(pos, spread_groups<0>(value & 0x00ffffffffffffff) | continuation_bits);
        const uint8_t ninth = static_cast<uint8_t>(value >> 56);
        const unsigned more = ninth >> 7;
        pos[8] = ninth;
        pos[8 + more] = more != 0 ? 1 : ninth;
        pos += 9 + more;
    }

    // A value of four to eight bytes.
    ZIDL_INLINE void put_word_varint(uint64_t value)
    {
        const uint64_t groups = spread_groups<0>(value);
        const unsigned last_byte_bit = top_bit(groups) & ~7U;
        const uint64_t bytes = groups | (continuation_bits & ((uint64_t{1} << last_byte_bit) - 1));
        store_wire(pos, static_cast<uint32_t>(bytes));
        pos += last_byte_bit / 8 + 1;
        store_wire(pos - 4, static_cast<uint32_t>(bytes >> (last_byte_bit - 24)));
    }

    // A tag of `TagLen` bytes, as it stands on the wire, and a value of any length, without a branch: lengths that vary
    // cannot be foreseen. The value takes at least `MinLen` bytes, and at least `Behind` bytes follow.
    template <unsigned TagLen, unsigned MinLen, size_t Behind>
    ZIDL_INLINE void put_behind_tag(uint64_t tag, uint32_t value)
    {
        constexpr size_t sure = TagLen + MinLen + Behind;
        const uint64_t groups = spread_groups<TagLen>(value);
        const uint64_t not_zero = MinLen > 1 ? groups : groups | uint64_t{1} << (8 * TagLen);
        const unsigned last_byte_bit = top_bit(not_zero) & ~7U;
        const unsigned len = last_byte_bit / 8 + 1;
        const uint64_t all_but_last_byte = (uint64_t{1} << last_byte_bit) - 1;
        store_low<TagLen, sure>(groups | ((continuation_bits << (8 * TagLen) | tag) & all_but_last_byte), len);
        pos += len;
    }

    // The low `len` bytes of `bytes`, a tag and one to five more, in few stores that overlap. At least `Sure` bytes are there
    // for them and what follows: what is stored too much is overwritten by it.
    template <unsigned TagLen, size_t Sure>
    ZIDL_INLINE void store_low(uint64_t bytes, unsigned len)
    {
        const auto store_part = [&](auto part, unsigned at) ZIDL_INLINE_LAMBDA {
            store_wire(pos + at, static_cast<decltype(part)>(bytes >> (8 * at)));
        };
        const auto pair = uint16_t{};
        const auto four = uint32_t{};
        const unsigned last = len - 2;
        if constexpr (Sure >= sizeof bytes) {
            store_wire(pos, bytes);
        } else if constexpr (TagLen == 1 && Sure >= 6) {
            store_part(four, 0);
            store_part(pair, 4);
        } else if constexpr (Sure >= 4) {
            store_part(four, 0);
            if constexpr (TagLen > 1)
                store_part(pair, last < 4 ? last : 4);
            store_part(pair, last);
        } else {
            store_part(pair, 0);
            if constexpr (TagLen == 1) {
                store_part(pair, last / 2);
            } else {
                store_part(pair, last < 2 ? last : 2);
                store_part(pair, last - 1);
            }
            store_part(pair, last);
        }
    }
};

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
