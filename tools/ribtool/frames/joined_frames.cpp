#include "tools/ribtool/frames/joined_frames.hpp"

#include <algorithm>
#include <utility>

namespace ribtool
{

joined_frames::joined_frames(std::vector<std::unique_ptr<frame_source>> sources, bool has_delimiter)
    : sources_(std::move(sources)), owes_delimiter_(has_delimiter)
{
}

bool joined_frames::next(captured_frame &frame)
{
    if (next_of_sources(frame)) {
        place_in_time(frame);
    } else {
        if (found_damage() || !std::exchange(owes_delimiter_, false))
            return false;
        frame.bytes = framed(DELIMITER_CODE, {});
        frame.time_us = last_us_;
    }
    frame.number = ++number_;
    return true;
}

bool joined_frames::next_of_sources(captured_frame &frame)
{
    while (!sources_[index_]->next(frame)) {
        if (found_damage() || index_ + 1 == sources_.size())
            return false;
        ++index_;
        is_at_start_ = true;
        offset_us_ = last_us_;
    }
    return true;
}

void joined_frames::place_in_time(captured_frame &frame)
{
    if (std::exchange(is_at_start_, false))
        source_start_us_ = frame.time_us;
    const uint64_t since_start = frame.time_us - std::min(frame.time_us, source_start_us_);
    last_us_ = std::max(last_us_, offset_us_ + since_start);
    frame.time_us = last_us_;
}

void joined_frames::while_waiting(std::function<void()> idle)
{
    for (const auto &source : sources_)
        source->while_waiting(idle);
}

} // namespace ribtool
