// What every encoder does alike: varints, tags, presence, nesting, and what a buffer that is too small receives.

#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/codec/support.hpp"

#include <algorithm>
#include <string>

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_iid_update);
RIB_TEST_CODEC(ip_rib_opaque);
RIB_TEST_CODEC(ip_rib_proto_update);
RIB_TEST_CODEC(ip_rib_srv6_opcode_update);
RIB_TEST_CODEC(ip_rib_srv6_sid_ctx);
RIB_TEST_CODEC(ip_rib_srv6_update);
RIB_TEST_CODEC(ip_rib_srv6_x_ctx);
RIB_TEST_CODEC(rib_bind_reply);
RIB_TEST_CODEC(rib_client_advertisement);
RIB_TEST_CODEC(rib_ecomm_array);
RIB_TEST_CODEC(rib_encap_id);
RIB_TEST_CODEC(rib_encap_id_key);
RIB_TEST_CODEC(rib_encap_id_path_key_srv6);
RIB_TEST_CODEC(rib_generic_attr_array);
RIB_TEST_CODEC(rib_generic_attr_info);
RIB_TEST_CODEC(rib_grid_sync_list);
RIB_TEST_CODEC(rib_path);
RIB_TEST_CODEC(rib_path_ip_tunnel_info);
RIB_TEST_CODEC(rib_path_l2_info);
RIB_TEST_CODEC(rib_prefix);
RIB_TEST_CODEC(rib_route);
RIB_TEST_CODEC(rib_srv6_oper_type);

constexpr uint8_t untouched = listing::untouched_byte;

// The first buflen bytes of a larger block, all of which is returned: a byte stored beyond buflen shows.
template <class Codec>
bytes encode_into(const typename Codec::record &msg, size_t buflen, size_t expected_result, size_t block_size,
                  uint32_t flags = 0)
{
    bytes block(block_size, untouched);
    EXPECT_EQ(call_encode<Codec>(msg, block.data(), buflen, nullptr, nullptr, flags), expected_result);
    return block;
}

bytes encoded_bind_value(uint32_t value)
{
    zidl_rib_bind_reply msg = {};
    msg.bind_value = value;
    msg.presence = 0x01; // bind_value
    return encode<rib_bind_reply>(msg);
}

bytes encoded_encap_id(uint64_t value)
{
    zidl_rib_encap_id msg = {};
    msg.encap_id = value;
    msg.presence = 0x01; // encap_id
    return encode<rib_encap_id>(msg);
}

bytes encoded_oper_selector(uint8_t value)
{
    zidl_rib_srv6_oper_type msg = {};
    msg.oper_selector = value;
    msg.presence = 0x01; // oper_selector
    return encode<rib_srv6_oper_type>(msg);
}

// Presence

TEST(contract_encode, empty_record_has_no_bytes)
{
    zidl_rib_route msg = {};
    EXPECT_EQ(encode<rib_route>(msg), bytes{});
}

TEST(contract_encode, scalar_without_its_bit_is_not_written)
{
    zidl_rib_bind_reply msg = {};
    msg.bind_value = 7;
    EXPECT_EQ(encode<rib_bind_reply>(msg), bytes{});
}

TEST(contract_encode, array_without_its_bit_is_not_looked_at)
{
    zidl_rib_route msg = {};
    msg.paths_count = 5; // and no array
    msg.algo_labels_count = 3;
    EXPECT_EQ(encode<rib_route>(msg), bytes{});
    bytes large(5000);
    EXPECT_EQ(zidl_rib_route_encode_ext(&msg, large.data(), large.size(), nullptr, nullptr, 0), 0u);
}

TEST(contract_encode, scalar_of_value_zero_is_written)
{
    const bytes expected = {
        0x08, 0x00, // 1 bind_value = 0
    };
    EXPECT_EQ(encoded_bind_value(0), expected);
}

TEST(contract_encode, spare_presence_bits_write_nothing)
{
    zidl_rib_bind_reply msg = {};
    msg.bind_value = 7;
    msg.presence = 0xFE; // all but bind_value
    EXPECT_EQ(encode<rib_bind_reply>(msg), bytes{});
}

TEST(contract_encode, spare_presence_bits_of_a_nested_message_do_not_make_it_present)
{
    zidl_rib_prefix msg = {};
    msg.address.presence = 0xF8;      // all but family, ipv4, ipv6
    msg.address.ipv6.presence = 0xFC; // all but half0, half1
    EXPECT_EQ(encode<rib_prefix>(msg), bytes{});
}

TEST(contract_encode, every_presence_bit_belongs_to_its_own_field)
{
    zidl_rib_path_l2_info msg = {};
    msg.l2_value_1 = 11;
    msg.l2_value_5 = 15;
    msg.l2_value_6 = 16;
    msg.l2_value_7 = 17;
    msg.l2_value_8 = 18;
    msg.presence = 0x01;
    EXPECT_EQ(encode<rib_path_l2_info>(msg), (bytes{0x08, 11})); // 1 l2_value_1
    msg.presence = 0x02;
    EXPECT_EQ(encode<rib_path_l2_info>(msg), (bytes{0x28, 15})); // 5 l2_value_5
    msg.presence = 0x04;
    EXPECT_EQ(encode<rib_path_l2_info>(msg), (bytes{0x30, 16})); // 6 l2_value_6
    msg.presence = 0x08;
    EXPECT_EQ(encode<rib_path_l2_info>(msg), (bytes{0x38, 17})); // 7 l2_value_7
    msg.presence = 0x10;
    EXPECT_EQ(encode<rib_path_l2_info>(msg), (bytes{0x40, 18})); // 8 l2_value_8
}

// Varints

