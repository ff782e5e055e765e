// The attribute blocks of a converted path: next-next-hops, instance ID, layer 2, grouping, tunnel, AFT, SID list and via
// SID, and extended communities.

#include "tests/client/route_support.hpp"

using namespace rib_test;

namespace
{

// ---- Next-next-hops ----

bytes nnh(const bytes &fields)
{
    return field({0xAA, 0x01}, fields);
}

const bytes type_1_value_7 = {
    0x08, 0x01, // 1 nnh_value_1 = 1
    0x10, 0x07, // 2 nnh_value_2 = 7
};
const bytes type_2_value_8 = {
    0x08, 0x02, // 1 nnh_value_1 = 2
    0x18, 0x08, // 3 nnh_value_3 = 8
};

TEST(route_nnh, type_1_takes_value_2)
{
    expect_path(nnh(type_1_value_7), [](rib_path_entry &expected) {
        expected.pe_nnh_count = 1;
        expected.pe_nnh[0] = {1, 7};
    });
}

TEST(route_nnh, type_2_takes_value_3)
{
    expect_path(nnh(type_2_value_8), [](rib_path_entry &expected) {
        expected.pe_nnh_count = 1;
        expected.pe_nnh[0] = {2, 8};
    });
}

TEST(route_nnh, entries_are_taken_in_order)
{
    expect_path(nnh(type_1_value_7) + nnh(type_2_value_8) + nnh(type_1_value_7), [](rib_path_entry &expected) {
        expected.pe_nnh_count = 3;
        expected.pe_nnh[0] = {1, 7};
        expected.pe_nnh[1] = {2, 8};
        expected.pe_nnh[2] = {1, 7};
    });
}

TEST(route_nnh, values_keep_32_bits)
{
    expect_path(nnh({
                    0x08, 0x01,                         // 1 nnh_value_1 = 1
                    0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 2 nnh_value_2 = 0xFFFFFFFF
                }),
                [](rib_path_entry &expected) {
                    expected.pe_nnh_count = 1;
                    expected.pe_nnh[0] = {1, 0xFFFFFFFF};
                });
}

// One good entry, then the one given, then another good one: only the first counts.
void expect_run_ended_by(const bytes &unusable)
{
    const converted_route route(path_field(nnh(type_1_value_7) + nnh(unusable) + nnh(type_2_value_8)));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1);
    EXPECT_EQ(route.path(0)->pe_nnh_count, 1);
    EXPECT_EQ(route.path(0)->pe_nnh[0].type, 1);
    EXPECT_EQ(route.path(0)->pe_nnh[0].value, 7u);
}

TEST(route_nnh, entry_without_value_1_ends_the_run)
{
    expect_run_ended_by({
        0x10, 0x07, // 2 nnh_value_2 = 7
    });
}

TEST(route_nnh, empty_entry_ends_the_run)
{
    expect_run_ended_by(no_fields);
}

TEST(route_nnh, entry_with_value_4_ends_the_run)
{
    expect_run_ended_by(type_1_value_7 + bytes{0x20, 0x00}); // 4 nnh_value_4 = 0
}

TEST(route_nnh, type_2_entry_with_value_4_ends_the_run)
{
    expect_run_ended_by(type_2_value_8 + bytes{0x20, 0x01}); // 4 nnh_value_4 = 1
}

TEST(route_nnh, type_1_entry_without_value_2_ends_the_run)
{
    expect_run_ended_by({
        0x08, 0x01, // 1 nnh_value_1 = 1
    });
}

TEST(route_nnh, type_2_entry_without_value_3_ends_the_run)
{
    expect_run_ended_by({
        0x08, 0x02, // 1 nnh_value_1 = 2
    });
}

TEST(route_nnh, type_2_entry_with_value_2_ends_the_run)
{
    expect_run_ended_by(type_2_value_8 + bytes{0x10, 0x00}); // 2 nnh_value_2 = 0
}

TEST(route_nnh, entry_of_type_0_ends_the_run)
{
    expect_run_ended_by({
        0x08, 0x00, // 1 nnh_value_1 = 0
        0x10, 0x07, // 2 nnh_value_2 = 7
    });
}

