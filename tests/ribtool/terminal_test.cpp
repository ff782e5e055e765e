// What is shown of texts on terminals: widths, cut lines, names that would command a terminal.

#include "tools/terminal/terminal.hpp"

#include <gtest/gtest.h>

namespace terminal
{

TEST(terminal_text, control_characters_are_made_visible)
{
    EXPECT_EQ(visible("bgp-65000"), "bgp-65000");
    EXPECT_EQ(visible("a\x1b[2Jb"), "a\\x1b[2Jb");
    EXPECT_EQ(visible("line\nfeed\r\tbell\a\x7f"), "line\\x0afeed\\x0d\\x09bell\\x07\\x7f");
    EXPECT_EQ(visible(std::string_view("\0", 1)), "\\x00");
    EXPECT_EQ(visible("\xc2\x9b"
                      "31m"),
              "\\u009b31m"); // the one-byte start of a command
    EXPECT_EQ(visible("\xe2\x80\xae"
                      "fdp.exe"),
              "\\u202efdp.exe");                   // from here on right to left
    EXPECT_EQ(visible("\xe2\x80\xa8"), "\\u2028"); // ends a line
}

TEST(terminal_text, letters_of_any_language_stay)
{
    EXPECT_EQ(visible("Zürich \xe6\x9d\xb1\xe4\xba\xac \xf0\x9f\x8c\x8d"),
              "Zürich \xe6\x9d\xb1\xe4\xba\xac \xf0\x9f\x8c\x8d");
}

TEST(terminal_text, what_is_no_utf8_is_shown_byte_by_byte)
{
    EXPECT_EQ(visible("a\xff"
                      "b"),
              "a\\xffb");
    EXPECT_EQ(visible("\xc3"), "\\xc3");                            // the second byte is missing
    EXPECT_EQ(visible("\xc0\xaf"), "\\xc0\\xaf");                   // two bytes for what takes one
    EXPECT_EQ(visible("\xe0\x9f\xbf"), "\\xe0\\x9f\\xbf");          // three bytes for what takes two
    EXPECT_EQ(visible("\xed\xa0\x80"), "\\xed\\xa0\\x80");          // half of a pair
    EXPECT_EQ(visible("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80"); // beyond the last character
}

TEST(terminal_text, columns_count_characters_and_no_colours)
{
    EXPECT_EQ(columns(""), 0u);
    EXPECT_EQ(columns("Zürich"), 6u);
    EXPECT_EQ(columns("\x1b[1;31mred\x1b[0m"), 3u);
    EXPECT_EQ(columns("\xff\xff"), 2u);
    EXPECT_EQ(columns("\xe6\x9d\xb1\xe4\xba\xac"), 4u); // Tokyo
    EXPECT_EQ(columns("\xf0\x9f\x8c\x8d"), 2u);         // the Earth
    EXPECT_EQ(columns("u\xcc\x88"), 1u);                // a diaeresis of its own
}

TEST(terminal_text, a_line_is_cut_to_its_columns_with_an_ellipsis)
{
    EXPECT_EQ(fitted("abcdef", 6), "abcdef");
    EXPECT_EQ(fitted("abcdef", 5), "abcd…");
    EXPECT_EQ(fitted("äöüabc", 4), "äöü…");
    EXPECT_EQ(fitted("abcdef", 1), "…");
    EXPECT_EQ(fitted("abcdef", 0), "abcdef");                           // no terminal
    EXPECT_EQ(fitted("\xe6\x9d\xb1\xe4\xba\xac!", 4), "\xe6\x9d\xb1…"); // the second character does not fit
}

TEST(terminal_text, a_cut_line_leaves_no_colour_behind)
{
    EXPECT_EQ(fitted("\x1b[31mabcdef\x1b[0m", 4), "\x1b[31mabc…\x1b[0m");
}

TEST(terminal_text, colours_are_written_only_where_they_are_wanted)
{
    EXPECT_EQ(painter(true)(style::red, "x"), "\x1b[31mx\x1b[0m");
    EXPECT_EQ(painter(true)(style::plain, "x"), "x");
    EXPECT_EQ(painter(true)(style::red, ""), "");
    EXPECT_EQ(painter(false)(style::red, "x"), "x");
}

} // namespace terminal
