// A message decoded for the length of one call: the only place where the client library chooses the codec's memory.

#ifndef IP_RIB_LIB_SRC_DECODED_MESSAGE_HPP
#define IP_RIB_LIB_SRC_DECODED_MESSAGE_HPP

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include "codec/zidl.h"
#include "codec/zidl_arena.h"

namespace rib_client
{

// The decoder resets the whole message; only presence bits that no field uses keep what they were.
#ifdef RIB_CLIENT_ARENA

// Decodes out of an arena that lives as long as the object: whichever way the call ends, everything goes back. Most updates
// fit the block on the stack.
template <class Message, auto Decode, auto Release>
class decoded_message
{
public:
    Message msg;

    decoded_message() { zidl_arena_init(&arena_, block_, sizeof block_); }
    ~decoded_message() { zidl_arena_destroy(&arena_); }
    decoded_message(const decoded_message &) = delete;
    decoded_message &operator=(const decoded_message &) = delete;

    int32_t decode(const uint8_t *buf, size_t len) { return Decode(&msg, buf, len, zidl_arena_alloc, &arena_, 0); }
    void release() { zidl_arena_destroy(&arena_); }

private:
    zidl_arena arena_;
    uint64_t block_[512];
};

#else

inline void *allocate(size_t size, void *)
{
    return malloc(size);
}

inline void give_back(void *ptr, void *)
{
    free(ptr);
}

// Nothing is released by itself: a failed decode, and a caller that returns early, keep what was allocated, on purpose.
template <class Message, auto Decode, auto Release>
struct decoded_message {
    Message msg;

    int32_t decode(const uint8_t *buf, size_t len) { return Decode(&msg, buf, len, allocate, nullptr, 0); }
    void release() { Release(&msg, give_back, nullptr, 0); }
};

#endif

} // namespace rib_client

#endif
