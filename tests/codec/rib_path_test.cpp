// One path of a route.

#include "messages/rib_common.h"
#include "tests/codec/support.hpp"

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(rib_path);
FULL_ARGUMENT_LISTS(rib_path);

int32_t status_of(const bytes &input)
{
    memory mem;
    zidl_rib_path msg = {};
    return decode<rib_path>(msg, input, mem);
}

// Every field once, arrays with two elements; values are the field numbers.
const bytes whole_path = {
    0x08, 0x01,                         // 1 path_value_1 = 1
    0x10, 0x02,                         // 2 path_value_2 = 2
    0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 3 path_value_3 = 2^32 - 1
    0x22, 0x02, 0x08, 0x04,             // 4 path_address_4: family = 4
    0x2A, 0x02, 0x08, 0x05,             // 5 path_address_5: family = 5
    0x32, 0x02, 0x10, 0x06,             // 6 path_prefix: prefix_len = 6
    0x40, 0x08,                         // 8 path_value_8 = 8
    0x48, 0x09,                         // 9 path_values_9[0] = 9
    0x48, 0x80, 0x01,                   // 9 path_values_9[1] = 128
    0x50, 0x0A,                         // 10 path_value_10 = 10
    0x58, 0x0B,                         // 11 path_value_11 = 11
    0x60, 0x0C,                         // 12 path_value_12 = 12
    0x68, 0x0D,                         // 13 path_value_13 = 13
    0x70, 0x0E,                         // 14 path_value_14 = 14
    0x80, 0x01, 0x10,                   // 16 path_value_16 = 16
    0x8A, 0x01, 0x02, 0x08, 0x11,       // 17 path_addresses[0]: family = 17
    0x8A, 0x01, 0x00,                   // 17 path_addresses[1], empty
    0x92, 0x01, 0x02, 0x08, 0x12,       // 18 path_ipv6_address: half0 = 18
    0x98, 0x01, 0x13,                   // 19 path_value_19 = 19
    0xAA, 0x01, 0x02, 0x08, 0x15,       // 21 nnh_entries[0]: nnh_value_1 = 21
    0xAA, 0x01, 0x02, 0x20, 0x16,       // 21 nnh_entries[1]: nnh_value_4 = 22
    0xB0, 0x01, 0x16,                   // 22 path_value_22 = 22
    0xC8, 0x01, 0x19,                   // 25 path_value_25 = 25
    0xD2, 0x01, 0x04,                   // 26 ecomm, 4 bytes
    0x10, 0x1A,                         //   2 ecomm_values[0] = 26
    0x10, 0x1B,                         //   2 ecomm_values[1] = 27
    0xD8, 0x01, 0x1B,                   // 27 path_value_27 = 27
    0xE0, 0x01, 0x1C,                   // 28 path_value_28 = 28
    0xEA, 0x01, 0x02, 0x08, 0x1D,       // 29 iid_attr: iid_attr_value_1 = 29
    0xF2, 0x01, 0x02, 0x08, 0x1E,       // 30 l2_info: l2_value_1 = 30
    0xF8, 0x01, 0x1F,                   // 31 path_value_31 = 31
    0x82, 0x02, 0x02, 0x08, 0x20,       // 32 via_srv6_sid: via_sid_value_1 = 32
    0x8A, 0x02, 0x02, 0x08, 0x21,       // 33 srv6_sid_infos[0]: sid_info_value_1 = 33
    0x8A, 0x02, 0x02, 0x18, 0x22,       // 33 srv6_sid_infos[1]: sid_info_value_3 = 34
    0xC2, 0x02, 0x02, 0x08, 0x28,       // 40 grouping_info: grouping_value_1 = 40
    0x92, 0x02, 0x02, 0x08, 0x22,       // 34 ip_tunnel_info: tunnel_value_1 = 34
    0x9A, 0x02, 0x02, 0x08, 0x23,       // 35 via_aft_id: via_aft_value_1 = 35
    0xA2, 0x02, 0x02, 0x08, 0x24,       // 36 sl_id_info: sl_id_value_1 = 36
};

