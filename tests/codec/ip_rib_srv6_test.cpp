// SRv6 configuration, the seventeen endpoint behaviour contexts, SID contexts and updates: their argument lists, and what is
// odd about a type. What all types share is tested over all of them in tests/messages, and each rule by itself in
// contract_*_test.cpp.

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

template <class Codec>
class numbers_and_name_ctx : public testing::Test
{
};

using numbers_and_name_types =
    testing::Types<ip_rib_srv6_e_ctx, ip_rib_srv6_dx_ctx, ip_rib_srv6_dx2_ctx, ip_rib_srv6_dt2u_ctx,
                   ip_rib_srv6_dt2m_ctx, ip_rib_srv6_un_ctx, ip_rib_srv6_udx2_ctx, ip_rib_srv6_udt2u_ctx,
                   ip_rib_srv6_udt2m_ctx, ip_rib_srv6_udx_ctx>;
TYPED_TEST_SUITE(numbers_and_name_ctx, numbers_and_name_types, codec_names);

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

TEST(ip_rib_srv6_ua_ctx, field_5_as_a_name_is_refused)
{
    const bytes input = {
        0x2A, 0x01, 'a', // 5 as bytes: a name in an adjacency without the value
    };
    zidl_ip_rib_srv6_ua_ctx msg = {};
    memory mem;

    EXPECT_EQ(decode<ip_rib_srv6_ua_ctx>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
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

} // namespace
