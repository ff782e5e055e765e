#include "bench/interleaved/interleaving.hpp"

#include <algorithm>
#include <ctime>

namespace bench
{
namespace
{

// The clock of the processor's time takes a quarter of a microsecond to read.
constexpr double shortest_sample_ns = 100'000;
constexpr size_t fewest_samples = 16; // of a round
constexpr size_t fewest_rounds = 9;

double processor_time_ns()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// The set in equal pieces; a sample is one piece, `repeats` times.
struct division {
    size_t messages; // of a piece
    size_t pieces;
    size_t repeats;

    size_t samples() const { return std::max(pieces, fewest_samples); } // of a round
    double messages_of_a_round() const { return static_cast<double>(messages * repeats * samples()); }
};

double sample(const range_function &run, const division &set, size_t index)
{
    const size_t first = index % set.pieces * set.messages;
    const double begin = processor_time_ns();
    for (size_t i = 0; i < set.repeats; ++i)
        run(first, set.messages);
    return processor_time_ns() - begin;
}

division divide(const prepared_cell &subject)
{
    division set{1, 1, 1};
    while (sample(subject.theirs, set, 0) < shortest_sample_ns) {
        if (set.messages < subject.messages)
            set.messages = std::min(2 * set.messages, subject.messages);
        else
            set.repeats *= 2;
    }
    set.pieces = subject.messages / set.messages;
    return set;
}

} // namespace

quartiles quartiles_of(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t last = values.size() - 1;
    return {values[last / 4], values[last / 2], values[last - last / 4]};
}

void rounds::append(const rounds &more)
{
    our_ns.insert(our_ns.end(), more.our_ns.begin(), more.our_ns.end());
    their_ns.insert(their_ns.end(), more.their_ns.begin(), more.their_ns.end());
    ratios.insert(ratios.end(), more.ratios.begin(), more.ratios.end());
}

rounds compare(const prepared_cell &subject, double seconds)
{
    const division set = divide(subject);
    const double messages = set.messages_of_a_round();
    rounds done;
    const double end = processor_time_ns() + seconds * 1e9;
    for (size_t round = 0; round < fewest_rounds || processor_time_ns() < end; ++round) {
        double ours = 0, theirs = 0;
        for (size_t i = 0; i < set.samples(); ++i) {
            // Half a set apart, so that neither finds in the caches what the other has just worked on.
            const size_t other = i + set.samples() / 2;
            const bool ours_first = (round + i) % 2 == 0;
            if (ours_first)
                ours += sample(subject.ours, set, i);
            theirs += sample(subject.theirs, set, other);
            if (!ours_first)
                ours += sample(subject.ours, set, i);
        }
        done.our_ns.push_back(ours / messages);
        done.their_ns.push_back(theirs / messages);
        done.ratios.push_back(ours / theirs);
    }
    return done;
}

} // namespace bench
