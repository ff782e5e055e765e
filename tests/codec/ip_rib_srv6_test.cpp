// SRv6 configuration, the seventeen endpoint behaviour contexts, SID contexts and updates.

#include "messages/ip_rib_srv6.h"
#include "tests/codec/support.hpp"

#include <string>

namespace
{

using namespace rib_test;

// All thirty-one types have full argument lists.
#define SRV6_TYPE(type)                                                                                                \
    RIB_TEST_CODEC(type);                                                                                              \
    FULL_ARGUMENT_LISTS(type)

SRV6_TYPE(ip_rib_srv6_sid_info);
SRV6_TYPE(ip_rib_srv6_lib_ranges);
SRV6_TYPE(ip_rib_srv6_locator);
SRV6_TYPE(ip_rib_srv6_glb_encap_info);
SRV6_TYPE(ip_rib_srv6_usid_lib_ranges);
SRV6_TYPE(ip_rib_srv6_usid_wlib_ranges);
SRV6_TYPE(ip_rib_srv6_mode_info);
SRV6_TYPE(ip_rib_srv6_fmt_config_info);
SRV6_TYPE(ip_rib_srv6_glb_info);
SRV6_TYPE(ip_rib_srv6_cfg_update);

SRV6_TYPE(ip_rib_srv6_e_ctx);
SRV6_TYPE(ip_rib_srv6_x_ctx);
SRV6_TYPE(ip_rib_srv6_dx_ctx);
SRV6_TYPE(ip_rib_srv6_dt_ctx);
SRV6_TYPE(ip_rib_srv6_dx2_ctx);
SRV6_TYPE(ip_rib_srv6_dt2u_ctx);
SRV6_TYPE(ip_rib_srv6_dt2m_ctx);
SRV6_TYPE(ip_rib_srv6_dt_named_ctx);
SRV6_TYPE(ip_rib_srv6_un_ctx);
SRV6_TYPE(ip_rib_srv6_ua_ctx);
SRV6_TYPE(ip_rib_srv6_udt_ctx);
SRV6_TYPE(ip_rib_srv6_udt_named_ctx);
SRV6_TYPE(ip_rib_srv6_ub6_ctx);
SRV6_TYPE(ip_rib_srv6_udx2_ctx);
SRV6_TYPE(ip_rib_srv6_udt2u_ctx);
SRV6_TYPE(ip_rib_srv6_udt2m_ctx);
SRV6_TYPE(ip_rib_srv6_udx_ctx);

SRV6_TYPE(ip_rib_srv6_sid_ctx);
SRV6_TYPE(ip_rib_srv6_opcode_update);
SRV6_TYPE(ip_rib_srv6_static_endpoint_update);
SRV6_TYPE(ip_rib_srv6_update);

struct codec_names {
    template <class Codec>
    static std::string GetName(int)
    {
        return Codec::name;
    }
};

// ---------------------------------------------------------------------------------------------------------------------
// Small configuration messages.

TEST(ip_rib_srv6_sid_info, writes_its_fields_in_order)
{
    uint8_t address[] = {0xFC};
    zidl_ip_rib_srv6_sid_info msg = {};
    msg.value_1 = 1;
    msg.value_2 = 2;
    msg.sid.prefix = address;
    msg.sid.prefix_size = 1;
    msg.sid.prefix_len = 64;
    msg.sid.presence = 0x03;
    msg.presence = 0x07;

    const bytes expected = {
        0x08, 0x01,       // 1 value_1 = 1
        0x10, 0x02,       // 2 value_2 = 2
        0x1A, 0x05,       // 3 sid
        0x0A, 0x01, 0xFC, //     1 prefix
        0x10, 0x40,       //     2 prefix_len = 64
    };
    EXPECT_EQ(encode<ip_rib_srv6_sid_info>(msg), expected);
}

TEST(ip_rib_srv6_lib_ranges, carries_eight_independent_numbers)
{
    const bytes encoding = {
        0x08, 0x01, // 1 value_1 = 1
        0x10, 0x02, // 2 value_2 = 2
        0x18, 0x03, // 3 value_3 = 3
        0x20, 0x04, // 4 value_4 = 4
        0x28, 0x05, // 5 value_5 = 5
        0x30, 0x06, // 6 value_6 = 6
        0x38, 0x07, // 7 value_7 = 7
        0x40, 0x08, // 8 value_8 = 8
    };
    zidl_ip_rib_srv6_lib_ranges msg = {};

    ASSERT_EQ(decode_without_memory<ip_rib_srv6_lib_ranges>(msg, encoding), ZIDL_OK);
    EXPECT_EQ(msg.value_1, 1u);
    EXPECT_EQ(msg.value_2, 2u);
    EXPECT_EQ(msg.value_3, 3u);
    EXPECT_EQ(msg.value_4, 4u);
    EXPECT_EQ(msg.value_5, 5u);
    EXPECT_EQ(msg.value_6, 6u);
    EXPECT_EQ(msg.value_7, 7u);
    EXPECT_EQ(msg.value_8, 8u);
    EXPECT_EQ(msg.presence, 0xFF);
    EXPECT_EQ(encode<ip_rib_srv6_lib_ranges>(msg), encoding);
}

TEST(ip_rib_srv6_lib_ranges, each_field_has_the_bit_below_its_number)
{
    const struct {
        bytes input;
        uint8_t presence;
    } cases[] = {
        {{0x08, 0x00}, 0x01}, // 1 value_1
        {{0x10, 0x00}, 0x02}, // 2 value_2
        {{0x18, 0x00}, 0x04}, // 3 value_3
        {{0x20, 0x00}, 0x08}, // 4 value_4
        {{0x28, 0x00}, 0x10}, // 5 value_5
        {{0x30, 0x00}, 0x20}, // 6 value_6
        {{0x38, 0x00}, 0x40}, // 7 value_7
        {{0x40, 0x00}, 0x80}, // 8 value_8
    };
    for (const auto &item : cases) {
        zidl_ip_rib_srv6_lib_ranges msg = {};
        EXPECT_EQ(decode_without_memory<ip_rib_srv6_lib_ranges>(msg, item.input), ZIDL_OK);
        EXPECT_EQ(msg.presence, item.presence);
    }
}

TEST(ip_rib_srv6_mode_info, writes_its_fields_in_order)
{
    zidl_ip_rib_srv6_mode_info msg = {};
    msg.flag_1 = 1;
    msg.mode_prefix.prefix_len = 48;
    msg.mode_prefix.presence = 0x02;
    msg.presence = 0x03;

    const bytes expected = {
        0x08, 0x01, // 1 flag_1 = true
        0x12, 0x02, // 2 mode_prefix
        0x10, 0x30, //     2 prefix_len = 48
    };
    EXPECT_EQ(encode<ip_rib_srv6_mode_info>(msg), expected);
}

TEST(ip_rib_srv6_fmt_config_info, survives_decoding_and_encoding)
{
    const bytes encoding = {
        0x08, 0x04,       // 1 format = 4
        0x12, 0x04,       // 2 usid_lib_ranges
        0x08, 0x01,       //     1 value_1 = 1
        0x10, 0x02,       //     2 value_2 = 2
        0x1A, 0x03,       // 3 usid_wlib_ranges
        0x08, 0x80, 0x01, //     1 value_1 = 128
    };
    zidl_ip_rib_srv6_fmt_config_info msg = {};

    ASSERT_EQ(decode_without_memory<ip_rib_srv6_fmt_config_info>(msg, encoding), ZIDL_OK);
    EXPECT_EQ(msg.format, 4u);
    EXPECT_EQ(msg.usid_lib_ranges.value_1, 1u);
    EXPECT_EQ(msg.usid_lib_ranges.value_2, 2u);
    EXPECT_EQ(msg.usid_wlib_ranges.value_1, 128u);
    EXPECT_EQ(msg.presence, 0x07);
    EXPECT_EQ(encode<ip_rib_srv6_fmt_config_info>(msg), encoding);
}

template <class Codec>
class without_memory : public testing::Test
{
};

using types_without_memory = testing::Types<ip_rib_srv6_lib_ranges, ip_rib_srv6_usid_lib_ranges,
                                            ip_rib_srv6_usid_wlib_ranges, ip_rib_srv6_fmt_config_info>;
TYPED_TEST_SUITE(without_memory, types_without_memory, codec_names);

TYPED_TEST(without_memory, release_changes_nothing)
{
    typename TypeParam::record msg;
    typename TypeParam::record before;
    std::memset(&msg, 0xA5, sizeof msg);
    std::memset(&before, 0xA5, sizeof before);
    memory mem;

    release<TypeParam>(msg, mem);
    EXPECT_EQ(std::memcmp(&msg, &before, sizeof msg), 0);
    EXPECT_EQ(mem.releases, sizes());
}

TYPED_TEST(without_memory, duplicate_needs_no_allocation_function)
{
    const bytes encoding = {
        0x08, 0xAC, 0x02, // 1 = 300
    };
    typename TypeParam::record src = {};
    ASSERT_EQ(decode_without_memory<TypeParam>(src, encoding), ZIDL_OK);
    typename TypeParam::record dst = {};

    EXPECT_EQ(duplicate_without_memory<TypeParam>(dst, src), ZIDL_OK);
    EXPECT_EQ(encode<TypeParam>(dst), encoding);
}

// ---------------------------------------------------------------------------------------------------------------------
// ip_rib_srv6_locator.

// Every field of a locator, with two SIDs; the comments count the requests for memory.
const bytes locator_encoding = {
    0x0A, 0x03, 'l',  'o', 'c', // 1 name: request 0
    0x12, 0x05,                 // 2 locator_prefix
    0x0A, 0x01, 0xA2,           //     1 prefix: request 1
    0x10, 0x30,                 //     2 prefix_len = 48
    0x1A, 0x03,                 // 3 second_prefix
    0x0A, 0x01, 0xA3,           //     1 prefix: request 2
    0x20, 0x04,                 // 4 value_4 = 4
    0x28, 0x05,                 // 5 value_5 = 5
    0x30, 0x06,                 // 6 value_6 = 6
    0x38, 0x07,                 // 7 value_7 = 7
    0x40, 0x08,                 // 8 value_8 = 8
    0x50, 0x01,                 // 10 flag_10 = true
    0x58, 0x0B,                 // 11 value_11 = 11
    0x62, 0x05,                 // 12 sids[0]: request 3, the array
    0x1A, 0x03,                 //     3 sid
    0x0A, 0x01, 0xB0,           //         1 prefix: request 4
    0x62, 0x05,                 // 12 sids[1]
    0x1A, 0x03,                 //     3 sid
    0x0A, 0x01, 0xB1,           //         1 prefix: request 5
    0x68, 0x0D,                 // 13 value_13 = 13
    0x72, 0x02,                 // 14 lib_ranges
    0x40, 0x08,                 //     8 value_8 = 8
    0x78, 0x00,                 // 15 flag_15 = false
};

TEST(ip_rib_srv6_locator, reads_every_field)
{
    zidl_ip_rib_srv6_locator msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_locator>(msg, locator_encoding, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{4, 1, 1, 2 * sizeof(zidl_ip_rib_srv6_sid_info), 1, 1}));
    EXPECT_STREQ(msg.name, "loc");
    EXPECT_EQ(msg.locator_prefix.prefix[0], 0xA2);
    EXPECT_EQ(msg.locator_prefix.prefix_len, 48u);
    EXPECT_EQ(msg.second_prefix.prefix[0], 0xA3);
    EXPECT_EQ(msg.value_4, 4u);
    EXPECT_EQ(msg.value_5, 5u);
    EXPECT_EQ(msg.value_6, 6u);
    EXPECT_EQ(msg.value_7, 7u);
    EXPECT_EQ(msg.value_8, 8u);
    EXPECT_EQ(msg.flag_10, 1);
    EXPECT_EQ(msg.value_11, 11u);
    ASSERT_EQ(msg.sids_count, 2u);
    EXPECT_EQ(msg.sids[0].sid.prefix[0], 0xB0);
    EXPECT_EQ(msg.sids[1].sid.prefix[0], 0xB1);
    EXPECT_EQ(msg.value_13, 13u);
    EXPECT_EQ(msg.lib_ranges.value_8, 8u);
    EXPECT_EQ(msg.flag_15, 0);
    EXPECT_EQ(msg.presence, 0x3FFF);
}

TEST(ip_rib_srv6_locator, writes_its_fields_in_order)
{
    uint8_t a2[] = {0xA2}, a3[] = {0xA3}, b0[] = {0xB0}, b1[] = {0xB1};
    char name[] = "loc";
    zidl_ip_rib_srv6_sid_info sids[2] = {};
    sids[0].sid.prefix = b0;
    sids[1].sid.prefix = b1;
    for (auto &info : sids) {
        info.sid.prefix_size = 1;
        info.sid.presence = 0x01;
        info.presence = 0x04;
    }
    zidl_ip_rib_srv6_locator msg = {};
    msg.name = name;
    msg.locator_prefix.prefix = a2;
    msg.locator_prefix.prefix_size = 1;
    msg.locator_prefix.prefix_len = 48;
    msg.locator_prefix.presence = 0x03;
    msg.second_prefix.prefix = a3;
    msg.second_prefix.prefix_size = 1;
    msg.second_prefix.presence = 0x01;
    msg.value_4 = 4;
    msg.value_5 = 5;
    msg.value_6 = 6;
    msg.value_7 = 7;
    msg.value_8 = 8;
    msg.flag_10 = 1;
    msg.value_11 = 11;
    msg.sids = sids;
    msg.sids_count = 2;
    msg.value_13 = 13;
    msg.lib_ranges.value_8 = 8;
    msg.lib_ranges.presence = 0x80;
    msg.presence = 0x3FFF;

    EXPECT_EQ(encode<ip_rib_srv6_locator>(msg), locator_encoding);
}

TEST(ip_rib_srv6_locator, each_field_has_its_own_bit)
{
    const struct {
        const char *what;
        bytes input;
        uint16_t presence;
    } cases[] = {
        {"1 name", {0x0A, 0x00}, 1 << 0},          {"2 locator_prefix", {0x12, 0x00}, 1 << 1},
        {"3 second_prefix", {0x1A, 0x00}, 1 << 2}, {"4 value_4", {0x20, 0x00}, 1 << 3},
        {"5 value_5", {0x28, 0x00}, 1 << 4},       {"6 value_6", {0x30, 0x00}, 1 << 5},
        {"7 value_7", {0x38, 0x00}, 1 << 6},       {"8 value_8", {0x40, 0x00}, 1 << 7},
        {"10 flag_10", {0x50, 0x00}, 1 << 8},      {"11 value_11", {0x58, 0x00}, 1 << 9},
        {"12 sids", {0x62, 0x00}, 1 << 10},        {"13 value_13", {0x68, 0x00}, 1 << 11},
        {"14 lib_ranges", {0x72, 0x00}, 1 << 12},  {"15 flag_15", {0x78, 0x00}, 1 << 13},
    };
    for (const auto &item : cases) {
        SCOPED_TRACE(item.what);
        zidl_ip_rib_srv6_locator msg = {};
        memory mem;
        EXPECT_EQ(decode<ip_rib_srv6_locator>(msg, item.input, mem), ZIDL_OK);
        EXPECT_EQ(msg.presence, item.presence);
        EXPECT_EQ(encode<ip_rib_srv6_locator>(msg), item.input);
    }
}

