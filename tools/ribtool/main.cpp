// ribtool: makes, shows, explains and converts updates. docs/ribtool.md is the manual.

#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/output/interruption.hpp"
#include "tools/ribtool/output/output_file.hpp"
#include "tools/terminal/terminal.hpp"

#include <fmt/format.h>

#include <cstdio>
#include <new>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace ribtool
{

// Each declares its subcommand and the options of it.
#define COMMAND(name) command add_##name(CLI::App &app);
#include "tools/ribtool/commands.def"
#undef COMMAND

} // namespace ribtool

namespace
{

using namespace ribtool;

constexpr std::string_view EXIT_CODES =
    "Exit codes:\n"
    "  0  done\n"
    "  1  all was read, but updates were refused or would have stopped the process (explain: or not all is delivered\n"
    "     without loss; diff: there are differences)\n"
    "  2  wrong usage\n"
    "  3  a file cannot be opened, read or written\n"
    "  4  a file's contents are not what the command reads\n"
    "  A signal (Ctrl-C, SIGTERM, SIGHUP) ends it in order, and then as it ends any program: a shell shows 128 and its "
    "number.";

void add_footer(CLI::App &line, std::string_view example)
{
    line.footer(fmt::format("{}\n\nExample: {}", EXIT_CODES, example));
}

std::vector<command> add_commands(CLI::App &app)
{
    return {
#define COMMAND(name) add_##name(app),
#include "tools/ribtool/commands.def"
#undef COMMAND
    };
}

std::vector<std::string> names_of(const std::vector<command> &commands)
{
    std::vector<std::string> names;
    for (const command &each : commands)
        names.push_back(each.line->get_name());
    return names;
}

// Of a word that is no command the parser says only that it was not expected.
void require_command(const CLI::App &app, const std::vector<command> &commands)
{
    const std::vector<std::string> rest = app.remaining();
    if (app.get_subcommands().empty() && !rest.empty() && !rest.front().starts_with('-'))
        fail(EXIT_USAGE, "\"{}\" is no command: {} (see ribtool --help)", terminal::shown_on(stderr, rest.front()),
             enumerated(names_of(commands), " or "));
}

// Which help has the options that an error is about.
std::string help_of(const CLI::App &app)
{
    const std::vector<CLI::App *> chosen = app.get_subcommands();
    return chosen.empty() ? "ribtool --help" : fmt::format("ribtool {} --help", chosen.front()->get_name());
}

// --help and --version, which are no errors, or the one line that CLI11 would spread over three.
exit_code report_usage(const CLI::App &app, const CLI::ParseError &error)
{
    if (error.get_exit_code() != 0)
        fail(EXIT_USAGE, "{} (see {})", error.what(), help_of(app));
    std::ostringstream text;
    app.exit(error, text, text);
    output_file standard_output("-");
    standard_output.write(text.str());
    standard_output.close();
    return EXIT_DONE;
}

[[noreturn]] void report_no_command(const std::vector<command> &commands)
{
    fail(EXIT_USAGE, "a command is required: {} (see ribtool --help)", enumerated(names_of(commands), " or "));
}

exit_code run(int argc, char **argv)
{
    CLI::App app("Makes, shows, explains and converts RIB updates: see what a client gets of them, and why not.",
                 "ribtool");
    app.set_version_flag("--version", "ribtool " RIBTOOL_VERSION);
    app.require_subcommand(0, 1); // a wrong name is reported by name
    add_footer(app, "ribtool synth --profile mixed -o mixed.pcap && ribtool show mixed.pcap");
    const std::vector<command> commands = add_commands(app);
    add_color(app);
    for (const command &each : commands) {
        add_color(*each.line);
        add_footer(*each.line, each.example);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        require_command(app, commands);
        return report_usage(app, error);
    }
    for (const command &each : commands) {
        if (each.line->parsed())
            return each.run();
    }
    report_no_command(commands);
}

exit_code run_and_report(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const closed_pipe &) {
        return EXIT_DONE;
    } catch (const failure &failure) {
        terminal::complain("ribtool", failure.what());
        return failure.code();
    } catch (const std::bad_alloc &) {
        terminal::complain("ribtool", "out of memory");
        return EXIT_FILE;
    } catch (const std::exception &error) {
        terminal::complain("ribtool", error.what());
        return EXIT_FILE;
    }
}

} // namespace

int main(int argc, char **argv)
{
    terminal::prepare_streams();
    catch_interruptions();
    const exit_code code = run_and_report(argc, argv);
    if (code == EXIT_INTERRUPTED)
        end_as_interrupted();
    return code;
}
