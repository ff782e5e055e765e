// Fixed records of every type, for the tests that go through all lengths, capacities and failures.

#pragma once

#include "messages/descriptors.hpp"
#include "tests/messages/test_arena.hpp"

enum class sample {
    dense,  // every field present, numbers of every encoded length, arrays of a few elements
    sparse, // every other field present but empty or zero, the others filled but absent
};

// Writes every member of `msg` and the whole presence word, with the spare bits set; what it owns comes from `memory`.
void fill_sample(const zidl::message_descriptor &type, void *msg, sample which, test_arena &memory);
