// Every reader and skipper of varints and tags against a naive one: every pattern of continuation bits of up to 12 bytes,
// every single value bit, inputs that touch an unreadable page on either side, and 0 to 26 bytes behind the message in the
// same buffer. First the codec's own functions, then the exported decoders that are made of them.
//
// The test runs in each build of the codec. Patterns of up to 10 bytes take some seconds; with RIB_EXHAUSTIVE=1 all of
// them are taken.

// What is read here from inside the codec: all names of its internals that this test knows.
#include "codec/operations.hpp"

namespace
{

namespace codec = zidl::detail;

using codec::copy_short;
using codec::decode_context;
using codec::ends_in_window;
using codec::load;
using codec::pack_groups;
using codec::padded_input;
using codec::parse_ended;
using codec::parse_long_varint;
using codec::parse_tag;
using codec::parse_varint;
using codec::parse_varint_bytewise;
using codec::parse_word_varint;
using codec::parsed;
using codec::run_index;
using codec::skip_value;
using codec::skip_varint;
using codec::spread_groups;
using codec::varint_ends;
using codec::varint_size;
using codec::window_size;

} // namespace

#include "tests/messages/codec_check.hpp"
#include "tests/messages/exhaustive.hpp"
#include "tests/messages/guarded_pages.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

constexpr size_t LONGEST = 12;
constexpr size_t MOST_BEHIND = 26;

size_t longest()
{
    return exhaustive() ? LONGEST : 10;
}

// A varint as it is defined: groups of seven bits, the lowest first, up to a byte without its top bit. What does not fit
// into 64 bits is dropped. A null `next` where the input ends before it.
struct naive_varint {
    const uint8_t *next;
    uint64_t value;
};

naive_varint naive(const uint8_t *pos, const uint8_t *end)
{
    uint64_t value = 0;
    for (unsigned group = 0; pos < end; ++group) {
        const uint8_t byte = *pos++;
        for (unsigned bit = 0; bit < 7; ++bit)
            if (7 * group + bit < 64 && (byte >> bit & 1) != 0)
                value |= uint64_t{1} << (7 * group + bit);
        if ((byte & 128) == 0)
            return {pos, value};
    }
    return {nullptr, 0};
}

// The position behind an unknown field's value, or null, and the status.
struct naive_skip {
    const uint8_t *next;
    int32_t status;
};

naive_skip naive_skip_value(uint32_t wire_type, const uint8_t *pos, const uint8_t *end, const naive_varint &first)
{
    const auto left = static_cast<uint64_t>(end - pos);
    switch (wire_type) {
    case 0:
        return first.next == nullptr ? naive_skip{nullptr, -1} : naive_skip{first.next, 0};
    case 1:
        return {left < 8 ? end : pos + 8, 0};
    case 2: {
        if (first.next == nullptr)
            return {nullptr, -1};
        const uint32_t len = static_cast<uint32_t>(first.value);
        return {static_cast<uint64_t>(end - first.next) < len ? end : first.next + len, 0};
    }
    case 5:
        return {left < 4 ? end : pos + 4, 0};
    default:
        return {nullptr, -2};
    }
}

// A message within a buffer, and what readers are told of both.
struct placed_message {
    const uint8_t *pos;
    const uint8_t *end;
    decode_context context;

    placed_message(const uint8_t *msg, size_t len, size_t before, size_t behind)
        : pos(msg), end(msg + len), context{nullptr, nullptr, last(sizeof(uint64_t), before, len + behind),
                                            last(window_size, before, len + behind), false}
    {
    }

private:
    // From where a word of that size may be loaded last.
    const uint8_t *last(size_t word, size_t before, size_t from_msg) const
    {
        return before + from_msg >= word ? pos + from_msg - word : nullptr;
    }
};

// How often each reader was wrong, by name; where the first time.
class verdict
{
public:
    void expect(bool right, const char *reader, const placed_message &in)
    {
        if (__builtin_expect(right, 1))
            return;
        if (wrong_++ < 5)
            ADD_FAILURE() << reader << " reads " << in.end - in.pos
                          << " bytes wrongly: " << testing::PrintToString(std::vector<int>(in.pos, in.end))
                          << ", wide end at " << (in.context.wide_end != nullptr ? in.context.wide_end - in.pos : -1);
    }