TEST(contract_encode, varint_grows_by_a_byte_after_each_seven_bits)
{
    EXPECT_EQ(encoded_bind_value(1), (bytes{0x08, 0x01}));
    EXPECT_EQ(encoded_bind_value(127), (bytes{0x08, 0x7F}));
    EXPECT_EQ(encoded_bind_value(128), (bytes{0x08, 0x80, 0x01}));
    EXPECT_EQ(encoded_bind_value(300), (bytes{0x08, 0xAC, 0x02}));
    EXPECT_EQ(encoded_bind_value(16383), (bytes{0x08, 0xFF, 0x7F}));
    EXPECT_EQ(encoded_bind_value(16384), (bytes{0x08, 0x80, 0x80, 0x01}));
    EXPECT_EQ(encoded_bind_value(2097151), (bytes{0x08, 0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(encoded_bind_value(2097152), (bytes{0x08, 0x80, 0x80, 0x80, 0x01}));
    EXPECT_EQ(encoded_bind_value(268435455), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(encoded_bind_value(268435456), (bytes{0x08, 0x80, 0x80, 0x80, 0x80, 0x01}));
}

TEST(contract_encode, least_significant_group_comes_first)
{
    EXPECT_EQ(encoded_bind_value(0x12345678), (bytes{0x08, 0xF8, 0xAC, 0xD1, 0x91, 0x01}));
}

TEST(contract_encode, largest_32_bit_value_takes_five_bytes)
{
    EXPECT_EQ(encoded_bind_value(0xFFFFFFFF), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}));
}

TEST(contract_encode, negative_32_bit_pattern_is_not_sign_extended)
{
    EXPECT_EQ(encoded_bind_value(0x80000000), (bytes{0x08, 0x80, 0x80, 0x80, 0x80, 0x08}));
}

TEST(contract_encode, varint_of_a_64_bit_member_grows_to_ten_bytes)
{
    EXPECT_EQ(encoded_encap_id(0), (bytes{0x08, 0x00}));
    EXPECT_EQ(encoded_encap_id(0xFFFFFFFF), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}));
    EXPECT_EQ(encoded_encap_id(0x100000000), (bytes{0x08, 0x80, 0x80, 0x80, 0x80, 0x10}));
    EXPECT_EQ(encoded_encap_id((1ull << 35) - 1), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(encoded_encap_id(1ull << 35), (bytes{0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}));
    EXPECT_EQ(encoded_encap_id((1ull << 42) - 1), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(encoded_encap_id(1ull << 42), (bytes{0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}));
    EXPECT_EQ(encoded_encap_id((1ull << 49) - 1), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(encoded_encap_id(1ull << 49), (bytes{0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}));
    EXPECT_EQ(encoded_encap_id((1ull << 56) - 1), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(encoded_encap_id(1ull << 56), (bytes{0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}));
    EXPECT_EQ(encoded_encap_id((1ull << 63) - 1), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(encoded_encap_id(1ull << 63), (bytes{0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}));
}

TEST(contract_encode, largest_64_bit_value_takes_nine_bytes_ff_and_one_01)
{
    EXPECT_EQ(encoded_encap_id(UINT64_MAX), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01}));
}

// Tags and order

TEST(contract_encode, tags_take_two_bytes_from_field_16_on)
{
    zidl_rib_route msg = {};
    msg.presence = 1ull << 14 | 1ull << 15 | 1ull << 40; // route_value_15, route_value_16, route_value_41
    const bytes expected = {
        0x78, 0x00,       // 15 route_value_15 = 0
        0x80, 0x01, 0x00, // 16 route_value_16 = 0
        0xC8, 0x02, 0x00, // 41 route_value_41 = 0
    };
    EXPECT_EQ(encode<rib_route>(msg), expected);
}

TEST(contract_encode, fields_go_out_in_declaration_order_where_that_is_not_the_order_of_numbers)
{
    zidl_rib_path msg = {};
    msg.presence = 1u << 28 | 1u << 29; // grouping_info, ip_tunnel_info
    const bytes expected = {
        0xC2, 0x02, 0x00, // 40 grouping_info, empty
        0x92, 0x02, 0x00, // 34 ip_tunnel_info, empty
    };
    EXPECT_EQ(encode<rib_path>(msg), expected);
}

// fixed32

TEST(contract_encode, fixed32_is_four_bytes_least_significant_first)
{
    zidl_rib_encap_id_key msg = {};
    msg.key_value_6 = 0x01020384;
    msg.presence = 1u << 5; // key_value_6
    const bytes expected = {
        0x35, 0x84, 0x03, 0x02, 0x01, // 6 key_value_6
    };
    EXPECT_EQ(encode<rib_encap_id_key>(msg), expected);
}

TEST(contract_encode, fixed32_of_value_zero_is_four_bytes)
{
    zidl_rib_encap_id_key msg = {};
    msg.presence = 1u << 5; // key_value_6
    const bytes expected = {
        0x35, 0x00, 0x00, 0x00, 0x00, // 6 key_value_6 = 0
    };
    EXPECT_EQ(encode<rib_encap_id_key>(msg), expected);
}

TEST(contract_encode, bytes_of_a_fixed32_are_stored_one_by_one_up_to_the_end_of_the_buffer)
{
    zidl_rib_encap_id_key msg = {};
    msg.key_value_6 = 0x04030201;
    msg.presence = 1u << 5; // key_value_6
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<rib_encap_id_key>(msg, 0, 5, 6), (bytes{x, x, x, x, x, x}));
    EXPECT_EQ(encode_into<rib_encap_id_key>(msg, 1, 5, 6), (bytes{0x35, x, x, x, x, x}));
    EXPECT_EQ(encode_into<rib_encap_id_key>(msg, 2, 5, 6), (bytes{0x35, 0x01, x, x, x, x}));
    EXPECT_EQ(encode_into<rib_encap_id_key>(msg, 3, 5, 6), (bytes{0x35, 0x01, 0x02, x, x, x}));
    EXPECT_EQ(encode_into<rib_encap_id_key>(msg, 4, 5, 6), (bytes{0x35, 0x01, 0x02, 0x03, x, x}));
    EXPECT_EQ(encode_into<rib_encap_id_key>(msg, 5, 5, 6), (bytes{0x35, 0x01, 0x02, 0x03, 0x04, x}));
    EXPECT_EQ(encode_into<rib_encap_id_key>(msg, 6, 5, 6), (bytes{0x35, 0x01, 0x02, 0x03, 0x04, x}));
}

// bool

TEST(contract_encode, bool_false_is_written_when_its_bit_is_set)
{
    EXPECT_EQ(encoded_oper_selector(0), (bytes{0x08, 0x00}));
}

TEST(contract_encode, bool_is_one_byte_as_it_stands)
{
    EXPECT_EQ(encoded_oper_selector(1), (bytes{0x08, 0x01}));
    EXPECT_EQ(encoded_oper_selector(2), (bytes{0x08, 0x02}));
    EXPECT_EQ(encoded_oper_selector(0x7F), (bytes{0x08, 0x7F}));
}

TEST(contract_encode, bool_of_0x80_and_above_is_still_one_byte)
{
    EXPECT_EQ(encoded_oper_selector(0x80), (bytes{0x08, 0x80}));
    EXPECT_EQ(encoded_oper_selector(0xFF), (bytes{0x08, 0xFF}));
}

TEST(contract_encode, bool_of_0x80_and_above_counts_as_one_byte_in_an_enclosing_length)
{
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.oper_type.oper_selector = 0x80;
    msg.oper_type.oper_when_set = 5;
    msg.oper_type.presence = 0x03; // oper_selector, oper_when_set
    const bytes expected = {
        0x0A, 0x04, // 1 oper_type, 4 bytes
        0x08, 0x80, //   1 oper_selector = 0x80
        0x10, 0x05, //   2 oper_when_set = 5
    };
    EXPECT_EQ(encode<rib_encap_id_path_key_srv6>(msg), expected);
}

TEST(contract_encode, bool_of_0x80_and_above_is_one_byte_in_every_family_of_messages)
{
    zidl_rib_path_ip_tunnel_info tunnel = {};
    tunnel.tunnel_flag = 0x80;
    tunnel.presence = 0x02; // tunnel_flag
    EXPECT_EQ(encode<rib_path_ip_tunnel_info>(tunnel), (bytes{0x28, 0x80}));

    zidl_rib_grid_sync_list grid = {};
    grid.multi_key = 0xC3;
    grid.presence = 0x04; // multi_key
    EXPECT_EQ(encode<rib_grid_sync_list>(grid), (bytes{0x20, 0xC3}));

    zidl_ip_rib_iid_update update = {};
    update.iid_update_flag_2 = 0xFE;
    update.iid_update_flag_5 = 0x81;
    update.presence = 0x12; // iid_update_flag_2, iid_update_flag_5
    EXPECT_EQ(encode<ip_rib_iid_update>(update), (bytes{0x10, 0xFE, 0x28, 0x81}));

    zidl_ip_rib_srv6_x_ctx x_ctx = {};
    x_ctx.flag_1 = 0xFF;
    x_ctx.presence = 0x01; // flag_1
    EXPECT_EQ(encode<ip_rib_srv6_x_ctx>(x_ctx), (bytes{0x08, 0xFF}));
}

// Strings

TEST(contract_encode, string_is_written_without_its_nul)
{
    char name[] = "bgp";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = name;
    msg.presence = 0x08; // proto_name
    const bytes expected = {
        0x22, 0x03, 'b', 'g', 'p', // 4 proto_name
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), expected);
}

TEST(contract_encode, empty_string_is_written_with_length_zero)
{
    char name[] = "";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = name;
    msg.presence = 0x08; // proto_name
    const bytes expected = {
        0x22, 0x00, // 4 proto_name, empty
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), expected);
}

