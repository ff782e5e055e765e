// Protocol updates, opaque updates and instance-ID contexts: wire bytes, ownership and segment lists.

#include "messages/ip_rib.h"
#include "tests/codec/support.hpp"

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_proto_update);
RIB_TEST_CODEC(ip_rib_opaque);
RIB_TEST_CODEC(ip_rib_iid_evpn_vpws_ctx);
RIB_TEST_CODEC(ip_rib_iid_evpn_elan_ctx);
RIB_TEST_CODEC(ip_rib_iid_l2vpn_ip_tunnel_ctx);
RIB_TEST_CODEC(ip_rib_iid_lss_ctx);
RIB_TEST_CODEC(ip_rib_iid_aft_nhg_ctx);
RIB_TEST_CODEC(ip_rib_iid_sl_id_ctx);
RIB_TEST_CODEC(ip_rib_iid_ctx);
RIB_TEST_CODEC(ip_rib_iid_update);

// ---------------------------------------------------------------------------------------------------------------------
// Argument lists.

FULL_ARGUMENT_LISTS(ip_rib_proto_update);
FULL_ARGUMENT_LISTS(ip_rib_opaque);
FULL_ARGUMENT_LISTS(ip_rib_iid_evpn_elan_ctx);
FULL_ARGUMENT_LISTS(ip_rib_iid_l2vpn_ip_tunnel_ctx);
FULL_ARGUMENT_LISTS(ip_rib_iid_lss_ctx);
FULL_ARGUMENT_LISTS(ip_rib_iid_ctx);
FULL_ARGUMENT_LISTS(ip_rib_iid_update);

// Three scalars: nothing to allocate, nothing to borrow.
ENCODE_TAKES(ip_rib_iid_evpn_vpws_ctx, uint8_t *, size_t, zidl_segment *, uint32_t *);
DECODE_TAKES(ip_rib_iid_evpn_vpws_ctx, const uint8_t *, size_t);
DUPLICATE_TAKES(ip_rib_iid_evpn_vpws_ctx, const zidl_ip_rib_iid_evpn_vpws_ctx *);
FREE_TAKES(ip_rib_iid_evpn_vpws_ctx, zidl_free_fn, void *, uint32_t);

ENCODE_TAKES(ip_rib_iid_aft_nhg_ctx, uint8_t *, size_t, zidl_segment *, uint32_t *);
DECODE_TAKES(ip_rib_iid_aft_nhg_ctx, const uint8_t *, size_t);
DUPLICATE_TAKES(ip_rib_iid_aft_nhg_ctx, const zidl_ip_rib_iid_aft_nhg_ctx *);
FREE_TAKES(ip_rib_iid_aft_nhg_ctx, zidl_free_fn, void *, uint32_t);

// Its string is always copied: the decoder alone goes without flags.
ENCODE_TAKES(ip_rib_iid_sl_id_ctx, uint8_t *, size_t, zidl_segment *, uint32_t *, uint32_t);
DECODE_TAKES(ip_rib_iid_sl_id_ctx, const uint8_t *, size_t, zidl_alloc_fn, void *);
DUPLICATE_TAKES(ip_rib_iid_sl_id_ctx, const zidl_ip_rib_iid_sl_id_ctx *, zidl_alloc_fn, void *);
FREE_TAKES(ip_rib_iid_sl_id_ctx, zidl_free_fn, void *, uint32_t);

// ---------------------------------------------------------------------------------------------------------------------
// ip_rib_proto_update, encoding.

TEST(ip_rib_proto_update, writes_its_fields_in_order)
{
    char name[] = "isis";
    char extra_name[] = "L2";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_id = 300;
    msg.proto_sub_id = 5;
    msg.proto_value = 1;
    msg.proto_name = name;
    msg.proto_extra_name = extra_name;
    msg.presence = 0x1F;

    const bytes expected = {
        0x08, 0xAC, 0x02,                // 1 proto_id = 300
        0x10, 0x05,                      // 2 proto_sub_id = 5
        0x18, 0x01,                      // 3 proto_value = 1
        0x22, 0x04, 'i',  's', 'i', 's', // 4 proto_name
        0x2A, 0x02, 'L',  '2',           // 5 proto_extra_name
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), expected);
}

TEST(ip_rib_proto_update, without_presence_bits_is_empty)
{
    char name[] = "isis";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_id = 300;
    msg.proto_value = 1;
    msg.proto_name = name;

    EXPECT_EQ(encode<ip_rib_proto_update>(msg), bytes());
}

TEST(ip_rib_proto_update, empty_encoding_lists_no_segment)
{
    const zidl_ip_rib_proto_update msg = {};

    const listing out = list_segments<ip_rib_proto_update>(msg, 8, 2, 0);
    EXPECT_EQ(out.result, 0u);
    EXPECT_EQ(out.count, 0u);
    EXPECT_EQ(out.segs[0].len, listing::untouched_len);
}

TEST(ip_rib_proto_update, present_zero_takes_two_bytes)
{
    zidl_ip_rib_proto_update msg = {};
    msg.presence = 0x05; // proto_id, proto_value

    const bytes expected = {
        0x08, 0x00, // 1 proto_id = 0
        0x18, 0x00, // 3 proto_value = 0
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), expected);
}

TEST(ip_rib_proto_update, largest_32_bit_value_takes_five_bytes)
{
    zidl_ip_rib_proto_update msg = {};
    msg.proto_sub_id = 0xFFFFFFFF;
    msg.presence = 0x02;

    const bytes expected = {
        0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 2 proto_sub_id
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), expected);
}

TEST(ip_rib_proto_update, largest_64_bit_value_takes_ten_bytes)
{
    zidl_ip_rib_proto_update msg = {};
    msg.proto_value = UINT64_MAX;
    msg.presence = 0x04;

    const bytes expected = {
        0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 3 proto_value
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), expected);
}

TEST(ip_rib_proto_update, name_that_is_present_but_null_is_not_written)
{
    char extra_name[] = "x";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_id = 7;
    msg.proto_extra_name = extra_name;
    msg.presence = 0x19; // proto_id, proto_name, proto_extra_name

    const bytes expected = {
        0x08, 0x07,      // 1 proto_id = 7
        0x2A, 0x01, 'x', // 5 proto_extra_name
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), expected);
}

TEST(ip_rib_proto_update, empty_name_is_a_tag_and_a_zero_length)
{
    char name[] = "";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = name;
    msg.presence = 0x08;

    const bytes expected = {
        0x22, 0x00, // 4 proto_name = ""
    };
    EXPECT_EQ(encode<ip_rib_proto_update>(msg), expected);
}

TEST(ip_rib_proto_update, name_that_does_not_fit_is_left_out_whole)
{
    char name[] = "isis";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_id = 9;
    msg.proto_name = name;
    msg.presence = 0x09;

    const bytes expected = {
        0x08, 0x09,       // 1 proto_id = 9
        0x22, 0x04,       // 4 proto_name, four characters
        0x5A, 0x5A, 0x5A, // three places: none of the characters
    };
    const listing out = list_segments<ip_rib_proto_update>(msg, 7, 0, 0);
    EXPECT_EQ(out.result, 8u);
    EXPECT_EQ(out.buf, expected);
}

TEST(ip_rib_proto_update, name_that_ends_with_the_buffer_is_written)
{
    char name[] = "isis";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = name;
    msg.proto_extra_name = name;
    msg.presence = 0x18;

    const bytes expected = {
        0x22, 0x04, 'i', 's', 'i', 's', // 4 proto_name
    };
    const listing out = list_segments<ip_rib_proto_update>(msg, 6, 0, 0);
    EXPECT_EQ(out.result, 12u);
    EXPECT_EQ(out.buf, expected);
}

TEST(ip_rib_proto_update, zero_copy_flag_changes_nothing_in_the_encoding)
{
    char name[] = "isis";
    zidl_ip_rib_proto_update msg = {};
    msg.proto_id = 9;
    msg.proto_name = name;
    msg.presence = 0x09;

    const bytes expected = {
        0x08, 0x09,                     // 1 proto_id = 9
        0x22, 0x04, 'i', 's', 'i', 's', // 4 proto_name
    };
    const listing out = list_segments<ip_rib_proto_update>(msg, 8, 2, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.buf, expected);
    EXPECT_EQ(out.result, 8u);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 8}));
    EXPECT_EQ(out.segs[1].len, listing::untouched_len);
}

TEST(ip_rib_proto_update, capacity_of_zero_gives_the_number_of_segments_and_writes_none)
{
    zidl_ip_rib_proto_update msg = {};
    msg.presence = 0x01;

    const listing out = list_segments<ip_rib_proto_update>(msg, 2, 0, 0);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0].len, listing::untouched_len);
}

// ip_rib_proto_update, decoding.

TEST(ip_rib_proto_update, empty_input_resets_the_record_and_allocates_nothing)
{
    zidl_ip_rib_proto_update msg;
    std::memset(&msg, 0xA5, sizeof msg);
    memory mem;

    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {}, mem), ZIDL_OK);
    EXPECT_EQ(msg.proto_id, 0u);
    EXPECT_EQ(msg.proto_sub_id, 0u);
    EXPECT_EQ(msg.proto_value, 0u);
    EXPECT_EQ(msg.proto_name, nullptr);
    EXPECT_EQ(msg.proto_extra_name, nullptr);
    EXPECT_EQ(msg.presence, 0xA0); // bits 5 to 7 belong to no field
    EXPECT_EQ(mem.requests, sizes());
}

TEST(ip_rib_proto_update, reads_every_field)
{
    const bytes input = {
        0x08, 0xAC, 0x02,                // 1 proto_id = 300
        0x10, 0x05,                      // 2 proto_sub_id = 5
        0x18, 0x01,                      // 3 proto_value = 1
        0x22, 0x04, 'i',  's', 'i', 's', // 4 proto_name
        0x2A, 0x02, 'L',  '2',           // 5 proto_extra_name
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.proto_id, 300u);
    EXPECT_EQ(msg.proto_sub_id, 5u);
    EXPECT_EQ(msg.proto_value, 1u);
    EXPECT_STREQ(msg.proto_name, "isis");
    EXPECT_STREQ(msg.proto_extra_name, "L2");
    EXPECT_EQ(msg.presence, 0x1F);
    EXPECT_EQ(mem.requests, (sizes{5, 3}));
}

TEST(ip_rib_proto_update, proto_value_keeps_all_64_bits)
{
    const bytes input = {
        0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 3 proto_value = 2^64 - 1
    };
    zidl_ip_rib_proto_update msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.proto_value, UINT64_MAX);
}

TEST(ip_rib_proto_update, tenth_byte_of_proto_value_gives_its_lowest_bit_only)
{
    const bytes input = {
        0x18, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x7E, // 3 proto_value: bits 1 to 6 of byte ten
    };
    zidl_ip_rib_proto_update msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.proto_value, 0u);
    EXPECT_EQ(msg.presence, 0x04);
}

TEST(ip_rib_proto_update, proto_value_of_twelve_bytes_is_consumed_whole)
{
    const bytes input = {
        0x18, 0x85, 0x80, 0x80, 0x80, 0x80, 0x80, // 3 proto_value = 5 in twelve bytes
        0x80, 0x80, 0x80, 0x80, 0x80, 0x00,       //
        0x08, 0x02,                               // 1 proto_id = 2
    };
    zidl_ip_rib_proto_update msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.proto_value, 5u);
    EXPECT_EQ(msg.proto_id, 2u);
}

TEST(ip_rib_proto_update, proto_id_keeps_the_low_32_bits_of_a_longer_varint)
{
    const bytes input = {
        0x08, 0x81, 0x80, 0x80, 0x80, 0xF0, 0x01, // 1 proto_id = 0x700000001
    };
    zidl_ip_rib_proto_update msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.proto_id, 1u);
}

TEST(ip_rib_proto_update, last_occurrence_of_a_number_wins)
{
    const bytes input = {
        0x08, 0x01, // 1 proto_id = 1
        0x10, 0x02, // 2 proto_sub_id = 2
        0x08, 0x03, // 1 proto_id = 3
    };
    zidl_ip_rib_proto_update msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.proto_id, 3u);
}

TEST(ip_rib_proto_update, empty_name_is_one_byte_that_holds_the_nul)
{
    const bytes input = {
        0x22, 0x00, // 4 proto_name = ""
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{1}));
    ASSERT_NE(msg.proto_name, nullptr);
    EXPECT_EQ(msg.proto_name[0], '\0');
    EXPECT_EQ(msg.presence, 0x08);
}