TEST(route_nnh, entry_of_type_3_ends_the_run)
{
    expect_run_ended_by({
        0x08, 0x03, // 1 nnh_value_1 = 3
        0x18, 0x08, // 3 nnh_value_3 = 8
    });
}

TEST(route_nnh, type_is_judged_at_32_bits)
{
    expect_run_ended_by({
        0x08, 0x81, 0x02, // 1 nnh_value_1 = 257
        0x10, 0x07,       // 2 nnh_value_2 = 7
    });
}

TEST(route_nnh, type_1_entry_that_also_has_value_3_is_written_but_ends_the_run)
{
    const converted_route route(path_field(nnh({
                                               0x08, 0x01, // 1 nnh_value_1 = 1
                                               0x10, 0x07, // 2 nnh_value_2 = 7
                                               0x18, 0x08, // 3 nnh_value_3 = 8
                                           }) +
                                           nnh(type_1_value_7)));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1);
    EXPECT_EQ(route.path(0)->pe_nnh_count, 0);
    EXPECT_EQ(route.path(0)->pe_nnh[0].value, 7u);
}

TEST(route_nnh, slots_behind_the_first_unusable_entry_get_their_own_entries_type)
{
    const bytes unusable = {0x08, 0x03};                              // type 3
    const bytes of_type_9 = {0x08, 0x89, 0x02};                       // nnh_value_1 = 265: its byte is 9
    const bytes type_2 = type_2_value_8;                              // its value is not written
    const bytes type_1_with_4 = {0x08, 0x01, 0x10, 0x05, 0x20, 0x01}; // type 1 with value 4: its value 2 is
    const bytes type_1_bare = {0x08, 0x01};
    const bytes type_2_with_2 = {0x08, 0x02, 0x10, 0x06};         // its value 2 is not written
    const bytes type_257_with_2 = {0x08, 0x81, 0x02, 0x10, 0x06}; // nor that of a type whose byte alone is 1
    const converted_route route(path_field(nnh(type_1_value_7) + nnh(unusable) + nnh(of_type_9) + nnh(type_2) +
                                           nnh(type_1_with_4) + nnh(type_1_bare) + nnh(no_fields) + nnh(type_2_with_2) +
                                           nnh(type_257_with_2)));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1);
    const rib_path_entry &path = *route.path(0);
    EXPECT_EQ(path.pe_nnh_count, 1);
    EXPECT_EQ(path.pe_nnh[2].type, 9);
    EXPECT_EQ(path.pe_nnh[2].value, 0u);
    EXPECT_EQ(path.pe_nnh[3].type, 2);
    EXPECT_EQ(path.pe_nnh[3].value, 0u);
    EXPECT_EQ(path.pe_nnh[4].type, 1);
    EXPECT_EQ(path.pe_nnh[4].value, 5u);
    EXPECT_EQ(path.pe_nnh[5].type, 1);
    EXPECT_EQ(path.pe_nnh[5].value, 0u);
    EXPECT_EQ(path.pe_nnh[6].type, 0);
    EXPECT_EQ(path.pe_nnh[6].value, 0u);
    EXPECT_EQ(path.pe_nnh[7].type, 2);
    EXPECT_EQ(path.pe_nnh[7].value, 0u);
    EXPECT_EQ(path.pe_nnh[8].type, 1);
    EXPECT_EQ(path.pe_nnh[8].value, 0u);
    EXPECT_EQ(path.pe_nnh[9].type, 0);
}

TEST(route_nnh, all_512_entries_are_taken)
{
    expect_path(repeat(512, nnh(type_1_value_7)), [](rib_path_entry &expected) {
        expected.pe_nnh_count = 512;
        for (rib_nnh_entry &entry : expected.pe_nnh)
            entry = {1, 7};
    });
}

TEST(route_nnh, entry_513_is_not_taken)
{
    expect_path(repeat(512, nnh(type_1_value_7)) + nnh(type_2_value_8), [](rib_path_entry &expected) {
        expected.pe_nnh_count = 512;
        for (rib_nnh_entry &entry : expected.pe_nnh)
            entry = {1, 7};
    });
}