TEST(contract_encode, null_string_is_not_written_though_its_bit_is_set)
{
    zidl_ip_rib_proto_update msg = {};
    msg.proto_id = 1;
    msg.presence = 0x19; // proto_id, proto_name, proto_extra_name
    const bytes expected = {
        0x08, 0x01, // 1 proto_id = 1
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), expected);
}

TEST(contract_encode, string_without_its_bit_is_not_written)
{
    char name[] = "bgp";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = name;
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), bytes{});
}

TEST(contract_encode, string_of_128_characters_has_a_length_of_two_bytes)
{
    char name[129] = {};
    std::memset(name, 'n', 128);
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = name;
    msg.presence = 0x08; // proto_name
    bytes expected = {
        0x22, 0x80, 0x01, // 4 proto_name, 128 bytes
    };
    expected.insert(expected.end(), 128, 'n');
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), expected);
}

TEST(contract_encode, string_is_copied_whatever_the_flags_say)
{
    char name[] = "bgp";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = name;
    msg.presence = 0x08; // proto_name
    const bytes expected = {
        0x22, 0x03, 'b', 'g', 'p', // 4 proto_name
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(msg, ZIDL_ZERO_COPY), expected);
}

// Bytes

TEST(contract_encode, bytes_are_written_as_they_stand)
{
    uint8_t data[] = {0x00, 0xFF, 0x00};
    zidl_rib_generic_attr_info msg = {};
    msg.attr_data = data;
    msg.attr_data_size = 3;
    msg.presence = 0x02; // attr_data
    const bytes expected = {
        0x12, 0x03, 0x00, 0xFF, 0x00, // 2 attr_data
    };
    EXPECT_EQ(encode<rib_generic_attr_info>(msg), expected);
}

TEST(contract_encode, bytes_of_length_zero_are_written_though_the_pointer_is_null)
{
    zidl_rib_generic_attr_info msg = {};
    msg.presence = 0x02; // attr_data
    const bytes expected = {
        0x12, 0x00, // 2 attr_data, empty
    };
    EXPECT_EQ(encode<rib_generic_attr_info>(msg), expected);
}

TEST(contract_encode, bytes_without_their_bit_are_not_written)
{
    uint8_t data[] = {1, 2, 3};
    zidl_rib_generic_attr_info msg = {};
    msg.attr_data = data;
    msg.attr_data_size = 3;
    EXPECT_EQ(encode<rib_generic_attr_info>(msg), bytes{});
}

TEST(contract_encode, strings_and_bytes_of_every_length_are_written_exactly)
{
    bytes contents;
    for (uint8_t length = 0; length <= 70; length++) {
        SCOPED_TRACE(int{length});
        std::string name(contents.begin(), contents.end());
        zidl_ip_rib_proto_update update = {};
        update.proto_name = name.data();
        update.presence = 0x08;        // proto_name
        bytes string = {0x22, length}; // 4 proto_name
        string.insert(string.end(), contents.begin(), contents.end());
        EXPECT_EQ(encode<ip_rib_proto_update>(update), string);

        zidl_ip_rib_opaque opaque = {};
        opaque.first_block = contents.data();
        opaque.first_block_size = length;
        opaque.presence = 0x10;       // first_block
        bytes block = {0x2A, length}; // 5 first_block
        block.insert(block.end(), contents.begin(), contents.end());
        EXPECT_EQ(encode<ip_rib_opaque>(opaque), block);
        contents.push_back(static_cast<uint8_t>(length + 1));
    }
}

TEST(contract_encode, length_prefix_of_bytes_holds_the_low_32_bits)
{
    uint8_t data[] = {1};
    zidl_rib_generic_attr_info msg = {};
    msg.attr_data = data;
    msg.attr_data_size = 0x100000003; // does not fit the buffer, so data is never read
    msg.presence = 0x02;              // attr_data
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<rib_generic_attr_info>(msg, 8, rib_test::as_size(0x100000005), 8),
              (bytes{0x12, 0x03, x, x, x, x, x, x})); // 2 attr_data, "3 bytes", all of them left out
}

TEST(contract_encode, bytes_whose_end_wraps_around_are_not_copied)
{
    uint8_t data[] = {1};
    zidl_rib_generic_attr_info msg = {};
    msg.attr_data = data;
    msg.attr_data_size = UINT64_MAX;
    msg.presence = 0x02; // attr_data
    const uint8_t x = untouched;
    // 6 bytes of tag and length, then the position wraps back by one.
    EXPECT_EQ(encode_into<rib_generic_attr_info>(msg, 8, 5, 8),
              (bytes{0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, x, x})); // 2 attr_data
}

