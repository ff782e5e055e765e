// What the bytes of a stream become: bytes in pieces of any size go in, frames come out.
//
//     frame_buffer frames;
//     stream_frame frame;
//     while (const size_t got = receive(frames.room())) {
//         frames.received(got);
//         while (frames.next(frame))
//             use(frame);
//     }
//     frames.end();                // and once more: with resynchronisation a last frame may stand behind damage
//     while (frames.next(frame))
//         use(frame);
//     if (frames.problem()) ...

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/frames/skip_report.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace ribtool
{

// A frame that lies in its buffer, until room() is asked for again.
struct stream_frame {
    uint64_t number = 0; // from 1, delimiters counted
    uint64_t start = 0;  // the byte of the stream where it begins
    std::span<uint8_t> bytes;
};

// Memory is a constant. Without resynchronisation every header is believed; with it a header whose code is neither known nor a
// delimiter's is damage, and what follows is searched for the next frame (rib_frames_resync). A stream is taken to begin with a
// frame, since a first one in front of a delimiter would be lost otherwise.
class frame_buffer
{
public:
    explicit frame_buffer(bool resynchronises = false);

    // Where the next bytes of the stream go: never empty once next() has said that there is no further frame. How many of them were
    // put there is said by received().
    std::span<uint8_t> room();
    void received(size_t len) { rest_len_ += len; }

    // No more bytes will come.
    void end() { has_ended_ = true; }
    bool has_ended() const { return has_ended_; }

    // False when there is no whole frame yet and, after end(), when there will be none.
    bool next(stream_frame &frame);

    // After end(), when next() has given false: what is wrong with bytes that are left over, if any are. Never with resynchronisation,
    // which passes over them.
    std::optional<std::string> problem() const;

    uint64_t frames() const { return number_; }     // that were given
    uint64_t position() const { return position_; } // bytes of the stream before what has not been given
    const skip_report &skipped() const { return skipped_; }

private:
    bool has_strange_header() const;
    void begin_search(skip_reason reason, std::string why);
    bool search();
    void take(size_t len);
    std::string truncation() const;

    std::unique_ptr<uint8_t[]> memory_;
    uint8_t *rest_; // what has been received and not been given
    size_t rest_len_ = 0;
    const bool resynchronises_;
    bool has_ended_ = false;
    uint64_t number_ = 0;
    uint64_t position_ = 0;
    std::optional<skipped_piece> gap_; // what is being passed over while the next frame is searched
    skip_reason gap_reason_ = skip_reason::unknown_code;
    skip_report skipped_;
};

} // namespace ribtool
