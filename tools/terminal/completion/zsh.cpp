#include "tools/terminal/completion/completion.hpp"
#include "tools/terminal/completion/script_text.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <string_view>

namespace terminal::completion
{

namespace
{

// Text in a specification of _arguments, which stands between single quotes.
std::string escaped(std::string_view text)
{
    std::string safe;
    for (const char c : text) {
        if (c == '\'')
            safe += "'\\''";
        else if (std::string_view("[]:\\").find(c) != std::string_view::npos)
            safe += fmt::format("\\{}", c);
        else
            safe += c;
    }
    return safe;
}

std::string words_of(const value_kind &kind)
{
    std::string all;
    for (const word &each : kind.words)
        all += (all.empty() ? "" : " ") + escaped(each.text);
    return all;
}

// With descriptions, for _describe-like lists in brackets.
std::string described_words_of(const value_kind &kind)
{
    std::string all;
    for (const word &each : kind.words)
        all += fmt::format("{}{}\\:\"{}\"", all.empty() ? "" : " ", escaped(each.text), escaped(each.description));
    return all;
}

std::string action_of(const values &of, const std::string &function)
{
    if (of.is_list)
        return of.kind.words.empty() ? " " : fmt::format("_values -s , {} {}", of.name, words_of(of.kind));
    if (has_prefixes(of.kind))
        return fmt::format("{}_endpoint", function);
    if (!of.kind.words.empty()) {
        const bool is_described = !of.kind.words.front().description.empty();
        return is_described ? fmt::format("(({}))", described_words_of(of.kind))
                            : fmt::format("({})", words_of(of.kind));
    }
    return of.kind.has_files ? "_files" : of.kind.has_folders ? "_files -/" : " ";
}

// One for each name of an option: '(-o --output)--output=[The file to write]:FILE:_files'
std::string specifications_of(const option &of, const std::string &function)
{
    std::string text;
    const std::vector<std::string> ends = ends_of(of);
    const bool is_last = of.names.back() == "--help" || of.names.back() == "--version";
    for (const std::string &name : of.names) {
        const std::string value = of.takes ? fmt::format("{}{}:{}", of.takes->is_optional ? "::" : ":",
                                                         escaped(of.takes->name), action_of(*of.takes, function))
                                           : "";
        const std::string joint = !of.takes ? "" : name.starts_with("--") ? "=" : "+";
        text += fmt::format(" \\\n        '{}{}{}{}[{}]{}'", of.repeats ? "*" : "",
                            is_last        ? "(- *)"
                            : ends.empty() ? ""
                                           : fmt::format("({})", fmt::join(ends, " ")),
                            name, joint, escaped(of.description), value);
    }
    return text;
}

std::string arguments_of(const command &of, const std::string &function)
{
    std::string text;
    for (const option &each : of.options)
        text += specifications_of(each, function);
    for (std::size_t place = 0; place < of.places.size(); ++place) {
        text += fmt::format(" \\\n        '{}:{}:{}'", place_pattern(of, place, "*"), escaped(of.places[place].name),
                            action_of(of.places[place], function));
    }
    return text;
}

const value_kind *endpoints_in(const command &of)
{
    for (const option &each : of.options) {
        if (each.takes && has_prefixes(each.takes->kind))
            return &each.takes->kind;
    }
    return nullptr;
}

// The beginnings of an address, and the paths of sockets with one or without.
std::string endpoint_function(const program &of, const std::string &function)
{
    for (const command &each : of.commands) {
        if (const value_kind *kind = endpoints_in(each))
            return fmt::format("{}_endpoint() {{\n    if compset -P '[a-z]##:'; then\n        _files\n    else\n"
                               "        _alternative 'words:address:compadd -S \"\" {}' 'files:socket:_files'\n"
                               "    fi\n}}\n\n",
                               function, words_of(*kind));
    }
    return "";
}

std::string with_commands(const program &of, const std::string &function)
{
    std::string text =
        fmt::format("    _arguments -C -s -S{} \\\n        '1:command:->command' '*::: :->rest' && ret=0\n",
                    arguments_of(of.line, function));
    text += "    case $state in\n    command)\n        local -a commands=(\n";
    for (const command &each : of.commands)
        text += fmt::format("            '{}:{}'\n", each.name, escaped(each.description));
    text += "        )\n        _describe -t commands command commands && ret=0 ;;\n    rest)\n"
            "        words=($line[1] \"${words[@]}\")\n        (( ++CURRENT ))\n"
            "        curcontext=${curcontext%:*:*}:${service}-$line[1]:\n        case $line[1] in\n";
    for (const command &each : of.commands)
        text += fmt::format("        {}) _arguments -s -S{} && ret=0 ;;\n", each.name, arguments_of(each, function));
    return text + "        esac ;;\n    esac\n";
}

} // namespace

std::string zsh_script(const program &of, const std::string &how)
{
    const std::string &name = of.name;
    const std::string function = "_" + name;
    std::string text =
        fmt::format("#compdef {}\n\n# Completion of {} for zsh. Generated by `{}`.\n\n", name, name, how);
    text += endpoint_function(of, function);
    text +=
        fmt::format("{}() {{\n    local curcontext=$curcontext state line ret=1\n    typeset -A opt_args\n", function);
    text += of.commands.empty() ? fmt::format("    _arguments -s -S{} && ret=0\n", arguments_of(of.line, function))
                                : with_commands(of, function);
    // Sourced, it registers itself; found in the path of functions, it is called at once.
    return text + fmt::format("    return ret\n}}\n\nif [[ $funcstack[1] == {0} ]]; then\n    {0} \"$@\"\nelse\n"
                              "    compdef {0} {1}\nfi\n",
                              function, name);
}

} // namespace terminal::completion
