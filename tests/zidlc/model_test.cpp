// The rules of the language, each with the exact report, and the facts that follow from a schema.

#include "tests/zidlc/support.hpp"

#include "tools/zidlc/artefacts.hpp"
#include "tools/zidlc/reserved_names.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <ctime>
#include <set>

namespace zidlc
{

namespace
{

class zidlc_model : public in_fresh_folder
{
};

// What a header has with the codec's prefix outside of comments.
std::set<std::string> prefixed_words(const std::filesystem::path &header)
{
    std::ifstream in(header, std::ios::binary);
    EXPECT_TRUE(in) << header;
    const std::string text(std::istreambuf_iterator<char>(in), {});
    const auto is_part = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; };
    std::set<std::string> words;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = at + 1;
        if (text.compare(at, 2, "//") == 0)
            end = text.find('\n', at);
        else if (text.compare(at, 2, "/*") == 0)
            end = text.find("*/", at + 2);
        else if (is_part(text[at]))
            end = static_cast<std::size_t>(std::find_if_not(text.begin() + static_cast<long>(at), text.end(), is_part) -
                                           text.begin());
        if (text.compare(at, 5, "zidl_") == 0)
            words.insert(text.substr(at, end - at));
        at = end;
    }
    return words;
}

std::string rows(unsigned count)
{
    std::string text;
    for (unsigned i = 1; i <= count; ++i)
        text += fmt::format("    {0} f{0} : u32;\n", i);
    return text;
}

// Messages m1 to m<count>, each holding the one before.
std::string chain(unsigned count)
{
    std::string text = "group sample;\nmessage m1 { 1 x : u32; }\n";
    for (unsigned i = 2; i <= count; ++i)
        text += fmt::format("message m{} {{ 1 x : m{}; }}\n", i, i - 1);
    return text;
}

// The same, each declared before what it holds.
std::string reversed_chain(unsigned count)
{
    std::string text = "group sample;\n";
    for (unsigned i = count; i >= 2; --i)
        text += fmt::format("message m{} {{ 1 x : m{}; }}\n", i, i - 1);
    return text + "message m1 { 1 x : u32; }\n";
}

// Blocks as "a | run b c d e | embedded f g".
std::string in_words(const std::vector<block> &blocks)
{
    std::string text;
    for (const block &each : blocks) {
        text += text.empty() ? "" : " | ";
        text += each.taken_as == block::form::run ? "run " : each.taken_as == block::form::embedded ? "embedded " : "";
        for (const field &f : each.fields)
            text += (&f == &each.fields.front() ? "" : " ") + f.name;
    }
    return text;
}

} // namespace

// Types

TEST_F(zidlc_model, unknown_type_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 x : u16;\n"
                        "}\n"),
              "sample.zidl:3:11: error: unknown type 'u16'\n"
              "    1 x : u16;\n"
              "          ^~~\n");
}

TEST_F(zidlc_model, type_of_a_group_that_is_not_used_is_reported_with_the_remedy)
{
    write("other.zidl", "group other;\nmessage o { 1 x : u32; }\n");
    write("sample.zidl", "group sample;\nmessage m {\n    1 x : o;\n}\n");
    EXPECT_EQ(errors_in_files({"other.zidl", "sample.zidl"}),
              "sample.zidl:3:11: error: type 'o' belongs to group 'other': say 'use other;'\n"
              "    1 x : o;\n"
              "          ^\n");
}

TEST_F(zidlc_model, types_of_a_group_used_by_a_used_group_are_out_of_sight)
{
    write("a.zidl", "group a;\nmessage am { 1 x : u32; }\n");
    write("b.zidl", "group b;\nuse a;\nmessage bm { 1 x : am; }\n");
    write("c.zidl", "group c;\nuse b;\nmessage cm {\n    1 x : bm;\n    2 y : am;\n}\n");
    EXPECT_EQ(errors_in_files({"c.zidl"}), "c.zidl:5:11: error: type 'am' belongs to group 'a': say 'use a;'\n"
                                           "    2 y : am;\n"
                                           "          ^~\n");
}

TEST_F(zidlc_model, a_message_may_stand_before_what_it_holds_and_comes_out_after_it)
{
    const model all = model_of("group sample;\n"
                               "message outer { 1 x : inner; }\n"
                               "message other { 1 x : u32; }\n"
                               "message inner { 1 x : u32; }\n");
    ASSERT_EQ(all.groups.at(0)->messages.size(), 3u);
    EXPECT_EQ(all.groups[0]->messages[0]->name, "inner");
    EXPECT_EQ(all.groups[0]->messages[1]->name, "outer");
    EXPECT_EQ(all.groups[0]->messages[2]->name, "other");
}

TEST_F(zidlc_model, message_that_holds_itself_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 x : m;\n"
                        "}\n"),
              "sample.zidl:3:11: error: message 'm' holds itself\n"
              "    1 x : m;\n"
              "          ^\n");
}

TEST_F(zidlc_model, message_that_holds_itself_in_an_array_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 x : repeated m;\n"
                        "}\n"),
              "sample.zidl:3:20: error: message 'm' holds itself\n"
              "    1 x : repeated m;\n"
              "                   ^\n");
}

TEST_F(zidlc_model, circle_of_messages_is_reported_where_it_closes)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message a { 1 x : b; }\n"
                        "message b { 1 x : c; }\n"
                        "message c { 1 x : a; }\n"),
              "sample.zidl:4:19: error: message 'a' holds itself through 'b' and 'c'\n"
              "message c { 1 x : a; }\n"
              "                  ^\n");
}

TEST_F(zidlc_model, nesting_has_a_limit)
{
    EXPECT_EQ(errors_in(chain(100)), "");
    EXPECT_EQ(errors_in(chain(101)), "sample.zidl:102:22: error: messages nest deeper than 100 levels\n"
                                     "message m101 { 1 x : m100; }\n"
                                     "                     ^~~~\n");
}

TEST_F(zidlc_model, nesting_has_the_same_limit_in_any_order_of_declaration)
{
    EXPECT_EQ(errors_in(reversed_chain(100)), "");
    EXPECT_EQ(errors_in(reversed_chain(101)), "sample.zidl:101:20: error: messages nest deeper than 100 levels\n"
                                              "message m2 { 1 x : m1; }\n"
                                              "                   ^~\n");
}

TEST_F(zidlc_model, records_without_their_arrays_stay_small)
{
    std::string text = "group sample;\nmessage m1 {\n" + rows(64) + "}\n";
    for (unsigned i = 2; i <= 4; ++i) {
        text += fmt::format("message m{} {{\n", i);
        for (unsigned k = 1; k <= 64; ++k)
            text += fmt::format("    {0} f{0} : m{1};\n", k, i - 1);
        text += "}\n";
    }
    // m1: 15 fields with one byte of tag, 49 with two, five bytes of value each: 15 * 6 + 49 * 7 = 433.
    // m2: 433 + 2 of length + the tag: 15 * 436 + 49 * 437 = 27953. m3: 3 of length: 15 * 27957 + 49 * 27958 = 1789297.
    // m4 counts with the limit: 3 of length: 15 * 1048580 + 49 * 1048581 = 67109169.
    EXPECT_EQ(errors_in(text), "sample.zidl:134:9: error: message 'm3' takes up to 1789297 bytes besides strings, "
                               "bytes and arrays, over 1048576\n"
                               "message m3 {\n"
                               "        ^~\n"
                               "sample.zidl:200:9: error: message 'm4' takes up to 67109169 bytes besides strings, "
                               "bytes and arrays, over 1048576\n"
                               "message m4 {\n"
                               "        ^~\n");
}

