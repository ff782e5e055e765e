// What every deep copy does alike: members, presence bits, the order of allocations, and what a refusal leaves behind.

#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/codec/support.hpp"

#include <string>

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_opaque);
RIB_TEST_CODEC(ip_rib_proto_update);
RIB_TEST_CODEC(ip_rib_srv6_locator);
RIB_TEST_CODEC(ip_rib_srv6_opcode_update);
RIB_TEST_CODEC(ip_rib_srv6_sid_ctx);
RIB_TEST_CODEC(rib_bind_reply);
RIB_TEST_CODEC(rib_client_advertisement);
RIB_TEST_CODEC(rib_ecomm_array);
RIB_TEST_CODEC(rib_encap_id_key);
RIB_TEST_CODEC(rib_encap_id_path_key_srv6);
RIB_TEST_CODEC(rib_generic_attr_array);
RIB_TEST_CODEC(rib_path);
RIB_TEST_CODEC(rib_path_l2_info);
RIB_TEST_CODEC(rib_prefix);
RIB_TEST_CODEC(rib_route);

char bgp[] = "bgp";
char isis[] = "isis";
uint8_t three_bytes[] = {0xF1, 0xF2, 0xF3};
uint8_t two_bytes[] = {0x51, 0x52};

zidl_ip_rib_proto_update update_with_two_names()
{
    zidl_ip_rib_proto_update msg = {};
    msg.proto_id = 7;
    msg.proto_value = 1ull << 40;
    msg.proto_name = bgp;
    msg.proto_extra_name = isis;
    msg.presence = 0x1D; // proto_id, proto_value, proto_name, proto_extra_name
    return msg;
}

zidl_ip_rib_opaque opaque_with_two_blocks()
{
    zidl_ip_rib_opaque msg = {};
    msg.opaque_type = 7;
    msg.first_block = three_bytes;
    msg.first_block_size = 3;
    msg.second_block = two_bytes;
    msg.second_block_size = 2;
    msg.presence = 0x31; // opaque_type, first_block, second_block
    return msg;
}

// Scalars and presence

TEST(contract_duplicate, scalars_and_their_bits_are_copied)
{
    zidl_rib_path_l2_info src = {};
    src.l2_value_1 = 1;
    src.l2_value_8 = 8;
    src.presence = 0x11; // l2_value_1, l2_value_8
    zidl_rib_path_l2_info dst = rubbish<rib_path_l2_info>();
    EXPECT_EQ(duplicate_without_memory<rib_path_l2_info>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.l2_value_1, 1u);
    EXPECT_EQ(dst.l2_value_5, 0u);
    EXPECT_EQ(dst.l2_value_6, 0u);
    EXPECT_EQ(dst.l2_value_7, 0u);
    EXPECT_EQ(dst.l2_value_8, 8u);
    EXPECT_EQ(dst.presence, 0xB1); // A0 with l2_value_1, l2_value_8
}

TEST(contract_duplicate, scalar_without_its_bit_is_copied_too)
{
    zidl_rib_bind_reply src = {};
    src.bind_value = 7;
    zidl_rib_bind_reply dst = {};
    dst.presence = 0x01; // bind_value
    EXPECT_EQ(duplicate_without_memory<rib_bind_reply>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.bind_value, 7u);
    EXPECT_EQ(dst.presence, 0);
}

TEST(contract_duplicate, bool_is_copied_as_it_stands)
{
    zidl_ip_rib_srv6_opcode_update src = {};
    src.flag_5 = 0x82;
    src.presence = 0x10; // flag_5
    zidl_ip_rib_srv6_opcode_update dst = rubbish<ip_rib_srv6_opcode_update>();
    EXPECT_EQ(duplicate_without_memory<ip_rib_srv6_opcode_update>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.flag_5, 0x82);
}

TEST(contract_duplicate, spare_presence_bits_of_the_source_are_not_copied)
{
    zidl_rib_bind_reply src = {};
    src.presence = 0xFF;
    zidl_rib_bind_reply dst = {};
    EXPECT_EQ(duplicate_without_memory<rib_bind_reply>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.presence, 0x01); // bind_value
}

