// One update handed to the library, as a client does it: what replay and stats have in common.

#pragma once

#include "tools/ribtool/frames/frame_source.hpp"
#include "tools/ribtool/library/assertion_guard.hpp"
#include "tools/ribtool/library/update_types.hpp"
#include "tools/ribtool/stats/allocation_count.hpp"

#include <chrono>
#include <optional>
#include <string_view>

namespace ribtool
{

enum class update_form { unstripped, stripped };
constexpr size_t UPDATE_FORMS = 2;
constexpr std::string_view form_name(update_form form)
{
    return form == update_form::stripped ? "stripped" : "unstripped";
}

struct library_call {
    std::optional<failed_assertion> assertion; // that would have stopped the process
    std::chrono::steady_clock::time_point ended;
    std::chrono::steady_clock::duration time; // in the library, without what callbacks did with the record
    allocation_count allocations;             // callbacks and all
};

// The update comes to the entry point in a block of its own, exactly as long as it is, so that a read behind its end is seen by the
// tools that look for such.
//
// REQUIRES: type.violation() has nothing to say of the payload.
// Throws what a callback has failed with.
library_call call_library(const captured_frame &frame, const update_type &type, update_form form, delivery &to);

} // namespace ribtool
