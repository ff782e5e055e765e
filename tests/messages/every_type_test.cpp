// What must hold for every message type alike, on two fixed records of each: every truncation of the input, every failing
// allocation, every output length, every segment capacity, and no access outside what the caller gave.

#include "messages/descriptors.hpp"
#include "tests/messages/codec_check.hpp"
#include "tests/messages/every_message.hpp"
#include "tests/messages/guarded_pages.hpp"
#include "tests/messages/sample_records.hpp"
#include "tests/reference/record_access.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace
{

using namespace record_access;
using byte_string = std::vector<uint8_t>;

constexpr sample SAMPLES[] = {sample::dense, sample::sparse};
constexpr uint32_t COPYING = 0;
constexpr uint32_t FLAGS[] = {COPYING, ZIDL_ZERO_COPY};

class every_type : public testing::TestWithParam<const message_descriptor *>
{
protected:
    every_type() : check(shared_check()) { check.use(type); }

    // Makes `which` the record that the checks work on.
    void prepare(sample which)
    {
        check.prepare([&](uint8_t *msg, test_arena &memory) { fill_sample(type, msg, which, memory); });
    }

    // The encoding of the prepared record, by the reference.
    byte_string encoding(uint32_t flags = COPYING) { return reference_encoding(type, check.record(), flags); }

    byte_string encoding_of(sample which)
    {
        prepare(which);
        return encoding();
    }

    // Decodes `input`, expecting what the reference does, and gives the memory back.
    void decode_and_release(const uint8_t *input, size_t len, uint32_t flags, memory_plan plan = {})
    {
        EXPECT_EQ(check.decode(input, len, flags, plan), "") << len << " bytes, flags " << flags;
        EXPECT_EQ(check.release(flags), "") << len << " bytes, flags " << flags;
    }

    const message_descriptor &type = *GetParam();
    codec_check &check;

private:
    static codec_check &shared_check()
    {
        static codec_check shared(*zidl::all_messages[0]);
        return shared;
    }
};

TEST_P(every_type, encoding_what_was_decoded_gives_the_same_bytes)
{
    const byte_string input = encoding_of(sample::dense);
    ASSERT_EQ(check.decode(input.data(), input.size(), COPYING), "");
    ASSERT_EQ(check.status(), ZIDL_OK);
    byte_string output(input.size());
    EXPECT_EQ(type.encode(check.record(), output.data(), output.size(), nullptr, nullptr, COPYING), input.size());
    EXPECT_EQ(output, input);
}

TEST_P(every_type, every_field_of_the_dense_record_is_decoded)
{
    const byte_string input = encoding_of(sample::dense);
    ASSERT_EQ(check.decode(input.data(), input.size(), COPYING, {}, 0), "");
    for (const field_descriptor &field : fields_of(type))
        EXPECT_TRUE(has(type, field, check.record())) << field.member;
}

TEST_P(every_type, every_truncation_has_the_status_and_record_of_the_reference)
{
    for (const sample which : SAMPLES) {
        const byte_string input = encoding_of(which);
        for (const uint32_t flags : FLAGS)
            for (size_t len = 0; len <= input.size(); ++len)
                decode_and_release(input.data(), len, flags);
    }
}

TEST_P(every_type, decode_reads_no_byte_behind_its_input)
{
    const byte_string input = encoding_of(sample::dense);
    const guarded_pages pages(input.size());
    for (const uint32_t flags : FLAGS)
        for (size_t len = 0; len <= input.size(); ++len) {
            uint8_t *placed = pages.before_end(len);
            std::copy_n(input.begin(), len, placed);
            decode_and_release(placed, len, flags);
        }
}

TEST_P(every_type, decode_reads_no_byte_before_its_input)
{
    const byte_string input = encoding_of(sample::dense);
    const guarded_pages pages(input.size());
    std::copy(input.begin(), input.end(), pages.start());
    for (const uint32_t flags : FLAGS)
        for (size_t len = 0; len <= input.size(); ++len)
            decode_and_release(pages.start(), len, flags);
}

TEST_P(every_type, repeated_message_without_its_contents_leaves_the_first_occurrence)
{
    prepare(sample::dense);
    for (const field_descriptor &field : fields_of(type)) {
        if (!is_singular(field, kind::message))
            continue;
        byte_string record(type.size);
        std::copy_n(member_address(field, check.record()), field.message->size, member_address(field, record.data()));
        set_presence(type, field, record.data(), true);
        byte_string only = reference_encoding(type, record.data());
        // Again its tag, and a length that is cut off or runs past the end.
        const byte_string tag(only.begin(), only.begin() + (field.number < 16 ? 1 : 2));
        only.insert(only.end(), tag.begin(), tag.end());
        for (const byte_string &rest : {byte_string{0x80}, byte_string{0x02, 0x08}, byte_string{0xff, 0x01, 0x08}}) {
            byte_string input = only;
            input.insert(input.end(), rest.begin(), rest.end());
            decode_and_release(input.data(), input.size(), COPYING);
        }
    }
}

TEST_P(every_type, every_failing_allocation_of_decode_ends_it)
{
    const byte_string input = encoding_of(sample::dense);
    for (const uint32_t flags : FLAGS) {
        ASSERT_EQ(check.decode(input.data(), input.size(), flags), "");
        const size_t requests = check.request_count();
        for (size_t failing = 0; failing < requests; ++failing) {
            ASSERT_EQ(check.decode(input.data(), input.size(), flags, {.failing = failing}), "") << failing;
            EXPECT_EQ(check.status(), ZIDL_ERR_NO_MEMORY);
            EXPECT_EQ(check.request_count(), failing + 1);
            EXPECT_EQ(check.release(flags), "") << failing;
        }
    }
}

TEST_P(every_type, decode_without_an_allocator_fails_only_where_memory_is_needed)
{
    for (const sample which : SAMPLES) {
        const byte_string input = encoding_of(which);
        for (const uint32_t flags : FLAGS)
            decode_and_release(input.data(), input.size(), flags, {.given = false});
    }
}

TEST_P(every_type, spare_presence_bits_survive_decode_at_every_depth)
{
    for (const sample which : SAMPLES) {
        const byte_string input = encoding_of(which);
        for (const int fill : {0xa5, 0x5a, 0x00, 0xff})
            EXPECT_EQ(check.decode(input.data(), input.size(), COPYING, {}, static_cast<uint8_t>(fill)), "") << fill;
    }
}

TEST_P(every_type, spare_presence_bits_survive_duplicate_at_every_depth)
{
    for (const sample which : SAMPLES) {
        prepare(which);
        for (const int fill : {0xa5, 0x5a, 0x00, 0xff})
            EXPECT_EQ(check.duplicate({}, static_cast<uint8_t>(fill)), "") << fill;
    }
}

TEST_P(every_type, duplicate_goes_on_after_every_failing_allocation)
{
    for (const sample which : SAMPLES) {
        prepare(which);
        ASSERT_EQ(check.duplicate(), "");
        const size_t requests = check.copy_request_count();
        for (size_t failing = 0; failing < requests; ++failing) {
            EXPECT_EQ(check.duplicate({.failing = failing, .lasting = true}), "") << failing;
            EXPECT_EQ(check.duplicate({.failing = failing}), "") << failing;
            EXPECT_EQ(check.copy_status(), ZIDL_ERR_NO_MEMORY);
        }
    }
}

TEST_P(every_type, duplicate_without_an_allocator_copies_what_needs_no_memory)
{
    for (const sample which : SAMPLES) {
        prepare(which);
        EXPECT_EQ(check.duplicate({.given = false}), "");
    }
}

TEST_P(every_type, duplicate_of_a_borrowing_record_owns_its_bytes)
{
    const byte_string input = encoding_of(sample::dense);
    ASSERT_EQ(check.decode(input.data(), input.size(), ZIDL_ZERO_COPY), "");
    EXPECT_EQ(check.duplicate(), "");
    EXPECT_EQ(check.copy_status(), ZIDL_OK);
}

TEST_P(every_type, release_gives_everything_back_once)
{
    for (const sample which : SAMPLES)
        for (const uint32_t flags : FLAGS) {
            prepare(which);
            EXPECT_EQ(check.release(flags), "") << flags;
        }
}

// Leaves every array of the record without its elements, but with its count.
void detach_arrays(const message_descriptor &message, void *msg)
{
    for (const field_descriptor &field : fields_of(message)) {
        if (field.repeated)
            store_pointer(field, msg, nullptr);
        else if (is_message(field))
            detach_arrays(*field.message, member_address(field, msg));
    }
}

TEST_P(every_type, release_leaves_the_count_of_a_null_array_alone)
{
    check.prepare([&](uint8_t *msg, test_arena &memory) {
        fill_sample(type, msg, sample::dense, memory);
        detach_arrays(type, msg);
    });
    for (const uint32_t flags : FLAGS)
        EXPECT_EQ(check.release(flags), "") << flags;
}

TEST_P(every_type, sizing_gives_the_length_that_encoding_takes)
{
    for (const sample which : SAMPLES) {
        prepare(which);
        for (const uint32_t flags : FLAGS) {
            EXPECT_EQ(check.encode({std::nullopt, std::nullopt, flags}), "");
            EXPECT_EQ(check.result(), encoding(flags).size());
        }
    }
}

TEST_P(every_type, every_output_length_gets_the_bytes_that_fit)
{
    for (const sample which : SAMPLES) {
        prepare(which);
        for (const uint32_t flags : FLAGS) {
            const size_t full = encoding(flags).size();
            for (size_t buflen = 0; buflen <= full + 3; ++buflen)
                ASSERT_EQ(check.encode({buflen, std::nullopt, flags}), "");
        }
    }
}

TEST_P(every_type, every_output_length_gets_the_same_bytes_and_segments_with_a_list)
{
    prepare(sample::dense);
    const size_t full = encoding().size();
    for (size_t buflen = 0; buflen <= full + 3; buflen += 1 + full / 200) {
        ASSERT_EQ(check.encode({buflen, 1000, COPYING}), "");
        ASSERT_EQ(check.encode({buflen, 1000, ZIDL_ZERO_COPY}), "");
    }
}

TEST_P(every_type, a_larger_buffer_keeps_its_bytes_behind_the_encoding)
{
    for (const sample which : SAMPLES) {
        prepare(which);
        for (const uint32_t flags : FLAGS) {
            const size_t full = encoding(flags).size();
            for (const size_t more : {4u, 7u, 8u, 15u, 16u, 31u, 32u, 64u, 1000u, 5000u})
                EXPECT_EQ(check.encode({full + more, std::nullopt, flags}), "");
        }
    }
}

TEST_P(every_type, every_segment_capacity_gets_the_entries_that_fit)
{
    for (const sample which : SAMPLES) {
        prepare(which);
        for (const uint32_t flags : FLAGS) {
            const size_t full = encoding(flags).size();
            ASSERT_EQ(check.encode({full, 0, flags}), "");
            const uint32_t needed = check.segment_count();
            for (uint32_t capacity = 0; capacity <= needed + 1; ++capacity)
                for (const auto buflen : {std::optional<size_t>(full), std::optional<size_t>(full / 2),
                                          std::optional<size_t>(0), std::optional<size_t>()})
                    ASSERT_EQ(check.encode({buflen, capacity, flags}), "");
        }
    }
}

TEST_P(every_type, a_null_list_of_any_capacity_gets_the_number_of_entries)
{
    prepare(sample::dense);
    for (const uint32_t flags : FLAGS) {
        ASSERT_EQ(check.encode({encoding(flags).size(), 0, flags}), "");
        const uint32_t needed = check.segment_count();
        for (const uint32_t capacity : {0u, 1u, 1000u, UINT32_MAX}) {
            uint32_t nsegs = capacity;
            type.encode(check.record(), nullptr, 0, nullptr, &nsegs, flags);
            EXPECT_EQ(nsegs, needed) << capacity;
        }
    }
}

TEST_P(every_type, encode_stores_nothing_behind_its_buffer)
{
    prepare(sample::dense);
    for (const uint32_t flags : FLAGS) {
        const byte_string expected = encoding(flags);
        const guarded_pages pages(expected.size());
        for (size_t buflen = 0; buflen <= expected.size(); ++buflen) {
            uint8_t *buf = pages.before_end(buflen);
            ASSERT_EQ(type.encode(check.record(), buf, buflen, nullptr, nullptr, flags), expected.size()) << buflen;
        }
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), pages.before_end(expected.size())));
    }
}