TEST(contract_duplicate, spare_presence_bits_of_the_destination_survive_at_every_width)
{
    zidl_rib_bind_reply small = rubbish<rib_bind_reply>();
    EXPECT_EQ(duplicate_without_memory<rib_bind_reply>(small, zidl_rib_bind_reply{}), ZIDL_OK);
    EXPECT_EQ(small.presence, 0xA4); // bit 0 cleared

    zidl_ip_rib_srv6_locator medium = rubbish<ip_rib_srv6_locator>();
    EXPECT_EQ(duplicate_without_memory<ip_rib_srv6_locator>(medium, zidl_ip_rib_srv6_locator{}), ZIDL_OK);
    EXPECT_EQ(medium.presence, 0x8000); // bits 0 to 13 cleared

    zidl_rib_encap_id_key large = rubbish<rib_encap_id_key>();
    EXPECT_EQ(duplicate_without_memory<rib_encap_id_key>(large, zidl_rib_encap_id_key{}), ZIDL_OK);
    EXPECT_EQ(large.presence, 0xA5A00000u); // bits 0 to 19 cleared

    zidl_rib_route huge = rubbish<rib_route>();
    EXPECT_EQ(duplicate_without_memory<rib_route>(huge, zidl_rib_route{}), ZIDL_OK);
    EXPECT_EQ(huge.presence, 0xA5A5A40000000000u); // bits 0 to 40 cleared
}

TEST(contract_duplicate, spare_presence_bits_of_the_destination_survive_at_every_depth)
{
    zidl_ip_rib_srv6_opcode_update dst = rubbish<ip_rib_srv6_opcode_update>();
    EXPECT_EQ(duplicate_without_memory<ip_rib_srv6_opcode_update>(dst, zidl_ip_rib_srv6_opcode_update{}), ZIDL_OK);
    EXPECT_EQ(dst.presence, 0xA0);                               // bits 0 to 4 cleared
    EXPECT_EQ(dst.sid_ctx.presence, 0xA5A00000u);                // bits 0 to 18 cleared
    EXPECT_EQ(dst.sid_ctx.ua_ctx.presence, 0x80);                // bits 0 to 6 cleared
    EXPECT_EQ(dst.sid_ctx.ua_ctx.context_prefix.presence, 0xA4); // bits 0 and 1 cleared
}

TEST(contract_duplicate, spare_presence_bits_of_nested_sources_are_not_copied)
{
    zidl_rib_prefix src = {};
    src.presence = 0xFF;
    src.address.presence = 0xFF;
    src.address.ipv6.presence = 0xFF;
    zidl_rib_prefix dst = {};
    EXPECT_EQ(duplicate_without_memory<rib_prefix>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.presence, 0x03);              // address, prefix_len
    EXPECT_EQ(dst.address.presence, 0x07);      // family, ipv4, ipv6
    EXPECT_EQ(dst.address.ipv6.presence, 0x03); // half0, half1
}

TEST(contract_duplicate, nested_records_are_copied_whether_or_not_their_bit_is_set)
{
    zidl_rib_prefix src = {};
    src.address.family = 2;
    src.address.ipv6.half1 = 9;
    src.address.ipv6.presence = 0x02; // half1
    src.prefix_len = 64;
    src.presence = 0x02; // prefix_len
    zidl_rib_prefix dst = rubbish<rib_prefix>();
    EXPECT_EQ(duplicate_without_memory<rib_prefix>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.address.family, 2u);
    EXPECT_EQ(dst.address.ipv4, 0u);
    EXPECT_EQ(dst.address.ipv6.half0, 0u);
    EXPECT_EQ(dst.address.ipv6.half1, 9u);
    EXPECT_EQ(dst.address.ipv6.presence, 0xA6); // A4 with half1
    EXPECT_EQ(dst.address.presence, 0xA0);
    EXPECT_EQ(dst.prefix_len, 64u);
    EXPECT_EQ(dst.presence, 0xA6); // A4 with prefix_len
}

TEST(contract_duplicate, what_the_destination_held_is_overwritten_without_being_released)
{
    memory mem;
    zidl_ip_rib_proto_update dst = {};
    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, update_with_two_names(), mem), ZIDL_OK);
    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, zidl_ip_rib_proto_update{}, mem), ZIDL_OK);
    EXPECT_EQ(dst.proto_name, nullptr);
    EXPECT_EQ(mem.releases, sizes{});
}