TEST(route_nnh, walk_behind_an_unusable_entry_stays_in_the_512_slots)
{
    // 2000 entries behind the unusable one; what follows the slots in the entry must stay as it is.
    const converted_route route(
        path_field(nnh(type_1_value_7) + nnh({0x08, 0x03}) + repeat(2000, nnh(type_1_value_7))));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1);
    rib_path_entry expected = empty_path();
    for (rib_nnh_entry &entry : expected.pe_nnh)
        entry = {1, 7};
    expected.pe_nnh_count = 1;
    expected.pe_nnh[1] = route.path(0)->pe_nnh[1]; // the unusable entry's own slot is open
    EXPECT_EQ(rib_reference::differences(expected, *route.path(0)), "");
}

// ---- Instance ID ----

bytes iid(const bytes &fields)
{
    return field({0xEA, 0x01}, fields);
}

// A prefix 0.0.0.7/300.
const bytes prefix_7_300 = {
    0x0A, 0x04,       // 1 address, 4 bytes
    0x08, 0x01,       //   1 family = 1
    0x10, 0x07,       //   2 ipv4 = 7
    0x10, 0xAC, 0x02, // 2 prefix_len = 300
};

TEST(route_iid, values_1_and_4_and_the_prefix_are_taken)
{
    expect_path(iid(bytes{0x08, 0x0B} + field({0x1A}, prefix_7_300) + bytes{0x20, 0x0C}), [](rib_path_entry &expected) {
        expected.pe_iid_value_1 = 11;
        set_address(expected.pe_iid_prefix, bytes{0x07} + bytes(15, 0));
        expected.pe_iid_prefix_len = 44;
        expected.pe_iid_prefix_family = 1;
        expected.pe_iid_value_4 = 12;
    });
}

TEST(route_iid, value_1_alone_is_enough)
{
    expect_path(iid({
                    0x08, 0x0B, // 1 iid_attr_value_1 = 11
                }),
                [](rib_path_entry &expected) { expected.pe_iid_value_1 = 11; });
}

TEST(route_iid, values_1_and_4_keep_32_bits)
{
    expect_path(iid({
                    0x08, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 1 iid_attr_value_1 = 0x89ABCDEF
                    0x20, 0xF0, 0xBD, 0xF3, 0xD5, 0x09, // 4 iid_attr_value_4 = 0x9ABCDEF0
                }),
                [](rib_path_entry &expected) {
                    expected.pe_iid_value_1 = 0x89ABCDEF;
                    expected.pe_iid_value_4 = 0x9ABCDEF0;
                });
}

TEST(route_iid, missing_value_1_drops_the_block)
{
    expect_path(iid(field({0x1A}, prefix_7_300) + bytes{0x20, 0x0C}), [](rib_path_entry &) {});
}

TEST(route_iid, value_2_drops_the_block)
{
    expect_path(iid(bytes{0x08, 0x0B, 0x10, 0x00} + field({0x1A}, prefix_7_300)), [](rib_path_entry &) {});
}

TEST(route_iid, prefix_without_a_length_has_length_255)
{
    expect_path(iid(bytes{0x08, 0x0B} + field({0x1A}, {0x0A, 0x04, 0x08, 0x01, 0x10, 0x07})),
                [](rib_path_entry &expected) {
                    expected.pe_iid_value_1 = 11;
                    set_address(expected.pe_iid_prefix, bytes{0x07} + bytes(15, 0));
                    expected.pe_iid_prefix_len = 255;
                    expected.pe_iid_prefix_family = 1;
                });
}

TEST(route_iid, present_empty_prefix_has_length_255_and_no_family)
{
    expect_path(iid(bytes{0x08, 0x0B} + field({0x1A}, no_fields)), [](rib_path_entry &expected) {
        expected.pe_iid_value_1 = 11;
        expected.pe_iid_prefix_len = 255;
    });
}

TEST(route_iid, prefix_of_a_foreign_family_keeps_length_and_family)
{
    const bytes prefix = {
        0x0A, 0x03,       // 1 address, 3 bytes
        0x08, 0x83, 0x02, //   1 family = 259
        0x10, 0x18,       // 2 prefix_len = 24
    };
    expect_path(iid(bytes{0x08, 0x0B} + field({0x1A}, prefix)), [](rib_path_entry &expected) {
        expected.pe_iid_value_1 = 11;
        expected.pe_iid_prefix_len = 24;
        expected.pe_iid_prefix_family = 3;
    });
}

