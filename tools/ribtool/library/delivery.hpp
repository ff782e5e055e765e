// One update on its way through the library, as the client's callbacks see it.

#pragma once

#include "tools/ribtool/library/record_facts.hpp"
#include "tools/ribtool/output/record_lines.hpp"

#include <chrono>
#include <cstdint>
#include <exception>

namespace ribtool
{

// Callbacks run below C frames, so no exception leaves them: it waits here until the call is over.
struct delivery {
    record_lines *lines = nullptr; // null: nothing is printed; else a line has been begun
    json_line *line = nullptr;
    record_facts *facts = nullptr;        // null: nobody counts them; else those of the last record
    const uint8_t *payload_end = nullptr; // of the older opaque form, whose blocks lie in the payload
    uint64_t callbacks = 0;
    uint64_t routes = 0;
    uint64_t paths = 0;
    std::chrono::steady_clock::duration in_callbacks{};
    std::exception_ptr failed;
};

} // namespace ribtool
