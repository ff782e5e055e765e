// What every decoder does alike: scanning, statuses, the order of checks, memory, and what a failure leaves behind.

#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/codec/support.hpp"

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_iid_lss_ctx);
RIB_TEST_CODEC(ip_rib_opaque);
RIB_TEST_CODEC(ip_rib_proto_update);
RIB_TEST_CODEC(ip_rib_srv6_e_ctx);
RIB_TEST_CODEC(ip_rib_srv6_glb_encap_info);
RIB_TEST_CODEC(ip_rib_srv6_locator);
RIB_TEST_CODEC(ip_rib_srv6_opcode_update);
RIB_TEST_CODEC(ip_rib_srv6_sid_ctx);
RIB_TEST_CODEC(ip_rib_srv6_static_endpoint_update);
RIB_TEST_CODEC(rib_address);
RIB_TEST_CODEC(rib_bind_reply);
RIB_TEST_CODEC(rib_client_advertisement);
RIB_TEST_CODEC(rib_ecomm_array);
RIB_TEST_CODEC(rib_encap_id);
RIB_TEST_CODEC(rib_encap_id_key);
RIB_TEST_CODEC(rib_encap_id_path_key_srv6);
RIB_TEST_CODEC(rib_generic_attr_array);
RIB_TEST_CODEC(rib_generic_attr_info);
RIB_TEST_CODEC(rib_grid_sync_list);
RIB_TEST_CODEC(rib_ipv6_address);
RIB_TEST_CODEC(rib_path);
RIB_TEST_CODEC(rib_path_ip_tunnel_info);
RIB_TEST_CODEC(rib_path_l2_info);
RIB_TEST_CODEC(rib_path_via_srv6_sid);
RIB_TEST_CODEC(rib_prefix);
RIB_TEST_CODEC(rib_route);
RIB_TEST_CODEC(rib_srv6_oper_type);

template <class Codec>
int32_t status_of(const bytes &input)
{
    memory mem;
    typename Codec::record msg = {};
    return decode<Codec>(msg, input, mem);
}

// What lies behind a field decides how it is read: near the end of the input byte by byte, far from it in one go.
bytes far_from_the_end(bytes input)
{
    input.insert(input.end(), {0x7A, 0x0A, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}); // 15, unknown
    return input;
}

// Decodes without memory, once near the end of the input and once far from it, which must come to the same.
template <class Codec>
typename Codec::record decoded(const bytes &input)
{
    auto near = rubbish<Codec>();
    auto far = rubbish<Codec>();
    EXPECT_EQ(decode_without_memory<Codec>(near, input), ZIDL_OK);
    EXPECT_EQ(decode_without_memory<Codec>(far, far_from_the_end(input)), ZIDL_OK);
    EXPECT_EQ(std::memcmp(&near, &far, sizeof near), 0);
    return near;
}

uint32_t decoded_bind_value(const bytes &input)
{
    const auto msg = decoded<rib_bind_reply>(input);
    EXPECT_TRUE(zidl_rib_bind_reply_has_bind_value(&msg));
    return msg.bind_value;
}

uint64_t decoded_encap_id(const bytes &input)
{
    const auto msg = decoded<rib_encap_id>(input);
    EXPECT_TRUE(zidl_rib_encap_id_has_encap_id(&msg));
    return msg.encap_id;
}

uint8_t decoded_tunnel_flag(const bytes &input)
{
    const auto msg = decoded<rib_path_ip_tunnel_info>(input);
    EXPECT_TRUE(zidl_rib_path_ip_tunnel_info_has_tunnel_flag(&msg));
    return msg.tunnel_flag;
}

// Reset

TEST(contract_decode, empty_input_succeeds_without_allocating)
{
    memory mem;
    zidl_rib_route msg = {};
    EXPECT_EQ(decode<rib_route>(msg, {}, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{});
}

TEST(contract_decode, empty_input_may_come_as_a_null_pointer)
{
    zidl_rib_route msg = {};
    EXPECT_EQ(zidl_rib_route_decode_ext(&msg, nullptr, 0, nullptr, nullptr, 0), ZIDL_OK);
}

TEST(contract_decode, empty_input_leaves_a_reset_record)
{
    memory mem;
    zidl_ip_rib_opaque msg = rubbish<ip_rib_opaque>();
    EXPECT_EQ(decode<ip_rib_opaque>(msg, {}, mem), ZIDL_OK);
    EXPECT_EQ(msg.opaque_type, 0u);
    EXPECT_EQ(msg.opaque_id, 0u);
    EXPECT_EQ(msg.opaque_sub_id, 0u);
    EXPECT_EQ(msg.opaque_value, 0u);
    EXPECT_EQ(msg.first_block, nullptr);
    EXPECT_EQ(msg.first_block_size, 0u);
    EXPECT_EQ(msg.second_block, nullptr);
    EXPECT_EQ(msg.second_block_size, 0u);
    EXPECT_EQ(msg.presence & 0x3F, 0);
}

TEST(contract_decode, reset_reaches_strings_arrays_and_nested_records)
{
    memory mem;
    zidl_ip_rib_srv6_locator msg = rubbish<ip_rib_srv6_locator>();
    EXPECT_EQ(decode<ip_rib_srv6_locator>(msg, {}, mem), ZIDL_OK);
    EXPECT_EQ(msg.name, nullptr);
    EXPECT_EQ(msg.locator_prefix.prefix, nullptr);
    EXPECT_EQ(msg.locator_prefix.prefix_size, 0u);
    EXPECT_EQ(msg.locator_prefix.prefix_len, 0u);
    EXPECT_EQ(msg.second_prefix.prefix, nullptr);
    EXPECT_EQ(msg.flag_10, 0);
    EXPECT_EQ(msg.sids, nullptr);
    EXPECT_EQ(msg.sids_count, 0u);
    EXPECT_EQ(msg.lib_ranges.value_1, 0u);
    EXPECT_EQ(msg.lib_ranges.value_8, 0u);
    EXPECT_EQ(msg.lib_ranges.presence, 0);
    EXPECT_EQ(msg.flag_15, 0);
}

TEST(contract_decode, reset_happens_before_a_failure)
{
    zidl_rib_path_l2_info msg = rubbish<rib_path_l2_info>();
    EXPECT_EQ(decode_without_memory<rib_path_l2_info>(msg, {0x80}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.l2_value_1, 0u);
    EXPECT_EQ(msg.l2_value_8, 0u);
    EXPECT_EQ(msg.presence, 0xA0);
}

TEST(contract_decode, presence_bits_above_the_last_field_survive)
{
    zidl_rib_bind_reply small = rubbish<rib_bind_reply>();
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(small, {}), ZIDL_OK);
    EXPECT_EQ(small.presence, 0xA4); // bit 0 cleared

    zidl_ip_rib_srv6_glb_encap_info medium = rubbish<ip_rib_srv6_glb_encap_info>();
    EXPECT_EQ(decode_without_memory<ip_rib_srv6_glb_encap_info>(medium, {}), ZIDL_OK);
    EXPECT_EQ(medium.presence, 0xA400); // bits 0 to 8 cleared

    zidl_rib_encap_id_key large = rubbish<rib_encap_id_key>();
    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(large, {}), ZIDL_OK);
    EXPECT_EQ(large.presence, 0xA5A00000u); // bits 0 to 19 cleared

    zidl_rib_route huge = rubbish<rib_route>();
    EXPECT_EQ(decode_without_memory<rib_route>(huge, {}), ZIDL_OK);
    EXPECT_EQ(huge.presence, 0xA5A5A40000000000u); // bits 0 to 40 cleared
}

TEST(contract_decode, presence_bits_above_the_last_field_survive_beside_fields_that_are_set)
{
    zidl_rib_bind_reply msg = {};
    msg.presence = 0xFE;
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x08, 0x05}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0xFF);
}

TEST(contract_decode, presence_words_whose_bits_are_all_used_are_cleared_whole)
{
    zidl_rib_path msg = rubbish<rib_path>();
    EXPECT_EQ(decode_without_memory<rib_path>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0u);
}

TEST(contract_decode, spare_presence_bits_of_nested_records_survive_where_the_nested_field_is_absent)
{
    zidl_rib_prefix msg = rubbish<rib_prefix>();
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, {0x10, 0x18}), ZIDL_OK);
    EXPECT_EQ(msg.address.presence, 0xA0);      // bits 0 to 2 cleared
    EXPECT_EQ(msg.address.ipv6.presence, 0xA4); // bits 0 and 1 cleared
}

TEST(contract_decode, spare_presence_bits_of_nested_records_survive_where_the_nested_field_is_given)
{
    const bytes input = {
        0x0A, 0x06, // 1 address, 6 bytes
        0x08, 0x02, //   1 family = 2
        0x1A, 0x02, //   3 ipv6, 2 bytes
        0x08, 0x07, //     1 half0 = 7
    };
    zidl_rib_prefix msg = rubbish<rib_prefix>();
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0xA5);              // A4 with address
    EXPECT_EQ(msg.address.presence, 0xA5);      // A0 with family, ipv6
    EXPECT_EQ(msg.address.ipv6.presence, 0xA5); // A4 with half0
}

TEST(contract_decode, spare_presence_bits_survive_four_levels_down)
{
    zidl_ip_rib_srv6_opcode_update msg = rubbish<ip_rib_srv6_opcode_update>();
    EXPECT_EQ(decode_without_memory<ip_rib_srv6_opcode_update>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0xA0);                               // bits 0 to 4 cleared
    EXPECT_EQ(msg.sid_ctx.presence, 0xA5A00000u);                // bits 0 to 18 cleared
    EXPECT_EQ(msg.sid_ctx.ua_ctx.presence, 0x80);                // bits 0 to 6 cleared
    EXPECT_EQ(msg.sid_ctx.ua_ctx.context_prefix.presence, 0xA4); // bits 0 and 1 cleared
}

TEST(contract_decode, spare_presence_bits_survive_a_failure)
{
    zidl_rib_prefix msg = rubbish<rib_prefix>();
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, {0x0A, 0x01, 0x08}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.presence, 0xA4);              // bits 0 and 1 cleared
    EXPECT_EQ(msg.address.presence, 0xA0);      // bits 0 to 2 cleared
    EXPECT_EQ(msg.address.ipv6.presence, 0xA4); // bits 0 and 1 cleared
}

TEST(contract_decode, record_can_be_decoded_into_again_after_its_release)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    const bytes first = {
        0x08, 0x07,      // 1 proto_id = 7
        0x22, 0x01, 'a', // 4 proto_name
    };
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, first, mem), ZIDL_OK);
    release<ip_rib_proto_update>(msg, mem);
    const bytes second = {
        0x22, 0x01, 'b', // 4 proto_name
    };
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, second, mem), ZIDL_OK);
    EXPECT_EQ(msg.proto_id, 0u);
    EXPECT_STREQ(msg.proto_name, "b");
    EXPECT_EQ(msg.presence, 0x08); // proto_name alone
}

TEST(contract_decode, what_the_record_held_is_not_released)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {0x22, 0x01, 'a'}, mem), ZIDL_OK);
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {}, mem), ZIDL_OK);
    EXPECT_EQ(msg.proto_name, nullptr);
    EXPECT_EQ(mem.releases, sizes{});
}

// Tags

TEST(contract_decode, tag_may_be_padded_to_five_bytes)
{
    EXPECT_EQ(decoded_bind_value({0x88, 0x80, 0x80, 0x80, 0x00, 0x05}), 5u);
}