TEST(contract_encode, position_that_wraps_inside_an_element_goes_on_where_it_points)
{
    uint8_t data[] = {1};
    zidl_rib_generic_attr_info attrs[2] = {};
    attrs[0].attr_data = data;
    attrs[0].attr_data_size = UINT64_MAX;
    attrs[0].presence = 0x02; // attr_data
    attrs[1].attr_type = 7;
    attrs[1].presence = 0x01; // attr_type
    zidl_rib_generic_attr_array msg = {};
    msg.attrs = attrs;
    msg.attrs_count = 2;
    msg.presence = 0x02; // attrs
    const uint8_t x = untouched;
    const bytes expected = {
        0x12, 0x05,                   // 2 attrs[0], 6 + (2^64 - 1) bytes: 5
        0x12, 0xFF, 0xFF, 0xFF, 0xFF, //   2 attr_data, the last byte of its length overwritten by what follows
        0x12, 0x02,                   // 2 attrs[1], 2 bytes
        0x08, 0x07,                   //   1 attr_type = 7
        x,                            // untouched
    };
    EXPECT_EQ(encode_into<rib_generic_attr_array>(msg, 12, 11, 12), expected);
}

// Nested messages

TEST(contract_encode, nested_message_with_content_is_written_without_its_bit)
{
    zidl_rib_prefix msg = {};
    msg.address.family = 1;
    msg.address.presence = 0x01; // family
    const bytes expected = {
        0x0A, 0x02, // 1 address, 2 bytes
        0x08, 0x01, //   1 family = 1
    };
    EXPECT_EQ(encode<rib_prefix>(msg), expected);
}

TEST(contract_encode, nested_message_without_content_is_written_with_length_zero_when_its_bit_is_set)
{
    zidl_rib_prefix msg = {};
    msg.presence = 0x01; // address
    const bytes expected = {
        0x0A, 0x00, // 1 address, empty
    };
    EXPECT_EQ(encode<rib_prefix>(msg), expected);
}

TEST(contract_encode, nested_message_without_content_and_bit_is_not_written)
{
    zidl_rib_prefix msg = {};
    msg.address.family = 1; // without its bit: no content
    msg.prefix_len = 24;
    msg.presence = 0x02; // prefix_len
    const bytes expected = {
        0x10, 0x18, // 2 prefix_len = 24
    };
    EXPECT_EQ(encode<rib_prefix>(msg), expected);
}

TEST(contract_encode, content_two_levels_down_makes_both_enclosing_messages_present)
{
    zidl_rib_prefix msg = {};
    msg.address.ipv6.presence = 0x01; // half0
    const bytes expected = {
        0x0A, 0x04, // 1 address, 4 bytes
        0x1A, 0x02, //   3 ipv6, 2 bytes
        0x08, 0x00, //     1 half0 = 0
    };
    EXPECT_EQ(encode<rib_prefix>(msg), expected);
}

TEST(contract_encode, a_bit_two_levels_down_makes_both_enclosing_messages_present)
{
    zidl_rib_prefix msg = {};
    msg.address.presence = 0x04; // ipv6
    const bytes expected = {
        0x0A, 0x02, // 1 address, 2 bytes
        0x1A, 0x00, //   3 ipv6, empty
    };
    EXPECT_EQ(encode<rib_prefix>(msg), expected);
}

TEST(contract_encode, nested_message_whose_array_is_empty_has_no_content)
{
    zidl_rib_route msg = {};
    msg.client_advertisement.presence = 0x01; // advertised_values, but there are none
    EXPECT_EQ(encode<rib_route>(msg), bytes{});
}

TEST(contract_encode, nested_message_whose_array_has_no_bit_has_no_content)
{
    uint32_t values[] = {1, 2};
    zidl_rib_route msg = {};
    msg.client_advertisement.advertised_values = values;
    msg.client_advertisement.advertised_values_count = 2;
    EXPECT_EQ(encode<rib_route>(msg), bytes{});
}

TEST(contract_encode, nested_length_of_127_takes_one_byte)
{
    char name[126] = {};
    std::memset(name, 'n', 125);
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.e_ctx.name_3 = name;
    msg.e_ctx.presence = 0x04; // name_3
    bytes expected = {
        0x1A, 0x7F, // 3 e_ctx, 127 bytes
        0x1A, 0x7D, //   3 name_3, 125 bytes
    };
    expected.insert(expected.end(), 125, 'n');
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), expected);
}

TEST(contract_encode, nested_length_of_128_takes_two_bytes)
{
    char name[127] = {};
    std::memset(name, 'n', 126);
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.e_ctx.name_3 = name;
    msg.e_ctx.presence = 0x04; // name_3
    bytes expected = {
        0x1A, 0x80, 0x01, // 3 e_ctx, 128 bytes
        0x1A, 0x7E,       //   3 name_3, 126 bytes
    };
    expected.insert(expected.end(), 126, 'n');
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), expected);
}

TEST(contract_encode, nested_length_of_16383_takes_two_bytes)
{
    std::string name(16380, 'n');
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.e_ctx.name_3 = name.data();
    msg.e_ctx.presence = 0x04; // name_3
    bytes expected = {
        0x1A, 0xFF, 0x7F, // 3 e_ctx, 16383 bytes
        0x1A, 0xFC, 0x7F, //   3 name_3, 16380 bytes
    };
    expected.insert(expected.end(), 16380, 'n');
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), expected);
}

TEST(contract_encode, nested_length_of_16384_takes_three_bytes)
{
    std::string name(16381, 'n');
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.e_ctx.name_3 = name.data();
    msg.e_ctx.presence = 0x04; // name_3
    bytes expected = {
        0x1A, 0x80, 0x80, 0x01, // 3 e_ctx, 16384 bytes
        0x1A, 0xFD, 0x7F,       //   3 name_3, 16381 bytes
    };
    expected.insert(expected.end(), 16381, 'n');
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), expected);
}

TEST(contract_encode, outer_length_grows_alone_when_only_it_passes_127)
{
    std::string name(124, 'n');
    zidl_ip_rib_srv6_opcode_update msg = {};
    msg.sid_ctx.e_ctx.name_3 = name.data();
    msg.sid_ctx.e_ctx.presence = 0x04; // name_3
    msg.flag_5 = 1;
    msg.presence = 0x10; // flag_5
    bytes expected = {
        0x22, 0x80, 0x01, // 4 sid_ctx, 128 bytes
        0x1A, 0x7E,       //   3 e_ctx, 126 bytes
        0x1A, 0x7C,       //     3 name_3, 124 bytes
    };
    expected.insert(expected.end(), 124, 'n');
    expected.insert(expected.end(), {0x28, 0x01}); // 5 flag_5 = 1
    EXPECT_EQ(encode<ip_rib_srv6_opcode_update>(msg), expected);
}

