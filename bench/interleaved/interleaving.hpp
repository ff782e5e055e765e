// Timing two functions against each other: in short samples that take turns, so that whatever disturbs the machine
// disturbs both.

#pragma once

#include "bench/interleaved/cell.hpp"

#include <string>

namespace bench
{

// Of a list: its median, and the values that a quarter and three quarters of it lie below.
struct quartiles {
    double lower;
    double median;
    double upper;
};

quartiles quartiles_of(std::vector<double> values);

// A round is equally many samples of each, and sees every message of the set by both. Times are of one message.
struct rounds {
    std::vector<double> our_ns;
    std::vector<double> their_ns;
    std::vector<double> ratios; // ours by theirs

    void append(const rounds &more);
};

rounds compare(const prepared_cell &subject, double seconds);

} // namespace bench
