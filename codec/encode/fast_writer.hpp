// The sink that writes in one pass, and gives up where the buffer turns out to be too small.

#pragma once

#include "codec/encode/bounds.hpp"
#include "codec/encode/unchecked_writer.hpp"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

// So close to the end of the buffer messages are measured before they are written, in bytes.
constexpr size_t measured_below = 4096;

// How far a body moves up at most, in bytes: a length takes five bytes, and one was kept for it.
constexpr size_t max_move = max_varint32_size - 1;

// What has no bound it writes itself; fields of bounded size go to an unchecked writer, within room that was made for them.
// `pos` and `limit` are null once it has given up: there is no room for anything from then on.
//
// The length of an embedded message stands before it and is known after it: its body is stored a few bytes too low and
// moves up in the end. Where a string does not fit, the bytes that it would take must stay as they are, so nothing may be
// stored there by mistake: a body written this way keeps clear of the end of the buffer by what it and the bodies around
// it may still move. Close to the end messages are measured first instead.
struct fast_writer {
    uint8_t *pos;
    uint8_t *limit;

    bool failed() const { return pos == nullptr; }

    template <uint32_t Tag>
    ZIDL_INLINE void put_string(const char *text)
    {
        put_bytes<Tag>(text, strlen(text));
    }

    template <uint32_t Tag>
    ZIDL_INLINE void put_bytes(const void *data, uint64_t size)
    {
        constexpr size_t short_head = varint_size(Tag) + 1;
        const bool fits =
            ZIDL_LIKELY(size < 128) ? ZIDL_LIKELY(left() >= short_head + size) : has_room(head_size(Tag, size), size);
        if (ZIDL_UNLIKELY(!fits))
            return give_up();
        unchecked([&](unchecked_writer &room) ZIDL_INLINE_LAMBDA { room.put_bytes<Tag>(data, size); });
    }

    template <uint32_t Tag, class Record>
    ZIDL_INLINE void put_message(const Record &msg, bool present)
    {
        static_assert(shape<Record>::owns_memory,
                      "a message of bounded size is written within room that was made for it");
        if constexpr (shape<Record>::is_bounded) {
            if (ZIDL_LIKELY((bound_fits<varint_size(Tag) + max_varint32_size>(msg, left()))))
                unchecked([&](unchecked_writer &room) ZIDL_INLINE_LAMBDA { room.put_message<Tag>(msg, present); });
            else
                *this = put_measured<Tag>(*this, msg, present);
        } else if (ZIDL_LIKELY(left() >= measured_below)) {
            uint8_t *const body = pos + varint_size(Tag) + 1;
            const fast_writer end = encode(fast_writer{body, limit - max_move}, msg);
            if (ZIDL_UNLIKELY(end.failed()))
                return give_up();
            unchecked([&](unchecked_writer &room)
                          ZIDL_INLINE_LAMBDA { room.put_moved_body<Tag>(body, end.pos, present); });
        } else {
            *this = put_measured<Tag>(*this, msg, present);
        }
    }

    // A whole array of elements of bounded size.
    template <uint32_t Number, class Element>
    ZIDL_INLINE void put_elements(const Element *array, uint32_t count)
    {
        if (ZIDL_UNLIKELY((left() < uint64_t{count} * max_element_size<Number, Element>()))) {
            *this = put_near_end<Number>(*this, array, count);
            return;
        }
        unchecked([&](unchecked_writer &room) ZIDL_INLINE_LAMBDA {
            for (uint32_t i = 0; i < count; ++i)
                put_element<Number>(room, array[i]);
        });
    }

    // Makes room for what `write` stores, at most `Bytes` bytes. Near the end of the buffer that is a block beside it, and
    // what came out is copied if it fits.
    template <size_t Bytes, class Write>
    ZIDL_INLINE void within(const Write &write)
    {
        uint8_t beside[Bytes];
        const bool away = left() < Bytes;
        unchecked_writer room(ZIDL_UNLIKELY(away) ? beside : pos);
        write(room);
        if (ZIDL_UNLIKELY(away))
            come_home(beside, static_cast<size_t>(room.pos - beside));
        else
            pos = room.pos;
    }

private:
    size_t left() const { return static_cast<size_t>(limit - pos); }