TEST_F(zidlc_model, arrays_hold_what_the_codec_has_arrays_of)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message o { 1 x : u32; }\n"
                        "message m {\n"
                        "    1 a : repeated u8;\n"
                        "    2 b : repeated u32;\n"
                        "    3 c : repeated u64;\n"
                        "    4 d : repeated bytes;\n"
                        "    5 e : repeated o;\n"
                        "    6 f : repeated bool;\n"
                        "    7 g : repeated fixed32;\n"
                        "    8 h : repeated string;\n"
                        "    9 i : repeated sint64;\n"
                        "}\n"),
              "sample.zidl:9:20: error: 'bool' does not repeat: arrays hold u8, u32, u64, bytes or messages\n"
              "    6 f : repeated bool;\n"
              "                   ^~~~\n"
              "sample.zidl:10:20: error: 'fixed32' does not repeat: arrays hold u8, u32, u64, bytes or messages\n"
              "    7 g : repeated fixed32;\n"
              "                   ^~~~~~~\n"
              "sample.zidl:11:20: error: 'string' does not repeat: arrays hold u8, u32, u64, bytes or messages\n"
              "    8 h : repeated string;\n"
              "                   ^~~~~~\n"
              "sample.zidl:12:20: error: 'sint64' does not repeat: arrays hold u8, u32, u64, bytes or messages\n"
              "    9 i : repeated sint64;\n"
              "                   ^~~~~~\n");
}

// Names

TEST_F(zidlc_model, the_file_is_called_after_its_group)
{
    EXPECT_EQ(errors_in("group other;\nmessage m { 1 x : u32; }\n"),
              "sample.zidl:1:7: error: the file of group 'other' is called other.zidl, not sample.zidl\n"
              "group other;\n"
              "      ^~~~~\n");
}

TEST_F(zidlc_model, a_group_may_not_take_the_name_of_a_file_of_all_groups)
{
    write("descriptors.zidl", "group descriptors;\nmessage m { 1 x : u32; }\n");
    EXPECT_EQ(
        errors_in_files({"descriptors.zidl"}),
        "descriptors.zidl:1:7: error: 'descriptors' cannot name a group: a generated file of all groups has that name\n"
        "group descriptors;\n"
        "      ^~~~~~~~~~~\n");
}

TEST_F(zidlc_model, names_are_snake_case)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message Big {\n"
                        "    1 x_ : u32;\n"
                        "    2 _x : u32;\n"
                        "    3 x__y : u32;\n"
                        "    4 x_2y : repeated u32, counted by xN;\n"
                        "}\n"),
              "sample.zidl:2:9: error: 'Big' cannot name a message: names are snake_case: lower-case letters, digits "
              "and single underscores, a letter first\n"
              "message Big {\n"
              "        ^~~\n"
              "sample.zidl:3:7: error: 'x_' cannot name a member: names are snake_case: lower-case letters, digits and "
              "single underscores, a letter first\n"
              "    1 x_ : u32;\n"
              "      ^~\n"
              "sample.zidl:4:7: error: '_x' cannot name a member: names are snake_case: lower-case letters, digits and "
              "single underscores, a letter first\n"
              "    2 _x : u32;\n"
              "      ^~\n"
              "sample.zidl:5:7: error: 'x__y' cannot name a member: names are snake_case: lower-case letters, digits "
              "and single underscores, a letter first\n"
              "    3 x__y : u32;\n"
              "      ^~~~\n"
              "sample.zidl:6:39: error: 'xN' cannot name a member: names are snake_case: lower-case letters, digits "
              "and single underscores, a letter first\n"
              "    4 x_2y : repeated u32, counted by xN;\n"
              "                                      ^~\n");
}

TEST_F(zidlc_model, reserved_words_of_c_cpp_and_the_language_are_no_names)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message union {\n"
                        "    1 restrict : u32;\n"
                        "    2 co_await : u32;\n"
                        "    3 repeated : u32;\n"
                        "    4 order    : u32;\n"
                        "    5 dispatch : u32;\n"
                        "    6 uint32_t : u32;\n"
                        "    7 errno    : u32;\n"
                        "}\n"
                        "message u32 { 1 x : bool; }\n"),
              "sample.zidl:2:9: error: 'union' cannot name a message: the word is reserved in C or C++\n"
              "message union {\n"
              "        ^~~~~\n"
              "sample.zidl:3:7: error: 'restrict' cannot name a member: the word is reserved in C or C++\n"
              "    1 restrict : u32;\n"
              "      ^~~~~~~~\n"
              "sample.zidl:4:7: error: 'co_await' cannot name a member: the word is reserved in C or C++\n"
              "    2 co_await : u32;\n"
              "      ^~~~~~~~\n"
              "sample.zidl:5:7: error: 'repeated' cannot name a member: the word belongs to the schema language\n"
              "    3 repeated : u32;\n"
              "      ^~~~~~~~\n"
              "sample.zidl:6:7: error: 'order' cannot name a member: the word belongs to the schema language\n"
              "    4 order    : u32;\n"
              "      ^~~~~\n"
              "sample.zidl:7:7: error: 'dispatch' cannot name a member: the word belongs to the schema language\n"
              "    5 dispatch : u32;\n"
              "      ^~~~~~~~\n"
              "sample.zidl:8:7: error: 'uint32_t' cannot name a member: the word is reserved in C or C++\n"
              "    6 uint32_t : u32;\n"
              "      ^~~~~~~~\n"
              "sample.zidl:9:7: error: 'errno' cannot name a member: the word is reserved in C or C++\n"
              "    7 errno    : u32;\n"
              "      ^~~~~\n"
              "sample.zidl:11:9: error: 'u32' cannot name a message: the word belongs to the schema language\n"
              "message u32 { 1 x : bool; }\n"
              "        ^~~\n");
}

TEST_F(zidlc_model, no_word_of_the_language_names_a_message_or_a_count)
{
    for (const char *word :
         {"group", "use", "message", "omit", "dispatch", "rare", "unassigned", "repeated", "counted", "by",
          "out",   "of",  "order",   "u8",   "u32",      "u64",  "sint64",     "fixed32",  "string",  "bytes"})
        EXPECT_EQ(
            errors_in(fmt::format("group sample;\n"
                                  "message {0} {{ 1 x : u32; }}\n"
                                  "message n {{ 1 x : repeated u32, counted by {0}; }}\n",
                                  word)),
            fmt::format("sample.zidl:2:9: error: '{0}' cannot name a message: the word belongs to the schema language\n"
                        "message {0} {{ 1 x : u32; }}\n"
                        "        {1}\n"
                        "sample.zidl:3:44: error: '{0}' cannot name a member: the word belongs to the schema language\n"
                        "message n {{ 1 x : repeated u32, counted by {0}; }}\n"
                        "                                           {1}\n",
                        word, "^" + std::string(strlen(word) - 1, '~')));
}

TEST_F(zidlc_model, types_of_proto_files_are_no_message_names)
{
    EXPECT_EQ(errors_in("group sample;\nmessage sint32 { 1 uint32 : u32; }\n"),
              "sample.zidl:2:9: error: 'sint32' cannot name a message: proto files have a type of that name\n"
              "message sint32 { 1 uint32 : u32; }\n"
              "        ^~~~~~\n");
}

TEST_F(zidlc_model, message_declared_twice_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m { 1 x : u32; }\n"
                        "message m { 1 x : u32; }\n"),
              "sample.zidl:3:9: error: message 'm' is declared already, in group 'sample'\n"
              "message m { 1 x : u32; }\n"
              "        ^\n"
              "sample.zidl:2:9: note: first declared here\n"
              "message m { 1 x : u32; }\n"
              "        ^\n");
}

