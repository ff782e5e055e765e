// Memory whose neighbouring pages cannot be touched: a single byte read or written outside it stops the process.

#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

class guarded_pages
{
public:
    // Room for at least `size` bytes.
    explicit guarded_pages(size_t size)
        : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))), size_((size + page_ - 1) / page_ * page_)
    {
        void *mapped = mmap(nullptr, size_ + 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED)
            throw std::runtime_error("no memory for guarded pages");
        first_ = static_cast<uint8_t *>(mapped);
        if (mprotect(first_, page_, PROT_NONE) != 0 || mprotect(first_ + page_ + size_, page_, PROT_NONE) != 0)
            throw std::runtime_error("cannot protect the guard pages");
    }
    ~guarded_pages() { munmap(first_, size_ + 2 * page_); }
    guarded_pages(const guarded_pages &) = delete;
    guarded_pages &operator=(const guarded_pages &) = delete;

    uint8_t *start() const { return first_ + page_; }
    uint8_t *before_end(size_t len) const { return first_ + page_ + size_ - len; }

private:
    size_t page_;
    size_t size_;
    uint8_t *first_ = nullptr;
};
