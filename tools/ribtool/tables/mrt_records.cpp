#include "tools/ribtool/tables/mrt_records.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/tables/mrt_names.hpp"

#include <algorithm>
#include <span>

namespace ribtool
{

namespace
{

constexpr size_t HEADER_LEN = 12;
constexpr size_t MAX_BODY_LEN = 1 << 24; // a prefix with a thousand times the paths of a full table's is shorter

bool has_microseconds(uint16_t type)
{
    return type == MRT_BGP4MP_ET || type == MRT_ISIS_ET || type == MRT_OSPFV3_ET;
}

} // namespace

std::string mrt_records::place_of(uint64_t number, uint64_t offset) const
{
    return fmt::format("{}: record {} at byte {}", input_->name(), number, offset);
}

// Whether so many bytes lie behind start_, where they are then. Memory grows with what is read, not with what is promised.
bool mrt_records::hold(size_t len)
{
    while (end_ - start_ < len) {
        if (buffer_.size() - end_ < READ_BLOCK_LEN) {
            std::copy(buffer_.begin() + static_cast<ptrdiff_t>(start_), buffer_.begin() + static_cast<ptrdiff_t>(end_),
                      buffer_.begin());
            buffer_offset_ += start_;
            end_ -= start_;
            start_ = 0;
            buffer_.resize(std::max(buffer_.size(), end_ + 2 * READ_BLOCK_LEN));
        }
        const size_t got = input_->read(std::span(buffer_).subspan(end_, READ_BLOCK_LEN));
        if (got == 0)
            return false;
        end_ += got;
    }
    return true;
}

void mrt_records::require(size_t len, const mrt_record &record, std::string_view what)
{
    if (hold(len))
        return;
    const std::string place = place_of(record.number, record.offset);
    if (input_->error())
        fail(input_->error()->code, "{}: {}", place, input_->error()->text);
    fail(EXIT_MALFORMED, "{}: truncated: {} takes {} bytes, {} left", place, what, len, end_ - start_);
}

bool mrt_records::next(mrt_record &record)
{
    record.number = ++number_;
    record.offset = buffer_offset_ + start_;
    if (!hold(1) && !input_->error())
        return false;
    require(HEADER_LEN, record, "a header");
    const uint8_t *header = buffer_.data() + start_;
    record.time_us = uint64_t{read_be32(header)} * 1000000;
    record.type = read_be16(header + 4);
    record.subtype = read_be16(header + 6);
    const size_t len = read_be32(header + 8);
    const auto place = [&] { return place_of(record.number, record.offset); };
    if (len > MAX_BODY_LEN)
        fail(EXIT_MALFORMED, "{}: a length of {}, at most {} is read", place(), len, MAX_BODY_LEN);
    require(HEADER_LEN + len, record, "the record");
    record.body = byte_span(buffer_).subspan(start_ + HEADER_LEN, len);
    start_ += HEADER_LEN + len;
    if (has_microseconds(record.type)) {
        if (len < 4 || read_be32(record.body.data()) >= 1000000)
            fail(EXIT_MALFORMED, "{}: no microseconds behind the header", place());
        record.time_us += read_be32(record.body.data());
        record.body = record.body.subspan(4);
    }
    return true;
}

} // namespace ribtool
