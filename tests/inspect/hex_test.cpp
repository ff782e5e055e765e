#include "inspect/wire/hex.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace rib_inspect;
using bytes = std::vector<uint8_t>;

// What is wrong, or "good".
std::string fault(std::string_view text)
{
    const hex_bytes read = from_hex(text);
    return read.is_good ? "good" : std::to_string(read.offset) + ": " + read.expected;
}

TEST(hex, takes_blanks_line_ends_colons_and_0x_between_bytes)
{
    const bytes expected = {0x0a, 0xFF, 0x00};
    EXPECT_EQ(from_hex("0aFF00").bytes, expected);
    EXPECT_EQ(from_hex(" 0a ff\t00\r\n").bytes, expected);
    EXPECT_EQ(from_hex("0a:ff:00").bytes, expected);
    EXPECT_EQ(from_hex("0x0aff00").bytes, expected);
    EXPECT_EQ(from_hex("0x0a 0Xff\n0x00").bytes, expected);
    EXPECT_EQ(from_hex("").bytes, bytes{});
}

TEST(hex, says_what_does_not_fit_and_where)
{
    EXPECT_EQ(fault("0a ff"), "good");
    EXPECT_EQ(fault("0a f"), "4: the second digit of a byte");
    EXPECT_EQ(fault("0a f 0"), "4: the second digit of a byte");
    EXPECT_EQ(fault("0a,ff"), "2: a hexadecimal digit");
    EXPECT_EQ(fault("0ag0"), "2: a hexadecimal digit");
    EXPECT_EQ(fault("0a 0x"), "5: two hexadecimal digits behind 0x");
    EXPECT_EQ(fault("0x0x0a"), "3: the second digit of a byte");
}

TEST(hex, places_have_lines_and_columns_from_1)
{
    const text_place place = place_in("ab\ncd\nef", 7);
    EXPECT_EQ(place.line, 3u);
    EXPECT_EQ(place.column, 2u);
    EXPECT_EQ(place_in("ab", 0).column, 1u);
}

TEST(hex, is_written_in_lower_case_with_anything_between)
{
    const bytes input = {0x0a, 0xff};
    EXPECT_EQ(to_hex(input), "0aff");
    EXPECT_EQ(to_hex(input, " "), "0a ff");
    EXPECT_EQ(to_hex({}), "");
}

} // namespace
