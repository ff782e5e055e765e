// A short input with zeros behind it. Words may be loaded from each of its positions, so that a message of a few bytes is
// read as quickly as one with others behind it. Nothing outside the input is read to make it.

#pragma once

#include "codec/decode/context.hpp"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

class padded_input
{
public:
    // Longer copies cost what they save.
    static constexpr size_t max_len = window_size - 1;

    // `len` is 1 to max_len.
    ZIDL_NOINLINE void take(const uint8_t *input, size_t len)
    {
        if (len >= 16)
            put(load_wire<uint64_t>(input), load_wire<uint64_t>(input + 8), last(input, len, len - 16));
        else if (len >= 8)
            put(load_wire<uint64_t>(input), last(input, len, len - 8), 0);
        else
            put(few(input, len), 0, 0);
    }

    ZIDL_INLINE const uint8_t *begin() const { return bytes_; }
    ZIDL_INLINE size_t size() const { return sizeof bytes_; }

private:
    // The last `count` bytes, up to seven, of eight and more.
    static ZIDL_INLINE uint64_t last(const uint8_t *input, size_t len, size_t count)
    {
        return load_wire<uint64_t>(input + len - 8) >> 8 >> (8 * (7 - count));
    }

    // One to seven bytes, from both ends: where they overlap, they agree.
    static ZIDL_INLINE uint64_t few(const uint8_t *input, size_t len)
    {
        if (len >= 4)
            return load_wire<uint32_t>(input) | uint64_t{load_wire<uint32_t>(input + len - 4)} << (8 * (len - 4));
        const size_t middle = len / 2;
        return input[0] | uint64_t{input[middle]} << (8 * middle) | uint64_t{input[len - 1]} << (8 * (len - 1));
    }

    // (As one array that is copied here, g++ builds it in vectors, which words cannot be forwarded from: slower.)
    ZIDL_INLINE void put(uint64_t first, uint64_t second, uint64_t third)
    {
        store_wire(bytes_, first);
        store_wire(bytes_ + 8, second);
        store_wire(bytes_ + 16, third);
        memset(bytes_ + window_size, 0, window_size);
    }

    uint8_t bytes_[2 * window_size];
};

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