TEST(contract_encode, outer_length_counts_the_longer_prefix_of_what_it_encloses)
{
    std::string name(126, 'n');
    zidl_ip_rib_srv6_opcode_update msg = {};
    msg.sid_ctx.e_ctx.name_3 = name.data();
    msg.sid_ctx.e_ctx.presence = 0x04; // name_3
    msg.flag_5 = 1;
    msg.presence = 0x10; // flag_5
    bytes expected = {
        0x22, 0x83, 0x01, // 4 sid_ctx, 131 bytes
        0x1A, 0x80, 0x01, //   3 e_ctx, 128 bytes
        0x1A, 0x7E,       //     3 name_3, 126 bytes
    };
    expected.insert(expected.end(), 126, 'n');
    expected.insert(expected.end(), {0x28, 0x01}); // 5 flag_5 = 1
    EXPECT_EQ(encode<ip_rib_srv6_opcode_update>(msg), expected);
}

TEST(contract_encode, nested_messages_behind_a_long_one_stand_where_it_ends)
{
    std::string name(200, 'n');
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.e_ctx.name_3 = name.data();
    msg.e_ctx.presence = 0x04; // name_3
    msg.un_ctx.value_1 = 5;
    msg.un_ctx.presence = 0x01; // value_1
    bytes expected = {
        0x1A, 0xCB, 0x01, // 3 e_ctx, 203 bytes
        0x1A, 0xC8, 0x01, //   3 name_3, 200 bytes
    };
    expected.insert(expected.end(), 200, 'n');
    expected.insert(expected.end(), {0x52, 0x02,   // 10 un_ctx, 2 bytes
                                     0x08, 0x05}); //   1 value_1 = 5
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), expected);
}

TEST(contract_encode, a_long_encoding_leaves_the_bytes_behind_it_alone)
{
    std::string name(126, 'n');
    zidl_ip_rib_srv6_opcode_update msg = {};
    msg.sid_ctx.e_ctx.name_3 = name.data();
    msg.sid_ctx.e_ctx.presence = 0x04; // name_3
    const bytes block = encode_into<ip_rib_srv6_opcode_update>(msg, 134, 134, 150);
    EXPECT_EQ(block[133], 'n');
    EXPECT_EQ(bytes(block.begin() + 134, block.end()), bytes(16, untouched));
}

// Repeated members

TEST(contract_encode, repeated_scalar_has_a_tag_for_every_element)
{
    uint32_t values[] = {1, 300, 0};
    zidl_rib_client_advertisement msg = {};
    msg.advertised_values = values;
    msg.advertised_values_count = 3;
    msg.presence = 0x01; // advertised_values
    const bytes expected = {
        0x08, 0x01,       // 1 advertised_values[0] = 1
        0x08, 0xAC, 0x02, // 1 advertised_values[1] = 300
        0x08, 0x00,       // 1 advertised_values[2] = 0
    };
    EXPECT_EQ(encode<rib_client_advertisement>(msg), expected);
}

TEST(contract_encode, repeated_64_bit_elements_keep_64_bits)
{
    uint64_t values[] = {1ull << 32, UINT64_MAX};
    zidl_rib_ecomm_array msg = {};
    msg.ecomm_values = values;
    msg.ecomm_count = 2;
    msg.presence = 0x02; // ecomm_values
    const bytes expected = {
        0x10, 0x80, 0x80, 0x80, 0x80, 0x10,                               // 2 ecomm_values[0] = 2^32
        0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 2 ecomm_values[1] = 2^64 - 1
    };
    EXPECT_EQ(encode<rib_ecomm_array>(msg), expected);
}

TEST(contract_encode, repeated_8_bit_elements_are_varints)
{
    uint8_t values[] = {127, 128, 255};
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.values_2 = values;
    msg.values_2_count = 3;
    msg.presence = 1u << 1; // values_2
    const bytes expected = {
        0x10, 0x7F,       // 2 values_2[0] = 127
        0x10, 0x80, 0x01, // 2 values_2[1] = 128
        0x10, 0xFF, 0x01, // 2 values_2[2] = 255
    };
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), expected);
}

TEST(contract_encode, repeated_member_without_elements_writes_nothing_though_its_bit_is_set)
{
    uint32_t values[] = {1};
    zidl_rib_client_advertisement msg = {};
    msg.advertised_values = values;
    msg.presence = 0x01; // advertised_values
    EXPECT_EQ(encode<rib_client_advertisement>(msg), bytes{});
}

TEST(contract_encode, repeated_member_without_its_bit_is_not_written)
{
    uint32_t values[] = {1};
    zidl_rib_client_advertisement msg = {};
    msg.advertised_values = values;
    msg.advertised_values_count = 1;
    EXPECT_EQ(encode<rib_client_advertisement>(msg), bytes{});
}

TEST(contract_encode, elements_of_repeated_bytes_are_written_one_by_one)
{
    uint8_t first[] = {0xA1, 0xA2};
    uint8_t third[] = {0xC1};
    zidl_bytes entries[] = {{first, 2}, {nullptr, 0}, {third, 1}};
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.entries = entries;
    msg.entries_count = 3;
    msg.presence = 0x02; // entries
    const bytes expected = {
        0x12, 0x02, 0xA1, 0xA2, // 2 entries[0]
        0x12, 0x00,             // 2 entries[1], empty
        0x12, 0x01, 0xC1,       // 2 entries[2]
    };
    EXPECT_EQ(encode<rib_encap_id_path_key_srv6>(msg), expected);
}

TEST(contract_encode, empty_element_of_a_repeated_message_is_written_with_length_zero)
{
    zidl_rib_address addresses[3] = {};
    addresses[0].family = 1;
    addresses[0].presence = 0x01; // family
    addresses[2].ipv4 = 9;
    addresses[2].presence = 0x02; // ipv4
    zidl_rib_path msg = {};
    msg.path_addresses = addresses;
    msg.path_addresses_count = 3;
    msg.presence = 1u << 14; // path_addresses
    const bytes expected = {
        0x8A, 0x01, 0x02, // 17 path_addresses[0], 2 bytes
        0x08, 0x01,       //   1 family = 1
        0x8A, 0x01, 0x00, // 17 path_addresses[1], empty
        0x8A, 0x01, 0x02, // 17 path_addresses[2], 2 bytes
        0x10, 0x09,       //   2 ipv4 = 9
    };
    EXPECT_EQ(encode<rib_path>(msg), expected);
}

TEST(contract_encode, repeated_messages_without_their_bit_are_not_written_though_the_elements_have_content)
{
    zidl_rib_address addresses[1] = {};
    addresses[0].presence = 0x01; // family
    zidl_rib_path msg = {};
    msg.path_addresses = addresses;
    msg.path_addresses_count = 1;
    EXPECT_EQ(encode<rib_path>(msg), bytes{});
}

// Sizing, flags and buffers of other sizes