TEST(ip_rib_srv6_locator, writes_no_sid_without_a_count_or_without_the_bit)
{
    zidl_ip_rib_srv6_sid_info sids[3] = {};
    zidl_ip_rib_srv6_locator msg = {};
    msg.sids = sids;
    msg.presence = 1 << 10; // sids, none of them
    EXPECT_EQ(encode<ip_rib_srv6_locator>(msg), bytes());

    msg.sids_count = 3;
    msg.presence = 0;
    EXPECT_EQ(encode<ip_rib_srv6_locator>(msg), bytes());
}

TEST(ip_rib_srv6_locator, field_9_is_ignored_with_any_usable_wire_type)
{
    const bytes input = {
        0x48, 0x07,                      // 9 as a varint
        0x49, 1,    2, 3, 4, 5, 6, 7, 8, // 9 as eight bytes
        0x4A, 0x02, 1, 2,                // 9 as bytes
        0x4D, 1,    2, 3, 4,             // 9 as four bytes
        0x20, 0x04,                      // 4 value_4 = 4
    };
    zidl_ip_rib_srv6_locator msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_locator>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.value_4, 4u);
    EXPECT_EQ(msg.presence, 1 << 3);
}

TEST(ip_rib_srv6_locator, field_9_as_a_group_is_refused)
{
    const bytes input = {
        0x4B, // 9, wire type 3
    };
    zidl_ip_rib_srv6_locator msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_locator>(msg, input), ZIDL_ERR_WIRE_TYPE);
}

TEST(ip_rib_srv6_locator, second_name_is_malformed)
{
    const bytes input = {
        0x0A, 0x01, 'a', // 1 name
        0x20, 0x04,      // 4 value_4 = 4
        0x0A, 0x01, 'a', // 1 name, again
    };
    zidl_ip_rib_srv6_locator msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_locator>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_STREQ(msg.name, "a");
    EXPECT_EQ(msg.presence, 0x0009);
}

TEST(ip_rib_srv6_locator, name_needs_an_allocation_function_that_grants_it)
{
    const bytes input = {
        0x0A, 0x01, 'a', // 1 name
    };
    zidl_ip_rib_srv6_locator msg = {};
    memory mem(0);

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_locator>(msg, input), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode<ip_rib_srv6_locator>(msg, input, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{2}));
    EXPECT_EQ(msg.name, nullptr);
}

TEST(ip_rib_srv6_locator, flag_of_2_is_read_as_1_and_written_as_1)
{
    const bytes input = {
        0x50, 0x02, // 10 flag_10 = 2
    };
    zidl_ip_rib_srv6_locator msg = {};

    ASSERT_EQ(decode_without_memory<ip_rib_srv6_locator>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.flag_10, 1);
    EXPECT_EQ(encode<ip_rib_srv6_locator>(msg), (bytes{0x50, 0x01})); // 10 flag_10 = true
}

TEST(ip_rib_srv6_locator, flag_is_written_as_the_one_byte_it_holds)
{
    zidl_ip_rib_srv6_locator msg = {};
    msg.flag_10 = 0x80;
    msg.flag_15 = 0xFF;
    msg.presence = 1 << 8 | 1 << 13;

    const bytes expected = {
        0x50, 0x80, // 10 flag_10: one byte, not a varint of 128
        0x78, 0xFF, // 15 flag_15
    };
    EXPECT_EQ(encode<ip_rib_srv6_locator>(msg), expected);
}

TEST(ip_rib_srv6_locator, sids_as_a_varint_are_refused)
{
    const bytes input = {
        0x60, 0x00, // 12 as a varint
    };
    zidl_ip_rib_srv6_locator msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_locator>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(mem.requests, sizes());
}

TEST(ip_rib_srv6_locator, wire_type_of_later_sids_is_not_looked_at)
{
    const bytes input = {
        0x62, 0x00, // 12 sids[0], empty
        0x60, 0x02, // 12 as a varint: read as sids[1], two bytes
        0x08, 0x07, //     1 value_1 = 7
        0x65, 0x00, // 12 as four bytes: read as sids[2], empty
    };
    zidl_ip_rib_srv6_locator msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_locator>(msg, input, mem), ZIDL_OK);
    ASSERT_EQ(msg.sids_count, 3u);
    EXPECT_EQ(msg.sids[1].value_1, 7u);
    EXPECT_EQ(msg.sids[1].presence, 0x01);
}

TEST(ip_rib_srv6_locator, empty_input_clears_it_and_keeps_spare_bits)
{
    zidl_ip_rib_srv6_locator msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_locator>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.name, nullptr);
    EXPECT_EQ(msg.locator_prefix.prefix, nullptr);
    EXPECT_EQ(msg.locator_prefix.prefix_size, 0u);
    EXPECT_EQ(msg.locator_prefix.prefix_len, 0u);
    EXPECT_EQ(msg.locator_prefix.presence, 0xFC);
    EXPECT_EQ(msg.second_prefix.presence, 0xFC);
    EXPECT_EQ(msg.value_4, 0u);
    EXPECT_EQ(msg.flag_10, 0);
    EXPECT_EQ(msg.sids, nullptr);
    EXPECT_EQ(msg.sids_count, 0u);
    EXPECT_EQ(msg.lib_ranges.value_1, 0u);
    EXPECT_EQ(msg.lib_ranges.presence, 0x00); // all eight bits are fields
    EXPECT_EQ(msg.flag_15, 0);
    EXPECT_EQ(msg.presence, 0xC000); // bits 14 and 15
}

TEST(ip_rib_srv6_locator, second_prefix_field_replaces_the_first_and_leaves_its_bytes_unreleased)
{
    const bytes input = {
        0x12, 0x05,       // 2 locator_prefix
        0x0A, 0x01, 0xA2, //     1 prefix
        0x10, 0x30,       //     2 prefix_len = 48
        0x12, 0x03,       // 2 locator_prefix, again
        0x0A, 0x01, 0xA4, //     1 prefix
    };
    zidl_ip_rib_srv6_locator msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_locator>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.locator_prefix.prefix, mem.blocks[1]);
    EXPECT_EQ(msg.locator_prefix.prefix_len, 0u);
    EXPECT_EQ(msg.locator_prefix.presence, 0x01);
    EXPECT_EQ(mem.releases, sizes());
}

TEST(ip_rib_srv6_locator, release_goes_in_declaration_order_and_depth_first)
{
    zidl_ip_rib_srv6_locator msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_locator>(msg, locator_encoding, mem), ZIDL_OK);

    release<ip_rib_srv6_locator>(msg, mem);
    const sizes expected = {
        0,       // name
        1,       // locator_prefix.prefix
        2,       // second_prefix.prefix
        4, 5, 3, // sids: both addresses, then the array
    };
    EXPECT_EQ(mem.releases, expected);
    EXPECT_EQ(msg.name, nullptr);
    EXPECT_EQ(msg.locator_prefix.prefix, nullptr);
    EXPECT_EQ(msg.locator_prefix.prefix_size, 1u);
    EXPECT_EQ(msg.sids, nullptr);
    EXPECT_EQ(msg.sids_count, 0u);
    EXPECT_EQ(msg.presence, 0x3FFF);
}

TEST(ip_rib_srv6_locator, zero_copy_release_gives_back_name_and_array_only)
{
    zidl_ip_rib_srv6_locator msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_locator>(msg, locator_encoding, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    ASSERT_EQ(mem.requests, (sizes{4, 2 * sizeof(zidl_ip_rib_srv6_sid_info)}));
    EXPECT_EQ(msg.locator_prefix.prefix, locator_encoding.data() + 9);

    release<ip_rib_srv6_locator>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
    EXPECT_EQ(msg.locator_prefix.prefix, locator_encoding.data() + 9);
}

TEST(ip_rib_srv6_locator, duplicate_clears_exactly_the_member_that_it_cannot_copy)
{
    zidl_ip_rib_srv6_locator src = {};
    memory input_memory;
    ASSERT_EQ(decode<ip_rib_srv6_locator>(src, locator_encoding, input_memory), ZIDL_OK);
    const size_t requests = 6; // name, two prefixes, the array of SIDs and two addresses in it

    for (size_t refused = 0; refused < requests; refused++) {
        SCOPED_TRACE(refused);
        zidl_ip_rib_srv6_locator dst = {};
        memory mem(refused);
        EXPECT_EQ(duplicate<ip_rib_srv6_locator>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
        EXPECT_EQ(dst.name == nullptr, refused == 0);
        EXPECT_EQ(dst.presence >> 0 & 1, refused != 0); // name
        EXPECT_EQ(dst.locator_prefix.prefix == nullptr, refused == 1);
        EXPECT_EQ(dst.locator_prefix.prefix_size, refused == 1 ? 0u : 1u);
        EXPECT_EQ(dst.locator_prefix.prefix_len, 48u);
        EXPECT_EQ(dst.locator_prefix.presence, refused == 1 ? 0x02 : 0x03);
        EXPECT_EQ(dst.second_prefix.prefix == nullptr, refused == 2);
        EXPECT_EQ(dst.sids == nullptr, refused == 3);
        EXPECT_EQ(dst.sids_count, refused == 3 ? 0u : 2u);
        EXPECT_EQ(dst.presence >> 10 & 1, refused != 3); // sids
        if (refused != 3) {
            EXPECT_EQ(dst.sids[0].sid.prefix == nullptr, refused == 4);
            EXPECT_EQ(dst.sids[1].sid.prefix == nullptr, refused == 5);
        }
        EXPECT_EQ(dst.value_13, 13u);
        EXPECT_EQ(dst.lib_ranges.value_8, 8u);
        EXPECT_EQ(dst.presence & 0x3BFE, 0x3BFE); // all but name and sids
        release<ip_rib_srv6_locator>(dst, mem);
    }
    release<ip_rib_srv6_locator>(src, input_memory);
}

TEST(ip_rib_srv6_locator, duplicate_of_no_sids_is_null_with_their_bit)
{
    zidl_ip_rib_srv6_sid_info sids[1] = {};
    zidl_ip_rib_srv6_locator src = {};
    src.sids = sids;
    src.presence = 1 << 10;
    zidl_ip_rib_srv6_locator dst;
    std::memset(&dst, 0xFF, sizeof dst);

    EXPECT_EQ(duplicate_without_memory<ip_rib_srv6_locator>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.sids, nullptr);
    EXPECT_EQ(dst.sids_count, 0u);
    EXPECT_EQ(dst.presence, 0xC400); // sids, and the destination's bits 14 and 15
}

TEST(ip_rib_srv6_locator, zero_copy_lists_prefixes_and_sids_before_itself)
{
    zidl_ip_rib_srv6_locator msg = {};
    memory mem;
    const bytes input = {
        0x0A, 0x01, 'n',  // 1 name
        0x12, 0x05,       // 2 locator_prefix
        0x0A, 0x01, 0xA2, //     1 prefix
        0x10, 0x30,       //     2 prefix_len = 48
        0x62, 0x05,       // 12 sids[0]
        0x1A, 0x03,       //     3 sid
        0x0A, 0x01, 0xB0, //         1 prefix
    };
    ASSERT_EQ(decode<ip_rib_srv6_locator>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);

    const listing out = list_segments<ip_rib_srv6_locator>(msg, 15, 8, ZIDL_ZERO_COPY);
    const bytes expected = {
        0x0A, 0x01, 'n', // 1 name
        0x12, 0x04,      // 2 locator_prefix, four bytes here
        0x0A, 0x01,      //     1 prefix, one byte elsewhere
        0x10, 0x30,      //     2 prefix_len = 48
        0x62, 0x04,      // 12 sids[0], four bytes here
        0x1A, 0x02,      //     3 sid, two bytes here
        0x0A, 0x01,      //         1 prefix, one byte elsewhere
    };
    EXPECT_EQ(out.buf, expected);
    EXPECT_EQ(out.result, 15u);
    EXPECT_EQ(out.count, 7u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data() + 5, 2}));  // locator_prefix up to its prefix's length
    EXPECT_EQ(out.segs[1], (zidl_segment{input.data() + 7, 1}));    // its prefix
    EXPECT_EQ(out.segs[2], (zidl_segment{out.buf.data() + 7, 2}));  // its prefix_len
    EXPECT_EQ(out.segs[3], (zidl_segment{out.buf.data() + 13, 2})); // sids[0].sid
    EXPECT_EQ(out.segs[4], (zidl_segment{input.data() + 16, 1}));   // its prefix; nothing behind it
    EXPECT_EQ(out.segs[5], (zidl_segment{out.buf.data() + 11, 4})); // sids[0]
    EXPECT_EQ(out.segs[6], (zidl_segment{out.buf.data(), 15}));     // the locator
    EXPECT_EQ(out.segs[7].len, listing::untouched_len);
}

// ---------------------------------------------------------------------------------------------------------------------
// ip_rib_srv6_glb_encap_info and ip_rib_srv6_glb_info.

TEST(ip_rib_srv6_glb_encap_info, survives_decoding_and_encoding)
{
    const bytes encoding = {
        0x0A, 0x02,       // 1 encap_prefix_1
        0x10, 0x40,       //     2 prefix_len = 64
        0x12, 0x02,       // 2 encap_prefix_2
        0x10, 0x41,       //     2 prefix_len = 65
        0x18, 0x01,       // 3 flag_3 = true
        0x20, 0x00,       // 4 flag_4 = false
        0x28, 0x05,       // 5 value_5 = 5
        0x30, 0x01,       // 6 flag_6 = true
        0x38, 0x01,       // 7 flag_7 = true
        0x40, 0xAC, 0x02, // 8 value_8 = 300
        0x48, 0x09,       // 9 value_9 = 9
    };
    zidl_ip_rib_srv6_glb_encap_info msg;
    std::memset(&msg, 0xFF, sizeof msg);

    ASSERT_EQ(decode_without_memory<ip_rib_srv6_glb_encap_info>(msg, encoding), ZIDL_OK);
    EXPECT_EQ(msg.encap_prefix_1.prefix_len, 64u);
    EXPECT_EQ(msg.encap_prefix_2.prefix_len, 65u);
    EXPECT_EQ(msg.flag_3, 1);
    EXPECT_EQ(msg.flag_4, 0);
    EXPECT_EQ(msg.value_5, 5u);
    EXPECT_EQ(msg.flag_6, 1);
    EXPECT_EQ(msg.flag_7, 1);
    EXPECT_EQ(msg.value_8, 300u);
    EXPECT_EQ(msg.value_9, 9u);
    EXPECT_EQ(msg.presence, 0xFFFF); // all nine, and the spare bits 9 to 15
    EXPECT_EQ(encode<ip_rib_srv6_glb_encap_info>(msg), encoding);
}

