// Fixed records of every type, for the tests that go through all lengths, capacities and failures.

#pragma once

#include "messages/descriptors.hpp"
#include "tests/messages/test_arena.hpp"

#include <vector>

enum class sample {
    dense,  // every field present, numbers of every encoded length, arrays of a few elements
    sparse, // every other field present but empty or zero, the others filled but absent
};

// Writes every member of `msg` and the whole presence word, with the spare bits set; what it owns comes from `memory`.
void fill_sample(const zidl::message_descriptor &type, void *msg, sample which, test_arena &memory);

// The way from a message down to one of its strings, bytes or arrays of integers.
using field_path = std::vector<const zidl::field_descriptor *>;

// The ways to all of them, through embedded messages and arrays of messages.
std::vector<field_path> growable_fields(const zidl::message_descriptor &type);

// Makes a record in which only `path` is present: arrays on the way have one element, and the field at its end takes
// about `length` bytes of the encoding.
void fill_only(const zidl::message_descriptor &type, void *msg, const field_path &path, size_t length,
               test_arena &memory);

// Where the sizes of all bytes members lie, those of embedded records and of array elements included.
std::vector<uint64_t *> bytes_sizes(const zidl::message_descriptor &type, void *msg);
