// The segment list and zero-copy encoding: which extents are listed, where their bases lie, and what is counted.

#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/codec/support.hpp"

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_iid_evpn_elan_ctx);
RIB_TEST_CODEC(ip_rib_iid_lss_ctx);
RIB_TEST_CODEC(ip_rib_opaque);
RIB_TEST_CODEC(ip_rib_proto_update);
RIB_TEST_CODEC(ip_rib_srv6_prefix);
RIB_TEST_CODEC(ip_rib_srv6_static_endpoint_update);
RIB_TEST_CODEC(ip_rib_srv6_x_ctx);
RIB_TEST_CODEC(rib_bind_reply);
RIB_TEST_CODEC(rib_encap_id_key);
RIB_TEST_CODEC(rib_encap_id_path_key_srv6);
RIB_TEST_CODEC(rib_encap_id_path_key_srv6_carriers);
RIB_TEST_CODEC(rib_generic_attr_array);
RIB_TEST_CODEC(rib_generic_attr_info);
RIB_TEST_CODEC(rib_msg_prefix);
RIB_TEST_CODEC(rib_path);
RIB_TEST_CODEC(rib_prefix);
RIB_TEST_CODEC(rib_route);

constexpr uint8_t untouched = listing::untouched_byte;
const zidl_segment untouched_entry = {nullptr, listing::untouched_len};

zidl_segment extent(const uint8_t *base, uint64_t len)
{
    return {base, len};
}

// The address that a base has when there is no buffer to add the offset to.
const uint8_t *offset_from_null(uintptr_t offset)
{
    return reinterpret_cast<const uint8_t *>(offset);
}

// Encodes with a segment list but without a buffer.
template <class Codec>
listing list_without_buffer(const typename Codec::record &msg, uint32_t capacity, uint32_t flags)
{
    listing out{0, capacity, {}, std::vector<zidl_segment>(capacity + 3, untouched_entry)};
    out.result = call_encode<Codec>(msg, nullptr, 0, out.segs.data(), &out.count, flags);
    return out;
}

zidl_rib_bind_reply bind_reply_of_value_5()
{
    zidl_rib_bind_reply msg = {};
    msg.bind_value = 5;
    msg.presence = 0x01; // bind_value
    return msg;
}

// 0A 06 | 08 02 | 1A 02 | 08 00 | 10 40: a prefix around an address around an IPv6 address.
zidl_rib_prefix three_levels()
{
    zidl_rib_prefix msg = {};
    msg.address.family = 2;
    msg.address.ipv6.presence = 0x01; // half0
    msg.address.presence = 0x01;      // family
    msg.prefix_len = 64;
    msg.presence = 0x02; // prefix_len
    return msg;
}

uint8_t first_data[] = {0xF1, 0xF2, 0xF3};
uint8_t second_data[] = {0x51, 0x52, 0x53, 0x54};

// 08 07 | 2A 03 (3 bytes) | 32 04 (4 bytes)
zidl_ip_rib_opaque two_blocks()
{
    zidl_ip_rib_opaque msg = {};
    msg.opaque_type = 7;
    msg.first_block = first_data;
    msg.first_block_size = 3;
    msg.second_block = second_data;
    msg.second_block_size = 4;
    msg.presence = 0x31; // opaque_type, first_block, second_block
    return msg;
}

// Without zero-copy

TEST(contract_segments, flat_message_is_listed_as_one_segment)
{
    const listing out = list_segments<rib_bind_reply>(bind_reply_of_value_5(), 8, 4, 0);
    EXPECT_EQ(out.result, 2u);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 2));
    EXPECT_EQ(out.segs[1], untouched_entry);
}

TEST(contract_segments, empty_message_is_listed_as_no_segment)
{
    const listing out = list_segments<rib_route>(zidl_rib_route{}, 8, 4, 0);
    EXPECT_EQ(out.result, 0u);
    EXPECT_EQ(out.count, 0u);
    EXPECT_EQ(out.segs[0], untouched_entry);
}

TEST(contract_segments, nothing_is_recorded_without_a_count)
{
    const zidl_rib_prefix msg = three_levels();
    uint8_t buf[16];
    zidl_segment segs[4] = {untouched_entry, untouched_entry, untouched_entry, untouched_entry};
    EXPECT_EQ(zidl_rib_prefix_encode_ext(&msg, buf, sizeof buf, segs, nullptr, 0), 10u);
    EXPECT_EQ(segs[0], untouched_entry);
}

TEST(contract_segments, capacity_zero_writes_no_entry_and_tells_how_many_are_needed)
{
    const listing out = list_segments<rib_bind_reply>(bind_reply_of_value_5(), 8, 0, 0);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], untouched_entry);
}