TEST_F(zidlc_model, message_of_the_same_name_in_another_group_is_reported)
{
    write("a.zidl", "group a;\nmessage m { 1 x : u32; }\n");
    write("b.zidl", "group b;\nmessage m { 1 x : u32; }\n");
    EXPECT_EQ(errors_in_files({"b.zidl", "a.zidl"}),
              "b.zidl:2:9: error: message 'm' is declared already, in group 'a'\n"
              "message m { 1 x : u32; }\n"
              "        ^\n"
              "a.zidl:2:9: note: first declared here\n"
              "message m { 1 x : u32; }\n"
              "        ^\n");
}

TEST_F(zidlc_model, messages_whose_c_names_collide_are_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m { 1 x : u32; }\n"
                        "message m_duplicate { 1 x : u32; }\n"
                        "message m_has_x { 1 x : u32; }\n"
                        "message n { 1 has_x : u32; }\n"
                        "message n_has { 1 x : u32; }\n"
                        "message segment { 1 x : u32; }\n"
                        "message status_name { 1 x : u32; }\n"),
              "sample.zidl:3:9: error: message 'm_duplicate' and message 'm' both need the C name zidl_m_duplicate\n"
              "message m_duplicate { 1 x : u32; }\n"
              "        ^~~~~~~~~~~\n"
              "sample.zidl:2:9: note: the other one\n"
              "message m { 1 x : u32; }\n"
              "        ^\n"
              "sample.zidl:4:9: error: message 'm_has_x' and message 'm' both need the C name zidl_m_has_x\n"
              "message m_has_x { 1 x : u32; }\n"
              "        ^~~~~~~\n"
              "sample.zidl:2:9: note: the other one\n"
              "message m { 1 x : u32; }\n"
              "        ^\n"
              "sample.zidl:6:9: error: message 'n_has' and message 'n' both need the C name zidl_n_has_has_x\n"
              "message n_has { 1 x : u32; }\n"
              "        ^~~~~\n"
              "sample.zidl:5:9: note: the other one\n"
              "message n { 1 has_x : u32; }\n"
              "        ^\n"
              "sample.zidl:7:9: error: message 'segment' and codec/zidl.h both need the C name zidl_segment\n"
              "message segment { 1 x : u32; }\n"
              "        ^~~~~~~\n"
              "sample.zidl:8:9: error: message 'status_name' and codec/zidl.h both need the C name zidl_status_name\n"
              "message status_name { 1 x : u32; }\n"
              "        ^~~~~~~~~~~\n");
}

TEST_F(zidlc_model, what_the_headers_of_the_codec_declare_is_refused_where_the_prefix_is_theirs)
{
    const std::string schema = "group sample;\n"
                               "message arena { 1 x : u32; }\n"
                               "message arena_block { 1 x : u32; }\n"
                               "message arena_reset { 1 x : u32; }\n";
    EXPECT_EQ(
        errors_in(schema),
        "sample.zidl:2:9: error: message 'arena' and codec/zidl_arena.h both need the C name zidl_arena\n"
        "message arena { 1 x : u32; }\n"
        "        ^~~~~\n"
        "sample.zidl:3:9: error: message 'arena_block' and codec/zidl_arena.h both need the C name zidl_arena_block\n"
        "message arena_block { 1 x : u32; }\n"
        "        ^~~~~~~~~~~\n"
        "sample.zidl:4:9: error: message 'arena_reset' and codec/zidl_arena.h both need the C name zidl_arena_reset\n"
        "message arena_reset { 1 x : u32; }\n"
        "        ^~~~~~~~~~~\n");
    EXPECT_EQ(errors_in("group sample;\nmessage arenas { 1 x : u32; }\nmessage zidl_arena { 1 arena : u32; }\n"), "");

    write("sample.zidl", schema);
    naming chosen;
    chosen.prefix = "acme";
    diagnostics errors;
    build_model(load({"sample.zidl"}, {}, errors), errors, chosen);
    EXPECT_EQ(errors.text(), "");
}

TEST(zidlc_reserved_names, are_all_that_the_headers_of_the_codec_declare_with_the_prefix)
{
    std::set<std::string> reserved;
    for (const shared_identifier &each : shared_c_identifiers()) {
        EXPECT_TRUE(reserved.emplace(each.name).second) << each.name;
        EXPECT_TRUE(prefixed_words(PROJECT_FOLDER "/" + std::string(each.header)).contains(std::string(each.name)))
            << each.header << " has no " << each.name;
    }
    std::set<std::string> declared;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(PROJECT_FOLDER "/codec")) {
        if (entry.path().extension() == ".h" || entry.path().extension() == ".hpp")
            declared.merge(prefixed_words(entry.path()));
    }
    EXPECT_EQ(declared, reserved);
}

class zidlc_model_of_accessors : public zidlc_model
{
protected:
    // What is said first about a message m with this field, and another message.
    static std::string collision_with(const std::string &field_of_m, const std::string &other)
    {
        const std::string errors = errors_in("group sample;\nmessage e { 1 x : u32; }\nmessage m { 1 " + field_of_m +
                                             "; }\nmessage " + other + "\n");
        return errors.substr(0, errors.find('\n'));
    }
};

TEST_F(zidlc_model_of_accessors, setters_marks_and_clearings_are_c_names_that_may_collide)
{
    EXPECT_EQ(collision_with("x : string", "m_set_x { 1 y : u32; }"),
              "sample.zidl:4:9: error: message 'm_set_x' and message 'm' both need the C name zidl_m_set_x");
    EXPECT_EQ(collision_with("x : repeated e", "m_mark_x { 1 y : u32; }"),
              "sample.zidl:4:9: error: message 'm_mark_x' and message 'm' both need the C name zidl_m_mark_x");
    EXPECT_EQ(collision_with("has_x : e", "m_clear { 1 x : u32; }"),
              "sample.zidl:4:9: error: message 'm_clear' and message 'm' both need the C name zidl_m_clear_has_x");
    EXPECT_EQ(collision_with("x : u32", "m_clear_x { 1 y : u32; }"),
              "sample.zidl:4:9: error: message 'm_clear_x' and message 'm' both need the C name zidl_m_clear_x");
}

TEST_F(zidlc_model_of_accessors, names_of_accessors_that_a_field_does_not_have_are_free)
{
    EXPECT_EQ(collision_with("x : e", "m_set_x { 1 y : u32; }"), "");
    EXPECT_EQ(collision_with("x : u32", "m_mark_x { 1 y : u32; }"), "");
}

// Members

TEST_F(zidlc_model, message_without_a_field_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\nmessage m {\n}\nmessage n { 1..4 unassigned; }\n"),
              "sample.zidl:2:9: error: message 'm' has no field\n"
              "message m {\n"
              "        ^\n"
              "sample.zidl:4:9: error: message 'n' has no field\n"
              "message n { 1..4 unassigned; }\n"
              "        ^\n");
}

TEST_F(zidlc_model, a_message_has_at_most_64_fields)
{
    EXPECT_EQ(errors_in("group sample;\nmessage m {\n" + rows(64) + "}\n"), "");
    EXPECT_EQ(errors_in("group sample;\nmessage m {\n" + rows(66) + "}\n"),
              "sample.zidl:67:8: error: message 'm' has more than 64 fields\n"
              "    65 f65 : u32;\n"
              "       ^~~\n");
}

TEST_F(zidlc_model, member_declared_twice_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 x : u32;\n"
                        "    2 x : u64;\n"
                        "}\n"),
              "sample.zidl:4:7: error: member 'x' is declared already\n"
              "    2 x : u64;\n"
              "      ^\n"
              "sample.zidl:3:7: note: first used here\n"
              "    1 x : u32;\n"
              "      ^\n");
}

