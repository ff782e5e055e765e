// Small messages are expected in the schema's order, each field at most once. Whatever comes otherwise must come to the same
// members, bits, statuses and requests of memory as if nothing had been expected. And messages that take little are written
// without looking at the end of the buffer: only where they fit, and not a byte too far.

#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/codec/support.hpp"

#include <algorithm>
#include <numeric>
#include <string>

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_srv6_glb_encap_info);
RIB_TEST_CODEC(ip_rib_srv6_locator);
RIB_TEST_CODEC(ip_rib_srv6_mode_info);
RIB_TEST_CODEC(ip_rib_srv6_prefix);
RIB_TEST_CODEC(ip_rib_srv6_sid_ctx);
RIB_TEST_CODEC(ip_rib_srv6_sid_info);
RIB_TEST_CODEC(ip_rib_srv6_x_ctx);
RIB_TEST_CODEC(rib_address);
RIB_TEST_CODEC(rib_encap_id_path_key_srv6_carrier_info);
RIB_TEST_CODEC(rib_generic_attr_info);
RIB_TEST_CODEC(rib_ipv6_address);
RIB_TEST_CODEC(rib_msg_prefix);
RIB_TEST_CODEC(rib_nhid_update);
RIB_TEST_CODEC(rib_path);
RIB_TEST_CODEC(rib_path_iid_attr);
RIB_TEST_CODEC(rib_path_via_srv6_sid);
RIB_TEST_CODEC(rib_prefix);
RIB_TEST_CODEC(rib_srv6_oper_type);

bytes joined(const std::vector<bytes> &pieces)
{
    bytes all;
    for (const bytes &piece : pieces)
        all.insert(all.end(), piece.begin(), piece.end());
    return all;
}

std::vector<bytes> in_every_order(const std::vector<bytes> &pieces)
{
    std::vector<size_t> places(pieces.size());
    std::iota(places.begin(), places.end(), size_t{0});
    std::vector<bytes> inputs;
    do {
        bytes input;
        for (const size_t place : places)
            input.insert(input.end(), pieces[place].begin(), pieces[place].end());
        inputs.push_back(input);
    } while (std::next_permutation(places.begin(), places.end()));
    return inputs;
}

// What lies behind a field decides how it is read: here an unknown field of more bytes than any look ahead takes.
bytes far_from_the_end(bytes input)
{
    input.insert(input.end(), {0x7A, 0x18}); // 15, 24 bytes
    input.insert(input.end(), 24, 0xFF);
    return input;
}

// In front of the first piece, between any two of them, and behind the last.
std::vector<bytes> with_it_somewhere(const std::vector<bytes> &pieces, const bytes &it)
{
    std::vector<bytes> inputs;
    for (size_t place = 0; place <= pieces.size(); place++) {
        std::vector<bytes> more = pieces;
        more.insert(more.begin() + static_cast<ptrdiff_t>(place), it);
        inputs.push_back(joined(more));
    }
    return inputs;
}

// Any order, anything between

const std::vector<bytes> fields_of_a_nhid_update = {
    {
        0x08, 0xAC, 0x02, // 1 nhid_update_value_1 = 300
    },
    {
        0x12, 0x11,       // 2 nhid_encap_key, 17 bytes
        0x08, 0x01,       //   1 nhid_key_value_1 = 1
        0x12, 0x0B,       //   2 nhid_key_address, 11 bytes
        0x08, 0x02,       //     1 family = 2
        0x10, 0x80, 0x01, //     2 ipv4 = 128
        0x1A, 0x04,       //     3 ipv6, 4 bytes
        0x08, 0x05,       //       1 half0 = 5
        0x10, 0x06,       //       2 half1 = 6
        0x20, 0x04,       //   4 nhid_key_value_4 = 4
    },
    {
        0x18, 0x80, 0x80, 0x40, // 3 nhid = 2^20
    },
};

void expect_whole_nhid_update(const bytes &input)
{
    zidl_rib_nhid_update msg = {};
    EXPECT_EQ(decode_without_memory<rib_nhid_update>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0x07);
    EXPECT_EQ(msg.nhid_update_value_1, 300u);
    EXPECT_EQ(msg.nhid, 0x100000u);
    const zidl_rib_nhid_encap_key &key = msg.nhid_encap_key;
    EXPECT_EQ(key.presence, 0x0B); // all but nhid_key_value_3
    EXPECT_EQ(key.nhid_key_value_1, 1u);
    EXPECT_EQ(key.nhid_key_value_3, 0u);
    EXPECT_EQ(key.nhid_key_value_4, 4u);
    EXPECT_EQ(key.nhid_key_address.presence, 0x07);
    EXPECT_EQ(key.nhid_key_address.family, 2u);
    EXPECT_EQ(key.nhid_key_address.ipv4, 128u);
    EXPECT_EQ(key.nhid_key_address.ipv6.presence, 0x03);
    EXPECT_EQ(key.nhid_key_address.ipv6.half0, 5u);
    EXPECT_EQ(key.nhid_key_address.ipv6.half1, 6u);
}

TEST(contract_order, fields_of_a_small_message_may_come_in_every_order)
{
    for (const bytes &input : in_every_order(fields_of_a_nhid_update))
        expect_whole_nhid_update(input);
}

TEST(contract_order, unknown_field_anywhere_in_a_small_message_is_skipped)
{
    const std::vector<bytes> unknown_fields = {
        {0x20, 0x05},                                           // 4, varint
        {0x21, 0x08, 0x10, 0x18, 0x08, 0x10, 0x18, 0x08, 0x10}, // 4, eight bytes
        {0x22, 0x02, 0x08, 0x07},                               // 4, 2 bytes
        {0x25, 0x08, 0x07, 0x18, 0x07},                         // 4, four bytes
        {0x00, 0x05},                                           // 0, varint
        {0x88, 0x01, 0x05},                                     // 17, whose tag begins like one of field 1
    };
    for (const bytes &unknown : unknown_fields) {
        for (const bytes &input : with_it_somewhere(fields_of_a_nhid_update, unknown))
            expect_whole_nhid_update(input);
    }
}

TEST(contract_order, unknown_fields_deep_in_small_messages_are_skipped)
{
    const bytes input = {
        0x08, 0xAC, 0x02,       // 1 nhid_update_value_1 = 300
        0x12, 0x17,             // 2 nhid_encap_key, 23 bytes
        0x08, 0x01,             //   1 nhid_key_value_1 = 1
        0x12, 0x11,             //   2 nhid_key_address, 17 bytes
        0x08, 0x02,             //     1 family = 2
        0x10, 0x80, 0x01,       //     2 ipv4 = 128
        0x1A, 0x08,             //     3 ipv6, 8 bytes
        0x08, 0x05,             //       1 half0 = 5
        0x7A, 0x02, 0x10, 0x09, //       15, 2 bytes, unknown
        0x10, 0x06,             //       2 half1 = 6
        0x78, 0x00,             //     15 = 0, unknown
        0x20, 0x04,             //   4 nhid_key_value_4 = 4
        0x18, 0x80, 0x80, 0x40, // 3 nhid = 2^20
    };
    expect_whole_nhid_update(input);
}

