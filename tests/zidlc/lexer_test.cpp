// Words, numbers, marks, comments, and what is none of these.

#include "tools/zidlc/lexer.hpp"

#include <gtest/gtest.h>

namespace zidlc
{

namespace
{

using texts = std::vector<std::string>;

struct lexed {
    explicit lexed(const std::string &text) : file{"a.zidl", text}, tokens(tokens_of(file, errors)) {}

    texts all() const
    {
        texts result;
        for (const token &t : tokens)
            result.emplace_back(t.text);
        return result;
    }

    source_file file;
    diagnostics errors;
    std::vector<token> tokens;
};

std::string errors_in(const std::string &text)
{
    return lexed(text).errors.text();
}

} // namespace

TEST(zidlc_lexer, words_numbers_and_marks_come_in_order_and_an_end_follows)
{
    const lexed text("message a{ 12..13 x_1 : u32, y.z; }");
    EXPECT_EQ(text.all(),
              (texts{"message", "a", "{", "12", "..", "13", "x_1", ":", "u32", ",", "y", ".", "z", ";", "}", ""}));
    EXPECT_EQ(text.tokens[3].number, 12u);
    EXPECT_EQ(text.tokens[5].number, 13u);
    EXPECT_EQ(text.tokens.back().kind, token_kind::end);
    EXPECT_TRUE(text.errors.empty());
}

TEST(zidlc_lexer, an_empty_file_is_an_end)
{
    EXPECT_EQ(lexed("").all(), texts{""});
    EXPECT_EQ(lexed("\n \t\r\n").all(), texts{""});
}

TEST(zidlc_lexer, dos_line_ends_leave_no_trace)
{
    const lexed text("a # one\r\nb\r\n# two\r\nc\r");
    EXPECT_EQ(text.all(), (texts{"a", "b", "c", ""}));
    EXPECT_EQ(text.tokens[0].comment_behind, "one");
    EXPECT_EQ(text.tokens[2].comment_above, texts{"two"});
    EXPECT_TRUE(text.errors.empty());
}

TEST(zidlc_lexer, comments_directly_above_a_token_belong_to_it)
{
    const lexed text("# one\n#\n#  two  \nmessage a # behind\n");
    EXPECT_EQ(text.tokens[0].comment_above, (texts{"one", "", " two"}));
    EXPECT_EQ(text.tokens[1].comment_above, texts{});
    EXPECT_EQ(text.tokens[0].comment_behind, "");
    EXPECT_EQ(text.tokens[1].comment_behind, "behind");
}

TEST(zidlc_lexer, a_blank_line_parts_a_comment_from_what_follows)
{
    EXPECT_EQ(lexed("# licence\n\n# about a\na").tokens[0].comment_above, texts{"about a"});
    EXPECT_EQ(lexed("# licence\n \t\na").tokens[0].comment_above, texts{});
}

TEST(zidlc_lexer, a_comment_below_a_comment_behind_a_token_continues_it)
{
    const lexed text("a;   # one\n"
                     "     # two\n"
                     "     # three\n"
                     "b;");
    EXPECT_EQ(text.tokens[1].comment_behind, "one two three");
    EXPECT_EQ(text.tokens[2].comment_above, texts{});
}

TEST(zidlc_lexer, a_comment_in_another_column_is_about_the_next_line)
{
    const lexed text("a;   # one\n"
                     "  # two\n"
                     "b;");
    EXPECT_EQ(text.tokens[1].comment_behind, "one");
    EXPECT_EQ(text.tokens[2].comment_above, texts{"two"});
}

TEST(zidlc_lexer, a_blank_line_ends_a_continued_comment)
{
    const lexed text("a;   # one\n"
                     "\n"
                     "     # two\n"
                     "b;");
    EXPECT_EQ(text.tokens[1].comment_behind, "one");
    EXPECT_EQ(text.tokens[2].comment_above, texts{"two"});
}

TEST(zidlc_lexer, comments_may_hold_any_text)
{
    const lexed text("a # caf\u00e9 \xff\xfe # \t \"*/\" // }\n");
    EXPECT_EQ(text.tokens[0].comment_behind, "caf\u00e9 \xff\xfe #   \"*/\" // }");
    EXPECT_TRUE(text.errors.empty());
}

TEST(zidlc_lexer, places_count_characters_and_keep_tabs_above_the_caret)
{
    EXPECT_EQ(errors_in("ok\n\t# caf\u00e9\n\t\u00e9\t x ! y"),
              "a.zidl:3:2: error: characters beyond ASCII belong in comments only\n"
              "\t\u00e9\t x ! y\n"
              "\t^\n"
              "a.zidl:3:7: error: unexpected character '!'\n"
              "\t\u00e9\t x ! y\n"
              "\t \t   ^\n");
}

TEST(zidlc_lexer, a_word_may_not_start_with_a_digit)
{
    EXPECT_EQ(errors_in("12ab"), "a.zidl:1:1: error: '12ab' is neither a number nor a name\n"
                                 "12ab\n"
                                 "^~~~\n");
}

TEST(zidlc_lexer, a_number_must_fit_in_32_bits)
{
    EXPECT_EQ(lexed("4294967295").tokens[0].number, 4294967295u);
    EXPECT_EQ(errors_in("4294967295"), "");
    EXPECT_EQ(errors_in("4294967296"), "a.zidl:1:1: error: number 4294967296 is too large\n"
                                       "4294967296\n"
                                       "^~~~~~~~~~\n");
}

TEST(zidlc_lexer, a_number_has_no_leading_zero)
{
    EXPECT_EQ(errors_in("0"), "");
    EXPECT_EQ(errors_in("010"), "a.zidl:1:1: error: number 010 has a leading zero\n"
                                "010\n"
                                "^~~\n");
}

TEST(zidlc_lexer, a_comment_that_would_swallow_the_next_line_in_c_is_an_error)
{
    EXPECT_EQ(errors_in("a # b\\ \n"), "a.zidl:1:6: error: a comment cannot end with a backslash\n"
                                       "a # b\\ \n"
                                       "     ^\n");
    EXPECT_EQ(errors_in("# b?\?/"), "a.zidl:1:4: error: a comment cannot end with a trigraph\n"
                                    "# b?\?/\n"
                                    "   ^~~\n");
}

TEST(zidlc_lexer, control_characters_are_errors_everywhere)
{
    const std::string nul = std::string("a # b") + '\0' + "c\n";
    EXPECT_EQ(errors_in(nul), "a.zidl:1:6: error: unexpected control character 0x00\na # b?c\n     ^\n");
    EXPECT_EQ(errors_in("a\fb"), "a.zidl:1:2: error: unexpected control character 0x0c\n"
                                 "a?b\n"
                                 " ^\n");
    EXPECT_EQ(errors_in("a\rb\n"), "a.zidl:1:2: error: unexpected control character 0x0d\n"
                                   "a?b\n"
                                   " ^\n");
}

TEST(zidlc_lexer, what_is_no_token_is_left_out_and_all_of_it_reported)
{
    const lexed text("a = b = c");
    EXPECT_EQ(text.all(), (texts{"a", "b", "c", ""}));
    EXPECT_EQ(text.errors.count(), 2u);
}

TEST(zidlc_diagnostics, quote_the_part_of_a_long_line_around_the_place)
{
    const lexed in(std::string(150, 'a') + "@" + std::string(150, 'b'));
    EXPECT_EQ(in.errors.text(), "a.zidl:1:151: error: unexpected character '@'\n"
                                "..." +
                                    std::string(100, 'a') + "@" + std::string(100, 'b') +
                                    "...\n"
                                    "   " +
                                    std::string(100, ' ') + "^\n");
}

TEST(zidlc_diagnostics, quote_a_line_that_just_fits_whole)
{
    const lexed in(std::string(100, 'a') + "@" + std::string(100, 'b'));
    EXPECT_EQ(in.errors.text(), "a.zidl:1:101: error: unexpected character '@'\n" + std::string(100, 'a') + "@" +
                                    std::string(100, 'b') + "\n" + std::string(100, ' ') + "^\n");
}

TEST(zidlc_diagnostics, cut_long_lines_between_characters)
{
    std::string dashes; // U+2013: three bytes each
    for (int i = 0; i < 40; ++i)
        dashes += "\xe2\x80\x93";
    const lexed in("#" + dashes + "\x01" + dashes);
    std::string shown;
    for (int i = 0; i < 33; ++i)
        shown += "\xe2\x80\x93";
    EXPECT_EQ(in.errors.text(), "a.zidl:1:42: error: unexpected control character 0x01\n"
                                "..." +
                                    shown + "?" + shown +
                                    "...\n"
                                    "   " +
                                    std::string(33, ' ') + "^\n");
}

TEST(zidlc_diagnostics, send_no_control_character_to_the_terminal)
{
    const lexed in("a \x1b[2J b");
    EXPECT_EQ(in.errors.text(), "a.zidl:1:3: error: unexpected control character 0x1b\n"
                                "a ?[2J b\n"
                                "  ^\n"
                                "a.zidl:1:4: error: unexpected character '['\n"
                                "a ?[2J b\n"
                                "   ^\n"
                                "a.zidl:1:5: error: '2J' is neither a number nor a name\n"
                                "a ?[2J b\n"
                                "    ^~\n");
}

TEST(zidlc_diagnostics, send_no_character_beyond_ascii_that_a_terminal_obeys)
{
    const lexed in("$ # \xc2\x9b"                // a control of two bytes
                   "2J\xe2\x80\xae\tz\xc3\xbc"); // turns the direction of the text
    EXPECT_EQ(in.errors.text(), "a.zidl:1:1: error: unexpected character '$'\n"
                                "$ # ?2J?\tz\xc3\xbc\n"
                                "^\n");
}

TEST(zidlc_diagnostics, cite_the_start_of_a_long_word)
{
    const lexed in("1" + std::string(1000000, 'x'));
    EXPECT_EQ(in.errors.text(), "a.zidl:1:1: error: '1" + std::string(398, 'x') + "...\n1" + std::string(59, 'x') +
                                    "...\n^" + std::string(59, '~') + "\n");
}

TEST(zidlc_diagnostics, count_all_errors_and_keep_the_first_hundred)
{
    const lexed in(std::string(101, '@'));
    EXPECT_EQ(in.errors.count(), 101u);
    EXPECT_NE(in.errors.text().find("a.zidl:1:100: "), std::string::npos);
    EXPECT_EQ(in.errors.text().find("a.zidl:1:101: "), std::string::npos);
}

} // namespace zidlc
