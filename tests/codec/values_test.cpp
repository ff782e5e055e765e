// The numbers themselves that the interface is made of. Programs that were compiled against an earlier header, and those
// that were not compiled against any, know them as numbers.

#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/codec/support.hpp"

#include <map>
#include <string>

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_opaque);
RIB_TEST_CODEC(rib_bind_reply);

TEST(values, the_five_statuses_are_0_to_minus_4)
{
    EXPECT_EQ(ZIDL_OK, 0);
    EXPECT_EQ(ZIDL_ERR_MALFORMED, -1);
    EXPECT_EQ(ZIDL_ERR_WIRE_TYPE, -2);
    EXPECT_EQ(ZIDL_ERR_FIELD_TYPE, -3);
    EXPECT_EQ(ZIDL_ERR_NO_MEMORY, -4);
}

TEST(values, statuses_have_the_names_of_their_constants)
{
    EXPECT_STREQ(zidl_status_name(0), "ZIDL_OK");
    EXPECT_STREQ(zidl_status_name(-1), "ZIDL_ERR_MALFORMED");
    EXPECT_STREQ(zidl_status_name(-2), "ZIDL_ERR_WIRE_TYPE");
    EXPECT_STREQ(zidl_status_name(-3), "ZIDL_ERR_FIELD_TYPE");
    EXPECT_STREQ(zidl_status_name(-4), "ZIDL_ERR_NO_MEMORY");
}

TEST(values, what_is_no_status_is_called_unknown)
{
    for (const int32_t status : {1, -5, 22, -64, INT32_MAX, INT32_MIN})
        EXPECT_STREQ(zidl_status_name(status), "unknown") << status;
}

TEST(values, zero_copy_is_bit_0)
{
    EXPECT_EQ(ZIDL_ZERO_COPY, 1);
}

TEST(values, decode_of_what_is_sound_is_0)
{
    zidl_rib_bind_reply msg = {};
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x08, 0x05}), 0); // 1 bind_value = 5
}

TEST(values, decode_of_what_is_cut_off_is_minus_1)
{
    zidl_rib_bind_reply msg = {};
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x08}), -1); // 1 bind_value, without its value
}

TEST(values, decode_of_an_unknown_field_of_wire_type_3_is_minus_2)
{
    zidl_rib_bind_reply msg = {};
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x7b}), -2); // 15, of wire type 3
}

TEST(values, decode_of_a_known_field_of_another_wire_type_is_minus_3)
{
    zidl_rib_bind_reply msg = {};
    EXPECT_EQ(decode_without_memory<rib_bind_reply>(msg, {0x0a, 0x00}), -3); // 1 bind_value, with a length
}

TEST(values, decode_and_duplicate_without_memory_are_minus_4)
{
    zidl_ip_rib_opaque msg = {}, copy = {};
    EXPECT_EQ(decode_without_memory<ip_rib_opaque>(msg, {0x2a, 0x00}), -4); // 5 first_block
    uint8_t block[] = {0x51};
    msg.first_block = block;
    msg.first_block_size = 1;
    EXPECT_EQ(duplicate_without_memory<ip_rib_opaque>(copy, msg), -4);
}

// 5 first_block, one byte: copied or borrowed.
TEST(values, bit_0_of_the_flags_borrows_and_no_other_does)
{
    const bytes input = {0x2a, 0x01, 0x51};
    for (unsigned bit = 0; bit < 32; bit++) {
        memory mem;
        zidl_ip_rib_opaque msg = {};
        ASSERT_EQ(decode<ip_rib_opaque>(msg, input, mem, uint32_t{1} << bit), 0);
        EXPECT_EQ(msg.first_block == input.data() + 2, bit == 0) << bit;
        EXPECT_EQ(encoded_size<ip_rib_opaque>(msg, uint32_t{1} << bit), bit == 0 ? 2u : 3u) << bit;
        ip_rib_opaque::free_ext(&msg, memory::release, &mem, uint32_t{1} << bit);
        EXPECT_EQ(mem.releases, bit == 0 ? sizes{} : sizes{0}) << bit;
    }
}

// Who tells records apart by their functions relies on it, also where two types are the same but for their names.
TEST(values, no_two_types_share_a_function)
{
    std::map<const void *, std::string> owners;
    const auto expect_own = [&](auto *function, const char *name) {
        const auto added = owners.emplace(reinterpret_cast<const void *>(function), name);
        EXPECT_TRUE(added.second) << name << " is " << added.first->second;
    };
#define MESSAGE(group, message, width)                                                                                 \
    expect_own(zidl_##message##_encode_ext, "zidl_" #message "_encode_ext");                                           \
    expect_own(zidl_##message##_decode_ext, "zidl_" #message "_decode_ext");                                           \
    expect_own(zidl_##message##_duplicate, "zidl_" #message "_duplicate");                                             \
    expect_own(zidl_##message##_free_ext, "zidl_" #message "_free_ext");
#include "tests/messages/field_table.def"
    EXPECT_EQ(owners.size() % 4, 0u);
    EXPECT_FALSE(owners.empty());
}

} // namespace
