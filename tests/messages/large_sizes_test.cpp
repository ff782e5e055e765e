// No size is ever cut to 32 bits: lengths, counts, products and positions beyond 4 GiB, on either side of the wire.
//
// Little memory is touched for it: allocators that note and refuse, address space that nobody reads, a small file that is
// mapped again and again. What takes minutes all the same is left to RIB_EXHAUSTIVE=1.

#include "messages/descriptors.hpp"
#include "messages/ip_rib.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/messages/codec_check.hpp"
#include "tests/messages/every_message.hpp"
#include "tests/messages/exhaustive.hpp"
#include "tests/messages/repeated_mapping.hpp"
#include "tests/messages/sample_records.hpp"
#include "tests/reference/record_access.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace
{

using namespace record_access;
using byte_string = std::vector<uint8_t>;

constexpr uint64_t FOUR_GIB = uint64_t{1} << 32;

// Notes what it is asked for, and gives no more than a little.
class small_memory
{
public:
    static void *allocate(size_t size, void *self_)
    {
        auto *const self = static_cast<small_memory *>(self_);
        self->requests.push_back(size);
        return size <= sizeof self->block_ ? self->block_ : nullptr;
    }

    std::vector<size_t> requests;

private:
    alignas(8) uint8_t block_[64];
};

using sizes = std::vector<size_t>;

// An input of any length, of which there are the first and the last bytes alone: whoever reads others stops the process.
class vast_input
{
public:
    explicit vast_input(size_t size) : size_(size)
    {
        void *const space = mmap(nullptr, size + PAGE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (space == MAP_FAILED)
            throw std::runtime_error("no address space");
        data_ = static_cast<uint8_t *>(space);
        open(0, FIRST);
        open(size / PAGE * PAGE, PAGE);
    }
    ~vast_input() { munmap(data_, size_ + PAGE); }
    vast_input(const vast_input &) = delete;
    vast_input &operator=(const vast_input &) = delete;

    uint8_t *data() const { return data_; }

    void write(size_t at, const byte_string &bytes) const { std::copy(bytes.begin(), bytes.end(), data_ + at); }

private:
    static constexpr size_t PAGE = 4096;
    static constexpr size_t FIRST = 16 * PAGE;

    void open(size_t at, size_t len)
    {
        if (mprotect(data_ + at, len, PROT_READ | PROT_WRITE) != 0)
            throw std::runtime_error("cannot open a page");
    }

    size_t size_;
    uint8_t *data_;
};

// The tag of a field of wire type 2, in bytes.
byte_string delimited_tag(const field_descriptor &field)
{
    const uint32_t tag = field.number << 3 | 2;
    if (tag < 128)
        return {static_cast<uint8_t>(tag)};
    return {static_cast<uint8_t>(tag | 128), static_cast<uint8_t>(tag >> 7)};
}

byte_string joined(byte_string first, const byte_string &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

const byte_string LONGEST_LENGTH = {0xff, 0xff, 0xff, 0xff, 0x0f};              // 4 GiB - 1
const byte_string LONGEST_UNKNOWN = {0x82, 0x7d, 0xff, 0xff, 0xff, 0xff, 0x0f}; // 2000, of 4 GiB - 1 bytes
const byte_string UNKNOWN_THAT_FILLS_IT = {0x82, 0x7d, 0xf8, 0xff,
                                           0xff, 0xff, 0x0f}; // 2000, of 4 GiB - 8: with its head 4 GiB - 1

class large_sizes : public testing::TestWithParam<const message_descriptor *>
{
protected:
    // The status of a decode of `input`, and the requests of memory that it made.
    int32_t decode(const vast_input &input, size_t len, uint32_t flags = 0)
    {
        memory = {};
        record.assign(type.size, 0);
        return type.decode(record.data(), input.data(), len, small_memory::allocate, &memory, flags);
    }

    const message_descriptor &type = *GetParam();
    small_memory memory;
    byte_string record;
};

TEST_P(large_sizes, the_longest_string_is_requested_with_its_nul)
{
    const vast_input input(FOUR_GIB + 16);
    for (const field_descriptor &field : fields_of(type)) {
        if (!is_singular(field, kind::string))
            continue;
        const byte_string head = joined(delimited_tag(field), LONGEST_LENGTH);
        input.write(0, head);
        EXPECT_EQ(decode(input, head.size() + FOUR_GIB - 1), ZIDL_ERR_NO_MEMORY) << field.member;
        EXPECT_EQ(memory.requests, sizes{FOUR_GIB}) << field.member;
    }
}

TEST_P(large_sizes, the_longest_bytes_are_requested_or_borrowed_whole)
{
    const vast_input input(FOUR_GIB + 16);
    for (const field_descriptor &field : fields_of(type)) {
        if (field.type != kind::bytes)
            continue;
        const byte_string head = joined(delimited_tag(field), LONGEST_LENGTH);
        const size_t len = head.size() + FOUR_GIB - 1;
        input.write(0, head);
        EXPECT_EQ(decode(input, len), ZIDL_ERR_NO_MEMORY) << field.member;
        EXPECT_EQ(memory.requests.back(), FOUR_GIB - 1) << field.member;

        ASSERT_EQ(decode(input, len, ZIDL_ZERO_COPY), ZIDL_OK) << field.member;
        const zidl_bytes got = field.repeated
                                   ? *load_pointer<zidl_bytes>(field, record.data())
                                   : zidl_bytes{load_pointer(field, record.data()), load_size(field, record.data())};
        EXPECT_EQ(got.data, input.data() + head.size()) << field.member;
        EXPECT_EQ(got.size, FOUR_GIB - 1) << field.member;
    }
}

TEST_P(large_sizes, the_longest_embedded_message_is_decoded_to_its_end)
{
    const vast_input input(FOUR_GIB + 16);
    for (const field_descriptor &field : fields_of(type)) {
        if (!is_singular(field, kind::message))
            continue;
        const byte_string head = joined(joined(delimited_tag(field), LONGEST_LENGTH), UNKNOWN_THAT_FILLS_IT);
        input.write(0, head);
        const size_t len = delimited_tag(field).size() + 5 + FOUR_GIB - 1;
        EXPECT_EQ(decode(input, len), ZIDL_OK) << field.member;
        EXPECT_TRUE(has(type, field, record.data())) << field.member;
        EXPECT_EQ(decode(input, len - 1), ZIDL_ERR_MALFORMED) << field.member;
    }
}

// With each of these lengths some field of the message has few bytes before it ends by the low 32 bits of what is left.
TEST_P(large_sizes, an_input_of_more_than_4_gib_is_decoded_as_its_beginning)
{
    codec_check check(type);
    check.prepare([&](uint8_t *msg, test_arena &arena) { fill_sample(type, msg, sample::dense, arena); });
    const byte_string head = joined(reference_encoding(type, check.record()), LONGEST_UNKNOWN);
    const vast_input input(FOUR_GIB + 2 * head.size());
    input.write(0, head);
    for (size_t more = 0; more < head.size(); ++more) // the unknown field at its end goes on behind the input
        for (const uint32_t flags : {0u, uint32_t{ZIDL_ZERO_COPY}}) {
            ASSERT_EQ(check.decode(input.data(), FOUR_GIB + more, flags), "") << more;
            ASSERT_EQ(check.status(), ZIDL_OK);
        }
}

TEST_P(large_sizes, a_field_behind_4_gib_is_decoded)
{
    const vast_input input(FOUR_GIB + 64);
    for (const field_descriptor &field : fields_of(type)) {
        if (!is_singular(field, kind::u32))
            continue;
        byte_string value = delimited_tag(field);
        value[0] = static_cast<uint8_t>(value[0] & ~7); // a varint
        value.push_back(0x2a);
        input.write(0, LONGEST_UNKNOWN);
        const size_t at = LONGEST_UNKNOWN.size() + FOUR_GIB - 1;
        input.write(at, value);
        ASSERT_EQ(decode(input, at + value.size()), ZIDL_OK) << field.member;
        EXPECT_EQ(load_number(field, member_address(field, record.data())), 0x2au) << field.member;
    }
}

TEST_P(large_sizes, the_largest_array_is_requested_whole_by_duplicate)
{
    for (const field_descriptor &field : fields_of(type)) {
        if (!field.repeated)
            continue;
        byte_string src(type.size);
        uint64_t element = 0;
        store_pointer(field, src.data(), &element); // only the first request is made, and refused
        store_count(field, src.data(), UINT32_MAX);
        set_presence(type, field, src.data(), true);
        memory = {};
        record.assign(type.size, 0);
        EXPECT_EQ(type.duplicate(record.data(), src.data(), small_memory::allocate, &memory), ZIDL_ERR_NO_MEMORY);
        EXPECT_EQ(memory.requests, sizes{UINT32_MAX * element_size(field)}) << field.member;
    }
}

TEST_P(large_sizes, bytes_of_any_size_are_requested_whole_by_duplicate)
{
    for (const field_descriptor &field : fields_of(type))
        for (const uint64_t size : {FOUR_GIB, FOUR_GIB + 5, uint64_t{1} << 63, UINT64_MAX}) {
            if (field.type != kind::bytes)
                continue;
            byte_string src(type.size);
            uint8_t byte = 0;
            zidl_bytes element = {&byte, size};
            store_pointer(field, src.data(), field.repeated ? static_cast<void *>(&element) : &byte);
            if (field.repeated)
                store_count(field, src.data(), 1);
            else
                store_size(field, src.data(), size);
            set_presence(type, field, src.data(), true);
            memory = {};
            record.assign(type.size, 0);
            EXPECT_EQ(type.duplicate(record.data(), src.data(), small_memory::allocate, &memory), ZIDL_ERR_NO_MEMORY);
            EXPECT_EQ(memory.requests.back(), size) << field.member;
        }
}

// As many empty elements, or zeros, as make their array larger than 4 GiB.
TEST_P(large_sizes, an_array_of_more_than_4_gib_is_requested_whole_by_decode)
{
    for (const field_descriptor &field : fields_of(type)) {
        if (!field.repeated || (!exhaustive() && element_size(field) < 200) || element_size(field) < 2)
            continue;
        const size_t count = FOUR_GIB / element_size(field) + 1;
        byte_string element = delimited_tag(field);
        if (is_number(field))
            element[0] = static_cast<uint8_t>(element[0] & ~7);
        element.push_back(0x00);
        const repeated_mapping input(element, count * element.size());
        memory = {};
        record.assign(type.size, 0);
        EXPECT_EQ(type.decode(record.data(), input.data(), count * element.size(), small_memory::allocate, &memory, 0),
                  ZIDL_ERR_NO_MEMORY);
        EXPECT_EQ(memory.requests, sizes{count * element_size(field)}) << field.member;
    }
}

TEST(large_size, a_route_of_23_mb_of_empty_paths_requests_more_than_4_gib)
{
    constexpr size_t count = 7669585;                            // paths of 560 bytes
    const repeated_mapping input({0xd2, 0x01, 0x00}, 3 * count); // 26 paths, an empty one
    small_memory memory;
    zidl_rib_route route = {};
    EXPECT_EQ(zidl_rib_route_decode_ext(&route, input.data(), 3 * count, small_memory::allocate, &memory, 0), -4);
    EXPECT_EQ(memory.requests, sizes{4294967600});
}

// The count has 32 bits. Nothing is asked for when it does not suffice.
template <class Record>
void expect_limit(int32_t (*decode)(Record *, const uint8_t *, size_t, zidl_alloc_fn, void *, uint32_t),
                  const byte_string &element, size_t element_size)
{
    const repeated_mapping input(element, FOUR_GIB * element.size());
    small_memory memory;
    Record msg = {};
    EXPECT_EQ(decode(&msg, input.data(), FOUR_GIB * element.size(), small_memory::allocate, &memory, 0), -1);
    EXPECT_EQ(memory.requests, sizes{});
    if (!exhaustive())
        return;
    EXPECT_EQ(decode(&msg, input.data(), (FOUR_GIB - 1) * element.size(), small_memory::allocate, &memory, 0), -4);
    EXPECT_EQ(memory.requests, sizes{(FOUR_GIB - 1) * element_size});
}

TEST(large_size, two_to_the_32_integers_are_malformed_and_request_nothing)
{
    expect_limit(zidl_rib_client_advertisement_decode_ext, {0x08, 0x00}, 4); // 1 advertised_values
}

TEST(large_size, two_to_the_32_messages_are_malformed_and_request_nothing)
{
    if (!exhaustive())
        GTEST_SKIP() << "RIB_EXHAUSTIVE=1 runs it";
    expect_limit(zidl_rib_grid_sync_list_decode_ext, {0x0a, 0x00}, sizeof(zidl_rib_encap_id)); // 1 encap_ids, empty
}

// A string of 4 GiB and nine characters.
class long_string : public testing::Test
{
protected:
    static constexpr size_t LEN = FOUR_GIB + 9;

    static void SetUpTestSuite()
    {
        shared = new repeated_mapping({'n'}, LEN + 1);
        shared->detach(LEN, 1);
        shared->data()[LEN] = 0;
    }
    static void TearDownTestSuite()
    {
        delete shared;
        shared = nullptr;
    }

    static char *text() { return reinterpret_cast<char *>(shared->data()); }

    static repeated_mapping *shared;
};

repeated_mapping *long_string::shared = nullptr;

constexpr uint8_t untouched = 0xa5;

TEST_F(long_string, is_requested_whole_by_duplicate)
{
    zidl_ip_rib_proto_update src = {}, dst = {};
    src.proto_name = text();
    zidl_ip_rib_proto_update_mark_proto_name(&src);
    small_memory memory;
    EXPECT_EQ(zidl_ip_rib_proto_update_duplicate(&dst, &src, small_memory::allocate, &memory), -4);
    EXPECT_EQ(memory.requests, sizes{4294967306}); // with its NUL
}

TEST_F(long_string, counts_whole_in_a_measured_message)
{
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = text();
    zidl_ip_rib_proto_update_mark_proto_name(&msg);
    EXPECT_EQ(zidl_ip_rib_proto_update_encode_ext(&msg, nullptr, 0, nullptr, nullptr, 0), 4294967307u); // tag, length 9
}

TEST_F(long_string, is_left_out_whole_of_a_buffer_that_holds_its_length_modulo_4_gib)
{
    zidl_ip_rib_proto_update msg = {};
    msg.proto_name = text();
    zidl_ip_rib_proto_update_mark_proto_name(&msg);
    for (const size_t buflen : {size_t{64}, size_t{8192}}) {
        byte_string buf(buflen, untouched);
        EXPECT_EQ(zidl_ip_rib_proto_update_encode_ext(&msg, buf.data(), buflen, nullptr, nullptr, 0), 4294967307u);
        byte_string expected = {
            0x22, 0x09, // 4 proto_name, the low 32 bits of its length
        };
        expected.resize(buflen, untouched);
        EXPECT_EQ(buf, expected);
    }
}

TEST_F(long_string, counts_whole_in_the_length_of_the_message_around_it)
{
    zidl_ip_rib_iid_ctx msg = {};
    msg.sl_id.sl_id_name = text();
    zidl_ip_rib_iid_sl_id_ctx_mark_sl_id_name(&msg.sl_id);
    byte_string buf(4096, untouched);
    EXPECT_EQ(zidl_ip_rib_iid_ctx_encode_ext(&msg, buf.data(), buf.size(), nullptr, nullptr, 0), 4294967309u);
    byte_string expected = {
        0x3a, 0x0b, // 7 sl_id, the low 32 bits of its length
        0x22, 0x09, //   4 sl_id_name, the low 32 bits of its length
    };
    expected.resize(4096, untouched);
    EXPECT_EQ(buf, expected);
}

TEST(large_size, bytes_of_more_than_4_gib_count_whole_and_are_left_out_whole)
{
    uint8_t data[] = {0x51, 0x52, 0x53, 0x54, 0x55};
    zidl_ip_rib_opaque msg = {};
    msg.first_block = data;
    msg.first_block_size = FOUR_GIB + 5;
    zidl_ip_rib_opaque_mark_first_block(&msg);
    EXPECT_EQ(zidl_ip_rib_opaque_encode_ext(&msg, nullptr, 0, nullptr, nullptr, 0), 4294967303u);
    for (const size_t buflen : {size_t{64}, size_t{8192}}) {
        byte_string buf(buflen, untouched);
        EXPECT_EQ(zidl_ip_rib_opaque_encode_ext(&msg, buf.data(), buflen, nullptr, nullptr, 0), 4294967303u);
        byte_string expected = {
            0x2a, 0x05, // 5 first_block, the low 32 bits of its length
        };
        expected.resize(buflen, untouched);
        EXPECT_EQ(buf, expected);
    }
}

// Copies of more than 4 GiB: they take seconds.

void *give(size_t, void *memory)
{
    return static_cast<repeated_mapping *>(memory)->data();
}

TEST(large_copy, the_longest_string_is_copied_to_its_nul)
{
    if (!exhaustive())
        GTEST_SKIP() << "RIB_EXHAUSTIVE=1 runs it";
    repeated_mapping input({'n'}, FOUR_GIB + 5);
    input.detach(0, 6);
    const byte_string head = joined({0x22}, LONGEST_LENGTH); // 4 proto_name
    std::copy(head.begin(), head.end(), input.data());
    repeated_mapping memory({untouched}, FOUR_GIB);
    memory.detach(FOUR_GIB - 1, 1);
    zidl_ip_rib_proto_update msg = {};
    ASSERT_EQ(zidl_ip_rib_proto_update_decode_ext(&msg, input.data(), FOUR_GIB + 5, give, &memory, 0), ZIDL_OK);
    EXPECT_EQ(msg.proto_name[FOUR_GIB - 2], 'n');
    EXPECT_EQ(msg.proto_name[FOUR_GIB - 1], 0);
}

TEST(large_copy, what_follows_bytes_of_more_than_4_gib_is_written_behind_them)
{
    if (!exhaustive())
        GTEST_SKIP() << "RIB_EXHAUSTIVE=1 runs it";
    const repeated_mapping block({0x51}, FOUR_GIB + 5);
    zidl_ip_rib_opaque msg = {};
    msg.first_block = block.data();
    msg.first_block_size = FOUR_GIB + 5;
    zidl_ip_rib_opaque_mark_first_block(&msg);
    uint8_t second[] = {0x61, 0x62};
    msg.second_block = second;
    msg.second_block_size = sizeof second;
    zidl_ip_rib_opaque_mark_second_block(&msg);
    constexpr size_t len = FOUR_GIB + 11;
    repeated_mapping output({untouched}, len);
    output.detach(0, 8);
    output.detach(len - 8, 8);
    EXPECT_EQ(zidl_ip_rib_opaque_encode_ext(&msg, output.data(), len, nullptr, nullptr, 0), len);
    EXPECT_EQ(byte_string(output.data(), output.data() + 4), (byte_string{0x2a, 0x05, 0x51, 0x51}));
    EXPECT_EQ(byte_string(output.data() + len - 6, output.data() + len),
              (byte_string{0x51, 0x51, 0x32, 0x02, 0x61, 0x62}));
}

INSTANTIATE_TEST_SUITE_P(messages, large_sizes, testing::ValuesIn(every_message()), message_name);

} // namespace
