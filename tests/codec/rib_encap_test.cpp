// Encapsulation keys, the grid synchronisation list that carries them, and next-hop-ID updates.

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

// ---------------------------------------------------------------------------------------------------------------------
// rib_srv6_oper_type.

TEST(rib_srv6_oper_type, writes_its_fields_in_order)
{
    zidl_rib_srv6_oper_type msg = {};
    msg.oper_selector = 1;
    msg.oper_when_set = 300;
    msg.oper_when_clear = 0xFFFFFFFF;
    msg.presence = 0x07;

    const bytes expected = {
        0x08, 0x01,                         // 1 oper_selector = true
        0x10, 0xAC, 0x02,                   // 2 oper_when_set = 300
        0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 3 oper_when_clear = 2^32 - 1
    };
    EXPECT_EQ(encode<rib_srv6_oper_type>(msg), expected);
}

TEST(rib_srv6_oper_type, selector_is_written_as_the_byte_it_holds)
{
    zidl_rib_srv6_oper_type msg = {};
    msg.oper_selector = 0x80;
    msg.presence = 0x01;

    const bytes expected = {
        0x08, 0x80, // 1 oper_selector: one byte, not a varint of 128
    };
    EXPECT_EQ(encode<rib_srv6_oper_type>(msg), expected);
}

TEST(rib_srv6_oper_type, selector_is_true_for_any_non_zero_varint)
{
    const bytes input = {
        0x08, 0x80, 0x80, 0x80, 0x80, 0x10, // 1 oper_selector = 2^32
    };
    zidl_rib_srv6_oper_type msg = {};

    EXPECT_EQ(zidl_rib_srv6_oper_type_decode_ext(&msg, input.data(), input.size()), ZIDL_OK);
    EXPECT_EQ(msg.oper_selector, 1);
}

TEST(rib_srv6_oper_type, reads_its_fields_and_keeps_spare_bits)
{
    const bytes input = {
        0x10, 0x07, // 2 oper_when_set = 7
    };
    zidl_rib_srv6_oper_type msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(zidl_rib_srv6_oper_type_decode_ext(&msg, input.data(), input.size()), ZIDL_OK);
    EXPECT_EQ(msg.oper_selector, 0);
    EXPECT_EQ(msg.oper_when_set, 7u);
    EXPECT_EQ(msg.oper_when_clear, 0u);
    EXPECT_EQ(msg.presence, 0xFA); // bit 1, and the spare bits 3 to 7
}

TEST(rib_srv6_oper_type, duplicate_copies_all_but_the_spare_bits)
{
    zidl_rib_srv6_oper_type src = {};
    src.oper_selector = 2;
    src.oper_when_set = 3;
    src.oper_when_clear = 4;
    src.presence = 0x0D; // bits 0 and 2, and the spare bit 3
    zidl_rib_srv6_oper_type dst = {};
    dst.presence = 0x82; // bit 1 and the spare bit 7

    EXPECT_EQ(zidl_rib_srv6_oper_type_duplicate(&dst, &src), ZIDL_OK);
    EXPECT_EQ(dst.oper_selector, 2);
    EXPECT_EQ(dst.oper_when_set, 3u);
    EXPECT_EQ(dst.oper_when_clear, 4u);
    EXPECT_EQ(dst.presence, 0x85);
}

TEST(rib_srv6_oper_type, release_changes_nothing)
{
    zidl_rib_srv6_oper_type msg = {};
    msg.oper_when_set = 3;
    msg.presence = 0x02;

    zidl_rib_srv6_oper_type_free_ext(&msg, nullptr, nullptr, 0);
    EXPECT_EQ(msg.oper_when_set, 3u);
    EXPECT_EQ(msg.presence, 0x02);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_encap_id_path_key_label.

TEST(rib_encap_id_path_key_label, writes_each_label_with_its_own_tag)
{
    uint32_t labels[] = {16, 0x100001};
    zidl_rib_encap_id_path_key_label msg = {};
    msg.label_key_value = 9;
    msg.labels = labels;
    msg.labels_count = 2;
    msg.presence = 0x03;

    const bytes expected = {
        0x08, 0x09,             // 1 label_key_value = 9
        0x10, 0x10,             // 2 labels[0] = 16
        0x10, 0x81, 0x80, 0x40, // 2 labels[1] = 0x100001
    };
    EXPECT_EQ(encode<rib_encap_id_path_key_label>(msg), expected);
}

TEST(rib_encap_id_path_key_label, present_but_empty_labels_are_not_written)
{
    uint32_t labels[] = {16};
    zidl_rib_encap_id_path_key_label msg = {};
    msg.labels = labels;
    msg.presence = 0x02; // labels

    EXPECT_EQ(encode<rib_encap_id_path_key_label>(msg), bytes());
}

TEST(rib_encap_id_path_key_label, labels_whose_bit_is_clear_are_not_written)
{
    uint32_t labels[] = {16};
    zidl_rib_encap_id_path_key_label msg = {};
    msg.labels = labels;
    msg.labels_count = 1;
    msg.presence = 0x01; // label_key_value

    const bytes expected = {
        0x08, 0x00, // 1 label_key_value = 0
    };
    EXPECT_EQ(encode<rib_encap_id_path_key_label>(msg), expected);
}

TEST(rib_encap_id_path_key_label, reads_its_labels_into_one_array)
{
    const bytes input = {
        0x10, 0x10,             // 2 labels[0] = 16
        0x10, 0x81, 0x80, 0x40, // 2 labels[1] = 0x100001
        0x08, 0x09,             // 1 label_key_value = 9
    };
    zidl_rib_encap_id_path_key_label msg;
    std::memset(&msg, 0xFF, sizeof msg);
    memory mem;

    ASSERT_EQ(decode<rib_encap_id_path_key_label>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{8}));
    ASSERT_EQ(msg.labels_count, 2u);
    EXPECT_EQ(msg.labels[0], 16u);
    EXPECT_EQ(msg.labels[1], 0x100001u);
    EXPECT_EQ(msg.label_key_value, 9u);
    EXPECT_EQ(msg.presence, 0xFF); // both, and the spare bits 2 to 7
}

TEST(rib_encap_id_path_key_label, label_keeps_the_low_32_bits_of_a_longer_varint)
{
    const bytes input = {
        0x10, 0x81, 0x80, 0x80, 0x80, 0xF0, 0xFF, 0x01, // 2 labels[0], bits above 31 set
        0x10, 0x02,                                     // 2 labels[1] = 2
    };
    zidl_rib_encap_id_path_key_label msg = {};
    memory mem;

    ASSERT_EQ(decode<rib_encap_id_path_key_label>(msg, input, mem), ZIDL_OK);
    ASSERT_EQ(msg.labels_count, 2u);
    EXPECT_EQ(msg.labels[0], 1u);
    EXPECT_EQ(msg.labels[1], 2u);
}

TEST(rib_encap_id_path_key_label, packed_labels_are_refused)
{
    const bytes input = {
        0x12, 0x02, 0x10, 0x11, // 2 labels, packed
    };
    zidl_rib_encap_id_path_key_label msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_encap_id_path_key_label>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(mem.requests, sizes());
}

TEST(rib_encap_id_path_key_label, wire_type_of_later_labels_is_not_looked_at)
{
    const bytes input = {
        0x10, 0x10, // 2 labels[0] = 16
        0x12, 0x11, // 2 as bytes: read as labels[1] = 17
        0x15, 0x12, // 2 as four bytes: read as labels[2] = 18
    };
    zidl_rib_encap_id_path_key_label msg = {};
    memory mem;

    ASSERT_EQ(decode<rib_encap_id_path_key_label>(msg, input, mem), ZIDL_OK);
    ASSERT_EQ(msg.labels_count, 3u);
    EXPECT_EQ(msg.labels[0], 16u);
    EXPECT_EQ(msg.labels[1], 17u);
    EXPECT_EQ(msg.labels[2], 18u);
}

TEST(rib_encap_id_path_key_label, second_run_of_labels_is_malformed)
{
    const bytes input = {
        0x10, 0x10, // 2 labels[0] = 16
        0x08, 0x07, // 1 label_key_value = 7
        0x10, 0x11, // 2 labels, again
    };
    zidl_rib_encap_id_path_key_label msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_encap_id_path_key_label>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.labels_count, 1u);
    EXPECT_EQ(msg.label_key_value, 7u);
    EXPECT_EQ(msg.presence, 0x03);
}

TEST(rib_encap_id_path_key_label, tag_cut_off_behind_the_labels_is_malformed_and_asks_for_no_memory)
{
    const bytes input = {
        0x10, 0x10, // 2 labels[0] = 16
        0x88,       // a tag whose second byte is missing
    };
    zidl_rib_encap_id_path_key_label msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_encap_id_path_key_label>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes());
    EXPECT_EQ(msg.labels, nullptr);
    EXPECT_EQ(msg.labels_count, 0u);
}

TEST(rib_encap_id_path_key_label, cut_label_is_malformed_and_asks_for_no_memory)
{
    const bytes input = {
        0x10, 0x10, // 2 labels[0] = 16
        0x10, 0x80, // 2 labels[1]: the second byte is missing
    };
    zidl_rib_encap_id_path_key_label msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_encap_id_path_key_label>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes());
}

TEST(rib_encap_id_path_key_label, missing_allocation_function_is_reported_before_a_cut_label)
{
    const bytes input = {
        0x10, 0x80, // 2 labels[0]: the second byte is missing
    };
    zidl_rib_encap_id_path_key_label msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_path_key_label>(msg, input), ZIDL_ERR_NO_MEMORY);
}

TEST(rib_encap_id_path_key_label, refused_array_leaves_nothing_behind)
{
    const bytes input = {
        0x10, 0x10, // 2 labels[0] = 16
    };
    zidl_rib_encap_id_path_key_label msg = {};
    memory mem(0);

    EXPECT_EQ(decode<rib_encap_id_path_key_label>(msg, input, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(msg.labels, nullptr);
    EXPECT_EQ(msg.presence, 0);
}

TEST(rib_encap_id_path_key_label, release_keeps_the_count_of_the_labels)
{
    const bytes input = {
        0x10, 0x10, // 2 labels[0] = 16
        0x10, 0x11, // 2 labels[1] = 17
    };
    zidl_rib_encap_id_path_key_label msg = {};
    memory mem;
    ASSERT_EQ(decode<rib_encap_id_path_key_label>(msg, input, mem), ZIDL_OK);

    release<rib_encap_id_path_key_label>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0}));
    EXPECT_EQ(msg.labels, nullptr);
    EXPECT_EQ(msg.labels_count, 2u);
    EXPECT_EQ(msg.presence, 0x02);
}

