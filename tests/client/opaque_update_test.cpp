// Opaque updates: the encoded form (code 50) and the older form (code 37), up to the callback.

#include "tests/client/recorder.hpp"
#include "tests/client/support.hpp"

using namespace rib_test;

namespace
{

struct opaque_call {
    uint32_t update_id;
    uint32_t sub_id;
    rib_opaque_update record;
    bytes first_block;
    bytes second_block;
    void *ctx;
};

std::vector<opaque_call> calls;

// Whether the callback may look at the blocks (lengths that wrapped make them end outside the payload).
bool read_blocks = true;

bytes block_at(const uint8_t *block, uint32_t len)
{
    return block != nullptr && read_blocks ? bytes(block, block + len) : bytes{};
}

int remember(uint32_t update_id, uint32_t sub_id, rib_opaque_update *opaque, void *ctx)
{
    calls.push_back({update_id, sub_id, *opaque, block_at(opaque->first_block, opaque->first_len),
                     block_at(opaque->second_block, opaque->second_len), ctx});
    return 1;
}

class opaque_update : public testing::Test
{
protected:
    opaque_update()
    {
        calls.clear();
        read_blocks = true;
        platform = {};
    }

    // Parses an encoded update that nobody may write to.
    void parse(const bytes &payload)
    {
        guarded_bytes guarded(payload);
        guarded.forbid_writing();
        updatetype_local update = stripped_update(ENCODED_OPAQUE, guarded);
        rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    }

    // Parses an older-form update and returns what the payload holds afterwards.
    bytes parse_older(const bytes &payload)
    {
        guarded_bytes guarded(payload);
        updatetype_local update = stripped_update(LEGACY_OPAQUE, guarded);
        rib_lib_pvt_parse_opaque_update(remember, &update, &client);
        return guarded.content();
    }

    // The one update that was delivered.
    opaque_call delivered()
    {
        EXPECT_EQ(calls.size(), 1u);
        return calls.empty() ? opaque_call{} : calls[0];
    }

