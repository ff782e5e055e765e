// Neighbouring u32 fields: what a decoder may read together and an encoder may write together must come to the same as one
// field after the other, wherever it stands in the input or in the buffer.

#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/codec/support.hpp"

#include <algorithm>
#include <map>

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_srv6_lib_ranges);
RIB_TEST_CODEC(rib_client_advertisement);
RIB_TEST_CODEC(rib_ecomm_array);
RIB_TEST_CODEC(rib_encap_id_key);
RIB_TEST_CODEC(rib_grid_sync_list);
RIB_TEST_CODEC(rib_nnh);
RIB_TEST_CODEC(rib_path);
RIB_TEST_CODEC(rib_path_ip_tunnel_info);
RIB_TEST_CODEC(rib_path_l2_info);
RIB_TEST_CODEC(rib_route);

// Field numbers and values of what is present. What is absent must be zero.
using fields = std::map<uint32_t, uint64_t>;

void add(fields &all, uint32_t number, bool present, uint64_t value)
{
    if (present)
        all[number] = value;
    else
        EXPECT_EQ(value, 0u) << "absent field " << number;
}

#define ADD(type, number, member) add(all, number, zidl_##type##_has_##member(&msg), msg.member)

fields present_fields(const zidl_rib_route &msg)
{
    fields all;
    ADD(rib_route, 2, route_value_2);
    ADD(rib_route, 3, route_value_3);
    ADD(rib_route, 4, route_value_4);
    ADD(rib_route, 5, route_value_5);
    ADD(rib_route, 6, route_value_6);
    ADD(rib_route, 7, route_value_7);
    ADD(rib_route, 8, route_value_8);
    ADD(rib_route, 9, route_value_9);
    ADD(rib_route, 10, route_value_10);
    ADD(rib_route, 11, route_value_11);
    ADD(rib_route, 12, route_value_12);
    ADD(rib_route, 13, route_value_13);
    ADD(rib_route, 14, route_value_14);
    ADD(rib_route, 15, route_value_15);
    ADD(rib_route, 16, route_value_16);
    ADD(rib_route, 18, route_value_18);
    ADD(rib_route, 19, route_value_19);
    ADD(rib_route, 20, route_value_20);
    ADD(rib_route, 21, route_value_21);
    ADD(rib_route, 22, route_value_22);
    ADD(rib_route, 23, route_value_23);
    ADD(rib_route, 24, route_flags);
    ADD(rib_route, 25, route_value_25);
    ADD(rib_route, 34, route_value_34);
    ADD(rib_route, 35, route_value_35);
    ADD(rib_route, 37, route_value_37);
    ADD(rib_route, 38, route_value_38);
    ADD(rib_route, 40, route_value_40);
    ADD(rib_route, 41, route_value_41);
    return all;
}

fields present_fields(const zidl_rib_path &msg)
{
    fields all;
    ADD(rib_path, 1, path_value_1);
    ADD(rib_path, 2, path_value_2);
    ADD(rib_path, 3, path_value_3);
    ADD(rib_path, 8, path_value_8);
    ADD(rib_path, 10, path_value_10);
    ADD(rib_path, 11, path_value_11);
    ADD(rib_path, 12, path_value_12);
    ADD(rib_path, 13, path_value_13);
    ADD(rib_path, 14, path_value_14);
    ADD(rib_path, 16, path_value_16);
    ADD(rib_path, 19, path_value_19);
    ADD(rib_path, 22, path_value_22);
    ADD(rib_path, 25, path_value_25);
    ADD(rib_path, 27, path_value_27);
    ADD(rib_path, 28, path_value_28);
    ADD(rib_path, 31, path_value_31);
    return all;
}

fields present_fields(const zidl_rib_encap_id_key &msg)
{
    fields all;
    ADD(rib_encap_id_key, 15, key_value_15);
    ADD(rib_encap_id_key, 16, key_value_16);
    ADD(rib_encap_id_key, 17, key_value_17);
    ADD(rib_encap_id_key, 18, key_value_18);
    ADD(rib_encap_id_key, 19, key_value_19);
    return all;
}

fields present_fields(const zidl_rib_path_l2_info &msg)
{
    fields all;
    ADD(rib_path_l2_info, 1, l2_value_1);
    ADD(rib_path_l2_info, 5, l2_value_5);
    ADD(rib_path_l2_info, 6, l2_value_6);
    ADD(rib_path_l2_info, 7, l2_value_7);
    ADD(rib_path_l2_info, 8, l2_value_8);
    return all;
}

fields present_fields(const zidl_rib_path_ip_tunnel_info &msg)
{
    fields all;
    ADD(rib_path_ip_tunnel_info, 6, tunnel_value_6);
    ADD(rib_path_ip_tunnel_info, 7, tunnel_value_7);
    ADD(rib_path_ip_tunnel_info, 8, tunnel_value_8);
    ADD(rib_path_ip_tunnel_info, 9, tunnel_value_9);
    ADD(rib_path_ip_tunnel_info, 10, tunnel_value_10);
    return all;
}

// The input with an unknown field of `size` bytes behind it: how much follows decides how a field is read.
bytes followed(bytes input, uint8_t size)
{
    input.insert(input.end(), {0xFA, 0x7F, size}); // 2047, unknown: that many bytes
    input.insert(input.end(), size, 0xFF);
    return input;
}

constexpr uint8_t sizes_behind[] = {0, 1, 4, 7, 8, 15, 16, 23, 24, 40};

// Decodes into a record full of rubbish, in a block that ends with the input.
template <class Codec>
int32_t decode_exactly(typename Codec::record &msg, const bytes &input)
{
    const bytes exact(input);
    msg = rubbish<Codec>();
    return decode_without_memory<Codec>(msg, exact);
}

// Status and fields, the same whatever follows.
template <class Codec>
void expect_decoded(const bytes &input, int32_t status, const fields &expected)
{
    typename Codec::record msg;
    EXPECT_EQ(decode_exactly<Codec>(msg, input), status);
    EXPECT_EQ(present_fields(msg), expected);
    for (uint8_t size = 0; size <= 40; size++) {
        EXPECT_EQ(decode_exactly<Codec>(msg, followed(input, size)), status) << int{size} << " bytes behind";
        EXPECT_EQ(present_fields(msg), expected) << int{size} << " bytes behind";
    }
}