TEST(rib_encap_id_path_key_label, duplicate_copies_its_labels)
{
    uint32_t labels[] = {16, 17};
    zidl_rib_encap_id_path_key_label src = {};
    src.labels = labels;
    src.labels_count = 2;
    src.presence = 0x02;
    zidl_rib_encap_id_path_key_label dst = {};
    memory mem;

    ASSERT_EQ(duplicate<rib_encap_id_path_key_label>(dst, src, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{8}));
    ASSERT_EQ(dst.labels_count, 2u);
    EXPECT_NE(dst.labels, labels);
    EXPECT_EQ(dst.labels[0], 16u);
    EXPECT_EQ(dst.labels[1], 17u);
    EXPECT_EQ(dst.presence, 0x02);
}

TEST(rib_encap_id_path_key_label, duplicate_of_no_labels_is_null_with_their_bit)
{
    uint32_t labels[] = {16};
    zidl_rib_encap_id_path_key_label src = {};
    src.labels = labels;
    src.presence = 0x02;
    zidl_rib_encap_id_path_key_label dst;
    std::memset(&dst, 0xFF, sizeof dst);

    EXPECT_EQ(duplicate_without_memory<rib_encap_id_path_key_label>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.labels, nullptr);
    EXPECT_EQ(dst.labels_count, 0u);
    EXPECT_EQ(dst.presence, 0xFE);
}

TEST(rib_encap_id_path_key_label, duplicate_that_cannot_copy_its_labels_leaves_them_absent)
{
    uint32_t labels[] = {16};
    zidl_rib_encap_id_path_key_label src = {};
    src.label_key_value = 9;
    src.labels = labels;
    src.labels_count = 1;
    src.presence = 0x03;
    zidl_rib_encap_id_path_key_label dst = {};
    memory mem(0);

    EXPECT_EQ(duplicate<rib_encap_id_path_key_label>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.label_key_value, 9u);
    EXPECT_EQ(dst.labels, nullptr);
    EXPECT_EQ(dst.labels_count, 0u);
    EXPECT_EQ(dst.presence, 0x01);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_encap_id_path_key_srv6.

// An operation type of one number, and entries of one, two and no bytes.
struct srv6_sample {
    uint8_t first[1] = {0xE1};
    uint8_t second[2] = {0xE2, 0xE3};
    zidl_bytes entries[3] = {{first, 1}, {second, 2}, {nullptr, 0}};
    zidl_rib_encap_id_path_key_srv6 msg = {};

    srv6_sample()
    {
        msg.oper_type.oper_when_set = 4;
        msg.oper_type.presence = 0x02;
        msg.entries = entries;
        msg.entries_count = 3;
        msg.presence = 0x03;
    }
};

const bytes srv6_encoding = {
    0x0A, 0x02,             // 1 oper_type
    0x10, 0x04,             //     2 oper_when_set = 4
    0x12, 0x01, 0xE1,       // 2 entries[0]
    0x12, 0x02, 0xE2, 0xE3, // 2 entries[1]
    0x12, 0x00,             // 2 entries[2], empty
};

TEST(rib_encap_id_path_key_srv6, writes_each_entry_with_its_own_tag)
{
    const srv6_sample sample;
    EXPECT_EQ(encode<rib_encap_id_path_key_srv6>(sample.msg), srv6_encoding);
}

TEST(rib_encap_id_path_key_srv6, writes_no_entry_without_the_bit_or_without_a_count)
{
    srv6_sample sample;
    sample.msg.oper_type = {};
    sample.msg.presence = 0x00;
    EXPECT_EQ(encode<rib_encap_id_path_key_srv6>(sample.msg), bytes());

    sample.msg.presence = 0x02; // entries
    sample.msg.entries_count = 0;
    EXPECT_EQ(encode<rib_encap_id_path_key_srv6>(sample.msg), bytes());
}

TEST(rib_encap_id_path_key_srv6, operation_type_with_content_is_written_without_its_bit)
{
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.oper_type.presence = 0x01;

    const bytes expected = {
        0x0A, 0x02, // 1 oper_type
        0x08, 0x00, //     1 oper_selector = false
    };
    EXPECT_EQ(encode<rib_encap_id_path_key_srv6>(msg), expected);
}

TEST(rib_encap_id_path_key_srv6, entry_that_does_not_fit_is_left_out_whole_and_smaller_ones_are_not_moved_up)
{
    const srv6_sample sample;
    const bytes expected = {
        0x0A, 0x02,       // 1 oper_type
        0x10, 0x04,       //     2 oper_when_set = 4
        0x12, 0x01, 0xE1, // 2 entries[0]
        0x12, 0x02, 0x5A, // 2 entries[1]: one place for two bytes
    };
    const listing out = list_segments<rib_encap_id_path_key_srv6>(sample.msg, 10, 0, 0);
    EXPECT_EQ(out.result, 13u);
    EXPECT_EQ(out.buf, expected);
}

TEST(rib_encap_id_path_key_srv6, copies_each_entry)
{
    zidl_rib_encap_id_path_key_srv6 msg = {};
    memory mem;

    ASSERT_EQ(decode<rib_encap_id_path_key_srv6>(msg, srv6_encoding, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{3 * sizeof(zidl_bytes), 1, 2, 0}));
    EXPECT_EQ(msg.oper_type.oper_when_set, 4u);
    ASSERT_EQ(msg.entries_count, 3u);
    EXPECT_EQ(msg.entries[0].data, mem.blocks[1]);
    EXPECT_EQ(bytes(msg.entries[0].data, msg.entries[0].data + msg.entries[0].size), bytes{0xE1});
    EXPECT_EQ(bytes(msg.entries[1].data, msg.entries[1].data + msg.entries[1].size), (bytes{0xE2, 0xE3}));
    EXPECT_EQ(msg.entries[2].data, mem.blocks[3]);
    EXPECT_EQ(msg.entries[2].size, 0u);
    EXPECT_EQ(msg.presence, 0x03);
}

TEST(rib_encap_id_path_key_srv6, zero_copy_borrows_each_entry_and_allocates_the_array)
{
    zidl_rib_encap_id_path_key_srv6 msg = {};
    memory mem;

    ASSERT_EQ(decode<rib_encap_id_path_key_srv6>(msg, srv6_encoding, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{3 * sizeof(zidl_bytes)}));
    EXPECT_EQ(msg.entries[0].data, srv6_encoding.data() + 6);
    EXPECT_EQ(msg.entries[0].size, 1u);
    EXPECT_EQ(msg.entries[1].data, srv6_encoding.data() + 9);
    EXPECT_EQ(msg.entries[1].size, 2u);
    EXPECT_EQ(msg.entries[2].data, srv6_encoding.data() + 13);
    EXPECT_EQ(msg.entries[2].size, 0u);

    release<rib_encap_id_path_key_srv6>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0}));
    EXPECT_EQ(msg.entries, nullptr);
    EXPECT_EQ(msg.entries_count, 0u);
}

TEST(rib_encap_id_path_key_srv6, zero_copy_does_not_replace_the_allocation_function_of_the_array)
{
    zidl_rib_encap_id_path_key_srv6 msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_path_key_srv6>(msg, srv6_encoding, ZIDL_ZERO_COPY),
              ZIDL_ERR_NO_MEMORY);
}

TEST(rib_encap_id_path_key_srv6, entry_past_the_end_is_malformed_and_asks_for_no_memory)
{
    const bytes input = {
        0x12, 0x01, 0xE1, // 2 entries[0]
        0x12, 0x02, 0xE2, // 2 entries[1]: one byte is missing
    };
    zidl_rib_encap_id_path_key_srv6 msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes());
    EXPECT_EQ(msg.entries, nullptr);
}

TEST(rib_encap_id_path_key_srv6, refused_entry_leaves_the_array_with_its_full_count)
{
    zidl_rib_encap_id_path_key_srv6 msg = {};
    memory mem(2);

    EXPECT_EQ(decode<rib_encap_id_path_key_srv6>(msg, srv6_encoding, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{3 * sizeof(zidl_bytes), 1, 2}));
    ASSERT_EQ(msg.entries_count, 3u);
    EXPECT_EQ(msg.entries[0].data, mem.blocks[1]);
    EXPECT_EQ(msg.entries[1].data, nullptr);
    EXPECT_EQ(msg.entries[2].data, nullptr);
    EXPECT_EQ(msg.presence, 0x01); // oper_type only

    release<rib_encap_id_path_key_srv6>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{1, 0}));
}

TEST(rib_encap_id_path_key_srv6, release_gives_back_entries_before_their_array)
{
    zidl_rib_encap_id_path_key_srv6 msg = {};
    memory mem;
    ASSERT_EQ(decode<rib_encap_id_path_key_srv6>(msg, srv6_encoding, mem), ZIDL_OK);

    release<rib_encap_id_path_key_srv6>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{1, 2, 3, 0}));
    EXPECT_EQ(msg.entries, nullptr);
    EXPECT_EQ(msg.entries_count, 0u);
    EXPECT_EQ(msg.presence, 0x03);
}

TEST(rib_encap_id_path_key_srv6, release_leaves_the_count_of_a_null_array_alone)
{
    zidl_rib_encap_id_path_key_srv6 msg = {};
    msg.entries_count = 3;
    memory mem;

    release<rib_encap_id_path_key_srv6>(msg, mem);
    EXPECT_EQ(msg.entries_count, 3u);
}

TEST(rib_encap_id_path_key_srv6, duplicate_of_an_empty_entry_is_null)
{
    uint8_t anything[1] = {1};
    srv6_sample sample;
    sample.entries[2].data = anything;
    zidl_rib_encap_id_path_key_srv6 dst = {};
    memory mem;

    ASSERT_EQ(duplicate<rib_encap_id_path_key_srv6>(dst, sample.msg, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{3 * sizeof(zidl_bytes), 1, 2}));
    ASSERT_EQ(dst.entries_count, 3u);
    EXPECT_EQ(bytes(dst.entries[1].data, dst.entries[1].data + dst.entries[1].size), (bytes{0xE2, 0xE3}));
    EXPECT_EQ(dst.entries[2].data, nullptr);
    EXPECT_EQ(dst.entries[2].size, 0u);
}

TEST(rib_encap_id_path_key_srv6, duplicate_that_cannot_copy_an_entry_copies_the_others)
{
    const srv6_sample sample;
    zidl_rib_encap_id_path_key_srv6 dst = {};
    memory mem(1);

    EXPECT_EQ(duplicate<rib_encap_id_path_key_srv6>(dst, sample.msg, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{3 * sizeof(zidl_bytes), 1, 2}));
    ASSERT_EQ(dst.entries_count, 3u);
    EXPECT_EQ(dst.entries[0].data, nullptr);
    EXPECT_EQ(dst.entries[0].size, 0u);
    EXPECT_EQ(bytes(dst.entries[1].data, dst.entries[1].data + dst.entries[1].size), (bytes{0xE2, 0xE3}));
    EXPECT_EQ(dst.presence, 0x03); // the array itself is there
}

