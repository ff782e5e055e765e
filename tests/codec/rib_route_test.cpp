// Routes, and the blocks that only routes have.

#include "messages/rib_common.h"
#include "tests/codec/support.hpp"

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(rib_bind_reply);
RIB_TEST_CODEC(rib_client_advertisement);
RIB_TEST_CODEC(rib_generic_attr_array);
RIB_TEST_CODEC(rib_generic_attr_info);
RIB_TEST_CODEC(rib_route);
RIB_TEST_CODEC(rib_route_aft_id);
RIB_TEST_CODEC(rib_route_l2_info);

FULL_ARGUMENT_LISTS(rib_bind_reply);
FULL_ARGUMENT_LISTS(rib_client_advertisement);
FULL_ARGUMENT_LISTS(rib_generic_attr_array);
FULL_ARGUMENT_LISTS(rib_generic_attr_info);
FULL_ARGUMENT_LISTS(rib_route);
FULL_ARGUMENT_LISTS(rib_route_aft_id);
FULL_ARGUMENT_LISTS(rib_route_l2_info);

template <class Codec>
int32_t status_of(const bytes &input)
{
    memory mem;
    typename Codec::record msg = {};
    return decode<Codec>(msg, input, mem);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_route.

// Every field once; values are the field numbers.
const bytes whole_route = {
    0x0A, 0x02, 0x10, 0x01,                   // 1 route_prefix: prefix_len = 1
    0x10, 0x02,                               // 2 route_value_2 = 2
    0x18, 0x03,                               // 3 route_value_3 = 3
    0x20, 0x04,                               // 4 route_value_4 = 4
    0x28, 0x05,                               // 5 route_value_5 = 5
    0x30, 0x06,                               // 6 route_value_6 = 6
    0x38, 0x07,                               // 7 route_value_7 = 7
    0x40, 0x08,                               // 8 route_value_8 = 8
    0x48, 0x09,                               // 9 route_value_9 = 9
    0x50, 0x0A,                               // 10 route_value_10 = 10
    0x58, 0x0B,                               // 11 route_value_11 = 11
    0x60, 0x0C,                               // 12 route_value_12 = 12
    0x68, 0x0D,                               // 13 route_value_13 = 13
    0x70, 0x0E,                               // 14 route_value_14 = 14
    0x78, 0x0F,                               // 15 route_value_15 = 15
    0x80, 0x01, 0x10,                         // 16 route_value_16 = 16
    0x8A, 0x01, 0x02, 0x08, 0x11,             // 17 algo_labels[0]: algo_label_value_1 = 17
    0x8A, 0x01, 0x00,                         // 17 algo_labels[1], empty
    0x90, 0x01, 0x12,                         // 18 route_value_18 = 18
    0x98, 0x01, 0x13,                         // 19 route_value_19 = 19
    0xA0, 0x01, 0x14,                         // 20 route_value_20 = 20
    0xA8, 0x01, 0x15,                         // 21 route_value_21 = 21
    0xB0, 0x01, 0x16,                         // 22 route_value_22 = 22
    0xB8, 0x01, 0x17,                         // 23 route_value_23 = 23
    0xC0, 0x01, 0x98, 0x80, 0x80, 0x80, 0x10, // 24 route_flags = 2^32 + 24
    0xC8, 0x01, 0x19,                         // 25 route_value_25 = 25
    0xD2, 0x01, 0x04, 0x08, 0x1A, 0x48, 0x1B, // 26 paths[0]: path_value_1 = 26, path_values_9[0] = 27
    0xD2, 0x01, 0x00,                         // 26 paths[1], empty
    0xDA, 0x01, 0x02, 0x08, 0x1B,             // 27 client_advertisement: advertised_values[0] = 27
    0xE2, 0x01, 0x05,                         // 28 addr_generic_attrs, 5 bytes
    0x12, 0x03, 0x12, 0x01, 0x1C,             //   2 attrs[0]: attr_data = 1C
    0xEA, 0x01, 0x02, 0x08, 0x1D,             // 29 generic_attrs_29: array_type = 29
    0xF2, 0x01, 0x02, 0x08, 0x1E,             // 30 generic_attrs_30: array_type = 30
    0xFA, 0x01, 0x02, 0x08, 0x1F,             // 31 generic_attrs_31: array_type = 31
    0x82, 0x02, 0x02, 0x08, 0x20,             // 32 generic_attrs_32: array_type = 32
    0x8A, 0x02, 0x02, 0x08, 0x21,             // 33 generic_attrs_33: array_type = 33
    0x90, 0x02, 0x22,                         // 34 route_value_34 = 34
    0x98, 0x02, 0x23,                         // 35 route_value_35 = 35
    0xA2, 0x02, 0x02, 0x28, 0x24,             // 36 route_l2_info: route_l2_value_5 = 36
    0xA8, 0x02, 0x25,                         // 37 route_value_37 = 37
    0xB0, 0x02, 0x26,                         // 38 route_value_38 = 38
    0xBA, 0x02, 0x02, 0x28, 0x27,             // 39 route_aft_id: route_aft_id_value = 39
    0xC0, 0x02, 0xA8, 0x80, 0x80, 0x80, 0x10, // 40 route_value_40 = 2^32 + 40
    0xC8, 0x02, 0xA9, 0x80, 0x80, 0x80, 0x10, // 41 route_value_41 = 2^32 + 41
};

TEST(rib_route, reads_every_field)
{
    memory mem;
    zidl_rib_route msg = rubbish<rib_route>();
    ASSERT_EQ(decode<rib_route>(msg, whole_route, mem), ZIDL_OK);
    EXPECT_EQ(msg.route_prefix.prefix_len, 1u);
    EXPECT_EQ(msg.route_value_2, 2u);
    EXPECT_EQ(msg.route_value_3, 3u);
    EXPECT_EQ(msg.route_value_4, 4u);
    EXPECT_EQ(msg.route_value_5, 5u);
    EXPECT_EQ(msg.route_value_6, 6u);
    EXPECT_EQ(msg.route_value_7, 7u);
    EXPECT_EQ(msg.route_value_8, 8u);
    EXPECT_EQ(msg.route_value_9, 9u);
    EXPECT_EQ(msg.route_value_10, 10u);
    EXPECT_EQ(msg.route_value_11, 11u);
    EXPECT_EQ(msg.route_value_12, 12u);
    EXPECT_EQ(msg.route_value_13, 13u);
    EXPECT_EQ(msg.route_value_14, 14u);
    EXPECT_EQ(msg.route_value_15, 15u);
    EXPECT_EQ(msg.route_value_16, 16u);
    ASSERT_EQ(msg.algo_labels_count, 2u);
    EXPECT_EQ(msg.algo_labels[0].algo_label_value_1, 17u);
    EXPECT_EQ(msg.algo_labels[1].presence, 0);
    EXPECT_EQ(msg.route_value_18, 18u);
    EXPECT_EQ(msg.route_value_19, 19u);
    EXPECT_EQ(msg.route_value_20, 20u);
    EXPECT_EQ(msg.route_value_21, 21u);
    EXPECT_EQ(msg.route_value_22, 22u);
    EXPECT_EQ(msg.route_value_23, 23u);
    EXPECT_EQ(msg.route_flags, (1ull << 32) + 24);
    EXPECT_EQ(msg.route_value_25, 25u);
    ASSERT_EQ(msg.paths_count, 2u);
    EXPECT_EQ(msg.paths[0].path_value_1, 26u);
    EXPECT_EQ(msg.paths[0].path_values_9[0], 27u);
    EXPECT_EQ(msg.paths[1].presence, 0u);
    ASSERT_EQ(msg.client_advertisement.advertised_values_count, 1u);
    EXPECT_EQ(msg.client_advertisement.advertised_values[0], 27u);
    ASSERT_EQ(msg.addr_generic_attrs.attrs_count, 1u);
    EXPECT_EQ(msg.addr_generic_attrs.attrs[0].attr_data[0], 0x1C);
    EXPECT_EQ(msg.generic_attrs_29.array_type, 29u);
    EXPECT_EQ(msg.generic_attrs_30.array_type, 30u);
    EXPECT_EQ(msg.generic_attrs_31.array_type, 31u);
    EXPECT_EQ(msg.generic_attrs_32.array_type, 32u);
    EXPECT_EQ(msg.generic_attrs_33.array_type, 33u);
    EXPECT_EQ(msg.route_value_34, 34u);
    EXPECT_EQ(msg.route_value_35, 35u);
    EXPECT_EQ(msg.route_l2_info.route_l2_value_5, 36u);
    EXPECT_EQ(msg.route_value_37, 37u);
    EXPECT_EQ(msg.route_value_38, 38u);
    EXPECT_EQ(msg.route_aft_id.route_aft_id_value, 39u);
    EXPECT_EQ(msg.route_value_40, (1ull << 32) + 40);
    EXPECT_EQ(msg.route_value_41, (1ull << 32) + 41);
    EXPECT_EQ(msg.presence, 0xA5A5A5FFFFFFFFFFu); // bits 0 to 40
}

TEST(rib_route, writes_what_it_reads)
{
    memory mem;
    zidl_rib_route msg = {};
    ASSERT_EQ(decode<rib_route>(msg, whole_route, mem), ZIDL_OK);
    EXPECT_EQ(encode<rib_route>(msg), whole_route);
}

TEST(rib_route, every_field_has_the_bit_below_its_number)
{
    const struct {
        uint32_t bit;
        bytes input;
    } fields[] = {
        {0, {0x0A, 0x00}},        // 1 route_prefix
        {1, {0x10, 0x01}},        // 2 route_value_2
        {2, {0x18, 0x01}},        // 3 route_value_3
        {3, {0x20, 0x01}},        // 4 route_value_4
        {4, {0x28, 0x01}},        // 5 route_value_5
        {5, {0x30, 0x01}},        // 6 route_value_6
        {6, {0x38, 0x01}},        // 7 route_value_7
        {7, {0x40, 0x01}},        // 8 route_value_8
        {8, {0x48, 0x01}},        // 9 route_value_9
        {9, {0x50, 0x01}},        // 10 route_value_10
        {10, {0x58, 0x01}},       // 11 route_value_11
        {11, {0x60, 0x01}},       // 12 route_value_12
        {12, {0x68, 0x01}},       // 13 route_value_13
        {13, {0x70, 0x01}},       // 14 route_value_14
        {14, {0x78, 0x01}},       // 15 route_value_15
        {15, {0x80, 0x01, 0x01}}, // 16 route_value_16
        {16, {0x8A, 0x01, 0x00}}, // 17 algo_labels
        {17, {0x90, 0x01, 0x01}}, // 18 route_value_18
        {18, {0x98, 0x01, 0x01}}, // 19 route_value_19
        {19, {0xA0, 0x01, 0x01}}, // 20 route_value_20
        {20, {0xA8, 0x01, 0x01}}, // 21 route_value_21
        {21, {0xB0, 0x01, 0x01}}, // 22 route_value_22
        {22, {0xB8, 0x01, 0x01}}, // 23 route_value_23
        {23, {0xC0, 0x01, 0x01}}, // 24 route_flags
        {24, {0xC8, 0x01, 0x01}}, // 25 route_value_25
        {25, {0xD2, 0x01, 0x00}}, // 26 paths
        {26, {0xDA, 0x01, 0x00}}, // 27 client_advertisement
        {27, {0xE2, 0x01, 0x00}}, // 28 addr_generic_attrs
        {28, {0xEA, 0x01, 0x00}}, // 29 generic_attrs_29
        {29, {0xF2, 0x01, 0x00}}, // 30 generic_attrs_30
        {30, {0xFA, 0x01, 0x00}}, // 31 generic_attrs_31
        {31, {0x82, 0x02, 0x00}}, // 32 generic_attrs_32
        {32, {0x8A, 0x02, 0x00}}, // 33 generic_attrs_33
        {33, {0x90, 0x02, 0x01}}, // 34 route_value_34
        {34, {0x98, 0x02, 0x01}}, // 35 route_value_35
        {35, {0xA2, 0x02, 0x00}}, // 36 route_l2_info
        {36, {0xA8, 0x02, 0x01}}, // 37 route_value_37
        {37, {0xB0, 0x02, 0x01}}, // 38 route_value_38
        {38, {0xBA, 0x02, 0x00}}, // 39 route_aft_id
        {39, {0xC0, 0x02, 0x01}}, // 40 route_value_40
        {40, {0xC8, 0x02, 0x01}}, // 41 route_value_41
    };
    for (const auto &field : fields) {
        memory mem;
        zidl_rib_route msg = {};
        EXPECT_EQ(decode<rib_route>(msg, field.input, mem), ZIDL_OK) << field.bit;
        EXPECT_EQ(msg.presence, 1ull << field.bit);
        EXPECT_EQ(encode<rib_route>(msg), field.input) << field.bit;
    }
}

TEST(rib_route, no_field_accepts_another_wire_type)
{
    const bytes tags[] = {
        {0x08},       // 1 route_prefix, varint
        {0x12},       // 2 route_value_2, length-delimited
        {0x1A},       // 3 route_value_3, length-delimited
        {0x22},       // 4 route_value_4, length-delimited
        {0x2A},       // 5 route_value_5, length-delimited
        {0x32},       // 6 route_value_6, length-delimited
        {0x3A},       // 7 route_value_7, length-delimited
        {0x42},       // 8 route_value_8, length-delimited
        {0x4A},       // 9 route_value_9, length-delimited
        {0x55},       // 10 route_value_10, 32-bit
        {0x59},       // 11 route_value_11, 64-bit
        {0x63},       // 12 route_value_12, wire type 3
        {0x6C},       // 13 route_value_13, wire type 4
        {0x76},       // 14 route_value_14, wire type 6
        {0x7F},       // 15 route_value_15, wire type 7
        {0x82, 0x01}, // 16 route_value_16, length-delimited
        {0x88, 0x01}, // 17 algo_labels, varint
        {0x92, 0x01}, // 18 route_value_18, length-delimited
        {0x9A, 0x01}, // 19 route_value_19, length-delimited
        {0xA2, 0x01}, // 20 route_value_20, length-delimited
        {0xAA, 0x01}, // 21 route_value_21, length-delimited
        {0xB2, 0x01}, // 22 route_value_22, length-delimited
        {0xBA, 0x01}, // 23 route_value_23, length-delimited
        {0xC1, 0x01}, // 24 route_flags, 64-bit
        {0xCA, 0x01}, // 25 route_value_25, length-delimited
        {0xD0, 0x01}, // 26 paths, varint
        {0xD8, 0x01}, // 27 client_advertisement, varint
        {0xE0, 0x01}, // 28 addr_generic_attrs, varint
        {0xE8, 0x01}, // 29 generic_attrs_29, varint
        {0xF0, 0x01}, // 30 generic_attrs_30, varint
        {0xF8, 0x01}, // 31 generic_attrs_31, varint
        {0x80, 0x02}, // 32 generic_attrs_32, varint
        {0x88, 0x02}, // 33 generic_attrs_33, varint
        {0x92, 0x02}, // 34 route_value_34, length-delimited
        {0x9A, 0x02}, // 35 route_value_35, length-delimited
        {0xA0, 0x02}, // 36 route_l2_info, varint
        {0xAA, 0x02}, // 37 route_value_37, length-delimited
        {0xB2, 0x02}, // 38 route_value_38, length-delimited
        {0xB8, 0x02}, // 39 route_aft_id, varint
        {0xC1, 0x02}, // 40 route_value_40, 64-bit
        {0xC9, 0x02}, // 41 route_value_41, 64-bit
    };
    for (const bytes &tag : tags)
        EXPECT_EQ(status_of<rib_route>(tag), ZIDL_ERR_FIELD_TYPE) << testing::PrintToString(tag);
}

TEST(rib_route, prefix_alone_is_one_field)
{
    zidl_rib_route msg = {};
    msg.route_prefix.address.family = 1;
    msg.route_prefix.address.ipv4 = 0x0A000000;
    msg.route_prefix.address.presence = 0x03; // family, ipv4
    msg.route_prefix.prefix_len = 8;
    msg.route_prefix.presence = 0x03; // address, prefix_len
    msg.presence = 1ull << 0;         // route_prefix
    const bytes expected = {
        0x0A, 0x0B,                   // 1 route_prefix, 11 bytes
        0x0A, 0x07,                   //   1 address, 7 bytes
        0x08, 0x01,                   //     1 family = 1
        0x10, 0x80, 0x80, 0x80, 0x50, //     2 ipv4 = 10.0.0.0
        0x10, 0x08,                   //   2 prefix_len = 8
    };
    EXPECT_EQ(encode<rib_route>(msg), expected);
}

TEST(rib_route, nested_messages_with_content_are_written_though_no_bit_of_the_route_is_set)
{
    memory mem;
    zidl_rib_route msg = {};
    ASSERT_EQ(decode<rib_route>(msg, whole_route, mem), ZIDL_OK);
    msg.presence = 0;
    const bytes expected = {
        0x0A, 0x02, 0x10, 0x01,       // 1 route_prefix: prefix_len = 1
        0xDA, 0x01, 0x02, 0x08, 0x1B, // 27 client_advertisement: advertised_values[0] = 27
        0xE2, 0x01, 0x05,             // 28 addr_generic_attrs, 5 bytes
        0x12, 0x03, 0x12, 0x01, 0x1C, //   2 attrs[0]: attr_data = 1C
        0xEA, 0x01, 0x02, 0x08, 0x1D, // 29 generic_attrs_29: array_type = 29
        0xF2, 0x01, 0x02, 0x08, 0x1E, // 30 generic_attrs_30: array_type = 30
        0xFA, 0x01, 0x02, 0x08, 0x1F, // 31 generic_attrs_31: array_type = 31
        0x82, 0x02, 0x02, 0x08, 0x20, // 32 generic_attrs_32: array_type = 32
        0x8A, 0x02, 0x02, 0x08, 0x21, // 33 generic_attrs_33: array_type = 33
        0xA2, 0x02, 0x02, 0x28, 0x24, // 36 route_l2_info: route_l2_value_5 = 36
        0xBA, 0x02, 0x02, 0x28, 0x27, // 39 route_aft_id: route_aft_id_value = 39
    };
    EXPECT_EQ(encode<rib_route>(msg), expected);
}

TEST(rib_route, nested_messages_whose_bits_are_all_spare_are_not_written)
{
    zidl_rib_route msg = {};
    msg.presence = ~0ull << 41;
    msg.route_prefix.presence = 0xFC;
    msg.route_prefix.address.presence = 0xF8;
    msg.route_prefix.address.ipv6.presence = 0xFC;
    msg.client_advertisement.presence = 0xFE;
    msg.addr_generic_attrs.presence = 0xFC;
    msg.generic_attrs_33.presence = 0xFC;
    msg.route_l2_info.presence = 0xFC;
    msg.route_aft_id.presence = 0xF0;
    EXPECT_EQ(encode<rib_route>(msg), bytes{});
}

TEST(rib_route, empty_nested_messages_whose_bits_are_set_are_written_with_length_zero)
{
    zidl_rib_route msg = {};
    msg.presence = ~0ull; // all: arrays have no elements, scalars are 0
    const bytes encoded = encode<rib_route>(msg);
    zidl_rib_route again = {};
    EXPECT_EQ(decode_without_memory<rib_route>(again, encoded), ZIDL_OK);
    // 1 route_prefix, empty, to 3 route_value_3 = 0
    EXPECT_EQ(bytes(encoded.begin(), encoded.begin() + 6), (bytes{0x0A, 0x00, 0x10, 0x00, 0x18, 0x00}));
    // All but algo_labels and paths
    EXPECT_EQ(again.presence, 0x1FFFFFFFFFFu & ~(1ull << 16 | 1ull << 25));
}

TEST(rib_route, only_the_three_wide_scalars_keep_more_than_32_bits)
{
    const bytes input = {
        0x10, 0x82, 0x80, 0x80, 0x80, 0x10,       // 2 route_value_2 = 2^32 + 2
        0xC0, 0x01, 0x98, 0x80, 0x80, 0x80, 0x10, // 24 route_flags = 2^32 + 24
        0xC8, 0x01, 0x99, 0x80, 0x80, 0x80, 0x10, // 25 route_value_25 = 2^32 + 25
        0x98, 0x02, 0xA3, 0x80, 0x80, 0x80, 0x10, // 35 route_value_35 = 2^32 + 35
        0xB0, 0x02, 0xA6, 0x80, 0x80, 0x80, 0x10, // 38 route_value_38 = 2^32 + 38
        0xC0, 0x02, 0xA8, 0x80, 0x80, 0x80, 0x10, // 40 route_value_40 = 2^32 + 40
        0xC8, 0x02, 0xA9, 0x80, 0x80, 0x80, 0x10, // 41 route_value_41 = 2^32 + 41
    };
    zidl_rib_route msg = {};
    EXPECT_EQ(decode_without_memory<rib_route>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.route_value_2, 2u);
    EXPECT_EQ(msg.route_flags, (1ull << 32) + 24);
    EXPECT_EQ(msg.route_value_25, 25u);
    EXPECT_EQ(msg.route_value_35, 35u);
    EXPECT_EQ(msg.route_value_38, 38u);
    EXPECT_EQ(msg.route_value_40, (1ull << 32) + 40);
    EXPECT_EQ(msg.route_value_41, (1ull << 32) + 41);
}

TEST(rib_route, flags_are_written_with_64_bits)
{
    zidl_rib_route msg = {};
    msg.route_flags = UINT64_MAX;
    msg.presence = 1ull << 23; // route_flags
    const bytes expected = {
        0xC0, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 24 route_flags = 2^64 - 1
    };
    EXPECT_EQ(encode<rib_route>(msg), expected);
}

TEST(rib_route, numbers_above_41_are_skipped)
{
    const bytes input = {
        0xD0, 0x02, 0x01,       // 42, varint
        0xDA, 0x02, 0x01, 0xFF, // 43, length-delimited
        0xC8, 0x02, 0x01,       // 41 route_value_41 = 1
    };
    zidl_rib_route msg = {};
    EXPECT_EQ(decode_without_memory<rib_route>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 1ull << 40); // route_value_41
}

// Every member that owns blocks, in the order of declaration; two attributes with data in each of the first and last
// attribute arrays.
const bytes route_that_owns_everything = {
    0x8A, 0x01, 0x00,             // 17 algo_labels                                 request 0
    0xD2, 0x01, 0x02, 0x48, 0x01, // 26 paths[0]: path_values_9                     requests 1 and 2
    0xD2, 0x01, 0x03,             // 26 paths[1]
    0x8A, 0x02, 0x00,             //   33 srv6_sid_infos                            request 3
    0xDA, 0x01, 0x02, 0x08, 0x01, // 27 client_advertisement: advertised_values     request 4
    0xE2, 0x01, 0x0A,             // 28 addr_generic_attrs: attrs                   request 5
    0x12, 0x03, 0x12, 0x01, 0xD1, //   2 attrs[0]: attr_data                        request 6
    0x12, 0x03, 0x12, 0x01, 0xD2, //   2 attrs[1]: attr_data                        request 7
    0xEA, 0x01, 0x02, 0x12, 0x00, // 29 generic_attrs_29: attrs                     request 8
    0xF2, 0x01, 0x02, 0x12, 0x00, // 30 generic_attrs_30: attrs                     request 9
    0xFA, 0x01, 0x02, 0x12, 0x00, // 31 generic_attrs_31: attrs                     request 10
    0x82, 0x02, 0x02, 0x12, 0x00, // 32 generic_attrs_32: attrs                     request 11
    0x8A, 0x02, 0x05,             // 33 generic_attrs_33: attrs                     request 12
    0x12, 0x03, 0x12, 0x01, 0xD3, //   2 attrs[0]: attr_data                        request 13
};

TEST(rib_route, blocks_go_back_in_declaration_order_and_depth_first)
{
    memory mem;
    zidl_rib_route msg = {};
    ASSERT_EQ(decode<rib_route>(msg, route_that_owns_everything, mem), ZIDL_OK);
    ASSERT_EQ(mem.requests.size(), 14u);
    release<rib_route>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{
                                0,            // algo_labels
                                2, 3, 1,      // what the paths own, then paths
                                4,            // advertised_values
                                6, 7, 5,      // data, then attrs, of addr_generic_attrs
                                8, 9, 10, 11, // attrs of generic_attrs_29 to generic_attrs_32
                                13, 12,       // data, then attrs, of generic_attrs_33
                            }));
}

