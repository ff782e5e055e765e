#include "tools/terminal/terminal.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <unistd.h>

namespace terminal
{

namespace
{

color_when chosen = color_when::automatic;

constexpr std::string_view RESET = "\x1b[0m";

// No default: the compiler names the style that has no code.
std::string_view start_of(style how)
{
    switch (how) {
    case style::plain:
        return "";
    case style::bold:
        return "\x1b[1m";
    case style::dim:
        return "\x1b[2m";
    case style::red:
        return "\x1b[31m";
    case style::green:
        return "\x1b[32m";
    case style::yellow:
        return "\x1b[33m";
    case style::blue:
        return "\x1b[34m";
    case style::magenta:
        return "\x1b[35m";
    case style::cyan:
        return "\x1b[36m";
    }
    return "";
}

std::string_view variable(const char *name)
{
    const char *value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

} // namespace

void prepare_streams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) >= 0)
            continue;
        // The lowest free number is this one. Opened the wrong way round, so that using it fails.
        const int opened = open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        if (opened >= 0 && opened != stream)
            close(opened);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

void set_color(color_when when)
{
    chosen = when;
}

bool wants_color(std::FILE *stream)
{
    if (chosen != color_when::automatic)
        return chosen == color_when::always;
    return is_terminal(stream) && variable("NO_COLOR").empty() && !is_dumb();
}

void painter::append(std::string &to, style how, std::string_view text) const
{
    if (!enabled_ || how == style::plain || text.empty()) {
        to += text;
        return;
    }
    to += start_of(how);
    to += text;
    to += RESET;
}

std::string painter::operator()(style how, std::string_view text) const
{
    std::string painted;
    append(painted, how, text);
    return painted;
}

bool is_terminal(std::FILE *stream)
{
    return isatty(fileno(stream)) != 0;
}

bool is_dumb()
{
    return variable("TERM") == "dumb";
}

std::size_t width(std::FILE *stream)
{
    if (!is_terminal(stream))
        return 0;
    const std::string_view text = variable("COLUMNS");
    std::size_t columns = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), columns);
    if (read.ec == std::errc() && read.ptr == text.data() + text.size() && columns > 0)
        return columns;
    winsize size = {};
    return ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

// ---- Text ----

