#include "tools/ribtool/streams/socket_frames.hpp"

#include "rib_frames.h"
#include "tools/ribtool/interruption.hpp"
#include "tools/ribtool/streams/waiting.hpp"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>

namespace ribtool
{

namespace
{

constexpr size_t BLOCK_LEN = 1 << 18; // several of the longest frames
constexpr int IDLE_MILLISECONDS = 200;

uint64_t now_us()
{
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

} // namespace

socket_frames::socket_frames(descriptor socket, std::string name)
    : socket_(std::move(socket)), name_(std::move(name)), block_(std::make_unique_for_overwrite<uint8_t[]>(BLOCK_LEN))
{
}

std::string socket_frames::place() const
{
    return fmt::format("{}: frame {} at byte {}", name_, number_, frame_start_);
}

bool socket_frames::next(captured_frame &frame)
{
    if (!damage_ && interrupted())
        damage_ = interruption(*this, number_);
    if (damage_ || has_ended_)
        return false;
    ++number_;
    frame_start_ = frame_end_;
    size_t size = 0;
    while ((size = rib_frame_size(held().data(), held_len_)) == 0) {
        if (!wait() || !receive())
            return false;
    }
    frame.number = number_;
    frame.time_us = time_us_;
    frame.bytes.assign(held().data(), held().data() + size);
    taken_ += size;
    held_len_ -= size;
    frame_end_ += size;
    return true;
}

// Until there is something to read; false: a signal has come.
bool socket_frames::wait()
{
    waited until = wait_for(socket_.get(), POLLIN, 0);
    while (until == waited::too_long) {
        if (idle_)
            idle_();
        until = wait_for(socket_.get(), POLLIN, idle_ ? IDLE_MILLISECONDS : WITHOUT_END);
    }
    if (until == waited::interrupted)
        damage_ = interruption(*this, number_ - 1);
    return !damage_;
}

bool socket_frames::receive()
{
    if (taken_ != 0 && held_len_ != 0)
        std::memmove(block_.get(), held().data(), held_len_);
    taken_ = 0;
    ssize_t got = 0;
    do {
        got = read(socket_.get(), block_.get() + held_len_, BLOCK_LEN - held_len_);
    } while (got < 0 && errno == EINTR);
    if (got < 0)
        return stop(fmt::format("cannot read on: {}", std::strerror(errno)), EXIT_FILE);
    if (got == 0 && held_len_ != 0)
        return stop(fmt::format("truncated: the stream ends {} bytes into the frame", held_len_), EXIT_MALFORMED);
    has_ended_ = got == 0;
    received_ += static_cast<uint64_t>(got);
    held_len_ += static_cast<size_t>(got);
    time_us_ = now_us();
    return !has_ended_;
}

bool socket_frames::stop(std::string text, exit_code code)
{
    damage_ = {place(), std::move(text), code};
    return false;
}

} // namespace ribtool
