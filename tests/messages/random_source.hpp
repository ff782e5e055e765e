// A small reproducible generator: the same seed gives the same test case on every machine.

#pragma once

#include <cstddef>
#include <cstdint>

class random_source
{
public:
    explicit random_source(uint64_t seed) : state_(seed) {}

    uint64_t next()
    {
        state_ += 0x9e3779b97f4a7c15u;
        uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebu;
        return mixed ^ (mixed >> 31);
    }

    // In 0 to limit - 1.
    size_t below(size_t limit) { return static_cast<size_t>(next() % limit); }

    bool percent(unsigned chance) { return below(100) < chance; }

    uint8_t byte() { return static_cast<uint8_t>(next()); }

    // Every encoded length from 1 to 10 bytes is about equally likely, and so are the values at its two ends.
    uint64_t number()
    {
        const unsigned bits = static_cast<unsigned>(7 * below(11));
        const uint64_t edge = bits >= 64 ? UINT64_MAX : uint64_t{1} << bits;
        switch (below(4)) {
        case 0:
            return edge;
        case 1:
            return edge - 1;
        case 2:
            return percent(50) ? UINT32_MAX : below(2);
        default:
            return next() & ((edge << 1) - 1);
        }
    }

private:
    uint64_t state_;
};