TEST(contract_order, overlong_tags_and_lengths_make_no_difference)
{
    const bytes input = {
        0x88, 0x00, 0xAC, 0x02,       // 1 nhid_update_value_1 = 300, a tag of two bytes
        0x92, 0x80, 0x00, 0x97, 0x00, // 2 nhid_encap_key, 23 bytes, a tag of three bytes, a length of two
        0x08, 0x81, 0x00,             //   1 nhid_key_value_1 = 1, a value of two bytes
        0x12, 0x8E, 0x80, 0x00,       //   2 nhid_key_address, 14 bytes, a length of three bytes
        0x08, 0x02,                   //     1 family = 2
        0x90, 0x00, 0x80, 0x01,       //     2 ipv4 = 128, a tag of two bytes
        0x1A, 0x85, 0x00,             //     3 ipv6, 5 bytes, a length of two bytes
        0x08, 0x05,                   //       1 half0 = 5
        0x90, 0x00, 0x06,             //       2 half1 = 6, a tag of two bytes
        0x20, 0x04,                   //   4 nhid_key_value_4 = 4
        0x18, 0x80, 0x80, 0xC0, 0x00, // 3 nhid = 2^20, a value of four bytes
    };
    expect_whole_nhid_update(input);
}

TEST(contract_order, last_occurrence_wins_wherever_the_first_one_stands)
{
    const bytes input = {
        0x08, 0x07,       // 1 nhid_update_value_1 = 7
        0x08, 0x08,       // 1 nhid_update_value_1 = 8
        0x18, 0x05,       // 3 nhid = 5
        0x08, 0xAC, 0x02, // 1 nhid_update_value_1 = 300
        0x18, 0x06,       // 3 nhid = 6
    };
    zidl_rib_nhid_update msg = {};
    EXPECT_EQ(decode_without_memory<rib_nhid_update>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.nhid_update_value_1, 300u);
    EXPECT_EQ(msg.nhid, 6u);
    EXPECT_EQ(msg.presence, 0x05); // nhid_update_value_1, nhid
}

// What is repeated inside a message counts for that message alone: here an address as a member of larger and larger ones.
void expect_second_half_alone(const zidl_rib_address &address)
{
    EXPECT_EQ(address.presence, 0x05); // family, ipv6
    EXPECT_EQ(address.family, 4u);
    EXPECT_EQ(address.ipv6.presence, 0x02); // half1
    EXPECT_EQ(address.ipv6.half0, 0u);
    EXPECT_EQ(address.ipv6.half1, 9u);
}

TEST(contract_order, nested_message_that_is_repeated_deep_inside_small_ones_is_reset_between)
{
    const bytes address = {
        0x08, 0x03,             // 1 family = 3
        0x1A, 0x04,             // 3 ipv6, 4 bytes
        0x08, 0x05, 0x10, 0x06, //   1 half0 = 5, 2 half1 = 6
        0x1A, 0x02,             // 3 ipv6, 2 bytes, again
        0x10, 0x09,             //   2 half1 = 9
        0x08, 0x04,             // 1 family = 4, again
    };
    zidl_rib_address alone = rubbish<rib_address>();
    EXPECT_EQ(decode_without_memory<rib_address>(alone, address), ZIDL_OK);
    alone.presence &= 0x07;
    alone.ipv6.presence &= 0x03;
    expect_second_half_alone(alone);

    zidl_rib_prefix prefix = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(prefix, joined({{0x0A, 0x0E}, address})), ZIDL_OK); // 1 address
    expect_second_half_alone(prefix.address);

    zidl_rib_path_iid_attr attr = {};
    const bytes in_prefix = joined({{0x1A, 0x10, 0x0A, 0x0E}, address}); // 3 iid_attr_prefix, 1 address
    EXPECT_EQ(decode_without_memory<rib_path_iid_attr>(attr, in_prefix), ZIDL_OK);
    expect_second_half_alone(attr.iid_attr_prefix.address);

    zidl_rib_path path = {};
    const bytes in_attr = joined({{0xEA, 0x01, 0x12, 0x1A, 0x10, 0x0A, 0x0E}, address}); // 29 iid_attr, and so on
    EXPECT_EQ(decode_without_memory<rib_path>(path, in_attr), ZIDL_OK);
    expect_second_half_alone(path.iid_attr.iid_attr_prefix.address);
}

TEST(contract_order, second_occurrence_of_a_message_does_not_remember_the_fields_of_the_first)
{
    const bytes input = {
        0x0A, 0x08,             // 1 address, 8 bytes
        0x08, 0x01, 0x10, 0x02, //   1 family = 1, 2 ipv4 = 2
        0x1A, 0x02, 0x08, 0x03, //   3 ipv6: 1 half0 = 3
        0x10, 0x18,             // 2 prefix_len = 24
        0x0A, 0x02,             // 1 address, 2 bytes, again
        0x10, 0x07,             //   2 ipv4 = 7
    };
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0x03);
    EXPECT_EQ(msg.address.presence, 0x02); // ipv4
    EXPECT_EQ(msg.address.family, 0u);
    EXPECT_EQ(msg.address.ipv4, 7u);
    EXPECT_EQ(msg.address.ipv6.presence, 0x00);
    EXPECT_EQ(msg.address.ipv6.half0, 0u);
}

TEST(contract_order, empty_small_messages_are_present_in_every_order)
{
    for (const bytes &input : in_every_order({{0x1A, 0x00}, {0x08, 0x00}, {0x10, 0x00}})) { // 3 ipv6, 1 family, 2 ipv4
        zidl_rib_address msg = {};
        EXPECT_EQ(decode_without_memory<rib_address>(msg, input), ZIDL_OK);
        EXPECT_EQ(msg.presence, 0x07);
        EXPECT_EQ(msg.ipv6.presence, 0x00);
    }
}

TEST(contract_order, spare_presence_bits_survive_every_order_and_every_repetition)
{
    std::vector<bytes> inputs = in_every_order({
        {0x08, 0x01},             // 1 family = 1
        {0x1A, 0x02, 0x08, 0x03}, // 3 ipv6: 1 half0 = 3
        {0x1A, 0x02, 0x10, 0x03}, // 3 ipv6: 2 half1 = 3
    });
    for (const bytes &input : inputs) {
        auto msg = rubbish<rib_address>();
        EXPECT_EQ(decode_without_memory<rib_address>(msg, input), ZIDL_OK);
        EXPECT_EQ(msg.presence, 0xA5);             // A0 with family, ipv6
        EXPECT_EQ(msg.ipv6.presence & 0xFC, 0xA4); // all but half0, half1
    }
}

// Slices

TEST(contract_order, nested_message_ends_where_its_length_says_though_the_next_field_could_be_its_own)
{
    const bytes input = {
        0x0A, 0x02, // 1 address, 2 bytes
        0x08, 0x01, //   1 family = 1
        0x10, 0x18, // 2 prefix_len = 24, which would be an ipv4
    };
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.prefix_len, 24u);
    EXPECT_EQ(msg.address.presence, 0x01); // family
    EXPECT_EQ(msg.address.ipv4, 0u);
}

TEST(contract_order, value_and_length_cut_by_the_end_of_a_small_message_are_malformed)
{
    const std::vector<bytes> cut = {
        {0x0A, 0x03, 0x08, 0x01, 0x10, 0x18, 0x10, 0x18}, // 1 address: 2 ipv4 without a value
        {0x0A, 0x03, 0x08, 0x01, 0x1A, 0x00, 0x10, 0x18}, // 1 address: 3 ipv6 without a length
        {0x0A, 0x04, 0x08, 0x01, 0x1A, 0x02, 0x10, 0x18}, // 1 address: 3 ipv6, 2 bytes, none of them there
        {0x0A, 0x04, 0x1A, 0x02, 0x08, 0x80, 0x01, 0x10, 0x18,
         0x00},                                           // 1 address: 3 ipv6: 1 half0, its last byte outside
        {0x0A, 0x03, 0x1A, 0x01, 0x08, 0x05, 0x10, 0x18}, // 1 address: 3 ipv6: 1 half0 without a value
    };
    for (const bytes &input : cut) {
        for (const size_t more : {size_t{0}, size_t{16}}) { // zeros that would complete it
            bytes longer = input;
            longer.resize(input.size() + more);
            zidl_rib_prefix msg = {};
            EXPECT_EQ(decode_without_memory<rib_prefix>(msg, longer), ZIDL_ERR_MALFORMED);
            EXPECT_EQ(msg.presence, 0x00);
        }
    }
}

