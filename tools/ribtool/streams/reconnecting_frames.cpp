#include "tools/ribtool/streams/reconnecting_frames.hpp"

#include "tools/ribtool/output/interruption.hpp"
#include "tools/ribtool/streams/connection.hpp"
#include "tools/ribtool/streams/waiting.hpp"

#include <algorithm>
#include <utility>

namespace ribtool
{

namespace
{

using std::chrono::milliseconds;

// Between two tries: twice as long each time, and short again once frames have come.
constexpr milliseconds SHORTEST_PAUSE(100);
constexpr milliseconds LONGEST_PAUSE(5000);

} // namespace

reconnecting_frames::reconnecting_frames(endpoint at, reach allowed, bool resynchronises)
    : at_(std::move(at)), allowed_(allowed), resynchronises_(resynchronises), name_(endpoint_name(at_)),
      pause_(SHORTEST_PAUSE)
{
}

bool reconnecting_frames::next(captured_frame &frame)
{
    while (!damage_) {
        if (frames_ && frames_->next(frame)) {
            brought_frames_ = true;
            frame.number = ++number_;
            return true;
        }
        if (interrupted())
            damage_ = interruption(*this, number_);
        else if (frames_)
            leave();
        else
            connect();
    }
    return false;
}

void reconnecting_frames::connect()
{
    const bool is_first_try = pause_ == SHORTEST_PAUSE;
    try {
        frames_.emplace(connect_to(at_, allowed_), name_, resynchronises_);
    } catch (const failure &problem) {
        if (problem.code() == EXIT_USAGE) // an address that is not allowed will not be so later
            throw;
        if (is_first_try && problem.code() != EXIT_INTERRUPTED)
            complain("{}; trying on", problem.what());
        pause();
        return;
    }
    frames_->while_waiting(idle_);
}

void reconnecting_frames::pause()
{
    if (idle_)
        idle_();
    wait_for(-1, 0, static_cast<int>(pause_.count()));
    pause_ = std::min(pause_ * 2, LONGEST_PAUSE);
}

void reconnecting_frames::leave()
{
    report_damage(*frames_, EXIT_DONE);
    complain("{}: the connection has ended after {} frames in all; connecting again", name_, number_);
    before_ += frames_->position();
    frames_.reset();
    if (std::exchange(brought_frames_, false))
        pause_ = SHORTEST_PAUSE;
    pause();
}

void reconnecting_frames::while_waiting(std::function<void()> idle)
{
    idle_ = std::move(idle);
    if (frames_)
        frames_->while_waiting(idle_);
}

} // namespace ribtool