TEST(rib_path, reads_every_field)
{
    memory mem;
    zidl_rib_path msg = rubbish<rib_path>();
    ASSERT_EQ(decode<rib_path>(msg, whole_path, mem), ZIDL_OK);
    EXPECT_EQ(msg.path_value_1, 1u);
    EXPECT_EQ(msg.path_value_2, 2u);
    EXPECT_EQ(msg.path_value_3, 0xFFFFFFFFu);
    EXPECT_EQ(msg.path_address_4.family, 4u);
    EXPECT_EQ(msg.path_address_5.family, 5u);
    EXPECT_EQ(msg.path_prefix.prefix_len, 6u);
    EXPECT_EQ(msg.path_value_8, 8u);
    ASSERT_EQ(msg.path_values_9_count, 2u);
    EXPECT_EQ(msg.path_values_9[0], 9u);
    EXPECT_EQ(msg.path_values_9[1], 128u);
    EXPECT_EQ(msg.path_value_10, 10u);
    EXPECT_EQ(msg.path_value_11, 11u);
    EXPECT_EQ(msg.path_value_12, 12u);
    EXPECT_EQ(msg.path_value_13, 13u);
    EXPECT_EQ(msg.path_value_14, 14u);
    EXPECT_EQ(msg.path_value_16, 16u);
    ASSERT_EQ(msg.path_addresses_count, 2u);
    EXPECT_EQ(msg.path_addresses[0].family, 17u);
    EXPECT_EQ(msg.path_addresses[1].presence, 0);
    EXPECT_EQ(msg.path_ipv6_address.half0, 18u);
    EXPECT_EQ(msg.path_value_19, 19u);
    ASSERT_EQ(msg.nnh_entries_count, 2u);
    EXPECT_EQ(msg.nnh_entries[0].nnh_value_1, 21u);
    EXPECT_EQ(msg.nnh_entries[1].nnh_value_4, 22u);
    EXPECT_EQ(msg.path_value_22, 22u);
    EXPECT_EQ(msg.path_value_25, 25u);
    ASSERT_EQ(msg.ecomm.ecomm_count, 2u);
    EXPECT_EQ(msg.ecomm.ecomm_values[0], 26u);
    EXPECT_EQ(msg.ecomm.ecomm_values[1], 27u);
    EXPECT_EQ(msg.path_value_27, 27u);
    EXPECT_EQ(msg.path_value_28, 28u);
    EXPECT_EQ(msg.iid_attr.iid_attr_value_1, 29u);
    EXPECT_EQ(msg.l2_info.l2_value_1, 30u);
    EXPECT_EQ(msg.path_value_31, 31u);
    EXPECT_EQ(msg.via_srv6_sid.via_sid_value_1, 32u);
    ASSERT_EQ(msg.srv6_sid_infos_count, 2u);
    EXPECT_EQ(msg.srv6_sid_infos[0].sid_info_value_1, 33u);
    EXPECT_EQ(msg.srv6_sid_infos[1].sid_info_value_3, 34u);
    EXPECT_EQ(msg.grouping_info.grouping_value_1, 40u);
    EXPECT_EQ(msg.ip_tunnel_info.tunnel_value_1, 34u);
    EXPECT_EQ(msg.via_aft_id.via_aft_value_1, 35u);
    EXPECT_EQ(msg.sl_id_info.sl_id_value_1, 36u);
    EXPECT_EQ(msg.presence, 0xFFFFFFFFu);
}

TEST(rib_path, writes_what_it_reads)
{
    memory mem;
    zidl_rib_path msg = {};
    ASSERT_EQ(decode<rib_path>(msg, whole_path, mem), ZIDL_OK);
    EXPECT_EQ(encode<rib_path>(msg), whole_path);
}