// `head`, `count` times the byte 0x80, `tail`: pads a varint without changing it.
bytes padded(bytes head, size_t count, const bytes &tail)
{
    head.insert(head.end(), count, 0x80);
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

// Values

TEST(decoded_run, values_of_every_length_are_read_exactly)
{
    const bytes input = {
        0x10, 0x7F,                         // 2 route_value_2 = 127
        0x18, 0x80, 0x01,                   // 3 route_value_3 = 128
        0x20, 0xFF, 0x7F,                   // 4 route_value_4 = 16383
        0x28, 0x80, 0x80, 0x01,             // 5 route_value_5 = 16384
        0x30, 0xFF, 0xFF, 0x7F,             // 6 route_value_6 = 2097151
        0x38, 0x80, 0x80, 0x80, 0x01,       // 7 route_value_7 = 2097152
        0x40, 0xFF, 0xFF, 0xFF, 0x7F,       // 8 route_value_8 = 268435455
        0x48, 0x80, 0x80, 0x80, 0x80, 0x01, // 9 route_value_9 = 268435456
        0x50, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 10 route_value_10 = 4294967295
        0x58, 0x00,                         // 11 route_value_11 = 0
        0x60, 0x01,                         // 12 route_value_12 = 1
        0x68, 0x02,                         // 13 route_value_13 = 2
        0x70, 0x03,                         // 14 route_value_14 = 3
        0x78, 0x04,                         // 15 route_value_15 = 4
    };
    const fields expected = {{2, 127},     {3, 128},       {4, 16383},     {5, 16384},       {6, 2097151},
                             {7, 2097152}, {8, 268435455}, {9, 268435456}, {10, 4294967295}, {11, 0},
                             {12, 1},      {13, 2},        {14, 3},        {15, 4}};
    expect_decoded<rib_route>(input, ZIDL_OK, expected);
}

TEST(decoded_run, values_of_every_length_are_read_exactly_behind_two_byte_tags)
{
    const bytes input = {
        0x90, 0x01, 0x7F,                         // 18 route_value_18 = 127
        0x98, 0x01, 0x80, 0x01,                   // 19 route_value_19 = 128
        0xA0, 0x01, 0xFF, 0xFF, 0x7F,             // 20 route_value_20 = 2097151
        0xA8, 0x01, 0x80, 0x80, 0x80, 0x01,       // 21 route_value_21 = 2097152
        0xB0, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 22 route_value_22 = 4294967295
        0xB8, 0x01, 0x00,                         // 23 route_value_23 = 0
    };
    expect_decoded<rib_route>(input, ZIDL_OK,
                              {{18, 127}, {19, 128}, {20, 2097151}, {21, 2097152}, {22, 4294967295}, {23, 0}});
}

TEST(decoded_run, bits_above_the_32nd_are_dropped)
{
    const bytes input = {
        0x50, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, // 10 path_value_10: 35 bits set
        0x58, 0x80, 0x80, 0x80, 0x80, 0x70, // 11 path_value_11: bits 32 to 34
        0x60, 0x81, 0x80, 0x80, 0x80, 0x11, // 12 path_value_12: bits 0, 28 and 32
        0x68, 0x05,                         // 13 path_value_13 = 5
    };
    expect_decoded<rib_path>(input, ZIDL_OK, {{10, 0xFFFFFFFF}, {11, 0}, {12, 0x10000001}, {13, 5}});
}

TEST(decoded_run, value_may_be_padded_to_any_length)
{
    for (size_t padding = 0; padding <= 40; padding++) {
        SCOPED_TRACE(padding);
        bytes input = padded({0x10, 0x85}, padding, {0x00}); // 2 route_value_2 = 5
        input.insert(input.end(), {0x18, 0x06});             // 3 route_value_3 = 6
        input.insert(input.end(), {0x20, 0x07});             // 4 route_value_4 = 7
        expect_decoded<rib_route>(input, ZIDL_OK, {{2, 5}, {3, 6}, {4, 7}});
    }
}

TEST(decoded_run, value_in_the_middle_may_be_padded_to_any_length_behind_a_two_byte_tag)
{
    for (size_t padding = 0; padding <= 40; padding++) {
        SCOPED_TRACE(padding);
        bytes input = padded({0x80, 0x01, 0x04,  // 16 key_value_16 = 4
                              0x88, 0x01, 0x85}, // 17 key_value_17 = 5
                             padding, {0x00});
        input.insert(input.end(), {0x90, 0x01, 0x06}); // 18 key_value_18 = 6
        expect_decoded<rib_encap_id_key>(input, ZIDL_OK, {{16, 4}, {17, 5}, {18, 6}});
    }
}

TEST(decoded_run, bytes_of_a_value_behind_the_fifth_are_skipped_whatever_they_hold)
{
    for (size_t further = 0; further <= 40; further++) {
        SCOPED_TRACE(further);
        bytes input = {0x10, 0x85, 0xFF, 0xFF, 0xFF, 0xFF}; // 2 route_value_2: bits 0, 2, 7 to 34
        input.insert(input.end(), further, 0xFF);           //   and further bits
        input.insert(input.end(), {0x7F, 0x18, 0x06});      //   and seven more; 3 route_value_3 = 6
        expect_decoded<rib_route>(input, ZIDL_OK, {{2, 0xFFFFFF85}, {3, 6}});
    }
}

TEST(decoded_run, fields_are_read_exactly_wherever_they_lie_behind_the_first)
{
    const bytes behind = {
        0x98, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 19 route_value_19 = 4294967295
        0xA0, 0x01, 0x80, 0x80, 0x01,             // 20 route_value_20 = 16384
        0xA8, 0x01, 0x01,                         // 21 route_value_21 = 1
        0xB0, 0x01, 0x80, 0x80, 0x80, 0x80, 0x01, // 22 route_value_22 = 268435456
        0x10, 0x90, 0x01,                         // 2 route_value_2 = 144
        0x18, 0x80, 0x80, 0x80, 0x80, 0x01,       // 3 route_value_3 = 268435456
        0x20, 0x01,                               // 4 route_value_4 = 1
        0x28, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,       // 5 route_value_5 = 4294967295
    };
    const fields expected = {{2, 144},         {3, 268435456}, {4, 1},  {5, 4294967295}, {18, 5},
                             {19, 4294967295}, {20, 16384},    {21, 1}, {22, 268435456}};
    for (size_t padding = 0; padding <= 20; padding++) {
        SCOPED_TRACE(padding);
        const bytes first = {0x90, 0x01, 0x85}; // 18 route_value_18 = 5
        bytes input = padded(first, padding, {0x00});
        input.insert(input.end(), behind.begin(), behind.end());
        expect_decoded<rib_route>(input, ZIDL_OK, expected);
    }
}

TEST(decoded_run, values_may_look_like_tags)
{
    const bytes input = {
        0x10, 0x98, 0x01,       // 2 route_value_2 = 152, the bytes of tag 19
        0x18, 0x18,             // 3 route_value_3 = 24, the byte of tag 3
        0x90, 0x01, 0x90, 0x01, // 18 route_value_18 = 144, the bytes of tag 18
        0x98, 0x01, 0x10,       // 19 route_value_19 = 16, the byte of tag 2
        0x20, 0x90, 0x01,       // 4 route_value_4 = 144
        0x28, 0x01,             // 5 route_value_5 = 1
    };
    expect_decoded<rib_route>(input, ZIDL_OK, {{2, 152}, {3, 24}, {4, 144}, {5, 1}, {18, 144}, {19, 16}});
}

// Tags

TEST(decoded_run, tag_may_be_padded_to_any_length)
{
    for (size_t padding = 0; padding <= 40; padding++) {
        SCOPED_TRACE(padding);
        bytes input = padded({0x10, 0x05,            // 2 route_value_2 = 5
                              0x98},                 // 3 route_value_3
                             padding, {0x00, 0x06}); //   = 6
        input.insert(input.end(), {0x20, 0x07});     // 4 route_value_4 = 7
        expect_decoded<rib_route>(input, ZIDL_OK, {{2, 5}, {3, 6}, {4, 7}});
    }
}

TEST(decoded_run, two_byte_tag_may_be_padded_to_any_length)
{
    for (size_t padding = 0; padding <= 40; padding++) {
        SCOPED_TRACE(padding);
        bytes input = padded({0x90, 0x01, 0x05,        // 18 route_value_18 = 5
                              0x98, 0x81},             // 19 route_value_19
                             padding, {0x00, 0x06});   //   = 6
        input.insert(input.end(), {0xA0, 0x01, 0x07}); // 20 route_value_20 = 7
        expect_decoded<rib_route>(input, ZIDL_OK, {{18, 5}, {19, 6}, {20, 7}});
    }
}

TEST(decoded_run, tag_bits_above_the_32nd_are_dropped)
{
    const bytes input = {
        0x10, 0x05,                         // 2 route_value_2 = 5
        0x98, 0x80, 0x80, 0x80, 0x70, 0x06, // 3, and bits 32 to 34: route_value_3 = 6
        0x98, 0x81, 0x80, 0x80, 0x70, 0x07, // 19, and bits 32 to 34: route_value_19 = 7
        0xA0, 0x01, 0x08,                   // 20 route_value_20 = 8
    };
    expect_decoded<rib_route>(input, ZIDL_OK, {{2, 5}, {3, 6}, {19, 7}, {20, 8}});
}

TEST(decoded_run, tag_that_goes_on_behind_the_bytes_of_a_known_one_is_another)
{
    const bytes input = {
        0x90, 0x01, 0x05,       // 18 route_value_18 = 5
        0x98, 0x81, 0x01, 0x06, // 2067, unknown = 6
        0xA0, 0x01, 0x07,       // 20 route_value_20 = 7
    };
    expect_decoded<rib_route>(input, ZIDL_OK, {{18, 5}, {20, 7}});
}

TEST(decoded_run, tags_that_differ_in_the_second_byte_alone_are_others)
{
    const bytes input = {
        0x90, 0x01, 0x05, // 18 route_value_18 = 5
        0x90, 0x02, 0x06, // 34 route_value_34 = 6
        0x98, 0x01, 0x07, // 19 route_value_19 = 7
        0x98, 0x02, 0x08, // 35 route_value_35 = 8
        0xA8, 0x02, 0x09, // 37 route_value_37 = 9
        0xB0, 0x02, 0x0A, // 38 route_value_38 = 10
        0xB0, 0x03, 0x0B, // 54, unknown = 11
        0xB0, 0x01, 0x0C, // 22 route_value_22 = 12
    };
    expect_decoded<rib_route>(input, ZIDL_OK, {{18, 5}, {19, 7}, {22, 12}, {34, 6}, {35, 8}, {37, 9}, {38, 10}});
}

TEST(decoded_run, fields_16_and_32_do_not_change_places)
{
    const bytes input = {
        0x80, 0x01, 0x05, // 16 key_value_16 = 5
        0x80, 0x02, 0x06, // 32, unknown = 6
        0x88, 0x01, 0x07, // 17 key_value_17 = 7
        0x88, 0x03, 0x08, // 49, unknown = 8
        0x98, 0x01, 0x09, // 19 key_value_19 = 9
        0x78, 0x0A,       // 15 key_value_15 = 10
    };
    expect_decoded<rib_encap_id_key>(input, ZIDL_OK, {{15, 10}, {16, 5}, {17, 7}, {19, 9}});
}

TEST(decoded_run, fields_31_and_32_do_not_change_places)
{
    const bytes input = {
        0xF8, 0x01, 0x05, // 31 path_value_31 = 5
        0x50, 0x06,       // 10 path_value_10 = 6
        0x82, 0x02, 0x00, // 32 via_srv6_sid, empty
        0x58, 0x07,       // 11 path_value_11 = 7
        0x80, 0x02,       // 32 via_srv6_sid as a varint
    };
    expect_decoded<rib_path>(input, ZIDL_ERR_FIELD_TYPE, {{10, 6}, {11, 7}, {31, 5}});
}

TEST(decoded_run, numbers_on_either_side_of_the_run_are_other_fields)
{
    const bytes behind = {
        0x78, 0x05,       // 15 route_value_15 = 5
        0x80, 0x01, 0x06, // 16 route_value_16 = 6
        0xB8, 0x01, 0x07, // 23 route_value_23 = 7
        0xC0, 0x01, 0x08, // 24 route_flags = 8
        0xC8, 0x01, 0x09, // 25 route_value_25 = 9
    };
    const bytes first_as_a_varint = {
        0x10, 0x05, // 2 route_value_2 = 5
        0x08, 0x06, // 1 route_prefix as a varint
    };
    const bytes labels_as_a_varint = {
        0x90, 0x01, 0x05, // 18 route_value_18 = 5
        0x88, 0x01, 0x06, // 17 algo_labels as a varint
    };
    expect_decoded<rib_route>(behind, ZIDL_OK, {{15, 5}, {16, 6}, {23, 7}, {24, 8}, {25, 9}});
    expect_decoded<rib_route>(first_as_a_varint, ZIDL_ERR_FIELD_TYPE, {{2, 5}});
    expect_decoded<rib_route>(labels_as_a_varint, ZIDL_ERR_FIELD_TYPE, {{18, 5}});
}

TEST(decoded_run, other_wire_types_are_refused_and_the_fields_before_stay)
{
    for (uint8_t type = 1; type <= 7; type++) {
        SCOPED_TRACE(int{type});
        const bytes input = {
            0x10,
            0x05, // 2 route_value_2 = 5
            0x18,
            0x80,
            0x01,                              // 3 route_value_3 = 128
            static_cast<uint8_t>(0x20 | type), // 4 with another wire type
            0x04,
            0x28,
            0x07,
            0x30,
            0x08,
            0x38,
            0x09,
            0x40,
            0x0A,
        };
        expect_decoded<rib_route>(input, ZIDL_ERR_FIELD_TYPE, {{2, 5}, {3, 128}});
    }
}

TEST(decoded_run, other_wire_types_behind_two_byte_tags_are_refused_and_the_fields_before_stay)
{
    for (uint8_t type = 1; type <= 7; type++) {
        SCOPED_TRACE(int{type});
        const bytes input = {
            0x80,
            0x01,
            0x05, // 16 key_value_16 = 5
            static_cast<uint8_t>(0x88 | type),
            0x01, // 17 with another wire type
            0x04,
            0x90,
            0x01,
            0x07,
            0x98,
            0x01,
            0x08,
            0x00,
            0x00,
        };
        expect_decoded<rib_encap_id_key>(input, ZIDL_ERR_FIELD_TYPE, {{16, 5}});
    }
}

// Order

TEST(decoded_run, fields_may_come_in_any_order_and_the_last_occurrence_wins)
{
    const bytes input = {
        0x78, 0x01,       // 15 route_value_15 = 1
        0x10, 0x80, 0x01, // 2 route_value_2 = 128
        0x78, 0x03,       // 15 route_value_15 = 3
        0x40, 0x04,       // 8 route_value_8 = 4
        0x10, 0x05,       // 2 route_value_2 = 5
        0x10, 0x00,       // 2 route_value_2 = 0
        0x70, 0x06,       // 14 route_value_14 = 6
    };
    expect_decoded<rib_route>(input, ZIDL_OK, {{2, 0}, {8, 4}, {14, 6}, {15, 3}});
}

TEST(decoded_run, fields_with_two_byte_tags_may_come_in_any_order_and_the_last_occurrence_wins)
{
    const bytes input = {
        0x98, 0x01, 0x01,       // 19 key_value_19 = 1
        0x80, 0x01, 0x80, 0x01, // 16 key_value_16 = 128
        0x98, 0x01, 0x02,       // 19 key_value_19 = 2
        0x90, 0x01, 0x03,       // 18 key_value_18 = 3
        0x80, 0x01, 0x04,       // 16 key_value_16 = 4
    };
    expect_decoded<rib_encap_id_key>(input, ZIDL_OK, {{16, 4}, {18, 3}, {19, 2}});
}

TEST(decoded_run, two_runs_may_take_turns)
{
    const bytes input = {
        0x10, 0x01,       // 2 route_value_2 = 1
        0x90, 0x01, 0x02, // 18 route_value_18 = 2
        0x18, 0x03,       // 3 route_value_3 = 3
        0x98, 0x01, 0x04, // 19 route_value_19 = 4
        0x10, 0x05,       // 2 route_value_2 = 5
        0xB8, 0x01, 0x06, // 23 route_value_23 = 6
    };
    expect_decoded<rib_route>(input, ZIDL_OK, {{2, 5}, {3, 3}, {18, 2}, {19, 4}, {23, 6}});
}

TEST(decoded_run, unknown_fields_may_stand_between)
{
    const bytes input = {
        0x50, 0x05,                                           // 10 path_value_10 = 5
        0x78, 0x58,                                           // 15, unknown = 88, the byte of tag 11
        0x58, 0x06,                                           // 11 path_value_11 = 6
        0x00, 0x58,                                           // 0, unknown = 88
        0x60, 0x07,                                           // 12 path_value_12 = 7
        0x7A, 0x02, 0x58, 0x09,                               // 15, unknown: 2 bytes like a field 11
        0x68, 0x08,                                           // 13 path_value_13 = 8
        0x7D, 0x58, 0x09, 0x58, 0x09,                         // 15, unknown: 32 bits
        0x79, 0x58, 0x09, 0x58, 0x09, 0x58, 0x09, 0x58, 0x09, // 15, unknown: 64 bits
        0x70, 0x09,                                           // 14 path_value_14 = 9
    };
    expect_decoded<rib_path>(input, ZIDL_OK, {{10, 5}, {11, 6}, {12, 7}, {13, 8}, {14, 9}});
}

TEST(decoded_run, unknown_wire_type_behind_a_field_is_refused_and_the_field_stays)
{
    constexpr uint8_t unknown_types[] = {3, 4, 6, 7}; // 3 and 4 mark groups
    for (const uint8_t type : unknown_types) {
        SCOPED_TRACE(int{type});
        const bytes input = {
            0x50,
            0x05,                              // 10 path_value_10 = 5
            static_cast<uint8_t>(0x78 | type), // 15, unknown
            0x58,
            0x06,
        };
        expect_decoded<rib_path>(input, ZIDL_ERR_WIRE_TYPE, {{10, 5}});
    }
}

TEST(decoded_run, bits_above_the_last_field_are_kept)
{
    zidl_rib_nnh msg;
    const bytes input = {
        0x08, 0x01, // 1 nnh_value_1 = 1
        0x20, 0x02, // 4 nnh_value_4 = 2
    };
    EXPECT_EQ(decode_exactly<rib_nnh>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0xA9); // 0xA0 was there before
    EXPECT_EQ(decode_exactly<rib_nnh>(msg, followed(input, 40)), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0xA9);
}

// 64-bit values between runs

TEST(decoded_run, value_of_64_bits_between_runs_may_be_of_any_length)
{
    const std::map<uint64_t, bytes> values = {
        {0x7F, {0x7F}},
        {0x80, {0x80, 0x01}},
        {0xFFFFFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0x0F}},
        {0x100000000, {0x80, 0x80, 0x80, 0x80, 0x10}},
        {0xFFFFFFFFFFFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}},
        {0x100000000000000, {0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}},
        {0x7FFFFFFFFFFFFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}},
        {0x8000000000000000, {0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}},
        {0xFFFFFFFFFFFFFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}}, // bit 63 alone counts
        {0x8000000000000001, {0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x81, 0xFF, 0x7F}},
    };
    for (const auto &[value, encoded] : values) {
        SCOPED_TRACE(value);
        bytes input = {0xB8, 0x01, 0x05, // 23 route_value_23 = 5
                       0xC0, 0x01};      // 24 route_flags
        input.insert(input.end(), encoded.begin(), encoded.end());
        input.insert(input.end(), {0xC8, 0x01, 0x06}); // 25 route_value_25 = 6
        input.insert(input.end(), {0x10, 0x07});       // 2 route_value_2 = 7
        input.insert(input.end(), {0xC0, 0x02});       // 40 route_value_40
        input.insert(input.end(), encoded.begin(), encoded.end());
        expect_decoded<rib_route>(input, ZIDL_OK, {{2, 7}, {23, 5}, {24, value}, {25, 6}, {40, value}});
    }
}

