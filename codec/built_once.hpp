// Messages that their schema calls rare, within messages that are dispatched. The baseline build serves them on every
// processor: the build for newer ones calls it, and has no copy of theirs.

#pragma once

#include "codec/decode/context.hpp"
#include "codec/encode/fast_writer.hpp"
#include "codec/encode/sizer.hpp"

namespace zidl::detail
{

// How the builds call each other: sinks come apart, since each build has sinks of its own. The generated source holds the
// definitions for its rare messages.
template <class Record>
struct built_once {
    static_assert(!shape<Record>::is_bounded, "what is bounded is written within the messages around it");
    static void measure(uint64_t &len, uint64_t &notes, const Record &msg);
    static void write(uint8_t *&pos, uint8_t *&limit, const Record &msg);
    static int32_t read(Record &msg, const uint8_t *pos, const uint8_t *end, const decode_context &context);
};

#ifndef ZIDL_BMI2_BUILD

template <class Record>
void built_once<Record>::measure(uint64_t &len, uint64_t &notes, const Record &msg)
{
    const sizer out = encode(sizer{len, notes}, msg);
    len = out.len;
    notes = out.notes;
}

template <class Record>
void built_once<Record>::write(uint8_t *&pos, uint8_t *&limit, const Record &msg)
{
    const fast_writer out = encode(fast_writer{pos, limit}, msg);
    pos = out.pos;
    limit = out.limit;
}

template <class Record>
int32_t built_once<Record>::read(Record &msg, const uint8_t *pos, const uint8_t *end, const decode_context &context)
{
    return decode(msg, pos, end, context);
}

#else

inline namespace ZIDL_VARIANT
{

template <class Record, std::enable_if_t<shape<Record>::is_rare, int> = 0>
sizer encode(sizer out, const Record &msg)
{
    built_once<Record>::measure(out.len, out.notes, msg);
    return out;
}

template <class Record, std::enable_if_t<shape<Record>::is_rare, int> = 0>
fast_writer encode(fast_writer out, const Record &msg)
{
    built_once<Record>::write(out.pos, out.limit, msg);
    return out;
}

template <class Record, std::enable_if_t<shape<Record>::is_rare, int> = 0>
int32_t decode(Record &msg, const uint8_t *pos, const uint8_t *end, const decode_context &context)
{
    return built_once<Record>::read(msg, pos, end, context);
}

} // namespace ZIDL_VARIANT

#endif

} // namespace zidl::detail