TEST_F(zidlc_model, the_presence_word_keeps_its_name)
{
    EXPECT_EQ(
        errors_in("group sample;\n"
                  "message m {\n"
                  "    1 presence : u32;\n"
                  "    2 x : repeated u32, counted by presence;\n"
                  "}\n"),
        "sample.zidl:3:7: error: 'presence' cannot name a member: the presence word of the record has that name\n"
        "    1 presence : u32;\n"
        "      ^~~~~~~~\n"
        "sample.zidl:4:36: error: 'presence' cannot name a member: the presence word of the record has that name\n"
        "    2 x : repeated u32, counted by presence;\n"
        "                                   ^~~~~~~~\n");
}

TEST_F(zidlc_model, counts_and_sizes_do_not_collide_with_members)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 a       : bytes;\n"
                        "    2 a_size  : u32;\n"
                        "    3 b_count : u32;\n"
                        "    4 b       : repeated u32;\n"
                        "    5 c       : repeated u32, counted by n;\n"
                        "    6 d       : repeated u32, counted by n;\n"
                        "    7 e       : repeated u32, counted by e;\n"
                        "    8 n       : u32;\n"
                        "}\n"),
              "sample.zidl:4:7: error: 'a' and 'a_size' both need a member 'a_size'\n"
              "    2 a_size  : u32;\n"
              "      ^~~~~~\n"
              "sample.zidl:3:7: note: first used here\n"
              "    1 a       : bytes;\n"
              "      ^\n"
              "sample.zidl:6:7: error: 'b_count' and 'b' both need a member 'b_count'\n"
              "    4 b       : repeated u32;\n"
              "      ^\n"
              "sample.zidl:5:7: note: first used here\n"
              "    3 b_count : u32;\n"
              "      ^~~~~~~\n"
              "sample.zidl:8:42: error: 'c' and 'd' both need a member 'n'\n"
              "    6 d       : repeated u32, counted by n;\n"
              "                                         ^\n"
              "sample.zidl:7:42: note: first used here\n"
              "    5 c       : repeated u32, counted by n;\n"
              "                                         ^\n"
              "sample.zidl:9:42: error: member 'e' is declared already\n"
              "    7 e       : repeated u32, counted by e;\n"
              "                                         ^\n"
              "sample.zidl:9:7: note: first used here\n"
              "    7 e       : repeated u32, counted by e;\n"
              "      ^\n"
              "sample.zidl:10:7: error: 'c' and 'n' both need a member 'n'\n"
              "    8 n       : u32;\n"
              "      ^\n"
              "sample.zidl:7:42: note: first used here\n"
              "    5 c       : repeated u32, counted by n;\n"
              "                                         ^\n");
}

TEST_F(zidlc_model, only_arrays_have_a_count)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 x : u32, counted by n;\n"
                        "    2 y : bytes, counted by k;\n"
                        "}\n"),
              "sample.zidl:3:27: error: 'x' has no count: it is not repeated\n"
              "    1 x : u32, counted by n;\n"
              "                          ^\n"
              "sample.zidl:4:29: error: 'y' has no count: it is not repeated\n"
              "    2 y : bytes, counted by k;\n"
              "                            ^\n");
}

// Numbers

TEST_F(zidlc_model, number_taken_twice_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 x : u32;\n"
                        "    1 y : u32;\n"
                        "    2 z : u32;\n"
                        "    1 w : u32, out of order;\n"
                        "}\n"),
              "sample.zidl:4:5: error: number 1 is taken by 'x'\n"
              "    1 y : u32;\n"
              "    ^\n"
              "sample.zidl:3:5: note: first used here\n"
              "    1 x : u32;\n"
              "    ^\n"
              "sample.zidl:6:5: error: number 1 is taken by 'x'\n"
              "    1 w : u32, out of order;\n"
              "    ^\n"
              "sample.zidl:3:5: note: first used here\n"
              "    1 x : u32;\n"
              "    ^\n");
}

TEST_F(zidlc_model, numbers_have_a_range)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    0 x : u32;\n"
                        "    1..18999 unassigned;\n"
                        "    19000 y : u32;\n"
                        "    19000..536870910 unassigned;\n"
                        "    536870911 z : u32;\n"
                        "    536870912 w : u32;\n"
                        "}\n"),
              "sample.zidl:3:5: error: field numbers go from 1 to 536870911\n"
              "    0 x : u32;\n"
              "    ^\n"
              "sample.zidl:5:5: error: field numbers 19000 to 19999 belong to protocol buffers\n"
              "    19000 y : u32;\n"
              "    ^~~~~\n"
              "sample.zidl:8:5: error: field numbers go from 1 to 536870911\n"
              "    536870912 w : u32;\n"
              "    ^~~~~~~~~\n");
}

TEST_F(zidlc_model, gap_in_the_numbers_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    2 x : u32;\n"
                        "    3 y : u32;\n"
                        "    7 z : u32;\n"
                        "    8 w : u32;\n"
                        "}\n"),
              "sample.zidl:3:5: error: number 1 is left out: say '1 unassigned;' where that is meant\n"
              "    2 x : u32;\n"
              "    ^\n"
              "sample.zidl:5:5: error: numbers 4 to 6 are left out: say '4..6 unassigned;' where that is meant\n"
              "    7 z : u32;\n"
              "    ^\n");
}

TEST_F(zidlc_model, gap_that_is_declared_in_part_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 x : u32;\n"
                        "    3 unassigned;\n"
                        "    5 y : u32;\n"
                        "}\n"),
              "sample.zidl:4:5: error: number 2 is left out: say '2 unassigned;' where that is meant\n"
              "    3 unassigned;\n"
              "    ^\n"
              "sample.zidl:5:5: error: number 4 is left out: say '4 unassigned;' where that is meant\n"
              "    5 y : u32;\n"
              "    ^\n");
}

TEST_F(zidlc_model, step_back_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 x : u32;\n"
                        "    3 y : u32;\n"
                        "    2 z : u32;\n"
                        "}\n"),
              "sample.zidl:5:5: error: field 2 steps back behind 3: say 'out of order' where that is meant\n"
              "    2 z : u32;\n"
              "    ^\n");
}

TEST_F(zidlc_model, what_stands_in_a_wrong_place_is_reported_there_alone)
{
    EXPECT_EQ(errors_in("group sample;\nmessage m { 2 x : u32; 1 y : u32; }\n"),
              "sample.zidl:2:24: error: field 1 steps back behind 2: say 'out of order' where that is meant\n"
              "message m { 2 x : u32; 1 y : u32; }\n"
              "                       ^\n");
    EXPECT_EQ(errors_in("group sample;\nmessage m { 1 x : u32; 4 y : u32; 2..3 unassigned; }\n"),
              "sample.zidl:2:35: error: unassigned numbers stand in their place: this one is behind 4\n"
              "message m { 1 x : u32; 4 y : u32; 2..3 unassigned; }\n"
              "                                  ^~~~\n");
    EXPECT_EQ(errors_in("group sample;\nmessage m { 1 x : u32; 4..2 unassigned; 5 y : u32; }\n"),
              "sample.zidl:2:24: error: a range goes from a smaller number to a larger one\n"
              "message m { 1 x : u32; 4..2 unassigned; 5 y : u32; }\n"
              "                       ^~~~\n");
}

TEST_F(zidlc_model, rows_out_of_order_take_time_by_their_number_alone)
{
    std::string text = "group sample;\nmessage m {\n";
    for (unsigned i = 1; i < 19000; ++i)
        text += fmt::format("    {0} f{0} : u32, out of order;\n", i);
    for (unsigned i = 20000; i < 30000; ++i)
        text += fmt::format("    {0} f{0} : u32, out of order;\n", i);
    const std::clock_t start = std::clock();
    EXPECT_NE(errors_in(text + "}\n").find("field 1 stands in order\n"), std::string::npos);
    EXPECT_LT(std::clock() - start, 3 * CLOCKS_PER_SEC); // a walk from the first number for each row takes sixteen
}

