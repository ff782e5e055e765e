// The frames of an endpoint, connected to again whenever the connection ends.

#pragma once

#include "tools/ribtool/streams/endpoint.hpp"
#include "tools/ribtool/streams/socket_frames.hpp"

#include <chrono>
#include <optional>
#include <string>

namespace ribtool
{

class reconnecting_frames : public frame_source
{
public:
    // Nobody needs to listen there yet. Each connection that ends, and the first of several tries that fail, is told on the standard
    // error.
    reconnecting_frames(endpoint at, reach allowed, bool resynchronises);

    // False only when a signal has come. Frames are counted over all connections.
    bool next(captured_frame &frame) override;

    const std::optional<damage> &found_damage() const override { return damage_; }
    const std::string &name() const override { return name_; }
    std::string_view kind() const override { return "live"; }
    uint64_t position() const override { return before_ + (frames_ ? frames_->position() : 0); }
    uint64_t size() const override { return 0; }
    std::string place() const override { return frames_ ? frames_->place() : name_; }
    void while_waiting(std::function<void()> idle) override;

private:
    void connect();
    void pause();
    void leave();

    const endpoint at_;
    const reach allowed_;
    const bool resynchronises_;
    std::string name_;
    std::function<void()> idle_;
    std::optional<socket_frames> frames_; // while there is a connection
    uint64_t before_ = 0;                 // bytes of the connections before
    uint64_t number_ = 0;
    bool brought_frames_ = false; // the connection
    std::chrono::milliseconds pause_;
    std::optional<damage> damage_;
};

} // namespace ribtool
