// ribtool: makes, replays and imports streams of framed updates. docs/ribtool.md is the manual.

#include "tools/ribtool/commands.hpp"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <map>
#include <new>
#include <string>

namespace
{

using namespace ribtool;

using names = std::map<std::string, int>;

const names PROFILES = {
    {"proto-opaque", static_cast<int>(profile::proto_opaque)},
    {"full-table", static_cast<int>(profile::full_table)},
    {"ecmp", static_cast<int>(profile::ecmp)},
    {"grid", static_cast<int>(profile::grid)},
    {"nhid", static_cast<int>(profile::nhid)},
    {"mixed", static_cast<int>(profile::mixed)},
    {"worst-case", static_cast<int>(profile::worst_case)},
};

const names FORMATS = {
    {"pcap", static_cast<int>(capture_format::pcap)},
    {"raw", static_cast<int>(capture_format::raw)},
};

// Turns a name into the number of its enumerator.
CLI::Validator one_of(const names &known)
{
    return CLI::Validator(
        [&known](std::string &text) {
            const auto found = known.find(text);
            if (found != known.end()) {
                text = std::to_string(found->second);
                return std::string();
            }
            std::string all;
            for (const auto &each : known)
                all += (all.empty() ? "" : ", ") + each.first;
            return fmt::format("\"{}\" is not one of {}", text, all);
        },
        "");
}

// Left to itself the parser takes "-1" for the largest number.
CLI::Validator whole_number(uint64_t least)
{
    return CLI::Validator(
        [least](std::string &text) {
            uint64_t value = 0;
            const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
            if (result.ec == std::errc() && result.ptr == text.data() + text.size() && value >= least)
                return std::string();
            return fmt::format("\"{}\" is not a whole number from {} to {}", text, least, UINT64_MAX);
        },
        "");
}

constexpr char FOOTER[] =
    "Exit codes:\n"
    "  0  done\n"
    "  1  the replay ran to its end, but updates were refused or would have stopped the process\n"
    "  2  wrong usage\n"
    "  3  a file cannot be opened, read or written\n"
    "  4  a file's contents are not what the command reads\n\n"
    "Example: ribtool synth --profile mixed -o mixed.pcap && ribtool replay mixed.pcap --sample 1";

void add_synth(CLI::App &app, synth_options &options)
{
    CLI::App *command = app.add_subcommand("synth", "Write a stream of generated updates. One seed gives the same "
                                                    "bytes on any machine.");
    command->add_option("--profile", options.kind, "What to generate")
        ->transform(one_of(PROFILES))
        ->option_text("proto-opaque|full-table|ecmp|grid|nhid|mixed|worst-case   (default: mixed)");
    CLI::Option *updates = command
                               ->add_option("--updates", options.updates,
                                            "How many updates (default: 100000; ecmp 10000, grid 1000, worst-case 60)")
                               ->option_text("N")
                               ->check(whole_number(0));
    command->add_option("--routes", options.updates, "The same, for full-table and ecmp, whose updates are routes")
        ->option_text("N")
        ->check(whole_number(0))
        ->excludes(updates);
    command->add_option("--seed", options.seed, "Seed of the random generator (default: 1)")
        ->option_text("S")
        ->check(whole_number(0));
    command->add_option("--format", options.format, "pcap capture or frames one after another (default: pcap)")
        ->transform(one_of(FORMATS))
        ->option_text("pcap|raw");
    command->add_option("-o,--output", options.output, "The file to write, - for the standard output")
        ->option_text("FILE   (required)")
        ->required();
    command->callback([command, &options] {
        const bool of_routes = options.kind == profile::full_table || options.kind == profile::ecmp;
        if (command->count("--routes") > 0 && !of_routes)
            throw CLI::ValidationError("--routes is for the profiles full-table and ecmp; use --updates");
    });
}

void add_replay(CLI::App &app, replay_options &options)
{
    CLI::App *command = app.add_subcommand("replay", "Hand every update of a capture to the library's entry points; "
                                                     "print the client records as JSON Lines and a summary on the "
                                                     "standard error.");
    command->add_option("FILE", options.input, "pcap capture or frames one after another, - for the standard input")
        ->option_text(" ")
        ->required();
    command->add_option("--limit", options.limit, "Stop after N updates")->option_text("N")->check(whole_number(0));
    command->add_option("--sample", options.sample, "Print only the first N records of each type code and form")
        ->option_text("N")
        ->check(whole_number(0));
    CLI::Option *records =
        command->add_option("--json", options.records_path, "Where the records go (default: -, the standard output)")
            ->option_text("FILE|-");
    command
        ->add_flag_callback(
            "--no-json", [&options] { options.print_records = false; }, "Print the summary only")
        ->excludes(records);
    CLI::Option *stripped = command->add_flag_callback(
        "--stripped", [&options] { options.forms = replay_forms::stripped; }, "Hand over payloads only");
    CLI::Option *unstripped = command->add_flag_callback(
        "--unstripped", [&options] { options.forms = replay_forms::unstripped; }, "Hand over whole frames only");
    CLI::Option *both = command->add_flag_callback(
        "--both", [&options] { options.forms = replay_forms::both; }, "Hand over each update both ways (default)");
    stripped->excludes(unstripped, both);
    unstripped->excludes(both);
}

void add_import(CLI::App &app, import_options &options)
{
    CLI::App *command = app.add_subcommand("import", "Turn a text table of routes (plain or xz) into a capture of "
                                                     "encoded route updates.");
    command->add_option("FILE", options.input, "The table, - for the standard input")->option_text(" ")->required();
    command->add_option("-o,--output", options.output, "The file to write, - for the standard output")
        ->option_text("FILE   (required)")
        ->required();
    command->add_option("--limit", options.limit, "Stop after N routes")->option_text("N")->check(whole_number(0));
    command->add_option("--updates-per-route", options.updates_per_route, "Write each route N times (default: 1)")
        ->option_text("N")
        ->check(whole_number(1));
    command->add_option("--format", options.format, "pcap capture or frames one after another (default: pcap)")
        ->transform(one_of(FORMATS))
        ->option_text("pcap|raw");
}

// The one line that CLI11 would spread over three.
exit_code report_usage(const CLI::App &app, const CLI::ParseError &error)
{
    if (error.get_exit_code() == 0)
        return static_cast<exit_code>(app.exit(error)); // --help and --version
    fmt::print(stderr, "ribtool: {} (see ribtool --help)\n", error.what());
    return EXIT_USAGE;
}

exit_code run(int argc, char **argv)
{
    CLI::App app("Makes, replays and imports streams of framed RIB updates.", "ribtool");
    app.set_version_flag("--version", "ribtool " RIBTOOL_VERSION);
    app.require_subcommand(0, 1); // a wrong name is reported by name
    app.footer(FOOTER);
    synth_options synth;
    replay_options replay;
    import_options import;
    add_synth(app, synth);
    add_replay(app, replay);
    add_import(app, import);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return report_usage(app, error);
    }
    if (app.got_subcommand("synth"))
        return run_synth(synth);
    if (app.got_subcommand("replay"))
        return run_replay(replay);
    if (app.got_subcommand("import"))
        return run_import(import);
    fail(EXIT_USAGE, "a command is required: synth, replay or import (see ribtool --help)");
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const ribtool::failure &failure) {
        fmt::print(stderr, "ribtool: {}\n", failure.what());
        return failure.code();
    } catch (const std::bad_alloc &) {
        fmt::print(stderr, "ribtool: out of memory\n");
        return ribtool::EXIT_FILE;
    }
}
