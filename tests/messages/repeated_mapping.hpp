// Gigabytes of memory that hold a few bytes over and over: one small file, mapped again and again side by side.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

class repeated_mapping
{
public:
    // At least `size` bytes that begin with `pattern` and go on with it. What is written in one place shows in others.
    repeated_mapping(const std::vector<uint8_t> &pattern, size_t size)
    {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t whole = std::lcm(pattern.size(), page);
        piece_ = whole * (LARGEST_PIECE / whole + 1);
        size_ = (size + piece_ - 1) / piece_ * piece_;
        const int file = memfd_create("repeated", 0);
        if (file < 0 || ftruncate(file, static_cast<off_t>(piece_)) != 0)
            throw std::runtime_error("no memory file");
        reserve();
        for (size_t at = 0; at < size_; at += piece_)
            if (mmap(data_ + at, piece_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) == MAP_FAILED)
                throw std::runtime_error("cannot map the memory file again");
        close(file);
        fill(pattern);
    }
    ~repeated_mapping() { munmap(data_, size_); }
    repeated_mapping(const repeated_mapping &) = delete;
    repeated_mapping &operator=(const repeated_mapping &) = delete;

    uint8_t *data() const { return data_; }
    size_t size() const { return size_; }

    // Gives `len` bytes from the page of `at` on memory of their own, with the contents that they have.
    void detach(size_t at, size_t len)
    {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t begin = at / page * page;
        const size_t end = (at + len + page - 1) / page * page;
        const std::vector<uint8_t> contents(data_ + begin, data_ + end);
        if (mmap(data_ + begin, end - begin, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) ==
            MAP_FAILED)
            throw std::runtime_error("no memory for a page");
        std::memcpy(data_ + begin, contents.data(), contents.size());
    }

private:
    static constexpr size_t LARGEST_PIECE = size_t{16} << 20;

    void reserve()
    {
        void *const space = mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (space == MAP_FAILED)
            throw std::runtime_error("no address space");
        data_ = static_cast<uint8_t *>(space);
    }

    void fill(const std::vector<uint8_t> &pattern)
    {
        std::memcpy(data_, pattern.data(), pattern.size());
        for (size_t done = pattern.size(); done < piece_; done *= 2)
            std::memcpy(data_ + done, data_, done < piece_ - done ? done : piece_ - done);
    }

    size_t piece_ = 0;
    size_t size_ = 0;
    uint8_t *data_ = nullptr;
};