TEST(rib_encap_id_path_key_srv6, zero_copy_lists_each_entry_behind_its_own_length)
{
    const srv6_sample sample;
    const listing out = list_segments<rib_encap_id_path_key_srv6>(sample.msg, 10, 6, ZIDL_ZERO_COPY);
    const bytes expected = {
        0x0A, 0x02, // 1 oper_type
        0x10, 0x04, //     2 oper_when_set = 4
        0x12, 0x01, // 2 entries[0], one byte elsewhere
        0x12, 0x02, // 2 entries[1], two bytes elsewhere
        0x12, 0x00, // 2 entries[2], empty
    };
    EXPECT_EQ(out.buf, expected);
    EXPECT_EQ(out.result, 10u);
    EXPECT_EQ(out.count, 6u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data() + 2, 2})); // oper_type
    EXPECT_EQ(out.segs[1], (zidl_segment{out.buf.data(), 6}));     // field 1, and entries[0] up to its length
    EXPECT_EQ(out.segs[2], (zidl_segment{sample.first, 1}));       // entries[0]
    EXPECT_EQ(out.segs[3], (zidl_segment{out.buf.data() + 6, 2})); // entries[1] up to its length
    EXPECT_EQ(out.segs[4], (zidl_segment{sample.second, 2}));      // entries[1]
    EXPECT_EQ(out.segs[5], (zidl_segment{out.buf.data() + 8, 2})); // entries[2]
    EXPECT_EQ(out.segs[6].len, listing::untouched_len);
}

TEST(rib_encap_id_path_key_srv6, zero_copy_last_entry_with_content_needs_no_closing_segment)
{
    srv6_sample sample;
    sample.msg.oper_type = {};
    sample.msg.entries_count = 2;
    sample.msg.presence = 0x02;

    const listing out = list_segments<rib_encap_id_path_key_srv6>(sample.msg, 4, 5, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 4u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 2}));
    EXPECT_EQ(out.segs[1], (zidl_segment{sample.first, 1}));
    EXPECT_EQ(out.segs[2], (zidl_segment{out.buf.data() + 2, 2}));
    EXPECT_EQ(out.segs[3], (zidl_segment{sample.second, 2}));
    EXPECT_EQ(out.segs[4].len, listing::untouched_len);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_encap_id_path_key_srv6_carrier_info.

TEST(rib_encap_id_path_key_srv6_carrier_info, writes_its_fields_in_order)
{
    uint8_t block[] = {0xC1, 0xC2};
    zidl_rib_encap_id_path_key_srv6_carrier_info msg = {};
    msg.carrier_value_1 = 1;
    msg.carrier_value_2 = 256;
    msg.carrier_bytes = block;
    msg.carrier_bytes_size = 2;
    msg.presence = 0x07;

    const bytes expected = {
        0x08, 0x01,             // 1 carrier_value_1 = 1
        0x10, 0x80, 0x02,       // 2 carrier_value_2 = 256
        0x1A, 0x02, 0xC1, 0xC2, // 3 carrier_bytes
    };
    EXPECT_EQ(encode<rib_encap_id_path_key_srv6_carrier_info>(msg), expected);
}

TEST(rib_encap_id_path_key_srv6_carrier_info, zero_copy_ends_with_its_bytes)
{
    uint8_t block[] = {0xC1, 0xC2};
    zidl_rib_encap_id_path_key_srv6_carrier_info msg = {};
    msg.carrier_bytes = block;
    msg.carrier_bytes_size = 2;
    msg.presence = 0x05; // carrier_value_1, carrier_bytes

    const listing out = list_segments<rib_encap_id_path_key_srv6_carrier_info>(msg, 4, 3, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 4u);
    EXPECT_EQ(out.count, 2u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 4}));
    EXPECT_EQ(out.segs[1], (zidl_segment{block, 2}));
    EXPECT_EQ(out.segs[2].len, listing::untouched_len);
}

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

TEST(rib_encap_id_path_key_srv6_carrier_info, bytes_without_an_allocation_function_are_out_of_memory)
{
    const bytes input = {
        0x1A, 0x01, 0xC1, // 3 carrier_bytes
    };
    zidl_rib_encap_id_path_key_srv6_carrier_info msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_path_key_srv6_carrier_info>(msg, input), ZIDL_ERR_NO_MEMORY);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_encap_id_path_key_srv6_carriers.

const bytes carriers_encoding = {
    0x0A, 0x02,       // 1 oper_type
    0x08, 0x01,       //     1 oper_selector = true
    0x12, 0x05,       // 2 carriers[0]
    0x08, 0x05,       //     1 carrier_value_1 = 5
    0x1A, 0x01, 0xC1, //     3 carrier_bytes
    0x12, 0x00,       // 2 carriers[1], empty
    0x12, 0x03,       // 2 carriers[2]
    0x1A, 0x01, 0xC2, //     3 carrier_bytes
};

TEST(rib_encap_id_path_key_srv6_carriers, survives_decoding_and_encoding)
{
    zidl_rib_encap_id_path_key_srv6_carriers msg = {};
    memory mem;

    ASSERT_EQ(decode<rib_encap_id_path_key_srv6_carriers>(msg, carriers_encoding, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{3 * sizeof(zidl_rib_encap_id_path_key_srv6_carrier_info), 1, 1}));
    EXPECT_EQ(msg.oper_type.oper_selector, 1);
    ASSERT_EQ(msg.carriers_count, 3u);
    EXPECT_EQ(msg.carriers[0].carrier_value_1, 5u);
    EXPECT_EQ(msg.carriers[0].presence, 0x05);
    EXPECT_EQ(msg.carriers[1].presence, 0x00);
    EXPECT_EQ(msg.carriers[2].carrier_bytes[0], 0xC2);
    EXPECT_EQ(msg.carriers[2].presence, 0x04);
    EXPECT_EQ(encode<rib_encap_id_path_key_srv6_carriers>(msg), carriers_encoding);
}

TEST(rib_encap_id_path_key_srv6_carriers, release_gives_back_each_carriers_bytes_and_then_the_array)
{
    zidl_rib_encap_id_path_key_srv6_carriers msg = {};
    memory mem;
    ASSERT_EQ(decode<rib_encap_id_path_key_srv6_carriers>(msg, carriers_encoding, mem), ZIDL_OK);

    release<rib_encap_id_path_key_srv6_carriers>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{1, 2, 0}));
    EXPECT_EQ(msg.carriers, nullptr);
    EXPECT_EQ(msg.carriers_count, 0u);
}

TEST(rib_encap_id_path_key_srv6_carriers, zero_copy_release_gives_back_the_array_only)
{
    zidl_rib_encap_id_path_key_srv6_carriers msg = {};
    memory mem;
    ASSERT_EQ(decode<rib_encap_id_path_key_srv6_carriers>(msg, carriers_encoding, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    ASSERT_EQ(mem.requests, (sizes{3 * sizeof(zidl_rib_encap_id_path_key_srv6_carrier_info)}));
    EXPECT_EQ(msg.carriers[0].carrier_bytes, carriers_encoding.data() + 10);

    release<rib_encap_id_path_key_srv6_carriers>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0}));
}

TEST(rib_encap_id_path_key_srv6_carriers, carrier_past_the_end_is_malformed_and_asks_for_no_memory)
{
    const bytes input = {
        0x12, 0x00,       // 2 carriers[0], empty
        0x12, 0x03, 0x08, // 2 carriers[1], three bytes: two are missing
    };
    zidl_rib_encap_id_path_key_srv6_carriers msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_encap_id_path_key_srv6_carriers>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(mem.requests, sizes());
}

TEST(rib_encap_id_path_key_srv6_carriers, failing_carrier_leaves_the_array_with_its_full_count)
{
    const bytes input = {
        0x12, 0x02, // 2 carriers[0]
        0x08, 0x05, //     1 carrier_value_1 = 5
        0x12, 0x02, // 2 carriers[1]
        0x18, 0x00, //     3 as a varint
        0x12, 0x02, // 2 carriers[2]: never reached
        0x08, 0x07, //     1 carrier_value_1 = 7
    };
    zidl_rib_encap_id_path_key_srv6_carriers msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_encap_id_path_key_srv6_carriers>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
    ASSERT_EQ(msg.carriers_count, 3u);
    EXPECT_EQ(msg.carriers[0].carrier_value_1, 5u);
    EXPECT_EQ(msg.carriers[2].carrier_value_1, 0u);
    EXPECT_EQ(msg.carriers[2].presence, 0x00);
    EXPECT_EQ(msg.presence, 0x00);

    release<rib_encap_id_path_key_srv6_carriers>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0}));
}