    // For `head` bytes and the contents behind them, of whatever size.
    ZIDL_INLINE bool has_room(size_t head, uint64_t contents) const
    {
        return ZIDL_LIKELY(left() >= head) && ZIDL_LIKELY(left() - head >= contents);
    }

    static size_t head_size(uint32_t tag, uint64_t len)
    {
        return varint_size(tag) + varint_size(static_cast<uint32_t>(len));
    }

    void give_up()
    {
        pos = nullptr;
        limit = nullptr;
    }

    // REQUIRES: room for what `write` stores.
    template <class Write>
    ZIDL_INLINE void unchecked(const Write &write)
    {
        unchecked_writer room(pos);
        write(room);
        pos = room.pos;
    }

    ZIDL_INLINE void come_home(const uint8_t *beside, size_t len)
    {
        if (len > left())
            return give_up();
        if (len > 0)
            memcpy(pos, beside, len);
        pos += len;
    }

    // What follows takes a writer by value, since the one that calls must stay in registers.

    // The length first. All that is in the message fits then, unless sizes wrap: that is found out on the way, or before it
    // where nothing is checked on the way.
    template <uint32_t Tag, class Record>
    ZIDL_COLD static fast_writer put_measured(fast_writer out, const Record &msg, bool present)
    {
        const sizer whole = measured(msg);
        if (whole.len == 0 && !present)
            return out;
        out = put_head(out, Tag, whole.len);
        if (out.failed())
            return out;
        if constexpr (!shape<Record>::is_bounded)
            return encode(out, msg);
        else if (sizes_are_trusted(whole.notes))
            return {encode(unchecked_writer(out.pos), msg).pos, out.limit};
        else
            return {nullptr, nullptr};
    }

    // A tag and a length, where there is room for them and for what they announce.
    ZIDL_COLD static fast_writer put_head(fast_writer out, uint32_t tag, uint64_t len)
    {
        if (!out.has_room(head_size(tag, len), len))
            return {nullptr, nullptr};
        unchecked_writer head(out.pos);
        head.put_raw_varint(tag);
        head.put_raw_varint(static_cast<uint32_t>(len));
        return {head.pos, out.limit};
    }

    // Where the buffer may end within the array: the last elements are measured before they are written.
    template <uint32_t Number, class Element>
    ZIDL_COLD static fast_writer put_near_end(fast_writer out, const Element *array, uint32_t count)
    {
        for (uint32_t i = 0; i < count; ++i) {
            if (out.left() < max_element_size<Number, Element>()) {
                sizer element{0, 0};
                put_element<Number>(element, array[i]);
                if (out.left() < element.len)
                    return {nullptr, nullptr};
            }
            unchecked_writer room(out.pos);
            put_element<Number>(room, array[i]);
            out.pos = room.pos;
        }
        return out;
    }
};

// Beyond any encoding whose sizes are trusted, and beyond any block of memory where addresses have 32 bits. (An unchecked writer in place of a fast one without a limit was tried: see
// docs/performance.md, "What made it fast, and what did not".)
constexpr size_t unlimited = static_cast<size_t>(sizeof(size_t) > 4 ? uint64_t{1} << 40 : uint64_t{3} << 30);

// REQUIRES: the message was measured, its sizes are trusted, and all of it fits behind `pos`.
template <class Record>
ZIDL_INLINE void write_measured(uint8_t *pos, const Record &msg)
{
    if constexpr (shape<Record>::is_bounded)
        encode(unchecked_writer(pos), msg);
    else
        encode(fast_writer{pos, pos + unlimited}, msg);
}

template <>
struct sink_traits<fast_writer> : usual_sink {
    static constexpr bool needs_room = true;
};

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
