// How often which time was met, in bounded memory: classes of 1/32 of their power of two, so that a quantile is at most 3.2 % above the
// exact one and never below it.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ribtool
{

class time_histogram
{
public:
    using nanoseconds = std::chrono::nanoseconds;

    void add(nanoseconds time);
    void add(const time_histogram &other);

    uint64_t count() const { return count_; }
    nanoseconds total() const { return total_; }
    nanoseconds longest() const { return longest_; } // exact

    // The time that this share of all does not exceed; 0 where there is none. `share` is above 0 and at most 1.
    nanoseconds quantile(double share) const;

private:
    std::vector<uint64_t> classes_; // as many as the longest time needs: 1920 at most
    uint64_t count_ = 0;
    nanoseconds total_{};
    nanoseconds longest_{};
};

} // namespace ribtool
