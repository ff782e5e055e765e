// What is concluded from what was seen of the values: where each lands.

#pragma once

#include "inspect/measure/values.hpp"
#include "inspect/records/record_content.hpp"

#include <array>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace rib_inspect
{

// How many contents each bit of a slot changes in.
using bit_strengths = std::array<uint16_t, 64>;

// A member that changes with several values belongs to those of them that it follows most: those that give it the most
// contents. A value that only switches it on and off decides about it.
class owners
{
public:
    void add(const sightings &seen);
    bool owns(const touch &of) const;

private:
    std::unordered_map<uint32_t, bit_strengths> best_;
};

// Where the value lands of which this was seen.
void conclude(const sightings &seen, const owners &all, const record_content &base, bool is_number, landing &out);

// The same for all values of an update.
void conclude(std::vector<tried_value *> &values, const record_content &base);

} // namespace rib_inspect
