#include "tools/terminal/completion/completion.hpp"

namespace terminal::completion
{

std::string script(const std::string &shell, const CLI::App &app, const value_kinds &kinds, const std::string &how)
{
    const program of = program_of(app, kinds);
    if (shell == "bash")
        return bash_script(of, how);
    if (shell == "zsh")
        return zsh_script(of, how);
    return shell == "fish" ? fish_script(of, how) : std::string();
}

} // namespace terminal::completion
