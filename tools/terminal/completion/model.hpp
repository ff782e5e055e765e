// What a program takes on its command line, as a shell needs it to complete a word: taken from the options themselves, so that
// completion offers what the help names.

#pragma once

#include <CLI/CLI.hpp>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace terminal::completion
{

struct word {
    std::string text; // one that ends with a colon is the beginning of more: a path follows
    std::string description;
};

// What a kind of value in the help's text, FILE or TYPE, stands for. Neither words nor paths: anything.
struct value_kind {
    std::vector<word> words;
    bool has_files = false;
    bool has_folders = false;
};

// By the name of an option ("--reason"), where its text does not say enough, else by the kind ("TYPE").
using value_kinds = std::map<std::string, value_kind>;

// What an option's value, or what stands at a place, may be.
struct values {
    std::string name;
    value_kind kind;
    bool is_list = false;     // with commas
    bool is_optional = false; // the option is complete without one
};

struct option {
    std::vector<std::string> names; // with their dashes
    std::string description;        // its first part
    std::optional<values> takes;    // nothing: a flag
    bool repeats = false;
    std::vector<std::string> ruled_out; // names of the options that it excludes
};

struct command {
    std::string name;
    std::string description;
    std::vector<option> options;
    std::vector<values> places;
    bool last_place_repeats = false;
};

struct program {
    std::string name;
    command line; // without a name: the program's own options, and places where there are no commands
    std::vector<command> commands;
};

program program_of(const CLI::App &app, const value_kinds &kinds);

} // namespace terminal::completion