TEST(contract_encode, sizing_call_gives_the_whole_length)
{
    char name[] = "bgp";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_id = 300;
    msg.proto_name = name;
    msg.presence = 0x09; // proto_id, proto_name
    EXPECT_EQ(zidl_ip_rib_proto_update_encode_ext(&msg, nullptr, 0, nullptr, nullptr, 0), 8u);
}

TEST(contract_encode, buffer_of_length_zero_is_not_touched)
{
    zidl_rib_bind_reply msg = {};
    msg.presence = 0x01; // bind_value
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<rib_bind_reply>(msg, 0, 2, 4), (bytes{x, x, x, x}));
}

TEST(contract_encode, bytes_behind_the_encoding_are_not_touched)
{
    zidl_rib_bind_reply msg = {};
    msg.bind_value = 5;
    msg.presence = 0x01; // bind_value
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<rib_bind_reply>(msg, 12, 2, 12), (bytes{0x08, 0x05, x, x, x, x, x, x, x, x, x, x}));
}

TEST(contract_encode, varint_is_cut_at_the_end_of_the_buffer)
{
    zidl_rib_bind_reply msg = {};
    msg.bind_value = 0xFFFFFFFF;
    msg.presence = 0x01; // bind_value
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<rib_bind_reply>(msg, 1, 6, 7), (bytes{0x08, x, x, x, x, x, x}));
    EXPECT_EQ(encode_into<rib_bind_reply>(msg, 3, 6, 7), (bytes{0x08, 0xFF, 0xFF, x, x, x, x}));
    EXPECT_EQ(encode_into<rib_bind_reply>(msg, 5, 6, 7), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, x, x}));
    EXPECT_EQ(encode_into<rib_bind_reply>(msg, 6, 6, 7), (bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, x}));
}

TEST(contract_encode, two_byte_tag_is_cut_at_the_end_of_the_buffer)
{
    zidl_rib_path msg = {};
    msg.path_value_16 = 5;
    msg.presence = 1u << 13; // path_value_16
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<rib_path>(msg, 1, 3, 4), (bytes{0x80, x, x, x}));
    EXPECT_EQ(encode_into<rib_path>(msg, 2, 3, 4), (bytes{0x80, 0x01, x, x}));
    EXPECT_EQ(encode_into<rib_path>(msg, 3, 3, 4), (bytes{0x80, 0x01, 0x05, x}));
}

TEST(contract_encode, bool_beyond_the_buffer_is_not_stored)
{
    zidl_rib_srv6_oper_type msg = {};
    msg.oper_selector = 1;
    msg.presence = 0x01; // oper_selector
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<rib_srv6_oper_type>(msg, 1, 2, 3), (bytes{0x08, x, x}));
}

TEST(contract_encode, bool_of_0x80_and_above_is_one_byte_also_where_the_buffer_is_too_small)
{
    zidl_rib_srv6_oper_type msg = {};
    msg.oper_selector = 0xC3;
    msg.oper_when_set = 5;
    msg.presence = 0x03; // oper_selector, oper_when_set
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<rib_srv6_oper_type>(msg, 2, 4, 4), (bytes{0x08, 0xC3, x, x}));
    EXPECT_EQ(encode_into<rib_srv6_oper_type>(msg, 3, 4, 4), (bytes{0x08, 0xC3, 0x10, x}));
}

TEST(contract_encode, string_that_does_not_fit_whole_is_left_out_whole)
{
    char name[] = "abc";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = name;
    msg.presence = 0x08; // proto_name
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<ip_rib_proto_update>(msg, 1, 5, 6), (bytes{0x22, x, x, x, x, x}));
    EXPECT_EQ(encode_into<ip_rib_proto_update>(msg, 2, 5, 6), (bytes{0x22, 0x03, x, x, x, x}));
    EXPECT_EQ(encode_into<ip_rib_proto_update>(msg, 3, 5, 6), (bytes{0x22, 0x03, x, x, x, x}));
    EXPECT_EQ(encode_into<ip_rib_proto_update>(msg, 4, 5, 6), (bytes{0x22, 0x03, x, x, x, x}));
    EXPECT_EQ(encode_into<ip_rib_proto_update>(msg, 5, 5, 6), (bytes{0x22, 0x03, 'a', 'b', 'c', x}));
}

TEST(contract_encode, bytes_that_do_not_fit_whole_are_left_out_whole)
{
    uint8_t data[] = {0xD1, 0xD2, 0xD3};
    zidl_rib_generic_attr_info msg = {};
    msg.attr_data = data;
    msg.attr_data_size = 3;
    msg.presence = 0x02; // attr_data
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<rib_generic_attr_info>(msg, 2, 5, 6), (bytes{0x12, 0x03, x, x, x, x}));
    EXPECT_EQ(encode_into<rib_generic_attr_info>(msg, 4, 5, 6), (bytes{0x12, 0x03, x, x, x, x}));
    EXPECT_EQ(encode_into<rib_generic_attr_info>(msg, 5, 5, 6), (bytes{0x12, 0x03, 0xD1, 0xD2, 0xD3, x}));
}

TEST(contract_encode, element_of_repeated_bytes_that_does_not_fit_whole_is_left_out_whole)
{
    uint8_t first[] = {0xA1, 0xA2};
    uint8_t second[] = {0xB1, 0xB2};
    zidl_bytes entries[] = {{first, 2}, {second, 2}};
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.entries = entries;
    msg.entries_count = 2;
    msg.presence = 0x02; // entries
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<rib_encap_id_path_key_srv6>(msg, 7, 8, 9),
              (bytes{0x12, 0x02, 0xA1, 0xA2, 0x12, 0x02, x, x, x}));
    EXPECT_EQ(encode_into<rib_encap_id_path_key_srv6>(msg, 3, 8, 9), (bytes{0x12, 0x02, x, x, x, x, x, x, x}));
}

TEST(contract_encode, nothing_is_stored_behind_a_string_that_does_not_fit)
{
    char name[] = "abc";
    char extra[] = "d";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = name;
    msg.proto_extra_name = extra;
    msg.presence = 0x18; // proto_name, proto_extra_name
    const uint8_t x = untouched;
    EXPECT_EQ(encode_into<ip_rib_proto_update>(msg, 4, 8, 9), (bytes{0x22, 0x03, x, x, x, x, x, x, x}));
    EXPECT_EQ(encode_into<ip_rib_proto_update>(msg, 7, 8, 9), (bytes{0x22, 0x03, 'a', 'b', 'c', 0x2A, 0x01, x, x}));
}

