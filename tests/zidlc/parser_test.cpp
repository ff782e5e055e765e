// The grammar: trees from good text, and every error with its place.

#include "tools/zidlc/parser.hpp"

#include <gtest/gtest.h>

namespace zidlc
{

namespace
{

struct parsed {
    explicit parsed(const std::string &text) : file{"a.zidl", text}, tree(parse(file, errors)) {}

    source_file file;
    diagnostics errors;
    file_syntax tree;
};

std::string errors_in(const std::string &text)
{
    return parsed(text).errors.text();
}

} // namespace

TEST(zidlc_parser, a_file_is_a_group_with_uses_and_messages)
{
    const parsed text("# About a.\n"
                      "group a; # not about a\n"
                      "use b;\n"
                      "use c;\n"
                      "# About m.\n"
                      "# More.\n"
                      "message m { 1 x : u32; }\n"
                      "message n { 1 y : m; }\n");
    EXPECT_EQ(text.errors.text(), "");
    EXPECT_EQ(text.tree.group.text, "a");
    EXPECT_EQ(text.tree.comment, std::vector<std::string>{"About a."});
    ASSERT_EQ(text.tree.uses.size(), 2u);
    EXPECT_EQ(text.tree.uses[1].text, "c");
    ASSERT_EQ(text.tree.messages.size(), 2u);
    EXPECT_EQ(text.tree.messages[0].name.text, "m");
    EXPECT_EQ(text.tree.messages[0].comment, (std::vector<std::string>{"About m.", "More."}));
}

TEST(zidlc_parser, a_field_row_has_all_its_parts)
{
    const parsed text("group a;\n"
                      "message m {\n"
                      "    # Above.\n"
                      "    7 x : repeated u32, counted by n, out of order; # behind\n"
                      "    8 y : m;\n"
                      "}\n");
    EXPECT_EQ(text.errors.text(), "");
    ASSERT_EQ(text.tree.messages.at(0).rows.size(), 2u);
    const auto &x = std::get<field_syntax>(text.tree.messages[0].rows[0]);
    EXPECT_EQ(x.number.value, 7u);
    EXPECT_EQ(x.name.text, "x");
    EXPECT_EQ(x.type.text, "u32");
    EXPECT_TRUE(x.repeated);
    ASSERT_TRUE(x.counted_by);
    EXPECT_EQ(x.counted_by->text, "n");
    EXPECT_TRUE(x.out_of_order);
    EXPECT_EQ(x.comment, "behind");
    EXPECT_EQ(x.comment_above, std::vector<std::string>{"Above."});
    const auto &y = std::get<field_syntax>(text.tree.messages[0].rows[1]);
    EXPECT_FALSE(y.repeated);
    EXPECT_FALSE(y.counted_by);
    EXPECT_FALSE(y.out_of_order);
}

TEST(zidlc_parser, unassigned_rows_name_one_number_or_a_range)
{
    const parsed text("group a;\n"
                      "message m {\n"
                      "    3 unassigned; # was used\n"
                      "    5 .. 7 unassigned;\n"
                      "}\n");
    EXPECT_EQ(text.errors.text(), "");
    ASSERT_EQ(text.tree.messages.at(0).rows.size(), 2u);
    const auto &one = std::get<unassigned_syntax>(text.tree.messages[0].rows[0]);
    EXPECT_EQ(one.first.value, 3u);
    EXPECT_EQ(one.last.value, 3u);
    EXPECT_EQ(one.comment, "was used");
    const auto &range = std::get<unassigned_syntax>(text.tree.messages[0].rows[1]);
    EXPECT_EQ(range.first.value, 5u);
    EXPECT_EQ(range.last.value, 7u);
}

TEST(zidlc_parser, omissions_stand_before_the_rows)
{
    const parsed text("group a;\n"
                      "message m {\n"
                      "    omit encode.flags, decode.memory;\n"
                      "    1 x : u32;\n"
                      "}\n");
    EXPECT_EQ(text.errors.text(), "");
    const message_syntax &m = text.tree.messages.at(0);
    ASSERT_EQ(m.omissions.size(), 2u);
    EXPECT_EQ(m.omissions[0].operation, "encode");
    EXPECT_EQ(m.omissions[1].argument, "memory");
}

TEST(zidlc_parser, a_message_is_dispatched_when_it_says_so)
{
    const parsed text("group a;\n"
                      "message m { dispatch; 1 x : u32; }\n"
                      "message n { 1 x : u32; }\n");
    EXPECT_EQ(text.errors.text(), "");
    EXPECT_TRUE(text.tree.messages.at(0).dispatch);
    EXPECT_FALSE(text.tree.messages.at(1).dispatch);
}

TEST(zidlc_parser, a_message_is_rare_when_it_says_so)
{
    const parsed text("group a;\n"
                      "message m { rare; omit encode.flags; 1 x : u32; }\n"
                      "message n { dispatch; 1 x : u32; }\n");
    EXPECT_EQ(text.errors.text(), "");
    EXPECT_TRUE(text.tree.messages.at(0).rare);
    EXPECT_FALSE(text.tree.messages.at(0).dispatch);
    EXPECT_FALSE(text.tree.messages.at(1).rare);
}

TEST(zidlc_parser, layout_does_not_matter)
{
    const parsed text("group\na\n;message m{1x:u32;}");
    EXPECT_EQ(text.errors.text(), "a.zidl:3:12: error: '1x' is neither a number nor a name\n"
                                  ";message m{1x:u32;}\n"
                                  "           ^~\n"
                                  "a.zidl:3:14: error: expected a member name or 'unassigned', not ':'\n"
                                  ";message m{1x:u32;}\n"
                                  "             ^\n");
    EXPECT_EQ(errors_in("group\na\n;message m{1 x:u32;}"), "");
}

TEST(zidlc_parser, the_group_comes_first)
{
    EXPECT_EQ(errors_in(""), "a.zidl:1:1: error: expected 'group NAME;' before anything else, but the file ends\n"
                             "\n"
                             "^\n");
    EXPECT_EQ(errors_in("message m { 1 x : u32; }"),
              "a.zidl:1:1: error: expected 'group NAME;' before anything else, not 'message'\n"
              "message m { 1 x : u32; }\n"
              "^~~~~~~\n");
}

TEST(zidlc_parser, a_group_has_a_name)
{
    EXPECT_EQ(errors_in("group ;"), "a.zidl:1:7: error: expected a group name, not ';'\n"
                                    "group ;\n"
                                    "      ^\n");
}

TEST(zidlc_parser, a_file_has_one_group)
{
    EXPECT_EQ(errors_in("group a;\ngroup b;\n"), "a.zidl:2:1: error: a file has one 'group' statement\n"
                                                 "group b;\n"
                                                 "^~~~~\n"
                                                 "a.zidl:1:7: note: the first one\n"
                                                 "group a;\n"
                                                 "      ^\n");
}

TEST(zidlc_parser, uses_stand_before_the_messages)
{
    EXPECT_EQ(errors_in("group a;\nmessage m { 1 x : u32; }\nuse b;\n"),
              "a.zidl:3:1: error: 'use' stands before the messages\n"
              "use b;\n"
              "^~~\n");
}

TEST(zidlc_parser, a_use_names_a_group)
{
    EXPECT_EQ(errors_in("group a;\nuse 7;\n"), "a.zidl:2:5: error: expected a group name, not '7'\n"
                                               "use 7;\n"
                                               "    ^\n");
}

TEST(zidlc_parser, a_statement_begins_with_a_known_word)
{
    EXPECT_EQ(errors_in("group a;\nstruct m { 1 x : u32; }\n"),
              "a.zidl:2:1: error: expected 'use' or 'message', not 'struct'\n"
              "struct m { 1 x : u32; }\n"
              "^~~~~~\n");
    EXPECT_EQ(errors_in("group a;\n}\n"), "a.zidl:2:1: error: expected 'use' or 'message', not '}'\n"
                                          "}\n"
                                          "^\n");
}

TEST(zidlc_parser, a_message_has_a_name_and_a_body)
{
    EXPECT_EQ(errors_in("group a;\nmessage { 1 x : u32; }\n"), "a.zidl:2:9: error: expected a message name, not '{'\n"
                                                               "message { 1 x : u32; }\n"
                                                               "        ^\n");
    EXPECT_EQ(errors_in("group a;\nmessage m;\n"), "a.zidl:2:10: error: expected '{', not ';'\n"
                                                   "message m;\n"
                                                   "         ^\n");
}

TEST(zidlc_parser, a_row_begins_with_a_number)
{
    EXPECT_EQ(errors_in("group a;\nmessage m {\n    x : u32;\n}\n"),
              "a.zidl:3:5: error: expected a field number or '}', not 'x'\n"
              "    x : u32;\n"
              "    ^\n");
}

TEST(zidlc_parser, a_field_has_a_name_a_colon_and_a_type)
{
    EXPECT_EQ(errors_in("group a;\nmessage m {\n    1 : u32;\n    2 x u32;\n    3 y : ;\n    4 z : repeated ;\n}\n"),
              "a.zidl:3:7: error: expected a member name or 'unassigned', not ':'\n"
              "    1 : u32;\n"
              "      ^\n"
              "a.zidl:4:9: error: expected ':', not 'u32'\n"
              "    2 x u32;\n"
              "        ^~~\n"
              "a.zidl:5:11: error: expected a type, not ';'\n"
              "    3 y : ;\n"
              "          ^\n"
              "a.zidl:6:20: error: expected a type, not ';'\n"
              "    4 z : repeated ;\n"
              "                   ^\n");
}

TEST(zidlc_parser, annotations_are_complete_and_said_once)
{
    EXPECT_EQ(errors_in("group a;\n"
                        "message m {\n"
                        "    1 a : repeated u8, counted n;\n"
                        "    2 b : repeated u8, counted by ;\n"
                        "    3 c : repeated u8, out order;\n"
                        "    4 d : repeated u8, out of it;\n"
                        "    5 e : repeated u8, packed;\n"
                        "    6 f : u8, out of order, out of order;\n"
                        "    7 g : repeated u8, counted by n, counted by k;\n"
                        "}\n"),
              "a.zidl:3:32: error: expected 'by', not 'n'\n"
              "    1 a : repeated u8, counted n;\n"
              "                               ^\n"
              "a.zidl:4:35: error: expected the name of the count, not ';'\n"
              "    2 b : repeated u8, counted by ;\n"
              "                                  ^\n"
              "a.zidl:5:28: error: expected 'of', not 'order'\n"
              "    3 c : repeated u8, out order;\n"
              "                           ^~~~~\n"
              "a.zidl:6:31: error: expected 'order', not 'it'\n"
              "    4 d : repeated u8, out of it;\n"
              "                              ^~\n"
              "a.zidl:7:24: error: expected 'counted by NAME' or 'out of order', not 'packed'\n"
              "    5 e : repeated u8, packed;\n"
              "                       ^~~~~~\n"
              "a.zidl:8:29: error: this is said already\n"
              "    6 f : u8, out of order, out of order;\n"
              "                            ^~~\n"
              "a.zidl:9:38: error: this is said already\n"
              "    7 g : repeated u8, counted by n, counted by k;\n"
              "                                     ^~~~~~~\n");
}

TEST(zidlc_parser, an_unassigned_row_is_complete)
{
    EXPECT_EQ(errors_in("group a;\nmessage m {\n    1.. unassigned;\n    3..4 x : u32;\n}\n"),
              "a.zidl:3:9: error: expected a number, not 'unassigned'\n"
              "    1.. unassigned;\n"
              "        ^~~~~~~~~~\n"
              "a.zidl:4:10: error: expected 'unassigned', not 'x'\n"
              "    3..4 x : u32;\n"
              "         ^\n");
}

TEST(zidlc_parser, omissions_are_complete_and_stand_once_before_the_rows)
{
    EXPECT_EQ(errors_in("group a;\n"
                        "message m {\n"
                        "    omit ;\n"
                        "    omit encode;\n"
                        "    omit encode.;\n"
                        "    omit encode.flags;\n"
                        "    omit decode.flags;\n"
                        "    1 x : u32;\n"
                        "}\n"
                        "message n {\n"
                        "    1 x : u32;\n"
                        "    omit encode.flags;\n"
                        "}\n"),
              "a.zidl:3:10: error: expected an operation, not ';'\n"
              "    omit ;\n"
              "         ^\n"
              "a.zidl:4:16: error: expected '.', not ';'\n"
              "    omit encode;\n"
              "               ^\n"
              "a.zidl:5:17: error: expected an argument, not ';'\n"
              "    omit encode.;\n"
              "                ^\n"
              "a.zidl:7:5: error: 'omit' stands once, before the rows\n"
              "    omit decode.flags;\n"
              "    ^~~~\n"
              "a.zidl:12:5: error: 'omit' stands once, before the rows\n"
              "    omit encode.flags;\n"
              "    ^~~~\n");
}

TEST(zidlc_parser, dispatch_or_rare_is_said_once_before_the_rows)
{
    EXPECT_EQ(errors_in("group a;\n"
                        "message m {\n"
                        "    dispatch;\n"
                        "    dispatch;\n"
                        "    rare;\n"
                        "    1 x : u32;\n"
                        "}\n"
                        "message n {\n"
                        "    1 x : u32;\n"
                        "    rare;\n"
                        "}\n"),
              "a.zidl:4:5: error: 'dispatch' or 'rare' stands once, before the rows\n"
              "    dispatch;\n"
              "    ^~~~~~~~\n"
              "a.zidl:5:5: error: 'dispatch' or 'rare' stands once, before the rows\n"
              "    rare;\n"
              "    ^~~~\n"
              "a.zidl:10:5: error: 'dispatch' or 'rare' stands once, before the rows\n"
              "    rare;\n"
              "    ^~~~\n");
}

TEST(zidlc_parser, a_semicolon_forgotten_at_a_line_end_is_reported_there_and_costs_nothing_else)
{
    EXPECT_EQ(errors_in("group a\n"
                        "message m {\n"
                        "    1 x : u32\n"
                        "    2 y : u32 # behind\n"
                        "    3 : u32;\n"
                        "}\n"),
              "a.zidl:1:8: error: expected ';'\n"
              "group a\n"
              "       ^\n"
              "a.zidl:3:14: error: expected ';'\n"
              "    1 x : u32\n"
              "             ^\n"
              "a.zidl:4:14: error: expected ';'\n"
              "    2 y : u32 # behind\n"
              "             ^\n"
              "a.zidl:5:7: error: expected a member name or 'unassigned', not ':'\n"
              "    3 : u32;\n"
              "      ^\n");
}

TEST(zidlc_parser, a_row_that_breaks_off_is_reported_at_its_end_and_the_next_row_counts)
{
    EXPECT_EQ(errors_in("group a;\n"
                        "message m {\n"
                        "    1\n"
                        "    2 a\n"
                        "    3 b :\n"
                        "    4 c : repeated # what?\n"
                        "    5 d : u32,\n"
                        "    6..\n"
                        "    7 : u32;\n"
                        "}\n"),
              "a.zidl:3:6: error: expected a member name or 'unassigned'\n"
              "    1\n"
              "     ^\n"
              "a.zidl:4:8: error: expected ':'\n"
              "    2 a\n"
              "       ^\n"
              "a.zidl:5:10: error: expected a type\n"
              "    3 b :\n"
              "         ^\n"
              "a.zidl:6:19: error: expected a type\n"
              "    4 c : repeated # what?\n"
              "                  ^\n"
              "a.zidl:7:15: error: expected 'counted by NAME' or 'out of order'\n"
              "    5 d : u32,\n"
              "              ^\n"
              "a.zidl:9:7: error: expected 'unassigned', not ':'\n"
              "    7 : u32;\n"
              "      ^\n");
}

TEST(zidlc_parser, a_semicolon_forgotten_before_a_brace_is_reported_behind_the_row)
{
    EXPECT_EQ(errors_in("group a;\nmessage m { 1 x : repeated u32 }\nmessage n { 1 : u32; }\n"),
              "a.zidl:2:31: error: expected ';'\n"
              "message m { 1 x : repeated u32 }\n"
              "                              ^\n"
              "a.zidl:3:15: error: expected a member name or 'unassigned', not ':'\n"
              "message n { 1 : u32; }\n"
              "              ^\n");
}

TEST(zidlc_parser, comments_in_the_manner_of_c_are_explained_once_and_cost_nothing_else)
{
    EXPECT_EQ(errors_in("// A group.\n"
                        "group a;\n"
                        "message m {\n"
                        "    1 x : u32; // the first\n"
                        "    /* The second,\n"
                        "       and last. */ 2 : u32;\n"
                        "}\n"),
              "a.zidl:1:1: error: comments begin with '#', not with '//'\n"
              "// A group.\n"
              "^~\n"
              "a.zidl:6:23: error: expected a member name or 'unassigned', not ':'\n"
              "       and last. */ 2 : u32;\n"
              "                      ^\n");
    EXPECT_EQ(errors_in("group a; /* it\n"), "a.zidl:1:10: error: comments begin with '#', not with '/*'\n"
                                             "group a; /* it\n"
                                             "         ^~\n");
}

TEST(zidlc_parser, a_semicolon_missing_inside_a_line_is_reported_at_what_stands_there)
{
    EXPECT_EQ(errors_in("group a;\nmessage m { 1 x : u32 2 y : u32; 3 }\n"),
              "a.zidl:2:23: error: expected ';', not '2'\n"
              "message m { 1 x : u32 2 y : u32; 3 }\n"
              "                      ^\n"
              "a.zidl:2:36: error: expected a member name or 'unassigned', not '}'\n"
              "message m { 1 x : u32 2 y : u32; 3 }\n"
              "                                   ^\n");
}

TEST(zidlc_parser, a_message_that_is_not_closed_is_reported_where_the_next_statement_starts)
{
    EXPECT_EQ(errors_in("group a;\nmessage m {\n    1 x : u32;\nmessage n { 1 : u32; }\n"),
              "a.zidl:4:1: error: expected '}', not 'message'\n"
              "message n { 1 : u32; }\n"
              "^~~~~~~\n"
              "a.zidl:4:15: error: expected a member name or 'unassigned', not ':'\n"
              "message n { 1 : u32; }\n"
              "              ^\n");
}

TEST(zidlc_parser, an_unfinished_file_is_reported_behind_its_last_token)
{
    EXPECT_EQ(errors_in("group a;\nmessage m {\n    1 x : u32;\n\n# the end\n"),
              "a.zidl:3:15: error: expected '}', but the file ends\n"
              "    1 x : u32;\n"
              "              ^\n");
    EXPECT_EQ(errors_in("group a;\nmessage m {\n    1 x"), "a.zidl:3:8: error: expected ':', but the file ends\n"
                                                           "    1 x\n"
                                                           "       ^\n");
}

TEST(zidlc_parser, a_broken_message_header_costs_its_message_only)
{
    EXPECT_EQ(errors_in("group a;\n"
                        "message 5 { 1 x : u32; 2 y : u32; }\n"
                        "message n { 1 ; }\n"),
              "a.zidl:2:9: error: expected a message name, not '5'\n"
              "message 5 { 1 x : u32; 2 y : u32; }\n"
              "        ^\n"
              "a.zidl:3:15: error: expected a member name or 'unassigned', not ';'\n"
              "message n { 1 ; }\n"
              "              ^\n");
}

TEST(zidlc_parser, every_cut_inside_a_message_is_reported)
{
    const std::string text = "group a;\n"
                             "message m {\n"
                             "    omit encode.flags;\n"
                             "    rare;\n"
                             "    1 x : repeated u32, counted by n, out of order; # behind\n"
                             "    2..3 unassigned;\n"
                             "}\n";
    ASSERT_EQ(errors_in(text), "");
    for (std::size_t length = text.find("message") + 1; length <= text.rfind('}'); ++length)
        EXPECT_NE(errors_in(text.substr(0, length)), "") << text.substr(0, length);
}

} // namespace zidlc