    uint64_t wrong() const { return wrong_; }

private:
    uint64_t wrong_ = 0;
};

template <class Value>
bool same(const parsed<Value> &got, const naive_varint &expected)
{
    if (expected.next == nullptr || got.next == nullptr)
        return expected.next == got.next;
    return got.next == expected.next && got.value == static_cast<Value>(expected.value);
}

template <class Value>
void check_varints(verdict &so_far, const placed_message &in, const naive_varint &expected)
{
    const uint8_t *const wide_end = in.context.wide_end;
    so_far.expect(same(parse_varint_bytewise<Value>(in.pos, in.end), expected), "parse_varint_bytewise", in);
    so_far.expect(same(parse_long_varint<Value>(in.pos, in.end, wide_end), expected), "parse_long_varint", in);
    so_far.expect(same(parse_varint<Value>(in.pos, in.end, wide_end), expected), "parse_varint", in);
    // This one may leave a varint to others, but not read it wrongly.
    const auto word = parse_word_varint<Value>(in.pos, in.end, wide_end);
    so_far.expect(word.next == nullptr || same(word, expected), "parse_word_varint", in);
}

void check_skips(verdict &so_far, const placed_message &in, const naive_varint &first)
{
    so_far.expect(skip_varint(in.pos, in.end, in.context.wide_end) == first.next, "skip_varint", in);
    for (uint32_t wire_type = 0; wire_type < 8; ++wire_type) {
        const auto got = skip_value(wire_type, in.pos, in.end);
        const naive_skip expected = naive_skip_value(wire_type, in.pos, in.end, first);
        so_far.expect(got.next == expected.next && got.value == expected.status, "skip_value", in);
    }
}

// Where varints end is looked up in sixteen bytes at once, if they and a word that begins in the last one lie in the buffer.
void check_window(verdict &so_far, const placed_message &in, size_t behind, const naive_varint &first)
{
    const auto left = static_cast<size_t>(in.end - in.pos);
    uint32_t expected = 0;
    if (left + behind >= 24)
        for (size_t i = 0; i < std::min<size_t>(left, 16); ++i)
            if (in.pos[i] < 128)
                expected |= uint32_t{1} << i;
    so_far.expect(ends_in_window(in.pos, in.end, in.context) == expected, "ends_in_window", in);
    if (expected != 0)
        so_far.expect(parse_ended(in.pos) == static_cast<uint32_t>(first.value), "parse_ended", in);
}

void check_readers(verdict &so_far, const placed_message &in, size_t behind, const naive_varint &first)
{
    check_varints<uint32_t>(so_far, in, first);
    check_varints<uint64_t>(so_far, in, first);
    so_far.expect(same(parse_tag(in.pos, in.end), first), "parse_tag", in);
    check_skips(so_far, in, first);
    check_window(so_far, in, behind, first);
}

using pattern_bytes = std::array<uint8_t, LONGEST>;

// `len` bytes with these continuation bits and, of the 7 * len value bits, one; or none, or all.
pattern_bytes pattern(size_t len, uint32_t continuation, size_t value_bit)
{
    const size_t none = 7 * len;
    pattern_bytes made{};
    for (size_t i = 0; i < len; ++i)
        made[i] = static_cast<uint8_t>((continuation >> i & 1) << 7 | (value_bit > none ? 127 : 0));
    if (value_bit < none)
        made[value_bit / 7] = static_cast<uint8_t>(made[value_bit / 7] | 1 << value_bit % 7);
    return made;
}

// Calls visit(bytes, len) for all of them.
template <class Visit>
void for_each_pattern(size_t longest_one, Visit visit)
{
    for (size_t len = 1; len <= longest_one; ++len)
        for (uint32_t continuation = 0; continuation >> len == 0; ++continuation)
            for (size_t value_bit = 0; value_bit <= 7 * len + 1; ++value_bit)
                visit(pattern(len, continuation, value_bit), len);
}

