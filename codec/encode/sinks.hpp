// Encoding. A generated `encode_fields` names the fields of its message in the order in which they are written; the sink
// decides what that means. All sinks give the same bytes.
//
//   sizer             counts the bytes
//   exact_writer      writes what fits, leaves out what does not, lists segments: the contract for every buffer
//   unchecked_writer  writes, and never looks at the end of the buffer
//   fast_writer       writes in one pass as long as the buffer suffices, and hands out unchecked writers
//   bound_counter     adds up what the fields take at most, when the code is compiled
//
// What the field vocabulary (fields.hpp) asks of a sink, who offers it, and what it requires of its caller. "Room" is what an
// unchecked writer stands for: whoever makes one has compared what will be written with what is left.
//
//                                    sizer  exact  unchecked  fast  bound  requires
//   put_varint<Tag, Value>(value)      x      x        x        -     x    room, with an unchecked writer
//   put_numbered<TagLen, Behind>(…)    x      x        x        -     x    room; a u32 field whose number is known when it is
//                                                                         written, with a tag of TagLen bytes (1 or 2). At
//                                                                         least Behind bytes of the same encoding follow it:
//                                                                         stores may run over its end by as many
//   put_whole_run<TagLen, n>(members)  x      -        -        -     -    n u32 members side by side
//   put_byte<Tag>, put_fixed32<Tag>    x      x        x        -     x    room
//   put_bytes<Tag>(data, size)         x      x        x        x     x    room, with an unchecked writer; `data` may be null when
//                                                                         `size` is 0
//   put_string<Tag>(text)              x      x        -        x     x    `text` is not null
//   put_message<Tag>(msg, present)     x      x        x        x     x    room, with an unchecked writer; with a fast one a message
//                                                                         that owns memory
//   put_elements<Number>(array, n)     -      -        -        x     x    elements of bounded size
//   within<Bytes>(write)               -      -        -        x     x    what `write` stores takes at most Bytes bytes
//
// So an emitter that forgets to make room for a field of bounded size does not compile: a fast writer cannot store it. Nor does
// one whose bounds are not what the fields take: see bounds_are_right.

#pragma once

#include "codec/presence.hpp"
#include "codec/zidl.h"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

// What the vocabulary has to know of a sink.
struct usual_sink {
    // It takes fields of bounded size only within room that was made for them.
    static constexpr bool needs_room = false;
    // A run whose fields are all present is worth an expression of its own.
    static constexpr bool unrolls_whole_runs = true;
    // It takes such a run as a whole.
    static constexpr bool counts_whole_runs = false;
    // It wants every field, present or not.
    static constexpr bool counts_absent = false;
};

template <class Sink>
struct sink_traits : usual_sink {
};

// A whole message. A sink is passed and returned by value, so that its position stays in a register.
template <class Sink, class Record>
Sink encode(Sink out, const Record &msg)
{
    encode_fields(out, msg);
    return out;
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