TEST(route_iid, prefix_without_a_family_keeps_its_length)
{
    const bytes prefix = {
        0x0A, 0x02, // 1 address, 2 bytes
        0x10, 0x07, //   2 ipv4 = 7
        0x10, 0x18, // 2 prefix_len = 24
    };
    expect_path(iid(bytes{0x08, 0x0B} + field({0x1A}, prefix)), [](rib_path_entry &expected) {
        expected.pe_iid_value_1 = 11;
        expected.pe_iid_prefix_len = 24;
    });
}

// ---- Layer 2 ----

TEST(route_path_l2, values_5_to_8_are_taken)
{
    expect_path(field({0xF2, 0x01}, {0x28, 0x05, 0x30, 0x06, 0x38, 0x07, 0x40, 0x08}), [](rib_path_entry &expected) {
        expected.pe_l2_5 = 5;
        expected.pe_l2_6 = 6;
        expected.pe_l2_7 = 7;
        expected.pe_l2_8 = 8;
    });
}

TEST(route_path_l2, each_value_is_taken_by_itself)
{
    expect_path(field({0xF2, 0x01}, {0x28, 0x05}), [](rib_path_entry &expected) { expected.pe_l2_5 = 5; });
    expect_path(field({0xF2, 0x01}, {0x30, 0x06}), [](rib_path_entry &expected) { expected.pe_l2_6 = 6; });
    expect_path(field({0xF2, 0x01}, {0x38, 0x07}), [](rib_path_entry &expected) { expected.pe_l2_7 = 7; });
    expect_path(field({0xF2, 0x01}, {0x40, 0x08}), [](rib_path_entry &expected) { expected.pe_l2_8 = 8; });
}

TEST(route_path_l2, values_5_to_8_keep_32_bits)
{
    expect_path(field({0xF2, 0x01},
                      {
                          0x28, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 5 l2_value_5 = 0x89ABCDEF
                          0x30, 0xF0, 0xBD, 0xF3, 0xD5, 0x09, // 6 l2_value_6 = 0x9ABCDEF0
                          0x38, 0x81, 0x86, 0x94, 0xE8, 0x0F, // 7 l2_value_7 = 0xFD050301
                          0x40, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 8 l2_value_8 = 0xFFFFFFFF
                      }),
                [](rib_path_entry &expected) {
                    expected.pe_l2_5 = 0x89ABCDEF;
                    expected.pe_l2_6 = 0x9ABCDEF0;
                    expected.pe_l2_7 = 0xFD050301;
                    expected.pe_l2_8 = 0xFFFFFFFF;
                });
}

TEST(route_path_l2, value_1_drops_the_block)
{
    expect_path(field({0xF2, 0x01}, {0x08, 0x00, 0x28, 0x05, 0x30, 0x06, 0x38, 0x07, 0x40, 0x08}),
                [](rib_path_entry &) {});
}

// ---- AFT ----

bytes aft(const bytes &fields)
{
    return field({0x9A, 0x02}, fields);
}

TEST(route_path_aft, fields_5_6_and_7_are_taken)
{
    expect_path(aft({
                    0x28, 0xF0, 0xBD, 0xF3, 0xD5, 0x89, 0xCF, 0x95, 0x9A, 0x12, // 5 via_aft_id = 0x123456789ABCDEF0
                    0x30, 0x06,                                                 // 6 via_aft_value_6 = 6
                    0x38, 0x02,                                                 // 7 via_aft_value_7 = 2
                }),
                [](rib_path_entry &expected) {
                    expected.pe_via_aft_id = 0x123456789ABCDEF0;
                    expected.pe_aft_6 = 6;
                    expected.pe_aft_7 = 2;
                });
}

TEST(route_path_aft, value_6_keeps_32_bits)
{
    expect_path(aft({
                    0x28, 0x05,                         // 5 via_aft_id = 5
                    0x30, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 6 via_aft_value_6 = 0x89ABCDEF
                    0x38, 0x02,                         // 7 via_aft_value_7 = 2
                }),
                [](rib_path_entry &expected) {
                    expected.pe_via_aft_id = 5;
                    expected.pe_aft_6 = 0x89ABCDEF;
                    expected.pe_aft_7 = 2;
                });
}

