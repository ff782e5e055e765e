// The header of a converted route: scalars, label entries and the small blocks; and the statuses of the whole.

#include "tests/client/route_support.hpp"

using namespace rib_test;

namespace
{

// Strictly ascending offsets.
void expect_ascending(std::initializer_list<size_t> offsets)
{
    const size_t *previous = nullptr;
    for (const size_t &offset : offsets) {
        if (previous != nullptr) {
            EXPECT_LT(*previous, offset);
        }
        previous = &offset;
    }
}

#define AT(member) offsetof(rib_routetype_, member)

TEST(route_header, members_stand_in_the_documented_order)
{
    expect_ascending({
        AT(rt_family),      AT(rt_prefix_len),  AT(rt_value_4),       AT(rt_value_5),          AT(rt_value_19),
        AT(rt_value_2),     AT(rt_value_3),     AT(rt_path_count),    AT(rt_value_6),          AT(rt_value_7),
        AT(rt_value_8),     AT(rt_dest),        AT(rt_value_9),       AT(rt_value_10),         AT(rt_value_11),
        AT(rt_value_38),    AT(rt_value_12),    AT(rt_value_37),      AT(rt_value_13),         AT(rt_value_14),
        AT(rt_value_15),    AT(rt_value_16),    AT(rt_value_40),      AT(rt_value_41),         AT(rt_algo_labels),
        AT(rt_value_18),    AT(rt_value_20),    AT(rt_value_21),      AT(rt_value_22),         AT(rt_flags),
        AT(rt_value_25),    AT(rt_l2_value),    AT(rt_aft_id),        AT(rt_aft_value_6),      AT(rt_aft_value_7),
        AT(rt_aft_valid),   AT(rt_value_35),    AT(rt_value_35_copy), AT(rt_algo_label_count), AT(rt_advertisement),
        AT(rt_first_ecomm), AT(rt_attr_blocks),
    });
}

#undef AT

TEST(route_header, members_have_the_documented_widths)
{
    const rib_routetype_ route = {};
    EXPECT_EQ(sizeof route.rt_family, 4u);
    EXPECT_EQ(sizeof route.rt_prefix_len, 1u);
    EXPECT_EQ(sizeof route.rt_path_count, 2u);
    EXPECT_EQ(sizeof route.rt_dest, 16u);
    EXPECT_EQ(sizeof route.rt_algo_labels / sizeof route.rt_algo_labels[0], 256u);
    EXPECT_EQ(sizeof route.rt_algo_labels[0].algo, 1u);
    EXPECT_EQ(sizeof route.rt_algo_labels[0].label, 4u);
    EXPECT_EQ(sizeof route.rt_algo_labels[0].extra, 4u);
    EXPECT_EQ(sizeof route.rt_flags, 8u);
    EXPECT_EQ(sizeof route.rt_aft_id, 8u);
    EXPECT_EQ(sizeof route.rt_aft_value_6, 4u);
    EXPECT_EQ(sizeof route.rt_aft_value_7, 8u);
    EXPECT_EQ(sizeof route.rt_aft_valid, 4u);
    EXPECT_EQ(sizeof route.rt_algo_label_count, 2u);
    EXPECT_EQ(sizeof route.rt_attr_blocks / sizeof route.rt_attr_blocks[0], 6u);
}

TEST(route_header, empty_message_is_a_route_of_zeros)
{
    expect_header({}, [](rib_routetype_ &) {});
}

// ---- Scalars ----

TEST(route_header, value_2_keeps_its_low_16_bits)
{
    expect_header(
        {
            0x10, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 2 route_value_2 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_2 = 0xCDEF; });
}

TEST(route_header, value_3_keeps_its_low_16_bits)
{
    expect_header(
        {
            0x18, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 3 route_value_3 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_3 = 0xCDEF; });
}

TEST(route_header, value_4_keeps_its_low_8_bits)
{
    expect_header(
        {
            0x20, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 4 route_value_4 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_4 = 0xEF; });
}

TEST(route_header, value_5_keeps_its_low_8_bits)
{
    expect_header(
        {
            0x28, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 5 route_value_5 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_5 = 0xEF; });
}

TEST(route_header, value_6_keeps_its_low_16_bits)
{
    expect_header(
        {
            0x30, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 6 route_value_6 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_6 = 0xCDEF; });
}

TEST(route_header, value_7_keeps_its_low_16_bits)
{
    expect_header(
        {
            0x38, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 7 route_value_7 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_7 = 0xCDEF; });
}

TEST(route_header, value_8_keeps_its_low_16_bits)
{
    expect_header(
        {
            0x40, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 8 route_value_8 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_8 = 0xCDEF; });
}

TEST(route_header, value_9_keeps_32_bits)
{
    expect_header(
        {
            0x48, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 9 route_value_9 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_9 = 0x89ABCDEF; });
}

TEST(route_header, value_10_keeps_32_bits)
{
    expect_header(
        {
            0x50, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 10 route_value_10 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_10 = 0x89ABCDEF; });
}

TEST(route_header, value_11_keeps_its_low_16_bits)
{
    expect_header(
        {
            0x58, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 11 route_value_11 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_11 = 0xCDEF; });
}

TEST(route_header, value_12_keeps_32_bits)
{
    expect_header(
        {
            0x60, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 12 route_value_12 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_12 = 0x89ABCDEF; });
}

TEST(route_header, value_13_keeps_32_bits)
{
    expect_header(
        {
            0x68, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 13 route_value_13 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_13 = 0x89ABCDEF; });
}

TEST(route_header, value_14_keeps_32_bits)
{
    expect_header(
        {
            0x70, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 14 route_value_14 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_14 = 0x89ABCDEF; });
}

TEST(route_header, value_15_keeps_32_bits)
{
    expect_header(
        {
            0x78, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 15 route_value_15 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_15 = 0x89ABCDEF; });
}

TEST(route_header, value_16_keeps_32_bits)
{
    expect_header(
        {
            0x80, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 16 route_value_16 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_16 = 0x89ABCDEF; });
}

TEST(route_header, value_18_keeps_32_bits)
{
    expect_header(
        {
            0x90, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 18 route_value_18 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_18 = 0x89ABCDEF; });
}

TEST(route_header, value_19_keeps_its_low_8_bits)
{
    expect_header(
        {
            0x98, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 19 route_value_19 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_19 = 0xEF; });
}

TEST(route_header, value_20_keeps_its_low_8_bits)
{
    expect_header(
        {
            0xA0, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 20 route_value_20 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_20 = 0xEF; });
}

TEST(route_header, value_21_keeps_its_low_8_bits)
{
    expect_header(
        {
            0xA8, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 21 route_value_21 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_21 = 0xEF; });
}

TEST(route_header, value_22_keeps_its_low_8_bits)
{
    expect_header(
        {
            0xB0, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 22 route_value_22 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_22 = 0xEF; });
}

TEST(route_header, value_25_keeps_its_low_8_bits)
{
    expect_header(
        {
            0xC8, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 25 route_value_25 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_25 = 0xEF; });
}

TEST(route_header, value_37_keeps_32_bits)
{
    expect_header(
        {
            0xA8, 0x02, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 37 route_value_37 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_37 = 0x89ABCDEF; });
}

TEST(route_header, value_38_keeps_its_low_16_bits)
{
    expect_header(
        {
            0xB0, 0x02, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 38 route_value_38 = 0x89ABCDEF
        },
        [](rib_routetype_ &expected) { expected.rt_value_38 = 0xCDEF; });
}

TEST(route_header, value_40_keeps_64_bits)
{
    expect_header(
        {
            0xC0, 0x02, 0xF0, 0xBD, 0xF3, 0xD5, 0x89, 0xCF, 0x95, 0x9A, 0x12, // 40 route_value_40 = 0x123456789ABCDEF0
        },
        [](rib_routetype_ &expected) { expected.rt_value_40 = 0x123456789ABCDEF0; });
}

TEST(route_header, value_41_keeps_64_bits)
{
    expect_header(
        {
            0xC8, 0x02, 0xF0, 0xBD, 0xF3, 0xD5, 0x89, 0xCF, 0x95, 0x9A, 0x12, // 41 route_value_41 = 0x123456789ABCDEF0
        },
        [](rib_routetype_ &expected) { expected.rt_value_41 = 0x123456789ABCDEF0; });
}

TEST(route_header, value_23_goes_nowhere)
{
    expect_header(
        {
            0xB8, 0x01, 0x07, // 23 route_value_23 = 7
        },
        [](rib_routetype_ &) {});
}

TEST(route_header, scalar_of_value_0_is_0)
{
    expect_header(
        {
            0x10, 0x00,       //  2 route_value_2 = 0
            0xA8, 0x02, 0x00, // 37 route_value_37 = 0
        },
        [](rib_routetype_ &) {});
}

TEST(route_header, unknown_fields_are_skipped)
{
    expect_header(
        {
            0xD0, 0x02, 0x01, // 42, unknown
            0x10, 0x05,       //  2 route_value_2 = 5
        },
        [](rib_routetype_ &expected) { expected.rt_value_2 = 5; });
}

// ---- Statuses of the whole ----

void expect_no_record(const bytes &payload, zerrno status)
{
    const converted_route route(payload);
    EXPECT_EQ(route.status, status);
    EXPECT_EQ(route.record, nullptr);
}

TEST(route_status, truncated_message_is_malformed_and_has_no_record)
{
    expect_no_record(
        {
            0x10, // 2 route_value_2, cut off
        },
        0xA2D28000);
}

TEST(route_status, mistyped_message_is_malformed_and_has_no_record)
{
    expect_no_record(
        {
            0x12, 0x00, // 2 route_value_2, length-delimited
        },
        0xA2D28000);
}

TEST(route_status, unknown_wire_type_is_malformed_and_has_no_record)
{
    expect_no_record(
        {
            0xD3, 0x02, // 42, unknown, wire type 3
        },
        0xA2D28000);
}

TEST(route_status, path_that_does_not_decode_makes_the_route_malformed)
{
    expect_no_record(
        {
            0xD2, 0x01, 0x01, // 26 paths, 1 byte
            0x08,             //   1 path_value_1, cut off
        },
        0xA2D28000);
}

TEST(route_status, value_34_is_unsupported_and_has_no_record)
{
    expect_no_record(
        {
            0x90, 0x02, 0x01, // 34 route_value_34 = 1
        },
        0xA2D28400);
}

TEST(route_status, value_34_of_0_is_unsupported_too)
{
    expect_no_record(
        {
            0x90, 0x02, 0x00, // 34 route_value_34 = 0
        },
        0xA2D28400);
}

TEST(route_status, value_34_comes_before_a_malformed_prefix)
{
    expect_no_record(
        {
            0x0A, 0x02, 0x0A, 0x00, // 1 route_prefix with an empty address
            0x90, 0x02, 0x01,       // 34 route_value_34 = 1
        },
        0xA2D28400);
}

TEST(route_status, decode_failure_comes_before_value_34)
{
    expect_no_record(
        {
            0x90, 0x02, 0x01, // 34 route_value_34 = 1
            0x10,             //  2 route_value_2, cut off
        },
        0xA2D28000);
}

// ---- The l2 block ----

// The l2 block with the fields given.
bytes l2_block(const bytes &fields)
{
    return field({0xA2, 0x02}, fields);
}

TEST(route_l2, value_5_alone_is_taken)
{
    expect_header(l2_block({
                      0x28, 0x07, // 5 route_l2_value_5 = 7
                  }),
                  [](rib_routetype_ &expected) { expected.rt_l2_value = 7; });
}

TEST(route_l2, value_5_keeps_its_low_8_bits)
{
    expect_header(l2_block({
                      0x28, 0xAC, 0x02, // 5 route_l2_value_5 = 300
                  }),
                  [](rib_routetype_ &expected) { expected.rt_l2_value = 44; });
}

TEST(route_l2, value_5_is_taken_beside_value_1_of_0)
{
    expect_header(l2_block({
                      0x08, 0x00, // 1 route_l2_value_1 = 0
                      0x28, 0x07, // 5 route_l2_value_5 = 7
                  }),
                  [](rib_routetype_ &expected) { expected.rt_l2_value = 7; });
}

TEST(route_l2, value_5_is_taken_beside_value_1_of_1)
{
    expect_header(l2_block({
                      0x08, 0x01, // 1 route_l2_value_1 = 1
                      0x28, 0x07, // 5 route_l2_value_5 = 7
                  }),
                  [](rib_routetype_ &expected) { expected.rt_l2_value = 7; });
}

TEST(route_l2, value_5_is_dropped_beside_value_1_of_2)
{
    expect_header(l2_block({
                      0x08, 0x02, // 1 route_l2_value_1 = 2
                      0x28, 0x07, // 5 route_l2_value_5 = 7
                  }),
                  [](rib_routetype_ &) {});
}

TEST(route_l2, value_1_is_compared_at_32_bits)
{
    expect_header(l2_block({
                      0x08, 0x80, 0x80, 0x04, // 1 route_l2_value_1 = 65536
                      0x28, 0x07,             // 5 route_l2_value_5 = 7
                  }),
                  [](rib_routetype_ &) {});
}

TEST(route_l2, block_without_value_5_gives_0)
{
    expect_header(l2_block({
                      0x08, 0x01, // 1 route_l2_value_1 = 1
                  }),
                  [](rib_routetype_ &) {});
}

TEST(route_l2, empty_block_gives_0)
{
    expect_header(l2_block({}), [](rib_routetype_ &) {});
}

// ---- The aft block ----

bytes aft_block(const bytes &fields)
{
    return field({0xBA, 0x02}, fields);
}

const bytes aft_5 = {0x28, 0xF0, 0xBD, 0xF3, 0xD5,
                     0x89, 0xCF, 0x95, 0x9A, 0x12};       // 5 route_aft_id_value = 0x123456789ABCDEF0
const bytes aft_6 = {0x30, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}; // 6 route_aft_value_6 = 0xFFFFFFFF
const bytes aft_7 = {0x38, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}; // 7 route_aft_value_7 = 1 << 63

TEST(route_aft, fields_5_6_and_7_are_taken_and_valid)
{
    expect_header(aft_block(aft_5 + aft_6 + aft_7), [](rib_routetype_ &expected) {
        expected.rt_aft_id = 0x123456789ABCDEF0;
        expected.rt_aft_value_6 = 0xFFFFFFFF;
        expected.rt_aft_value_7 = 0x8000000000000000;
        expected.rt_aft_valid = 1;
    });
}

TEST(route_aft, fields_of_value_0_are_valid)
{
    expect_header(aft_block({
                      0x28, 0x00, // 5 route_aft_id_value = 0
                      0x30, 0x00, // 6 route_aft_value_6 = 0
                      0x38, 0x00, // 7 route_aft_value_7 = 0
                  }),
                  [](rib_routetype_ &expected) { expected.rt_aft_valid = 1; });
}

TEST(route_aft, field_1_makes_the_block_invalid)
{
    const bytes aft_1 = {0x08, 0x00}; // 1 route_aft_value_1 = 0
    expect_header(aft_block(aft_1 + aft_5 + aft_6 + aft_7), [](rib_routetype_ &) {});
}

TEST(route_aft, missing_field_5_makes_the_block_invalid)
{
    expect_header(aft_block(aft_6 + aft_7), [](rib_routetype_ &) {});
}

TEST(route_aft, missing_field_6_makes_the_block_invalid)
{
    expect_header(aft_block(aft_5 + aft_7), [](rib_routetype_ &) {});
}

TEST(route_aft, missing_field_7_makes_the_block_invalid)
{
    expect_header(aft_block(aft_5 + aft_6), [](rib_routetype_ &) {});
}

TEST(route_aft, unassigned_fields_do_not_matter)
{
    const bytes aft_2 = {0x10, 0x01}; // 2, unknown
    expect_header(aft_block(aft_2 + aft_5 + aft_6 + aft_7), [](rib_routetype_ &expected) {
        expected.rt_aft_id = 0x123456789ABCDEF0;
        expected.rt_aft_value_6 = 0xFFFFFFFF;
        expected.rt_aft_value_7 = 0x8000000000000000;
        expected.rt_aft_valid = 1;
    });
}

// ---- Label entries ----

bytes algo_label(const bytes &fields)
{
    return field({0x8A, 0x01}, fields);
}

TEST(route_labels, values_1_and_2_fill_an_entry)
{
    expect_header(algo_label({
                      0x08, 0xF8, 0xAC, 0xD1, 0x91, 0x01, // 1 algo_label_value_1 = 0x12345678
                      0x10, 0xAC, 0x02,                   // 2 algo_label_value_2 = 300
                  }),
                  [](rib_routetype_ &expected) {
                      expected.rt_algo_labels[0].algo = 44;
                      expected.rt_algo_labels[0].label = 0x12345678;
                      expected.rt_algo_label_count = 1;
                  });
}

TEST(route_labels, value_4_is_the_extra)
{
    expect_header(algo_label({
                      0x08, 0x01,                         // 1 algo_label_value_1 = 1
                      0x10, 0x02,                         // 2 algo_label_value_2 = 2
                      0x20, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 4 algo_label_value_4 = 0xFFFFFFFF
                  }),
                  [](rib_routetype_ &expected) {
                      expected.rt_algo_labels[0] = {2, 1, 0xFFFFFFFF};
                      expected.rt_algo_label_count = 1;
                  });
}

TEST(route_labels, label_with_value_3_is_skipped)
{
    expect_header(algo_label({
                      0x08, 0x01, // 1 algo_label_value_1 = 1
                      0x10, 0x02, // 2 algo_label_value_2 = 2
                      0x18, 0x00, // 3 algo_label_value_3 = 0
                  }),
                  [](rib_routetype_ &) {});
}

TEST(route_labels, label_without_value_1_is_skipped)
{
    expect_header(algo_label({
                      0x10, 0x02, // 2 algo_label_value_2 = 2
                      0x20, 0x04, // 4 algo_label_value_4 = 4
                  }),
                  [](rib_routetype_ &) {});
}

TEST(route_labels, label_without_value_2_is_skipped)
{
    expect_header(algo_label({
                      0x08, 0x01, // 1 algo_label_value_1 = 1
                      0x20, 0x04, // 4 algo_label_value_4 = 4
                  }),
                  [](rib_routetype_ &) {});
}

TEST(route_labels, empty_label_is_skipped)
{
    expect_header(algo_label({}), [](rib_routetype_ &) {});
}

TEST(route_labels, skipped_labels_take_no_entry)
{
    const bytes first = {0x08, 0x0A, 0x10, 0x01};               // label 10, algorithm 1
    const bytes skipped = {0x08, 0x0B, 0x10, 0x02, 0x18, 0x01}; // label 11, algorithm 2, value 3
    const bytes second = {0x08, 0x0C, 0x10, 0x03};              // label 12, algorithm 3
    expect_header(algo_label(skipped) + algo_label(first) + algo_label(skipped) + algo_label(second),
                  [](rib_routetype_ &expected) {
                      expected.rt_algo_labels[0] = {1, 10, 0};
                      expected.rt_algo_labels[1] = {3, 12, 0};
                      expected.rt_algo_label_count = 2;
                  });
}

TEST(route_labels, entry_256_is_the_last)
{
    expect_header(repeat(256, algo_label({0x08, 0x0A, 0x10, 0x01})), [](rib_routetype_ &expected) {
        for (rib_algo_label_entry &entry : expected.rt_algo_labels)
            entry = {1, 10, 0};
        expected.rt_algo_label_count = 256;
    });
}

TEST(route_labels, label_257_is_dropped_and_nothing_behind_the_entries_changes)
{
    const bytes kept = algo_label({0x08, 0x0A, 0x10, 0x01});                // label 10, algorithm 1
    const bytes dropped = algo_label({0x08, 0x0B, 0x10, 0x02, 0x20, 0x7F}); // label 11, algorithm 2, extra 127
    expect_header(repeat(256, kept) + repeat(44, dropped), [](rib_routetype_ &expected) {
        for (rib_algo_label_entry &entry : expected.rt_algo_labels)
            entry = {1, 10, 0};
        expected.rt_algo_label_count = 256;
    });
}

TEST(route_labels, skipped_labels_do_not_count_towards_the_256)
{
    const bytes kept = algo_label({0x08, 0x0A, 0x10, 0x01});
    const bytes skipped = algo_label({0x08, 0x0B});
    expect_header(repeat(300, skipped) + repeat(256, kept), [](rib_routetype_ &expected) {
        for (rib_algo_label_entry &entry : expected.rt_algo_labels)
            entry = {1, 10, 0};
        expected.rt_algo_label_count = 256;
    });
}

TEST(route_labels, value_22_survives_the_labels)
{
    expect_header(algo_label({0x08, 0x0A, 0x10, 0x01}) + bytes{0xB0, 0x01, 0x16}, // 22 route_value_22 = 22
                  [](rib_routetype_ &expected) {
                      expected.rt_algo_labels[0] = {1, 10, 0};
                      expected.rt_algo_label_count = 1;
                      expected.rt_value_22 = 22;
                  });
}

} // namespace
