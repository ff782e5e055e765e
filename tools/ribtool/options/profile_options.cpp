#include "tools/ribtool/options/profile_options.hpp"

#include "tools/ribtool/options/command_line.hpp"

#include <map>
#include <string>

namespace ribtool
{

namespace
{

CLI::Option *add_profile(CLI::App &line, profile_options &options)
{
    std::map<std::string, const profile *> choices;
    std::string names;
    for (const profile &each : profiles()) {
        choices.emplace(each.name, &each);
        names += fmt::format("{}{}", names.empty() ? "" : "|", each.name);
    }
    return add_choice(line, "--profile", options.kind, choices, "What to generate")
        ->option_text(fmt::format("{}   (default: {})", names, options.kind->name));
}

} // namespace

CLI::Option *add_profile_options(CLI::App &line, profile_options &options)
{
    CLI::Option *kind = add_profile(line, options);
    CLI::Option *updates = line.add_option("--updates", options.updates,
                                           "How many updates (default: 100000; ecmp 10000, grid 1000, worst-case 60)")
                               ->option_text("N")
                               ->check(whole_number(0));
    line.add_option("--routes", options.updates, "The same, for full-table and ecmp, whose updates are routes")
        ->option_text("N")
        ->check(whole_number(0))
        ->excludes(updates);
    line.add_option("--seed", options.seed, "Seed of the random generator (default: 1)")
        ->option_text("S")
        ->check(whole_number(0));
    line.parse_complete_callback([&line, &options] {
        if (line.count("--routes") > 0 && !options.kind->is_of_routes)
            throw CLI::ValidationError("--routes is for the profiles full-table and ecmp; use --updates");
    });
    return kind;
}

} // namespace ribtool
