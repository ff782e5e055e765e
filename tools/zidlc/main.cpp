// zidlc: compiles message schemas into C headers, codecs, descriptors, proto files and a reference manual.

#include "tools/files/unfinished_file.hpp"
#include "tools/terminal/completion/completion.hpp"
#include "tools/terminal/terminal.hpp"
#include "tools/zidlc/artefacts.hpp"
#include "tools/zidlc/build_model.hpp"
#include "tools/zidlc/depfile.hpp"
#include "tools/zidlc/files.hpp"
#include "tools/zidlc/landings.hpp"
#include "tools/zidlc/loader.hpp"
#include "tools/zidlc/naming.hpp"
#include "tools/zidlc/output.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using namespace zidlc;

enum exit_code { success = 0, schema_errors = 1, usage_or_io = 2, stale = 3 };

constexpr const char *description =
    "Compiles message schemas (.zidl) into C headers, codecs, descriptor tables, proto files,\n"
    "a reference manual and a dissector for Wireshark. The language: man 5 zidl, or docs/schema-language.md.";

constexpr const char *footer =
    "Exit codes: 0 done, 1 errors in a schema, 2 wrong usage or a file that cannot be read or\n"
    "written, 3 files that --check found out of date.";

const std::map<std::string, artefact> artefact_names = {
    {"header", artefact::header}, {"codec", artefact::codec}, {"descriptors", artefact::descriptors},
    {"proto", artefact::proto},   {"docs", artefact::docs},   {"dissector", artefact::dissector},
};

struct options {
    std::vector<std::filesystem::path> files;
    std::vector<std::filesystem::path> include_folders;
    std::filesystem::path output_folder = ".";
    std::vector<std::string> only;
    naming chosen = {.proto_package = {}, .proto_folder = {}}; // empty: follows from the prefix
    std::filesystem::path depfile;
    std::filesystem::path depfile_target;
    std::filesystem::path lands_in;
    std::string protocol;
    std::filesystem::path framing;
    bool check = false;
    std::string completion;

    // What was not chosen follows from the prefix.
    naming names() const
    {
        naming all = chosen;
        if (all.proto_package.empty())
            all.proto_package = all.prefix + ".proto";
        if (all.proto_folder.empty())
            all.proto_folder = all.prefix;
        return all;
    }

    std::set<artefact> wanted() const
    {
        std::set<artefact> found;
        for (const auto &[name, value] : artefact_names) {
            if (only.empty() || std::find(only.begin(), only.end(), name) != only.end())
                found.insert(value);
        }
        return found;
    }
};

void set_color(const std::string &when)
{
    using enum terminal::color_when;
    terminal::set_color(when == "always" ? always : when == "never" ? never : automatic);
}

// What Wireshark takes for one, and filters begin with.
CLI::Validator protocol_name()
{
    return CLI::Validator(
        [](const std::string &name) {
            const bool is_name =
                !name.empty() && name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_") == std::string::npos;
            return is_name ? std::string() : fmt::format("'{}' is not of lower-case letters, digits and _", name);
        },
        "");
}

using objection = std::string (*)(std::string_view);

CLI::Validator without(objection to)
{
    return CLI::Validator(
        [to](const std::string &value) {
            const std::string why = to(value);
            return why.empty() ? why : fmt::format("'{}' will not do: {}", value, why);
        },
        "");
}

void declare_names(CLI::App &app, naming &names)
{
    app.add_option("--prefix", names.prefix,
                   "What C names begin with, and the namespace of the descriptors\n"
                   "(default: zidl). Two schemas whose messages are called the same\n"
                   "go into one program under two prefixes")
        ->option_text("NAME")
        ->check(without(objection_to_prefix));
    app.add_option("--folder", names.folder,
                   "Write C and C++ files to FOLDER, and include them as FOLDER/GROUP.h\n"
                   "(default: messages)")
        ->option_text("FOLDER")
        ->check(without(objection_to_folder));
    app.add_option("--proto-package", names.proto_package, "The package of proto files (default: PREFIX.proto)")
        ->option_text("NAME")
        ->check(without(objection_to_package));
    app.add_option("--proto-folder", names.proto_folder,
                   "Write proto files to proto/FOLDER, and import them as\n"
                   "FOLDER/GROUP.proto (default: PREFIX)")
        ->option_text("FOLDER")
        ->check(without(objection_to_folder));
}