TEST(ip_rib_proto_update, name_with_a_nul_inside_keeps_all_its_bytes)
{
    const bytes input = {
        0x22, 0x03, 'a', 0x00, 'b', // 4 proto_name
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{4}));
    EXPECT_EQ(std::memcmp(msg.proto_name, "a\0b", 4), 0);
}

TEST(ip_rib_proto_update, zero_copy_still_copies_names)
{
    const bytes input = {
        0x22, 0x02, 'n', 's', // 4 proto_name
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_proto_update>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{3}));
    EXPECT_STREQ(msg.proto_name, "ns");
}

TEST(ip_rib_proto_update, second_name_is_malformed_and_the_first_stays_attached)
{
    const bytes input = {
        0x22, 0x01, 'a', // 4 proto_name
        0x22, 0x01, 'b', // 4 proto_name, again
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, (sizes{2}));
    EXPECT_STREQ(msg.proto_name, "a");
    EXPECT_EQ(msg.presence, 0x08);

    release<ip_rib_proto_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0}));
}

TEST(ip_rib_proto_update, name_without_an_allocation_function_is_out_of_memory)
{
    const bytes input = {
        0x08, 0x01,      // 1 proto_id = 1
        0x22, 0x01, 'a', // 4 proto_name
    };
    zidl_ip_rib_proto_update msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, input), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.proto_name, nullptr);
    EXPECT_EQ(msg.proto_id, 1u);
    EXPECT_EQ(msg.presence, 0x01);
}

TEST(ip_rib_proto_update, zero_copy_does_not_replace_the_allocation_function_of_a_name)
{
    const bytes input = {
        0x22, 0x01, 'a', // 4 proto_name
    };
    zidl_ip_rib_proto_update msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, input, ZIDL_ZERO_COPY), ZIDL_ERR_NO_MEMORY);
}

TEST(ip_rib_proto_update, missing_allocation_function_is_reported_before_a_bad_length)
{
    const bytes input = {
        0x22, 0x05, 'a', // 4 proto_name, five characters: four are missing
    };
    zidl_ip_rib_proto_update msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_proto_update>(msg, input), ZIDL_ERR_NO_MEMORY);
}

TEST(ip_rib_proto_update, name_past_the_end_is_malformed_and_asks_for_no_memory)
{
    const bytes input = {
        0x22, 0x05, 'a', // 4 proto_name, five characters: four are missing
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem(0);

    EXPECT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes());
}

TEST(ip_rib_proto_update, name_of_the_largest_length_is_malformed)
{
    const bytes input = {
        0x22, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 'a', // 4 proto_name, 2^32 - 1 characters
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes());
}

TEST(ip_rib_proto_update, name_with_a_cut_length_is_malformed)
{
    const bytes input = {
        0x22, 0x80, // 4 proto_name, the length's second byte is missing
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_ERR_MALFORMED);
}

TEST(ip_rib_proto_update, wire_type_of_a_second_name_is_judged_before_its_being_second)
{
    const bytes input = {
        0x22, 0x01, 'a', // 4 proto_name
        0x20, 0x01,      // 4 as a varint
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
}

TEST(ip_rib_proto_update, known_field_of_another_wire_type_is_refused)
{
    const struct {
        const char *what;
        bytes input;
    } cases[] = {
        {"1 proto_id as bytes", {0x0A, 0x00}},
        {"2 proto_sub_id as four bytes", {0x15, 0, 0, 0, 0}},
        {"3 proto_value as eight bytes", {0x19, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"4 proto_name as a varint", {0x20, 0x00}},
        {"5 proto_extra_name as a group", {0x2B}},
    };
    for (const auto &item : cases) {
        SCOPED_TRACE(item.what);
        zidl_ip_rib_proto_update msg = {};
        memory mem;
        EXPECT_EQ(decode<ip_rib_proto_update>(msg, item.input, mem), ZIDL_ERR_FIELD_TYPE);
        EXPECT_EQ(msg.presence, 0);
    }
}

TEST(ip_rib_proto_update, refused_second_name_leaves_the_first_attached)
{
    const bytes input = {
        0x08, 0x01,      // 1 proto_id = 1
        0x22, 0x01, 'a', // 4 proto_name
        0x2A, 0x01, 'b', // 5 proto_extra_name
        0x10, 0x02,      // 2 proto_sub_id = 2: never reached
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem(1);

    EXPECT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_STREQ(msg.proto_name, "a");
    EXPECT_EQ(msg.proto_extra_name, nullptr);
    EXPECT_EQ(msg.proto_sub_id, 0u);
    EXPECT_EQ(msg.presence, 0x09); // proto_id, proto_name

    release<ip_rib_proto_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0}));
}

TEST(ip_rib_proto_update, decoding_again_does_not_release_the_earlier_names)
{
    const bytes input = {
        0x22, 0x01, 'a', // 4 proto_name
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(decode<ip_rib_proto_update>(msg, {}, mem), ZIDL_OK);
    EXPECT_EQ(msg.proto_name, nullptr);
    EXPECT_EQ(mem.releases, sizes());
}

// ip_rib_proto_update, duplicate and release.

TEST(ip_rib_proto_update, duplicate_copies_both_names_with_their_nul)
{
    char name[] = "isis";
    char extra_name[] = "L2";
    zidl_ip_rib_proto_update src = {};
    src.proto_id = 1;
    src.proto_sub_id = 2;
    src.proto_value = UINT64_MAX;
    src.proto_name = name;
    src.proto_extra_name = extra_name;
    src.presence = 0x1F;
    zidl_ip_rib_proto_update dst = {};
    memory mem;

    ASSERT_EQ(duplicate<ip_rib_proto_update>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{5, 3}));
    EXPECT_EQ(dst.proto_id, 1u);
    EXPECT_EQ(dst.proto_sub_id, 2u);
    EXPECT_EQ(dst.proto_value, UINT64_MAX);
    EXPECT_STREQ(dst.proto_name, "isis");
    EXPECT_NE(dst.proto_name, name);
    EXPECT_STREQ(dst.proto_extra_name, "L2");
    EXPECT_EQ(dst.presence, 0x1F);
}

TEST(ip_rib_proto_update, duplicate_that_cannot_copy_the_first_name_copies_the_second)
{
    char name[] = "isis";
    char extra_name[] = "L2";
    zidl_ip_rib_proto_update src = {};
    src.proto_id = 1;
    src.proto_name = name;
    src.proto_extra_name = extra_name;
    src.presence = 0x19;
    zidl_ip_rib_proto_update dst = {};
    memory mem(0);

    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.proto_id, 1u);
    EXPECT_EQ(dst.proto_name, nullptr);
    EXPECT_STREQ(dst.proto_extra_name, "L2");
    EXPECT_EQ(dst.presence, 0x11); // proto_id, proto_extra_name
}

TEST(ip_rib_proto_update, duplicate_without_an_allocation_function_copies_the_numbers)
{
    char name[] = "isis";
    zidl_ip_rib_proto_update src = {};
    src.proto_sub_id = 2;
    src.proto_name = name;
    src.proto_extra_name = name;
    src.presence = 0x1A;
    zidl_ip_rib_proto_update dst = {};

    EXPECT_EQ(duplicate_without_memory<ip_rib_proto_update>(dst, src), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.proto_sub_id, 2u);
    EXPECT_EQ(dst.proto_name, nullptr);
    EXPECT_EQ(dst.proto_extra_name, nullptr);
    EXPECT_EQ(dst.presence, 0x02);
}

TEST(ip_rib_proto_update, duplicate_of_a_null_name_copies_its_bit_and_allocates_nothing)
{
    zidl_ip_rib_proto_update src = {};
    src.presence = 0x08;
    char name[] = "old";
    zidl_ip_rib_proto_update dst = {};
    dst.proto_name = name;

    EXPECT_EQ(duplicate_without_memory<ip_rib_proto_update>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.proto_name, nullptr);
    EXPECT_EQ(dst.presence, 0x08);
}

TEST(ip_rib_proto_update, duplicate_copies_a_name_whose_bit_is_clear)
{
    char name[] = "isis";
    zidl_ip_rib_proto_update src = {};
    src.proto_name = name;
    zidl_ip_rib_proto_update dst = {};
    dst.presence = 0x1F;
    memory mem;

    EXPECT_EQ(duplicate<ip_rib_proto_update>(dst, src, mem), ZIDL_OK);
    EXPECT_STREQ(dst.proto_name, "isis");
    EXPECT_EQ(dst.presence, 0);
}

TEST(ip_rib_proto_update, duplicate_keeps_the_spare_bits_of_the_destination)
{
    zidl_ip_rib_proto_update src = {};
    src.presence = 0x61; // proto_id and the spare bits 5 and 6
    zidl_ip_rib_proto_update dst = {};
    dst.presence = 0x9E; // spare bits 7 and 4 to 1

    EXPECT_EQ(duplicate_without_memory<ip_rib_proto_update>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.presence, 0x81);
}

TEST(ip_rib_proto_update, release_gives_back_both_names_in_order_and_keeps_the_rest)
{
    const bytes input = {
        0x2A, 0x01, 'b', // 5 proto_extra_name
        0x22, 0x01, 'a', // 4 proto_name
        0x08, 0x01,      // 1 proto_id = 1
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_OK);

    release<ip_rib_proto_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{1, 0})); // proto_name was allocated second
    EXPECT_EQ(msg.proto_name, nullptr);
    EXPECT_EQ(msg.proto_extra_name, nullptr);
    EXPECT_EQ(msg.proto_id, 1u);
    EXPECT_EQ(msg.presence, 0x19);
}

TEST(ip_rib_proto_update, second_release_gives_back_nothing)
{
    const bytes input = {
        0x22, 0x01, 'a', // 4 proto_name
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_proto_update>(msg, input, mem), ZIDL_OK);

    release<ip_rib_proto_update>(msg, mem);
    release<ip_rib_proto_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0}));
}

TEST(ip_rib_proto_update, zero_copy_release_gives_back_the_names_all_the_same)
{
    const bytes input = {
        0x22, 0x01, 'a', // 4 proto_name
        0x2A, 0x01, 'b', // 5 proto_extra_name
    };
    zidl_ip_rib_proto_update msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_proto_update>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);

    release<ip_rib_proto_update>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
    EXPECT_EQ(msg.proto_name, nullptr);
    EXPECT_EQ(msg.proto_extra_name, nullptr);
}

// ---------------------------------------------------------------------------------------------------------------------
// ip_rib_opaque, encoding.

// All six members: numbers 1, 2, 3, 4 and blocks of three and two bytes.
struct opaque_sample {
    uint8_t first[3] = {0xF1, 0xF2, 0xF3};
    uint8_t second[2] = {0x51, 0x52};
    zidl_ip_rib_opaque msg = {};

    opaque_sample()
    {
        msg.opaque_type = 1;
        msg.opaque_id = 2;
        msg.opaque_sub_id = 3;
        msg.opaque_value = 4;
        msg.first_block = first;
        msg.first_block_size = 3;
        msg.second_block = second;
        msg.second_block_size = 2;
        msg.presence = 0x3F;
    }
};

TEST(ip_rib_opaque, writes_its_fields_in_order)
{
    const opaque_sample sample;
    const bytes expected = {
        0x08, 0x01,                   // 1 opaque_type = 1
        0x10, 0x02,                   // 2 opaque_id = 2
        0x18, 0x03,                   // 3 opaque_sub_id = 3
        0x20, 0x04,                   // 4 opaque_value = 4
        0x2A, 0x03, 0xF1, 0xF2, 0xF3, // 5 first_block
        0x32, 0x02, 0x51, 0x52,       // 6 second_block
    };
    EXPECT_EQ(encode<ip_rib_opaque>(sample.msg), expected);
}

TEST(ip_rib_opaque, copying_encoder_lists_one_segment)
{
    const opaque_sample sample;

    const listing out = list_segments<ip_rib_opaque>(sample.msg, 17, 3, 0);
    EXPECT_EQ(out.result, 17u);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 17}));
    EXPECT_EQ(out.segs[1].len, listing::untouched_len);
}

TEST(ip_rib_opaque, empty_block_is_a_tag_and_a_zero_length)
{
    zidl_ip_rib_opaque msg = {};
    msg.presence = 0x30; // first_block, second_block

    const bytes expected = {
        0x2A, 0x00, // 5 first_block, empty
        0x32, 0x00, // 6 second_block, empty
    };
    EXPECT_EQ(encode<ip_rib_opaque>(msg), expected);
}

