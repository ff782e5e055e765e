// The attribute blocks of paths, and the per-algorithm labels of routes.

#include "messages/rib_common.h"
#include "tests/codec/support.hpp"

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(rib_algo_label);
RIB_TEST_CODEC(rib_ecomm_array);
RIB_TEST_CODEC(rib_nnh);
RIB_TEST_CODEC(rib_path_grouping_info);
RIB_TEST_CODEC(rib_path_iid_attr);
RIB_TEST_CODEC(rib_path_ip_tunnel_info);
RIB_TEST_CODEC(rib_path_l2_info);
RIB_TEST_CODEC(rib_path_sl_id_info);
RIB_TEST_CODEC(rib_path_srv6_sid_info);
RIB_TEST_CODEC(rib_path_via_aft_id);
RIB_TEST_CODEC(rib_path_via_srv6_sid);

FULL_ARGUMENT_LISTS(rib_algo_label);
FULL_ARGUMENT_LISTS(rib_ecomm_array);
FULL_ARGUMENT_LISTS(rib_nnh);
FULL_ARGUMENT_LISTS(rib_path_grouping_info);
FULL_ARGUMENT_LISTS(rib_path_iid_attr);
FULL_ARGUMENT_LISTS(rib_path_ip_tunnel_info);
FULL_ARGUMENT_LISTS(rib_path_l2_info);
FULL_ARGUMENT_LISTS(rib_path_sl_id_info);
FULL_ARGUMENT_LISTS(rib_path_srv6_sid_info);
FULL_ARGUMENT_LISTS(rib_path_via_aft_id);
FULL_ARGUMENT_LISTS(rib_path_via_srv6_sid);

template <class Codec>
int32_t status_of(const bytes &input)
{
    memory mem;
    typename Codec::record msg = {};
    return decode<Codec>(msg, input, mem);
}

// ---------------------------------------------------------------------------------------------------------------------
// Scalars only.

TEST(rib_nnh, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01,                         // 1 nnh_value_1 = 1
        0x10, 0x02,                         // 2 nnh_value_2 = 2
        0x18, 0x80, 0x01,                   // 3 nnh_value_3 = 128
        0x20, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 4 nnh_value_4 = 2^32 - 1
    };
    zidl_rib_nnh msg = rubbish<rib_nnh>();
    EXPECT_EQ(decode_without_memory<rib_nnh>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.nnh_value_1, 1u);
    EXPECT_EQ(msg.nnh_value_2, 2u);
    EXPECT_EQ(msg.nnh_value_3, 128u);
    EXPECT_EQ(msg.nnh_value_4, 0xFFFFFFFFu);
    EXPECT_EQ(msg.presence, 0xAF); // A0 with all
    EXPECT_EQ(encode<rib_nnh>(msg), whole);
}

TEST(rib_algo_label, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01,                         // 1 algo_label_value_1 = 1
        0x10, 0x02,                         // 2 algo_label_value_2 = 2
        0x18, 0x80, 0x01,                   // 3 algo_label_value_3 = 128
        0x20, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 4 algo_label_value_4 = 2^32 - 1
    };
    zidl_rib_algo_label msg = rubbish<rib_algo_label>();
    EXPECT_EQ(decode_without_memory<rib_algo_label>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.algo_label_value_1, 1u);
    EXPECT_EQ(msg.algo_label_value_2, 2u);
    EXPECT_EQ(msg.algo_label_value_3, 128u);
    EXPECT_EQ(msg.algo_label_value_4, 0xFFFFFFFFu);
    EXPECT_EQ(msg.presence, 0xAF); // A0 with all
    EXPECT_EQ(encode<rib_algo_label>(msg), whole);
}

