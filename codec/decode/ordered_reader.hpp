// The reader of small messages: an address, a prefix, an identifier. Senders write their fields in the schema's order, each
// at most once; read that way, straight from one to the next, such a message costs little more than its values.
//
// What comes otherwise is left where it is: a field out of order or repeated, an unknown one, a value that is long, cut off,
// or close to the end of the input. An any-order reader goes on from there, with the presence bits for a memory. Small
// records without memory of their own are read without a call, in registers that need no saving.

#pragma once

#include "codec/decode/varints.hpp"
#include "codec/presence.hpp"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

class ordered_reader;

template <class Record>
void read_in_order(ordered_reader &in, Record &msg);

template <class Record>
int32_t read_in_any_order(Record &msg, const uint8_t *pos, const uint8_t *end, const decode_context &context);

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
    ZIDL_INLINE uint64_t seen() const { return seen_; }

    // Whether the next field is this one, which is asked for once. The calls below read its value; where they do not, it is
    // as if the field had not come.
    template <uint32_t Tag, unsigned Bit>
    ZIDL_INLINE bool comes()
    {
        value_ = pos_ + varint_size(Tag);
        field_ = bit<Bit>;
        return stands_at<Tag>(pos_, end_);
    }

    // Expects one byte.
    ZIDL_INLINE bool u32(uint32_t &member) { return note(read_varint(member)); }
    ZIDL_INLINE bool u64(uint64_t &member) { return note(read_varint(member)); }

    // Expects any length.
    ZIDL_INLINE bool varied_u32(uint32_t &member) { return note(read_varied(member)); }
    ZIDL_INLINE bool varied_u64(uint64_t &member) { return note(read_varied(member)); }

    ZIDL_INLINE bool u8(uint8_t &member) { return read_low_byte(*this, member); }
    ZIDL_INLINE bool sint64(int64_t &member) { return read_signed(*this, member); }
    ZIDL_INLINE bool boolean(uint8_t &member) { return read_truth(*this, member); }
    ZIDL_INLINE bool fixed(uint32_t &member) { return note(keep(parse_fixed32(value_, end_), member)); }

    // As many fields of a run as follow one another, sixteen bytes at a time.
    template <uint32_t First, unsigned Bit, unsigned Count>
    ZIDL_INLINE void u32_run(uint8_t *members)
    {
        constexpr ptrdiff_t tag_len = varint_size(make_tag(First, varint));
        uint32_t index;
        while (end_ - pos_ > tag_len && run_index<First, Count>(pos_, index)) {
            const uint8_t *const base = pos_;
            // Ends of a tag and of its value by turns.
            for (uint32_t ends = ends_in_window(pos_, end_, context_); (ends &= ends - 1) != 0;) {
                store(members + index * sizeof(uint32_t), parse_ended(pos_ + tag_len));
                seen_ |= bit<Bit> << index;
                pos_ = base + trailing_zeros(ends) + 1;
                ends &= ends - 1;
                if (ends == 0 || !run_index<First, Count>(pos_, index))
                    break;
            }
            if (ZIDL_LIKELY(pos_ != base))
                continue;
            uint32_t value;
            value_ = pos_ + tag_len;
            if (!read_varint(value))
                return;
            store(members + index * sizeof(uint32_t), value);
            seen_ |= bit<Bit> << index;
        }
    }

    // An embedded message without memory of its own is left to the any-order reader as a whole where it is not read to its
    // end: what was read of it is read again. One with memory is finished here. (Lengths of more than one byte were tried:
    // docs/performance.md.)
    template <class Record>
    ZIDL_INLINE bool message(Record &member)
    {
        const uint8_t *contents;
        uint32_t len;
        if (!read_short_length(contents, len))
            return false;
        ordered_reader inner(contents, contents + len, context_);
        read_in_order(inner, member);
        if constexpr (shape<Record>::owns_memory) {
            const int32_t status =
                inner.finished() ? inner.status() : read_in_any_order(member, inner.pos(), contents + len, context_);
            if (ZIDL_UNLIKELY(status != ZIDL_OK))
                return fail(status);
        } else if (ZIDL_UNLIKELY(!inner.finished())) {
            return false;
        }
        pos_ = contents + len;
        return note(true);
    }

    ZIDL_INLINE bool string(char *&member)
    {
        const uint8_t *contents;
        uint32_t len;
        if (ZIDL_UNLIKELY(context_.alloc_fn == nullptr) || !read_short_length(contents, len))
            return false;
        if (ZIDL_UNLIKELY(!hold_string(member, context_, contents, len)))
            return fail(ZIDL_ERR_NO_MEMORY);
        pos_ = contents + len;
        return note(true);
    }

    ZIDL_INLINE bool bytes(uint8_t *&member, uint64_t &size)
    {
        const uint8_t *contents;
        uint32_t len;
        if (!read_length(contents, len) || ZIDL_UNLIKELY(!context_.borrow && context_.alloc_fn == nullptr))
            return false;
        if (ZIDL_UNLIKELY(!hold_bytes(member, size, context_, contents, len)))
            return fail(ZIDL_ERR_NO_MEMORY);
        pos_ = contents + len;
        return note(true);
    }

private:
    ZIDL_INLINE bool note(bool was_read)
    {
        if (was_read)
            seen_ |= field_;
        return was_read;
    }

    // Ends the reading.
    ZIDL_INLINE bool fail(int32_t status)
    {
        status_ = status;
        pos_ = end_;
        return false;
    }

    template <class Value>
    ZIDL_INLINE bool read_varint(Value &member)
    {
        if (value_ < end_ && ZIDL_LIKELY(*value_ < 128)) {
            member = *value_;
            pos_ = value_ + 1;
            return true;
        }
        return keep(parse_word_varint<Value>(value_, end_, context_.wide_end), member);
    }

    template <class Value>
    ZIDL_INLINE bool read_varied(Value &member)
    {
        return keep(parse_word_varint<Value>(value_, end_, context_.wide_end), member) ||
               ZIDL_UNLIKELY(read_varint(member));
    }

    template <class Value>
    ZIDL_INLINE bool keep(const parsed<Value> &read, Value &member)
    {
        if (ZIDL_UNLIKELY(read.next == nullptr))
            return false;
        member = read.value;
        pos_ = read.next;
        return true;
    }

    // A length of one byte whose contents lie within the message, and where they begin.
    ZIDL_INLINE bool read_short_length(const uint8_t *&contents, uint32_t &len) const
    {
        if (ZIDL_UNLIKELY(value_ >= end_) || ZIDL_UNLIKELY(*value_ > 127))
            return false;
        contents = value_ + 1;
        len = *value_;
        return ZIDL_LIKELY(len <= static_cast<size_t>(end_ - contents));
    }

    // The same for contents of any size.
    ZIDL_INLINE bool read_length(const uint8_t *&contents, uint32_t &len) const
    {
        if (ZIDL_LIKELY(read_short_length(contents, len)))
            return true;
        const auto read = parse_word_varint<uint32_t>(value_, end_, context_.wide_end);
        contents = read.next;
        len = read.value;
        return contents != nullptr && len <= static_cast<size_t>(end_ - contents);
    }

    const uint8_t *pos_;             // of the next field's tag
    const uint8_t *value_ = nullptr; // of the value behind it
    uint64_t field_ = 0;             // the presence bit of the field that is asked for
    const uint8_t *const end_;
    const decode_context &context_;
    uint64_t seen_ = 0;
    int32_t status_ = ZIDL_OK;
};

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
