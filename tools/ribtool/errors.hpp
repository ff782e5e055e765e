// How ribtool fails: one exception type that carries the line for the user and the exit code.

#pragma once

#include "tools/terminal/terminal.hpp"

#include <fmt/format.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace ribtool
{

// The exit codes, as docs/ribtool.md lists them.
enum exit_code : int {
    EXIT_DONE = 0,
    EXIT_UPDATES_FAILED = 1, // the replay ran to its end, but updates were stopped by an assertion or refused
    EXIT_USAGE = 2,
    EXIT_FILE = 3,          // a file cannot be opened, read or written
    EXIT_MALFORMED = 4,     // a file's contents are not what the command reads
    EXIT_INTERRUPTED = 128, // main() ends by the signal that came, whose number shells add to this
};

class failure : public std::runtime_error
{
public:
    failure(exit_code code, const std::string &text) : std::runtime_error(text), code_(code) {}
    exit_code code() const { return code_; }

private:
    exit_code code_;
};

template <class... Arguments>
[[noreturn]] void fail(exit_code code, fmt::format_string<Arguments...> format, Arguments &&...arguments)
{
    throw failure(code, fmt::format(format, std::forward<Arguments>(arguments)...));
}

// A line on the standard error of what does not end the run, or not yet.
template <class... Arguments>
void complain(fmt::format_string<Arguments...> format, Arguments &&...arguments)
{
    terminal::complain("ribtool", fmt::format(format, std::forward<Arguments>(arguments)...));
}

// Thrown where the reader of a pipe has gone: there is nobody left to work for, which is no error.
struct closed_pipe {
};

} // namespace ribtool