TEST(rib_path_grouping_info, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01,       // 1 grouping_value_1 = 1
        0x10, 0x80, 0x02, // 2 grouping_value_2 = 256
    };
    zidl_rib_path_grouping_info msg = rubbish<rib_path_grouping_info>();
    EXPECT_EQ(decode_without_memory<rib_path_grouping_info>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.grouping_value_1, 1u);
    EXPECT_EQ(msg.grouping_value_2, 256u);
    EXPECT_EQ(msg.presence, 0xA7); // A4 with all
    EXPECT_EQ(encode<rib_path_grouping_info>(msg), whole);
}

TEST(rib_path_sl_id_info, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01,       // 1 sl_id_value_1 = 1
        0x10, 0x80, 0x02, // 2 sl_id_value_2 = 256
        0x18, 0x03,       // 3 sl_id_value_3 = 3
    };
    zidl_rib_path_sl_id_info msg = rubbish<rib_path_sl_id_info>();
    EXPECT_EQ(decode_without_memory<rib_path_sl_id_info>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.sl_id_value_1, 1u);
    EXPECT_EQ(msg.sl_id_value_2, 256u);
    EXPECT_EQ(msg.sl_id_value_3, 3u);
    EXPECT_EQ(msg.presence, 0xA7); // A0 with all
    EXPECT_EQ(encode<rib_path_sl_id_info>(msg), whole);
}

TEST(rib_path_l2_info, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01, // 1 l2_value_1 = 1
        0x28, 0x05, // 5 l2_value_5 = 5
        0x30, 0x06, // 6 l2_value_6 = 6
        0x38, 0x07, // 7 l2_value_7 = 7
        0x40, 0x08, // 8 l2_value_8 = 8
    };
    zidl_rib_path_l2_info msg = rubbish<rib_path_l2_info>();
    EXPECT_EQ(decode_without_memory<rib_path_l2_info>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.l2_value_1, 1u);
    EXPECT_EQ(msg.l2_value_5, 5u);
    EXPECT_EQ(msg.l2_value_6, 6u);
    EXPECT_EQ(msg.l2_value_7, 7u);
    EXPECT_EQ(msg.l2_value_8, 8u);
    EXPECT_EQ(msg.presence, 0xBF); // A0 with all
    EXPECT_EQ(encode<rib_path_l2_info>(msg), whole);
}

TEST(rib_path_l2_info, field_5_alone_takes_two_bytes)
{
    zidl_rib_path_l2_info msg = {};
    msg.l2_value_5 = 9;
    msg.presence = 0x02; // l2_value_5
    const bytes expected = {
        0x28, 0x09, // 5 l2_value_5 = 9
    };
    EXPECT_EQ(encode<rib_path_l2_info>(msg), expected);
}

TEST(rib_path_l2_info, unassigned_numbers_are_skipped)
{
    const bytes input = {
        0x10, 0x01,             // 2, unassigned
        0x1A, 0x01, 0xFF,       // 3, unassigned
        0x25, 1,    2,    3, 4, // 4, unassigned
        0x28, 0x05,             // 5 l2_value_5 = 5
    };
    zidl_rib_path_l2_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_l2_info>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0x02); // l2_value_5
    EXPECT_EQ(msg.l2_value_5, 5u);
}

TEST(rib_path_l2_info, assigned_number_of_another_wire_type_is_refused_where_an_unassigned_one_is_skipped)
{
    EXPECT_EQ(status_of<rib_path_l2_info>({0x2A, 0x00}), ZIDL_ERR_FIELD_TYPE); // 5
    EXPECT_EQ(status_of<rib_path_l2_info>({0x1A, 0x00}), ZIDL_OK);             // 3
}