TEST(ip_rib_opaque, block_whose_bit_is_clear_is_not_written)
{
    opaque_sample sample;
    sample.msg.presence = 0x02; // opaque_id

    const bytes expected = {
        0x10, 0x02, // 2 opaque_id = 2
    };
    EXPECT_EQ(encode<ip_rib_opaque>(sample.msg), expected);
}

TEST(ip_rib_opaque, block_that_does_not_fit_is_left_out_whole)
{
    const opaque_sample sample;
    const bytes expected = {
        0x08, 0x01, // 1 opaque_type = 1
        0x10, 0x02, // 2 opaque_id = 2
        0x18, 0x03, // 3 opaque_sub_id = 3
        0x20, 0x04, // 4 opaque_value = 4
        0x2A, 0x03, // 5 first_block, three bytes
        0x5A, 0x5A, // two places: none of the bytes
    };
    const listing out = list_segments<ip_rib_opaque>(sample.msg, 12, 0, 0);
    EXPECT_EQ(out.result, 17u);
    EXPECT_EQ(out.buf, expected);
}

TEST(ip_rib_opaque, zero_copy_leaves_the_blocks_out_of_buffer_and_result)
{
    const opaque_sample sample;
    const bytes expected = {
        0x08, 0x01, // 1 opaque_type = 1
        0x10, 0x02, // 2 opaque_id = 2
        0x18, 0x03, // 3 opaque_sub_id = 3
        0x20, 0x04, // 4 opaque_value = 4
        0x2A, 0x03, // 5 first_block, three bytes elsewhere
        0x32, 0x02, // 6 second_block, two bytes elsewhere
    };
    EXPECT_EQ(encode<ip_rib_opaque>(sample.msg, ZIDL_ZERO_COPY), expected);
}

// The four segments of a zero-copy opaque_sample in their order: a list of `capacity` entries holds the first of them
// and nothing else, and the count does not depend on it.
void expect_first_segments(uint32_t capacity)
{
    const opaque_sample sample;
    const listing out = list_segments<ip_rib_opaque>(sample.msg, 12, capacity, ZIDL_ZERO_COPY);
    const zidl_segment expected[] = {
        {out.buf.data(), 10},     // fields 1 to 4, and field 5 up to its length
        {sample.first, 3},        // the first block
        {out.buf.data() + 10, 2}, // field 6 up to its length
        {sample.second, 2},       // the second block
    };
    EXPECT_EQ(out.result, 12u);
    EXPECT_EQ(out.count, 4u);
    for (uint32_t i = 0; i < capacity && i < 4; i++)
        EXPECT_EQ(out.segs[i], expected[i]) << "entry " << i;
    for (size_t i = capacity < 4 ? capacity : 4; i < out.segs.size(); i++)
        EXPECT_EQ(out.segs[i].len, listing::untouched_len) << "entry " << i;
}

TEST(ip_rib_opaque, zero_copy_list_without_room_holds_nothing)
{
    expect_first_segments(0);
}

TEST(ip_rib_opaque, zero_copy_list_of_one_holds_the_header)
{
    expect_first_segments(1);
}

TEST(ip_rib_opaque, zero_copy_list_of_two_holds_the_header_and_the_first_block)
{
    expect_first_segments(2);
}

TEST(ip_rib_opaque, zero_copy_list_of_three_ends_with_the_header_of_the_second_block)
{
    expect_first_segments(3);
}

TEST(ip_rib_opaque, zero_copy_list_of_four_is_the_whole_encoding)
{
    expect_first_segments(4);
}

TEST(ip_rib_opaque, zero_copy_list_of_five_leaves_its_last_entry_alone)
{
    expect_first_segments(5);
}

TEST(ip_rib_opaque, zero_copy_segments_in_a_row_are_the_copying_encoding)
{
    const opaque_sample sample;
    const listing out = list_segments<ip_rib_opaque>(sample.msg, 12, 4, ZIDL_ZERO_COPY);
    bytes joined;
    for (uint32_t i = 0; i < 4; i++)
        joined.insert(joined.end(), out.segs[i].base, out.segs[i].base + out.segs[i].len);

    EXPECT_EQ(joined, encode<ip_rib_opaque>(sample.msg));
}

TEST(ip_rib_opaque, zero_copy_first_block_alone_gives_two_segments_and_no_closing_one)
{
    opaque_sample sample;
    sample.msg.presence = 0x11; // opaque_type, first_block

    const listing out = list_segments<ip_rib_opaque>(sample.msg, 4, 4, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 4}));
    EXPECT_EQ(out.segs[1], (zidl_segment{sample.first, 3}));
    EXPECT_EQ(out.segs[2].len, listing::untouched_len);
}

TEST(ip_rib_opaque, zero_copy_second_block_alone_gives_two_segments)
{
    opaque_sample sample;
    sample.msg.presence = 0x21; // opaque_type, second_block

    const listing out = list_segments<ip_rib_opaque>(sample.msg, 4, 4, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 4}));
    EXPECT_EQ(out.segs[1], (zidl_segment{sample.second, 2}));
    EXPECT_EQ(out.segs[2].len, listing::untouched_len);
}

TEST(ip_rib_opaque, zero_copy_empty_second_block_is_covered_by_the_closing_segment)
{
    opaque_sample sample;
    sample.msg.presence = 0x30; // first_block, second_block
    sample.msg.second_block_size = 0;

    const listing out = list_segments<ip_rib_opaque>(sample.msg, 4, 4, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 2}));     // field 5 up to its length
    EXPECT_EQ(out.segs[1], (zidl_segment{sample.first, 3}));       // the first block
    EXPECT_EQ(out.segs[2], (zidl_segment{out.buf.data() + 2, 2})); // field 6 with its length 0
}

TEST(ip_rib_opaque, zero_copy_empty_first_block_does_not_end_the_run)
{
    opaque_sample sample;
    sample.msg.presence = 0x30; // first_block, second_block
    sample.msg.first_block_size = 0;

    const listing out = list_segments<ip_rib_opaque>(sample.msg, 4, 4, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 4}));
    EXPECT_EQ(out.segs[1], (zidl_segment{sample.second, 2}));
}

TEST(ip_rib_opaque, zero_copy_empty_blocks_give_one_segment)
{
    zidl_ip_rib_opaque msg = {};
    msg.presence = 0x30; // first_block, second_block

    const listing out = list_segments<ip_rib_opaque>(msg, 4, 4, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 4}));
}

TEST(ip_rib_opaque, zero_copy_segments_cover_what_a_small_buffer_drops)
{
    const opaque_sample sample;

    const listing out = list_segments<ip_rib_opaque>(sample.msg, 1, 4, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 12u);
    EXPECT_EQ(out.buf, bytes{0x08});
    EXPECT_EQ(out.count, 4u);
    EXPECT_EQ(out.segs[0].len, 10u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(out.segs[2].base), reinterpret_cast<uintptr_t>(out.buf.data()) + 10);
}

TEST(ip_rib_opaque, segments_without_a_buffer_start_at_their_distance_from_null)
{
    const opaque_sample sample;
    zidl_segment segs[4] = {};
    uint32_t count = 4;

    EXPECT_EQ(zidl_ip_rib_opaque_encode_ext(&sample.msg, nullptr, 0, segs, &count, ZIDL_ZERO_COPY), 12u);
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(segs[0], (zidl_segment{nullptr, 10}));
    EXPECT_EQ(segs[1], (zidl_segment{sample.first, 3}));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(segs[2].base), 10u);
    EXPECT_EQ(segs[2].len, 2u);
    EXPECT_EQ(segs[3], (zidl_segment{sample.second, 2}));
}

TEST(ip_rib_opaque, encoder_looks_at_no_flag_but_zero_copy)
{
    const opaque_sample sample;

    EXPECT_EQ(encoded_size<ip_rib_opaque>(sample.msg, 0xFFFFFFFE), 17u);
    EXPECT_EQ(encoded_size<ip_rib_opaque>(sample.msg, 0xFFFFFFFF), 12u);
}

// ip_rib_opaque, decoding.

TEST(ip_rib_opaque, empty_input_resets_the_record)
{
    zidl_ip_rib_opaque msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.opaque_type, 0u);
    EXPECT_EQ(msg.opaque_id, 0u);
    EXPECT_EQ(msg.opaque_sub_id, 0u);
    EXPECT_EQ(msg.opaque_value, 0u);
    EXPECT_EQ(msg.first_block, nullptr);
    EXPECT_EQ(msg.first_block_size, 0u);
    EXPECT_EQ(msg.second_block, nullptr);
    EXPECT_EQ(msg.second_block_size, 0u);
    EXPECT_EQ(msg.presence, 0xC0); // bits 6 and 7 belong to no field
}

TEST(ip_rib_opaque, reads_every_field_and_copies_the_blocks)
{
    const bytes input = {
        0x08, 0x01,                   // 1 opaque_type = 1
        0x10, 0x02,                   // 2 opaque_id = 2
        0x18, 0x03,                   // 3 opaque_sub_id = 3
        0x20, 0x04,                   // 4 opaque_value = 4
        0x2A, 0x03, 0xF1, 0xF2, 0xF3, // 5 first_block
        0x32, 0x02, 0x51, 0x52,       // 6 second_block
    };
    zidl_ip_rib_opaque msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_opaque>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.opaque_type, 1u);
    EXPECT_EQ(msg.opaque_id, 2u);
    EXPECT_EQ(msg.opaque_sub_id, 3u);
    EXPECT_EQ(msg.opaque_value, 4u);
    EXPECT_EQ(msg.presence, 0x3F);
    EXPECT_EQ(mem.requests, (sizes{3, 2}));
    EXPECT_EQ(msg.first_block, mem.blocks[0]);
    EXPECT_EQ(bytes(msg.first_block, msg.first_block + msg.first_block_size), (bytes{0xF1, 0xF2, 0xF3}));
    EXPECT_EQ(bytes(msg.second_block, msg.second_block + msg.second_block_size), (bytes{0x51, 0x52}));
}

TEST(ip_rib_opaque, zero_copy_decoder_points_into_the_input_and_allocates_nothing)
{
    const bytes input = {
        0x2A, 0x03, 0xF1, 0xF2, 0xF3, // 5 first_block
        0x32, 0x02, 0x51, 0x52,       // 6 second_block
    };
    zidl_ip_rib_opaque msg = {};

    ASSERT_EQ(decode_without_memory<ip_rib_opaque>(msg, input, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.first_block, input.data() + 2);
    EXPECT_EQ(msg.first_block_size, 3u);
    EXPECT_EQ(msg.second_block, input.data() + 7);
    EXPECT_EQ(msg.second_block_size, 2u);
    EXPECT_EQ(msg.presence, 0x30);
}

TEST(ip_rib_opaque, zero_copy_empty_block_points_into_the_input)
{
    const bytes input = {
        0x2A, 0x00, // 5 first_block, empty
        0x08, 0x01, // 1 opaque_type = 1
    };
    zidl_ip_rib_opaque msg = {};

    ASSERT_EQ(decode_without_memory<ip_rib_opaque>(msg, input, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.first_block, input.data() + 2);
    EXPECT_EQ(msg.first_block_size, 0u);
    EXPECT_EQ(msg.presence, 0x11);
}

TEST(ip_rib_opaque, copied_empty_block_asks_for_zero_bytes)
{
    const bytes input = {
        0x32, 0x00, // 6 second_block, empty
    };
    zidl_ip_rib_opaque msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_opaque>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{0}));
    EXPECT_EQ(msg.second_block, mem.blocks[0]);
    EXPECT_EQ(msg.second_block_size, 0u);
    EXPECT_EQ(msg.presence, 0x20);
}

TEST(ip_rib_opaque, refused_empty_block_is_out_of_memory)
{
    const bytes input = {
        0x32, 0x00, // 6 second_block, empty
    };
    zidl_ip_rib_opaque msg = {};
    memory mem(0);

    EXPECT_EQ(decode<ip_rib_opaque>(msg, input, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.presence, 0);
}

TEST(ip_rib_opaque, second_block_of_one_field_is_malformed)
{
    const bytes input = {
        0x2A, 0x01, 0xF1, // 5 first_block
        0x32, 0x00,       // 6 second_block
        0x2A, 0x01, 0xF2, // 5 first_block, again
    };
    zidl_ip_rib_opaque msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_opaque>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, (sizes{1, 0}));
    EXPECT_EQ(msg.first_block, mem.blocks[0]);
    release<ip_rib_opaque>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
}