TEST(rib_encap_id_path_key_srv6_carriers, duplicate_goes_on_after_a_carrier_that_cannot_be_copied)
{
    uint8_t block[] = {0xC1};
    zidl_rib_encap_id_path_key_srv6_carrier_info carriers[2] = {};
    for (auto &carrier : carriers) {
        carrier.carrier_value_1 = 5;
        carrier.carrier_bytes = block;
        carrier.carrier_bytes_size = 1;
        carrier.presence = 0x05;
    }
    zidl_rib_encap_id_path_key_srv6_carriers src = {};
    src.carriers = carriers;
    src.carriers_count = 2;
    src.presence = 0x02;
    zidl_rib_encap_id_path_key_srv6_carriers dst = {};
    memory mem(1);

    EXPECT_EQ(duplicate<rib_encap_id_path_key_srv6_carriers>(dst, src, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests, (sizes{2 * sizeof(zidl_rib_encap_id_path_key_srv6_carrier_info), 1, 1}));
    ASSERT_EQ(dst.carriers_count, 2u);
    EXPECT_EQ(dst.carriers[0].carrier_value_1, 5u);
    EXPECT_EQ(dst.carriers[0].carrier_bytes, nullptr);
    EXPECT_EQ(dst.carriers[0].presence & 0x07, 0x01);
    EXPECT_EQ(dst.carriers[1].carrier_bytes[0], 0xC1);
    EXPECT_EQ(dst.carriers[1].presence & 0x07, 0x05);
    EXPECT_EQ(dst.presence, 0x02);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_encap_id_key, encoding.

TEST(rib_encap_id_key, fields_16_and_20_alone_have_two_byte_tags)
{
    uint8_t block[] = {0xAA, 0xBB};
    zidl_rib_encap_id_key msg = {};
    msg.key_value_16 = 5;
    msg.key_bytes_20 = block;
    msg.key_bytes_20_size = 2;
    msg.presence = 1u << 15 | 1u << 19;

    const bytes expected = {
        0x80, 0x01, 0x05,             // 16 key_value_16 = 5
        0xA2, 0x01, 0x02, 0xAA, 0xBB, // 20 key_bytes_20
    };
    EXPECT_EQ(encode<rib_encap_id_key>(msg), expected);

    zidl_rib_encap_id_key back = {};
    memory mem;
    ASSERT_EQ(decode<rib_encap_id_key>(back, expected, mem), ZIDL_OK);
    EXPECT_EQ(back.presence, 1u << 15 | 1u << 19);
    EXPECT_EQ(back.key_value_16, 5u);
    EXPECT_EQ(bytes(back.key_bytes_20, back.key_bytes_20 + back.key_bytes_20_size), (bytes{0xAA, 0xBB}));
}

TEST(rib_encap_id_key, present_but_empty_label_key_is_a_tag_and_a_zero_length)
{
    zidl_rib_encap_id_key msg = {};
    msg.presence = 1u << 9;

    const bytes expected = {
        0x52, 0x00, // 10 label_key, empty
    };
    EXPECT_EQ(encode<rib_encap_id_key>(msg), expected);

    zidl_rib_encap_id_key back = {};
    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(back, expected), ZIDL_OK);
    EXPECT_EQ(back.presence, 1u << 9);
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

TEST(rib_encap_id_key, fixed_field_keeps_four_bytes_for_a_zero)
{
    zidl_rib_encap_id_key msg = {};
    msg.presence = 1u << 5;

    const bytes expected = {
        0x35, 0x00, 0x00, 0x00, 0x00, // 6 key_value_6 = 0
    };
    EXPECT_EQ(encode<rib_encap_id_key>(msg), expected);
}

TEST(rib_encap_id_key, bytes_of_the_fixed_field_are_stored_as_far_as_the_buffer_goes)
{
    zidl_rib_encap_id_key msg = {};
    msg.key_value_6 = 0x04030201;
    msg.presence = 1u << 5;
    const bytes encoding = {
        0x35, 0x01, 0x02, 0x03, 0x04, // 6 key_value_6
    };
    for (size_t room = 0; room <= encoding.size(); room++) {
        const listing out = list_segments<rib_encap_id_key>(msg, room, 0, 0);
        EXPECT_EQ(out.result, 5u);
        EXPECT_EQ(out.buf, bytes(encoding.begin(), encoding.begin() + static_cast<ptrdiff_t>(room)));
    }
}

TEST(rib_encap_id_key, nested_message_with_content_is_written_without_its_bit)
{
    zidl_rib_encap_id_key msg = {};
    msg.srv6_carriers.oper_type.presence = 0x04; // oper_when_clear

    const bytes expected = {
        0x72, 0x04, // 14 srv6_carriers
        0x0A, 0x02, //     1 oper_type
        0x18, 0x00, //         3 oper_when_clear = 0
    };
    EXPECT_EQ(encode<rib_encap_id_key>(msg), expected);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_encap_id_key, zero-copy segments.

// Blocks at four depths: a prefix, two entries, a carrier, and the key's own.
struct key_with_blocks {
    uint8_t address[2] = {0x20, 0x01};
    uint8_t entry_0[1] = {0xE0};
    uint8_t entry_1[2] = {0xE1, 0xE2};
    zidl_bytes entries[2] = {{entry_0, 1}, {entry_1, 2}};
    uint8_t carrier_block[3] = {0xC0, 0xC1, 0xC2};
    zidl_rib_encap_id_path_key_srv6_carrier_info carriers[1] = {};
    uint8_t block_20[2] = {0x51, 0x52};
    zidl_rib_encap_id_key msg = {};

    key_with_blocks()
    {
        msg.key_value_1 = 1;
        msg.key_prefix.family = 10;
        msg.key_prefix.ipv6 = address;
        msg.key_prefix.ipv6_size = 2;
        msg.key_prefix.presence = 0x09;
        msg.srv6_key.entries = entries;
        msg.srv6_key.entries_count = 2;
        msg.srv6_key.presence = 0x02;
        carriers[0].carrier_value_1 = 5;
        carriers[0].carrier_bytes = carrier_block;
        carriers[0].carrier_bytes_size = 3;
        carriers[0].presence = 0x05;
        msg.srv6_carriers.carriers = carriers;
        msg.srv6_carriers.carriers_count = 1;
        msg.srv6_carriers.presence = 0x02;
        msg.key_bytes_20 = block_20;
        msg.key_bytes_20_size = 2;
        msg.presence = 1u << 0 | 1u << 2 | 1u << 10 | 1u << 13 | 1u << 19;
    }
};

TEST(rib_encap_id_key, copies_blocks_at_every_depth)
{
    const key_with_blocks sample;
    const bytes expected = {
        0x08, 0x01,                   // 1 key_value_1 = 1
        0x1A, 0x06,                   // 3 key_prefix
        0x08, 0x0A,                   //     1 family = 10
        0x22, 0x02, 0x20, 0x01,       //     4 ipv6
        0x5A, 0x07,                   // 11 srv6_key
        0x12, 0x01, 0xE0,             //     2 entries[0]
        0x12, 0x02, 0xE1, 0xE2,       //     2 entries[1]
        0x72, 0x09,                   // 14 srv6_carriers
        0x12, 0x07,                   //     2 carriers[0]
        0x08, 0x05,                   //         1 carrier_value_1 = 5
        0x1A, 0x03, 0xC0, 0xC1, 0xC2, //         3 carrier_bytes
        0xA2, 0x01, 0x02, 0x51, 0x52, // 20 key_bytes_20
    };
    EXPECT_EQ(encode<rib_encap_id_key>(sample.msg), expected);
}

TEST(rib_encap_id_key, zero_copy_leaves_blocks_out_of_every_length)
{
    const key_with_blocks sample;
    const bytes expected = {
        0x08, 0x01,       // 1 key_value_1 = 1
        0x1A, 0x04,       // 3 key_prefix, four bytes here
        0x08, 0x0A,       //     1 family = 10
        0x22, 0x02,       //     4 ipv6, two bytes elsewhere
        0x5A, 0x04,       // 11 srv6_key, four bytes here
        0x12, 0x01,       //     2 entries[0], one byte elsewhere
        0x12, 0x02,       //     2 entries[1], two bytes elsewhere
        0x72, 0x06,       // 14 srv6_carriers, six bytes here
        0x12, 0x04,       //     2 carriers[0], four bytes here
        0x08, 0x05,       //         1 carrier_value_1 = 5
        0x1A, 0x03,       //         3 carrier_bytes, three bytes elsewhere
        0xA2, 0x01, 0x02, // 20 key_bytes_20, two bytes elsewhere
    };
    EXPECT_EQ(encode<rib_encap_id_key>(sample.msg, ZIDL_ZERO_COPY), expected);
}

TEST(rib_encap_id_key, zero_copy_segments_of_nested_messages_come_first_at_every_capacity)
{
    const key_with_blocks sample;
    for (uint32_t capacity = 0; capacity <= 12; capacity++) {
        SCOPED_TRACE(capacity);
        const listing out = list_segments<rib_encap_id_key>(sample.msg, 25, capacity, ZIDL_ZERO_COPY);
        const zidl_segment expected[] = {
            {out.buf.data() + 4, 4},   // key_prefix up to ipv6's length
            {sample.address, 2},       // key_prefix.ipv6, its last field: no closing entry
            {out.buf.data() + 10, 2},  // srv6_key up to entries[0]'s length
            {sample.entry_0, 1},       // srv6_key.entries[0]
            {out.buf.data() + 12, 2},  // srv6_key.entries[1]'s tag and length
            {sample.entry_1, 2},       // srv6_key.entries[1]
            {out.buf.data() + 18, 4},  // carriers[0] up to carrier_bytes' length
            {sample.carrier_block, 3}, // carriers[0].carrier_bytes, its last field
            {out.buf.data() + 16, 6},  // srv6_carriers as a whole
            {out.buf.data(), 25},      // the key as a whole, up to key_bytes_20's length
            {sample.block_20, 2},      // key_bytes_20, the last field
        };
        EXPECT_EQ(out.result, 25u);
        EXPECT_EQ(out.count, 11u);
        for (uint32_t i = 0; i < capacity && i < 11; i++)
            EXPECT_EQ(out.segs[i], expected[i]) << "entry " << i;
        for (size_t i = capacity < 11 ? capacity : 11; i < out.segs.size(); i++)
            EXPECT_EQ(out.segs[i].len, listing::untouched_len) << "entry " << i;
    }
}

TEST(rib_encap_id_key, zero_copy_empty_block_in_the_last_field_is_covered_by_the_closing_segment)
{
    key_with_blocks sample;
    sample.msg = {};
    sample.msg.key_bytes_20 = sample.block_20;
    sample.msg.presence = 1u << 0 | 1u << 19;

    const listing out = list_segments<rib_encap_id_key>(sample.msg, 5, 2, ZIDL_ZERO_COPY);
    EXPECT_EQ(out.result, 5u);
    EXPECT_EQ(out.count, 1u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data(), 5}));
}

TEST(rib_encap_id_key, zero_copy_without_a_segment_count_leaves_blocks_out)
{
    const key_with_blocks sample;
    EXPECT_EQ(encoded_size<rib_encap_id_key>(sample.msg, ZIDL_ZERO_COPY), 25u);
    EXPECT_EQ(encoded_size<rib_encap_id_key>(sample.msg, 0), 35u);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_encap_id_key, decoding.

TEST(rib_encap_id_key, fixed_field_as_a_varint_is_refused)
{
    const bytes input = {
        0x30, 0x01, // 6 as a varint
    };
    zidl_rib_encap_id_key msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, input), ZIDL_ERR_FIELD_TYPE);
}

TEST(rib_encap_id_key, fixed_field_without_any_byte_is_malformed)
{
    const bytes input = {
        0x35, // 6 key_value_6: all four bytes are missing
    };
    zidl_rib_encap_id_key msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, input), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.presence, 0u);
}

TEST(rib_encap_id_key, fixed_field_of_one_byte_is_malformed)
{
    const bytes input = {
        0x35, 0x01, // 6 key_value_6: three bytes are missing
    };
    zidl_rib_encap_id_key msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, input), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.presence, 0u);
}

TEST(rib_encap_id_key, fixed_field_of_two_bytes_is_malformed)
{
    const bytes input = {
        0x35, 0x01, 0x02, // 6 key_value_6: two bytes are missing
    };
    zidl_rib_encap_id_key msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, input), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.presence, 0u);
}

TEST(rib_encap_id_key, fixed_field_of_three_bytes_is_malformed)
{
    const bytes input = {
        0x35, 0x01, 0x02, 0x03, // 6 key_value_6: one byte is missing
    };
    zidl_rib_encap_id_key msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, input), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.presence, 0u);
}

TEST(rib_encap_id_key, fixed_field_is_read_lowest_byte_first)
{
    const bytes input = {
        0x35, 0x01, 0x02, 0x03, 0xF4, // 6 key_value_6 = 0xF4030201
        0x40, 0x08,                   // 8 key_value_8 = 8
    };
    zidl_rib_encap_id_key msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.key_value_6, 0xF4030201u);
    EXPECT_EQ(msg.key_value_8, 8u);
    EXPECT_EQ(msg.presence, 1u << 5 | 1u << 7);
}

