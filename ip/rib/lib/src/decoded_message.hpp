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

inline void *allocate(size_t size, void *)
{
    return malloc(size);
}

inline void give_back(void *ptr, void *)
{
    free(ptr);
}

#ifdef RIB_CLIENT_ARENA
constexpr bool FAILED_DECODE_KEEPS_BLOCKS = false;
#else
constexpr bool FAILED_DECODE_KEEPS_BLOCKS = true; // by contract
#endif

// The decoder resets the whole message; only presence bits that no field uses keep what they were.

// A message in blocks of malloc, which may outlive the call: nothing that was decoded is released by itself.
template <class Message, auto Decode, auto Release>
struct heap_message {
    Message msg;

    int32_t decode(const uint8_t *buf, size_t len)
    {
        const int32_t status = Decode(&msg, buf, len, allocate, nullptr, 0);
        if (!FAILED_DECODE_KEEPS_BLOCKS && status != ZIDL_OK)
            release();
        return status;
    }
    void release() { Release(&msg, give_back, nullptr, 0); }
};

// A message in an arena that lives as long as the object: whichever way the call ends, everything goes back. Most updates
// fit the block on the stack.
template <class Message, auto Decode, auto Release>
class arena_message
{
public:
    Message msg;

    arena_message() { zidl_arena_init(&arena_, block_, sizeof block_); }
    ~arena_message() { zidl_arena_destroy(&arena_); }
    arena_message(const arena_message &) = delete;
    arena_message &operator=(const arena_message &) = delete;

    int32_t decode(const uint8_t *buf, size_t len) { return Decode(&msg, buf, len, zidl_arena_alloc, &arena_, 0); }
    void release() { zidl_arena_destroy(&arena_); }

private:
    zidl_arena arena_;
    uint64_t block_[512];
};

// What updates are decoded into whose callback has no way to keep a block of the message.
#ifdef RIB_CLIENT_ARENA
template <class Message, auto Decode, auto Release>
using decoded_message = arena_message<Message, Decode, Release>;
#else
template <class Message, auto Decode, auto Release>
using decoded_message = heap_message<Message, Decode, Release>;
#endif

} // namespace rib_client

#endif