TEST(ip_rib_srv6_glb_encap_info, empty_input_clears_bits_0_to_8_only)
{
    zidl_ip_rib_srv6_glb_encap_info msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_glb_encap_info>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0xFE00);
    EXPECT_EQ(msg.encap_prefix_1.presence, 0xFC);
    EXPECT_EQ(msg.encap_prefix_2.presence, 0xFC);
}

TEST(ip_rib_srv6_glb_info, encapsulation_settings_without_content_are_written_for_their_bit_only)
{
    zidl_ip_rib_srv6_glb_info msg = {};
    EXPECT_EQ(encode<ip_rib_srv6_glb_info>(msg), bytes());

    msg.presence = 0x04;                                               // encap_info
    EXPECT_EQ(encode<ip_rib_srv6_glb_info>(msg), (bytes{0x22, 0x00})); // 4 encap_info, empty
}

TEST(ip_rib_srv6_glb_info, encapsulation_settings_with_content_need_no_bit)
{
    zidl_ip_rib_srv6_glb_info msg = {};
    msg.encap_info.encap_prefix_2.presence = 0x02; // prefix_len

    const bytes expected = {
        0x22, 0x04, // 4 encap_info
        0x12, 0x02, //     2 encap_prefix_2
        0x10, 0x00, //         2 prefix_len = 0
    };
    EXPECT_EQ(encode<ip_rib_srv6_glb_info>(msg), expected);
}

// The global settings with every owner of memory; the comments count the requests.
const bytes global_encoding = {
    0x08, 0x01,       // 1 value_1 = 1
    0x10, 0x02,       // 2 value_2 = 2
    0x22, 0x0A,       // 4 encap_info
    0x0A, 0x03,       //     1 encap_prefix_1
    0x0A, 0x01, 0xE1, //         1 prefix: request 0
    0x12, 0x03,       //     2 encap_prefix_2
    0x0A, 0x01, 0xE2, //         1 prefix: request 1
    0x32, 0x05,       // 6 modes[0]: request 2, the array
    0x12, 0x03,       //     2 mode_prefix
    0x0A, 0x01, 0x60, //         1 prefix: request 3
    0x32, 0x05,       // 6 modes[1]
    0x12, 0x03,       //     2 mode_prefix
    0x0A, 0x01, 0x61, //         1 prefix: request 4
    0x38, 0x07,       // 7 value_7 = 7
    0x42, 0x02,       // 8 formats[0]: request 5, the array
    0x08, 0x04,       //     1 format = 4
};

TEST(ip_rib_srv6_glb_info, survives_decoding_and_encoding)
{
    zidl_ip_rib_srv6_glb_info msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_glb_info>(msg, global_encoding, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests,
              (sizes{1, 1, 2 * sizeof(zidl_ip_rib_srv6_mode_info), 1, 1, sizeof(zidl_ip_rib_srv6_fmt_config_info)}));
    EXPECT_EQ(msg.value_1, 1u);
    EXPECT_EQ(msg.value_2, 2u);
    EXPECT_EQ(msg.encap_info.encap_prefix_2.prefix[0], 0xE2);
    ASSERT_EQ(msg.modes_count, 2u);
    EXPECT_EQ(msg.modes[1].mode_prefix.prefix[0], 0x61);
    EXPECT_EQ(msg.value_7, 7u);
    ASSERT_EQ(msg.formats_count, 1u);
    EXPECT_EQ(msg.formats[0].format, 4u);
    EXPECT_EQ(msg.presence, 0x3F);
    EXPECT_EQ(encode<ip_rib_srv6_glb_info>(msg), global_encoding);
}

TEST(ip_rib_srv6_glb_info, fields_3_and_5_are_ignored_with_any_usable_wire_type)
{
    const bytes input = {
        0x18, 0x07,                      // 3 as a varint
        0x19, 1,    2, 3, 4, 5, 6, 7, 8, // 3 as eight bytes
        0x1A, 0x01, 1,                   // 3 as bytes
        0x1D, 1,    2, 3, 4,             // 3 as four bytes
        0x28, 0x07,                      // 5 as a varint
        0x29, 1,    2, 3, 4, 5, 6, 7, 8, // 5 as eight bytes
        0x2A, 0x01, 1,                   // 5 as bytes
        0x2D, 1,    2, 3, 4,             // 5 as four bytes
        0x38, 0x07,                      // 7 value_7 = 7
    };
    zidl_ip_rib_srv6_glb_info msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_glb_info>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.value_7, 7u);
    EXPECT_EQ(msg.presence, 0x10);
}

TEST(ip_rib_srv6_glb_info, release_goes_in_declaration_order_and_clears_both_counts)
{
    zidl_ip_rib_srv6_glb_info msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_glb_info>(msg, global_encoding, mem), ZIDL_OK);

    release<ip_rib_srv6_glb_info>(msg, mem);
    const sizes expected = {
        0, 1,    // encap_info's prefixes
        3, 4, 2, // modes: both addresses, then the array
        5,       // formats
    };
    EXPECT_EQ(mem.releases, expected);
    EXPECT_EQ(msg.modes, nullptr);
    EXPECT_EQ(msg.modes_count, 0u);
    EXPECT_EQ(msg.formats, nullptr);
    EXPECT_EQ(msg.formats_count, 0u);
}

TEST(ip_rib_srv6_glb_info, empty_input_keeps_spare_bits_at_every_depth)
{
    zidl_ip_rib_srv6_glb_info msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_glb_info>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0xC0);
    EXPECT_EQ(msg.encap_info.presence, 0xFE00);
    EXPECT_EQ(msg.encap_info.encap_prefix_1.presence, 0xFC);
    EXPECT_EQ(msg.encap_info.encap_prefix_2.presence, 0xFC);
    EXPECT_EQ(msg.modes, nullptr);
    EXPECT_EQ(msg.modes_count, 0u);
    EXPECT_EQ(msg.formats, nullptr);
    EXPECT_EQ(msg.formats_count, 0u);
}

// ---------------------------------------------------------------------------------------------------------------------
// ip_rib_srv6_cfg_update.

TEST(ip_rib_srv6_cfg_update, adjacent_locators_become_one_array)
{
    const bytes input = {
        0x12, 0x02, // 2 locators[0]
        0x20, 0x04, //     4 value_4 = 4
        0x12, 0x02, // 2 locators[1]
        0x28, 0x05, //     5 value_5 = 5
        0x0A, 0x00, // 1 global_info, empty
    };
    zidl_ip_rib_srv6_cfg_update msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_cfg_update>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2 * sizeof(zidl_ip_rib_srv6_locator)}));
    ASSERT_EQ(msg.locators_count, 2u);
    EXPECT_EQ(msg.locators[0].value_4, 4u);
    EXPECT_EQ(msg.locators[0].presence, 1 << 3);
    EXPECT_EQ(msg.locators[1].value_5, 5u);
    EXPECT_EQ(msg.locators[1].presence, 1 << 4);
    EXPECT_EQ(msg.presence, 0x03);
}

TEST(ip_rib_srv6_cfg_update, locators_split_by_another_field_are_malformed)
{
    const bytes input = {
        0x12, 0x00, // 2 locators[0], empty
        0x0A, 0x00, // 1 global_info, empty
        0x12, 0x00, // 2 locators, again
    };
    zidl_ip_rib_srv6_cfg_update msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_cfg_update>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.locators_count, 1u);
    EXPECT_EQ(msg.presence, 0x03);
}

TEST(ip_rib_srv6_cfg_update, locators_without_an_allocation_function_are_out_of_memory)
{
    const bytes input = {
        0x12, 0x00, // 2 locators[0], empty
    };
    zidl_ip_rib_srv6_cfg_update msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_cfg_update>(msg, input), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<ip_rib_srv6_cfg_update>(msg, input, ZIDL_ZERO_COPY), ZIDL_ERR_NO_MEMORY);
}

// Global settings and two locators with names, prefixes and SIDs; the comments count the requests for memory.
const bytes config_encoding = {
    0x0A, 0x07,       // 1 global_info
    0x22, 0x05,       //     4 encap_info
    0x0A, 0x03,       //         1 encap_prefix_1
    0x0A, 0x01, 0xE1, //             1 prefix: request 0
    0x12, 0x0F,       // 2 locators[0]: request 1, the array
    0x0A, 0x01, 'a',  //     1 name: request 2
    0x12, 0x03,       //     2 locator_prefix
    0x0A, 0x01, 0xA2, //         1 prefix: request 3
    0x62, 0x05,       //     12 sids[0]: request 4, the array
    0x1A, 0x03,       //         3 sid
    0x0A, 0x01, 0xB0, //             1 prefix: request 5
    0x12, 0x03,       // 2 locators[1]
    0x0A, 0x01, 'b',  //     1 name: request 6
};

TEST(ip_rib_srv6_cfg_update, survives_decoding_and_encoding)
{
    zidl_ip_rib_srv6_cfg_update msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_cfg_update>(msg, config_encoding, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests,
              (sizes{1, 2 * sizeof(zidl_ip_rib_srv6_locator), 2, 1, sizeof(zidl_ip_rib_srv6_sid_info), 1, 2}));
    EXPECT_STREQ(msg.locators[1].name, "b");
    EXPECT_EQ(encode<ip_rib_srv6_cfg_update>(msg), config_encoding);
}

TEST(ip_rib_srv6_cfg_update, release_gives_back_global_settings_then_each_locator_then_the_array)
{
    zidl_ip_rib_srv6_cfg_update msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_cfg_update>(msg, config_encoding, mem), ZIDL_OK);

    release<ip_rib_srv6_cfg_update>(msg, mem);
    const sizes expected = {
        0,          // global_info
        2, 3, 5, 4, // locators[0]: name, prefix, its SID's address, its SIDs
        6,          // locators[1]: name
        1,          // locators
    };
    EXPECT_EQ(mem.releases, expected);
    EXPECT_EQ(msg.locators, nullptr);
    EXPECT_EQ(msg.locators_count, 0u);
    EXPECT_EQ(msg.global_info.encap_info.encap_prefix_1.prefix, nullptr);
}

TEST(ip_rib_srv6_cfg_update, zero_copy_release_gives_back_names_and_arrays_but_no_address)
{
    zidl_ip_rib_srv6_cfg_update msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_cfg_update>(msg, config_encoding, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    const sizes requests = {
        2 * sizeof(zidl_ip_rib_srv6_locator), // locators
        2,                                    // locators[0].name
        sizeof(zidl_ip_rib_srv6_sid_info),    // locators[0].sids
        2,                                    // locators[1].name
    };
    ASSERT_EQ(mem.requests, requests);

    release<ip_rib_srv6_cfg_update>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{1, 2, 3, 0}));
}

TEST(ip_rib_srv6_cfg_update, zero_copy_release_of_an_owning_record_keeps_every_address)
{
    zidl_ip_rib_srv6_cfg_update msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_cfg_update>(msg, config_encoding, mem), ZIDL_OK);

    release<ip_rib_srv6_cfg_update>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{2, 4, 6, 1})); // names and arrays; requests 0, 3 and 5 are addresses
    EXPECT_NE(msg.global_info.encap_info.encap_prefix_1.prefix, nullptr);
}

// The encoding of a configuration with one locator whose name has as many characters as asked for.
bytes config_with_name_of(size_t len)
{
    std::string name(len, 'x');
    zidl_ip_rib_srv6_locator locator = {};
    locator.name = name.data();
    locator.value_4 = 4;
    locator.presence = 1 << 0 | 1 << 3;
    zidl_ip_rib_srv6_cfg_update msg = {};
    msg.locators = &locator;
    msg.locators_count = 1;
    msg.presence = 0x02;
    return encode<ip_rib_srv6_cfg_update>(msg);
}

// `head`, as many x as asked for, `tail`.
bytes around_name_of(size_t len, const bytes &head, const bytes &tail)
{
    bytes out = head;
    out.insert(out.end(), len, 'x');
    out.insert(out.end(), tail.begin(), tail.end());
    return out;
}

TEST(ip_rib_srv6_cfg_update, locator_of_127_bytes_has_a_length_of_one_byte)
{
    const bytes head = {
        0x12, 0x7F, // 2 locators[0], 127 bytes
        0x0A, 0x7B, //     1 name, 123 characters
    };
    const bytes tail = {
        0x20, 0x04, //     4 value_4 = 4
    };
    EXPECT_EQ(config_with_name_of(123), around_name_of(123, head, tail));
}

TEST(ip_rib_srv6_cfg_update, locator_of_128_bytes_has_a_length_of_two_bytes)
{
    const bytes head = {
        0x12, 0x80, 0x01, // 2 locators[0], 128 bytes
        0x0A, 0x7C,       //     1 name, 124 characters
    };
    const bytes tail = {
        0x20, 0x04, //     4 value_4 = 4
    };
    EXPECT_EQ(config_with_name_of(124), around_name_of(124, head, tail));
}

TEST(ip_rib_srv6_cfg_update, locator_of_16383_bytes_has_a_length_of_two_bytes)
{
    const bytes head = {
        0x12, 0xFF, 0x7F, // 2 locators[0], 16 383 bytes
        0x0A, 0xFA, 0x7F, //     1 name, 16 378 characters
    };
    const bytes tail = {
        0x20, 0x04, //     4 value_4 = 4
    };
    EXPECT_EQ(config_with_name_of(16378), around_name_of(16378, head, tail));
}

TEST(ip_rib_srv6_cfg_update, locator_of_16384_bytes_has_a_length_of_three_bytes)
{
    const bytes head = {
        0x12, 0x80, 0x80, 0x01, // 2 locators[0], 16 384 bytes
        0x0A, 0xFB, 0x7F,       //     1 name, 16 379 characters
    };
    const bytes tail = {
        0x20, 0x04, //     4 value_4 = 4
    };
    EXPECT_EQ(config_with_name_of(16379), around_name_of(16379, head, tail));
}

