// A message decoded for the length of one call: the only place where the client library chooses the codec's memory.

#ifndef IP_RIB_LIB_SRC_DECODED_MESSAGE_HPP
#define IP_RIB_LIB_SRC_DECODED_MESSAGE_HPP

#include <stddef.h>
#include <stdint.h>

#include "codec/zidl.h"
#include "codec/zidl_arena.h"
#include "ip/rib/lib/src/library_memory.hpp"

namespace rib_client
{

inline void *allocate(size_t size, void *)
{
    return new_block(size);
}

inline void give_back(void *ptr, void *)
{
    give_back(ptr);
}

#ifdef RIB_CLIENT_ARENA
constexpr bool FAILED_DECODE_KEEPS_BLOCKS = false;
#else
constexpr bool FAILED_DECODE_KEEPS_BLOCKS = true; // by contract
#endif

// The decoder resets the whole message; only presence bits that no field uses keep what they were.

#ifdef RIB_WITNESS

// A message that outlives the conversion with all that it holds, so that what the record does not show of it can be looked up.
template <class Message, auto Decode, auto Release>
class witnessed_message
{
public:
    Message &msg = *static_cast<Message *>(rib_inspect::notes::current().message_of(sizeof(Message)));

    int32_t decode(const uint8_t *buf, size_t len)
    {
        const int32_t status = Decode(&msg, buf, len, allocate, nullptr, 0);
        rib_inspect::notes::current().decoded(status);
        return status;
    }
    void release() {}
};

template <class Message, auto Decode, auto Release>
using heap_message = witnessed_message<Message, Decode, Release>;
template <class Message, auto Decode, auto Release>
using decoded_message = witnessed_message<Message, Decode, Release>;

#else

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

#endif

} // namespace rib_client

#endif
