// A message decoded for the length of one call: the only place where the client library chooses the codec's memory.

#ifndef IP_RIB_LIB_SRC_DECODED_MESSAGE_HPP
#define IP_RIB_LIB_SRC_DECODED_MESSAGE_HPP

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include "codec/zidl.h"

namespace rib_client
{

inline void *allocate(size_t size, void *)
{
    return malloc(size);
}

inline void give_back(void *ptr, void *)
{
    free(ptr);
}

// Nothing is released by itself: a failed decode, and a caller that returns early, keep what was allocated, on purpose.
// The decoder resets the whole message; only presence bits that no field uses keep what they were.
template <class Message, auto Decode, auto Release>
struct decoded_message {
    Message msg;

    int32_t decode(const uint8_t *buf, size_t len) { return Decode(&msg, buf, len, allocate, nullptr, 0); }
    void release() { Release(&msg, give_back, nullptr, 0); }
};

} // namespace rib_client

#endif