TEST(rib_route, attribute_arrays_go_back_in_field_order_whatever_the_order_of_the_input)
{
    const bytes input = {
        0x8A, 0x02, 0x02, 0x12, 0x00, // 33 generic_attrs_33: attrs      request 0
        0xE2, 0x01, 0x02, 0x12, 0x00, // 28 addr_generic_attrs: attrs    request 1
        0xDA, 0x01, 0x02, 0x08, 0x01, // 27 client_advertisement         request 2
        0xD2, 0x01, 0x00,             // 26 paths                        request 3
        0x8A, 0x01, 0x00,             // 17 algo_labels                  request 4
    };
    memory mem;
    zidl_rib_route msg = {};
    ASSERT_EQ(decode<rib_route>(msg, input, mem), ZIDL_OK);
    release<rib_route>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{4, 3, 2, 1, 0}));
}

TEST(rib_route, release_resets_the_counts_of_messages_and_keeps_those_of_integers)
{
    memory mem;
    zidl_rib_route msg = {};
    ASSERT_EQ(decode<rib_route>(msg, route_that_owns_everything, mem), ZIDL_OK);
    const uint64_t presence = msg.presence;
    release<rib_route>(msg, mem);
    EXPECT_EQ(msg.algo_labels, nullptr);
    EXPECT_EQ(msg.algo_labels_count, 0u);
    EXPECT_EQ(msg.paths, nullptr);
    EXPECT_EQ(msg.paths_count, 0u);
    EXPECT_EQ(msg.client_advertisement.advertised_values, nullptr);
    EXPECT_EQ(msg.client_advertisement.advertised_values_count, 1u);
    EXPECT_EQ(msg.addr_generic_attrs.attrs, nullptr);
    EXPECT_EQ(msg.addr_generic_attrs.attrs_count, 0u);
    EXPECT_EQ(msg.generic_attrs_33.attrs, nullptr);
    EXPECT_EQ(msg.generic_attrs_33.attrs_count, 0u);
    EXPECT_EQ(msg.presence, presence);
}

