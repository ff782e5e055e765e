// Memory for the arrays of a message that is being built: given out piece by piece, taken back all at once.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory_resource>
#include <new>
#include <span>
#include <string_view>
#include <type_traits>

namespace ribtool
{

class scratch
{
public:
    // `count` zero-filled elements; holds until reset().
    template <class Element>
    Element *array(size_t count)
    {
        static_assert(std::is_trivial_v<Element>);
        void *memory = resource_.allocate(count * sizeof(Element), alignof(Element));
        std::memset(memory, 0, count * sizeof(Element));
        return static_cast<Element *>(memory);
    }

    char *text(std::string_view from)
    {
        char *copy = array<char>(from.size() + 1);
        std::memcpy(copy, from.data(), from.size());
        return copy;
    }

    uint8_t *bytes(std::span<const uint8_t> from)
    {
        uint8_t *copy = array<uint8_t>(from.size());
        if (!from.empty())
            std::memcpy(copy, from.data(), from.size());
        return copy;
    }

    void reset() { resource_.release(); }

private:
    std::pmr::monotonic_buffer_resource resource_{1 << 16};
};

} // namespace ribtool