TEST(contract_segments, capacity_zero_needs_no_list)
{
    const zidl_rib_prefix msg = three_levels();
    uint8_t buf[16];
    uint32_t count = 0;
    EXPECT_EQ(zidl_rib_prefix_encode_ext(&msg, buf, sizeof buf, nullptr, &count, 0), 10u);
    EXPECT_EQ(count, 3u);
}

TEST(contract_segments, null_list_has_capacity_zero_whatever_the_count_says)
{
    const zidl_rib_prefix msg = three_levels();
    for (const uint32_t capacity : {1u, 3u, 1000u, UINT32_MAX}) {
        uint8_t buf[16];
        uint32_t count = capacity;
        EXPECT_EQ(zidl_rib_prefix_encode_ext(&msg, buf, sizeof buf, nullptr, &count, 0), 10u);
        EXPECT_EQ(count, 3u);
        count = capacity;
        EXPECT_EQ(zidl_rib_prefix_encode_ext(&msg, nullptr, 0, nullptr, &count, 0), 10u);
        EXPECT_EQ(count, 3u);
    }
}

TEST(contract_segments, null_list_has_capacity_zero_also_for_borrowed_bytes)
{
    const zidl_ip_rib_opaque msg = two_blocks();
    uint8_t buf[16];
    uint32_t count = 4;
    EXPECT_EQ(zidl_ip_rib_opaque_encode_ext(&msg, buf, sizeof buf, nullptr, &count, ZIDL_ZERO_COPY), 6u);
    EXPECT_EQ(count, 4u); // two heads, two contents
}

TEST(contract_segments, bool_of_0x80_and_above_is_one_byte_of_its_segment)
{
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.oper_type.oper_selector = 0xFF;
    msg.oper_type.presence = 0x01; // oper_selector
    const listing out = list_segments<rib_encap_id_path_key_srv6>(msg, 4, 8, 0);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.buf, (bytes{0x0A, 0x02, 0x08, 0xFF})); // 1 oper_type: oper_selector = 0xFF
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 2, 2));
    EXPECT_EQ(out.segs[1], extent(out.buf.data(), 4));
}

TEST(contract_segments, nested_messages_list_their_own_segments_before_the_one_that_covers_all)
{
    const listing out = list_segments<rib_prefix>(three_levels(), 16, 8, 0);
    EXPECT_EQ(out.result, 10u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 6, 2)); // ipv6
    EXPECT_EQ(out.segs[1], extent(out.buf.data() + 2, 6)); // address, which encloses it
    EXPECT_EQ(out.segs[2], extent(out.buf.data(), 10));    // the prefix, which encloses both
    EXPECT_EQ(out.segs[3], untouched_entry);
}

TEST(contract_segments, bytes_are_written_as_always_when_a_list_is_asked_for)
{
    const listing out = list_segments<rib_prefix>(three_levels(), 12, 8, 0);
    const bytes expected = {
        0x0A,      0x06,      // 1 address, 6 bytes
        0x08,      0x02,      //   1 family = 2
        0x1A,      0x02,      //   3 ipv6, 2 bytes
        0x08,      0x00,      //     1 half0 = 0
        0x10,      0x40,      // 2 prefix_len = 64
        untouched, untouched, // behind the encoding
    };
    EXPECT_EQ(out.buf, expected);
}

TEST(contract_segments, only_entries_below_the_capacity_are_written)
{
    const listing one = list_segments<rib_prefix>(three_levels(), 16, 1, 0);
    EXPECT_EQ(one.count, 3u);
    EXPECT_EQ(one.segs[0], extent(one.buf.data() + 6, 2)); // ipv6
    EXPECT_EQ(one.segs[1], untouched_entry);

    const listing two = list_segments<rib_prefix>(three_levels(), 16, 2, 0);
    EXPECT_EQ(two.count, 3u);
    EXPECT_EQ(two.segs[0], extent(two.buf.data() + 6, 2)); // ipv6
    EXPECT_EQ(two.segs[1], extent(two.buf.data() + 2, 6)); // address
    EXPECT_EQ(two.segs[2], untouched_entry);
}

TEST(contract_segments, empty_nested_message_lists_nothing_of_its_own)
{
    zidl_rib_prefix msg = {};
    msg.presence = 0x01; // address
    const listing out = list_segments<rib_prefix>(msg, 16, 8, 0);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 2));
}

TEST(contract_segments, every_element_of_a_repeated_message_that_has_content_lists_its_own_segment)
{
    zidl_rib_address addresses[3] = {};
    addresses[0].presence = 0x01; // family
    addresses[2].presence = 0x02; // ipv4
    zidl_rib_path msg = {};
    msg.path_addresses = addresses;
    msg.path_addresses_count = 3;
    msg.presence = 1u << 14; // path_addresses
    const listing out = list_segments<rib_path>(msg, 32, 8, 0);
    EXPECT_EQ(out.result, 13u); // 8A 01 02 08 00 | 8A 01 00 | 8A 01 02 10 00
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 3, 2));  // path_addresses[0]
    EXPECT_EQ(out.segs[1], extent(out.buf.data() + 11, 2)); // path_addresses[2]
    EXPECT_EQ(out.segs[2], extent(out.buf.data(), 13));     // the path
}

