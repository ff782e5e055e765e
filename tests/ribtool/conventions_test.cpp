// What every command keeps to: streams that are closed or full, pipes whose reader has gone, damaged captures, colours and widths.

#include "tests/ribtool/run_ribtool.hpp"

#include <regex>

namespace ribtool_test
{

namespace
{

const bytes PROTO_UPDATE = {
    0,    0,    0,   0,        // not read
    0,    47,                  // type code
    0,    7,                   // length of the payload
    0x08, 0x07,                // 1 proto_id = 7
    0x22, 0x03, 'b', 'g', 'p', // 4 proto_name = "bgp"
};

std::string text_of(const bytes &contents)
{
    return {contents.begin(), contents.end()};
}

// A command that has something to say on its standard output. FILE is a capture of three updates that is cut in the fourth.
struct talking_command {
    std::string name;
    std::string arguments;
};
const talking_command COMMANDS[] = {
    {"synth", "synth --updates 100 --format raw -o -"},
    {"show", "show FILE"},
    {"replay", "replay FILE"},
    {"explain", "explain FILE"},
    {"annotate", "annotate FILE"},
    {"import", "import TABLE --format raw -o -"},
    {"filter", "filter FILE --format raw -o -"},
    {"diff", "diff TABLE OTHER"},
    {"stats", "stats FILE"},
    {"decode", "decode ip_rib_proto_update --code 47 FILE"},
    {"encode", "encode ip_rib_proto_update MESSAGE"},
    {"serve", "serve TABLE --listen unix:TABLE.socket --clients 0"},
    {"record", "record - --format raw -o - < FILE"},
    {"completion", "completion bash"},
};

// Those of them that read a capture, with what makes them print one line an update.
const std::string READING_COMMANDS[] = {
    "show ",
    "replay --unstripped ",
    "explain --json ",
    "decode ip_rib_proto_update --code 47 ",
};

std::string with(std::string text, std::string_view word, const std::string &replacement)
{
    for (size_t at = 0; (at = text.find(word, at)) != std::string::npos; at += replacement.size())
        text.replace(at, word.size(), replacement);
    return text;
}

// Of the times that stats measures no two runs have the same.
std::string without_times(const talking_command &command, const std::string &text)
{
    return command.name == "stats" ? squeezed(std::regex_replace(text, std::regex("[0-9.]+"), "#")) : text;
}

} // namespace

class conventions : public tool_test
{
protected:
    conventions()
    {
        const bytes cut(PROTO_UPDATE.begin(), PROTO_UPDATE.end() - 1);
        write("cut.raw", joined({PROTO_UPDATE, PROTO_UPDATE, PROTO_UPDATE, cut}));
        write("one.json", "{\"proto_id\": 7}\n");
        write("other.tsv", "10.2.0.0/16\n10.3.0.0/16\n");
        write("table.tsv", "#prefix\tnext_hop\n10.0.0.0/8\t192.0.2.1\n10.1.0.0/16\t192.0.2.1\n");
    }

    std::string line_of(const talking_command &command) const
    {
        std::string line = RIBTOOL " " + command.arguments;
        for (const auto &[word, file] :
             {std::pair("FILE", "cut.raw"), {"TABLE", "table.tsv"}, {"OTHER", "other.tsv"}, {"MESSAGE", "one.json"}})
            line = with(line, word, path(file));
        return line;
    }

