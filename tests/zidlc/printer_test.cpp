// Tables, wrapping, and lists in words.

#include "tools/zidlc/printer.hpp"

#include <gtest/gtest.h>

namespace zidlc
{

TEST(zidlc_printer, cells_are_padded_to_the_widest_of_their_column)
{
    table rows;
    rows.add("{}\t {};\t // {}", "uint8_t", "a", 1);
    rows.add("{}\t {};\t // {}", "uint32_t", "long_name", 22);
    printer out;
    out.block(rows, "  ");
    EXPECT_EQ(out.take(), "  uint8_t  a;         // 1\n"
                          "  uint32_t long_name; // 22\n");
}

TEST(zidlc_printer, a_short_row_takes_part_in_its_columns_and_leaves_no_blanks_at_its_end)
{
    table rows;
    rows.add("a\tb\tc");
    rows.add("long\twide");
    rows.add("x\t\t");
    EXPECT_EQ(rows.lines(), (std::vector<std::string>{"a   b   c", "longwide", "x"}));
}

TEST(zidlc_printer, a_line_among_rows_stays_out_of_their_columns)
{
    table rows;
    rows.add("a\tb");
    rows.add_line("a line much longer than any cell");
    rows.add("aa\tb");
    EXPECT_EQ(rows.lines(), (std::vector<std::string>{"a b", "a line much longer than any cell", "aab"}));
}

TEST(zidlc_printer, columns_are_as_wide_as_characters_not_bytes)
{
    table rows;
    rows.add("\u00e9\u00e8\t|");
    rows.add("ab\t|");
    EXPECT_EQ(rows.lines(), (std::vector<std::string>{"\u00e9\u00e8|", "ab|"}));
    EXPECT_EQ(text_width("\u00e9\u00e8"), 2u);
}

TEST(zidlc_printer, an_empty_row_of_a_block_gets_no_indent)
{
    table rows;
    rows.add("a");
    rows.add_line("");
    rows.add("b");
    printer out;
    out.block(rows, "    ");
    out.line();
    out.line("{{{}}}", 1);
    EXPECT_EQ(out.take(), "    a\n\n    b\n\n{1}\n");
}

TEST(zidlc_printer, text_is_cut_at_blanks_and_long_words_stay_whole)
{
    EXPECT_EQ(wrap("one two  three four", 9), (std::vector<std::string>{"one two", "three", "four"}));
    EXPECT_EQ(wrap("a immeasurable b", 4), (std::vector<std::string>{"a", "immeasurable", "b"}));
    EXPECT_EQ(wrap("exactly 9", 9), (std::vector<std::string>{"exactly 9"}));
    EXPECT_EQ(wrap("", 9), std::vector<std::string>{});
}

TEST(zidlc_printer, lists_read_as_sentences_do)
{
    EXPECT_EQ(enumeration({}), "");
    EXPECT_EQ(enumeration({"a"}), "a");
    EXPECT_EQ(enumeration({"a", "b"}), "a and b");
    EXPECT_EQ(enumeration({"a", "b", "c"}), "a, b and c");
    EXPECT_EQ(enumeration({"a", "b", "c"}, " or "), "a, b or c");
    EXPECT_EQ(joined({"a", "b", "c"}), "a, b, c");
}

} // namespace zidlc