TEST(rib_path_via_aft_id, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01,                                                       // 1 via_aft_value_1 = 1
        0x28, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 5 via_aft_id = 2^64 - 2
        0x30, 0x06,                                                       // 6 via_aft_value_6 = 6
        0x38, 0x07,                                                       // 7 via_aft_value_7 = 7
    };
    zidl_rib_path_via_aft_id msg = rubbish<rib_path_via_aft_id>();
    EXPECT_EQ(decode_without_memory<rib_path_via_aft_id>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.via_aft_value_1, 1u);
    EXPECT_EQ(msg.via_aft_id, UINT64_MAX - 1);
    EXPECT_EQ(msg.via_aft_value_6, 6u);
    EXPECT_EQ(msg.via_aft_value_7, 7u);
    EXPECT_EQ(msg.presence, 0xAF); // A0 with all
    EXPECT_EQ(encode<rib_path_via_aft_id>(msg), whole);
}

TEST(rib_path_via_aft_id, only_the_identifier_keeps_more_than_32_bits)
{
    const bytes input = {
        0x08, 0x81, 0x80, 0x80, 0x80, 0x10, // 1 via_aft_value_1 = 2^32 + 1
        0x28, 0x85, 0x80, 0x80, 0x80, 0x10, // 5 via_aft_id = 2^32 + 5
        0x30, 0x86, 0x80, 0x80, 0x80, 0x10, // 6 via_aft_value_6 = 2^32 + 6
        0x38, 0x87, 0x80, 0x80, 0x80, 0x10, // 7 via_aft_value_7 = 2^32 + 7
    };
    zidl_rib_path_via_aft_id msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_via_aft_id>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.via_aft_value_1, 1u);
    EXPECT_EQ(msg.via_aft_id, (1ull << 32) + 5);
    EXPECT_EQ(msg.via_aft_value_6, 6u);
    EXPECT_EQ(msg.via_aft_value_7, 7u);
}

TEST(rib_path_via_aft_id, unassigned_numbers_are_skipped)
{
    zidl_rib_path_via_aft_id msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_via_aft_id>(msg, {0x10, 0x01, 0x18, 0x01, 0x22, 0x00}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0);
}

TEST(rib_path_ip_tunnel_info, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01,                                                       // 1 tunnel_value_1 = 1
        0x28, 0x01,                                                       // 5 tunnel_flag = true
        0x30, 0x06,                                                       // 6 tunnel_value_6 = 6
        0x38, 0x07,                                                       // 7 tunnel_value_7 = 7
        0x40, 0x08,                                                       // 8 tunnel_value_8 = 8
        0x48, 0x09,                                                       // 9 tunnel_value_9 = 9
        0x50, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 10 tunnel_value_10 = 2^64 - 1
    };
    zidl_rib_path_ip_tunnel_info msg = rubbish<rib_path_ip_tunnel_info>();
    EXPECT_EQ(decode_without_memory<rib_path_ip_tunnel_info>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.tunnel_value_1, 1u);
    EXPECT_EQ(msg.tunnel_flag, 1);
    EXPECT_EQ(msg.tunnel_value_6, 6u);
    EXPECT_EQ(msg.tunnel_value_7, 7u);
    EXPECT_EQ(msg.tunnel_value_8, 8u);
    EXPECT_EQ(msg.tunnel_value_9, 9u);
    EXPECT_EQ(msg.tunnel_value_10, UINT64_MAX);
    EXPECT_EQ(msg.presence, 0xFF); // 80 with all
    EXPECT_EQ(encode<rib_path_ip_tunnel_info>(msg), whole);
}

TEST(rib_path_ip_tunnel_info, flag_is_normalised_on_the_way_in_and_not_on_the_way_out)
{
    zidl_rib_path_ip_tunnel_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_ip_tunnel_info>(msg, {0x28, 0x02}), ZIDL_OK);
    EXPECT_EQ(msg.tunnel_flag, 1);
    msg.tunnel_flag = 2;
    EXPECT_EQ(encode<rib_path_ip_tunnel_info>(msg), (bytes{0x28, 0x02}));
}

