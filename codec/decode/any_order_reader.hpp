// The reader of small messages whose fields come in another order than the schema's, twice, unknown or damaged: what an
// ordered reader leaves. It is asked for every field once a tag. Out of line: what is seldom needed shall be small.

#pragma once

#include "codec/decode/reader.hpp"

namespace zidl
{
inline namespace ZIDL_VARIANT
{

class any_order_reader
{
public:
    // `seen` are the presence bits of the fields that were read before.
    any_order_reader(const uint8_t *pos, const uint8_t *end, const decode_context &context, uint64_t seen)
        : in_(pos, end, context), seen_(seen)
    {
    }

    int32_t status() const { return in_.status(); }
    uint64_t seen() const { return seen_; }

    ZIDL_COLD bool next_tag()
    {
        is_known_ = false;
        was_read_ = false;
        return in_.next_tag();
    }

    // Whether the message goes on behind the field that the tag announced.
    ZIDL_COLD bool end_field() { return was_read_ ? in_.status() == ZIDL_OK : in_.unknown(is_known_); }

    // A field's number with another wire type is remembered.
    template <uint32_t Tag>
    ZIDL_INLINE bool comes()
    {
        if (in_.tag() >> 3 != Tag >> 3)
            return false;
        is_known_ = true;
        return in_.tag() == Tag;
    }

    template <unsigned Bit>
    ZIDL_INLINE bool has_seen() const
    {
        return (seen_ & bit<Bit>) != 0;
    }

    template <unsigned Bit>
    ZIDL_INLINE void note(bool was_read)
    {
        note(Bit, was_read);
    }

    ZIDL_COLD bool u8(uint8_t &member) { return in_.u8(member); }
    ZIDL_COLD bool u32(uint32_t &member) { return in_.u32(member); }
    ZIDL_COLD bool u64(uint64_t &member) { return in_.u64(member); }
    ZIDL_INLINE bool varied_u32(uint32_t &member) { return u32(member); }
    ZIDL_INLINE bool varied_u64(uint64_t &member) { return u64(member); }
    ZIDL_COLD bool sint64(int64_t &member) { return in_.sint64(member); }
    ZIDL_COLD bool boolean(uint8_t &member) { return in_.boolean(member); }
    ZIDL_COLD bool fixed(uint32_t &member) { return in_.fixed(member); }
    ZIDL_COLD bool string(char *&member, bool filled) { return in_.string(member, filled); }
    ZIDL_COLD bool bytes(uint8_t *&member, uint64_t &size, bool filled) { return in_.bytes(member, size, filled); }

    template <class Record>
    ZIDL_COLD bool message(Record &member, bool again)
    {
        return in_.message(member, again);
    }

    template <uint32_t First, unsigned Bit, unsigned Count>
    ZIDL_INLINE void u32_run(uint8_t *members)
    {
        read_one_of_run(First, Bit, Count, members);
    }

private:
    ZIDL_COLD void note(unsigned place, bool was_read)
    {
        was_read_ = true;
        if (was_read)
            seen_ |= uint64_t{1} << place;
    }

    ZIDL_COLD void read_one_of_run(uint32_t first, unsigned place, unsigned count, uint8_t *members)
    {
        const uint32_t index = (in_.tag() >> 3) - first;
        if (index >= count)
            return;
        is_known_ = true;
        if ((in_.tag() & 7) != varint)
            return;
        uint32_t value = 0;
        const bool was_read = u32(value);
        if (was_read)
            store(members + index * sizeof value, value);
        note(place + index, was_read);
    }

    reader in_;
    uint64_t seen_;
    bool is_known_ = false; // the tag's number is one of the schema's
    bool was_read_ = false; // its field has been asked for: what became of it stands in the status
};

} // namespace ZIDL_VARIANT
} // namespace zidl
