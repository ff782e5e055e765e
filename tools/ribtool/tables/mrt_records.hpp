// The records of an MRT file (RFC 6396), packed or not, as they follow one another.

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/input/compressed_input.hpp"

#include <cstdint>
#include <memory>
#include <string>

namespace ribtool
{

struct mrt_record {
    uint64_t number = 0; // from 1
    uint64_t offset = 0; // of its header in what a packed file holds
    uint64_t time_us = 0;
    uint16_t type = 0;
    uint16_t subtype = 0;
    byte_span body; // behind the header and the microseconds of an extended one; holds until the next record is read
};

class mrt_records
{
public:
    explicit mrt_records(std::unique_ptr<compressed_input> input) : input_(std::move(input)) {}

    // False at the end. A record that is cut or larger than any real one is a failure.
    bool next(mrt_record &record);

    // "FILE: record 3 at byte 120"
    std::string place_of(uint64_t number, uint64_t offset) const;

    // Where a byte of the last record stands.
    uint64_t offset_of(const uint8_t *at) const { return buffer_offset_ + static_cast<uint64_t>(at - buffer_.data()); }

    const compressed_input &file() const { return *input_; }

private:
    bool hold(size_t len);
    void require(size_t len, const mrt_record &record, std::string_view what);

    std::unique_ptr<compressed_input> input_;
    byte_vector buffer_;
    size_t start_ = 0;           // of the next record in buffer_
    size_t end_ = 0;             // of what was read into buffer_
    uint64_t buffer_offset_ = 0; // of the buffer in the file
    uint64_t number_ = 0;
};

} // namespace ribtool