TEST(rib_path_ip_tunnel_info, only_field_10_keeps_more_than_32_bits)
{
    const bytes input = {
        0x48, 0x89, 0x80, 0x80, 0x80, 0x10, // 9 tunnel_value_9 = 2^32 + 9
        0x50, 0x8A, 0x80, 0x80, 0x80, 0x10, // 10 tunnel_value_10 = 2^32 + 10
    };
    zidl_rib_path_ip_tunnel_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_ip_tunnel_info>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.tunnel_value_9, 9u);
    EXPECT_EQ(msg.tunnel_value_10, (1ull << 32) + 10);
}

TEST(rib_path_ip_tunnel_info, unassigned_numbers_are_skipped)
{
    zidl_rib_path_ip_tunnel_info msg = {};
    EXPECT_EQ(decode_without_memory<rib_path_ip_tunnel_info>(msg, {0x10, 0x01, 0x18, 0x01, 0x22, 0x00}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0);
}

// ---------------------------------------------------------------------------------------------------------------------
// Scalars around a nested message.

TEST(rib_path_iid_attr, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01, // 1 iid_attr_value_1 = 1
        0x10, 0x02, // 2 iid_attr_value_2 = 2
        0x1A, 0x02, // 3 iid_attr_prefix, 2 bytes
        0x10, 0x18, //   2 prefix_len = 24
        0x20, 0x04, // 4 iid_attr_value_4 = 4
    };
    zidl_rib_path_iid_attr msg = rubbish<rib_path_iid_attr>();
    EXPECT_EQ(decode_without_memory<rib_path_iid_attr>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.iid_attr_value_1, 1u);
    EXPECT_EQ(msg.iid_attr_value_2, 2u);
    EXPECT_EQ(msg.iid_attr_prefix.prefix_len, 24u);
    EXPECT_EQ(msg.iid_attr_prefix.presence, 0xA6); // A4 with prefix_len
    EXPECT_EQ(msg.iid_attr_value_4, 4u);
    EXPECT_EQ(msg.presence, 0xAF); // A0 with all
    EXPECT_EQ(encode<rib_path_iid_attr>(msg), whole);
}

TEST(rib_path_iid_attr, empty_prefix_is_written_with_length_zero_when_its_bit_is_set)
{
    zidl_rib_path_iid_attr msg = {};
    msg.presence = 0x04; // iid_attr_prefix
    const bytes expected = {
        0x1A, 0x00, // 3 iid_attr_prefix, empty
    };
    EXPECT_EQ(encode<rib_path_iid_attr>(msg), expected);
}

TEST(rib_path_iid_attr, empty_prefix_is_not_written_when_its_bit_is_clear)
{
    zidl_rib_path_iid_attr msg = {};
    msg.iid_attr_value_4 = 4;
    msg.presence = 0x08; // iid_attr_value_4
    const bytes expected = {
        0x20, 0x04, // 4 iid_attr_value_4 = 4
    };
    EXPECT_EQ(encode<rib_path_iid_attr>(msg), expected);
}

TEST(rib_path_via_srv6_sid, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01,                         // 1 via_sid_value_1 = 1
        0x12, 0x08,                         // 2 via_sid, 8 bytes
        0x08, 0x80, 0x80, 0x80, 0x80, 0x10, //   1 half0 = 2^32
        0x10, 0x02,                         //   2 half1 = 2
        0x18, 0x03,                         // 3 via_sid_value_3 = 3
    };
    zidl_rib_path_via_srv6_sid msg = rubbish<rib_path_via_srv6_sid>();
    EXPECT_EQ(decode_without_memory<rib_path_via_srv6_sid>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.via_sid_value_1, 1u);
    EXPECT_EQ(msg.via_sid.half0, 1ull << 32);
    EXPECT_EQ(msg.via_sid.half1, 2u);
    EXPECT_EQ(msg.via_sid_value_3, 3u);
    EXPECT_EQ(msg.presence, 0xA7); // A0 with all
    EXPECT_EQ(encode<rib_path_via_srv6_sid>(msg), whole);
}

