// Memory for decoded messages: a bump allocator over one block, for every contender that takes allocation functions, and
// where such blocks lie.

#pragma once

#include "bench/contender.hpp"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>

namespace bench
{

class bump
{
public:
    explicit bump(std::span<uint8_t> block) : start_(block.data()), pos_(start_), end_(start_ + block.size()) {}

    void *take(size_t size)
    {
        const size_t rounded = (size + 7) & ~size_t{7};
        if (rounded > static_cast<size_t>(end_ - pos_))
            return nullptr;
        uint8_t *const taken = pos_;
        pos_ += rounded;
        return taken;
    }

    void reset() { pos_ = start_; }

private:
    uint8_t *start_;
    uint8_t *pos_;
    uint8_t *end_;
};

// Enough for the largest message of any workload, decoded by any contender, and for a cold batch.
constexpr size_t bump_size = size_t{16} << 20;

// An arena for each record of a batch, or one for all where the batch is a cold one. An Arena is made from its block.
template <class Arena>
class batch_arenas
{
public:
    explicit batch_arenas(const message_table &table)
    {
        // Of some messages none fills its block, whoever decodes it; a single message may be a large one. Blocks a power of
        // two apart would share their cache sets.
        constexpr size_t small = 34'880;
        const bool is_shared = table.batch() == 1 || table.name() == cold_workload;
        const size_t count = is_shared ? 1 : table.batch();
        const size_t size = is_shared ? bump_size : small;
        memory_ = std::make_unique_for_overwrite<uint64_t[]>(count * size / sizeof(uint64_t));
        auto *const first = reinterpret_cast<uint8_t *>(memory_.get());
        for (size_t i = 0; i < count; ++i)
            arenas_.emplace_back(std::span(first + i * size, size));
    }

    Arena &operator[](size_t record) { return arenas_[arenas_.size() == 1 ? 0 : record]; }

    void reset()
    {
        for (Arena &arena : arenas_)
            arena.reset();
    }

private:
    std::unique_ptr<uint64_t[]> memory_;
    std::deque<Arena> arenas_;
};

} // namespace bench
