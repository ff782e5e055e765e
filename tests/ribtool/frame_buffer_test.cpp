// Bytes of a stream in pieces, frames of it, and what is passed over in a damaged one: the buffer itself and --resync.

#include "tools/ribtool/frames/frame_buffer.hpp"

#include "rib_frames.h"
#include "tests/ribtool/run_ribtool.hpp"
#include "tools/ribtool/generate/update_stream.hpp"
#include "tools/ribtool/library/update_types.hpp"

#include <algorithm>
#include <string>

using namespace ribtool_test;
using ribtool::frame_buffer;
using ribtool::skip_reason;
using ribtool::stream_frame;

namespace
{

constexpr bool RESYNCHRONISES = true;

const bytes PROTO = {
    0x00, 0x00, 0x00, 0x00, // not read
    0x00, 0x2F,             // 47 protocol
    0x00, 0x02,             // 2 bytes of payload
    0x08, 0x07,             // 1 proto_id = 7
};
const bytes NEXT_HOP = {
    0x00, 0x00, 0x00, 0x00, // not read
    0x00, 0x31,             // 49 next-hop ID
    0x00, 0x02,             // 2 bytes of payload
    0x08, 0x01,             // 1 nhid_update_value_1 = 1
};
const bytes DELIMITER = bytes(8, 0x00);
const bytes UNKNOWN = {
    0x00, 0x00, 0x00, 0x00, // not read
    0x00, 0x63,             // 99: nobody knows it
    0x00, 0x02,             // 2 bytes of payload
    0xAA, 0xBB,
};

struct taken {
    uint64_t number;
    uint64_t start;
    bytes contents;
    bool operator==(const taken &) const = default;
};

// All that a buffer gives of a stream that comes in pieces of so many bytes.
std::vector<taken> take_all(frame_buffer &frames, const bytes &stream, size_t piece)
{
    std::vector<taken> all;
    stream_frame frame;
    const auto drain = [&] {
        while (frames.next(frame))
            all.push_back({frame.number, frame.start, bytes(frame.bytes.begin(), frame.bytes.end())});
    };
    for (size_t pos = 0; pos < stream.size();) {
        const std::span<uint8_t> room = frames.room();
        const size_t len = std::min({piece, stream.size() - pos, room.size()});
        std::copy_n(stream.begin() + static_cast<ptrdiff_t>(pos), len, room.begin());
        frames.received(len);
        pos += len;
        drain();
    }
    frames.end();
    drain();
    return all;
}

TEST(frame_buffer, frames_of_a_sound_stream_are_the_same_in_any_pieces_with_and_without_resynchronisation)
{
    const bytes longest = joined({{0, 0, 0, 0, 0x00, 0x32, 0xFF, 0xFF}, bytes(65535, 0x7A)});
    const bytes stream = joined({PROTO, DELIMITER, longest, longest, NEXT_HOP, DELIMITER});
    const std::vector<taken> expected = {{1, 0, PROTO},       {2, 10, DELIMITER},    {3, 18, longest},
                                         {4, 65561, longest}, {5, 131104, NEXT_HOP}, {6, 131114, DELIMITER}};
    for (const bool resynchronises : {false, true}) {
        for (const size_t piece : {1u, 7u, 4096u, 65536u, 1000000u}) {
            frame_buffer frames(resynchronises);
            EXPECT_EQ(take_all(frames, stream, piece), expected) << piece;
            EXPECT_FALSE(frames.problem());
            EXPECT_EQ(frames.skipped().pieces(), 0u);
            EXPECT_EQ(frames.position(), stream.size());
        }
    }
}

TEST(frame_buffer, unknown_code_is_a_frame_like_any_other_without_resynchronisation)
{
    frame_buffer frames;
    const std::vector<taken> expected = {{1, 0, PROTO}, {2, 10, UNKNOWN}, {3, 20, NEXT_HOP}};
    EXPECT_EQ(take_all(frames, joined({PROTO, UNKNOWN, NEXT_HOP}), 5), expected);
}

TEST(frame_buffer, rest_that_is_no_frame_is_a_problem_without_resynchronisation)
{
    frame_buffer header;
    take_all(header, joined({PROTO, {0, 0, 0, 0, 0}}), 100);
    EXPECT_EQ(header.problem(), "truncated: a frame header has 8 bytes, 5 are left");
    frame_buffer payload;
    take_all(payload, joined({PROTO, {0, 0, 0, 0, 0, 47, 1, 0, 8, 7}}), 100);
    EXPECT_EQ(payload.problem(), "truncated: its header promises 256 bytes of payload, 2 are left");
    EXPECT_EQ(payload.position(), 10u);
}

TEST(frame_buffer, frames_go_on_behind_an_unknown_code_and_what_was_skipped_is_told)
{
    const bytes stream = joined({PROTO, UNKNOWN, {0x7A, 0x7A}, NEXT_HOP, PROTO});
    const std::vector<taken> expected = {{1, 0, PROTO}, {2, 22, NEXT_HOP}, {3, 32, PROTO}};
    for (size_t piece = 1; piece <= stream.size(); ++piece) {
        frame_buffer frames(RESYNCHRONISES);
        EXPECT_EQ(take_all(frames, stream, piece), expected) << piece;
        ASSERT_EQ(frames.skipped().pieces(), 1u);
        EXPECT_EQ(frames.skipped().pieces(skip_reason::unknown_code), 1u);
        EXPECT_EQ(frames.skipped().bytes(), 12u);
        EXPECT_EQ(frames.skipped().first()[0].start, 10u);
        EXPECT_EQ(frames.skipped().first()[0].len, 12u);
        EXPECT_EQ(frames.skipped().first()[0].why, "unknown type code 99");
    }
}

// Its length was damaged, and the frames behind it look like its payload until the stream ends.
TEST(frame_buffer, frames_inside_a_last_one_that_is_longer_than_the_stream_are_found)
{
    const bytes stream = joined({PROTO, {0, 0, 0, 0, 0, 51, 0x40, 0x02, 0x0A, 0x00}, PROTO, NEXT_HOP});
    const std::vector<taken> expected = {{1, 0, PROTO}, {2, 20, PROTO}, {3, 30, NEXT_HOP}};
    for (size_t piece = 1; piece <= stream.size(); ++piece) {
        frame_buffer frames(RESYNCHRONISES);
        EXPECT_EQ(take_all(frames, stream, piece), expected) << piece;
        EXPECT_FALSE(frames.problem());
        ASSERT_EQ(frames.skipped().pieces(skip_reason::truncated), 1u);
        EXPECT_EQ(frames.skipped().bytes(), 10u);
        EXPECT_EQ(frames.skipped().first()[0].why,
                  "truncated: its header promises 16386 bytes of payload, 22 are left");
    }
}

TEST(frame_buffer, bytes_in_which_no_frame_follows_are_skipped_as_a_whole)
{
    for (const size_t piece : {1u, 64u, 100000u}) {
        frame_buffer frames(RESYNCHRONISES);
        EXPECT_EQ(take_all(frames, joined({PROTO, bytes(300000, 0x7A)}), piece).size(), 1u);
        EXPECT_EQ(frames.skipped().pieces(), 1u);
        EXPECT_EQ(frames.skipped().bytes(), 300000u);
        EXPECT_EQ(frames.position(), 300010u);
    }
}

TEST(frame_buffer, report_of_a_stream_of_rubbish_keeps_the_first_pieces_and_counts_all)
{
    bytes stream;
    for (int repeat = 0; repeat < 50; ++repeat) {
        const bytes part = joined({UNKNOWN, PROTO, NEXT_HOP});
        stream.insert(stream.end(), part.begin(), part.end());
    }
    frame_buffer frames(RESYNCHRONISES);
    EXPECT_EQ(take_all(frames, stream, 64).size(), 100u);
    EXPECT_EQ(frames.skipped().pieces(), 50u);
    EXPECT_EQ(frames.skipped().bytes(), 500u);
    EXPECT_EQ(frames.skipped().first().size(), ribtool::skip_report::KEPT);
}

// ---- Generated streams ----

struct drawn_stream {
    bytes contents;
    std::vector<size_t> starts; // of its frames, and its end
};

drawn_stream draw(const char *profile, uint64_t seed, size_t updates)
{
    ribtool::update_stream source(*ribtool::find_profile(profile), seed);
    drawn_stream drawn;
    for (size_t each = 0; each < updates; ++each) {
        const ribtool::update made = source.next();
        const bytes framed = ribtool::framed(made.code, made.payload);
        drawn.starts.push_back(drawn.contents.size());
        drawn.contents.insert(drawn.contents.end(), framed.begin(), framed.end());
    }
    drawn.starts.push_back(drawn.contents.size());
    return drawn;
}

TEST(rib_frames_resync, four_hundred_random_cuts_of_mixed_updates_find_the_next_frame)
{
    const drawn_stream stream = draw("mixed", 12, 4000);
    std::vector<uint16_t> codes;
    for (const ribtool::update_type &type : ribtool::update_types())
        codes.push_back(type.code);
    ribtool::random_source random(400);
    for (int cut = 0; cut < 400; ++cut) {
        const size_t from = random.below(static_cast<uint32_t>(stream.contents.size()));
        size_t skipped = 0;
        const bool is_found = rib_frames_resync(stream.contents.data() + from, stream.contents.size() - from, true,
                                                codes.data(), codes.size(), &skipped);
        const size_t next = *std::lower_bound(stream.starts.begin(), stream.starts.end(), from);
        EXPECT_EQ(is_found, next < stream.contents.size()) << "cut at byte " << from;
        EXPECT_EQ(from + skipped, next) << "cut at byte " << from;
    }
}

// ---- --resync ----

class resync : public tool_test
{
protected:
    const bytes damaged = joined({PROTO, UNKNOWN, {0x7A}, NEXT_HOP, PROTO, {0x7A, 0x7A, 0x7A}});
};

TEST_F(resync, damaged_frames_are_skipped_counted_and_end_in_the_code_of_malformed_input)
{
    const std::string file = write("damaged", damaged);
    const std::string told = "ribtool: " + file + ": 11 bytes skipped at byte 10: unknown type code 99\n" +
                             "ribtool: " + file +
                             ": 3 bytes skipped at byte 41: truncated: a frame header has 8 bytes, 3 are left\n" +
                             "ribtool: " + file + ": 14 bytes skipped in 2 places: 1 unknown type codes, 1 truncated\n";
    for (const std::string command : {"replay", "show", "explain"}) {
        const run_result result = ribtool({command, file, "--resync"});
        EXPECT_EQ(result.exit_code, 4) << command;
        EXPECT_EQ(result.out_lines().size(), 3u) << command << "\n" << result.out;
        EXPECT_EQ(result.err.rfind(told + file + ": raw frames, 3 ", 0), 0u) << command << "\n" << result.err;
    }
}

TEST_F(resync, filter_writes_the_sound_frames_of_a_damaged_file)
{
    const std::string file = write("damaged", damaged);
    const run_result result = ribtool({"filter", file, "--resync", "--format", "raw", "-o", path("sound")});
    EXPECT_EQ(result.exit_code, 4) << result.err;
    EXPECT_EQ(read("sound"), joined({PROTO, NEXT_HOP, PROTO}));
}

TEST_F(resync, annotate_goes_on_behind_damage)
{
    const run_result result = ribtool({"annotate", write("damaged", damaged), "--resync"});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_NE(result.out.find("frame 3"), std::string::npos) << result.out;
}

TEST_F(resync, one_place_needs_no_line_for_all)
{
    const run_result result =
        ribtool({"replay", "-", "--no-json", "--resync"}, std::string(damaged.begin(), damaged.end() - 3));
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.err.rfind("ribtool: standard input: 11 bytes skipped at byte 10: unknown type code 99\n"
                               "standard input: raw frames, 3 updates\n",
                               0),
              0u)
        << result.err;
}

TEST_F(resync, sound_frames_are_read_as_without_it)
{
    const std::string file = write("sound", joined({PROTO, DELIMITER, NEXT_HOP}));
    const run_result plain = ribtool({"replay", file});
    const run_result searching = ribtool({"replay", file, "--resync"});
    EXPECT_EQ(searching.exit_code, 0) << searching.err;
    EXPECT_EQ(searching.out, plain.out);
}

TEST_F(resync, capture_of_packets_is_said_to_need_none)
{
    const std::string file = path("capture.pcap");
    ASSERT_EQ(ribtool({"synth", "--updates", "2", "-o", file}).exit_code, 0);
    const run_result result = ribtool({"replay", file, "--no-json", "--resync"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err.rfind("ribtool: " + file +
                                   ": a pcap capture keeps its frames apart: there is nothing to resynchronise\n",
                               0),
              0u)
        << result.err;
}

} // namespace