TEST(route_path_aft, value_7_of_3_becomes_0)
{
    expect_path(aft({0x28, 0x05, 0x30, 0x06, 0x38, 0x03}), [](rib_path_entry &expected) {
        expected.pe_via_aft_id = 5;
        expected.pe_aft_6 = 6;
    });
}

TEST(route_path_aft, value_7_is_compared_at_32_bits)
{
    expect_path(aft({0x28, 0x05, 0x30, 0x06, 0x38, 0x81, 0x02}), [](rib_path_entry &expected) { // 7 = 257
        expected.pe_via_aft_id = 5;
        expected.pe_aft_6 = 6;
    });
}

TEST(route_path_aft, field_1_drops_the_block)
{
    expect_path(aft({0x08, 0x00, 0x28, 0x05, 0x30, 0x06, 0x38, 0x02}), [](rib_path_entry &) {});
}

TEST(route_path_aft, each_missing_field_drops_the_block)
{
    expect_path(aft({0x30, 0x06, 0x38, 0x02}), [](rib_path_entry &) {});
    expect_path(aft({0x28, 0x05, 0x38, 0x02}), [](rib_path_entry &) {});
    expect_path(aft({0x28, 0x05, 0x30, 0x06}), [](rib_path_entry &) {});
}

// ---- Grouping ----

TEST(route_grouping, value_2_alone_is_taken)
{
    expect_path(field({0xC2, 0x02}, {0x10, 0x0F}), [](rib_path_entry &expected) { expected.pe_grouping_2 = 15; });
}

TEST(route_grouping, value_2_keeps_32_bits)
{
    expect_path(field({0xC2, 0x02}, {0x10, 0xEF, 0x9B, 0xAF, 0xCD, 0x08}), // 2 grouping_value_2 = 0x89ABCDEF
                [](rib_path_entry &expected) { expected.pe_grouping_2 = 0x89ABCDEF; });
}

TEST(route_grouping, value_1_drops_the_block)
{
    expect_path(field({0xC2, 0x02}, {0x08, 0x00, 0x10, 0x0F}), [](rib_path_entry &) {});
}

TEST(route_grouping, value_1_alone_gives_0)
{
    expect_path(field({0xC2, 0x02}, {0x08, 0x0F}), [](rib_path_entry &) {});
}

// ---- Tunnel ----

bytes tunnel(const bytes &fields)
{
    return field({0x92, 0x02}, fields);
}

TEST(route_tunnel, every_value_sets_its_bit_and_its_member)
{
    expect_path(tunnel({
                    0x28, 0x01, //  5 tunnel_flag
                    0x30, 0x0D, //  6 tunnel_value_6 = 13
                    0x38, 0x07, //  7 tunnel_value_7 = 7
                    0x40, 0x08, //  8 tunnel_value_8 = 8
                    0x48, 0x09, //  9 tunnel_value_9 = 9
                    0x50, 0x0A, // 10 tunnel_value_10 = 10
                }),
                [](rib_path_entry &expected) {
                    expected.pe_tunnel_flags = 0x1F | 13 << 5;
                    expected.pe_tunnel_7 = 7;
                    expected.pe_tunnel_8 = 8;
                    expected.pe_tunnel_9 = 9;
                    expected.pe_tunnel_10 = 10;
                });
}

TEST(route_tunnel, flag_is_bit_0)
{
    expect_path(tunnel({0x28, 0x01}), [](rib_path_entry &expected) { expected.pe_tunnel_flags = 0x01; });
}

TEST(route_tunnel, flag_of_0_clears_bit_0)
{
    expect_path(tunnel({0x28, 0x00}), [](rib_path_entry &) {});
}

TEST(route_tunnel, value_7_is_bit_1)
{
    expect_path(tunnel({0x38, 0x00}), [](rib_path_entry &expected) { expected.pe_tunnel_flags = 0x02; });
}

TEST(route_tunnel, value_9_is_bit_2)
{
    expect_path(tunnel({0x48, 0x00}), [](rib_path_entry &expected) { expected.pe_tunnel_flags = 0x04; });
}

TEST(route_tunnel, value_8_is_bit_3)
{
    expect_path(tunnel({0x40, 0x00}), [](rib_path_entry &expected) { expected.pe_tunnel_flags = 0x08; });
}