TEST(rib_encap_id_key, unknown_field_of_four_missing_bytes_is_skipped)
{
    const bytes input = {
        0x08, 0x01,             // 1 key_value_1 = 1
        0xAD, 0x01, 0x01, 0x02, // 21 as four bytes: two are missing
    };
    zidl_rib_encap_id_key msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 1u << 0);
}

TEST(rib_encap_id_key, fields_outside_1_to_20_are_skipped)
{
    const bytes input = {
        0x02, 0x01, 0xFF,                   // 0, one byte
        0xA8, 0x01, 0x07,                   // 21 = 7
        0xFA, 0xFF, 0xFF, 0xFF, 0x0F, 0x00, // 2^29 - 1, empty
        0x10, 0x02,                         // 2 key_value_2 = 2
    };
    zidl_rib_encap_id_key msg = {};

    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.presence, 1u << 1);
    EXPECT_EQ(msg.key_value_2, 2u);
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

TEST(rib_encap_id_key, zero_copy_bytes_point_into_the_input_and_are_not_released)
{
    const bytes input = {
        0xA2, 0x01, 0x02, 0xAA, 0xBB, // 20 key_bytes_20
    };
    zidl_rib_encap_id_key msg = {};
    memory mem;

    ASSERT_EQ(decode<rib_encap_id_key>(msg, input, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    EXPECT_EQ(mem.requests, sizes());
    EXPECT_EQ(msg.key_bytes_20, input.data() + 3);
    EXPECT_EQ(msg.key_bytes_20_size, 2u);

    release<rib_encap_id_key>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, sizes());
    EXPECT_EQ(msg.key_bytes_20, input.data() + 3);
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

TEST(rib_encap_id_key, asks_for_memory_in_input_order)
{
    zidl_rib_encap_id_key msg = {};
    memory mem;

    ASSERT_EQ(decode<rib_encap_id_key>(msg, key_of_many_blocks, mem), ZIDL_OK);
    const sizes expected = {
        1,                                                    // key_prefix.ipv6
        1,                                                    // key_second_prefix.ipv6
        2 * sizeof(zidl_rib_msg_prefix),                      // key_extra_prefixes
        1,                                                    // key_extra_prefixes[0].ipv6
        1,                                                    // key_extra_prefixes[1].ipv6
        4,                                                    // label_key.labels
        sizeof(zidl_bytes),                                   // srv6_key.entries
        1,                                                    // srv6_key.entries[0]
        sizeof(zidl_rib_encap_id_path_key_srv6_carrier_info), // srv6_carriers.carriers
        1,                                                    // srv6_carriers.carriers[0].carrier_bytes
        2,                                                    // key_bytes_20
    };
    EXPECT_EQ(mem.requests, expected);
    EXPECT_EQ(encode<rib_encap_id_key>(msg), key_of_many_blocks);
}

TEST(rib_encap_id_key, release_goes_in_declaration_order_and_depth_first)
{
    zidl_rib_encap_id_key msg = {};
    memory mem;
    ASSERT_EQ(decode<rib_encap_id_key>(msg, key_of_many_blocks, mem), ZIDL_OK);

    release<rib_encap_id_key>(msg, mem);
    const sizes expected = {
        0,        // key_prefix.ipv6
        1,        // key_second_prefix.ipv6
        3,  4, 2, // key_extra_prefixes: both addresses, then the array
        5,        // label_key.labels
        7,  6,    // srv6_key.entries: the entry, then the array
        9,  8,    // srv6_carriers.carriers: the carrier's bytes, then the array
        10,       // key_bytes_20
    };
    EXPECT_EQ(mem.releases, expected);
}

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

TEST(rib_encap_id_key, zero_copy_release_gives_back_arrays_only)
{
    zidl_rib_encap_id_key msg = {};
    memory mem;
    ASSERT_EQ(decode<rib_encap_id_key>(msg, key_of_many_blocks, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    const sizes arrays = {
        2 * sizeof(zidl_rib_msg_prefix),                      // key_extra_prefixes
        4,                                                    // label_key.labels
        sizeof(zidl_bytes),                                   // srv6_key.entries
        sizeof(zidl_rib_encap_id_path_key_srv6_carrier_info), // srv6_carriers.carriers
    };
    EXPECT_EQ(mem.requests, arrays);

    release<rib_encap_id_key>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0, 1, 2, 3}));
}

TEST(rib_encap_id_key, second_run_of_extra_prefixes_is_malformed)
{
    const bytes input = {
        0x4A, 0x00, // 9 key_extra_prefixes[0], empty
        0x40, 0x08, // 8 key_value_8 = 8
        0x4A, 0x00, // 9 key_extra_prefixes, again
    };
    zidl_rib_encap_id_key msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_encap_id_key>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.presence, 1u << 7 | 1u << 8);
}

TEST(rib_encap_id_key, second_label_key_replaces_the_first_and_leaves_its_labels_unreleased)
{
    const bytes input = {
        0x52, 0x02, // 10 label_key
        0x10, 0x10, //     2 labels[0] = 16
        0x52, 0x04, // 10 label_key, again
        0x10, 0x11, //     2 labels[0] = 17
        0x10, 0x12, //     2 labels[1] = 18
    };
    zidl_rib_encap_id_key msg = {};
    memory mem;

    ASSERT_EQ(decode<rib_encap_id_key>(msg, input, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{4, 8}));
    EXPECT_EQ(mem.releases, sizes());
    ASSERT_EQ(msg.label_key.labels_count, 2u);
    EXPECT_EQ(msg.label_key.labels[0], 17u);
    EXPECT_EQ(msg.label_key.labels[1], 18u);
}

TEST(rib_encap_id_key, second_key_bytes_are_malformed)
{
    const bytes input = {
        0xA2, 0x01, 0x00, // 20 key_bytes_20, empty
        0xA2, 0x01, 0x00, // 20 key_bytes_20, again
    };
    zidl_rib_encap_id_key msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_encap_id_key>(msg, input, mem), ZIDL_ERR_MALFORMED);
}

TEST(rib_encap_id_key, failure_inside_a_nested_message_keeps_what_was_read_before)
{
    const bytes input = {
        0x08, 0x01,       // 1 key_value_1 = 1
        0x1A, 0x03,       // 3 key_prefix
        0x22, 0x01, 0x31, //     4 ipv6
        0x52, 0x01,       // 10 label_key
        0x0B,             //     1 with wire type 3
    };
    zidl_rib_encap_id_key msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_encap_id_key>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(msg.presence, 1u << 0 | 1u << 2);
    EXPECT_EQ(msg.key_prefix.ipv6, mem.blocks[0]);
    release<rib_encap_id_key>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0}));
}

TEST(rib_encap_id_key, empty_input_keeps_spare_bits_at_every_depth)
{
    zidl_rib_encap_id_key msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0xFFF00000u);
    EXPECT_EQ(msg.key_prefix.presence, 0xF0);
    EXPECT_EQ(msg.key_second_prefix.presence, 0xF0);
    EXPECT_EQ(msg.label_key.presence, 0xFC);
    EXPECT_EQ(msg.srv6_key.presence, 0xFC);
    EXPECT_EQ(msg.srv6_key.oper_type.presence, 0xF8);
    EXPECT_EQ(msg.srv6_carriers.presence, 0xFC);
    EXPECT_EQ(msg.srv6_carriers.oper_type.presence, 0xF8);
}

TEST(rib_encap_id_key, empty_input_clears_every_member)
{
    zidl_rib_encap_id_key msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<rib_encap_id_key>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.key_value_1, 0u);
    EXPECT_EQ(msg.key_value_2, 0u);
    EXPECT_EQ(msg.key_prefix.family, 0u);
    EXPECT_EQ(msg.key_prefix.ipv6, nullptr);
    EXPECT_EQ(msg.key_prefix.ipv6_size, 0u);
    EXPECT_EQ(msg.key_value_4, 0u);
    EXPECT_EQ(msg.key_type, 0u);
    EXPECT_EQ(msg.key_value_6, 0u);
    EXPECT_EQ(msg.key_second_prefix.ipv4, 0u);
    EXPECT_EQ(msg.key_value_8, 0u);
    EXPECT_EQ(msg.key_extra_prefixes, nullptr);
    EXPECT_EQ(msg.key_extra_prefixes_count, 0u);
    EXPECT_EQ(msg.label_key.label_key_value, 0u);
    EXPECT_EQ(msg.label_key.labels, nullptr);
    EXPECT_EQ(msg.label_key.labels_count, 0u);
    EXPECT_EQ(msg.srv6_key.oper_type.oper_selector, 0);
    EXPECT_EQ(msg.srv6_key.entries, nullptr);
    EXPECT_EQ(msg.srv6_key.entries_count, 0u);
    EXPECT_EQ(msg.key_value_12, 0u);
    EXPECT_EQ(msg.key_value_13, 0u);
    EXPECT_EQ(msg.srv6_carriers.oper_type.oper_when_clear, 0u);
    EXPECT_EQ(msg.srv6_carriers.carriers, nullptr);
    EXPECT_EQ(msg.srv6_carriers.carriers_count, 0u);
    EXPECT_EQ(msg.key_value_15, 0u);
    EXPECT_EQ(msg.key_value_16, 0u);
    EXPECT_EQ(msg.key_value_17, 0u);
    EXPECT_EQ(msg.key_value_18, 0u);
    EXPECT_EQ(msg.key_value_19, 0u);
    EXPECT_EQ(msg.key_bytes_20, nullptr);
    EXPECT_EQ(msg.key_bytes_20_size, 0u);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_encap_id_key, duplicate.

TEST(rib_encap_id_key, duplicate_asks_for_memory_in_declaration_order)
{
    const key_with_blocks sample;
    zidl_rib_encap_id_key dst = {};
    memory mem;

    ASSERT_EQ(duplicate<rib_encap_id_key>(dst, sample.msg, mem), ZIDL_OK);
    const sizes expected = {
        2,                                                    // key_prefix.ipv6
        2 * sizeof(zidl_bytes),                               // srv6_key.entries
        1,                                                    // srv6_key.entries[0]
        2,                                                    // srv6_key.entries[1]
        sizeof(zidl_rib_encap_id_path_key_srv6_carrier_info), // srv6_carriers.carriers
        3,                                                    // srv6_carriers.carriers[0].carrier_bytes
        2,                                                    // key_bytes_20
    };
    EXPECT_EQ(mem.requests, expected);
    EXPECT_EQ(encode<rib_encap_id_key>(dst), encode<rib_encap_id_key>(sample.msg));
}

