// The pieces that JSON is written from, appended to a string: fast enough for every value of every update.

#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace rib_inspect
{

// A number as JSON has it, for those of at most 32 bits: readers keep numbers as doubles, which round those above 2^53.
template <std::integral Number>
inline void append_number(std::string &out, Number value)
{
    char digits[24];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, static_cast<size_t>(end.ptr - digits));
}

// A 64-bit number, as a string.
template <std::integral Number>
inline void append_quoted_number(std::string &out, Number value)
{
    char digits[24];
    digits[0] = '"';
    const std::to_chars_result end = std::to_chars(digits + 1, digits + sizeof digits - 1, value);
    *end.ptr = '"';
    out.append(digits, static_cast<size_t>(end.ptr - digits) + 1);
}

inline void append_bool(std::string &out, bool value)
{
    out += value ? "true" : "false";
}

// A string with its quotes. Characters that a terminal obeys are escaped, whether or not JSON asks for it; others stand as they
// are. Bytes that are no UTF-8 become U+FFFD: whoever must not lose them asks first_invalid_utf8 before.
void append_string(std::string &out, std::string_view text);

// Strings with their quotes: base64 with its padding, lowercase hex.
void append_base64(std::string &out, std::span<const uint8_t> bytes);
void append_quoted_hex(std::string &out, std::span<const uint8_t> bytes);

// The code of the character of more than one byte that the text, which is UTF-8, begins with, if a terminal obeys it instead of
// showing it: controls of two bytes, separators of lines, and those that turn the direction of the text around them. 0 for others.
uint32_t invisible_code(std::string_view text);

// Where the first byte stands that does not belong to well-formed UTF-8 (no surrogates, no overlong forms, nothing above
// U+10FFFF); npos when there is none.
size_t first_invalid_utf8(std::string_view text);

inline bool is_utf8(std::string_view text)
{
    return first_invalid_utf8(text) == std::string_view::npos;
}

// The text with one U+FFFD in place of each piece that is no UTF-8.
std::string replaced_utf8(std::string_view text);

// Appends a code point as UTF-8: no surrogate, at most U+10FFFF.
void append_utf8(std::string &out, uint32_t code_point);

} // namespace rib_inspect
