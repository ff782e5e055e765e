#include "tools/ribtool/stats/time_histogram.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace ribtool
{

namespace
{

constexpr unsigned CLASS_BITS = 5;
constexpr size_t CLASSES = 1 << CLASS_BITS; // of each power of two

// Numbers below 64 have a class of their own; above, a class is the power of two and the next five bits.
size_t class_of(uint64_t value)
{
    const unsigned width = static_cast<unsigned>(std::bit_width(value));
    const unsigned dropped = width <= CLASS_BITS + 1 ? 0 : width - CLASS_BITS - 1;
    return dropped * CLASSES + static_cast<size_t>(value >> dropped);
}

uint64_t largest_in(size_t index)
{
    const size_t dropped = index < 2 * CLASSES ? 0 : index / CLASSES - 1;
    return ((uint64_t{index - dropped * CLASSES} + 1) << dropped) - 1;
}

} // namespace

void time_histogram::add(nanoseconds time)
{
    const size_t index = class_of(static_cast<uint64_t>(std::max(time.count(), nanoseconds::rep{0})));
    if (index >= classes_.size())
        classes_.resize(index + 1);
    ++classes_[index];
    ++count_;
    total_ += time;
    longest_ = std::max(longest_, time);
}

void time_histogram::add(const time_histogram &other)
{
    classes_.resize(std::max(classes_.size(), other.classes_.size()));
    for (size_t index = 0; index < other.classes_.size(); ++index)
        classes_[index] += other.classes_[index];
    count_ += other.count_;
    total_ += other.total_;
    longest_ = std::max(longest_, other.longest_);
}

time_histogram::nanoseconds time_histogram::quantile(double share) const
{
    const auto wanted = static_cast<uint64_t>(std::ceil(share * static_cast<double>(count_)));
    uint64_t met = 0;
    for (size_t index = 0; index < classes_.size(); ++index) {
        met += classes_[index];
        if (met >= wanted && met > 0)
            return std::min(longest_, nanoseconds(largest_in(index)));
    }
    return longest_;
}

} // namespace ribtool