TEST(rib_encap_id_key, duplicate_clears_exactly_the_member_that_it_cannot_copy)
{
    const key_with_blocks sample;
    // What the copy encodes to when the request of that number is refused.
    const bytes without[] = {
        {
            // 0: key_prefix.ipv6
            0x08, 0x01,                   // 1 key_value_1 = 1
            0x1A, 0x02,                   // 3 key_prefix
            0x08, 0x0A,                   //     1 family = 10
            0x5A, 0x07,                   // 11 srv6_key
            0x12, 0x01, 0xE0,             //     2 entries[0]
            0x12, 0x02, 0xE1, 0xE2,       //     2 entries[1]
            0x72, 0x09,                   // 14 srv6_carriers
            0x12, 0x07,                   //     2 carriers[0]
            0x08, 0x05,                   //         1 carrier_value_1 = 5
            0x1A, 0x03, 0xC0, 0xC1, 0xC2, //         3 carrier_bytes
            0xA2, 0x01, 0x02, 0x51, 0x52, // 20 key_bytes_20
        },
        {
            // 1: srv6_key.entries
            0x08, 0x01,                   // 1 key_value_1 = 1
            0x1A, 0x06,                   // 3 key_prefix
            0x08, 0x0A,                   //     1 family = 10
            0x22, 0x02, 0x20, 0x01,       //     4 ipv6
            0x5A, 0x00,                   // 11 srv6_key, present but empty
            0x72, 0x09,                   // 14 srv6_carriers
            0x12, 0x07,                   //     2 carriers[0]
            0x08, 0x05,                   //         1 carrier_value_1 = 5
            0x1A, 0x03, 0xC0, 0xC1, 0xC2, //         3 carrier_bytes
            0xA2, 0x01, 0x02, 0x51, 0x52, // 20 key_bytes_20
        },
        {
            // 2: srv6_key.entries[0]
            0x08, 0x01,                   // 1 key_value_1 = 1
            0x1A, 0x06,                   // 3 key_prefix
            0x08, 0x0A,                   //     1 family = 10
            0x22, 0x02, 0x20, 0x01,       //     4 ipv6
            0x5A, 0x06,                   // 11 srv6_key
            0x12, 0x00,                   //     2 entries[0], empty
            0x12, 0x02, 0xE1, 0xE2,       //     2 entries[1]
            0x72, 0x09,                   // 14 srv6_carriers
            0x12, 0x07,                   //     2 carriers[0]
            0x08, 0x05,                   //         1 carrier_value_1 = 5
            0x1A, 0x03, 0xC0, 0xC1, 0xC2, //         3 carrier_bytes
            0xA2, 0x01, 0x02, 0x51, 0x52, // 20 key_bytes_20
        },
        {
            // 3: srv6_key.entries[1]
            0x08, 0x01,                   // 1 key_value_1 = 1
            0x1A, 0x06,                   // 3 key_prefix
            0x08, 0x0A,                   //     1 family = 10
            0x22, 0x02, 0x20, 0x01,       //     4 ipv6
            0x5A, 0x05,                   // 11 srv6_key
            0x12, 0x01, 0xE0,             //     2 entries[0]
            0x12, 0x00,                   //     2 entries[1], empty
            0x72, 0x09,                   // 14 srv6_carriers
            0x12, 0x07,                   //     2 carriers[0]
            0x08, 0x05,                   //         1 carrier_value_1 = 5
            0x1A, 0x03, 0xC0, 0xC1, 0xC2, //         3 carrier_bytes
            0xA2, 0x01, 0x02, 0x51, 0x52, // 20 key_bytes_20
        },
        {
            // 4: srv6_carriers.carriers
            0x08, 0x01,                   // 1 key_value_1 = 1
            0x1A, 0x06,                   // 3 key_prefix
            0x08, 0x0A,                   //     1 family = 10
            0x22, 0x02, 0x20, 0x01,       //     4 ipv6
            0x5A, 0x07,                   // 11 srv6_key
            0x12, 0x01, 0xE0,             //     2 entries[0]
            0x12, 0x02, 0xE1, 0xE2,       //     2 entries[1]
            0x72, 0x00,                   // 14 srv6_carriers, present but empty
            0xA2, 0x01, 0x02, 0x51, 0x52, // 20 key_bytes_20
        },
        {
            // 5: srv6_carriers.carriers[0].carrier_bytes
            0x08, 0x01,                   // 1 key_value_1 = 1
            0x1A, 0x06,                   // 3 key_prefix
            0x08, 0x0A,                   //     1 family = 10
            0x22, 0x02, 0x20, 0x01,       //     4 ipv6
            0x5A, 0x07,                   // 11 srv6_key
            0x12, 0x01, 0xE0,             //     2 entries[0]
            0x12, 0x02, 0xE1, 0xE2,       //     2 entries[1]
            0x72, 0x04,                   // 14 srv6_carriers
            0x12, 0x02,                   //     2 carriers[0]
            0x08, 0x05,                   //         1 carrier_value_1 = 5
            0xA2, 0x01, 0x02, 0x51, 0x52, // 20 key_bytes_20
        },
        {
            // 6: key_bytes_20
            0x08, 0x01,                   // 1 key_value_1 = 1
            0x1A, 0x06,                   // 3 key_prefix
            0x08, 0x0A,                   //     1 family = 10
            0x22, 0x02, 0x20, 0x01,       //     4 ipv6
            0x5A, 0x07,                   // 11 srv6_key
            0x12, 0x01, 0xE0,             //     2 entries[0]
            0x12, 0x02, 0xE1, 0xE2,       //     2 entries[1]
            0x72, 0x09,                   // 14 srv6_carriers
            0x12, 0x07,                   //     2 carriers[0]
            0x08, 0x05,                   //         1 carrier_value_1 = 5
            0x1A, 0x03, 0xC0, 0xC1, 0xC2, //         3 carrier_bytes
        },
    };
    for (size_t refused = 0; refused < std::size(without); refused++) {
        SCOPED_TRACE(refused);
        zidl_rib_encap_id_key dst = {};
        memory mem(refused);
        EXPECT_EQ(duplicate<rib_encap_id_key>(dst, sample.msg, mem), ZIDL_ERR_NO_MEMORY);
        EXPECT_EQ(encode<rib_encap_id_key>(dst), without[refused]);
        release<rib_encap_id_key>(dst, mem);
        EXPECT_EQ(mem.releases.size(), mem.requests.size() - 1);
    }
}

TEST(rib_encap_id_key, duplicate_without_an_allocation_function_copies_the_numbers)
{
    const key_with_blocks sample;
    zidl_rib_encap_id_key dst = {};

    EXPECT_EQ(duplicate_without_memory<rib_encap_id_key>(dst, sample.msg), ZIDL_ERR_NO_MEMORY);
    const bytes expected = {
        0x08, 0x01, // 1 key_value_1 = 1
        0x1A, 0x02, // 3 key_prefix
        0x08, 0x0A, //     1 family = 10
        0x5A, 0x00, // 11 srv6_key, present but empty
        0x72, 0x00, // 14 srv6_carriers, present but empty
    };
    EXPECT_EQ(encode<rib_encap_id_key>(dst), expected);
}

TEST(rib_encap_id_key, duplicate_keeps_spare_bits_at_every_depth)
{
    const zidl_rib_encap_id_key src = {};
    zidl_rib_encap_id_key dst;
    std::memset(&dst, 0xFF, sizeof dst);

    EXPECT_EQ(duplicate_without_memory<rib_encap_id_key>(dst, src), ZIDL_OK);
    EXPECT_EQ(dst.presence, 0xFFF00000u);
    EXPECT_EQ(dst.key_prefix.presence, 0xF0);
    EXPECT_EQ(dst.key_second_prefix.presence, 0xF0);
    EXPECT_EQ(dst.label_key.presence, 0xFC);
    EXPECT_EQ(dst.srv6_key.presence, 0xFC);
    EXPECT_EQ(dst.srv6_key.oper_type.presence, 0xF8);
    EXPECT_EQ(dst.srv6_carriers.presence, 0xFC);
    EXPECT_EQ(dst.srv6_carriers.oper_type.presence, 0xF8);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_encap_id.

TEST(rib_encap_id, carries_all_64_bits)
{
    zidl_rib_encap_id msg = {};
    msg.encap_id = 0xFFFFFFFFFFFFFFFE;
    msg.presence = 0x01;

    const bytes expected = {
        0x08, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 1 encap_id = 2^64 - 2
    };
    EXPECT_EQ(encode<rib_encap_id>(msg), expected);

    zidl_rib_encap_id back = {};
    EXPECT_EQ(zidl_rib_encap_id_decode_ext(&back, expected.data(), expected.size()), ZIDL_OK);
    EXPECT_EQ(back.encap_id, 0xFFFFFFFFFFFFFFFE);
    EXPECT_EQ(back.presence, 0x01);
}

TEST(rib_encap_id, takes_as_many_bytes_as_its_highest_bit_needs)
{
    const struct {
        uint64_t encap_id;
        bytes encoding;
    } cases[] = {
        {(uint64_t{1} << 49) - 1, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}},
        {uint64_t{1} << 49, {0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}},
        {(uint64_t{1} << 56) - 1, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}},
        {uint64_t{1} << 56, {0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}},
        {(uint64_t{1} << 63) - 1, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}},
        {uint64_t{1} << 63, {0x08, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}},
    };
    for (const auto &item : cases) {
        zidl_rib_encap_id msg = {};
        msg.encap_id = item.encap_id;
        msg.presence = 0x01;
        EXPECT_EQ(encode<rib_encap_id>(msg), item.encoding);

        zidl_rib_encap_id back = {};
        EXPECT_EQ(decode_without_memory<rib_encap_id>(back, item.encoding), ZIDL_OK);
        EXPECT_EQ(back.encap_id, item.encap_id);
    }
}

TEST(rib_encap_id, duplicate_copies_number_and_bit_and_keeps_spare_bits)
{
    zidl_rib_encap_id src = {};
    src.encap_id = UINT64_MAX;
    src.presence = 0x7F;
    zidl_rib_encap_id dst = {};
    dst.presence = 0x80;

    EXPECT_EQ(zidl_rib_encap_id_duplicate(&dst, &src), ZIDL_OK);
    EXPECT_EQ(dst.encap_id, UINT64_MAX);
    EXPECT_EQ(dst.presence, 0x81);
}

