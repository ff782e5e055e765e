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

// The set in pieces that differ by a message at most; a sample is one piece, `repeats` times.
struct division {
    size_t messages; // of the whole set
    size_t pieces;
    size_t repeats;

    // Of a round, which has each piece equally often.
    size_t samples() const { return (fewest_samples + pieces - 1) / pieces * pieces; }
    double messages_of_a_round() const { return static_cast<double>(messages * repeats * (samples() / pieces)); }
    size_t start(size_t piece) const { return messages * piece / pieces; }
};

double time_range(const range_function &run, size_t first, size_t count, size_t repeats)
{
    const double begin = processor_time_ns();
    for (size_t i = 0; i < repeats; ++i)
        run(first, count);
    return processor_time_ns() - begin;
}

double sample(const range_function &run, const division &set, size_t index)
{
    const size_t piece = index % set.pieces;
    return time_range(run, set.start(piece), set.start(piece + 1) - set.start(piece), set.repeats);
}

division divide(const prepared_cell &subject)
{
    size_t count = 1, repeats = 1;
    while (time_range(subject.theirs, 0, count, repeats) < shortest_sample_ns) {
        if (count < subject.messages)
            count = std::min(2 * count, subject.messages);
        else
            repeats *= 2;
    }
    return {subject.messages, subject.messages / count, repeats};
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
            const size_t other = i + set.pieces / 2;
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
