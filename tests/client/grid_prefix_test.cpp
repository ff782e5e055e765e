// The prefix of an encapsulation key.

#include "tests/client/grid_support.hpp"

using namespace rib_test;

namespace
{

// A key of type 3 with this prefix.
bytes key_with_prefix(const bytes &prefix)
{
    return bytes{0x08, 0x01, 0x10, 0x02} + field({0x1A}, prefix) + bytes{0x20, 0x04} + type_3;
}

TEST(grid_prefix, ipv4_is_the_value_as_decoded)
{
    expect_key(key_with_prefix({
                   0x08, 0x02,                   // 1 family = 2
                   0x10, 0x20,                   // 2 prefix_len = 32
                   0x18, 0x84, 0x86, 0x88, 0x08, // 3 ipv4 = 0x01020304
               }),
               [](rib_encap_id_path_key_t &expected) {
                   expected.key_prefix = {};
                   expected.key_prefix.family = 2;
                   expected.key_prefix.prefix_len = 32;
                   expected.key_prefix.addr.ipv4_addr = 0x01020304;
               });
}

TEST(grid_prefix, ipv4_without_its_value_is_address_0)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(arrays.decode(one_key_list(key_with_prefix({
                  0x08, 0x02, // 1 family = 2
                  0x10, 0x18, // 2 prefix_len = 24
              }))),
              0u);
    EXPECT_EQ(arrays.keys[0].key_prefix.addr.ipv4_addr, 0u);
}

TEST(grid_prefix, ipv4_ignores_ipv6_bytes_of_any_length)
{
    expect_key(key_with_prefix(grid_prefix_7 + field({0x22}, bytes(17, 0xEE))), [](rib_encap_id_path_key_t &) {});
}

TEST(grid_prefix, ipv6_is_the_bytes_as_received)
{
    expect_key(key_with_prefix(bytes{0x08, 0x0A, 0x10, 0x40} + field({0x22}, sixteen)),
               [](rib_encap_id_path_key_t &expected) {
                   expected.key_prefix.family = 10;
                   expected.key_prefix.prefix_len = 64;
                   std::memcpy(expected.key_prefix.addr.ipv6_addr, sixteen.data(), 16);
               });
}

TEST(grid_prefix, shorter_ipv6_fills_the_first_bytes)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(arrays.decode(one_key_list(key_with_prefix(bytes{0x08, 0x0A, 0x10, 0x40} + field({0x22}, {0xFE, 0x80})))),
              0u);
    const uint8_t *address = arrays.keys[0].key_prefix.addr.ipv6_addr;
    EXPECT_EQ(bytes(address, address + 16), bytes({0xFE, 0x80}) + bytes(14, 0x5A));
}

TEST(grid_prefix, empty_ipv6_is_accepted)
{
    expect_key(key_with_prefix(bytes{0x08, 0x0A, 0x10, 0x40} + field({0x22}, no_fields)),
               [](rib_encap_id_path_key_t &expected) {
                   expected.key_prefix = {};
                   expected.key_prefix.family = 10;
                   expected.key_prefix.prefix_len = 64;
               });
}

TEST(grid_prefix, ipv6_of_17_bytes_is_refused)
{
    expect_key_refused(key_with_prefix(bytes{0x08, 0x0A, 0x10, 0x40} + field({0x22}, bytes(17, 0xEE))));
}

TEST(grid_prefix, ipv6_without_its_bytes_is_refused)
{
    expect_key_refused(key_with_prefix({0x08, 0x0A, 0x10, 0x40, 0x18, 0x07}));
}

TEST(grid_prefix, missing_family_is_refused)
{
    expect_key_refused(key_with_prefix({0x10, 0x18, 0x18, 0x07}));
}

TEST(grid_prefix, missing_length_is_refused)
{
    expect_key_refused(key_with_prefix({0x08, 0x02, 0x18, 0x07}));
}

TEST(grid_prefix, present_empty_prefix_is_refused)
{
    expect_key_refused(key_with_prefix(no_fields));
}

TEST(grid_prefix, other_families_are_refused)
{
    expect_key_refused(key_with_prefix({0x08, 0x00, 0x10, 0x18, 0x18, 0x07}));
    expect_key_refused(key_with_prefix({0x08, 0x01, 0x10, 0x18, 0x18, 0x07}));
    expect_key_refused(key_with_prefix(bytes{0x08, 0x03, 0x10, 0x18} + field({0x22}, sixteen)));
}

TEST(grid_prefix, family_is_judged_at_32_bits)
{
    expect_key_refused(key_with_prefix({0x08, 0x82, 0x02, 0x10, 0x18, 0x18, 0x07}));                   // 258
    expect_key_refused(key_with_prefix(bytes{0x08, 0x8A, 0x02, 0x10, 0x18} + field({0x22}, sixteen))); // 266
}

TEST(grid_prefix, length_keeps_its_low_8_bits)
{
    expect_key(key_with_prefix({0x08, 0x02, 0x10, 0xAC, 0x02, 0x18, 0x07}), // 2 prefix_len = 300
               [](rib_encap_id_path_key_t &expected) { expected.key_prefix.prefix_len = 44; });
}

} // namespace
