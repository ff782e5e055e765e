// zidlc as a program: what it writes, what it says, how it ends.

#include "tests/zidlc/support.hpp"

#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <thread>
#include <unistd.h>

namespace zidlc
{

namespace
{

struct run_result {
    int status;
    std::string out;
    std::string err;
};

class zidlc_program : public in_fresh_folder
{
protected:
    void SetUp() override
    {
        in_fresh_folder::SetUp();
        write("a.zidl", "group a;\nmessage m { 1 x : u32; }\n");
    }

    static run_result run(const std::string &arguments)
    {
        const int status = std::system((std::string(ZIDLC_PROGRAM) + " " + arguments + " >out 2>err").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("out"), read("err")};
    }

    // In the background, where an interruption ends it as in a terminal.
    static pid_t start(std::vector<std::string> arguments)
    {
        std::vector<char *> pointers;
        for (std::string &each : arguments)
            pointers.push_back(each.data());
        pointers.push_back(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            std::signal(SIGINT, SIG_DFL);
            execv(pointers.front(), pointers.data());
            _exit(127);
        }
        return child;
    }

    static std::vector<std::string> files_below(const std::string &folder)
    {
        std::vector<std::string> files;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file())
                files.push_back(std::filesystem::relative(entry.path(), folder).string());
        }
        std::sort(files.begin(), files.end());
        return files;
    }
};

} // namespace

TEST_F(zidlc_program, a_good_schema_gives_all_files_and_0)
{
    const run_result result = run("-o new/tree a.zidl");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(files_below("new/tree"),
              (std::vector<std::string>{"docs/messages/README.md", "docs/messages/a.md", "messages/a.cpp",
                                        "messages/a.h", "messages/a.hpp", "messages/a.message.hpp",
                                        "messages/descriptors.cpp", "messages/descriptors.hpp", "proto/zidl/a.proto"}));
}

TEST_F(zidlc_program, only_what_is_asked_for_is_written)
{
    EXPECT_EQ(run("-o tree --only header,proto a.zidl").status, 0);
    EXPECT_EQ(files_below("tree"),
              (std::vector<std::string>{"messages/a.h", "messages/a.message.hpp", "proto/zidl/a.proto"}));
    EXPECT_EQ(run("-o more --only codec --only docs a.zidl").status, 0);
    EXPECT_EQ(files_below("more"), (std::vector<std::string>{"docs/messages/README.md", "docs/messages/a.md",
                                                             "messages/a.cpp", "messages/a.hpp"}));
}

TEST_F(zidlc_program, the_current_folder_is_where_files_go_by_default)
{
    EXPECT_EQ(run("--only header a.zidl").status, 0);
    EXPECT_TRUE(std::filesystem::exists("messages/a.h"));
}

TEST_F(zidlc_program, groups_are_searched_in_the_folders_given)
{
    write("b.zidl", "group b;\nuse c;\nmessage n { 1 x : o; }\n");
    write("lib/c.zidl", "group c;\nmessage o { 1 x : u32; }\n");
    EXPECT_EQ(run("--only header b.zidl").status, 1);
    EXPECT_EQ(run("--only header -I elsewhere -I lib b.zidl").status, 0);
}

TEST_F(zidlc_program, files_that_do_not_change_are_not_touched)
{
    ASSERT_EQ(run("-o tree a.zidl").status, 0);
    const auto long_ago = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    std::filesystem::last_write_time("tree/messages/a.h", long_ago);
    write("tree/proto/zidl/a.proto", "something else");
    ASSERT_EQ(run("-o tree a.zidl").status, 0);
    EXPECT_EQ(std::filesystem::last_write_time("tree/messages/a.h"), long_ago);
    EXPECT_NE(read("tree/proto/zidl/a.proto"), "something else");
}

TEST_F(zidlc_program, a_protocol_has_a_dissector_with_its_framing)
{
    write("frames.lua", "-- eight bytes\n");
    EXPECT_EQ(run("-o tree --protocol a_b2 --framing frames.lua -MD a.d a.zidl").status, 0);
    EXPECT_NE(read("tree/wireshark/a_b2.lua").find("local function load_framing(...)\n-- eight bytes\nend\n"),
              std::string::npos);
    EXPECT_NE(read("a.d").find(" frames.lua"), std::string::npos);
    EXPECT_EQ(run("-o tree --protocol plain a.zidl").status, 0);
    EXPECT_NE(read("tree/wireshark/plain.lua").find("a protocol of its own"), std::string::npos);
}