TEST(decoded_run, value_of_64_bits_behind_a_run_is_malformed_wherever_it_is_cut)
{
    const bytes whole = {
        0x30, 0x05,                                                       // 6 tunnel_value_6 = 5
        0x48, 0x80, 0x01,                                                 // 9 tunnel_value_9 = 128
        0x50, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 10 tunnel_value_10 = 2^64 - 1
    };
    for (size_t len = 6; len < whole.size(); len++) {
        zidl_rib_path_ip_tunnel_info msg;
        const bytes input(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(len));
        EXPECT_EQ(decode_exactly<rib_path_ip_tunnel_info>(msg, input), ZIDL_ERR_MALFORMED) << len;
        EXPECT_EQ(present_fields(msg), (fields{{6, 5}, {9, 128}})) << len;
    }
    expect_decoded<rib_path_ip_tunnel_info>(whole, ZIDL_OK, {{6, 5}, {9, 128}, {10, UINT64_MAX}});
}

// Ends

// One field after another, to be cut anywhere.
struct field_bytes {
    uint32_t number;
    uint64_t value;
    bytes encoded;
};

bytes joined(const std::vector<field_bytes> &parts)
{
    bytes all;
    for (const field_bytes &part : parts)
        all.insert(all.end(), part.encoded.begin(), part.encoded.end());
    return all;
}

