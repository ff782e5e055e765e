// Values in memory that may not be aligned, or whose type the compiler does not know.

#pragma once

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

template <class Value>
void store(void *at, Value value)
{
    std::memcpy(at, &value, sizeof value);
}

} // namespace rib_inspect
