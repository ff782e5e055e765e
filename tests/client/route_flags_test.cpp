// The flags of a route, and value 35, which one of them copies.

#include "tests/client/route_support.hpp"

using namespace rib_test;

namespace
{

// Bits of route_flags and of rt_flags.
struct flag {
    int bit;
    uint64_t becomes;
};

const flag flags[] = {
    {0, 0x0001}, {1, 0x0002},  {2, 0x0004},  {3, 0x0008},  {4, 0}, //
    {5, 0x0020}, {6, 0x0040},  {7, 0x0080},                        //
    {8, 0x0010},                                                   // the place that bit 4 left
    {9, 0x0100}, {10, 0x0200}, {11, 0x0400}, {12, 0x0800}, {13, 0x1000},
};

TEST(route_flags, each_bit_up_to_13_stays_or_goes_to_its_place)
{
    for (const flag &each : flags) {
        SCOPED_TRACE(each.bit);
        expect_header(number({0xC0, 0x01}, uint64_t{1} << each.bit), // 24 route_flags
                      [&](rib_routetype_ &expected) { expected.rt_flags = each.becomes; });
    }
}

TEST(route_flags, bits_from_14_on_are_dropped)
{
    for (int bit = 14; bit <= 63; bit++) {
        SCOPED_TRACE(bit);
        expect_header(number({0xC0, 0x01}, uint64_t{1} << bit), [](rib_routetype_ &) {}); // 24 route_flags
    }
}

TEST(route_flags, all_bits_set_give_bits_0_to_12)
{
    expect_header(
        {
            0xC0, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 24 route_flags, every bit
        },
        [](rib_routetype_ &expected) { expected.rt_flags = 0x1FFF; });
}

// ---- Value 35 and its copy ----

TEST(route_value_35, keeps_its_low_8_bits_without_a_copy)
{
    expect_header(
        {
            0x98, 0x02, 0xAC, 0x02, // 35 route_value_35 = 300
        },
        [](rib_routetype_ &expected) { expected.rt_value_35 = 44; });
}

TEST(route_value_35, is_copied_when_bit_2_of_the_flags_is_set)
{
    expect_header(
        {
            0xC0, 0x01, 0x04,       // 24 route_flags = bit 2
            0x98, 0x02, 0xAC, 0x02, // 35 route_value_35 = 300
        },
        [](rib_routetype_ &expected) {
            expected.rt_flags = 4;
            expected.rt_value_35 = 44;
            expected.rt_value_35_copy = 44;
        });
}

TEST(route_value_35, is_copied_wherever_the_flags_stand_in_the_message)
{
    expect_header(
        {
            0x98, 0x02, 0x05, // 35 route_value_35 = 5
            0xC0, 0x01, 0x04, // 24 route_flags = bit 2
        },
        [](rib_routetype_ &expected) {
            expected.rt_flags = 4;
            expected.rt_value_35 = 5;
            expected.rt_value_35_copy = 5;
        });
}

TEST(route_value_35, is_not_copied_for_any_other_flag)
{
    expect_header(
        {
            0xC0, 0x01, 0xFB, 0x7F, // 24 route_flags = bits 0 to 13 but for 2
            0x98, 0x02, 0x05,       // 35 route_value_35 = 5
        },
        [](rib_routetype_ &expected) {
            expected.rt_flags = 0x1FFB;
            expected.rt_value_35 = 5;
        });
}

TEST(route_value_35, has_no_copy_when_it_is_absent)
{
    expect_header(
        {
            0xC0, 0x01, 0x04, // 24 route_flags = bit 2
        },
        [](rib_routetype_ &expected) { expected.rt_flags = 4; });
}

} // namespace