TEST(contract_segments, entries_beyond_the_capacity_are_counted_through_several_nested_messages)
{
    zidl_rib_path msg = {};
    msg.path_address_4.ipv6.presence = 0x01; // half0: two entries
    msg.path_address_5.ipv6.presence = 0x01; // half0: two entries
    msg.path_ipv6_address.presence = 0x01;   // half0: one entry
    const listing out = list_segments<rib_path>(msg, 32, 1, 0);
    EXPECT_EQ(out.result, 17u); // 22 04 1A 02 08 00 | 2A 04 1A 02 08 00 | 92 01 02 08 00
    EXPECT_EQ(out.count, 6u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 4, 2)); // path_address_4.ipv6
    EXPECT_EQ(out.segs[1], untouched_entry);
}

TEST(contract_segments, types_with_bytes_list_one_segment_when_they_are_copied)
{
    const listing out = list_segments<ip_rib_opaque>(two_blocks(), 16, 8, 0);
    EXPECT_EQ(out.result, 13u); // 08 07 | 2A 03 .. .. .. | 32 04 .. .. .. ..
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 13));
}

TEST(contract_segments, lengths_are_those_of_the_whole_encoding_though_the_buffer_is_too_small)
{
    const listing out = list_segments<rib_bind_reply>(bind_reply_of_value_5(), 1, 4, 0);
    EXPECT_EQ(out.result, 2u);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 2));
}

TEST(contract_segments, nested_message_beyond_the_buffer_has_a_null_base)
{
    const listing four = list_segments<rib_prefix>(three_levels(), 6, 8, 0); // ends right before ipv6
    EXPECT_EQ(four.result, 10u);
    EXPECT_EQ(four.count, 3u);
    EXPECT_EQ(four.segs[0], extent(nullptr, 2));             // ipv6
    EXPECT_EQ(four.segs[1], extent(four.buf.data() + 2, 6)); // address
    EXPECT_EQ(four.segs[2], extent(four.buf.data(), 10));    // the prefix
}

TEST(contract_segments, nested_message_that_begins_in_the_last_byte_of_the_buffer_has_its_base_there)
{
    const listing out = list_segments<rib_prefix>(three_levels(), 7, 8, 0);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 6, 2)); // ipv6
}

TEST(contract_segments, without_a_buffer_every_base_is_null)
{
    const listing out = list_without_buffer<rib_prefix>(three_levels(), 8, 0);
    EXPECT_EQ(out.result, 10u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], extent(nullptr, 2));  // ipv6
    EXPECT_EQ(out.segs[1], extent(nullptr, 6));  // address
    EXPECT_EQ(out.segs[2], extent(nullptr, 10)); // the prefix
}

// Zero-copy, bytes in the message itself

TEST(contract_segments, zero_copy_lists_header_and_contents_of_each_bytes_member)
{
    const listing out = list_segments<ip_rib_opaque>(two_blocks(), 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 6u);
    EXPECT_EQ(out.count, 4u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 4));     // opaque_type, tag and length of first_block
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // first_block
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 4, 2)); // tag and length of second_block
    EXPECT_EQ(out.segs[3], extent(second_data, 4));        // second_block
    EXPECT_EQ(out.segs[4], untouched_entry);
}

TEST(contract_segments, zero_copy_stores_everything_but_the_contents)
{
    const listing out = list_segments<ip_rib_opaque>(two_blocks(), 8, 8, ZIDL_ZERO_COPY);
    const bytes expected = {
        0x08,      0x07,      // 1 opaque_type = 7
        0x2A,      0x03,      // 5 first_block, 3 bytes
        0x32,      0x04,      // 6 second_block, 4 bytes
        untouched, untouched, // behind the encoding
    };
    EXPECT_EQ(out.buf, expected);
}

TEST(contract_segments, zero_copy_segments_one_after_another_are_the_whole_encoding)
{
    const listing out = list_segments<ip_rib_opaque>(two_blocks(), 16, 8, ZIDL_ZERO_COPY);
    bytes gathered;
    for (uint32_t i = 0; i < out.count; i++)
        gathered.insert(gathered.end(), out.segs[i].base, out.segs[i].base + out.segs[i].len);
    const bytes expected = {
        0x08, 0x07,                         // 1 opaque_type = 7
        0x2A, 0x03, 0xF1, 0xF2, 0xF3,       // 5 first_block
        0x32, 0x04, 0x51, 0x52, 0x53, 0x54, // 6 second_block
    };
    EXPECT_EQ(gathered, expected);
}