TEST(rib_path, every_field_has_the_bit_of_its_place_in_the_declaration)
{
    const struct {
        uint32_t bit;
        bytes input;
    } fields[] = {
        {0, {0x08, 0x01}},        // 1 path_value_1
        {1, {0x10, 0x01}},        // 2 path_value_2
        {2, {0x18, 0x01}},        // 3 path_value_3
        {3, {0x22, 0x00}},        // 4 path_address_4
        {4, {0x2A, 0x00}},        // 5 path_address_5
        {5, {0x32, 0x00}},        // 6 path_prefix
        {6, {0x40, 0x01}},        // 8 path_value_8
        {7, {0x48, 0x01}},        // 9 path_values_9
        {8, {0x50, 0x01}},        // 10 path_value_10
        {9, {0x58, 0x01}},        // 11 path_value_11
        {10, {0x60, 0x01}},       // 12 path_value_12
        {11, {0x68, 0x01}},       // 13 path_value_13
        {12, {0x70, 0x01}},       // 14 path_value_14
        {13, {0x80, 0x01, 0x01}}, // 16 path_value_16
        {14, {0x8A, 0x01, 0x00}}, // 17 path_addresses
        {15, {0x92, 0x01, 0x00}}, // 18 path_ipv6_address
        {16, {0x98, 0x01, 0x01}}, // 19 path_value_19
        {17, {0xAA, 0x01, 0x00}}, // 21 nnh_entries
        {18, {0xB0, 0x01, 0x01}}, // 22 path_value_22
        {19, {0xC8, 0x01, 0x01}}, // 25 path_value_25
        {20, {0xD2, 0x01, 0x00}}, // 26 ecomm
        {21, {0xD8, 0x01, 0x01}}, // 27 path_value_27
        {22, {0xE0, 0x01, 0x01}}, // 28 path_value_28
        {23, {0xEA, 0x01, 0x00}}, // 29 iid_attr
        {24, {0xF2, 0x01, 0x00}}, // 30 l2_info
        {25, {0xF8, 0x01, 0x01}}, // 31 path_value_31
        {26, {0x82, 0x02, 0x00}}, // 32 via_srv6_sid
        {27, {0x8A, 0x02, 0x00}}, // 33 srv6_sid_infos
        {28, {0xC2, 0x02, 0x00}}, // 40 grouping_info
        {29, {0x92, 0x02, 0x00}}, // 34 ip_tunnel_info
        {30, {0x9A, 0x02, 0x00}}, // 35 via_aft_id
        {31, {0xA2, 0x02, 0x00}}, // 36 sl_id_info
    };
    for (const auto &field : fields) {
        memory mem;
        zidl_rib_path msg = rubbish<rib_path>();
        EXPECT_EQ(decode<rib_path>(msg, field.input, mem), ZIDL_OK) << field.bit;
        EXPECT_EQ(msg.presence, 1u << field.bit);
        EXPECT_EQ(encode<rib_path>(msg), field.input) << field.bit;
    }
}

TEST(rib_path, no_field_accepts_another_wire_type)
{
    const bytes tags[] = {
        {0x0A},       // 1 path_value_1, length-delimited
        {0x12},       // 2 path_value_2, length-delimited
        {0x1D},       // 3 path_value_3, 32-bit
        {0x20},       // 4 path_address_4, varint
        {0x29},       // 5 path_address_5, 64-bit
        {0x30},       // 6 path_prefix, varint
        {0x42},       // 8 path_value_8, length-delimited
        {0x4A},       // 9 path_values_9, length-delimited
        {0x52},       // 10 path_value_10, length-delimited
        {0x5A},       // 11 path_value_11, length-delimited
        {0x62},       // 12 path_value_12, length-delimited
        {0x6B},       // 13 path_value_13, wire type 3
        {0x76},       // 14 path_value_14, wire type 6
        {0x82, 0x01}, // 16 path_value_16, length-delimited
        {0x88, 0x01}, // 17 path_addresses, varint
        {0x90, 0x01}, // 18 path_ipv6_address, varint
        {0x9A, 0x01}, // 19 path_value_19, length-delimited
        {0xA8, 0x01}, // 21 nnh_entries, varint
        {0xB2, 0x01}, // 22 path_value_22, length-delimited
        {0xCA, 0x01}, // 25 path_value_25, length-delimited
        {0xD0, 0x01}, // 26 ecomm, varint
        {0xDA, 0x01}, // 27 path_value_27, length-delimited
        {0xE2, 0x01}, // 28 path_value_28, length-delimited
        {0xE8, 0x01}, // 29 iid_attr, varint
        {0xF0, 0x01}, // 30 l2_info, varint
        {0xFA, 0x01}, // 31 path_value_31, length-delimited
        {0x80, 0x02}, // 32 via_srv6_sid, varint
        {0x88, 0x02}, // 33 srv6_sid_infos, varint
        {0xC0, 0x02}, // 40 grouping_info, varint
        {0x90, 0x02}, // 34 ip_tunnel_info, varint
        {0x98, 0x02}, // 35 via_aft_id, varint
        {0xA0, 0x02}, // 36 sl_id_info, varint
    };
    for (const bytes &tag : tags)
        EXPECT_EQ(status_of(tag), ZIDL_ERR_FIELD_TYPE) << testing::PrintToString(tag);
}

