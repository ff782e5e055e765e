// Widths, wrapping, and lists in words.

#include "tools/zidlc/text.hpp"

#include <gtest/gtest.h>

namespace zidlc
{

TEST(zidlc_text, text_is_as_wide_as_its_characters_not_its_bytes)
{
    EXPECT_EQ(text_width("\u00e9\u00e8"), 2u);
}

TEST(zidlc_text, text_is_cut_at_blanks_and_long_words_stay_whole)
{
    EXPECT_EQ(wrap("one two  three four", 9), (std::vector<std::string>{"one two", "three", "four"}));
    EXPECT_EQ(wrap("a immeasurable b", 4), (std::vector<std::string>{"a", "immeasurable", "b"}));
    EXPECT_EQ(wrap("exactly 9", 9), (std::vector<std::string>{"exactly 9"}));
    EXPECT_EQ(wrap("", 9), std::vector<std::string>{});
}

TEST(zidlc_text, lists_read_as_sentences_do)
{
    EXPECT_EQ(enumeration({}), "");
    EXPECT_EQ(enumeration({"a"}), "a");
    EXPECT_EQ(enumeration({"a", "b"}), "a and b");
    EXPECT_EQ(enumeration({"a", "b", "c"}), "a, b and c");
    EXPECT_EQ(enumeration({"a", "b", "c"}, " or "), "a, b or c");
    EXPECT_EQ(joined({"a", "b", "c"}), "a, b, c");
}

} // namespace zidlc