TEST(contract_segments, zero_copy_without_a_count_leaves_the_contents_out)
{
    const zidl_ip_rib_opaque msg = two_blocks();
    const bytes expected = {
        0x08, 0x07, // 1 opaque_type = 7
        0x2A, 0x03, // 5 first_block, 3 bytes, left out
        0x32, 0x04, // 6 second_block, 4 bytes, left out
    };
    EXPECT_EQ(encode<ip_rib_opaque>(msg, ZIDL_ZERO_COPY), expected);
}

TEST(contract_segments, zero_copy_without_a_count_leaves_the_contents_out_also_where_there_is_room_for_them)
{
    const zidl_ip_rib_opaque msg = two_blocks();
    bytes buf(64, untouched);
    EXPECT_EQ(zidl_ip_rib_opaque_encode_ext(&msg, buf.data(), buf.size(), nullptr, nullptr, ZIDL_ZERO_COPY), 6u);
    bytes expected = {
        0x08, 0x07, // 1 opaque_type = 7
        0x2A, 0x03, // 5 first_block, 3 bytes, left out
        0x32, 0x04, // 6 second_block, 4 bytes, left out
    };
    expected.resize(64, untouched);
    EXPECT_EQ(buf, expected);
}

TEST(contract_segments, zero_copy_without_a_count_leaves_nested_contents_out_also_where_there_is_room_for_them)
{
    zidl_rib_generic_attr_info attrs[1] = {};
    attrs[0].attr_data = first_data;
    attrs[0].attr_data_size = 3;
    attrs[0].presence = 0x02; // attr_data
    zidl_rib_generic_attr_array msg = {};
    msg.array_type = 9;
    msg.attrs = attrs;
    msg.attrs_count = 1;
    msg.presence = 0x03; // array_type, attrs
    bytes buf(64, untouched);
    EXPECT_EQ(zidl_rib_generic_attr_array_encode_ext(&msg, buf.data(), buf.size(), nullptr, nullptr, ZIDL_ZERO_COPY),
              6u);
    bytes expected = {
        0x08, 0x09, // 1 array_type = 9
        0x12, 0x02, // 2 attrs[0], 2 bytes
        0x12, 0x03, //   2 attr_data, 3 bytes, left out
    };
    expected.resize(64, untouched);
    EXPECT_EQ(buf, expected);
}

TEST(contract_segments, zero_copy_sizing_call_excludes_the_contents)
{
    EXPECT_EQ(encoded_size<ip_rib_opaque>(two_blocks(), ZIDL_ZERO_COPY), 6u);
}

TEST(contract_segments, zero_copy_contents_need_no_room_in_the_buffer)
{
    const listing out = list_segments<ip_rib_opaque>(two_blocks(), 6, 8, ZIDL_ZERO_COPY);
    const bytes expected = {
        0x08, 0x07, // 1 opaque_type = 7
        0x2A, 0x03, // 5 first_block, 3 bytes
        0x32, 0x04, // 6 second_block, 4 bytes
    };
    EXPECT_EQ(out.buf, expected);
}

TEST(contract_segments, zero_copy_writes_only_entries_below_the_capacity)
{
    const listing none = list_segments<ip_rib_opaque>(two_blocks(), 16, 0, ZIDL_ZERO_COPY);
    EXPECT_EQ(none.count, 4u);
    EXPECT_EQ(none.segs[0], untouched_entry);

    const listing one = list_segments<ip_rib_opaque>(two_blocks(), 16, 1, ZIDL_ZERO_COPY);
    EXPECT_EQ(one.count, 4u);
    EXPECT_EQ(one.segs[0], extent(one.buf.data(), 4));
    EXPECT_EQ(one.segs[1], untouched_entry);

    const listing two = list_segments<ip_rib_opaque>(two_blocks(), 16, 2, ZIDL_ZERO_COPY);
    EXPECT_EQ(two.count, 4u);
    EXPECT_EQ(two.segs[1], extent(first_data, 3));
    EXPECT_EQ(two.segs[2], untouched_entry);

    const listing three = list_segments<ip_rib_opaque>(two_blocks(), 16, 3, ZIDL_ZERO_COPY);
    EXPECT_EQ(three.count, 4u);
    EXPECT_EQ(three.segs[2], extent(three.buf.data() + 4, 2));
    EXPECT_EQ(three.segs[3], untouched_entry);
}

TEST(contract_segments, zero_copy_bytes_of_length_zero_add_no_entry)
{
    zidl_ip_rib_opaque msg = two_blocks();
    msg.first_block_size = 0;
    const listing out = list_segments<ip_rib_opaque>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 6u);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 6)); // 08 07 2A 00 32 04
    EXPECT_EQ(out.segs[1], extent(second_data, 4));
    EXPECT_EQ(out.segs[2], untouched_entry);
}