TEST(rib_path, without_any_bit_is_empty)
{
    EXPECT_EQ(encode<rib_path>(zidl_rib_path{}), bytes{});
}

TEST(rib_path, nested_messages_with_content_are_written_though_no_bit_of_the_path_is_set)
{
    memory mem;
    zidl_rib_path msg = {};
    ASSERT_EQ(decode<rib_path>(msg, whole_path, mem), ZIDL_OK);
    msg.presence = 0;
    const bytes expected = {
        0x22, 0x02, 0x08, 0x04,       // 4 path_address_4: family = 4
        0x2A, 0x02, 0x08, 0x05,       // 5 path_address_5: family = 5
        0x32, 0x02, 0x10, 0x06,       // 6 path_prefix: prefix_len = 6
        0x92, 0x01, 0x02, 0x08, 0x12, // 18 path_ipv6_address: half0 = 18
        0xD2, 0x01, 0x04,             // 26 ecomm, 4 bytes
        0x10, 0x1A,                   //   2 ecomm_values[0] = 26
        0x10, 0x1B,                   //   2 ecomm_values[1] = 27
        0xEA, 0x01, 0x02, 0x08, 0x1D, // 29 iid_attr: iid_attr_value_1 = 29
        0xF2, 0x01, 0x02, 0x08, 0x1E, // 30 l2_info: l2_value_1 = 30
        0x82, 0x02, 0x02, 0x08, 0x20, // 32 via_srv6_sid: via_sid_value_1 = 32
        0xC2, 0x02, 0x02, 0x08, 0x28, // 40 grouping_info: grouping_value_1 = 40
        0x92, 0x02, 0x02, 0x08, 0x22, // 34 ip_tunnel_info: tunnel_value_1 = 34
        0x9A, 0x02, 0x02, 0x08, 0x23, // 35 via_aft_id: via_aft_value_1 = 35
        0xA2, 0x02, 0x02, 0x08, 0x24, // 36 sl_id_info: sl_id_value_1 = 36
    };
    EXPECT_EQ(encode<rib_path>(msg), expected);
}

TEST(rib_path, nested_messages_whose_bits_are_all_spare_are_not_written)
{
    zidl_rib_path msg = {};
    msg.path_address_4.presence = 0xF8;
    msg.path_address_4.ipv6.presence = 0xFC;
    msg.path_address_5.presence = 0xF8;
    msg.path_prefix.presence = 0xFC;
    msg.path_prefix.address.presence = 0xF8;
    msg.path_prefix.address.ipv6.presence = 0xFC;
    msg.path_ipv6_address.presence = 0xFC;
    msg.ecomm.presence = 0xF8;
    msg.iid_attr.presence = 0xF0;
    msg.iid_attr.iid_attr_prefix.presence = 0xFC;
    msg.l2_info.presence = 0xE0;
    msg.via_srv6_sid.presence = 0xF8;
    msg.via_srv6_sid.via_sid.presence = 0xFC;
    msg.grouping_info.presence = 0xFC;
    msg.ip_tunnel_info.presence = 0x80;
    msg.via_aft_id.presence = 0xF0;
    msg.sl_id_info.presence = 0xF8;
    EXPECT_EQ(encode<rib_path>(msg), bytes{});
}

