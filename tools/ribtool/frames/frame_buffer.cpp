#include "tools/ribtool/frames/frame_buffer.hpp"

#include "rib_frames.h"
#include "tools/ribtool/library/update_types.hpp"

#include <fmt/format.h>

#include <cstring>
#include <utility>
#include <vector>

namespace ribtool
{

namespace
{

// Far above what a search needs at once: what is left over is seldom moved, and a read finds room for many frames.
constexpr size_t CAPACITY = 262144;
constexpr size_t LEAST_ROOM = 65536;
static_assert(CAPACITY >= RIB_FRAMES_RESYNC_LEN + LEAST_ROOM);

const std::vector<uint16_t> &known_codes()
{
    static const std::vector<uint16_t> codes = [] {
        std::vector<uint16_t> all;
        for (const update_type &type : update_types())
            all.push_back(type.code);
        return all;
    }();
    return codes;
}

} // namespace

frame_buffer::frame_buffer(bool resynchronises)
    : memory_(std::make_unique_for_overwrite<uint8_t[]>(CAPACITY)), rest_(memory_.get()),
      resynchronises_(resynchronises)
{
}

std::span<uint8_t> frame_buffer::room()
{
    uint8_t *const end = memory_.get() + CAPACITY;
    if (rest_len_ == 0)
        rest_ = memory_.get();
    if (static_cast<size_t>(end - rest_) - rest_len_ < LEAST_ROOM) {
        std::memmove(memory_.get(), rest_, rest_len_);
        rest_ = memory_.get();
    }
    return {rest_ + rest_len_, end};
}

bool frame_buffer::next(stream_frame &frame)
{
    for (;;) {
        if (gap_ && !search())
            return false;
        if (resynchronises_ && has_strange_header()) {
            begin_search(skip_reason::unknown_code, fmt::format("unknown type code {}", rib_frame_code(rest_)));
            continue;
        }
        if (const size_t size = rib_frame_size(rest_, rest_len_); size != 0) {
            frame = {++number_, position_, {rest_, size}};
            take(size);
            return true;
        }
        if (!resynchronises_ || !has_ended_ || rest_len_ == 0)
            return false;
        begin_search(skip_reason::truncated, truncation());
    }
}

bool frame_buffer::has_strange_header() const
{
    return rest_len_ >= RIB_FRAME_HEADER_LEN && rib_frame_code(rest_) != RIB_FRAME_DELIMITER &&
           !rib_frame_code_is_among(rest_, known_codes().data(), known_codes().size());
}

// The header that is not believed is no answer of the search, whatever its code.
void frame_buffer::begin_search(skip_reason reason, std::string why)
{
    gap_ = {position_, 0, std::move(why)};
    gap_reason_ = reason;
    take(1);
}

// False while more bytes are needed, and at the end of a stream in which no frame follows.
bool frame_buffer::search()
{
    size_t skipped = 0;
    const bool is_found =
        rib_frames_resync(rest_, rest_len_, has_ended_, known_codes().data(), known_codes().size(), &skipped);
    take(skipped);
    if (is_found || has_ended_) {
        gap_->len = position_ - gap_->start;
        skipped_.add(gap_reason_, std::move(*gap_));
        gap_.reset();
    }
    return is_found;
}

void frame_buffer::take(size_t len)
{
    rest_ += len;
    rest_len_ -= len;
    position_ += len;
}

std::optional<std::string> frame_buffer::problem() const
{
    if (rest_len_ == 0)
        return {};
    return truncation();
}

std::string frame_buffer::truncation() const
{
    if (rest_len_ < FRAME_HEADER_LEN)
        return fmt::format("truncated: a frame header has {} bytes, {} are left", FRAME_HEADER_LEN, rest_len_);
    return fmt::format("truncated: its header promises {} bytes of payload, {} are left", rib_frame_payload_len(rest_),
                       rest_len_ - FRAME_HEADER_LEN);
}

} // namespace ribtool
