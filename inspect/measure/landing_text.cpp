// A landing as text.

#include "inspect/measure/measure.hpp"

namespace rib_inspect
{

namespace
{

void append_ranges(std::string &out, const std::vector<uint32_t> &numbers)
{
    std::vector<std::string> ranges;
    for (size_t i = 0; i < numbers.size();) {
        size_t end = i + 1;
        while (end < numbers.size() && numbers[end] == numbers[end - 1] + 1)
            ++end;
        std::string range = std::to_string(numbers[i]);
        if (end - i > 1)
            range += (end - i == 2 ? " and " : " to ") + std::to_string(numbers[end - 1]);
        ranges.push_back(range);
        i = end;
    }
    for (size_t i = 0; i < ranges.size(); ++i)
        out += (i == 0 ? "" : i + 1 == ranges.size() ? " and " : ", ") + ranges[i];
}

} // namespace

std::string to_string(const landing &of)
{
    if (of.is_nothing())
        return "nothing";
    std::string out;
    for (const std::string &member : of.members)
        out += (out.empty() ? "" : ", ") + member;
    if (!of.lost.empty()) {
        const char *unit = of.is_number ? "bit" : "byte";
        out += std::string(", ") + unit + (of.lost.size() == 1 ? " " : "s ");
        append_ranges(out, of.lost);
        out += " lost";
    }
    if (of.decides)
        out += out.empty() ? "decides" : ", decides";
    return out;
}

} // namespace rib_inspect
