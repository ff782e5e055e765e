// A reusable buffer between two zones that nobody may write to.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

inline constexpr uint8_t UNTOUCHED = 0xa5;

class guarded_buffer
{
public:
    static constexpr size_t ZONE = 64;

    // `size` bytes, all of them `fill`, aligned for any record. What an earlier call returned is gone.
    uint8_t *open(size_t size, uint8_t fill = UNTOUCHED)
    {
        size_ = size;
        if (memory_.size() < size + 2 * ZONE)
            memory_.resize(2 * size + 2 * ZONE);
        std::memset(memory_.data(), UNTOUCHED, ZONE);
        std::memset(data(), fill, size);
        std::memset(data() + size, UNTOUCHED, ZONE);
        return data();
    }

    uint8_t *data() { return memory_.data() + ZONE; }

    bool zones_are_intact() const
    {
        const auto untouched = [](uint8_t byte) { return byte == UNTOUCHED; };
        const auto start = memory_.begin();
        const auto end = start + static_cast<std::ptrdiff_t>(ZONE + size_);
        return std::all_of(start, start + ZONE, untouched) && std::all_of(end, end + ZONE, untouched);
    }

private:
    std::vector<uint8_t> memory_;
    size_t size_ = 0;
};
