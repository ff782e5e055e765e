// What fields and messages take on the wire at most, and the comparisons that rely on it.

#pragma once

#include "codec/encode/sizer.hpp"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

template <uint32_t Number, class Value>
constexpr size_t max_scalar_size = varint_size(make_tag(Number, varint)) + varint_size(static_cast<Value>(-1));

template <uint32_t Number, class Record>
constexpr size_t max_message_size = varint_size(make_tag(Number, delimited)) +
                                    varint_size(shape<Record>::fixed_bound) + shape<Record>::fixed_bound;

// One element of an array, whose size is bounded, and what it takes at most.
template <uint32_t Number, class Sink, class Element>
ZIDL_INLINE void put_element(Sink &out, const Element &element)
{
    if constexpr (std::is_integral<Element>::value)
        out.template put_varint<make_tag(Number, varint)>(element);
    else
        out.template put_message<make_tag(Number, delimited)>(element, true);
}

template <uint32_t Number, class Element>
constexpr size_t max_element_size()
{
    if constexpr (std::is_integral<Element>::value)
        return max_scalar_size<Number, Element>;
    else
        return max_message_size<Number, Element>;
}

template <class Element>
constexpr bool is_message = !std::is_integral<Element>::value && !std::is_same<Element, zidl_bytes>::value;

// Sizes of the bytes members that are present: what they take on the wire at most, and the bits that any of them has.
struct content_sizes {
    uint64_t bound;
    uint64_t bits;

    template <uint32_t Number>
    ZIDL_INLINE constexpr void add(bool present, uint64_t size)
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
    return ZIDL_LIKELY(sizes.bound <= room) && ZIDL_LIKELY(sizes_are_trusted(sizes.bits));
}

// Adds up, when the code is compiled, what the fields of bounded size take at most: by the very lines that write them.
struct bound_counter {
    size_t len = 0;
    size_t heads = 0;            // what bytes members take beside their contents, here and below
    bool has_bound = true;       // no string and no array, here and below
    bool moves_bodies = false;   // holds a message without a bound, whose body moves up behind its length
    bool rooms_are_right = true; // what is said to fit is what the fields take

    template <uint32_t Tag, class Value>
    constexpr void put_varint(Value)
    {
        len += varint_size(Tag) + varint_size(static_cast<Value>(-1));
    }

    template <unsigned TagLen, size_t>
    constexpr void put_numbered(uint32_t, uint32_t)
    {
        len += TagLen + max_varint32_size;
    }

    template <uint32_t Tag>
    constexpr void put_byte(uint8_t)
    {
        len += varint_size(Tag) + 1;
    }

    template <uint32_t Tag>
    constexpr void put_fixed32(uint32_t)
    {
        len += varint_size(Tag) + 4;
    }

    // The length of a message that owns memory may take any size.
    template <uint32_t Tag, class Record>
    constexpr void put_message(const Record &, bool)
    {
        constexpr bound_counter inner = counted<Record>();
        len += varint_size(Tag) + (shape<Record>::owns_memory ? max_varint32_size : varint_size(inner.len)) + inner.len;
        heads += inner.heads;
        has_bound = has_bound && inner.has_bound;
        moves_bodies = moves_bodies || !shape<Record>::is_bounded;
    }

    template <uint32_t Tag>
    constexpr void put_bytes(const void *, uint64_t)
    {
        heads += varint_size(Tag) + max_varint32_size;
    }

    template <uint32_t>
    constexpr void put_string(const char *)
    {
        has_bound = false;
    }

    template <uint32_t, class Element>
    constexpr void put_elements(const Element *, uint32_t)
    {
        has_bound = false;
        if constexpr (is_message<Element>)
            moves_bodies = moves_bodies || !shape<Element>::is_bounded;
    }

    template <size_t Bytes, class Write>
    constexpr void within(const Write &write)
    {
        const size_t before = len;
        write(*this);
        rooms_are_right = rooms_are_right && len - before == Bytes;
    }

    // All fields of a message.
    template <class Record>
    static constexpr bound_counter counted()
    {
        bound_counter counter;
        encode_fields(counter, Record());
        return counter;
    }
};

template <>
struct sink_traits<bound_counter> : usual_sink {
    static constexpr bool needs_room = true;
    static constexpr bool unrolls_whole_runs = false;
    static constexpr bool counts_absent = true;
};

// Whether what zidlc says of a message is what the codec stores: the bound of the whole, the room for each part of it, and
// that the sizes of its bytes members are all that is missing where it is said to be bounded.
template <class Record>
constexpr bool bounds_are_right()
{
    constexpr bound_counter counter = bound_counter::counted<Record>();
    content_sizes sizes{0, 0};
    if constexpr (shape<Record>::owns_memory && shape<Record>::is_bounded)
        add_sizes(sizes, Record());
    const bool is_bounded = counter.has_bound && counter.heads == sizes.bound;
    return counter.rooms_are_right && counter.len == shape<Record>::fixed_bound &&
           (shape<Record>::is_bounded ? is_bounded : shape<Record>::owns_memory);
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
