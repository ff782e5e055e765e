// Encoding. A generated `encode` names the fields of its message in the order in which they are written; the sink decides
// what that means:
//   sizer         counts the bytes
//   exact_writer  writes what fits, leaves out what does not, lists segments: the contract for every buffer
//   fast_writer   writes in one pass, as long as the buffer suffices
// All give the same bytes. A sink is passed and returned by value, so that its position stays in a register.

#pragma once

#include "codec/presence.hpp"
#include "codec/zidl.h"

#include <utility>

namespace zidl
{
inline namespace ZIDL_VARIANT
{

// Bytes members from this size on are too large for sums of sizes to be trusted not to wrap.
constexpr uint64_t suspicious_size = uint64_t{1} << 28;

struct sizer {
    size_t len;
    uint64_t
        notes; // bit 0, ZIDL_ZERO_COPY: the contents of bytes members do not count; above: bits of suspicious sizes

    template <uint32_t Tag>
    ZIDL_INLINE void put_varint(uint64_t value)
    {
        len += varint_size(Tag) + varint_size(value);
    }

    // A varint whose field number is known when it is written; its tag takes `TagLen` bytes, and at least `Behind` bytes
    // follow.
    template <unsigned TagLen, size_t Behind>
    ZIDL_INLINE void put_numbered(uint32_t, uint32_t value)
    {
        len += TagLen + varint_size(value);
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
        const size_t contents = (notes & ZIDL_ZERO_COPY) != 0 ? 0 : size;
        notes |= size & ~(suspicious_size - 1);
        len += varint_size(Tag) + varint_size(static_cast<uint32_t>(size)) + contents;
    }

    template <uint32_t Tag, class Record>
    ZIDL_INLINE void put_message(const Record &msg, bool present)
    {
        const sizer inner = encode(sizer{0, notes}, msg);
        notes = inner.notes;
        if (inner.len != 0 || present)
            put_length<Tag>(inner.len);
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
    return encode(sizer{0, flags & ZIDL_ZERO_COPY}, msg).len;
}

// Where an exact writer has come to: what fits is written, what does not is left out, and segments are listed.
// Out of line and out of the way: what runs here is short of room, or lists segments.
class exact_output
{
public:
    exact_output(uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t capacity, bool listing, uint32_t flags)
        : buf_(buf), buflen_(buflen), segs_(segs), capacity_(capacity), listing_(listing), flags_(flags)
    {
    }

    size_t len() const { return pos_; }
    uint32_t flags() const { return flags_; }

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
    ZIDL_COLD exact_output begin_message(uint32_t tag, size_t len)
    {
        put_length(tag, len);
        const bool room = pos_ < buflen_;
        const uint32_t left = capacity_ > listed_ ? capacity_ - listed_ : 0;
        return {room ? buf_ + pos_ : nullptr,
                room ? buflen_ - pos_ : 0,
                left > 0 ? segs_ + listed_ : nullptr,
                left,
                listing_,
                flags_};
    }

    ZIDL_COLD void end_message(exact_output &inner, size_t len)
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

struct exact_writer {
    exact_output *out;

    template <uint32_t Tag>
    void put_varint(uint64_t value)
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
    // The length first, then the message.
    template <class Record>
    ZIDL_COLD void put_message(uint32_t tag, const Record &msg, bool present)
    {
        const size_t len = encoded_size(msg, out->flags());
        if (len == 0 && !present)
            return;
        exact_output inner = out->begin_message(tag, len);
        encode(exact_writer{&inner}, msg);
        out->end_message(inner, len);
    }
};

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

// Writes what is known to fit: fields of bounded size, and messages whose bound was compared with the room that is left.
struct unchecked_writer {
    uint8_t *pos;

    template <uint32_t Tag>
    ZIDL_INLINE void put_varint(uint32_t value)
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

    template <unsigned TagLen, size_t Behind>
    ZIDL_INLINE void put_numbered(uint32_t number, uint32_t value)
    {
        const uint32_t tag = make_tag(number, varint);
        put_behind_tag<TagLen, 1, Behind>(TagLen == 1 ? tag : (tag & 127) | 128 | (tag >> 7) << 8, value);
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_varint(uint64_t value)
    {
        put_tag<Tag>();
        if (ZIDL_UNLIKELY(value >> 56 != 0))
            return put_long_varint(value);
        if (value >> 21 != 0)
            return put_word_varint(value);
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
    ZIDL_INLINE void put_bytes(const void *data, uint64_t size)
    {
        put_tag<Tag>();
        put_raw_varint(static_cast<uint32_t>(size));
        copy_short(pos, data, size);
        pos += size;
    }

    template <uint32_t Tag, class Record>
    ZIDL_INLINE void put_message(const Record &msg, bool present)
    {
        uint8_t *const body = pos + varint_size(Tag) + 1;
        uint8_t *const end = encode(unchecked_writer{body}, msg).pos;
        if constexpr (!shape<Record>::owns_memory && shape<Record>::fixed_bound < 128)
            put_short_body<Tag>(body, end, present);
        else
            put_moved_body<Tag>(body, end, present);
    }

protected:
    // How far a body moves up at most, in bytes: a length takes five bytes, and one was kept for it.
    static constexpr size_t max_move = max_varint32_size - 1;

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

private:
    // A value of nine or ten bytes, as addresses have: which of them cannot be foreseen.
    ZIDL_INLINE void put_long_varint(uint64_t value)
    {
        store(pos, spread_groups<0>(value & 0x00ffffffffffffff) | continuation_bits);
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
        store(pos, static_cast<uint32_t>(bytes));
        pos += last_byte_bit / 8 + 1;
        store(pos - 4, static_cast<uint32_t>(bytes >> (last_byte_bit - 24)));
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
            store(pos + at, static_cast<decltype(part)>(bytes >> (8 * at)));
        };
        const auto pair = uint16_t{};
        const auto four = uint32_t{};
        const unsigned last = len - 2;
        if constexpr (Sure >= sizeof bytes) {
            store(pos, bytes);
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

// Sizes of the bytes members that are present: what they take on the wire at most, and the bits that any of them has.
struct content_sizes {
    uint64_t bound;
    uint64_t bits;

    template <uint32_t Number>
    ZIDL_INLINE void add(bool present, uint64_t size)
    {
        const uint64_t contents = present ? size : 0;
        bound += varint_size(make_tag(Number, delimited)) + max_varint32_size + contents;
        bits |= contents;
    }
};

// Whether what a message of bounded size takes on the wire at most, and `Head` bytes before it, fit into `room` bytes, and
// its sizes are to be trusted.
template <size_t Head, class Record>
ZIDL_INLINE bool bound_fits(const Record &msg, size_t room)
{
    content_sizes sizes{Head + shape<Record>::fixed_bound, 0};
    if constexpr (shape<Record>::owns_memory)
        add_sizes(sizes, msg);
    return ZIDL_LIKELY(sizes.bound <= room) && ZIDL_LIKELY(sizes.bits < suspicious_size);
}

// Whether the whole encoding fits into `buflen` bytes.
template <class Record>
bool certainly_fits(const Record &msg, size_t buflen)
{
    const sizer measured = encode(sizer{0, 0}, msg);
    return measured.len <= buflen && measured.notes < suspicious_size;
}

// So close to the end of the buffer messages are measured before they are written, in bytes.
constexpr size_t measured_below = 4096;

// Writes in one pass, and gives up where the buffer turns out to be too small: `pos` and `limit` are null from then on.
//
// The length of an embedded message stands before it and is known after it: its body is stored a few bytes too low and
// moves up in the end. Where a string does not fit, the bytes that it would take must stay as they are, so nothing may be
// stored there by mistake: a body written this way keeps clear of the end of the buffer by what it and the bodies around
// it may still move. Close to the end messages are measured first instead.
//
// Inside a `room` stores are not checked, and `limit` says nothing.
struct fast_writer : unchecked_writer {
    uint8_t *limit;

    ZIDL_INLINE fast_writer(uint8_t *from, uint8_t *to) : unchecked_writer{from}, limit(to) {}

    size_t left() const { return static_cast<size_t>(limit - pos); }
    bool failed() const { return pos == nullptr; }

    void give_up()
    {
        pos = nullptr;
        limit = nullptr;
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_string(const char *text)
    {
        put_bytes<Tag>(text, strlen(text));
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_bytes(const void *data, uint64_t size)
    {
        if (ZIDL_UNLIKELY(!has_room<Tag>(size)))
            return give_up();
        unchecked_writer::put_bytes<Tag>(data, size);
    }

    template <uint32_t Tag, class Record>
    ZIDL_INLINE void put_message(const Record &msg, bool present)
    {
        if constexpr (!shape<Record>::owns_memory) {
            // The room around it covers it.
            unchecked_writer::put_message<Tag>(msg, present);
        } else if constexpr (shape<Record>::is_bounded) {
            if (ZIDL_LIKELY((bound_fits<varint_size(Tag) + max_varint32_size>(msg, left()))))
                unchecked_writer::put_message<Tag>(msg, present);
            else
                *this = put_measured<Tag>(*this, msg, present);
        } else if (ZIDL_LIKELY(left() >= measured_below)) {
            uint8_t *const body = pos + varint_size(Tag) + 1;
            const fast_writer end = encode(fast_writer{body, limit - max_move}, msg);
            if (ZIDL_UNLIKELY(end.failed()))
                return give_up();
            put_moved_body<Tag>(body, end.pos, present);
        } else {
            *this = put_measured<Tag>(*this, msg, present);
        }
    }

private:
    // For a tag, a length and `size` bytes.
    template <uint32_t Tag>
    ZIDL_INLINE bool has_room(uint64_t size) const
    {
        constexpr size_t max_head = varint_size(Tag) + max_varint32_size;
        if (ZIDL_LIKELY(left() >= max_head) && ZIDL_LIKELY(left() - max_head >= size))
            return true;
        const size_t head = varint_size(Tag) + varint_size(static_cast<uint32_t>(size));
        return left() >= head && left() - head >= size;
    }

    // The length first. All that is in the message fits then, unless sizes wrap: that is found out on the way, or before it
    // where nothing is checked on the way. By value, since the writer that calls must stay in registers.
    template <uint32_t Tag, class Record>
    ZIDL_COLD static fast_writer put_measured(fast_writer out, const Record &msg, bool present)
    {
        const sizer measured = encode(sizer{0, 0}, msg);
        if (measured.len == 0 && !present)
            return out;
        out = put_head(out, Tag, measured.len);
        if (out.failed())
            return out;
        if constexpr (!shape<Record>::is_bounded)
            return encode(out, msg);
        else if (measured.notes < suspicious_size)
            return {encode(unchecked_writer{out.pos}, msg).pos, out.limit};
        else
            return {nullptr, nullptr};
    }

    // A tag and a length, where there is room for them and for what they announce.
    ZIDL_COLD static fast_writer put_head(fast_writer out, uint32_t tag, size_t len)
    {
        const size_t head = varint_size(tag) + varint_size(static_cast<uint32_t>(len));
        if (out.left() < head || out.left() - head < len)
            return {nullptr, nullptr};
        out.put_raw_varint(tag);
        out.put_raw_varint(static_cast<uint32_t>(len));
        return out;
    }
};

// Room for fields of bounded size, for as long as the object lives. Only the fast writer has a use for it: near the end of
// the buffer it writes into a scratch block, and what came out is copied if it fits. The block is a variable of its own, so
// that everything else stays in registers.
template <size_t Bytes, class Sink>
struct scratch {
};

template <size_t Bytes>
struct scratch<Bytes, fast_writer> {
    uint8_t block[Bytes];
};

template <size_t Bytes, class Sink>
class room
{
public:
    ZIDL_INLINE room(Sink &, scratch<Bytes, Sink> &) {}
};

template <size_t Bytes>
class room<Bytes, fast_writer>
{
public:
    ZIDL_INLINE room(fast_writer &out, scratch<Bytes, fast_writer> &spare)
        : out_(out), block_(spare.block), home_(out.pos), away_(out.left() < Bytes)
    {
        if (ZIDL_UNLIKELY(away_))
            out.pos = block_;
    }

    ZIDL_INLINE ~room()
    {
        if (ZIDL_UNLIKELY(away_))
            come_home();
    }

    room(const room &) = delete;
    room &operator=(const room &) = delete;

private:
    ZIDL_INLINE void come_home()
    {
        const size_t len = static_cast<size_t>(out_.pos - block_);
        out_.pos = home_;
        if (len > out_.left())
            return out_.give_up();
        if (len > 0)
            memcpy(out_.pos, block_, len);
        out_.pos += len;
    }

    fast_writer &out_;
    uint8_t *const block_;
    uint8_t *const home_;
    const bool away_;
};

#define ZIDL_ROOM(bytes, sink)                                                                                         \
    scratch<bytes, Sink> spare;                                                                                        \
    const room<bytes, Sink> here(sink, spare)

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

// For messages whose values are now short, now long.
template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_varied_u32(Sink &out, bool present, uint32_t value)
{
    constexpr unsigned tag_len = varint_size(make_tag(Number, varint));
    if constexpr (tag_len > 2)
        encode_u32<Number>(out, present, value);
    else if (present)
        out.template put_numbered<tag_len, 0>(Number, value);
}

// A whole run of u32 fields: the fields' numbers and places are constants again, and how many bytes follow at least.
template <uint32_t Number, size_t... Index, class Sink>
ZIDL_INLINE void encode_whole_run(Sink &out, const uint8_t *members, std::index_sequence<Index...>)
{
    constexpr unsigned tag_len = varint_size(make_tag(Number, varint));
    constexpr size_t fields_behind_first = sizeof...(Index) - 1;
    (out.template put_numbered<tag_len, (fields_behind_first - Index) * (tag_len + 1)>(
         Number + Index, load<uint32_t>(members + Index * sizeof(uint32_t))),
     ...);
}

// `Count` u32 fields that stand together: consecutive numbers from `Number`, consecutive presence bits from `Bit`, members
// side by side from `Offset`. Goes from one set bit to the next, so that absent fields cost nothing.
template <uint32_t Number, unsigned Bit, unsigned Count, size_t Offset, class Sink, class Record>
ZIDL_INLINE void encode_u32_run(Sink &out, const Record &msg)
{
    constexpr unsigned tag_len = varint_size(make_tag(Number, varint));
    static_assert(varint_size(make_tag(Number + Count - 1, varint)) == tag_len && tag_len <= 2);
    constexpr uint64_t all = (uint64_t{1} << Count) - 1;
    const uint8_t *const members = reinterpret_cast<const uint8_t *>(&msg) + Offset;
    uint64_t present = uint64_t{msg.presence} >> Bit & all;
    if (!std::is_same<Sink, exact_writer>::value && present == all)
        return encode_whole_run<Number>(out, members, std::make_index_sequence<Count>());
    for (; present != 0; present &= present - 1) {
        const unsigned i = trailing_zeros(present);
        out.template put_numbered<tag_len, 0>(Number + i, load<uint32_t>(members + i * sizeof(uint32_t)));
    }
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

template <uint32_t Number, class Value>
constexpr size_t max_scalar_size = varint_size(make_tag(Number, varint)) + varint_size(static_cast<Value>(-1));

template <uint32_t Number, class Record>
constexpr size_t max_message_size = varint_size(make_tag(Number, delimited)) +
                                    varint_size(shape<Record>::fixed_bound) + shape<Record>::fixed_bound;

// One element of an array, whose size is bounded, and what it takes at most.
template <uint32_t Number, class Sink, class Value>
ZIDL_INLINE std::enable_if_t<std::is_integral<Value>::value> put_element(Sink &out, Value value)
{
    using Written = std::conditional_t<sizeof(Value) <= sizeof(uint32_t), uint32_t, uint64_t>;
    out.template put_varint<make_tag(Number, varint)>(Written{value});
}

template <uint32_t Number, class Sink, class Record>
ZIDL_INLINE std::enable_if_t<std::is_class<Record>::value> put_element(Sink &out, const Record &msg)
{
    out.template put_message<make_tag(Number, delimited)>(msg, true);
}

template <uint32_t Number, class Element>
constexpr size_t max_element_size()
{
    if constexpr (std::is_integral<Element>::value)
        return max_scalar_size<Number, Element>;
    else
        return max_message_size<Number, Element>;
}

// Where the buffer may end within the array: the last elements are measured before they are written. By value, since the
// writer that calls must stay in registers.
template <uint32_t Number, class Element>
ZIDL_COLD fast_writer encode_near_end(fast_writer out, const Element *array, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i) {
        if (out.left() < max_element_size<Number, Element>()) {
            sizer measured{0, 0};
            put_element<Number>(measured, array[i]);
            if (out.left() < measured.len)
                return {nullptr, nullptr};
        }
        put_element<Number>(out, array[i]);
    }
    return out;
}

template <uint32_t Number, class Sink, class Element>
ZIDL_INLINE void encode_bounded_elements(Sink &out, bool present, const Element *array, uint32_t count)
{
    if (!present)
        return;
    if constexpr (std::is_same<Sink, fast_writer>::value) {
        constexpr size_t bound = max_element_size<Number, Element>();
        if (ZIDL_UNLIKELY(out.left() < count * bound)) {
            out = encode_near_end<Number>(out, array, count);
            return;
        }
    }
    for (uint32_t i = 0; i < count; ++i)
        put_element<Number>(out, array[i]);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_u8s(Sink &out, bool present, const uint8_t *array, uint32_t count)
{
    encode_bounded_elements<Number>(out, present, array, count);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_u32s(Sink &out, bool present, const uint32_t *array, uint32_t count)
{
    encode_bounded_elements<Number>(out, present, array, count);
}

template <uint32_t Number, class Sink>
ZIDL_INLINE void encode_u64s(Sink &out, bool present, const uint64_t *array, uint32_t count)
{
    encode_bounded_elements<Number>(out, present, array, count);
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
    if constexpr (shape<Record>::owns_memory) {
        for (uint32_t i = 0; present && i < count; ++i)
            put_element<Number>(out, array[i]);
    } else {
        encode_bounded_elements<Number>(out, present, array, count);
    }
}

} // namespace ZIDL_VARIANT
} // namespace zidl
