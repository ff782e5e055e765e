// Captures as pcapng, whose packets may have comments: what libpcap cannot write.

#pragma once

#include "tools/ribtool/frames/frame_source.hpp"
#include "tools/ribtool/output/output_file.hpp"

#include <string>
#include <string_view>

namespace ribtool
{

// Writes a new file, as output_file has it: one section, one interface of link type USER0 with times in nanoseconds.
class pcapng_writer
{
public:
    explicit pcapng_writer(const std::string &path); // "-" is the standard output

    // An empty comment is none; of a very long one the beginning is kept.
    void write(const captured_frame &frame, std::string_view comment);

    output_file &file() { return file_; } // for write_all(), which closes it

private:
    output_file file_;
    std::string block_; // under construction
};

} // namespace ribtool
