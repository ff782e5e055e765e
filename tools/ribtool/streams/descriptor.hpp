// A file descriptor that is closed with its owner.

#pragma once

#include <utility>

#include <unistd.h>

namespace ribtool
{

class descriptor
{
public:
    descriptor() = default;
    explicit descriptor(int number) : number_(number) {}
    ~descriptor() { reset(); }
    descriptor(descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
    descriptor &operator=(descriptor &&other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }

    int get() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }

    void reset()
    {
        if (number_ >= 0)
            close(std::exchange(number_, -1));
    }

private:
    int number_ = -1;
};

} // namespace ribtool