TEST_F(zidlc_program, a_protocol_that_wireshark_would_not_take_is_refused)
{
    for (const char *name : {"Rib", "a.b", "a/b", "''"})
        EXPECT_EQ(run(std::string("--protocol ") + name + " a.zidl").status, 2) << name;
    EXPECT_EQ(run("--framing a.zidl a.zidl").status, 2);
    EXPECT_EQ(run("--only dissector a.zidl").err, "zidlc: a dissector needs a name: --protocol NAME\n");
    EXPECT_EQ(run("--protocol a --framing missing.lua a.zidl").err,
              "zidlc: cannot read 'missing.lua': No such file or directory\n");
}

TEST_F(zidlc_program, check_is_silent_about_a_fresh_tree)
{
    ASSERT_EQ(run("-o tree a.zidl").status, 0);
    const run_result result = run("--check -o tree a.zidl");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
}

TEST_F(zidlc_program, check_lists_what_is_out_of_date_writes_nothing_and_gives_3)
{
    ASSERT_EQ(run("-o tree a.zidl").status, 0);
    write("tree/proto/zidl/a.proto", "something else");
    std::filesystem::remove("tree/messages/a.h");
    const run_result result = run("--check -o tree a.zidl");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "out of date: tree/messages/a.h\n"
                          "out of date: tree/proto/zidl/a.proto\n");
    EXPECT_EQ(read("tree/proto/zidl/a.proto"), "something else");
    EXPECT_FALSE(std::filesystem::exists("tree/messages/a.h"));
}

TEST_F(zidlc_program, a_depfile_says_which_schemas_the_generated_files_come_from)
{
    write("b.zidl", "group b;\nuse c;\nmessage n { 1 x : o; }\n");
    write("l i$b/c.zidl", "group c;\nmessage o { 1 x : u32; }\n");
    const std::string rule =
        "tree/messages/b.h tree/messages/b.message.hpp tree/messages/b.hpp tree/messages/b.cpp: \\\n"
        "  l\\ i$$b/c.zidl \\\n"
        "  b.zidl\n";
    EXPECT_EQ(run("-I 'l i$b' -o tree --only header,codec -MD b.d b.zidl").status, 0);
    EXPECT_EQ(read("b.d"), rule);
    EXPECT_EQ(run("-I 'l i$b' -o tree --only header,codec --depfile deps/b.d b.zidl").status, 0);
    EXPECT_EQ(read("deps/b.d"), rule);
}

TEST_F(zidlc_program, a_depfile_speaks_of_another_file_where_told_to)
{
    EXPECT_EQ(run("-o tree --only header -MD a.d -MT 'done already' a.zidl").status, 0);
    EXPECT_EQ(read("a.d"), "done\\ already: \\\n"
                           "  a.zidl\n");
}

TEST_F(zidlc_program, no_depfile_is_written_where_nothing_else_is)
{
    write("b.zidl", "group b;\n7\n");
    EXPECT_EQ(run("-MD b.d b.zidl").status, 1);
    EXPECT_EQ(run("--check -MD b.d a.zidl").status, 3);
    EXPECT_FALSE(std::filesystem::exists("b.d"));
    EXPECT_EQ(run("-o tree -MD a.zidl/b.d a.zidl").err,
              "zidlc: cannot write 'a.zidl/b.d': Not a directory: write elsewhere\n");
}

TEST_F(zidlc_program, where_the_depfile_cannot_be_written_no_file_changes)
{
    EXPECT_EQ(run("-o tree -MD a.zidl/b.d a.zidl").status, 2);
    EXPECT_EQ(files_below("tree"), std::vector<std::string>());
    ASSERT_EQ(run("-o tree -MD b.d a.zidl").status, 0);
    const std::vector<std::string> files = files_below("tree");
    const std::string header = read("tree/messages/a.h");
    write("a.zidl", "group a;\nmessage other { 1 x : u32; }\n");
    EXPECT_EQ(run("-o tree -MD /dev/full a.zidl").err,
              "zidlc: cannot write '/dev/full': No space left on device: make room, or write elsewhere\n");
    EXPECT_EQ(files_below("tree"), files);
    EXPECT_EQ(read("tree/messages/a.h"), header);
}