// What the first `len` bytes hold of them.
struct prefix {
    bool whole_fields = false;
    fields present;
};

prefix first_bytes(const std::vector<field_bytes> &parts, size_t len)
{
    prefix result;
    size_t end = 0;
    for (const field_bytes &part : parts) {
        result.whole_fields = result.whole_fields || end == len;
        end += part.encoded.size();
        if (end <= len)
            result.present[part.number] = part.value;
    }
    result.whole_fields = result.whole_fields || end == len;
    return result;
}

TEST(decoded_run, input_cut_anywhere_gives_the_fields_that_are_whole)
{
    const std::vector<field_bytes> parts = {
        {2, 5, {0x10, 0x05}},
        {3, 128, {0x18, 0x80, 0x01}},
        {4, 65535, {0x20, 0xFF, 0xFF, 0x03}},
        {5, 0, {0x28, 0x00}},
        {18, 6, {0x90, 0x01, 0x06}},
        {19, 4026531840, {0x98, 0x01, 0x80, 0x80, 0x80, 0x80, 0x0F}},
        {20, 128, {0xA0, 0x01, 0x80, 0x01}},
        {24, 1, {0xC0, 0x01, 0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}},
        {15, 1000, {0x78, 0xE8, 0x07}},
        {14, 7, {0x70, 0x87, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}},
        {22, 4294967295, {0xB0, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}},
        {23, 8, {0xB8, 0x81, 0x00, 0x08}},
        {6, 9, {0x30, 0x09}},
    };
    const bytes whole = joined(parts);
    ASSERT_EQ(whole.size(), 61u);
    for (size_t len = 0; len <= whole.size(); len++) {
        const prefix expected = first_bytes(parts, len);
        const bytes input(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(len));
        zidl_rib_route msg;
        EXPECT_EQ(decode_exactly<rib_route>(msg, input), expected.whole_fields ? ZIDL_OK : ZIDL_ERR_MALFORMED) << len;
        EXPECT_EQ(present_fields(msg), expected.present) << len;
    }
}