TEST(ip_rib_opaque, empty_block_counts_as_filled)
{
    const bytes input = {
        0x2A, 0x00, // 5 first_block, empty
        0x2A, 0x00, // 5 first_block, again
    };
    zidl_ip_rib_opaque copied = {};
    zidl_ip_rib_opaque borrowed = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_opaque>(copied, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(borrowed, input, ZIDL_ZERO_COPY), ZIDL_ERR_MALFORMED);
}

TEST(ip_rib_opaque, block_without_allocation_function_is_out_of_memory_before_its_length_is_read)
{
    const bytes input = {
        0x2A, 0x05, // 5 first_block, five bytes: all missing
    };
    zidl_ip_rib_opaque msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, input), ZIDL_ERR_NO_MEMORY);
}

TEST(ip_rib_opaque, block_past_the_end_is_malformed)
{
    const bytes input = {
        0x2A, 0x05, 0x00, // 5 first_block, five bytes: four are missing
    };
    zidl_ip_rib_opaque msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_opaque>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes());
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, input, ZIDL_ZERO_COPY), ZIDL_ERR_MALFORMED);
}

TEST(ip_rib_opaque, unknown_fields_are_skipped_by_their_wire_type)
{
    const bytes input = {
        0x38, 0x80, 0x01,                   // 7 as a varint
        0x39, 1,    2,    3, 4, 5, 6, 7, 8, // 7 as eight bytes
        0x3A, 0x02, 1,    2,                // 7 as bytes
        0x3D, 1,    2,    3, 4,             // 7 as four bytes
        0x00, 0x05,                         // field number 0
        0x10, 0x02,                         // 2 opaque_id = 2
    };
    zidl_ip_rib_opaque msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.opaque_id, 2u);
    EXPECT_EQ(msg.presence, 0x02);
}

TEST(ip_rib_opaque, unknown_field_past_the_end_ends_the_decode_well)
{
    const bytes input = {
        0x10, 0x02,       // 2 opaque_id = 2
        0x3A, 0x7F, 0x00, // 7, 127 bytes: 126 are missing
    };
    zidl_ip_rib_opaque msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0x02);
}

TEST(ip_rib_opaque, unknown_field_of_an_unusable_wire_type_is_refused)
{
    const bytes inputs[] = {
        {0x3B}, // 7, wire type 3
        {0x3C}, // 7, wire type 4
        {0x3E}, // 7, wire type 6
        {0x3F}, // 7, wire type 7
    };
    for (const bytes &input : inputs) {
        zidl_ip_rib_opaque msg = {};
        EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, input), ZIDL_ERR_WIRE_TYPE);
    }
}

// ip_rib_opaque, duplicate and release.

TEST(ip_rib_opaque, duplicate_copies_both_blocks)
{
    const opaque_sample sample;
    zidl_ip_rib_opaque dst = {};
    memory mem;

    ASSERT_EQ(duplicate<ip_rib_opaque>(dst, sample.msg, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{3, 2}));
    EXPECT_EQ(dst.opaque_value, 4u);
    EXPECT_NE(dst.first_block, sample.first);
    EXPECT_EQ(bytes(dst.first_block, dst.first_block + dst.first_block_size), (bytes{0xF1, 0xF2, 0xF3}));
    EXPECT_EQ(bytes(dst.second_block, dst.second_block + dst.second_block_size), (bytes{0x51, 0x52}));
    EXPECT_EQ(dst.presence, 0x3F);
}

TEST(ip_rib_opaque, duplicate_of_an_empty_block_is_null_with_its_bit)
{
    opaque_sample sample;
    sample.msg.first_block_size = 0;
    sample.msg.presence = 0x10;
    zidl_ip_rib_opaque dst = {};
    std::memset(&dst, 0xFF, sizeof dst);
    memory mem;

    EXPECT_EQ(duplicate<ip_rib_opaque>(dst, sample.msg, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2})); // the second block, whose bit is clear
    EXPECT_EQ(dst.first_block, nullptr);
    EXPECT_EQ(dst.first_block_size, 0u);
    EXPECT_EQ(dst.presence, 0xD0); // first_block, and the destination's bits 6 and 7
}

TEST(ip_rib_opaque, duplicate_that_cannot_copy_a_block_copies_the_rest)
{
    const opaque_sample sample;
    zidl_ip_rib_opaque dst = {};
    memory mem(0);

    EXPECT_EQ(duplicate<ip_rib_opaque>(dst, sample.msg, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.opaque_type, 1u);
    EXPECT_EQ(dst.first_block, nullptr);
    EXPECT_EQ(dst.first_block_size, 0u);
    EXPECT_EQ(dst.second_block_size, 2u);
    EXPECT_EQ(dst.presence, 0x2F); // all but first_block
}

TEST(ip_rib_opaque, duplicate_without_an_allocation_function_leaves_both_blocks_absent)
{
    const opaque_sample sample;
    zidl_ip_rib_opaque dst = {};

    EXPECT_EQ(duplicate_without_memory<ip_rib_opaque>(dst, sample.msg), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.first_block, nullptr);
    EXPECT_EQ(dst.second_block, nullptr);
    EXPECT_EQ(dst.second_block_size, 0u);
    EXPECT_EQ(dst.presence, 0x0F);
}

TEST(ip_rib_opaque, release_gives_back_the_blocks_in_order_and_keeps_their_lengths)
{
    const bytes input = {
        0x32, 0x02, 0x51, 0x52,       // 6 second_block
        0x2A, 0x03, 0xF1, 0xF2, 0xF3, // 5 first_block
    };
    zidl_ip_rib_opaque msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_opaque>(msg, input, mem), ZIDL_OK);

    release<ip_rib_opaque>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{1, 0})); // first_block was allocated second
    EXPECT_EQ(msg.first_block, nullptr);
    EXPECT_EQ(msg.first_block_size, 3u);
    EXPECT_EQ(msg.second_block, nullptr);
    EXPECT_EQ(msg.second_block_size, 2u);
    EXPECT_EQ(msg.presence, 0x30);
}

TEST(ip_rib_opaque, zero_copy_release_does_nothing)
{
    const bytes input = {
        0x2A, 0x03, 0xF1, 0xF2, 0xF3, // 5 first_block
    };
    zidl_ip_rib_opaque msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_opaque>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);

    release<ip_rib_opaque>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, sizes());
    EXPECT_EQ(msg.first_block, input.data() + 2);
}

// A release function that only writes down what it is given.
struct seen_pointers {
    std::vector<const void *> pointers;
    static void release(void *ptr, void *ctx) { static_cast<seen_pointers *>(ctx)->pointers.push_back(ptr); }
};

TEST(ip_rib_opaque, release_without_zero_copy_hands_out_borrowed_pointers)
{
    const bytes input = {
        0x2A, 0x01, 0xF1, // 5 first_block
        0x32, 0x01, 0x51, // 6 second_block
    };
    zidl_ip_rib_opaque msg = {};
    ASSERT_EQ(decode_without_memory<ip_rib_opaque>(msg, input, ZIDL_ZERO_COPY), ZIDL_OK);

    seen_pointers seen;
    zidl_ip_rib_opaque_free_ext(&msg, seen_pointers::release, &seen, 0);
    EXPECT_EQ(seen.pointers, (std::vector<const void *>{input.data() + 2, input.data() + 5}));
}

TEST(ip_rib_opaque, duplicate_of_a_borrowing_record_owns_its_blocks)
{
    const bytes input = {
        0x2A, 0x01, 0xF1, // 5 first_block
    };
    zidl_ip_rib_opaque borrowed = {};
    ASSERT_EQ(decode_without_memory<ip_rib_opaque>(borrowed, input, ZIDL_ZERO_COPY), ZIDL_OK);
    zidl_ip_rib_opaque owned = {};
    memory mem;

    ASSERT_EQ(duplicate<ip_rib_opaque>(owned, borrowed, mem), ZIDL_OK);
    release<ip_rib_opaque>(owned, mem);
    EXPECT_EQ(mem.releases, (sizes{0}));
}

// ---------------------------------------------------------------------------------------------------------------------
// Instance-ID contexts of numbers only.

TEST(ip_rib_iid_evpn_vpws_ctx, writes_its_fields_in_order)
{
    zidl_ip_rib_iid_evpn_vpws_ctx msg = {};
    msg.vpws_value_1 = 1;
    msg.vpws_value_2 = 300;
    msg.vpws_value_3 = 0xFFFFFFFF;
    msg.presence = 0x07;

    const bytes expected = {
        0x08, 0x01,                         // 1 vpws_value_1 = 1
        0x10, 0xAC, 0x02,                   // 2 vpws_value_2 = 300
        0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 3 vpws_value_3 = 2^32 - 1
    };
    EXPECT_EQ(encode<ip_rib_iid_evpn_vpws_ctx>(msg), expected);
}

TEST(ip_rib_iid_evpn_vpws_ctx, reads_its_fields_and_keeps_spare_bits)
{
    const bytes input = {
        0x18, 0x03, // 3 vpws_value_3 = 3
        0x08, 0x01, // 1 vpws_value_1 = 1
    };
    zidl_ip_rib_iid_evpn_vpws_ctx msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(zidl_ip_rib_iid_evpn_vpws_ctx_decode_ext(&msg, input.data(), input.size()), ZIDL_OK);
    EXPECT_EQ(msg.vpws_value_1, 1u);
    EXPECT_EQ(msg.vpws_value_2, 0u);
    EXPECT_EQ(msg.vpws_value_3, 3u);
    EXPECT_EQ(msg.presence, 0xFD); // bits 0 and 2, and the spare bits 3 to 7
}

TEST(ip_rib_iid_evpn_vpws_ctx, duplicate_copies_all_but_the_spare_bits)
{
    zidl_ip_rib_iid_evpn_vpws_ctx src = {};
    src.vpws_value_1 = 1;
    src.vpws_value_2 = 2;
    src.vpws_value_3 = 3;
    src.presence = 0x0D; // bits 0 and 2, and the spare bit 3
    zidl_ip_rib_iid_evpn_vpws_ctx dst = {};
    dst.presence = 0x82; // bit 1 and the spare bit 7

    EXPECT_EQ(zidl_ip_rib_iid_evpn_vpws_ctx_duplicate(&dst, &src), ZIDL_OK);
    EXPECT_EQ(dst.vpws_value_1, 1u);
    EXPECT_EQ(dst.vpws_value_2, 2u);
    EXPECT_EQ(dst.vpws_value_3, 3u);
    EXPECT_EQ(dst.presence, 0x85);
}

TEST(ip_rib_iid_evpn_vpws_ctx, release_changes_nothing)
{
    zidl_ip_rib_iid_evpn_vpws_ctx msg = {};
    msg.vpws_value_1 = 1;
    msg.presence = 0x01;

    zidl_ip_rib_iid_evpn_vpws_ctx_free_ext(&msg, nullptr, nullptr, 0);
    EXPECT_EQ(msg.vpws_value_1, 1u);
    EXPECT_EQ(msg.presence, 0x01);
}

TEST(ip_rib_iid_aft_nhg_ctx, carries_all_64_bits_of_its_id)
{
    zidl_ip_rib_iid_aft_nhg_ctx msg = {};
    msg.aft_nhg_value_1 = 7;
    msg.aft_nhg_id = 0xFFFFFFFFFFFFFFFE;
    msg.presence = 0x03;

    const bytes expected = {
        0x08, 0x07,                                                       // 1 aft_nhg_value_1 = 7
        0x10, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 2 aft_nhg_id = 2^64 - 2
    };
    EXPECT_EQ(encode<ip_rib_iid_aft_nhg_ctx>(msg), expected);

    zidl_ip_rib_iid_aft_nhg_ctx back = {};
    EXPECT_EQ(zidl_ip_rib_iid_aft_nhg_ctx_decode_ext(&back, expected.data(), expected.size()), ZIDL_OK);
    EXPECT_EQ(back.aft_nhg_value_1, 7u);
    EXPECT_EQ(back.aft_nhg_id, 0xFFFFFFFFFFFFFFFE);
    EXPECT_EQ(back.presence, 0x03);
}