TEST_P(every_type, encode_stores_nothing_before_its_buffer)
{
    prepare(sample::dense);
    for (const uint32_t flags : FLAGS) {
        const byte_string expected = encoding(flags);
        const guarded_pages pages(expected.size());
        for (size_t buflen = 0; buflen <= expected.size(); ++buflen)
            ASSERT_EQ(type.encode(check.record(), pages.start(), buflen, nullptr, nullptr, flags), expected.size());
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), pages.start()));
    }
}

// Encodes into exactly enough room, a little less and a little more, and reads it back.
void check_around_its_length(codec_check &check)
{
    ASSERT_EQ(check.encode({std::nullopt, std::nullopt, COPYING}), "");
    const size_t full = check.result();
    for (const size_t buflen : {full, full - 1, full + 1, full + 40})
        ASSERT_EQ(check.encode({buflen, std::nullopt, COPYING}), "");
}

TEST_P(every_type, bodies_around_every_length_of_their_prefix_are_encoded)
{
    for (const field_path &path : growable_fields(type))
        for (const size_t prefix_limit : {128u, 16384u})
            for (size_t length = prefix_limit - 30; length < prefix_limit + 5; ++length) {
                check.prepare([&](uint8_t *msg, test_arena &memory) { fill_only(type, msg, path, length, memory); });
                ASSERT_NO_FATAL_FAILURE(check_around_its_length(check)) << path.back()->member << " " << length;
            }
}