TEST(decoded_run, embedded_message_cut_anywhere_gives_the_fields_that_are_whole_though_the_buffer_goes_on)
{
    const std::vector<field_bytes> parts = {
        {5, 5, {0x28, 0x05}},
        {6, 128, {0x30, 0x80, 0x01}},
        {7, 7, {0x38, 0x87, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}},
        {8, 4294967295, {0x40, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}},
        {1, 16384, {0x08, 0x80, 0x80, 0x01}},
    };
    const bytes whole = joined(parts);
    for (size_t len = 0; len <= whole.size(); len++) {
        const prefix expected = first_bytes(parts, len);
        bytes input = {0x50, 0x09,                             // 10 path_value_10 = 9
                       0xF2, 0x01, static_cast<uint8_t>(len)}; // 30 l2_info
        input.insert(input.end(), whole.begin(), whole.begin() + static_cast<ptrdiff_t>(len));
        if (!expected.whole_fields) // the rest of the value is there, but behind the message
            input.insert(input.end(), whole.begin() + static_cast<ptrdiff_t>(len), whole.end());
        for (const uint8_t behind : sizes_behind) {
            zidl_rib_path msg;
            EXPECT_EQ(decode_exactly<rib_path>(msg, followed(input, behind)),
                      expected.whole_fields ? ZIDL_OK : ZIDL_ERR_MALFORMED)
                << len << " bytes, " << int{behind} << " behind";
            EXPECT_EQ(present_fields(msg.l2_info), expected.present) << len << " bytes, " << int{behind} << " behind";
            EXPECT_EQ(present_fields(msg), (fields{{10, 9}}));
        }
    }
}

