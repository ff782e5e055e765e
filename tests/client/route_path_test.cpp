// A converted path: scalars, addresses, prefix, labels and lists; which paths are left out, and how paths are packed.

#include "tests/client/route_support.hpp"

using namespace rib_test;

namespace
{

// Addresses as fields of their own messages.
const bytes ipv4_7 = {
    0x08, 0x01, // 1 family = 1
    0x10, 0x07, // 2 ipv4 = 7
};
const bytes ipv6_5_9 = {
    0x08, 0x02, // 1 family = 2
    0x1A, 0x04, // 3 ipv6, 4 bytes
    0x08, 0x05, //   1 half0 = 5
    0x10, 0x09, //   2 half1 = 9
};
const bytes foreign_family = {
    0x08, 0x03, // 1 family = 3
    0x10, 0x07, // 2 ipv4 = 7
};
const bytes only_half1 = {
    0x08, 0x02, // 1 family = 2
    0x1A, 0x02, // 3 ipv6, 2 bytes
    0x10, 0x09, //   2 half1 = 9
};

// The sixteen bytes that they become.
const bytes bytes_of_7 = bytes{0x07} + bytes(15, 0);
const bytes bytes_of_5_9 = bytes{0x05} + bytes(7, 0) + bytes{0x09} + bytes(7, 0);

#define AT(member) offsetof(rib_path_entry, member)

TEST(route_path, members_stand_in_the_documented_order)
{
    const size_t offsets[] = {
        AT(pe_value_1),        AT(pe_value_2),      AT(pe_value_3),
        AT(pe_addr_4),         AT(pe_addr_5),       AT(pe_addr_5_family),
        AT(pe_prefix),         AT(pe_prefix_len),   AT(pe_value_8),
        AT(pe_labels),         AT(pe_value_10),     AT(pe_value_11),
        AT(pe_value_12),       AT(pe_value_13),     AT(pe_label_count),
        AT(pe_address_count),  AT(pe_value_28),     AT(pe_sid_info_count),
        AT(pe_value_16),       AT(pe_addresses),    AT(pe_ipv6),
        AT(pe_value_19),       AT(pe_via_sid),      AT(pe_via_sid_value),
        AT(pe_nnh_count),      AT(pe_nnh),          AT(pe_value_22),
        AT(pe_sid_infos),      AT(pe_value_25),     AT(pe_value_31),
        AT(pe_iid_value_1),    AT(pe_iid_prefix),   AT(pe_iid_prefix_family),
        AT(pe_iid_prefix_len), AT(pe_iid_value_4),  AT(pe_l2_5),
        AT(pe_l2_6),           AT(pe_l2_7),         AT(pe_l2_8),
        AT(pe_grouping_2),     AT(pe_tunnel_flags), AT(pe_tunnel_7),
        AT(pe_tunnel_9),       AT(pe_tunnel_8),     AT(pe_tunnel_10),
        AT(pe_via_aft_id),     AT(pe_aft_6),        AT(pe_aft_7),
        AT(pe_sl_kind),        AT(pe_sl_value),     AT(pe_ecomm_count),
        AT(pe_ecomm_value_1),  AT(pe_ecomm_room),
    };
    for (size_t i = 1; i < std::size(offsets); i++)
        EXPECT_LT(offsets[i - 1], offsets[i]) << i;
}

#undef AT

TEST(route_path, members_have_the_documented_widths)
{
    const rib_path_entry entry = {};
    EXPECT_EQ(sizeof entry.pe_labels, 10 * sizeof(uint32_t));
    EXPECT_EQ(sizeof entry.pe_addresses, 2u * 16u);
    EXPECT_EQ(sizeof entry.pe_nnh / sizeof entry.pe_nnh[0], 512u);
    EXPECT_EQ(sizeof entry.pe_sid_infos / sizeof entry.pe_sid_infos[0], 24u);
    EXPECT_EQ(sizeof entry.pe_nnh[0].type, 1u);
    EXPECT_EQ(sizeof entry.pe_nnh[0].value, 4u);
    EXPECT_EQ(sizeof entry.pe_tunnel_10, 8u);
    EXPECT_EQ(sizeof entry.pe_via_aft_id, 8u);
    // The values follow the two counts and the room without a gap.
    EXPECT_EQ(offsetof(rib_path_entry, pe_ecomm_count) + 8, sizeof(rib_path_entry));
    EXPECT_EQ(sizeof(rib_path_entry) % 8, 0u);
    EXPECT_EQ(sizeof(rib_routetype_) % 8, 0u);
}

TEST(route_path, empty_path_has_the_documented_defaults_and_zeros)
{
    expect_path(no_fields, [](rib_path_entry &) {});
}

// ---- Scalars ----

TEST(route_path, value_1_keeps_32_bits)
{
    expect_path(
        {
            0x08, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 1 path_value_1 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_1 = 0x89ABCDEF; });
}

TEST(route_path, value_2_keeps_32_bits)
{
    expect_path(
        {
            0x10, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 2 path_value_2 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_2 = 0x89ABCDEF; });
}

TEST(route_path, value_8_keeps_32_bits)
{
    expect_path(
        {
            0x40, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 8 path_value_8 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_8 = 0x89ABCDEF; });
}

TEST(route_path, value_10_keeps_32_bits)
{
    expect_path(
        {
            0x50, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 10 path_value_10 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_10 = 0x89ABCDEF; });
}

TEST(route_path, value_11_keeps_32_bits)
{
    expect_path(
        {
            0x58, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 11 path_value_11 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_11 = 0x89ABCDEF; });
}

TEST(route_path, value_12_keeps_its_low_16_bits)
{
    expect_path(
        {
            0x60, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 12 path_value_12 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_12 = 0xCDEF; });
}

TEST(route_path, value_13_keeps_its_low_16_bits)
{
    expect_path(
        {
            0x68, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 13 path_value_13 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_13 = 0xCDEF; });
}

TEST(route_path, value_16_keeps_32_bits)
{
    expect_path(
        {
            0x80, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 16 path_value_16 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_16 = 0x89ABCDEF; });
}

TEST(route_path, value_19_keeps_32_bits)
{
    expect_path(
        {
            0x98, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 19 path_value_19 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_19 = 0x89ABCDEF; });
}

TEST(route_path, value_22_keeps_32_bits)
{
    expect_path(
        {
            0xB0, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 22 path_value_22 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_22 = 0x89ABCDEF; });
}

TEST(route_path, value_25_keeps_32_bits)
{
    expect_path(
        {
            0xC8, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 25 path_value_25 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_25 = 0x89ABCDEF; });
}

TEST(route_path, value_28_keeps_its_low_8_bits)
{
    expect_path(
        {
            0xE0, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 28 path_value_28 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_28 = 0xEF; });
}

TEST(route_path, value_31_keeps_32_bits)
{
    expect_path(
        {
            0xF8, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 31 path_value_31 = 0x89ABCDEF
        },
        [](rib_path_entry &expected) { expected.pe_value_31 = 0x89ABCDEF; });
}

TEST(route_path, value_3_loses_bit_11_and_the_top_four_bits)
{
    expect_path(
        {
            0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 3 path_value_3 = 0xFFFFFFFF
        },
        [](rib_path_entry &expected) { expected.pe_value_3 = 0x0FFFF7FF; });
}

TEST(route_path, value_3_of_bit_11_alone_is_0)
{
    expect_path(
        {
            0x18, 0x80, 0x10, // 3 path_value_3 = 0x800
        },
        [](rib_path_entry &) {});
}

TEST(route_path, value_14_goes_nowhere)
{
    expect_path(
        {
            0x70, 0x07, // 14 path_value_14 = 7
        },
        [](rib_path_entry &) {});
}

TEST(route_path, value_19_of_0_replaces_the_default)
{
    expect_path(
        {
            0x98, 0x01, 0x00, // 19 path_value_19 = 0
        },
        [](rib_path_entry &expected) { expected.pe_value_19 = 0; });
}

// ---- Addresses 4 and 5 ----

TEST(route_path, address_4_is_converted_without_its_family)
{
    expect_path(field({0x22}, ipv4_7), [](rib_path_entry &expected) { set_address(expected.pe_addr_4, bytes_of_7); });
}

TEST(route_path, address_4_may_be_ipv6)
{
    expect_path(field({0x22}, ipv6_5_9),
                [](rib_path_entry &expected) { set_address(expected.pe_addr_4, bytes_of_5_9); });
}

TEST(route_path, address_5_is_converted_with_its_family)
{
    expect_path(field({0x2A}, ipv4_7), [](rib_path_entry &expected) {
        set_address(expected.pe_addr_5, bytes_of_7);
        expected.pe_addr_5_family = 1;
    });
}

TEST(route_path, address_5_may_be_ipv6)
{
    expect_path(field({0x2A}, ipv6_5_9), [](rib_path_entry &expected) {
        set_address(expected.pe_addr_5, bytes_of_5_9);
        expected.pe_addr_5_family = 2;
    });
}

TEST(route_path, address_5_with_half1_alone_is_zero_with_its_family)
{
    expect_path(field({0x2A}, only_half1), [](rib_path_entry &expected) { expected.pe_addr_5_family = 2; });
}

TEST(route_path, address_4_of_a_foreign_family_rejects)
{
    expect_rejected(field({0x22}, foreign_family));
}

TEST(route_path, address_4_that_is_empty_rejects)
{
    expect_rejected(field({0x22}, no_fields));
}

TEST(route_path, address_5_of_a_foreign_family_rejects)
{
    expect_rejected(field({0x2A}, foreign_family));
}

TEST(route_path, address_5_that_is_empty_rejects)
{
    expect_rejected(field({0x2A}, no_fields));
}

TEST(route_path, address_without_a_value_for_its_family_rejects)
{
    expect_rejected({
        0x22, 0x02, // 4 path_address_4, 2 bytes
        0x08, 0x01, //   1 family = 1
    });
}

// ---- The IPv6 address ----

TEST(route_path, ipv6_address_is_half0_then_half1)
{
    expect_path(
        {
            0x92, 0x01, 0x04, // 18 path_ipv6_address, 4 bytes
            0x08, 0x05,       //   1 half0 = 5
            0x10, 0x09,       //   2 half1 = 9
        },
        [](rib_path_entry &expected) { set_address(expected.pe_ipv6, bytes_of_5_9); });
}

TEST(route_path, ipv6_address_with_half0_alone_is_taken)
{
    expect_path(
        {
            0x92, 0x01, 0x02, // 18 path_ipv6_address, 2 bytes
            0x08, 0x05,       //   1 half0 = 5
        },
        [](rib_path_entry &expected) { set_address(expected.pe_ipv6, bytes{0x05} + bytes(15, 0)); });
}

TEST(route_path, ipv6_address_without_half0_rejects)
{
    expect_rejected({
        0x92, 0x01, 0x02, // 18 path_ipv6_address, 2 bytes
        0x10, 0x09,       //   2 half1 = 9
    });
}

TEST(route_path, ipv6_address_that_is_empty_rejects)
{
    expect_rejected(field({0x92, 0x01}, no_fields));
}

// ---- The prefix ----

TEST(route_path, prefix_is_converted_with_all_32_bits_of_its_length)
{
    expect_path(
        {
            0x32, 0x09,       // 6 path_prefix, 9 bytes
            0x0A, 0x04,       //   1 address, 4 bytes
            0x08, 0x01,       //     1 family = 1
            0x10, 0x07,       //     2 ipv4 = 7
            0x10, 0xAC, 0x02, //   2 prefix_len = 300
        },
        [](rib_path_entry &expected) {
            set_address(expected.pe_prefix, bytes_of_7);
            expected.pe_prefix_len = 300;
        });
}

TEST(route_path, prefix_without_a_length_has_length_FFFFFFFF)
{
    expect_path(field({0x32}, field({0x0A}, ipv4_7)),
                [](rib_path_entry &expected) { set_address(expected.pe_prefix, bytes_of_7); });
}

TEST(route_path, prefix_without_an_address_keeps_its_length)
{
    expect_path(
        {
            0x32, 0x02, // 6 path_prefix, 2 bytes
            0x10, 0x18, //   2 prefix_len = 24
        },
        [](rib_path_entry &expected) { expected.pe_prefix_len = 24; });
}

TEST(route_path, present_empty_prefix_is_a_success)
{
    expect_path(field({0x32}, no_fields), [](rib_path_entry &) {});
}

TEST(route_path, prefix_with_an_empty_address_rejects)
{
    expect_rejected(field({0x32}, field({0x0A}, no_fields)));
}

TEST(route_path, prefix_of_a_foreign_family_rejects)
{
    expect_rejected(field({0x32}, field({0x0A}, foreign_family)));
}

// ---- Labels ----

// The label 5, n times.
bytes labels(size_t count)
{
    return repeat(count, {0x48, 0x05});
}

TEST(route_path, labels_are_copied_and_the_rest_stays_0)
{
    expect_path(
        {
            0x48, 0x05,                         // 9 path_values_9 = 5
            0x48, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 9 path_values_9 = 0xFFFFFFFF
        },
        [](rib_path_entry &expected) {
            expected.pe_label_count = 2;
            for (uint32_t &label : expected.pe_labels)
                label = 0;
            expected.pe_labels[0] = 5;
            expected.pe_labels[1] = 0xFFFFFFFF;
        });
}

TEST(route_path, ten_labels_fill_the_room)
{
    expect_path(labels(10), [](rib_path_entry &expected) {
        expected.pe_label_count = 10;
        for (uint32_t &label : expected.pe_labels)
            label = 5;
    });
}

TEST(route_path, eleven_labels_reject)
{
    expect_rejected(labels(11));
}

TEST(route_path, as_many_as_255_labels_reject)
{
    expect_rejected(labels(255));
}

TEST(route_path, count_of_256_labels_has_a_low_byte_of_0)
{
    expect_path(labels(256), [](rib_path_entry &expected) {
        for (uint32_t &label : expected.pe_labels)
            label = 0;
    });
}

TEST(route_path, count_of_259_labels_copies_three)
{
    expect_path(labels(259), [](rib_path_entry &expected) {
        expected.pe_label_count = 3;
        for (uint32_t i = 0; i < 10; i++)
            expected.pe_labels[i] = i < 3 ? 5 : 0;
    });
}

TEST(route_path, count_of_267_labels_rejects)
{
    expect_rejected(labels(267));
}

// ---- The list of addresses ----

TEST(route_path, two_addresses_are_converted)
{
    expect_path(field({0x8A, 0x01}, ipv4_7) + field({0x8A, 0x01}, ipv6_5_9), [](rib_path_entry &expected) {
        expected.pe_address_count = 2;
        set_address(expected.pe_addresses[0], bytes_of_7);
        set_address(expected.pe_addresses[1], bytes_of_5_9);
    });
}

TEST(route_path, addresses_that_cannot_be_converted_are_zero_and_counted)
{
    expect_path(field({0x8A, 0x01}, foreign_family) + field({0x8A, 0x01}, ipv4_7), [](rib_path_entry &expected) {
        expected.pe_address_count = 2;
        set_address(expected.pe_addresses[1], bytes_of_7);
    });
}

TEST(route_path, empty_address_is_zero_and_counted)
{
    expect_path(field({0x8A, 0x01}, no_fields), [](rib_path_entry &expected) { expected.pe_address_count = 1; });
}

TEST(route_path, three_addresses_reject)
{
    expect_rejected(repeat(3, field({0x8A, 0x01}, ipv4_7)));
}

TEST(route_path, count_of_257_addresses_converts_the_first)
{
    expect_path(repeat(257, field({0x8A, 0x01}, ipv4_7)), [](rib_path_entry &expected) {
        expected.pe_address_count = 1;
        set_address(expected.pe_addresses[0], bytes_of_7);
    });
}

TEST(route_path, count_of_256_addresses_converts_none)
{
    expect_path(repeat(256, field({0x8A, 0x01}, ipv4_7)), [](rib_path_entry &) {});
}

TEST(route_path, count_of_259_addresses_rejects)
{
    expect_rejected(repeat(259, field({0x8A, 0x01}, ipv4_7)));
}

// ---- SID informations ----

bytes sid_info(const bytes &fields)
{
    return field({0x8A, 0x02}, fields);
}

TEST(route_path, sid_info_gives_address_length_and_marker)
{
    const bytes prefix = field({0x0A}, ipv6_5_9) + bytes{0x10, 0xAC, 0x02}; // 1 address, 2 prefix_len = 300
    const bytes value_3 = {0x18, 0x01};                                     // 3 sid_info_value_3 = 1
    expect_path(sid_info(field({0x12}, prefix) + value_3), [](rib_path_entry &expected) {
        expected.pe_sid_info_count = 1;
        set_address(expected.pe_sid_infos[0].address, bytes_of_5_9);
        expected.pe_sid_infos[0].prefix_len = 300;
        expected.pe_sid_infos[0].marker = 0x2A;
    });
}

TEST(route_path, sid_info_value_3_of_0_sets_no_marker)
{
    expect_path(sid_info({
                    0x18, 0x00, // 3 sid_info_value_3 = 0
                }),
                [](rib_path_entry &expected) {
                    expected.pe_sid_info_count = 1;
                    expected.pe_sid_infos[0].prefix_len = 0xFFFFFFFF;
                });
}

TEST(route_path, sid_info_value_3_is_judged_by_its_low_byte)
{
    expect_path(sid_info({
                    0x18, 0x80, 0x02, // 3 sid_info_value_3 = 256
                }) + sid_info({
                         0x18, 0x81, 0x02, // 3 sid_info_value_3 = 257
                     }),
                [](rib_path_entry &expected) {
                    expected.pe_sid_info_count = 2;
                    expected.pe_sid_infos[0].prefix_len = 0xFFFFFFFF;
                    expected.pe_sid_infos[1].prefix_len = 0xFFFFFFFF;
                    expected.pe_sid_infos[1].marker = 0x2A;
                });
}

TEST(route_path, sid_info_without_a_prefix_has_length_FFFFFFFF)
{
    expect_path(sid_info({
                    0x08, 0x01, // 1 sid_info_value_1 = 1
                }),
                [](rib_path_entry &expected) {
                    expected.pe_sid_info_count = 1;
                    expected.pe_sid_infos[0].prefix_len = 0xFFFFFFFF;
                });
}

TEST(route_path, sid_info_that_cannot_be_converted_keeps_its_length)
{
    const bytes prefix = field({0x0A}, foreign_family) + bytes{0x10, 0x18}; // 1 address, 2 prefix_len = 24
    expect_path(sid_info(field({0x12}, prefix)), [](rib_path_entry &expected) {
        expected.pe_sid_info_count = 1;
        expected.pe_sid_infos[0].prefix_len = 24;
    });
}

TEST(route_path, twenty_four_sid_infos_fill_the_room)
{
    expect_path(repeat(24, sid_info({0x18, 0x01})), [](rib_path_entry &expected) {
        expected.pe_sid_info_count = 24;
        for (rib_sid_info_entry &info : expected.pe_sid_infos) {
            info.prefix_len = 0xFFFFFFFF;
            info.marker = 0x2A;
        }
    });
}

TEST(route_path, twenty_five_sid_infos_reject)
{
    expect_rejected(repeat(25, sid_info({0x18, 0x01})));
}

TEST(route_path, count_of_258_sid_infos_converts_two)
{
    expect_path(repeat(258, sid_info({0x18, 0x01})), [](rib_path_entry &expected) {
        expected.pe_sid_info_count = 2;
        for (int i = 0; i < 2; i++) {
            expected.pe_sid_infos[i].prefix_len = 0xFFFFFFFF;
            expected.pe_sid_infos[i].marker = 0x2A;
        }
    });
}

// ---- Paths that are left out ----

TEST(route_path, value_27_leaves_the_path_out)
{
    expect_rejected({
        0xD8, 0x01, 0x01, // 27 path_value_27 = 1
    });
}

TEST(route_path, value_27_of_0_leaves_the_path_out_too)
{
    expect_rejected({
        0xD8, 0x01, 0x00, // 27 path_value_27 = 0
    });
}

// Everything that a path can fill, with a twenty-fifth SID information that rejects it at the very end.
const bytes full_but_rejected =
    bytes{
        0x08, 0x01,       // 1 path_value_1
        0x10, 0x02,       // 2 path_value_2
        0x18, 0x03,       // 3 path_value_3
        0x40, 0x08,       // 8 path_value_8
        0x50, 0x0A,       // 10 path_value_10
        0x58, 0x0B,       // 11 path_value_11
        0x60, 0x0C,       // 12 path_value_12
        0x68, 0x0D,       // 13 path_value_13
        0x80, 0x01, 0x10, // 16 path_value_16
        0x98, 0x01, 0x13, // 19 path_value_19
        0xB0, 0x01, 0x16, // 22 path_value_22
        0xC8, 0x01, 0x19, // 25 path_value_25
        0xE0, 0x01, 0x1C, // 28 path_value_28
        0xF8, 0x01, 0x1F, // 31 path_value_31
    } +
    field({0x22}, ipv6_5_9) +                                          // 4 path_address_4
    field({0x2A}, ipv6_5_9) +                                          // 5 path_address_5
    field({0x32}, field({0x0A}, ipv6_5_9) + bytes{0x10, 0x18}) +       // 6 path_prefix
    labels(10) +                                                       // 9 path_values_9
    repeat(2, field({0x8A, 0x01}, ipv6_5_9)) +                         // 17 path_addresses
    field({0x92, 0x01}, {0x08, 0x05, 0x10, 0x09}) +                    // 18 path_ipv6_address
    repeat(600, field({0xAA, 0x01}, {0x08, 0x01, 0x10, 0x7F})) +       // 21 nnh_entries
    field({0xD2, 0x01}, bytes{0x08, 0x07} + repeat(9, {0x10, 0x7F})) + // 26 ecomm with nine values
    field({0xEA, 0x01}, bytes{0x08, 0x01, 0x20, 0x04} + field({0x1A}, field({0x0A}, ipv6_5_9))) +   // 29 iid_attr
    field({0xF2, 0x01}, {0x28, 0x05, 0x30, 0x06, 0x38, 0x07, 0x40, 0x08}) +                         // 30 l2_info
    field({0x82, 0x02}, {0x12, 0x04, 0x08, 0x05, 0x10, 0x09, 0x18, 0x03}) +                         // 32 via_srv6_sid
    repeat(25, sid_info(field({0x12}, field({0x0A}, ipv6_5_9)) + bytes{0x18, 0x01})) +              // 33 srv6_sid_infos
    field({0xC2, 0x02}, {0x10, 0x02}) +                                                             // 40 grouping_info
    field({0x92, 0x02}, {0x28, 0x01, 0x30, 0x06, 0x38, 0x07, 0x40, 0x08, 0x48, 0x09, 0x50, 0x0A}) + // 34 ip_tunnel_info
    field({0x9A, 0x02}, {0x28, 0x05, 0x30, 0x06, 0x38, 0x02}) +                                     // 35 via_aft_id
    field({0xA2, 0x02}, {0x10, 0x01, 0x18, 0x03});                                                  // 36 sl_id_info

TEST(route_path, rejected_path_leaves_nothing_in_its_place)
{
    expect_rejected(full_but_rejected);
}

TEST(route_path, rejected_ecomm_values_leave_nothing_in_the_next_paths)
{
    // Room for three empty paths and one of nine values; the values of the rejected one reach into the second place.
    const bytes ecomm_three = field({0xD2, 0x01}, bytes{0x18, 0x00} + bytes{0x10, 0x01, 0x10, 0x02, 0x10, 0x03});
    const converted_route route(path_field(full_but_rejected) + path_field(ecomm_three) + path_field({}) +
                                path_field({}));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 3);
    rib_path_entry expected = empty_path();
    expected.pe_ecomm_room = 3;
    EXPECT_EQ(rib_reference::differences(expected, *route.path(0)), "");
    EXPECT_EQ(rib_reference::differences(empty_path(), *route.path(1)), "");
    EXPECT_EQ(rib_reference::differences(empty_path(), *route.path(2)), "");
    const uint64_t *values = rib_path_ecomm_values(route.path(0));
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(values[i], 0u) << "a block with its field 3 has room but no values";
}

