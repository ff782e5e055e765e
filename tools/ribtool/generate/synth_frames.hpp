// A generated stream as frames, ten microseconds apart.

#pragma once

#include "tools/ribtool/frames/frame_source.hpp"
#include "tools/ribtool/generate/update_stream.hpp"

namespace ribtool
{

class synth_frames : public frame_source
{
public:
    synth_frames(const profile *kind, uint64_t count, uint64_t seed);

    bool next(captured_frame &frame) override;
    const std::optional<damage> &found_damage() const override { return damage_; }
    const std::string &name() const override { return name_; }
    std::string_view kind() const override { return "generated"; }
    uint64_t position() const override { return made_; } // updates
    uint64_t size() const override { return count_; }
    std::string place() const override { return fmt::format("{}: update {}", name_, made_); }

private:
    std::string name_;
    update_stream stream_;
    uint64_t count_;
    uint64_t made_ = 0;
    const std::optional<damage> damage_; // none, ever
};

} // namespace ribtool