TEST(contract_encode, bytes_inside_a_nested_message_that_do_not_fit_whole_are_left_out_whole)
{
    uint8_t data[] = {0xD1, 0xD2, 0xD3};
    zidl_rib_generic_attr_info attrs[1] = {};
    attrs[0].attr_type = 7;
    attrs[0].attr_data = data;
    attrs[0].attr_data_size = 3;
    attrs[0].presence = 0x03; // attr_type, attr_data
    zidl_rib_generic_attr_array msg = {};
    msg.attrs = attrs;
    msg.attrs_count = 1;
    msg.presence = 0x02; // attrs
    const uint8_t x = untouched;
    const bytes without_data = {
        0x12, 0x07,       // 2 attrs[0], 7 bytes
        0x08, 0x07,       //   1 attr_type = 7
        0x12, 0x03,       //   2 attr_data, 3 bytes, left out
        x,    x,    x, x, // untouched
    };
    EXPECT_EQ(encode_into<rib_generic_attr_array>(msg, 8, 9, 10), without_data);
    const bytes whole = {
        0x12, 0x07,                   // 2 attrs[0], 7 bytes
        0x08, 0x07,                   //   1 attr_type = 7
        0x12, 0x03, 0xD1, 0xD2, 0xD3, //   2 attr_data
        x,                            // untouched
    };
    EXPECT_EQ(encode_into<rib_generic_attr_array>(msg, 9, 9, 10), whole);
}

TEST(contract_encode, too_small_a_buffer_receives_the_start_of_the_encoding_whatever_its_length)
{
    zidl_rib_prefix msg = {};
    msg.address.family = 2;
    msg.address.ipv6.half0 = 300;
    msg.address.ipv6.presence = 0x01; // half0
    msg.address.presence = 0x01;      // family
    msg.prefix_len = 64;
    msg.presence = 0x02; // prefix_len
    const bytes whole = {
        0x0A, 0x07,       // 1 address, 7 bytes
        0x08, 0x02,       //   1 family = 2
        0x1A, 0x03,       //   3 ipv6, 3 bytes
        0x08, 0xAC, 0x02, //     1 half0 = 300
        0x10, 0x40,       // 2 prefix_len = 64
    };
    for (size_t buflen = 0; buflen <= whole.size(); buflen++) {
        bytes expected(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(buflen));
        expected.resize(whole.size() + 1, untouched);
        EXPECT_EQ(encode_into<rib_prefix>(msg, buflen, whole.size(), whole.size() + 1), expected) << buflen;
    }
}

TEST(contract_encode, larger_a_buffer_receives_the_encoding_and_nothing_behind_it_whatever_its_length)
{
    char name[] = "bgp";
    zidl_ip_rib_srv6_opcode_update msg = {};
    msg.value_1 = 1;
    msg.sid_ctx.e_ctx.value_2 = 300;
    msg.sid_ctx.e_ctx.name_3 = name;
    msg.sid_ctx.e_ctx.presence = 0x06; // value_2, name_3
    msg.flag_5 = 1;
    msg.presence = 0x11; // value_1, flag_5
    const bytes whole = {
        0x08, 0x01,                 // 1 value_1 = 1
        0x22, 0x0A,                 // 4 sid_ctx, 10 bytes
        0x1A, 0x08,                 //   3 e_ctx, 8 bytes
        0x10, 0xAC, 0x02,           //     2 value_2 = 300
        0x1A, 0x03, 'b',  'g', 'p', //     3 name_3
        0x28, 0x01,                 // 5 flag_5 = 1
    };
    for (size_t buflen = whole.size(); buflen < whole.size() + 200; buflen++) {
        bytes expected = whole;
        expected.resize(buflen + 1, untouched);
        EXPECT_EQ(encode_into<ip_rib_srv6_opcode_update>(msg, buflen, whole.size(), buflen + 1), expected) << buflen;
    }
}

// Where a string or a bytes value stands in an encoding.
struct whole_value {
    size_t begin;
    size_t len;
};

// Encodes into buffers of many lengths, around each of the given values' ends above all, and expects the start of `whole`
// in each, but for a value that does not fit whole: nothing is stored from its beginning on.
template <class Codec>
void expect_start_in_buffers_of_many_lengths(const typename Codec::record &msg, const bytes &whole,
                                             const std::vector<whole_value> &values)
{
    std::vector<size_t> lengths;
    for (size_t buflen = 1; buflen < whole.size() + 5000; buflen += 89)
        lengths.push_back(buflen);
    std::vector<size_t> edges = {0, whole.size()};
    for (const whole_value &value : values)
        edges.insert(edges.end(), {value.begin, value.begin + value.len});
    for (size_t edge : edges)
        for (size_t buflen = edge < 40 ? 0 : edge - 40; buflen < edge + 40; buflen++)
            lengths.push_back(buflen);

    for (size_t buflen : lengths) {
        size_t stored = std::min(buflen, whole.size());
        for (const whole_value &value : values)
            if (value.begin < buflen && buflen < value.begin + value.len)
                stored = value.begin;
        bytes expected(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(stored));
        expected.resize(buflen + 1, untouched);
        EXPECT_TRUE(encode_into<Codec>(msg, buflen, whole.size(), buflen + 1) == expected) << buflen;
    }
}

void append(bytes &to, const bytes &more)
{
    to.insert(to.end(), more.begin(), more.end());
}

TEST(contract_encode, long_strings_in_an_array_are_left_out_whole_wherever_the_buffer_ends)
{
    std::string names[] = {std::string(4000, 'a'), std::string(300, 'b'), std::string(9000, 'c')};
    zidl_ip_rib_srv6_locator locators[3] = {};
    for (int i = 0; i < 3; i++) {
        locators[i].name = names[i].data();
        locators[i].value_4 = 7;
        locators[i].presence = 0x0009; // name, value_4
    }
    zidl_ip_rib_srv6_update msg = {};
    msg.value_1 = 1;
    msg.cfg_update.locators = locators;
    msg.cfg_update.locators_count = 3;
    msg.cfg_update.presence = 0x02; // locators
    msg.presence = 0x01;            // value_1

    bytes whole = {
        0x08, 0x01,       // 1 value_1 = 1
        0x12, 0x8C, 0x68, // 2 cfg_update, 13324 bytes
        0x12, 0xA5, 0x1F, //   2 locators[0], 4005 bytes
        0x0A, 0xA0, 0x1F, //     1 name, 4000 bytes, from 11 on
    };
    append(whole, bytes(4000, 'a'));
    append(whole, {
                      0x20, 0x07,       //     4 value_4 = 7
                      0x12, 0xB1, 0x02, //   2 locators[1], 305 bytes
                      0x0A, 0xAC, 0x02, //     1 name, 300 bytes, from 4019 on
                  });
    append(whole, bytes(300, 'b'));
    append(whole, {
                      0x20, 0x07,       //     4 value_4 = 7
                      0x12, 0xAD, 0x46, //   2 locators[2], 9005 bytes
                      0x0A, 0xA8, 0x46, //     1 name, 9000 bytes, from 4327 on
                  });
    append(whole, bytes(9000, 'c'));
    append(whole, {
                      0x20, 0x07, //     4 value_4 = 7
                  });
    expect_start_in_buffers_of_many_lengths<ip_rib_srv6_update>(msg, whole, {{11, 4000}, {4019, 300}, {4327, 9000}});
}

