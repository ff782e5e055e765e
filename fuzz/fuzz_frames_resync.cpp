// Any bytes as a damaged stream: the search finds what its definition says, and ribtool's buffer gives the same frames in any pieces,
// with nothing lost between frames and what it passes over.

#include "rib_frames.h"
#include "tools/ribtool/frames/frame_buffer.hpp"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

namespace
{

void require(bool holds)
{
    if (!holds)
        std::abort();
}

using bytes = std::vector<uint8_t>;

const std::vector<uint16_t> codes = {3, 37, 38, 46, 47, 49, 50, 51};

// ---- The definition, word for word ----

bool is_known_header(const bytes &stream, size_t pos)
{
    const int code = stream[pos + 4] * 256 + stream[pos + 5];
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

enum class verdict { no, yes, undecided };

verdict frame_begins(const bytes &stream, size_t pos, bool at_end)
{
    if (stream.size() < pos + 8)
        return at_end ? verdict::no : verdict::undecided;
    if (!is_known_header(stream, pos))
        return verdict::no;
    const size_t next = pos + 8 + size_t{stream[pos + 6]} * 256 + stream[pos + 7];
    if (next + 8 <= stream.size())
        return is_known_header(stream, next) ? verdict::yes : verdict::no;
    if (!at_end)
        return verdict::undecided;
    return next == stream.size() ? verdict::yes : verdict::no;
}

void check_search(const bytes &stream, bool at_end)
{
    size_t pos = 0;
    while (pos < stream.size() && frame_begins(stream, pos, at_end) == verdict::no)
        ++pos;
    const bool is_there = pos < stream.size() && frame_begins(stream, pos, at_end) == verdict::yes;

    const auto exact = std::make_unique<uint8_t[]>(stream.size()); // a byte beyond it ends the run
    std::copy(stream.begin(), stream.end(), exact.get());
    size_t skipped = 0;
    require(rib_frames_resync(exact.get(), stream.size(), at_end, codes.data(), codes.size(), &skipped) == is_there);
    require(skipped == pos);
    require(at_end || is_there || stream.size() - skipped < RIB_FRAMES_RESYNC_LEN);
}

// ---- The buffer ----

struct taken {
    uint64_t start;
    bytes contents;
    bool operator==(const taken &) const = default;
};

struct reading {
    std::vector<taken> frames;
    uint64_t skipped_pieces = 0;
    uint64_t skipped_bytes = 0;
    uint64_t left_over = 0;
    bool operator==(const reading &) const = default;
};

reading read_in_pieces(const bytes &stream, size_t piece, bool resynchronises)
{
    reading result;
    ribtool::frame_buffer frames(resynchronises);
    ribtool::stream_frame frame;
    const auto drain = [&] {
        while (frames.next(frame)) {
            require(frame.number == result.frames.size() + 1);
            result.frames.push_back({frame.start, bytes(frame.bytes.begin(), frame.bytes.end())});
        }
    };
    for (size_t pos = 0; pos < stream.size();) {
        const auto room = frames.room();
        require(!room.empty());
        const size_t len = std::min({piece, stream.size() - pos, room.size()});
        std::copy_n(stream.begin() + static_cast<ptrdiff_t>(pos), len, room.begin());
        frames.received(len);
        pos += len;
        drain();
    }
    frames.end();
    drain();
    result.skipped_pieces = frames.skipped().pieces();
    result.skipped_bytes = frames.skipped().bytes();
    result.left_over = stream.size() - frames.position();
    require(frames.problem().has_value() == (result.left_over != 0));
    return result;
}

// Frames are pieces of the stream, in its order, and with what was skipped and what is left over they are all of it.
void check_tiling(const bytes &stream, const reading &result)
{
    uint64_t end = 0;
    uint64_t given = 0;
    for (const taken &each : result.frames) {
        require(each.start >= end);
        end = each.start + each.contents.size();
        given += each.contents.size();
        require(end <= stream.size());
        require(std::equal(each.contents.begin(), each.contents.end(),
                           stream.begin() + static_cast<ptrdiff_t>(each.start)));
    }
    require(given + result.skipped_bytes + result.left_over == stream.size());
    require((result.skipped_pieces == 0) == (result.skipped_bytes == 0));
}

} // namespace

// The first byte chooses the pieces.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const bytes stream(data + 1, data + size);
    check_search(stream, false);
    check_search(stream, true);
    for (const bool resynchronises : {false, true}) {
        const reading whole = read_in_pieces(stream, stream.size() + 1, resynchronises);
        check_tiling(stream, whole);
        require(!resynchronises || whole.left_over == 0);
        require(resynchronises || whole.skipped_bytes == 0);
        require(read_in_pieces(stream, 1 + data[0], resynchronises) == whole);
    }
    return 0;
}