TEST(ip_rib_srv6_cfg_update, failure_three_levels_down_is_returned_unchanged)
{
    const bytes input = {
        0x0A, 0x06, // 1 global_info
        0x22, 0x04, //     4 encap_info
        0x0A, 0x02, //         1 encap_prefix_1
        0x0D, 0x00, //             1 as four bytes
    };
    zidl_ip_rib_srv6_cfg_update msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_cfg_update>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(msg.presence, 0x00);
    EXPECT_EQ(msg.global_info.presence, 0x00);
}

TEST(ip_rib_srv6_cfg_update, failing_locator_leaves_the_array_with_its_full_count)
{
    const bytes input = {
        0x12, 0x03,      // 2 locators[0]
        0x0A, 0x01, 'a', //     1 name
        0x12, 0x01,      // 2 locators[1]
        0x20,            //     4 value_4: its value is missing
        0x12, 0x00,      // 2 locators[2]: never reached
    };
    zidl_ip_rib_srv6_cfg_update msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_cfg_update>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.locators_count, 3u);
    EXPECT_EQ(msg.presence, 0x00);
    release<ip_rib_srv6_cfg_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{1, 0}));
}

TEST(ip_rib_srv6_cfg_update, duplicate_that_cannot_copy_a_name_copies_all_else)
{
    zidl_ip_rib_srv6_cfg_update src = {};
    memory input_memory;
    ASSERT_EQ(decode<ip_rib_srv6_cfg_update>(src, config_encoding, input_memory), ZIDL_OK);
    zidl_ip_rib_srv6_cfg_update dst = {};
    memory mem(2);

    EXPECT_EQ(duplicate<ip_rib_srv6_cfg_update>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    const bytes expected = {
        0x0A, 0x07,       // 1 global_info
        0x22, 0x05,       //     4 encap_info
        0x0A, 0x03,       //         1 encap_prefix_1
        0x0A, 0x01, 0xE1, //             1 prefix
        0x12, 0x0C,       // 2 locators[0]
        0x12, 0x03,       //     2 locator_prefix
        0x0A, 0x01, 0xA2, //         1 prefix
        0x62, 0x05,       //     12 sids[0]
        0x1A, 0x03,       //         3 sid
        0x0A, 0x01, 0xB0, //             1 prefix
        0x12, 0x03,       // 2 locators[1]
        0x0A, 0x01, 'b',  //     1 name
    };
    EXPECT_EQ(encode<ip_rib_srv6_cfg_update>(dst), expected);
    EXPECT_EQ(dst.locators[0].name, nullptr);
    EXPECT_EQ(dst.presence, 0x03);
}

// ---------------------------------------------------------------------------------------------------------------------
// Contexts of three fields: two numbers and a name.

template <class Codec>
class numbers_and_name_ctx : public testing::Test
{
};

using numbers_and_name_types =
    testing::Types<ip_rib_srv6_e_ctx, ip_rib_srv6_dx_ctx, ip_rib_srv6_dx2_ctx, ip_rib_srv6_dt2u_ctx,
                   ip_rib_srv6_dt2m_ctx, ip_rib_srv6_un_ctx, ip_rib_srv6_udx2_ctx, ip_rib_srv6_udt2u_ctx,
                   ip_rib_srv6_udt2m_ctx, ip_rib_srv6_udx_ctx>;
TYPED_TEST_SUITE(numbers_and_name_ctx, numbers_and_name_types, codec_names);

TYPED_TEST(numbers_and_name_ctx, two_numbers_without_a_name_are_five_bytes)
{
    typename TypeParam::record msg = {};
    msg.value_1 = 1;
    msg.value_2 = 300;
    msg.presence = 0x03;

    const bytes expected = {
        0x08, 0x01,       // 1 value_1 = 1
        0x10, 0xAC, 0x02, // 2 value_2 = 300
    };
    EXPECT_EQ(encode<TypeParam>(msg), expected);
}

TYPED_TEST(numbers_and_name_ctx, name_that_is_present_but_null_is_not_written)
{
    typename TypeParam::record msg = {};
    msg.presence = 0x04;

    EXPECT_EQ(encode<TypeParam>(msg), bytes());
}

TYPED_TEST(numbers_and_name_ctx, empty_name_survives_encoding_and_decoding)
{
    char name[] = "";
    typename TypeParam::record msg = {};
    msg.name_3 = name;
    msg.presence = 0x04;

    const bytes expected = {
        0x1A, 0x00, // 3 name_3 = ""
    };
    EXPECT_EQ(encode<TypeParam>(msg), expected);

    typename TypeParam::record back = {};
    memory mem;
    ASSERT_EQ(decode<TypeParam>(back, expected, mem), ZIDL_OK);
    EXPECT_STREQ(back.name_3, "");
    EXPECT_EQ(back.presence, 0x04);
    EXPECT_EQ(mem.requests, (sizes{1}));
}

TYPED_TEST(numbers_and_name_ctx, survives_decoding_encoding_and_copying)
{
    const bytes encoding = {
        0x08, 0x01,           // 1 value_1 = 1
        0x10, 0x02,           // 2 value_2 = 2
        0x1A, 0x02, 'n', 'm', // 3 name_3
    };
    typename TypeParam::record msg;
    std::memset(&msg, 0xFF, sizeof msg);
    memory mem;

    ASSERT_EQ(decode<TypeParam>(msg, encoding, mem), ZIDL_OK);
    EXPECT_EQ(msg.value_1, 1u);
    EXPECT_EQ(msg.value_2, 2u);
    EXPECT_STREQ(msg.name_3, "nm");
    EXPECT_EQ(msg.presence, 0xFF); // all three, and the spare bits 3 to 7
    EXPECT_EQ(encode<TypeParam>(msg), encoding);

    typename TypeParam::record copy = {};
    ASSERT_EQ(duplicate<TypeParam>(copy, msg, mem), ZIDL_OK);
    EXPECT_EQ(encode<TypeParam>(copy), encoding);
    EXPECT_NE(copy.name_3, msg.name_3);
    EXPECT_EQ(copy.presence, 0x07);
}

TYPED_TEST(numbers_and_name_ctx, second_name_is_malformed_even_when_it_is_equal)
{
    const bytes input = {
        0x1A, 0x01, 'n', // 3 name_3
        0x1A, 0x01, 'n', // 3 name_3, again
    };
    typename TypeParam::record msg = {};
    memory mem;

    EXPECT_EQ(decode<TypeParam>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_STREQ(msg.name_3, "n");
    release<TypeParam>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0}));
}

TYPED_TEST(numbers_and_name_ctx, number_keeps_the_low_32_bits_of_a_longer_varint)
{
    const bytes input = {
        0x08, 0x81, 0x80, 0x80, 0x80, 0xF0, 0xFF, 0x01, // 1 value_1: bits 32 and above set, seven bytes
        0x10, 0x02,                                     // 2 value_2 = 2
    };
    typename TypeParam::record msg = {};

    EXPECT_EQ(decode_without_memory<TypeParam>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.value_1, 1u);
    EXPECT_EQ(msg.value_2, 2u);
}

TYPED_TEST(numbers_and_name_ctx, bytes_beyond_the_fifth_are_consumed)
{
    const bytes input = {
        0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, // 1 value_1 = 2^32 - 1 in twelve bytes
        0x80, 0x80, 0x80, 0x80, 0x80,       //
        0x80, 0x7F,                         //
        0x10, 0x02,                         // 2 value_2 = 2
    };
    typename TypeParam::record msg = {};

    EXPECT_EQ(decode_without_memory<TypeParam>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.value_1, 0xFFFFFFFFu);
    EXPECT_EQ(msg.value_2, 2u);
}

TYPED_TEST(numbers_and_name_ctx, later_number_overwrites_the_earlier)
{
    const bytes input = {
        0x10, 0x02, // 2 value_2 = 2
        0x10, 0x03, // 2 value_2 = 3
    };
    typename TypeParam::record msg = {};

    EXPECT_EQ(decode_without_memory<TypeParam>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.value_2, 3u);
}

TYPED_TEST(numbers_and_name_ctx, name_as_a_varint_is_refused)
{
    const bytes input = {
        0x18, 0x01, // 3 as a varint
    };
    typename TypeParam::record msg = {};
    memory mem;

    EXPECT_EQ(decode<TypeParam>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
}

TYPED_TEST(numbers_and_name_ctx, name_without_an_allocation_function_is_out_of_memory)
{
    const bytes input = {
        0x1A, 0x7F, // 3 name_3: longer than the input, which is not looked at
    };
    typename TypeParam::record msg = {};

    EXPECT_EQ(decode_without_memory<TypeParam>(msg, input), ZIDL_ERR_NO_MEMORY);
}

TYPED_TEST(numbers_and_name_ctx, name_past_the_end_is_malformed)
{
    const bytes input = {
        0x1A, 0x02, 'n', // 3 name_3: one character is missing
    };
    typename TypeParam::record msg = {};
    memory mem;

    EXPECT_EQ(decode<TypeParam>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes());
}

TYPED_TEST(numbers_and_name_ctx, unusable_wire_type_of_an_unknown_field_is_refused)
{
    const bytes input = {
        0x23, // 4, wire type 3
    };
    typename TypeParam::record msg = {};

    EXPECT_EQ(decode_without_memory<TypeParam>(msg, input), ZIDL_ERR_WIRE_TYPE);
}

TYPED_TEST(numbers_and_name_ctx, refused_name_leaves_the_copy_without_it)
{
    char name[] = "nm";
    typename TypeParam::record src = {};
    src.value_1 = 1;
    src.value_2 = 2;
    src.name_3 = name;
    src.presence = 0x07;
    typename TypeParam::record dst = {};
    memory mem(0);

    EXPECT_EQ(duplicate<TypeParam>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.value_1, 1u);
    EXPECT_EQ(dst.value_2, 2u);
    EXPECT_EQ(dst.name_3, nullptr);
    EXPECT_EQ(dst.presence, 0x03);

    typename TypeParam::record unallocated = {};
    EXPECT_EQ(duplicate_without_memory<TypeParam>(unallocated, src), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(unallocated.name_3, nullptr);
    EXPECT_EQ(unallocated.presence, 0x03);
}

TYPED_TEST(numbers_and_name_ctx, zero_copy_release_gives_back_the_name)
{
    const bytes input = {
        0x1A, 0x01, 'n', // 3 name_3
        0x08, 0x01,      // 1 value_1 = 1
    };
    typename TypeParam::record msg = {};
    memory mem;
    ASSERT_EQ(decode<TypeParam>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);

    release<TypeParam>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0}));
    EXPECT_EQ(msg.name_3, nullptr);
    EXPECT_EQ(msg.value_1, 1u);
    EXPECT_EQ(msg.presence, 0x05);
}

TYPED_TEST(numbers_and_name_ctx, name_in_field_2_is_refused)
{
    char name[] = "nm";
    zidl_ip_rib_srv6_dt_ctx named = {};
    named.value_1 = 1;
    named.name_2 = name;
    named.presence = 0x03;
    const bytes encoding = encode<ip_rib_srv6_dt_ctx>(named);
    const bytes expected = {
        0x08, 0x01,           // 1 value_1 = 1
        0x12, 0x02, 'n', 'm', // 2 name_2
    };
    ASSERT_EQ(encoding, expected);
    typename TypeParam::record msg = {};
    memory mem;

    EXPECT_EQ(decode<TypeParam>(msg, encoding, mem), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(msg.value_1, 1u);
}

TEST(ip_rib_srv6_dx_ctx, bytes_decode_unchanged_as_an_end_context)
{
    char name[] = "vrf";
    zidl_ip_rib_srv6_dx_ctx msg = {};
    msg.value_1 = 1;
    msg.value_2 = 2;
    msg.name_3 = name;
    msg.presence = 0x07;
    const bytes encoding = encode<ip_rib_srv6_dx_ctx>(msg);
    zidl_ip_rib_srv6_e_ctx back = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_e_ctx>(back, encoding, mem), ZIDL_OK);
    EXPECT_EQ(back.value_1, 1u);
    EXPECT_EQ(back.value_2, 2u);
    EXPECT_STREQ(back.name_3, "vrf");
    EXPECT_EQ(back.presence, 0x07);
}

// ---------------------------------------------------------------------------------------------------------------------
// Contexts of a number and a name.

template <class Codec>
class number_and_name_ctx : public testing::Test
{
};

using number_and_name_types = testing::Types<ip_rib_srv6_dt_ctx, ip_rib_srv6_udt_ctx>;
TYPED_TEST_SUITE(number_and_name_ctx, number_and_name_types, codec_names);

TYPED_TEST(number_and_name_ctx, survives_decoding_encoding_and_copying)
{
    const bytes encoding = {
        0x08, 0xAC, 0x02, // 1 value_1 = 300
        0x12, 0x01, 'n',  // 2 name_2
    };
    typename TypeParam::record msg;
    std::memset(&msg, 0xFF, sizeof msg);
    memory mem;

    ASSERT_EQ(decode<TypeParam>(msg, encoding, mem), ZIDL_OK);
    EXPECT_EQ(msg.value_1, 300u);
    EXPECT_STREQ(msg.name_2, "n");
    EXPECT_EQ(msg.presence, 0xFF); // both, and the spare bits 2 to 7
    EXPECT_EQ(encode<TypeParam>(msg), encoding);

    typename TypeParam::record copy = {};
    ASSERT_EQ(duplicate<TypeParam>(copy, msg, mem), ZIDL_OK);
    EXPECT_EQ(encode<TypeParam>(copy), encoding);
    EXPECT_EQ(copy.presence, 0x03);

    release<TypeParam>(msg, mem);
    release<TypeParam>(copy, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
}

TYPED_TEST(number_and_name_ctx, name_that_is_present_but_null_is_not_written)
{
    typename TypeParam::record msg = {};
    msg.presence = 0x03;

    const bytes expected = {
        0x08, 0x00, // 1 value_1 = 0
    };
    EXPECT_EQ(encode<TypeParam>(msg), expected);
}

TYPED_TEST(number_and_name_ctx, second_name_is_malformed)
{
    const bytes input = {
        0x12, 0x00, // 2 name_2 = ""
        0x12, 0x00, // 2 name_2, again
    };
    typename TypeParam::record msg = {};
    memory mem;

    EXPECT_EQ(decode<TypeParam>(msg, input, mem), ZIDL_ERR_MALFORMED);
}

TYPED_TEST(number_and_name_ctx, fields_of_another_wire_type_are_refused)
{
    typename TypeParam::record msg = {};
    memory mem;

    EXPECT_EQ(decode<TypeParam>(msg, {0x0A, 0x00}, mem), ZIDL_ERR_FIELD_TYPE); // 1 as bytes
    EXPECT_EQ(decode<TypeParam>(msg, {0x10, 0x00}, mem), ZIDL_ERR_FIELD_TYPE); // 2 as a varint
    EXPECT_EQ(decode<TypeParam>(msg, {0x18, 0x00}, mem), ZIDL_OK);             // 3 is unknown
}

// ---------------------------------------------------------------------------------------------------------------------
// Contexts of two names.

template <class Codec>
class two_names_ctx : public testing::Test
{
};

using two_names_types = testing::Types<ip_rib_srv6_dt_named_ctx, ip_rib_srv6_udt_named_ctx>;
TYPED_TEST_SUITE(two_names_ctx, two_names_types, codec_names);

TYPED_TEST(two_names_ctx, survives_decoding_encoding_and_copying)
{
    const bytes encoding = {
        0x0A, 0x01, 'a',      // 1 name_1
        0x12, 0x02, 'b', 'c', // 2 name_2
    };
    typename TypeParam::record msg;
    std::memset(&msg, 0xFF, sizeof msg);
    memory mem;

    ASSERT_EQ(decode<TypeParam>(msg, encoding, mem), ZIDL_OK);
    EXPECT_STREQ(msg.name_1, "a");
    EXPECT_STREQ(msg.name_2, "bc");
    EXPECT_EQ(msg.presence, 0xFF); // both, and the spare bits 2 to 7
    EXPECT_EQ(encode<TypeParam>(msg), encoding);

    typename TypeParam::record copy = {};
    ASSERT_EQ(duplicate<TypeParam>(copy, msg, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2, 3, 2, 3}));
    EXPECT_EQ(encode<TypeParam>(copy), encoding);
    EXPECT_EQ(copy.presence, 0x03);
}