TEST_F(zidlc_model, a_field_out_of_order_fills_its_place_from_above_or_below)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 a : u32;\n"
                        "    5 b : u32, out of order;\n"
                        "    2 c : u32;\n"
                        "    4 d : u32;\n"
                        "    6 e : u32;\n"
                        "    3 f : u32, out of order;\n"
                        "}\n"),
              "");
}

TEST_F(zidlc_model, numbers_below_a_field_out_of_order_are_spoken_for)
{
    const std::string head = "group sample;\n"
                             "message m {\n"
                             "    1 a : u32;\n"
                             "    6 b : u32, out of order;\n"
                             "    2 c : u32;\n";
    EXPECT_EQ(errors_in(head + "    3..5 unassigned;\n}\n"), "");
    EXPECT_EQ(errors_in(head + "    3..5 unassigned;\n    7 d : u32;\n}\n"), "");
    EXPECT_EQ(errors_in(head + "    3..4 unassigned;\n}\n"),
              "sample.zidl:4:5: error: number 5 is left out: say '5 unassigned;' where that is meant\n"
              "    6 b : u32, out of order;\n"
              "    ^\n");
}

TEST_F(zidlc_model, all_gaps_around_fields_out_of_order_are_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    4 a : u32, out of order;\n"
                        "    1 b : u32;\n"
                        "    2 c : u32, out of order;\n"
                        "    7 d : u32;\n"
                        "}\n"),
              "sample.zidl:5:16: error: field 2 stands in order\n"
              "    2 c : u32, out of order;\n"
              "               ^~~~~~~~~~~~\n"
              "sample.zidl:6:5: error: number 3 is left out: say '3 unassigned;' where that is meant\n"
              "    7 d : u32;\n"
              "    ^\n"
              "sample.zidl:6:5: error: numbers 5 to 6 are left out: say '5..6 unassigned;' where that is meant\n"
              "    7 d : u32;\n"
              "    ^\n");
}

TEST_F(zidlc_model, field_that_claims_to_be_out_of_order_is_reported_when_it_is_not)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1 a : u32, out of order;\n"
                        "    2 b : u32;\n"
                        "    3 c : u32, out of order;\n"
                        "    4 d : u32;\n"
                        "}\n"),
              "sample.zidl:3:16: error: field 1 stands in order\n"
              "    1 a : u32, out of order;\n"
              "               ^~~~~~~~~~~~\n"
              "sample.zidl:5:16: error: field 3 stands in order\n"
              "    3 c : u32, out of order;\n"
              "               ^~~~~~~~~~~~\n");
}

TEST_F(zidlc_model, gap_that_is_wrongly_declared_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    1    a : u32;\n"
                        "    1    unassigned;\n"
                        "    2..4 unassigned;\n"
                        "    3    unassigned;\n"
                        "    5..9 unassigned;\n"
                        "    7    b : u32;\n"
                        "    8..7 unassigned;\n"
                        "    8..8 unassigned;\n"
                        "    0    unassigned;\n"
                        "    8..536870912 unassigned;\n"
                        "}\n"),
              "sample.zidl:4:5: error: number 1 is not unassigned: 'a' has it\n"
              "    1    unassigned;\n"
              "    ^\n"
              "sample.zidl:3:5: note: used here\n"
              "    1    a : u32;\n"
              "    ^\n"
              "sample.zidl:6:5: error: unassigned numbers stand in their place: this one is behind 4\n"
              "    3    unassigned;\n"
              "    ^\n"
              "sample.zidl:7:5: error: number 7 is not unassigned: 'b' has it\n"
              "    5..9 unassigned;\n"
              "    ^~~~\n"
              "sample.zidl:8:5: note: used here\n"
              "    7    b : u32;\n"
              "    ^\n"
              "sample.zidl:9:5: error: a range goes from a smaller number to a larger one\n"
              "    8..7 unassigned;\n"
              "    ^~~~\n"
              "sample.zidl:10:5: error: a range goes from a smaller number to a larger one\n"
              "    8..8 unassigned;\n"
              "    ^~~~\n"
              "sample.zidl:11:5: error: field numbers go from 1 to 536870911\n"
              "    0    unassigned;\n"
              "    ^\n"
              "sample.zidl:12:8: error: field numbers go from 1 to 536870911\n"
              "    8..536870912 unassigned;\n"
              "       ^~~~~~~~~\n");
}

TEST_F(zidlc_model, numbers_at_the_end_may_be_unassigned)
{
    const model all = model_of("group sample;\n"
                               "message m {\n"
                               "    1    a : u32;\n"
                               "    2    unassigned;   # was b\n"
                               "    3..5 unassigned;\n"
                               "}\n");
    const message &m = *all.groups.at(0)->messages.at(0);
    ASSERT_EQ(m.unassigned.size(), 2u);
    EXPECT_EQ(m.unassigned[0].first, 2u);
    EXPECT_EQ(m.unassigned[0].last, 2u);
    EXPECT_EQ(m.unassigned[0].comment, "was b");
    EXPECT_EQ(m.unassigned[1].first, 3u);
    EXPECT_EQ(m.unassigned[1].last, 5u);
}

// Omitted arguments

TEST_F(zidlc_model, unknown_omission_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    omit encode.memory, free.flags;\n"
                        "    1 x : u32;\n"
                        "}\n"),
              "sample.zidl:3:10: error: 'encode.memory' cannot be omitted, only encode.flags, decode.flags, "
              "decode.memory and duplicate.memory\n"
              "    omit encode.memory, free.flags;\n"
              "         ^~~~~~~~~~~~~\n"
              "sample.zidl:3:25: error: 'free.flags' cannot be omitted, only encode.flags, decode.flags, decode.memory "
              "and duplicate.memory\n"
              "    omit encode.memory, free.flags;\n"
              "                        ^~~~~~~~~~\n");
}

TEST_F(zidlc_model, omission_said_twice_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    omit decode.flags, decode.flags;\n"
                        "    1 x : u32;\n"
                        "}\n"),
              "sample.zidl:3:24: error: 'decode.flags' is omitted already\n"
              "    omit decode.flags, decode.flags;\n"
              "                       ^~~~~~~~~~~~\n"
              "sample.zidl:3:10: note: first used here\n"
              "    omit decode.flags, decode.flags;\n"
              "         ^~~~~~~~~~~~\n");
}

TEST_F(zidlc_model, argument_that_bytes_need_cannot_be_omitted)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message m {\n"
                        "    omit encode.flags, decode.flags, decode.memory, duplicate.memory;\n"
                        "    1 x : u32;\n"
                        "    2 y : bytes;\n"
                        "}\n"),
              "sample.zidl:3:10: error: encode needs flags: member 'y' holds bytes\n"
              "    omit encode.flags, decode.flags, decode.memory, duplicate.memory;\n"
              "         ^~~~~~~~~~~~\n"
              "sample.zidl:3:24: error: decode needs flags: member 'y' holds bytes\n"
              "    omit encode.flags, decode.flags, decode.memory, duplicate.memory;\n"
              "                       ^~~~~~~~~~~~\n"
              "sample.zidl:3:38: error: decode needs memory: member 'y' owns memory\n"
              "    omit encode.flags, decode.flags, decode.memory, duplicate.memory;\n"
              "                                     ^~~~~~~~~~~~~\n"
              "sample.zidl:3:53: error: duplicate needs memory: member 'y' owns memory\n"
              "    omit encode.flags, decode.flags, decode.memory, duplicate.memory;\n"
              "                                                    ^~~~~~~~~~~~~~~~\n");
}