TEST(rib_encap_id, release_changes_nothing)
{
    zidl_rib_encap_id msg = {};
    msg.encap_id = 3;
    msg.presence = 0x01;

    zidl_rib_encap_id_free_ext(&msg, nullptr, nullptr, 0);
    EXPECT_EQ(msg.encap_id, 3u);
    EXPECT_EQ(msg.presence, 0x01);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_grid_sync_list.

TEST(rib_grid_sync_list, false_multi_key_that_is_present_takes_two_bytes)
{
    zidl_rib_grid_sync_list msg = {};
    msg.presence = 0x04;

    const bytes expected = {
        0x20, 0x00, // 4 multi_key = false
    };
    EXPECT_EQ(encode<rib_grid_sync_list>(msg), expected);

    zidl_rib_grid_sync_list back = {};
    EXPECT_EQ(decode_without_memory<rib_grid_sync_list>(back, expected), ZIDL_OK);
    EXPECT_EQ(back.multi_key, 0);
    EXPECT_EQ(back.presence, 0x04);
}

TEST(rib_grid_sync_list, present_but_empty_encap_ids_are_not_written)
{
    zidl_rib_encap_id encap_ids[1] = {};
    zidl_rib_grid_sync_list msg = {};
    msg.encap_ids = encap_ids;
    msg.presence = 0x01;

    EXPECT_EQ(encode<rib_grid_sync_list>(msg), bytes());
}

TEST(rib_grid_sync_list, encap_ids_whose_bit_is_clear_are_not_written)
{
    zidl_rib_encap_id encap_ids[1] = {};
    zidl_rib_grid_sync_list msg = {};
    msg.encap_ids = encap_ids;
    msg.encap_ids_count = 1;

    EXPECT_EQ(encode<rib_grid_sync_list>(msg), bytes());
}

// Two IDs and two keys; the comments count the requests for memory.
const bytes list_encoding = {
    0x0A, 0x02,                   // 1 encap_ids[0]: request 0, the array
    0x08, 0x07,                   //     1 encap_id = 7
    0x0A, 0x00,                   // 1 encap_ids[1], empty
    0x12, 0x05,                   // 2 keys[0]: request 1, the array
    0xA2, 0x01, 0x02, 0xA1, 0xA2, //     20 key_bytes_20: request 2
    0x12, 0x04,                   // 2 keys[1]
    0x52, 0x02,                   //     10 label_key
    0x10, 0x10,                   //         2 labels[0] = 16: request 3
    0x20, 0x01,                   // 4 multi_key = true
};

TEST(rib_grid_sync_list, survives_decoding_and_encoding)
{
    zidl_rib_grid_sync_list msg = {};
    memory mem;

    ASSERT_EQ(decode<rib_grid_sync_list>(msg, list_encoding, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2 * sizeof(zidl_rib_encap_id), 2 * sizeof(zidl_rib_encap_id_key), 2, 4}));
    ASSERT_EQ(msg.encap_ids_count, 2u);
    EXPECT_EQ(msg.encap_ids[0].encap_id, 7u);
    EXPECT_EQ(msg.encap_ids[0].presence, 0x01);
    EXPECT_EQ(msg.encap_ids[1].presence, 0x00);
    ASSERT_EQ(msg.keys_count, 2u);
    EXPECT_EQ(msg.keys[0].presence, 1u << 19);
    EXPECT_EQ(msg.keys[1].label_key.labels[0], 16u);
    EXPECT_EQ(msg.multi_key, 1);
    EXPECT_EQ(msg.presence, 0x07);
    EXPECT_EQ(encode<rib_grid_sync_list>(msg), list_encoding);
}

TEST(rib_grid_sync_list, release_gives_back_ids_then_what_keys_own_then_keys)
{
    zidl_rib_grid_sync_list msg = {};
    memory mem;
    ASSERT_EQ(decode<rib_grid_sync_list>(msg, list_encoding, mem), ZIDL_OK);

    release<rib_grid_sync_list>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 2, 3, 1}));
    EXPECT_EQ(msg.encap_ids, nullptr);
    EXPECT_EQ(msg.encap_ids_count, 0u);
    EXPECT_EQ(msg.keys, nullptr);
    EXPECT_EQ(msg.keys_count, 0u);
    EXPECT_EQ(msg.multi_key, 1);
    EXPECT_EQ(msg.presence, 0x07);
}

TEST(rib_grid_sync_list, zero_copy_release_keeps_the_bytes_of_its_keys)
{
    zidl_rib_grid_sync_list msg = {};
    memory mem;
    ASSERT_EQ(decode<rib_grid_sync_list>(msg, list_encoding, mem, ZIDL_ZERO_COPY), ZIDL_OK);
    ASSERT_EQ(mem.requests, (sizes{2 * sizeof(zidl_rib_encap_id), 2 * sizeof(zidl_rib_encap_id_key), 4}));

    release<rib_grid_sync_list>(msg, mem, ZIDL_ZERO_COPY);
    EXPECT_EQ(mem.releases, (sizes{0, 2, 1}));
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

TEST(rib_grid_sync_list, second_run_of_ids_is_malformed)
{
    const bytes input = {
        0x0A, 0x00, // 1 encap_ids[0], empty
        0x12, 0x00, // 2 keys[0], empty
        0x0A, 0x00, // 1 encap_ids, again
    };
    zidl_rib_grid_sync_list msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_grid_sync_list>(msg, input, mem), ZIDL_ERR_MALFORMED);
    EXPECT_EQ(msg.presence, 0x03);
}

TEST(rib_grid_sync_list, second_run_of_keys_is_malformed)
{
    const bytes input = {
        0x12, 0x00, // 2 keys[0], empty
        0x18, 0x00, // 3, unknown
        0x12, 0x00, // 2 keys, again
    };
    zidl_rib_grid_sync_list msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_grid_sync_list>(msg, input, mem), ZIDL_ERR_MALFORMED);
}

