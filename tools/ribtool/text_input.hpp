// Lines of a text file, plain or compressed with xz (told apart by the file's first bytes).

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace ribtool
{

class text_input
{
public:
    explicit text_input(const std::string &path); // "-" is the standard input
    ~text_input();

    // The next line without its end (LF or CRLF); false at the end. The view holds until the next call.
    bool next_line(std::string_view &line);

    uint64_t line_number() const { return line_number_; } // of the last line, from 1
    uint64_t position() const;                            // bytes of the file read so far
    uint64_t size() const { return size_; }               // of the file; 0 when not known

    // "FILE:LINE"
    std::string place() const;

private:
    struct source;

    bool read_more();

    std::string path_;
    std::unique_ptr<source> source_;
    std::string buffer_;
    size_t start_ = 0; // of what was not given out yet
    uint64_t line_number_ = 0;
    uint64_t size_ = 0;
};

} // namespace ribtool
