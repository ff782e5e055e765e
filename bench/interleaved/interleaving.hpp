// Timing two functions against each other: in short samples that take turns, so that whatever disturbs the machine
// disturbs both.

#pragma once

#include "bench/interleaved/cell.hpp"

#include <string>

namespace bench
{

// A share of a sorted list: its median, and the values that a quarter and three quarters of the list lie below.
struct quartiles {
    double lower;
    double median;
    double upper;
};

quartiles quartiles_of(std::vector<double> values);

struct comparison {
    double our_ns; // median over the rounds, a message
    double their_ns;
    quartiles ratio;     // ours by theirs, of each round
    double surely_above; // the ratio's median is, in 99 runs of 100
    size_t rounds;
};

// Rounds of equally many samples of each; a round sees every message of the set by both.
comparison compare(const prepared_cell &subject, double seconds);

} // namespace bench