TEST(ip_rib_iid_aft_nhg_ctx, duplicate_copies_both_numbers)
{
    zidl_ip_rib_iid_aft_nhg_ctx src = {};
    src.aft_nhg_value_1 = 7;
    src.aft_nhg_id = UINT64_MAX;
    src.presence = 0x02;
    zidl_ip_rib_iid_aft_nhg_ctx dst = {};
    dst.presence = 0xFF;

    EXPECT_EQ(zidl_ip_rib_iid_aft_nhg_ctx_duplicate(&dst, &src), ZIDL_OK);
    EXPECT_EQ(dst.aft_nhg_value_1, 7u);
    EXPECT_EQ(dst.aft_nhg_id, UINT64_MAX);
    EXPECT_EQ(dst.presence, 0xFE);
}

TEST(ip_rib_iid_aft_nhg_ctx, cut_id_is_malformed)
{
    const bytes input = {
        0x08, 0x07, // 1 aft_nhg_value_1 = 7
        0x10, 0xFE, // 2 aft_nhg_id: the second byte is missing
    };
    zidl_ip_rib_iid_aft_nhg_ctx msg = {};

    EXPECT_EQ(zidl_ip_rib_iid_aft_nhg_ctx_decode_ext(&msg, input.data(), input.size()), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.aft_nhg_value_1, 7u);
    EXPECT_EQ(msg.presence, 0x01);
}

TEST(ip_rib_iid_aft_nhg_ctx, lists_one_segment)
{
    zidl_ip_rib_iid_aft_nhg_ctx msg = {};
    msg.presence = 0x02;
    uint8_t buf[2];
    zidl_segment segs[2] = {};
    uint32_t count = 2;

    EXPECT_EQ(zidl_ip_rib_iid_aft_nhg_ctx_encode_ext(&msg, buf, sizeof buf, segs, &count), 2u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(segs[0], (zidl_segment{buf, 2}));
}

// ---------------------------------------------------------------------------------------------------------------------
// The two contexts with seven members: told once, tested for both.

template <class Codec>
class seven_member_ctx : public testing::Test
{
public:
    using record = typename Codec::record;

    // The numbers 1, 3, 4, 6, 7 in the members of that number; blocks of two bytes (2) and one byte (5).
    seven_member_ctx()
    {
        filled.ctx_value_1 = 1;
        filled.ctx_bytes_2 = block_2;
        filled.ctx_bytes_2_size = 2;
        filled.ctx_value_3 = 3;
        filled.ctx_value_4 = 4;
        filled.ctx_bytes_5 = block_5;
        filled.ctx_bytes_5_size = 1;
        filled.ctx_value_6 = 6;
        filled.ctx_value_7 = 7;
        filled.presence = 0x7F;
    }

    uint8_t block_2[2] = {0x21, 0x22};
    uint8_t block_5[1] = {0x51};
    record filled = {};
    const bytes encoding = {
        0x08, 0x01,             // 1 ctx_value_1 = 1
        0x12, 0x02, 0x21, 0x22, // 2 ctx_bytes_2
        0x18, 0x03,             // 3 ctx_value_3 = 3
        0x20, 0x04,             // 4 ctx_value_4 = 4
        0x2A, 0x01, 0x51,       // 5 ctx_bytes_5
        0x30, 0x06,             // 6 ctx_value_6 = 6
        0x38, 0x07,             // 7 ctx_value_7 = 7
    };
};

struct codec_names {
    template <class Codec>
    static std::string GetName(int)
    {
        return Codec::name;
    }
};

using seven_member_types = testing::Types<ip_rib_iid_evpn_elan_ctx, ip_rib_iid_l2vpn_ip_tunnel_ctx>;
TYPED_TEST_SUITE(seven_member_ctx, seven_member_types, codec_names);

TYPED_TEST(seven_member_ctx, writes_its_fields_in_order)
{
    EXPECT_EQ(encode<TypeParam>(this->filled), this->encoding);
}

TYPED_TEST(seven_member_ctx, reads_every_field)
{
    typename TypeParam::record msg;
    std::memset(&msg, 0xFF, sizeof msg);
    memory mem;

    ASSERT_EQ(decode<TypeParam>(msg, this->encoding, mem), ZIDL_OK);
    EXPECT_EQ(msg.ctx_value_1, 1u);
    EXPECT_EQ(bytes(msg.ctx_bytes_2, msg.ctx_bytes_2 + msg.ctx_bytes_2_size), (bytes{0x21, 0x22}));
    EXPECT_EQ(msg.ctx_value_3, 3u);
    EXPECT_EQ(msg.ctx_value_4, 4u);
    EXPECT_EQ(bytes(msg.ctx_bytes_5, msg.ctx_bytes_5 + msg.ctx_bytes_5_size), (bytes{0x51}));
    EXPECT_EQ(msg.ctx_value_6, 6u);
    EXPECT_EQ(msg.ctx_value_7, 7u);
    EXPECT_EQ(msg.presence, 0xFF); // all seven, and the spare bit 7
    EXPECT_EQ(mem.requests, (sizes{2, 1}));
}

TYPED_TEST(seven_member_ctx, zero_copy_decoder_borrows_both_blocks)
{
    typename TypeParam::record msg = {};

    ASSERT_EQ(decode_without_memory<TypeParam>(msg, this->encoding, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.ctx_bytes_2, this->encoding.data() + 4);
    EXPECT_EQ(msg.ctx_bytes_2_size, 2u);
    EXPECT_EQ(msg.ctx_bytes_5, this->encoding.data() + 12);
    EXPECT_EQ(msg.ctx_bytes_5_size, 1u);
    EXPECT_EQ(msg.presence, 0x7F);
}

TYPED_TEST(seven_member_ctx, zero_copy_lists_two_blocks_and_three_runs)
{
    const listing out = list_segments<TypeParam>(this->filled, 14, 5, ZIDL_ZERO_COPY);
    const bytes expected = {
        0x08, 0x01, // 1 ctx_value_1 = 1
        0x12, 0x02, // 2 ctx_bytes_2, two bytes elsewhere
        0x18, 0x03, // 3 ctx_value_3 = 3
        0x20, 0x04, // 4 ctx_value_4 = 4
        0x2A, 0x01, // 5 ctx_bytes_5, one byte elsewhere
        0x30, 0x06, // 6 ctx_value_6 = 6
        0x38, 0x07, // 7 ctx_value_7 = 7
    };
    EXPECT_EQ(out.buf, expected);
    EXPECT_EQ(out.result, 14u);
    EXPECT_EQ(out.count, 5u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 4}));      // fields 1 and 2
    EXPECT_EQ(out.segs[1], (zidl_segment{this->block_2, 2}));       //
    EXPECT_EQ(out.segs[2], (zidl_segment{out.buf.data() + 4, 6}));  // fields 3 to 5
    EXPECT_EQ(out.segs[3], (zidl_segment{this->block_5, 1}));       //
    EXPECT_EQ(out.segs[4], (zidl_segment{out.buf.data() + 10, 4})); // fields 6 and 7
    EXPECT_EQ(out.segs[5].len, listing::untouched_len);
}

TYPED_TEST(seven_member_ctx, duplicate_copies_both_blocks)
{
    typename TypeParam::record dst = {};
    memory mem;

    ASSERT_EQ(duplicate<TypeParam>(dst, this->filled, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2, 1}));
    EXPECT_EQ(encode<TypeParam>(dst), this->encoding);
    EXPECT_NE(dst.ctx_bytes_2, this->filled.ctx_bytes_2);
    EXPECT_NE(dst.ctx_bytes_5, this->filled.ctx_bytes_5);
}

TYPED_TEST(seven_member_ctx, duplicate_that_cannot_copy_one_block_copies_all_else)
{
    typename TypeParam::record first_refused = {};
    memory refuse_first(0);
    EXPECT_EQ(duplicate<TypeParam>(first_refused, this->filled, refuse_first), ZIDL_ERR_NO_MEMORY);
    const bytes without_field_2 = {
        0x08, 0x01,       // 1 ctx_value_1 = 1
        0x18, 0x03,       // 3 ctx_value_3 = 3
        0x20, 0x04,       // 4 ctx_value_4 = 4
        0x2A, 0x01, 0x51, // 5 ctx_bytes_5
        0x30, 0x06,       // 6 ctx_value_6 = 6
        0x38, 0x07,       // 7 ctx_value_7 = 7
    };
    EXPECT_EQ(encode<TypeParam>(first_refused), without_field_2);
    EXPECT_EQ(first_refused.ctx_bytes_2, nullptr);
    EXPECT_EQ(first_refused.ctx_bytes_2_size, 0u);

    typename TypeParam::record second_refused = {};
    memory refuse_second(1);
    EXPECT_EQ(duplicate<TypeParam>(second_refused, this->filled, refuse_second), ZIDL_ERR_NO_MEMORY);
    const bytes without_field_5 = {
        0x08, 0x01,             // 1 ctx_value_1 = 1
        0x12, 0x02, 0x21, 0x22, // 2 ctx_bytes_2
        0x18, 0x03,             // 3 ctx_value_3 = 3
        0x20, 0x04,             // 4 ctx_value_4 = 4
        0x30, 0x06,             // 6 ctx_value_6 = 6
        0x38, 0x07,             // 7 ctx_value_7 = 7
    };
    EXPECT_EQ(encode<TypeParam>(second_refused), without_field_5);
    EXPECT_EQ(second_refused.ctx_bytes_5, nullptr);
    EXPECT_EQ(second_refused.ctx_bytes_5_size, 0u);
}

