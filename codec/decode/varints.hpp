// The smallest pieces of the input: varints, tags, values of unknown fields. No byte outside the caller's buffer is ever
// read: words are loaded only where eight bytes of the whole buffer remain. Lengths are compared as `len > end - pos`.

#pragma once

#include "codec/decode/context.hpp"

#include <type_traits>

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

// A value and the position behind it; a null position where the input ends too early.
template <class Value>
struct parsed {
    const uint8_t *next;
    Value value;
};

// Bits beyond the value's width are dropped; a varint may be longer than any value needs.
template <class Value>
ZIDL_COLD parsed<Value> parse_varint_bytewise(const uint8_t *pos, const uint8_t *end)
{
    Value value = 0;
    for (uint64_t shift = 0; pos < end; shift += 7) {
        const uint8_t byte = *pos++;
        if (shift < 8 * sizeof(Value))
            value |= static_cast<Value>(byte & 127) << shift;
        if (byte < 128)
            return {pos, value};
    }
    return {nullptr, 0};
}

// Of up to eight bytes, and of up to ten where the value has 64 bits, without a guess; null also where the varint is longer, or
// the input too short for words.
template <class Value>
ZIDL_INLINE parsed<Value> parse_word_varint(const uint8_t *pos, const uint8_t *end, const uint8_t *wide_end)
{
    if (ZIDL_UNLIKELY(pos > wide_end))
        return {nullptr, 0};
    const uint64_t word = load_wire<uint64_t>(pos);
    const uint64_t stops = ~word & continuation_bits;
    if (ZIDL_LIKELY(stops != 0)) {
        pos += (trailing_zeros(stops) >> 3) + 1;
        const uint64_t bytes = word & (stops ^ (stops - 1));
        return {ZIDL_LIKELY(pos <= end) ? pos : nullptr, pack_groups<Value>(bytes)};
    }
    // Nine or ten bytes, as addresses and other full 64-bit values have: which of them cannot be foreseen.
    if (sizeof(Value) < 8 || ZIDL_UNLIKELY(end - pos < 9))
        return {nullptr, 0};
    const uint64_t ninth = pos[8];
    const unsigned more = static_cast<unsigned>(ninth >> 7);
    if (ZIDL_UNLIKELY(end - pos < 9 + static_cast<ptrdiff_t>(more)))
        return {nullptr, 0};
    const uint64_t last = pos[8 + more];
    if (ZIDL_UNLIKELY(last > 127))
        return {nullptr, 0};
    const uint64_t top = more != 0 ? last << 63 : 0;
    return {pos + 9 + more, static_cast<Value>(pack_groups<uint64_t>(word) | (ninth & 127) << 56 | top)};
}

// What a word at `pos` does not answer. Where fewer than eight bytes are left, as in the last fields of every input, the word is
// made of the input's last bytes and zeros; varints longer than their value needs are read byte by byte.
template <class Value>
ZIDL_COLD parsed<Value> parse_other_varint(const uint8_t *pos, const uint8_t *end, const uint8_t *wide_end)
{
    if (wide_end == nullptr || pos <= wide_end || pos >= end)
        return parse_varint_bytewise<Value>(pos, end);
    const uint64_t word = load_wire<uint64_t>(wide_end) >> (8 * static_cast<size_t>(pos - wide_end));
    const uint64_t stops = ~word & continuation_bits;
    pos += (trailing_zeros(stops) >> 3) + 1;
    return {pos <= end ? pos : nullptr, pack_groups<Value>(word & (stops ^ (stops - 1)))};
}

// Of any length. Expects two bytes and more.
template <class Value>
ZIDL_INLINE parsed<Value> parse_long_varint(const uint8_t *pos, const uint8_t *end, const uint8_t *wide_end)
{
    const auto read = parse_word_varint<Value>(pos, end, wide_end);
    return ZIDL_LIKELY(read.next != nullptr) ? read : parse_other_varint<Value>(pos, end, wide_end);
}

// Of any length. Expects one byte.
template <class Value>
ZIDL_INLINE parsed<Value> parse_varint(const uint8_t *pos, const uint8_t *end, const uint8_t *wide_end)
{
    if (ZIDL_LIKELY(pos < end) && ZIDL_LIKELY(*pos < 128))
        return {pos + 1, *pos};
    return parse_long_varint<Value>(pos, end, wide_end);
}

// What a u8 member takes of a varint.
template <class Reader>
ZIDL_INLINE bool read_low_byte(Reader &in, uint8_t &member)
{
    uint32_t value;
    if (ZIDL_UNLIKELY(!in.u32(value)))
        return false;
    member = static_cast<uint8_t>(value);
    return true;
}

