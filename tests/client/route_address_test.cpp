// One address converted by itself.

#include "tests/client/route_support.hpp"

using namespace rib_test;

namespace
{

// What the conversion returned and wrote: every byte of `out` was 0x5A before, and `family` 77.
struct converted_address {
    explicit converted_address(const zidl_rib_address &address)
    {
        std::memset(out, 0x5A, sizeof out);
        status = rib_lib_route_address_unpack(&address, out, &family);
    }

    bytes written() const { return bytes(out, out + sizeof out); }

    zerrno status;
    uint8_t out[16];
    uint32_t family = 77;
};

const bytes nothing = bytes(16, 0x5A);

TEST(route_address, ipv4_writes_four_bytes_and_the_family)
{
    zidl_rib_address address = {};
    zidl_rib_address_set_family(&address, 1);
    zidl_rib_address_set_ipv4(&address, 0x01020304);
    const converted_address converted(address);
    EXPECT_EQ(converted.status, 0u);
    EXPECT_EQ(converted.family, 1u);
    EXPECT_EQ(converted.written(), bytes({0x04, 0x03, 0x02, 0x01}) + bytes(12, 0x5A));
}

TEST(route_address, ipv6_writes_sixteen_bytes_and_the_family)
{
    zidl_rib_address address = {};
    zidl_rib_address_set_family(&address, 2);
    zidl_rib_ipv6_address_set_half0(&address.ipv6, 5);
    zidl_rib_ipv6_address_set_half1(&address.ipv6, 9);
    const converted_address converted(address);
    EXPECT_EQ(converted.status, 0u);
    EXPECT_EQ(converted.family, 2u);
    EXPECT_EQ(converted.written(), bytes{0x05} + bytes(7, 0) + bytes{0x09} + bytes(7, 0));
}

TEST(route_address, ipv6_without_half0_succeeds_and_writes_nothing)
{
    zidl_rib_address address = {};
    zidl_rib_address_set_family(&address, 2);
    zidl_rib_ipv6_address_set_half1(&address.ipv6, 9);
    const converted_address converted(address);
    EXPECT_EQ(converted.status, 0u);
    EXPECT_EQ(converted.family, 2u);
    EXPECT_EQ(converted.written(), nothing);
}

TEST(route_address, ipv6_by_its_bit_alone_succeeds_and_writes_nothing)
{
    zidl_rib_address address = {};
    zidl_rib_address_set_family(&address, 2);
    zidl_rib_address_mark_ipv6(&address);
    const converted_address converted(address);
    EXPECT_EQ(converted.status, 0u);
    EXPECT_EQ(converted.written(), nothing);
}

TEST(route_address, missing_family_is_malformed_and_leaves_both_outputs)
{
    zidl_rib_address address = {};
    zidl_rib_address_set_ipv4(&address, 7);
    const converted_address converted(address);
    EXPECT_EQ(converted.status, 0xA2D28000u);
    EXPECT_EQ(converted.family, 77u);
    EXPECT_EQ(converted.written(), nothing);
}

TEST(route_address, foreign_family_is_unsupported_and_stored)
{
    zidl_rib_address address = {};
    zidl_rib_address_set_family(&address, 10);
    zidl_rib_address_set_ipv4(&address, 7);
    const converted_address converted(address);
    EXPECT_EQ(converted.status, 0xA2D28400u);
    EXPECT_EQ(converted.family, 10u);
    EXPECT_EQ(converted.written(), nothing);
}

TEST(route_address, family_is_judged_and_stored_at_32_bits)
{
    // 1 and 2 in their low 8 or 16 bits.
    for (const uint32_t family : {0x101u, 0x102u, 0x10001u, 0x80000002u}) {
        zidl_rib_address address = {};
        zidl_rib_address_set_family(&address, family);
        zidl_rib_address_set_ipv4(&address, 7);
        zidl_rib_ipv6_address_set_half0(&address.ipv6, 5);
        const converted_address converted(address);
        EXPECT_EQ(converted.status, 0xA2D28400u) << family;
        EXPECT_EQ(converted.family, family);
        EXPECT_EQ(converted.written(), nothing) << family;
    }
}

TEST(route_address, value_without_its_bit_is_not_read)
{
    zidl_rib_address address = {};
    address.family = 1;
    address.ipv4 = 7;
    const converted_address converted(address);
    EXPECT_EQ(converted.status, 0xA2D28000u);
    EXPECT_EQ(converted.family, 77u);
    EXPECT_EQ(converted.written(), nothing);
}

TEST(route_address, missing_value_is_malformed_and_the_family_stored)
{
    for (const uint32_t family : {1u, 2u}) {
        zidl_rib_address address = {};
        zidl_rib_address_set_family(&address, family);
        const converted_address converted(address);
        EXPECT_EQ(converted.status, 0xA2D28000u);
        EXPECT_EQ(converted.family, family);
        EXPECT_EQ(converted.written(), nothing);
    }
}

TEST(route_address, family_output_may_be_null)
{
    zidl_rib_address address = {};
    uint8_t out[16];
    EXPECT_EQ(rib_lib_route_address_unpack(&address, out, nullptr), 0xA2D28000u);
    zidl_rib_address_set_family(&address, 3);
    EXPECT_EQ(rib_lib_route_address_unpack(&address, out, nullptr), 0xA2D28400u);
    zidl_rib_address_set_family(&address, 1);
    zidl_rib_address_set_ipv4(&address, 7);
    EXPECT_EQ(rib_lib_route_address_unpack(&address, out, nullptr), 0u);
}

} // namespace
