#include "tools/ribtool/streams/served_client.hpp"

#include "rib_frames.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace ribtool
{

namespace
{

constexpr size_t BYTES_A_TURN = 1 << 20;

size_t frame_len(const uint8_t *frame)
{
    return RIB_FRAME_HEADER_LEN + rib_frame_payload_len(frame);
}

// What is due later than the clock can say comes when nobody waits any more.
steady_time after(steady_time start, double seconds)
{
    using namespace std::chrono;
    constexpr double THIRTY_YEARS = 1e9;
    return start + duration_cast<steady_clock::duration>(duration<double>(std::min(seconds, THIRTY_YEARS)));
}

// What the other side has not taken out of the connection yet.
int bytes_on_the_way(int socket)
{
    int count = 0;
    return ioctl(socket, SIOCOUTQ, &count) == 0 ? count : 0;
}

} // namespace

served_client::served_client(descriptor socket, stream_store &store, const serve_terms &terms, steady_time now)
    : socket_(std::move(socket)), store_(store), terms_(terms), started_(now), due_(now), last_progress_(now)
{
}

void served_client::advance(steady_time now)
{
    send_what_is_due(now);
    if (may_be_stuck())
        on_the_way_ = bytes_on_the_way(socket_.get());
}

void served_client::send_what_is_due(steady_time now)
{
    const uint64_t turn_end = bytes_ + BYTES_A_TURN;
    while (!has_ended() && bytes_ < turn_end) {
        if (!find_chunk(now))
            return;
        allow_what_is_due(now);
        if (sent_ == allowed_) {
            state_ = state::is_early;
            return;
        }
        change_to(state::sending, now);
        if (!send_some(now))
            return;
        if (sent_ == chunk_->bytes.size())
            leave_chunk();
    }
}

// Its patience begins anew: before, there was nothing that it could have taken.
void served_client::change_to(state other, steady_time now)
{
    if (state_ != other)
        last_progress_ = now;
    state_ = other;
}

bool served_client::find_chunk(steady_time now)
{
    while (chunk_ == nullptr) {
        if (state_ == state::is_idle || state_ == state::is_closing)
            return false;
        const stream_store::lookup found = store_.look_for(chunk_index_);
        chunk_ = found.chunk;
        if (chunk_ != nullptr)
            break;
        if (!found.has_ended) {
            state_ = state::needs_chunk;
            return false;
        }
        end_round(now);
        if (has_ended())
            return false;
    }
    return true;
}

void served_client::leave_chunk()
{
    frames_before_ += chunk_->frame_count;
    if (!chunk_->times_us.empty())
        last_time_us_ = chunk_->times_us.back();
    ++chunk_index_;
    chunk_ = nullptr;
    sent_ = allowed_ = allowed_frames_ = 0;
}

void served_client::end_round(steady_time now)
{
    const bool is_empty = frames_before_ == round_start_;
    if (terms_.then == at_end::begin_again && !is_empty) {
        chunk_index_ = 0;
        round_start_ = frames_before_;
        rounds_us_ += last_time_us_;
        return;
    }
    if (terms_.then != at_end::close) {
        state_ = peer_has_ended_ ? state::is_served : state::is_idle;
        return;
    }
    shutdown(socket_.get(), SHUT_WR);
    change_to(peer_has_ended_ ? state::is_served : state::is_closing, now);
}

void served_client::allow_what_is_due(steady_time now)
{
    if (terms_.pace.by == serve_pace::kind::topspeed) {
        allowed_ = chunk_->bytes.size();
        return;
    }
    while (allowed_ < chunk_->bytes.size()) {
        const uint64_t time_us = chunk_->times_us.empty() ? 0 : chunk_->times_us[allowed_frames_];
        due_ = after(started_, terms_.pace.due(frames_before_ + allowed_frames_, rounds_us_ + time_us));
        if (due_ > now)
            return;
        allowed_ += frame_len(chunk_->bytes.data() + allowed_);
        ++allowed_frames_;
    }
}

// False where the socket takes no more for now or for ever.
bool served_client::send_some(steady_time now)
{
    const ssize_t sent = send(socket_.get(), chunk_->bytes.data() + sent_, allowed_ - sent_, MSG_NOSIGNAL);
    if (sent < 0) {
        if (errno != EAGAIN && errno != EINTR)
            fail_with(errno);
        return false;
    }
    sent_ += static_cast<size_t>(sent);
    bytes_ += static_cast<size_t>(sent);
    last_progress_ = now;
    return true;
}

void served_client::fail_with(int error)
{
    error_ = error;
    state_ = error == EPIPE ? state::has_left : state::has_failed;
}

void served_client::read_and_forget()
{
    char forgotten[4096];
    const ssize_t got = recv(socket_.get(), forgotten, sizeof forgotten, 0);
    if (got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR)))
        return;
    peer_has_ended_ = true;
    if (got < 0)
        fail_with(errno);
    else if (has_been_sent_all())
        state_ = state::is_served;
}

void served_client::notice_failure()
{
    if (has_ended())
        return;
    int error = 0;
    socklen_t len = sizeof error;
    getsockopt(socket_.get(), SOL_SOCKET, SO_ERROR, &error, &len);
    if (error != 0)
        fail_with(error);
    else
        state_ = has_been_sent_all() ? state::is_served : state::has_left;
}

void served_client::look_at_clock(steady_time now)
{
    if (!may_be_stuck() || now < last_progress_ + terms_.stall)
        return;
    const int left = bytes_on_the_way(socket_.get());
    if (left < on_the_way_) { // a slow one takes much before the socket has room again
        on_the_way_ = left;
        last_progress_ = now;
        return;
    }
    const bool has_taken_all = state_ == state::is_closing && left == 0;
    state_ = has_taken_all ? state::is_served : state::is_stuck;
}

steady_time served_client::wakes_at() const
{
    if (state_ == state::is_early)
        return due_;
    return may_be_stuck() ? last_progress_ + terms_.stall : steady_time::max();
}

uint64_t served_client::frames() const
{
    uint64_t count = frames_before_;
    size_t end = 0;
    while (chunk_ != nullptr && end < sent_ && (end += frame_len(chunk_->bytes.data() + end)) <= sent_)
        ++count;
    return count;
}

std::string served_client::outcome() const
{
    switch (state_) {
    case state::is_idle:
    case state::is_closing:
    case state::is_served:
        return "had everything";
    case state::has_left:
        return "has left before the end";
    case state::has_failed:
        return fmt::format("lost: {}", std::strerror(error_));
    case state::is_stuck:
        return fmt::format("dropped: took nothing for {} s", terms_.stall.count());
    case state::sending:
    case state::needs_chunk:
    case state::is_early:
        break;
    }
    return "was not at the end";
}

} // namespace ribtool
