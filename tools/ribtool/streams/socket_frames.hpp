// Frames out of a socket or a pipe, as they come.

#pragma once

#include "tools/ribtool/frames/frame_buffer.hpp"
#include "tools/ribtool/frames/frame_source.hpp"
#include "tools/ribtool/streams/descriptor.hpp"

#include <functional>
#include <optional>
#include <string>

namespace ribtool
{

class socket_frames : public frame_source
{
public:
    // Takes the socket over. `name` is what messages call it. With `resynchronises` frames go on behind damage.
    socket_frames(descriptor socket, std::string name, bool resynchronises = false);

    // Waits for a frame. Its time is that of the read that completed it. A stream that ends inside a frame, or whose connection is
    // lost, is damaged.
    bool next(captured_frame &frame) override;

    const std::optional<damage> &found_damage() const override { return damage_; }
    const skip_report *skipped() const override { return &frames_.skipped(); }
    const std::string &name() const override { return name_; }
    std::string_view kind() const override { return "live"; }
    uint64_t position() const override { return received_; }
    uint64_t size() const override { return 0; }
    std::string place() const override;
    void while_waiting(std::function<void()> idle) override { idle_ = std::move(idle); }

private:
    bool wait();
    void receive();
    bool end();

    descriptor socket_;
    std::string name_;
    std::function<void()> idle_;
    frame_buffer frames_;
    uint64_t received_ = 0;    // bytes
    uint64_t time_us_ = 0;     // of the last of them
    uint64_t number_ = 0;      // of the frame that was given last or was about to be
    uint64_t frame_start_ = 0; // in the stream
    int error_ = 0;            // with which the connection was lost
    std::optional<damage> damage_;
};

} // namespace ribtool
