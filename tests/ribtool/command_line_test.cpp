// What ribtool says of its command line, whatever the subcommand.

#include "tests/ribtool/run_ribtool.hpp"

namespace ribtool_test
{

class command_line : public tool_test
{
};

TEST_F(command_line, wrong_usage_is_one_line_and_exit_code_2)
{
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "a command is required: synth, show, replay, "},
        {{"bake"}, "\"bake\" is no command: synth, show, replay, "},
        {{"synth"}, "--output is required"},
        {{"synth", "-o", "x", "--profile", "odd"},
         "--profile: \"odd\" is not one of ecmp, full-table, grid, mixed, nhid, proto-opaque, worst-case"},
        {{"synth", "-o", "x", "--updates", "many"},
         "--updates: \"many\" is not a whole number from 0 to 18446744073709551615"},
        {{"synth", "-o", "x", "--updates", "-1"},
         "--updates: \"-1\" is not a whole number from 0 to 18446744073709551615"},
        {{"synth", "-o", "x", "--seed", "1.5"}, "--seed: \"1.5\" is not a whole number"},
        {{"synth", "-o", "x", "--format", "pcapng"}, "--format: \"pcapng\" is not one of pcap, raw"},
        {{"replay", "x", "--limit", "1k"}, "--limit: \"1k\" is not a whole number"},
        {{"synth", "-o", "x", "--routes", "5"}, "--routes is for the profiles full-table and ecmp; use --updates"},
        {{"synth", "-o", "x", "--profile", "ecmp", "--routes", "5", "--updates", "5"}, "--updates excludes --routes"},
        {{"replay"}, "FILE or --connect is required"},
        {{"replay", "x", "--stripped", "--unstripped"}, "excludes"},
        {{"replay", "x", "--both", "--stripped"}, "excludes"},
        {{"replay", "x", "--json", "y", "--no-json"}, "--json excludes --no-json"},
        {{"import", "x"}, "--output is required"},
        {{"import", "x", "-o", "y", "--updates-per-route", "0"},
         "--updates-per-route: \"0\" is not a whole number from 1 to 18446744073709551615"},
    };
    for (const auto &[arguments, reason] : cases) {
        const run_result result = ribtool(arguments);
        EXPECT_EQ(result.exit_code, 2) << reason;
        EXPECT_EQ(result.out, "") << reason;
        EXPECT_EQ(result.err.rfind("ribtool: ", 0), 0u) << result.err;
        EXPECT_NE(result.err.find(reason), std::string::npos) << reason << "\n" << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        const bool is_of_a_command = !arguments.empty() && arguments[0] != "bake";
        const std::string help = is_of_a_command ? "ribtool " + arguments[0] + " --help" : "ribtool --help";
        EXPECT_NE(result.err.find("(see " + help + ")\n"), std::string::npos) << result.err;
    }
}

TEST_F(command_line, help_names_every_command_option_and_exit_code)
{
    const run_result help = ribtool({"--help"});
    EXPECT_EQ(help.exit_code, 0);
    for (const char *word : {"synth", "replay", "import", "--version", "Exit codes:\n  0  done\n  1  ", "  4  "})
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    const std::pair<const char *, std::vector<const char *>> commands[] = {
        {"synth", {"--profile", "--updates", "--routes", "--seed", "--format", "--output", "worst-case", "100000"}},
        {"replay", {"FILE", "--limit", "--sample", "--json", "--no-json", "--stripped", "--unstripped", "--both"}},
        {"import", {"FILE", "--output", "--limit", "--updates-per-route", "--format"}},
    };
    for (const auto &[command, words] : commands) {
        const run_result result = ribtool({command, "--help"});
        EXPECT_EQ(result.exit_code, 0);
        for (const char *word : words)
            EXPECT_NE(result.out.find(word), std::string::npos) << command << " " << word;
    }
}

TEST_F(command_line, the_help_of_each_command_ends_with_a_call_of_it)
{
    const std::vector<std::string> commands = {
#define COMMAND(name) #name,
#include "tools/ribtool/commands.def"
#undef COMMAND
    };
    for (const std::string &command : commands) {
        const std::string help = ribtool({command, "--help"}).out;
        EXPECT_NE(help.find("Exit codes:\n  0  done\n"), std::string::npos) << command;
        EXPECT_NE(help.find("\nExample: ribtool " + command + " "), std::string::npos) << help;
    }
}

TEST_F(command_line, annotate_does_not_take_digits_without_their_type_for_a_file)
{
    const run_result result = ribtool({"annotate", "08 01"});
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_EQ(result.err,
              "ribtool: 08 01: there is no such file; hexadecimal digits need --code CODE or --message TYPE\n");
}

TEST_F(command_line, the_version_is_that_of_the_library)
{
    const run_result result = ribtool({"--version"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "ribtool " RIBTOOL_VERSION "\n");
}

TEST_F(command_line, text_that_cannot_be_written_to_the_standard_output_is_no_success)
{
    for (const char *option : {"--help", "--version", "replay --help"}) {
        const run_result result = run("/bin/sh", {"-c", std::string(RIBTOOL " ") + option + " >/dev/full"});
        EXPECT_EQ(result.exit_code, 3) << option;
        EXPECT_EQ(result.err, "ribtool: standard output: cannot write: No space left on device\n") << option;
    }
}

} // namespace ribtool_test
