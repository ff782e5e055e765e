#include "inspect/formats/json_text.hpp"

#include <cstring>

namespace rib_inspect
{

namespace
{

constexpr char HEX_DIGITS[] = "0123456789abcdef";
constexpr char BASE64_DIGITS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char REPLACEMENT[] = "\xef\xbf\xbd"; // U+FFFD

constexpr uint64_t EACH_BYTE = 0x0101010101010101;
constexpr uint64_t HIGH_BITS = 0x80 * EACH_BYTE;

// Whether one of eight bytes below 0x80 is zero.
constexpr uint64_t zero_bytes(uint64_t ascii)
{
    return (ascii - EACH_BYTE) & HIGH_BITS;
}

// Whether eight bytes are ASCII.
constexpr bool all_ascii(uint64_t bytes)
{
    return (bytes & HIGH_BITS) == 0;
}

// Whether JSON takes eight bytes as they are: printable ASCII but the quote and the backslash.
constexpr bool all_plain(uint64_t bytes)
{
    if (!all_ascii(bytes))
        return false;
    const uint64_t below_blank = (bytes - 0x20 * EACH_BYTE) & HIGH_BITS;
    return (below_blank | zero_bytes(bytes ^ '"' * EACH_BYTE) | zero_bytes(bytes ^ '\\' * EACH_BYTE) |
            zero_bytes(bytes ^ 0x7f * EACH_BYTE)) == 0;
}

constexpr bool is_plain(char c)
{
    return c >= 0x20 && c < 0x7f && c != '"' && c != '\\';
}

template <bool (*all)(uint64_t), class One>
size_t length_of_run(std::string_view text, One one)
{
    size_t len = 0;
    for (uint64_t bytes; len + sizeof bytes <= text.size(); len += sizeof bytes) {
        std::memcpy(&bytes, text.data() + len, sizeof bytes);
        if (!all(bytes))
            break;
    }
    while (len < text.size() && one(text[len]))
        ++len;
    return len;
}

struct utf8_piece {
    size_t len; // of an ill-formed piece: as much as could have begun a sequence, at least one byte
    bool well_formed;
};

struct utf8_lead {
    size_t len;
    uint8_t least_second, greatest_second;
};

// What the first byte of a sequence says about the rest; length 0: none begins with it.
constexpr utf8_lead lead_of(uint8_t first)
{
    if (first < 0xc2)
        return {0, 0, 0};
    if (first < 0xe0)
        return {2, 0x80, 0xbf};
    if (first < 0xf0)
        return {3, static_cast<uint8_t>(first == 0xe0 ? 0xa0 : 0x80),
                static_cast<uint8_t>(first == 0xed ? 0x9f : 0xbf)};
    if (first < 0xf5)
        return {4, static_cast<uint8_t>(first == 0xf0 ? 0x90 : 0x80),
                static_cast<uint8_t>(first == 0xf4 ? 0x8f : 0xbf)};
    return {0, 0, 0};
}

// The piece that a text begins with, which is not empty.
utf8_piece next_piece(std::string_view text)
{
    const auto byte = [text](size_t at) { return static_cast<uint8_t>(text[at]); };
    if (byte(0) < 0x80)
        return {1, true};
    const utf8_lead lead = lead_of(byte(0));
    if (lead.len == 0 || text.size() < 2 || byte(1) < lead.least_second || byte(1) > lead.greatest_second)
        return {1, false};
    size_t len = 2;
    while (len < lead.len && len < text.size() && (byte(len) & 0xc0) == 0x80)
        ++len;
    return {len, len == lead.len};
}

void append_code(std::string &out, uint32_t code)
{
    const char escape[] = {'\\',
                           'u',
                           HEX_DIGITS[code >> 12],
                           HEX_DIGITS[code >> 8 & 15],
                           HEX_DIGITS[code >> 4 & 15],
                           HEX_DIGITS[code & 15]};
    out.append(escape, sizeof escape);
}

void append_escaped(std::string &out, char c)
{
    constexpr std::string_view SHORT = "\"\\\b\f\n\r\t", LETTERS = "\"\\bfnrt";
    if (const size_t which = SHORT.find(c); which != std::string_view::npos) {
        out += '\\';
        out += LETTERS[which];
        return;
    }
    append_code(out, static_cast<uint8_t>(c));
}

void append_character(std::string &out, std::string_view character)
{
    if (character.size() == 1)
        append_escaped(out, character[0]);
    else if (const uint32_t code = invisible_code(character); code != 0)
        append_code(out, code);
    else
        out += character;
}

// The last one or two bytes.
void put_base64_end(char *to, std::span<const uint8_t> rest)
{
    const unsigned first = rest[0], second = rest.size() == 2 ? rest[1] : 0U;
    to[0] = BASE64_DIGITS[first >> 2];
    to[1] = BASE64_DIGITS[(first << 4 | second >> 4) & 63];
    to[2] = rest.size() == 2 ? BASE64_DIGITS[second << 2 & 63] : '=';
    to[3] = '=';
}

void put_base64(char *to, std::span<const uint8_t> bytes)
{
    size_t at = 0;
    for (; at + 3 <= bytes.size(); at += 3, to += 4) {
        const uint32_t group = static_cast<uint32_t>(bytes[at] << 16 | bytes[at + 1] << 8 | bytes[at + 2]);
        to[0] = BASE64_DIGITS[group >> 18];
        to[1] = BASE64_DIGITS[group >> 12 & 63];
        to[2] = BASE64_DIGITS[group >> 6 & 63];
        to[3] = BASE64_DIGITS[group & 63];
    }
    if (at < bytes.size())
        put_base64_end(to, bytes.subspan(at));
}

} // namespace

void append_string(std::string &out, std::string_view text)
{
    out += '"';
    while (!text.empty()) {
        const size_t plain = length_of_run<all_plain>(text, is_plain);
        out.append(text.data(), plain);
        text.remove_prefix(plain);
        if (text.empty())
            break;
        const utf8_piece piece = next_piece(text);
        if (piece.well_formed)
            append_character(out, text.substr(0, piece.len));
        else
            out += REPLACEMENT;
        text.remove_prefix(piece.len);
    }
    out += '"';
}

void append_base64(std::string &out, std::span<const uint8_t> bytes)
{
    const size_t start = out.size();
    const size_t len = (bytes.size() + 2) / 3 * 4;
    out.resize(start + len + 2);
    out[start] = '"';
    put_base64(out.data() + start + 1, bytes);
    out[start + len + 1] = '"';
}

void append_quoted_hex(std::string &out, std::span<const uint8_t> bytes)
{
    const size_t start = out.size();
    out.resize(start + 2 * bytes.size() + 2);
    char *to = out.data() + start;
    *to++ = '"';
    for (const uint8_t byte : bytes) {
        *to++ = HEX_DIGITS[byte >> 4];
        *to++ = HEX_DIGITS[byte & 15];
    }
    *to = '"';
}

uint32_t invisible_code(std::string_view text)
{
    const auto byte = [text](size_t at) { return at < text.size() ? static_cast<uint8_t>(text[at]) : 0U; };
    if (byte(0) == 0xc2 || byte(0) == 0xd8) {
        const uint32_t code = (byte(0) & 0x1fU) << 6 | (byte(1) & 0x3fU);
        return code < 0xa0 || code == 0x061c ? code : 0;
    }
    if (byte(0) != 0xe2 || byte(1) > 0x81)
        return 0;
    const uint32_t code = 0x2000U | (byte(1) & 0x3fU) << 6 | (byte(2) & 0x3fU);
    const bool is_mark = code == 0x200e || code == 0x200f;
    return is_mark || (code >= 0x2028 && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069) ? code : 0;
}

size_t first_invalid_utf8(std::string_view text)
{
    size_t at = 0;
    while (at < text.size()) {
        at += length_of_run<all_ascii>(text.substr(at), [](char c) { return static_cast<uint8_t>(c) < 0x80; });
        if (at == text.size())
            break;
        const utf8_piece piece = next_piece(text.substr(at));
        if (!piece.well_formed)
            return at;
        at += piece.len;
    }
    return std::string_view::npos;
}

std::string replaced_utf8(std::string_view text)
{
    std::string out;
    while (!text.empty()) {
        const utf8_piece piece = next_piece(text);
        out += piece.well_formed ? text.substr(0, piece.len) : REPLACEMENT;
        text.remove_prefix(piece.len);
    }
    return out;
}

void append_utf8(std::string &out, uint32_t code_point)
{
    const auto tail = [&](unsigned shift) { out += static_cast<char>(0x80 | (code_point >> shift & 0x3f)); };
    if (code_point < 0x80) {
        out += static_cast<char>(code_point);
    } else if (code_point < 0x800) {
        out += static_cast<char>(0xc0 | code_point >> 6);
        tail(0);
    } else if (code_point < 0x10000) {
        out += static_cast<char>(0xe0 | code_point >> 12);
        tail(6);
        tail(0);
    } else {
        out += static_cast<char>(0xf0 | code_point >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

} // namespace rib_inspect
