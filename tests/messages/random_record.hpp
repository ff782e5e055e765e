// Fills a record of any type at random: any combination of presence bits and contents that the operations must bear.

#pragma once

#include "messages/descriptors.hpp"
#include "tests/messages/random_source.hpp"
#include "tests/messages/test_arena.hpp"

// Writes every member and the whole presence word of `msg`; what it owns comes from `memory`. The same state of `random`
// gives the same record in any empty arena.
void fill_at_random(const zidl::message_descriptor &type, void *msg, random_source &random, test_arena &memory);

// The same with bytes members that are said to be larger than any buffer, and than all of memory. For encoders with buffers
// of less than 2^28 - 1 bytes, which must not look at the contents.
void fill_with_hostile_sizes(const zidl::message_descriptor &type, void *msg, random_source &random,
                             test_arena &memory);
