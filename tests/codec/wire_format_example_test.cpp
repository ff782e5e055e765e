// The worked examples of docs/wire-format.md: what the page says is what the codec does, and its bytes are these bytes.

#include "messages/ip_rib.h"
#include "messages/rib_common.h"
#include "tests/codec/support.hpp"

#include <algorithm>
#include <fstream>
#include <string>

using rib_test::bytes;
using rib_test::memory;

namespace
{

const bytes path_bytes = {
    0x08, 0xac, 0x02,                   // 1 path_value_1 = 300
    0x22, 0x08,                         // 4 path_address_4, 8 bytes: written for its content
    0x08, 0x01,                         //     1 family = 1
    0x10, 0x81, 0x84, 0x80, 0x80, 0x0c, //     2 ipv4 = 0xc0000201
    0x32, 0x00,                         // 6 path_prefix, 0 bytes: written for its mark
    0x48, 0x10,                         // 9 path_values_9[0] = 16
    0x48, 0xc8, 0x01,                   // 9 path_values_9[1] = 200
    0x80, 0x01, 0x00,                   // 16 path_value_16 = 0: a tag of two bytes, and 0 is a value
    0xc2, 0x02, 0x02,                   // 40 grouping_info, 2 bytes: stands before 34
    0x08, 0x05,                         //     1 grouping_value_1 = 5
    0x92, 0x02, 0x02,                   // 34 ip_tunnel_info, 2 bytes
    0x28, 0x01,                         //     5 tunnel_flag = 1
};

const bytes opaque_bytes = {
    0x08, 0x07,             // 1 opaque_type = 7
    0x2a, 0x03,             // 5 first_block, 3 bytes
    0x61, 0x62, 0x63,       //     "abc"
    0x32, 0x04,             // 6 second_block, 4 bytes
    0xde, 0xad, 0xbe, 0xef, //     contents
};

const bytes short_opaque_bytes = {
    0x08, 0x07, // 1 opaque_type = 7
    0x2a, 0x03, // 5 first_block, 3 bytes: not there
};

const bytes zero_copy_opaque_bytes = {
    0x08, 0x07, // 1 opaque_type = 7
    0x2a, 0x03, // 5 first_block, 3 bytes
    0x32, 0x04, // 6 second_block, 4 bytes
};

class worked_path : public testing::Test
{
protected:
    worked_path()
    {
        zidl_rib_path_set_path_value_1(&path, 300);
        zidl_rib_address_set_family(&path.path_address_4, 1);
        zidl_rib_address_set_ipv4(&path.path_address_4, 0xc0000201);
        zidl_rib_path_mark_path_prefix(&path);
        zidl_rib_path_set_path_values_9(&path, values, 2);
        zidl_rib_path_set_path_value_16(&path, 0);
        zidl_rib_path_grouping_info_set_grouping_value_1(&path.grouping_info, 5);
        zidl_rib_path_ip_tunnel_info_set_tunnel_flag(&path.ip_tunnel_info, 1);
    }

    static bytes encode(const zidl_rib_path &msg)
    {
        bytes out(64);
        out.resize(zidl_rib_path_encode_ext(&msg, out.data(), out.size(), nullptr, nullptr, 0));
        return out;
    }

    uint32_t values[2] = {16, 200};
    zidl_rib_path path = {};
};

class worked_opaque : public testing::Test
{
protected:
    worked_opaque()
    {
        zidl_ip_rib_opaque_set_opaque_type(&msg, 7);
        zidl_ip_rib_opaque_set_first_block(&msg, first, 3);
        zidl_ip_rib_opaque_set_second_block(&msg, second, 4);
    }

