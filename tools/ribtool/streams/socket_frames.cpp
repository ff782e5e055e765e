#include "tools/ribtool/streams/socket_frames.hpp"

#include "tools/ribtool/streams/waiting.hpp"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>

namespace ribtool
{

namespace
{

uint64_t now_us()
{
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

} // namespace

socket_frames::socket_frames(descriptor socket, std::string name, bool resynchronises)
    : socket_(std::move(socket)), name_(std::move(name)), frames_(resynchronises)
{
}

std::string socket_frames::place() const
{
    return fmt::format("{}: frame {} at byte {}", name_, number_, frame_start_);
}

// What has been received is given out before a signal is looked for: it came before.
bool socket_frames::next(captured_frame &frame)
{
    if (damage_)
        return false;
    stream_frame found;
    while (!frames_.next(found)) {
        number_ = frames_.frames() + 1;
        frame_start_ = frames_.position();
        if (frames_.has_ended())
            return end();
        if (!wait())
            return false;
        receive();
    }
    number_ = found.number;
    frame_start_ = found.start;
    frame.number = found.number;
    frame.time_us = time_us_;
    frame.bytes.assign(found.bytes.begin(), found.bytes.end());
    return true;
}

// Until there is something to read; false: a signal has come.
bool socket_frames::wait()
{
    if (!wait_with(idle_, socket_.get(), POLLIN))
        damage_ = interruption(*this, frames_.frames());
    return !damage_;
}

void socket_frames::receive()
{
    const std::span<uint8_t> room = frames_.room();
    ssize_t got = 0;
    do {
        got = read(socket_.get(), room.data(), room.size());
    } while (got < 0 && errno == EINTR);
    time_us_ = now_us();
    if (got > 0) {
        frames_.received(static_cast<size_t>(got));
        received_ += static_cast<uint64_t>(got);
        return;
    }
    if (got < 0)
        error_ = errno;
    frames_.end();
}

// Of a connection that is lost, that it is lost says more than where.
bool socket_frames::end()
{
    if (error_ != 0)
        damage_ = {place(), fmt::format("the connection is lost: {}", std::strerror(error_)), EXIT_FILE};
    else if (const std::optional<std::string> problem = frames_.problem())
        damage_ = {place(), *problem, EXIT_MALFORMED};
    return false;
}

} // namespace ribtool