TYPED_TEST(two_names_ctx, release_gives_back_both_names_in_order_whatever_the_flags)
{
    const bytes input = {
        0x12, 0x01, 'b', // 2 name_2: request 0
        0x0A, 0x01, 'a', // 1 name_1: request 1
    };
    for (uint32_t flags : {0u, static_cast<uint32_t>(ZIDL_ZERO_COPY)}) {
        typename TypeParam::record msg = {};
        memory mem;
        ASSERT_EQ(decode<TypeParam>(msg, input, mem, flags), ZIDL_OK);
        release<TypeParam>(msg, mem, flags);
        EXPECT_EQ(mem.releases, (sizes{1, 0}));
        EXPECT_EQ(msg.name_1, nullptr);
        EXPECT_EQ(msg.name_2, nullptr);
    }
}

TYPED_TEST(two_names_ctx, copy_that_cannot_hold_the_first_name_holds_the_second)
{
    char first[] = "a";
    char second[] = "bc";
    typename TypeParam::record src = {};
    src.name_1 = first;
    src.name_2 = second;
    src.presence = 0x03;
    typename TypeParam::record dst = {};
    memory mem(0);

    EXPECT_EQ(duplicate<TypeParam>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.name_1, nullptr);
    EXPECT_STREQ(dst.name_2, "bc");
    EXPECT_EQ(dst.presence, 0x02);
}

// ---------------------------------------------------------------------------------------------------------------------
// The three contexts with a prefix.

const bytes x_encoding = {
    0x08, 0x01,       // 1 flag_1 = true
    0x10, 0x02,       // 2 value_2 = 2
    0x18, 0x03,       // 3 value_3 = 3
    0x22, 0x05,       // 4 context_prefix
    0x0A, 0x01, 0xFC, //     1 prefix: request 0
    0x10, 0x40,       //     2 prefix_len = 64
    0x2A, 0x01, 'a',  // 5 name_5: request 1
    0x32, 0x01, 'b',  // 6 name_6: request 2
};

TEST(ip_rib_srv6_x_ctx, reads_every_field)
{
    zidl_ip_rib_srv6_x_ctx msg;
    std::memset(&msg, 0xFF, sizeof msg);
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_x_ctx>(msg, x_encoding, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{1, 2, 2}));
    EXPECT_EQ(msg.flag_1, 1);
    EXPECT_EQ(msg.value_2, 2u);
    EXPECT_EQ(msg.value_3, 3u);
    EXPECT_EQ(msg.context_prefix.prefix[0], 0xFC);
    EXPECT_EQ(msg.context_prefix.prefix_len, 64u);
    EXPECT_STREQ(msg.name_5, "a");
    EXPECT_STREQ(msg.name_6, "b");
    EXPECT_EQ(msg.presence, 0xFF); // all six, and the spare bits 6 and 7
    EXPECT_EQ(encode<ip_rib_srv6_x_ctx>(msg), x_encoding);
}

TEST(ip_rib_srv6_x_ctx, flag_of_7_is_read_as_1_and_written_as_1)
{
    const bytes input = {
        0x08, 0x07, // 1 flag_1 = 7
    };
    zidl_ip_rib_srv6_x_ctx msg = {};

    ASSERT_EQ(decode_without_memory<ip_rib_srv6_x_ctx>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.flag_1, 1);
    EXPECT_EQ(encode<ip_rib_srv6_x_ctx>(msg), (bytes{0x08, 0x01})); // 1 flag_1 = true
}

TEST(ip_rib_srv6_x_ctx, prefix_is_written_for_its_bit_or_its_content)
{
    zidl_ip_rib_srv6_x_ctx present = {};
    present.presence = 0x08;                                            // context_prefix
    EXPECT_EQ(encode<ip_rib_srv6_x_ctx>(present), (bytes{0x22, 0x00})); // 4 context_prefix, empty

    zidl_ip_rib_srv6_x_ctx filled = {};
    filled.context_prefix.presence = 0x02; // prefix_len
    const bytes expected = {
        0x22, 0x02, // 4 context_prefix
        0x10, 0x00, //     2 prefix_len = 0
    };
    EXPECT_EQ(encode<ip_rib_srv6_x_ctx>(filled), expected);
}

TEST(ip_rib_srv6_x_ctx, zero_copy_release_gives_back_names_and_keeps_the_address)
{
    zidl_ip_rib_srv6_x_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_x_ctx>(msg, x_encoding, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    ASSERT_EQ(mem.requests, (sizes{2, 2}));
    EXPECT_EQ(msg.context_prefix.prefix, x_encoding.data() + 10);

    release<ip_rib_srv6_x_ctx>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
    EXPECT_EQ(msg.context_prefix.prefix, x_encoding.data() + 10);
}

TEST(ip_rib_srv6_x_ctx, release_goes_in_declaration_order)
{
    zidl_ip_rib_srv6_x_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_x_ctx>(msg, x_encoding, mem), ZIDL_OK);

    release<ip_rib_srv6_x_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1, 2})); // the prefix's address, name_5, name_6
}

TEST(ip_rib_srv6_x_ctx, duplicate_clears_exactly_the_member_that_it_cannot_copy)
{
    zidl_ip_rib_srv6_x_ctx src = {};
    memory input_memory;
    ASSERT_EQ(decode<ip_rib_srv6_x_ctx>(src, x_encoding, input_memory), ZIDL_OK);
    // What the copy encodes to when the request of that number is refused.
    const bytes without[] = {
        {
            // 0: the prefix's address
            0x08, 0x01,      // 1 flag_1 = true
            0x10, 0x02,      // 2 value_2 = 2
            0x18, 0x03,      // 3 value_3 = 3
            0x22, 0x02,      // 4 context_prefix
            0x10, 0x40,      //     2 prefix_len = 64
            0x2A, 0x01, 'a', // 5 name_5
            0x32, 0x01, 'b', // 6 name_6
        },
        {
            // 1: name_5
            0x08, 0x01,       // 1 flag_1 = true
            0x10, 0x02,       // 2 value_2 = 2
            0x18, 0x03,       // 3 value_3 = 3
            0x22, 0x05,       // 4 context_prefix
            0x0A, 0x01, 0xFC, //     1 prefix
            0x10, 0x40,       //     2 prefix_len = 64
            0x32, 0x01, 'b',  // 6 name_6
        },
        {
            // 2: name_6
            0x08, 0x01,       // 1 flag_1 = true
            0x10, 0x02,       // 2 value_2 = 2
            0x18, 0x03,       // 3 value_3 = 3
            0x22, 0x05,       // 4 context_prefix
            0x0A, 0x01, 0xFC, //     1 prefix
            0x10, 0x40,       //     2 prefix_len = 64
            0x2A, 0x01, 'a',  // 5 name_5
        },
    };
    for (size_t refused = 0; refused < std::size(without); refused++) {
        SCOPED_TRACE(refused);
        zidl_ip_rib_srv6_x_ctx dst = {};
        memory mem(refused);
        EXPECT_EQ(duplicate<ip_rib_srv6_x_ctx>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
        EXPECT_EQ(mem.requests, (sizes{1, 2, 2}));
        EXPECT_EQ(encode<ip_rib_srv6_x_ctx>(dst), without[refused]);
    }
}

TEST(ip_rib_srv6_x_ctx, failing_prefix_is_returned_unchanged)
{
    const struct {
        const char *what;
        bytes input;
        int32_t status;
    } cases[] = {
        {"4 context_prefix: 2 prefix_len is cut", {0x22, 0x01, 0x10}, ZIDL_ERR_MALFORMED},
        {"4 context_prefix: 3 with wire type 4", {0x22, 0x01, 0x1C}, ZIDL_ERR_WIRE_TYPE},
        {"4 context_prefix: 1 as a varint", {0x22, 0x02, 0x08, 0x00}, ZIDL_ERR_FIELD_TYPE},
        {"4 context_prefix: 1 without memory", {0x22, 0x02, 0x0A, 0x00}, ZIDL_ERR_NO_MEMORY},
    };
    for (const auto &item : cases) {
        SCOPED_TRACE(item.what);
        zidl_ip_rib_srv6_x_ctx msg = {};
        EXPECT_EQ(decode_without_memory<ip_rib_srv6_x_ctx>(msg, item.input), item.status);
        EXPECT_EQ(msg.presence, 0);
    }
}

TEST(ip_rib_srv6_x_ctx, zero_copy_lists_the_segments_of_the_prefix_first)
{
    zidl_ip_rib_srv6_x_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_x_ctx>(msg, x_encoding, mem, ZIDL_ZERO_COPY), ZIDL_OK);

    const listing out = list_segments<ip_rib_srv6_x_ctx>(msg, 18, 5, ZIDL_ZERO_COPY);
    const bytes expected = {
        0x08, 0x01,      // 1 flag_1 = true
        0x10, 0x02,      // 2 value_2 = 2
        0x18, 0x03,      // 3 value_3 = 3
        0x22, 0x04,      // 4 context_prefix, four bytes here
        0x0A, 0x01,      //     1 prefix, one byte elsewhere
        0x10, 0x40,      //     2 prefix_len = 64
        0x2A, 0x01, 'a', // 5 name_5
        0x32, 0x01, 'b', // 6 name_6
    };
    EXPECT_EQ(out.buf, expected);
    EXPECT_EQ(out.result, 18u);
    EXPECT_EQ(out.count, 4u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data() + 8, 2}));     // the prefix up to its address's length
    EXPECT_EQ(out.segs[1], (zidl_segment{x_encoding.data() + 10, 1})); // its address
    EXPECT_EQ(out.segs[2], (zidl_segment{out.buf.data() + 10, 2}));    // its prefix_len
    EXPECT_EQ(out.segs[3], (zidl_segment{out.buf.data(), 18}));        // the context
    EXPECT_EQ(out.segs[4].len, listing::untouched_len);
}

TEST(ip_rib_srv6_ua_ctx, survives_decoding_encoding_and_copying)
{
    const bytes encoding = {
        0x08, 0x01,       // 1 flag_1 = true
        0x10, 0x02,       // 2 value_2 = 2
        0x18, 0x03,       // 3 value_3 = 3
        0x22, 0x03,       // 4 context_prefix
        0x0A, 0x01, 0xFC, //     1 prefix
        0x28, 0x05,       // 5 value_5 = 5
        0x32, 0x01, 'a',  // 6 name_6
        0x3A, 0x01, 'b',  // 7 name_7
    };
    zidl_ip_rib_srv6_ua_ctx msg;
    std::memset(&msg, 0xFF, sizeof msg);
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_ua_ctx>(msg, encoding, mem), ZIDL_OK);
    EXPECT_EQ(msg.flag_1, 1);
    EXPECT_EQ(msg.value_2, 2u);
    EXPECT_EQ(msg.value_3, 3u);
    EXPECT_EQ(msg.context_prefix.prefix[0], 0xFC);
    EXPECT_EQ(msg.value_5, 5u);
    EXPECT_STREQ(msg.name_6, "a");
    EXPECT_STREQ(msg.name_7, "b");
    EXPECT_EQ(msg.presence, 0xFF); // all seven, and the spare bit 7
    EXPECT_EQ(encode<ip_rib_srv6_ua_ctx>(msg), encoding);

    zidl_ip_rib_srv6_ua_ctx copy = {};
    ASSERT_EQ(duplicate<ip_rib_srv6_ua_ctx>(copy, msg, mem), ZIDL_OK);
    EXPECT_EQ(encode<ip_rib_srv6_ua_ctx>(copy), encoding);
    EXPECT_EQ(copy.presence, 0x7F);

    release<ip_rib_srv6_ua_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1, 2})); // the prefix's address, name_6, name_7
}

TEST(ip_rib_srv6_ua_ctx, field_5_as_a_name_is_refused)
{
    const bytes input = {
        0x2A, 0x01, 'a', // 5 as bytes: a name in an adjacency without the value
    };
    zidl_ip_rib_srv6_ua_ctx msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_ua_ctx>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
}

TEST(ip_rib_srv6_ub6_ctx, survives_decoding_encoding_and_copying)
{
    const bytes encoding = {
        0x0A, 0x01, 'a',  // 1 name_1
        0x10, 0x02,       // 2 value_2 = 2
        0x18, 0x03,       // 3 value_3 = 3
        0x20, 0x04,       // 4 value_4 = 4
        0x2A, 0x03,       // 5 context_prefix
        0x0A, 0x01, 0xFC, //     1 prefix
        0x32, 0x01, 'b',  // 6 name_6
    };
    zidl_ip_rib_srv6_ub6_ctx msg;
    std::memset(&msg, 0xFF, sizeof msg);
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_ub6_ctx>(msg, encoding, mem), ZIDL_OK);
    EXPECT_STREQ(msg.name_1, "a");
    EXPECT_EQ(msg.value_2, 2u);
    EXPECT_EQ(msg.value_3, 3u);
    EXPECT_EQ(msg.value_4, 4u);
    EXPECT_EQ(msg.context_prefix.prefix[0], 0xFC);
    EXPECT_STREQ(msg.name_6, "b");
    EXPECT_EQ(msg.presence, 0xFF); // all six, and the spare bits 6 and 7
    EXPECT_EQ(encode<ip_rib_srv6_ub6_ctx>(msg), encoding);

    zidl_ip_rib_srv6_ub6_ctx copy = {};
    ASSERT_EQ(duplicate<ip_rib_srv6_ub6_ctx>(copy, msg, mem), ZIDL_OK);
    EXPECT_EQ(encode<ip_rib_srv6_ub6_ctx>(copy), encoding);
    EXPECT_EQ(copy.presence, 0x3F);

    release<ip_rib_srv6_ub6_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1, 2})); // name_1, the prefix's address, name_6
}

