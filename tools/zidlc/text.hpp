// Words: how wide they are, how they are cut into lines and strung together.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zidlc
{

// Characters of UTF-8 text; a byte that is not part of a character counts as one.
std::size_t text_width(std::string_view text);

// `words` cut at blanks into lines of at most `width` characters; a longer word gets a line of its own.
std::vector<std::string> wrap(std::string_view words, std::size_t width);

// "a", "a and b", "a, b and c".
std::string enumeration(const std::vector<std::string> &items, std::string_view last_separator = " and ");

std::string joined(const std::vector<std::string> &items, std::string_view separator = ", ");

std::string in_quotes(std::string_view name); // 'name'

} // namespace zidlc