    int client = 0;
};

// ---- The encoded form ----

TEST_F(opaque_update, encoded_update_gives_every_member)
{
    parse({
        0x08, 0x07,                   // 1 opaque_type = 7
        0x10, 0xE8, 0x07,             // 2 opaque_id = 1000
        0x18, 0x09,                   // 3 opaque_sub_id = 9
        0x20, 0x0B,                   // 4 opaque_value = 11
        0x2A, 0x03, 0xA1, 0xA2, 0xA3, // 5 first_block, 3 bytes
        0x32, 0x02, 0xB1, 0xB2,       // 6 second_block, 2 bytes
    });
    const opaque_call call = delivered();
    EXPECT_EQ(call.update_id, 0xC0FFEE01u);
    EXPECT_EQ(call.ctx, &client);
    EXPECT_EQ(call.sub_id, 9u);
    EXPECT_EQ(call.record.opaque_type, 7);
    EXPECT_EQ(call.record.opaque_id, 1000u);
    EXPECT_EQ(call.record.first_len, 3u);
    EXPECT_EQ(call.record.second_len, 2u);
    EXPECT_EQ(call.record.opaque_value, 11u);
    EXPECT_EQ(call.first_block, bytes({0xA1, 0xA2, 0xA3}));
    EXPECT_EQ(call.second_block, bytes({0xB1, 0xB2}));
}

TEST_F(opaque_update, empty_update_is_delivered_as_zeros)
{
    parse({});
    const opaque_call call = delivered();
    EXPECT_EQ(call.sub_id, 0u);
    EXPECT_EQ(call.record.opaque_type, 0);
    EXPECT_EQ(call.record.opaque_id, 0u);
    EXPECT_EQ(call.record.first_len, 0u);
    EXPECT_EQ(call.record.second_len, 0u);
    EXPECT_EQ(call.record.opaque_value, 0u);
    EXPECT_EQ(call.record.first_block, nullptr);
    EXPECT_EQ(call.record.second_block, nullptr);
}

TEST_F(opaque_update, type_keeps_its_low_16_bits)
{
    parse({
        0x08, 0xF8, 0xAC, 0xD1, 0x91, 0x01, // 1 opaque_type = 0x12345678
    });
    EXPECT_EQ(delivered().record.opaque_type, 0x5678);
}

TEST_F(opaque_update, id_sub_id_and_value_keep_32_bits)
{
    parse({
        0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 2 opaque_id = 0xFFFFFFFF
        0x18, 0xFE, 0xFF, 0xFF, 0xFF, 0x0F, // 3 opaque_sub_id = 0xFFFFFFFE
        0x20, 0xFD, 0xFF, 0xFF, 0xFF, 0x0F, // 4 opaque_value = 0xFFFFFFFD
    });
    const opaque_call call = delivered();
    EXPECT_EQ(call.record.opaque_id, 0xFFFFFFFFu);
    EXPECT_EQ(call.sub_id, 0xFFFFFFFEu);
    EXPECT_EQ(call.record.opaque_value, 0xFFFFFFFDu);
}

TEST_F(opaque_update, absent_sub_id_is_handed_on_as_0)
{
    parse({
        0x10, 0x05, // 2 opaque_id = 5
    });
    EXPECT_EQ(delivered().sub_id, 0u);
}

TEST_F(opaque_update, absent_first_block_is_null_with_length_0)
{
    parse({
        0x32, 0x01, 0xB1, // 6 second_block, 1 byte
    });
    const opaque_call call = delivered();
    EXPECT_EQ(call.record.first_block, nullptr);
    EXPECT_EQ(call.record.first_len, 0u);
    EXPECT_EQ(call.second_block, bytes({0xB1}));
}

TEST_F(opaque_update, absent_second_block_is_null_with_length_0)
{
    parse({
        0x2A, 0x01, 0xA1, // 5 first_block, 1 byte
    });
    const opaque_call call = delivered();
    EXPECT_EQ(call.record.second_block, nullptr);
    EXPECT_EQ(call.record.second_len, 0u);
    EXPECT_EQ(call.first_block, bytes({0xA1}));
}

TEST_F(opaque_update, present_empty_blocks_are_not_null)
{
    parse({
        0x2A, 0x00, // 5 first_block, empty
        0x32, 0x00, // 6 second_block, empty
    });
    const opaque_call call = delivered();
    EXPECT_NE(call.record.first_block, nullptr);
    EXPECT_NE(call.record.second_block, nullptr);
    EXPECT_EQ(call.record.first_len, 0u);
    EXPECT_EQ(call.record.second_len, 0u);
}

TEST_F(opaque_update, blocks_are_copies_of_the_payload)
{
    guarded_bytes payload({
        0x2A, 0x01, 0xA1, // 5 first_block, 1 byte
        0x32, 0x01, 0xB1, // 6 second_block, 1 byte
    });
    updatetype_local update = stripped_update(ENCODED_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    const opaque_call call = delivered();
    EXPECT_NE(call.record.first_block, payload.data() + 2);
    EXPECT_NE(call.record.second_block, payload.data() + 5);
}

TEST_F(opaque_update, callback_sees_an_update_record_that_is_as_it_was)
{
    guarded_bytes payload({
        0x10, 0x05, // 2 opaque_id = 5
    });
    updatetype_local update = stripped_update(ENCODED_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    EXPECT_EQ(update.tlv_type, ENCODED_OPAQUE);
    EXPECT_EQ(update.payload, payload.data());
    EXPECT_EQ(update.payload_len, 2u);
    EXPECT_EQ(update.stripped, 1u);
}

TEST_F(opaque_update, null_context_is_passed_on)
{
    guarded_bytes payload({});
    updatetype_local update = stripped_update(ENCODED_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(remember, &update, nullptr);
    EXPECT_EQ(delivered().ctx, nullptr);
}

TEST_F(opaque_update, truncated_update_is_dropped_silently)
{
    parse({
        0x08, 0x07,       // 1 opaque_type = 7
        0x2A, 0x03, 0xA1, // 5 first_block, two bytes short
    });
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(platform.failures.empty());
}

TEST_F(opaque_update, mistyped_update_is_dropped_silently)
{
    parse({
        0x28, 0x01, // 5 first_block as a varint
    });
    EXPECT_TRUE(calls.empty());
}

TEST_F(opaque_update, encoded_update_is_not_followed_by_a_delimiter)
{
    parse({});
    EXPECT_TRUE(platform.delims.empty());
}

// ---- The older form ----

const bytes older_payload = {
    0x12, 0x34,             //  0 opaque type
    0x56, 0x78,             //  2 not used
    0x9A, 0xBC, 0xDE, 0xF0, //  4 opaque identifier
    0x00, 0x03,             //  8 length of the first block
    0x43, 0x21,             // 10 sub-identifier
    0x0F, 0x1E, 0x2D, 0x3C, // 12 opaque value
    0x00, 0x00, 0x00, 0x02, // 16 length of the second block
    0x4B, 0x5A, 0x69, 0x78, // 20 not used
    0xA1, 0xA2, 0xA3,       // 24 first block
    0xB1, 0xB2,             // 27 second block
};

const bytes older_payload_swapped = {
    0x34, 0x12,             //  0 opaque type
    0x56, 0x78,             //  2 not used: as it was
    0xF0, 0xDE, 0xBC, 0x9A, //  4 opaque identifier
    0x03, 0x00,             //  8 length of the first block
    0x21, 0x43,             // 10 sub-identifier
    0x3C, 0x2D, 0x1E, 0x0F, // 12 opaque value
    0x02, 0x00, 0x00, 0x00, // 16 length of the second block
    0x4B, 0x5A, 0x69, 0x78, // 20 not used: as it was
    0xA1, 0xA2, 0xA3,       // 24 first block
    0xB1, 0xB2,             // 27 second block
};

// The fixed part of an older payload with the two lengths given (both big-endian).
bytes fixed_part(const bytes &first_len, const bytes &second_len)
{
    return bytes{0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02} + first_len +
           bytes{0x00, 0x03, 0x00, 0x00, 0x00, 0x04} + second_len + bytes{0x00, 0x00, 0x00, 0x00};
}

TEST_F(opaque_update, older_form_gives_every_member)
{
    parse_older(older_payload);
    const opaque_call call = delivered();
    EXPECT_EQ(call.update_id, 0xC0FFEE01u);
    EXPECT_EQ(call.ctx, &client);
    EXPECT_EQ(call.sub_id, 0x4321u);
    EXPECT_EQ(call.record.opaque_type, 0x1234);
    EXPECT_EQ(call.record.opaque_id, 0x9ABCDEF0u);
    EXPECT_EQ(call.record.first_len, 3u);
    EXPECT_EQ(call.record.second_len, 2u);
    EXPECT_EQ(call.record.opaque_value, 0x0F1E2D3Cu);
    EXPECT_EQ(call.first_block, bytes({0xA1, 0xA2, 0xA3}));
    EXPECT_EQ(call.second_block, bytes({0xB1, 0xB2}));
}

TEST_F(opaque_update, older_form_is_swapped_in_place_but_for_the_unused_words)
{
    EXPECT_EQ(parse_older(older_payload), older_payload_swapped);
}

TEST_F(opaque_update, older_forms_blocks_lie_in_the_payload)
{
    guarded_bytes payload(older_payload);
    updatetype_local update = stripped_update(LEGACY_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    const opaque_call call = delivered();
    EXPECT_EQ(call.record.first_block, payload.data() + 24);
    EXPECT_EQ(call.record.second_block, payload.data() + 27);
}

TEST_F(opaque_update, older_form_parsed_twice_is_swapped_back)
{
    guarded_bytes payload(fixed_part({0x00, 0x00}, {0x00, 0x00, 0x00, 0x00}));
    updatetype_local update = stripped_update(LEGACY_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].record.opaque_type, 0x0100);
    EXPECT_EQ(payload.content(), fixed_part({0x00, 0x00}, {0x00, 0x00, 0x00, 0x00}));
}

TEST_F(opaque_update, older_forms_first_length_and_sub_id_are_16_bits_widened)
{
    bytes payload = fixed_part({0xFF, 0xFF}, {0x00, 0x00, 0x00, 0x00});
    payload[10] = 0xFF; // sub-identifier 0xFFFF
    payload[11] = 0xFF;
    parse_older(payload + bytes(0xFFFF, 0xAA));
    const opaque_call call = delivered();
    EXPECT_EQ(call.record.first_len, 0xFFFFu);
    EXPECT_EQ(call.first_block, bytes(0xFFFF, 0xAA));
    EXPECT_EQ(call.sub_id, 0xFFFFu);
}

TEST_F(opaque_update, older_form_without_second_length_has_a_null_second_block)
{
    parse_older(fixed_part({0x00, 0x01}, {0x00, 0x00, 0x00, 0x00}) + bytes{0xA1});
    const opaque_call call = delivered();
    EXPECT_EQ(call.record.second_block, nullptr);
    EXPECT_EQ(call.record.second_len, 0u);
    EXPECT_EQ(call.first_block, bytes({0xA1}));
}

TEST_F(opaque_update, older_form_without_first_length_still_points_behind_the_fixed_part)
{
    guarded_bytes payload(fixed_part({0x00, 0x00}, {0x00, 0x00, 0x00, 0x01}) + bytes{0xB1});
    updatetype_local update = stripped_update(LEGACY_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    const opaque_call call = delivered();
    EXPECT_EQ(call.record.first_len, 0u);
    EXPECT_EQ(call.record.first_block, payload.data() + 24);
    EXPECT_EQ(call.record.second_block, payload.data() + 24);
    EXPECT_EQ(call.second_block, bytes({0xB1}));
}

TEST_F(opaque_update, older_form_that_fills_the_payload_exactly_is_delivered)
{
    parse_older(fixed_part({0x00, 0x02}, {0x00, 0x00, 0x00, 0x03}) + bytes(5, 0xAB));
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(opaque_update, older_form_one_byte_longer_than_the_payload_is_dropped_but_swapped)
{
    const bytes after = parse_older(fixed_part({0x00, 0x02}, {0x00, 0x00, 0x00, 0x04}) + bytes(5, 0xAB));
    EXPECT_TRUE(calls.empty());
    const bytes swapped = {
        0x01, 0x00,             //  0 opaque type
        0x00, 0x00,             //  2 not used
        0x02, 0x00, 0x00, 0x00, //  4 opaque identifier
        0x02, 0x00,             //  8 length of the first block
        0x03, 0x00,             // 10 sub-identifier
        0x04, 0x00, 0x00, 0x00, // 12 opaque value
        0x04, 0x00, 0x00, 0x00, // 16 length of the second block
        0x00, 0x00, 0x00, 0x00, // 20 not used
    };
    EXPECT_EQ(after, swapped + bytes(5, 0xAB));
    EXPECT_EQ(platform.delims.size(), 1u);
}

TEST_F(opaque_update, older_form_shorter_than_the_payload_is_delivered)
{
    parse_older(fixed_part({0x00, 0x01}, {0x00, 0x00, 0x00, 0x01}) + bytes(9, 0xAB));
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(opaque_update, older_form_of_the_fixed_part_alone_is_delivered)
{
    parse_older(fixed_part({0x00, 0x00}, {0x00, 0x00, 0x00, 0x00}));
    EXPECT_EQ(calls.size(), 1u);
}

// What a payload that breaks off inside the fixed part holds afterwards. Every byte is told from the others, so that each
// number shows whether it was swapped.
struct broken_off {
    size_t least_len;
    size_t most_len;
    bytes swapped; // as far as the payload reaches
};

// clang-format off
const broken_off broken_off_payloads[] = {
    // lengths  type      unused      identifier              first len.  sub-id      value                   second length; unused
    { 0,  1, {0x12}},
    { 2,  7, {0x34, 0x12, 0x56, 0x78, 0x9A, 0xBC, 0xDE}},
    { 8,  9, {0x34, 0x12, 0x56, 0x78, 0xF0, 0xDE, 0xBC, 0x9A, 0x00}},
    {10, 11, {0x34, 0x12, 0x56, 0x78, 0xF0, 0xDE, 0xBC, 0x9A, 0x03, 0x00, 0x43}},
    {12, 15, {0x34, 0x12, 0x56, 0x78, 0xF0, 0xDE, 0xBC, 0x9A, 0x03, 0x00, 0x21, 0x43, 0x0F, 0x1E, 0x2D}},
    {16, 19, {0x34, 0x12, 0x56, 0x78, 0xF0, 0xDE, 0xBC, 0x9A, 0x03, 0x00, 0x21, 0x43, 0x3C, 0x2D, 0x1E, 0x0F, 0x00, 0x00, 0x00}},
    {20, 23, {0x34, 0x12, 0x56, 0x78, 0xF0, 0xDE, 0xBC, 0x9A, 0x03, 0x00, 0x21, 0x43, 0x3C, 0x2D, 0x1E, 0x0F, 0x02, 0x00, 0x00, 0x00,
              0x4B, 0x5A, 0x69}},
};
// clang-format on

bytes first_of(const bytes &all, size_t len)
{
    return bytes(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(len));
}

TEST_F(opaque_update, older_form_that_breaks_off_is_swapped_number_by_number_and_dropped)
{
    platform.delim_reads_payload = false;
    for (const broken_off &expected : broken_off_payloads)
        for (size_t len = expected.least_len; len <= expected.most_len; len++)
            EXPECT_EQ(parse_older(first_of(older_payload, len)), first_of(expected.swapped, len)) << len;
    EXPECT_TRUE(calls.empty());
}

TEST_F(opaque_update, older_form_that_breaks_off_before_its_first_number_ends_is_not_written_to)
{
    platform.delim_reads_payload = false;
    for (size_t len = 0; len < 2; len++) {
        guarded_bytes payload(first_of(older_payload, len));
        payload.forbid_writing();
        updatetype_local update = stripped_update(LEGACY_OPAQUE, payload);
        rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    }
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(platform.delims.size(), 2u);
}

TEST_F(opaque_update, older_form_that_breaks_off_has_its_delimiter_handled_once)
{
    platform.delim_reads_payload = false;
    for (size_t len = 0; len < 24; len++) {
        platform.delims.clear();
        parse_older(first_of(older_payload, len));
        EXPECT_EQ(platform.delims.size(), 1u) << len;
    }
}

TEST_F(opaque_update, older_form_that_breaks_off_in_its_last_unused_bytes_is_dropped_whatever_its_lengths)
{
    platform.delim_reads_payload = false;
    // The first length and the second, both 0, are there.
    const bytes after = parse_older(first_of(fixed_part({0x00, 0x00}, {0x00, 0x00, 0x00, 0x00}), 23));
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(after, bytes({
                         0x01, 0x00,             //  0 opaque type
                         0x00, 0x00,             //  2 not used
                         0x02, 0x00, 0x00, 0x00, //  4 opaque identifier
                         0x00, 0x00,             //  8 length of the first block
                         0x03, 0x00,             // 10 sub-identifier
                         0x04, 0x00, 0x00, 0x00, // 12 opaque value
                         0x00, 0x00, 0x00, 0x00, // 16 length of the second block
                         0x00, 0x00, 0x00,       // 20 not used
                     }));
}

TEST_F(opaque_update, framed_older_form_that_breaks_off_is_judged_by_the_headers_length)
{
    // The payload goes on in memory, but the header says 9 bytes.
    guarded_bytes frame(bytes{
                            0x00, 0x00, 0x00, 0x00, // not read
                            0x25, 0x00,             // type 37, host order
                            0x09, 0x00,             // 9 bytes
                        } +
                        older_payload);
    updatetype_local update = framed_update(frame.data());
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    EXPECT_TRUE(calls.empty());
    ASSERT_EQ(platform.delims.size(), 1u);
    EXPECT_EQ(platform.delims[0].cursor_address, platform.strips[0].cursor_address);
    EXPECT_EQ(platform.delims[0].payload, bytes({
                                              0x34, 0x12,             //  0 opaque type
                                              0x56, 0x78,             //  2 not used
                                              0xF0, 0xDE, 0xBC, 0x9A, //  4 opaque identifier
                                              0x00, 0x03,             //  8 length of the first block: not whole
                                              0x43, 0x21,             // 10 from here on outside
                                              0x0F, 0x1E, 0x2D, 0x3C, // 12
                                              0x00, 0x00, 0x00, 0x02, // 16
                                              0x4B, 0x5A, 0x69, 0x78, // 20
                                          }));
}

TEST_F(opaque_update, length_of_the_older_form_is_the_updates_not_the_blocks)
{
    // 24 + 3 + 2 bytes are there, but the update says 28.
    guarded_bytes payload(older_payload);
    updatetype_local update = stripped_update(LEGACY_OPAQUE, payload.data(), 28);
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(payload.content(), older_payload_swapped);
}

TEST_F(opaque_update, sum_of_the_two_lengths_wraps_at_32_bits)
{
    read_blocks = false;
    // 0x20 + 0xFFFFFFF0 is 0x10 in 32 bits: 24 + 16 bytes are enough.
    parse_older(fixed_part({0x00, 0x20}, {0xFF, 0xFF, 0xFF, 0xF0}) + bytes(16, 0xAB));
    const opaque_call call = delivered();
    EXPECT_EQ(call.record.first_len, 0x20u);
    EXPECT_EQ(call.record.second_len, 0xFFFFFFF0u);
    EXPECT_EQ(call.record.second_block, call.record.first_block + 0x20);
}

TEST_F(opaque_update, sum_that_wrapped_is_still_compared)
{
    parse_older(fixed_part({0x00, 0x20}, {0xFF, 0xFF, 0xFF, 0xF0}) + bytes(15, 0xAB));
    EXPECT_TRUE(calls.empty());
}

TEST_F(opaque_update, adding_the_fixed_part_to_the_sum_does_not_wrap)
{
    // 24 + 0xFFFFFFF0 would be 8 in 32 bits.
    parse_older(fixed_part({0x00, 0x00}, {0xFF, 0xFF, 0xFF, 0xF0}) + bytes(16, 0xAB));
    EXPECT_TRUE(calls.empty());
}

TEST_F(opaque_update, delimiter_of_a_stripped_older_form_is_handled_once_at_the_payload)
{
    guarded_bytes payload(older_payload);
    updatetype_local update = stripped_update(LEGACY_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    ASSERT_EQ(platform.delims.size(), 1u);
    EXPECT_EQ(platform.delims[0].cursor, payload.data());
    EXPECT_TRUE(platform.strips.empty());
}

TEST_F(opaque_update, delimiter_of_a_framed_older_form_is_handled_with_the_cursor_that_was_stripped)
{
    guarded_bytes frame(bytes{
                            0x00, 0x00, 0x00, 0x00, // not read
                            0x25, 0x00,             // type 37, host order
                            0x1D, 0x00,             // 29 bytes
                        } +
                        older_payload);
    updatetype_local update = framed_update(frame.data());
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    ASSERT_EQ(platform.strips.size(), 1u);
    ASSERT_EQ(platform.delims.size(), 1u);
    EXPECT_EQ(platform.delims[0].cursor_address, platform.strips[0].cursor_address);
    EXPECT_EQ(platform.delims[0].cursor, frame.data() + 8);
    EXPECT_EQ(delivered().first_block, bytes({0xA1, 0xA2, 0xA3}));
}

TEST_F(opaque_update, cursor_that_strip_left_in_place_is_handed_to_the_delimiter_handler_as_it_is)
{
    platform.strip_advance = 0;
    guarded_bytes frame(bytes{
                            0x00, 0x00, 0x00, 0x00, // not read
                            0x25, 0x00,             // type 37, host order
                            0x1D, 0x00,             // 29 bytes
                        } +
                        older_payload);
    updatetype_local update = framed_update(frame.data());
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    ASSERT_EQ(platform.delims.size(), 1u);
    EXPECT_EQ(platform.delims[0].cursor, frame.data());
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(opaque_update, delimiter_is_handled_after_the_swap)
{
    parse_older(older_payload);
    ASSERT_EQ(platform.delims.size(), 1u);
    EXPECT_EQ(platform.delims[0].payload, bytes(older_payload_swapped.begin(), older_payload_swapped.begin() + 24));
}

TEST_F(opaque_update, older_form_may_lie_at_an_odd_address)
{
    guarded_bytes payload(older_payload);
    ASSERT_EQ(reinterpret_cast<uintptr_t>(payload.data()) % 2, 1u);
    updatetype_local update = stripped_update(LEGACY_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(remember, &update, &client);
    EXPECT_EQ(delivered().record.opaque_value, 0x0F1E2D3Cu);
}

TEST_F(opaque_update, callback_that_changes_the_type_of_an_older_form_changes_nothing_else)
{
    guarded_bytes payload(older_payload);
    updatetype_local update = stripped_update(LEGACY_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(
        [](uint32_t, uint32_t, rib_opaque_update *, void *ctx) {
            // As if it had been encoded: nothing of an older form is ever released.
            static_cast<updatetype_local *>(ctx)->tlv_type = ENCODED_OPAQUE;
            return 0;
        },
        &update, &update);
    EXPECT_EQ(payload.content(), older_payload_swapped);
}

} // namespace
