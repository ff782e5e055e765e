// rib_frames.h: frames in pieces of a stream, what is left over, delimiters, and frames that are sent out of several places.

#include "messages/ip_rib.h"
#include "rib_frames.h"
#include "tests/client/support.hpp"

#include <algorithm>

using namespace rib_test;

namespace
{

const bytes proto_frame = {
    0x00, 0x00, 0x00, 0x00, // not read
    0x00, 0x2F,             // 47 protocol
    0x00, 0x02,             // 2 bytes of payload
    0x08, 0x07,             // 1 proto_id = 7
};
const bytes delimiter = bytes(8, 0x00);
const bytes empty_route_frame = {
    0xFF, 0xFE, 0xFD, 0xFC, // not read
    0x00, 0x33,             // 51 route
    0x00, 0x00,             // no payload
};

struct seen_frame {
    uint16_t code;
    bytes payload;
    bool operator==(const seen_frame &) const = default;
};

// A reader as the header shows it, with reads of `piece` bytes.
std::vector<seen_frame> read_in_pieces(const bytes &stream, size_t piece)
{
    std::vector<seen_frame> seen;
    bytes buf;
    for (size_t pos = 0; pos < stream.size(); pos += piece) {
        const auto from = stream.begin() + static_cast<ptrdiff_t>(pos);
        buf.insert(buf.end(), from, from + static_cast<ptrdiff_t>(std::min(piece, stream.size() - pos)));
        guarded_bytes held(buf);
        held.forbid_writing();
        rib_frames frames;
        rib_frame frame;
        rib_frames_begin(&frames, held.data(), held.size());
        while (rib_frames_next(&frames, &frame)) {
            EXPECT_EQ(frame.start + RIB_FRAME_HEADER_LEN, frame.payload);
            EXPECT_EQ(frame.size, RIB_FRAME_HEADER_LEN + size_t{frame.payload_len});
            seen.push_back({frame.code, bytes(frame.payload, frame.payload + frame.payload_len)});
        }
        buf.assign(rib_frames_rest(&frames), rib_frames_rest(&frames) + rib_frames_rest_len(&frames));
    }
    EXPECT_TRUE(buf.empty());
    return seen;
}

const std::vector<seen_frame> all_four = {{47, {0x08, 0x07}}, {0, {}}, {51, {}}, {47, {0x08, 0x07}}};
const bytes four_frames = proto_frame + delimiter + empty_route_frame + proto_frame;

TEST(rib_frames, all_frames_of_one_read_are_given_not_the_first_alone)
{
    EXPECT_EQ(read_in_pieces(four_frames, four_frames.size()), all_four);
}

TEST(rib_frames, frames_are_the_same_whatever_the_pieces_of_the_stream)
{
    for (size_t piece = 1; piece < four_frames.size(); piece++)
        EXPECT_EQ(read_in_pieces(four_frames, piece), all_four) << piece;
}

TEST(rib_frames, cut_frame_is_not_given_but_left_over)
{
    for (size_t held = 0; held < proto_frame.size(); held++) {
        guarded_bytes cut(bytes(proto_frame.begin(), proto_frame.begin() + static_cast<ptrdiff_t>(held)));
        rib_frames frames;
        rib_frame frame = {};
        rib_frames_begin(&frames, cut.data(), cut.size());
        EXPECT_FALSE(rib_frames_next(&frames, &frame)) << held;
        EXPECT_EQ(frame.start, nullptr);
        EXPECT_EQ(rib_frames_rest(&frames), cut.data());
        EXPECT_EQ(rib_frames_rest_len(&frames), held);
        EXPECT_EQ(rib_frame_size(cut.data(), held), 0u);
    }
    EXPECT_EQ(rib_frame_size(proto_frame.data(), proto_frame.size()), 10u);
    EXPECT_EQ(rib_frame_size(four_frames.data(), four_frames.size()), 10u);
}

TEST(rib_frames, what_is_missing_is_of_the_header_first_and_then_of_the_payload)
{
    const std::pair<size_t, size_t> missing[] = {{0, 8}, {1, 7}, {7, 1}, {8, 2}, {9, 1}, {10, 0}};
    for (const auto &[held, expected] : missing) {
        rib_frames frames;
        rib_frames_begin(&frames, proto_frame.data(), held);
        EXPECT_EQ(rib_frames_missing(&frames), expected) << held;
    }
}

TEST(rib_frames, no_bytes_are_no_frame)
{
    rib_frames frames;
    rib_frame frame;
    rib_frames_begin(&frames, nullptr, 0);
    EXPECT_FALSE(rib_frames_next(&frames, &frame));
    EXPECT_EQ(rib_frames_rest_len(&frames), 0u);
    EXPECT_EQ(rib_frame_size(nullptr, 0), 0u);
}

TEST(rib_frames, longest_frame_has_65535_bytes_of_payload)
{
    const bytes longest = bytes{0, 0, 0, 0, 0x00, 0x32, 0xFF, 0xFF} + bytes(65535, 0xAB);
    EXPECT_EQ(read_in_pieces(longest, 4096), (std::vector<seen_frame>{{50, bytes(65535, 0xAB)}}));
    EXPECT_EQ(rib_frame_size(longest.data(), longest.size()), size_t{RIB_FRAME_MAX_LEN});
    EXPECT_EQ(rib_frame_size(longest.data(), longest.size() - 1), 0u);
    EXPECT_EQ(rib_frame_payload_len(longest.data()), size_t{RIB_FRAME_MAX_PAYLOAD});
    EXPECT_EQ(rib_frame_code(longest.data()), 50);
}

int count_callback(uint32_t, rib_protoid_map *map, void *count)
{
    EXPECT_EQ(map->proto_id, 7);
    ++*static_cast<int *>(count);
    return 0;
}

// Stripping converts a header in place: what the iterator needs of it must have been read.
TEST(rib_frames, frames_go_on_behind_one_whose_header_was_stripped_in_place)
{
    bytes stream = proto_frame + delimiter + proto_frame;
    int callbacks = 0;
    rib_frames frames;
    rib_frame frame;
    rib_frames_begin(&frames, stream.data(), stream.size());
    while (rib_frames_next(&frames, &frame)) {
        if (rib_frame_is_delimiter(&frame))
            continue;
        updatetype_local update = framed_update(frame.start);
        rib_lib_pvt_parse_proto_update(count_callback, &update, &callbacks);
        EXPECT_EQ(update.tlv_type, frame.code);
        EXPECT_EQ(update.payload, frame.payload);
        EXPECT_EQ(update.payload_len, frame.payload_len);
    }
    EXPECT_EQ(callbacks, 2);
    EXPECT_EQ(rib_frames_rest_len(&frames), 0u);
}

TEST(rib_frames_death, eight_zero_bytes_stop_the_process_unless_the_reader_passes_over_them)
{
    bytes stream = delimiter;
    updatetype_local update = framed_update(stream.data());
    EXPECT_DEATH(rib_lib_pvt_parse_proto_update(count_callback, &update, nullptr), "Assertion `0' failed");
    rib_frame frame;
    rib_frames frames;
    rib_frames_begin(&frames, stream.data(), stream.size());
    ASSERT_TRUE(rib_frames_next(&frames, &frame));
    EXPECT_TRUE(rib_frame_is_delimiter(&frame));
}

TEST(rib_frame, header_is_written_whole_and_read_whole)
{
    guarded_bytes header(bytes(8, 0xEE));
    EXPECT_TRUE(rib_frame_put_header(header.data(), 0x0133, 0x0A0B));
    EXPECT_EQ(header.content(), (bytes{
                                    0x00, 0x00, 0x00, 0x00, // not read
                                    0x01, 0x33,             // code
                                    0x0A, 0x0B,             // length
                                }));
    EXPECT_EQ(rib_frame_code(header.data()), 0x0133);
    EXPECT_EQ(rib_frame_payload_len(header.data()), 0x0A0Bu);
}

TEST(rib_frame, header_of_more_than_a_frame_holds_is_not_written)
{
    uint8_t header[8] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_FALSE(rib_frame_put_header(header, RIB_TLV_ROUTE, 65536));
    EXPECT_EQ(bytes(header, header + 8), bytes(8, 0xEE));
    EXPECT_TRUE(rib_frame_put_header(header, RIB_TLV_ROUTE, 65535));
    EXPECT_EQ(rib_frame_payload_len(header), 65535u);
}

// ---- Entries for writev ----

bytes gathered(const struct iovec *entries, size_t count)
{
    bytes all;
    for (size_t i = 0; i < count; i++) {
        const auto *const base = static_cast<const uint8_t *>(entries[i].iov_base);
        all.insert(all.end(), base, base + entries[i].iov_len);
    }
    return all;
}

TEST(rib_frame_iovec, entries_are_the_header_and_the_segments_of_a_zero_copy_encoding)
{
    uint8_t block[] = {0xCA, 0xFE, 0x01};
    zidl_ip_rib_opaque msg = {};
    zidl_ip_rib_opaque_set_opaque_id(&msg, 100);
    msg.first_block = block;
    msg.first_block_size = sizeof block;
    zidl_ip_rib_opaque_mark_first_block(&msg);
    uint8_t head[64];
    zidl_segment segs[4];
    uint32_t seg_count = 4;
    zidl_ip_rib_opaque_encode_ext(&msg, head, sizeof head, segs, &seg_count, ZIDL_ZERO_COPY);
    ASSERT_LE(seg_count, 4u);

    uint8_t header[RIB_FRAME_HEADER_LEN];
    struct iovec entries[5];
    const size_t count = rib_frame_iovec(header, RIB_TLV_OPAQUE, segs, seg_count, entries, 5);
    ASSERT_EQ(count, seg_count + 1);
    EXPECT_EQ(entries[2].iov_base, block);
    EXPECT_EQ(gathered(entries, count), (bytes{
                                            0x00, 0x00, 0x00, 0x00,       // not read
                                            0x00, 0x32,                   // 50 opaque
                                            0x00, 0x07,                   // 7 bytes of payload
                                            0x10, 0x64,                   // 2 opaque_id = 100
                                            0x2A, 0x03, 0xCA, 0xFE, 0x01, // 5 first_block, 3 bytes
                                        }));
}

TEST(rib_frame_iovec, without_segments_it_is_a_frame_without_payload)
{
    uint8_t header[RIB_FRAME_HEADER_LEN];
    struct iovec entry;
    ASSERT_EQ(rib_frame_iovec(header, RIB_TLV_ROUTE, nullptr, 0, &entry, 1), 1u);
    EXPECT_EQ(gathered(&entry, 1), (bytes{0, 0, 0, 0, 0x00, 0x33, 0x00, 0x00}));
}

TEST(rib_frame_iovec, too_few_entries_are_left_alone_and_the_number_needed_is_told)
{
    const uint8_t byte = 1;
    const zidl_segment segs[2] = {{&byte, 1}, {&byte, 1}};
    uint8_t header[RIB_FRAME_HEADER_LEN] = {0xEE};
    struct iovec entries[2] = {};
    EXPECT_EQ(rib_frame_iovec(header, RIB_TLV_ROUTE, segs, 2, entries, 2), 3u);
    EXPECT_EQ(rib_frame_iovec(header, RIB_TLV_ROUTE, segs, 2, nullptr, 0), 3u);
    EXPECT_EQ(header[0], 0xEE);
    EXPECT_EQ(entries[0].iov_base, nullptr);
    EXPECT_EQ(entries[1].iov_base, nullptr);
}

TEST(rib_frame_iovec, segments_beyond_65535_bytes_are_no_frame)
{
    const bytes block(65535, 0x11);
    uint8_t header[RIB_FRAME_HEADER_LEN] = {0xEE};
    struct iovec entries[3];
    const zidl_segment fits[2] = {{block.data(), 65534}, {block.data(), 1}};
    EXPECT_EQ(rib_frame_iovec(header, RIB_TLV_OPAQUE, fits, 2, entries, 3), 3u);
    EXPECT_EQ(rib_frame_payload_len(header), 65535u);
    header[0] = 0xEE;
    const zidl_segment too_long[2] = {{block.data(), 65535}, {block.data(), 1}};
    EXPECT_EQ(rib_frame_iovec(header, RIB_TLV_OPAQUE, too_long, 2, entries, 3), 0u);
    const zidl_segment wraps[2] = {{block.data(), 2}, {block.data(), UINT64_MAX}};
    EXPECT_EQ(rib_frame_iovec(header, RIB_TLV_OPAQUE, wraps, 2, entries, 3), 0u);
    EXPECT_EQ(header[0], 0xEE);
}

} // namespace
