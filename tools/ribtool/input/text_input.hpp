// Lines of a text file, packed or not (compressed_input), without the mark of UTF-8 in front of the first.

#pragma once

#include "tools/ribtool/input/compressed_input.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace ribtool
{

// The bytes ef bb bf, which some editors write first, say that a text is UTF-8.
std::string_view without_byte_order_mark(std::string_view start);

class text_input
{
public:
    explicit text_input(const std::string &path) : text_input(std::make_unique<compressed_input>(path)) {}
    explicit text_input(std::unique_ptr<compressed_input> input) : input_(std::move(input)) {}

    // The next line without its end (LF or CRLF); false at the end. The view holds until the next call.
    bool next_line(std::string_view &line);

    uint64_t line_number() const { return line_number_; }    // of the last line, from 1
    uint64_t position() const { return input_->position(); } // bytes of the file read so far
    uint64_t size() const { return input_->size(); }         // of the file; 0 when not known

    // "FILE:LINE", of the last line and of any other.
    std::string place() const { return place_of(line_number_); }
    std::string place_of(uint64_t line_number) const;

private:
    bool read_more();

    std::unique_ptr<compressed_input> input_;
    std::string buffer_;
    size_t start_ = 0; // of what was not given out yet
    uint64_t line_number_ = 0;
};

} // namespace ribtool
