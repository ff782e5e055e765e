// The sink for every buffer, as the contract has it: writes what fits, leaves out what does not, lists segments.

#pragma once

#include "codec/encode/fast_writer.hpp"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

// Where an exact writer has come to: what fits is written, what does not is left out, and segments are listed.
// Out of line and out of the way: what runs here is short of room, or lists segments.
class exact_output
{
public:
    // The caller's buffer and, where `nsegs` is not null, the caller's list with its capacity; a null list has none.
    ZIDL_COLD exact_output(uint8_t *buf, size_t buflen, zidl_segment *segs, const uint32_t *nsegs, uint32_t flags)
        : exact_output(buf, buflen, segs, nsegs != nullptr && segs != nullptr ? *nsegs : 0, nsegs != nullptr, flags)
    {
    }

    exact_output(uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t capacity, bool listing, uint32_t flags)
        : buf_(buf), buflen_(buflen), segs_(segs), capacity_(capacity), listing_(listing), flags_(flags)
    {
    }

    // The length of the encoding; the list is complete then, and `nsegs` gets the number of its entries.
    size_t finish(uint32_t *nsegs)
    {
        if (nsegs != nullptr)
            *nsegs = close();
        return returned_size(pos_);
    }

    uint32_t flags() const { return flags_; }

    // Neither bytes nor entries of a list come of what is written from now on.
    bool is_over() const { return pos_ >= buflen_ && !listing_; }

    // Where a whole message can be stored without regard to the end; null where it cannot.
    uint8_t *room_for(const sizer &whole) const
    {
        const bool plain = !listing_ && (whole.notes & ZIDL_ZERO_COPY) == 0 && sizes_are_trusted(whole.notes);
        return plain && pos_ <= buflen_ && whole.len <= buflen_ - pos_ ? buf_ + pos_ : nullptr;
    }

    ZIDL_COLD void put_tagged(uint32_t tag, uint64_t value)
    {
        put_raw_varint(tag);
        put_raw_varint(value);
    }

    ZIDL_COLD void put_byte(uint32_t tag, uint8_t byte)
    {
        put_raw_varint(tag);
        put(byte);
    }

    ZIDL_COLD void put_fixed32(uint32_t tag, uint32_t value)
    {
        put_raw_varint(tag);
        for (unsigned shift = 0; shift < 32; shift += 8)
            put(static_cast<uint8_t>(value >> shift));
    }

    ZIDL_COLD void put_string(uint32_t tag, const char *text)
    {
        const size_t size = strlen(text);
        put_length(tag, size);
        put_whole(text, size);
    }

    // Borrowed contents are listed, not copied and not counted.
    ZIDL_COLD void put_bytes(uint32_t tag, const uint8_t *data, uint64_t size)
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

    // Writes the tag and the length of an embedded message; its output is what is left of the buffer and of the list.
    ZIDL_COLD exact_output begin_message(uint32_t tag, uint64_t len)
    {
        put_length(tag, len);
        const bool room = pos_ < buflen_;
        const uint32_t left = capacity_ > listed_ ? capacity_ - listed_ : 0;
        return {room ? buf_ + pos_ : nullptr,
                room ? static_cast<size_t>(buflen_ - pos_) : 0,
                left > 0 ? segs_ + listed_ : nullptr,
                left,
                listing_,
                flags_};
    }

    ZIDL_COLD void end_message(exact_output &inner, uint64_t len)
    {
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

private:
    void put(uint8_t byte)
    {
        if (pos_ < buflen_)
            buf_[pos_] = byte;
        ++pos_;
    }

    void put_raw_varint(uint64_t value)
    {
        for (; value > 127; value >>= 7)
            put(static_cast<uint8_t>(value | 128));
        put(static_cast<uint8_t>(value));
    }

    ZIDL_COLD void put_length(uint32_t tag, uint64_t len) { put_tagged(tag, static_cast<uint32_t>(len)); }

    // Strings and bytes are written whole or not at all.
    ZIDL_COLD void put_whole(const void *data, uint64_t size)
    {
        if (size > 0 && pos_ <= buflen_ && size <= buflen_ - pos_)
            memcpy(buf_ + pos_, data, static_cast<size_t>(size));
        pos_ += size;
    }

    ZIDL_COLD void list(const uint8_t *base, uint64_t size)
    {
        if (listed_ < capacity_)
            segs_[listed_] = {base, size};
        ++listed_;
    }

    // Also defined where there is no buffer, or where `offset` lies beyond its end.
    const uint8_t *segment_base(uint64_t offset) const
    {
        return reinterpret_cast<const uint8_t *>(reinterpret_cast<uintptr_t>(buf_) + static_cast<uintptr_t>(offset));
    }

    uint8_t *buf_;
    size_t buflen_;
    uint64_t pos_ = 0;
    uint64_t run_ = 0; // where the bytes that are not listed yet begin
    zidl_segment *segs_;
    uint32_t capacity_;
    uint32_t listed_ = 0;
    bool listing_;
    uint32_t flags_;
};

struct exact_writer {
    exact_output *out;

    template <uint32_t Tag, class Value>
    void put_varint(Value value)
    {
        out->put_tagged(Tag, value);
    }

    template <unsigned, size_t>
    void put_numbered(uint32_t number, uint32_t value)
    {
        out->put_tagged(make_tag(number, varint), value);
    }

    template <uint32_t Tag>
    void put_byte(uint8_t byte)
    {
        out->put_byte(Tag, byte);
    }

    template <uint32_t Tag>
    void put_fixed32(uint32_t value)
    {
        out->put_fixed32(Tag, value);
    }

    template <uint32_t Tag>
    void put_string(const char *text)
    {
        out->put_string(Tag, text);
    }

    template <uint32_t Tag>
    void put_bytes(const uint8_t *data, uint64_t size)
    {
        out->put_bytes(Tag, data, size);
    }

    template <uint32_t Tag, class Record>
    void put_message(const Record &msg, bool present)
    {
        put_message(Tag, msg, present);
    }

private:
    // The length first, then the message. Only the ones around the end of the buffer are gone through field by field.
    template <class Record>
    ZIDL_COLD void put_message(uint32_t tag, const Record &msg, bool present)
    {
        const sizer whole = measured(msg, out->flags() & ZIDL_ZERO_COPY);
        if (whole.len == 0 && !present)
            return;
        exact_output inner = out->begin_message(tag, whole.len);
        if (uint8_t *const room = inner.room_for(whole))
            write_measured(room, msg);
        else if (!inner.is_over())
            encode(exact_writer{&inner}, msg);
        out->end_message(inner, whole.len);
    }
};

template <>
struct sink_traits<exact_writer> : usual_sink {
    static constexpr bool unrolls_whole_runs = false; // small rather than fast
};

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