// A rule whose target is the depfile runs again until that is newer than the schema.
TEST_F(zidlc_program, a_depfile_is_written_also_where_it_does_not_change)
{
    ASSERT_EQ(run("-o tree -MD b.d a.zidl").status, 0);
    const auto long_ago = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    std::filesystem::last_write_time("b.d", long_ago);
    ASSERT_EQ(run("-o tree -MD b.d a.zidl").status, 0);
    EXPECT_GT(std::filesystem::last_write_time("b.d"), long_ago);
}

// The folder for the depfile takes the name of the second file after that is whole.
TEST_F(zidlc_program, a_file_that_cannot_take_its_name_leaves_those_before_it_finished_and_none_unfinished)
{
    EXPECT_EQ(run("-o tree --only header -MD tree/messages/a.message.hpp/b.d a.zidl").err,
              "zidlc: cannot write 'tree/messages/a.message.hpp': Is a directory: write elsewhere\n");
    EXPECT_EQ(files_below("tree"), std::vector<std::string>{"messages/a.h"});
}

// All files are whole but unfinished while the pipe for the depfile waits for its reader.
TEST_F(zidlc_program, a_signal_leaves_none_of_many_unfinished_files)
{
    constexpr int groups = 40;
    std::vector<std::string> arguments = {ZIDLC_PROGRAM, "--only", "header,codec", "-o", "tree", "-MD", "pipe"};
    for (int i = 0; i < groups; ++i) {
        const std::string name = "g" + std::to_string(i);
        write(name + ".zidl", "group " + name + ";\nmessage m" + name + " { 1 x : u32; }\n");
        arguments.push_back(name + ".zidl");
    }
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    std::filesystem::create_directory("tree");
    const pid_t child = start(arguments);
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (files_below("tree").size() < 4 * groups && std::chrono::steady_clock::now() < give_up)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(files_below("tree").size(), 4u * groups);
    kill(child, SIGINT);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
    EXPECT_EQ(files_below("tree"), std::vector<std::string>());
}

TEST_F(zidlc_program, errors_in_a_schema_give_1_and_no_file)
{
    write("b.zidl", "group b;\nmessage n {\n    1 x : nothing;\n    1 y : u32;\n}\n");
    const run_result result = run("-o tree a.zidl b.zidl");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "b.zidl:3:11: error: unknown type 'nothing'\n"
                          "    1 x : nothing;\n"
                          "          ^~~~~~~\n"
                          "b.zidl:4:5: error: number 1 is taken by 'x'\n"
                          "    1 y : u32;\n"
                          "    ^\n"
                          "b.zidl:3:5: note: first used here\n"
                          "    1 x : nothing;\n"
                          "    ^\n"
                          "zidlc: 2 errors\n");
    EXPECT_FALSE(std::filesystem::exists("tree"));
}

TEST_F(zidlc_program, errors_of_grammar_in_several_files_are_reported_in_one_run)
{
    write("b.zidl", "group b\nmessage n { 1 x : u32; }\n");
    write("c.zidl", "message o { 1 x : u32; }\n");
    const run_result result = run("c.zidl b.zidl");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "b.zidl:1:8: error: expected ';'\n"
                          "group b\n"
                          "       ^\n"
                          "c.zidl:1:1: error: expected 'group NAME;' before anything else, not 'message'\n"
                          "message o { 1 x : u32; }\n"
                          "^~~~~~~\n"
                          "zidlc: 2 errors\n");
}

TEST_F(zidlc_program, a_file_that_cannot_be_read_gives_2_and_the_reason)
{
    const run_result missing = run("missing.zidl");
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.err, "zidlc: cannot read 'missing.zidl': No such file or directory\n");

    std::filesystem::create_directory("folder.zidl");
    const run_result folder = run("folder.zidl");
    EXPECT_EQ(folder.status, 2);
    EXPECT_EQ(folder.err, "zidlc: cannot read 'folder.zidl': Is a directory\n");
}

