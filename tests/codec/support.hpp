// What the codec tests share: byte strings, memory functions that remember what was asked of them, and one way to call
// the four operations that also fits the types with shorter argument lists. Nothing here knows the wire format.

#pragma once

#include "codec/zidl.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <type_traits>
#include <vector>

namespace rib_test
{

// What an array of three elements of repeated bytes takes: 48 bytes with 64-bit addresses.
constexpr size_t THREE_ELEMENTS_LEN = 3 * sizeof(zidl_bytes);
static_assert(sizeof(void *) != 8 || THREE_ELEMENTS_LEN == 48);

using bytes = std::vector<uint8_t>;

// A length as callers get it: where their sizes have 32 bits, a longer one is as long as none can be.
constexpr size_t as_size(uint64_t len)
{
    return static_cast<size_t>(len) == len ? static_cast<size_t>(len) : SIZE_MAX;
}

// Memory functions that remember. Fresh blocks hold 0xCD throughout, so that a block that is not cleared shows it.
class memory
{
public:
    memory() = default;
    explicit memory(size_t refused_request) : refused(refused_request) {}
    memory(const memory &) = delete;
    memory &operator=(const memory &) = delete;
    ~memory()
    {
        for (void *block : blocks)
            std::free(block);
    }

    static void *allocate(size_t size, void *ctx)
    {
        memory &self = *static_cast<memory *>(ctx);
        void *block = nullptr;
        if (self.requests.size() != self.refused) {
            block = std::malloc(size ? size : 1);
            std::memset(block, 0xCD, size);
        }
        self.requests.push_back(size);
        self.blocks.push_back(block);
        return block;
    }

    static void release(void *ptr, void *ctx)
    {
        memory &self = *static_cast<memory *>(ctx);
        for (size_t i = 0; i < self.blocks.size(); i++) {
            if (self.blocks[i] == nullptr || self.blocks[i] != ptr)
                continue;
            std::free(ptr);
            self.blocks[i] = nullptr;
            self.releases.push_back(i);
            return;
        }
        ADD_FAILURE() << "released a pointer that is not owned";
    }