TEST(contract_encode, long_string_four_messages_deep_is_left_out_whole_wherever_the_buffer_ends)
{
    std::string long_name(20000, 'a');
    std::string short_name(100, 'b');
    zidl_ip_rib_srv6_update msg = {};
    zidl_ip_rib_srv6_sid_ctx &sid_ctx = msg.opcode_update.sid_ctx;
    sid_ctx.e_ctx.value_1 = 5;
    sid_ctx.e_ctx.name_3 = long_name.data();
    sid_ctx.e_ctx.presence = 0x05; // value_1, name_3
    sid_ctx.un_ctx.name_3 = short_name.data();
    sid_ctx.un_ctx.presence = 0x04; // name_3
    msg.opcode_update.flag_5 = 1;
    msg.opcode_update.presence = 0x10; // flag_5

    bytes whole = {
        0x1A, 0x98, 0x9D, 0x01, // 3 opcode_update, 20120 bytes
        0x22, 0x92, 0x9D, 0x01, //   4 sid_ctx, 20114 bytes
        0x1A, 0xA6, 0x9C, 0x01, //     3 e_ctx, 20006 bytes
        0x08, 0x05,             //       1 value_1 = 5
        0x1A, 0xA0, 0x9C, 0x01, //       3 name_3, 20000 bytes, from 18 on
    };
    append(whole, bytes(20000, 'a'));
    append(whole, {
                      0x52, 0x66, //     10 un_ctx, 102 bytes
                      0x1A, 0x64, //       3 name_3, 100 bytes, from 20022 on
                  });
    append(whole, bytes(100, 'b'));
    append(whole, {
                      0x28, 0x01, //   5 flag_5 = 1
                  });
    expect_start_in_buffers_of_many_lengths<ip_rib_srv6_update>(msg, whole, {{18, 20000}, {20022, 100}});
}

TEST(contract_encode, long_bytes_behind_a_long_array_are_left_out_whole_wherever_the_buffer_ends)
{
    std::vector<uint32_t> values(3000, 9);
    bytes first(200, 0xD1);
    bytes second(6000, 0xD2);
    zidl_rib_generic_attr_info attrs[2] = {};
    attrs[0].attr_data = first.data();
    attrs[0].attr_data_size = 200;
    attrs[0].presence = 0x02; // attr_data
    attrs[1].attr_data = second.data();
    attrs[1].attr_data_size = 6000;
    attrs[1].presence = 0x02; // attr_data
    zidl_rib_route msg = {};
    msg.client_advertisement.advertised_values = values.data();
    msg.client_advertisement.advertised_values_count = 3000;
    msg.client_advertisement.presence = 0x01; // advertised_values
    msg.addr_generic_attrs.attrs = attrs;
    msg.addr_generic_attrs.attrs_count = 2;
    msg.addr_generic_attrs.presence = 0x02; // attrs
    msg.presence = 1ull << 40;              // route_value_41

    bytes whole = {
        0xDA, 0x01, 0xF0, 0x2E, // 27 client_advertisement, 6000 bytes
    };
    for (int i = 0; i < 3000; i++)
        append(whole, {0x08, 0x09}); //   1 advertised_values[i] = 9
    append(whole, {
                      0xE2, 0x01, 0xC4, 0x30, // 28 addr_generic_attrs, 6212 bytes
                      0x12, 0xCB, 0x01,       //   2 attrs[0], 203 bytes
                      0x12, 0xC8, 0x01,       //     2 attr_data, 200 bytes, from 6014 on
                  });
    append(whole, bytes(200, 0xD1));
    append(whole, {
                      0x12, 0xF3, 0x2E, //   2 attrs[1], 6003 bytes
                      0x12, 0xF0, 0x2E, //     2 attr_data, 6000 bytes, from 6220 on
                  });
    append(whole, bytes(6000, 0xD2));
    append(whole, {
                      0xC8, 0x02, 0x00, // 41 route_value_41 = 0
                  });
    expect_start_in_buffers_of_many_lengths<rib_route>(msg, whole, {{6014, 200}, {6220, 6000}});
}

TEST(contract_encode, gap_of_a_string_inside_nested_messages_reaches_to_the_end_of_the_buffer)
{
    char name[] = "bgp";
    zidl_ip_rib_srv6_opcode_update msg = {};
    msg.sid_ctx.e_ctx.name_3 = name;
    msg.sid_ctx.e_ctx.presence = 0x04; // name_3
    msg.flag_5 = 1;
    msg.presence = 0x10; // flag_5
    const uint8_t x = untouched;
    const bytes expected = {
        0x22, 0x07,       // 4 sid_ctx, 7 bytes
        0x1A, 0x05,       //   3 e_ctx, 5 bytes
        0x1A, 0x03,       //     3 name_3, 3 characters, left out
        x,    x,    x, x, // untouched
    };
    EXPECT_EQ(encode_into<ip_rib_srv6_opcode_update>(msg, 8, 11, 10), expected);
}

TEST(contract_encode, other_flags_than_zero_copy_are_ignored)
{
    uint8_t data[] = {0xD1};
    zidl_rib_generic_attr_info msg = {};
    msg.attr_data = data;
    msg.attr_data_size = 1;
    msg.presence = 0x02; // attr_data
    const bytes expected = {
        0x12, 0x01, 0xD1, // 2 attr_data
    };
    EXPECT_EQ(encode<rib_generic_attr_info>(msg, 0xFFFFFFFE), expected);
}

TEST(contract_encode, zero_copy_stays_zero_copy_beside_other_flags)
{
    uint8_t data[] = {0xD1};
    zidl_rib_generic_attr_info msg = {};
    msg.attr_data = data;
    msg.attr_data_size = 1;
    msg.presence = 0x02; // attr_data
    const bytes expected = {
        0x12, 0x01, // 2 attr_data, contents left out
    };
    EXPECT_EQ(encode<rib_generic_attr_info>(msg, 0xFFFFFFFF), expected);
}

TEST(contract_encode, record_is_left_as_it_was)
{
    char name[] = "bgp";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_id = 300;
    msg.proto_name = name;
    msg.presence = 0xE9; // proto_id, proto_name, three spare bits
    bytes before(sizeof msg);
    std::memcpy(before.data(), &msg, sizeof msg);
    encode<ip_rib_proto_update>(msg);
    EXPECT_EQ(std::memcmp(before.data(), &msg, sizeof msg), 0);
}

} // namespace