TEST(rib_path_srv6_sid_info, writes_and_reads_every_field)
{
    const bytes whole = {
        0x08, 0x01, // 1 sid_info_value_1 = 1
        0x12, 0x04, // 2 sid_info_prefix, 4 bytes
        0x0A, 0x00, //   1 address, empty
        0x10, 0x40, //   2 prefix_len = 64
        0x18, 0x03, // 3 sid_info_value_3 = 3
    };
    zidl_rib_path_srv6_sid_info msg = rubbish<rib_path_srv6_sid_info>();
    EXPECT_EQ(decode_without_memory<rib_path_srv6_sid_info>(msg, whole), ZIDL_OK);
    EXPECT_EQ(msg.sid_info_value_1, 1u);
    EXPECT_EQ(msg.sid_info_prefix.prefix_len, 64u);
    EXPECT_EQ(msg.sid_info_prefix.presence, 0xA7); // A4 with address, prefix_len
    EXPECT_EQ(msg.sid_info_value_3, 3u);
    EXPECT_EQ(msg.presence, 0xA7); // A0 with all
    EXPECT_EQ(encode<rib_path_srv6_sid_info>(msg), whole);
}

TEST(rib_path_via_srv6_sid, nested_messages_are_written_without_their_bit_when_they_have_content)
{
    zidl_rib_path_via_srv6_sid via = {};
    via.via_sid.half1 = 2;
    via.via_sid.presence = 0x02; // half1
    EXPECT_EQ(encode<rib_path_via_srv6_sid>(via), (bytes{0x12, 0x02, 0x10, 0x02}));

    zidl_rib_path_srv6_sid_info info = {};
    info.sid_info_prefix.prefix_len = 64;
    info.sid_info_prefix.presence = 0x02; // prefix_len
    EXPECT_EQ(encode<rib_path_srv6_sid_info>(info), (bytes{0x12, 0x02, 0x10, 0x40}));
}

TEST(rib_path_via_srv6_sid, nested_copies_need_no_memory)
{
    zidl_rib_path_via_srv6_sid src = {};
    src.via_sid.half1 = 2;
    src.via_sid.presence = 0x02; // half1
    src.via_sid_value_3 = 3;
    src.presence = 0x06; // via_sid, via_sid_value_3
    zidl_rib_path_via_srv6_sid dst = rubbish<rib_path_via_srv6_sid>();
    EXPECT_EQ(duplicate_without_memory<rib_path_via_srv6_sid>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.via_sid.half1, 2u);
    EXPECT_EQ(dst.via_sid.presence, 0xA6); // A4 with half1
    EXPECT_EQ(dst.via_sid_value_3, 3u);
    EXPECT_EQ(dst.presence, 0xA6); // A0 with via_sid, via_sid_value_3
}

