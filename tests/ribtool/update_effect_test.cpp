// The key of an update, and whether a client gets it: byte by byte, and the short way against the explanation.

#include "tools/ribtool/state/update_effect.hpp"

#include "tools/ribtool/generate/update_stream.hpp"

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ribtool
{

namespace
{

using bytes = std::vector<uint8_t>;

std::string text_of(uint16_t code, const bytes &payload)
{
    effect_reader reader;
    const update_effect effect = reader.read(code, payload);
    if (effect.outcome != RIB_DELIVERED)
        return std::string(rib_outcome_name(effect.outcome)) + ": " + rib_reason_name(effect.reason);
    return key_text(effect.key) + (effect.withdraws ? ", withdrawn" : "");
}

} // namespace

TEST(update_effect, a_route_is_about_its_prefix)
{
    EXPECT_EQ(text_of(51,
                      {
                          0xd2, 0x01, 0x02, 0x08, 0x07, // 26 paths[0]: 1 path_value_1 = 7
                          0x0a, 0x0b,                   //  1 route_prefix, behind the paths
                          0x10, 0x08,                   //    2 prefix_len = 8
                          0x0a, 0x07,                   //    1 address, 7 bytes
                          0x10, 0x80, 0x80, 0x80, 0x50, //      2 ipv4 = 10.0.0.0
                          0x08, 0x01,                   //      1 family = IPv4
                      }),
              "10.0.0.0/8");
}

TEST(update_effect, the_last_prefix_of_a_route_counts)
{
    EXPECT_EQ(text_of(51,
                      {
                          0x0a, 0x02, 0x10, 0x08, // 1 route_prefix: 2 prefix_len = 8
                          0x0a, 0x0b,             // 1 route_prefix again, 11 bytes
                          0x10, 0x90, 0x02,       //   2 prefix_len = 272, of which the record keeps 16
                          0x0a, 0x06,             //   1 address, 6 bytes
                          0x08, 0x02,             //     1 family = IPv6
                          0x1a, 0x02,             //     3 ipv6, 2 bytes
                          0x08, 0x20,             //       1 half0 = 32: the address begins with the byte 20
                          0xd2, 0x01, 0x00,       // 26 paths[0], empty
                      }),
              "2000::/16");
}

TEST(update_effect, a_number_in_more_bytes_than_it_needs_is_the_same_number)
{
    EXPECT_EQ(text_of(47, {0x08, 0x87, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00, 0x10, 0x85, 0x00}), "id 7 sub 5");
}

TEST(update_effect, a_route_without_a_path_that_is_converted_withdraws)
{
    const bytes prefix = {
        0x0a, 0x0b, 0x0a, 0x07, 0x08, 0x01, // 1 route_prefix: 1 address: 1 family = IPv4
        0x10, 0x80, 0x80, 0x80, 0x50,       //   2 ipv4 = 10.0.0.0
        0x10, 0x08,                         //   2 prefix_len = 8
    };
    const auto with = [&](const bytes &paths) {
        bytes payload = prefix;
        payload.insert(payload.end(), paths.begin(), paths.end());
        return text_of(51, payload);
    };
    EXPECT_EQ(with({}), "10.0.0.0/8, withdrawn");
    EXPECT_EQ(with({0xd2, 0x01, 0x00}), "10.0.0.0/8");
    // path_value_27 marks a path to be skipped
    EXPECT_EQ(with({0xd2, 0x01, 0x03, 0xd8, 0x01, 0x00}), "10.0.0.0/8, withdrawn");
    // path_address_5 of family 3
    EXPECT_EQ(with({0xd2, 0x01, 0x04, 0x2a, 0x02, 0x08, 0x03}), "10.0.0.0/8, withdrawn");
    // the same, and behind it a path that is converted
    EXPECT_EQ(with({0xd2, 0x01, 0x04, 0x2a, 0x02, 0x08, 0x03, 0xd2, 0x01, 0x00}), "10.0.0.0/8");
}

TEST(update_effect, a_route_may_lack_its_address_or_its_length)
{
    EXPECT_EQ(text_of(51, {0xd2, 0x01, 0x00}), "no address/0");                         // 26 paths[0], no prefix
    EXPECT_EQ(text_of(51, {0x0a, 0x00, 0xd2, 0x01, 0x00}), "no address/255");           // 1 route_prefix, empty
    EXPECT_EQ(text_of(51, {0x0a, 0x02, 0x10, 0x08, 0xd2, 0x01, 0x00}), "no address/8"); // 2 prefix_len = 8
}

TEST(update_effect, an_update_that_does_not_reach_the_client_says_why)
{
    EXPECT_EQ(text_of(51, {0x0a, 0x01, 0x10}), "dropped: cut_off");                      // behind the tag of prefix_len
    EXPECT_EQ(text_of(51, {0x08, 0x01}), "dropped: wrong_wire_type");                    // 1 as a number
    EXPECT_EQ(text_of(51, {0x90, 0x02, 0x01}), "dropped: marked_unsupported");           // 34 route_value_34
    EXPECT_EQ(text_of(51, {0x0a, 0x02, 0x0a, 0x00}), "dropped: missing_field");          // an address without a family
    EXPECT_EQ(text_of(51, {0x0a, 0x04, 0x0a, 0x02, 0x08, 0x03}), "dropped: bad_family"); // of family 3
    EXPECT_EQ(text_of(47, {0x10, 0x05}), "stopped: missing_proto_id");
    EXPECT_EQ(text_of(49, {0x18, 0x05}), "dropped: missing_field"); // no nhid_update_value_1
    EXPECT_EQ(text_of(46, {}), "stopped: empty_grid_list");
    EXPECT_EQ(text_of(48, {}), "refused: not_tried_unknown_code");
    EXPECT_EQ(text_of(38, bytes(91)), "refused: not_tried_too_short");
    EXPECT_EQ(text_of(3, bytes(27)), "refused: not_tried_too_short");
    EXPECT_EQ(text_of(37, bytes(23)), "dropped: too_short");
}

TEST(update_effect, the_other_kinds_are_about_their_numbers)
{
    EXPECT_EQ(text_of(50, {0x10, 0x06, 0x18, 0x09}), "id 6 sub 9"); // 2 opaque_id, 3 opaque_sub_id
    EXPECT_EQ(text_of(50, {}), "id 0 sub 0");
    EXPECT_EQ(text_of(49, {0x08, 0x01, 0x18, 0x11}), "17"); // 1 nhid_update_value_1, 3 nhid
    EXPECT_EQ(text_of(49, {0x08, 0x01}), "no nhid");
    EXPECT_EQ(text_of(47, {0x08, 0x81, 0x80, 0x04}), "id 1 sub 0"); // 65537, of which the record keeps 16 bits
}

TEST(update_effect, both_forms_of_an_update_have_the_same_key)
{
    bytes protocol(92);
    protocol[1] = 7; // identifier
    protocol[3] = 5; // second identifier
    EXPECT_EQ(text_of(38, protocol), "id 7 sub 5");
    bytes opaque(24);
    opaque[7] = 6;  // identifier
    opaque[11] = 9; // sub-identifier
    EXPECT_EQ(text_of(37, opaque), "id 6 sub 9");
    bytes route(28 + 24);
    route[0] = 1;  // family
    route[1] = 8;  // prefix length
    route[8] = 10; // address
    route[25] = 1; // number of paths
    EXPECT_EQ(text_of(3, route), "10.0.0.0/8");
    route[3] = 2; // update kind: withdrawn
    EXPECT_EQ(text_of(3, route), "10.0.0.0/8, withdrawn");
}

// ---- Against the explanation ----

namespace
{

void expect_same(effect_reader &quick, effect_reader &slow, uint16_t code, const bytes &payload)
{
    const update_effect a = quick.read(code, payload);
    const update_effect b = slow.read_explained(code, payload);
    const bool same = a.outcome == b.outcome && (a.outcome == RIB_DELIVERED || a.reason == b.reason) &&
                      a.key == b.key && a.withdraws == b.withdraws;
    ASSERT_TRUE(same) << "code " << code << ": " << rib_outcome_name(a.outcome) << " " << key_text(a.key) << " "
                      << a.withdraws << " against " << rib_outcome_name(b.outcome) << " " << key_text(b.key) << " "
                      << b.withdraws << ": " << testing::PrintToString(payload);
}

// Some bytes changed, taken away or doubled.
bytes mutated(bytes payload, random_source &random)
{
    for (uint32_t change = random.between(0, 3); change > 0 && !payload.empty(); --change) {
        const auto at = payload.begin() + random.below(static_cast<uint32_t>(payload.size()));
        switch (random.below(4)) {
        case 0:
            *at = static_cast<uint8_t>(random.next());
            break;
        case 1:
            *at ^= static_cast<uint8_t>(1 << random.below(8));
            break;
        case 2:
            payload.erase(at);
            break;
        default:
            payload.insert(at, *at);
        }
    }
    return payload;
}

void compare_stream(const char *profile, int updates)
{
    const bool all = std::getenv("RIB_EXHAUSTIVE") != nullptr;
    update_stream stream(*find_profile(profile), 12);
    random_source random(5);
    effect_reader quick;
    effect_reader slow;
    for (int made = 0; made < (all ? 100 * updates : updates); ++made) {
        const update drawn = stream.next();
        ASSERT_NO_FATAL_FAILURE(expect_same(quick, slow, drawn.code, drawn.payload));
        for (int copy = 0; copy < 4; ++copy)
            ASSERT_NO_FATAL_FAILURE(expect_same(quick, slow, drawn.code, mutated(drawn.payload, random)));
    }
}

} // namespace

TEST(update_effect, the_short_way_says_what_an_explanation_says)
{
    compare_stream("mixed", 3000);
    compare_stream("worst-case", 15);
}

} // namespace ribtool
