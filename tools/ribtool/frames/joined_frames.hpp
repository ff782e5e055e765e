// Several sources one after the other as one stream.

#pragma once

#include "tools/ribtool/frames/frame_source.hpp"

#include <memory>
#include <vector>

namespace ribtool
{

class joined_frames : public frame_source
{
public:
    // At least one. Each frame has its number in all of them and its time since the first; times never go back, and each source begins
    // when the one before it ends. `has_delimiter`: behind the last frame comes a delimiter.
    joined_frames(std::vector<std::unique_ptr<frame_source>> sources, bool has_delimiter);

    // Ends where one of them is damaged, without the delimiter.
    bool next(captured_frame &frame) override;
    const std::optional<damage> &found_damage() const override { return current().found_damage(); }
    const std::string &name() const override { return current().name(); }
    std::string_view kind() const override { return current().kind(); }
    uint64_t position() const override { return current().position(); }
    uint64_t size() const override { return current().size(); }
    std::string place() const override { return current().place(); }
    void while_waiting(std::function<void()> idle) override;

private:
    const frame_source &current() const { return *sources_[index_]; }
    bool next_of_sources(captured_frame &frame);
    void place_in_time(captured_frame &frame);

    std::vector<std::unique_ptr<frame_source>> sources_;
    size_t index_ = 0;
    bool owes_delimiter_;
    uint64_t number_ = 0;
    bool is_at_start_ = true;      // of a source
    uint64_t source_start_us_ = 0; // as the source counts
    uint64_t offset_us_ = 0;       // where it begins in the whole
    uint64_t last_us_ = 0;
};

} // namespace ribtool
