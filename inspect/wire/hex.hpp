// Bytes as hexadecimal digits and back, as people paste them: blanks, line ends, colons and 0x between bytes.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace rib_inspect
{

// Where a text does not fit, for people: both from 1.
struct text_place {
    size_t line;
    size_t column;
};

text_place place_in(std::string_view text, size_t offset);

struct hex_bytes {
    std::vector<uint8_t> bytes; // up to the first character that does not fit
    bool is_good;
    size_t offset;        // of that character, or the text's length
    const char *expected; // what should stand there; null when all is well
};

// Two digits, of either case, are a byte. Between bytes there may be blanks, tabs, line ends and colons, and "0x" before any
// byte.
hex_bytes from_hex(std::string_view text);

// Lower case; `between` stands between bytes.
void append_hex(std::string &out, std::span<const uint8_t> bytes, std::string_view between = "");
std::string to_hex(std::span<const uint8_t> bytes, std::string_view between = "");

} // namespace rib_inspect
