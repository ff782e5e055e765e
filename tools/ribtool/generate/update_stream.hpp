// Streams of updates, each of one of the profiles that `ribtool synth` offers.

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/generate/random.hpp"
#include "tools/ribtool/generate/table_source.hpp"
#include "tools/ribtool/messages/scratch.hpp"

#include <cstdint>
#include <span>
#include <string_view>

namespace ribtool
{

// What the updates of a stream are drawn from. The messages of one update lie in `memory`.
struct stream_state {
    random_source random;
    scratch memory;
    table_source table;
    uint64_t made = 0; // updates so far
};

struct profile {
    std::string_view name;
    uint64_t updates; // how many there are by default
    bool is_of_routes;
    update (*draw)(stream_state &from);
};

std::span<const profile> profiles();
const profile *find_profile(std::string_view name); // null: there is none

class update_stream
{
public:
    update_stream(const profile &kind, uint64_t seed) : kind_(kind), state_{random_source(seed), {}, {}} {}

    update next()
    {
        state_.memory.reset();
        update drawn = kind_.draw(state_);
        ++state_.made;
        return drawn;
    }

private:
    const profile &kind_;
    stream_state state_;
};

} // namespace ribtool
