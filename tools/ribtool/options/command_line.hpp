// What the subcommands have in common on the command line.

#pragma once

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/frames/capture.hpp"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace ribtool
{

// A subcommand whose options have been declared, a call for its help, and what it does once its options are read.
struct command {
    CLI::App *line;
    std::string example;
    std::function<exit_code()> run;
};

// "a, b, c" with `last` between the last two names.
std::string enumerated(const std::vector<std::string> &names, std::string_view last = ", ");

// Left to itself the parser takes "-1" for the largest number.
CLI::Validator whole_number(uint64_t least);

// Also with a fraction; neither infinite nor none, which the parser takes.
CLI::Validator positive_number();

// The type code of an update.
CLI::Validator type_code();

// An option that takes one of a few names, each of which stands for a value that `take` gets.
template <class Value, class Take>
CLI::Option *add_choice(CLI::App &line, const std::string &option, std::map<std::string, Value> choices, Take take,
                        const std::string &description)
{
    const auto choose = [option, take, choices = std::move(choices)](const std::string &text) {
        if (const auto chosen = choices.find(text); chosen != choices.end()) {
            take(chosen->second);
            return;
        }
        std::vector<std::string> names;
        for (const auto &each : choices)
            names.push_back(each.first);
        throw CLI::ValidationError(option, fmt::format("\"{}\" is not one of {}", text, enumerated(names)));
    };
    return line.add_option_function<std::string>(option, choose, description);
}

template <class Value>
CLI::Option *add_choice(CLI::App &line, const std::string &option, Value &out, std::map<std::string, Value> choices,
                        const std::string &description)
{
    return add_choice(
        line, option, std::move(choices), [&out](const Value &value) { out = value; }, description);
}

// --color=auto|always|never, which every command takes, also in front of its name.
void add_color(CLI::App &line);

// --frame N: the options that would choose among several frames are to be excluded.
CLI::Option *add_frame(CLI::App &line, std::optional<uint64_t> &frame);

// --resync, for whatever reads frames that stand one after another.
CLI::Option *add_resync(CLI::App &line, bool &resynchronises);

// --limit N, of `what`.
void add_limit(CLI::App &line, std::optional<uint64_t> &limit, const std::string &what);

// -o FILE and --format of a capture that is written.
void add_output(CLI::App &line, std::string &path);
void add_format(CLI::App &line, capture_format &format);

// --partial, of what ends before its input does.
void add_partial(CLI::App &line, bool &is_partial_kept);

} // namespace ribtool
