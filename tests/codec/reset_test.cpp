// What a decoder makes of a record before it reads: the internal function of each type, here that of a SID context, which
// holds seventeen others.

#include "messages/ip_rib_srv6.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

zidl_ip_rib_srv6_sid_ctx all_ones()
{
    zidl_ip_rib_srv6_sid_ctx msg;
    memset(&msg, 0xff, sizeof msg);
    return msg;
}

} // namespace

TEST(reset, sid_ctx_clear_leaves_nothing_in_a_sid_context_but_spare_presence_bits)
{
    zidl_ip_rib_srv6_sid_ctx msg = all_ones();
    zidl::detail::sid_ctx_clear(msg);
    EXPECT_EQ(msg.value_1, 0u);
    EXPECT_EQ(msg.values_2, nullptr);
    EXPECT_EQ(msg.values_2_count, 0u);
    EXPECT_EQ(msg.presence, 0xfff80000u); // 19 fields
    EXPECT_EQ(msg.udx_ctx.value_1, 0u);
    EXPECT_EQ(msg.udx_ctx.name_3, nullptr);
    EXPECT_EQ(msg.udx_ctx.presence, 0xf8u); // three fields
}

TEST(reset, decoding_a_sid_context_starts_with_sid_ctx_clear)
{
    zidl_ip_rib_srv6_sid_ctx cleared = all_ones();
    zidl::detail::sid_ctx_clear(cleared);
    zidl_ip_rib_srv6_sid_ctx decoded = all_ones();
    EXPECT_EQ(zidl_ip_rib_srv6_sid_ctx_decode_ext(&decoded, nullptr, 0, nullptr, nullptr, 0), ZIDL_OK);
    EXPECT_EQ(memcmp(&decoded, &cleared, sizeof decoded), 0);
}
