#include "inspect/wire/hex.hpp"

#include <algorithm>

namespace rib_inspect
{

namespace
{

// -1 for what is no digit.
int digit(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    const char lower = static_cast<char>(character | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool stands_between_bytes(char character)
{
    return std::string_view(" \t\r\n:").find(character) != std::string_view::npos;
}

// Every byte has one of these before it, all of them, or none.
void skip_between(std::string_view text, size_t &at)
{
    while (at < text.size() && stands_between_bytes(text[at]))
        ++at;
    if (text.size() - at >= 2 && text[at] == '0' && (text[at + 1] == 'x' || text[at + 1] == 'X'))
        at += 2;
}

} // namespace

text_place place_in(std::string_view text, size_t offset)
{
    const std::string_view before = text.substr(0, offset);
    const size_t line_begin = before.rfind('\n') + 1; // npos + 1 is 0
    return {1 + static_cast<size_t>(std::count(before.begin(), before.end(), '\n')), 1 + offset - line_begin};
}

hex_bytes from_hex(std::string_view text)
{
    hex_bytes result{{}, true, text.size(), nullptr};
    result.bytes.reserve(text.size() / 2);
    const auto fail = [&](size_t offset, const char *expected) {
        result.is_good = false;
        result.offset = offset;
        result.expected = expected;
    };
    for (size_t at = 0;;) {
        const size_t begin = at;
        skip_between(text, at);
        const bool has_prefix = at != begin && (text[at - 1] | 0x20) == 'x';
        if (at == text.size()) {
            if (has_prefix)
                fail(at, "two hexadecimal digits behind 0x");
            return result;
        }
        const int high = digit(text[at]);
        if (high < 0) {
            fail(at, "a hexadecimal digit");
            return result;
        }
        const int low = at + 1 < text.size() ? digit(text[at + 1]) : -1;
        if (low < 0) {
            fail(at + 1, "the second digit of a byte");
            return result;
        }
        result.bytes.push_back(static_cast<uint8_t>(high << 4 | low));
        at += 2;
    }
}

void append_hex(std::string &out, std::span<const uint8_t> bytes, std::string_view between)
{
    constexpr char digits[] = "0123456789abcdef";
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i != 0)
            out += between;
        out += digits[bytes[i] >> 4];
        out += digits[bytes[i] & 15];
    }
}

std::string to_hex(std::span<const uint8_t> bytes, std::string_view between)
{
    std::string text;
    text.reserve(bytes.size() * (2 + between.size()));
    append_hex(text, bytes, between);
    return text;
}

} // namespace rib_inspect