    uint8_t first[3] = {'a', 'b', 'c'};
    uint8_t second[4] = {0xde, 0xad, 0xbe, 0xef};
    zidl_ip_rib_opaque msg = {};
};

// The bytes of the page's code block number `index` (from 0), comments left out.
bytes shown_in_the_page(size_t index)
{
    std::ifstream page(WIRE_FORMAT_PAGE);
    bytes shown;
    size_t blocks = 0;
    for (std::string line; std::getline(page, line);) {
        if (line == "```c")
            blocks++;
        if (blocks == index + 1 && line == "```")
            return shown;
        line.resize(std::min(line.find("//"), line.size()));
        for (size_t at = line.find("0x"); blocks == index + 1 && at != line.npos; at = line.find("0x", at + 1))
            shown.push_back(static_cast<uint8_t>(std::stoul(line.substr(at, 4), nullptr, 16)));
    }
    ADD_FAILURE() << "the page has no code block " << index;
    return shown;
}

// What zidl_ip_rib_opaque_decode_ext makes of an input.
class opaque_input : public testing::Test
{
protected:
    ~opaque_input() override { zidl_ip_rib_opaque_free_ext(&msg, memory::release, &heap, flags); }

    int32_t decode(uint32_t decode_flags = 0, zidl_alloc_fn alloc_fn = memory::allocate)
    {
        flags = decode_flags;
        return zidl_ip_rib_opaque_decode_ext(&msg, input.data(), input.size(), alloc_fn, &heap, flags);
    }

    bytes input;
    memory heap;
    uint32_t flags = 0;
    zidl_ip_rib_opaque msg = {};
};

} // namespace

TEST(wire_format_page, shows_the_bytes_of_these_tests)
{
    EXPECT_EQ(shown_in_the_page(0), path_bytes);
    EXPECT_EQ(shown_in_the_page(1), opaque_bytes);
    EXPECT_EQ(shown_in_the_page(2), short_opaque_bytes);
    EXPECT_EQ(shown_in_the_page(3), zero_copy_opaque_bytes);
}

TEST_F(worked_path, encodes_to_the_33_bytes_of_the_page)
{
    EXPECT_EQ(path_bytes.size(), 33u);
    EXPECT_EQ(encode(path), path_bytes);
}

TEST_F(worked_path, decodes_to_the_same_members_with_every_message_marked)
{
    memory heap;
    zidl_rib_path decoded;
    std::memset(&decoded, 0, sizeof decoded);
    ASSERT_EQ(zidl_rib_path_decode_ext(&decoded, path_bytes.data(), path_bytes.size(), memory::allocate, &heap, 0),
              ZIDL_OK);

    EXPECT_EQ(decoded.path_value_1, 300u);
    EXPECT_EQ(decoded.path_address_4.family, 1u);
    EXPECT_EQ(decoded.path_address_4.ipv4, 0xc0000201u);
    ASSERT_EQ(decoded.path_values_9_count, 2u);
    EXPECT_EQ(decoded.path_values_9[0], 16u);
    EXPECT_EQ(decoded.path_values_9[1], 200u);
    EXPECT_TRUE(zidl_rib_path_has_path_value_16(&decoded));
    EXPECT_EQ(decoded.path_value_16, 0u);
    EXPECT_EQ(decoded.grouping_info.grouping_value_1, 5u);
    EXPECT_EQ(decoded.ip_tunnel_info.tunnel_flag, 1);

    EXPECT_TRUE(zidl_rib_path_has_path_prefix(&decoded));
    EXPECT_EQ(decoded.path_prefix.presence, 0);
    EXPECT_FALSE(zidl_rib_path_has_path_address_4(&path));
    EXPECT_TRUE(zidl_rib_path_has_path_address_4(&decoded));
    EXPECT_TRUE(zidl_rib_path_has_grouping_info(&decoded));
    EXPECT_TRUE(zidl_rib_path_has_ip_tunnel_info(&decoded));
    EXPECT_EQ(encode(decoded), path_bytes);
    zidl_rib_path_free_ext(&decoded, memory::release, &heap, 0);
}

TEST_F(worked_opaque, encodes_to_the_13_bytes_of_the_page)
{
    bytes out(16);
    out.resize(zidl_ip_rib_opaque_encode_ext(&msg, out.data(), out.size(), nullptr, nullptr, 0));
    EXPECT_EQ(out, opaque_bytes);
}

TEST_F(worked_opaque, leaves_the_block_out_whole_when_it_does_not_fit)
{
    bytes out(6, 0xee);
    EXPECT_EQ(zidl_ip_rib_opaque_encode_ext(&msg, out.data(), out.size(), nullptr, nullptr, 0), 13u);
    EXPECT_EQ(bytes(out.begin(), out.begin() + 4), short_opaque_bytes);
    EXPECT_EQ(out[4], 0xee);
    EXPECT_EQ(out[5], 0xee);
}

