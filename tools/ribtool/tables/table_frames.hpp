// A table as frames: each of its routes encoded.

#pragma once

#include "tools/ribtool/frames/frame_source.hpp"
#include "tools/ribtool/messages/scratch.hpp"
#include "tools/ribtool/tables/detect.hpp"

#include <memory>
#include <string>
#include <utility>

namespace ribtool
{

class table_frames : public frame_source
{
public:
    table_frames(std::string name, open_table table) : name_(std::move(name)), table_(std::move(table)) {}

    // What is wrong with a table is a failure, as everywhere that reads one.
    bool next(captured_frame &frame) override;

    const std::optional<damage> &found_damage() const override { return damage_; }
    const std::string &name() const override { return name_; }
    std::string_view kind() const override { return table_.format; }
    uint64_t position() const override { return table_.routes->position(); }
    uint64_t size() const override { return table_.routes->size(); }
    std::string place() const override { return table_.routes->place(); }

private:
    std::string name_;
    open_table table_;
    table_route route_;
    scratch memory_;
    uint64_t number_ = 0;
    const std::optional<damage> damage_; // none: see next()
};

// The encoding of a route that `from` gave. A failure where it does not fit a frame.
byte_vector payload_of(const table_route &route, scratch &memory, const route_source &from);

// Whether a stream that starts like this is a capture, if it is not a table.
bool starts_like_capture(byte_span start);

// The frames of a file, packed or not, that is a capture or a table, as its first bytes tell. "-" is the standard input.
std::unique_ptr<frame_source> open_capture_or_table(const std::string &path);

} // namespace ribtool