TEST(rib_route, release_of_a_borrowing_route_gives_back_all_arrays_but_no_data)
{
    memory mem;
    zidl_rib_route msg = {};
    ASSERT_EQ(decode<rib_route>(msg, route_that_owns_everything, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    // The requests are those for arrays alone: algo_labels, paths and what they own, advertised_values, six of attrs.
    ASSERT_EQ(mem.requests.size(), 11u);
    release<rib_route>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0, 2, 3, 1, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(msg.addr_generic_attrs.attrs, nullptr);
}

TEST(rib_route, arrays_inside_paths_go_back_whatever_the_flags_say)
{
    memory mem;
    zidl_rib_route msg = {};
    ASSERT_EQ(decode<rib_route>(msg, {0xD2, 0x01, 0x02, 0x48, 0x01}, mem), ZIDL_OK); // 26 paths[0]: path_values_9
    release<rib_route>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{1, 0}));
}

TEST(rib_route, second_run_of_labels_or_paths_is_malformed)
{
    EXPECT_EQ(status_of<rib_route>({0x8A, 0x01, 0x00, 0x10, 0x01, 0x8A, 0x01, 0x00}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_route>({0xD2, 0x01, 0x00, 0x10, 0x01, 0xD2, 0x01, 0x00}), ZIDL_ERR_MALFORMED);
}

TEST(rib_route, failing_path_leaves_the_paths_with_their_full_count)
{
    const bytes input = {
        0xD2, 0x01, 0x02, 0x08, 0x07, // 26 paths[0]: path_value_1 = 7
        0xD2, 0x01, 0x01, 0x08,       // 26 paths[1]: path_value_1, cut off
        0xD2, 0x01, 0x00,             // 26 paths[2], empty
    };
    memory mem;
    zidl_rib_route msg = {};
    EXPECT_EQ(decode<rib_route>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.paths_count, 3u);
    EXPECT_EQ(msg.paths[0].path_value_1, 7u);
    EXPECT_EQ(msg.paths[1].presence, 0u);
    EXPECT_EQ(msg.presence, 0u);
}

TEST(rib_route, copy_is_complete_and_its_own)
{
    memory src_mem;
    zidl_rib_route src = {};
    ASSERT_EQ(decode<rib_route>(src, whole_route, src_mem), ZIDL_OK);
    memory mem;
    zidl_rib_route dst = rubbish<rib_route>();
    EXPECT_EQ(duplicate<rib_route>(dst, src, mem), ZIDL_OK);
    release<rib_route>(src, src_mem);
    EXPECT_EQ(encode<rib_route>(dst), whole_route);
    EXPECT_EQ(dst.presence, 0xA5A5A5FFFFFFFFFFu); // bits 0 to 40, the rest untouched
    release<rib_route>(dst, mem);
    EXPECT_EQ(mem.releases.size(), mem.requests.size());
}

TEST(rib_route, copy_of_a_borrowing_route_owns_its_data)
{
    memory src_mem;
    zidl_rib_route src = {};
    ASSERT_EQ(decode<rib_route>(src, whole_route, src_mem, ZIDL_ZERO_COPY), ZIDL_OK);
    memory mem;
    zidl_rib_route dst = {};
    EXPECT_EQ(duplicate<rib_route>(dst, src, mem), ZIDL_OK);
    EXPECT_NE(dst.addr_generic_attrs.attrs[0].attr_data, src.addr_generic_attrs.attrs[0].attr_data);
    EXPECT_EQ(encode<rib_route>(dst), whole_route);
}

TEST(rib_route, zero_copy_leaves_attribute_data_out_of_every_length)
{
    uint8_t data[] = {0xD1, 0xD2, 0xD3};
    zidl_rib_generic_attr_info attrs[1] = {};
    attrs[0].attr_data = data;
    attrs[0].attr_data_size = 3;
    attrs[0].presence = 0x02; // attr_data
    zidl_rib_route msg = {};
    msg.addr_generic_attrs.attrs = attrs;
    msg.addr_generic_attrs.attrs_count = 1;
    msg.addr_generic_attrs.presence = 0x02; // attrs
    const bytes expected = {
        0xE2, 0x01, 0x04, // 28 addr_generic_attrs, 4 bytes
        0x12, 0x02,       //   2 attrs[0], 2 bytes
        0x12, 0x03,       //     2 attr_data, 3 bytes, left out
    };
    EXPECT_EQ(encode<rib_route>(msg, ZIDL_ZERO_COPY), expected);
}

// ---------------------------------------------------------------------------------------------------------------------
// The blocks of a route.

TEST(rib_route_l2_info, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01,       // 1 route_l2_value_1 = 1
        0x28, 0x80, 0x02, // 5 route_l2_value_5 = 256
    };
    zidl_rib_route_l2_info msg = rubbish<rib_route_l2_info>();
    EXPECT_EQ(decode_without_memory<rib_route_l2_info>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.route_l2_value_1, 1u);
    EXPECT_EQ(msg.route_l2_value_5, 256u);
    EXPECT_EQ(msg.presence, 0xA7); // A4 with all
    EXPECT_EQ(encode<rib_route_l2_info>(msg), whole);
}