TEST_F(zidlc_program, a_file_that_never_ends_gives_2)
{
    std::filesystem::create_symlink("/dev/zero", "endless.zidl");
    const run_result result = run("endless.zidl");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "zidlc: cannot read 'endless.zidl': it holds more than 16777216 bytes\n");
}

TEST_F(zidlc_program, of_many_errors_the_first_hundred_are_shown)
{
    write("b.zidl", "group b;\n" + std::string(1000000, '@'));
    const run_result result = run("b.zidl");
    EXPECT_EQ(result.status, 1);
    EXPECT_LT(result.err.size(), 100000u);
    EXPECT_NE(result.err.find("b.zidl:2:100: error: unexpected character '@'\n"), std::string::npos);
    EXPECT_EQ(result.err.find("b.zidl:2:101:"), std::string::npos);
    EXPECT_NE(result.err.find("\nzidlc: 1000000 errors, of which 100 are shown\n"), std::string::npos);
}

TEST_F(zidlc_program, a_file_of_another_name_gives_2)
{
    write("a.txt", "group a;\n");
    const run_result result = run("a.txt");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "zidlc: 'a.txt' is no schema file: it is not called GROUP.zidl\n");
}

TEST_F(zidlc_program, two_files_of_one_group_give_2)
{
    write("other/a.zidl", "group a;\nmessage m { 1 x : u32; }\n");
    const run_result result = run("a.zidl other/a.zidl");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "zidlc: 'a.zidl' and 'other/a.zidl' are the same group\n");
    EXPECT_EQ(run("--only header a.zidl ./a.zidl").status, 0);
}

TEST_F(zidlc_program, a_place_that_cannot_be_written_gives_2_and_the_reason)
{
    write("file", "");
    const run_result no_folder = run("-o file a.zidl");
    EXPECT_EQ(no_folder.status, 2);
    EXPECT_EQ(no_folder.err, "zidlc: cannot write 'file/messages/a.h': Not a directory: write elsewhere\n");

    std::filesystem::create_directories("tree/messages/a.h");
    const run_result no_file = run("-o tree a.zidl");
    EXPECT_EQ(no_file.status, 2);
    EXPECT_EQ(no_file.err, "zidlc: cannot write 'tree/messages/a.h': Is a directory: write elsewhere\n");
}

// A limit on the size of files fails a write in its middle, as a full disk does.
TEST_F(zidlc_program, a_full_disk_gives_2_and_leaves_everything_as_it_was)
{
    ASSERT_EQ(run("-o tree a.zidl").status, 0);
    const std::vector<std::string> files = files_below("tree");
    const std::string header = read("tree/messages/a.h");
    write("a.zidl", "group a;\nmessage other { 1 x : u32; }\n");
    const int status = std::system("trap '' XFSZ; ulimit -f 1; " ZIDLC_PROGRAM " -o tree a.zidl 2>err");
    EXPECT_EQ(WEXITSTATUS(status), 2);
    EXPECT_EQ(read("err"), "zidlc: cannot write 'tree/messages/a.h': File too large: write elsewhere\n");
    EXPECT_EQ(files_below("tree"), files);
    EXPECT_EQ(read("tree/messages/a.h"), header);
}

TEST_F(zidlc_program, names_of_generated_code_are_chosen)
{
    EXPECT_EQ(
        run("-o tree --prefix acme --folder acme/net --proto-folder acme-protos --proto-package acme.v1 a.zidl").status,
        0);
    EXPECT_EQ(files_below("tree"),
              (std::vector<std::string>{"acme/net/a.cpp", "acme/net/a.h", "acme/net/a.hpp", "acme/net/a.message.hpp",
                                        "acme/net/descriptors.cpp", "acme/net/descriptors.hpp",
                                        "docs/messages/README.md", "docs/messages/a.md", "proto/acme-protos/a.proto"}));
    const std::string header = read("tree/acme/net/a.h");
    EXPECT_NE(header.find("#ifndef ACME_NET_A_H\n#define ACME_NET_A_H\n"), std::string::npos);
    EXPECT_NE(header.find("} acme_m;\n"), std::string::npos) << header;
    EXPECT_EQ(header.find("zidl_m"), std::string::npos);
    EXPECT_NE(read("tree/acme/net/a.cpp").find("#include \"acme/net/a.hpp\"\n"), std::string::npos);
    EXPECT_NE(read("tree/acme/net/descriptors.hpp").find("\nnamespace acme\n"), std::string::npos);
    EXPECT_NE(read("tree/proto/acme-protos/a.proto").find("\npackage acme.v1;\n"), std::string::npos);
}