TEST(rib_path_via_srv6_sid, release_changes_nothing)
{
    memory mem;
    zidl_rib_path_via_srv6_sid msg = {};
    msg.via_sid.half1 = 2;
    msg.via_sid.presence = 0x02; // half1
    release<rib_path_via_srv6_sid>(msg, mem);
    EXPECT_EQ(encode<rib_path_via_srv6_sid>(msg), (bytes{0x12, 0x02, 0x10, 0x02}));
    EXPECT_EQ(mem.releases, sizes{});
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_ecomm_array.

const bytes whole_ecomm_array = {
    0x08, 0x01,                                                       // 1 ecomm_value_1 = 1
    0x10, 0x02,                                                       // 2 ecomm_values[0] = 2
    0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 2 ecomm_values[1] = 2^64 - 1
    0x18, 0x03,                                                       // 3 ecomm_value_3 = 3
};

TEST(rib_ecomm_array, writes_every_field)
{
    uint64_t values[] = {2, UINT64_MAX};
    zidl_rib_ecomm_array msg = {};
    msg.ecomm_value_1 = 1;
    msg.ecomm_values = values;
    msg.ecomm_count = 2;
    msg.ecomm_value_3 = 3;
    msg.presence = 0x07; // all
    EXPECT_EQ(encode<rib_ecomm_array>(msg), whole_ecomm_array);
}

TEST(rib_ecomm_array, reads_every_field)
{
    memory mem;
    zidl_rib_ecomm_array msg = rubbish<rib_ecomm_array>();
    EXPECT_EQ(decode<rib_ecomm_array>(msg, whole_ecomm_array, mem), ZIDL_OK);
    EXPECT_EQ(msg.ecomm_value_1, 1u);
    EXPECT_EQ(msg.ecomm_count, 2u);
    EXPECT_EQ(msg.ecomm_values[0], 2u);
    EXPECT_EQ(msg.ecomm_values[1], UINT64_MAX);
    EXPECT_EQ(msg.ecomm_value_3, 3u);
    EXPECT_EQ(msg.presence, 0xA7); // A0 with all
    EXPECT_EQ(mem.requests, sizes{16});
}

TEST(rib_ecomm_array, bit_without_values_writes_nothing)
{
    zidl_rib_ecomm_array msg = {};
    msg.presence = 0x02; // ecomm_values
    EXPECT_EQ(encode<rib_ecomm_array>(msg), bytes{});
}

TEST(rib_ecomm_array, values_split_by_another_field_are_malformed)
{
    const bytes input = {
        0x10, 0x02, // 2 ecomm_values[0] = 2
        0x18, 0x03, // 3 ecomm_value_3 = 3
        0x10, 0x04, // 2 ecomm_values, again
    };
    EXPECT_EQ(status_of<rib_ecomm_array>(input), ZIDL_ERR_MALFORMED);
}

TEST(rib_ecomm_array, value_longer_than_the_input_is_malformed)
{
    EXPECT_EQ(status_of<rib_ecomm_array>({0x10, 0x02, 0x10, 0xFF, 0xFF}), ZIDL_ERR_MALFORMED);
}

TEST(rib_ecomm_array, values_that_cannot_be_duplicated_are_absent)
{
    uint64_t values[] = {2};
    zidl_rib_ecomm_array src = {};
    src.ecomm_value_1 = 1;
    src.ecomm_values = values;
    src.ecomm_count = 1;
    src.ecomm_value_3 = 3;
    src.presence = 0x07; // all
    memory mem(0);
    zidl_rib_ecomm_array dst = {};
    EXPECT_EQ(duplicate<rib_ecomm_array>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.ecomm_value_1, 1u);
    EXPECT_EQ(dst.ecomm_values, nullptr);
    EXPECT_EQ(dst.ecomm_count, 0u);
    EXPECT_EQ(dst.ecomm_value_3, 3u);
    EXPECT_EQ(dst.presence, 0x05); // ecomm_value_1, ecomm_value_3
}

TEST(rib_ecomm_array, duplicate_without_values_allocates_nothing)
{
    memory mem;
    zidl_rib_ecomm_array src = {};
    src.presence = 0x02; // ecomm_values
    zidl_rib_ecomm_array dst = {};
    EXPECT_EQ(duplicate<rib_ecomm_array>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes{});
    EXPECT_EQ(dst.presence, 0x02); // ecomm_values
}

TEST(rib_ecomm_array, release_leaves_count_and_bits)
{
    memory mem;
    zidl_rib_ecomm_array msg = {};
    EXPECT_EQ(decode<rib_ecomm_array>(msg, whole_ecomm_array, mem), ZIDL_OK);
    release<rib_ecomm_array>(msg, mem);
    EXPECT_EQ(mem.releases, sizes{0});
    EXPECT_EQ(msg.ecomm_values, nullptr);
    EXPECT_EQ(msg.ecomm_count, 2u);
    EXPECT_EQ(msg.presence, 0x07); // all
}

} // namespace
