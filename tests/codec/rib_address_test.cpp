// Addresses and prefixes.

#include "messages/rib_common.h"
#include "tests/codec/support.hpp"

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(ip_rib_srv6_prefix);
RIB_TEST_CODEC(rib_address);
RIB_TEST_CODEC(rib_ipv6_address);
RIB_TEST_CODEC(rib_msg_prefix);
RIB_TEST_CODEC(rib_prefix);
RIB_TEST_CODEC(srv6_prefix);

FULL_ARGUMENT_LISTS(ip_rib_srv6_prefix);
FULL_ARGUMENT_LISTS(rib_address);
FULL_ARGUMENT_LISTS(rib_ipv6_address);
FULL_ARGUMENT_LISTS(rib_msg_prefix);
FULL_ARGUMENT_LISTS(rib_prefix);
FULL_ARGUMENT_LISTS(srv6_prefix);

template <class Codec>
int32_t status_of(const bytes &input)
{
    memory mem;
    typename Codec::record msg = {};
    return decode<Codec>(msg, input, mem);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_ipv6_address.

const bytes whole_ipv6_address = {
    0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 1 half0 = 2^64 - 1
    0x10, 0xEF, 0x9B, 0xAF, 0xCD, 0xF8, 0xAC, 0xD1, 0x91, 0x01,       // 2 half1 = 0x0123456789ABCDEF
};

TEST(rib_ipv6_address, writes_both_halves_with_64_bits)
{
    zidl_rib_ipv6_address msg = {};
    msg.half0 = UINT64_MAX;
    msg.half1 = 0x0123456789ABCDEF;
    msg.presence = 0x03; // half0, half1
    EXPECT_EQ(encode<rib_ipv6_address>(msg), whole_ipv6_address);
}

TEST(rib_ipv6_address, reads_both_halves_with_64_bits)
{
    zidl_rib_ipv6_address msg = rubbish<rib_ipv6_address>();
    EXPECT_EQ(decode_without_memory<rib_ipv6_address>(msg, whole_ipv6_address), ZIDL_OK);
    EXPECT_EQ(msg.half0, UINT64_MAX);
    EXPECT_EQ(msg.half1, 0x0123456789ABCDEFu);
    EXPECT_EQ(msg.presence, 0xA7); // A4 with half0, half1
}

// Where the highest byte comes first, programs turn the halves before they set them.
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
TEST(rib_ipv6_address, halves_travel_as_the_words_that_hold_them_in_memory)
{
    const uint8_t address[16] = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01}; // 2001:db8::1
    zidl_rib_ipv6_address msg = {};
    std::memcpy(&msg.half0, address, 8);
    std::memcpy(&msg.half1, address + 8, 8);
    msg.presence = 0x03; // half0, half1
    const bytes expected = {
        0x08, 0xA0, 0x82, 0xB4, 0xC0, 0x0B,                         // 1 half0 = 0x00000000B80D0120
        0x10, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01, // 2 half1 = 0x0100000000000000
    };
    EXPECT_EQ(encode<rib_ipv6_address>(msg), expected);
}
#endif