TEST_F(zidlc_program, names_of_proto_files_follow_the_prefix)
{
    write("b.zidl", "group b;\nuse a;\nmessage n { 1 x : m; }\n");
    EXPECT_EQ(run("-o tree --only proto --prefix acme b.zidl").status, 0);
    const std::string text = read("tree/proto/acme/b.proto");
    EXPECT_NE(text.find("\npackage acme.proto;\n\nimport \"acme/a.proto\";\n"), std::string::npos) << text;
}

TEST_F(zidlc_program, names_that_cannot_be_or_that_others_have_are_refused_in_a_line)
{
    const auto error = [](const std::string &arguments) {
        const run_result result = run(arguments + " -o tree a.zidl");
        EXPECT_EQ(result.status, 2) << arguments;
        return result.err;
    };
    const std::string form =
        " will not do: say a C name of lower-case letters, digits and single underscores, a letter first";
    for (const std::string name : {"7a", "Acme", "a-b", "a__b", "_a", "a_"})
        EXPECT_EQ(error("--prefix " + name), "zidlc: --prefix: '" + name + "'" + form + ": see zidlc --help\n");
    for (const std::string name : {"int", "namespace", "std"})
        EXPECT_EQ(error("--prefix " + name),
                  "zidlc: --prefix: '" + name + "' will not do: C or C++ reserves it, say another: see zidlc --help\n");
    EXPECT_EQ(error("--prefix zidl_arena"), "zidlc: --prefix: 'zidl_arena' will not do: names of the codec begin with "
                                            "zidl_, say another: see zidlc --help\n");
    for (const std::string name : {"rib", "rib_lib"})
        EXPECT_EQ(error("--prefix " + name),
                  "zidlc: --prefix: '" + name +
                      "' will not do: names of the client library begin with rib_, say another: see zidlc --help\n");
    for (const std::string option : {"--folder", "--proto-folder"}) {
        for (const std::string folder : {"/a", "../a", "a//b", "a/", "a.b", "'a b'"})
            EXPECT_NE(error(option + " " + folder).find(" will not do: say a path without ./ and ../"),
                      std::string::npos)
                << folder;
    }
    EXPECT_NE(error("--folder codec").find("say another"), std::string::npos);
    for (const std::string package : {"a..b", ".a", "a-b", "a.int"})
        EXPECT_NE(error("--proto-package " + package).find(" will not do: "), std::string::npos) << package;
    EXPECT_FALSE(std::filesystem::exists("tree"));
    for (const std::string name : {"ribs", "zidl", "a1_b2"})
        EXPECT_EQ(run("--only header --prefix " + name + " a.zidl").status, 0) << name;
}

TEST_F(zidlc_program, wrong_usage_gives_2)
{
    EXPECT_EQ(run("").status, 2);
    EXPECT_EQ(run("--nonsense a.zidl").status, 2);
    EXPECT_EQ(run("--only nonsense a.zidl").status, 2);
    EXPECT_EQ(run("").err, "zidlc: FILE is required: see zidlc --help\n");
    EXPECT_EQ(run("-MT b a.zidl").status, 2);
    EXPECT_EQ(run("-MT b a.zidl").err, "zidlc: --depfile-target requires --depfile: see zidlc --help\n");
    EXPECT_EQ(run("--only nonsense a.zidl").out, "");
}