TEST_F(zidlc_model, argument_that_a_held_message_needs_cannot_be_omitted)
{
    EXPECT_EQ(errors_in("group sample;\n"
                        "message blob { 1 x : repeated bytes; }\n"
                        "message text { 1 x : string; }\n"
                        "message m {\n"
                        "    omit encode.flags;\n"
                        "    1 a : text;\n"
                        "    2 b : repeated blob;\n"
                        "}\n"
                        "message n {\n"
                        "    omit encode.flags, decode.flags, decode.memory;\n"
                        "    1 a : text;\n"
                        "}\n"),
              "sample.zidl:5:10: error: encode needs flags: member 'b' holds bytes\n"
              "    omit encode.flags;\n"
              "         ^~~~~~~~~~~~\n"
              "sample.zidl:10:38: error: decode needs memory: member 'a' owns memory\n"
              "    omit encode.flags, decode.flags, decode.memory;\n"
              "                                     ^~~~~~~~~~~~~\n");
}

TEST_F(zidlc_model, omissions_reach_the_model)
{
    const model all = model_of("group sample;\n"
                               "message m { omit encode.flags, decode.memory; 1 x : u32; }\n"
                               "message n { omit decode.flags, duplicate.memory; 1 x : u32; }\n");
    const omissions &m = all.groups.at(0)->messages.at(0)->omit;
    EXPECT_TRUE(m.encode_flags && m.decode_memory);
    EXPECT_FALSE(m.decode_flags || m.duplicate_memory);
    const omissions &n = all.groups[0]->messages.at(1)->omit;
    EXPECT_TRUE(n.decode_flags && n.duplicate_memory);
    EXPECT_FALSE(n.encode_flags || n.decode_memory);
}

// Groups and files

TEST_F(zidlc_model, group_that_is_not_found_is_reported_with_the_places_searched)
{
    write("schema/a.zidl", "group a;\nuse b;\nmessage m { 1 x : u32; }\n");
    EXPECT_EQ(errors_in_files({"schema/a.zidl"}), "schema/a.zidl:2:5: error: no file b.zidl in 'schema'\n"
                                                  "use b;\n"
                                                  "    ^\n");
    EXPECT_EQ(errors_in_files({"schema/a.zidl"}, {"one", "two"}),
              "schema/a.zidl:2:5: error: no file b.zidl in 'schema', 'one' or 'two'\n"
              "use b;\n"
              "    ^\n");
    std::filesystem::current_path("schema");
    EXPECT_EQ(errors_in_files({"a.zidl"}), "a.zidl:2:5: error: no file b.zidl in '.'\n"
                                           "use b;\n"
                                           "    ^\n");
}

TEST_F(zidlc_model, used_group_is_found_beside_the_user_or_else_in_the_first_folder_that_has_it)
{
    write("a.zidl", "group a;\nuse b;\nmessage m { 1 x : n; }\n");
    write("one/unrelated.zidl", "group unrelated;\n");
    write("two/b.zidl", "group b;\nmessage n { 1 x : u32; }\n");
    write("three/b.zidl", "group b;\nmessage wrong { 1 x : u32; }\n");
    EXPECT_EQ(errors_in_files({"a.zidl"}, {"one", "two", "three"}), "");
    write("b.zidl", "group b;\nmessage here { 1 x : u32; }\n");
    EXPECT_EQ(errors_in_files({"a.zidl"}, {"one", "two", "three"}), "a.zidl:3:19: error: unknown type 'n'\n"
                                                                    "message m { 1 x : n; }\n"
                                                                    "                  ^\n");
}

TEST_F(zidlc_model, used_group_that_cannot_be_read_is_reported_with_the_reason)
{
    write("a.zidl", "group a;\nuse b;\nmessage m { 1 x : u32; }\n");
    std::filesystem::create_directory("b.zidl");
    EXPECT_EQ(errors_in_files({"a.zidl"}), "a.zidl:2:5: error: cannot read 'b.zidl': Is a directory\n"
                                           "use b;\n"
                                           "    ^\n");
}

TEST_F(zidlc_model, a_byte_order_mark_shifts_no_place)
{
    EXPECT_EQ(errors_in("\xef\xbb\xbfgroup other;\r\nmessage m { 1 x : u32; }\r\n"),
              "sample.zidl:1:7: error: the file of group 'other' is called other.zidl, not sample.zidl\n"
              "group other;\n"
              "      ^~~~~\n");
}

TEST_F(zidlc_model, circle_of_groups_is_reported_where_it_closes)
{
    write("a.zidl", "group a;\nuse b;\nmessage am { 1 x : u32; }\n");
    write("b.zidl", "group b;\nuse c;\nmessage bm { 1 x : u32; }\n");
    write("c.zidl", "group c;\nuse a;\nmessage cm { 1 x : u32; }\n");
    EXPECT_EQ(errors_in_files({"a.zidl"}), "c.zidl:2:5: error: group 'a' uses itself through 'b' and 'c'\n"
                                           "use a;\n"
                                           "    ^\n");
}

TEST_F(zidlc_model, group_that_uses_itself_is_reported)
{
    EXPECT_EQ(errors_in("group sample;\nuse sample;\nmessage m { 1 x : u32; }\n"),
              "sample.zidl:2:5: error: group 'sample' uses itself\n"
              "use sample;\n"
              "    ^~~~~~\n");
}

TEST_F(zidlc_model, groups_use_each_other_at_most_100_levels_deep)
{
    const auto write_chain = [](unsigned length) {
        for (unsigned i = 1; i < length; ++i)
            write(fmt::format("g{}.zidl", i), fmt::format("group g{};\nuse g{};\n", i, i + 1));
        write(fmt::format("g{}.zidl", length), fmt::format("group g{};\n", length));
    };
    write_chain(100);
    EXPECT_EQ(errors_in_files({"g1.zidl"}), "");
    write_chain(101);
    EXPECT_EQ(errors_in_files({"g1.zidl"}), "g100.zidl:2:5: error: groups use each other deeper than 100 levels\n"
                                            "use g101;\n"
                                            "    ^~~~\n");
}

TEST_F(zidlc_model, group_used_twice_is_reported)
{
    write("b.zidl", "group b;\nmessage n { 1 x : u32; }\n");
    EXPECT_EQ(errors_in("group sample;\nuse b;\nuse b;\nmessage m { 1 x : n; }\n"),
              "sample.zidl:3:5: error: group 'b' is used twice\n"
              "use b;\n"
              "    ^\n"
              "sample.zidl:2:5: note: first used here\n"
              "use b;\n"
              "    ^\n");
}

TEST_F(zidlc_model, one_run_reports_the_errors_of_all_files_each_in_the_order_of_its_lines)
{
    write("a.zidl", "group a;\nmessage am {\n    1 x : nothing;\n    1 y : u32;\n}\n");
    write("b.zidl", "group b;\nuse a;\nmessage bm {\n    1 x : am;\n    2 x : am;\n}\nmessage bn { 2 x : u32; }\n");
    EXPECT_EQ(errors_in_files({"b.zidl"}),
              "a.zidl:3:11: error: unknown type 'nothing'\n"
              "    1 x : nothing;\n"
              "          ^~~~~~~\n"
              "a.zidl:4:5: error: number 1 is taken by 'x'\n"
              "    1 y : u32;\n"
              "    ^\n"
              "a.zidl:3:5: note: first used here\n"
              "    1 x : nothing;\n"
              "    ^\n"
              "b.zidl:5:7: error: member 'x' is declared already\n"
              "    2 x : am;\n"
              "      ^\n"
              "b.zidl:4:7: note: first used here\n"
              "    1 x : am;\n"
              "      ^\n"
              "b.zidl:7:14: error: number 1 is left out: say '1 unassigned;' where that is meant\n"
              "message bn { 2 x : u32; }\n"
              "             ^\n");
}

