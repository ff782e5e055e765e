// Strings and bytes inside messages whose length takes more than one byte, and buffers that are short by only those
// bytes: what does not fit whole leaves its place in the buffer alone, however late the encoder learns of it.

#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "tests/codec/support.hpp"

#include <algorithm>
#include <string>

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_iid_ctx);
RIB_TEST_CODEC(ip_rib_iid_update);
RIB_TEST_CODEC(ip_rib_srv6_cfg_update);
RIB_TEST_CODEC(rib_route);

constexpr uint8_t untouched = listing::untouched_byte;

// A block that is larger than the part of it that the encoder may use.
template <class Codec>
bytes encode_into(const typename Codec::record &msg, size_t buflen, size_t expected_result)
{
    bytes block(expected_result + 8, untouched);
    EXPECT_EQ(call_encode<Codec>(msg, block.data(), buflen, nullptr, nullptr, 0), expected_result) << buflen;
    return block;
}

// The block that encode_into gives when the last value of the encoding is one of `size` bytes that does not fit.
bytes without_the_last_value(const bytes &whole, size_t size, size_t buflen)
{
    bytes expected(whole.begin(), whole.end() - static_cast<ptrdiff_t>(size));
    expected.resize(std::min(expected.size(), buflen));
    expected.resize(whole.size() + 8, untouched);
    return expected;
}

// Lengths whose messages take one, two and three bytes of length prefix, at several depths.
std::vector<size_t> sizes_around_longer_prefixes()
{
    std::vector<size_t> sizes;
    for (size_t size = 112; size <= 132; size++)
        sizes.push_back(size);
    for (size_t size = 16370; size <= 16386; size++)
        sizes.push_back(size);
    return sizes;
}

// Every buffer that is short by up to 16 bytes.
template <class Codec>
void expect_gap_whatever_is_missing(const typename Codec::record &msg, size_t size)
{
    const bytes whole = encode<Codec>(msg);
    ASSERT_GT(whole.size(), size);
    for (size_t missing = 1; missing <= 16; missing++) {
        const size_t buflen = whole.size() - missing;
        EXPECT_EQ(encode_into<Codec>(msg, buflen, whole.size()), without_the_last_value(whole, size, buflen))
            << size << " bytes, " << missing << " missing";
    }
}

TEST(long_nested_value, string_that_lacks_room_by_a_byte_of_an_enclosing_length_is_left_out_whole)
{
    std::string name(126, 'n');
    zidl_ip_rib_iid_ctx msg = {};
    msg.sl_id.sl_id_name = name.data();
    msg.sl_id.presence = 0x08; // sl_id_name
    const bytes head = {
        0x3A, 0x80, 0x01, // 7 sl_id, 128 bytes: a length of two bytes
        0x22, 0x7E,       //   4 sl_id_name, 126 characters
    };
    bytes expected = head;
    expected.resize(131 + 8, untouched); // the name is not there
    EXPECT_EQ(encode_into<ip_rib_iid_ctx>(msg, 130, 131), expected);
}

TEST(long_nested_value, string_that_ends_with_the_buffer_is_written)
{
    std::string name(126, 'n');
    zidl_ip_rib_iid_ctx msg = {};
    msg.sl_id.sl_id_name = name.data();
    msg.sl_id.presence = 0x08; // sl_id_name
    bytes expected = {
        0x3A, 0x80, 0x01, // 7 sl_id, 128 bytes
        0x22, 0x7E,       //   4 sl_id_name, 126 characters
    };
    expected.resize(131, 'n');
    expected.resize(131 + 8, untouched);
    EXPECT_EQ(encode_into<ip_rib_iid_ctx>(msg, 131, 131), expected);
}

TEST(long_nested_value, bytes_that_lack_room_by_a_byte_of_an_enclosing_length_are_left_out_whole)
{
    bytes data(126, 0xDD);
    zidl_rib_generic_attr_info attr = {};
    attr.attr_data = data.data();
    attr.attr_data_size = data.size();
    attr.presence = 0x02; // attr_data
    zidl_rib_route msg = {};
    msg.generic_attrs_33.attrs = &attr;
    msg.generic_attrs_33.attrs_count = 1;
    msg.generic_attrs_33.presence = 0x02; // attrs
    bytes expected = {
        0x8A, 0x02, 0x83, 0x01, // 33 generic_attrs_33, 131 bytes
        0x12, 0x80, 0x01,       //   2 attrs[0], 128 bytes
        0x12, 0x7E,             //     2 attr_data, 126 bytes
    };
    expected.resize(135 + 8, untouched); // the data is not there
    EXPECT_EQ(encode_into<rib_route>(msg, 134, 135), expected);
    EXPECT_EQ(encode_into<rib_route>(msg, 133, 135), expected);
}

TEST(long_nested_value, string_two_levels_down_is_left_out_whole_whatever_is_missing)
{
    for (const size_t size : sizes_around_longer_prefixes()) {
        std::string name(size, 'n');
        zidl_ip_rib_iid_update msg = {};
        msg.iid_ctx.sl_id.sl_id_name = name.data();
        msg.iid_ctx.sl_id.presence = 0x08; // sl_id_name
        expect_gap_whatever_is_missing<ip_rib_iid_update>(msg, size);
    }
}

TEST(long_nested_value, bytes_in_an_array_element_are_left_out_whole_whatever_is_missing)
{
    for (const size_t size : sizes_around_longer_prefixes()) {
        bytes data(size, 0xDD);
        zidl_rib_generic_attr_info attr = {};
        attr.attr_data = data.data();
        attr.attr_data_size = data.size();
        attr.presence = 0x02; // attr_data
        zidl_rib_route msg = {};
        msg.generic_attrs_33.attrs = &attr;
        msg.generic_attrs_33.attrs_count = 1;
        msg.generic_attrs_33.presence = 0x02; // attrs
        expect_gap_whatever_is_missing<rib_route>(msg, size);
    }
}

TEST(long_nested_value, bytes_of_a_second_element_are_left_out_whole_behind_a_long_first_one)
{
    for (const size_t size : sizes_around_longer_prefixes()) {
        std::string name(size, 'n');
        bytes prefix(size, 0xDD);
        zidl_ip_rib_srv6_locator locators[2] = {};
        locators[0].name = name.data();
        locators[0].presence = 0x0001; // name
        locators[1].second_prefix.prefix = prefix.data();
        locators[1].second_prefix.prefix_size = prefix.size();
        locators[1].second_prefix.presence = 0x01; // prefix
        zidl_ip_rib_srv6_cfg_update msg = {};
        msg.locators = locators;
        msg.locators_count = 2;
        msg.presence = 0x02; // locators
        expect_gap_whatever_is_missing<ip_rib_srv6_cfg_update>(msg, size);
    }
}

} // namespace
