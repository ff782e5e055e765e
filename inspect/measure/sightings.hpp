// What was seen of one value: the slots of the record that change with it, and their different contents.

#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace rib_inspect
{

// Another content of a slot of the record.
struct slot_change {
    uint32_t slot;
    uint64_t hash;    // of the content
    uint64_t changed; // the bits that differ from how it was; of a slot of more than 64 bits, the bytes
};

// One look at the update with a value changed.
struct sight {
    bool decides = false;
    std::vector<slot_change> changes;

    bool is_nothing() const { return !decides && changes.empty(); }
};

// A slot that changed with the value, and its different contents.
struct touch {
    uint32_t slot;
    std::vector<slot_change> seen{};
};

struct sightings {
    std::vector<touch> touches;
    bool decides = false;
    std::vector<uint32_t> lost;
    uint32_t units = 0; // bits or bytes that were tried

    void add(const sight &one)
    {
        decides |= one.decides;
        for (const slot_change &change : one.changes)
            add(change);
    }

    // What a value's presence alone switches on and off, it decides about.
    void add_absence(const sight &one)
    {
        decides |= one.decides;
        for (const slot_change &change : one.changes) {
            const bool follows = std::any_of(touches.begin(), touches.end(),
                                             [&](const touch &each) { return each.slot == change.slot; });
            if (follows)
                add(change);
            else
                decides = true;
        }
    }

    void add(const slot_change &change)
    {
        std::vector<slot_change> &seen = of(change.slot).seen;
        if (std::none_of(seen.begin(), seen.end(), [&](const slot_change &each) { return each.hash == change.hash; }))
            seen.push_back(change);
    }

private:
    touch &of(uint32_t slot)
    {
        for (touch &each : touches) {
            if (each.slot == slot)
                return each;
        }
        touches.push_back({slot});
        return touches.back();
    }
};

} // namespace rib_inspect
