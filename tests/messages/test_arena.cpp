// See test_arena.hpp.

#include "tests/messages/test_arena.hpp"

#include "tests/messages/guarded_buffer.hpp"

#if defined(__SANITIZE_ADDRESS__)
#define RIB_TEST_WITH_ASAN
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define RIB_TEST_WITH_ASAN
#endif
#endif

#ifdef RIB_TEST_WITH_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace
{

constexpr size_t ALIGNMENT = 8; // what the codec asks for, and no more: never of 16
constexpr size_t RED_ZONE = 16;
constexpr size_t FIRST_BLOCK = 64;

// The next odd multiple.
size_t aligned(size_t offset)
{
    return (offset + ALIGNMENT - 1) / (2 * ALIGNMENT) * (2 * ALIGNMENT) + ALIGNMENT;
}

void close_memory([[maybe_unused]] const uint8_t *start, [[maybe_unused]] size_t size)
{
#ifdef RIB_TEST_WITH_ASAN
    ASAN_POISON_MEMORY_REGION(start, size);
#endif
}

void open_memory([[maybe_unused]] const uint8_t *start, [[maybe_unused]] size_t size)
{
#ifdef RIB_TEST_WITH_ASAN
    ASAN_UNPOISON_MEMORY_REGION(start, size);
#endif
}

} // namespace

test_arena::test_arena(size_t capacity) : capacity_(capacity), memory_(new uint8_t[capacity])
{
    close_memory(memory_.get(), capacity_);
    reset();
}

test_arena::~test_arena()
{
    open_memory(memory_.get(), capacity_);
}

void test_arena::reset(size_t failing, bool lasting)
{
    open_memory(memory_.get(), FIRST_BLOCK);
    std::memset(memory_.get(), UNTOUCHED, FIRST_BLOCK);
    close_memory(memory_.get(), used_);
    used_ = FIRST_BLOCK;
    failing_ = failing;
    lasting_ = lasting;
    blocks_.clear();
    requests_.clear();
    releases_.clear();
}

bool test_arena::refuses(size_t request, size_t size) const
{
    const bool has_room = size < capacity_ && aligned(used_) + RED_ZONE < capacity_ - size;
    return !has_room || request == failing_ || (lasting_ && request > failing_);
}

void *test_arena::allocate(size_t size)
{
    requests_.push_back(size);
    if (refuses(requests_.size() - 1, size))
        return nullptr;
    const size_t offset = aligned(used_);
    take_up_to(offset + size + RED_ZONE);
    blocks_.push_back({offset, size});
    open_memory(memory_.get() + offset, size);
    return memory_.get() + offset;
}

void test_arena::take_up_to(size_t end)
{
    open_memory(memory_.get() + used_, end - used_);
    std::memset(memory_.get() + used_, UNTOUCHED, end - used_);
    close_memory(memory_.get() + used_, end - used_);
    used_ = end;
}

void *test_arena::allocate_from(size_t size, void *arena)
{
    return static_cast<test_arena *>(arena)->allocate(size);
}

void test_arena::note_release(void *block, void *arena)
{
    auto *self = static_cast<test_arena *>(arena);
    self->releases_.push_back(self->offset_of(block));
}

bool test_arena::owns(const void *pointer) const
{
    return offset_of(pointer) < capacity_;
}

size_t test_arena::offset_of(const void *pointer) const
{
    return reinterpret_cast<uintptr_t>(pointer) - reinterpret_cast<uintptr_t>(memory_.get());
}

bool test_arena::red_zones_are_intact()
{
    open_memory(memory_.get(), used_);
    const uint8_t *at = memory_.get();
    const auto untouched = [&at](const uint8_t *end) {
        for (; at < end; ++at)
            if (*at != UNTOUCHED)
                return false;
        return true;
    };
    for (const block &each : blocks_) {
        if (!untouched(memory_.get() + each.offset))
            return false;
        at += each.size;
    }
    return untouched(memory_.get() + used_);
}
