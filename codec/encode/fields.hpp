// The kinds of field, as the generated code names them: what is not present is not written. A message that has content is
// written even where its own bit says otherwise, and one whose bit is set even where it is empty.

#pragma once

#include "codec/encode/bounds.hpp"

#include <utility>

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

// Room for neighbouring fields of bounded size, which take at most `Bytes` bytes: `write` gets the sink that they go to.
template <size_t Bytes, class Sink, class Write>
ZIDL_INLINE constexpr void within(Sink &out, const Write &write)
{
    if constexpr (sink_traits<Sink>::needs_room)
        out.template within<Bytes>(write);
    else
        write(out);
}

template <class Sink>
ZIDL_INLINE constexpr bool is_written(bool present)
{
    return sink_traits<Sink>::counts_absent || present;
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_u8(Sink &out, bool present, uint8_t value)
{
    if (is_written<Sink>(present))
        out.template put_varint<make_tag(Number, varint)>(value);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_u32(Sink &out, bool present, uint32_t value)
{
    if (is_written<Sink>(present))
        out.template put_varint<make_tag(Number, varint)>(value);
}

// For messages whose values are now short, now long.
template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_varied_u32(Sink &out, bool present, uint32_t value)
{
    constexpr unsigned tag_len = varint_size(make_tag(Number, varint));
    if constexpr (tag_len > 2)
        encode_u32<Number>(out, present, value);
    else if (is_written<Sink>(present))
        out.template put_numbered<tag_len, 0>(Number, value);
}

// A whole run of u32 fields: the fields' numbers and places are constants again, and how many bytes follow at least.
template <uint32_t Number, size_t... Index, class Sink>
ZIDL_INLINE void encode_whole_run(Sink &out, const uint8_t *members, std::index_sequence<Index...>)
{
    constexpr unsigned tag_len = varint_size(make_tag(Number, varint));
    constexpr size_t fields_behind_first = sizeof...(Index) - 1;
    if constexpr (sink_traits<Sink>::counts_whole_runs)
        out.template put_whole_run<tag_len, sizeof...(Index)>(members);
    else
        (out.template put_numbered<tag_len, (fields_behind_first - Index) * (tag_len + 1)>(
             Number + Index, load<uint32_t>(members + Index * sizeof(uint32_t))),
         ...);
}

// `Count` u32 fields that stand together: consecutive numbers from `Number`, consecutive presence bits from `Bit`, members
// side by side from `Offset`. Goes from one set bit to the next, so that absent fields cost nothing.
template <uint32_t Number, unsigned Bit, unsigned Count, size_t Offset, class Sink, class Record>
ZIDL_INLINE constexpr void encode_u32_run(Sink &out, const Record &msg)
{
    constexpr unsigned tag_len = varint_size(make_tag(Number, varint));
    static_assert(varint_size(make_tag(Number + Count - 1, varint)) == tag_len && tag_len <= 2);
    constexpr uint64_t all = (uint64_t{1} << Count) - 1;
    if constexpr (sink_traits<Sink>::counts_absent) {
        for (unsigned i = 0; i < Count; ++i)
            out.template put_numbered<tag_len, 0>(Number + i, 0);
    } else {
        const uint8_t *const members = member_bytes(msg, Offset);
        uint64_t present = uint64_t{msg.presence} >> Bit & all;
        if (sink_traits<Sink>::unrolls_whole_runs && present == all)
            return encode_whole_run<Number>(out, members, std::make_index_sequence<Count>());
        for (; present != 0; present &= present - 1) {
            const unsigned i = trailing_zeros(present);
            out.template put_numbered<tag_len, 0>(Number + i, load<uint32_t>(members + i * sizeof(uint32_t)));
        }
    }
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_u64(Sink &out, bool present, uint64_t value)
{
    if (is_written<Sink>(present))
        out.template put_varint<make_tag(Number, varint)>(value);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_sint64(Sink &out, bool present, int64_t value)
{
    encode_u64<Number>(out, present, zigzag(value));
}

// One byte as it stands, whatever it holds.
template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_bool(Sink &out, bool present, uint8_t value)
{
    if (is_written<Sink>(present))
        out.template put_byte<make_tag(Number, varint)>(value);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_fixed32(Sink &out, bool present, uint32_t value)
{
    if (is_written<Sink>(present))
        out.template put_fixed32<make_tag(Number, fixed32)>(value);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_string(Sink &out, bool present, const char *text)
{
    if (is_written<Sink>(present && text != nullptr))
        out.template put_string<make_tag(Number, delimited)>(text);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_bytes(Sink &out, bool present, const uint8_t *data, uint64_t size)
{
    if (is_written<Sink>(present))
        out.template put_bytes<make_tag(Number, delimited)>(data, size);
}

template <uint32_t Number, class Sink, class Record>
ZIDL_INLINE constexpr void encode_message(Sink &out, bool present, const Record &msg)
{
    if (is_written<Sink>(present) || any_presence(msg) != 0)
        out.template put_message<make_tag(Number, delimited)>(msg, present);
}

// Neighbouring embedded messages are mostly absent together: one test passes them all.
template <uint32_t Number, unsigned Bit, class Record>
struct neighbour {
    const Record &msg;
};

template <uint32_t Number, unsigned Bit, class Record>
ZIDL_INLINE constexpr neighbour<Number, Bit, Record> embedded(const Record &msg)
{
    return {msg};
}

template <class Sink, class Holder, uint32_t... Numbers, unsigned... Bits, class... Records>
ZIDL_INLINE constexpr void encode_neighbours(Sink &out, const Holder &holder, neighbour<Numbers, Bits, Records>... all)
{
    const bool present = (holder.presence & (bit<Bits> | ...)) != 0;
    if (is_written<Sink>(present) || (any_presence(all.msg) | ...) != 0)
        (encode_message<Numbers>(out, has<Bits>(holder), all.msg), ...);
}

template <uint32_t Number, class Sink, class Element>
ZIDL_INLINE constexpr void encode_bounded_elements(Sink &out, bool present, const Element *array, uint32_t count)
{
    if (!is_written<Sink>(present))
        return;
    if constexpr (sink_traits<Sink>::needs_room) {
        out.template put_elements<Number>(array, count);
    } else {
        for (uint32_t i = 0; i < count; ++i)
            put_element<Number>(out, array[i]);
    }
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_u8s(Sink &out, bool present, const uint8_t *array, uint32_t count)
{
    encode_bounded_elements<Number>(out, present, array, count);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_u32s(Sink &out, bool present, const uint32_t *array, uint32_t count)
{
    encode_bounded_elements<Number>(out, present, array, count);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_u64s(Sink &out, bool present, const uint64_t *array, uint32_t count)
{
    encode_bounded_elements<Number>(out, present, array, count);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE constexpr void encode_byte_blocks(Sink &out, bool present, const zidl_bytes *array, uint32_t count)
{
    if constexpr (sink_traits<Sink>::counts_absent) {
        out.template put_elements<Number>(array, count);
    } else {
        for (uint32_t i = 0; present && i < count; ++i)
            out.template put_bytes<make_tag(Number, delimited)>(array[i].data, array[i].size);
    }
}

template <uint32_t Number, class Sink, class Record>
ZIDL_INLINE constexpr void encode_messages(Sink &out, bool present, const Record *array, uint32_t count)
{
    if constexpr (shape<Record>::owns_memory && !sink_traits<Sink>::counts_absent) {
        for (uint32_t i = 0; present && i < count; ++i)
            out.template put_message<make_tag(Number, delimited)>(array[i], true);
    } else {
        encode_bounded_elements<Number>(out, present, array, count);
    }
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