TEST(decoded_run, element_cut_anywhere_within_two_byte_tags_gives_the_fields_that_are_whole)
{
    const std::vector<field_bytes> parts = {
        {15, 3, {0x78, 0x03}},
        {16, 5, {0x80, 0x01, 0x05}},
        {17, 128, {0x88, 0x01, 0x80, 0x01}},
        {18, 65535, {0x90, 0x01, 0xFF, 0xFF, 0x03}},
        {19, 268435456, {0x98, 0x01, 0x80, 0x80, 0x80, 0x80, 0x01}},
        {16, 6, {0x80, 0x81, 0x00, 0x06}},
    };
    const bytes whole = joined(parts);
    for (size_t len = 0; len <= whole.size(); len++) {
        const prefix expected = first_bytes(parts, len);
        bytes input = {0x12, static_cast<uint8_t>(len)}; // 2 keys[0]
        input.insert(input.end(), whole.begin(), whole.begin() + static_cast<ptrdiff_t>(len));
        if (!expected.whole_fields)
            input.insert(input.end(), whole.begin() + static_cast<ptrdiff_t>(len), whole.end());
        for (const uint8_t behind : sizes_behind) {
            memory mem;
            zidl_rib_grid_sync_list msg = {};
            const bytes exact(followed(input, behind));
            const int32_t status = decode<rib_grid_sync_list>(msg, exact, mem);
            if (expected.whole_fields)
                EXPECT_EQ(status, ZIDL_OK) << len;
            else
                EXPECT_EQ(status, ZIDL_ERR_MALFORMED) << len;
            // Counting the elements may fail on the rest behind the message: there is no element then.
            if (msg.keys != nullptr)
                EXPECT_EQ(present_fields(msg.keys[0]), expected.present) << len;
            else
                EXPECT_FALSE(expected.whole_fields) << len;
        }
    }
}

TEST(decoded_run, fields_behind_an_embedded_message_belong_to_the_enclosing_one)
{
    const bytes input = {
        0x8A, 0x01, 0x02, // 17 algo_labels[0], 2 bytes
        0x08, 0x05,       //   1 algo_label_value_1 = 5
        0x10, 0x06,       // 2 route_value_2 = 6: in a label it would be the next field
        0x18, 0x07,       // 3 route_value_3 = 7
        0x20, 0x08,       // 4 route_value_4 = 8
    };
    for (const uint8_t behind : sizes_behind) {
        memory mem;
        zidl_rib_route msg = {};
        const bytes exact(followed(input, behind));
        EXPECT_EQ(decode<rib_route>(msg, exact, mem), ZIDL_OK);
        EXPECT_EQ(present_fields(msg), (fields{{2, 6}, {3, 7}, {4, 8}}));
        ASSERT_EQ(msg.algo_labels_count, 1u);
        EXPECT_EQ(msg.algo_labels[0].algo_label_value_1, 5u);
        EXPECT_EQ(msg.algo_labels[0].presence, 0x01);
    }
}

TEST(decoded_run, value_is_not_completed_by_bytes_behind_its_embedded_message)
{
    const bytes input = {
        0x8A, 0x01, 0x04, // 17 algo_labels[0], 4 bytes
        0x08, 0x05,       //   1 algo_label_value_1 = 5
        0x10, 0x86,       //   2 algo_label_value_2, not ended
        0x10, 0x06,       // 2 route_value_2 = 6
        0x18, 0x07,       // 3 route_value_3 = 7
    };
    for (const uint8_t behind : sizes_behind) {
        memory mem;
        zidl_rib_route msg = {};
        const bytes exact(followed(input, behind));
        EXPECT_EQ(decode<rib_route>(msg, exact, mem), ZIDL_ERR_MALFORMED);
        EXPECT_EQ(present_fields(msg), fields{});
        ASSERT_EQ(msg.algo_labels_count, 1u);
        EXPECT_EQ(msg.algo_labels[0].algo_label_value_1, 5u);
        EXPECT_EQ(msg.algo_labels[0].algo_label_value_2, 0u);
        EXPECT_EQ(msg.algo_labels[0].presence, 0x01);
    }
}

// Encoding

constexpr uint8_t untouched = listing::untouched_byte;

// Encodes into the first `buflen` bytes of a larger block and into a block of exactly that size.
template <class Codec>
void expect_encoded(const typename Codec::record &msg, const bytes &whole, size_t buflen)
{
    bytes expected(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(std::min(buflen, whole.size())));
    expected.resize(std::max(buflen, whole.size()) + 32, untouched);
    bytes block(expected.size(), untouched);
    EXPECT_EQ(call_encode<Codec>(msg, block.data(), buflen, nullptr, nullptr, 0), whole.size()) << buflen;
    EXPECT_EQ(block, expected) << buflen;

    bytes exact(buflen, untouched);
    expected.resize(buflen);
    EXPECT_EQ(call_encode<Codec>(msg, exact.data(), buflen, nullptr, nullptr, 0), whole.size()) << buflen;
    EXPECT_EQ(exact, expected) << buflen;
}

template <class Codec>
void expect_encoded_into_any_buffer(const typename Codec::record &msg, const bytes &whole)
{
    for (size_t buflen = 0; buflen <= whole.size() + 12; buflen++)
        expect_encoded<Codec>(msg, whole, buflen);
}

struct encoded_value {
    uint32_t value;
    bytes encoded;
};

const encoded_value one_of_each_length[] = {
    {0, {0x00}},
    {300, {0xAC, 0x02}},
    {16384, {0x80, 0x80, 0x01}},
    {268435455, {0xFF, 0xFF, 0xFF, 0x7F}},
    {4294967295, {0xFF, 0xFF, 0xFF, 0xFF, 0x0F}},
};

void append(bytes &all, const bytes &more)
{
    all.insert(all.end(), more.begin(), more.end());
}

TEST(encoded_run, whole_run_of_zeros_has_two_bytes_a_field)
{
    zidl_ip_rib_srv6_lib_ranges msg = {};
    msg.presence = 0xFF; // value_1 to value_8
    const bytes whole = {
        0x08, 0x00, // 1 value_1 = 0
        0x10, 0x00, // 2 value_2 = 0
        0x18, 0x00, // 3 value_3 = 0
        0x20, 0x00, // 4 value_4 = 0
        0x28, 0x00, // 5 value_5 = 0
        0x30, 0x00, // 6 value_6 = 0
        0x38, 0x00, // 7 value_7 = 0
        0x40, 0x00, // 8 value_8 = 0
    };
    expect_encoded_into_any_buffer<ip_rib_srv6_lib_ranges>(msg, whole);
}