TEST_F(zidlc_model, groups_stand_after_those_that_they_use_and_otherwise_by_name)
{
    write("a.zidl", "group a;\nuse d;\nmessage am { 1 x : dm; }\n");
    write("b.zidl", "group b;\nmessage bm { 1 x : u32; }\n");
    write("d.zidl", "group d;\nmessage dm { 1 x : u32; }\n");
    for (const auto &files :
         std::vector<std::vector<std::filesystem::path>>{{"a.zidl", "b.zidl"}, {"b.zidl", "a.zidl"}}) {
        const model all = model_of_files(files);
        ASSERT_EQ(all.groups.size(), 3u);
        EXPECT_EQ(all.groups[0]->name, "d");
        EXPECT_FALSE(all.groups[0]->requested);
        EXPECT_EQ(all.groups[1]->name, "a");
        EXPECT_TRUE(all.groups[1]->requested);
        EXPECT_EQ(all.groups[1]->uses, std::vector<std::string>{"d"});
        EXPECT_EQ(all.groups[2]->name, "b");
    }
}

// Derived facts

TEST_F(zidlc_model, tags_follow_from_number_and_kind)
{
    const model all = model_of("group sample;\n"
                               "message o { 1 x : u32; }\n"
                               "message m {\n"
                               "     1 a : u8;\n"
                               "     2 b : bool;\n"
                               "     3 c : fixed32;\n"
                               "     4 d : string;\n"
                               "     5 e : bytes;\n"
                               "     6 f : o;\n"
                               "     7 g : repeated u64;\n"
                               "     8..14 unassigned;\n"
                               "    15 h : u32;\n"
                               "    16 i : u64;\n"
                               "    17..2047 unassigned;\n"
                               "    2048 j : repeated bytes;\n"
                               "    2049 k : sint64;\n"
                               "}\n");
    struct fact {
        unsigned wire_type;
        uint32_t tag;
        unsigned tag_size;
    };
    const std::vector<fact> expected = {
        {0, 0x08, 1}, {0, 0x10, 1}, {5, 0x1d, 1}, {2, 0x22, 1},   {2, 0x2a, 1},   {2, 0x32, 1},
        {0, 0x38, 1}, {0, 0x78, 1}, {0, 0x80, 2}, {2, 0x4002, 3}, {0, 0x4008, 3},
    };
    const message &m = *all.groups.at(0)->messages.at(1);
    ASSERT_EQ(m.fields.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(m.fields[i].wire_type, expected[i].wire_type) << m.fields[i].name;
        EXPECT_EQ(m.fields[i].tag, expected[i].tag) << m.fields[i].name;
        EXPECT_EQ(m.fields[i].tag_size, expected[i].tag_size) << m.fields[i].name;
        EXPECT_EQ(m.fields[i].bit, i) << m.fields[i].name;
    }
}

TEST_F(zidlc_model, the_presence_word_is_as_wide_as_the_fields_need)
{
    struct fact {
        unsigned fields;
        unsigned bits;
        uint64_t mask;
    };
    for (const fact &f : std::vector<fact>{{1, 8, 0x1},
                                           {8, 8, 0xff},
                                           {9, 16, 0x1ff},
                                           {16, 16, 0xffff},
                                           {17, 32, 0x1ffff},
                                           {32, 32, 0xffffffff},
                                           {33, 64, 0x1ffffffff},
                                           {64, 64, 0xffffffffffffffff}}) {
        const model all = model_of("group sample;\nmessage m {\n" + rows(f.fields) + "}\n");
        const message &m = *all.groups.at(0)->messages.at(0);
        EXPECT_EQ(m.presence_bits, f.bits) << f.fields;
        EXPECT_EQ(m.presence_mask, f.mask) << f.fields;
    }
}

TEST_F(zidlc_model, ownership_and_bytes_show_in_all_that_holds_them)
{
    const model all = model_of("group sample;\n"
                               "message plain { 1 x : u32; }\n"
                               "message text { 1 x : string; }\n"
                               "message list { 1 x : repeated plain; }\n"
                               "message blob { 1 x : bytes; }\n"
                               "message blobs { 1 x : repeated blob; }\n"
                               "message all { 1 a : plain; 2 b : text; 3 c : blobs; }\n");
    const std::vector<std::pair<bool, bool>> owns_and_holds_bytes = {{false, false}, {true, false}, {true, false},
                                                                     {true, true},   {true, true},  {true, true}};
    const auto &messages = all.groups.at(0)->messages;
    ASSERT_EQ(messages.size(), owns_and_holds_bytes.size());
    for (std::size_t i = 0; i < messages.size(); ++i) {
        EXPECT_EQ(messages[i]->owns_memory, owns_and_holds_bytes[i].first) << messages[i]->name;
        EXPECT_EQ(messages[i]->holds_bytes, owns_and_holds_bytes[i].second) << messages[i]->name;
    }
}

TEST_F(zidlc_model, the_fixed_part_of_an_encoding_is_bounded)
{
    const model all = model_of("group sample;\n"
                               "message scalars {\n"
                               "    1 a : u8;\n"      // 1 + 2
                               "    2 b : u32;\n"     // 1 + 5
                               "    3 c : u64;\n"     // 1 + 10
                               "    4 d : bool;\n"    // 1 + 1
                               "    5 e : fixed32;\n" // 1 + 4
                               "    6 f : sint64;\n"  // 1 + 10
                               "}\n"
                               "message variable {\n"
                               "    1 a : u32;\n" // 1 + 5
                               "    2 b : string;\n"
                               "    3 c : bytes;\n"
                               "    4 d : repeated u32;\n"
                               "}\n"
                               "message holder {\n"
                               "     1 a : scalars;\n"  // 1 + 1 + 38
                               "     2 b : variable;\n" // 1 + 5 + 6
                               "     3..15 unassigned;\n"
                               "    16 c : scalars;\n" // 2 + 1 + 38
                               "    17 d : repeated scalars;\n"
                               "}\n");
    const auto &messages = all.groups.at(0)->messages;
    EXPECT_EQ(messages.at(0)->fixed_bound, 38u);
    EXPECT_EQ(messages.at(1)->fixed_bound, 6u);
    EXPECT_EQ(messages.at(2)->fixed_bound, 93u);
}

TEST_F(zidlc_model, small_messages_have_few_singular_fields_with_short_tags)
{
    const model all =
        model_of("group sample;\n"
                 "message six { 1 a : u64; 2 b : bool; 3 c : string; 4 d : bytes; 5 e : u8; 6 f : u32; }\n"
                 "message seven { 1 a : u64; 2 b : u64; 3 c : u64; 4 d : u64; 5 e : u64; 6 f : u64; 7 g : u64; }\n"
                 "message eight_with_a_run {\n" +
                 rows(8) +
                 "}\n"
                 "message nine_with_a_run {\n" +
                 rows(9) +
                 "}\n"
                 "message run_and_memory { 1 a : u32; 2 b : u32; 3 c : u32; 4 d : u32; 5 e : string; }\n"
                 "message array { 1 a : repeated u32; }\n"
                 "message two_byte_tag { 1..2046 unassigned; 2047 a : u32; }\n"
                 "message three_byte_tag { 1..2047 unassigned; 2048 a : u32; }\n"
                 "message holds_small { 1 a : six; }\n"
                 "message holds_large { 1 a : seven; }\n");
    const std::vector<bool> is_small = {true, false, true, false, false, false, true, false, true, false};
    const auto &messages = all.groups.at(0)->messages;
    ASSERT_EQ(messages.size(), is_small.size());
    for (std::size_t i = 0; i < messages.size(); ++i)
        EXPECT_EQ(messages[i]->is_small, is_small[i]) << messages[i]->name;
}