TEST_F(zidlc_program, shows_in_the_manual_where_fields_land)
{
    write("a.zidl", "group a;\nmessage point { 1 x : u32; 2 y : u32; }\nmessage pair { 1 p : point; 2 q : point; }\n"
                    "message other { 1 z : u32; }\n");
    write("lands.tsv", "message\tfield\tway\tlands in\n"
                       "point\tx\tpair.p\tleft_x, bits 8 to 31 lost\npoint\tx\tpair.q\tright_x\n"
                       "point\ty\tpair.p\tnothing\npoint\ty\tpair.q\tnothing\n");
    EXPECT_EQ(run("--only docs --lands-in lands.tsv a.zidl").status, 0);
    const std::string page = read("docs/messages/a.md");
    EXPECT_NE(page.find("| Lands in"), std::string::npos);
    EXPECT_NE(page.find("| `pair.p` → `left_x`, bits 8 to 31 lost<br>`pair.q` → `right_x` |"), std::string::npos)
        << page;
    EXPECT_NE(page.find("| nothing "), std::string::npos);
    EXPECT_NE(page.find("- No entry point converts it."), std::string::npos);

    write("bad.tsv", "message\tfield\n");
    const run_result result = run("--lands-in bad.tsv a.zidl");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "zidlc: bad.tsv: line 1: 2 columns instead of 4\n");
}

TEST_F(zidlc_program, help_and_version_give_0)
{
    const run_result help = run("--help");
    EXPECT_EQ(help.status, 0);
    for (const char *option : {"FILE", "-I", "-o", "--only", "--depfile", "-MD", "--lands-in", "--check", "--version",
                               "--prefix", "--folder", "--proto-package", "--proto-folder", "-MT", "Exit codes"})
        EXPECT_NE(help.out.find(option), std::string::npos) << option;
    const run_result version = run("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "zidlc " ZIDLC_VERSION "\n");
}

TEST_F(zidlc_program, a_standard_error_that_is_closed_or_full_changes_nothing)
{
    write("bad.zidl", "group bad;\nmessage m { 1 x : nonsense; }\n");
    // The last redirection of a stream counts.
    const auto status_of = [](const std::string &command) {
        const int status = std::system((std::string(ZIDLC_PROGRAM) + " " + command).c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    for (const std::string redirection : {" >out 2>&-", " >out 2>/dev/full", " <&- >&- 2>&-"}) {
        EXPECT_EQ(status_of("absent.zidl" + redirection), 2) << redirection;
        EXPECT_EQ(status_of("--nonsense" + redirection), 2) << redirection;
        EXPECT_EQ(status_of("bad.zidl" + redirection), 1) << redirection;
        EXPECT_EQ(status_of("-o tree a.zidl" + redirection), 0) << redirection;
    }
    // No report went into a file that took the place of a closed stream.
    EXPECT_EQ(status_of("-o quiet a.zidl >&- 2>&-"), 0);
    for (const std::string &file : files_below("quiet"))
        EXPECT_EQ(read("quiet/" + file), read("tree/" + file)) << file;
}

TEST_F(zidlc_program, a_text_that_cannot_be_written_is_an_error_unless_nobody_wants_it)
{
    const auto full = [](const std::string &arguments) {
        const int status = std::system((std::string(ZIDLC_PROGRAM) + " " + arguments + " >/dev/full 2>err").c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    for (const std::string arguments : {"--help", "--version", "--check a.zidl"}) {
        EXPECT_EQ(full(arguments), 2) << arguments;
        EXPECT_EQ(read("err"), "zidlc: standard output: cannot write: No space left on device\n") << arguments;
    }
    const std::string closed = "(sleep 0.1; " ZIDLC_PROGRAM " --help 2>err; echo $? >status) | true";
    EXPECT_EQ(std::system(closed.c_str()), 0);
    EXPECT_EQ(read("status"), "0\n");
    EXPECT_EQ(read("err"), "");
}

TEST_F(zidlc_program, reports_are_coloured_when_asked_for)
{
    write("bad.zidl", "group bad;\nmessage m { 1 x : nonsense; }\n");
    const std::string plain = run("bad.zidl").err;
    EXPECT_EQ(plain.find('\x1b'), std::string::npos);
    EXPECT_EQ(run("--color=auto bad.zidl").err, plain);
    const std::string colored = run("--color=always bad.zidl").err;
    EXPECT_EQ(colored.rfind("\x1b[1mbad.zidl:2:19:\x1b[0m \x1b[31merror:\x1b[0m ", 0), 0u) << colored;
    EXPECT_NE(colored.find("\x1b[32m^~~~~~~~\x1b[0m\n"), std::string::npos) << colored;
    EXPECT_EQ(run("--color=sometimes bad.zidl").status, 2);
}

} // namespace zidlc
