// What the inspector says of an update against what the library does with it: outcome, record and assertion.

#pragma once

#include "inspect/rib_inspect.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rib_test
{

struct update_case {
    uint32_t code;
    uint32_t entry_code; // whose entry point takes the update; mostly the same
    bool framed;         // else stripped. REQUIRES: a payload below 64 KiB
    uint32_t without;    // RIB_WITHOUT_ bits
    std::vector<uint8_t> payload;
};

// The first difference, in words; empty when there is none. `outcome` then is what both say.
std::string explain_difference(const update_case &update, rib_outcome &outcome);

// Whether a delivered update's losses are what its record does not show, found out by changing single bits: those of a value without
// a loss make a difference, those of one that is lost as a whole make none. Of each so many values the first only.
std::string loss_difference(uint32_t code, const std::vector<uint8_t> &payload, size_t &values);

// One case out of any bytes, as fuzzers have them.
update_case case_of_bytes(const uint8_t *data, size_t size);

} // namespace rib_test