    static run_result shell(const std::string &line) { return run("/bin/bash", {"-o", "pipefail", "-c", line}); }
};

TEST_F(conventions, every_command_is_held_to_them)
{
    std::vector<std::string> names;
    for (const talking_command &command : COMMANDS)
        names.push_back(command.name);
    const std::vector<std::string> expected = {
#define COMMAND(name) #name,
#include "tools/ribtool/commands.def"
#undef COMMAND
    };
    EXPECT_EQ(names, expected);
}

TEST_F(conventions, a_standard_error_that_is_closed_or_full_changes_nothing)
{
    for (const talking_command &command : COMMANDS) {
        const run_result expected = shell(line_of(command));
        for (const char *redirection : {" 2>&-", " 2>/dev/full"}) {
            const run_result result = shell(line_of(command) + redirection);
            EXPECT_EQ(result.exit_code, expected.exit_code) << command.name << redirection;
            EXPECT_TRUE(without_times(command, result.out) == without_times(command, expected.out))
                << command.name << redirection;
        }
    }
    for (const char *redirection : {" 2>&-", " 2>/dev/full"}) {
        EXPECT_EQ(shell(std::string(RIBTOOL " replay absent") + redirection).exit_code, 3) << redirection;
        EXPECT_EQ(shell(std::string(RIBTOOL " bake") + redirection).exit_code, 2) << redirection;
    }
}

TEST_F(conventions, a_standard_output_that_is_closed_or_full_is_an_error)
{
    const std::pair<const char *, const char *> cases[] = {
        {" >&-", "ribtool: standard output: cannot write: Bad file descriptor\n"},
        {" >/dev/full", "ribtool: standard output: cannot write: No space left on device\n"},
    };
    for (const talking_command &command : COMMANDS) {
        for (const auto &[redirection, text] : cases) {
            const run_result result = shell(line_of(command) + redirection);
            EXPECT_EQ(result.exit_code, 3) << command.name << redirection;
            EXPECT_NE(result.err.find(text), std::string::npos) << command.name << redirection << "\n" << result.err;
        }
    }
}

TEST_F(conventions, a_file_never_takes_the_place_of_a_closed_standard_stream)
{
    const std::string file = path("out.raw");
    const std::string line = RIBTOOL " import " + path("table.tsv") + " --format raw -o " + file;
    ASSERT_EQ(shell(line).exit_code, 0);
    const bytes expected = read("out.raw");
    EXPECT_EQ(shell(line + " <&- >&- 2>&-").exit_code, 0);
    EXPECT_EQ(read("out.raw"), expected); // without the summary in it
}

TEST_F(conventions, a_pipe_that_its_reader_has_closed_is_no_error)
{
    for (const talking_command &command : COMMANDS) {
        // `true` has ended when the sleep is over.
        const run_result result = shell("(sleep 0.1; exec " + line_of(command) + ") | true");
        EXPECT_EQ(result.exit_code, command.name == "diff" ? 1 : 0) << command.name; // there are differences
        EXPECT_EQ(result.err, "") << command.name;
    }
}

TEST_F(conventions, a_damaged_capture_is_read_up_to_the_damage)
{
    const std::string damage = "ribtool: " + path("cut.raw") +
                               ": frame 4 at byte 45: truncated: its header promises 7 bytes of payload, 6 are left\n";
    for (const std::string &command : READING_COMMANDS) {
        const run_result result = shell(RIBTOOL " " + command + path("cut.raw"));
        EXPECT_EQ(result.exit_code, 4) << command;
        EXPECT_EQ(result.out_lines().size(), 3u) << command;
        EXPECT_EQ(result.err.rfind(damage, 0), 0u) << command << "\n" << result.err;
        const std::string summary = result.err.substr(std::min(damage.size(), result.err.size()));
        const bool has_summary = summary.rfind(path("cut.raw") + ": raw frames, 3 ", 0) == 0;
        EXPECT_EQ(has_summary, command.rfind("decode", 0) != 0) << command << "\n" << result.err;
    }
}

TEST_F(conventions, a_packed_capture_is_read_as_it_would_be_unpacked)
{
    const std::string stream = text_of(joined({PROTO_UPDATE, frame(0, {}), PROTO_UPDATE}));
    for (const std::string &command : READING_COMMANDS) {
        const run_result expected = shell(RIBTOOL " " + command + write("plain", stream));
        ASSERT_EQ(expected.exit_code, 0) << command;
        for (const char *program : {"xz", "gzip", "bzip2", "zstd"}) {
            const std::string file = write("packed", run(program, {"-c"}, stream).out);
            EXPECT_EQ(shell(RIBTOOL " " + command + file).out, expected.out) << command << program;
            EXPECT_EQ(shell(std::string("cat ") + file + " | " RIBTOOL " " + command + "-").out, expected.out)
                << command << program;
        }
    }
}

TEST_F(conventions, a_packed_capture_that_is_cut_is_read_up_to_there)
{
    std::string stream;
    while (stream.size() < 200000)
        stream += text_of(PROTO_UPDATE);
    for (const char *program : {"xz", "gzip", "bzip2", "zstd"}) {
        std::string packed = run(program, {"-c"}, stream).out;
        packed.resize(packed.size() - 3);
        const run_result result = ribtool({"replay", write("cut", packed), "--unstripped"});
        EXPECT_EQ(result.exit_code, 4) << program;
        EXPECT_NE(result.err.find(": cannot unpack: truncated\n"), std::string::npos) << program << "\n" << result.err;
    }
}

// ---- Terminals ----

TEST_F(conventions, no_progress_bar_stands_between_lines_on_a_terminal)
{
    bytes most;
    while (most.size() < 63 * PROTO_UPDATE.size())
        most = joined({most, PROTO_UPDATE});
    write("most", most);
    write("last", PROTO_UPDATE);
    const auto has_bar = [&](const std::string &pause, const std::string &command) {
        const std::string line =
            "{ cat " + path("most") + "; sleep " + pause + "; cat " + path("last") + "; } | " RIBTOOL " " + command;
        return run_on_terminal("/bin/sh", {"-c", line}, 80).find("\x1b[K") != std::string::npos;
    };
    EXPECT_TRUE(has_bar("0.8", "replay - --no-json")); // the bar of this stream
    for (const char *command : {"replay -", "show -", "explain -", "decode ip_rib_proto_update - --code 47"})
        EXPECT_FALSE(has_bar("0.15", command)) << command;
}

TEST_F(conventions, errors_are_coloured_on_terminals_that_want_it)
{
    const std::string colored = "\x1b[31mribtool:\x1b[0m absent: cannot open: No such file or directory\r\n";
    const std::string plain = "ribtool: absent: cannot open: No such file or directory\r\n";
    using variables = std::vector<std::string>;
    EXPECT_EQ(run_on_terminal(RIBTOOL, {"replay", "absent"}, 80), colored);
    EXPECT_EQ(run_on_terminal(RIBTOOL, {"replay", "absent"}, 80, variables{"TERM=dumb"}), plain);
    EXPECT_EQ(run_on_terminal(RIBTOOL, {"replay", "absent"}, 80, variables{"TERM=xterm", "NO_COLOR=1"}), plain);
    EXPECT_EQ(run_on_terminal(RIBTOOL, {"replay", "absent"}, 80, variables{"TERM=xterm", "NO_COLOR="}), colored);
    EXPECT_EQ(run_on_terminal(RIBTOOL, {"replay", "absent", "--color=never"}, 80), plain);
    EXPECT_EQ(run_on_terminal(RIBTOOL, {"--color", "always", "replay", "absent"}, 80, variables{"TERM=dumb"}), colored);
}

TEST_F(conventions, elsewhere_colours_come_only_when_asked_for)
{
    EXPECT_EQ(ribtool({"replay", "absent"}).err, "ribtool: absent: cannot open: No such file or directory\n");
    EXPECT_EQ(ribtool({"replay", "absent", "--color=always"}).err,
              "\x1b[31mribtool:\x1b[0m absent: cannot open: No such file or directory\n");
}

TEST_F(conventions, a_file_name_cannot_command_the_terminal)
{
    const std::string name = "x\x1b]0;title\a";
    EXPECT_EQ(run_on_terminal(RIBTOOL, {"replay", name, "--color=never"}, 80),
              "ribtool: x\\x1b]0;title\\x07: cannot open: No such file or directory\r\n");
    // Programs get the name as it is.
    EXPECT_EQ(ribtool({"replay", name}).err, "ribtool: " + name + ": cannot open: No such file or directory\n");
}

TEST_F(conventions, a_choice_of_colours_that_nobody_knows_is_wrong_usage)
{
    const run_result result = ribtool({"replay", "absent", "--color=sometimes"});
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_EQ(result.err,
              "ribtool: --color: \"sometimes\" is not one of always, auto, never (see ribtool replay --help)\n");
}

} // namespace ribtool_test
