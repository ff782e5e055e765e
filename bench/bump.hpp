// A bump allocator over one block, for every contender that takes allocation functions.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace bench
{

class bump
{
public:
    explicit bump(size_t size) : block_(new uint8_t[size]), pos_(block_.get()), end_(pos_ + size) {}

    void *take(size_t size)
    {
        const size_t rounded = (size + 7) & ~size_t{7};
        if (rounded > static_cast<size_t>(end_ - pos_))
            return nullptr;
        uint8_t *const taken = pos_;
        pos_ += rounded;
        return taken;
    }

    void reset() { pos_ = block_.get(); }

private:
    std::unique_ptr<uint8_t[]> block_;
    uint8_t *pos_;
    uint8_t *end_;
};

// Enough for the largest message of any workload, decoded by any contender.
constexpr size_t bump_size = size_t{8} << 20;

} // namespace bench
