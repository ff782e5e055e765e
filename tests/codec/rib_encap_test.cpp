// Encapsulation keys, the grid synchronisation list that carries them, and next-hop-ID updates: their argument lists, and
// what is odd about a type. What all types share is tested over all of them in tests/messages, and each rule by itself in
// contract_*_test.cpp.

#include "messages/rib_encap.h"
#include "tests/codec/support.hpp"

namespace
{

using namespace rib_test;

RIB_TEST_CODEC(rib_srv6_oper_type);
RIB_TEST_CODEC(rib_encap_id_path_key_label);
RIB_TEST_CODEC(rib_encap_id_path_key_srv6);
RIB_TEST_CODEC(rib_encap_id_path_key_srv6_carrier_info);
RIB_TEST_CODEC(rib_encap_id_path_key_srv6_carriers);
RIB_TEST_CODEC(rib_encap_id_key);
RIB_TEST_CODEC(rib_encap_id);
RIB_TEST_CODEC(rib_grid_sync_list);
RIB_TEST_CODEC(rib_nhid_encap_key);
RIB_TEST_CODEC(rib_nhid_update);

// ---------------------------------------------------------------------------------------------------------------------
// Argument lists.

FULL_ARGUMENT_LISTS(rib_encap_id_path_key_srv6);
FULL_ARGUMENT_LISTS(rib_encap_id_path_key_srv6_carrier_info);
FULL_ARGUMENT_LISTS(rib_encap_id_path_key_srv6_carriers);
FULL_ARGUMENT_LISTS(rib_encap_id_key);
FULL_ARGUMENT_LISTS(rib_grid_sync_list);

// Three scalars: nothing to allocate, nothing to borrow.
ENCODE_TAKES(rib_srv6_oper_type, uint8_t *, size_t, zidl_segment *, uint32_t *);
DECODE_TAKES(rib_srv6_oper_type, const uint8_t *, size_t);
DUPLICATE_TAKES(rib_srv6_oper_type, const zidl_rib_srv6_oper_type *);
FREE_TAKES(rib_srv6_oper_type, zidl_free_fn, void *, uint32_t);

// Its array is always allocated: encoder and decoder go without flags.
ENCODE_TAKES(rib_encap_id_path_key_label, uint8_t *, size_t, zidl_segment *, uint32_t *);
DECODE_TAKES(rib_encap_id_path_key_label, const uint8_t *, size_t, zidl_alloc_fn, void *);
DUPLICATE_TAKES(rib_encap_id_path_key_label, const zidl_rib_encap_id_path_key_label *, zidl_alloc_fn, void *);
FREE_TAKES(rib_encap_id_path_key_label, zidl_free_fn, void *, uint32_t);

ENCODE_TAKES(rib_encap_id, uint8_t *, size_t, zidl_segment *, uint32_t *, uint32_t);
DECODE_TAKES(rib_encap_id, const uint8_t *, size_t);
DUPLICATE_TAKES(rib_encap_id, const zidl_rib_encap_id *);
FREE_TAKES(rib_encap_id, zidl_free_fn, void *, uint32_t);

// Their duplicates have nothing to allocate; the rest is full.
ENCODE_TAKES(rib_nhid_encap_key, uint8_t *, size_t, zidl_segment *, uint32_t *, uint32_t);
DECODE_TAKES(rib_nhid_encap_key, const uint8_t *, size_t, zidl_alloc_fn, void *, uint32_t);
DUPLICATE_TAKES(rib_nhid_encap_key, const zidl_rib_nhid_encap_key *);
FREE_TAKES(rib_nhid_encap_key, zidl_free_fn, void *, uint32_t);

ENCODE_TAKES(rib_nhid_update, uint8_t *, size_t, zidl_segment *, uint32_t *, uint32_t);
DECODE_TAKES(rib_nhid_update, const uint8_t *, size_t, zidl_alloc_fn, void *, uint32_t);
DUPLICATE_TAKES(rib_nhid_update, const zidl_rib_nhid_update *);
FREE_TAKES(rib_nhid_update, zidl_free_fn, void *, uint32_t);

TEST(rib_encap_id_path_key_srv6_carrier_info, accepts_more_than_sixteen_bytes)
{
    const bytes input = {
        0x1A, 0x11,                   // 3 carrier_bytes, seventeen bytes
        1,    2,    3,  4,  5,  6, 7, //
        8,    9,    10, 11, 12,       //
        13,   14,   15, 16, 17,       //
    };
    zidl_rib_encap_id_path_key_srv6_carrier_info msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_path_key_srv6_carrier_info>(msg, input, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(msg.carrier_bytes, input.data() + 2);
    EXPECT_EQ(msg.carrier_bytes_size, 17u);
}

TEST(rib_encap_id_key, writes_all_twenty_fields_in_order)
{
    uint8_t block[] = {0xBB};
    zidl_rib_msg_prefix extra_prefixes[2] = {};
    extra_prefixes[1].prefix_len = 64;
    extra_prefixes[1].presence = 0x02;
    zidl_rib_encap_id_key msg = {};
    msg.key_value_1 = 1;
    msg.key_value_2 = 2;
    msg.key_prefix.family = 2;
    msg.key_prefix.presence = 0x01;
    msg.key_value_4 = 4;
    msg.key_type = 1;
    msg.key_value_6 = 0x01020384;
    msg.key_second_prefix.family = 10;
    msg.key_second_prefix.presence = 0x01;
    msg.key_value_8 = 8;
    msg.key_extra_prefixes = extra_prefixes;
    msg.key_extra_prefixes_count = 2;
    msg.label_key.label_key_value = 10;
    msg.label_key.presence = 0x01;
    msg.key_value_12 = 12;
    msg.key_value_13 = 13;
    msg.key_value_15 = 0x100001;
    msg.key_value_16 = 16;
    msg.key_value_17 = 17;
    msg.key_value_18 = 18;
    msg.key_value_19 = 19;
    msg.key_bytes_20 = block;
    msg.key_bytes_20_size = 1;
    msg.presence = 0xFFFFF;

    const bytes expected = {
        0x08, 0x01,                   // 1 key_value_1 = 1
        0x10, 0x02,                   // 2 key_value_2 = 2
        0x1A, 0x02,                   // 3 key_prefix
        0x08, 0x02,                   //     1 family = 2
        0x20, 0x04,                   // 4 key_value_4 = 4
        0x28, 0x01,                   // 5 key_type = 1
        0x35, 0x84, 0x03, 0x02, 0x01, // 6 key_value_6 = 0x01020384, lowest byte first
        0x3A, 0x02,                   // 7 key_second_prefix
        0x08, 0x0A,                   //     1 family = 10
        0x40, 0x08,                   // 8 key_value_8 = 8
        0x4A, 0x00,                   // 9 key_extra_prefixes[0], empty
        0x4A, 0x02,                   // 9 key_extra_prefixes[1]
        0x10, 0x40,                   //     2 prefix_len = 64
        0x52, 0x02,                   // 10 label_key
        0x08, 0x0A,                   //     1 label_key_value = 10
        0x5A, 0x00,                   // 11 srv6_key, empty
        0x60, 0x0C,                   // 12 key_value_12 = 12
        0x68, 0x0D,                   // 13 key_value_13 = 13
        0x72, 0x00,                   // 14 srv6_carriers, empty
        0x78, 0x81, 0x80, 0x40,       // 15 key_value_15 = 0x100001
        0x80, 0x01, 0x10,             // 16 key_value_16 = 16
        0x88, 0x01, 0x11,             // 17 key_value_17 = 17
        0x90, 0x01, 0x12,             // 18 key_value_18 = 18
        0x98, 0x01, 0x13,             // 19 key_value_19 = 19
        0xA2, 0x01, 0x01, 0xBB,       // 20 key_bytes_20
    };
    EXPECT_EQ(encode<rib_encap_id_key>(msg), expected);

    zidl_rib_encap_id_key back = {};
    memory mem;
    ASSERT_EQ(decode<rib_encap_id_key>(back, expected, mem), ZIDL_OK);
    EXPECT_EQ(back.presence, 0xFFFFFu);
    EXPECT_EQ(back.key_value_6, 0x01020384u);
    EXPECT_EQ(back.key_value_19, 19u);
    EXPECT_EQ(back.key_extra_prefixes_count, 2u);
    EXPECT_EQ(encode<rib_encap_id_key>(back), expected);
}

TEST(rib_encap_id_key, every_field_of_another_wire_type_is_refused)
{
    const bytes inputs[] = {
        {0x0A, 0x00},       // 1 as bytes
        {0x12, 0x00},       // 2 as bytes
        {0x18, 0x00},       // 3 as a varint
        {0x22, 0x00},       // 4 as bytes
        {0x2A, 0x00},       // 5 as bytes
        {0x32, 0x00},       // 6 as bytes
        {0x38, 0x00},       // 7 as a varint
        {0x42, 0x00},       // 8 as bytes
        {0x48, 0x00},       // 9 as a varint
        {0x50, 0x00},       // 10 as a varint
        {0x58, 0x00},       // 11 as a varint
        {0x62, 0x00},       // 12 as bytes
        {0x6A, 0x00},       // 13 as bytes
        {0x70, 0x00},       // 14 as a varint
        {0x7A, 0x00},       // 15 as bytes
        {0x82, 0x01, 0x00}, // 16 as bytes
        {0x8A, 0x01, 0x00}, // 17 as bytes
        {0x92, 0x01, 0x00}, // 18 as bytes
        {0x9A, 0x01, 0x00}, // 19 as bytes
        {0xA0, 0x01, 0x00}, // 20 as a varint
    };
    for (const bytes &input : inputs) {
        zidl_rib_encap_id_key msg = {};
        memory mem;
        EXPECT_EQ(decode<rib_encap_id_key>(msg, input, mem), ZIDL_ERR_FIELD_TYPE) << "tag " << int{input[0]};
        EXPECT_EQ(msg.presence, 0u);
    }
}

// Blocks at every depth; the comments count the requests for memory.
const bytes key_of_many_blocks = {
    0x1A, 0x03,                   // 3 key_prefix
    0x22, 0x01, 0x31,             //     4 ipv6: request 0
    0x3A, 0x03,                   // 7 key_second_prefix
    0x22, 0x01, 0x71,             //     4 ipv6: request 1
    0x4A, 0x03,                   // 9 key_extra_prefixes[0]: request 2, the array
    0x22, 0x01, 0x91,             //     4 ipv6: request 3
    0x4A, 0x03,                   // 9 key_extra_prefixes[1]
    0x22, 0x01, 0x92,             //     4 ipv6: request 4
    0x52, 0x02,                   // 10 label_key
    0x10, 0x10,                   //     2 labels[0] = 16: request 5, the array
    0x5A, 0x03,                   // 11 srv6_key
    0x12, 0x01, 0xB1,             //     2 entries[0]: request 6, the array, and request 7
    0x72, 0x05,                   // 14 srv6_carriers
    0x12, 0x03,                   //     2 carriers[0]: request 8, the array
    0x1A, 0x01, 0xE1,             //         3 carrier_bytes: request 9
    0xA2, 0x01, 0x02, 0x51, 0x52, // 20 key_bytes_20: request 10
};

TEST(rib_encap_id_key, release_clears_counts_of_messages_and_bytes_but_not_of_labels)
{
    zidl_rib_encap_id_key msg = {};
    memory mem;
    ASSERT_EQ(decode<rib_encap_id_key>(msg, key_of_many_blocks, mem), ZIDL_OK);

    release<rib_encap_id_key>(msg, mem);
    EXPECT_EQ(msg.key_extra_prefixes, nullptr);
    EXPECT_EQ(msg.key_extra_prefixes_count, 0u);
    EXPECT_EQ(msg.label_key.labels, nullptr);
    EXPECT_EQ(msg.label_key.labels_count, 1u);
    EXPECT_EQ(msg.srv6_key.entries, nullptr);
    EXPECT_EQ(msg.srv6_key.entries_count, 0u);
    EXPECT_EQ(msg.srv6_carriers.carriers, nullptr);
    EXPECT_EQ(msg.srv6_carriers.carriers_count, 0u);
    EXPECT_EQ(msg.key_bytes_20, nullptr);
    EXPECT_EQ(msg.key_bytes_20_size, 2u);
    EXPECT_EQ(msg.key_prefix.ipv6_size, 1u);
    EXPECT_EQ(msg.presence, 1u << 2 | 1u << 6 | 1u << 8 | 1u << 9 | 1u << 10 | 1u << 13 | 1u << 19);
}

TEST(rib_grid_sync_list, field_3_is_skipped)
{
    const bytes input = {
        0x18, 0x07, // 3 as a varint
        0x1A, 0x00, // 3 as bytes
        0x20, 0x05, // 4 multi_key = true
    };
    zidl_rib_grid_sync_list msg = {};

    EXPECT_EQ(decode_without_memory<rib_grid_sync_list>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.multi_key, 1);
    EXPECT_EQ(msg.presence, 0x04);
}

} // namespace