TYPED_TEST(seven_member_ctx, release_gives_back_both_blocks_in_order_unless_they_are_borrowed)
{
    typename TypeParam::record owned = {};
    memory mem;
    ASSERT_EQ(decode<TypeParam>(owned, this->encoding, mem), ZIDL_OK);
    release<TypeParam>(owned, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
    EXPECT_EQ(owned.ctx_bytes_2, nullptr);
    EXPECT_EQ(owned.ctx_bytes_2_size, 2u);
    EXPECT_EQ(owned.ctx_bytes_5, nullptr);
    EXPECT_EQ(owned.ctx_bytes_5_size, 1u);

    typename TypeParam::record borrowed = {};
    ASSERT_EQ(decode_without_memory<TypeParam>(borrowed, this->encoding, ZIDL_ZERO_COPY), ZIDL_OK);
    release<TypeParam>(borrowed, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
    EXPECT_EQ(borrowed.ctx_bytes_2, this->encoding.data() + 4);
}

TYPED_TEST(seven_member_ctx, second_block_of_one_field_is_malformed)
{
    const bytes input = {
        0x2A, 0x01, 0x51, // 5 ctx_bytes_5
        0x2A, 0x01, 0x51, // 5 ctx_bytes_5, again
    };
    typename TypeParam::record msg = {};
    memory mem;

    EXPECT_EQ(decode<TypeParam>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.ctx_bytes_5, mem.blocks[0]);
}

TEST(ip_rib_iid_evpn_elan_ctx, encodes_to_the_bytes_of_an_ip_tunnel_context_with_the_same_members)
{
    uint8_t block[] = {0x51};
    zidl_ip_rib_iid_evpn_elan_ctx elan = {};
    elan.ctx_value_1 = 300;
    elan.ctx_bytes_5 = block;
    elan.ctx_bytes_5_size = 1;
    elan.presence = 0x11;
    zidl_ip_rib_iid_l2vpn_ip_tunnel_ctx tunnel = {};
    tunnel.ctx_value_1 = 300;
    tunnel.ctx_bytes_5 = block;
    tunnel.ctx_bytes_5_size = 1;
    tunnel.presence = 0x11;

    const bytes expected = {
        0x08, 0xAC, 0x02, // 1 ctx_value_1 = 300
        0x2A, 0x01, 0x51, // 5 ctx_bytes_5
    };
    EXPECT_EQ(encode<ip_rib_iid_evpn_elan_ctx>(elan), expected);
    EXPECT_EQ(encode<ip_rib_iid_l2vpn_ip_tunnel_ctx>(tunnel), expected);
}

// ---------------------------------------------------------------------------------------------------------------------
// ip_rib_iid_lss_ctx.

// Every member: numbers 1 to 4, a block of two bytes, prefixes 32/16 and /8 (without its address).
struct lss_sample {
    uint8_t block[2] = {0xB1, 0xB2};
    uint8_t address[1] = {0x20};
    zidl_srv6_prefix prefixes[2] = {};
    zidl_ip_rib_iid_lss_ctx msg = {};

    lss_sample()
    {
        prefixes[0].prefix = address;
        prefixes[0].prefix_size = 1;
        prefixes[0].prefix_len = 16;
        prefixes[0].presence = 0x03;
        prefixes[1].prefix_len = 8;
        prefixes[1].presence = 0x02;
        msg.lss_value_1 = 1;
        msg.lss_value_2 = 2;
        msg.lss_value_3 = 3;
        msg.lss_value_4 = 4;
        msg.lss_bytes = block;
        msg.lss_bytes_size = 2;
        msg.lss_prefixes = prefixes;
        msg.lss_prefixes_count = 2;
        msg.presence = 0x3F;
    }
};

const bytes lss_encoding = {
    0x08, 0x01,             // 1 lss_value_1 = 1
    0x10, 0x02,             // 2 lss_value_2 = 2
    0x18, 0x03,             // 3 lss_value_3 = 3
    0x20, 0x04,             // 4 lss_value_4 = 4
    0x2A, 0x02, 0xB1, 0xB2, // 5 lss_bytes
    0x32, 0x05,             // 6 lss_prefixes[0]
    0x0A, 0x01, 0x20,       //     1 prefix
    0x10, 0x10,             //     2 prefix_len = 16
    0x32, 0x02,             // 6 lss_prefixes[1]
    0x10, 0x08,             //     2 prefix_len = 8
};

TEST(ip_rib_iid_lss_ctx, writes_each_prefix_with_its_own_tag)
{
    const lss_sample sample;
    EXPECT_EQ(encode<ip_rib_iid_lss_ctx>(sample.msg), lss_encoding);
}

TEST(ip_rib_iid_lss_ctx, writes_no_prefix_without_the_bit_or_without_a_count)
{
    lss_sample sample;
    sample.msg.presence = 0x00;
    EXPECT_EQ(encode<ip_rib_iid_lss_ctx>(sample.msg), bytes());

    sample.msg.presence = 0x20; // lss_prefixes
    sample.msg.lss_prefixes_count = 0;
    EXPECT_EQ(encode<ip_rib_iid_lss_ctx>(sample.msg), bytes());
}

TEST(ip_rib_iid_lss_ctx, reads_its_prefixes_into_one_array)
{
    zidl_ip_rib_iid_lss_ctx msg;
    std::memset(&msg, 0xFF, sizeof msg);
    memory mem;

    ASSERT_EQ(decode<ip_rib_iid_lss_ctx>(msg, lss_encoding, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2, 2 * sizeof(zidl_srv6_prefix), 1}));
    EXPECT_EQ(msg.lss_value_4, 4u);
    EXPECT_EQ(bytes(msg.lss_bytes, msg.lss_bytes + msg.lss_bytes_size), (bytes{0xB1, 0xB2}));
    EXPECT_EQ(msg.presence, 0xFF); // all six, and the spare bits 6 and 7
    ASSERT_EQ(msg.lss_prefixes_count, 2u);
    EXPECT_EQ(bytes(msg.lss_prefixes[0].prefix, msg.lss_prefixes[0].prefix + msg.lss_prefixes[0].prefix_size),
              bytes{0x20});
    EXPECT_EQ(msg.lss_prefixes[0].prefix_len, 16u);
    EXPECT_EQ(msg.lss_prefixes[0].presence, 0x03);
    EXPECT_EQ(msg.lss_prefixes[1].prefix, nullptr);
    EXPECT_EQ(msg.lss_prefixes[1].prefix_len, 8u);
    EXPECT_EQ(msg.lss_prefixes[1].presence, 0x02); // the array was cleared: no spare bits
}

TEST(ip_rib_iid_lss_ctx, zero_copy_decoder_allocates_the_array_only)
{
    zidl_ip_rib_iid_lss_ctx msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_iid_lss_ctx>(msg, lss_encoding, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2 * sizeof(zidl_srv6_prefix)}));
    EXPECT_EQ(msg.lss_bytes, lss_encoding.data() + 10);
    EXPECT_EQ(msg.lss_prefixes[0].prefix, lss_encoding.data() + 16);
}

TEST(ip_rib_iid_lss_ctx, zero_copy_does_not_replace_the_allocation_function_of_the_prefixes)
{
    zidl_ip_rib_iid_lss_ctx msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_iid_lss_ctx>(msg, lss_encoding, ZIDL_ZERO_COPY), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.lss_prefixes, nullptr);
    EXPECT_EQ(msg.presence, 0x1F);
}

TEST(ip_rib_iid_lss_ctx, second_run_of_prefixes_is_malformed)
{
    const bytes input = {
        0x32, 0x00, // 6 lss_prefixes[0], empty
        0x08, 0x01, // 1 lss_value_1 = 1
        0x32, 0x00, // 6 lss_prefixes, again
    };
    zidl_ip_rib_iid_lss_ctx msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_iid_lss_ctx>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, (sizes{sizeof(zidl_srv6_prefix)}));
    EXPECT_EQ(msg.lss_prefixes_count, 1u);
    EXPECT_EQ(msg.presence, 0x21);
}

TEST(ip_rib_iid_lss_ctx, release_gives_back_block_addresses_and_array_in_order)
{
    zidl_ip_rib_iid_lss_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_iid_lss_ctx>(msg, lss_encoding, mem), ZIDL_OK);

    release<ip_rib_iid_lss_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 2, 1})); // lss_bytes, the first prefix's address, the array
    EXPECT_EQ(msg.lss_bytes, nullptr);
    EXPECT_EQ(msg.lss_bytes_size, 2u);
    EXPECT_EQ(msg.lss_prefixes, nullptr);
    EXPECT_EQ(msg.lss_prefixes_count, 0u);
    EXPECT_EQ(msg.presence, 0x3F);
}

TEST(ip_rib_iid_lss_ctx, zero_copy_release_gives_back_the_array_only)
{
    zidl_ip_rib_iid_lss_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_iid_lss_ctx>(msg, lss_encoding, mem, ZIDL_ZERO_COPY), ZIDL_OK);

    release<ip_rib_iid_lss_ctx>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0}));
    EXPECT_EQ(msg.lss_prefixes, nullptr);
    EXPECT_EQ(msg.lss_prefixes_count, 0u);
    EXPECT_EQ(msg.lss_bytes, lss_encoding.data() + 10);
}

TEST(ip_rib_iid_lss_ctx, release_leaves_the_count_of_a_null_array_alone)
{
    zidl_ip_rib_iid_lss_ctx msg = {};
    msg.lss_prefixes_count = 3;
    memory mem;

    release<ip_rib_iid_lss_ctx>(msg, mem);
    EXPECT_EQ(msg.lss_prefixes_count, 3u);
}

TEST(ip_rib_iid_lss_ctx, duplicate_copies_block_array_and_addresses)
{
    const lss_sample sample;
    zidl_ip_rib_iid_lss_ctx dst = {};
    memory mem;

    ASSERT_EQ(duplicate<ip_rib_iid_lss_ctx>(dst, sample.msg, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2, 2 * sizeof(zidl_srv6_prefix), 1}));
    EXPECT_EQ(encode<ip_rib_iid_lss_ctx>(dst), lss_encoding);
    EXPECT_NE(dst.lss_prefixes[0].prefix, sample.address);
}

TEST(ip_rib_iid_lss_ctx, duplicate_that_cannot_copy_the_array_leaves_it_absent)
{
    const lss_sample sample;
    zidl_ip_rib_iid_lss_ctx dst = {};
    memory mem(1);

    EXPECT_EQ(duplicate<ip_rib_iid_lss_ctx>(dst, sample.msg, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{2, 2 * sizeof(zidl_srv6_prefix)}));
    EXPECT_EQ(dst.lss_bytes_size, 2u);
    EXPECT_EQ(dst.lss_prefixes, nullptr);
    EXPECT_EQ(dst.lss_prefixes_count, 0u);
    EXPECT_EQ(dst.presence, 0x1F);
}

TEST(ip_rib_iid_lss_ctx, duplicate_that_cannot_copy_an_address_keeps_the_array)
{
    const lss_sample sample;
    zidl_ip_rib_iid_lss_ctx dst = {};
    memory mem(2);

    EXPECT_EQ(duplicate<ip_rib_iid_lss_ctx>(dst, sample.msg, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.presence, 0x3F);
    ASSERT_EQ(dst.lss_prefixes_count, 2u);
    EXPECT_EQ(dst.lss_prefixes[0].prefix, nullptr);
    EXPECT_EQ(dst.lss_prefixes[0].prefix_size, 0u);
    EXPECT_EQ(dst.lss_prefixes[0].prefix_len, 16u);
    EXPECT_EQ(dst.lss_prefixes[0].presence & 0x03, 0x02);
    EXPECT_EQ(dst.lss_prefixes[1].prefix_len, 8u);
}

TEST(ip_rib_iid_lss_ctx, zero_copy_lists_the_segments_of_its_prefixes_before_its_own)
{
    const lss_sample sample;
    const listing out = list_segments<ip_rib_iid_lss_ctx>(sample.msg, 20, 6, ZIDL_ZERO_COPY);
    const bytes expected = {
        0x08, 0x01, // 1 lss_value_1 = 1
        0x10, 0x02, // 2 lss_value_2 = 2
        0x18, 0x03, // 3 lss_value_3 = 3
        0x20, 0x04, // 4 lss_value_4 = 4
        0x2A, 0x02, // 5 lss_bytes, two bytes elsewhere
        0x32, 0x04, // 6 lss_prefixes[0], four bytes here
        0x0A, 0x01, //     1 prefix, one byte elsewhere
        0x10, 0x10, //     2 prefix_len = 16
        0x32, 0x02, // 6 lss_prefixes[1]
        0x10, 0x08, //     2 prefix_len = 8
    };
    EXPECT_EQ(out.buf, expected);
    EXPECT_EQ(out.result, 20u);
    EXPECT_EQ(out.count, 7u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 10}));     // fields 1 to 5
    EXPECT_EQ(out.segs[1], (zidl_segment{sample.block, 2}));        // lss_bytes
    EXPECT_EQ(out.segs[2], (zidl_segment{out.buf.data() + 12, 2})); // lss_prefixes[0] up to its prefix's length
    EXPECT_EQ(out.segs[3], (zidl_segment{sample.address, 1}));      // its prefix
    EXPECT_EQ(out.segs[4], (zidl_segment{out.buf.data() + 14, 2})); // its prefix_len
    EXPECT_EQ(out.segs[5], (zidl_segment{out.buf.data() + 18, 2})); // lss_prefixes[1]
    EXPECT_EQ(out.segs[6].len, listing::untouched_len);             // field 6 as a whole: no room
}

// ---------------------------------------------------------------------------------------------------------------------
// ip_rib_iid_sl_id_ctx.

TEST(ip_rib_iid_sl_id_ctx, name_of_five_bytes_takes_six)
{
    const bytes input = {
        0x22, 0x05, 's', 'l', '-', '0', '1', // 4 sl_id_name
    };
    zidl_ip_rib_iid_sl_id_ctx msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_iid_sl_id_ctx>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{6}));
    EXPECT_STREQ(msg.sl_id_name, "sl-01");
    EXPECT_EQ(msg.presence, 0x08);
}

TEST(ip_rib_iid_sl_id_ctx, writes_its_fields_in_order)
{
    char name[] = "sl";
    zidl_ip_rib_iid_sl_id_ctx msg = {};
    msg.sl_id_value_1 = 1;
    msg.sl_id_value_2 = 2;
    msg.sl_id_value_3 = 128;
    msg.sl_id_name = name;
    msg.presence = 0x0F;

    const bytes expected = {
        0x08, 0x01,            // 1 sl_id_value_1 = 1
        0x10, 0x02,            // 2 sl_id_value_2 = 2
        0x18, 0x80, 0x01,      // 3 sl_id_value_3 = 128
        0x22, 0x02, 's',  'l', // 4 sl_id_name
    };
    EXPECT_EQ(encode<ip_rib_iid_sl_id_ctx>(msg), expected);
}

TEST(ip_rib_iid_sl_id_ctx, name_without_an_allocation_function_is_out_of_memory)
{
    const bytes input = {
        0x22, 0x00, // 4 sl_id_name = ""
    };
    zidl_ip_rib_iid_sl_id_ctx msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_iid_sl_id_ctx>(msg, input), ZIDL_ERR_NO_MEMORY);
}