TEST(contract_decode, tag_of_six_bytes_is_accepted)
{
    EXPECT_EQ(decoded_bind_value({0x88, 0x80, 0x80, 0x80, 0x80, 0x00, 0x05}), 5u);
}

TEST(contract_decode, tag_longer_than_ten_bytes_is_accepted)
{
    EXPECT_EQ(decoded_bind_value({
                  0x88, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x7F, // tag of field 1
                  0x05,                                                                   // value
              }),
              5u);
}

TEST(contract_decode, tag_bits_above_the_32nd_are_dropped)
{
    EXPECT_EQ(decoded_bind_value({0x88, 0x80, 0x80, 0x80, 0x70, 0x05}), 5u);       // bits 32 to 34 in the fifth byte
    EXPECT_EQ(decoded_bind_value({0x88, 0x80, 0x80, 0x80, 0x80, 0x01, 0x05}), 5u); // bit 35 in a sixth byte
}

TEST(contract_decode, fifth_byte_of_a_tag_gives_bits_28_to_31)
{
    // Field 1 plus 2^25: another field, so its value is skipped.
    zidl_rib_bind_reply msg = {};
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x88, 0x80, 0x80, 0x80, 0x01, 0x05}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0);
}

TEST(contract_decode, overlong_tag_of_a_two_byte_field_is_accepted)
{
    zidl_rib_path msg = {};
    EXPECT_EQ(decode_without_memory<rib_path>(msg, {0x80, 0x81, 0x00, 0x05}), ZIDL_OK);
    EXPECT_EQ(msg.path_value_16, 5u);
    EXPECT_EQ(msg.presence, 1u << 13); // path_value_16
}

TEST(contract_decode, tag_that_goes_on_behind_the_bytes_of_a_known_one_is_another)
{
    // The first two bytes are those of field 16 but for the continuation bit: field 2064.
    const auto msg = decoded<rib_path>({0x80, 0x81, 0x01, 0x05});
    EXPECT_EQ(msg.presence, 0u);
    EXPECT_EQ(msg.path_value_16, 0u);
}

TEST(contract_decode, overlong_tag_with_another_wire_type_is_refused)
{
    EXPECT_EQ(status_of<rib_bind_reply>({0x8A, 0x00, 0x00}), ZIDL_ERR_FIELD_TYPE);                   // 1
    EXPECT_EQ(status_of<rib_bind_reply>({0x8B, 0x80, 0x80, 0x80, 0x80, 0x00}), ZIDL_ERR_FIELD_TYPE); // 1
    EXPECT_EQ(status_of<rib_bind_reply>({0x93, 0x80, 0x80, 0x80, 0x80, 0x00}), ZIDL_ERR_WIRE_TYPE);  // 2, unknown
}

TEST(contract_decode, tag_cut_after_any_number_of_bytes_is_malformed)
{
    EXPECT_EQ(status_of<rib_bind_reply>({0x88}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_bind_reply>({0x88, 0x80}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_bind_reply>({0x88, 0x80, 0x80, 0x80}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_bind_reply>({0x88, 0x80, 0x80, 0x80, 0x80}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_bind_reply>({0x88, 0x80, 0x80, 0x80, 0x80, 0x80}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_bind_reply>({0x88, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80}),
              ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, tag_cut_behind_a_field_is_malformed_and_the_field_stays)
{
    zidl_rib_bind_reply msg = {};
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x08, 0x05, 0x88}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.bind_value, 5u);
    EXPECT_EQ(msg.presence, 0x01);
}

TEST(contract_decode, tag_without_a_value_is_malformed)
{
    EXPECT_EQ(status_of<rib_bind_reply>({0x08}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_prefix>({0x0A}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<ip_rib_proto_update>({0x22}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<ip_rib_opaque>({0x2A}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_client_advertisement>({0x08, 0x01, 0x08}), ZIDL_ERR_MALFORMED);
}

// 32-bit values

TEST(contract_decode, scalar_sets_its_value_and_its_bit)
{
    zidl_rib_path_l2_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_l2_info>(msg, {0x30, 0xAC, 0x02}), ZIDL_OK);
    EXPECT_EQ(msg.l2_value_6, 300u);
    EXPECT_EQ(msg.presence, 0x04); // l2_value_6
}

TEST(contract_decode, scalar_of_value_zero_is_present)
{
    EXPECT_EQ(decoded_bind_value({0x08, 0x00}), 0u);
}

TEST(contract_decode, varint_boundaries_of_32_bit_values_are_read_exactly)
{
    EXPECT_EQ(decoded_bind_value({0x08, 0x7F}), 127u);
    EXPECT_EQ(decoded_bind_value({0x08, 0x80, 0x01}), 128u);
    EXPECT_EQ(decoded_bind_value({0x08, 0xFF, 0x7F}), 16383u);
    EXPECT_EQ(decoded_bind_value({0x08, 0x80, 0x80, 0x01}), 16384u);
    EXPECT_EQ(decoded_bind_value({0x08, 0xFF, 0xFF, 0x7F}), 2097151u);
    EXPECT_EQ(decoded_bind_value({0x08, 0x80, 0x80, 0x80, 0x01}), 2097152u);
    EXPECT_EQ(decoded_bind_value({0x08, 0xFF, 0xFF, 0xFF, 0x7F}), 268435455u);
    EXPECT_EQ(decoded_bind_value({0x08, 0x80, 0x80, 0x80, 0x80, 0x01}), 268435456u);
    EXPECT_EQ(decoded_bind_value({0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}), 0xFFFFFFFFu);
    EXPECT_EQ(decoded_bind_value({0x08, 0xF8, 0xAC, 0xD1, 0x91, 0x01}), 0x12345678u);
}

TEST(contract_decode, varint_may_be_padded)
{
    EXPECT_EQ(decoded_bind_value({0x08, 0x85, 0x00}), 5u);
    EXPECT_EQ(decoded_bind_value({0x08, 0x85, 0x80, 0x80, 0x80, 0x00}), 5u);
    EXPECT_EQ(decoded_bind_value({0x08, 0x85, 0x80, 0x80, 0x80, 0x80, 0x00}), 5u);
    EXPECT_EQ(decoded_bind_value({0x08, 0x85, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}), 5u);
}

TEST(contract_decode, value_wider_than_32_bits_keeps_its_low_32_bits)
{
    EXPECT_EQ(decoded_bind_value({0x08, 0x80, 0x80, 0x80, 0x80, 0x10}), 0u);             // 2^32
    EXPECT_EQ(decoded_bind_value({0x08, 0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 1u); // 2^42 + 1
    EXPECT_EQ(decoded_bind_value({0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}), 0xFFFFFFFFu);    // 2^35 - 1
    EXPECT_EQ(decoded_bind_value({0x08, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01}),
              0xFFFFFFFEu); // -2 as 64 bits
}

TEST(contract_decode, varint_longer_than_ten_bytes_is_consumed_whole)
{
    const bytes input = {
        0x08,                                                                   // 1 l2_value_1
        0x85, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0xFF, 0x7F, //   5, in twelve bytes
        0x28, 0x06,                                                             // 5 l2_value_5 = 6
    };
    zidl_rib_path_l2_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_l2_info>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.l2_value_1, 5u);
    EXPECT_EQ(msg.l2_value_5, 6u);
}

TEST(contract_decode, varint_cut_after_any_number_of_bytes_is_malformed)
{
    bytes input = {0x08};
    for (int i = 0; i < 14; i++) {
        input.push_back(0x80);
        EXPECT_EQ(status_of<rib_bind_reply>(input), ZIDL_ERR_MALFORMED) << i;
        EXPECT_EQ(status_of<rib_encap_id>(input), ZIDL_ERR_MALFORMED) << i;
        EXPECT_EQ(status_of<rib_srv6_oper_type>(input), ZIDL_ERR_MALFORMED) << i;
        EXPECT_EQ(status_of<rib_client_advertisement>(input), ZIDL_ERR_MALFORMED) << i;
    }
}

TEST(contract_decode, cut_varint_leaves_value_and_bit_unset)
{
    zidl_rib_bind_reply msg = {};
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x08, 0xFF, 0xFF}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.bind_value, 0u);
    EXPECT_EQ(msg.presence, 0);
}

TEST(contract_decode, last_occurrence_of_a_scalar_wins)
{
    EXPECT_EQ(decoded_bind_value({
                  0x08, 0x05, // 1 bind_value = 5
                  0x08, 0x06, // 1 bind_value = 6
                  0x08, 0x04, // 1 bind_value = 4
              }),
              4u);
}

TEST(contract_decode, last_occurrence_wins_across_other_fields)
{
    const bytes input = {
        0x08, 0x05, // 1 l2_value_1 = 5
        0x28, 0x06, // 5 l2_value_5 = 6
        0x08, 0x07, // 1 l2_value_1 = 7
    };
    zidl_rib_path_l2_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_l2_info>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.l2_value_1, 7u);
    EXPECT_EQ(msg.l2_value_5, 6u);
}

TEST(contract_decode, a_failing_second_occurrence_leaves_the_first_value)
{
    zidl_rib_bind_reply msg = {};
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x08, 0x05, 0x08, 0x86}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.bind_value, 5u);
    EXPECT_EQ(msg.presence, 0x01);
}

TEST(contract_decode, fields_may_come_in_any_order)
{
    const bytes input = {
        0x40, 0x08, // 8 l2_value_8 = 8
        0x28, 0x05, // 5 l2_value_5 = 5
        0x08, 0x01, // 1 l2_value_1 = 1
    };
    zidl_rib_path_l2_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_l2_info>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.l2_value_1, 1u);
    EXPECT_EQ(msg.l2_value_5, 5u);
    EXPECT_EQ(msg.l2_value_8, 8u);
    EXPECT_EQ(msg.presence, 0x13); // l2_value_1, l2_value_5, l2_value_8
}

// 64-bit values

TEST(contract_decode, varint_boundaries_of_64_bit_values_are_read_exactly)
{
    EXPECT_EQ(decoded_encap_id({0x08, 0x00}), 0u);
    EXPECT_EQ(decoded_encap_id({0x08, 0x80, 0x80, 0x80, 0x80, 0x10}), 1ull << 32);
    EXPECT_EQ(decoded_encap_id({0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 1ull << 35);
    EXPECT_EQ(decoded_encap_id({0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 1ull << 42);
    EXPECT_EQ(decoded_encap_id({0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 1ull << 49);
    EXPECT_EQ(decoded_encap_id({0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 1ull << 56);
    EXPECT_EQ(decoded_encap_id({0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}), (1ull << 63) - 1);
    EXPECT_EQ(decoded_encap_id({0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 1ull << 63);
    EXPECT_EQ(decoded_encap_id({0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01}), UINT64_MAX);
    EXPECT_EQ(decoded_encap_id({0x08, 0xEF, 0x9B, 0xAF, 0xCD, 0xF8, 0xAC, 0xD1, 0x91, 0x01}), 0x0123456789ABCDEFu);
}

TEST(contract_decode, tenth_byte_contributes_its_lowest_bit_alone)
{
    EXPECT_EQ(decoded_encap_id({0x08, 0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x7E}), 1u);
    EXPECT_EQ(decoded_encap_id({0x08, 0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x7F}), (1ull << 63) + 1);
}

TEST(contract_decode, bytes_beyond_the_tenth_are_skipped)
{
    const bytes input = {
        0x08,                                                                         // 1 half0
        0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x81, 0xFF, 0xFF, 0x7F, //   2^63 + 1
        0x10, 0x07,                                                                   // 2 half1 = 7
    };
    zidl_rib_ipv6_address msg = {};
    EXPECT_EQ(decode_without_memory<rib_ipv6_address>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.half0, (1ull << 63) + 1);
    EXPECT_EQ(msg.half1, 7u);
}

TEST(contract_decode, padded_64_bit_value_is_accepted)
{
    EXPECT_EQ(decoded_encap_id({0x08, 0x85, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}), 5u);
}

// bool

TEST(contract_decode, bool_is_one_for_every_value_but_zero)
{
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x00}), 0);
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x01}), 1);
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x02}), 1);
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x7F}), 1);
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x01}), 1);       // 128
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x02}), 1);       // 256: nothing in the low 8 bits
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x80, 0x04}), 1); // 65536
}

