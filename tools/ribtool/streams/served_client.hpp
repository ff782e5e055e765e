// One client of a stream that is served: how far it is, and when it gets more.

#pragma once

#include "tools/ribtool/streams/descriptor.hpp"
#include "tools/ribtool/streams/stream_store.hpp"

#include <chrono>
#include <cstdint>
#include <string>

namespace ribtool
{

using steady_time = std::chrono::steady_clock::time_point;

// How fast a client gets its frames, counted from when it came.
struct serve_pace {
    enum class kind { topspeed, rate, multiplier } by = kind::topspeed;
    double factor = 1; // frames a second, or times as fast as the source

    // When a frame is due, in seconds from the start. The first frame of all is frame 0.
    double due(uint64_t frame, uint64_t time_us) const
    {
        return by == kind::rate ? static_cast<double>(frame) / factor : static_cast<double>(time_us) / 1e6 / factor;
    }
};

enum class at_end { close, keep_open, begin_again };

struct serve_terms {
    serve_pace pace;
    at_end then = at_end::close;
    std::chrono::seconds stall{0}; // as long a client may take nothing that it could; 0: for ever
};

class served_client
{
public:
    enum class state {
        sending,     // as soon as the socket takes more
        needs_chunk, // the store has none yet
        is_early,    // the next frame is not due yet
        is_idle,     // has had everything, and the connection stays open
        is_closing,  // has had everything and was told so: until it closes its side
        // The ends:
        is_served,  // has had everything
        has_left,   // closed the connection before
        has_failed, // the socket says why
        is_stuck,   // took nothing for too long
    };

    served_client(descriptor socket, stream_store &store, const serve_terms &terms, steady_time now);

    // Sends what can be sent, but not for so long that others would wait.
    void advance(steady_time now);

    // The socket has something to read, which nobody needs, or its end.
    void read_and_forget();
    // The socket says that it can be used no more.
    void notice_failure();
    // Ends it where it has taken nothing for too long.
    void look_at_clock(steady_time now);

    state now_is() const { return state_; }
    bool has_ended() const { return state_ >= state::is_served; }
    bool wants_to_write() const { return state_ == state::sending; }
    bool wants_to_read() const { return !peer_has_ended_; }

    // The next time at which something happens although its socket tells nothing; the largest there is where nothing will.
    steady_time wakes_at() const;

    int socket() const { return socket_.get(); }
    uint64_t frames() const; // that it got whole
    uint64_t bytes() const { return bytes_; }
    double seconds(steady_time now) const { return std::chrono::duration<double>(now - started_).count(); }
    bool has_been_sent_all() const { return state_ == state::is_idle || state_ == state::is_closing; } // and is there
    std::string outcome() const; // "had everything"

private:
    bool may_be_stuck() const
    {
        return terms_.stall.count() != 0 && (state_ == state::sending || state_ == state::is_closing);
    }
    void send_what_is_due(steady_time now);
    void change_to(state other, steady_time now);
    bool find_chunk(steady_time now);
    void leave_chunk();
    void end_round(steady_time now);
    void allow_what_is_due(steady_time now);
    bool send_some(steady_time now);
    void fail_with(int error);

    descriptor socket_;
    stream_store &store_;
    const serve_terms &terms_;
    state state_ = state::sending;
    bool peer_has_ended_ = false; // its side is closed; it may read on
    int error_ = 0;

    const frame_chunk *chunk_ = nullptr;
    size_t chunk_index_ = 0;
    size_t sent_ = 0;            // bytes of the chunk
    size_t allowed_ = 0;         // those of the frames that are due
    size_t allowed_frames_ = 0;  // of the chunk
    uint64_t frames_before_ = 0; // the chunk, in all rounds
    uint64_t round_start_ = 0;   // frames before this round
    uint64_t rounds_us_ = 0;     // what the rounds before took in the source
    uint64_t last_time_us_ = 0;  // of the last frame of the last chunk, in this round
    uint64_t bytes_ = 0;
    steady_time started_;
    steady_time due_; // of the frame for which it is early
    steady_time last_progress_;
    int on_the_way_ = 0; // bytes that were left in the connection when it was looked at last
};

} // namespace ribtool