// The bytes behind the message end a varint at once, or never.
class varint_readers : public testing::TestWithParam<uint8_t>
{
protected:
    varint_readers() { std::memset(pages.start(), GetParam(), SIZE); }

    static constexpr size_t SIZE = 4096;
    guarded_pages pages{SIZE};
    verdict so_far;
};

// Words may be loaded before the message, and not behind it: the buffer begins a window earlier.
TEST_P(varint_readers, read_every_pattern_before_an_unreadable_page)
{
    for_each_pattern(longest(), [&](const pattern_bytes &bytes, size_t len) {
        const naive_varint expected = naive(bytes.data(), bytes.data() + len);
        for (size_t behind = 0; behind <= MOST_BEHIND; ++behind) {
            uint8_t *const msg = pages.before_end(len + behind);
            std::memcpy(msg, bytes.data(), len);
            check_readers(so_far, {msg, len, window_size, behind}, behind,
                          {expected.next != nullptr ? msg + (expected.next - bytes.data()) : nullptr, expected.value});
            std::memset(msg, GetParam(), len);
        }
    });
    EXPECT_EQ(so_far.wrong(), 0u);
}

TEST_P(varint_readers, read_every_pattern_behind_an_unreadable_page)
{
    uint8_t *const msg = pages.start();
    for_each_pattern(longest(), [&](const pattern_bytes &bytes, size_t len) {
        std::memcpy(msg, bytes.data(), len);
        const naive_varint expected = naive(msg, msg + len);
        for (size_t behind = 0; behind <= MOST_BEHIND; ++behind)
            check_readers(so_far, {msg, len, 0, behind}, behind, expected);
        std::memset(msg, GetParam(), len);
    });
    EXPECT_EQ(so_far.wrong(), 0u);
}

INSTANTIATE_TEST_SUITE_P(bytes_behind, varint_readers, testing::Values(0x00, 0xff));

TEST(varint_pieces, varint_size_is_a_byte_for_every_seven_bits_begun)
{
    EXPECT_EQ(varint_size(0), 1u);
    for (unsigned bit = 0; bit < 64; ++bit) {
        EXPECT_EQ(varint_size(uint64_t{1} << bit), bit / 7 + 1) << bit;
        EXPECT_EQ(varint_size(UINT64_MAX >> (63 - bit)), bit / 7 + 1) << bit;
    }
}

// Each bit by itself, and all: the functions only move bits.
TEST(varint_pieces, groups_are_packed_and_spread_bit_by_bit)
{
    for (unsigned bit = 0; bit < 56; ++bit) {
        const uint64_t value = uint64_t{1} << bit;
        const uint64_t in_groups = uint64_t{1} << (bit / 7 * 8 + bit % 7);
        EXPECT_EQ(spread_groups<0>(value), in_groups) << bit;
        EXPECT_EQ(pack_groups<uint64_t>(in_groups), value) << bit;
        EXPECT_EQ(pack_groups<uint64_t>(in_groups | 0x8080808080808080), value) << bit;
        EXPECT_EQ(pack_groups<uint32_t>(in_groups | 0x8080808080808080), static_cast<uint32_t>(value)) << bit;
        if (bit < 32) {
            EXPECT_EQ(spread_groups<1>(static_cast<uint32_t>(value)), in_groups << 8) << bit;
            EXPECT_EQ(spread_groups<2>(static_cast<uint32_t>(value)), in_groups << 16) << bit;
        }
    }
    EXPECT_EQ(spread_groups<0>(uint64_t{0x00ffffffffffffff}), 0x7f7f7f7f7f7f7f7fu);
    EXPECT_EQ(pack_groups<uint64_t>(UINT64_MAX), 0x00ffffffffffffffu);
    EXPECT_EQ(pack_groups<uint32_t>(UINT64_MAX), 0xffffffffu);
}

TEST(varint_pieces, ends_are_found_at_each_of_sixteen_places)
{
    for (uint32_t ends = 0; ends < 0x10000; ++ends) {
        uint8_t bytes[16];
        for (unsigned i = 0; i < 16; ++i)
            bytes[i] = (ends >> i & 1) != 0 ? 0x7f : 0x80;
        ASSERT_EQ(varint_ends(bytes), ends);
    }
}