TEST(route_tunnel, value_10_is_bit_4)
{
    expect_path(tunnel({0x50, 0x00}), [](rib_path_entry &expected) { expected.pe_tunnel_flags = 0x10; });
}

TEST(route_tunnel, value_6_is_bits_5_to_9)
{
    for (uint8_t value = 0; value <= 13; value++)
        expect_path(tunnel({0x30, value}),
                    [&](rib_path_entry &expected) { expected.pe_tunnel_flags = static_cast<uint16_t>(value * 32); });
}

TEST(route_tunnel, value_6_above_13_is_0)
{
    expect_path(tunnel({0x30, 0x0E}), [](rib_path_entry &) {});
    expect_path(tunnel({0x30, 0x1F}), [](rib_path_entry &) {});
    expect_path(tunnel({0x30, 0x81, 0x80, 0x04}), [](rib_path_entry &) {}); // 65537
}

TEST(route_tunnel, values_7_and_9_keep_their_low_24_bits)
{
    expect_path(tunnel({
                    0x38, 0xF8, 0xAC, 0xD1, 0x91, 0x01, // 7 tunnel_value_7 = 0x12345678
                    0x48, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 9 tunnel_value_9 = 0xFFFFFFFF
                }),
                [](rib_path_entry &expected) {
                    expected.pe_tunnel_flags = 0x06;
                    expected.pe_tunnel_7 = 0x345678;
                    expected.pe_tunnel_9 = 0xFFFFFF;
                });
}

TEST(route_tunnel, values_8_and_10_keep_their_width)
{
    expect_path(tunnel({
                    0x40, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,                         //  8 tunnel_value_8 = 0xFFFFFFFF
                    0x50, 0xF0, 0xBD, 0xF3, 0xD5, 0x89, 0xCF, 0x95, 0x9A, 0x12, // 10 = 0x123456789ABCDEF0
                }),
                [](rib_path_entry &expected) {
                    expected.pe_tunnel_flags = 0x18;
                    expected.pe_tunnel_8 = 0xFFFFFFFF;
                    expected.pe_tunnel_10 = 0x123456789ABCDEF0;
                });
}

TEST(route_tunnel, value_1_drops_the_block)
{
    expect_path(tunnel({0x08, 0x00, 0x28, 0x01, 0x30, 0x0D, 0x38, 0x07, 0x40, 0x08, 0x48, 0x09, 0x50, 0x0A}),
                [](rib_path_entry &) {});
}

TEST(route_tunnel, empty_block_gives_0)
{
    expect_path(tunnel(no_fields), [](rib_path_entry &) {});
}

// ---- SID list ----

bytes sl_id(const bytes &fields)
{
    return field({0xA2, 0x02}, fields);
}

TEST(route_sl_id, kind_1_takes_value_3)
{
    expect_path(sl_id({0x10, 0x01, 0x18, 0x09}), [](rib_path_entry &expected) {
        expected.pe_sl_kind = 1;
        expected.pe_sl_value = 9;
    });
}

TEST(route_sl_id, kind_2_takes_value_3)
{
    expect_path(sl_id({0x10, 0x02, 0x18, 0x09}), [](rib_path_entry &expected) {
        expected.pe_sl_kind = 2;
        expected.pe_sl_value = 9;
    });
}

TEST(route_sl_id, value_3_keeps_32_bits)
{
    expect_path(sl_id({
                    0x10, 0x01,                         // 2 sl_id_value_2 = 1
                    0x18, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 3 sl_id_value_3 = 0x89ABCDEF
                }),
                [](rib_path_entry &expected) {
                    expected.pe_sl_kind = 1;
                    expected.pe_sl_value = 0x89ABCDEF;
                });
}

TEST(route_sl_id, kind_without_value_3_has_value_0)
{
    expect_path(sl_id({0x10, 0x02}), [](rib_path_entry &expected) { expected.pe_sl_kind = 2; });
}

TEST(route_sl_id, other_kinds_give_0)
{
    expect_path(sl_id({0x10, 0x00, 0x18, 0x09}), [](rib_path_entry &) {});
    expect_path(sl_id({0x10, 0x03, 0x18, 0x09}), [](rib_path_entry &) {});
    expect_path(sl_id({0x10, 0x81, 0x02, 0x18, 0x09}), [](rib_path_entry &) {}); // kind 257
}

