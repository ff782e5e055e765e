// Field numbers ascend without gaps, and every exception is spelled out.

#include "tools/zidlc/numbering.hpp"

#include <algorithm>
#include <map>
#include <set>

namespace zidlc
{

namespace
{

constexpr uint32_t largest_number = (1u << 29) - 1;
constexpr uint32_t first_taken_number = 19000; // protocol buffers keep these to themselves
constexpr uint32_t last_taken_number = 19999;

std::string left_out(uint32_t first, uint32_t last)
{
    if (first == last)
        return fmt::format("number {0} is left out: say '{0} unassigned;' where that is meant", first);
    return fmt::format("numbers {0} to {1} are left out: say '{0}..{1} unassigned;' where that is meant", first, last);
}

class numbering
{
public:
    numbering(const message_syntax &m, diagnostics &errors) : message_(m), errors_(errors) {}

    void check()
    {
        collect();
        said_ = spoken_for_.begin();
        for (const auto &row : message_.rows)
            std::visit([&](const auto &each) { check_row(each); }, row);
        check_end();
    }

private:
    // First what is said of which number: a field that stands out of order fills its place from anywhere, and what stands
    // in a wrong place is reported there, not as a gap as well.
    void collect()
    {
        for (const auto &row : message_.rows)
            std::visit([&](const auto &each) { collect_row(each); }, row);
    }

    void collect_row(const field_syntax &f)
    {
        if (!is_in_range(f.number))
            return;
        const auto [owner, is_first] = owners_.emplace(f.number.value, &f);
        if (!is_first)
            return errors_.error(f.number.where, note{owner->second->number.where, "first used here"},
                                 "number {} is taken by '{}'", f.number.value, owner->second->name.text);
        speak_for(f.number.value, f.number.value);
        if (f.out_of_order && (!last_displaced_ || f.number.value > last_displaced_->number.value))
            last_displaced_ = &f;
    }

    void collect_row(const unassigned_syntax &u)
    {
        const auto [first, last] = std::minmax(u.first.value, u.last.value);
        speak_for(first, last);
    }

    void speak_for(uint32_t first, uint32_t last)
    {
        uint32_t &known = spoken_for_[first];
        known = std::max(known, last);
    }

    bool is_in_range(const number_syntax &number)
    {
        if (number.value == 0 || number.value > largest_number)
            errors_.error(number.where, "field numbers go from 1 to {}", largest_number);
        else if (number.value >= first_taken_number && number.value <= last_taken_number)
            errors_.error(number.where, "field numbers {} to {} belong to protocol buffers", first_taken_number,
                          last_taken_number);
        else
            return true;
        return false;
    }

    void check_row(const field_syntax &f)
    {
        const auto owner = owners_.find(f.number.value);
        if (owner == owners_.end() || owner->second != &f)
            return; // reported already
        if (f.out_of_order)
            check_displaced(f);
        else
            check_ascending(f);
    }

    void check_displaced(const field_syntax &f)
    {
        if (f.number.value == next_after(last_))
            errors_.error(*f.out_of_order, "field {} stands in order", f.number.value);
        displaced_so_far_.insert(f.number.value);
    }

    // The first number behind `number` that no field out of order above the current row has. It never falls, so that all
    // calls together look at each number once.
    uint32_t next_after(uint32_t number)
    {
        next_ = std::max(next_, number + 1);
        while (displaced_so_far_.count(next_))
            ++next_;
        return next_;
    }

    void check_ascending(const field_syntax &f)
    {
        const uint32_t number = f.number.value;
        if (number < last_)
            errors_.error(f.number.where, "field {} steps back behind {}: say 'out of order' where that is meant",
                          number, last_);
        else
            close_gap(number, f.number.where);
    }

    void check_row(const unassigned_syntax &u)
    {
        if (!is_in_bounds(u.first) || !is_in_bounds(u.last))
            return;
        if (u.first.where.offset != u.last.where.offset && u.first.value >= u.last.value)
            return errors_.error(u.where, "a range goes from a smaller number to a larger one");
        if (const auto owner = owners_.lower_bound(u.first.value);
            owner != owners_.end() && owner->first <= u.last.value)
            return errors_.error(u.where, note{owner->second->number.where, "used here"},
                                 "number {} is not unassigned: '{}' has it", owner->first, owner->second->name.text);
        if (u.first.value <= last_)
            return errors_.error(u.where, "unassigned numbers stand in their place: this one is behind {}", last_);
        close_gap(u.first.value, u.first.where);
        last_ = u.last.value;
    }

    bool is_in_bounds(const number_syntax &number)
    {
        if (number.value != 0 && number.value <= largest_number)
            return true;
        errors_.error(number.where, "field numbers go from 1 to {}", largest_number);
        return false;
    }

    // All numbers up to that of a field out of order must be spoken for.
    void check_end()
    {
        if (last_displaced_ && last_displaced_->number.value > last_)
            close_gap(last_displaced_->number.value, last_displaced_->number.where);
    }

    // Reports what nothing is said of between the last number and `number`, and goes on behind `number`.
    void close_gap(uint32_t number, const place &where)
    {
        for (uint32_t first = last_ + 1; first < number;) {
            while (said_ != spoken_for_.end() && said_->second < first)
                ++said_;
            const uint32_t end = said_ == spoken_for_.end() ? number : std::min(said_->first, number);
            if (first < end)
                errors_.error(where, "{}", left_out(first, end - 1));
            first = end < number ? std::min(said_->second, number) + 1 : number;
        }
        last_ = number;
    }

    const message_syntax &message_;
    diagnostics &errors_;
    std::map<uint32_t, const field_syntax *> owners_;
    std::map<uint32_t, uint32_t> spoken_for_;           // by first number, the last one of each row
    std::map<uint32_t, uint32_t>::const_iterator said_; // the row that the next gap ends at, or one before
    const field_syntax *last_displaced_ = nullptr;      // the field out of order that has the largest number
    std::set<uint32_t> displaced_so_far_;               // numbers of the fields out of order above the current row
    uint32_t next_ = 1;                                 // see next_after
    uint32_t last_ = 0; // the largest number above the current row, fields out of order aside
};

} // namespace

void check_numbering(const message_syntax &m, diagnostics &errors)
{
    numbering(m, errors).check();
}

} // namespace zidlc