TEST(rib_path, content_at_the_bottom_of_each_nested_message_makes_it_present)
{
    zidl_rib_path msg = {};
    msg.path_address_5.ipv6.presence = 0x02;                   // half1
    msg.path_prefix.address.ipv6.presence = 0x01;              // half0
    msg.iid_attr.iid_attr_prefix.address.ipv6.presence = 0x02; // half1
    msg.via_srv6_sid.via_sid.presence = 0x01;                  // half0
    const bytes expected = {
        0x2A, 0x04,                         // 5 path_address_5, 4 bytes
        0x1A, 0x02, 0x10, 0x00,             //   3 ipv6: half1 = 0
        0x32, 0x06, 0x0A, 0x04,             // 6 path_prefix: address, 4 bytes
        0x1A, 0x02, 0x08, 0x00,             //   3 ipv6: half0 = 0
        0xEA, 0x01, 0x08, 0x1A, 0x06,       // 29 iid_attr: iid_attr_prefix, 6 bytes
        0x0A, 0x04, 0x1A, 0x02, 0x10, 0x00, //   1 address: ipv6: half1 = 0
        0x82, 0x02, 0x04,                   // 32 via_srv6_sid, 4 bytes
        0x12, 0x02, 0x08, 0x00,             //   2 via_sid: half0 = 0
    };
    EXPECT_EQ(encode<rib_path>(msg), expected);
}

TEST(rib_path, field_40_is_written_before_field_34)
{
    zidl_rib_path msg = {};
    msg.grouping_info.grouping_value_1 = 1;
    msg.grouping_info.presence = 0x01; // grouping_value_1
    msg.ip_tunnel_info.tunnel_value_1 = 2;
    msg.ip_tunnel_info.presence = 0x01; // tunnel_value_1
    msg.srv6_sid_infos_count = 1;
    zidl_rib_path_srv6_sid_info info = {};
    msg.srv6_sid_infos = &info;
    msg.presence = 1u << 27 | 1u << 28 | 1u << 29; // srv6_sid_infos, grouping_info, ip_tunnel_info
    const bytes expected = {
        0x8A, 0x02, 0x00,             // 33 srv6_sid_infos[0], empty
        0xC2, 0x02, 0x02, 0x08, 0x01, // 40 grouping_info: grouping_value_1 = 1
        0x92, 0x02, 0x02, 0x08, 0x02, // 34 ip_tunnel_info: tunnel_value_1 = 2
    };
    EXPECT_EQ(encode<rib_path>(msg), expected);
}

TEST(rib_path, fields_34_and_40_are_read_in_either_order)
{
    const bytes declared = {
        0xC2, 0x02, 0x02, 0x08, 0x01, // 40 grouping_info: grouping_value_1 = 1
        0x92, 0x02, 0x02, 0x08, 0x02, // 34 ip_tunnel_info: tunnel_value_1 = 2
    };
    const bytes ascending = {
        0x92, 0x02, 0x02, 0x08, 0x02, // 34 ip_tunnel_info: tunnel_value_1 = 2
        0xC2, 0x02, 0x02, 0x08, 0x01, // 40 grouping_info: grouping_value_1 = 1
    };
    for (const bytes &input : {declared, ascending}) {
        zidl_rib_path msg = {};
        EXPECT_EQ(decode_without_memory<rib_path>(msg, input), ZIDL_OK);
        EXPECT_EQ(msg.grouping_info.grouping_value_1, 1u);
        EXPECT_EQ(msg.ip_tunnel_info.tunnel_value_1, 2u);
        EXPECT_EQ(msg.presence, 1u << 28 | 1u << 29); // grouping_info, ip_tunnel_info
        EXPECT_EQ(encode<rib_path>(msg), declared);
    }
}

TEST(rib_path, arrays_whose_count_is_zero_write_nothing_though_their_bits_are_set)
{
    zidl_rib_path msg = {};
    msg.presence =
        1u << 7 | 1u << 14 | 1u << 17 | 1u << 27; // path_values_9, path_addresses, nnh_entries, srv6_sid_infos
    EXPECT_EQ(encode<rib_path>(msg), bytes{});
}

