// Where frames come from: what files, pipes and sockets offer alike, so that a command reads any of them.

#pragma once

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/frames/skip_report.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace ribtool
{

struct captured_frame {
    uint64_t number = 0; // from 1, delimiters counted
    uint64_t time_us = 0;
    uint16_t time_rest_ns = 0; // nanoseconds beyond time_us, 999 at most
    byte_vector bytes;         // header as it travels, then exactly the payload that it promises
};

// Where the contents of a stream go wrong, and how: "FILE: packet 3", "truncated: ...".
struct damage {
    std::string place;
    std::string text;
    exit_code code = EXIT_MALFORMED; // what a command ends with that found nothing worse
};

class frame_source
{
public:
    virtual ~frame_source() = default;

    // False at the end, where the contents go wrong and when a signal has come: everything before is good. A live source waits for a
    // frame.
    virtual bool next(captured_frame &frame) = 0;

    // What ended the frames; nothing at the end of a whole stream. Whoever reads to the end says so when all else is printed: see
    // report_damage().
    virtual const std::optional<damage> &found_damage() const = 0;

    // What resynchronisation has passed over so far; null where nothing is ever passed over.
    virtual const skip_report *skipped() const { return nullptr; }

    virtual const std::string &name() const = 0; // as messages show it
    virtual std::string_view kind() const = 0;   // as summaries show it: "pcap", "raw frames", "live"
    virtual uint64_t position() const = 0;       // bytes read so far
    virtual uint64_t size() const = 0;           // 0 where nobody knows the end

    // "FILE: packet 3" or "FILE: frame 3 at byte 120": the frame that next() gave last or was about to give.
    virtual std::string place() const = 0;

    // A socket or a pipe calls this whenever it has no frame at hand and is about to wait, and then again a few times a second until
    // one comes: what is buffered goes out then, and what is drawn by the clock is drawn. Files never wait.
    virtual void while_waiting(std::function<void()> idle) { static_cast<void>(idle); }
};

// Of frames that a signal ends: a damage with EXIT_INTERRUPTED.
damage interruption(const frame_source &source, uint64_t frames_read);

// What a reading command calls between its lines and its summary: says where the stream is damaged, if it is, and what was passed
// over. Gives the damage's code then and else what the command would end with.
exit_code report_damage(const frame_source &source, exit_code otherwise);

} // namespace ribtool