TEST(contract_segments, zero_copy_last_bytes_of_length_zero_stand_in_a_closing_entry)
{
    zidl_ip_rib_opaque msg = two_blocks();
    msg.second_block_size = 0;
    const listing out = list_segments<ip_rib_opaque>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 6u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 4));     // 08 07 2A 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // first_block
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 4, 2)); // 32 00
    EXPECT_EQ(out.segs[3], untouched_entry);
}

TEST(contract_segments, zero_copy_both_bytes_of_length_zero_are_one_entry)
{
    zidl_ip_rib_opaque msg = two_blocks();
    msg.first_block_size = 0;
    msg.second_block_size = 0;
    const listing out = list_segments<ip_rib_opaque>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 6)); // 08 07 2A 00 32 00
}

TEST(contract_segments, zero_copy_bytes_at_the_end_have_no_closing_entry)
{
    zidl_rib_msg_prefix msg = {};
    msg.family = 10;
    msg.ipv6 = first_data;
    msg.ipv6_size = 3;
    msg.presence = 0x09; // family, ipv6
    const listing out = list_segments<rib_msg_prefix>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 4)); // 08 0A 22 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));
    EXPECT_EQ(out.segs[2], untouched_entry);
}

TEST(contract_segments, zero_copy_bytes_at_the_end_count_two_entries_though_there_is_no_room_for_them)
{
    zidl_rib_msg_prefix msg = {};
    msg.ipv6 = first_data;
    msg.ipv6_size = 3;
    msg.presence = 0x08; // ipv6
    const listing out = list_segments<rib_msg_prefix>(msg, 16, 0, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[0], untouched_entry);
}

TEST(contract_segments, zero_copy_fields_behind_the_bytes_stand_in_a_closing_entry)
{
    zidl_ip_rib_srv6_prefix msg = {};
    msg.prefix = first_data;
    msg.prefix_size = 3;
    msg.prefix_len = 24;
    msg.presence = 0x03; // prefix, prefix_len
    const listing out = list_segments<ip_rib_srv6_prefix>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 2));     // tag and length of prefix
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // prefix
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 2, 2)); // prefix_len
}

TEST(contract_segments, zero_copy_bytes_in_the_middle_split_the_buffer_into_runs)
{
    zidl_ip_rib_iid_evpn_elan_ctx msg = {};
    msg.ctx_value_1 = 1;
    msg.ctx_bytes_2 = first_data;
    msg.ctx_bytes_2_size = 3;
    msg.ctx_value_3 = 3;
    msg.ctx_value_4 = 4;
    msg.ctx_bytes_5 = second_data;
    msg.ctx_bytes_5_size = 4;
    msg.ctx_value_6 = 6;
    msg.ctx_value_7 = 7;
    msg.presence = 0x7F; // all
    const listing out = list_segments<ip_rib_iid_evpn_elan_ctx>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 14u);
    EXPECT_EQ(out.count, 5u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 4));      // 08 01 12 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));          // ctx_bytes_2
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 4, 6));  // 18 03 20 04 2A 04
    EXPECT_EQ(out.segs[3], extent(second_data, 4));         // ctx_bytes_5
    EXPECT_EQ(out.segs[4], extent(out.buf.data() + 10, 4)); // 30 06 38 07
    EXPECT_EQ(out.segs[5], untouched_entry);
}

TEST(contract_segments, zero_copy_closing_entry_without_room_is_counted_all_the_same)
{
    zidl_ip_rib_srv6_prefix msg = {};
    msg.prefix = first_data;
    msg.prefix_size = 3;
    msg.presence = 0x03; // prefix, prefix_len
    const listing out = list_segments<ip_rib_srv6_prefix>(msg, 16, 2, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[1], extent(first_data, 3));
    EXPECT_EQ(out.segs[2], untouched_entry);
}

TEST(contract_segments, zero_copy_bases_without_a_buffer_are_the_offsets_alone)
{
    zidl_ip_rib_srv6_prefix msg = {};
    msg.prefix = first_data;
    msg.prefix_size = 3;
    msg.presence = 0x03; // prefix, prefix_len
    const listing out = list_without_buffer<ip_rib_srv6_prefix>(msg, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], extent(nullptr, 2));             // tag and length of prefix
    EXPECT_EQ(out.segs[1], extent(first_data, 3));          // prefix
    EXPECT_EQ(out.segs[2], extent(offset_from_null(2), 2)); // prefix_len
}