TEST_P(every_type, bodies_of_two_megabytes_are_encoded)
{
    const auto paths = growable_fields(type);
    for (size_t i = 0; i < paths.size() && i < 3; ++i)
        for (const size_t length : {2097151u - 12, 2097151u, 2097152u}) {
            check.prepare([&](uint8_t *msg, test_arena &memory) { fill_only(type, msg, paths[i], length, memory); });
            ASSERT_NO_FATAL_FAILURE(check_around_its_length(check)) << paths[i].back()->member << " " << length;
        }
}

TEST_P(every_type, decode_of_no_input_resets_the_record)
{
    EXPECT_EQ(check.decode(nullptr, 0, COPYING), "");
    EXPECT_EQ(check.status(), ZIDL_OK);
    EXPECT_EQ(check.request_count(), 0u);
}

// A size that no buffer can hold moves the position like any other, in 64 bits, and its prefix says the low 32.
TEST_P(every_type, bytes_of_an_absurd_size_are_left_out_of_the_output)
{
    prepare(sample::dense);
    const size_t full = encoding().size();
    for (uint64_t *const member : bytes_sizes(type, const_cast<void *>(check.record()))) {
        uint64_t &size = *member;
        const uint64_t saved = size;
        for (const uint64_t absurd : {uint64_t{1} << 32, (uint64_t{1} << 32) + 5, uint64_t{1} << 63, UINT64_MAX - full,
                                      UINT64_MAX - 3, UINT64_MAX}) {
            size = absurd;
            for (const size_t buflen : {full, full + 300})
                for (const uint32_t flags : FLAGS) {
                    ASSERT_EQ(check.encode({buflen, std::nullopt, flags}), "") << absurd;
                    ASSERT_EQ(check.encode({buflen, 8, flags}), "") << absurd;
                }
            ASSERT_EQ(check.encode({std::nullopt, std::nullopt, COPYING}), "") << absurd;
        }
        size = saved;
    }
}

// Embedded messages would list entries of their own.
class every_flat_type : public every_type
{
};

TEST_P(every_flat_type, listed_segments_are_the_whole_encoding)
{
    prepare(sample::dense);
    byte_string output(encoding().size());
    zidl_segment segs[64];
    uint32_t nsegs = 64;
    type.encode(check.record(), output.data(), output.size(), segs, &nsegs, ZIDL_ZERO_COPY);
    ASSERT_LE(nsegs, 64u);
    byte_string gathered;
    for (uint32_t i = 0; i < nsegs; ++i)
        gathered.insert(gathered.end(), segs[i].base, segs[i].base + segs[i].len);
    EXPECT_EQ(gathered, encoding());
}

std::vector<const message_descriptor *> flat_types()
{
    std::vector<const message_descriptor *> types = every_message();
    std::erase_if(types, [](const message_descriptor *type) {
        return std::any_of(fields_of(*type).begin(), fields_of(*type).end(), is_message);
    });
    return types;
}

INSTANTIATE_TEST_SUITE_P(messages, every_type, testing::ValuesIn(every_message()), message_name);
INSTANTIATE_TEST_SUITE_P(messages, every_flat_type, testing::ValuesIn(flat_types()), message_name);

} // namespace