TEST(contract_duplicate, source_is_left_as_it_was)
{
    memory mem;
    const zidl_ip_rib_proto_update src = update_with_two_names();
    zidl_ip_rib_proto_update dst = {};
    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(src.proto_name, bgp);
    EXPECT_EQ(src.presence, 0x1D);
    EXPECT_STREQ(bgp, "bgp");
}

// Strings

TEST(contract_duplicate, strings_are_copied_with_their_nul)
{
    memory mem;
    zidl_ip_rib_proto_update dst = rubbish<ip_rib_proto_update>();
    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, update_with_two_names(), mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{4, 5}));
    EXPECT_EQ(static_cast<void *>(dst.proto_name), mem.blocks[0]);
    EXPECT_STREQ(dst.proto_name, "bgp");
    EXPECT_STREQ(dst.proto_extra_name, "isis");
    EXPECT_EQ(dst.presence, 0xBD); // A0 with the source's
}

TEST(contract_duplicate, null_string_stays_null_and_keeps_its_bit)
{
    zidl_ip_rib_proto_update src = {};
    src.presence = 0x08; // proto_name
    zidl_ip_rib_proto_update dst = rubbish<ip_rib_proto_update>();
    EXPECT_EQ(duplicate_without_memory<ip_rib_proto_update>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.proto_name, nullptr);
    EXPECT_EQ(dst.presence, 0xA8); // A0 with proto_name
}

TEST(contract_duplicate, string_without_its_bit_is_copied_and_stays_without_it)
{
    memory mem;
    zidl_ip_rib_proto_update src = {};
    src.proto_name = bgp;
    zidl_ip_rib_proto_update dst = {};
    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, src, mem), ZIDL_OK);
    EXPECT_STREQ(dst.proto_name, "bgp");
    EXPECT_EQ(dst.presence, 0);
}

TEST(contract_duplicate, empty_string_is_copied_as_one_nul)
{
    memory mem;
    char empty[] = "";
    zidl_ip_rib_proto_update src = {};
    src.proto_name = empty;
    src.presence = 0x08; // proto_name
    zidl_ip_rib_proto_update dst = {};
    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{1});
    EXPECT_STREQ(dst.proto_name, "");
    EXPECT_EQ(dst.presence, 0x08); // proto_name
}

TEST(contract_duplicate, refused_string_is_absent_and_the_rest_is_copied)
{
    memory mem(0);
    zidl_ip_rib_proto_update dst = rubbish<ip_rib_proto_update>();
    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, update_with_two_names(), mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{4, 5}));
    EXPECT_EQ(dst.proto_id, 7u);
    EXPECT_EQ(dst.proto_value, 1ull << 40);
    EXPECT_EQ(dst.proto_name, nullptr);
    EXPECT_STREQ(dst.proto_extra_name, "isis");
    EXPECT_EQ(dst.presence, 0xB5); // A0 with proto_id, proto_value, proto_extra_name
}

TEST(contract_duplicate, refusal_of_the_last_string_is_reported)
{
    memory mem(1);
    zidl_ip_rib_proto_update dst = rubbish<ip_rib_proto_update>();
    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, update_with_two_names(), mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_STREQ(dst.proto_name, "bgp");
    EXPECT_EQ(dst.proto_extra_name, nullptr);
    EXPECT_EQ(dst.presence, 0xAD); // A0 with proto_id, proto_value, proto_name
}

TEST(contract_duplicate, strings_without_an_allocation_function_are_absent)
{
    zidl_ip_rib_proto_update dst = rubbish<ip_rib_proto_update>();
    EXPECT_EQ(duplicate_without_memory<ip_rib_proto_update>(dst, update_with_two_names()), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.proto_id, 7u);
    EXPECT_EQ(dst.proto_name, nullptr);
    EXPECT_EQ(dst.proto_extra_name, nullptr);
    EXPECT_EQ(dst.presence, 0xA5); // A0 with proto_id, proto_value
}

// Bytes

TEST(contract_duplicate, bytes_are_copied)
{
    memory mem;
    zidl_ip_rib_opaque dst = rubbish<ip_rib_opaque>();
    EXPECT_EQ(duplicate<ip_rib_opaque>(dst, opaque_with_two_blocks(), mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{3, 2}));
    EXPECT_EQ(bytes(dst.first_block, dst.first_block + 3), (bytes{0xF1, 0xF2, 0xF3}));
    EXPECT_EQ(dst.first_block_size, 3u);
    EXPECT_EQ(bytes(dst.second_block, dst.second_block + 2), (bytes{0x51, 0x52}));
    EXPECT_EQ(dst.second_block_size, 2u);
    EXPECT_EQ(dst.presence, 0xB1); // 80 with the source's
}