TEST(contract_segments, zero_copy_bases_beyond_the_buffer_of_the_message_itself_are_buffer_plus_offset)
{
    zidl_ip_rib_srv6_prefix msg = {};
    msg.prefix = first_data;
    msg.prefix_size = 3;
    msg.presence = 0x03; // prefix, prefix_len
    const listing out = list_segments<ip_rib_srv6_prefix>(msg, 1, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 2));
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 2, 2));
    EXPECT_EQ(out.buf, (bytes{0x0A}));
}

TEST(contract_segments, zero_copy_copies_strings_as_always)
{
    char name[] = "ab";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = name;
    msg.presence = 0x08; // proto_name
    const listing out = list_segments<ip_rib_proto_update>(msg, 4, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 4));
    EXPECT_EQ(out.buf, (bytes{0x22, 0x02, 'a', 'b'})); // 4 proto_name
}

TEST(contract_segments, zero_copy_length_prefix_holds_the_low_32_bits_and_the_entry_all_of_them)
{
    zidl_rib_generic_attr_info msg = {};
    msg.attr_data = first_data;
    msg.attr_data_size = 0x100000003;
    msg.presence = 0x02; // attr_data
    const listing out = list_segments<rib_generic_attr_info>(msg, 2, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 2u);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[1], extent(first_data, 0x100000003));
    EXPECT_EQ(out.buf, (bytes{0x12, 0x03})); // 2 attr_data
}

// Zero-copy, repeated bytes

TEST(contract_segments, zero_copy_lists_header_and_contents_of_each_element_of_repeated_bytes)
{
    zidl_bytes entries[] = {{first_data, 3}, {second_data, 4}};
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.entries = entries;
    msg.entries_count = 2;
    msg.presence = 0x02; // entries
    const listing out = list_segments<rib_encap_id_path_key_srv6>(msg, 8, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 4u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 2));     // 12 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // entries[0]
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 2, 2)); // 12 04
    EXPECT_EQ(out.segs[3], extent(second_data, 4));        // entries[1]
    EXPECT_EQ(out.segs[4], untouched_entry);
}

TEST(contract_segments, zero_copy_empty_element_of_repeated_bytes_joins_the_next_run)
{
    zidl_bytes entries[] = {{first_data, 3}, {nullptr, 0}, {second_data, 4}, {nullptr, 0}};
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.entries = entries;
    msg.entries_count = 4;
    msg.presence = 0x02; // entries
    const listing out = list_segments<rib_encap_id_path_key_srv6>(msg, 8, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 8u);
    EXPECT_EQ(out.count, 5u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 2));     // 12 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // entries[0]
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 2, 4)); // 12 00 12 04
    EXPECT_EQ(out.segs[3], extent(second_data, 4));        // entries[2]
    EXPECT_EQ(out.segs[4], extent(out.buf.data() + 6, 2)); // 12 00
}

TEST(contract_segments, zero_copy_first_run_begins_before_the_nested_message_that_precedes_the_bytes)
{
    zidl_bytes entries[] = {{first_data, 3}};
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.oper_type.oper_selector = 1;
    msg.oper_type.presence = 0x01; // oper_selector
    msg.entries = entries;
    msg.entries_count = 1;
    msg.presence = 0x02; // entries
    const listing out = list_segments<rib_encap_id_path_key_srv6>(msg, 8, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 6u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 2, 2)); // 08 01, the nested message's own entry
    EXPECT_EQ(out.segs[1], extent(out.buf.data(), 6));     // 0A 02 08 01 12 03
    EXPECT_EQ(out.segs[2], extent(first_data, 3));         // entries[0]
}

// Zero-copy, bytes in nested messages

TEST(contract_segments, zero_copy_lengths_of_enclosing_messages_exclude_the_contents)
{
    zidl_rib_generic_attr_info attrs[2] = {};
    attrs[0].attr_type = 7;
    attrs[0].attr_data = first_data;
    attrs[0].attr_data_size = 3;
    attrs[0].presence = 0x03; // attr_type, attr_data
    attrs[1].attr_data = second_data;
    attrs[1].attr_data_size = 4;
    attrs[1].presence = 0x02; // attr_data
    zidl_rib_generic_attr_array msg = {};
    msg.attrs = attrs;
    msg.attrs_count = 2;
    msg.presence = 0x02; // attrs
    const listing out = list_segments<rib_generic_attr_array>(msg, 12, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 10u);
    const bytes expected = {
        0x12,      0x04,      // 2 attrs[0], 4 bytes
        0x08,      0x07,      //   1 attr_type = 7
        0x12,      0x03,      //   2 attr_data, 3 bytes, elsewhere
        0x12,      0x02,      // 2 attrs[1], 2 bytes
        0x12,      0x04,      //   2 attr_data, 4 bytes, elsewhere
        untouched, untouched, // behind the encoding
    };
    EXPECT_EQ(out.buf, expected);
    EXPECT_EQ(out.count, 5u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 2, 4)); // attrs[0] up to its bytes
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // its attr_data
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 8, 2)); // attrs[1] up to its bytes
    EXPECT_EQ(out.segs[3], extent(second_data, 4));        // its attr_data
    EXPECT_EQ(out.segs[4], extent(out.buf.data(), 10));    // the array, which encloses both
    EXPECT_EQ(out.segs[5], untouched_entry);
}

