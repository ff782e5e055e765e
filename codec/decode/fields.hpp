// The kinds of field, as the decoders of small messages name them, and the two readers that take these lines: in the
// schema's order all of them once, then, if something is left, all of them for each tag.

#pragma once

#include "codec/decode/any_order_reader.hpp"
#include "codec/decode/ordered_reader.hpp"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

// A small message's decoder becomes part of the decoders around it where that pays most, and costs one copy only of what is
// dispatched: in the build for newer processors. (The same for encoders was tried: docs/performance.md.)
#ifdef __BMI2__
#define ZIDL_SMALL ZIDL_INLINE
#else
#define ZIDL_SMALL inline
#endif

template <uint32_t Number, unsigned Bit, class Reader>
ZIDL_INLINE void decode_u8(Reader &in, uint8_t &member)
{
    if (in.template comes<make_tag(Number, varint), Bit>())
        in.u8(member);
}

template <uint32_t Number, unsigned Bit, class Reader>
ZIDL_INLINE void decode_u32(Reader &in, uint32_t &member)
{
    if (in.template comes<make_tag(Number, varint), Bit>())
        in.u32(member);
}

template <uint32_t Number, unsigned Bit, class Reader>
ZIDL_INLINE void decode_u64(Reader &in, uint64_t &member)
{
    if (in.template comes<make_tag(Number, varint), Bit>())
        in.u64(member);
}

// The same for messages whose values are now short, now long: nothing is guessed.
template <uint32_t Number, unsigned Bit, class Reader>
ZIDL_INLINE void decode_varied_u32(Reader &in, uint32_t &member)
{
    if (in.template comes<make_tag(Number, varint), Bit>())
        in.varied_u32(member);
}

template <uint32_t Number, unsigned Bit, class Reader>
ZIDL_INLINE void decode_varied_u64(Reader &in, uint64_t &member)
{
    if (in.template comes<make_tag(Number, varint), Bit>())
        in.varied_u64(member);
}

template <uint32_t Number, unsigned Bit, class Reader>
ZIDL_INLINE void decode_sint64(Reader &in, int64_t &member)
{
    if (in.template comes<make_tag(Number, varint), Bit>())
        in.sint64(member);
}

// `Count` u32 fields with numbers from `Number`, presence bits from `Bit` and members side by side from `Offset`.
template <uint32_t Number, unsigned Bit, unsigned Count, size_t Offset, class Reader, class Record>
ZIDL_INLINE void decode_u32_run(Reader &in, Record &msg)
{
    in.template u32_run<Number, Bit, Count>(member_bytes(msg, Offset));
}

template <uint32_t Number, unsigned Bit, class Reader>
ZIDL_INLINE void decode_boolean(Reader &in, uint8_t &member)
{
    if (in.template comes<make_tag(Number, varint), Bit>())
        in.boolean(member);
}

template <uint32_t Number, unsigned Bit, class Reader>
ZIDL_INLINE void decode_fixed(Reader &in, uint32_t &member)
{
    if (in.template comes<make_tag(Number, fixed32), Bit>())
        in.fixed(member);
}

template <uint32_t Number, unsigned Bit, class Reader>
ZIDL_INLINE void decode_string(Reader &in, char *&member)
{
    if (in.template comes<make_tag(Number, delimited), Bit>())
        in.string(member);
}

template <uint32_t Number, unsigned Bit, class Reader>
ZIDL_INLINE void decode_bytes(Reader &in, uint8_t *&member, uint64_t &size)
{
    if (in.template comes<make_tag(Number, delimited), Bit>())
        in.bytes(member, size);
}

template <uint32_t Number, unsigned Bit, class Reader, class Record>
ZIDL_INLINE void decode_message(Reader &in, Record &member)
{
    if (in.template comes<make_tag(Number, delimited), Bit>())
        in.message(member);
}

template <class Record>
ZIDL_INLINE void read_in_order(ordered_reader &in, Record &msg)
{
    decode_fields(in, msg);
    msg.presence = static_cast<decltype(msg.presence)>(msg.presence | in.seen());
}

template <class Record>
ZIDL_COLD int32_t read_in_any_order(Record &msg, const uint8_t *pos, const uint8_t *end, const decode_context &context)
{
    any_order_reader in(pos, end, context, msg.presence);
    while (in.next_tag()) {
        decode_fields(in, msg);
        if (!in.end_field())
            break;
    }
    msg.presence = static_cast<decltype(msg.presence)>(msg.presence | in.seen());
    return in.status();
}

template <class Record>
ZIDL_SMALL std::enable_if_t<shape<Record>::is_small, int32_t> decode(Record &msg, const uint8_t *pos,
                                                                     const uint8_t *end, const decode_context &context)
{
    ordered_reader in(pos, end, context);
    read_in_order(in, msg);
    return ZIDL_LIKELY(in.finished()) ? in.status() : read_in_any_order(msg, in.pos(), end, context);
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