TEST_F(zidlc_model, bytes_in_small_messages_leave_an_encoding_bounded_and_strings_do_not)
{
    const model all =
        model_of("group sample;\n"
                 "message plain {\n" +
                 rows(20) +
                 "}\n"
                 "message blob { 1 x : bytes; }\n"
                 "message holder { 1 x : blob; 2 y : u32; }\n"
                 "message text { 1 x : string; }\n"
                 "message text_holder { 1 x : text; }\n"
                 "message list { 1 x : repeated plain; }\n"
                 "message large { 1 a : bytes; 2 b : u64; 3 c : u64; 4 d : u64; 5 e : u64; 6 f : u64; 7 g : u64; }\n");
    const std::vector<bool> is_bounded = {true, true, true, false, false, false, false};
    const auto &messages = all.groups.at(0)->messages;
    ASSERT_EQ(messages.size(), is_bounded.size());
    for (std::size_t i = 0; i < messages.size(); ++i)
        EXPECT_EQ(messages[i]->is_bounded, is_bounded[i]) << messages[i]->name;
}

TEST_F(zidlc_model, presence_words_are_counted_through_embedded_messages_and_not_into_arrays)
{
    const model all = model_of("group sample;\n"
                               "message one { 1 x : u32; }\n"
                               "message three { 1 x : one; 2 y : one; }\n"
                               "message five { 1 x : three; 2 y : one; 3 z : repeated three; }\n");
    const auto &messages = all.groups.at(0)->messages;
    EXPECT_EQ(messages.at(0)->presence_words, 1u);
    EXPECT_EQ(messages.at(1)->presence_words, 3u);
    EXPECT_EQ(messages.at(2)->presence_words, 5u);
}

TEST_F(zidlc_model, four_neighbouring_u32_fields_with_like_tags_make_a_run)
{
    const model all = model_of("group sample;\n"
                               "message m {\n"
                               "     1 a : u32;\n"
                               "     2 b : u32;\n"
                               "     3 c : u32;\n"
                               "     4 d : u64;\n" // three are too few
                               "     5 e : u32;\n"
                               "     6 f : u32;\n"
                               "     7 g : u32;\n"
                               "     8 h : u32;\n"
                               "     9 unassigned;\n" // ends the run of e to h
                               "    10 i : u32;\n"
                               "    11 j : u32;\n"
                               "    12 k : u32;\n"
                               "    13 l : u32;\n"
                               "    14 n : u32;\n"
                               "    15 o : u32;\n"
                               "    16 p : u32;\n" // its tag has two bytes: ends the run of i to o
                               "}\n");
    const message &m = *all.groups.at(0)->messages.at(0);
    EXPECT_TRUE(m.is_varied);
    EXPECT_EQ(in_words(m.reads), "a | b | c | d | run e f g h | run i j k l n o | p");
    EXPECT_EQ(m.fields[0].writer, "varied_u32");
    EXPECT_EQ(m.fields[0].reader, "varied_u32");
    EXPECT_EQ(m.fields[3].writer, "u64");
    EXPECT_EQ(m.fields[3].reader, "varied_u64");
}

TEST_F(zidlc_model, an_encoder_makes_room_for_neighbours_of_bounded_size_together)
{
    const model all = model_of("group sample;\n"
                               "message plain { 1 x : u32; }\n" // 1 + 5
                               "message m {\n"
                               "    1 a : u32;\n"   // 1 + 5
                               "    2 b : plain;\n" // 1 + 1 + 6
                               "    3 c : plain;\n" // the same
                               "    4 d : string;\n"
                               "    5 e : repeated plain;\n"
                               "    6 f : bool;\n" // 1 + 1
                               "}\n");
    const std::vector<stretch> &writes = all.groups.at(0)->messages.at(1)->writes;
    ASSERT_EQ(writes.size(), 3u);
    EXPECT_EQ(writes[0].room, 22u);
    EXPECT_EQ(in_words(writes[0].blocks), "a | embedded b c");
    EXPECT_EQ(writes[1].room, 0u);
    EXPECT_EQ(in_words(writes[1].blocks), "d | e");
    EXPECT_EQ(writes[2].room, 2u);
    EXPECT_EQ(in_words(writes[2].blocks), "f");
    const std::vector<stretch> &plain = all.groups[0]->messages[0]->writes;
    ASSERT_EQ(plain.size(), 1u);
    EXPECT_EQ(plain[0].room, 0u) << "made around the whole message";
}

TEST_F(zidlc_model, messages_that_many_others_share_cost_no_more_than_others)
{
    const auto cost = [](unsigned levels) {
        std::string text = "group sample;\nmessage m0 { 1 x : u32; }\n";
        for (unsigned i = 1; i <= levels; ++i)
            text += fmt::format("message m{0} {{ 1 x : m{1}; 2 y : m{1}; }}\n", i, i - 1);
        for (unsigned i = 0; i < 1000; ++i)
            text += fmt::format("message holder_{} {{ 1 x : m{}; 2 y : repeated u32; }}\n", i, levels);
        const std::clock_t start = std::clock();
        generate(model_of(text), {artefact::codec});
        return std::clock() - start;
    };
    EXPECT_LT(cost(15), 5 * cost(1)); // about the same; with a visit to each use of m0 a hundred times as much
}

TEST_F(zidlc_model, counts_and_sizes_have_names)
{
    const model all = model_of("group sample;\n"
                               "message m {\n"
                               "    1 a : u32;\n"
                               "    2 b : string;\n"
                               "    3 c : bytes;\n"
                               "    4 d : repeated u32;\n"
                               "    5 e : repeated bytes, counted by total;\n"
                               "}\n");
    std::vector<std::string> names;
    for (const field &f : all.groups.at(0)->messages.at(0)->fields)
        names.push_back(f.count_name);
    EXPECT_EQ(names, (std::vector<std::string>{"", "", "c_size", "d_count", "total"}));
}

TEST_F(zidlc_model, a_message_knows_who_holds_it)
{
    const model all = model_of("group sample;\n"
                               "message in { 1 x : u32; }\n"
                               "message out_1 { 1 x : in; 2 y : repeated in; }\n"
                               "message out_2 { 1 x : u32; 2 y : in; }\n"
                               "message beyond { 1 x : out_2; }\n");
    const message &in = *all.groups.at(0)->messages.at(0);
    ASSERT_EQ(in.holders.size(), 2u);
    EXPECT_EQ(in.holders[0]->name, "out_1");
    EXPECT_EQ(in.holders[1]->name, "out_2");
    EXPECT_TRUE(all.groups[0]->messages.at(3)->holders.empty());
}

TEST_F(zidlc_model, comments_reach_the_model)
{
    const model all = model_of("# A sample.\n"
                               "group sample;\n"
                               "\n"
                               "# A message.\n"
                               "message m {\n"
                               "    # Above.\n"
                               "    1 x : u32;   # behind\n"
                               "                 # and below\n"
                               "}\n");
    const group &g = *all.groups.at(0);
    EXPECT_EQ(g.comment, std::vector<std::string>{"A sample."});
    EXPECT_EQ(g.messages.at(0)->comment, std::vector<std::string>{"A message."});
    EXPECT_EQ(g.messages[0]->fields.at(0).comment_above, std::vector<std::string>{"Above."});
    EXPECT_EQ(g.messages[0]->fields[0].comment, "behind and below");
}

} // namespace zidlc
