// Compares two records of one type member by member, pointees and whole presence words included; padding is no matter.

#pragma once

#include "messages/descriptors.hpp"
#include "tests/messages/test_arena.hpp"

#include <string>

struct placed_record {
    const void *msg;
    const test_arena &memory; // holds what the record owns
};

// Empty when the records agree: equal numbers, presence words, counts and sizes; pointers that are both null, or the same
// borrowed address, or blocks at the same place of either arena with equal contents. Else the path of the first difference.
std::string difference(const zidl::message_descriptor &type, const placed_record &got, const placed_record &expected);
