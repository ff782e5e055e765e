// Words: how wide they are, how they are cut into lines and strung together.

#include "tools/zidlc/text.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace zidlc
{

std::size_t text_width(std::string_view text)
{
    std::size_t width = 0;
    for (const char c : text)
        width += (static_cast<unsigned char>(c) & 0xc0u) != 0x80u;
    return width;
}

std::vector<std::string> wrap(std::string_view words, std::size_t width)
{
    std::vector<std::string> lines;
    std::size_t start = 0;
    while ((start = words.find_first_not_of(' ', start)) != std::string_view::npos) {
        const std::size_t end = std::min(words.find(' ', start), words.size());
        const std::string_view word = words.substr(start, end - start);
        if (!lines.empty() && text_width(lines.back()) + 1 + text_width(word) <= width)
            lines.back().append(" ").append(word);
        else
            lines.emplace_back(word);
        start = end;
    }
    return lines;
}

std::string enumeration(const std::vector<std::string> &items, std::string_view last_separator)
{
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0)
            text += i + 1 == items.size() ? last_separator : std::string_view(", ");
        text += items[i];
    }
    return text;
}

std::string joined(const std::vector<std::string> &items, std::string_view separator)
{
    return fmt::format("{}", fmt::join(items, separator));
}

std::string in_quotes(std::string_view name)
{
    return fmt::format("'{}'", name);
}

} // namespace zidlc
