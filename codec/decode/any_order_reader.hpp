// The reader of small messages whose fields come in another order than the schema's, twice, unknown or damaged: what an
// ordered reader leaves. It is asked for every field once a tag. Out of line: what is seldom needed shall be small.

#pragma once

#include "codec/decode/reader.hpp"

namespace zidl::detail
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
        was_asked_for_ = false;
        const bool goes_on = in_.next_tag();
        number_ = in_.tag() >> 3;
        return goes_on;
    }

    // Whether the message goes on behind the field that the tag announced.
    ZIDL_COLD bool end_field() { return was_asked_for_ ? in_.status() == ZIDL_OK : in_.unknown(is_known_); }

    // Whether the tag has this field's number. The calls below look at its wire type, and read its value.
    template <uint32_t Tag, unsigned Bit>
    ZIDL_INLINE bool comes()
    {
        if (number_ != Tag >> 3)
            return false;
        expect(Tag & 7, Bit);
        return true;
    }

    ZIDL_COLD void u8(uint8_t &member)
    {
        field([&] { return in_.u8(member); });
    }

    ZIDL_COLD void u32(uint32_t &member)
    {
        field([&] { return in_.u32(member); });
    }

    ZIDL_COLD void u64(uint64_t &member)
    {
        field([&] { return in_.u64(member); });
    }

    ZIDL_COLD void sint64(int64_t &member)
    {
        field([&] { return in_.sint64(member); });
    }

    ZIDL_COLD void boolean(uint8_t &member)
    {
        field([&] { return in_.boolean(member); });
    }

    ZIDL_COLD void fixed(uint32_t &member)
    {
        field([&] { return in_.fixed(member); });
    }

    ZIDL_COLD void string(char *&member)
    {
        field([&] { return in_.string(member, has_seen()); });
    }

    ZIDL_COLD void bytes(uint8_t *&member, uint64_t &size)
    {
        field([&] { return in_.bytes(member, size, has_seen()); });
    }

    ZIDL_INLINE void varied_u32(uint32_t &member) { u32(member); }
    ZIDL_INLINE void varied_u64(uint64_t &member) { u64(member); }

    template <class Record>
    ZIDL_COLD void message(Record &member)
    {
        field([&] {
            uint32_t len;
            return read_length(len) && in_.message_of(member, len, has_seen());
        });
    }

    template <uint32_t First, unsigned Bit, unsigned Count>
    ZIDL_INLINE void u32_run(uint8_t *members)
    {
        read_one_of_run(First, Bit, Count, members);
    }

private:
    ZIDL_INLINE void expect(uint32_t type, unsigned place)
    {
        type_ = static_cast<uint8_t>(type);
        place_ = static_cast<uint8_t>(place);
    }

    bool has_seen() const { return (seen_ >> place_ & 1) != 0; }

    template <class Read>
    ZIDL_INLINE void field(Read read)
    {
        if (has_type())
            note(read());
    }

    ZIDL_COLD bool read_length(uint32_t &len) { return in_.read_length(len); }

    // A field's number with another wire type is remembered.
    ZIDL_COLD bool has_type()
    {
        is_known_ = true;
        return (in_.tag() & 7) == type_;
    }

    ZIDL_COLD void note(bool was_read)
    {
        was_asked_for_ = true;
        if (was_read)
            seen_ |= uint64_t{1} << place_;
    }

    ZIDL_COLD void read_one_of_run(uint32_t first, unsigned place, unsigned count, uint8_t *members)
    {
        const uint32_t index = number_ - first;
        if (index >= count)
            return;
        expect(varint, place + index);
        u32(*reinterpret_cast<uint32_t *>(members + index * sizeof(uint32_t)));
    }

    reader in_;
    uint64_t seen_;
    uint32_t number_ = 0;        // of the tag
    uint8_t type_ = 0;           // the wire type of the field that is asked for
    uint8_t place_ = 0;          // its presence bit
    bool is_known_ = false;      // the tag's number is one of the schema's
    bool was_asked_for_ = false; // its field has been read or has failed: the status says which
};

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
