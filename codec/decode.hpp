// Decoding. A reader walks one message's bytes and keeps its first failure; each kind of field is one member function
// that reads the value, or says why it cannot. Memory comes from the caller's function alone, and no byte outside the
// caller's buffer is ever read: words are loaded only where eight bytes of the whole buffer remain.
//
// A decoder fills a record that is reset already: fresh memory is not cleared twice.

#pragma once

#include "codec/presence.hpp"
#include "codec/zidl.h"

namespace zidl
{
inline namespace ZIDL_VARIANT
{

// What stays the same for all messages of one call.
struct decode_context {
    zidl_alloc_fn alloc_fn;
    void *alloc_ctx;
    const uint8_t *wide_end;   // the last position from which eight bytes may be loaded; null when there is none
    const uint8_t *window_end; // the last position from which window_size bytes may be loaded; null when there is none
    bool borrow;               // ZIDL_ZERO_COPY: bytes members point into the input
};

// Sixteen bytes and a word that begins within them.
constexpr size_t window_size = 24;

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

// Of any length up to ten bytes, without a guess; null also where the input is too short for words.
template <class Value>
ZIDL_INLINE parsed<Value> parse_word_varint(const uint8_t *pos, const uint8_t *end, const uint8_t *wide_end)
{
    if (ZIDL_UNLIKELY(pos > wide_end))
        return {nullptr, 0};
    const uint64_t word = load<uint64_t>(pos);
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

template <class Value>
ZIDL_INLINE parsed<Value> parse_long_varint(const uint8_t *pos, const uint8_t *end, const uint8_t *wide_end)
{
    const auto read = parse_word_varint<Value>(pos, end, wide_end);
    return ZIDL_LIKELY(read.next != nullptr) ? read : parse_varint_bytewise<Value>(pos, end);
}

template <class Value>
ZIDL_INLINE parsed<Value> parse_varint(const uint8_t *pos, const uint8_t *end, const uint8_t *wide_end)
{
    if (ZIDL_LIKELY(pos < end) && ZIDL_LIKELY(*pos < 128))
        return {pos + 1, *pos};
    return parse_long_varint<Value>(pos, end, wide_end);
}

// A varint that ends within the input, and behind which a word is readable.
ZIDL_INLINE uint32_t parse_ended(const uint8_t *pos)
{
    const uint64_t word = load<uint64_t>(pos);
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

// Whether the tag at `pos` is one of a run's, and which. They differ in their first byte alone, and stand eight apart.
template <uint32_t First, unsigned Count>
ZIDL_INLINE bool run_index(const uint8_t *pos, uint32_t &index)
{
    constexpr uint32_t first = make_tag(First, varint);
    constexpr unsigned tag_len = varint_size(first);
    static_assert(tag_len <= 2 && first >> 7 == make_tag(First + Count - 1, varint) >> 7);
    using Tag = std::conditional_t<tag_len == 1, uint8_t, uint16_t>;
    constexpr unsigned width = 8 * tag_len;
    const Tag distance = static_cast<Tag>(load<Tag>(pos) - wire_tag(first));
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

// Whether a field number is one of the schema's; the compiler turns the list into a bit test.
template <uint32_t... Numbers>
constexpr bool is_one_of(uint32_t number)
{
    return ((number == Numbers) || ...);
}

// Lives in registers: nothing out of line may see its address.
class reader
{
public:
    ZIDL_INLINE reader(const uint8_t *pos, const uint8_t *end, const decode_context &context)
        : pos_(pos), end_(end), context_(context)
    {
    }

    ZIDL_INLINE int32_t status() const { return status_; }
    ZIDL_INLINE uint32_t tag() const { return tag_; }

    // Reads the next tag; false at the end of the message, and where a tag is cut off.
    ZIDL_INLINE bool next_tag()
    {
        if (pos_ >= end_)
            return false;
        const auto tag = parse_tag(pos_, end_);
        if (ZIDL_UNLIKELY(tag.next == nullptr))
            return fail(ZIDL_ERR_MALFORMED);
        pos_ = tag.next;
        tag_ = tag.value;
        return true;
    }

    // Steps over the tag when exactly this one comes next, as it mostly does where senders keep the schema's order.
    template <uint32_t Tag>
    ZIDL_INLINE bool take()
    {
        if (!is_tag<Tag>(pos_))
            return false;
        pos_ += varint_size(Tag);
        return true;
    }

    // The same for any field of a run.
    template <uint32_t First, unsigned Count>
    ZIDL_INLINE bool take_run()
    {
        uint32_t index;
        if (!holds_tag<First>() || !take_run_tag<First, Count>(index))
            return false;
        tag_ = make_tag(First + index, varint);
        return true;
    }

    // A tag that no case of the schema matched: a known field with another wire type, or an unknown field.
    ZIDL_INLINE bool unknown(bool known_number)
    {
        if (known_number)
            return fail(ZIDL_ERR_FIELD_TYPE);
        const auto skipped = skip_value(tag_, pos_, end_);
        if (skipped.next == nullptr)
            return fail(skipped.value);
        pos_ = skipped.next;
        return true;
    }

    ZIDL_INLINE bool u32(uint32_t &member) { return read_varint(member); }
    ZIDL_INLINE bool u64(uint64_t &member) { return read_varint(member); }

    // The same for messages whose values are now short, now long: nothing is guessed.
    ZIDL_INLINE bool varied_u32(uint32_t &member) { return read_varied(member); }
    ZIDL_INLINE bool varied_u64(uint64_t &member) { return read_varied(member); }

    // `Count` u32 fields with numbers from `First`, presence bits from `Bit` and members side by side: as many of them as
    // follow one another. Where values and tags end is looked up for sixteen bytes at once, so that neither the fields'
    // choice nor the values' lengths have to be guessed.
    template <uint32_t First, unsigned Count, unsigned Bit>
    ZIDL_INLINE bool u32_run(uint8_t *members, uint64_t &seen)
    {
        uint32_t index = (tag_ >> 3) - First;
        for (;;) {
            // The lowest bit is this value's end, the next one that of the tag behind it.
            const uint8_t *const base = pos_;
            uint32_t ends = ends_in_window(pos_, end_, context_);
            for (uint32_t rest; (rest = ends & (ends - 1)) != 0; ends = rest & (rest - 1)) {
                store(members + index * sizeof(uint32_t), parse_ended(pos_));
                seen |= bit<Bit> << index;
                pos_ = base + trailing_zeros(ends) + 1;
                if (!take_run_tag<First, Count>(index))
                    return true;
            }
            // The window ends with this value, or within it; the next one begins behind the next tag.
            uint32_t value;
            if (ZIDL_UNLIKELY(!read_varint(value)))
                return false;
            store(members + index * sizeof(uint32_t), value);
            seen |= bit<Bit> << index;
            if (!holds_tag<First>() || !take_run_tag<First, Count>(index))
                return true;
        }
    }

    ZIDL_INLINE bool u8(uint8_t &member)
    {
        uint32_t value;
        if (ZIDL_UNLIKELY(!read_varint(value)))
            return false;
        member = static_cast<uint8_t>(value);
        return true;
    }

    // All 64 bits of the varint count.
    ZIDL_INLINE bool boolean(uint8_t &member)
    {
        uint64_t value;
        if (ZIDL_UNLIKELY(!read_varint(value)))
            return false;
        member = value != 0;
        return true;
    }

    ZIDL_INLINE bool fixed(uint32_t &member)
    {
        if (ZIDL_UNLIKELY(end_ - pos_ < 4))
            return fail(ZIDL_ERR_MALFORMED);
        member = load<uint32_t>(pos_);
        pos_ += 4;
        return true;
    }

    // An embedded message. A second occurrence replaces the first one entirely, without releasing what it held.
    template <class Record>
    ZIDL_INLINE bool message(Record &member, bool again)
    {
        uint32_t len;
        if (ZIDL_UNLIKELY(!read_length(len)))
            return false;
        if (ZIDL_UNLIKELY(again))
            reset(member);
        return nested(member, len);
    }

    // The copy carries a NUL of its own. Strings are copied also from a buffer that bytes members borrow.
    ZIDL_INLINE bool string(char *&member, bool filled)
    {
        uint32_t len;
        if (ZIDL_UNLIKELY(!may_fill(filled)) || ZIDL_UNLIKELY(!read_length(len)))
            return false;
        char *const copy = static_cast<char *>(context_.alloc_fn(size_t{len} + 1, context_.alloc_ctx));
        if (ZIDL_UNLIKELY(copy == nullptr))
            return fail(ZIDL_ERR_NO_MEMORY);
        member = copy;
        copy_short(copy, pos_, len);
        copy[len] = '\0';
        pos_ += len;
        return true;
    }

    ZIDL_INLINE bool bytes(uint8_t *&member, uint64_t &size, bool filled)
    {
        if (ZIDL_UNLIKELY(filled))
            return fail(ZIDL_ERR_MALFORMED);
        if (ZIDL_UNLIKELY(context_.alloc_fn == nullptr && !context_.borrow))
            return fail(ZIDL_ERR_NO_MEMORY);
        return read_bytes(member, size);
    }

    template <uint32_t Number>
    ZIDL_INLINE bool u8s(uint8_t *&array, uint32_t &count, bool filled)
    {
        return scalars<Number>(array, count, filled,
                               [this](uint8_t &element) ZIDL_INLINE_LAMBDA { return u8(element); });
    }

    template <uint32_t Number>
    ZIDL_INLINE bool u32s(uint32_t *&array, uint32_t &count, bool filled)
    {
        return scalars<Number>(array, count, filled,
                               [this](uint32_t &element) ZIDL_INLINE_LAMBDA { return u32(element); });
    }

    template <uint32_t Number>
    ZIDL_INLINE bool u64s(uint64_t *&array, uint32_t &count, bool filled)
    {
        return scalars<Number>(array, count, filled,
                               [this](uint64_t &element) ZIDL_INLINE_LAMBDA { return u64(element); });
    }

    template <uint32_t Number>
    ZIDL_INLINE bool byte_blocks(zidl_bytes *&array, uint32_t &count, bool filled)
    {
        return cleared_array<Number>(array, count, filled, [this](zidl_bytes &element) ZIDL_INLINE_LAMBDA {
            return read_bytes(element.data, element.size);
        });
    }

    template <uint32_t Number, class Record>
    ZIDL_INLINE bool messages(Record *&array, uint32_t &count, bool filled)
    {
        return cleared_array<Number>(array, count, filled, [this](Record &element) ZIDL_INLINE_LAMBDA {
            uint32_t len;
            return ZIDL_LIKELY(read_length(len)) && nested(element, len);
        });
    }

private:
    ZIDL_INLINE bool fail(int32_t status)
    {
        status_ = status;
        return false;
    }

    // Whether exactly this tag stands there; tags of more than two bytes are not looked for.
    template <uint32_t Tag>
    ZIDL_INLINE bool is_tag(const uint8_t *pos) const
    {
        constexpr uint64_t wire = wire_tag(Tag);
        if constexpr (wire < 0x100)
            return pos < end_ && *pos == wire;
        else if constexpr (wire < 0x10000)
            return end_ - pos >= 2 && load<uint16_t>(pos) == wire;
        else
            return false;
    }

    // Whether enough bytes are left for the tag of a field.
    template <uint32_t Number>
    ZIDL_INLINE bool holds_tag() const
    {
        return end_ - pos_ >= static_cast<ptrdiff_t>(varint_size(make_tag(Number, varint)));
    }

    // Steps over the tag when it is one of a run's.
    template <uint32_t First, unsigned Count>
    ZIDL_INLINE bool take_run_tag(uint32_t &index)
    {
        if (!run_index<First, Count>(pos_, index))
            return false;
        pos_ += varint_size(make_tag(First, varint));
        return true;
    }

    // Expects a varint of one byte.
    template <class Value>
    ZIDL_INLINE bool read_varint(Value &value)
    {
        return take_parsed(parse_varint<Value>(pos_, end_, context_.wide_end), value);
    }

    // Expects a varint of any length.
    template <class Value>
    ZIDL_INLINE bool read_varied(Value &value)
    {
        return take_parsed(parse_long_varint<Value>(pos_, end_, context_.wide_end), value);
    }

    template <class Value>
    ZIDL_INLINE bool take_parsed(const parsed<Value> &read, Value &value)
    {
        if (ZIDL_UNLIKELY(read.next == nullptr))
            return fail(ZIDL_ERR_MALFORMED);
        pos_ = read.next;
        value = read.value;
        return true;
    }

    // A length prefix whose contents lie within the message.
    ZIDL_INLINE bool read_length(uint32_t &len)
    {
        if (ZIDL_UNLIKELY(!read_varint(len)))
            return false;
        if (ZIDL_UNLIKELY(len > static_cast<size_t>(end_ - pos_)))
            return fail(ZIDL_ERR_MALFORMED);
        return true;
    }

    template <class Record>
    ZIDL_INLINE bool nested(Record &member, uint32_t len)
    {
        const int32_t status = decode(member, pos_, pos_ + len, context_);
        pos_ += len;
        return ZIDL_LIKELY(status == ZIDL_OK) || fail(status);
    }

    // Members that own memory are filled once in a decode, and only where there is an allocation function.
    ZIDL_INLINE bool may_fill(bool filled)
    {
        if (ZIDL_UNLIKELY(filled))
            return fail(ZIDL_ERR_MALFORMED);
        if (ZIDL_UNLIKELY(context_.alloc_fn == nullptr))
            return fail(ZIDL_ERR_NO_MEMORY);
        return true;
    }

    ZIDL_INLINE bool read_bytes(uint8_t *&data, uint64_t &size)
    {
        uint32_t len;
        if (ZIDL_UNLIKELY(!read_length(len)))
            return false;
        uint8_t *block = const_cast<uint8_t *>(pos_);
        if (!context_.borrow) {
            block = static_cast<uint8_t *>(context_.alloc_fn(len, context_.alloc_ctx));
            if (ZIDL_UNLIKELY(block == nullptr))
                return fail(ZIDL_ERR_NO_MEMORY);
            copy_short(block, pos_, len);
        }
        data = block;
        size = len;
        pos_ += len;
        return true;
    }

    // Counts the unbroken run of elements that starts at `pos_`, from value to value: tags are matched by field number
    // alone. False where the input ends inside an element or a tag.
    template <uint32_t Number, bool Delimited>
    ZIDL_INLINE bool count_run(uint32_t &count) const
    {
        const uint8_t *pos = pos_;
        uint64_t elements = 0;
        for (;;) {
            if constexpr (Delimited) {
                const auto len = parse_varint<uint32_t>(pos, end_, context_.wide_end);
                if (ZIDL_UNLIKELY(len.next == nullptr) ||
                    ZIDL_UNLIKELY(len.value > static_cast<size_t>(end_ - len.next)))
                    return false;
                pos = len.next + len.value;
            } else {
                pos = skip_varint(pos, end_, context_.wide_end);
                if (ZIDL_UNLIKELY(pos == nullptr))
                    return false;
            }
            ++elements;
            if (ZIDL_LIKELY(is_tag<make_tag(Number, Delimited ? delimited : varint)>(pos))) {
                pos += varint_size(make_tag(Number, varint));
                continue;
            }
            if (pos >= end_)
                break;
            const auto tag = parse_tag(pos, end_);
            if (ZIDL_UNLIKELY(tag.next == nullptr))
                return false;
            if (tag.value >> 3 != Number)
                break;
            pos = tag.next;
        }
        count = static_cast<uint32_t>(elements);
        return elements <= UINT32_MAX;
    }

    template <uint32_t Number, bool Delimited, class Element>
    ZIDL_INLINE bool allocate_run(Element *&array, uint32_t &count, bool filled)
    {
        uint32_t elements;
        if (ZIDL_UNLIKELY(!may_fill(filled)))
            return false;
        if (ZIDL_UNLIKELY((!count_run<Number, Delimited>(elements))))
            return fail(ZIDL_ERR_MALFORMED);
        void *const block = context_.alloc_fn(elements * sizeof(Element), context_.alloc_ctx);
        if (ZIDL_UNLIKELY(block == nullptr))
            return fail(ZIDL_ERR_NO_MEMORY);
        array = static_cast<Element *>(block);
        count = elements;
        return true;
    }

    // Elements behind the first have tags that the counting pass has read.
    template <uint32_t Number, bool Delimited, class Element, class Read>
    ZIDL_INLINE bool fill_run(Element *array, uint32_t count, Read read)
    {
        for (uint32_t i = 0; i < count; ++i) {
            if (i != 0 && !take<make_tag(Number, Delimited ? delimited : varint)>())
                pos_ = skip_varint(pos_, end_, context_.wide_end);
            if (ZIDL_UNLIKELY(!read(array[i])))
                return false;
        }
        return true;
    }

    template <uint32_t Number, class Element, class Read>
    ZIDL_INLINE bool scalars(Element *&array, uint32_t &count, bool filled, Read read)
    {
        if (ZIDL_UNLIKELY((!allocate_run<Number, false>(array, count, filled))))
            return false;
        return fill_run<Number, false>(array, count, read);
    }

    template <uint32_t Number, class Element, class Read>
    ZIDL_INLINE bool cleared_array(Element *&array, uint32_t &count, bool filled, Read read)
    {
        if (ZIDL_UNLIKELY((!allocate_run<Number, true>(array, count, filled))))
            return false;
        // Each element is cleared just before it is filled, while it is in the cache.
        Element *behind = array;
        const auto clear_and_read = [&](Element &element) ZIDL_INLINE_LAMBDA {
            memset(&element, 0, sizeof element);
            behind = &element + 1;
            return read(element);
        };
        if (ZIDL_LIKELY((fill_run<Number, true>(array, count, clear_and_read))))
            return true;
        memset(behind, 0, static_cast<size_t>(array + count - behind) * sizeof(Element));
        return false;
    }

    const uint8_t *pos_;
    const uint8_t *const end_;
    const decode_context &context_;
    uint32_t tag_ = 0;
    int32_t status_ = ZIDL_OK;
};

// One field of a generated decoder: its case, the label for those who saw its tag coming, the read, the presence bit.
#define ZIDL_FIELD(number, type, bit_number, read)                                                                     \
    case make_tag(number, type):                                                                                       \
        field_##number : __attribute__((unused));                                                                      \
        if (ZIDL_UNLIKELY(!(read)))                                                                                    \
            break;                                                                                                     \
        seen |= bit<bit_number>

// The fields of a run: their cases, the label for those who saw one of the tags coming, the read of all that follow.
#define ZIDL_CASE(number) case make_tag(number, varint):
#define ZIDL_RUN(number, read)                                                                                         \
    field_##number : __attribute__((unused));                                                                          \
    if (ZIDL_UNLIKELY(!(read)))                                                                                        \
    break

// Which field likely comes next: a test of constant bytes saves the way through the switch.
#define ZIDL_THEN(number, type)                                                                                        \
    if (in.take<make_tag(number, type)>())                                                                             \
    goto field_##number
#define ZIDL_THEN_RUN(first, count)                                                                                    \
    if (in.take_run<first, count>())                                                                                   \
    goto field_##first

} // namespace ZIDL_VARIANT
} // namespace zidl
