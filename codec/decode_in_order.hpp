// Decoding of small messages: an address, a prefix, an identifier. Senders write their fields in the schema's order, each
// at most once; read that way, straight from one to the next, such a message costs little more than its values.
//
// What comes otherwise is left where it is: a field out of order or repeated, an unknown one, a value that is long, cut off,
// or close to the end of the input. The general decoder goes on from there, with the presence bits for a memory. Nothing
// here calls a function that may return, but for the caller's allocation function: small records without memory of their
// own are read in registers that need no saving.

#pragma once

#include "codec/decode.hpp"

// A small message's decoder becomes part of the decoders around it where that pays most, and costs one copy only of what is
// dispatched: in the build for newer processors.
#ifdef __BMI2__
#define ZIDL_SMALL ZIDL_INLINE
#else
#define ZIDL_SMALL inline
#endif

namespace zidl
{
inline namespace ZIDL_VARIANT
{

// Each kind of field is one member function: whether the field came next, and was read.
class ordered_reader
{
public:
    ZIDL_INLINE ordered_reader(const uint8_t *pos, const uint8_t *end, const decode_context &context)
        : pos_(pos), end_(end), context_(context)
    {
    }

    ZIDL_INLINE const uint8_t *pos() const { return pos_; }
    ZIDL_INLINE bool finished() const { return pos_ >= end_; }
    ZIDL_INLINE int32_t status() const { return status_; }

    template <uint32_t Number>
    ZIDL_INLINE bool u32(uint32_t &member)
    {
        return comes<make_tag(Number, varint)>() && read_varint<make_tag(Number, varint)>(member);
    }

    template <uint32_t Number>
    ZIDL_INLINE bool u64(uint64_t &member)
    {
        return comes<make_tag(Number, varint)>() && read_varint<make_tag(Number, varint)>(member);
    }

    // The same for messages whose values are now short, now long: nothing is guessed.
    template <uint32_t Number>
    ZIDL_INLINE bool varied_u32(uint32_t &member)
    {
        return comes<make_tag(Number, varint)>() && read_varied<make_tag(Number, varint)>(member);
    }

    template <uint32_t Number>
    ZIDL_INLINE bool varied_u64(uint64_t &member)
    {
        return comes<make_tag(Number, varint)>() && read_varied<make_tag(Number, varint)>(member);
    }

    // `Count` u32 fields with numbers from `First`, presence bits from `Bit` and members side by side: as many of them as
    // follow one another, sixteen bytes at a time.
    template <uint32_t First, unsigned Count, unsigned Bit>
    ZIDL_INLINE void u32_run(uint8_t *members, uint64_t &seen)
    {
        constexpr ptrdiff_t tag_len = varint_size(make_tag(First, varint));
        uint32_t index;
        while (end_ - pos_ > tag_len && run_index<First, Count>(pos_, index)) {
            const uint8_t *const base = pos_;
            // Ends of a tag and of its value by turns.
            for (uint32_t ends = ends_in_window(pos_, end_, context_); (ends &= ends - 1) != 0;) {
                store(members + index * sizeof(uint32_t), parse_ended(pos_ + tag_len));
                seen |= bit<Bit> << index;
                pos_ = base + trailing_zeros(ends) + 1;
                ends &= ends - 1;
                if (ends == 0 || !run_index<First, Count>(pos_, index))
                    break;
            }
            if (ZIDL_LIKELY(pos_ != base))
                continue;
            uint32_t value;
            if (!read_varint<make_tag(First, varint)>(value))
                return;
            store(members + index * sizeof(uint32_t), value);
            seen |= bit<Bit> << index;
        }
    }

    template <uint32_t Number>
    ZIDL_INLINE bool u8(uint8_t &member)
    {
        uint32_t value;
        if (!u32<Number>(value))
            return false;
        member = static_cast<uint8_t>(value);
        return true;
    }

    // All 64 bits of the varint count.
    template <uint32_t Number>
    ZIDL_INLINE bool boolean(uint8_t &member)
    {
        uint64_t value;
        if (!u64<Number>(value))
            return false;
        member = value != 0;
        return true;
    }

    template <uint32_t Number>
    ZIDL_INLINE bool fixed(uint32_t &member)
    {
        constexpr uint32_t tag = make_tag(Number, fixed32);
        constexpr unsigned tag_len = varint_size(tag);
        if (!comes<tag>() || end_ - pos_ < tag_len + 4)
            return false;
        member = load<uint32_t>(pos_ + tag_len);
        pos_ += tag_len + 4;
        return true;
    }

    // An embedded message without memory of its own is left to the general decoder as a whole where it is not read to its
    // end: what was read of it is read again. One with memory is finished here.
    template <uint32_t Number, class Record>
    ZIDL_INLINE bool message(Record &member)
    {
        const uint8_t *body;
        uint32_t len;
        if (!comes<make_tag(Number, delimited)>() || !read_length<make_tag(Number, delimited)>(body, len))
            return false;
        ordered_reader inner(body, body + len, context_);
        decode_in_order(inner, member);
        if constexpr (shape<Record>::owns_memory) {
            const int32_t status =
                inner.finished() ? inner.status() : decode_in_any_order(member, inner.pos(), body + len, context_);
            if (ZIDL_UNLIKELY(status != ZIDL_OK))
                return fail(status);
        } else if (ZIDL_UNLIKELY(!inner.finished())) {
            return false;
        }
        pos_ = body + len;
        return true;
    }

    template <uint32_t Number>
    ZIDL_INLINE bool string(char *&member)
    {
        const uint8_t *body;
        uint32_t len;
        if (!comes<make_tag(Number, delimited)>() || ZIDL_UNLIKELY(context_.alloc_fn == nullptr) ||
            !read_length<make_tag(Number, delimited)>(body, len))
            return false;
        char *const copy = static_cast<char *>(context_.alloc_fn(size_t{len} + 1, context_.alloc_ctx));
        if (ZIDL_UNLIKELY(copy == nullptr))
            return fail(ZIDL_ERR_NO_MEMORY);
        member = copy;
        copy_short(copy, body, len);
        copy[len] = '\0';
        pos_ = body + len;
        return true;
    }

    template <uint32_t Number>
    ZIDL_INLINE bool bytes(uint8_t *&data, uint64_t &size)
    {
        const uint8_t *body;
        uint32_t len;
        if (!comes<make_tag(Number, delimited)>() || !read_size<make_tag(Number, delimited)>(body, len))
            return false;
        uint8_t *block = const_cast<uint8_t *>(body);
        if (!context_.borrow) {
            if (ZIDL_UNLIKELY(context_.alloc_fn == nullptr))
                return false;
            block = static_cast<uint8_t *>(context_.alloc_fn(len, context_.alloc_ctx));
            if (ZIDL_UNLIKELY(block == nullptr))
                return fail(ZIDL_ERR_NO_MEMORY);
            copy_short(block, body, len);
        }
        data = block;
        size = len;
        pos_ = body + len;
        return true;
    }

private:
    // Ends the reading.
    ZIDL_INLINE bool fail(int32_t status)
    {
        status_ = status;
        pos_ = end_;
        return false;
    }

    // Whether the next tag is this one.
    template <uint32_t Tag>
    ZIDL_INLINE bool comes() const
    {
        constexpr uint64_t wire = wire_tag(Tag);
        if constexpr (wire < 0x100)
            return pos_ < end_ && *pos_ == wire;
        else if constexpr (wire < 0x10000)
            return end_ - pos_ >= 2 && load<uint16_t>(pos_) == wire;
        else
            return false;
    }

    template <uint32_t Tag, class Value>
    ZIDL_INLINE bool read_varint(Value &member)
    {
        const uint8_t *const pos = pos_ + varint_size(Tag);
        if (pos < end_ && ZIDL_LIKELY(*pos < 128)) {
            member = *pos;
            pos_ = pos + 1;
            return true;
        }
        const auto read = parse_word_varint<Value>(pos, end_, context_.wide_end);
        if (ZIDL_UNLIKELY(read.next == nullptr))
            return false;
        member = read.value;
        pos_ = read.next;
        return true;
    }

    template <uint32_t Tag, class Value>
    ZIDL_INLINE bool read_varied(Value &member)
    {
        const auto read = parse_word_varint<Value>(pos_ + varint_size(Tag), end_, context_.wide_end);
        if (ZIDL_UNLIKELY(read.next == nullptr))
            return read_varint<Tag>(member);
        member = read.value;
        pos_ = read.next;
        return true;
    }

    // The same for contents of any size.
    template <uint32_t Tag>
    ZIDL_INLINE bool read_size(const uint8_t *&body, uint32_t &len) const
    {
        if (ZIDL_LIKELY(read_length<Tag>(body, len)))
            return true;
        const auto read = parse_word_varint<uint32_t>(pos_ + varint_size(Tag), end_, context_.wide_end);
        body = read.next;
        len = read.value;
        return body != nullptr && len <= static_cast<size_t>(end_ - body);
    }

    // A length prefix of one byte whose contents lie within the message, and where they begin.
    template <uint32_t Tag>
    ZIDL_INLINE bool read_length(const uint8_t *&body, uint32_t &len) const
    {
        const uint8_t *const pos = pos_ + varint_size(Tag);
        if (ZIDL_UNLIKELY(pos >= end_) || ZIDL_UNLIKELY(*pos > 127))
            return false;
        body = pos + 1;
        len = *pos;
        return ZIDL_LIKELY(len <= static_cast<size_t>(end_ - body));
    }

    const uint8_t *pos_;
    const uint8_t *const end_;
    const decode_context &context_;
    int32_t status_ = ZIDL_OK;
};

// The general reader, out of line: what small messages seldom need shall be small.
class patient_reader
{
public:
    patient_reader(const uint8_t *pos, const uint8_t *end, const decode_context &context) : in_(pos, end, context) {}

    int32_t status() const { return in_.status(); }
    uint32_t tag() const { return in_.tag(); }

    ZIDL_COLD bool next_tag() { return in_.next_tag(); }
    ZIDL_COLD bool unknown(bool known_number) { return in_.unknown(known_number); }
    ZIDL_COLD bool u32(uint32_t &member) { return in_.u32(member); }
    ZIDL_COLD bool u64(uint64_t &member) { return in_.u64(member); }
    ZIDL_COLD bool u8(uint8_t &member) { return in_.u8(member); }
    ZIDL_COLD bool boolean(uint8_t &member) { return in_.boolean(member); }
    ZIDL_COLD bool fixed(uint32_t &member) { return in_.fixed(member); }
    ZIDL_COLD bool string(char *&member, bool filled) { return in_.string(member, filled); }
    ZIDL_COLD bool bytes(uint8_t *&member, uint64_t &size, bool filled) { return in_.bytes(member, size, filled); }

    template <class Record>
    ZIDL_COLD bool message(Record &member, bool again)
    {
        return in_.message(member, again);
    }

private:
    reader in_;
};

template <class Record>
ZIDL_INLINE int32_t decode_small(Record &msg, const uint8_t *pos, const uint8_t *end, const decode_context &context)
{
    ordered_reader in(pos, end, context);
    decode_in_order(in, msg);
    return ZIDL_LIKELY(in.finished()) ? in.status() : decode_in_any_order(msg, in.pos(), end, context);
}

} // namespace ZIDL_VARIANT
} // namespace zidl
