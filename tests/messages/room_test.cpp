// No encoder stores a byte behind its buffer, wherever the buffer ends: every type with all its scalars at their largest, in
// encodings that are large enough for the writer that tries first and measures later, and with sizes that no memory has.
//
// A guard page lies behind each buffer. RIB_EXHAUSTIVE=1 takes every buffer length for every field that may grow, half a
// minute in all; without, buffers end behind the large value and around the sizes where writers change.

#include "messages/descriptors.hpp"
#include "messages/ip_rib.h"
#include "messages/rib_common.h"
#include "tests/messages/codec_check.hpp"
#include "tests/messages/every_message.hpp"
#include "tests/messages/exhaustive.hpp"
#include "tests/messages/guarded_pages.hpp"
#include "tests/messages/sample_records.hpp"
#include "tests/reference/codec_reference.hpp"
#include "tests/reference/record_access.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/mman.h>

namespace
{

using namespace record_access;
using byte_string = std::vector<uint8_t>;

// From this size of buffer on the encoder tries first. Into smaller ones it copies what it stored in a block of its own, which
// ends so far behind the buffer's end.
constexpr size_t LARGE = 4096;
constexpr size_t LARGE_BUFFERS[] = {200, LARGE - 1, LARGE, LARGE + 1, 9000};
constexpr size_t LARGEST_BUFFER = 9000;

// Fills records with the largest scalars there are, all fields present and short, but for one that takes a length of its own.
class largest_filler
{
public:
    largest_filler(const field_path &grown, size_t length, test_arena &memory)
        : grown_(grown), length_(length), memory_(memory)
    {
    }

    // `depth` fields of the way to the grown one lie behind; none does for messages off that way.
    void fill(const message_descriptor &type, void *msg, size_t depth = 0)
    {
        store_presence(type, msg, UINT64_MAX);
        for (const field_descriptor &field : fields_of(type)) {
            const bool on_the_way = depth < grown_.size() && grown_[depth] == &field;
            const bool grows = on_the_way && depth + 1 == grown_.size();
            const size_t below = on_the_way ? depth + 1 : OFF;
            if (field.repeated)
                fill_array(field, msg, grows, below);
            else if (field.type == kind::string || field.type == kind::bytes)
                fill_text(field, msg, grows ? length_ : SHORT);
            else
                fill_value(field, member_address(field, msg), below);
        }
    }

private:
    static constexpr size_t OFF = SIZE_MAX;
    static constexpr size_t SHORT = 5;

    void fill_value(const field_descriptor &field, void *at, size_t below)
    {
        if (is_message(field))
            fill(*field.message, at, below);
        else if (field.type == kind::bytes)
            store(at, zidl_bytes{text(SHORT), SHORT});
        else
            store_number(field, at, UINT64_MAX);
    }

    void fill_array(const field_descriptor &field, void *msg, bool grows, size_t below)
    {
        const size_t count = grows ? length_ / shortest_element(field) + 1 : 2;
        auto *array = static_cast<uint8_t *>(memory_.allocate(count * element_size(field)));
        for (size_t i = 0; i < count; ++i)
            fill_value(field, array + i * element_size(field), i == 0 ? below : OFF);
        store_pointer(field, msg, array);
        store_count(field, msg, static_cast<uint32_t>(count));
    }

    // Bytes that an element filled like this takes at least.
    size_t shortest_element(const field_descriptor &field)
    {
        if (!is_message(field))
            return 3;
        byte_string element(field.message->size);
        fill(*field.message, element.data(), OFF);
        return codec_reference::encode(*field.message, element.data(), nullptr, 0, nullptr, nullptr, 0);
    }

    void fill_text(const field_descriptor &field, void *msg, size_t length)
    {
        store_pointer(field, msg, text(length));
        if (field.type == kind::bytes)
            store_size(field, msg, length);
    }

    uint8_t *text(size_t length)
    {
        auto *data = static_cast<uint8_t *>(memory_.allocate(length + 1));
        std::memset(data, 0x61, length);
        data[length] = 0;
        return data;
    }

    const field_path &grown_;
    const size_t length_;
    test_arena &memory_;
};

void collect_growable_fields(const message_descriptor &type, field_path &way, std::vector<field_path> &found)
{
    for (const field_descriptor &field : fields_of(type)) {
        way.push_back(&field);
        if (field.repeated || field.type == kind::string || field.type == kind::bytes)
            found.push_back(way);
        if (is_message(field))
            collect_growable_fields(*field.message, way, found);
        way.pop_back();
    }
}

// The ways to all fields that may grow, arrays of messages as well as what lies in their elements.
std::vector<field_path> all_growable_fields(const message_descriptor &type)
{
    field_path way;
    std::vector<field_path> found;
    collect_growable_fields(type, way, found);
    return found;
}

class room : public testing::TestWithParam<const message_descriptor *>
{
protected:
    void make_largest(const field_path &grown, size_t length)
    {
        memory_.reset();
        record_.assign(type.size, 0);
        largest_filler(grown, length, memory_).fill(type, record_.data());
        expected_ = reference_encoding(type, record_.data());
    }