void declare(CLI::App &app, options &chosen)
{
    app.add_option("FILE", chosen.files, "Schemas, each called GROUP.zidl")->option_text("...");
    app.add_option("-I", chosen.include_folders, "Search DIR, too, for the groups that a schema uses")
        ->option_text("DIR")
        ->allow_extra_args(false);
    app.add_option("-o", chosen.output_folder, "Write below DIR instead of the current folder")->option_text("DIR");
    app.add_option("--only", chosen.only, "Write only some of: header,codec,descriptors,proto,docs,dissector")
        ->option_text("WHAT,...")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::IsMember({"header", "codec", "descriptors", "proto", "docs", "dissector"}));
    declare_names(app, chosen.chosen);
    CLI::Option *depfile =
        app.add_option("--depfile", chosen.depfile,
                       "Write to FILE, as Make and Ninja read it, which schemas the generated files\n"
                       "come from; also -MD FILE, as compilers call it")
            ->option_text("FILE");
    app.add_option("--depfile-target", chosen.depfile_target,
                   "With --depfile: say it of FILE alone instead of the generated files; also\n"
                   "-MT FILE. Files that do not change keep their time: a file that a rule touches\n"
                   "says when zidlc ran")
        ->option_text("FILE")
        ->needs(depfile);
    app.add_option("--lands-in", chosen.lands_in,
                   "Show in the manual where fields land, as FILE says: lines of message, field,\n"
                   "way to it and landing with tabs between, behind a header line")
        ->option_text("FILE");
    CLI::Option *protocol = app.add_option("--protocol", chosen.protocol,
                                           "Write wireshark/NAME.lua, too, a dissector for the protocol NAME")
                                ->option_text("NAME")
                                ->check(protocol_name());
    app.add_option("--framing", chosen.framing,
                   "With --protocol: how its messages travel, in Lua, as man zidlc says\n"
                   "(default: a packet is one message, without a frame)")
        ->option_text("FILE")
        ->needs(protocol);
    app.add_flag("--check", chosen.check, "Write nothing; list the files that a run would change");
    app.add_option_function<std::string>("--color", set_color,
                                         "When to write in colours (default: auto, on a terminal that\n"
                                         "NO_COLOR and TERM=dumb do not forbid)")
        ->option_text("auto|always|never")
        ->check(CLI::IsMember({"auto", "always", "never"}));
    app.add_option("--completion", chosen.completion,
                   "Instead print the script by which a shell completes this command line")
        ->option_text(terminal::completion::SHELLS)
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    app.parse_complete_callback([&chosen] {
        if (chosen.files.empty() && chosen.completion.empty())
            throw CLI::RequiredError("FILE");
    });
    app.set_version_flag("--version", "zidlc " ZIDLC_VERSION);
    app.footer(footer);
}

int report(const diagnostics &errors)
{
    const std::size_t count = errors.count();
    const std::size_t most = diagnostics::most_reports;
    terminal::say(errors.text(terminal::wants_color(stderr)));
    terminal::complain("zidlc", fmt::format("{} error{}{}", count, count == 1 ? "" : "s",
                                            count > most ? fmt::format(", of which {} are shown", most) : ""));
    return schema_errors;
}

// Text that cannot be written is a failure, unless its reader has closed the pipe: nobody wants it then.
void print(const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    if (std::fflush(stdout) != 0 && errno != EPIPE)
        throw unwritable_file(fmt::format("standard output: cannot write: {}", std::strerror(errno)));
}

int report_stale(const std::vector<std::string> &paths)
{
    std::string text;
    for (const std::string &path : paths)
        text += fmt::format("out of date: {}\n", terminal::shown_on(stdout, path));
    print(text);
    return paths.empty() ? success : stale;
}

