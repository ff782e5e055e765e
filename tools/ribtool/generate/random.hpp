// A small random generator whose numbers are the same on every machine and compiler. The standard library's
// distributions are not: they may differ from one implementation to the next.
//
// Draw one number a statement: the order in which a compiler evaluates the arguments of one call is its own.

#pragma once

#include <cstdint>

namespace ribtool
{

// xoshiro256** of Blackman and Vigna (public domain), its state filled by splitmix64.
class random_source
{
public:
    explicit random_source(uint64_t seed)
    {
        for (uint64_t &word : state_)
            word = split_mix(seed);
    }

    uint64_t next()
    {
        const uint64_t result = rotate(state_[1] * 5, 7) * 9;
        const uint64_t shifted = state_[1] << 17;
        state_[2] ^= state_[0];
        state_[3] ^= state_[1];
        state_[1] ^= state_[2];
        state_[0] ^= state_[3];
        state_[2] ^= shifted;
        state_[3] = rotate(state_[3], 45);
        return result;
    }

    uint32_t next32() { return static_cast<uint32_t>(next() >> 32); }

    // 0 to limit - 1; limit is above 0.
    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(uint64_t{next32()} * limit >> 32); }

    // first to last, both included.
    uint32_t between(uint32_t first, uint32_t last) { return first + below(last - first + 1); }

    // True once in `times` draws, in the long run.
    bool one_in(uint32_t times) { return below(times) == 0; }

    // A number of any magnitude from 0 to `bits` bits: every varint length comes up.
    uint64_t magnitude(uint32_t bits)
    {
        const uint32_t width = below(bits + 1);
        return width == 0 ? 0 : next() >> (64 - width);
    }
    uint32_t magnitude32() { return static_cast<uint32_t>(magnitude(32)); }

private:
    static uint64_t rotate(uint64_t value, int by) { return value << by | value >> (64 - by); }
    static uint64_t split_mix(uint64_t &seed)
    {
        seed += 0x9e3779b97f4a7c15;
        uint64_t mixed = seed;
        mixed = (mixed ^ mixed >> 30) * 0xbf58476d1ce4e5b9;
        mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111eb;
        return mixed ^ mixed >> 31;
    }

    uint64_t state_[4];
};

} // namespace ribtool