TEST(encoded_run, whole_run_takes_values_of_all_lengths_in_all_places)
{
    for (const encoded_value &a : one_of_each_length)
        for (const encoded_value &b : one_of_each_length)
            for (const encoded_value &c : one_of_each_length)
                for (const encoded_value &d : one_of_each_length) {
                    const zidl_rib_nnh msg = {a.value, b.value, c.value, d.value, 0x0F};
                    bytes whole = {0x08}; // 1 nnh_value_1
                    append(whole, a.encoded);
                    whole.push_back(0x10); // 2 nnh_value_2
                    append(whole, b.encoded);
                    whole.push_back(0x18); // 3 nnh_value_3
                    append(whole, c.encoded);
                    whole.push_back(0x20); // 4 nnh_value_4
                    append(whole, d.encoded);
                    expect_encoded<rib_nnh>(msg, whole, whole.size());
                    expect_encoded<rib_nnh>(msg, whole, whole.size() - 1);
                    expect_encoded<rib_nnh>(msg, whole, 40);
                }
}

TEST(encoded_run, whole_run_takes_values_of_all_lengths_behind_two_byte_tags)
{
    for (const encoded_value &a : one_of_each_length)
        for (const encoded_value &b : one_of_each_length)
            for (const encoded_value &c : one_of_each_length)
                for (const encoded_value &d : one_of_each_length) {
                    zidl_rib_encap_id_key msg = {};
                    msg.key_value_16 = a.value;
                    msg.key_value_17 = b.value;
                    msg.key_value_18 = c.value;
                    msg.key_value_19 = d.value;
                    msg.presence = 0x78000;     // key_value_16 to key_value_19
                    bytes whole = {0x80, 0x01}; // 16 key_value_16
                    append(whole, a.encoded);
                    append(whole, {0x88, 0x01}); // 17 key_value_17
                    append(whole, b.encoded);
                    append(whole, {0x90, 0x01}); // 18 key_value_18
                    append(whole, c.encoded);
                    append(whole, {0x98, 0x01}); // 19 key_value_19
                    append(whole, d.encoded);
                    expect_encoded<rib_encap_id_key>(msg, whole, whole.size());
                    expect_encoded<rib_encap_id_key>(msg, whole, whole.size() - 1);
                    expect_encoded<rib_encap_id_key>(msg, whole, 40);
                }
}

TEST(encoded_run, any_fields_of_a_run_may_be_absent)
{
    const bytes encoded[] = {
        {0x08, 0xAC, 0x02},                   // 1 nnh_value_1 = 300
        {0x10, 0x00},                         // 2 nnh_value_2 = 0
        {0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}, // 3 nnh_value_3 = 4294967295
        {0x20, 0x80, 0x80, 0x01},             // 4 nnh_value_4 = 16384
    };
    for (uint8_t present = 0; present < 16; present++) {
        SCOPED_TRACE(int{present});
        const zidl_rib_nnh msg = {300, 0, 4294967295, 16384, present};
        bytes whole;
        for (size_t i = 0; i < 4; i++)
            if ((present >> i & 1) != 0)
                append(whole, encoded[i]);
        expect_encoded_into_any_buffer<rib_nnh>(msg, whole);
    }
}

TEST(encoded_run, runs_and_what_stands_between_them_fit_into_any_buffer)
{
    zidl_rib_route msg = {};
    msg.route_value_2 = 5;
    msg.route_value_4 = 4294967295;
    msg.route_value_15 = 128;
    msg.route_value_16 = 16384;
    msg.route_value_18 = 0;
    msg.route_value_19 = 268435455;
    msg.route_value_20 = 300;
    msg.route_value_21 = 4294967295;
    msg.route_value_22 = 1;
    msg.route_value_23 = 127;
    msg.route_flags = UINT64_MAX;
    msg.route_value_25 = 300;
    msg.presence = 0x1FEC00A; // 2, 4, 15, 16, 18 to 25
    const bytes whole = {
        0x10, 0x05,                                                             // 2 route_value_2 = 5
        0x20, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,                                     // 4 route_value_4 = 4294967295
        0x78, 0x80, 0x01,                                                       // 15 route_value_15 = 128
        0x80, 0x01, 0x80, 0x80, 0x01,                                           // 16 route_value_16 = 16384
        0x90, 0x01, 0x00,                                                       // 18 route_value_18 = 0
        0x98, 0x01, 0xFF, 0xFF, 0xFF, 0x7F,                                     // 19 route_value_19 = 268435455
        0xA0, 0x01, 0xAC, 0x02,                                                 // 20 route_value_20 = 300
        0xA8, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,                               // 21 route_value_21 = 4294967295
        0xB0, 0x01, 0x01,                                                       // 22 route_value_22 = 1
        0xB8, 0x01, 0x7F,                                                       // 23 route_value_23 = 127
        0xC0, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 24 route_flags = 2^64 - 1
        0xC8, 0x01, 0xAC, 0x02,                                                 // 25 route_value_25 = 300
    };
    expect_encoded_into_any_buffer<rib_route>(msg, whole);
}

TEST(encoded_run, single_fields_of_a_message_with_runs_take_values_of_all_lengths)
{
    for (const encoded_value &value : one_of_each_length) {
        SCOPED_TRACE(value.value);
        zidl_rib_path msg = {};
        msg.path_value_1 = value.value;
        msg.path_value_8 = value.value;
        msg.path_value_10 = value.value;
        msg.path_value_14 = value.value;
        msg.path_value_16 = value.value;
        msg.path_value_31 = value.value;
        msg.presence = 0x2003141; // 1, 8, 10, 14, 16, 31
        bytes whole = {0x08};     // 1 path_value_1
        append(whole, value.encoded);
        whole.push_back(0x40); // 8 path_value_8
        append(whole, value.encoded);
        whole.push_back(0x50); // 10 path_value_10
        append(whole, value.encoded);
        whole.push_back(0x70); // 14 path_value_14
        append(whole, value.encoded);
        append(whole, {0x80, 0x01}); // 16 path_value_16
        append(whole, value.encoded);
        append(whole, {0xF8, 0x01}); // 31 path_value_31
        append(whole, value.encoded);
        expect_encoded_into_any_buffer<rib_path>(msg, whole);
    }
}