TEST(contract_decode, bool_takes_64_bits_into_account)
{
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x80, 0x80, 0x80, 0x10}), 1);                               // 2^32
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 1);                         // 2^35
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 1); // 2^63
}

TEST(contract_decode, bool_is_zero_when_the_low_64_bits_are_zero)
{
    // Bit 64 stands in the tenth byte, bit 70 in an eleventh.
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x02}), 0);
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x7E}), 0);
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 0);
}

TEST(contract_decode, padded_bool_of_zero_is_zero)
{
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x00}), 0);
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x80, 0x80, 0x80, 0x00}), 0);
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}), 0);
}

TEST(contract_decode, last_occurrence_of_a_bool_wins_also_when_it_is_false)
{
    EXPECT_EQ(decoded_tunnel_flag({0x28, 0x01, 0x28, 0x00}), 0);
}

// fixed32

TEST(contract_decode, fixed32_is_read_least_significant_byte_first)
{
    zidl_rib_encap_id_key msg = {};
    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, {0x35, 0x84, 0x03, 0x02, 0x81}), ZIDL_OK);
    EXPECT_EQ(msg.key_value_6, 0x81020384u);
    EXPECT_EQ(msg.presence, 1u << 5); // key_value_6
}

TEST(contract_decode, fixed32_with_less_than_four_bytes_is_malformed)
{
    EXPECT_EQ(status_of<rib_encap_id_key>({0x35}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_encap_id_key>({0x35, 0x01}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_encap_id_key>({0x35, 0x01, 0x02}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_encap_id_key>({0x35, 0x01, 0x02, 0x03}), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, last_occurrence_of_a_fixed32_wins)
{
    const bytes input = {
        0x35, 0x01, 0x00, 0x00, 0x00, // 6 key_value_6 = 1
        0x35, 0x02, 0x00, 0x00, 0x00, // 6 key_value_6 = 2
    };
    zidl_rib_encap_id_key msg = {};
    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.key_value_6, 2u);
}

// Wire types of known fields

TEST(contract_decode, scalar_with_another_wire_type_is_refused)
{
    EXPECT_EQ(status_of<rib_bind_reply>({0x09, 1, 2, 3, 4, 5, 6, 7, 8}), ZIDL_ERR_FIELD_TYPE); // 64-bit
    EXPECT_EQ(status_of<rib_bind_reply>({0x0A, 0x00}), ZIDL_ERR_FIELD_TYPE);                   // length-delimited
    EXPECT_EQ(status_of<rib_bind_reply>({0x0B}), ZIDL_ERR_FIELD_TYPE);                         // wire type 3
    EXPECT_EQ(status_of<rib_bind_reply>({0x0C}), ZIDL_ERR_FIELD_TYPE);                         // wire type 4
    EXPECT_EQ(status_of<rib_bind_reply>({0x0D, 1, 2, 3, 4}), ZIDL_ERR_FIELD_TYPE);             // 32-bit
    EXPECT_EQ(status_of<rib_bind_reply>({0x0E}), ZIDL_ERR_FIELD_TYPE);                         // wire type 6
    EXPECT_EQ(status_of<rib_bind_reply>({0x0F}), ZIDL_ERR_FIELD_TYPE);                         // wire type 7
}

TEST(contract_decode, fixed32_with_another_wire_type_is_refused)
{
    EXPECT_EQ(status_of<rib_encap_id_key>({0x30, 0x01}), ZIDL_ERR_FIELD_TYPE);                   // varint
    EXPECT_EQ(status_of<rib_encap_id_key>({0x31, 1, 2, 3, 4, 5, 6, 7, 8}), ZIDL_ERR_FIELD_TYPE); // 64-bit
    EXPECT_EQ(status_of<rib_encap_id_key>({0x32, 0x00}), ZIDL_ERR_FIELD_TYPE);                   // length-delimited
    EXPECT_EQ(status_of<rib_encap_id_key>({0x37}), ZIDL_ERR_FIELD_TYPE);                         // wire type 7
}

TEST(contract_decode, nested_message_string_and_bytes_with_another_wire_type_are_refused)
{
    EXPECT_EQ(status_of<rib_prefix>({0x08, 0x00}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_prefix>({0x0D, 1, 2, 3, 4}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<ip_rib_proto_update>({0x20, 0x00}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<ip_rib_proto_update>({0x23}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<ip_rib_opaque>({0x28, 0x00}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<ip_rib_opaque>({0x2F}), ZIDL_ERR_FIELD_TYPE);
}

TEST(contract_decode, packed_form_of_a_repeated_scalar_is_refused)
{
    memory mem;
    zidl_rib_client_advertisement msg = {};
    EXPECT_EQ(decode<rib_client_advertisement>(msg, {0x0A, 0x02, 0x01, 0x02}, mem), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(msg.advertised_values, nullptr);
    EXPECT_EQ(mem.requests, sizes{});
}

TEST(contract_decode, repeated_message_and_repeated_bytes_with_another_wire_type_are_refused)
{
    EXPECT_EQ(status_of<rib_generic_attr_array>({0x10, 0x00}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_encap_id_path_key_srv6>({0x15, 1, 2, 3, 4}), ZIDL_ERR_FIELD_TYPE);
}

TEST(contract_decode, wire_type_is_checked_before_anything_is_read)
{
    EXPECT_EQ(status_of<rib_bind_reply>({0x0A}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_bind_reply>({0x0A, 0x80}), ZIDL_ERR_FIELD_TYPE);
}

// Nested messages

TEST(contract_decode, nested_message_is_decoded_in_place_and_present)
{
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, {0x0A, 0x02, 0x08, 0x02}), ZIDL_OK);
    EXPECT_EQ(msg.address.family, 2u);
    EXPECT_EQ(msg.address.presence, 0x01); // family
    EXPECT_EQ(msg.presence, 0x01);         // address
}

TEST(contract_decode, empty_nested_message_is_present)
{
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, {0x0A, 0x00}), ZIDL_OK);
    EXPECT_EQ(msg.address.presence, 0);
    EXPECT_EQ(msg.presence, 0x01); // address
}

TEST(contract_decode, nested_length_past_the_end_is_malformed)
{
    EXPECT_EQ(status_of<rib_prefix>({0x0A, 0x01}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_prefix>({0x0A, 0x03, 0x08, 0x02}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_prefix>({0x0A, 0x7F, 0x08, 0x02}), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, nested_length_near_2_to_the_32_is_malformed)
{
    EXPECT_EQ(status_of<rib_prefix>({0x0A, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 0x08, 0x02}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_prefix>({0x0A, 0xFE, 0xFF, 0xFF, 0xFF, 0x0F, 0x08, 0x02}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_prefix>({0x0A, 0x80, 0x80, 0x80, 0x80, 0x08, 0x08, 0x02}), ZIDL_ERR_MALFORMED); // 2^31
}

TEST(contract_decode, nested_length_past_the_end_leaves_the_nested_record_reset_and_absent)
{
    zidl_rib_prefix msg = rubbish<rib_prefix>();
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, {0x0A, 0x03, 0x08, 0x02}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.address.family, 0u);
    EXPECT_FALSE(zidl_rib_prefix_has_address(&msg));
}

TEST(contract_decode, length_keeps_its_low_32_bits)
{
    zidl_rib_prefix nested = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(nested, {0x0A, 0x82, 0x80, 0x80, 0x80, 0x10, 0x08, 0x02}), ZIDL_OK);
    EXPECT_EQ(nested.address.family, 2u);

    memory mem;
    zidl_ip_rib_proto_update string = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(string, {0x22, 0x81, 0x80, 0x80, 0x80, 0x70, 'a'}, mem), ZIDL_OK);
    EXPECT_STREQ(string.proto_name, "a");

    zidl_ip_rib_opaque block = {};
    EXPECT_EQ(decode<ip_rib_opaque>(block, {0x2A, 0x81, 0x80, 0x80, 0x80, 0x80, 0x01, 0xF1}, mem), ZIDL_OK);
    EXPECT_EQ(block.first_block_size, 1u);
}

TEST(contract_decode, padded_length_is_accepted)
{
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, {0x0A, 0x82, 0x80, 0x00, 0x08, 0x02}), ZIDL_OK);
    EXPECT_EQ(msg.address.family, 2u);
}

TEST(contract_decode, nested_message_does_not_see_the_bytes_behind_its_slice)
{
    const bytes input = {
        0x0A, 0x02, // 1 address, 2 bytes
        0x08, 0x80, //   1 family, cut off by the end of the slice
        0x01,       // what would complete it
    };
    EXPECT_EQ(status_of<rib_prefix>(input), ZIDL_ERR_MALFORMED);
}

// A nested message whose slice ends inside a value, with plenty behind the slice that would complete it.
bytes cut_by_its_slice(uint8_t tag, bytes slice)
{
    bytes input = {tag, static_cast<uint8_t>(slice.size())};
    input.insert(input.end(), slice.begin(), slice.end());
    input.insert(input.end(), 24, 0x00);
    return input;
}

TEST(contract_decode, varint_cut_by_the_end_of_a_slice_is_malformed_whatever_its_length)
{
    for (size_t length = 0; length < 15; length++) {
        bytes slice = {0x08}; // the value of field 1, cut off
        slice.insert(slice.end(), length, 0x80);
        EXPECT_EQ(status_of<rib_prefix>(cut_by_its_slice(0x0A, slice)), ZIDL_ERR_MALFORMED) << length;
        EXPECT_EQ(status_of<rib_path_via_srv6_sid>(cut_by_its_slice(0x12, slice)), ZIDL_ERR_MALFORMED) << length;
        EXPECT_EQ(status_of<rib_encap_id_path_key_srv6>(cut_by_its_slice(0x0A, slice)), ZIDL_ERR_MALFORMED) << length;
        EXPECT_EQ(status_of<rib_generic_attr_array>(cut_by_its_slice(0x12, slice)), ZIDL_ERR_MALFORMED) << length;
    }
}

TEST(contract_decode, tag_cut_by_the_end_of_a_slice_is_malformed_whatever_its_length)
{
    for (size_t length = 0; length < 15; length++) {
        bytes slice = {0x88}; // the tag of field 1, cut off
        slice.insert(slice.end(), length, 0x80);
        EXPECT_EQ(status_of<rib_prefix>(cut_by_its_slice(0x0A, slice)), ZIDL_ERR_MALFORMED) << length;
        EXPECT_EQ(status_of<rib_generic_attr_array>(cut_by_its_slice(0x12, slice)), ZIDL_ERR_MALFORMED) << length;
    }
}

TEST(contract_decode, two_byte_tag_cut_by_the_end_of_a_slice_is_malformed)
{
    const bytes input = {
        0xD2, 0x01, 0x01,       // 26 paths[0], 1 byte
        0x80,                   //   16 path_value_16, its tag cut off by the end of the slice
        0x01, 0x05, 0x00, 0x00, // what would complete it
        0x00, 0x00, 0x00, 0x00, // and more
    };
    EXPECT_EQ(status_of<rib_route>(input), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, two_byte_tag_cut_by_the_end_of_a_slice_is_malformed_also_where_it_is_due)
{
    const bytes input = {
        0xD2, 0x01, 0x03,       // 26 paths[0], 3 bytes
        0x70, 0x0E,             //   14 path_value_14 = 14
        0x80,                   //   16 path_value_16, which mostly follows, its tag cut off by the end of the slice
        0x01, 0x05, 0x00, 0x00, // what would complete it
        0x00, 0x00, 0x00, 0x00, // and more
    };
    memory mem;
    zidl_rib_route msg = {};
    EXPECT_EQ(decode<rib_route>(msg, input, mem), ZIDL_ERR_MALFORMED);
    ASSERT_EQ(msg.paths_count, 1u);
    EXPECT_EQ(msg.paths[0].presence, 1u << 12); // path_value_14
}

TEST(contract_decode, slice_that_ends_behind_a_field_does_not_take_the_next_one_from_the_bytes_behind_it)
{
    const bytes input = {
        0xD2, 0x01, 0x02, // 26 paths[0], 2 bytes
        0x70, 0x0E,       //   14 path_value_14 = 14
        0x80, 0x01, 0x05, // 16 route_value_16 = 5, which a path might take for its own
        0x0A, 0x02,       // 1 route_prefix, 2 bytes
        0x10, 0x18,       //   2 prefix_len = 24
        0x10, 0x07,       // 2 route_value_2 = 7, which a prefix might take for its own
    };
    memory mem;
    zidl_rib_route msg = {};
    EXPECT_EQ(decode<rib_route>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.paths[0].presence, 1u << 12); // path_value_14
    EXPECT_EQ(msg.route_value_16, 5u);
    EXPECT_EQ(msg.route_prefix.prefix_len, 24u);
    EXPECT_EQ(msg.route_value_2, 7u);
}

TEST(contract_decode, length_cut_by_the_end_of_a_slice_is_malformed_whatever_its_length)
{
    for (size_t length = 0; length < 15; length++) {
        bytes nested = {0x1A}; // the length of ipv6, cut off
        nested.insert(nested.end(), length, 0x80);
        EXPECT_EQ(status_of<rib_prefix>(cut_by_its_slice(0x0A, nested)), ZIDL_ERR_MALFORMED) << length;
        bytes block = {0x12}; // the length of attr_data, cut off
        block.insert(block.end(), length, 0x80);
        EXPECT_EQ(status_of<rib_generic_attr_array>(cut_by_its_slice(0x12, block)), ZIDL_ERR_MALFORMED) << length;
        bytes unknown = {0x22}; // the length of an unknown field, cut off
        unknown.insert(unknown.end(), length, 0x80);
        EXPECT_EQ(status_of<rib_prefix>(cut_by_its_slice(0x0A, unknown)), ZIDL_ERR_MALFORMED) << length;
    }
}

TEST(contract_decode, unknown_varint_cut_by_the_end_of_a_slice_is_malformed_whatever_its_length)
{
    for (size_t length = 0; length < 15; length++) {
        bytes slice = {0x20}; // 4, unknown, its value cut off
        slice.insert(slice.end(), length, 0x80);
        EXPECT_EQ(status_of<rib_prefix>(cut_by_its_slice(0x0A, slice)), ZIDL_ERR_MALFORMED) << length;
    }
}

TEST(contract_decode, element_cut_by_the_end_of_a_slice_is_malformed_whatever_its_length_and_nothing_is_allocated)
{
    for (size_t length = 0; length < 15; length++) {
        bytes values_64 = {0x10, 0x07, 0x10}; // ecomm_values[1], cut off
        values_64.insert(values_64.end(), length, 0x80);
        bytes input = {0xD2, 0x01, static_cast<uint8_t>(values_64.size())}; // 26 ecomm
        input.insert(input.end(), values_64.begin(), values_64.end());
        input.insert(input.end(), 24, 0x00);
        memory mem;
        zidl_rib_path path = {};
        EXPECT_EQ(decode<rib_path>(path, input, mem), ZIDL_ERR_MALFORMED) << length;

        bytes values_32 = {0x08, 0x07, 0x08}; // advertised_values[1], cut off
        values_32.insert(values_32.end(), length, 0x80);
        input = {0xDA, 0x01, static_cast<uint8_t>(values_32.size())}; // 27 client_advertisement
        input.insert(input.end(), values_32.begin(), values_32.end());
        input.insert(input.end(), 24, 0x00);
        zidl_rib_route route = {};
        EXPECT_EQ(decode<rib_route>(route, input, mem), ZIDL_ERR_MALFORMED) << length;
        EXPECT_EQ(mem.requests, sizes{}) << length;
    }
}

TEST(contract_decode, fixed32_cut_by_the_end_of_a_slice_is_malformed)
{
    EXPECT_EQ(status_of<rib_grid_sync_list>({0x12, 0x04, 0x35, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_grid_sync_list>({0x12, 0x01, 0x35, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, value_that_ends_with_its_slice_is_read_though_more_bytes_follow)
{
    const bytes input = {
        0x0A, 0x06,                                     // 1 address, 6 bytes
        0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F,             //   2 ipv4 = 2^32 - 1
        0x10, 0x80, 0x80, 0x80, 0x80, 0x08,             // 2 prefix_len = 2^31
        0x7A, 0x06, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, // 15, unknown
    };
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.address.ipv4, 0xFFFFFFFFu);
    EXPECT_EQ(msg.address.presence, 0x02); // ipv4
    EXPECT_EQ(msg.prefix_len, 0x80000000u);
}

TEST(contract_decode, nested_length_is_compared_with_the_enclosing_slice)
{
    const bytes input = {
        0x0A, 0x02, // 1 address, 2 bytes
        0x1A, 0x02, //   3 ipv6, 2 bytes: past the end of address though not of the input
        0x08, 0x01, // what would be there
    };
    EXPECT_EQ(status_of<rib_prefix>(input), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, fields_behind_a_nested_message_are_decoded)
{
    const bytes input = {
        0x0A, 0x02, // 1 address, 2 bytes
        0x08, 0x02, //   1 family = 2
        0x10, 0x40, // 2 prefix_len = 64
    };
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.prefix_len, 64u);
}

TEST(contract_decode, second_occurrence_of_a_nested_message_replaces_the_first)
{
    const bytes input = {
        0x0A, 0x04, // 1 address, 4 bytes
        0x08, 0x02, //   1 family = 2
        0x10, 0x09, //   2 ipv4 = 9
        0x0A, 0x02, // 1 address, again
        0x08, 0x01, //   1 family = 1
    };
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.address.family, 1u);
    EXPECT_EQ(msg.address.ipv4, 0u);
    EXPECT_EQ(msg.address.presence, 0x01); // family alone
}

TEST(contract_decode, second_occurrence_resets_what_lies_deeper_too)
{
    const bytes input = {
        0x0A, 0x04, // 1 address, 4 bytes
        0x1A, 0x02, //   3 ipv6, 2 bytes
        0x08, 0x09, //     1 half0 = 9
        0x0A, 0x00, // 1 address, again, empty
    };
    zidl_rib_prefix msg = rubbish<rib_prefix>();
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.address.ipv6.half0, 0u);
    EXPECT_EQ(msg.address.ipv6.presence, 0xA4);
    EXPECT_EQ(msg.address.presence, 0xA0);
    EXPECT_EQ(msg.presence, 0xA5); // address is present
}

TEST(contract_decode, second_occurrence_of_a_nested_message_takes_its_strings_again_and_releases_nothing)
{
    const bytes input = {
        0x1A, 0x03,      // 3 e_ctx, 3 bytes
        0x1A, 0x01, 'a', //   3 name_3
        0x1A, 0x03,      // 3 e_ctx, again
        0x1A, 0x01, 'b', //   3 name_3
    };
    memory mem;
    zidl_ip_rib_srv6_sid_ctx msg = {};
    EXPECT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_OK);
    EXPECT_STREQ(msg.e_ctx.name_3, "b");
    EXPECT_EQ(mem.requests, (sizes{2, 2}));
    EXPECT_EQ(mem.releases, sizes{});
}

TEST(contract_decode, second_occurrence_of_a_nested_message_may_fill_its_array_again)
{
    const bytes input = {
        0xD2, 0x01, 0x02, // 26 ecomm, 2 bytes
        0x10, 0x07,       //   2 ecomm_values[0] = 7
        0xD2, 0x01, 0x04, // 26 ecomm, again
        0x10, 0x08,       //   2 ecomm_values[0] = 8
        0x10, 0x09,       //   2 ecomm_values[1] = 9
    };
    memory mem;
    zidl_rib_path msg = {};
    EXPECT_EQ(decode<rib_path>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.ecomm.ecomm_count, 2u);
    EXPECT_EQ(msg.ecomm.ecomm_values[1], 9u);
    EXPECT_EQ(mem.requests, (sizes{8, 16}));
}

TEST(contract_decode, failing_second_occurrence_leaves_the_nested_message_present)
{
    const bytes input = {
        0x0A, 0x02, // 1 address, 2 bytes
        0x10, 0x09, //   2 ipv4 = 9
        0x0A, 0x03, // 1 address, again
        0x08, 0x01, //   1 family = 1
        0x80,       //   a tag, cut off
    };
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.address.family, 1u);
    EXPECT_EQ(msg.address.ipv4, 0u);
    EXPECT_EQ(msg.address.presence, 0x01); // family
    EXPECT_EQ(msg.presence, 0x01);         // address, from the first occurrence
}

TEST(contract_decode, failing_nested_message_is_absent_but_keeps_what_it_read)
{
    const bytes input = {
        0x0A, 0x03, // 1 address, 3 bytes
        0x08, 0x01, //   1 family = 1
        0x80,       //   a tag, cut off
        0x10, 0x18, // 2 prefix_len = 24
    };
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.address.family, 1u);
    EXPECT_EQ(msg.address.presence, 0x01); // family
    EXPECT_EQ(msg.presence, 0);
    EXPECT_EQ(msg.prefix_len, 0u);
}

TEST(contract_decode, status_of_a_nested_message_is_passed_on_unchanged)
{
    EXPECT_EQ(status_of<rib_prefix>({0x0A, 0x01, 0x08}), ZIDL_ERR_MALFORMED);        // family without a value
    EXPECT_EQ(status_of<rib_prefix>({0x0A, 0x01, 0x2B}), ZIDL_ERR_WIRE_TYPE);        // unknown field, wire type 3
    EXPECT_EQ(status_of<rib_prefix>({0x0A, 0x02, 0x0A, 0x00}), ZIDL_ERR_FIELD_TYPE); // family, length-delimited
    zidl_ip_rib_srv6_sid_ctx msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_srv6_sid_ctx>(msg, {0x1A, 0x03, 0x1A, 0x01, 'a'}), ZIDL_ERR_NO_MEMORY);
}

TEST(contract_decode, status_is_passed_on_unchanged_through_several_levels)
{
    const bytes input = {
        0x22, 0x05, // 4 sid_ctx, 5 bytes
        0x22, 0x03, //   4 x_ctx, 3 bytes
        0x22, 0x01, //     4 context_prefix, 1 byte
        0x1F,       //       unknown field 3, wire type 7
    };
    EXPECT_EQ(status_of<ip_rib_srv6_opcode_update>(input), ZIDL_ERR_WIRE_TYPE);
}

// Strings

TEST(contract_decode, string_is_copied_with_a_nul_behind_it)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {0x22, 0x03, 'b', 'g', 'p'}, mem), ZIDL_OK);
    EXPECT_STREQ(msg.proto_name, "bgp");
    EXPECT_EQ(msg.presence, 0x08); // proto_name
    EXPECT_EQ(mem.requests, sizes{4});
}

TEST(contract_decode, empty_string_is_a_block_of_one_nul)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {0x22, 0x00}, mem), ZIDL_OK);
    ASSERT_NE(msg.proto_name, nullptr);
    EXPECT_EQ(msg.proto_name[0], '\0');
    EXPECT_EQ(mem.requests, sizes{1});
    EXPECT_EQ(msg.presence, 0x08); // proto_name
}

