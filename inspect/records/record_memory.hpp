// The memory of records that live for one message: given out piece by piece, taken back all at once.

#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace rib_inspect
{

class record_memory
{
public:
    // Aligned for any member; throws when there is no memory.
    void *allocate(size_t size)
    {
        const size_t taken = rounded(size);
        if (taken > room_)
            open_block(taken);
        void *const piece = next_;
        next_ += taken;
        room_ -= taken;
        return piece;
    }

    // The same as the codec asks for it: null when there is no memory.
    static void *allocate(size_t size, void *memory) noexcept
    {
        try {
            return static_cast<record_memory *>(memory)->allocate(size);
        } catch (const std::bad_alloc &) {
            return nullptr;
        }
    }

    // Nothing that was given out may be used again. Keeps the last block, which is the largest, unless it is very large:
    // messages of one stream are alike.
    void take_back()
    {
        if (blocks_.empty())
            return;
        if (blocks_.back().size > MAX_KEPT) {
            blocks_.clear();
            next_ = nullptr;
            room_ = 0;
            return;
        }
        blocks_.erase(blocks_.begin(), blocks_.end() - 1);
        next_ = blocks_.back().bytes.get();
        room_ = blocks_.back().size;
    }

private:
    static constexpr size_t MIN_BLOCK = size_t{1} << 16;
    static constexpr size_t MAX_KEPT = size_t{1} << 26;

    struct block {
        std::unique_ptr<std::byte[]> bytes;
        size_t size;
    };

    // Nothing is a piece, too: its address is not null.
    static size_t rounded(size_t size)
    {
        constexpr size_t alignment = alignof(std::max_align_t);
        return size == 0 ? alignment : (size + alignment - 1) / alignment * alignment;
    }

    void open_block(size_t least)
    {
        const size_t twice = blocks_.empty() ? MIN_BLOCK : 2 * blocks_.back().size;
        const size_t size = least > twice ? least : twice;
        blocks_.push_back({std::unique_ptr<std::byte[]>(new std::byte[size]), size});
        next_ = blocks_.back().bytes.get();
        room_ = size;
    }

    std::vector<block> blocks_;
    std::byte *next_ = nullptr;
    size_t room_ = 0;
};

} // namespace rib_inspect
