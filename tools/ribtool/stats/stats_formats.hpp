// The counts as stats prints them: a table for people, one JSON object, or OpenMetrics for what collects such.

#pragma once

#include "tools/ribtool/stats/update_stats.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace ribtool
{

struct stats_report {
    const update_stats &stats;
    const frame_source &source;
    std::chrono::nanoseconds processor_time;  // of the process
    std::optional<double> updates_per_second; // since the report before, of one that is repeated
};

// Each ends with a line end.
std::string stats_text(const stats_report &report);
std::string stats_json(const stats_report &report);
std::string stats_openmetrics(const stats_report &report);

// "route", as the table of update types has it; "unknown" of any other code.
std::string_view type_name(uint16_t code);

inline double seconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double>(time).count();
}

} // namespace ribtool
