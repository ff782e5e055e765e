// How much stack work takes: it runs on a stack of its own that was painted before, and what has changed colour was used.

#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>

#include <ucontext.h>

namespace rib_test
{

class painted_stack
{
public:
    explicit painted_stack(size_t size) : size_(size) {}

    // The bytes below the frame that calls `work`.
    size_t used_by(const std::function<void()> &work)
    {
        std::memset(memory_.get(), PAINT, size_);
        work_ = &work;
        getcontext(&inside_);
        inside_.uc_stack.ss_sp = memory_.get();
        inside_.uc_stack.ss_size = size_;
        inside_.uc_link = &outside_;
        running = this;
        makecontext(&inside_, begin, 0);
        swapcontext(&outside_, &inside_);
        size_t untouched = 0;
        while (untouched < size_ && memory_[untouched] == PAINT)
            untouched++;
        return static_cast<size_t>(frame_ - memory_.get()) - untouched;
    }

private:
    static constexpr uint8_t PAINT = 0xC5;
    static inline painted_stack *running = nullptr;

    static void begin()
    {
        running->frame_ = static_cast<const uint8_t *>(__builtin_frame_address(0));
        (*running->work_)();
    }

    const size_t size_;
    std::unique_ptr<uint8_t[]> memory_{new uint8_t[size_]};
    const std::function<void()> *work_ = nullptr;
    const uint8_t *frame_ = nullptr;
    ucontext_t inside_{};
    ucontext_t outside_{};
};

// The number of bytes that a page of the manual states in the row of a table: "| row | 3 KiB |". 0 when there is none.
inline size_t documented_bytes(const std::string &page, const std::string &row)
{
    std::ifstream file(page);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const std::string start = "\n| " + row + " | ";
    for (size_t at = text.find(start); at != std::string::npos; at = text.find(start, at + 1)) {
        const char *const number = text.c_str() + at + start.size();
        char *end = nullptr;
        const unsigned long kib = std::strtoul(number, &end, 10);
        if (end != number && std::strncmp(end, " KiB", 4) == 0)
            return kib * 1024;
    }
    return 0;
}

} // namespace rib_test
