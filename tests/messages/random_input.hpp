// Inputs for decoders: what a broken or hostile peer might send, mostly well-formed enough to get deep.

#pragma once

#include "messages/descriptors.hpp"
#include "tests/messages/random_source.hpp"

#include <cstdint>
#include <vector>

using byte_string = std::vector<uint8_t>;

// A sequence of fields of the type in random order, nested ones included, now and then with a wrong wire type, a wrong
// length, an unknown field or an overlong varint.
byte_string random_fields(const zidl::message_descriptor &type, random_source &random);

byte_string random_noise(random_source &random);

// Changes a few places of `bytes`: cuts, flips, inserts, removes, repeats, or continues with a piece of `other`.
void mutate(byte_string &bytes, const byte_string &other, random_source &random);