TEST(ip_rib_iid_sl_id_ctx, release_gives_back_its_name_whatever_the_flags)
{
    const bytes input = {
        0x22, 0x01, 'a', // 4 sl_id_name
    };
    for (uint32_t flags : {0u, static_cast<uint32_t>(ZIDL_ZERO_COPY)}) {
        zidl_ip_rib_iid_sl_id_ctx msg = {};
        memory mem;
        ASSERT_EQ(decode<ip_rib_iid_sl_id_ctx>(msg, input, mem), ZIDL_OK);
        release<ip_rib_iid_sl_id_ctx>(msg, mem, flags);
        EXPECT_EQ(mem.releases, (sizes{0})) << "flags " << flags;
        EXPECT_EQ(msg.sl_id_name, nullptr);
    }
}

TEST(ip_rib_iid_sl_id_ctx, duplicate_that_cannot_copy_the_name_copies_the_numbers)
{
    char name[] = "sl";
    zidl_ip_rib_iid_sl_id_ctx src = {};
    src.sl_id_value_3 = 3;
    src.sl_id_name = name;
    src.presence = 0x0C;
    zidl_ip_rib_iid_sl_id_ctx dst = {};
    memory mem(0);

    EXPECT_EQ(duplicate<ip_rib_iid_sl_id_ctx>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{3}));
    EXPECT_EQ(dst.sl_id_value_3, 3u);
    EXPECT_EQ(dst.sl_id_name, nullptr);
    EXPECT_EQ(dst.presence, 0x04);
}

// ---------------------------------------------------------------------------------------------------------------------
// ip_rib_iid_ctx.

TEST(ip_rib_iid_ctx, two_contexts_survive_encoding_and_decoding)
{
    zidl_ip_rib_iid_ctx msg = {};
    msg.iid_ctx_kind = 2;
    msg.evpn_vpws.vpws_value_2 = 5;
    msg.evpn_vpws.presence = 0x02;
    msg.aft_nhg.aft_nhg_id = 6;
    msg.aft_nhg.presence = 0x02;
    msg.presence = 0x13; // iid_ctx_kind, evpn_vpws, aft_nhg

    const bytes expected = {
        0x08, 0x02, // 1 iid_ctx_kind = 2
        0x12, 0x02, // 2 evpn_vpws
        0x10, 0x05, //     2 vpws_value_2 = 5
        0x2A, 0x02, // 5 aft_nhg
        0x10, 0x06, //     2 aft_nhg_id = 6
    };
    EXPECT_EQ(encode<ip_rib_iid_ctx>(msg), expected);

    zidl_ip_rib_iid_ctx back = {};
    ASSERT_EQ(decode_without_memory<ip_rib_iid_ctx>(back, expected), ZIDL_OK);
    EXPECT_EQ(back.iid_ctx_kind, 2u);
    EXPECT_EQ(back.evpn_vpws.vpws_value_2, 5u);
    EXPECT_EQ(back.evpn_vpws.presence, 0x02);
    EXPECT_EQ(back.aft_nhg.aft_nhg_id, 6u);
    EXPECT_EQ(back.aft_nhg.presence, 0x02);
    EXPECT_EQ(back.presence, 0x13);
}

TEST(ip_rib_iid_ctx, each_context_has_its_own_field_and_bit)
{
    zidl_ip_rib_iid_ctx msg = {};
    msg.presence = 0x7E; // all six contexts, all empty

    const bytes expected = {
        0x12, 0x00, // 2 evpn_vpws
        0x1A, 0x00, // 3 lss
        0x22, 0x00, // 4 evpn_elan
        0x2A, 0x00, // 5 aft_nhg
        0x32, 0x00, // 6 l2vpn_ip_tunnel
        0x3A, 0x00, // 7 sl_id
    };
    EXPECT_EQ(encode<ip_rib_iid_ctx>(msg), expected);

    zidl_ip_rib_iid_ctx back = {};
    ASSERT_EQ(decode_without_memory<ip_rib_iid_ctx>(back, expected), ZIDL_OK);
    EXPECT_EQ(back.presence, 0x7E);
}

TEST(ip_rib_iid_ctx, context_with_content_is_written_without_its_bit)
{
    zidl_ip_rib_iid_ctx msg = {};
    msg.lss.presence = 0x01; // lss_value_1

    const bytes expected = {
        0x1A, 0x02, // 3 lss
        0x08, 0x00, //     1 lss_value_1 = 0
    };
    EXPECT_EQ(encode<ip_rib_iid_ctx>(msg), expected);
}

TEST(ip_rib_iid_ctx, second_occurrence_of_a_context_replaces_the_first)
{
    const bytes input = {
        0x12, 0x02, // 2 evpn_vpws
        0x08, 0x05, //     1 vpws_value_1 = 5
        0x12, 0x02, // 2 evpn_vpws, again
        0x10, 0x06, //     2 vpws_value_2 = 6
    };
    zidl_ip_rib_iid_ctx msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_iid_ctx>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.evpn_vpws.vpws_value_1, 0u);
    EXPECT_EQ(msg.evpn_vpws.vpws_value_2, 6u);
    EXPECT_EQ(msg.evpn_vpws.presence, 0x02);
}

TEST(ip_rib_iid_ctx, second_occurrence_of_a_context_leaves_the_first_name_unreleased)
{
    const bytes input = {
        0x3A, 0x03,      // 7 sl_id
        0x22, 0x01, 'a', //     4 sl_id_name
        0x3A, 0x03,      // 7 sl_id, again
        0x22, 0x01, 'b', //     4 sl_id_name
    };
    zidl_ip_rib_iid_ctx msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_iid_ctx>(msg, input, mem), ZIDL_OK);
    EXPECT_STREQ(msg.sl_id.sl_id_name, "b");
    EXPECT_EQ(mem.releases, sizes());
    release<ip_rib_iid_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{1}));
}

TEST(ip_rib_iid_ctx, context_past_the_end_is_malformed)
{
    const bytes input = {
        0x12, 0x03, // 2 evpn_vpws, three bytes: one is missing
        0x08, 0x05, //     1 vpws_value_1 = 5
    };
    zidl_ip_rib_iid_ctx msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_iid_ctx>(msg, input), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.evpn_vpws.presence, 0);
}

TEST(ip_rib_iid_ctx, context_as_a_varint_is_refused)
{
    const bytes input = {
        0x38, 0x00, // 7 as a varint
    };
    zidl_ip_rib_iid_ctx msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_iid_ctx>(msg, input), ZIDL_ERR_FIELD_TYPE);
}

TEST(ip_rib_iid_ctx, failure_inside_a_context_is_returned_unchanged)
{
    const struct {
        const char *what;
        bytes input;
        int32_t status;
    } cases[] = {
        {"3 lss: 1 lss_value_1 is cut", {0x1A, 0x01, 0x08}, ZIDL_ERR_MALFORMED},
        {"3 lss: 7 with wire type 3", {0x1A, 0x01, 0x3B}, ZIDL_ERR_WIRE_TYPE},
        {"3 lss: 1 lss_value_1 as bytes", {0x1A, 0x02, 0x0A, 0x00}, ZIDL_ERR_FIELD_TYPE},
        {"3 lss: 5 lss_bytes without memory", {0x1A, 0x02, 0x2A, 0x00}, ZIDL_ERR_NO_MEMORY},
    };
    for (const auto &item : cases) {
        SCOPED_TRACE(item.what);
        zidl_ip_rib_iid_ctx msg = {};
        EXPECT_EQ(decode_without_memory<ip_rib_iid_ctx>(msg, item.input), item.status);
        EXPECT_EQ(msg.presence, 0);
    }
}

TEST(ip_rib_iid_ctx, release_visits_its_contexts_in_declaration_order)
{
    const bytes input = {
        0x3A, 0x03,       // 7 sl_id
        0x22, 0x01, 'a',  //     4 sl_id_name: request 0
        0x32, 0x06,       // 6 l2vpn_ip_tunnel
        0x2A, 0x01, 0x55, //     5 ctx_bytes_5: request 1
        0x12, 0x01, 0x22, //     2 ctx_bytes_2: request 2
        0x22, 0x03,       // 4 evpn_elan
        0x12, 0x01, 0x42, //     2 ctx_bytes_2: request 3
        0x1A, 0x08,       // 3 lss
        0x32, 0x03,       //     6 lss_prefixes[0]: request 4
        0x0A, 0x01, 0x20, //         1 prefix: request 5
        0x2A, 0x01, 0x35, //     5 lss_bytes: request 6
    };
    zidl_ip_rib_iid_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_iid_ctx>(msg, input, mem), ZIDL_OK);
    ASSERT_EQ(mem.requests.size(), 7u);

    release<ip_rib_iid_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{6, 5, 4, 3, 2, 1, 0}));
    EXPECT_EQ(msg.lss.lss_bytes, nullptr);
    EXPECT_EQ(msg.lss.lss_prefixes, nullptr);
    EXPECT_EQ(msg.evpn_elan.ctx_bytes_2, nullptr);
    EXPECT_EQ(msg.l2vpn_ip_tunnel.ctx_bytes_2, nullptr);
    EXPECT_EQ(msg.l2vpn_ip_tunnel.ctx_bytes_5, nullptr);
    EXPECT_EQ(msg.sl_id.sl_id_name, nullptr);
}

TEST(ip_rib_iid_ctx, zero_copy_release_gives_back_name_and_array_only)
{
    const bytes input = {
        0x1A, 0x08,       // 3 lss
        0x2A, 0x01, 0x35, //     5 lss_bytes: borrowed
        0x32, 0x03,       //     6 lss_prefixes[0]: request 0
        0x0A, 0x01, 0x20, //         1 prefix: borrowed
        0x22, 0x03,       // 4 evpn_elan
        0x12, 0x01, 0x42, //     2 ctx_bytes_2: borrowed
        0x3A, 0x03,       // 7 sl_id
        0x22, 0x01, 'a',  //     4 sl_id_name: request 1
    };
    zidl_ip_rib_iid_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_iid_ctx>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    ASSERT_EQ(mem.requests, (sizes{sizeof(zidl_srv6_prefix), 2}));

    release<ip_rib_iid_ctx>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
}

TEST(ip_rib_iid_ctx, duplicate_goes_on_after_a_context_that_cannot_be_copied)
{
    uint8_t block[] = {1};
    char name[] = "a";
    zidl_ip_rib_iid_ctx src = {};
    src.evpn_elan.ctx_bytes_2 = block;
    src.evpn_elan.ctx_bytes_2_size = 1;
    src.evpn_elan.ctx_value_7 = 7;
    src.evpn_elan.presence = 0x42; // ctx_bytes_2, ctx_value_7
    src.sl_id.sl_id_name = name;
    src.sl_id.presence = 0x08;
    src.presence = 0x48; // evpn_elan, sl_id
    zidl_ip_rib_iid_ctx dst = {};
    memory mem(0);

    EXPECT_EQ(duplicate<ip_rib_iid_ctx>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{1, 2}));
    EXPECT_EQ(dst.evpn_elan.ctx_bytes_2, nullptr);
    EXPECT_EQ(dst.evpn_elan.ctx_value_7, 7u);
    EXPECT_EQ(dst.evpn_elan.presence, 0x40);
    EXPECT_STREQ(dst.sl_id.sl_id_name, "a");
    EXPECT_EQ(dst.presence, 0x48); // the contexts themselves stay present
}

TEST(ip_rib_iid_ctx, decode_keeps_spare_bits_at_every_depth)
{
    zidl_ip_rib_iid_ctx msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<ip_rib_iid_ctx>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0x80);
    EXPECT_EQ(msg.evpn_vpws.presence, 0xF8);
    EXPECT_EQ(msg.lss.presence, 0xC0);
    EXPECT_EQ(msg.evpn_elan.presence, 0x80);
    EXPECT_EQ(msg.aft_nhg.presence, 0xFC);
    EXPECT_EQ(msg.l2vpn_ip_tunnel.presence, 0x80);
    EXPECT_EQ(msg.sl_id.presence, 0xF0);
    EXPECT_EQ(msg.lss.lss_prefixes, nullptr);
    EXPECT_EQ(msg.lss.lss_prefixes_count, 0u);
    EXPECT_EQ(msg.l2vpn_ip_tunnel.ctx_bytes_5_size, 0u);
    EXPECT_EQ(msg.sl_id.sl_id_name, nullptr);
}