protocol protocol_of(const options &chosen)
{
    if (chosen.protocol.empty() && std::count(chosen.only.begin(), chosen.only.end(), "dissector") != 0)
        throw std::runtime_error("a dissector needs a name: --protocol NAME");
    if (chosen.framing.empty())
        return {chosen.protocol, {}, {}};
    std::string error;
    const std::string framing = contents(chosen.framing, error);
    if (!error.empty())
        throw std::runtime_error(fmt::format("cannot read '{}': {}", chosen.framing.string(), error));
    return {chosen.protocol, "wireshark/" + chosen.framing.filename().string(), framing};
}

std::vector<std::filesystem::path> depfile_targets(const std::vector<generated_file> &generated, const options &chosen)
{
    if (!chosen.depfile_target.empty())
        return {chosen.depfile_target};
    std::vector<std::filesystem::path> targets;
    for (const generated_file &file : generated)
        targets.push_back(chosen.output_folder / file.path);
    return targets;
}

int compile(const options &chosen)
{
    diagnostics errors;
    const auto files = load(chosen.files, chosen.include_folders, errors);
    model all;
    if (errors.empty())
        all = build_model(files, errors, chosen.names());
    if (!errors.empty())
        return report(errors);
    const landings known = chosen.lands_in.empty() ? landings() : landings::read_file(chosen.lands_in);
    const std::vector<generated_file> generated = generate(all, chosen.wanted(), known, protocol_of(chosen));
    if (chosen.check)
        return report_stale(stale_files(generated, chosen.output_folder));
    std::optional<generated_file> dependencies;
    if (!chosen.depfile.empty())
        dependencies = {chosen.depfile, depfile(depfile_targets(generated, chosen), files, chosen.framing)};
    write_changed(generated, chosen.output_folder, dependencies);
    return success;
}

int print_completion(const CLI::App &app, const std::string &shell)
{
    terminal::completion::value_kind artefacts;
    for (const auto &[name, value] : artefact_names)
        artefacts.words.push_back({name, {}});
    const terminal::completion::value_kinds kinds = {
        {"FILE", {{}, true, false}}, {"DIR", {{}, false, true}}, {"--only", artefacts}};
    print(terminal::completion::script(shell, app, kinds, "zidlc --completion " + shell));
    return success;
}

// The arguments, the last one first. The library that reads them knows no names of two letters behind one dash.
std::vector<std::string> reversed_arguments(int argc, char **argv)
{
    std::vector<std::string> arguments(std::reverse_iterator(argv + argc), std::reverse_iterator(argv + 1));
    std::replace(arguments.begin(), arguments.end(), std::string("-MD"), std::string("--depfile"));
    std::replace(arguments.begin(), arguments.end(), std::string("-MT"), std::string("--depfile-target"));
    return arguments;
}

int report_usage(const CLI::App &app, const CLI::ParseError &status)
{
    if (status.get_exit_code() == 0) { // help or version
        std::ostringstream text;
        app.exit(status, text, text);
        print(text.str());
        return success;
    }
    terminal::complain("zidlc", fmt::format("{}: see zidlc --help", status.what()));
    return usage_or_io;
}

// Nothing of what is not finished stays behind.
void on_signal(int number)
{
    files::remove_unfinished_files();
    std::signal(number, SIG_DFL);
    std::raise(number); // waits until this function returns
}

// Of a signal that the caller ignores nothing is to be heard here either.
void remove_unfinished_files_on_signals()
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        if (std::signal(number, on_signal) == SIG_IGN)
            std::signal(number, SIG_IGN);
    }
}

} // namespace

int main(int argc, char **argv)
{
    terminal::prepare_streams();
    remove_unfinished_files_on_signals();
    options chosen;
    CLI::App app(description, "zidlc");
    declare(app, chosen);
    try {
        try {
            app.parse(reversed_arguments(argc, argv));
        } catch (const CLI::ParseError &status) {
            return report_usage(app, status);
        }
        return chosen.completion.empty() ? compile(chosen) : print_completion(app, chosen.completion);
    } catch (const std::exception &failure) {
        terminal::complain("zidlc", failure.what());
        return usage_or_io;
    }
}