TEST(contract_duplicate, bytes_of_length_zero_become_null_and_keep_their_bit)
{
    memory mem;
    zidl_ip_rib_opaque src = {};
    src.first_block = three_bytes;
    src.presence = 0x10; // first_block
    zidl_ip_rib_opaque dst = rubbish<ip_rib_opaque>();
    EXPECT_EQ(duplicate<ip_rib_opaque>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(dst.first_block, nullptr);
    EXPECT_EQ(dst.first_block_size, 0u);
    EXPECT_EQ(dst.presence, 0x90); // 80 with first_block
    EXPECT_EQ(mem.requests, sizes{});
}

TEST(contract_duplicate, bytes_of_length_zero_need_no_allocation_function)
{
    zidl_ip_rib_opaque src = {};
    src.first_block = three_bytes;
    src.presence = 0x10; // first_block
    zidl_ip_rib_opaque dst = {};
    EXPECT_EQ(duplicate_without_memory<ip_rib_opaque>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.presence, 0x10); // first_block
}

TEST(contract_duplicate, bytes_without_their_bit_are_copied_and_stay_without_it)
{
    memory mem;
    zidl_ip_rib_opaque src = opaque_with_two_blocks();
    src.presence = 0x20; // second_block
    zidl_ip_rib_opaque dst = {};
    EXPECT_EQ(duplicate<ip_rib_opaque>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(dst.first_block[2], 0xF3);
    EXPECT_EQ(dst.first_block_size, 3u);
    EXPECT_EQ(dst.presence, 0x20); // second_block
}

TEST(contract_duplicate, refused_bytes_are_absent_and_the_rest_is_copied)
{
    memory mem(0);
    zidl_ip_rib_opaque dst = rubbish<ip_rib_opaque>();
    EXPECT_EQ(duplicate<ip_rib_opaque>(dst, opaque_with_two_blocks(), mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.opaque_type, 7u);
    EXPECT_EQ(dst.first_block, nullptr);
    EXPECT_EQ(dst.first_block_size, 0u);
    EXPECT_EQ(dst.second_block[1], 0x52);
    EXPECT_EQ(dst.presence, 0xA1); // 80 with opaque_type, second_block
}

TEST(contract_duplicate, bytes_without_an_allocation_function_are_absent)
{
    zidl_ip_rib_opaque dst = rubbish<ip_rib_opaque>();
    EXPECT_EQ(duplicate_without_memory<ip_rib_opaque>(dst, opaque_with_two_blocks()), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.first_block, nullptr);
    EXPECT_EQ(dst.first_block_size, 0u);
    EXPECT_EQ(dst.second_block, nullptr);
    EXPECT_EQ(dst.second_block_size, 0u);
    EXPECT_EQ(dst.presence, 0x81); // 80 with opaque_type
}

TEST(contract_duplicate, copy_of_a_record_that_borrows_its_bytes_owns_them)
{
    const bytes input = {0x2A, 0x02, 0xF1, 0xF2}; // 5 first_block
    zidl_ip_rib_opaque src = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(src, input, ZIDL_ZERO_COPY), ZIDL_OK);
    memory mem;
    zidl_ip_rib_opaque dst = {};
    EXPECT_EQ(duplicate<ip_rib_opaque>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(static_cast<void *>(dst.first_block), mem.blocks[0]);
    EXPECT_EQ(bytes(dst.first_block, dst.first_block + 2), (bytes{0xF1, 0xF2}));
    release<ip_rib_opaque>(dst, mem);
    EXPECT_EQ(mem.releases, sizes{0});
}

TEST(contract_duplicate, strings_and_bytes_of_every_length_are_copied_exactly)
{
    bytes contents;
    for (uint8_t length = 0; length <= 70; length++) {
        SCOPED_TRACE(int{length});
        memory mem;
        std::string name(contents.begin(), contents.end());
        zidl_ip_rib_proto_update update = {};
        update.proto_name = name.data();
        zidl_ip_rib_proto_update update_copy = {};
        ASSERT_EQ(duplicate<ip_rib_proto_update>(update_copy, update, mem), ZIDL_OK);
        EXPECT_EQ(update_copy.proto_name, name);

        zidl_ip_rib_opaque opaque = {};
        opaque.first_block = contents.data();
        opaque.first_block_size = length;
        zidl_ip_rib_opaque opaque_copy = {};
        ASSERT_EQ(duplicate<ip_rib_opaque>(opaque_copy, opaque, mem), ZIDL_OK);
        EXPECT_EQ(bytes(opaque_copy.first_block, opaque_copy.first_block + length), contents);
        contents.push_back(static_cast<uint8_t>(length + 1));
    }
}

// Repeated members

TEST(contract_duplicate, integers_are_copied_into_one_block)
{
    memory mem;
    uint64_t values[] = {1, UINT64_MAX, 3};
    zidl_rib_ecomm_array src = {};
    src.ecomm_value_1 = 5;
    src.ecomm_values = values;
    src.ecomm_count = 3;
    src.ecomm_value_3 = 6;
    src.presence = 0x07; // all
    zidl_rib_ecomm_array dst = rubbish<rib_ecomm_array>();
    EXPECT_EQ(duplicate<rib_ecomm_array>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{24});
    EXPECT_EQ(std::vector<uint64_t>(dst.ecomm_values, dst.ecomm_values + 3), (std::vector<uint64_t>{1, UINT64_MAX, 3}));
    EXPECT_EQ(dst.ecomm_count, 3u);
    EXPECT_EQ(dst.presence, 0xA7); // A0 with all
}

TEST(contract_duplicate, repeated_8_bit_values_are_copied_into_one_block)
{
    memory mem;
    uint8_t values[] = {1, 200};
    zidl_ip_rib_srv6_sid_ctx src = {};
    src.values_2 = values;
    src.values_2_count = 2;
    src.presence = 0x02; // values_2
    zidl_ip_rib_srv6_sid_ctx dst = {};
    EXPECT_EQ(duplicate<ip_rib_srv6_sid_ctx>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{2});
    EXPECT_EQ(dst.values_2[1], 200);
}

TEST(contract_duplicate, repeated_member_without_elements_becomes_null_and_keeps_its_bit)
{
    uint64_t values[] = {1};
    zidl_rib_ecomm_array src = {};
    src.ecomm_values = values;
    src.presence = 0x02; // ecomm_values
    zidl_rib_ecomm_array dst = rubbish<rib_ecomm_array>();
    EXPECT_EQ(duplicate_without_memory<rib_ecomm_array>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.ecomm_values, nullptr);
    EXPECT_EQ(dst.ecomm_count, 0u);
    EXPECT_EQ(dst.presence, 0xA2); // A0 with ecomm_values
}

TEST(contract_duplicate, repeated_member_without_its_bit_is_copied_and_stays_without_it)
{
    memory mem;
    uint64_t values[] = {1};
    zidl_rib_ecomm_array src = {};
    src.ecomm_values = values;
    src.ecomm_count = 1;
    zidl_rib_ecomm_array dst = {};
    EXPECT_EQ(duplicate<rib_ecomm_array>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(dst.ecomm_values[0], 1u);
    EXPECT_EQ(dst.ecomm_count, 1u);
    EXPECT_EQ(dst.presence, 0);
}

TEST(contract_duplicate, refused_array_is_absent_and_the_rest_is_copied)
{
    memory mem(0);
    uint64_t values[] = {1};
    zidl_rib_ecomm_array src = {};
    src.ecomm_values = values;
    src.ecomm_count = 1;
    src.ecomm_value_3 = 6;
    src.presence = 0x06; // ecomm_values, ecomm_value_3
    zidl_rib_ecomm_array dst = rubbish<rib_ecomm_array>();
    EXPECT_EQ(duplicate<rib_ecomm_array>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.ecomm_values, nullptr);
    EXPECT_EQ(dst.ecomm_count, 0u);
    EXPECT_EQ(dst.ecomm_value_3, 6u);
    EXPECT_EQ(dst.presence, 0xA4); // A0 with ecomm_value_3
}

TEST(contract_duplicate, array_without_an_allocation_function_is_absent)
{
    uint32_t values[] = {1};
    zidl_rib_client_advertisement src = {};
    src.advertised_values = values;
    src.advertised_values_count = 1;
    src.presence = 0x01; // advertised_values
    zidl_rib_client_advertisement dst = rubbish<rib_client_advertisement>();
    EXPECT_EQ(duplicate_without_memory<rib_client_advertisement>(dst, src), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.advertised_values, nullptr);
    EXPECT_EQ(dst.advertised_values_count, 0u);
    EXPECT_EQ(dst.presence, 0xA4); // A4: the source's bit is not there
}

// Three elements, the middle one empty.
zidl_rib_encap_id_path_key_srv6 key_with_three_entries(zidl_bytes (&entries)[3])
{
    entries[0] = {three_bytes, 3};
    entries[1] = {three_bytes, 0};
    entries[2] = {two_bytes, 2};
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.entries = entries;
    msg.entries_count = 3;
    msg.presence = 0x02; // entries
    return msg;
}

TEST(contract_duplicate, elements_of_repeated_bytes_are_copied_one_by_one_and_empty_ones_become_null)
{
    memory mem;
    zidl_bytes entries[3];
    zidl_rib_encap_id_path_key_srv6 dst = rubbish<rib_encap_id_path_key_srv6>();
    EXPECT_EQ(duplicate<rib_encap_id_path_key_srv6>(dst, key_with_three_entries(entries), mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{THREE_ELEMENTS_LEN, 3, 2}));
    EXPECT_EQ(dst.entries_count, 3u);
    EXPECT_EQ(bytes(dst.entries[0].data, dst.entries[0].data + 3), (bytes{0xF1, 0xF2, 0xF3}));
    EXPECT_EQ(dst.entries[0].size, 3u);
    EXPECT_EQ(dst.entries[1].data, nullptr);
    EXPECT_EQ(dst.entries[1].size, 0u);
    EXPECT_EQ(bytes(dst.entries[2].data, dst.entries[2].data + 2), (bytes{0x51, 0x52}));
    EXPECT_EQ(dst.entries[2].size, 2u);
}

TEST(contract_duplicate, refused_element_of_repeated_bytes_is_null_and_the_others_are_copied)
{
    memory mem(1);
    zidl_bytes entries[3];
    zidl_rib_encap_id_path_key_srv6 dst = rubbish<rib_encap_id_path_key_srv6>();
    EXPECT_EQ(duplicate<rib_encap_id_path_key_srv6>(dst, key_with_three_entries(entries), mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{THREE_ELEMENTS_LEN, 3, 2}));
    EXPECT_EQ(dst.entries_count, 3u);
    EXPECT_EQ(dst.entries[0].data, nullptr);
    EXPECT_EQ(dst.entries[0].size, 0u);
    EXPECT_EQ(dst.entries[2].data[1], 0x52);
    EXPECT_EQ(dst.presence, 0xA6); // A4 with entries, which are there
}

TEST(contract_duplicate, refused_array_of_repeated_bytes_requests_no_element)
{
    memory mem(0);
    zidl_bytes entries[3];
    zidl_rib_encap_id_path_key_srv6 dst = rubbish<rib_encap_id_path_key_srv6>();
    EXPECT_EQ(duplicate<rib_encap_id_path_key_srv6>(dst, key_with_three_entries(entries), mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, sizes{THREE_ELEMENTS_LEN});
    EXPECT_EQ(dst.entries, nullptr);
    EXPECT_EQ(dst.entries_count, 0u);
    EXPECT_EQ(dst.presence, 0xA4); // the bit of entries is cleared
}

// Two attributes with data.
zidl_rib_generic_attr_array array_with_two_attrs(zidl_rib_generic_attr_info (&attrs)[2])
{
    attrs[0] = {};
    attrs[0].attr_type = 1;
    attrs[0].attr_data = three_bytes;
    attrs[0].attr_data_size = 3;
    attrs[0].presence = 0x03; // attr_type, attr_data
    attrs[1] = {};
    attrs[1].attr_data = two_bytes;
    attrs[1].attr_data_size = 2;
    attrs[1].presence = 0x02; // attr_data
    zidl_rib_generic_attr_array msg = {};
    msg.attrs = attrs;
    msg.attrs_count = 2;
    msg.presence = 0x02; // attrs
    return msg;
}

TEST(contract_duplicate, message_elements_are_copied_one_by_one)
{
    memory mem;
    zidl_rib_generic_attr_info attrs[2];
    zidl_rib_generic_attr_array dst = rubbish<rib_generic_attr_array>();
    EXPECT_EQ(duplicate<rib_generic_attr_array>(dst, array_with_two_attrs(attrs), mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2 * sizeof(zidl_rib_generic_attr_info), 3, 2}));
    EXPECT_EQ(dst.attrs_count, 2u);
    EXPECT_EQ(dst.attrs[0].attr_type, 1u);
    EXPECT_EQ(dst.attrs[0].attr_data[2], 0xF3);
    EXPECT_EQ(dst.attrs[1].attr_type, 0u);
    EXPECT_EQ(dst.attrs[1].attr_data[1], 0x52);
    EXPECT_EQ(dst.presence, 0xA6); // A4 with attrs
}

TEST(contract_duplicate, message_elements_keep_the_spare_presence_bits_of_the_fresh_block)
{
    memory mem; // fresh blocks hold 0xCD throughout
    zidl_rib_generic_attr_info attrs[2];
    zidl_rib_generic_attr_array dst = {};
    EXPECT_EQ(duplicate<rib_generic_attr_array>(dst, array_with_two_attrs(attrs), mem), ZIDL_OK);
    EXPECT_EQ(dst.attrs[0].presence, 0xCF); // CC with attr_type, attr_data
    EXPECT_EQ(dst.attrs[1].presence, 0xCE); // CC with attr_data
}

TEST(contract_duplicate, message_elements_are_all_copied_after_a_refusal)
{
    memory mem(1);
    zidl_rib_generic_attr_info attrs[2];
    zidl_rib_generic_attr_array dst = rubbish<rib_generic_attr_array>();
    EXPECT_EQ(duplicate<rib_generic_attr_array>(dst, array_with_two_attrs(attrs), mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{2 * sizeof(zidl_rib_generic_attr_info), 3, 2}));
    EXPECT_EQ(dst.attrs_count, 2u);
    EXPECT_EQ(dst.attrs[0].attr_type, 1u);
    EXPECT_EQ(dst.attrs[0].attr_data, nullptr);
    EXPECT_EQ(dst.attrs[0].attr_data_size, 0u);
    EXPECT_EQ(dst.attrs[0].presence & 0x03, 0x01); // attr_type
    EXPECT_EQ(dst.attrs[1].attr_data[1], 0x52);
    EXPECT_EQ(dst.presence, 0xA6); // A4 with attrs, which are there
}

TEST(contract_duplicate, refusal_in_a_later_element_is_reported)
{
    memory mem(2);
    zidl_rib_generic_attr_info attrs[2];
    zidl_rib_generic_attr_array dst = rubbish<rib_generic_attr_array>();
    EXPECT_EQ(duplicate<rib_generic_attr_array>(dst, array_with_two_attrs(attrs), mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.attrs[0].attr_data[2], 0xF3);
    EXPECT_EQ(dst.attrs[1].attr_data, nullptr);
}

TEST(contract_duplicate, refused_array_of_messages_requests_nothing_for_its_elements)
{
    memory mem(0);
    zidl_rib_generic_attr_info attrs[2];
    zidl_rib_generic_attr_array dst = rubbish<rib_generic_attr_array>();
    EXPECT_EQ(duplicate<rib_generic_attr_array>(dst, array_with_two_attrs(attrs), mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, sizes{2 * sizeof(zidl_rib_generic_attr_info)});
    EXPECT_EQ(dst.attrs, nullptr);
    EXPECT_EQ(dst.attrs_count, 0u);
    EXPECT_EQ(dst.presence, 0xA4); // the bit of attrs is cleared
}

// Nesting

TEST(contract_duplicate, refusal_in_a_nested_record_is_reported_and_its_bit_stays)
{
    memory mem(0);
    uint32_t values[] = {1};
    zidl_rib_route src = {};
    src.client_advertisement.advertised_values = values;
    src.client_advertisement.advertised_values_count = 1;
    src.client_advertisement.presence = 0x01; // advertised_values
    src.route_value_41 = 41;
    src.presence = 1ull << 26 | 1ull << 40; // client_advertisement, route_value_41
    zidl_rib_route dst = {};
    EXPECT_EQ(duplicate<rib_route>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.client_advertisement.advertised_values, nullptr);
    EXPECT_EQ(dst.client_advertisement.presence, 0);
    EXPECT_EQ(dst.route_value_41, 41u);
    EXPECT_EQ(dst.presence, 1ull << 26 | 1ull << 40); // client_advertisement, route_value_41
}

TEST(contract_duplicate, memory_is_requested_in_declaration_order_and_depth_first)
{
    uint32_t labels[] = {1, 2, 3};
    uint64_t values[] = {4};
    zidl_rib_path paths[2] = {};
    paths[0].path_values_9 = labels;
    paths[0].path_values_9_count = 3;
    paths[1].ecomm.ecomm_values = values;
    paths[1].ecomm.ecomm_count = 1;
    zidl_rib_algo_label algo_labels[1] = {};
    uint32_t advertised[] = {5, 6};
    zidl_rib_generic_attr_info attrs[1] = {};
    attrs[0].attr_data = three_bytes;
    attrs[0].attr_data_size = 3;
    zidl_rib_route src = {};
    src.algo_labels = algo_labels;
    src.algo_labels_count = 1;
    src.paths = paths;
    src.paths_count = 2;
    src.client_advertisement.advertised_values = advertised;
    src.client_advertisement.advertised_values_count = 2;
    src.generic_attrs_31.attrs = attrs;
    src.generic_attrs_31.attrs_count = 1;
    memory mem;
    zidl_rib_route dst = {};
    EXPECT_EQ(duplicate<rib_route>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{
                                sizeof(zidl_rib_algo_label),        // algo_labels
                                2 * sizeof(zidl_rib_path),          // paths
                                12,                                 // paths[0].path_values_9
                                8,                                  // paths[1].ecomm.ecomm_values
                                8,                                  // client_advertisement.advertised_values
                                sizeof(zidl_rib_generic_attr_info), // generic_attrs_31.attrs
                                3,                                  // generic_attrs_31.attrs[0].attr_data
                            }));
    release<rib_route>(dst, mem);
    EXPECT_EQ(mem.releases.size(), 7u);
}

TEST(contract_duplicate, every_refusal_alone_costs_only_its_own_member)
{
    uint32_t labels[] = {1};
    uint64_t values[] = {4};
    zidl_rib_path src = {};
    src.path_values_9 = labels;
    src.path_values_9_count = 1;
    src.ecomm.ecomm_values = values;
    src.ecomm.ecomm_count = 1;
    src.ecomm.presence = 0x02;                    // ecomm_values
    src.path_value_31 = 31;                       // behind both
    src.presence = 1u << 7 | 1u << 20 | 1u << 25; // path_values_9, ecomm, path_value_31

    memory first(0);
    zidl_rib_path dst = {};
    EXPECT_EQ(duplicate<rib_path>(dst, src, first), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.path_values_9, nullptr);
    EXPECT_EQ(dst.ecomm.ecomm_values[0], 4u);
    EXPECT_EQ(dst.path_value_31, 31u);
    EXPECT_EQ(dst.presence, 1u << 20 | 1u << 25); // ecomm, path_value_31

    memory second(1);
    EXPECT_EQ(duplicate<rib_path>(dst, src, second), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.path_values_9[0], 1u);
    EXPECT_EQ(dst.ecomm.ecomm_values, nullptr);
    EXPECT_EQ(dst.ecomm.ecomm_count, 0u);
    EXPECT_EQ(dst.ecomm.presence, 0);
    EXPECT_EQ(dst.path_value_31, 31u);
    EXPECT_EQ(dst.presence, 1u << 7 | 1u << 20 | 1u << 25); // path_values_9, ecomm, path_value_31
}

TEST(contract_duplicate, copy_encodes_to_the_same_bytes)
{
    memory mem;
    const zidl_ip_rib_proto_update src = update_with_two_names();
    zidl_ip_rib_proto_update dst = rubbish<ip_rib_proto_update>();
    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, src, mem), ZIDL_OK);
    const bytes expected = {
        0x08, 0x07,                               // 1 proto_id = 7
        0x18, 0x80, 0x80, 0x80, 0x80, 0x80, 0x20, // 3 proto_value = 2^40
        0x22, 0x03, 'b',  'g',  'p',              // 4 proto_name
        0x2A, 0x04, 'i',  's',  'i',  's',        // 5 proto_extra_name
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(dst), expected);
}

} // namespace
