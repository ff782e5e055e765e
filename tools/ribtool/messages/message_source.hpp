// Messages in files: each as it stands there, in one of four formats.

#pragma once

#include "tools/ribtool/frames/capture.hpp"
#include "tools/ribtool/input/compressed_input.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace ribtool
{

enum class message_format { bin, hex, text, json };

// How the messages of a file follow one another.
enum class message_layout {
    single, // one is all there is
    delimited, // bin: each behind its length as a varint; hex: one a line; text: each before a line ---; json: one behind the other
    capture, // the payloads of a capture's updates of one type code
};

// What a line --- ends in a stream of texts.
constexpr char TEXT_END[] = "---";

class message_source
{
public:
    virtual ~message_source() = default;

    // The next message in the file's format. False at the end, and where the contents go wrong.
    virtual bool next(std::string &message) = 0;

    // "FILE", "FILE: frame 3", "FILE: message 3 at byte 120": the message that next() gave last.
    virtual std::string place() const = 0;

    // The line of the file that it begins in; 0 where the format has no lines.
    virtual uint64_t line() const { return 0; }
    virtual uint64_t column() const { return 1; } // and where in this line; from 1

    // EXIT_DONE at the end of a whole file; otherwise says what is wrong and gives another code.
    virtual exit_code finish() = 0;

    virtual const std::string &file_name() const = 0; // as messages show it
    virtual uint64_t position() const = 0;            // bytes of the file read so far
    virtual uint64_t size() const = 0;                // 0 for a pipe
};

// `path` "-" is the standard input; `code` is for captures, whose format is bin.
std::unique_ptr<message_source> open_messages(const std::string &path, message_format format, message_layout layout,
                                              uint16_t code);

} // namespace ribtool
