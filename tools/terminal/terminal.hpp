// What both tools keep to where they meet a terminal: colours, its width, bytes that would command it, and a standard error that
// may be closed or full.

#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

namespace terminal
{

// The first thing that main() does. A standard stream that is closed becomes one on which every read or write fails: else the next
// file that is opened would take its place and get what was meant for it. A closed pipe is a failed write from then on, not a signal.
void prepare_streams();

// ---- Colours ----

enum class color_when { automatic, always, never };

// What --color says. `automatic` (the default): on a terminal, unless NO_COLOR is set and not empty or TERM is "dumb".
void set_color(color_when when);
bool wants_color(std::FILE *stream);

enum class style { plain, bold, dim, red, green, yellow, blue, magenta, cyan };

// The text in its style; as it is where the stream wants no colour.
class painter
{
public:
    explicit painter(std::FILE *stream) : enabled_(wants_color(stream)) {}
    explicit painter(bool enabled) : enabled_(enabled) {}
    bool enabled() const { return enabled_; }
    std::string operator()(style how, std::string_view text) const;
    void append(std::string &to, style how, std::string_view text) const;

private:
    bool enabled_;
};

// ---- Room ----

bool is_terminal(std::FILE *stream);
bool is_dumb(); // TERM says so: no colours, no line is drawn twice

// Columns of a terminal (the variable COLUMNS, where it is a number, else what the terminal says); 0 for anything else.
std::size_t width(std::FILE *stream);

// Columns that a text takes. Colours and accents take none, characters of East Asia and pictures two, all others one.
std::size_t columns(std::string_view text);

// The text cut to as many columns, the last of them an ellipsis where something is missing, and colours switched off at the end. 0
// columns: the text as it is.
std::string fitted(std::string_view text, std::size_t columns);

// ---- Names from files ----

// Text for a person: bytes that a terminal would obey (control characters of both sets, changes of the writing direction) and bytes
// that are no UTF-8 as \x1b or \u202e, all others as they are.
std::string visible(std::string_view text);

// The same text with a ? in place of each character that a terminal would obey but tabs, for a caret below it: as many characters.
std::string masked(std::string_view text);

// visible() where the stream is a terminal, else the text as it is, which programs read.
std::string shown_on(std::FILE *stream, std::string_view text);

// ---- The standard error ----

// Writes text as it is: names in it went through shown_on(stderr, ...). That nobody can read it is no failure.
void say(std::string_view text);

template <class... Arguments>
void say(fmt::format_string<Arguments...> format, Arguments &&...arguments) requires(sizeof...(Arguments) > 0)
{
    say(std::string_view(fmt::format(format, std::forward<Arguments>(arguments)...)));
}

// "PROGRAM: TEXT", one line whatever is in the text.
void complain(std::string_view program, std::string_view text);

} // namespace terminal