TEST(contract_segments, zero_copy_reaches_bytes_three_levels_down)
{
    zidl_rib_generic_attr_info attrs[1] = {};
    attrs[0].attr_data = first_data;
    attrs[0].attr_data_size = 3;
    attrs[0].presence = 0x02; // attr_data
    zidl_rib_route msg = {};
    msg.generic_attrs_33.attrs = attrs;
    msg.generic_attrs_33.attrs_count = 1;
    msg.generic_attrs_33.presence = 0x02; // attrs
    msg.route_value_2 = 9;
    msg.presence = 1ull << 1; // route_value_2
    const listing out = list_segments<rib_route>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 9u); // 10 09 | 8A 02 04 | 12 02 | 12 03
    EXPECT_EQ(out.count, 4u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 7, 2)); // attrs[0] up to its bytes
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // its attr_data
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 5, 4)); // generic_attrs_33
    EXPECT_EQ(out.segs[3], extent(out.buf.data(), 9));     // the route
}

TEST(contract_segments, zero_copy_nested_bytes_followed_by_more_fields_list_both_closing_runs)
{
    zidl_ip_rib_srv6_x_ctx msg = {};
    msg.flag_1 = 1;
    msg.context_prefix.prefix = first_data;
    msg.context_prefix.prefix_size = 3;
    msg.context_prefix.prefix_len = 24;
    msg.context_prefix.presence = 0x03; // prefix, prefix_len
    char name[] = "n";
    msg.name_6 = name;
    msg.presence = 0x21; // flag_1, name_6
    const listing out = list_segments<ip_rib_srv6_x_ctx>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 11u); // 08 01 | 22 04 | 0A 03 | 10 18 | 32 01 'n'
    EXPECT_EQ(out.count, 4u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 4, 2)); // 0A 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // prefix
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 6, 2)); // 10 18
    EXPECT_EQ(out.segs[3], extent(out.buf.data(), 11));    // the whole, which encloses them
}

TEST(contract_segments, zero_copy_bytes_followed_by_messages_with_bytes_list_the_run_behind_the_first_bytes)
{
    zidl_srv6_prefix prefixes[1] = {};
    prefixes[0].prefix = second_data;
    prefixes[0].prefix_size = 4;
    prefixes[0].presence = 0x01; // prefix
    zidl_ip_rib_iid_lss_ctx msg = {};
    msg.lss_bytes = first_data;
    msg.lss_bytes_size = 3;
    msg.lss_prefixes = prefixes;
    msg.lss_prefixes_count = 1;
    msg.presence = 0x30; // lss_bytes, lss_prefixes
    const listing out = list_segments<ip_rib_iid_lss_ctx>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 6u); // 2A 03 | 32 02 | 0A 04
    EXPECT_EQ(out.count, 5u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data(), 2));     // 2A 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // lss_bytes
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 4, 2)); // 0A 04
    EXPECT_EQ(out.segs[3], extent(second_data, 4));        // lss_prefixes[0].prefix
    EXPECT_EQ(out.segs[4], extent(out.buf.data() + 2, 4)); // 32 02 0A 04
}

TEST(contract_segments, zero_copy_last_bytes_close_the_run_that_began_before_the_nested_messages)
{
    zidl_rib_encap_id_key msg = {};
    msg.key_prefix.ipv6 = first_data;
    msg.key_prefix.ipv6_size = 3;
    msg.key_prefix.presence = 0x08; // ipv6
    msg.key_bytes_20 = second_data;
    msg.key_bytes_20_size = 4;
    msg.presence = 1u << 19; // key_bytes_20
    const listing out = list_segments<rib_encap_id_key>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 7u); // 1A 02 | 22 03 | A2 01 04
    EXPECT_EQ(out.count, 4u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 2, 2)); // 22 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // key_prefix.ipv6
    EXPECT_EQ(out.segs[2], extent(out.buf.data(), 7));     // 1A 02 22 03 A2 01 04
    EXPECT_EQ(out.segs[3], extent(second_data, 4));        // key_bytes_20
    EXPECT_EQ(out.segs[4], untouched_entry);
}