TEST(encoded_run, run_at_the_end_of_a_large_buffer_is_cut_where_the_buffer_ends)
{
    std::vector<zidl_rib_algo_label> labels(400, zidl_rib_algo_label{0, 0, 0, 300, 0x0F});
    zidl_rib_route msg = {};
    msg.algo_labels = labels.data();
    msg.algo_labels_count = 400;
    msg.route_value_19 = 300;
    msg.route_value_21 = 4294967295;
    msg.presence = 0x7F0000; // 17 to 23
    bytes whole;
    for (size_t i = 0; i < labels.size(); i++) {
        append(whole, {0x8A, 0x01, 0x09});                                     // 17 algo_labels[i], 9 bytes
        append(whole, {0x08, 0x00, 0x10, 0x00, 0x18, 0x00, 0x20, 0xAC, 0x02}); //   0, 0, 0, 300
    }
    append(whole, {0x90, 0x01, 0x00});                         // 18 route_value_18 = 0
    append(whole, {0x98, 0x01, 0xAC, 0x02});                   // 19 route_value_19 = 300
    append(whole, {0xA0, 0x01, 0x00});                         // 20 route_value_20 = 0
    append(whole, {0xA8, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}); // 21 route_value_21 = 4294967295
    append(whole, {0xB0, 0x01, 0x00});                         // 22 route_value_22 = 0
    append(whole, {0xB8, 0x01, 0x00});                         // 23 route_value_23 = 0
    ASSERT_EQ(whole.size(), 4823u);
    for (size_t buflen = whole.size() - 80; buflen <= whole.size() + 80; buflen++)
        expect_encoded<rib_route>(msg, whole, buflen);
    for (const size_t buflen : {4094u, 4095u, 4096u, 4097u, 4098u})
        expect_encoded<rib_route>(msg, whole, buflen);
}

// Into buffers that end within the last elements, or little behind them.
template <class Codec>
void expect_encoded_near_the_end(const typename Codec::record &msg, const bytes &whole)
{
    for (size_t buflen = whole.size() - 60; buflen <= whole.size() + 20; buflen++)
        expect_encoded<Codec>(msg, whole, buflen);
    expect_encoded<Codec>(msg, whole, 4096);
}

TEST(encoded_array, values_of_32_bits_are_cut_where_a_buffer_of_any_size_ends)
{
    std::vector<uint32_t> values = {0, 300, 4294967295};
    const bytes last = {
        0x08, 0x00,                         // 1 advertised_values[n - 3] = 0
        0x08, 0xAC, 0x02,                   // 1 advertised_values[n - 2] = 300
        0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 1 advertised_values[n - 1] = 4294967295
    };
    zidl_rib_client_advertisement msg = {};
    msg.advertised_values = values.data();
    msg.advertised_values_count = 3;
    msg.presence = 0x01; // advertised_values
    expect_encoded_into_any_buffer<rib_client_advertisement>(msg, last);

    values.insert(values.begin(), 1500, 16384);
    msg.advertised_values = values.data();
    msg.advertised_values_count = 1503;
    bytes whole;
    for (size_t i = 0; i < 1500; i++)
        append(whole, {0x08, 0x80, 0x80, 0x01}); // 1 advertised_values[i] = 16384
    append(whole, last);
    ASSERT_EQ(whole.size(), 6011u);
    expect_encoded_near_the_end<rib_client_advertisement>(msg, whole);
}

TEST(encoded_array, values_of_64_bits_are_cut_where_a_buffer_of_any_size_ends)
{
    std::vector<uint64_t> values = {2097152, 72057594037927936, UINT64_MAX};
    const bytes last = {
        0x10, 0x80, 0x80, 0x80, 0x01,                                     // 2 ecomm_values[n - 3] = 2097152
        0x10, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01,       // 2 ecomm_values[n - 2] = 2^56
        0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 2 ecomm_values[n - 1] = 2^64 - 1
        0x18, 0x07,                                                       // 3 ecomm_value_3 = 7
    };
    zidl_rib_ecomm_array msg = {};
    msg.ecomm_values = values.data();
    msg.ecomm_count = 3;
    msg.ecomm_value_3 = 7;
    msg.presence = 0x06; // ecomm_values, ecomm_value_3
    expect_encoded_into_any_buffer<rib_ecomm_array>(msg, last);

    values.insert(values.begin(), 2500, 1);
    msg.ecomm_values = values.data();
    msg.ecomm_count = 2503;
    bytes whole;
    for (size_t i = 0; i < 2500; i++)
        append(whole, {0x10, 0x01}); // 2 ecomm_values[i] = 1
    append(whole, last);
    ASSERT_EQ(whole.size(), 5028u);
    expect_encoded_near_the_end<rib_ecomm_array>(msg, whole);
}

TEST(encoded_array, small_messages_of_an_embedded_message_are_cut_where_a_large_buffer_ends)
{
    std::vector<zidl_rib_nnh> entries(800, zidl_rib_nnh{300, 0, 0, 0, 0x01}); // nnh_value_1
    entries.push_back(zidl_rib_nnh{0, 0, 0, 0, 0x00});
    entries.push_back(zidl_rib_nnh{0, 300, 1, 4294967295, 0x0F}); // nnh_value_1 to nnh_value_4
    zidl_rib_path path = {};
    path.nnh_entries = entries.data();
    path.nnh_entries_count = 802;
    path.presence = 0x20000; // nnh_entries
    zidl_rib_route msg = {};
    msg.paths = &path;
    msg.paths_count = 1;
    zidl_rib_route_mark_paths(&msg);
    bytes whole = {0xD2, 0x01, 0xD3, 0x25}; // 26 paths[0], 4819 bytes
    for (size_t i = 0; i < 800; i++) {
        append(whole, {0xAA, 0x01, 0x03}); //   21 nnh_entries[i], 3 bytes
        append(whole, {0x08, 0xAC, 0x02}); //     1 nnh_value_1 = 300
    }
    append(whole, {0xAA, 0x01, 0x00});                         //   21 nnh_entries[800], empty
    append(whole, {0xAA, 0x01, 0x0D});                         //   21 nnh_entries[801], 13 bytes
    append(whole, {0x08, 0x00, 0x10, 0xAC, 0x02, 0x18, 0x01}); //     0, 300, 1
    append(whole, {0x20, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F});       //     4294967295
    expect_encoded_near_the_end<rib_route>(msg, whole);
}

} // namespace