TEST(rib_route_l2_info, unassigned_numbers_are_skipped)
{
    zidl_rib_route_l2_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_route_l2_info>(msg, {0x10, 0x01, 0x1A, 0x00, 0x20, 0x01}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0);
}

TEST(rib_route_aft_id, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01,                                                       // 1 route_aft_value_1 = 1
        0x28, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 5 route_aft_id_value = 2^64 - 1
        0x30, 0x06,                                                       // 6 route_aft_value_6 = 6
        0x38, 0x80, 0x80, 0x80, 0x80, 0x10,                               // 7 route_aft_value_7 = 2^32
    };
    zidl_rib_route_aft_id msg = rubbish<rib_route_aft_id>();
    EXPECT_EQ(decode_without_memory<rib_route_aft_id>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.route_aft_value_1, 1u);
    EXPECT_EQ(msg.route_aft_id_value, UINT64_MAX);
    EXPECT_EQ(msg.route_aft_value_6, 6u);
    EXPECT_EQ(msg.route_aft_value_7, 1ull << 32);
    EXPECT_EQ(msg.presence, 0xAF); // A0 with all
    EXPECT_EQ(encode<rib_route_aft_id>(msg), whole);
}

TEST(rib_route_aft_id, unassigned_numbers_are_skipped)
{
    zidl_rib_route_aft_id msg = {};
    EXPECT_EQ(decode_without_memory<rib_route_aft_id>(msg, {0x10, 0x01, 0x1A, 0x00, 0x20, 0x01}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0);
}

TEST(rib_route_aft_id, blocks_that_own_nothing_need_no_memory)
{
    memory mem;
    zidl_rib_route_aft_id aft_id = {};
    EXPECT_EQ(duplicate_without_memory<rib_route_aft_id>(aft_id, zidl_rib_route_aft_id{1, 2, 3, 4, 0x0F}), ZIDL_OK);
    release<rib_route_aft_id>(aft_id, mem);
    EXPECT_EQ(encode<rib_route_aft_id>(aft_id), (bytes{0x08, 0x01, 0x28, 0x02, 0x30, 0x03, 0x38, 0x04}));

    zidl_rib_route_l2_info l2_info = {};
    EXPECT_EQ(duplicate_without_memory<rib_route_l2_info>(l2_info, zidl_rib_route_l2_info{1, 2, 0x03}), ZIDL_OK);
    release<rib_route_l2_info>(l2_info, mem);
    EXPECT_EQ(encode<rib_route_l2_info>(l2_info), (bytes{0x08, 0x01, 0x28, 0x02}));
    EXPECT_EQ(mem.releases, sizes{});
}

TEST(rib_generic_attr_info, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x07,             // 1 attr_type = 7
        0x12, 0x02, 0xD1, 0xD2, // 2 attr_data
    };
    memory mem;
    zidl_rib_generic_attr_info msg = rubbish<rib_generic_attr_info>();
    EXPECT_EQ(decode<rib_generic_attr_info>(msg, whole, mem), ZIDL_OK);
    EXPECT_EQ(msg.attr_type, 7u);
    EXPECT_EQ(bytes(msg.attr_data, msg.attr_data + msg.attr_data_size), (bytes{0xD1, 0xD2}));
    EXPECT_EQ(msg.presence, 0xA7); // A4 with all
    EXPECT_EQ(encode<rib_generic_attr_info>(msg), whole);
}