TEST(route_sl_id, value_1_drops_the_block)
{
    expect_path(sl_id({0x08, 0x00, 0x10, 0x01, 0x18, 0x09}), [](rib_path_entry &) {});
}

TEST(route_sl_id, missing_kind_drops_the_block)
{
    expect_path(sl_id({0x18, 0x09}), [](rib_path_entry &) {});
}

// ---- Via SID ----

bytes via_sid(const bytes &fields)
{
    return field({0x82, 0x02}, fields);
}

const bytes sid_5_9 = {
    0x12, 0x04, // 2 via_sid, 4 bytes
    0x08, 0x05, //   1 half0 = 5
    0x10, 0x09, //   2 half1 = 9
};

TEST(route_via_sid, sid_and_value_3_are_taken)
{
    expect_path(via_sid(sid_5_9 + bytes{0x18, 0xAC, 0x02}), [](rib_path_entry &expected) { // 3 = 300
        set_address(expected.pe_via_sid, bytes{0x05} + bytes(7, 0) + bytes{0x09} + bytes(7, 0));
        expected.pe_via_sid_value = 44;
    });
}

TEST(route_via_sid, missing_value_3_is_1)
{
    expect_path(via_sid(sid_5_9), [](rib_path_entry &expected) {
        set_address(expected.pe_via_sid, bytes{0x05} + bytes(7, 0) + bytes{0x09} + bytes(7, 0));
    });
}

TEST(route_via_sid, value_3_of_0_is_0)
{
    expect_path(via_sid({0x18, 0x00}), [](rib_path_entry &expected) { expected.pe_via_sid_value = 0; });
}

TEST(route_via_sid, sid_without_half0_is_not_copied)
{
    expect_path(via_sid({
                    0x12, 0x02, // 2 via_sid, 2 bytes
                    0x10, 0x09, //   2 half1 = 9
                }),
                [](rib_path_entry &) {});
}

TEST(route_via_sid, sid_with_half0_alone_is_copied)
{
    expect_path(via_sid({
                    0x12, 0x02, // 2 via_sid, 2 bytes
                    0x08, 0x05, //   1 half0 = 5
                }),
                [](rib_path_entry &expected) { set_address(expected.pe_via_sid, bytes{0x05} + bytes(15, 0)); });
}

TEST(route_via_sid, value_1_leaves_the_value_at_0)
{
    expect_path(via_sid(bytes{0x08, 0x00} + sid_5_9 + bytes{0x18, 0x07}),
                [](rib_path_entry &expected) { expected.pe_via_sid_value = 0; });
}

// ---- Extended communities ----

bytes ecomm(const bytes &fields)
{
    return field({0xD2, 0x01}, fields);
}

TEST(route_ecomm, values_and_value_1_are_taken)
{
    const converted_route route(path_field(ecomm({
        0x08, 0xEF, 0x9B, 0xAF, 0xCD, 0x08,                         // 1 ecomm_value_1 = 0x89ABCDEF
        0x10, 0xF0, 0xBD, 0xF3, 0xD5, 0x89, 0xCF, 0x95, 0x9A, 0x12, // 2 ecomm_values = 0x123456789ABCDEF0
        0x10, 0x0B,                                                 // 2 ecomm_values = 11
    })));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1);
    rib_path_entry expected = empty_path();
    expected.pe_ecomm_value_1 = 0xCDEF;
    expected.pe_ecomm_count = 2;
    expected.pe_ecomm_room = 2;
    EXPECT_EQ(rib_reference::differences(expected, *route.path(0)), "");
    EXPECT_EQ(rib_path_ecomm_values(route.path(0))[0], 0x123456789ABCDEF0u);
    EXPECT_EQ(rib_path_ecomm_values(route.path(0))[1], 11u);
}

TEST(route_ecomm, missing_value_1_is_0)
{
    expect_path(ecomm({0x10, 0x0B}), [](rib_path_entry &expected) {
        expected.pe_ecomm_count = 1;
        expected.pe_ecomm_room = 1;
    });
}

TEST(route_ecomm, block_without_values_keeps_value_1)
{
    expect_path(ecomm({0x08, 0x07}), [](rib_path_entry &expected) { expected.pe_ecomm_value_1 = 7; });
}