    // Into a buffer in front of a guard page, which stops the process where something is stored there. The buffer holds the
    // beginning of the encoding then, up to its end or to a string or bytes value that does not fit whole.
    void expect_beginning(const guarded_pages &pages, size_t buflen)
    {
        uint8_t *const buf = pages.before_end(buflen);
        std::memset(buf, UNTOUCHED, buflen);
        ASSERT_EQ(type.encode(record_.data(), buf, buflen, nullptr, nullptr, 0), expected_.size()) << buflen;
        if (std::memcmp(buf, expected_.data(), buflen) == 0)
            return;
        const uint8_t *const behind = std::mismatch(buf, buf + buflen, expected_.data()).first;
        const uint8_t *const end = buf + buflen;
        ASSERT_TRUE(std::all_of(behind, end, [](uint8_t byte) { return byte == UNTOUCHED; })) << buflen;
        ASSERT_LT(buflen, expected_.size());
    }

    void expect_beginnings(size_t from, size_t to)
    {
        const guarded_pages pages(expected_.size());
        for (size_t buflen = from; buflen <= std::min(to, expected_.size()); ++buflen)
            ASSERT_NO_FATAL_FAILURE(expect_beginning(pages, buflen));
    }

    void prepare_dense()
    {
        check.prepare([&](uint8_t *msg, test_arena &memory) { fill_sample(type, msg, sample::dense, memory); });
    }

    // Into large buffers, with zones that hold and with a guard page behind.
    void expect_what_the_reference_does()
    {
        for (const size_t buflen : LARGE_BUFFERS) {
            ASSERT_EQ(check.encode({buflen, std::nullopt, 0}), "") << buflen;
            const size_t result = type.encode(check.record(), large_.before_end(buflen), buflen, nullptr, nullptr, 0);
            ASSERT_EQ(result, check.result()) << buflen;
        }
    }

    const message_descriptor &type = *GetParam();
    codec_check check{type};
    guarded_pages large_{LARGEST_BUFFER};
    test_arena memory_{size_t{1} << 20};
    byte_string record_;
    byte_string expected_;
};

// One field is longer than all others together, so that large buffers end everywhere behind it, and in its last elements.
TEST_P(room, every_buffer_gets_the_beginning_of_the_largest_scalars)
{
    make_largest({}, 0);
    expect_beginnings(0, expected_.size());
    const size_t short_fields = expected_.size();
    for (const field_path &path : all_growable_fields(type)) {
        SCOPED_TRACE(path.back()->member);
        make_largest(path, LARGE);
        ASSERT_GE(expected_.size(), LARGE);
        const size_t last_elements = is_message(*path.back()) ? 4 * path.back()->message->size : 64;
        const size_t rest = std::min(expected_.size(), short_fields + last_elements);
        ASSERT_NO_FATAL_FAILURE(expect_beginnings(exhaustive() ? 0 : LARGE - 20, LARGE + 20));
        ASSERT_NO_FATAL_FAILURE(expect_beginnings(exhaustive() ? LARGE : expected_.size() - rest, expected_.size()));
        if (!exhaustive())
            continue;
        make_largest(path, 4 * LARGE); // its message's length takes three bytes
        ASSERT_NO_FATAL_FAILURE(expect_beginnings(expected_.size() - rest, expected_.size()));
    }
}

// Nothing of it fits, and the block beside the buffer ends within the last values, in front of them or behind.
TEST_P(room, small_buffer_gets_the_beginning_of_encodings_that_end_where_the_block_beside_it_does)
{
    const guarded_pages pages(LARGE);
    for (const field_path &path : all_growable_fields(type)) {
        SCOPED_TRACE(path.back()->member);
        make_largest(path, LARGE);
        const size_t short_fields = expected_.size() - LARGE;
        for (const size_t buflen : {size_t{1}, LARGE / 2, LARGE - 1}) {
            for (size_t beyond : {0u, 12u, 19u, 20u, 21u, 30u, 60u}) {
                make_largest(path, buflen + LARGE - std::min(short_fields + 20, buflen + LARGE - 1) + beyond);
                if (buflen <= expected_.size()) {
                    ASSERT_NO_FATAL_FAILURE(expect_beginning(pages, buflen)) << beyond;
                }
            }
        }
    }
}

// What no memory holds, and what makes sums with the fields around it wrap.
std::vector<uint64_t> hostile_sizes()
{
    std::vector<uint64_t> sizes;
    for (const uint64_t middle : {uint64_t{1} << 31, uint64_t{1} << 32, uint64_t{1} << 63, uint64_t{0}})
        for (const uint64_t distance : {1u, 2u, 5u, 6u, 7u, 8u, 12u, 20u, 100u, 4096u, 9000u}) {
            sizes.push_back(middle - distance);
            if (middle != 0)
                sizes.push_back(middle + distance);
        }
    sizes.insert(sizes.end(), {uint64_t{1} << 31, uint64_t{1} << 32, uint64_t{1} << 63});
    return sizes;
}

TEST_P(room, bytes_of_a_hostile_size_are_left_out_of_large_buffers)
{
    prepare_dense();
    for (uint64_t *const size : bytes_sizes(type, const_cast<void *>(check.record()))) {
        const uint64_t saved = *size;
        for (const uint64_t hostile : hostile_sizes()) {
            *size = hostile;
            ASSERT_NO_FATAL_FAILURE(expect_what_the_reference_does()) << hostile;
        }
        *size = saved;
    }
}

TEST_P(room, bytes_whose_sizes_together_wrap_are_left_out_of_large_buffers)
{
    prepare_dense();
    const auto sizes = bytes_sizes(type, const_cast<void *>(check.record()));
    for (size_t wrapping = 2; wrapping <= sizes.size(); ++wrapping) {
        for (size_t i = 0; i < wrapping; ++i)
            *sizes[i] = UINT64_MAX / wrapping + 1;
        ASSERT_NO_FATAL_FAILURE(expect_what_the_reference_does()) << wrapping;
    }
}

TEST(hostile_size, opaque_of_the_largest_size_writes_its_tag_and_length_alone)
{
    uint8_t data[] = {0x51};
    zidl_ip_rib_opaque msg = {};
    msg.first_block = data;
    msg.first_block_size = UINT64_MAX;
    zidl_ip_rib_opaque_mark_first_block(&msg);
    const guarded_pages pages(9000);
    uint8_t *const buf = pages.before_end(9000);
    std::memset(buf, UNTOUCHED, 9000);
    EXPECT_EQ(zidl_ip_rib_opaque_encode_ext(&msg, buf, 9000, nullptr, nullptr, 0), 5u); // 6 and 2^64 - 1
    byte_string expected = {
        0x2a,                         // 5 first_block
        0xff, 0xff, 0xff, 0xff, 0x0f, // its length, the low 32 bits
    };
    expected.resize(9000, UNTOUCHED);
    EXPECT_EQ(byte_string(buf, buf + 9000), expected);
}

// Zeros without end: memory that is mapped and takes no room until it is written to.
class zeros
{
public:
    explicit zeros(size_t size) : size_(size)
    {
        memory_ = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory_ == MAP_FAILED)
            throw std::runtime_error("no address space");
    }
    ~zeros() { munmap(memory_, size_); }
    zeros(const zeros &) = delete;
    zeros &operator=(const zeros &) = delete;

