// How two builds are timed against each other.

#include "bench/interleaved/interleaving.hpp"

#include <gtest/gtest.h>

namespace
{

using bench::quartiles_of;

volatile unsigned sink;

// An operation of so many steps a message.
bench::range_function steps(unsigned count)
{
    return [count](size_t first, size_t messages) {
        for (size_t i = first; i < first + messages; ++i)
            for (unsigned step = 0; step < count; ++step)
                sink = step;
    };
}

TEST(quartiles, of_five_values_are_the_second_the_third_and_the_fourth)
{
    const bench::quartiles found = quartiles_of({5, 1, 4, 2, 3});
    EXPECT_EQ(found.lower, 2);
    EXPECT_EQ(found.median, 3);
    EXPECT_EQ(found.upper, 4);
}

TEST(quartiles, of_one_value_are_that_value)
{
    const bench::quartiles found = quartiles_of({7});
    EXPECT_EQ(found.lower, 7);
    EXPECT_EQ(found.median, 7);
    EXPECT_EQ(found.upper, 7);
}

TEST(comparison, ratio_is_ours_by_theirs)
{
    const bench::comparison slower = bench::compare({100, steps(200), steps(100)}, 0.1);
    EXPECT_GT(slower.ratio.median, 1.5);
    EXPECT_LT(slower.ratio.median, 2.5);
    EXPECT_GT(slower.our_ns, slower.their_ns);
    const bench::comparison faster = bench::compare({100, steps(100), steps(200)}, 0.1);
    EXPECT_GT(faster.ratio.median, 0.4);
    EXPECT_LT(faster.ratio.median, 0.67);
}

TEST(comparison, lower_bound_lies_within_the_lower_half_of_the_ratios)
{
    const bench::comparison result = bench::compare({100, steps(100), steps(100)}, 0.1);
    EXPECT_LE(result.surely_above, result.ratio.median);
    EXPECT_GT(result.surely_above, 0);
}

// Counts what it is asked for; takes long enough for a few messages to make a sample.
struct counting {
    std::vector<size_t> visits;

    bench::range_function function()
    {
        return [this](size_t first, size_t messages) {
            for (size_t i = first; i < first + messages; ++i)
                ++visits.at(i);
            steps(5000)(0, messages);
        };
    }
};

TEST(comparison, both_builds_see_every_message_equally_often)
{
    constexpr size_t messages = 1024;
    counting ours{std::vector<size_t>(messages)}, theirs{std::vector<size_t>(messages)};
    bench::compare({messages, ours.function(), theirs.function()}, 0);
    EXPECT_GT(ours.visits[0], 0u);
    for (size_t i = 0; i < messages; ++i) {
        EXPECT_EQ(ours.visits[i], ours.visits[0]) << i;
        EXPECT_GE(theirs.visits[i], ours.visits[i])
            << i; // theirs also tell, by the first messages, how long a sample is
    }
    EXPECT_EQ(theirs.visits[messages - 1], ours.visits[messages - 1]);
}

} // namespace
