// Random updates: encodings that follow a message's description, with values, counts and gaps that the client library's
// rules turn on; and mutations of them.

#pragma once

#include "messages/descriptors.hpp"

#include <cstdint>
#include <vector>

namespace rib_test
{

using bytes = std::vector<uint8_t>;

// A small generator whose sequence is the same everywhere.
class random_source
{
public:
    explicit random_source(uint64_t seed) : state(seed) {}

    uint64_t next();
    // Below `limit`, which is above 0.
    uint64_t below(uint64_t limit) { return next() % limit; }
    bool one_in(uint64_t n) { return below(n) == 0; }

private:
    uint64_t state;
};

// A valid encoding of the message, its fields in order or shuffled.
bytes random_message(random_source &random, const zidl::message_descriptor &message);

// The same with a few bytes changed, cut out, doubled or put in.
bytes mutated(random_source &random, bytes payload);

} // namespace rib_test