TEST_F(worked_opaque, lists_four_segments_that_together_are_the_13_bytes)
{
    bytes out(16, 0xee);
    zidl_segment segs[4] = {};
    uint32_t nsegs = 4;
    EXPECT_EQ(zidl_ip_rib_opaque_encode_ext(&msg, out.data(), out.size(), segs, &nsegs, ZIDL_ZERO_COPY), 6u);
    EXPECT_EQ(bytes(out.begin(), out.begin() + 6), zero_copy_opaque_bytes);
    EXPECT_EQ(out[6], 0xee);

    ASSERT_EQ(nsegs, 4u);
    EXPECT_EQ(segs[0].base, out.data());
    EXPECT_EQ(segs[0].len, 4u);
    EXPECT_EQ(segs[1].base, first);
    EXPECT_EQ(segs[1].len, 3u);
    EXPECT_EQ(segs[2].base, out.data() + 4);
    EXPECT_EQ(segs[2].len, 2u);
    EXPECT_EQ(segs[3].base, second);
    EXPECT_EQ(segs[3].len, 4u);

    bytes gathered;
    for (const zidl_segment &seg : segs)
        gathered.insert(gathered.end(), seg.base, seg.base + seg.len);
    EXPECT_EQ(gathered, opaque_bytes);
}

TEST_F(opaque_input, empty_means_that_nothing_is_present)
{
    EXPECT_EQ(decode(), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0);
}

TEST_F(opaque_input, scalar_that_comes_twice_holds_the_last_value)
{
    input = {0x08, 0x07, 0x08, 0x09};
    EXPECT_EQ(decode(), ZIDL_OK);
    EXPECT_EQ(msg.opaque_type, 9u);
}

TEST_F(opaque_input, varint_bytes_behind_the_fifth_are_skipped)
{
    input = {0x08, 0x87, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00};
    EXPECT_EQ(decode(), ZIDL_OK);
    EXPECT_EQ(msg.opaque_type, 7u);
}

TEST_F(opaque_input, tag_without_value_is_malformed)
{
    input = {0x08};
    EXPECT_EQ(decode(), ZIDL_ERR_MALFORMED);
}

TEST_F(opaque_input, block_that_runs_past_the_end_is_malformed)
{
    input = {0x2a, 0x03, 0x61, 0x62};
    EXPECT_EQ(decode(), ZIDL_ERR_MALFORMED);
}

TEST_F(opaque_input, block_that_comes_twice_is_malformed)
{
    input = {0x2a, 0x00, 0x2a, 0x00};
    EXPECT_EQ(decode(), ZIDL_ERR_MALFORMED);
}

TEST_F(opaque_input, unknown_field_of_wire_type_3_cannot_be_skipped)
{
    input = {0x3b};
    EXPECT_EQ(decode(), ZIDL_ERR_WIRE_TYPE);
}

TEST_F(opaque_input, known_field_of_another_wire_type_is_refused)
{
    input = {0x0d, 0x01, 0x00, 0x00, 0x00};
    EXPECT_EQ(decode(), ZIDL_ERR_FIELD_TYPE);
}

TEST_F(opaque_input, block_cannot_be_copied_without_allocation_function)
{
    input = {0x2a, 0x01, 0x61};
    EXPECT_EQ(decode(0, nullptr), ZIDL_ERR_NO_MEMORY);
}

TEST_F(opaque_input, block_is_borrowed_without_allocation_function)
{
    input = {0x2a, 0x01, 0x61};
    EXPECT_EQ(decode(ZIDL_ZERO_COPY, nullptr), ZIDL_OK);
    EXPECT_EQ(msg.first_block, input.data() + 2);
    EXPECT_EQ(msg.first_block_size, 1u);
}

TEST_F(opaque_input, unknown_field_may_run_past_the_end)
{
    input = {0x3a, 0x7f};
    EXPECT_EQ(decode(), ZIDL_OK);
    EXPECT_EQ(msg.presence, 0);
}