TEST(varint_pieces, ends_in_a_window_are_those_within_the_message)
{
    const std::vector<uint8_t> all_end(64, 0x01);
    for (size_t len = 1; len <= 20; ++len)
        for (size_t behind = 0; behind <= MOST_BEHIND; ++behind) {
            const placed_message in(all_end.data(), len, 0, behind);
            const uint32_t within = (uint32_t{1} << std::min<size_t>(len, 16)) - 1;
            EXPECT_EQ(ends_in_window(in.pos, in.end, in.context), len + behind >= 24 ? within : 0u)
                << len << " " << behind;
        }
}

TEST(varint_pieces, padded_input_is_the_input_and_zeros_and_reads_nothing_else)
{
    const guarded_pages pages(1);
    for (size_t len = 1; len <= 23; ++len)
        for (uint8_t *const input : {pages.start(), pages.before_end(len)}) {
            std::vector<uint8_t> expected(48, 0x00);
            for (size_t i = 0; i < len; ++i)
                input[i] = expected[i] = static_cast<uint8_t>(0xe1 + i); // each byte another one, none of them 0
            padded_input copy;
            copy.take(input, len);
            EXPECT_EQ(std::vector<uint8_t>(copy.begin(), copy.begin() + copy.size()), expected) << len;
        }
}

TEST(varint_pieces, copies_are_exact_at_both_ends)
{
    constexpr size_t MOST = 300;
    const guarded_pages from(MOST);
    const guarded_pages to(MOST);
    for (size_t len = 0; len <= MOST; ++len)
        for (uint8_t *const src : {from.start(), from.before_end(len)})
            for (uint8_t *const dst : {to.start(), to.before_end(len)}) {
                std::fill(to.start(), to.before_end(0), uint8_t{0xa5});
                for (size_t i = 0; i < len; ++i)
                    src[i] = static_cast<uint8_t>(i % 251);
                copy_short(dst, src, len);
                EXPECT_TRUE(std::equal(src, src + len, dst)) << len;
                const auto written =
                    std::count_if(to.start(), dst, [](uint8_t byte) { return byte != 0xa5; }) +
                    std::count_if(dst + len, to.before_end(0), [](uint8_t byte) { return byte != 0xa5; });
                EXPECT_EQ(written, 0) << len << ": bytes outside the copy";
            }
}

// `Count` u32 fields from number `First`: all that two bytes can say.
template <uint32_t First, unsigned Count>
void check_run_tags()
{
    for (uint32_t word = 0; word < 0x10000; ++word) {
        const uint8_t bytes[] = {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8), 0, 0, 0, 0, 0, 0};
        const naive_varint tag = naive(bytes, bytes + 2);
        const uint64_t number = tag.value >> 3;
        const bool shortest = tag.next == bytes + (First < 16 ? 1 : 2);
        const bool expected =
            tag.next != nullptr && shortest && (tag.value & 7) == 0 && number >= First && number < First + Count;
        uint32_t index = 0;
        ASSERT_EQ((run_index<First, Count>(bytes, index)), expected) << word;
        ASSERT_TRUE(!expected || index == number - First) << word;
    }
}

TEST(varint_pieces, tags_of_a_run_are_its_fields_alone)
{
    check_run_tags<1, 3>();
    check_run_tags<10, 5>();
    check_run_tags<1, 15>();
    check_run_tags<16, 2>();
    check_run_tags<22, 6>();
    check_run_tags<16, 16>();
}

// The exported decoders, wherever a varint stands: a tag, a value of each kind, a length, an element, an unknown field.
struct varint_place {
    const char *name;
    const char *type;
    std::vector<uint8_t> before; // the bytes of the message in front of it
};

