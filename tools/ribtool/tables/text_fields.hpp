// Pieces of lines of text, and numbers in them.

#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace ribtool
{

// The text up to the next separator, which is taken off with it; `is_more`: there was a separator, so that a field follows.
inline std::string_view next_field(std::string_view &text, char separator, bool &is_more)
{
    const size_t end = text.find(separator);
    const std::string_view field = text.substr(0, end);
    is_more = end != std::string_view::npos;
    text.remove_prefix(is_more ? end + 1 : text.size());
    return field;
}

// All of the text is the number, or it is none.
template <class Number>
std::optional<Number> parse_number(std::string_view text, int base = 10)
{
    Number value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size())
        return std::nullopt;
    return value;
}

} // namespace ribtool
