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

} // namespace

std::size_t columns(std::string_view text)
{
    std::size_t count = 0;
    while (!text.empty()) {
        const std::size_t color = color_len(text);
        count += color == 0;
        text.remove_prefix(color != 0 ? color : std::max<std::size_t>(1, first_character(text).len));
    }
    return count;
}

std::string fitted(std::string_view text, std::size_t columns)
{
    if (columns == 0 || terminal::columns(text) <= columns)
        return std::string(text);
    std::string cut;
    bool is_colored = false;
    for (std::size_t shown = 0; shown + 1 < columns;) {
        const std::size_t color = color_len(text);
        const std::size_t len = color != 0 ? color : std::max<std::size_t>(1, first_character(text).len);
        is_colored |= color != 0;
        shown += color == 0;
        cut += text.substr(0, len);
        text.remove_prefix(len);
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
