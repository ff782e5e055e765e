#include "inspect/measure/conclusions.hpp"

#include <algorithm>
#include <bit>

namespace rib_inspect
{

namespace
{

bit_strengths strengths_of(const touch &of)
{
    bit_strengths result = {};
    for (const slot_change &each : of.seen) {
        for (uint64_t left = each.changed; left != 0; left &= left - 1)
            ++result[static_cast<size_t>(std::countr_zero(left))];
    }
    return result;
}

// Bits that are switched over together, of which some follow another value.
bool is_followed_elsewhere(const bit_strengths &best, const bit_strengths &own)
{
    for (size_t bit = 0; bit < own.size(); ++bit) {
        if (own[bit] != 0 && own[bit] < best[bit])
            return true;
    }
    return false;
}

} // namespace

void owners::add(const sightings &seen)
{
    for (const touch &each : seen.touches) {
        bit_strengths &best = best_[each.slot];
        const bit_strengths own = strengths_of(each);
        for (size_t bit = 0; bit < own.size(); ++bit)
            best[bit] = std::max(best[bit], own[bit]);
    }
}

bool owners::owns(const touch &of) const
{
    const bit_strengths &best = best_.at(of.slot);
    const bit_strengths own = strengths_of(of);
    if (of.seen.size() == 1 && is_followed_elsewhere(best, own))
        return false;
    for (size_t bit = 0; bit < own.size(); ++bit) {
        if (own[bit] != 0 && own[bit] == best[bit])
            return true;
    }
    return false;
}

void conclude(const sightings &seen, const owners &all, const record_content &base, bool is_number, landing &out)
{
    out.is_number = is_number;
    out.decides = seen.decides;
    std::vector<uint32_t> own;
    const bool is_followed =
        std::any_of(seen.touches.begin(), seen.touches.end(), [](const touch &each) { return each.seen.size() > 1; });
    for (const touch &each : seen.touches) {
        const bool is_switched = is_followed && each.seen.size() == 1;
        if (!is_switched && all.owns(each))
            own.push_back(each.slot);
        else
            out.decides = true;
    }
    std::sort(own.begin(), own.end());
    for (const uint32_t slot : own)
        out.members.push_back(base.name(base.slots()[slot]));
    if (!out.members.empty() && seen.lost.size() < seen.units)
        out.lost = seen.lost;
}

void conclude(std::vector<tried_value *> &values, const record_content &base)
{
    owners all;
    for (const tried_value *each : values)
        all.add(each->seen);
    for (const tried_value *each : values)
        conclude(each->seen, all, base, is_number(*each->field), each->result->lands);
}

} // namespace rib_inspect