TEST(route_ecomm, block_with_field_3_has_room_but_neither_count_nor_value)
{
    const converted_route route(path_field(bytes{0x08, 0x01} + ecomm({
                                                                   0x08, 0x07, // 1 ecomm_value_1 = 7
                                                                   0x10, 0x0B, // 2 ecomm_values = 11
                                                                   0x10, 0x0C, // 2 ecomm_values = 12
                                                                   0x18, 0x00, // 3 ecomm_value_3 = 0
                                                               })) +
                                path_field({0x08, 0x02}));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 2);
    rib_path_entry expected = empty_path();
    expected.pe_value_1 = 1;
    expected.pe_ecomm_room = 2;
    EXPECT_EQ(rib_reference::differences(expected, *route.path(0)), "");
    EXPECT_EQ(route.path(1)->pe_value_1, 2u) << "the walk steps over the room";
}

TEST(route_ecomm, more_than_65535_values_are_all_copied_and_the_count_keeps_its_low_bits)
{
    const converted_route route(path_field(ecomm(repeat(65537, {0x10, 0x05}))) + path_field({0x08, 0x02}));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 2);
    const rib_path_entry *path = route.path(0);
    EXPECT_EQ(path->pe_ecomm_count, 1);
    EXPECT_EQ(path->pe_ecomm_room, 65537u);
    for (uint32_t i = 0; i < 65537; i++)
        ASSERT_EQ(rib_path_ecomm_values(path)[i], 5u) << i;
    EXPECT_EQ(route.path(1)->pe_value_1, 2u);
}

TEST(route_first_ecomm, is_the_block_of_the_first_path_that_has_one)
{
    const converted_route route(path_field({}) + path_field(ecomm({0x08, 0x07, 0x10, 0x0B})) +
                                path_field(ecomm({0x08, 0x08})));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 3);
    EXPECT_EQ(route.record->rt_first_ecomm, static_cast<const void *>(&route.path(1)->pe_ecomm_count));
    EXPECT_EQ(rib_ecomm_value_1(route.record->rt_first_ecomm), 7);
    EXPECT_EQ(rib_ecomm_count(route.record->rt_first_ecomm), 1);
    EXPECT_EQ(rib_ecomm_values(route.record->rt_first_ecomm)[0], 11u);
}

TEST(route_first_ecomm, is_null_without_any_block)
{
    const converted_route route(path_field({}) + path_field({}));
    ASSERT_EQ(route.status, 0u);
    EXPECT_EQ(route.record->rt_first_ecomm, nullptr);
}

TEST(route_first_ecomm, is_never_taken_from_a_rejected_path)
{
    const bytes eleven_labels = repeat(11, {0x48, 0x05});
    const converted_route route(path_field(ecomm({0x08, 0x07}) + eleven_labels) + path_field(ecomm({0x08, 0x08})));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1);
    EXPECT_EQ(route.record->rt_first_ecomm, static_cast<const void *>(&route.path(0)->pe_ecomm_count));
    EXPECT_EQ(rib_ecomm_value_1(route.record->rt_first_ecomm), 8);
}

TEST(route_first_ecomm, is_null_when_only_rejected_paths_have_one)
{
    const converted_route route(path_field(ecomm({0x08, 0x07}) + repeat(11, {0x48, 0x05})) +
                                path_field(ecomm({0x08, 0x07}) + bytes{0xD8, 0x01, 0x01}) + path_field({}));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1);
    EXPECT_EQ(route.record->rt_first_ecomm, nullptr);
}

TEST(route_first_ecomm, counts_an_empty_block)
{
    const converted_route route(path_field(ecomm(no_fields)));
    ASSERT_EQ(route.status, 0u);
    EXPECT_EQ(route.record->rt_first_ecomm, static_cast<const void *>(&route.path(0)->pe_ecomm_count));
}

TEST(route_first_ecomm, counts_a_block_with_field_3)
{
    const converted_route route(path_field(ecomm({0x18, 0x01})));
    ASSERT_EQ(route.status, 0u);
    ASSERT_NE(route.record->rt_first_ecomm, nullptr);
    EXPECT_EQ(rib_ecomm_count(route.record->rt_first_ecomm), 0);
}

} // namespace