TEST(contract_decode, string_keeps_the_nuls_inside_it)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {0x22, 0x03, 'a', 0x00, 'b'}, mem), ZIDL_OK);
    EXPECT_EQ(std::memcmp(msg.proto_name, "a\0b\0", 4), 0);
    EXPECT_EQ(mem.requests, sizes{4});
}

TEST(contract_decode, string_is_copied_in_a_zero_copy_decode)
{
    const bytes input = {0x22, 0x01, 'a'}; // 4 proto_name
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{2});
    EXPECT_EQ(static_cast<void *>(msg.proto_name), mem.blocks[0]);
}

TEST(contract_decode, string_without_an_allocation_function_is_out_of_memory)
{
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, {0x22, 0x01, 'a'}), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, {0x22, 0x01, 'a'}, ZIDL_ZERO_COPY), ZIDL_ERR_NO_MEMORY);
}

TEST(contract_decode, scalars_need_no_allocation_function)
{
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, {0x08, 0x07}), ZIDL_OK);
    EXPECT_EQ(msg.proto_id, 7u);
}

TEST(contract_decode, second_occurrence_of_a_string_is_malformed_and_the_first_stays)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {0x22, 0x01, 'a', 0x22, 0x01, 'b'}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_STREQ(msg.proto_name, "a");
    EXPECT_EQ(msg.presence, 0x08); // proto_name
    EXPECT_EQ(mem.requests, sizes{2});
}

