// What stats counts: updates by type, outcome and reason, and the shape of the routes among them.

#pragma once

#include "inspect/rib_inspect.h"
#include "tools/ribtool/frames/frame_source.hpp"
#include "tools/ribtool/library/library_call.hpp"
#include "tools/ribtool/library/record_facts.hpp"
#include "tools/ribtool/stats/allocation_count.hpp"
#include "tools/ribtool/stats/time_histogram.hpp"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <tuple>
#include <vector>

namespace ribtool
{

struct stats_key {
    uint16_t code;
    rib_outcome outcome;
    rib_reason reason;

    friend auto operator<=>(const stats_key &, const stats_key &) = default;
};

struct stats_counts {
    uint64_t updates = 0;
    uint64_t bytes = 0;   // of frames
    time_histogram times; // in the library, of those that were handed over
    allocation_count allocations;
    uint64_t record_bytes = 0;

    void add(const stats_counts &other);
};

enum class ip_family { ipv4, ipv6 };

// Of the routes that were delivered.
struct route_shapes {
    static constexpr size_t NO_LENGTH = 255;

    std::array<std::array<uint64_t, NO_LENGTH + 1>, 2> prefix_lengths{}; // by ip_family; the last: the prefix has none
    uint64_t without_prefix = 0;                                         // of neither family
    std::vector<uint64_t> path_counts;                                   // as many as the most paths need

    const auto &of(ip_family family) const { return prefix_lengths[static_cast<size_t>(family)]; }
    void add(const route_shape &route);
};

class update_stats
{
public:
    // Hands the update over, whatever its code is; gives the time at which that was done.
    std::chrono::steady_clock::time_point add(const captured_frame &frame);
    void add_delimiter() { ++delimiters_; }

    const std::map<stats_key, stats_counts> &rows() const { return rows_; }
    const route_shapes &routes() const { return routes_; }
    uint64_t delimiters() const { return delimiters_; }
    stats_counts total() const;
    bool all_went_through() const; // none was refused or stopped

private:
    std::map<stats_key, stats_counts> rows_;
    route_shapes routes_;
    uint64_t delimiters_ = 0;
};

} // namespace ribtool