TEST(rib_grid_sync_list, repeated_field_without_an_allocation_function_is_out_of_memory)
{
    const bytes ids = {
        0x0A, 0x00, // 1 encap_ids[0], empty
    };
    const bytes keys = {
        0x12, 0x00, // 2 keys[0], empty
    };
    zidl_rib_grid_sync_list msg = {};

    EXPECT_EQ(decode_without_memory<rib_grid_sync_list>(msg, ids), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(decode_without_memory<rib_grid_sync_list>(msg, keys, ZIDL_ZERO_COPY), ZIDL_ERR_NO_MEMORY);
}

TEST(rib_grid_sync_list, failing_key_is_returned_unchanged_and_what_was_read_stays)
{
    const bytes input = {
        0x0A, 0x02,             // 1 encap_ids[0]
        0x08, 0x07,             //     1 encap_id = 7
        0x12, 0x04,             // 2 keys[0]
        0xA2, 0x01, 0x01, 0xA1, //     20 key_bytes_20
        0x12, 0x02,             // 2 keys[1]
        0x30, 0x01,             //     6 as a varint
    };
    zidl_rib_grid_sync_list msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_grid_sync_list>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(msg.presence, 0x01);
    ASSERT_EQ(msg.keys_count, 2u);
    EXPECT_EQ(msg.keys[0].key_bytes_20[0], 0xA1);
    release<rib_grid_sync_list>(msg, mem);
    EXPECT_EQ(mem.releases, (sizes{0, 2, 1}));
}

TEST(rib_grid_sync_list, wire_type_of_later_ids_is_not_looked_at)
{
    const bytes input = {
        0x0A, 0x00, // 1 encap_ids[0], empty
        0x08, 0x02, // 1 as a varint: read as encap_ids[1], two bytes
        0x08, 0x07, //     1 encap_id = 7
    };
    zidl_rib_grid_sync_list msg = {};
    memory mem;

    ASSERT_EQ(decode<rib_grid_sync_list>(msg, input, mem), ZIDL_OK);
    ASSERT_EQ(msg.encap_ids_count, 2u);
    EXPECT_EQ(msg.encap_ids[1].encap_id, 7u);
}

TEST(rib_grid_sync_list, ids_as_a_varint_are_refused)
{
    const bytes input = {
        0x08, 0x00, // 1 as a varint
    };
    zidl_rib_grid_sync_list msg = {};
    memory mem;

    EXPECT_EQ(decode<rib_grid_sync_list>(msg, input, mem), ZIDL_ERR_FIELD_TYPE);
}

TEST(rib_grid_sync_list, empty_input_clears_every_member_and_keeps_spare_bits)
{
    zidl_rib_grid_sync_list msg;
    std::memset(&msg, 0xFF, sizeof msg);

    EXPECT_EQ(decode_without_memory<rib_grid_sync_list>(msg, {}), ZIDL_OK);
    EXPECT_EQ(msg.encap_ids, nullptr);
    EXPECT_EQ(msg.encap_ids_count, 0u);
    EXPECT_EQ(msg.keys, nullptr);
    EXPECT_EQ(msg.keys_count, 0u);
    EXPECT_EQ(msg.multi_key, 0);
    EXPECT_EQ(msg.presence, 0xF8);
}

// Two IDs and one key with a block, built by hand.
struct list_sample {
    zidl_rib_encap_id encap_ids[2] = {};
    uint8_t block[2] = {0xA1, 0xA2};
    zidl_rib_encap_id_key keys[1] = {};
    zidl_rib_grid_sync_list msg = {};

    list_sample()
    {
        encap_ids[0].encap_id = 7;
        encap_ids[0].presence = 0x01;
        keys[0].key_bytes_20 = block;
        keys[0].key_bytes_20_size = 2;
        keys[0].presence = 1u << 19;
        msg.encap_ids = encap_ids;
        msg.encap_ids_count = 2;
        msg.keys = keys;
        msg.keys_count = 1;
        msg.multi_key = 1;
        msg.presence = 0x07;
    }
};

TEST(rib_grid_sync_list, duplicate_copies_ids_with_their_bits_and_keys_with_their_bytes)
{
    const list_sample sample;
    zidl_rib_grid_sync_list dst = {};
    memory mem;

    ASSERT_EQ(duplicate<rib_grid_sync_list>(dst, sample.msg, mem), ZIDL_OK);
    EXPECT_EQ(mem.requests, (sizes{2 * sizeof(zidl_rib_encap_id), sizeof(zidl_rib_encap_id_key), 2}));
    const bytes expected = {
        0x0A, 0x02,                   // 1 encap_ids[0]
        0x08, 0x07,                   //     1 encap_id = 7
        0x0A, 0x00,                   // 1 encap_ids[1], empty
        0x12, 0x05,                   // 2 keys[0]
        0xA2, 0x01, 0x02, 0xA1, 0xA2, //     20 key_bytes_20
        0x20, 0x01,                   // 4 multi_key = true
    };
    EXPECT_EQ(encode<rib_grid_sync_list>(dst), expected);
    EXPECT_NE(dst.encap_ids, sample.msg.encap_ids);
    EXPECT_NE(dst.keys[0].key_bytes_20, sample.block);
}

TEST(rib_grid_sync_list, duplicate_leaves_spare_bits_of_fresh_elements_as_the_memory_holds_them)
{
    list_sample sample;
    sample.encap_ids[0].presence = 0x01;
    sample.encap_ids[1].presence = 0x02; // a spare bit
    zidl_rib_grid_sync_list dst = {};
    memory mem; // fresh blocks hold 0xCD

    ASSERT_EQ(duplicate<rib_grid_sync_list>(dst, sample.msg, mem), ZIDL_OK);
    EXPECT_EQ(dst.encap_ids[0].presence, 0xCD);
    EXPECT_EQ(dst.encap_ids[1].presence, 0xCC);
    EXPECT_EQ(dst.keys[0].presence, 0xCDC80000u);
}

TEST(rib_grid_sync_list, duplicate_that_cannot_copy_the_ids_copies_the_keys)
{
    const list_sample sample;
    zidl_rib_grid_sync_list dst = {};
    memory mem(0);

    EXPECT_EQ(duplicate<rib_grid_sync_list>(dst, sample.msg, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.encap_ids, nullptr);
    EXPECT_EQ(dst.encap_ids_count, 0u);
    ASSERT_EQ(dst.keys_count, 1u);
    EXPECT_EQ(dst.keys[0].key_bytes_20[1], 0xA2);
    EXPECT_EQ(dst.multi_key, 1);
    EXPECT_EQ(dst.presence, 0x06);
}

TEST(rib_grid_sync_list, duplicate_that_cannot_copy_the_keys_copies_the_rest)
{
    const list_sample sample;
    zidl_rib_grid_sync_list dst = {};
    memory mem(1);

    EXPECT_EQ(duplicate<rib_grid_sync_list>(dst, sample.msg, mem), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(mem.requests.size(), 2u);
    EXPECT_EQ(dst.encap_ids_count, 2u);
    EXPECT_EQ(dst.keys, nullptr);
    EXPECT_EQ(dst.keys_count, 0u);
    EXPECT_EQ(dst.multi_key, 1);
    EXPECT_EQ(dst.presence, 0x05);
}

TEST(rib_grid_sync_list, duplicate_that_cannot_copy_the_bytes_of_a_key_keeps_the_key)
{
    const list_sample sample;
    zidl_rib_grid_sync_list dst = {};
    memory mem(2);

    EXPECT_EQ(duplicate<rib_grid_sync_list>(dst, sample.msg, mem), ZIDL_ERR_NO_MEMORY);
    ASSERT_EQ(dst.keys_count, 1u);
    EXPECT_EQ(dst.keys[0].key_bytes_20, nullptr);
    EXPECT_EQ(dst.keys[0].key_bytes_20_size, 0u);
    EXPECT_EQ(dst.keys[0].presence & 0xFFFFFu, 0u);
    EXPECT_EQ(dst.presence, 0x07);
}

TEST(rib_grid_sync_list, duplicate_without_an_allocation_function_leaves_both_arrays_absent)
{
    const list_sample sample;
    zidl_rib_grid_sync_list dst = {};

    EXPECT_EQ(duplicate_without_memory<rib_grid_sync_list>(dst, sample.msg), ZIDL_ERR_NO_MEMORY);
    EXPECT_EQ(dst.encap_ids, nullptr);
    EXPECT_EQ(dst.keys, nullptr);
    EXPECT_EQ(dst.multi_key, 1);
    EXPECT_EQ(dst.presence, 0x04);
}

TEST(rib_grid_sync_list, each_element_lists_its_segments_before_the_list_does)
{
    const list_sample sample;
    const listing out = list_segments<rib_grid_sync_list>(sample.msg, 13, 5, ZIDL_ZERO_COPY);
    const bytes expected = {
        0x0A, 0x02,       // 1 encap_ids[0]
        0x08, 0x07,       //     1 encap_id = 7
        0x0A, 0x00,       // 1 encap_ids[1], empty
        0x12, 0x03,       // 2 keys[0], three bytes here
        0xA2, 0x01, 0x02, //     20 key_bytes_20, two bytes elsewhere
        0x20, 0x01,       // 4 multi_key = true
    };
    EXPECT_EQ(out.buf, expected);
    EXPECT_EQ(out.result, 13u);
    EXPECT_EQ(out.count, 4u);
    EXPECT_EQ(out.segs[0], (zidl_segment{out.buf.data() + 2, 2})); // encap_ids[0]; the empty one has no entry
    EXPECT_EQ(out.segs[1], (zidl_segment{out.buf.data() + 8, 3})); // keys[0] up to key_bytes_20's length
    EXPECT_EQ(out.segs[2], (zidl_segment{sample.block, 2}));       // its key_bytes_20
    EXPECT_EQ(out.segs[3], (zidl_segment{out.buf.data(), 13}));    // the list as a whole
    EXPECT_EQ(out.segs[4].len, listing::untouched_len);
}

// ---------------------------------------------------------------------------------------------------------------------
// rib_nhid_encap_key and rib_nhid_update.

TEST(rib_nhid_encap_key, writes_its_fields_in_order)
{
    zidl_rib_nhid_encap_key msg = {};
    msg.nhid_key_value_1 = 1;
    msg.nhid_key_address.family = 1;
    msg.nhid_key_address.ipv4 = 0x0A000001;
    msg.nhid_key_address.presence = 0x03;
    msg.nhid_key_value_3 = 3;
    msg.nhid_key_value_4 = 4;
    msg.presence = 0x0F;

    const bytes expected = {
        0x08, 0x01,                   // 1 nhid_key_value_1 = 1
        0x12, 0x07,                   // 2 nhid_key_address
        0x08, 0x01,                   //     1 family = 1
        0x10, 0x81, 0x80, 0x80, 0x50, //     2 ipv4 = 10.0.0.1
        0x18, 0x03,                   // 3 nhid_key_value_3 = 3
        0x20, 0x04,                   // 4 nhid_key_value_4 = 4
    };
    EXPECT_EQ(encode<rib_nhid_encap_key>(msg), expected);
}

TEST(rib_nhid_encap_key, address_is_written_for_its_bit_or_its_content)
{
    zidl_rib_nhid_encap_key present = {};
    present.presence = 0x02;
    const bytes empty_address = {
        0x12, 0x00, // 2 nhid_key_address, empty
    };
    EXPECT_EQ(encode<rib_nhid_encap_key>(present), empty_address);

    zidl_rib_nhid_encap_key filled = {};
    filled.nhid_key_address.ipv6.presence = 0x01;
    const bytes nested_address = {
        0x12, 0x04, // 2 nhid_key_address
        0x1A, 0x02, //     3 ipv6
        0x08, 0x00, //         1 half0 = 0
    };
    EXPECT_EQ(encode<rib_nhid_encap_key>(filled), nested_address);
}

TEST(rib_nhid_update, field_3_alone_sets_bit_2_alone)
{
    const bytes input = {
        0x18, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, // 3 nhid = 2^64 - 2
    };
    zidl_rib_nhid_update msg = {};

    EXPECT_EQ(decode_without_memory<rib_nhid_update>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.nhid, 0xFFFFFFFFFFFFFFFE);
    EXPECT_EQ(msg.presence, 0x04);
    EXPECT_EQ(encode<rib_nhid_update>(msg), input);
}

TEST(rib_nhid_update, nested_address_survives_decoding_and_encoding)
{
    const bytes input = {
        0x08, 0x01, // 1 nhid_update_value_1 = 1
        0x12, 0x08, // 2 nhid_encap_key
        0x12, 0x06, //     2 nhid_key_address
        0x1A, 0x04, //         3 ipv6
        0x08, 0x05, //             1 half0 = 5
        0x10, 0x06, //             2 half1 = 6
        0x18, 0x07, // 3 nhid = 7
    };
    zidl_rib_nhid_update msg = {};

    ASSERT_EQ(decode_without_memory<rib_nhid_update>(msg, input), ZIDL_OK);
    EXPECT_EQ(msg.nhid_encap_key.nhid_key_address.ipv6.half0, 5u);
    EXPECT_EQ(msg.nhid_encap_key.nhid_key_address.ipv6.half1, 6u);
    EXPECT_EQ(msg.nhid_encap_key.presence, 0x02);
    EXPECT_EQ(msg.presence, 0x07);
    EXPECT_EQ(encode<rib_nhid_update>(msg), input);
}

TEST(rib_nhid_update, failure_inside_the_address_is_returned_unchanged)
{
    const bytes input = {
        0x12, 0x03, // 2 nhid_encap_key
        0x12, 0x01, //     2 nhid_key_address
        0x2B,       //         5 with wire type 3
        0x18, 0x07, // 3 nhid = 7: never reached
    };
    zidl_rib_nhid_update msg = {};

    EXPECT_EQ(decode_without_memory<rib_nhid_update>(msg, input), ZIDL_ERR_WIRE_TYPE);
    EXPECT_EQ(msg.presence, 0x00);
}

TEST(rib_nhid_update, duplicate_copies_every_number_and_bit_at_every_depth)
{
    zidl_rib_nhid_update src = {};
    src.nhid_update_value_1 = 1;
    src.nhid_encap_key.nhid_key_value_1 = 11;
    src.nhid_encap_key.nhid_key_address.family = 2;
    src.nhid_encap_key.nhid_key_address.ipv6.half0 = 5;
    src.nhid_encap_key.nhid_key_address.ipv6.half1 = 6;
    src.nhid_encap_key.nhid_key_address.ipv6.presence = 0x02;
    src.nhid_encap_key.nhid_key_address.presence = 0x05;
    src.nhid_encap_key.nhid_key_value_4 = 14;
    src.nhid_encap_key.presence = 0x0A;
    src.nhid = UINT64_MAX;
    src.presence = 0x06;
    zidl_rib_nhid_update dst;
    std::memset(&dst, 0xFF, sizeof dst);

    EXPECT_EQ(zidl_rib_nhid_update_duplicate(&dst, &src), ZIDL_OK);
    EXPECT_EQ(dst.nhid_update_value_1, 1u);
    EXPECT_EQ(dst.nhid_encap_key.nhid_key_value_1, 11u);
    EXPECT_EQ(dst.nhid_encap_key.nhid_key_address.family, 2u);
    EXPECT_EQ(dst.nhid_encap_key.nhid_key_address.ipv4, 0u);
    EXPECT_EQ(dst.nhid_encap_key.nhid_key_address.ipv6.half0, 5u);
    EXPECT_EQ(dst.nhid_encap_key.nhid_key_address.ipv6.half1, 6u);
    EXPECT_EQ(dst.nhid_encap_key.nhid_key_address.ipv6.presence, 0xFE); // bit 1, and spare bits 2 to 7
    EXPECT_EQ(dst.nhid_encap_key.nhid_key_address.presence, 0xFD);      // bits 0 and 2, and spare bits 3 to 7
    EXPECT_EQ(dst.nhid_encap_key.nhid_key_value_3, 0u);
    EXPECT_EQ(dst.nhid_encap_key.nhid_key_value_4, 14u);
    EXPECT_EQ(dst.nhid_encap_key.presence, 0xFA); // bits 1 and 3, and spare bits 4 to 7
    EXPECT_EQ(dst.nhid, UINT64_MAX);
    EXPECT_EQ(dst.presence, 0xFE); // bits 1 and 2, and spare bits 3 to 7
}

TEST(rib_nhid_update, release_gives_nothing_back_and_changes_nothing)
{
    zidl_rib_nhid_update msg = {};
    msg.nhid = 7;
    msg.presence = 0x04;
    memory mem;

    release<rib_nhid_update>(msg, mem);
    EXPECT_EQ(mem.releases, sizes());
    EXPECT_EQ(msg.nhid, 7u);
    EXPECT_EQ(msg.presence, 0x04);
}

} // namespace
