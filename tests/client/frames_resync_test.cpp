// rib_frames.h: the next frame of a damaged stream.

#include "rib_frames.h"
#include "tests/client/support.hpp"

#include <algorithm>

using namespace rib_test;

namespace
{

constexpr uint16_t codes[] = {47, 51};

const bytes rubbish = {0x7A, 0x00, 0x33, 0x41, 0x2F};
const bytes route_frame = {
    0x00, 0x00, 0x00, 0x00, // not read
    0x00, 0x33,             // 51 route
    0x00, 0x03,             // 3 bytes of payload
    0x51, 0x52, 0x53,
};
const bytes proto_frame = {
    0x00, 0x00, 0x00, 0x00, // not read
    0x00, 0x2F,             // 47 protocol
    0x00, 0x01,             // 1 byte of payload
    0x41,
};
const bytes unknown_frame = {
    0x00, 0x00, 0x00, 0x00, // not read
    0x00, 0x30,             // 48: none of the codes
    0x00, 0x00,             // no payload
};
const bytes delimiter = bytes(8, 0x00);

struct answer {
    bool found;
    size_t skipped;
    bool operator==(const answer &) const = default;
};

void PrintTo(const answer &given, std::ostream *out)
{
    *out << (given.found ? "found at " : "nothing before ") << given.skipped;
}

answer search(const bytes &stream, bool at_end)
{
    guarded_bytes input(stream);
    input.forbid_writing();
    size_t skipped = 0xDEAD;
    const bool found = rib_frames_resync(input.data(), input.size(), at_end, codes, 2, &skipped);
    return {found, skipped};
}

constexpr bool AT_END = true;
constexpr bool GOES_ON = false;

TEST(rib_frames_resync, frame_with_a_known_header_behind_it_is_found)
{
    const bytes stream = rubbish + route_frame + proto_frame;
    EXPECT_EQ(search(stream, GOES_ON), (answer{true, 5}));
    EXPECT_EQ(search(stream, AT_END), (answer{true, 5}));
}

TEST(rib_frames_resync, frame_right_at_the_start_is_found_there)
{
    EXPECT_EQ(search(route_frame + proto_frame, GOES_ON), (answer{true, 0}));
}

TEST(rib_frames_resync, header_behind_the_frame_suffices_and_its_payload_may_be_still_to_come)
{
    bytes stream = rubbish + route_frame + proto_frame;
    stream.pop_back();
    EXPECT_EQ(search(stream, GOES_ON), (answer{true, 5}));
    stream.pop_back();
    EXPECT_EQ(search(stream, GOES_ON), (answer{false, 5})) << "a header of seven bytes is none yet";
}

TEST(rib_frames_resync, last_frame_is_found_when_it_ends_where_the_input_ends)
{
    EXPECT_EQ(search(rubbish + route_frame, AT_END), (answer{true, 5}));
    EXPECT_EQ(search(rubbish + route_frame, GOES_ON), (answer{false, 5}))
        << "the end of a piece is not that of the input";
    EXPECT_EQ(search(rubbish + route_frame + bytes{0x00}, AT_END), (answer{false, 17})) << "a byte too many";
    bytes cut = rubbish + route_frame;
    cut.pop_back();
    EXPECT_EQ(search(cut, AT_END), (answer{false, 15})) << "a byte too few";
}

TEST(rib_frames_resync, frame_with_an_unknown_code_behind_it_is_passed_over)
{
    const bytes stream = rubbish + route_frame + unknown_frame + route_frame + proto_frame;
    EXPECT_EQ(search(stream, GOES_ON), (answer{true, 5 + 11 + 8}));
}

TEST(rib_frames_resync, delimiter_is_no_link_of_the_chain)
{
    const bytes stream = rubbish + route_frame + delimiter + proto_frame + route_frame;
    EXPECT_EQ(search(stream, GOES_ON), (answer{true, 5 + 11 + 8}));
}

TEST(rib_frames_resync, delimiter_counts_for_no_code_also_when_it_is_among_them)
{
    const uint16_t with_delimiter[] = {0, 47, 51};
    const bytes stream = delimiter + delimiter + delimiter;
    size_t skipped = 0xDEAD;
    EXPECT_FALSE(rib_frames_resync(stream.data(), stream.size(), true, with_delimiter, 3, &skipped));
    EXPECT_EQ(skipped, 24u);
}

// A piece ends somewhere: what cannot be told yet is waited for, however much is known of what follows.
TEST(rib_frames_resync, candidate_whose_frame_is_not_there_yet_is_kept_and_never_passed_over)
{
    const bytes long_frame = {
        0x00, 0x00, 0x00, 0x00, // not read
        0x00, 0x33,             // 51 route
        0x40, 0x00,             // 16384 bytes of payload
    };
    EXPECT_EQ(search(rubbish + long_frame + route_frame + proto_frame, GOES_ON), (answer{false, 5}));
    EXPECT_EQ(search(rubbish + long_frame + route_frame + proto_frame, AT_END), (answer{true, 5 + 8}));
}

TEST(rib_frames_resync, last_seven_bytes_are_kept_since_a_header_may_begin_in_them)
{
    EXPECT_EQ(search(bytes(100, 0x7A), GOES_ON), (answer{false, 93}));
    EXPECT_EQ(search(bytes(100, 0x7A), AT_END), (answer{false, 100}));
    EXPECT_EQ(search(bytes(7, 0x7A), GOES_ON), (answer{false, 0}));
    EXPECT_EQ(search({}, GOES_ON), (answer{false, 0}));
    size_t skipped = 0xDEAD;
    EXPECT_FALSE(rib_frames_resync(nullptr, 0, true, codes, 2, &skipped));
    EXPECT_EQ(skipped, 0u);
}

TEST(rib_frames_resync, longest_frame_is_judged_in_a_buffer_of_the_length_that_is_named)
{
    const bytes longest = bytes{0, 0, 0, 0, 0x00, 0x33, 0xFF, 0xFF} + bytes(65535, 0x7A);
    const bytes stream = longest + proto_frame;
    const auto needed = stream.begin() + ptrdiff_t{RIB_FRAMES_RESYNC_LEN};
    EXPECT_EQ(search(bytes(stream.begin(), needed - 1), GOES_ON), (answer{false, 0}));
    EXPECT_EQ(search(bytes(stream.begin(), needed), GOES_ON), (answer{true, 0}));
}

TEST(rib_frames_resync, place_does_not_depend_on_the_pieces_that_come_in)
{
    const bytes stream = rubbish + route_frame + unknown_frame + rubbish + delimiter + proto_frame + route_frame;
    const answer whole = search(stream, AT_END);
    ASSERT_TRUE(whole.found);
    for (size_t piece = 1; piece <= stream.size(); piece++) {
        bytes held;
        size_t dropped = 0;
        answer given = {false, 0};
        for (size_t pos = 0; pos < stream.size() && !given.found; pos += piece) {
            const size_t end = std::min(pos + piece, stream.size());
            held.insert(held.end(), stream.begin() + static_cast<ptrdiff_t>(pos),
                        stream.begin() + static_cast<ptrdiff_t>(end));
            given = search(held, end == stream.size());
            held.erase(held.begin(), held.begin() + static_cast<ptrdiff_t>(given.skipped));
            dropped += given.skipped;
        }
        EXPECT_TRUE(given.found) << piece;
        EXPECT_EQ(dropped, whole.skipped) << piece;
    }
}

// Why searching is a choice: the payload is the sender's.
TEST(rib_frames_resync, chain_that_a_payload_holds_is_found_like_any_other)
{
    const bytes forged = route_frame + proto_frame;
    const bytes carrier = bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, static_cast<uint8_t>(forged.size())} + forged;
    EXPECT_EQ(search(carrier + route_frame + proto_frame, GOES_ON), (answer{true, 8}));
}

} // namespace