TEST(route_path, many_rejected_paths_in_a_row_leave_nothing)
{
    const converted_route route(repeat(5, path_field(full_but_rejected)) + path_field({}));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1);
    EXPECT_EQ(rib_reference::differences(empty_path(), *route.path(0)), "");
}

TEST(route_path, route_succeeds_when_every_path_is_rejected)
{
    const converted_route route(repeat(3, path_field(labels(11))));
    EXPECT_EQ(route.status, 0u);
    ASSERT_NE(route.record, nullptr);
    EXPECT_EQ(route.record->rt_path_count, 0);
    EXPECT_EQ(route.record->rt_first_ecomm, nullptr);
}

// ---- How paths are packed ----

TEST(route_path, paths_keep_the_order_of_the_message)
{
    const converted_route route(path_field({0x08, 0x01}) + path_field({0x08, 0x02}) + path_field({0x08, 0x03}));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 3);
    for (unsigned i = 0; i < 3; i++)
        EXPECT_EQ(route.path(i)->pe_value_1, i + 1);
}

TEST(route_path, first_path_starts_at_the_end_of_the_header)
{
    const converted_route route(path_field({0x08, 0x01}));
    ASSERT_EQ(route.status, 0u);
    EXPECT_EQ(static_cast<const void *>(rib_route_first_path(route.record)),
              static_cast<const void *>(reinterpret_cast<const uint8_t *>(route.record) + sizeof(rib_routetype_)));
}