TEST(contract_decode, second_occurrence_of_an_empty_string_is_malformed)
{
    EXPECT_EQ(status_of<ip_rib_proto_update>({0x22, 0x00, 0x22, 0x00}), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, string_length_past_the_end_is_malformed_and_nothing_is_allocated)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {0x22, 0x02, 'a'}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {0x22, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 'a'}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.proto_name, nullptr);
    EXPECT_EQ(mem.requests, sizes{});
}

TEST(contract_decode, refused_string_leaves_null_and_no_bit)
{
    memory mem(0);
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {0x22, 0x01, 'a'}, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.proto_name, nullptr);
    EXPECT_EQ(msg.presence, 0);
}

// Bytes

TEST(contract_decode, bytes_are_copied_into_a_block_of_exactly_their_length)
{
    memory mem;
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, {0x2A, 0x03, 0xF1, 0x00, 0xF3}, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{3});
    EXPECT_EQ(static_cast<void *>(msg.first_block), mem.blocks[0]);
    EXPECT_EQ(bytes(msg.first_block, msg.first_block + 3), (bytes{0xF1, 0x00, 0xF3}));
    EXPECT_EQ(msg.first_block_size, 3u);
    EXPECT_EQ(msg.presence, 0x10); // first_block
}

TEST(contract_decode, zero_copy_bytes_point_into_the_input)
{
    const bytes input = {0x2A, 0x03, 0xF1, 0xF2, 0xF3}; // 5 first_block
    memory mem;
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.first_block, input.data() + 2);
    EXPECT_EQ(msg.first_block_size, 3u);
    EXPECT_EQ(msg.presence, 0x10); // first_block
    EXPECT_EQ(mem.requests, sizes{});
}

TEST(contract_decode, zero_copy_bytes_need_no_allocation_function)
{
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, {0x2A, 0x01, 0xF1}, ZIDL_ZERO_COPY), ZIDL_OK);
}

TEST(contract_decode, zero_copy_bytes_of_length_zero_point_into_the_input)
{
    const bytes input = {0x2A, 0x00, 0x08, 0x07}; // 5 first_block, 1 opaque_type = 7
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, input, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.first_block, input.data() + 2);
    EXPECT_EQ(msg.first_block_size, 0u);
}

TEST(contract_decode, zero_copy_bytes_of_length_zero_at_the_end_point_behind_the_input)
{
    const bytes input = {0x2A, 0x00}; // 5 first_block
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, input, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.first_block, input.data() + 2);
    EXPECT_EQ(msg.presence, 0x10); // first_block
}

TEST(contract_decode, copied_bytes_of_length_zero_request_a_block_of_size_zero)
{
    memory mem;
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, {0x2A, 0x00}, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{0});
    EXPECT_EQ(static_cast<void *>(msg.first_block), mem.blocks[0]);
    EXPECT_EQ(msg.presence, 0x10); // first_block
}

TEST(contract_decode, refused_block_of_size_zero_is_out_of_memory)
{
    memory mem(0);
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, {0x2A, 0x00}, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.presence, 0);
}

TEST(contract_decode, bytes_without_an_allocation_function_are_out_of_memory)
{
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, {0x2A, 0x01, 0xF1}), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, {0x2A, 0x00}), ZIDL_ERR_NO_MEMORY);
}

TEST(contract_decode, second_occurrence_of_bytes_is_malformed_and_the_first_stays)
{
    memory mem;
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, {0x2A, 0x01, 0xF1, 0x2A, 0x01, 0xF2}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.first_block[0], 0xF1);
    EXPECT_EQ(mem.requests, sizes{1});
}

TEST(contract_decode, second_occurrence_of_empty_bytes_is_malformed)
{
    EXPECT_EQ(status_of<ip_rib_opaque>({0x2A, 0x00, 0x2A, 0x00}), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, second_occurrence_of_zero_copy_bytes_is_malformed)
{
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, {0x2A, 0x01, 0xF1, 0x2A, 0x01, 0xF2}, ZIDL_ZERO_COPY),
              ZIDL_ERR_MALFORMED);
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, {0x2A, 0x00, 0x2A, 0x00}, ZIDL_ZERO_COPY), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, bytes_length_past_the_end_is_malformed_and_nothing_is_allocated)
{
    memory mem;
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, {0x2A, 0x02, 0xF1}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(decode<ip_rib_opaque>(msg, {0x2A, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 0xF1}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes{});
}

TEST(contract_decode, zero_copy_bytes_length_past_the_end_is_malformed)
{
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, {0x2A, 0x02, 0xF1}, ZIDL_ZERO_COPY), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.first_block, nullptr);
    EXPECT_EQ(msg.first_block_size, 0u);
}

TEST(contract_decode, refused_bytes_leave_null_and_no_bit)
{
    memory mem(0);
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, {0x2A, 0x01, 0xF1}, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.first_block, nullptr);
    EXPECT_EQ(msg.presence, 0);
}

TEST(contract_decode, other_flags_than_zero_copy_are_ignored)
{
    memory mem;
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode<ip_rib_opaque>(msg, {0x2A, 0x01, 0xF1}, mem, 0xFFFFFFFE), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{1});
}

TEST(contract_decode, zero_copy_stays_zero_copy_beside_other_flags)
{
    const bytes input = {0x2A, 0x01, 0xF1}; // 5 first_block
    zidl_ip_rib_opaque msg = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, input, 0xFFFFFFFF), ZIDL_OK);
    EXPECT_EQ(msg.first_block, input.data() + 2);
}

TEST(contract_decode, zero_copy_reaches_bytes_in_nested_messages_and_array_elements)
{
    const bytes input = {
        0xE2, 0x01, 0x05, // 28 addr_generic_attrs, 5 bytes
        0x12, 0x03,       //   2 attrs[0], 3 bytes
        0x12, 0x01, 0xD1, //     2 attr_data
    };
    memory mem;
    zidl_rib_route msg = {};
    EXPECT_EQ(decode<rib_route>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.addr_generic_attrs.attrs[0].attr_data, input.data() + 7);
    EXPECT_EQ(mem.requests, sizes{sizeof(zidl_rib_generic_attr_info)});
}

TEST(contract_decode, strings_and_bytes_of_every_length_are_copied_exactly)
{
    bytes contents;
    for (uint8_t length = 0; length <= 70; length++) {
        SCOPED_TRACE(int{length});
        bytes string = {0x22, length}; // 4 proto_name
        string.insert(string.end(), contents.begin(), contents.end());
        memory mem;
        zidl_ip_rib_proto_update update = {};
        ASSERT_EQ(decode<ip_rib_proto_update>(update, string, mem), ZIDL_OK);
        EXPECT_EQ(bytes(update.proto_name, update.proto_name + length), contents);
        EXPECT_EQ(update.proto_name[length], '\0');

        bytes block = {0x2A, length}; // 5 first_block
        block.insert(block.end(), contents.begin(), contents.end());
        zidl_ip_rib_opaque opaque = {};
        ASSERT_EQ(decode<ip_rib_opaque>(opaque, block, mem), ZIDL_OK);
        EXPECT_EQ(bytes(opaque.first_block, opaque.first_block + length), contents);
        EXPECT_EQ(opaque.first_block_size, length);
        contents.push_back(static_cast<uint8_t>(length + 1));
    }
}

// Order of the checks of strings, bytes and repeated members: wire type, filled already, no allocation function, length
// or counting pass, allocation

TEST(contract_decode, wire_type_is_checked_before_a_second_occurrence)
{
    EXPECT_EQ(status_of<ip_rib_proto_update>({0x22, 0x01, 'a', 0x20, 0x01}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<ip_rib_opaque>({0x2A, 0x01, 0xF1, 0x28, 0x01}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_ecomm_array>({0x10, 0x01, 0x08, 0x01, 0x12, 0x00}), ZIDL_ERR_FIELD_TYPE);
}

TEST(contract_decode, wire_type_is_checked_before_the_allocation_function)
{
    zidl_ip_rib_proto_update string = {};
    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(string, {0x20, 0x01}), ZIDL_ERR_FIELD_TYPE);
    zidl_ip_rib_opaque block = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(block, {0x28, 0x01}), ZIDL_ERR_FIELD_TYPE);
    zidl_rib_ecomm_array array = {};
    EXPECT_EQ(decode_without_memory<rib_ecomm_array>(array, {0x12, 0x00}), ZIDL_ERR_FIELD_TYPE);
}

TEST(contract_decode, second_occurrence_is_found_before_its_length_is_read)
{
    memory mem;
    zidl_ip_rib_proto_update msg = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {0x22, 0x01, 'a', 0x22}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_STREQ(msg.proto_name, "a");
}

TEST(contract_decode, allocation_function_is_checked_before_the_length)
{
    zidl_ip_rib_proto_update string = {};
    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(string, {0x22}), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(string, {0x22, 0x80}), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(string, {0x22, 0x05, 'a'}), ZIDL_ERR_NO_MEMORY);
    zidl_ip_rib_opaque block = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(block, {0x2A}), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(block, {0x2A, 0x05, 0xF1}), ZIDL_ERR_NO_MEMORY);
}

TEST(contract_decode, allocation_function_is_checked_before_the_counting_pass)
{
    zidl_rib_ecomm_array scalars = {};
    EXPECT_EQ(decode_without_memory<rib_ecomm_array>(scalars, {0x10}), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<rib_ecomm_array>(scalars, {0x10, 0x80}), ZIDL_ERR_NO_MEMORY);
    zidl_rib_generic_attr_array messages = {};
    EXPECT_EQ(decode_without_memory<rib_generic_attr_array>(messages, {0x12, 0x05}), ZIDL_ERR_NO_MEMORY);
    zidl_rib_encap_id_path_key_srv6 blocks = {};
    EXPECT_EQ(decode_without_memory<rib_encap_id_path_key_srv6>(blocks, {0x12, 0x05}), ZIDL_ERR_NO_MEMORY);
}