TEST(contract_order, bytes_and_strings_cut_by_the_end_of_a_small_message_request_nothing)
{
    const std::vector<bytes> cut = {
        {0x1A, 0x01, 0x0A, 0x01, 0x77, 0x10, 0x10},       // 3 sid: 1 prefix without a length
        {0x1A, 0x02, 0x0A, 0x01, 0x77, 0x10, 0x10},       // 3 sid: 1 prefix, 1 byte, outside
        {0x1A, 0x03, 0x0A, 0x81, 0x00, 0x77, 0x10, 0x10}, // 3 sid: 1 prefix, 1 byte, a length of two bytes, outside
        {0x1A, 0x02, 0x0A, 0x81, 0x00, 0x77, 0x10, 0x10}, // 3 sid: 1 prefix, the second byte of the length outside
    };
    for (const bytes &input : cut) {
        for (const size_t more : {size_t{0}, size_t{16}}) {
            bytes longer = input;
            longer.resize(input.size() + more);
            memory mem;
            zidl_ip_rib_srv6_sid_info msg = {};
            EXPECT_EQ(decode<ip_rib_srv6_sid_info>(msg, longer, mem), ZIDL_ERR_MALFORMED);
            EXPECT_EQ(decode<ip_rib_srv6_sid_info>(msg, longer, mem, ZIDL_ZERO_COPY), ZIDL_ERR_MALFORMED);
            EXPECT_EQ(mem.requests, sizes{});
            EXPECT_EQ(msg.sid.prefix, nullptr);
            EXPECT_EQ(msg.sid.presence, 0x00);
        }
    }
}

// Failing half way

