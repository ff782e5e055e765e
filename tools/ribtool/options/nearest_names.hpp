// What somebody may have meant who wrote a name that there is not.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ribtool
{

// The three names that need the fewest changes, the nearest first, or all if they are fewer.
std::vector<std::string> nearest_names(std::string_view name, std::vector<std::string> all);

} // namespace ribtool