// ---------------------------------------------------------------------------------------------------------------------
// ip_rib_srv6_sid_ctx, encoding.

TEST(ip_rib_srv6_sid_ctx, un_context_alone_is_four_bytes)
{
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.un_ctx.value_1 = 5;
    msg.un_ctx.presence = 0x01;
    msg.presence = 1u << 7;

    const bytes expected = {
        0x52, 0x02, // 10 un_ctx
        0x08, 0x05, //     1 value_1 = 5
    };
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), expected);
}

TEST(ip_rib_srv6_sid_ctx, empty_context_is_written_for_its_bit_only)
{
    zidl_ip_rib_srv6_sid_ctx msg = {};
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), bytes());

    msg.presence = 1u << 13;                                                // dt2m_ctx
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), (bytes{0x82, 0x01, 0x00})); // 16 dt2m_ctx, empty
}

TEST(ip_rib_srv6_sid_ctx, each_context_has_its_own_tag_and_bit)
{
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.presence = 0x7FFFC; // all seventeen contexts, all empty

    const bytes expected = {
        0x1A, 0x00,       // 3 e_ctx
        0x22, 0x00,       // 4 x_ctx
        0x2A, 0x00,       // 5 dx_ctx
        0x32, 0x00,       // 6 dt_ctx
        0x3A, 0x00,       // 7 dx2_ctx
        0x52, 0x00,       // 10 un_ctx
        0x5A, 0x00,       // 11 ua_ctx
        0x62, 0x00,       // 12 udt_ctx
        0x6A, 0x00,       // 13 ub6_ctx
        0x72, 0x00,       // 14 udx2_ctx
        0x7A, 0x00,       // 15 dt2u_ctx
        0x82, 0x01, 0x00, // 16 dt2m_ctx
        0x8A, 0x01, 0x00, // 17 udt2u_ctx
        0x92, 0x01, 0x00, // 18 udt2m_ctx
        0x9A, 0x01, 0x00, // 19 udx_ctx
        0xA2, 0x01, 0x00, // 20 udt_named_ctx
        0xAA, 0x01, 0x00, // 21 dt_named_ctx
    };
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), expected);

    zidl_ip_rib_srv6_sid_ctx back = {};
    ASSERT_EQ(decode_without_memory<ip_rib_srv6_sid_ctx>(back, expected), ZIDL_OK);
    EXPECT_EQ(back.presence, 0x7FFFCu);
}

TEST(ip_rib_srv6_sid_ctx, each_context_is_written_for_its_content_in_its_own_member)
{
    const struct {
        const char *what;
        void (*fill)(zidl_ip_rib_srv6_sid_ctx &);
        bytes encoding;
    } cases[] = {
        {"3 e_ctx", [](auto &msg) { msg.e_ctx.presence = 0x01; }, {0x1A, 0x02, 0x08, 0x00}},
        {"4 x_ctx", [](auto &msg) { msg.x_ctx.presence = 0x01; }, {0x22, 0x02, 0x08, 0x00}},
        {"5 dx_ctx", [](auto &msg) { msg.dx_ctx.presence = 0x01; }, {0x2A, 0x02, 0x08, 0x00}},
        {"6 dt_ctx", [](auto &msg) { msg.dt_ctx.presence = 0x01; }, {0x32, 0x02, 0x08, 0x00}},
        {"7 dx2_ctx", [](auto &msg) { msg.dx2_ctx.presence = 0x01; }, {0x3A, 0x02, 0x08, 0x00}},
        {"10 un_ctx", [](auto &msg) { msg.un_ctx.presence = 0x01; }, {0x52, 0x02, 0x08, 0x00}},
        {"11 ua_ctx", [](auto &msg) { msg.ua_ctx.presence = 0x01; }, {0x5A, 0x02, 0x08, 0x00}},
        {"12 udt_ctx", [](auto &msg) { msg.udt_ctx.presence = 0x01; }, {0x62, 0x02, 0x08, 0x00}},
        {"13 ub6_ctx", [](auto &msg) { msg.ub6_ctx.presence = 0x02; }, {0x6A, 0x02, 0x10, 0x00}},
        {"14 udx2_ctx", [](auto &msg) { msg.udx2_ctx.presence = 0x01; }, {0x72, 0x02, 0x08, 0x00}},
        {"15 dt2u_ctx", [](auto &msg) { msg.dt2u_ctx.presence = 0x01; }, {0x7A, 0x02, 0x08, 0x00}},
        {"16 dt2m_ctx", [](auto &msg) { msg.dt2m_ctx.presence = 0x01; }, {0x82, 0x01, 0x02, 0x08, 0x00}},
        {"17 udt2u_ctx", [](auto &msg) { msg.udt2u_ctx.presence = 0x01; }, {0x8A, 0x01, 0x02, 0x08, 0x00}},
        {"18 udt2m_ctx", [](auto &msg) { msg.udt2m_ctx.presence = 0x01; }, {0x92, 0x01, 0x02, 0x08, 0x00}},
        {"19 udx_ctx", [](auto &msg) { msg.udx_ctx.presence = 0x01; }, {0x9A, 0x01, 0x02, 0x08, 0x00}},
        {"20 udt_named_ctx",
         [](auto &msg) {
             static char name[] = "u";
             msg.udt_named_ctx.name_1 = name;
             msg.udt_named_ctx.presence = 0x01;
         },
         {0xA2, 0x01, 0x03, 0x0A, 0x01, 'u'}},
        {"21 dt_named_ctx",
         [](auto &msg) {
             static char name[] = "d";
             msg.dt_named_ctx.name_1 = name;
             msg.dt_named_ctx.presence = 0x01;
         },
         {0xAA, 0x01, 0x03, 0x0A, 0x01, 'd'}},
    };
    for (const auto &item : cases) {
        SCOPED_TRACE(item.what);
        zidl_ip_rib_srv6_sid_ctx msg = {};
        item.fill(msg);
        EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), item.encoding);
    }
}

TEST(ip_rib_srv6_sid_ctx, small_numbers_of_128_and_above_take_two_bytes)
{
    uint8_t values[] = {1, 200};
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.values_2 = values;
    msg.values_2_count = 2;
    msg.presence = 0x02;

    const bytes expected = {
        0x10, 0x01,       // 2 values_2[0] = 1
        0x10, 0xC8, 0x01, // 2 values_2[1] = 200
    };
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), expected);
}

TEST(ip_rib_srv6_sid_ctx, small_numbers_at_the_edges_take_as_many_bytes_as_they_need)
{
    uint8_t values[] = {0, 127, 128, 255};
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.value_1 = 300;
    msg.values_2 = values;
    msg.values_2_count = 4;
    msg.presence = 0x03;

    const bytes expected = {
        0x08, 0xAC, 0x02, // 1 value_1 = 300
        0x10, 0x00,       // 2 values_2[0] = 0
        0x10, 0x7F,       // 2 values_2[1] = 127
        0x10, 0x80, 0x01, // 2 values_2[2] = 128
        0x10, 0xFF, 0x01, // 2 values_2[3] = 255
    };
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), expected);
}

TEST(ip_rib_srv6_sid_ctx, writes_no_small_number_without_the_bit_or_without_a_count)
{
    uint8_t values[] = {1};
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.values_2 = values;
    msg.presence = 0x02; // values_2, none of them
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), bytes());

    msg.values_2_count = 1;
    msg.presence = 0x00;
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), bytes());
}

TEST(ip_rib_srv6_sid_ctx, contexts_list_their_segments_before_the_context_that_holds_them)
{
    zidl_ip_rib_srv6_sid_ctx msg = {};
    msg.value_1 = 1;
    msg.e_ctx.presence = 0x01;
    msg.udx_ctx.presence = 0x02;
    msg.presence = 1u << 0 | 1u << 3; // value_1, x_ctx without content

    const listing out = list_segments<ip_rib_srv6_sid_ctx>(msg, 13, 4, 0);
    const bytes expected = {
        0x08, 0x01,       // 1 value_1 = 1
        0x1A, 0x02,       // 3 e_ctx
        0x08, 0x00,       //     1 value_1 = 0
        0x22, 0x00,       // 4 x_ctx, empty
        0x9A, 0x01, 0x02, // 19 udx_ctx
        0x10, 0x00,       //     2 value_2 = 0
    };
    EXPECT_EQ(out.buf, expected);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data() + 4, 2}));  // e_ctx; x_ctx is empty and has no entry
    EXPECT_EQ(out.segs[1], (zidl_segment{out.buf.data() + 11, 2})); // udx_ctx
    EXPECT_EQ(out.segs[2], (zidl_segment{out.buf.data(), 13}));     // the SID context
    EXPECT_EQ(out.segs[3].len, listing::untouched_len);
}

// ip_rib_srv6_sid_ctx, decoding.

TEST(ip_rib_srv6_sid_ctx, small_numbers_become_an_array_of_bytes)
{
    const bytes input = {
        0x10, 0x01,       // 2 values_2[0] = 1
        0x10, 0xC8, 0x01, // 2 values_2[1] = 200
        0x10, 0xFF, 0x01, // 2 values_2[2] = 255
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{3}));
    EXPECT_EQ(msg.values_2_count, 3u);
    EXPECT_EQ(bytes(msg.values_2, msg.values_2 + 3), (bytes{1, 200, 255}));
    EXPECT_EQ(msg.presence, 0x02u);
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), input);
}

TEST(ip_rib_srv6_sid_ctx, small_number_keeps_the_low_8_bits)
{
    const bytes input = {
        0x10, 0xAC, 0x02,                                           // 2 values_2[0] = 300
        0x10, 0x85, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, // 2 values_2[1]: low bits 5, twelve bytes
        0xFF, 0xFF, 0x00,                                           //
        0x10, 0x07,                                                 // 2 values_2[2] = 7
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_OK);
    ASSERT_EQ(msg.values_2_count, 3u);
    EXPECT_EQ(msg.values_2[0], 44);
    EXPECT_EQ(msg.values_2[1], 5);
    EXPECT_EQ(msg.values_2[2], 7);
}

TEST(ip_rib_srv6_sid_ctx, packed_small_numbers_are_refused)
{
    const bytes input = {
        0x12, 0x02, 0x01, 0x02, // 2 values_2, packed
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(mem.requests, sizes());
}

TEST(ip_rib_srv6_sid_ctx, wire_type_of_later_small_numbers_is_not_looked_at)
{
    const bytes input = {
        0x10, 0x01, // 2 values_2[0] = 1
        0x12, 0x02, // 2 as bytes: read as values_2[1] = 2
        0x15, 0x03, // 2 as four bytes: read as values_2[2] = 3
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_OK);
    ASSERT_EQ(msg.values_2_count, 3u);
    EXPECT_EQ(bytes(msg.values_2, msg.values_2 + 3), (bytes{1, 2, 3}));
}

TEST(ip_rib_srv6_sid_ctx, second_run_of_small_numbers_is_malformed)
{
    const bytes input = {
        0x10, 0x01, // 2 values_2[0] = 1
        0x08, 0x00, // 1 value_1 = 0
        0x10, 0x02, // 2 values_2, again
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.values_2_count, 1u);
    EXPECT_EQ(msg.presence, 0x03u);
}

TEST(ip_rib_srv6_sid_ctx, small_numbers_need_an_allocation_function_that_grants_them)
{
    const bytes input = {
        0x10, 0x01, // 2 values_2[0] = 1
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem(0);

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_sid_ctx>(msg, input), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{1}));
    EXPECT_EQ(msg.values_2, nullptr);
    EXPECT_EQ(msg.presence, 0x00u);
}

TEST(ip_rib_srv6_sid_ctx, tag_cut_off_behind_the_small_numbers_is_malformed_and_asks_for_no_memory)
{
    const bytes input = {
        0x10, 0x01, // 2 values_2[0] = 1
        0x82,       // a tag whose second byte is missing
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes());
}

TEST(ip_rib_srv6_sid_ctx, fields_8_and_9_and_those_above_21_are_skipped_with_any_usable_wire_type)
{
    const bytes input = {
        0x40, 0x07,                         // 8 as a varint
        0x41, 1,    2,    3, 4, 5, 6, 7, 8, // 8 as eight bytes
        0x42, 0x02, 1,    2,                // 8 as bytes
        0x45, 1,    2,    3, 4,             // 8 as four bytes
        0x48, 0x07,                         // 9 as a varint
        0x49, 1,    2,    3, 4, 5, 6, 7, 8, // 9 as eight bytes
        0x4A, 0x02, 1,    2,                // 9 as bytes
        0x4D, 1,    2,    3, 4,             // 9 as four bytes
        0xB2, 0x01, 0x01, 1,                // 22 as bytes
        0x08, 0x05,                         // 1 value_1 = 5
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_sid_ctx>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.value_1, 5u);
    EXPECT_EQ(msg.presence, 0x01u);
}

TEST(ip_rib_srv6_sid_ctx, field_8_as_a_group_is_refused)
{
    const bytes input = {
        0x43, // 8, wire type 3
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_sid_ctx>(msg, input), ZIDL_ERR_WIRE_TYPE);
}

TEST(ip_rib_srv6_sid_ctx, contexts_as_varints_are_refused)
{
    const bytes inputs[] = {
        {0x18, 0x00},       // 3
        {0x20, 0x00},       // 4
        {0x28, 0x00},       // 5
        {0x30, 0x00},       // 6
        {0x38, 0x00},       // 7
        {0x50, 0x00},       // 10
        {0x58, 0x00},       // 11
        {0x60, 0x00},       // 12
        {0x68, 0x00},       // 13
        {0x70, 0x00},       // 14
        {0x78, 0x00},       // 15
        {0x80, 0x01, 0x00}, // 16
        {0x88, 0x01, 0x00}, // 17
        {0x90, 0x01, 0x00}, // 18
        {0x98, 0x01, 0x00}, // 19
        {0xA0, 0x01, 0x00}, // 20
        {0xA8, 0x01, 0x00}, // 21
    };
    for (const bytes &input : inputs) {
        zidl_ip_rib_srv6_sid_ctx msg = {};
        EXPECT_EQ(decode_without_memory<ip_rib_srv6_sid_ctx>(msg, input), ZIDL_ERR_FIELD_TYPE)
            << "tag " << int{input[0]};
    }
}

