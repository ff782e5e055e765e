// What a record owns, in words.

#include "tools/zidlc/ownership.hpp"

#include "tools/zidlc/text.hpp"

#include <fmt/format.h>

namespace zidlc
{

std::string ownership(const message &m)
{
    std::vector<std::string> owned;
    std::vector<std::string> owners; // embedded records that own something themselves
    for (const field &f : m.fields) {
        if (f.is_pointer)
            owned.push_back(f.name);
        else if (f.owns_memory)
            owners.push_back(f.name);
    }
    if (!owners.empty())
        owned.push_back(fmt::format("what {} {}", enumeration(owners), owners.size() == 1 ? "owns" : "own"));
    return owned.empty() ? "Owns nothing." : fmt::format("Owns {}.", enumeration(owned));
}

} // namespace zidlc
