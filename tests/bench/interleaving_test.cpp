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

double median_ratio(unsigned our_steps, unsigned their_steps)
{
    return quartiles_of(bench::compare({100, steps(our_steps), steps(their_steps)}, 0.1).ratios).median;
}

TEST(comparison, ratio_is_ours_by_theirs)
{
    EXPECT_GT(median_ratio(200, 100), 1.5);
    EXPECT_LT(median_ratio(200, 100), 2.5);
    EXPECT_GT(median_ratio(100, 200), 0.4);
    EXPECT_LT(median_ratio(100, 200), 0.67);
}

TEST(comparison, times_are_those_of_one_message)
{
    const bench::rounds done = bench::compare({100, steps(2000), steps(1000)}, 0.1);
    const double ours = quartiles_of(done.our_ns).median;
    const double theirs = quartiles_of(done.their_ns).median;
    EXPECT_GT(ours, theirs);
    EXPECT_GT(theirs, 100);    // a thousand steps,
    EXPECT_LT(theirs, 100000); // not a hundred thousand
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

void expect_that_both_see_every_message_equally_often(size_t messages)
{
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

TEST(comparison, both_builds_see_every_message_equally_often)
{
    expect_that_both_see_every_message_equally_often(1024);
}

TEST(comparison, both_builds_see_every_message_of_a_set_that_no_piece_divides_equally_often)
{
    expect_that_both_see_every_message_equally_often(331);
    expect_that_both_see_every_message_equally_often(997);
}

} // namespace
