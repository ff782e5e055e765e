// A stream of updates folded to what a client has at its end, and what became of its updates.

#pragma once

#include "inspect/rib_inspect.h"
#include "tools/ribtool/frames/frame_source.hpp"
#include "tools/ribtool/state/state_table.hpp"
#include "tools/ribtool/state/update_effect.hpp"

#include <array>
#include <cstdint>
#include <string>

namespace ribtool
{

class folded_state
{
public:
    // An update that a client does not get changes nothing, and neither does a delimiter; a route without paths takes away what its
    // prefix had. Each key of a grid list is an entry of its own.
    void take(const captured_frame &frame);

    const state_table &table() const { return table_; }

    // "1000 frames, 997 delivered, 3 dropped (3 missing_field), 25 delimiters: 812 entries"
    std::string summary() const;

private:
    void take_list(const grid_sync_list &list, uint64_t frame);

    state_table table_;
    effect_reader reader_;
    uint64_t frames_ = 0;
    uint64_t delimiters_ = 0;
    std::array<std::array<uint64_t, RIB_REASON_COUNT>, RIB_OUTCOME_COUNT> counts_{};
};

} // namespace ribtool