// What a bool member takes: all 64 bits count.
template <class Reader>
ZIDL_INLINE bool read_truth(Reader &in, uint8_t &member)
{
    uint64_t value;
    if (ZIDL_UNLIKELY(!in.u64(value)))
        return false;
    member = value != 0;
    return true;
}

template <class Reader>
ZIDL_INLINE bool read_signed(Reader &in, int64_t &member)
{
    uint64_t value;
    if (ZIDL_UNLIKELY(!in.u64(value)))
        return false;
    member = unzigzag(value);
    return true;
}

ZIDL_INLINE parsed<uint32_t> parse_fixed32(const uint8_t *pos, const uint8_t *end)
{
    if (ZIDL_UNLIKELY(end - pos < 4))
        return {nullptr, 0};
    return {pos + 4, load_wire<uint32_t>(pos)};
}

// A varint that ends within the input, and behind which a word is readable.
ZIDL_INLINE uint32_t parse_ended(const uint8_t *pos)
{
    const uint64_t word = load_wire<uint64_t>(pos);
    const uint64_t stops = ~word & continuation_bits;
    return pack_groups<uint32_t>(word & (stops ^ (stops - 1)));
}

// Tags have one byte up to field 15 and two up to field 2047.
ZIDL_INLINE parsed<uint32_t> parse_tag(const uint8_t *pos, const uint8_t *end)
{
    const uint32_t first = *pos;
    if (ZIDL_LIKELY(first < 128))
        return {pos + 1, first};
    if (ZIDL_LIKELY(end - pos >= 2) && ZIDL_LIKELY(pos[1] < 128))
        return {pos + 2, (first & 127) | static_cast<uint32_t>(pos[1]) << 7};
    return parse_varint_bytewise<uint32_t>(pos, end);
}

// Whether exactly this tag stands there; tags of more than two bytes are not looked for.
template <uint32_t Tag>
ZIDL_INLINE bool stands_at(const uint8_t *pos, const uint8_t *end)
{
    constexpr uint64_t wire = wire_tag(Tag);
    if constexpr (wire < 0x100)
        return pos < end && *pos == wire;
    else if constexpr (wire < 0x10000)
        return end - pos >= 2 && load_wire<uint16_t>(pos) == wire;
    else
        return false;
}

// Whether the tag at `pos` is one of a run's, and which. They differ in their first byte alone, and stand eight apart.
template <uint32_t First, unsigned Count>
ZIDL_INLINE bool run_index(const uint8_t *pos, uint32_t &index)
{
    constexpr uint32_t first = make_tag(First, varint);
    constexpr unsigned tag_len = varint_size(first);
    static_assert(tag_len <= 2 && first >> 7 == make_tag(First + Count - 1, varint) >> 7);
    using Tag = std::conditional_t<tag_len == 1, uint8_t, uint16_t>;
    constexpr unsigned width = 8 * tag_len;
    const Tag distance = static_cast<Tag>(load_wire<Tag>(pos) - wire_tag(first));
    const Tag steps = static_cast<Tag>(distance >> 3 | distance << (width - 3));
    index = steps;
    return steps < Count;
}

// Which of the next sixteen bytes of a message end a varint; none where the window does not lie within the input.
ZIDL_INLINE uint32_t ends_in_window(const uint8_t *pos, const uint8_t *end, const decode_context &context)
{
    if (ZIDL_UNLIKELY(pos > context.window_end))
        return 0;
    const uint32_t ends = varint_ends(pos);
    const size_t left = static_cast<size_t>(end - pos);
    return left < 16 ? ends & ~(~uint32_t{0} << left) : ends;
}

ZIDL_INLINE const uint8_t *skip_varint(const uint8_t *pos, const uint8_t *end, const uint8_t *wide_end)
{
    if (ZIDL_LIKELY(pos < end) && ZIDL_LIKELY(*pos < 128))
        return pos + 1;
    return parse_long_varint<uint64_t>(pos, end, wide_end).next;
}

// Skips the value of an unknown field: the position behind it, or null and the reason. A fixed or delimited value that
// runs past the end ends the message, and that is no failure: deliberately lenient.
ZIDL_COLD inline parsed<int32_t> skip_value(uint32_t tag, const uint8_t *pos, const uint8_t *end)
{
    size_t len = 0;
    switch (tag & 7) {
    case varint:
    case delimited: {
        const auto value = parse_varint_bytewise<uint32_t>(pos, end);
        if (value.next == nullptr)
            return {nullptr, ZIDL_ERR_MALFORMED};
        pos = value.next;
        len = (tag & 7) == delimited ? value.value : 0;
        break;
    }
    case fixed64:
        len = 8;
        break;
    case fixed32:
        len = 4;
        break;
    default:
        return {nullptr, ZIDL_ERR_WIRE_TYPE};
    }
    return {len > static_cast<size_t>(end - pos) ? end : pos + len, ZIDL_OK};
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