TEST(ip_rib_srv6_sid_ctx, second_occurrence_of_a_context_replaces_the_first_and_leaves_its_name_unreleased)
{
    const bytes input = {
        0x1A, 0x05,      // 3 e_ctx
        0x10, 0x02,      //     2 value_2 = 2
        0x1A, 0x01, 'a', //     3 name_3: request 0
        0x1A, 0x05,      // 3 e_ctx, again
        0x08, 0x03,      //     1 value_1 = 3
        0x1A, 0x01, 'b', //     3 name_3: request 1
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.e_ctx.value_1, 3u);
    EXPECT_EQ(msg.e_ctx.value_2, 0u);
    EXPECT_STREQ(msg.e_ctx.name_3, "b");
    EXPECT_EQ(msg.e_ctx.presence, 0x05);
    EXPECT_EQ(mem.requests, (sizes{2, 2}));
    EXPECT_EQ(mem.releases, sizes());

    release<ip_rib_srv6_sid_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{1}));
}

TEST(ip_rib_srv6_sid_ctx, two_contexts_survive_encoding_decoding_and_copying)
{
    const bytes encoding = {
        0x1A, 0x05,      // 3 e_ctx
        0x08, 0x01,      //     1 value_1 = 1
        0x1A, 0x01, 'a', //     3 name_3
        0x5A, 0x06,      // 11 ua_ctx
        0x28, 0x05,      //     5 value_5 = 5
        0x3A, 0x02, 'b', //     7 name_7
        'c',             //
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, encoding, mem), ZIDL_OK);
    EXPECT_STREQ(msg.e_ctx.name_3, "a");
    EXPECT_EQ(msg.ua_ctx.value_5, 5u);
    EXPECT_STREQ(msg.ua_ctx.name_7, "bc");
    EXPECT_EQ(msg.presence, 1u << 2 | 1u << 8);
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(msg), encoding);

    zidl_ip_rib_srv6_sid_ctx copy = {};
    ASSERT_EQ(duplicate<ip_rib_srv6_sid_ctx>(copy, msg, mem), ZIDL_OK);
    release<ip_rib_srv6_sid_ctx>(msg, mem);
    EXPECT_EQ(encode<ip_rib_srv6_sid_ctx>(copy), encoding);
    EXPECT_EQ(copy.presence, 1u << 2 | 1u << 8);
}

TEST(ip_rib_srv6_sid_ctx, failure_inside_a_context_keeps_what_was_read_before)
{
    const bytes input = {
        0x1A, 0x03,      // 3 e_ctx
        0x1A, 0x01, 'a', //     3 name_3
        0x6A, 0x06,      // 13 ub6_ctx
        0x0A, 0x01, 'b', //     1 name_1
        0x0A, 0x01, 'b', //     1 name_1, again
        0x08, 0x05,      // 1 value_1 = 5: never reached
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.presence, 1u << 2);
    EXPECT_STREQ(msg.ub6_ctx.name_1, "b");
    release<ip_rib_srv6_sid_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
}

// What the reset leaves of a SID context that held ones throughout: the spare bits, and nothing else.
void expect_reset(const zidl_ip_rib_srv6_sid_ctx &msg)
{
    EXPECT_EQ(msg.presence, 0xFFF80000u); // bits 19 to 31
    EXPECT_EQ(msg.value_1, 0u);
    EXPECT_EQ(msg.values_2, nullptr);
    EXPECT_EQ(msg.values_2_count, 0u);

    const auto expect_numbers_and_name = [](const auto &ctx) {
        EXPECT_EQ(ctx.value_1, 0u);
        EXPECT_EQ(ctx.value_2, 0u);
        EXPECT_EQ(ctx.name_3, nullptr);
        EXPECT_EQ(ctx.presence, 0xF8);
    };
    expect_numbers_and_name(msg.e_ctx);
    expect_numbers_and_name(msg.dx_ctx);
    expect_numbers_and_name(msg.dx2_ctx);
    expect_numbers_and_name(msg.un_ctx);
    expect_numbers_and_name(msg.udx2_ctx);
    expect_numbers_and_name(msg.dt2u_ctx);
    expect_numbers_and_name(msg.dt2m_ctx);
    expect_numbers_and_name(msg.udt2u_ctx);
    expect_numbers_and_name(msg.udt2m_ctx);
    expect_numbers_and_name(msg.udx_ctx);

    const auto expect_number_and_name = [](const auto &ctx) {
        EXPECT_EQ(ctx.value_1, 0u);
        EXPECT_EQ(ctx.name_2, nullptr);
        EXPECT_EQ(ctx.presence, 0xFC);
    };
    expect_number_and_name(msg.dt_ctx);
    expect_number_and_name(msg.udt_ctx);

    const auto expect_two_names = [](const auto &ctx) {
        EXPECT_EQ(ctx.name_1, nullptr);
        EXPECT_EQ(ctx.name_2, nullptr);
        EXPECT_EQ(ctx.presence, 0xFC);
    };
    expect_two_names(msg.dt_named_ctx);
    expect_two_names(msg.udt_named_ctx);

    const auto expect_prefix = [](const auto &prefix) {
        EXPECT_EQ(prefix.prefix, nullptr);
        EXPECT_EQ(prefix.prefix_size, 0u);
        EXPECT_EQ(prefix.prefix_len, 0u);
        EXPECT_EQ(prefix.presence, 0xFC);
    };
    EXPECT_EQ(msg.x_ctx.flag_1, 0);
    EXPECT_EQ(msg.x_ctx.value_2, 0u);
    EXPECT_EQ(msg.x_ctx.value_3, 0u);
    expect_prefix(msg.x_ctx.context_prefix);
    EXPECT_EQ(msg.x_ctx.name_5, nullptr);
    EXPECT_EQ(msg.x_ctx.name_6, nullptr);
    EXPECT_EQ(msg.x_ctx.presence, 0xC0);

    EXPECT_EQ(msg.ua_ctx.flag_1, 0);
    EXPECT_EQ(msg.ua_ctx.value_2, 0u);
    EXPECT_EQ(msg.ua_ctx.value_3, 0u);
    expect_prefix(msg.ua_ctx.context_prefix);
    EXPECT_EQ(msg.ua_ctx.value_5, 0u);
    EXPECT_EQ(msg.ua_ctx.name_6, nullptr);
    EXPECT_EQ(msg.ua_ctx.name_7, nullptr);
    EXPECT_EQ(msg.ua_ctx.presence, 0x80);

    EXPECT_EQ(msg.ub6_ctx.name_1, nullptr);
    EXPECT_EQ(msg.ub6_ctx.value_2, 0u);
    EXPECT_EQ(msg.ub6_ctx.value_3, 0u);
    EXPECT_EQ(msg.ub6_ctx.value_4, 0u);
    expect_prefix(msg.ub6_ctx.context_prefix);
    EXPECT_EQ(msg.ub6_ctx.name_6, nullptr);
    EXPECT_EQ(msg.ub6_ctx.presence, 0xC0);
}

TEST(ip_rib_srv6_sid_ctx, empty_input_clears_every_context_and_keeps_spare_bits)
{
    zidl_ip_rib_srv6_sid_ctx msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_sid_ctx>(msg, {}), ZIDL_OK);
    expect_reset(msg);
}

TEST(ip_rib_srv6_sid_ctx, failing_input_clears_every_context_first)
{
    zidl_ip_rib_srv6_sid_ctx msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_sid_ctx>(msg, {0x80}), ZIDL_ERR_MALFORMED); // a cut tag
    expect_reset(msg);
}

TEST(ip_rib_srv6_sid_ctx, context_that_occurs_keeps_its_spare_bits)
{
    const bytes input = {
        0x1A, 0x00, // 3 e_ctx, empty
        0x22, 0x02, // 4 x_ctx
        0x22, 0x00, //     4 context_prefix, empty
    };
    zidl_ip_rib_srv6_sid_ctx msg;
    std::memset(&msg, 0xFF, sizeof msg);

    ASSERT_EQ(decode_without_memory<ip_rib_srv6_sid_ctx>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.e_ctx.presence, 0xF8);
    EXPECT_EQ(msg.x_ctx.presence, 0xC8);
    EXPECT_EQ(msg.x_ctx.context_prefix.presence, 0xFC);
    EXPECT_EQ(msg.presence, 0xFFF80000u | 1u << 2 | 1u << 3);
}

// ip_rib_srv6_sid_ctx, duplicate and release.

TEST(ip_rib_srv6_sid_ctx, duplicate_that_cannot_copy_the_small_numbers_copies_the_contexts)
{
    uint8_t values[] = {1, 200};
    char name[] = "a";
    zidl_ip_rib_srv6_sid_ctx src = {};
    src.value_1 = 5;
    src.values_2 = values;
    src.values_2_count = 2;
    src.dt_named_ctx.name_2 = name;
    src.dt_named_ctx.presence = 0x02;
    src.presence = 0x03 | 1u << 18;
    zidl_ip_rib_srv6_sid_ctx dst = {};
    memory mem(0);

    EXPECT_EQ(duplicate<ip_rib_srv6_sid_ctx>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{2, 2}));
    EXPECT_EQ(dst.value_1, 5u);
    EXPECT_EQ(dst.values_2, nullptr);
    EXPECT_EQ(dst.values_2_count, 0u);
    EXPECT_STREQ(dst.dt_named_ctx.name_2, "a");
    EXPECT_EQ(dst.presence, 0x01 | 1u << 18);

    zidl_ip_rib_srv6_sid_ctx unallocated = {};
    EXPECT_EQ(duplicate_without_memory<ip_rib_srv6_sid_ctx>(unallocated, src), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(unallocated.values_2, nullptr);
    EXPECT_EQ(unallocated.values_2_count, 0u);
    EXPECT_EQ(unallocated.dt_named_ctx.name_2, nullptr);
    EXPECT_EQ(unallocated.dt_named_ctx.presence, 0x00);
    EXPECT_EQ(unallocated.presence, 0x01 | 1u << 18);
}

TEST(ip_rib_srv6_sid_ctx, duplicate_that_cannot_copy_a_context_copies_the_others)
{
    char name[] = "a";
    zidl_ip_rib_srv6_sid_ctx src = {};
    src.e_ctx.name_3 = name;
    src.e_ctx.presence = 0x04;
    src.udx_ctx.name_3 = name;
    src.udx_ctx.presence = 0x04;
    src.presence = 1u << 2 | 1u << 16;
    zidl_ip_rib_srv6_sid_ctx dst = {};
    memory mem(0);

    EXPECT_EQ(duplicate<ip_rib_srv6_sid_ctx>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.e_ctx.name_3, nullptr);
    EXPECT_EQ(dst.e_ctx.presence, 0x00);
    EXPECT_STREQ(dst.udx_ctx.name_3, "a");
    EXPECT_EQ(dst.presence, 1u << 2 | 1u << 16);
}

TEST(ip_rib_srv6_sid_ctx, duplicate_of_no_small_numbers_is_null_with_their_bit)
{
    uint8_t values[] = {1};
    zidl_ip_rib_srv6_sid_ctx src = {};
    src.values_2 = values;
    src.presence = 0x02;
    zidl_ip_rib_srv6_sid_ctx dst;
    std::memset(&dst, 0xFF, sizeof dst);

    EXPECT_EQ(duplicate_without_memory<ip_rib_srv6_sid_ctx>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.values_2, nullptr);
    EXPECT_EQ(dst.values_2_count, 0u);
    EXPECT_EQ(dst.presence, 0xFFF80002u);
}

TEST(ip_rib_srv6_sid_ctx, duplicate_keeps_spare_bits_at_every_depth)
{
    const zidl_ip_rib_srv6_sid_ctx src = {};
    zidl_ip_rib_srv6_sid_ctx dst;
    std::memset(&dst, 0xFF, sizeof dst);

    EXPECT_EQ(duplicate_without_memory<ip_rib_srv6_sid_ctx>(dst, src), ZIDL_OK);
    expect_reset(dst);
}

TEST(ip_rib_srv6_sid_ctx, release_keeps_the_count_of_the_small_numbers)
{
    const bytes input = {
        0x10, 0x01, // 2 values_2[0] = 1
        0x10, 0x02, // 2 values_2[1] = 2
    };
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, input, mem), ZIDL_OK);

    release<ip_rib_srv6_sid_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0}));
    EXPECT_EQ(msg.values_2, nullptr);
    EXPECT_EQ(msg.values_2_count, 2u);
}

// The last field first: release has to find its own order. The comments count the requests for memory.
const bytes all_owners_backwards = {
    0xAA, 0x01, 0x03, // 21 dt_named_ctx
    0x0A, 0x01, 'd',  //     1 name_1: request 0
    0xA2, 0x01, 0x03, // 20 udt_named_ctx
    0x12, 0x01, 'u',  //     2 name_2: request 1
    0x6A, 0x0B,       // 13 ub6_ctx
    0x32, 0x01, 'z',  //     6 name_6: request 2
    0x2A, 0x03,       //     5 context_prefix
    0x0A, 0x01, 0xFC, //         1 prefix: request 3
    0x0A, 0x01, 'y',  //     1 name_1: request 4
    0x22, 0x0B,       // 4 x_ctx
    0x32, 0x01, 'b',  //     6 name_6: request 5
    0x2A, 0x01, 'a',  //     5 name_5: request 6
    0x22, 0x03,       //     4 context_prefix
    0x0A, 0x01, 0xFD, //         1 prefix: request 7
    0x1A, 0x03,       // 3 e_ctx
    0x1A, 0x01, 'e',  //     3 name_3: request 8
    0x10, 0x01,       // 2 values_2[0] = 1: request 9
};

TEST(ip_rib_srv6_sid_ctx, release_goes_in_declaration_order)
{
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, all_owners_backwards, mem), ZIDL_OK);

    release<ip_rib_srv6_sid_ctx>(msg, mem);
    const sizes expected = {
        9,       // values_2
        8,       // e_ctx.name_3
        7, 6, 5, // x_ctx: the prefix's address, name_5, name_6
        4, 3, 2, // ub6_ctx: name_1, the prefix's address, name_6
        1,       // udt_named_ctx.name_2
        0,       // dt_named_ctx.name_1
    };
    EXPECT_EQ(mem.releases, expected);
    release<ip_rib_srv6_sid_ctx>(msg, mem);
    EXPECT_EQ(mem.releases, expected);
}

