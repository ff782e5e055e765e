// A file that lives in memory for one run, for readers that open files.

#pragma once

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

class memory_file
{
public:
    explicit memory_file(std::span<const uint8_t> contents) : descriptor_(memfd_create("fuzzed", 0))
    {
        if (descriptor_ < 0 ||
            write(descriptor_, contents.data(), contents.size()) != static_cast<ssize_t>(contents.size()))
            std::abort();
    }
    ~memory_file() { close(descriptor_); }
    memory_file(const memory_file &) = delete;
    memory_file &operator=(const memory_file &) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};
