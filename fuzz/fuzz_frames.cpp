// Any bytes as a stream of frames, in pieces: rib_frames.h gives frames that tile the stream, the same in any pieces, and reads
// nothing else.

#include "rib_frames.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace
{

void require(bool holds)
{
    if (!holds)
        std::abort();
}

using bytes = std::vector<uint8_t>;

// Exactly as long as its contents: one byte beyond it ends the run.
std::unique_ptr<uint8_t[]> exact_copy(const bytes &contents)
{
    auto copy = std::make_unique<uint8_t[]>(contents.size());
    std::copy(contents.begin(), contents.end(), copy.get());
    return copy;
}

// The size of the frame at `pos`, by the rule alone; 0 when it is not whole.
size_t size_by_rule(const bytes &stream, size_t pos)
{
    if (stream.size() < pos + 8)
        return 0;
    const size_t size = 8 + size_t{stream[pos + 6]} * 256 + stream[pos + 7];
    return stream.size() < pos + size ? 0 : size;
}

std::vector<bytes> frames_by_rule(const bytes &stream)
{
    std::vector<bytes> frames;
    size_t pos = 0;
    while (const size_t size = size_by_rule(stream, pos)) {
        const auto start = stream.begin() + static_cast<ptrdiff_t>(pos);
        frames.emplace_back(start, start + static_cast<ptrdiff_t>(size));
        pos += size;
    }
    return frames;
}

void check_one(const rib_frame &frame, std::vector<bytes> &seen)
{
    require(frame.payload == frame.start + 8);
    require(frame.size == 8u + frame.payload_len);
    require(frame.code == frame.start[4] * 256 + frame.start[5]);
    require(rib_frame_is_delimiter(&frame) == (frame.start[4] == 0 && frame.start[5] == 0));
    seen.emplace_back(frame.start, frame.start + frame.size);
    uint8_t written[8];
    require(rib_frame_put_header(written, frame.code, frame.payload_len));
    require(std::memcmp(written + 4, frame.start + 4, 4) == 0);
    // As stripping does it: the frames behind must not care.
    std::swap(frame.start[4], frame.start[5]);
    std::swap(frame.start[6], frame.start[7]);
}

// What is missing makes a header whole, or the frame.
void check_rest(const rib_frames &frames)
{
    const uint8_t *const rest = rib_frames_rest(&frames);
    const size_t len = rib_frames_rest_len(&frames);
    const size_t whole = len < 8 ? 8 : 8 + size_t{rest[6]} * 256 + rest[7];
    require(len < whole && rib_frames_missing(&frames) == whole - len);
}

std::vector<bytes> frames_in_pieces(const bytes &stream, size_t piece)
{
    std::vector<bytes> seen;
    bytes held;
    for (size_t pos = 0; pos < stream.size(); pos += piece) {
        const size_t end = std::min(pos + piece, stream.size());
        held.insert(held.end(), stream.begin() + static_cast<ptrdiff_t>(pos),
                    stream.begin() + static_cast<ptrdiff_t>(end));
        const auto copy = exact_copy(held);
        rib_frames frames;
        rib_frame frame;
        rib_frames_begin(&frames, copy.get(), held.size());
        while (rib_frames_next(&frames, &frame))
            check_one(frame, seen);
        require(rib_frames_rest(&frames) + rib_frames_rest_len(&frames) == copy.get() + held.size());
        check_rest(frames);
        held.assign(rib_frames_rest(&frames), rib_frames_rest(&frames) + rib_frames_rest_len(&frames));
    }
    return seen;
}

} // namespace

// The first byte chooses the pieces.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const bytes stream(data + 1, data + size);
    const std::vector<bytes> expected = frames_by_rule(stream);
    require(frames_in_pieces(stream, stream.size() + 1) == expected);
    require(frames_in_pieces(stream, 1 + data[0]) == expected);
    return 0;
}