TEST(contract_decode, length_is_checked_before_the_allocation)
{
    memory string_mem(0);
    zidl_ip_rib_proto_update string = {};
    EXPECT_EQ(decode<ip_rib_proto_update>(string, {0x22, 0x02, 'a'}, string_mem), ZIDL_ERR_MALFORMED);
    memory block_mem(0);
    zidl_ip_rib_opaque block = {};
    EXPECT_EQ(decode<ip_rib_opaque>(block, {0x2A, 0x02, 0xF1}, block_mem), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, counting_pass_comes_before_the_allocation)
{
    memory mem(0);
    zidl_rib_ecomm_array msg = {};
    EXPECT_EQ(decode<rib_ecomm_array>(msg, {0x10, 0x01, 0x10, 0x80}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes{});
}

// Repeated members

TEST(contract_decode, repeated_32_bit_values_take_one_block_of_four_bytes_each)
{
    memory mem;
    zidl_rib_client_advertisement msg = {};
    EXPECT_EQ(decode<rib_client_advertisement>(msg, {0x08, 0x01, 0x08, 0xAC, 0x02, 0x08, 0x00}, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{12});
    EXPECT_EQ(std::vector<uint32_t>(msg.advertised_values, msg.advertised_values + 3),
              (std::vector<uint32_t>{1, 300, 0}));
    EXPECT_EQ(msg.advertised_values_count, 3u);
    EXPECT_EQ(msg.presence, 0x01); // advertised_values
}

TEST(contract_decode, repeated_64_bit_values_take_one_block_of_eight_bytes_each)
{
    const bytes input = {
        0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 2 ecomm_values[0] = 2^64 - 1
        0x10, 0x80, 0x80, 0x80, 0x80, 0x10,                               // 2 ecomm_values[1] = 2^32
    };
    memory mem;
    zidl_rib_ecomm_array msg = {};
    EXPECT_EQ(decode<rib_ecomm_array>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{16});
    EXPECT_EQ(msg.ecomm_values[0], UINT64_MAX);
    EXPECT_EQ(msg.ecomm_values[1], 1ull << 32);
    EXPECT_EQ(msg.ecomm_count, 2u);
}

TEST(contract_decode, repeated_8_bit_values_take_one_block_of_one_byte_each)
{
    memory mem;
    zidl_ip_rib_srv6_sid_ctx msg = {};
    EXPECT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, {0x10, 0x01, 0x10, 0xC8, 0x01}, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{2});
    EXPECT_EQ(msg.values_2[0], 1);
    EXPECT_EQ(msg.values_2[1], 200);
    EXPECT_EQ(msg.values_2_count, 2u);
}

TEST(contract_decode, repeated_bytes_take_one_block_of_sixteen_bytes_each_and_one_for_every_element)
{
    memory mem;
    zidl_rib_encap_id_path_key_srv6 msg = {};
    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(msg, {0x12, 0x02, 0xA1, 0xA2, 0x12, 0x00, 0x12, 0x01, 0xC1}, mem),
              ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{THREE_ELEMENTS_LEN, 2, 0, 1}));
    EXPECT_EQ(msg.entries_count, 3u);
    EXPECT_EQ(bytes(msg.entries[0].data, msg.entries[0].data + 2), (bytes{0xA1, 0xA2}));
    EXPECT_EQ(msg.entries[0].size, 2u);
    EXPECT_EQ(static_cast<void *>(msg.entries[1].data), mem.blocks[2]);
    EXPECT_EQ(msg.entries[1].size, 0u);
    EXPECT_EQ(msg.entries[2].data[0], 0xC1);
    EXPECT_EQ(msg.entries[2].size, 1u);
}

TEST(contract_decode, repeated_messages_take_one_block_of_the_record_size_each)
{
    memory mem;
    zidl_rib_path msg = {};
    EXPECT_EQ(decode<rib_path>(msg, {0x8A, 0x01, 0x02, 0x08, 0x01, 0x8A, 0x01, 0x00}, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{2 * sizeof(zidl_rib_address)});
    EXPECT_EQ(msg.path_addresses_count, 2u);
    EXPECT_EQ(msg.path_addresses[0].family, 1u);
    EXPECT_EQ(msg.path_addresses[0].presence, 0x01); // family, and no bit of the block's former contents
    EXPECT_EQ(msg.path_addresses[1].presence, 0);
    EXPECT_EQ(msg.path_addresses[1].ipv6.presence, 0);
    EXPECT_EQ(msg.presence, 1u << 14); // path_addresses
}

TEST(contract_decode, arrays_of_messages_are_cleared_whole)
{
    memory mem;
    zidl_rib_path msg = {};
    EXPECT_EQ(decode<rib_path>(msg, {0x8A, 0x01, 0x00}, mem), ZIDL_OK);
    const uint8_t *element = reinterpret_cast<const uint8_t *>(msg.path_addresses);
    EXPECT_EQ(bytes(element, element + sizeof(zidl_rib_address)), bytes(sizeof(zidl_rib_address), 0));
}

TEST(contract_decode, repeated_member_needs_an_allocation_function_also_for_zero_copy)
{
    zidl_rib_encap_id_path_key_srv6 blocks = {};
    EXPECT_EQ(decode_without_memory<rib_encap_id_path_key_srv6>(blocks, {0x12, 0x01, 0xA1}, ZIDL_ZERO_COPY),
              ZIDL_ERR_NO_MEMORY);
    zidl_rib_client_advertisement scalars = {};
    EXPECT_EQ(decode_without_memory<rib_client_advertisement>(scalars, {0x08, 0x01}, ZIDL_ZERO_COPY),
              ZIDL_ERR_NO_MEMORY);
}

TEST(contract_decode, zero_copy_elements_of_repeated_bytes_point_into_the_input)
{
    const bytes input = {
        0x12, 0x01, 0xA1, // 2 entries[0]
        0x12, 0x00,       // 2 entries[1], empty
        0x12, 0x01, 0xC1, // 2 entries[2]
    };
    memory mem;
    zidl_rib_encap_id_path_key_srv6 msg = {};
    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{THREE_ELEMENTS_LEN});
    EXPECT_EQ(msg.entries[0].data, input.data() + 2);
    EXPECT_EQ(msg.entries[1].data, input.data() + 5);
    EXPECT_EQ(msg.entries[1].size, 0u);
    EXPECT_EQ(msg.entries[2].data, input.data() + 7);
}

TEST(contract_decode, second_run_is_malformed_and_the_first_stays)
{
    const bytes input = {
        0x10, 0x07, // 2 ecomm_values[0] = 7
        0x08, 0x01, // 1 ecomm_value_1 = 1
        0x10, 0x08, // 2 ecomm_values, again
        0x18, 0x03, // 3 ecomm_value_3 = 3
    };
    memory mem;
    zidl_rib_ecomm_array msg = {};
    EXPECT_EQ(decode<rib_ecomm_array>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.ecomm_count, 1u);
    EXPECT_EQ(msg.ecomm_values[0], 7u);
    EXPECT_EQ(msg.presence, 0x03); // ecomm_value_1, ecomm_values
    EXPECT_EQ(mem.requests, sizes{8});
}

