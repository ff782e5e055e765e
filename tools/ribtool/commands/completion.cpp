// ribtool completion: how a shell completes the command line.

#include "tools/terminal/completion/completion.hpp"
#include "inspect/records/record_json.hpp"
#include "inspect/rib_inspect.h"
#include "tools/ribtool/library/update_types.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/output/output_file.hpp"

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace ribtool
{

namespace
{

using terminal::completion::value_kind;
using terminal::completion::word;

value_kind message_types()
{
    value_kind kind;
    for (size_t index = 0; const char *name = rib_message_name(index); ++index)
        kind.words.push_back({name, {}});
    return kind;
}

value_kind type_codes()
{
    value_kind kind;
    for (const update_type &each : update_types())
        kind.words.push_back({std::to_string(each.code), std::string(each.name)});
    return kind;
}

value_kind outcomes()
{
    value_kind kind;
    for (int value = 0; value < RIB_OUTCOME_COUNT; ++value)
        kind.words.push_back({rib_outcome_name(static_cast<rib_outcome>(value)), {}});
    return kind;
}

value_kind reasons()
{
    value_kind kind;
    for (int value = 0; value < RIB_REASON_COUNT; ++value) {
        const auto reason = static_cast<rib_reason>(value);
        kind.words.push_back({rib_reason_name(reason), rib_reason_text(reason)});
    }
    return kind;
}

void add_members(std::set<std::string> &names, const std::vector<rib_inspect::field_selection::part> &parts)
{
    for (const rib_inspect::field_selection::part &each : parts) {
        if (each.member->kind != rib_inspect::member_kind::layout)
            names.emplace(each.member->name());
        add_members(names, each.inside);
    }
}

value_kind record_members()
{
    const rib_inspect::field_selection all;
    std::set<std::string> names;
    for (const rib_inspect::record_type *type : rib_inspect::client_record_types())
        add_members(names, all.of(*type));
    value_kind kind;
    for (const std::string &name : names)
        kind.words.push_back({name, {}});
    return kind;
}

// What the options' texts call FILE and the like, and the options whose values their texts do not tell apart.
terminal::completion::value_kinds kinds()
{
    const value_kind file = {{}, true, false};
    return {
        {"FILE", file},
        {"OUT", file},
        {"SOURCE", file},
        {"A", file},
        {"B", file},
        {"ENDPOINT", {{{"unix:", {}}, {"tcp:", {}}, {"localhost:", {}}}, true, false}},
        {"TABLE", {{{"main", {}}, {"local", {}}, {"default", {}}, {"all", {}}}, false, false}},
        {"TYPE", message_types()},
        {"CODE", type_codes()},
        {"--fields", record_members()},
        {"--only", {{{"dropped", {}}, {"losses", {}}, {"stopped", {}}, {"refused", {}}}, false, false}},
        {"--outcome", outcomes()},
        {"--reason", reasons()},
    };
}

exit_code run(const CLI::App &app, const std::string &shell)
{
    output_file standard_output("-");
    standard_output.write(terminal::completion::script(shell, app, kinds(), "ribtool completion " + shell));
    standard_output.close();
    return EXIT_DONE;
}

} // namespace

command add_completion(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("completion", "Print the script by which a shell completes ribtool's commands, "
                                                      "options and values.");
    const auto shell = std::make_shared<std::string>();
    const std::map<std::string, std::string> shells = {{"bash", "bash"}, {"zsh", "zsh"}, {"fish", "fish"}};
    add_choice(*line, terminal::completion::SHELLS, *shell, shells, "The shell")->option_text(" ")->required();
    return {line, "ribtool completion fish > ~/.config/fish/completions/ribtool.fish",
            [&app, shell] { return run(app, *shell); }};
}

} // namespace ribtool
