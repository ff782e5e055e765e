// Pieces of lines of text, and numbers in them.

#pragma once

#include <charconv>
#include <cstdint>
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

// "asn:value", 16 bits each, in the low half of 64.
inline std::optional<uint64_t> parse_community(std::string_view text)
{
    bool has_value = false;
    const auto owner = parse_number<uint16_t>(next_field(text, ':', has_value));
    const auto value = parse_number<uint16_t>(text);
    if (!owner || !value)
        return std::nullopt;
    return uint64_t{*owner} << 16 | *value;
}

// A piece of the input as an error shows it: the file may be anything.
std::string shown_text(std::string_view text);

} // namespace ribtool