TEST(rib_generic_attr_info, data_is_listed_as_a_segment)
{
    uint8_t data[] = {0xD1, 0xD2};
    zidl_rib_generic_attr_info msg = {};
    msg.attr_type = 7;
    msg.attr_data = data;
    msg.attr_data_size = 2;
    msg.presence = 0x03; // attr_type, attr_data
    const listing out = list_segments<rib_generic_attr_info>(msg, 8, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 4})); // 08 07 12 02
    EXPECT_EQ(out.segs[1], (zidl_segment{data, 2}));
}

TEST(rib_generic_attr_info, release_gives_the_data_back_unless_it_is_borrowed)
{
    const bytes input = {0x12, 0x01, 0xD1}; // 2 attr_data
    memory mem;
    zidl_rib_generic_attr_info msg = {};
    EXPECT_EQ(decode<rib_generic_attr_info>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    release<rib_generic_attr_info>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(msg.attr_data, input.data() + 2);
    EXPECT_EQ(decode<rib_generic_attr_info>(msg, input, mem), ZIDL_OK);
    release<rib_generic_attr_info>(msg, mem);
    EXPECT_EQ(msg.attr_data, nullptr);
    EXPECT_EQ(mem.releases, sizes{0});
}

TEST(rib_generic_attr_array, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x09,                   // 1 array_type = 9
        0x12, 0x02, 0x08, 0x07,       // 2 attrs[0]: attr_type = 7
        0x12, 0x03, 0x12, 0x01, 0xD1, // 2 attrs[1]: attr_data
    };
    memory mem;
    zidl_rib_generic_attr_array msg = rubbish<rib_generic_attr_array>();
    EXPECT_EQ(decode<rib_generic_attr_array>(msg, whole, mem), ZIDL_OK);
    EXPECT_EQ(msg.array_type, 9u);
    EXPECT_EQ(msg.attrs_count, 2u);
    EXPECT_EQ(msg.attrs[0].attr_type, 7u);
    EXPECT_EQ(msg.attrs[1].attr_data[0], 0xD1);
    EXPECT_EQ(msg.presence, 0xA7); // A4 with all
    EXPECT_EQ(encode<rib_generic_attr_array>(msg), whole);
}

