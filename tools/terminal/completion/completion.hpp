// The script by which a shell completes the words of a program's command line. All that it needs is in it: completing starts no
// program.

#pragma once

#include "tools/terminal/completion/model.hpp"

#include <string>

namespace terminal::completion
{

inline constexpr const char *SHELLS = "bash|zsh|fish";

// The script for one of the shells; empty for any other name. `how` is the command that prints it.
std::string script(const std::string &shell, const CLI::App &app, const value_kinds &kinds, const std::string &how);

// One for each shell.
std::string bash_script(const program &of, const std::string &how);
std::string zsh_script(const program &of, const std::string &how);
std::string fish_script(const program &of, const std::string &how);

} // namespace terminal::completion