    template <class Element>
    Element *array() const
    {
        return static_cast<Element *>(memory_);
    }

private:
    size_t size_;
    void *memory_;
};

TEST(element_count, what_so_many_messages_may_take_together_is_not_cut_to_32_bits)
{
    constexpr size_t most = 61; // 2 of tag, 1 of length, 58 of fields at their largest
    constexpr uint32_t count = static_cast<uint32_t>((uint64_t{1} << 32) / most + 1);
    const zeros elements(count * sizeof(zidl_rib_path_srv6_sid_info));
    zidl_rib_path msg = {};
    msg.srv6_sid_infos = elements.array<zidl_rib_path_srv6_sid_info>();
    msg.srv6_sid_infos_count = count;
    zidl_rib_path_mark_srv6_sid_infos(&msg);
    const guarded_pages pages(LARGE);
    uint8_t *const buf = pages.before_end(LARGE);
    // Each is empty: tag 8a 02, length 00.
    EXPECT_EQ(zidl_rib_path_encode_ext(&msg, buf, LARGE, nullptr, nullptr, 0), size_t{3} * count);
}

TEST(element_count, what_so_many_integers_may_take_together_is_not_cut_to_32_bits)
{
    constexpr size_t most = 11; // 1 of tag, 10 of value
    constexpr uint32_t count = static_cast<uint32_t>((uint64_t{1} << 32) / most + 1);
    const zeros elements(count * sizeof(uint64_t));
    zidl_rib_ecomm_array msg = {};
    msg.ecomm_values = elements.array<uint64_t>();
    msg.ecomm_count = count;
    zidl_rib_ecomm_array_mark_ecomm_values(&msg);
    const guarded_pages pages(LARGE);
    uint8_t *const buf = pages.before_end(LARGE);
    // Each is 0: tag 10, value 00.
    EXPECT_EQ(zidl_rib_ecomm_array_encode_ext(&msg, buf, LARGE, nullptr, nullptr, 0), size_t{2} * count);
}

INSTANTIATE_TEST_SUITE_P(messages, room, testing::ValuesIn(every_message()), message_name);

} // namespace