TEST(rib_client_advertisement, bit_without_values_writes_nothing)
{
    zidl_rib_client_advertisement msg = {};
    msg.presence = 0x01; // advertised_values
    EXPECT_EQ(encode<rib_client_advertisement>(msg), bytes{});
}

TEST(rib_client_advertisement, writes_and_reads_its_values)
{
    const bytes whole = {
        0x08, 0x01,                         // 1 advertised_values[0] = 1
        0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 1 advertised_values[1] = 2^32 - 1
    };
    memory mem;
    zidl_rib_client_advertisement msg = rubbish<rib_client_advertisement>();
    EXPECT_EQ(decode<rib_client_advertisement>(msg, whole, mem), ZIDL_OK);
    EXPECT_EQ(msg.advertised_values_count, 2u);
    EXPECT_EQ(msg.advertised_values[1], 0xFFFFFFFFu);
    EXPECT_EQ(msg.presence, 0xA5); // A4 with advertised_values
    EXPECT_EQ(encode<rib_client_advertisement>(msg), whole);
}

TEST(rib_client_advertisement, values_split_by_an_unknown_field_are_malformed)
{
    EXPECT_EQ(status_of<rib_client_advertisement>({0x08, 0x01, 0x10, 0x01, 0x08, 0x02}), ZIDL_ERR_MALFORMED);
}

TEST(rib_bind_reply, writes_and_reads_its_field)
{
    const bytes whole = {
        0x08, 0x80, 0x02, // 1 bind_value = 256
    };
    zidl_rib_bind_reply msg = rubbish<rib_bind_reply>();
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.bind_value, 256u);
    EXPECT_EQ(msg.presence, 0xA5); // A4 with bind_value
    EXPECT_EQ(encode<rib_bind_reply>(msg), whole);
}

} // namespace
