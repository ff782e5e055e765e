// Lines of a text file, packed or not (compressed_input).

#pragma once

#include "tools/ribtool/compressed_input.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace ribtool
{

class text_input
{
public:
    explicit text_input(const std::string &path) : input_(path) {} // "-" is the standard input

    // The next line without its end (LF or CRLF); false at the end. The view holds until the next call.
    bool next_line(std::string_view &line);

    uint64_t line_number() const { return line_number_; }   // of the last line, from 1
    uint64_t position() const { return input_.position(); } // bytes of the file read so far
    uint64_t size() const { return input_.size(); }         // of the file; 0 when not known

    // "FILE:LINE"
    std::string place() const;

private:
    bool read_more();

    compressed_input input_;
    std::string buffer_;
    size_t start_ = 0; // of what was not given out yet
    uint64_t line_number_ = 0;
};

} // namespace ribtool