TEST(contract_segments, zero_copy_nested_message_that_needs_more_entries_than_are_left_reports_all_it_needs)
{
    zidl_rib_encap_id_path_key_srv6_carrier_info carriers[2] = {};
    carriers[0].carrier_bytes = first_data;
    carriers[0].carrier_bytes_size = 3;
    carriers[0].presence = 0x04; // carrier_bytes
    carriers[1].carrier_bytes = second_data;
    carriers[1].carrier_bytes_size = 4;
    carriers[1].presence = 0x04; // carrier_bytes
    zidl_rib_encap_id_path_key_srv6_carriers msg = {};
    msg.carriers = carriers;
    msg.carriers_count = 2;
    msg.presence = 0x02; // carriers
    const listing out = list_segments<rib_encap_id_path_key_srv6_carriers>(msg, 16, 3, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 8u); // 12 02 1A 03 | 12 02 1A 04
    EXPECT_EQ(out.count, 5u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 2, 2)); // 1A 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));         // carriers[0].carrier_bytes
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 6, 2)); // 1A 04
    EXPECT_EQ(out.segs[3], untouched_entry);
}

TEST(contract_segments, zero_copy_two_nested_messages_with_bytes_list_theirs_in_order)
{
    zidl_ip_rib_srv6_static_endpoint_update msg = {};
    msg.sid.prefix = first_data;
    msg.sid.prefix_size = 3;
    msg.sid.presence = 0x01; // prefix
    msg.sid_ctx.ua_ctx.context_prefix.prefix = second_data;
    msg.sid_ctx.ua_ctx.context_prefix.prefix_size = 4;
    msg.sid_ctx.ua_ctx.context_prefix.presence = 0x01; // prefix
    const listing out = list_segments<ip_rib_srv6_static_endpoint_update>(msg, 16, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 12u); // 0A 02 0A 03 | 12 06 5A 04 22 02 0A 04
    EXPECT_EQ(out.count, 7u);
    EXPECT_EQ(out.segs[0], extent(out.buf.data() + 2, 2));  // 0A 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));          // sid.prefix
    EXPECT_EQ(out.segs[2], extent(out.buf.data() + 10, 2)); // 0A 04
    EXPECT_EQ(out.segs[3], extent(second_data, 4));         // sid_ctx.ua_ctx.context_prefix.prefix
    EXPECT_EQ(out.segs[4], extent(out.buf.data() + 8, 4));  // ua_ctx
    EXPECT_EQ(out.segs[5], extent(out.buf.data() + 6, 6));  // sid_ctx
    EXPECT_EQ(out.segs[6], extent(out.buf.data(), 12));     // the whole
}

TEST(contract_segments, zero_copy_nested_base_beyond_the_buffer_is_null_and_its_runs_are_offsets_from_there)
{
    zidl_ip_rib_srv6_static_endpoint_update msg = {};
    msg.sid.prefix = first_data;
    msg.sid.prefix_size = 3;
    msg.sid.prefix_len = 24;
    msg.sid.presence = 0x03; // prefix, prefix_len
    const listing out = list_segments<ip_rib_srv6_static_endpoint_update>(msg, 2, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 6u); // 0A 04 | 0A 03 10 18
    EXPECT_EQ(out.count, 4u);
    EXPECT_EQ(out.segs[0], extent(nullptr, 2));             // 0A 03
    EXPECT_EQ(out.segs[1], extent(first_data, 3));          // sid.prefix
    EXPECT_EQ(out.segs[2], extent(offset_from_null(2), 2)); // 10 18
    EXPECT_EQ(out.segs[3], extent(out.buf.data(), 6));      // the whole
}

TEST(contract_segments, zero_copy_nested_contents_leave_no_gap_in_a_small_buffer)
{
    zidl_ip_rib_srv6_static_endpoint_update msg = {};
    msg.sid.prefix = first_data;
    msg.sid.prefix_size = 3;
    msg.sid.prefix_len = 24;
    msg.sid.presence = 0x03; // prefix, prefix_len
    const listing out = list_segments<ip_rib_srv6_static_endpoint_update>(msg, 5, 8, ZIDL_ZERO_COPY);
    const bytes expected = {
        0x0A, 0x04, // 1 sid, 4 bytes
        0x0A, 0x03, //   1 prefix, 3 bytes, elsewhere
        0x10,       //   2 prefix_len, cut off
    };
    EXPECT_EQ(out.buf, expected);
}

TEST(contract_segments, zero_copy_nested_message_whose_contents_alone_would_be_content_is_present)
{
    zidl_ip_rib_srv6_static_endpoint_update msg = {};
    msg.sid.prefix = first_data;
    msg.sid.prefix_size = 3;
    msg.sid.presence = 0x01; // prefix
    const bytes expected = {
        0x0A, 0x02, // 1 sid, 2 bytes
        0x0A, 0x03, //   1 prefix, 3 bytes, left out
    };
    EXPECT_EQ(encode<ip_rib_srv6_static_endpoint_update>(msg, ZIDL_ZERO_COPY), expected);
}

} // namespace