TEST(ip_rib_iid_ctx, duplicate_keeps_spare_bits_at_every_depth)
{
    const zidl_ip_rib_iid_ctx src = {};
    zidl_ip_rib_iid_ctx dst;
    std::memset(&dst, 0xFF, sizeof dst);

    EXPECT_EQ(duplicate_without_memory<ip_rib_iid_ctx>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.presence, 0x80);
    EXPECT_EQ(dst.evpn_vpws.presence, 0xF8);
    EXPECT_EQ(dst.lss.presence, 0xC0);
    EXPECT_EQ(dst.evpn_elan.presence, 0x80);
    EXPECT_EQ(dst.aft_nhg.presence, 0xFC);
    EXPECT_EQ(dst.l2vpn_ip_tunnel.presence, 0x80);
    EXPECT_EQ(dst.sl_id.presence, 0xF0);
}

TEST(ip_rib_iid_ctx, duplicate_takes_no_spare_bits_from_the_source)
{
    zidl_ip_rib_iid_ctx src = {};
    src.presence = 0x80;
    src.evpn_vpws.presence = 0xF8;
    src.lss.presence = 0xC0;
    src.evpn_elan.presence = 0x80;
    src.aft_nhg.presence = 0xFC;
    src.l2vpn_ip_tunnel.presence = 0x80;
    src.sl_id.presence = 0xF0;
    zidl_ip_rib_iid_ctx dst = {};

    EXPECT_EQ(duplicate_without_memory<ip_rib_iid_ctx>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.presence, 0);
    EXPECT_EQ(dst.evpn_vpws.presence, 0);
    EXPECT_EQ(dst.lss.presence, 0);
    EXPECT_EQ(dst.evpn_elan.presence, 0);
    EXPECT_EQ(dst.aft_nhg.presence, 0);
    EXPECT_EQ(dst.l2vpn_ip_tunnel.presence, 0);
    EXPECT_EQ(dst.sl_id.presence, 0);
}

// ---------------------------------------------------------------------------------------------------------------------
// ip_rib_iid_update.

TEST(ip_rib_iid_update, false_flag_that_is_present_takes_two_bytes)
{
    zidl_ip_rib_iid_update msg = {};
    msg.presence = 0x10; // iid_update_flag_5

    const bytes expected = {
        0x28, 0x00, // 5 iid_update_flag_5 = false
    };
    EXPECT_EQ(encode<ip_rib_iid_update>(msg), expected);
}

TEST(ip_rib_iid_update, writes_its_fields_in_order)
{
    zidl_ip_rib_iid_update msg = {};
    msg.iid_ctx.iid_ctx_kind = 3;
    msg.iid_ctx.presence = 0x01;
    msg.iid_update_flag_2 = 1;
    msg.iid_update_value_3 = 300;
    msg.iid_update_value_4 = 4;
    msg.iid_update_flag_5 = 1;
    msg.presence = 0x1F;

    const bytes expected = {
        0x0A, 0x02,       // 1 iid_ctx
        0x08, 0x03,       //     1 iid_ctx_kind = 3
        0x10, 0x01,       // 2 iid_update_flag_2 = true
        0x18, 0xAC, 0x02, // 3 iid_update_value_3 = 300
        0x20, 0x04,       // 4 iid_update_value_4 = 4
        0x28, 0x01,       // 5 iid_update_flag_5 = true
    };
    EXPECT_EQ(encode<ip_rib_iid_update>(msg), expected);
}

TEST(ip_rib_iid_update, flag_is_written_as_the_byte_it_holds)
{
    zidl_ip_rib_iid_update msg = {};
    msg.iid_update_flag_2 = 2;
    msg.iid_update_flag_5 = 0x80;
    msg.presence = 0x12;

    const bytes expected = {
        0x10, 0x02, // 2 iid_update_flag_2
        0x28, 0x80, // 5 iid_update_flag_5: one byte, not a varint of 128
    };
    EXPECT_EQ(encode<ip_rib_iid_update>(msg), expected);
}

TEST(ip_rib_iid_update, flag_is_true_for_any_non_zero_varint)
{
    const bytes input = {
        0x10, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01, // 2 iid_update_flag_2 = 2^63
        0x28, 0x80, 0x00,                                                 // 5 iid_update_flag_5 = 0 in two bytes
    };
    zidl_ip_rib_iid_update msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_iid_update>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.iid_update_flag_2, 1);
    EXPECT_EQ(msg.iid_update_flag_5, 0);
    EXPECT_EQ(msg.presence, 0x12);
}

// An update whose context is an EVPN E-LAN context with two blocks, as zero-copy lists it.
struct nested_blocks {
    uint8_t block_2[2] = {0x21, 0x22};
    uint8_t block_5[3] = {0x51, 0x52, 0x53};
    zidl_ip_rib_iid_update msg = {};

    nested_blocks()
    {
        zidl_ip_rib_iid_evpn_elan_ctx &ctx = msg.iid_ctx.evpn_elan;
        ctx.ctx_value_1 = 1;
        ctx.ctx_bytes_2 = block_2;
        ctx.ctx_bytes_2_size = 2;
        ctx.ctx_value_3 = 3;
        ctx.ctx_bytes_5 = block_5;
        ctx.ctx_bytes_5_size = 3;
        ctx.presence = 0x17; // ctx_value_1, ctx_bytes_2, ctx_value_3, ctx_bytes_5
        msg.iid_ctx.presence = 0x08;
        msg.iid_update_flag_2 = 1;
        msg.presence = 0x03;
    }
};

TEST(ip_rib_iid_update, zero_copy_lengths_of_enclosing_messages_leave_blocks_out)
{
    const nested_blocks sample;
    const bytes expected = {
        0x0A, 0x0A, // 1 iid_ctx, ten bytes here
        0x22, 0x08, //     4 evpn_elan, eight bytes here
        0x08, 0x01, //         1 ctx_value_1 = 1
        0x12, 0x02, //         2 ctx_bytes_2, two bytes elsewhere
        0x18, 0x03, //         3 ctx_value_3 = 3
        0x2A, 0x03, //         5 ctx_bytes_5, three bytes elsewhere
        0x10, 0x01, // 2 iid_update_flag_2 = true
    };
    EXPECT_EQ(encode<ip_rib_iid_update>(sample.msg, ZIDL_ZERO_COPY), expected);
}

TEST(ip_rib_iid_update, copied_lengths_of_enclosing_messages_count_blocks)
{
    const nested_blocks sample;
    const bytes expected = {
        0x0A, 0x0F,                   // 1 iid_ctx, fifteen bytes
        0x22, 0x0D,                   //     4 evpn_elan, thirteen bytes
        0x08, 0x01,                   //         1 ctx_value_1 = 1
        0x12, 0x02, 0x21, 0x22,       //         2 ctx_bytes_2
        0x18, 0x03,                   //         3 ctx_value_3 = 3
        0x2A, 0x03, 0x51, 0x52, 0x53, //         5 ctx_bytes_5
        0x10, 0x01,                   // 2 iid_update_flag_2 = true
    };
    EXPECT_EQ(encode<ip_rib_iid_update>(sample.msg), expected);
}

TEST(ip_rib_iid_update, zero_copy_segments_of_nested_contexts_come_first_at_every_capacity)
{
    const nested_blocks sample;
    for (uint32_t capacity = 0; capacity <= 7; capacity++) {
        SCOPED_TRACE(capacity);
        const listing out = list_segments<ip_rib_iid_update>(sample.msg, 14, capacity, ZIDL_ZERO_COPY);
        const zidl_segment expected[] = {
            {out.buf.data() + 4, 4},  // evpn_elan up to field 2's length
            {sample.block_2, 2},      // ctx_bytes_2
            {out.buf.data() + 8, 4},  // evpn_elan up to field 5's length
            {sample.block_5, 3},      // ctx_bytes_5
            {out.buf.data() + 2, 10}, // iid_ctx as a whole
            {out.buf.data(), 14},     // the update as a whole
        };
        EXPECT_EQ(out.result, 14u);
        EXPECT_EQ(out.count, 6u);
        for (uint32_t i = 0; i < capacity && i < 6; i++)
            EXPECT_EQ(out.segs[i], expected[i]) << "entry " << i;
        for (size_t i = capacity < 6 ? capacity : 6; i < out.segs.size(); i++)
            EXPECT_EQ(out.segs[i].len, listing::untouched_len) << "entry " << i;
    }
}

TEST(ip_rib_iid_update, copied_segments_of_nested_contexts_overlap_their_enclosing_ones)
{
    const nested_blocks sample;
    const listing out = list_segments<ip_rib_iid_update>(sample.msg, 19, 4, 0);

    EXPECT_EQ(out.result, 19u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data() + 4, 13})); // evpn_elan
    EXPECT_EQ(out.segs[1], (zidl_segment{out.buf.data() + 2, 15})); // iid_ctx
    EXPECT_EQ(out.segs[2], (zidl_segment{out.buf.data(), 19}));     // the update
    EXPECT_EQ(out.segs[3].len, listing::untouched_len);
}

TEST(ip_rib_iid_update, present_but_empty_context_lists_no_segment_of_its_own)
{
    zidl_ip_rib_iid_update msg = {};
    msg.presence = 0x01; // iid_ctx

    const listing out = list_segments<ip_rib_iid_update>(msg, 2, 3, 0);
    EXPECT_EQ(out.buf, (bytes{0x0A, 0x00})); // 1 iid_ctx, empty
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 2}));
    EXPECT_EQ(out.segs[1].len, listing::untouched_len);
}

TEST(ip_rib_iid_update, segment_of_a_context_beyond_the_buffer_starts_at_null)
{
    const nested_blocks sample;
    const listing out = list_segments<ip_rib_iid_update>(sample.msg, 2, 3, 0);

    EXPECT_EQ(out.buf, (bytes{0x0A, 0x0F})); // 1 iid_ctx, fifteen bytes
    EXPECT_EQ(out.result, 19u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], (zidl_segment{nullptr, 13}));        // evpn_elan got no buffer
    EXPECT_EQ(out.segs[1], (zidl_segment{nullptr, 15}));        // iid_ctx got no buffer
    EXPECT_EQ(out.segs[2], (zidl_segment{out.buf.data(), 19})); // the update
}

TEST(ip_rib_iid_update, release_forwards_to_its_context)
{
    const bytes input = {
        0x0A, 0x05,      // 1 iid_ctx
        0x3A, 0x03,      //     7 sl_id
        0x22, 0x01, 'a', //         4 sl_id_name
    };
    zidl_ip_rib_iid_update msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_iid_update>(msg, input, mem), ZIDL_OK);

    release<ip_rib_iid_update>(msg, mem);
    release<ip_rib_iid_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0}));
    EXPECT_EQ(msg.iid_ctx.sl_id.sl_id_name, nullptr);
    EXPECT_EQ(msg.presence, 0x01);
}

TEST(ip_rib_iid_update, duplicate_copies_numbers_and_context)
{
    const nested_blocks sample;
    zidl_ip_rib_iid_update dst = {};
    memory mem;

    ASSERT_EQ(duplicate<ip_rib_iid_update>(dst, sample.msg, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2, 3}));
    EXPECT_EQ(encode<ip_rib_iid_update>(dst), encode<ip_rib_iid_update>(sample.msg));
    EXPECT_NE(dst.iid_ctx.evpn_elan.ctx_bytes_2, sample.msg.iid_ctx.evpn_elan.ctx_bytes_2);
}

TEST(ip_rib_iid_update, duplicate_keeps_a_flag_byte_as_it_is)
{
    zidl_ip_rib_iid_update src = {};
    src.iid_update_flag_5 = 2;
    src.presence = 0x10;
    zidl_ip_rib_iid_update dst = {};

    EXPECT_EQ(duplicate_without_memory<ip_rib_iid_update>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.iid_update_flag_5, 2);
}

TEST(ip_rib_iid_update, failure_two_levels_down_is_returned_unchanged)
{
    const bytes input = {
        0x10, 0x01,      // 2 iid_update_flag_2 = true
        0x0A, 0x05,      // 1 iid_ctx
        0x3A, 0x03,      //     7 sl_id
        0x22, 0x01, 'a', //         4 sl_id_name: no memory
        0x28, 0x01,      // 5 iid_update_flag_5: never reached
    };
    zidl_ip_rib_iid_update msg = {};
    memory mem(0);

    EXPECT_EQ(decode<ip_rib_iid_update>(msg, input, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.presence, 0x02);
    EXPECT_EQ(msg.iid_ctx.presence, 0);
}

} // namespace
