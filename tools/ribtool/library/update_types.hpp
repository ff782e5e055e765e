// The types of updates: one row for each type code with its name, the payloads that its entry point may not see, and that
// entry point.

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/library/delivery.hpp"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace ribtool
{

// An update as an entry point gets it. The older forms are converted in place, so the payload is a copy of the caller's.
struct entry_call {
    updatetype_local update;
    byte_span payload; // behind the frame's header, in that copy
    delivery *to;
};

struct update_type {
    uint16_t code;
    std::string_view name;
    // The library's entry point with ribtool's callbacks, which fill call.to. No exception leaves it; an assertion of the
    // library does (run_guarded).
    void (*parse)(entry_call &call);
    // Why the entry point must not see this payload, or empty: the part of its contract that the library does not check.
    std::string (*violation)(byte_span payload);
};

// By ascending code.
std::span<const update_type> update_types();

const update_type *find_update_type(uint16_t code); // null: nobody knows it

} // namespace ribtool