namespace
{

// The length of the colour that the text starts with: ESC [ up to the letter. 0: it starts with none.
std::size_t color_len(std::string_view text)
{
    if (!text.starts_with("\x1b["))
        return 0;
    const std::size_t end = text.find_first_not_of("0123456789;", 2);
    return end != std::string_view::npos && text[end] == 'm' ? end + 1 : 0;
}

struct character {
    char32_t code = 0;
    std::size_t len = 0; // 0: no UTF-8
};

// The character that the text, which is not empty, starts with: shortest form only, no half of a pair.
character first_character(std::string_view text)
{
    const auto byte = [&](std::size_t index) { return static_cast<uint8_t>(text[index]); };
    if (byte(0) < 0x80)
        return {byte(0), 1};
    const std::size_t len = byte(0) >= 0xf0 ? 4 : byte(0) >= 0xe0 ? 3 : 2;
    if (byte(0) < 0xc2 || byte(0) > 0xf4 || len > text.size())
        return {};
    char32_t code = byte(0) & (0x7fu >> len);
    for (std::size_t index = 1; index < len; ++index) {
        if ((byte(index) & 0xc0u) != 0x80u)
            return {};
        code = code << 6 | (byte(index) & 0x3fu);
    }
    constexpr std::array<char32_t, 5> LEAST = {0, 0, 0x80, 0x800, 0x10000};
    const bool is_half_of_a_pair = code >= 0xd800 && code <= 0xdfff;
    if (code < LEAST[len] || code > 0x10ffff || is_half_of_a_pair)
        return {};
    return {code, len};
}

bool commands_terminals(char32_t code)
{
    const bool is_control = code < 0x20 || (code >= 0x7f && code <= 0x9f);
    const bool is_line_end = code == 0x2028 || code == 0x2029;
    const bool turns_writing = code == 0x200e || code == 0x200f || code == 0x061c ||
                               (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
    return is_control || is_line_end || turns_writing;
}

struct code_range {
    char32_t first, last;
};

// Written onto the character before them: accents, joiners, variants.
constexpr code_range WITHOUT_WIDTH[] = {
    {0x0300, 0x036f}, {0x1ab0, 0x1aff}, {0x1dc0, 0x1dff}, {0x200b, 0x200d},
    {0x20d0, 0x20ff}, {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f},
};

// The scripts of East Asia, their full-width forms, and pictures.
constexpr code_range OF_TWO_COLUMNS[] = {
    {0x1100, 0x115f},   {0x2e80, 0x303e},   {0x3041, 0xa4cf},   {0xa960, 0xa97f}, {0xac00, 0xd7a3},
    {0xf900, 0xfaff},   {0xfe30, 0xfe6f},   {0xff01, 0xff60},   {0xffe0, 0xffe6}, {0x1f300, 0x1f64f},
    {0x1f680, 0x1f6ff}, {0x1f900, 0x1f9ff}, {0x20000, 0x3fffd},
};

template <std::size_t count>
bool is_in(const code_range (&ranges)[count], char32_t code)
{
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [code](const code_range &range) { return code >= range.first && code <= range.last; });
}

std::size_t columns_of(char32_t code)
{
    if (code < WITHOUT_WIDTH[0].first)
        return 1;
    if (is_in(WITHOUT_WIDTH, code))
        return 0;
    return is_in(OF_TWO_COLUMNS, code) ? 2 : 1;
}

// What the text, which is not empty, starts with: a colour, a character or a byte that is none.
struct piece {
    std::size_t len;
    std::size_t columns;
    bool is_color;
};

piece first_piece(std::string_view text)
{
    if (const std::size_t color = color_len(text); color != 0)
        return {color, 0, true};
    const character first = first_character(text);
    return first.len == 0 ? piece{1, 1, false} : piece{first.len, columns_of(first.code), false};
}

} // namespace

std::size_t columns(std::string_view text)
{
    std::size_t count = 0;
    while (!text.empty()) {
        const piece first = first_piece(text);
        count += first.columns;
        text.remove_prefix(first.len);
    }
    return count;
}

std::string fitted(std::string_view text, std::size_t columns)
{
    if (columns == 0 || terminal::columns(text) <= columns)
        return std::string(text);
    std::string cut;
    bool is_colored = false;
    for (std::size_t shown = 0;;) {
        const piece next = first_piece(text);
        shown += next.columns;
        if (shown >= columns)
            break;
        is_colored |= next.is_color;
        cut += text.substr(0, next.len);
        text.remove_prefix(next.len);
    }
    cut += "…";
    if (is_colored)
        cut += RESET;
    return cut;
}

std::string visible(std::string_view text)
{
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const character first = first_character(text);
        if (first.len == 0)
            shown += fmt::format("\\x{:02x}", static_cast<uint8_t>(text[0]));
        else if (!commands_terminals(first.code))
            shown += text.substr(0, first.len);
        else if (first.code < 0x80)
            shown += fmt::format("\\x{:02x}", static_cast<uint32_t>(first.code));
        else
            shown += fmt::format("\\u{:04x}", static_cast<uint32_t>(first.code));
        text.remove_prefix(std::max<std::size_t>(1, first.len));
    }
    return shown;
}

std::string masked(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const character first = first_character(text);
        const std::string_view bytes = text.substr(0, std::max<std::size_t>(1, first.len));
        const bool is_obeyed = first.len != 0 && first.code != '\t' && commands_terminals(first.code);
        shown += is_obeyed ? "?" : bytes;
        text.remove_prefix(bytes.size());
    }
    return shown;
}

std::string shown_on(std::FILE *stream, std::string_view text)
{
    return is_terminal(stream) ? visible(text) : std::string(text);
}

// ---- The standard error ----

void say(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

void complain(std::string_view program, std::string_view text)
{
    const painter paint(stderr);
    say("{} {}\n", paint(style::red, fmt::format("{}:", program)), shown_on(stderr, text));
}

} // namespace terminal
