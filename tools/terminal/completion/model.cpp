#include "tools/terminal/completion/model.hpp"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace terminal::completion
{

namespace
{

// What fits beside a name: up to the first line's end, or where the description goes into detail.
std::string first_part(const std::string &text)
{
    return text.substr(0, std::min({text.find('\n'), text.find(". "), text.find("; ")}));
}

bool is_kind(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isupper(c); });
}

void add(value_kind &to, const value_kind &more)
{
    to.words.insert(to.words.end(), more.words.begin(), more.words.end());
    to.has_files |= more.has_files;
    to.has_folders |= more.has_folders;
}

// One of the alternatives: a kind in capitals, a word that is itself the value, or - for a standard stream, which nobody
// completes.
void add_alternative(value_kind &to, const std::string &text, const value_kinds &kinds)
{
    const auto known = kinds.find(text);
    if (known != kinds.end())
        add(to, known->second);
    else if (!is_kind(text) && text != "-")
        to.words.push_back({text, {}});
}

// "pcap|raw", "FILE|-", "CODE,...", "[SECONDS]", "FILE   (required)".
values values_of(const std::string &name, std::string text, const value_kinds &kinds)
{
    values found;
    found.is_optional = text.front() == '[';
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '[' || c == ']'; }), text.end());
    text = text.substr(0, text.find(' '));
    const std::size_t comma = text.find(',');
    found.is_list = comma != std::string::npos;
    found.name = text.substr(0, comma);
    if (const auto known = kinds.find(name); known != kinds.end()) {
        found.kind = known->second;
        return found;
    }
    for (const std::string &each : CLI::detail::split(found.name, '|'))
        add_alternative(found.kind, each, kinds);
    return found;
}

std::vector<std::string> names_of(const CLI::Option &of)
{
    std::vector<std::string> names;
    for (const std::string &name : of.get_snames())
        names.push_back("-" + name);
    for (const std::string &name : of.get_lnames())
        names.push_back("--" + name);
    return names;
}

option option_of(const CLI::Option &of, const value_kinds &kinds)
{
    option found = {names_of(of), first_part(of.get_description()), {}, false, {}};
    if (of.get_items_expected_max() != 0) {
        found.takes = values_of(found.names.back(), of.get_option_text(), kinds);
        found.repeats = of.get_items_expected_max() > 1;
    }
    for (const CLI::Option *other : of.get_excludes()) {
        if (other->nonpositional())
            for (const std::string &name : names_of(*other))
                found.ruled_out.push_back(name);
    }
    std::sort(found.ruled_out.begin(), found.ruled_out.end()); // the set that they come from is ordered by address
    return found;
}

command command_of(const CLI::App &app, const value_kinds &kinds)
{
    command found = {app.get_name(), first_part(app.get_description()), {}, {}, false};
    for (const CLI::Option *each : app.get_options()) {
        if (each->nonpositional()) {
            found.options.push_back(option_of(*each, kinds));
        } else {
            found.places.push_back(values_of({}, each->get_name(true), kinds));
            found.last_place_repeats = each->get_items_expected_max() > 1;
        }
    }
    return found;
}

} // namespace

program program_of(const CLI::App &app, const value_kinds &kinds)
{
    program found = {app.get_name(), command_of(app, kinds), {}};
    found.line.name.clear();
    for (const CLI::App *each : app.get_subcommands([](const CLI::App *) { return true; }))
        found.commands.push_back(command_of(*each, kinds));
    return found;
}

} // namespace terminal::completion
