#include "tools/ribtool/generate/synth_frames.hpp"

namespace ribtool
{

namespace
{
constexpr uint64_t MICROSECONDS_PER_UPDATE = 10;
}

synth_frames::synth_frames(const profile *kind, uint64_t count, uint64_t seed)
    : name_(fmt::format("{} of seed {}", kind->name, seed)), stream_(*kind, seed), count_(count)
{
}

bool synth_frames::next(captured_frame &frame)
{
    if (made_ == count_)
        return false;
    const update made = stream_.next();
    frame.time_us = made_ * MICROSECONDS_PER_UPDATE;
    frame.bytes = framed(made.code, made.payload);
    frame.number = ++made_;
    return true;
}

} // namespace ribtool