TEST(rib_ipv6_address, fields_of_another_wire_type_are_refused)
{
    EXPECT_EQ(status_of<rib_ipv6_address>({0x09, 1, 2, 3, 4, 5, 6, 7, 8}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_ipv6_address>({0x12, 0x00}), ZIDL_ERR_FIELD_TYPE);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_address.

const bytes whole_address = {
    0x08, 0x02,                         // 1 family = 2
    0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 2 ipv4 = 255.255.255.255
    0x1A, 0x04,                         // 3 ipv6, 4 bytes
    0x08, 0x05,                         //   1 half0 = 5
    0x10, 0x06,                         //   2 half1 = 6
};

zidl_rib_address address_with_everything()
{
    zidl_rib_address msg = {};
    msg.family = 2;
    msg.ipv4 = 0xFFFFFFFF;
    msg.ipv6.half0 = 5;
    msg.ipv6.half1 = 6;
    msg.ipv6.presence = 0x03; // half0, half1
    msg.presence = 0x07;      // family, ipv4, ipv6
    return msg;
}

TEST(rib_address, writes_every_field)
{
    EXPECT_EQ(encode<rib_address>(address_with_everything()), whole_address);
}

TEST(rib_address, reads_every_field)
{
    zidl_rib_address msg = rubbish<rib_address>();
    EXPECT_EQ(decode_without_memory<rib_address>(msg, whole_address), ZIDL_OK);
    EXPECT_EQ(msg.family, 2u);
    EXPECT_EQ(msg.ipv4, 0xFFFFFFFFu);
    EXPECT_EQ(msg.ipv6.half0, 5u);
    EXPECT_EQ(msg.ipv6.half1, 6u);
    EXPECT_EQ(msg.ipv6.presence, 0xA7); // A4 with half0, half1
    EXPECT_EQ(msg.presence, 0xA7);      // A0 with family, ipv4, ipv6
}

TEST(rib_address, family_alone_takes_two_bytes)
{
    zidl_rib_address msg = {};
    msg.family = 2;
    msg.presence = 0x01; // family
    const bytes expected = {
        0x08, 0x02, // 1 family = 2
    };
    EXPECT_EQ(encode<rib_address>(msg), expected);
}

TEST(rib_address, ipv6_address_with_a_half_is_written_though_its_bit_is_clear)
{
    zidl_rib_address msg = {};
    msg.family = 2;
    msg.ipv6.half0 = 1;
    msg.ipv6.presence = 0x01; // half0
    msg.presence = 0x01;      // family
    const bytes expected = {
        0x08, 0x02, // 1 family = 2
        0x1A, 0x02, // 3 ipv6, 2 bytes
        0x08, 0x01, //   1 half0 = 1
    };
    EXPECT_EQ(encode<rib_address>(msg), expected);
}

TEST(rib_address, ipv6_address_with_a_half_of_zero_is_written_though_its_bit_is_clear)
{
    zidl_rib_address msg = {};
    msg.family = 2;
    msg.ipv6.presence = 0x01; // half0
    msg.presence = 0x01;      // family
    const bytes expected = {
        0x08, 0x02, // 1 family = 2
        0x1A, 0x02, // 3 ipv6, 2 bytes
        0x08, 0x00, //   1 half0 = 0
    };
    EXPECT_EQ(encode<rib_address>(msg), expected);
}

TEST(rib_address, any_family_code_is_carried_unchanged)
{
    zidl_rib_address msg = {};
    EXPECT_EQ(decode_without_memory<rib_address>(msg, {0x08, 0x0A}), ZIDL_OK);
    EXPECT_EQ(msg.family, 10u);
    EXPECT_EQ(encode<rib_address>(msg), (bytes{0x08, 0x0A}));
}

TEST(rib_address, family_and_ipv4_keep_32_bits)
{
    const bytes input = {
        0x08, 0x82, 0x80, 0x80, 0x80, 0x10, // 1 family = 2^32 + 2
        0x10, 0x83, 0x80, 0x80, 0x80, 0x10, // 2 ipv4 = 2^32 + 3
    };
    zidl_rib_address msg = {};
    EXPECT_EQ(decode_without_memory<rib_address>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.family, 2u);
    EXPECT_EQ(msg.ipv4, 3u);
}

TEST(rib_address, fields_of_another_wire_type_are_refused)
{
    EXPECT_EQ(status_of<rib_address>({0x0A, 0x00}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_address>({0x15, 1, 2, 3, 4}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_address>({0x18, 0x00}), ZIDL_ERR_FIELD_TYPE);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_prefix.

const bytes whole_prefix = {
    0x0A, 0x02, // 1 address, 2 bytes
    0x08, 0x01, //   1 family = 1
    0x10, 0x20, // 2 prefix_len = 32
};

TEST(rib_prefix, writes_every_field)
{
    zidl_rib_prefix msg = {};
    msg.address.family = 1;
    msg.address.presence = 0x01; // family
    msg.prefix_len = 32;
    msg.presence = 0x03; // address, prefix_len
    EXPECT_EQ(encode<rib_prefix>(msg), whole_prefix);
}

TEST(rib_prefix, reads_every_field)
{
    zidl_rib_prefix msg = rubbish<rib_prefix>();
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, whole_prefix), ZIDL_OK);
    EXPECT_EQ(msg.address.family, 1u);
    EXPECT_EQ(msg.address.ipv4, 0u);
    EXPECT_EQ(msg.address.presence, 0xA1); // A0 with family
    EXPECT_EQ(msg.prefix_len, 32u);
    EXPECT_EQ(msg.presence, 0xA7); // A4 with address, prefix_len
}

TEST(rib_prefix, empty_input_leaves_no_bit_and_every_member_zero)
{
    zidl_rib_prefix msg = rubbish<rib_prefix>();
    EXPECT_EQ(decode_without_memory<rib_prefix>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.address.family, 0u);
    EXPECT_EQ(msg.address.ipv4, 0u);
    EXPECT_EQ(msg.address.ipv6.half0, 0u);
    EXPECT_EQ(msg.address.ipv6.half1, 0u);
    EXPECT_EQ(msg.prefix_len, 0u);
    EXPECT_FALSE(zidl_rib_prefix_has_address(&msg));
    EXPECT_FALSE(zidl_rib_prefix_has_prefix_len(&msg));
    EXPECT_FALSE(zidl_rib_address_has_family(&msg.address));
    EXPECT_FALSE(zidl_rib_address_has_ipv4(&msg.address));
    EXPECT_FALSE(zidl_rib_address_has_ipv6(&msg.address));
}

TEST(rib_prefix, address_with_a_family_is_written_though_its_bit_is_clear)
{
    zidl_rib_prefix msg = {};
    msg.address.family = 1;
    msg.address.presence = 0x01; // family
    msg.prefix_len = 32;
    msg.presence = 0x02; // prefix_len
    EXPECT_EQ(encode<rib_prefix>(msg), whole_prefix);
}

TEST(rib_prefix, fields_of_another_wire_type_are_refused)
{
    EXPECT_EQ(status_of<rib_prefix>({0x08, 0x00}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_prefix>({0x12, 0x00}), ZIDL_ERR_FIELD_TYPE);
}

// What the three types that own nothing have in common

TEST(rib_prefix, addresses_and_prefixes_are_duplicated_without_memory)
{
    zidl_rib_ipv6_address ipv6 = {};
    EXPECT_EQ(duplicate_without_memory<rib_ipv6_address>(ipv6, zidl_rib_ipv6_address{7, 8, 0x03}), ZIDL_OK);
    EXPECT_EQ(ipv6.half0, 7u);
    EXPECT_EQ(ipv6.half1, 8u);
    EXPECT_EQ(ipv6.presence, 0x03); // half0, half1

    zidl_rib_address address = {};
    EXPECT_EQ(duplicate_without_memory<rib_address>(address, address_with_everything()), ZIDL_OK);
    EXPECT_EQ(encode<rib_address>(address), whole_address);

    zidl_rib_prefix prefix = {};
    zidl_rib_prefix src = {};
    src.address = address_with_everything();
    src.prefix_len = 64;
    src.presence = 0x02; // prefix_len
    EXPECT_EQ(duplicate_without_memory<rib_prefix>(prefix, src), ZIDL_OK);
    EXPECT_EQ(encode<rib_address>(prefix.address), whole_address);
    EXPECT_EQ(prefix.prefix_len, 64u);
    EXPECT_EQ(prefix.presence, 0x02); // prefix_len
}

TEST(rib_prefix, release_of_addresses_and_prefixes_changes_nothing)
{
    memory mem;
    zidl_rib_ipv6_address ipv6 = {7, 8, 0x03};
    release<rib_ipv6_address>(ipv6, mem);
    EXPECT_EQ(ipv6.half1, 8u);
    EXPECT_EQ(ipv6.presence, 0x03); // half0, half1

    zidl_rib_prefix prefix = {};
    prefix.address = address_with_everything();
    release<rib_address>(prefix.address, mem);
    release<rib_prefix>(prefix, mem);
    EXPECT_EQ(encode<rib_address>(prefix.address), whole_address);
    EXPECT_EQ(mem.releases, sizes{});
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_msg_prefix.

const bytes whole_msg_prefix = {
    0x08, 0x0A,                         // 1 family = 10
    0x10, 0x80, 0x01,                   // 2 prefix_len = 128
    0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 3 ipv4 = 255.255.255.255
    0x22, 0x04, 0x20, 0x01, 0x0D, 0xB8, // 4 ipv6
};

TEST(rib_msg_prefix, writes_every_field)
{
    uint8_t ipv6[] = {0x20, 0x01, 0x0D, 0xB8};
    zidl_rib_msg_prefix msg = {};
    msg.family = 10;
    msg.prefix_len = 128;
    msg.ipv4 = 0xFFFFFFFF;
    msg.ipv6 = ipv6;
    msg.ipv6_size = 4;
    msg.presence = 0x0F; // all
    EXPECT_EQ(encode<rib_msg_prefix>(msg), whole_msg_prefix);
}

TEST(rib_msg_prefix, reads_every_field)
{
    memory mem;
    zidl_rib_msg_prefix msg = rubbish<rib_msg_prefix>();
    EXPECT_EQ(decode<rib_msg_prefix>(msg, whole_msg_prefix, mem), ZIDL_OK);
    EXPECT_EQ(msg.family, 10u);
    EXPECT_EQ(msg.prefix_len, 128u);
    EXPECT_EQ(msg.ipv4, 0xFFFFFFFFu);
    EXPECT_EQ(bytes(msg.ipv6, msg.ipv6 + msg.ipv6_size), (bytes{0x20, 0x01, 0x0D, 0xB8}));
    EXPECT_EQ(msg.presence, 0xAF); // A0 with all
    EXPECT_EQ(mem.requests, sizes{4});
}

TEST(rib_msg_prefix, address_of_17_bytes_is_accepted)
{
    bytes input = {
        0x22, 0x11, // 4 ipv6, 17 bytes
    };
    input.insert(input.end(), 17, 0xAB);
    memory mem;
    zidl_rib_msg_prefix msg = {};
    EXPECT_EQ(decode<rib_msg_prefix>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.ipv6_size, 17u);
    EXPECT_EQ(msg.ipv6[16], 0xAB);
}

TEST(rib_msg_prefix, second_address_is_malformed)
{
    EXPECT_EQ(status_of<rib_msg_prefix>({0x22, 0x01, 0xAA, 0x22, 0x01, 0xBB}), ZIDL_ERR_MALFORMED);
}

TEST(rib_msg_prefix, borrowed_address_is_not_released)
{
    memory mem;
    zidl_rib_msg_prefix msg = {};
    EXPECT_EQ(decode<rib_msg_prefix>(msg, whole_msg_prefix, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.ipv6, whole_msg_prefix.data() + 13);
    release<rib_msg_prefix>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(msg.ipv6, whole_msg_prefix.data() + 13);
    EXPECT_EQ(mem.requests, sizes{});
    EXPECT_EQ(mem.releases, sizes{});
}

TEST(rib_msg_prefix, copied_address_is_released)
{
    memory mem;
    zidl_rib_msg_prefix msg = {};
    EXPECT_EQ(decode<rib_msg_prefix>(msg, whole_msg_prefix, mem), ZIDL_OK);
    release<rib_msg_prefix>(msg, mem);
    EXPECT_EQ(mem.releases, sizes{0});
    EXPECT_EQ(msg.ipv6, nullptr);
    EXPECT_EQ(msg.ipv6_size, 4u);
}

TEST(rib_msg_prefix, zero_copy_encoding_lists_header_and_address)
{
    uint8_t ipv6[] = {0x20, 0x01, 0x0D, 0xB8};
    zidl_rib_msg_prefix msg = {};
    msg.family = 10;
    msg.ipv6 = ipv6;
    msg.ipv6_size = 4;
    msg.presence = 0x09; // family, ipv6
    const listing out = list_segments<rib_msg_prefix>(msg, 8, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 4})); // 08 0A 22 04
    EXPECT_EQ(out.segs[1], (zidl_segment{ipv6, 4}));
}

TEST(rib_msg_prefix, address_that_cannot_be_duplicated_is_absent)
{
    uint8_t ipv6[] = {0x20};
    zidl_rib_msg_prefix src = {};
    src.family = 2;
    src.ipv6 = ipv6;
    src.ipv6_size = 1;
    src.presence = 0x09; // family, ipv6
    zidl_rib_msg_prefix dst = rubbish<rib_msg_prefix>();
    EXPECT_EQ(duplicate_without_memory<rib_msg_prefix>(dst, src), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.family, 2u);
    EXPECT_EQ(dst.ipv6, nullptr);
    EXPECT_EQ(dst.ipv6_size, 0u);
    EXPECT_EQ(dst.presence, 0xA1); // A0 with family
}

TEST(rib_msg_prefix, fields_of_another_wire_type_are_refused)
{
    EXPECT_EQ(status_of<rib_msg_prefix>({0x0A, 0x00}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_msg_prefix>({0x12, 0x00}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_msg_prefix>({0x1A, 0x00}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<rib_msg_prefix>({0x20, 0x00}), ZIDL_ERR_FIELD_TYPE);
}

// ---------------------------------------------------------------------------------------------------------------------
// srv6_prefix and ip_rib_srv6_prefix: two types, one behaviour.

template <class Codec>
class both_srv6_prefixes : public testing::Test
{
};

struct codec_name {
    template <class Codec>
    static std::string GetName(int)
    {
        return Codec::name;
    }
};

using srv6_prefix_types = testing::Types<srv6_prefix, ip_rib_srv6_prefix>;
TYPED_TEST_SUITE(both_srv6_prefixes, srv6_prefix_types, codec_name);

const bytes whole_srv6_prefix = {
    0x0A, 0x02, 0xFC, 0x00, // 1 prefix
    0x10, 0x10,             // 2 prefix_len = 16
};

uint8_t fc00[] = {0xFC, 0x00};

// prefix fc00 and, unless its bit is taken away again, length 16.
template <class Codec>
typename Codec::record srv6_prefix_with_everything()
{
    typename Codec::record msg = {};
    msg.prefix = fc00;
    msg.prefix_size = 2;
    msg.prefix_len = 16;
    msg.presence = 0x03; // prefix, prefix_len
    return msg;
}

TYPED_TEST(both_srv6_prefixes, writes_every_field)
{
    EXPECT_EQ(encode<TypeParam>(srv6_prefix_with_everything<TypeParam>()), whole_srv6_prefix);
}

TYPED_TEST(both_srv6_prefixes, reads_every_field)
{
    memory mem;
    auto msg = rubbish<TypeParam>();
    EXPECT_EQ(decode<TypeParam>(msg, whole_srv6_prefix, mem), ZIDL_OK);
    EXPECT_EQ(bytes(msg.prefix, msg.prefix + msg.prefix_size), (bytes{0xFC, 0x00}));
    EXPECT_EQ(msg.prefix_len, 16u);
    EXPECT_EQ(msg.presence, 0xA7); // A4 with prefix, prefix_len
    EXPECT_EQ(mem.requests, sizes{2});
}

TYPED_TEST(both_srv6_prefixes, prefix_of_any_length_is_accepted)
{
    bytes input = {
        0x0A, 0xC8, 0x01, // 1 prefix, 200 bytes
    };
    input.insert(input.end(), 200, 0xAB);
    memory mem;
    auto msg = rubbish<TypeParam>();
    EXPECT_EQ(decode<TypeParam>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(msg.prefix_size, 200u);
}

TYPED_TEST(both_srv6_prefixes, second_prefix_is_malformed)
{
    EXPECT_EQ(status_of<TypeParam>({0x0A, 0x01, 0xAA, 0x10, 0x08, 0x0A, 0x01, 0xBB}), ZIDL_ERR_MALFORMED);
}

TYPED_TEST(both_srv6_prefixes, zero_copy_decode_points_into_the_input)
{
    auto msg = rubbish<TypeParam>();
    EXPECT_EQ(decode_without_memory<TypeParam>(msg, whole_srv6_prefix, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.prefix, whole_srv6_prefix.data() + 2);
    EXPECT_EQ(msg.prefix_size, 2u);
    EXPECT_EQ(msg.prefix_len, 16u);
}

TYPED_TEST(both_srv6_prefixes, zero_copy_encoding_lists_header_prefix_and_length)
{
    const listing out = list_segments<TypeParam>(srv6_prefix_with_everything<TypeParam>(), 8, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 2})); // 0A 02
    EXPECT_EQ(out.segs[1], (zidl_segment{fc00, 2}));
    EXPECT_EQ(out.segs[2], (zidl_segment{out.buf.data() + 2, 2})); // 10 10
}

TYPED_TEST(both_srv6_prefixes, zero_copy_encoding_without_a_length_lists_two_segments)
{
    auto msg = srv6_prefix_with_everything<TypeParam>();
    msg.presence = 0x01; // prefix
    const listing out = list_segments<TypeParam>(msg, 8, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 2u);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[1], (zidl_segment{fc00, 2}));
    EXPECT_EQ(out.segs[2].len, listing::untouched_len);
}

TYPED_TEST(both_srv6_prefixes, zero_copy_encoding_of_an_empty_prefix_is_one_segment)
{
    auto msg = srv6_prefix_with_everything<TypeParam>();
    msg.prefix_size = 0;
    const listing out = list_segments<TypeParam>(msg, 8, 8, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 4})); // 0A 00 10 10
}

TYPED_TEST(both_srv6_prefixes, zero_copy_encoding_without_a_list_leaves_the_prefix_out)
{
    const bytes expected = {
        0x0A, 0x02, // 1 prefix, 2 bytes, left out
        0x10, 0x10, // 2 prefix_len = 16
    };
    EXPECT_EQ(encode<TypeParam>(srv6_prefix_with_everything<TypeParam>(), ZIDL_ZERO_COPY), expected);
}

TYPED_TEST(both_srv6_prefixes, prefix_that_cannot_be_duplicated_is_absent)
{
    memory mem(0);
    auto dst = rubbish<TypeParam>();
    EXPECT_EQ(duplicate<TypeParam>(dst, srv6_prefix_with_everything<TypeParam>(), mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.prefix, nullptr);
    EXPECT_EQ(dst.prefix_size, 0u);
    EXPECT_EQ(dst.prefix_len, 16u);
    EXPECT_EQ(dst.presence, 0xA6); // A4 with prefix_len
}

TYPED_TEST(both_srv6_prefixes, release_gives_the_prefix_back_unless_it_is_borrowed)
{
    memory mem;
    auto copied = rubbish<TypeParam>();
    EXPECT_EQ(decode<TypeParam>(copied, whole_srv6_prefix, mem), ZIDL_OK);
    release<TypeParam>(copied, mem);
    EXPECT_EQ(mem.releases, sizes{0});
    EXPECT_EQ(copied.prefix, nullptr);

    auto borrowed = rubbish<TypeParam>();
    EXPECT_EQ(decode<TypeParam>(borrowed, whole_srv6_prefix, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    release<TypeParam>(borrowed, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, sizes{0});
    EXPECT_EQ(borrowed.prefix, whole_srv6_prefix.data() + 2);
}

TYPED_TEST(both_srv6_prefixes, fields_of_another_wire_type_are_refused)
{
    EXPECT_EQ(status_of<TypeParam>({0x08, 0x00}), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(status_of<TypeParam>({0x12, 0x00}), ZIDL_ERR_FIELD_TYPE);
}

} // namespace