TEST(ip_rib_srv6_sid_ctx, zero_copy_release_gives_back_all_but_addresses)
{
    zidl_ip_rib_srv6_sid_ctx msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_sid_ctx>(msg, all_owners_backwards, mem), ZIDL_OK);

    release<ip_rib_srv6_sid_ctx>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{9, 8, 6, 5, 4, 2, 1, 0})); // requests 7 and 3 are addresses
}

// ---------------------------------------------------------------------------------------------------------------------
// The updates that hold a SID context.

TEST(ip_rib_srv6_opcode_update, survives_decoding_and_encoding)
{
    const bytes encoding = {
        0x08, 0x01,       // 1 value_1 = 1
        0x10, 0x02,       // 2 value_2 = 2
        0x18, 0xAC, 0x02, // 3 value_3 = 300
        0x22, 0x04,       // 4 sid_ctx
        0x52, 0x02,       //     10 un_ctx
        0x08, 0x05,       //         1 value_1 = 5
        0x28, 0x01,       // 5 flag_5 = true
    };
    zidl_ip_rib_srv6_opcode_update msg = {};

    ASSERT_EQ(decode_without_memory<ip_rib_srv6_opcode_update>(msg, encoding), ZIDL_OK);
    EXPECT_EQ(msg.value_1, 1u);
    EXPECT_EQ(msg.value_2, 2u);
    EXPECT_EQ(msg.value_3, 300u);
    EXPECT_EQ(msg.sid_ctx.un_ctx.value_1, 5u);
    EXPECT_EQ(msg.flag_5, 1);
    EXPECT_EQ(msg.presence, 0x1F);
    EXPECT_EQ(encode<ip_rib_srv6_opcode_update>(msg), encoding);
}

TEST(ip_rib_srv6_opcode_update, empty_input_clears_its_sid_context_and_keeps_spare_bits)
{
    zidl_ip_rib_srv6_opcode_update msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_opcode_update>(msg, {}), ZIDL_OK);
    expect_reset(msg.sid_ctx);
    EXPECT_EQ(msg.value_1, 0u);
    EXPECT_EQ(msg.value_2, 0u);
    EXPECT_EQ(msg.value_3, 0u);
    EXPECT_EQ(msg.flag_5, 0);
    EXPECT_EQ(msg.presence, 0xE0);
}

TEST(ip_rib_srv6_opcode_update, release_forwards_to_its_sid_context)
{
    const bytes input = {
        0x22, 0x07,      // 4 sid_ctx
        0x10, 0x01,      //     2 values_2[0] = 1: request 0
        0x1A, 0x03,      //     3 e_ctx
        0x1A, 0x01, 'a', //         3 name_3: request 1
    };
    zidl_ip_rib_srv6_opcode_update msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_opcode_update>(msg, input, mem), ZIDL_OK);

    release<ip_rib_srv6_opcode_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1}));
}

TEST(ip_rib_srv6_static_endpoint_update, survives_decoding_and_encoding)
{
    const bytes encoding = {
        0x0A, 0x05,             // 1 sid
        0x0A, 0x01, 0xFC,       //     1 prefix
        0x10, 0x40,             //     2 prefix_len = 64
        0x12, 0x05,             // 2 sid_ctx
        0x10, 0x01,             //     2 values_2[0] = 1
        0x10, 0xC8, 0x01,       //     2 values_2[1] = 200
        0x18, 0x00,             // 3 flag_3 = false
        0x20, 0x80, 0x80, 0x40, // 4 value_4 = 2^20
    };
    zidl_ip_rib_srv6_static_endpoint_update msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_static_endpoint_update>(msg, encoding, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{1, 2}));
    EXPECT_EQ(msg.sid.prefix[0], 0xFC);
    EXPECT_EQ(msg.sid.prefix_len, 64u);
    EXPECT_EQ(msg.sid_ctx.values_2[1], 200);
    EXPECT_EQ(msg.flag_3, 0);
    EXPECT_EQ(msg.value_4, 1u << 20);
    EXPECT_EQ(msg.presence, 0x0F);
    EXPECT_EQ(encode<ip_rib_srv6_static_endpoint_update>(msg), encoding);

    release<ip_rib_srv6_static_endpoint_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 1})); // the address, then what the SID context owns
}

TEST(ip_rib_srv6_static_endpoint_update, zero_copy_release_keeps_the_address)
{
    const bytes input = {
        0x12, 0x02,       // 2 sid_ctx
        0x10, 0x01,       //     2 values_2[0] = 1: request 0
        0x0A, 0x03,       // 1 sid
        0x0A, 0x01, 0xFC, //     1 prefix: borrowed
    };
    zidl_ip_rib_srv6_static_endpoint_update msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_static_endpoint_update>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    ASSERT_EQ(mem.requests, (sizes{1}));
    EXPECT_EQ(msg.sid.prefix, input.data() + 8);

    release<ip_rib_srv6_static_endpoint_update>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0}));
    EXPECT_EQ(msg.sid.prefix, input.data() + 8);
}

TEST(ip_rib_srv6_static_endpoint_update, empty_input_clears_its_sid_context_and_keeps_spare_bits)
{
    zidl_ip_rib_srv6_static_endpoint_update msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_static_endpoint_update>(msg, {}), ZIDL_OK);
    expect_reset(msg.sid_ctx);
    EXPECT_EQ(msg.sid.prefix, nullptr);
    EXPECT_EQ(msg.sid.presence, 0xFC);
    EXPECT_EQ(msg.flag_3, 0);
    EXPECT_EQ(msg.value_4, 0u);
    EXPECT_EQ(msg.presence, 0xF0);
}

TEST(ip_rib_srv6_update, present_but_empty_opcode_update_is_a_tag_and_a_zero_length)
{
    zidl_ip_rib_srv6_update msg = {};
    msg.presence = 0x04; // opcode_update

    const bytes expected = {
        0x1A, 0x00, // 3 opcode_update, empty
    };
    EXPECT_EQ(encode<ip_rib_srv6_update>(msg), expected);
}

TEST(ip_rib_srv6_update, content_four_levels_down_is_written_without_any_bit_above_it)
{
    zidl_ip_rib_srv6_update msg = {};
    msg.static_endpoint_update.sid_ctx.ua_ctx.context_prefix.presence = 0x02; // prefix_len

    const bytes expected = {
        0x22, 0x08, // 4 static_endpoint_update
        0x12, 0x06, //     2 sid_ctx
        0x5A, 0x04, //         11 ua_ctx
        0x22, 0x02, //             4 context_prefix
        0x10, 0x00, //                 2 prefix_len = 0
    };
    EXPECT_EQ(encode<ip_rib_srv6_update>(msg), expected);
}

// All three updates, the last one first; the comments count the requests for memory.
const bytes whole_update_backwards = {
    0x22, 0x05,       // 4 static_endpoint_update
    0x0A, 0x03,       //     1 sid
    0x0A, 0x01, 0xFC, //         1 prefix: request 0
    0x1A, 0x07,       // 3 opcode_update
    0x22, 0x05,       //     4 sid_ctx
    0x1A, 0x03,       //         3 e_ctx
    0x1A, 0x01, 'a',  //             3 name_3: request 1
    0x12, 0x02,       // 2 cfg_update
    0x12, 0x00,       //     2 locators[0], empty: request 2
    0x08, 0x01,       // 1 value_1 = 1
};

TEST(ip_rib_srv6_update, reads_all_three_updates)
{
    zidl_ip_rib_srv6_update msg = {};
    memory mem;

    ASSERT_EQ(decode<ip_rib_srv6_update>(msg, whole_update_backwards, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{1, 2, sizeof(zidl_ip_rib_srv6_locator)}));
    EXPECT_EQ(msg.value_1, 1u);
    EXPECT_EQ(msg.cfg_update.locators_count, 1u);
    EXPECT_STREQ(msg.opcode_update.sid_ctx.e_ctx.name_3, "a");
    EXPECT_EQ(msg.static_endpoint_update.sid.prefix[0], 0xFC);
    EXPECT_EQ(msg.presence, 0x0F);

    const bytes in_order = {
        0x08, 0x01,       // 1 value_1 = 1
        0x12, 0x02,       // 2 cfg_update
        0x12, 0x00,       //     2 locators[0], empty
        0x1A, 0x07,       // 3 opcode_update
        0x22, 0x05,       //     4 sid_ctx
        0x1A, 0x03,       //         3 e_ctx
        0x1A, 0x01, 'a',  //             3 name_3
        0x22, 0x05,       // 4 static_endpoint_update
        0x0A, 0x03,       //     1 sid
        0x0A, 0x01, 0xFC, //         1 prefix
    };
    EXPECT_EQ(encode<ip_rib_srv6_update>(msg), in_order);
}

TEST(ip_rib_srv6_update, release_gives_back_configuration_then_opcode_then_static_endpoint)
{
    zidl_ip_rib_srv6_update msg = {};
    memory mem;
    ASSERT_EQ(decode<ip_rib_srv6_update>(msg, whole_update_backwards, mem), ZIDL_OK);

    release<ip_rib_srv6_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{2, 1, 0}));
    release<ip_rib_srv6_update>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{2, 1, 0}));
}

TEST(ip_rib_srv6_update, duplicate_goes_on_after_a_failure_in_each_update)
{
    zidl_ip_rib_srv6_update src = {};
    memory input_memory;
    ASSERT_EQ(decode<ip_rib_srv6_update>(src, whole_update_backwards, input_memory), ZIDL_OK);
    // In declaration order: the locators, the opcode update's name, the static endpoint's address.
    for (size_t refused = 0; refused < 3; refused++) {
        SCOPED_TRACE(refused);
        zidl_ip_rib_srv6_update dst = {};
        memory mem(refused);
        EXPECT_EQ(duplicate<ip_rib_srv6_update>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
        EXPECT_EQ(mem.requests, (sizes{sizeof(zidl_ip_rib_srv6_locator), 2, 1}));
        EXPECT_EQ(dst.cfg_update.locators == nullptr, refused == 0);
        EXPECT_EQ(dst.cfg_update.locators_count, refused == 0 ? 0u : 1u);
        EXPECT_EQ(dst.cfg_update.presence, refused == 0 ? 0x00 : 0x02);
        EXPECT_EQ(dst.opcode_update.sid_ctx.e_ctx.name_3 == nullptr, refused == 1);
        EXPECT_EQ(dst.opcode_update.sid_ctx.e_ctx.presence, refused == 1 ? 0x00 : 0x04);
        EXPECT_EQ(dst.static_endpoint_update.sid.prefix == nullptr, refused == 2);
        EXPECT_EQ(dst.static_endpoint_update.sid.prefix_size, refused == 2 ? 0u : 1u);
        EXPECT_EQ(dst.static_endpoint_update.sid.presence, refused == 2 ? 0x00 : 0x01);
        EXPECT_EQ(dst.value_1, 1u);
        EXPECT_EQ(dst.presence, 0x0F); // the updates themselves stay present
    }
}

TEST(ip_rib_srv6_update, empty_input_clears_both_sid_contexts_and_keeps_spare_bits)
{
    zidl_ip_rib_srv6_update msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<ip_rib_srv6_update>(msg, {}), ZIDL_OK);
    expect_reset(msg.opcode_update.sid_ctx);
    expect_reset(msg.static_endpoint_update.sid_ctx);
    EXPECT_EQ(msg.opcode_update.presence, 0xE0);
    EXPECT_EQ(msg.static_endpoint_update.presence, 0xF0);
    EXPECT_EQ(msg.static_endpoint_update.sid.presence, 0xFC);
    EXPECT_EQ(msg.cfg_update.presence, 0xFC);
    EXPECT_EQ(msg.cfg_update.locators, nullptr);
    EXPECT_EQ(msg.cfg_update.locators_count, 0u);
    EXPECT_EQ(msg.cfg_update.global_info.presence, 0xC0);
    EXPECT_EQ(msg.cfg_update.global_info.encap_info.presence, 0xFE00);
    EXPECT_EQ(msg.cfg_update.global_info.encap_info.encap_prefix_1.presence, 0xFC);
    EXPECT_EQ(msg.value_1, 0u);
    EXPECT_EQ(msg.presence, 0xF0);
}

TEST(ip_rib_srv6_update, long_name_lengthens_every_length_above_it)
{
    std::string name(130, 'x');
    zidl_ip_rib_srv6_update msg = {};
    msg.opcode_update.sid_ctx.un_ctx.name_3 = name.data();
    msg.opcode_update.sid_ctx.un_ctx.presence = 0x04;
    msg.opcode_update.flag_5 = 1;
    msg.opcode_update.presence = 0x10;
    msg.static_endpoint_update.presence = 0x04; // flag_3

    const bytes head = {
        0x1A, 0x8D, 0x01, // 3 opcode_update, 141 bytes
        0x22, 0x88, 0x01, //     4 sid_ctx, 136 bytes
        0x52, 0x85, 0x01, //         10 un_ctx, 133 bytes
        0x1A, 0x82, 0x01, //             3 name_3, 130 characters
    };
    const bytes tail = {
        0x28, 0x01, //     5 flag_5 = true
        0x22, 0x02, // 4 static_endpoint_update
        0x18, 0x00, //     3 flag_3 = false
    };
    EXPECT_EQ(encode<ip_rib_srv6_update>(msg), around_name_of(130, head, tail));
}

TEST(ip_rib_srv6_update, failure_four_levels_down_is_returned_unchanged)
{
    const struct {
        const char *what;
        uint8_t body[2];
        int32_t status;
    } cases[] = {
        {"10 un_ctx: 1 value_1 is cut", {0x08, 0x80}, ZIDL_ERR_MALFORMED},
        {"10 un_ctx: 4 with wire type 7", {0x27, 0x00}, ZIDL_ERR_WIRE_TYPE},
        {"10 un_ctx: 1 as bytes", {0x0A, 0x00}, ZIDL_ERR_FIELD_TYPE},
        {"10 un_ctx: 3 name_3 without memory", {0x1A, 0x00}, ZIDL_ERR_NO_MEMORY},
    };
    for (const auto &item : cases) {
        SCOPED_TRACE(item.what);
        const bytes input = {
            0x1A,         0x06,         // 3 opcode_update
            0x22,         0x04,         //     4 sid_ctx
            0x52,         0x02,         //         10 un_ctx
            item.body[0], item.body[1], //             the failing field
        };
        zidl_ip_rib_srv6_update msg = {};
        EXPECT_EQ(decode_without_memory<ip_rib_srv6_update>(msg, input), item.status);
        EXPECT_EQ(msg.presence, 0x00);
        EXPECT_EQ(msg.opcode_update.presence, 0x00);
        EXPECT_EQ(msg.opcode_update.sid_ctx.presence, 0x00u);
    }
}

} // namespace
