// Protocol updates, opaque updates and instance-ID contexts: their argument lists, and what is odd about a type.
// What all types share is tested over all of them in tests/messages, and each rule by itself in contract_*_test.cpp.

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

// Four neighbouring numbers, which are measured together where all of them are present.
TEST(ip_rib_opaque, each_of_four_numbers_is_measured_by_its_length)
{
    const struct {
        uint32_t value;
        size_t len; // of its varint
    } cases[] = {
        {0, 1},          {127, 1},        {128, 2},        {16383, 2},      {16384, 3},
        {2097151, 3},    {2097152, 4},    {268435455, 4},  {268435456, 5},  {0x7fffffff, 5},
        {0x80000000, 5}, {0x8000007f, 5}, {0xfffffffe, 5}, {0xffffffff, 5},
    };
    for (const auto &each : cases) {
        for (int place = 0; place < 4; ++place) {
            zidl_ip_rib_opaque msg = {};
            zidl_ip_rib_opaque_set_opaque_type(&msg, place == 0 ? each.value : 0);
            zidl_ip_rib_opaque_set_opaque_id(&msg, place == 1 ? each.value : 0);
            zidl_ip_rib_opaque_set_opaque_sub_id(&msg, place == 2 ? each.value : 0);
            zidl_ip_rib_opaque_set_opaque_value(&msg, place == 3 ? each.value : 0);
            EXPECT_EQ(zidl_ip_rib_opaque_encode_ext(&msg, nullptr, 0, nullptr, nullptr, 0), 7 + each.len)
                << each.value << " in place " << place; // a tag each, and a byte for each 0
        }
    }
}

} // namespace