const varint_place PLACES[] = {
    {"tag_of_a_small_message", "rib_bind_reply", {}},
    {"tag_of_a_large_message", "rib_route", {}},
    {"tag_behind_a_run", "rib_path", {0x08, 0x01}},            // 1 path_value_1
    {"tag_behind_an_element", "rib_path", {0x48, 0x01}},       // 9 path_values_9
    {"u32", "rib_bind_reply", {0x08}},                         // 1 bind_value
    {"u32_of_a_run_with_short_tags", "rib_path", {0x08}},      // 1 path_value_1
    {"u32_of_a_run_with_long_tags", "rib_path", {0xd8, 0x01}}, // 27 path_value_27
    {"u64", "rib_ipv6_address", {0x08}},                       // 1 half0
    {"boolean", "ip_rib_srv6_locator", {0x50}},                // 10 flag_10
    {"u8_element", "ip_rib_srv6_sid_ctx", {0x10}},             // 2 values_2
    {"u32_element", "rib_path", {0x48}},                       // 9 path_values_9
    {"u64_element", "rib_ecomm_array", {0x10}},                // 2 ecomm_values
    {"length_of_a_message", "rib_prefix", {0x0a}},             // 1 address
    {"length_of_a_message_element", "rib_path", {0x8a, 0x01}}, // 17 path_addresses
    {"length_of_a_string", "ip_rib_proto_update", {0x22}},     // 4 proto_name
    {"length_of_bytes", "ip_rib_opaque", {0x2a}},              // 5 first_block
    {"unknown_value", "rib_bind_reply", {0xf8, 0x7d}},         // 2015
    {"unknown_length", "rib_bind_reply", {0xfa, 0x7d}},
};

class varint_in_a_message : public testing::TestWithParam<varint_place>
{
protected:
    // Decodes the message of these bytes, `behind` further ones and nothing else, at the end of a page, and expects what the
    // reference does.
    void expect_what_the_reference_does(const uint8_t *bytes, size_t len, size_t behind)
    {
        const std::vector<uint8_t> &before = GetParam().before;
        const size_t size = before.size() + len + behind;
        uint8_t *const buf = pages.before_end(size);
        std::copy(before.begin(), before.end(), buf);
        std::memcpy(buf + before.size(), bytes, len);
        std::memset(buf + before.size() + len, UNKNOWN_FIXED64, behind);
        const std::string found = check.decode(buf, size, ZIDL_ZERO_COPY);
        ASSERT_EQ(found, "") << testing::PrintToString(std::vector<int>(buf, buf + size));
    }

    // The tag of field 15, which no message here has or needs, and what is skipped for it.
    static constexpr uint8_t UNKNOWN_FIXED64 = 0x79;

    guarded_pages pages{4096};
    codec_check check{*zidl::find_message(GetParam().type)};
};

TEST_P(varint_in_a_message, of_any_length_with_any_bit_is_read_as_by_the_reference)
{
    for (size_t len = 1; len <= LONGEST; ++len)
        for (size_t value_bit = 0; value_bit <= 7 * len + 1; ++value_bit) {
            const pattern_bytes bytes = pattern(len, (1U << (len - 1)) - 1, value_bit);
            for (size_t behind = 0; behind <= MOST_BEHIND; ++behind)
                ASSERT_NO_FATAL_FAILURE(expect_what_the_reference_does(bytes.data(), len, behind));
        }
}

TEST_P(varint_in_a_message, of_any_pattern_of_continuation_is_read_as_by_the_reference)
{
    const size_t step = exhaustive() ? 1 : 6;
    for (size_t len = 1; len <= longest(); ++len)
        for (uint32_t continuation = 0; continuation >> len == 0; ++continuation)
            for (const size_t value_bit : {7 * len, 7 * len + 1}) // none, all
                for (size_t behind = continuation % step; behind <= MOST_BEHIND; behind += step) {
                    const pattern_bytes bytes = pattern(len, continuation, value_bit);
                    ASSERT_NO_FATAL_FAILURE(expect_what_the_reference_does(bytes.data(), len, behind));
                }
}

INSTANTIATE_TEST_SUITE_P(places, varint_in_a_message, testing::ValuesIn(PLACES),
                         [](const auto &instance) { return std::string(instance.param.name); });

} // namespace