TEST(route_path, next_path_starts_behind_the_ecomm_values)
{
    const bytes three_values = field({0xD2, 0x01}, {0x10, 0x0A, 0x10, 0x0B, 0x10, 0x0C});
    const converted_route route(path_field(three_values) + path_field({0x08, 0x02}));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 2);
    const auto *first = reinterpret_cast<const uint8_t *>(rib_route_first_path(route.record));
    const auto *second = reinterpret_cast<const rib_path_entry *>(first + sizeof(rib_path_entry) + 3 * 8);
    EXPECT_EQ(rib_route_next_path(rib_route_first_path(route.record)), second);
    EXPECT_EQ(second->pe_value_1, 2u);
}

TEST(route_path, rejected_paths_place_is_taken_by_the_next)
{
    const converted_route route(path_field({0x08, 0x01}) + path_field(labels(11)) + path_field({0x08, 0x03}));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 2);
    EXPECT_EQ(route.path(0)->pe_value_1, 1u);
    EXPECT_EQ(route.path(1)->pe_value_1, 3u);
}

// ---- At most 1024 ----

TEST(route_path, all_1024_paths_are_converted)
{
    const converted_route route(repeat(1024, path_field({0x08, 0x07})));
    ASSERT_EQ(route.status, 0u);
    EXPECT_EQ(route.record->rt_path_count, 1024);
    EXPECT_EQ(route.path(1023)->pe_value_1, 7u);
}

