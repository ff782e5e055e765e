// Values in memory that may not be aligned, or whose type the compiler does not know.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace rib_inspect
{

template <class Value>
Value load(const void *at)
{
    Value value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// A number of 1, 2, 4 or 8 bytes.
inline uint64_t load_number(const void *at, size_t size)
{
    switch (size) {
    case 1:
        return load<uint8_t>(at);
    case 2:
        return load<uint16_t>(at);
    case 4:
        return load<uint32_t>(at);
    default:
        return load<uint64_t>(at);
    }
}

template <class Value>
void store(void *at, Value value)
{
    std::memcpy(at, &value, sizeof value);
}

} // namespace rib_inspect
