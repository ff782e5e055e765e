// Lines, and tables whose columns align themselves.

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

TEST(zidlc_printer, all_rows_go_on_below_where_one_is_too_wide)
{
    table rows;
    rows.add("a\t(b)\v {{ c\t }}");
    rows.add("aa\t(bbb)\v {{ cc\t }}");
    rows.add_line("a row without a break is as wide as it is");
    EXPECT_EQ(rows.lines(14), (std::vector<std::string>{"a (b)   { c  }", "aa(bbb) { cc }",
                                                        "a row without a break is as wide as it is"}));
    EXPECT_EQ(rows.lines(13), (std::vector<std::string>{"a (b)", "    { c  }", "aa(bbb)", "    { cc }",
                                                        "a row without a break is as wide as it is"}));
}

TEST(zidlc_printer, a_list_takes_as_many_lines_as_it_needs)
{
    const std::string word(40, 'x');
    printer out;
    out.list("call(", {word, word, word, word}, ");");
    EXPECT_EQ(out.take(), "call(" + word + ", " + word + ", " + word + ",\n     " + word + ");\n");
}

TEST(zidlc_printer, a_line_of_a_list_is_as_wide_as_lines_may_be)
{
    const std::string word(65, 'x');
    EXPECT_EQ(filled("call(", {word, word}, ", ", ");", 1),
              (std::vector<std::string>{"call(" + word + ", " + word + ");"}));
    EXPECT_EQ(filled("call(", {word, word}, ", ", ");", 2),
              (std::vector<std::string>{"call(" + word + ",", "     " + word + ");"}));
    EXPECT_EQ(filled("    ", {}, " ", " continue;"), (std::vector<std::string>{"    continue;"}));
}

} // namespace zidlc