TEST(route_path, path_1025_is_ignored)
{
    const converted_route route(repeat(1024, path_field({0x08, 0x07})) + path_field({0x08, 0x08}));
    ASSERT_EQ(route.status, 0u);
    EXPECT_EQ(route.record->rt_path_count, 1024);
    EXPECT_EQ(route.path(1023)->pe_value_1, 7u);
}

TEST(route_path, of_1500_paths_the_first_1024_usable_ones_are_converted)
{
    // Every third is unusable: 500 of 1500, so that the last usable ones lie behind number 1024.
    bytes payload;
    for (uint64_t i = 0; i < 1500; i++) {
        const bytes number_of_path = number({0x08}, i);
        payload = payload + path_field(i % 3 == 2 ? number_of_path + labels(11) : number_of_path);
    }
    const converted_route route(payload);
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1000);
    EXPECT_EQ(route.path(0)->pe_value_1, 0u);
    EXPECT_EQ(route.path(2)->pe_value_1, 3u);
    EXPECT_EQ(route.path(999)->pe_value_1, 1498u);
}

TEST(route_path, paths_left_out_do_not_count_towards_the_1024)
{
    const bytes left_out = path_field({0xD8, 0x01, 0x01}) + path_field(labels(11));
    bytes payload;
    for (uint64_t i = 0; i < 1100; i++)
        payload = payload + path_field(number({0x08}, i)) + (i % 10 == 0 ? left_out : bytes{});
    const converted_route route(payload);
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1024);
    EXPECT_EQ(route.path(1023)->pe_value_1, 1023u);
}

TEST(route_path, malformed_path_behind_the_1024th_fails_the_route_all_the_same)
{
    const converted_route route(repeat(1024, path_field({})) + path_field({0x08}));
    EXPECT_EQ(route.status, 0xA2D28000u);
    EXPECT_EQ(route.record, nullptr);
}

} // namespace