    // Sizes asked for, refused requests included, in order.
    std::vector<size_t> requests;
    // Which requests' blocks were given back, in order: {1, 0} says that the second block went first.
    std::vector<size_t> releases;
    // The live block of each request, null when refused or released.
    std::vector<void *> blocks;
    // The request that yields null, counted from 0.
    size_t refused = SIZE_MAX;
};

using sizes = std::vector<size_t>;

// Names the record and the four operations of one message type.
#define RIB_TEST_CODEC(type)                                                                                           \
    struct type {                                                                                                      \
        using record = zidl_##type;                                                                                    \
        [[maybe_unused]] static constexpr const char *name = #type;                                                    \
        [[maybe_unused]] static constexpr auto encode_ext = &zidl_##type##_encode_ext;                                 \
        [[maybe_unused]] static constexpr auto decode_ext = &zidl_##type##_decode_ext;                                 \
        [[maybe_unused]] static constexpr auto duplicate_ext = &zidl_##type##_duplicate;                               \
        [[maybe_unused]] static constexpr auto free_ext = &zidl_##type##_free_ext;                                     \
    }

// Argument lists, checked by the compiler; the record comes first in each.
#define ENCODE_TAKES(type, ...)                                                                                        \
    static_assert(std::is_same_v<decltype(&zidl_##type##_encode_ext), size_t (*)(const zidl_##type *, __VA_ARGS__)>)
#define DECODE_TAKES(type, ...)                                                                                        \
    static_assert(std::is_same_v<decltype(&zidl_##type##_decode_ext), int32_t (*)(zidl_##type *, __VA_ARGS__)>)
#define DUPLICATE_TAKES(type, ...)                                                                                     \
    static_assert(std::is_same_v<decltype(&zidl_##type##_duplicate), int32_t (*)(zidl_##type *, __VA_ARGS__)>)
#define FREE_TAKES(type, ...)                                                                                          \
    static_assert(std::is_same_v<decltype(&zidl_##type##_free_ext), void (*)(zidl_##type *, __VA_ARGS__)>)

#define FULL_ARGUMENT_LISTS(type)                                                                                      \
    ENCODE_TAKES(type, uint8_t *, size_t, zidl_segment *, uint32_t *, uint32_t);                                       \
    DECODE_TAKES(type, const uint8_t *, size_t, zidl_alloc_fn, void *, uint32_t);                                      \
    DUPLICATE_TAKES(type, const zidl_##type *, zidl_alloc_fn, void *);                                                 \
    FREE_TAKES(type, zidl_free_fn, void *, uint32_t)

// A record as it may come from a caller: every byte of it is rubbish.
template <class Codec>
typename Codec::record rubbish()
{
    typename Codec::record msg;
    std::memset(&msg, 0xA5, sizeof msg);
    return msg;
}

template <class Codec>
size_t call_encode(const typename Codec::record &msg, uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t *nsegs,
                   uint32_t flags)
{
    if constexpr (std::is_invocable_v<decltype(Codec::encode_ext), const typename Codec::record *, uint8_t *, size_t,
                                      zidl_segment *, uint32_t *, uint32_t>)
        return Codec::encode_ext(&msg, buf, buflen, segs, nsegs, flags);
    else
        return Codec::encode_ext(&msg, buf, buflen, segs, nsegs);
}

template <class Codec>
int32_t call_decode(typename Codec::record &msg, const uint8_t *buf, size_t len, zidl_alloc_fn alloc_fn,
                    void *alloc_ctx, uint32_t flags)
{
    using record = typename Codec::record;
    if constexpr (std::is_invocable_v<decltype(Codec::decode_ext), record *, const uint8_t *, size_t>)
        return Codec::decode_ext(&msg, buf, len);
    else if constexpr (std::is_invocable_v<decltype(Codec::decode_ext), record *, const uint8_t *, size_t,
                                           zidl_alloc_fn, void *>)
        return Codec::decode_ext(&msg, buf, len, alloc_fn, alloc_ctx);
    else
        return Codec::decode_ext(&msg, buf, len, alloc_fn, alloc_ctx, flags);
}

template <class Codec>
int32_t call_duplicate(typename Codec::record &dst, const typename Codec::record &src, zidl_alloc_fn alloc_fn,
                       void *alloc_ctx)
{
    using record = typename Codec::record;
    if constexpr (std::is_invocable_v<decltype(Codec::duplicate_ext), record *, const record *>)
        return Codec::duplicate_ext(&dst, &src);
    else
        return Codec::duplicate_ext(&dst, &src, alloc_fn, alloc_ctx);
}

template <class Codec>
int32_t decode(typename Codec::record &msg, const bytes &input, memory &mem, uint32_t flags = 0)
{
    return call_decode<Codec>(msg, input.data(), input.size(), memory::allocate, &mem, flags);
}

// Decodes without an allocation function.
template <class Codec>
int32_t decode_without_memory(typename Codec::record &msg, const bytes &input, uint32_t flags = 0)
{
    return call_decode<Codec>(msg, input.data(), input.size(), nullptr, nullptr, flags);
}

template <class Codec>
int32_t duplicate(typename Codec::record &dst, const typename Codec::record &src, memory &mem)
{
    return call_duplicate<Codec>(dst, src, memory::allocate, &mem);
}

template <class Codec>
int32_t duplicate_without_memory(typename Codec::record &dst, const typename Codec::record &src)
{
    return call_duplicate<Codec>(dst, src, nullptr, nullptr);
}

template <class Codec>
void release(typename Codec::record &msg, memory &mem, uint32_t flags = 0)
{
    Codec::free_ext(&msg, memory::release, &mem, flags);
}

template <class Codec>
size_t encoded_size(const typename Codec::record &msg, uint32_t flags = 0)
{
    return call_encode<Codec>(msg, nullptr, 0, nullptr, nullptr, flags);
}

// The encoding, in a buffer of exactly the size that the sizing call gives.
template <class Codec>
bytes encode(const typename Codec::record &msg, uint32_t flags = 0)
{
    bytes output(encoded_size<Codec>(msg, flags));
    EXPECT_EQ(call_encode<Codec>(msg, output.data(), output.size(), nullptr, nullptr, flags), output.size());
    return output;
}

// What an encoder said about a buffer and a segment list of given sizes. Entries and bytes that it left alone still
// hold their filling.
struct listing {
    static constexpr uint8_t untouched_byte = 0x5A;
    static constexpr uint64_t untouched_len = 0x5A5A5A5A5A5A5A5A;

    size_t result;
    uint32_t count;
    bytes buf;
    std::vector<zidl_segment> segs;
};

// Encodes into a buffer of buflen bytes with room for `capacity` segments; segs has three further entries behind it.
template <class Codec>
listing list_segments(const typename Codec::record &msg, size_t buflen, uint32_t capacity, uint32_t flags)
{
    listing out{0, capacity, bytes(buflen, listing::untouched_byte),
                std::vector<zidl_segment>(capacity + 3, zidl_segment{nullptr, listing::untouched_len})};
    out.result = call_encode<Codec>(msg, out.buf.data(), buflen, out.segs.data(), &out.count, flags);
    return out;
}

} // namespace rib_test

// Where gtest prints a segment.
inline void PrintTo(const zidl_segment &segment, std::ostream *out)
{
    *out << '{' << static_cast<const void *>(segment.base) << ", " << segment.len << '}';
}

inline bool operator==(const zidl_segment &a, const zidl_segment &b)
{
    return a.base == b.base && a.len == b.len;
}