TEST(rib_path, next_next_hops_without_entries_are_absent_after_a_round_trip)
{
    zidl_rib_path msg = {};
    msg.path_value_1 = 1;
    msg.presence = 1u << 0 | 1u << 17; // path_value_1, nnh_entries
    const bytes encoded = encode<rib_path>(msg);
    EXPECT_EQ(encoded, (bytes{0x08, 0x01}));
    zidl_rib_path again = {};
    EXPECT_EQ(decode_without_memory<rib_path>(again, encoded), ZIDL_OK);
    EXPECT_FALSE(zidl_rib_path_has_nnh_entries(&again));
}

TEST(rib_path, unassigned_numbers_are_skipped)
{
    const bytes input = {
        0x38, 0x01,                      // 7, varint
        0x7A, 0x01, 0xFF,                // 15, length-delimited
        0xA5, 0x01, 1,    2,    3,    4, // 20, 32-bit
        0xB8, 0x01, 0x01,                // 23, varint
        0xC2, 0x01, 0x00,                // 24, length-delimited
        0xA8, 0x02, 0x01,                // 37, varint
        0xB2, 0x02, 0x01, 0xFF,          // 38, length-delimited
        0xB8, 0x02, 0x01,                // 39, varint
        0xC8, 0x02, 0x01,                // 41, varint
        0xA2, 0x02, 0x02, 0x08, 0x24,    // 36 sl_id_info: sl_id_value_1 = 36
    };
    zidl_rib_path msg = {};
    EXPECT_EQ(decode_without_memory<rib_path>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 1u << 31); // sl_id_info
    EXPECT_EQ(msg.sl_id_info.sl_id_value_1, 36u);
}

TEST(rib_path, owns_exactly_five_blocks)
{
    memory mem;
    zidl_rib_path msg = {};
    ASSERT_EQ(decode<rib_path>(msg, whole_path, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{
                                2 * sizeof(uint32_t),                    // path_values_9
                                2 * sizeof(zidl_rib_address),            // path_addresses
                                2 * sizeof(zidl_rib_nnh),                // nnh_entries
                                2 * sizeof(uint64_t),                    // ecomm.ecomm_values
                                2 * sizeof(zidl_rib_path_srv6_sid_info), // srv6_sid_infos
                            }));
    release<rib_path>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1, 2, 3, 4}));
}

TEST(rib_path, blocks_go_back_in_declaration_order_whatever_the_order_of_the_input)
{
    const bytes input = {
        0x8A, 0x02, 0x00,             // 33 srv6_sid_infos    request 0
        0xD2, 0x01, 0x02, 0x10, 0x1A, // 26 ecomm             request 1
        0xAA, 0x01, 0x00,             // 21 nnh_entries       request 2
        0x8A, 0x01, 0x00,             // 17 path_addresses    request 3
        0x48, 0x09,                   // 9 path_values_9      request 4
    };
    memory mem;
    zidl_rib_path msg = {};
    ASSERT_EQ(decode<rib_path>(msg, input, mem), ZIDL_OK);
    release<rib_path>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{4, 3, 2, 1, 0}));
}

TEST(rib_path, release_keeps_the_counts_of_integers_and_resets_those_of_messages)
{
    memory mem;
    zidl_rib_path msg = {};
    ASSERT_EQ(decode<rib_path>(msg, whole_path, mem), ZIDL_OK);
    release<rib_path>(msg, mem);
    EXPECT_EQ(msg.path_values_9, nullptr);
    EXPECT_EQ(msg.path_values_9_count, 2u);
    EXPECT_EQ(msg.path_addresses, nullptr);
    EXPECT_EQ(msg.path_addresses_count, 0u);
    EXPECT_EQ(msg.nnh_entries, nullptr);
    EXPECT_EQ(msg.nnh_entries_count, 0u);
    EXPECT_EQ(msg.ecomm.ecomm_values, nullptr);
    EXPECT_EQ(msg.ecomm.ecomm_count, 2u);
    EXPECT_EQ(msg.srv6_sid_infos, nullptr);
    EXPECT_EQ(msg.srv6_sid_infos_count, 0u);
    EXPECT_EQ(msg.presence, 0xFFFFFFFFu);
}