TEST(contract_decode, second_run_behind_an_unknown_field_is_malformed)
{
    const bytes input = {
        0x10, 0x07, // 2 ecomm_values[0] = 7
        0x28, 0x01, // 5, unknown
        0x10, 0x08, // 2 ecomm_values, again
    };
    EXPECT_EQ(status_of<rib_ecomm_array>(input), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, second_run_of_messages_and_of_bytes_is_malformed)
{
    EXPECT_EQ(status_of<rib_generic_attr_array>({0x12, 0x00, 0x08, 0x01, 0x12, 0x00}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_encap_id_path_key_srv6>({0x12, 0x00, 0x0A, 0x00, 0x12, 0x00}), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, wire_type_of_later_elements_is_not_looked_at)
{
    const bytes scalars = {
        0x10, 0x07, // 2 ecomm_values[0] = 7
        0x12, 0x08, // 2 with wire type 2, read as a varint: 8
        0x13, 0x09, // 2 with wire type 3: 9
        0x17, 0x0A, // 2 with wire type 7: 10
    };
    memory mem;
    zidl_rib_ecomm_array array = {};
    EXPECT_EQ(decode<rib_ecomm_array>(array, scalars, mem), ZIDL_OK);
    EXPECT_EQ(std::vector<uint64_t>(array.ecomm_values, array.ecomm_values + array.ecomm_count),
              (std::vector<uint64_t>{7, 8, 9, 10}));

    const bytes messages = {
        0x12, 0x02, 0x08, 0x07, // 2 attrs[0]: attr_type = 7
        0x10, 0x02, 0x08, 0x08, // 2 with wire type 0, read as length-delimited: attr_type = 8
        0x15, 0x00,             // 2 with wire type 5: empty
    };
    zidl_rib_generic_attr_array attrs = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(attrs, messages, mem), ZIDL_OK);
    EXPECT_EQ(attrs.attrs_count, 3u);
    EXPECT_EQ(attrs.attrs[1].attr_type, 8u);
    EXPECT_EQ(attrs.attrs[2].presence, 0);

    const bytes blocks = {
        0x12, 0x01, 0xA1, // 2 entries[0]
        0x11, 0x01, 0xB1, // 2 with wire type 1, read as length-delimited
    };
    zidl_rib_encap_id_path_key_srv6 key = {};
    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(key, blocks, mem), ZIDL_OK);
    EXPECT_EQ(key.entries_count, 2u);
    EXPECT_EQ(key.entries[1].data[0], 0xB1);
}

TEST(contract_decode, overlong_tags_belong_to_the_run)
{
    const bytes input = {
        0x10, 0x07,                                     // 2 ecomm_values[0] = 7
        0x90, 0x00, 0x08,                               // 2 in two bytes: 8
        0x90, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00, 0x09, // 2 in seven bytes: 9
        0x18, 0x03,                                     // 3 ecomm_value_3 = 3
    };
    memory mem;
    zidl_rib_ecomm_array msg = {};
    EXPECT_EQ(decode<rib_ecomm_array>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(std::vector<uint64_t>(msg.ecomm_values, msg.ecomm_values + msg.ecomm_count),
              (std::vector<uint64_t>{7, 8, 9}));
    EXPECT_EQ(msg.ecomm_value_3, 3u);
}

TEST(contract_decode, runs_of_two_byte_tags_hold_elements_of_other_forms)
{
    const bytes input = {
        0x8A, 0x01, 0x02, 0x08, 0x07,       // 17 path_addresses[0]: family = 7
        0x8A, 0x81, 0x00, 0x02, 0x08, 0x08, // 17 in three bytes: family = 8
        0x88, 0x01, 0x02, 0x08, 0x09,       // 17 with wire type 0: family = 9
        0x8D, 0x01, 0x00,                   // 17 with wire type 5: empty
        0x8A, 0x01, 0x02, 0x08, 0x0A,       // 17 path_addresses[4]: family = 10
        0x98, 0x01, 0x13,                   // 19 path_value_19 = 19
    };
    memory mem;
    zidl_rib_path msg = {};
    ASSERT_EQ(decode<rib_path>(msg, input, mem), ZIDL_OK);
    ASSERT_EQ(msg.path_addresses_count, 5u);
    EXPECT_EQ(msg.path_addresses[0].family, 7u);
    EXPECT_EQ(msg.path_addresses[1].family, 8u);
    EXPECT_EQ(msg.path_addresses[2].family, 9u);
    EXPECT_EQ(msg.path_addresses[3].presence, 0);
    EXPECT_EQ(msg.path_addresses[4].family, 10u);
    EXPECT_EQ(msg.path_value_19, 19u);
}

TEST(contract_decode, runs_of_small_integers_hold_elements_of_other_forms)
{
    const bytes input = {
        0x10, 0x01,                                     // 2 values_2[0] = 1
        0x12, 0x02,                                     // 2 with wire type 2: 2
        0x90, 0x00, 0x83, 0x80, 0x80, 0x80, 0x80, 0x00, // 2 in two bytes: 3, in six
        0x10, 0x84, 0x80, 0x80, 0x80, 0x10,             // 2 values_2[3] = 2^32 + 4
        0x08, 0x05,                                     // 1 value_1 = 5
    };
    memory mem;
    zidl_ip_rib_srv6_sid_ctx msg = {};
    ASSERT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(bytes(msg.values_2, msg.values_2 + msg.values_2_count), (bytes{1, 2, 3, 4}));
    EXPECT_EQ(msg.value_1, 5u);
}

TEST(contract_decode, run_of_many_elements_takes_one_block)
{
    bytes input;
    for (int i = 0; i < 1000; i++)
        input.insert(input.end(), {0x08, 0x85, 0x01}); // 1 advertised_values = 133
    memory mem;
    zidl_rib_client_advertisement msg = {};
    EXPECT_EQ(decode<rib_client_advertisement>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{4000});
    EXPECT_EQ(std::vector<uint32_t>(msg.advertised_values, msg.advertised_values + 1000),
              std::vector<uint32_t>(1000, 133));
}

TEST(contract_decode, run_may_begin_with_an_overlong_tag)
{
    const bytes input = {
        0x92, 0x80, 0x00, 0x02, 0x08, 0x07, // 2 attrs[0], its tag in three bytes: attr_type = 7
        0x12, 0x02, 0x08, 0x08,             // 2 attrs[1]: attr_type = 8
    };
    memory mem;
    zidl_rib_generic_attr_array msg = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.attrs_count, 2u);
    EXPECT_EQ(msg.attrs[0].attr_type, 7u);
    EXPECT_EQ(msg.attrs[1].attr_type, 8u);
}

TEST(contract_decode, elements_may_be_overlong_varints)
{
    const bytes input = {
        0x10, 0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01, // 2 ecomm_values[0] = 1
        0x10, 0x02,                                                                   // 2 ecomm_values[1] = 2
    };
    memory mem;
    zidl_rib_ecomm_array msg = {};
    EXPECT_EQ(decode<rib_ecomm_array>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.ecomm_count, 2u);
    EXPECT_EQ(msg.ecomm_values[0], 1u);
    EXPECT_EQ(msg.ecomm_values[1], 2u);
}

TEST(contract_decode, elements_wider_than_32_bits_keep_their_low_32_bits)
{
    memory mem;
    zidl_rib_client_advertisement msg = {};
    EXPECT_EQ(decode<rib_client_advertisement>(msg, {0x08, 0x85, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, mem), ZIDL_OK);
    EXPECT_EQ(msg.advertised_values[0], 5u);
}

TEST(contract_decode, element_lengths_keep_their_low_32_bits)
{
    const bytes input = {
        0x12, 0x82, 0x80, 0x80, 0x80, 0x10, 0x08, 0x07, // 2 attrs[0], 2^32 + 2 bytes: attr_type = 7
        0x12, 0x00,                                     // 2 attrs[1], empty
    };
    memory mem;
    zidl_rib_generic_attr_array msg = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.attrs_count, 2u);
    EXPECT_EQ(msg.attrs[0].attr_type, 7u);
}

TEST(contract_decode, run_ends_with_the_slice_of_its_message)
{
    const bytes input = {
        0x0A, 0x00,             // 1 route_prefix, empty
        0xDA, 0x01, 0x02,       // 27 client_advertisement, 2 bytes
        0x08, 0x07,             //   1 advertised_values[0] = 7
        0x0A, 0x02, 0x10, 0x18, // 1 route_prefix, again: prefix_len = 24
    };
    memory mem;
    zidl_rib_route msg = {};
    EXPECT_EQ(decode<rib_route>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.client_advertisement.advertised_values_count, 1u);
    EXPECT_EQ(msg.route_prefix.prefix_len, 24u);
}

TEST(contract_decode, tag_cut_behind_a_run_is_malformed_and_nothing_is_allocated)
{
    memory mem;
    zidl_rib_ecomm_array scalars = {};
    EXPECT_EQ(decode<rib_ecomm_array>(scalars, {0x10, 0x07, 0x10, 0x08, 0x90}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(scalars.ecomm_values, nullptr);
    EXPECT_EQ(scalars.ecomm_count, 0u);
    EXPECT_EQ(scalars.presence, 0);

    zidl_rib_generic_attr_array messages = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(messages, {0x12, 0x00, 0x80, 0x80}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(messages.attrs, nullptr);
    EXPECT_EQ(messages.attrs_count, 0u);

    zidl_rib_encap_id_path_key_srv6 blocks = {};
    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(blocks, {0x12, 0x01, 0xA1, 0x92}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(blocks.entries, nullptr);
    EXPECT_EQ(blocks.entries_count, 0u);

    zidl_ip_rib_srv6_sid_ctx small = {};
    EXPECT_EQ(decode<ip_rib_srv6_sid_ctx>(small, {0x10, 0x01, 0xFF}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(small.values_2, nullptr);
    EXPECT_EQ(mem.requests, sizes{});
}

TEST(contract_decode, later_element_cut_off_is_malformed_and_nothing_is_allocated)
{
    memory mem;
    zidl_rib_client_advertisement scalars = {};
    EXPECT_EQ(decode<rib_client_advertisement>(scalars, {0x08, 0x01, 0x08, 0x80}, mem), ZIDL_ERR_MALFORMED);
    zidl_rib_generic_attr_array messages = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(messages, {0x12, 0x00, 0x12, 0x01}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(messages.attrs, nullptr);
    zidl_rib_encap_id_path_key_srv6 blocks = {};
    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(blocks, {0x12, 0x00, 0x12, 0x02, 0xA1}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(blocks.entries, nullptr);
    EXPECT_EQ(mem.requests, sizes{});
}

TEST(contract_decode, element_length_near_2_to_the_32_is_malformed_and_nothing_is_allocated)
{
    memory mem;
    zidl_rib_generic_attr_array messages = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(messages, {0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}, mem), ZIDL_ERR_MALFORMED);
    zidl_rib_encap_id_path_key_srv6 blocks = {};
    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(blocks, {0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 0xA1}, mem),
              ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes{});
}

TEST(contract_decode, later_element_of_another_wire_type_is_measured_as_an_element_of_the_member)
{
    // Two bytes follow the second tag: as a message they say "3 bytes", which are not there.
    memory mem;
    zidl_rib_generic_attr_array msg = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(msg, {0x12, 0x00, 0x10, 0x03}, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes{});
}

TEST(contract_decode, failing_element_leaves_the_array_with_its_full_count)
{
    const bytes input = {
        0x12, 0x02, 0x08, 0x07, // 2 attrs[0]: attr_type = 7
        0x12, 0x02, 0x0A, 0x00, // 2 attrs[1]: attr_type, length-delimited
        0x12, 0x02, 0x08, 0x09, // 2 attrs[2]: attr_type = 9
    };
    memory mem;
    zidl_rib_generic_attr_array msg = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
    ASSERT_NE(msg.attrs, nullptr);
    EXPECT_EQ(msg.attrs_count, 3u);
    EXPECT_EQ(msg.attrs[0].attr_type, 7u);
    EXPECT_EQ(msg.attrs[1].presence, 0);
    EXPECT_EQ(msg.attrs[2].attr_type, 0u); // never filled, but cleared
    EXPECT_EQ(msg.attrs[2].presence, 0);
    EXPECT_EQ(msg.presence, 0); // the bit is set only behind the last element
}

TEST(contract_decode, fields_behind_a_failure_are_not_decoded)
{
    zidl_rib_path_l2_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_l2_info>(msg, {0x08, 0x01, 0x2A, 0x00, 0x30, 0x06}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(msg.presence, 0x01); // l2_value_1
    EXPECT_EQ(msg.l2_value_6, 0u);
}

// Unknown fields

TEST(contract_decode, unknown_fields_are_skipped_by_their_wire_type)
{
    const bytes input = {
        0x10, 0x80, 0x80, 0x01,                      // 2, varint
        0x19, 1,    2,    3,    4,    5,    6, 7, 8, // 3, 64-bit
        0x22, 0x03, 0x08, 0x09, 0x0A,                // 4, length-delimited
        0x4D, 0x08, 0x09, 0x0A, 0x0B,                // 9, 32-bit
        0x28, 0x05,                                  // 5 l2_value_5 = 5
        0xFA, 0xFF, 0xFF, 0xFF, 0x0F, 0x00,          // 2^29 - 1, length-delimited
        0x30, 0x06,                                  // 6 l2_value_6 = 6
    };
    zidl_rib_path_l2_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_l2_info>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0x06); // l2_value_5, l2_value_6
    EXPECT_EQ(msg.l2_value_5, 5u);
    EXPECT_EQ(msg.l2_value_6, 6u);
}

TEST(contract_decode, field_number_zero_is_unknown)
{
    const bytes input = {
        0x00, 0x05,                         // 0, varint
        0x01, 1,    2,    3, 4, 5, 6, 7, 8, // 0, 64-bit
        0x02, 0x01, 0xFF,                   // 0, length-delimited
        0x05, 1,    2,    3, 4,             // 0, 32-bit
        0x08, 0x07,                         // 1 bind_value = 7
    };
    EXPECT_EQ(decoded_bind_value(input), 7u);
    EXPECT_EQ(status_of<rib_bind_reply>({0x03}), ZIDL_ERR_WIRE_TYPE);
    EXPECT_EQ(status_of<rib_bind_reply>({0x04}), ZIDL_ERR_WIRE_TYPE);
    EXPECT_EQ(status_of<rib_bind_reply>({0x06}), ZIDL_ERR_WIRE_TYPE);
    EXPECT_EQ(status_of<rib_bind_reply>({0x07}), ZIDL_ERR_WIRE_TYPE);
}

TEST(contract_decode, unknown_field_of_an_unsupported_wire_type_is_refused)
{
    EXPECT_EQ(status_of<rib_bind_reply>({0x13}), ZIDL_ERR_WIRE_TYPE);
    EXPECT_EQ(status_of<rib_bind_reply>({0x14}), ZIDL_ERR_WIRE_TYPE);
    EXPECT_EQ(status_of<rib_bind_reply>({0x16}), ZIDL_ERR_WIRE_TYPE);
    EXPECT_EQ(status_of<rib_bind_reply>({0x17}), ZIDL_ERR_WIRE_TYPE);
    EXPECT_EQ(status_of<rib_bind_reply>({0xFB, 0xFF, 0xFF, 0xFF, 0x0F}), ZIDL_ERR_WIRE_TYPE); // 2^29 - 1
}

TEST(contract_decode, unknown_field_of_an_unsupported_wire_type_is_refused_behind_other_fields)
{
    zidl_rib_bind_reply msg = {};
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x08, 0x05, 0x13}), ZIDL_ERR_WIRE_TYPE);
    EXPECT_EQ(msg.bind_value, 5u);
}

TEST(contract_decode, unknown_varint_cut_off_is_malformed)
{
    EXPECT_EQ(status_of<rib_bind_reply>({0x10}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_bind_reply>({0x10, 0x80}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_bind_reply>({0x10, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80}),
              ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, unknown_varint_may_be_of_any_length)
{
    EXPECT_EQ(decoded_bind_value({
                  0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, // 2, varint
                  0x08, 0x05,                                                                   // 1 bind_value = 5
              }),
              5u);
}

TEST(contract_decode, unknown_length_cut_off_is_malformed)
{
    EXPECT_EQ(status_of<rib_bind_reply>({0x12}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_bind_reply>({0x12, 0x80}), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(status_of<rib_bind_reply>({0x12, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80}), ZIDL_ERR_MALFORMED);
}

TEST(contract_decode, unknown_64_bit_field_may_run_past_the_end)
{
    bytes input = {0x11};
    for (int i = 0; i < 9; i++) {
        EXPECT_EQ(status_of<rib_bind_reply>(input), ZIDL_OK) << i;
        input.push_back(0x80);
    }
}

TEST(contract_decode, unknown_32_bit_field_may_run_past_the_end)
{
    bytes input = {0x15};
    for (int i = 0; i < 5; i++) {
        EXPECT_EQ(status_of<rib_bind_reply>(input), ZIDL_OK) << i;
        input.push_back(0x80);
    }
}

TEST(contract_decode, unknown_length_delimited_field_may_run_past_the_end)
{
    EXPECT_EQ(status_of<rib_bind_reply>({0x12, 0x01}), ZIDL_OK);
    EXPECT_EQ(status_of<rib_bind_reply>({0x12, 0x05, 0x80}), ZIDL_OK);
    EXPECT_EQ(status_of<rib_bind_reply>({0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}), ZIDL_OK);       // 2^32 - 1
    EXPECT_EQ(status_of<rib_bind_reply>({0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 0x80}), ZIDL_OK); // 2^32 - 1
    EXPECT_EQ(status_of<rib_bind_reply>({0x12, 0xFA, 0xFF, 0xFF, 0xFF, 0x0F, 0x80}), ZIDL_OK); // 2^32 - 6
}

TEST(contract_decode, unknown_length_keeps_its_low_32_bits)
{
    EXPECT_EQ(decoded_bind_value({
                  0x12, 0x81, 0x80, 0x80, 0x80, 0x10, 0x88, // 2, 2^32 + 1 bytes
                  0x08, 0x05,                               // 1 bind_value = 5
              }),
              5u);
}

TEST(contract_decode, unknown_field_that_ends_with_the_input_is_skipped)
{
    EXPECT_EQ(status_of<rib_bind_reply>({0x12, 0x01, 0x80}), ZIDL_OK);
    EXPECT_EQ(status_of<rib_bind_reply>({0x15, 1, 2, 3, 0x80}), ZIDL_OK);
}

TEST(contract_decode, unknown_field_past_the_end_of_a_nested_message_ends_that_message_alone)
{
    const bytes input = {
        0x0A, 0x04, // 1 address, 4 bytes
        0x08, 0x02, //   1 family = 2
        0x22, 0x7F, //   4, unknown, 127 bytes
        0x10, 0x18, // 2 prefix_len = 24
    };
    zidl_rib_prefix msg = {};
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.address.family, 2u);
    EXPECT_EQ(msg.prefix_len, 24u);
    EXPECT_EQ(msg.presence, 0x03); // address, prefix_len
}

TEST(contract_decode, unknown_fixed_field_past_the_end_of_an_element_ends_that_element_alone)
{
    const bytes input = {
        0x12, 0x03, 0x08, 0x07, 0x19, // 2 attrs[0]: attr_type = 7; 3, unknown, 64-bit, nothing of it there
        0x12, 0x02, 0x08, 0x08,       // 2 attrs[1]: attr_type = 8
    };
    memory mem;
    zidl_rib_generic_attr_array msg = {};
    EXPECT_EQ(decode<rib_generic_attr_array>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.attrs_count, 2u);
    EXPECT_EQ(msg.attrs[0].attr_type, 7u);
    EXPECT_EQ(msg.attrs[1].attr_type, 8u);
}

TEST(contract_decode, unknown_fields_with_large_numbers_are_not_taken_for_known_ones)
{
    // 257, whose low 8 bits are those of field 1, and 129, whose low 7 bits are.
    zidl_rib_bind_reply msg = {};
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x88, 0x10, 0x05, 0x88, 0x08, 0x05}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0);
}

// Memory that runs out

// A route with every kind of block. In the order of the requests: algo_labels, paths, path_values_9 of the first path,
// ecomm_values of the first path, srv6_sid_infos of the second path, advertised_values, attrs, attr_data, attr_data.
const bytes route_with_nine_blocks = {
    0x8A, 0x01, 0x02, 0x08, 0x01,       // 17 algo_labels[0]: algo_label_value_1 = 1
    0x8A, 0x01, 0x00,                   // 17 algo_labels[1], empty
    0xD2, 0x01, 0x09,                   // 26 paths[0], 9 bytes
    0x48, 0x0A,                         //   9 path_values_9[0] = 10
    0x48, 0x0B,                         //   9 path_values_9[1] = 11
    0xD2, 0x01, 0x02, 0x10, 0x0C,       //   26 ecomm: ecomm_values[0] = 12
    0xD2, 0x01, 0x05,                   // 26 paths[1], 5 bytes
    0x8A, 0x02, 0x02, 0x08, 0x0D,       //   33 srv6_sid_infos[0]: sid_info_value_1 = 13
    0xDA, 0x01, 0x02, 0x08, 0x0E,       // 27 client_advertisement: advertised_values[0] = 14
    0xE2, 0x01, 0x0B,                   // 28 addr_generic_attrs, 11 bytes
    0x12, 0x03, 0x12, 0x01, 0xD1,       //   2 attrs[0]: attr_data
    0x12, 0x04, 0x12, 0x02, 0xD2, 0xD3, //   2 attrs[1]: attr_data
};

// The sizes requested for the whole of it.
const sizes nine_blocks = {
    2 * sizeof(zidl_rib_algo_label),
    2 * sizeof(zidl_rib_path),
    2 * sizeof(uint32_t),
    sizeof(uint64_t),
    sizeof(zidl_rib_path_srv6_sid_info),
    sizeof(uint32_t),
    2 * sizeof(zidl_rib_generic_attr_info),
    1,
    2,
};

TEST(contract_decode, memory_is_requested_in_the_order_of_the_input)
{
    memory mem;
    zidl_rib_route msg = rubbish<rib_route>();
    EXPECT_EQ(decode<rib_route>(msg, route_with_nine_blocks, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, nine_blocks);
}

TEST(contract_decode, nothing_is_requested_after_a_refusal)
{
    for (size_t refused = 0; refused < nine_blocks.size(); refused++) {
        memory mem(refused);
        zidl_rib_route msg = rubbish<rib_route>();
        EXPECT_EQ(decode<rib_route>(msg, route_with_nine_blocks, mem), ZIDL_ERR_NO_MEMORY) << refused;
        EXPECT_EQ(mem.requests, sizes(nine_blocks.begin(), nine_blocks.begin() + static_cast<ptrdiff_t>(refused) + 1))
            << refused;
    }
}

TEST(contract_decode, everything_allocated_before_a_refusal_is_released_with_the_record)
{
    for (size_t refused = 0; refused < nine_blocks.size(); refused++) {
        memory mem(refused);
        zidl_rib_route msg = rubbish<rib_route>();
        EXPECT_EQ(decode<rib_route>(msg, route_with_nine_blocks, mem), ZIDL_ERR_NO_MEMORY) << refused;
        release<rib_route>(msg, mem);
        EXPECT_EQ(mem.releases.size(), refused);
    }
}

TEST(contract_decode, refused_array_leaves_null_and_a_count_of_zero)
{
    memory mem(0);
    zidl_rib_route msg = rubbish<rib_route>();
    EXPECT_EQ(decode<rib_route>(msg, route_with_nine_blocks, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.algo_labels, nullptr);
    EXPECT_EQ(msg.algo_labels_count, 0u);
    EXPECT_FALSE(zidl_rib_route_has_algo_labels(&msg));
    EXPECT_EQ(msg.paths, nullptr);
}

TEST(contract_decode, refusal_within_an_element_leaves_the_array_with_its_full_count_and_no_bit)
{
    memory mem(2); // path_values_9 of the first path
    zidl_rib_route msg = rubbish<rib_route>();
    EXPECT_EQ(decode<rib_route>(msg, route_with_nine_blocks, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.algo_labels_count, 2u);
    EXPECT_EQ(static_cast<void *>(msg.algo_labels), mem.blocks[0]);
    EXPECT_TRUE(zidl_rib_route_has_algo_labels(&msg));
    EXPECT_EQ(msg.paths_count, 2u);
    EXPECT_EQ(static_cast<void *>(msg.paths), mem.blocks[1]);
    EXPECT_FALSE(zidl_rib_route_has_paths(&msg));
    EXPECT_EQ(msg.paths[0].path_values_9, nullptr);
    EXPECT_EQ(msg.paths[0].presence, 0u);
    EXPECT_EQ(msg.paths[1].presence, 0u);
}

TEST(contract_decode, refusal_in_a_nested_message_leaves_what_came_before_it_in_the_same_element)
{
    memory mem(3); // ecomm_values of the first path
    zidl_rib_route msg = rubbish<rib_route>();
    EXPECT_EQ(decode<rib_route>(msg, route_with_nine_blocks, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.paths[0].path_values_9_count, 2u);
    EXPECT_EQ(msg.paths[0].path_values_9[1], 11u);
    EXPECT_EQ(msg.paths[0].presence, 1u << 7); // path_values_9
    EXPECT_EQ(msg.paths[0].ecomm.ecomm_values, nullptr);
    EXPECT_EQ(msg.paths[0].ecomm.ecomm_count, 0u);
}

TEST(contract_decode, refused_bytes_of_an_element_leave_the_bytes_of_the_elements_before_it)
{
    memory mem(8); // attr_data of the second attribute
    zidl_rib_route msg = rubbish<rib_route>();
    EXPECT_EQ(decode<rib_route>(msg, route_with_nine_blocks, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.addr_generic_attrs.attrs_count, 2u);
    EXPECT_EQ(msg.addr_generic_attrs.attrs[0].attr_data[0], 0xD1);
    EXPECT_EQ(msg.addr_generic_attrs.attrs[1].attr_data, nullptr);
    EXPECT_EQ(msg.addr_generic_attrs.presence, 0xA4); // no bit of its own
    EXPECT_FALSE(zidl_rib_route_has_addr_generic_attrs(&msg));
    EXPECT_TRUE(zidl_rib_route_has_client_advertisement(&msg));
}

TEST(contract_decode, refused_element_of_repeated_bytes_leaves_the_array_with_its_full_count)
{
    memory mem(2); // the second element's block
    zidl_rib_encap_id_path_key_srv6 msg = {};
    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(msg, {0x12, 0x01, 0xA1, 0x12, 0x01, 0xB1, 0x12, 0x01, 0xC1}, mem),
              ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.entries_count, 3u);
    EXPECT_EQ(msg.entries[0].data[0], 0xA1);
    EXPECT_EQ(msg.entries[1].data, nullptr);
    EXPECT_EQ(msg.entries[2].data, nullptr);
    EXPECT_EQ(msg.entries[2].size, 0u);
    EXPECT_EQ(msg.presence, 0);
    EXPECT_EQ(mem.requests, (sizes{THREE_ELEMENTS_LEN, 1, 1}));
}

} // namespace
