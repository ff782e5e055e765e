// The prefix of a route: destination, length and family.

#include "tests/client/route_support.hpp"

using namespace rib_test;

namespace
{

TEST(route_prefix, ipv4_address_fills_the_first_four_bytes_in_host_order)
{
    expect_header(
        {
            0x0A, 0x0B,                   // 1 route_prefix, 11 bytes
            0x0A, 0x07,                   //   1 address, 7 bytes
            0x08, 0x01,                   //     1 family = 1
            0x10, 0x84, 0x86, 0x88, 0x08, //     2 ipv4 = 0x01020304
            0x10, 0x18,                   //   2 prefix_len = 24
        },
        [](rib_routetype_ &expected) {
            expected.rt_family = 1;
            expected.rt_prefix_len = 24;
            set_address(expected.rt_dest, bytes{0x04, 0x03, 0x02, 0x01} + bytes(12, 0));
        });
}

// half0 holds bytes 20 01 0d b8 11 22 33 44, half1 55 66 77 88 99 aa bb cc, each as the host reads them.
const bytes half0_of_sample = {0x08, 0xA0, 0x82, 0xB4, 0xC0, 0x9B, 0xC2, 0xC8, 0x99, 0x44};       // 1 half0
const bytes half1_of_sample = {0x10, 0xD5, 0xCC, 0xDD, 0xC3, 0x98, 0xD3, 0xEA, 0xDD, 0xCC, 0x01}; // 2 half1
const bytes sample_address = {0x20, 0x01, 0x0D, 0xB8, 0x11, 0x22, 0x33, 0x44,
                              0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC};

// A prefix that holds an address of family 2 with the ipv6 record given, and a length of 64.
bytes ipv6_prefix(const bytes &ipv6)
{
    const bytes address = bytes{0x08, 0x02} + field({0x1A}, ipv6); // 1 family = 2, 3 ipv6
    return field({0x0A}, field({0x0A}, address) + bytes{0x10, 0x40});
}

TEST(route_prefix, ipv6_address_is_half0_then_half1)
{
    expect_header(ipv6_prefix(half0_of_sample + half1_of_sample), [](rib_routetype_ &expected) {
        expected.rt_family = 2;
        expected.rt_prefix_len = 64;
        set_address(expected.rt_dest, sample_address);
    });
}

TEST(route_prefix, ipv6_address_with_half0_alone_has_zeros_in_its_second_half)
{
    expect_header(ipv6_prefix(half0_of_sample), [](rib_routetype_ &expected) {
        expected.rt_family = 2;
        expected.rt_prefix_len = 64;
        set_address(expected.rt_dest, bytes(sample_address.begin(), sample_address.begin() + 8) + bytes(8, 0));
    });
}

TEST(route_prefix, ipv6_address_with_half1_alone_is_zero_and_a_success)
{
    expect_header(ipv6_prefix(half1_of_sample), [](rib_routetype_ &expected) {
        expected.rt_family = 2;
        expected.rt_prefix_len = 64;
    });
}

TEST(route_prefix, present_empty_ipv6_record_is_a_success)
{
    expect_header(ipv6_prefix({}), [](rib_routetype_ &expected) {
        expected.rt_family = 2;
        expected.rt_prefix_len = 64;
    });
}

TEST(route_prefix, length_keeps_its_low_8_bits)
{
    expect_header(
        {
            0x0A, 0x09,       // 1 route_prefix, 9 bytes
            0x0A, 0x04,       //   1 address, 4 bytes
            0x08, 0x01,       //     1 family = 1
            0x10, 0x07,       //     2 ipv4 = 7
            0x10, 0xAC, 0x02, //   2 prefix_len = 300
        },
        [](rib_routetype_ &expected) {
            expected.rt_family = 1;
            expected.rt_prefix_len = 44;
            set_address(expected.rt_dest, bytes{0x07} + bytes(15, 0));
        });
}

TEST(route_prefix, missing_length_is_255)
{
    expect_header(
        {
            0x0A, 0x06, // 1 route_prefix, 6 bytes
            0x0A, 0x04, //   1 address, 4 bytes
            0x08, 0x01, //     1 family = 1
            0x10, 0x07, //     2 ipv4 = 7
        },
        [](rib_routetype_ &expected) {
            expected.rt_family = 1;
            expected.rt_prefix_len = 255;
            set_address(expected.rt_dest, bytes{0x07} + bytes(15, 0));
        });
}

TEST(route_prefix, present_empty_prefix_has_length_255_and_no_family)
{
    expect_header(
        {
            0x0A, 0x00, // 1 route_prefix, empty
        },
        [](rib_routetype_ &expected) { expected.rt_prefix_len = 255; });
}

TEST(route_prefix, prefix_without_an_address_keeps_its_length_and_has_no_family)
{
    expect_header(
        {
            0x0A, 0x02, // 1 route_prefix, 2 bytes
            0x10, 0x18, //   2 prefix_len = 24
        },
        [](rib_routetype_ &expected) { expected.rt_prefix_len = 24; });
}

// The prefix fails: the record is handed out with nothing filled in, not even the scalars in front of the prefix.
void expect_malformed_prefix(const bytes &prefix)
{
    const converted_route route(bytes{0x10, 0x05} + field({0x0A}, prefix)); // 2 route_value_2 = 5
    EXPECT_EQ(route.status, 0xA2D28000u);
    ASSERT_NE(route.record, nullptr);
    EXPECT_EQ(route.record->rt_family, 0u);
    EXPECT_EQ(route.record->rt_prefix_len, 0);
    EXPECT_EQ(route.record->rt_value_2, 0);
    EXPECT_EQ(route.record->rt_path_count, 0);
}

TEST(route_prefix, present_empty_address_is_malformed)
{
    expect_malformed_prefix({
        0x0A, 0x00, // 1 address, empty
    });
}

TEST(route_prefix, address_without_a_family_is_malformed)
{
    expect_malformed_prefix({
        0x0A, 0x02, // 1 address, 2 bytes
        0x10, 0x07, //   2 ipv4 = 7
    });
}

TEST(route_prefix, ipv4_family_without_its_value_is_malformed)
{
    expect_malformed_prefix({
        0x0A, 0x06, // 1 address, 6 bytes
        0x08, 0x01, //   1 family = 1
        0x1A, 0x02, //   3 ipv6, 2 bytes
        0x08, 0x01, //     1 half0 = 1
    });
}

TEST(route_prefix, ipv6_family_without_its_record_is_malformed)
{
    expect_malformed_prefix({
        0x0A, 0x04, // 1 address, 4 bytes
        0x08, 0x02, //   1 family = 2
        0x10, 0x07, //   2 ipv4 = 7
    });
}

TEST(route_prefix, foreign_family_is_malformed_not_unsupported)
{
    for (const uint8_t family : bytes{0, 3, 10, 127}) {
        expect_malformed_prefix({
            0x0A, 0x04,   // 1 address, 4 bytes
            0x08, family, //   1 family
            0x10, 0x07,   //   2 ipv4 = 7
        });
    }
}

TEST(route_prefix, family_is_judged_at_32_bits)
{
    expect_malformed_prefix({
        0x0A, 0x06,             // 1 address, 6 bytes
        0x08, 0x81, 0x80, 0x04, //   1 family = 65537
        0x10, 0x07,             //   2 ipv4 = 7
    });
}

} // namespace