TEST(rib_path, second_release_does_nothing)
{
    memory mem;
    zidl_rib_path msg = {};
    ASSERT_EQ(decode<rib_path>(msg, whole_path, mem), ZIDL_OK);
    release<rib_path>(msg, mem);
    release<rib_path>(msg, mem);
    EXPECT_EQ(mem.releases.size(), 5u);
    EXPECT_EQ(msg.path_values_9_count, 2u);
    EXPECT_EQ(msg.ecomm.ecomm_count, 2u);
}

TEST(rib_path, second_run_of_any_array_is_malformed)
{
    EXPECT_EQ(status_of({0x48, 0x01, 0x08, 0x01, 0x48, 0x01}), ZIDL_ERR_MALFORMED);             // path_values_9
    EXPECT_EQ(status_of({0x8A, 0x01, 0x00, 0x08, 0x01, 0x8A, 0x01, 0x00}), ZIDL_ERR_MALFORMED); // path_addresses
    EXPECT_EQ(status_of({0xAA, 0x01, 0x00, 0x08, 0x01, 0xAA, 0x01, 0x00}), ZIDL_ERR_MALFORMED); // nnh_entries
    EXPECT_EQ(status_of({0x8A, 0x02, 0x00, 0x08, 0x01, 0x8A, 0x02, 0x00}), ZIDL_ERR_MALFORMED); // srv6_sid_infos
}

TEST(rib_path, runs_of_two_arrays_may_follow_each_other)
{
    const bytes input = {
        0x8A, 0x01, 0x00,             // 17 path_addresses[0], empty
        0xAA, 0x01, 0x00,             // 21 nnh_entries[0], empty
        0xAA, 0x01, 0x02, 0x08, 0x07, // 21 nnh_entries[1]: nnh_value_1 = 7
        0x48, 0x09,                   // 9 path_values_9[0] = 9
    };
    memory mem;
    zidl_rib_path msg = {};
    EXPECT_EQ(decode<rib_path>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.path_addresses_count, 1u);
    EXPECT_EQ(msg.nnh_entries_count, 2u);
    EXPECT_EQ(msg.nnh_entries[1].nnh_value_1, 7u);
    EXPECT_EQ(msg.path_values_9_count, 1u);
}

TEST(rib_path, copy_is_complete_and_its_own)
{
    memory src_mem;
    zidl_rib_path src = {};
    ASSERT_EQ(decode<rib_path>(src, whole_path, src_mem), ZIDL_OK);
    memory mem;
    zidl_rib_path dst = rubbish<rib_path>();
    EXPECT_EQ(duplicate<rib_path>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, src_mem.requests);
    release<rib_path>(src, src_mem);
    EXPECT_EQ(encode<rib_path>(dst), whole_path);
    release<rib_path>(dst, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1, 2, 3, 4}));
}

TEST(rib_path, copy_without_memory_has_everything_but_the_arrays)
{
    memory src_mem;
    zidl_rib_path src = {};
    ASSERT_EQ(decode<rib_path>(src, whole_path, src_mem), ZIDL_OK);
    zidl_rib_path dst = rubbish<rib_path>();
    EXPECT_EQ(duplicate_without_memory<rib_path>(dst, src), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.path_values_9, nullptr);
    EXPECT_EQ(dst.path_values_9_count, 0u);
    EXPECT_EQ(dst.path_addresses, nullptr);
    EXPECT_EQ(dst.nnh_entries, nullptr);
    EXPECT_EQ(dst.ecomm.ecomm_values, nullptr);
    EXPECT_EQ(dst.ecomm.presence, 0xA0);
    EXPECT_EQ(dst.srv6_sid_infos, nullptr);
    EXPECT_EQ(dst.path_value_1, 1u);
    EXPECT_EQ(dst.sl_id_info.sl_id_value_1, 36u);
    // All but path_values_9, path_addresses, nnh_entries and srv6_sid_infos.
    EXPECT_EQ(dst.presence, 0xFFFFFFFFu & ~(1u << 7 | 1u << 14 | 1u << 17 | 1u << 27));
}

} // namespace