TEST(contract_order, failing_small_message_keeps_what_it_read_at_every_depth)
{
    const bytes input = {
        0x08, 0x01, // 1 iid_attr_value_1 = 1
        0x1A, 0x0A, // 3 iid_attr_prefix, 10 bytes
        0x0A, 0x08, //   1 address, 8 bytes
        0x08, 0x02, //     1 family = 2
        0x1A, 0x04, //     3 ipv6, 4 bytes
        0x08, 0x05, //       1 half0 = 5
        0x12, 0x00, //       2 half1, as if it were a message
        0x20, 0x04, // 4 iid_attr_value_4 = 4
    };
    auto msg = rubbish<rib_path_iid_attr>();
    EXPECT_EQ(decode_without_memory<rib_path_iid_attr>(msg, input), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(msg.presence, 0xA1); // A0 with iid_attr_value_1
    EXPECT_EQ(msg.iid_attr_value_1, 1u);
    EXPECT_EQ(msg.iid_attr_value_4, 0u);
    EXPECT_EQ(msg.iid_attr_prefix.presence, 0xA4);         // no address
    EXPECT_EQ(msg.iid_attr_prefix.address.presence, 0xA1); // A0 with family
    EXPECT_EQ(msg.iid_attr_prefix.address.family, 2u);
    EXPECT_EQ(msg.iid_attr_prefix.address.ipv6.presence, 0xA5); // A4 with half0
    EXPECT_EQ(msg.iid_attr_prefix.address.ipv6.half0, 5u);
    EXPECT_EQ(msg.iid_attr_prefix.address.ipv6.half1, 0u);
}

TEST(contract_order, failure_behind_a_repeated_message_keeps_the_second_occurrence_alone)
{
    const bytes input = {
        0x0A, 0x0D,             // 1 address, 13 bytes
        0x1A, 0x04,             //   3 ipv6, 4 bytes
        0x08, 0x05, 0x10, 0x06, //     1 half0 = 5, 2 half1 = 6
        0x1A, 0x02,             //   3 ipv6, 2 bytes, again
        0x10, 0x09,             //     2 half1 = 9
        0x10, 0x04,             //   2 ipv4 = 4
        0x0B,                   //   1 family, of wire type 3
    };
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(msg.presence, 0x00);
    EXPECT_EQ(msg.address.presence, 0x06); // ipv4, ipv6
    EXPECT_EQ(msg.address.ipv4, 4u);
    EXPECT_EQ(msg.address.ipv6.presence, 0x02); // half1
    EXPECT_EQ(msg.address.ipv6.half0, 0u);
    EXPECT_EQ(msg.address.ipv6.half1, 9u);
}

TEST(contract_order, repeated_message_whose_length_runs_past_the_end_leaves_the_first_occurrence)
{
    memory mem;
    auto msg = rubbish<rib_prefix>();
    const bytes input = {
        0x0A, 0x02, // 1 address, 2 bytes
        0x08, 0x02, //   1 family = 2
        0x0A, 0x05, // 1 address again, 5 bytes
        0x08,       //   of which there is one
    };
    EXPECT_EQ(decode<rib_prefix>(msg, input, mem), -1);
    EXPECT_TRUE(zidl_rib_prefix_has_address(&msg));
    EXPECT_EQ(msg.address.family, 2u);
    EXPECT_TRUE(zidl_rib_address_has_family(&msg.address));
}

TEST(contract_order, repeated_message_whose_length_is_cut_off_leaves_the_first_occurrence)
{
    memory mem;
    auto msg = rubbish<rib_prefix>();
    const bytes input = {
        0x0A, 0x02, // 1 address, 2 bytes
        0x08, 0x02, //   1 family = 2
        0x0A, 0x80, // 1 address again, of a length that has another byte
    };
    EXPECT_EQ(decode<rib_prefix>(msg, input, mem), -1);
    EXPECT_EQ(msg.address.family, 2u);
    EXPECT_TRUE(zidl_rib_address_has_family(&msg.address));
}

TEST(contract_order, statuses_of_small_messages_are_those_of_the_innermost_failure)
{
    const auto status_of_address = [](const bytes &address) {
        zidl_rib_prefix msg = {};
        const bytes head = {0x0A, static_cast<uint8_t>(address.size())}; // 1 address
        return decode_without_memory<rib_prefix>(msg, joined({head, address, {0x10, 0x18}}));
    };
    EXPECT_EQ(status_of_address({0x08, 0x01, 0x23}), ZIDL_ERR_WIRE_TYPE);        // 4, of wire type 3
    EXPECT_EQ(status_of_address({0x08, 0x01, 0x1F}), ZIDL_ERR_FIELD_TYPE);       // 3 ipv6, of wire type 7
    EXPECT_EQ(status_of_address({0x08, 0x01, 0x12, 0x00}), ZIDL_ERR_FIELD_TYPE); // 2 ipv4, as if it were a message
    EXPECT_EQ(status_of_address({0x08, 0x01, 0x80}), ZIDL_ERR_MALFORMED);        // a tag cut off
    EXPECT_EQ(status_of_address({0x1A, 0x01, 0x23}), ZIDL_ERR_WIRE_TYPE);        // 3 ipv6: 4, of wire type 3
    EXPECT_EQ(status_of_address({0x1A, 0x01, 0x09}), ZIDL_ERR_FIELD_TYPE);       // 3 ipv6: 1 half0, eight bytes
    EXPECT_EQ(status_of_address({0x08, 0x01, 0x22, 0x7F}), ZIDL_OK);             // 4, 127 bytes, unknown: may run out
}

// Memory

TEST(contract_order, bytes_and_strings_are_requested_once_whatever_stands_around_them)
{
    const std::vector<bytes> fields_of_a_prefix = {
        {0x0A, 0x03, 0xA1, 0xA2, 0xA3}, // 1 prefix
        {0x10, 0x40},                   // 2 prefix_len = 64
        {0x7A, 0x01, 0x0A},             // 15, 1 byte, unknown
        {0x10, 0xC0, 0x00},             // 2 prefix_len = 64, a value of two bytes
    };
    for (const bytes &prefix : in_every_order(fields_of_a_prefix)) {
        const bytes head = {
            0x08, 0x01, // 1 value_1 = 1
            0x1A, 0x0D, // 3 sid, 13 bytes
        };
        const bytes tail = {
            0x10, 0x02, // 2 value_2 = 2
        };
        memory mem;
        zidl_ip_rib_srv6_sid_info msg = {};
        EXPECT_EQ(decode<ip_rib_srv6_sid_info>(msg, joined({head, prefix, tail}), mem), ZIDL_OK);
        EXPECT_EQ(mem.requests, sizes{3});
        ASSERT_NE(msg.sid.prefix, nullptr);
        EXPECT_EQ(bytes(msg.sid.prefix, msg.sid.prefix + 3), (bytes{0xA1, 0xA2, 0xA3}));
        EXPECT_EQ(msg.sid.prefix_size, 3u);
        EXPECT_EQ(msg.sid.prefix_len, 64u);
        EXPECT_EQ(msg.sid.presence, 0x03);
        EXPECT_EQ(msg.presence, 0x07);
    }
}

TEST(contract_order, second_bytes_of_a_small_message_are_malformed_wherever_they_stand)
{
    const std::vector<bytes> others = {{0x10, 0x40}, {0x78, 0x00}}; // 2 prefix_len = 64, 15 = 0, unknown
    for (const bytes &second : {bytes{0x0A, 0x00}, bytes{0x0A, 0x02, 0xB1, 0xB2}, bytes{0x8A, 0x00, 0x01, 0xB1}}) {
        for (const bytes &behind : with_it_somewhere(others, second)) {
            memory mem;
            zidl_ip_rib_srv6_prefix msg = {};
            const bytes first = {0x0A, 0x00}; // 1 prefix, empty
            EXPECT_EQ(decode<ip_rib_srv6_prefix>(msg, joined({first, behind}), mem), ZIDL_ERR_MALFORMED);
            EXPECT_EQ(mem.requests, sizes{0});
            EXPECT_EQ(msg.prefix_size, 0u);
            EXPECT_EQ(msg.presence & 0x01, 0x01); // prefix
        }
    }
}

TEST(contract_order, second_string_of_a_small_message_is_malformed_and_its_other_strings_are_not_requested_again)
{
    const bytes input = {
        0x2A, 0x02, 'a', 'b', // 5 name_5
        0x32, 0x01, 'c',      // 6 name_6
        0x08, 0x01,           // 1, out of order
        0x2A, 0x01, 'd',      // 5 name_5, again
    };
    memory mem;
    zidl_ip_rib_srv6_x_ctx msg = {};
    EXPECT_EQ(decode<ip_rib_srv6_x_ctx>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, (sizes{3, 2}));
    EXPECT_STREQ(msg.name_5, "ab");
    EXPECT_STREQ(msg.name_6, "c");
}

TEST(contract_order, each_refused_request_of_a_small_message_ends_the_decode)
{
    const std::vector<bytes> names = {
        {0x2A, 0x02, 'a', 'b'},      // 5 name_5
        {0x32, 0x03, 'c', 'd', 'e'}, // 6 name_6
    };
    for (const bytes &input : in_every_order({names[0], names[1], {0x10, 0x07}})) { // 2
        const bool name_5_first = std::search(input.begin(), input.end(), names[0].begin(), names[0].end()) <
                                  std::search(input.begin(), input.end(), names[1].begin(), names[1].end());
        memory first_refused(0);
        zidl_ip_rib_srv6_x_ctx msg = {};
        EXPECT_EQ(decode<ip_rib_srv6_x_ctx>(msg, input, first_refused), ZIDL_ERR_NO_MEMORY);
        EXPECT_EQ(first_refused.requests, sizes{name_5_first ? size_t{3} : size_t{4}});
        EXPECT_EQ(msg.name_5, nullptr);
        EXPECT_EQ(msg.name_6, nullptr);
        EXPECT_EQ(msg.presence & 0x30, 0x00); // neither name

        memory second_refused(1);
        EXPECT_EQ(decode<ip_rib_srv6_x_ctx>(msg, input, second_refused), ZIDL_ERR_NO_MEMORY);
        EXPECT_EQ(second_refused.requests, name_5_first ? (sizes{3, 4}) : (sizes{4, 3}));
        EXPECT_EQ(name_5_first ? msg.name_6 : msg.name_5, nullptr);
        EXPECT_STREQ(name_5_first ? msg.name_5 : msg.name_6, name_5_first ? "ab" : "cde");
        EXPECT_EQ(msg.presence & 0x30, name_5_first ? 0x10 : 0x20);
    }
}

TEST(contract_order, refused_bytes_of_a_nested_small_message_end_the_decode_of_all_messages_around_it)
{
    const bytes input = {
        0x0A, 0x04,       // 1 encap_prefix_1, 4 bytes
        0x10, 0x40,       //   2 prefix_len = 64
        0x0A, 0x00,       //   1 prefix, empty, out of order
        0x12, 0x05,       // 2 encap_prefix_2, 5 bytes
        0x0A, 0x01, 0xB1, //   1 prefix
        0x10, 0x30,       //   2 prefix_len = 48
        0x18, 0x01,       // 3 flag_3
    };
    memory first_refused(0);
    zidl_ip_rib_srv6_glb_encap_info msg = {};
    EXPECT_EQ(decode<ip_rib_srv6_glb_encap_info>(msg, input, first_refused), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(first_refused.requests, sizes{0});
    EXPECT_EQ(msg.presence, 0x0000);
    EXPECT_EQ(msg.encap_prefix_1.presence, 0x02); // prefix_len
    EXPECT_EQ(msg.encap_prefix_1.prefix_len, 64u);

    memory second_refused(1);
    EXPECT_EQ(decode<ip_rib_srv6_glb_encap_info>(msg, input, second_refused), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(second_refused.requests, (sizes{0, 1}));
    EXPECT_EQ(msg.presence, 0x0001);              // encap_prefix_1
    EXPECT_EQ(msg.encap_prefix_1.presence, 0x03); // prefix, prefix_len
    EXPECT_EQ(msg.encap_prefix_2.presence, 0x00);
    EXPECT_EQ(msg.encap_prefix_2.prefix, nullptr);
    EXPECT_EQ(msg.encap_prefix_2.prefix_size, 0u);
    EXPECT_EQ(msg.flag_3, 0);
}

TEST(contract_order, refused_bytes_of_a_small_message_inside_a_small_one_end_both)
{
    const bytes input = {
        0x08, 0x01,       // 1 value_1 = 1
        0x1A, 0x05,       // 3 sid, 5 bytes
        0x0A, 0x01, 0xA1, //   1 prefix
        0x10, 0x40,       //   2 prefix_len = 64
        0x10, 0x02,       // 2 value_2 = 2
    };
    memory refused(0);
    zidl_ip_rib_srv6_sid_info msg = {};
    EXPECT_EQ(decode<ip_rib_srv6_sid_info>(msg, input, refused), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(refused.requests, sizes{1});
    EXPECT_EQ(msg.presence, 0x01); // value_1
    EXPECT_EQ(msg.value_2, 0u);
    EXPECT_EQ(msg.sid.presence, 0x00);
    EXPECT_EQ(msg.sid.prefix_len, 0u);
}

TEST(contract_order, small_message_with_bytes_needs_no_memory_to_borrow_them)
{
    const bytes input = {
        0x08, 0x01,          // 1 value_1 = 1
        0x1A, 0x07,          // 3 sid, 7 bytes
        0x10, 0x40,          //   2 prefix_len = 64
        0x0A, 0x03, 1, 2, 3, //   1 prefix, out of order
        0x10, 0x02,          // 2 value_2 = 2
    };
    zidl_ip_rib_srv6_sid_info msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_srv6_sid_info>(msg, input, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.sid.prefix, input.data() + 8);
    EXPECT_EQ(msg.sid.prefix_size, 3u);
    EXPECT_EQ(msg.presence, 0x07);
    EXPECT_EQ(decode_without_memory<ip_rib_srv6_sid_info>(msg, input), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.presence, 0x01);     // value_1
    EXPECT_EQ(msg.sid.presence, 0x02); // prefix_len
    EXPECT_EQ(msg.sid.prefix, nullptr);
}

TEST(contract_order, small_message_in_order_cannot_do_without_memory_for_what_it_copies)
{
    const bytes whole_prefix = {
        0x10, 0x18,       // 2 prefix_len = 24
        0x22, 0x01, 0xD1, // 4 ipv6
    };
    zidl_rib_msg_prefix prefix = {};
    EXPECT_EQ(decode_without_memory<rib_msg_prefix>(prefix, whole_prefix), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(prefix.presence, 0x02); // prefix_len
    EXPECT_EQ(prefix.ipv6, nullptr);
    EXPECT_EQ(prefix.ipv6_size, 0u);

    const bytes whole_ctx = {
        0x10, 0x07,      // 2
        0x2A, 0x01, 'a', // 5 name_5
    };
    zidl_ip_rib_srv6_x_ctx ctx = {};
    EXPECT_EQ(decode_without_memory<ip_rib_srv6_x_ctx>(ctx, whole_ctx), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<ip_rib_srv6_x_ctx>(ctx, whole_ctx, ZIDL_ZERO_COPY), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(ctx.presence & 0x30, 0x00); // neither name
    EXPECT_EQ(ctx.name_5, nullptr);
}

TEST(contract_order, empty_bytes_and_strings_of_a_small_message_are_requested_with_their_sizes)
{
    memory mem;
    zidl_rib_msg_prefix prefix = {};
    EXPECT_EQ(decode<rib_msg_prefix>(prefix, {0x22, 0x00}, mem), ZIDL_OK); // 4 ipv6
    EXPECT_EQ(mem.requests, sizes{0});
    zidl_ip_rib_srv6_x_ctx ctx = {};
    EXPECT_EQ(decode<ip_rib_srv6_x_ctx>(ctx, {0x2A, 0x00, 0x32, 0x00}, mem), ZIDL_OK); // 5 name_5, 6 name_6
    EXPECT_EQ(mem.requests, (sizes{0, 1, 1}));
    EXPECT_STREQ(ctx.name_5, "");
    EXPECT_STREQ(ctx.name_6, "");
}

TEST(contract_order, missing_memory_is_found_before_a_length_and_a_length_before_the_request)
{
    const bytes bytes_past_the_end = {
        0x22, 0x05, 0xD1, // 4 ipv6, 5 bytes, one of them there
    };
    zidl_rib_msg_prefix prefix = {};
    EXPECT_EQ(decode_without_memory<rib_msg_prefix>(prefix, bytes_past_the_end), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<rib_msg_prefix>(prefix, bytes_past_the_end, ZIDL_ZERO_COPY), ZIDL_ERR_MALFORMED);
    memory refused(0);
    EXPECT_EQ(decode<rib_msg_prefix>(prefix, bytes_past_the_end, refused), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(refused.requests, sizes{});

    const bytes string_past_the_end = {
        0x2A, 0x05, 'a', // 5 name_5, 5 characters, one of them there
    };
    zidl_ip_rib_srv6_x_ctx ctx = {};
    EXPECT_EQ(decode_without_memory<ip_rib_srv6_x_ctx>(ctx, string_past_the_end), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<ip_rib_srv6_x_ctx>(ctx, string_past_the_end, ZIDL_ZERO_COPY), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode<ip_rib_srv6_x_ctx>(ctx, string_past_the_end, refused), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(refused.requests, sizes{});
}

TEST(contract_order, bytes_and_strings_of_small_messages_may_have_lengths_of_more_bytes)
{
    const bytes contents(300, 0xD7);
    for (const bytes &length : {bytes{0xAC, 0x02}, bytes{0xAC, 0x82, 0x80, 0x80, 0x00}}) { // 300
        memory mem;
        zidl_rib_msg_prefix prefix = {};
        const bytes tail = {0x10, 0x18}; // 2 prefix_len = 24, out of order
        EXPECT_EQ(decode<rib_msg_prefix>(prefix, joined({{0x22}, length, contents, tail}), mem), ZIDL_OK); // 4 ipv6
        EXPECT_EQ(mem.requests, sizes{300});
        ASSERT_EQ(prefix.ipv6_size, 300u);
        EXPECT_EQ(bytes(prefix.ipv6, prefix.ipv6 + 300), contents);
        EXPECT_EQ(prefix.prefix_len, 24u);

        zidl_ip_rib_srv6_x_ctx ctx = {};
        EXPECT_EQ(decode<ip_rib_srv6_x_ctx>(ctx, joined({{0x2A}, length, contents, {0x32, 0x00}}), mem), ZIDL_OK);
        EXPECT_EQ(mem.requests, (sizes{300, 301, 1}));
        EXPECT_EQ(std::string(ctx.name_5), std::string(300, static_cast<char>(0xD7)));
        EXPECT_STREQ(ctx.name_6, "");
    }
}

// Values of 64 bits

struct wide_value {
    bytes varint;
    uint64_t value;
};

// In their shortest form, at both ends of every length, and with groups of bits that all differ.
const std::vector<wide_value> wide_values = {
    {{0x7F}, 0x7F},
    {{0x80, 0x01}, 0x80},
    {{0xFF, 0xFF, 0x7F}, 0x1FFFFF},
    {{0x80, 0x80, 0x80, 0x01}, 0x200000},
    {{0xFF, 0xFF, 0xFF, 0x7F}, 0xFFFFFFF},
    {{0x80, 0x80, 0x80, 0x80, 0x01}, 0x10000000},
    {{0x81, 0x82, 0x83, 0x84, 0x05}, 0x5080C101},
    {{0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, 0x800000000},
    {{0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, 0x40000000000},
    {{0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, 0x2000000000000},
    {{0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x08}, 0x101C305080C101},
    {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}, 0xFFFFFFFFFFFFFF},
    {{0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, 0x100000000000000},
    {{0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x09}, 0x9101C305080C101},
    {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}, 0x7FFFFFFFFFFFFFFF},
    {{0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, 0x8000000000000000},
    {{0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x01}, 0x89101C305080C101},
    {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01}, 0xFFFFFFFFFFFFFFFF},
};

// Longer than they need be, or with bits that no value has.
const std::vector<wide_value> odd_wide_values = {
    {{0x85, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}, 5},
    {{0x85, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}, 5},
    {{0x85, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}, 5},
    {{0x85, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}, 5},
    {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7E}, 0x7FFFFFFFFFFFFFFF},
    {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}, 0xFFFFFFFFFFFFFFFF},
    {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x80, 0x01}, 0x7FFFFFFFFFFFFFFF},
    {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x81, 0x80, 0x00}, 0xFFFFFFFFFFFFFFFF},
};

std::vector<wide_value> all_wide_values()
{
    std::vector<wide_value> all = wide_values;
    all.insert(all.end(), odd_wide_values.begin(), odd_wide_values.end());
    return all;
}

// 2 via_sid of a rib_path_via_srv6_sid: 1 half0 = 1 and 2 half1.
bytes via_sid_with_half1(const bytes &varint)
{
    const bytes head = {0x12, static_cast<uint8_t>(3 + varint.size()), 0x08, 0x01, 0x10};
    return joined({head, varint});
}

TEST(contract_order, wide_value_is_read_at_the_end_of_a_message_whatever_follows)
{
    const std::vector<bytes> behind = {
        {},                                                           // the end of the buffer
        {0x18, 0x07},                                                 // 3 via_sid_value_3 = 7
        {0x18, 0x87, 0x80, 0x80, 0x00},                               // the same in four bytes
        {0x18, 0x07, 0x7A, 0x05, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},       // 3 via_sid_value_3 = 7; 15, unknown
        {0x7A, 0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, // 15, 8 bytes, unknown
    };
    for (const wide_value &each : all_wide_values()) {
        for (const bytes &more : behind) {
            zidl_rib_path_via_srv6_sid msg = {};
            const bytes input = joined({via_sid_with_half1(each.varint), more});
            EXPECT_EQ(decode_without_memory<rib_path_via_srv6_sid>(msg, input), ZIDL_OK);
            EXPECT_EQ(msg.via_sid.half0, 1u);
            EXPECT_EQ(msg.via_sid.half1, each.value) << each.varint.size() << " bytes, " << more.size() << " behind";
            EXPECT_EQ(msg.via_sid.presence, 0x03);
            EXPECT_EQ(msg.presence & 0x02, 0x02); // via_sid
        }
    }
}

TEST(contract_order, wide_value_is_malformed_wherever_its_message_ends_within_it)
{
    for (const wide_value &each : all_wide_values()) {
        for (size_t len = 0; len < each.varint.size(); len++) {
            const bytes start(each.varint.begin(), each.varint.begin() + static_cast<ptrdiff_t>(len));
            const bytes rest(each.varint.begin() + static_cast<ptrdiff_t>(len), each.varint.end());
            for (const bytes &behind : {bytes{}, rest, joined({rest, bytes(16, 0x00)})}) {
                zidl_rib_path_via_srv6_sid msg = {};
                const bytes input = joined({via_sid_with_half1(start), behind});
                EXPECT_EQ(decode_without_memory<rib_path_via_srv6_sid>(msg, input), ZIDL_ERR_MALFORMED);
                EXPECT_EQ(msg.presence, 0x00);
                EXPECT_EQ(msg.via_sid.presence, 0x01); // half0
                EXPECT_EQ(msg.via_sid.half1, 0u);
            }
        }
    }
}

TEST(contract_order, bool_of_a_small_message_is_one_when_any_of_its_64_bits_is_set)
{
    const auto selector = [](const bytes &varint) {
        const bytes tail = {0x10, 0x07}; // 2 oper_when_set = 7
        const bytes input = joined({{0x08}, varint, tail});
        auto near = rubbish<rib_srv6_oper_type>();
        auto far = rubbish<rib_srv6_oper_type>();
        EXPECT_EQ(decode_without_memory<rib_srv6_oper_type>(near, input), ZIDL_OK);
        EXPECT_EQ(decode_without_memory<rib_srv6_oper_type>(far, far_from_the_end(input)), ZIDL_OK);
        EXPECT_EQ(std::memcmp(&near, &far, sizeof near), 0);
        EXPECT_EQ(near.oper_when_set, 7u);
        return near.oper_selector;
    };
    EXPECT_EQ(selector({0x80, 0x80, 0x80, 0x80, 0x10}), 1);                               // 2^32
    EXPECT_EQ(selector({0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 1);       // 2^56
    EXPECT_EQ(selector({0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 1); // 2^63
    EXPECT_EQ(selector({0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x02}), 0); // 2^64
    EXPECT_EQ(selector({0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}), 0);
    EXPECT_EQ(selector({0x80, 0x80, 0x80, 0x00}), 0);
    EXPECT_EQ(selector({0x02}), 1);
}

TEST(contract_order, value_of_a_small_message_keeps_its_low_32_bits_whatever_its_length)
{
    for (const wide_value &each : all_wide_values()) {
        const bytes near = joined({{0x10}, each.varint, {0x0A, 0x00}}); // 2 prefix_len, 1 address
        for (const bytes &input : {near, far_from_the_end(near)}) {
            zidl_rib_prefix msg = {};
            EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_OK);
            EXPECT_EQ(msg.prefix_len, static_cast<uint32_t>(each.value)) << each.varint.size();
            EXPECT_EQ(msg.presence, 0x03);
        }
    }
}

// Buffers

std::vector<size_t> lengths_around(const std::vector<size_t> &edges)
{
    std::vector<size_t> lengths = {4095, 4096, 4097, 5000, 70000};
    for (const size_t edge : edges)
        for (size_t len = edge < 40 ? 0 : edge - 40; len < edge + 40; len++)
            lengths.push_back(len);
    return lengths;
}

// Encodes into buffers of many lengths and expects the start of `whole`. The value of `len` bytes from `begin` is written
// whole or not at all, and then nothing stands behind it either.
template <class Codec>
void expect_start_whatever_the_buffer(const typename Codec::record &msg, const bytes &whole, size_t begin, size_t len)
{
    EXPECT_EQ(encoded_size<Codec>(msg), whole.size());
    for (const size_t buflen : lengths_around({0, begin, begin + len, whole.size()})) {
        if (buflen == 0)
            continue;
        const bool has_gap = begin < buflen && buflen < begin + len;
        bytes expected(whole.begin(),
                       whole.begin() + static_cast<ptrdiff_t>(has_gap ? begin : std::min(buflen, whole.size())));
        expected.resize(buflen, listing::untouched_byte);
        bytes buf(buflen, listing::untouched_byte);
        EXPECT_EQ(call_encode<Codec>(msg, buf.data(), buflen, nullptr, nullptr, 0), whole.size());
        EXPECT_TRUE(buf == expected) << buflen;
    }
}

TEST(contract_order, wide_value_fills_its_buffer_to_the_last_byte_and_no_further)
{
    for (const wide_value &each : wide_values) {
        zidl_rib_ipv6_address msg = {};
        msg.half0 = each.value;
        msg.half1 = each.value;
        msg.presence = 0x03;
        const bytes whole = joined({{0x08}, each.varint, {0x10}, each.varint}); // 1 half0, 2 half1
        expect_start_whatever_the_buffer<rib_ipv6_address>(msg, whole, whole.size(), 0);
    }
}

TEST(contract_order, wide_value_ends_its_message_and_leaves_the_next_byte_to_the_next_field)
{
    for (const wide_value &each : wide_values) {
        zidl_rib_path_via_srv6_sid msg = {};
        msg.via_sid.half0 = 1;
        msg.via_sid.half1 = each.value;
        msg.via_sid.presence = 0x03;
        msg.via_sid_value_3 = 7;
        msg.presence = 0x06; // via_sid, via_sid_value_3
        const bytes whole = joined({via_sid_with_half1(each.varint), {0x18, 0x07}});
        expect_start_whatever_the_buffer<rib_path_via_srv6_sid>(msg, whole, whole.size(), 0);
    }
}

TEST(contract_order, bytes_of_a_flat_message_are_written_whole_or_not_at_all)
{
    uint8_t contents[16] = {};
    std::iota(std::begin(contents), std::end(contents), uint8_t{0xC0});
    zidl_rib_msg_prefix prefix = {};
    prefix.family = 10;
    prefix.prefix_len = 128;
    prefix.ipv4 = 0xFFFFFFFF;
    prefix.ipv6 = contents;
    prefix.ipv6_size = 16;
    prefix.presence = 0x0F;
    const bytes whole_prefix = {
        0x08, 0x0A,                               // 1 family = 10
        0x10, 0x80, 0x01,                         // 2 prefix_len = 128
        0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,       // 3 ipv4
        0x22, 0x10, 0xC0, 0xC1, 0xC2, 0xC3, 0xC4, // 4 ipv6, 16 bytes
        0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xCB, 0xCC, 0xCD, 0xCE, 0xCF,
    };
    expect_start_whatever_the_buffer<rib_msg_prefix>(prefix, whole_prefix, 13, 16);

    zidl_ip_rib_srv6_prefix srv6 = {};
    srv6.prefix = contents;
    srv6.prefix_size = 9;
    srv6.prefix_len = 0xFFFFFFFF;
    srv6.presence = 0x03;
    const bytes whole_srv6 = {
        0x0A, 0x09, 0xC0, 0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, // 1 prefix, 9 bytes
        0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,                               // 2 prefix_len
    };
    expect_start_whatever_the_buffer<ip_rib_srv6_prefix>(srv6, whole_srv6, 2, 9);

    zidl_rib_encap_id_path_key_srv6_carrier_info carrier = {};
    carrier.carrier_value_2 = 300;
    carrier.carrier_bytes = contents;
    carrier.carrier_bytes_size = 3;
    carrier.presence = 0x06; // carrier_value_2, carrier_bytes
    const bytes whole_carrier = {
        0x10, 0xAC, 0x02,             // 2 carrier_value_2 = 300
        0x1A, 0x03, 0xC0, 0xC1, 0xC2, // 3 carrier_bytes
    };
    expect_start_whatever_the_buffer<rib_encap_id_path_key_srv6_carrier_info>(carrier, whole_carrier, 5, 3);

    zidl_rib_generic_attr_info attr = {};
    attr.attr_data = contents;
    attr.attr_data_size = 1;
    attr.presence = 0x02; // attr_data
    const bytes whole_attr = {
        0x12, 0x01, 0xC0, // 2 attr_data
    };
    expect_start_whatever_the_buffer<rib_generic_attr_info>(attr, whole_attr, 2, 1);
}

TEST(contract_order, bytes_of_an_embedded_message_are_written_whole_or_not_at_all)
{
    uint8_t contents[] = {0xA1, 0xA2, 0xA3};
    zidl_ip_rib_srv6_mode_info msg = {};
    msg.flag_1 = 0x80;
    msg.mode_prefix.prefix = contents;
    msg.mode_prefix.prefix_size = 3;
    msg.mode_prefix.prefix_len = 0x200000;
    msg.mode_prefix.presence = 0x03;
    msg.presence = 0x01; // flag_1
    const bytes whole = {
        0x08, 0x80,                   // 1 flag_1, as it stands
        0x12, 0x0A,                   // 2 mode_prefix, 10 bytes
        0x0A, 0x03, 0xA1, 0xA2, 0xA3, //   1 prefix
        0x10, 0x80, 0x80, 0x80, 0x01, //   2 prefix_len = 2^21
    };
    expect_start_whatever_the_buffer<ip_rib_srv6_mode_info>(msg, whole, 6, 3);
}

// A SID with value_1 = 1 and a prefix, and a locator with that SID alone; the heads are what stands before the prefix' bytes
// and before the SID.
void expect_sid_in_every_buffer(bytes contents, const bytes &sid_head, const bytes &locator_head)
{
    zidl_ip_rib_srv6_sid_info sid = {};
    sid.value_1 = 1;
    sid.sid.prefix = contents.data();
    sid.sid.prefix_size = contents.size();
    sid.sid.presence = 0x01; // prefix
    sid.presence = 0x05;     // value_1, sid
    const bytes whole = joined({sid_head, contents});
    expect_start_whatever_the_buffer<ip_rib_srv6_sid_info>(sid, whole, sid_head.size(), contents.size());

    zidl_ip_rib_srv6_locator locator = {};
    locator.sids = &sid;
    locator.sids_count = 1;
    locator.presence = 0x0400; // sids
    const size_t begin = locator_head.size() + sid_head.size();
    expect_start_whatever_the_buffer<ip_rib_srv6_locator>(locator, joined({locator_head, whole}), begin,
                                                          contents.size());
}

TEST(contract_order, embedded_message_with_bytes_may_take_a_length_of_more_bytes_in_every_buffer)
{
    const bytes sid_of_127 = {
        0x08, 0x01, // 1 value_1 = 1
        0x1A, 0x7F, // 3 sid, 127 bytes
        0x0A, 0x7D, //   1 prefix, 125 bytes
    };
    expect_sid_in_every_buffer(bytes(125, 0xA7), sid_of_127, {0x62, 0x83, 0x01}); // 12 sids[0], 131 bytes
    const bytes sid_of_128 = {
        0x08, 0x01,       // 1 value_1 = 1
        0x1A, 0x80, 0x01, // 3 sid, 128 bytes
        0x0A, 0x7E,       //   1 prefix, 126 bytes
    };
    expect_sid_in_every_buffer(bytes(126, 0xA7), sid_of_128, {0x62, 0x85, 0x01}); // 12 sids[0], 133 bytes
    const bytes sid_of_131 = {
        0x08, 0x01,       // 1 value_1 = 1
        0x1A, 0x83, 0x01, // 3 sid, 131 bytes
        0x0A, 0x80, 0x01, //   1 prefix, 128 bytes
    };
    expect_sid_in_every_buffer(bytes(128, 0xA7), sid_of_131, {0x62, 0x88, 0x01}); // 12 sids[0], 136 bytes
    const bytes sid_of_16384 = {
        0x08, 0x01,             // 1 value_1 = 1
        0x1A, 0x80, 0x80, 0x01, // 3 sid, 16384 bytes
        0x0A, 0xFD, 0x7F,       //   1 prefix, 16381 bytes
    };
    expect_sid_in_every_buffer(bytes(16381, 0xA7), sid_of_16384, {0x62, 0x86, 0x80, 0x01}); // 12 sids[0], 16390 bytes
}

TEST(contract_order, largest_values_of_a_bounded_message_fit_into_a_buffer_of_just_their_size)
{
    zidl_rib_nhid_update msg = {};
    msg.nhid_update_value_1 = 0xFFFFFFFF;
    auto &key = msg.nhid_encap_key;
    key.nhid_key_value_1 = key.nhid_key_value_3 = key.nhid_key_value_4 = 0xFFFFFFFF;
    key.nhid_key_address.family = key.nhid_key_address.ipv4 = 0xFFFFFFFF;
    key.nhid_key_address.ipv6.half0 = key.nhid_key_address.ipv6.half1 = 0xFFFFFFFFFFFFFFFF;
    key.nhid_key_address.ipv6.presence = 0x03;
    key.nhid_key_address.presence = 0x07;
    key.presence = 0x0F;
    msg.nhid = 0xFFFFFFFFFFFFFFFF;
    msg.presence = 0x07;
    const bytes whole = {
        0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,                               // 1 nhid_update_value_1
        0x12, 0x38,                                                       // 2 nhid_encap_key, 56 bytes
        0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,                               //   1 nhid_key_value_1
        0x12, 0x24,                                                       //   2 nhid_key_address, 36 bytes
        0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,                               //     1 family
        0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,                               //     2 ipv4
        0x1A, 0x16,                                                       //     3 ipv6, 22 bytes
        0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, //       1 half0
        0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, //       2 half1
        0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,                               //   3 nhid_key_value_3
        0x20, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,                               //   4 nhid_key_value_4
        0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 3 nhid
    };
    expect_start_whatever_the_buffer<rib_nhid_update>(msg, whole, whole.size(), 0);
}

TEST(contract_order, message_whose_only_string_is_null_is_written_where_its_own_bit_says_so_alone)
{
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.e_ctx.presence = 0x04;  // name_3, which is null
    msg.dt_ctx.presence = 0x02; // name_2, likewise
    expect_start_whatever_the_buffer<ip_rib_srv6_sid_ctx>(msg, {}, 0, 0);
    msg.presence = 0x04;                                                            // e_ctx
    expect_start_whatever_the_buffer<ip_rib_srv6_sid_ctx>(msg, {0x1A, 0x00}, 2, 0); // 3 e_ctx, empty
}

// Hostile sizes

TEST(contract_order, absent_bytes_are_not_looked_at_whatever_their_size_and_address)
{
    for (const uint64_t size : {uint64_t{1} << 28, uint64_t{1} << 63, UINT64_MAX, UINT64_MAX - 5}) {
        zidl_ip_rib_srv6_sid_info msg = {};
        msg.value_1 = 1;
        msg.sid.prefix = reinterpret_cast<uint8_t *>(uintptr_t{1});
        msg.sid.prefix_size = size;
        msg.sid.prefix_len = 64;
        msg.sid.presence = 0x02; // prefix_len
        msg.presence = 0x01;     // value_1
        const bytes whole = {
            0x08, 0x01, // 1 value_1 = 1
            0x1A, 0x02, // 3 sid, 2 bytes
            0x10, 0x40, //   2 prefix_len = 64
        };
        expect_start_whatever_the_buffer<ip_rib_srv6_sid_info>(msg, whole, whole.size(), 0);
    }
}

// Encodes a record with a size that no buffer has: its bytes are nowhere.
template <class Codec>
void expect_only(const typename Codec::record &msg, size_t result, const bytes &written)
{
    EXPECT_EQ(encoded_size<Codec>(msg), result);
    for (const size_t buflen : lengths_around({written.size()})) {
        if (buflen == 0)
            continue;
        bytes expected = written;
        expected.resize(std::min(buflen, written.size()));
        expected.resize(buflen, listing::untouched_byte);
        bytes buf(buflen, listing::untouched_byte);
        EXPECT_EQ(call_encode<Codec>(msg, buf.data(), buflen, nullptr, nullptr, 0), result) << buflen;
        EXPECT_TRUE(buf == expected) << buflen;
    }
}

zidl_ip_rib_srv6_prefix prefix_of_size(uint64_t size)
{
    zidl_ip_rib_srv6_prefix msg = {};
    msg.prefix = reinterpret_cast<uint8_t *>(uintptr_t{1});
    msg.prefix_size = size;
    msg.prefix_len = 24;
    msg.presence = 0x03;
    return msg;
}

TEST(contract_order, bytes_of_a_size_beyond_the_buffer_are_left_out_and_counted)
{
    expect_only<ip_rib_srv6_prefix>(prefix_of_size(0x10000000), 0x10000008,
                                    {0x0A, 0x80, 0x80, 0x80, 0x80, 0x01}); // 1 prefix, 2^28 bytes
    expect_only<ip_rib_srv6_prefix>(prefix_of_size(0xFFFFFFF), 0x10000006,
                                    {0x0A, 0xFF, 0xFF, 0xFF, 0x7F}); // 1 prefix, 2^28 - 1 bytes
    expect_only<ip_rib_srv6_prefix>(prefix_of_size(0x100000001), rib_test::as_size(0x100000005),
                                    {0x0A, 0x01}); // 1 prefix, the low 32 bits of the size
    expect_only<ip_rib_srv6_prefix>(prefix_of_size(0x8000000000000000), rib_test::as_size(0x8000000000000004),
                                    {0x0A, 0x00}); // 1 prefix, the low 32 bits of the size
}

TEST(contract_order, position_that_wraps_over_a_hostile_size_writes_on_from_there)
{
    const bytes prefix = {
        0x0A, 0xFF, 0xFF, 0xFF, 0xFF, // 1 prefix, 2^32 - 1 bytes, but for the last byte of the length
        0x10, 0x18,                   // 2 prefix_len = 24, from one byte before
    };
    expect_only<ip_rib_srv6_prefix>(prefix_of_size(UINT64_MAX), 7, prefix);

    zidl_ip_rib_srv6_mode_info mode = {};
    mode.mode_prefix = prefix_of_size(UINT64_MAX);
    expect_only<ip_rib_srv6_mode_info>(mode, 9, joined({{0x12, 0x07}, prefix})); // 2 mode_prefix, 7 bytes

    zidl_ip_rib_srv6_glb_encap_info encap = {};
    encap.encap_prefix_2 = prefix_of_size(UINT64_MAX);
    encap.flag_3 = 1;
    encap.presence = 0x0004;                                                                          // flag_3
    expect_only<ip_rib_srv6_glb_encap_info>(encap, 11, joined({{0x12, 0x07}, prefix, {0x18, 0x01}})); // 2, 3 flag_3
}

TEST(contract_order, buffer_said_to_have_all_of_memory_does_not_make_a_hostile_size_fit)
{
    const zidl_ip_rib_srv6_prefix msg = prefix_of_size(UINT64_MAX);
    const bytes expected = {
        0x0A, 0xFF, 0xFF, 0xFF, 0xFF, // 1 prefix, 2^32 - 1 bytes, but for the last byte of the length
        0x10, 0x18,                   // 2 prefix_len = 24, from one byte before
    };
    bytes buf(64, 0xEE);
    ASSERT_EQ(zidl_ip_rib_srv6_prefix_encode_ext(&msg, buf.data(), SIZE_MAX, nullptr, nullptr, 0), expected.size());
    EXPECT_EQ(bytes(buf.begin(), buf.begin() + 7), expected);
    EXPECT_EQ(bytes(buf.begin() + 7, buf.end()), bytes(57, 0xEE));
}

TEST(contract_order, two_sizes_that_cancel_each_other_out_are_not_taken_for_small_ones)
{
    zidl_ip_rib_srv6_glb_encap_info msg = {};
    msg.encap_prefix_1 = prefix_of_size(0x8000000000000000);
    msg.encap_prefix_2 = prefix_of_size(0x8000000000000000);
    const bytes written = {
        0x0A, 0x04, // 1 encap_prefix_1, the low 32 bits of its length
        0x0A, 0x00, //   1 prefix, the low 32 bits of its size
    };
    // 2^63 + 4 bytes and their head, twice: 2^64 drops out.
    expect_only<ip_rib_srv6_glb_encap_info>(msg, 12, written);
}

} // namespace
