// The reader of large messages, and what reads single values for any-order readers: it walks one message's bytes and keeps its
// first failure; each kind of field is one member function that reads the value, or says why it cannot.
//
// A decoder fills a record that is reset already: fresh memory is not cleared twice.

#pragma once

#include "codec/decode/varints.hpp"
#include "codec/presence.hpp"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

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
        if (!stands_at<Tag>(pos_, end_))
            return false;
        pos_ += varint_size(Tag);
        tag_ = Tag;
        return true;
    }

    // The same for any field of a run.
    template <uint32_t First, unsigned Count>
    ZIDL_INLINE bool take_run()
    {
        uint32_t index;
        return holds_tag<First>() && take_run_tag<First, Count>(index);
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
    template <uint32_t First, unsigned Bit, unsigned Count>
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

    ZIDL_INLINE bool u8(uint8_t &member) { return read_low_byte(*this, member); }
    ZIDL_INLINE bool sint64(int64_t &member) { return read_signed(*this, member); }
    ZIDL_INLINE bool boolean(uint8_t &member) { return read_truth(*this, member); }
    ZIDL_INLINE bool fixed(uint32_t &member) { return take_parsed(parse_fixed32(pos_, end_), member); }

    // An embedded message. A second occurrence replaces the first one entirely, without releasing what it held.
    template <class Record>
    ZIDL_INLINE bool message(Record &member, bool again)
    {
        uint32_t len;
        return ZIDL_LIKELY(read_length(len)) && message_of(member, len, again);
    }

    template <class Record>
    ZIDL_INLINE bool message_of(Record &member, uint32_t len, bool again)
    {
        if (ZIDL_UNLIKELY(again))
            reset(member);
        return nested(member, len);
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

    ZIDL_INLINE bool string(char *&member, bool filled)
    {
        uint32_t len;
        if (ZIDL_UNLIKELY(!may_fill(filled)) || ZIDL_UNLIKELY(!read_length(len)))
            return false;
        if (ZIDL_UNLIKELY(!hold_string(member, context_, pos_, len)))
            return fail(ZIDL_ERR_NO_MEMORY);
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
        tag_ = make_tag(First + index, varint);
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
        if (ZIDL_UNLIKELY(!hold_bytes(data, size, context_, pos_, len)))
            return fail(ZIDL_ERR_NO_MEMORY);
        pos_ += len;
        return true;
    }

    // Counts the unbroken run of elements that starts at `pos_`, from value to value: tags are matched by field number
    // alone. False where the input ends inside an element or a tag. (Out of line, or with the first elements kept:
    // docs/performance.md.)
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
            if (ZIDL_LIKELY((stands_at<make_tag(Number, Delimited ? delimited : varint)>(pos, end_)))) {
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
        if constexpr (sizes_are_narrow) {
            if (!is_addressable(uint64_t{elements} * sizeof(Element)))
                return fail(ZIDL_ERR_NO_MEMORY);
        }
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
#define ZIDL_FIELD(name, number, type, bit_number, read)                                                               \
    case make_tag(number, type):                                                                                       \
    name:                                                                                                              \
        __attribute__((unused));                                                                                       \
        if (ZIDL_UNLIKELY(!(read)))                                                                                    \
            break;                                                                                                     \
        seen |= bit<bit_number>

// The fields of a run: their cases, the label for those who saw one of the tags coming, the read of all that follow.
#define ZIDL_CASE(number) case make_tag(number, varint):
#define ZIDL_RUN(name, read)                                                                                           \
    name:                                                                                                              \
    __attribute__((unused));                                                                                           \
    if (ZIDL_UNLIKELY(!(read)))                                                                                        \
    break

// Which field likely comes next: a test of constant bytes saves the way through the switch.
#define ZIDL_THEN(name, number, type)                                                                                  \
    if (in.take<make_tag(number, type)>())                                                                             \
    goto name
#define ZIDL_THEN_RUN(name, first, count)                                                                              \
    if (in.take_run<first, count>())                                                                                   \
    goto name

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
