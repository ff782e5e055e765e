// Messages into files, in one of four formats.

#pragma once

#include "inspect/formats/message_json.hpp"
#include "tools/ribtool/frames/capture.hpp"
#include "tools/ribtool/messages/message_source.hpp"

#include <memory>
#include <optional>
#include <string>

namespace ribtool
{

class message_sink
{
public:
    virtual ~message_sink() = default;

    // Nothing, or why the message has no JSON or only a part of it.
    virtual std::optional<rib_inspect::json_failure> write(byte_span message) = 0;

    virtual output_file &file() = 0; // for write_all(), which closes it
};

struct message_output {
    std::string path; // "-" is the standard output
    message_format format;
    message_layout layout;
    uint16_t code;          // of a capture, whose format is bin
    capture_format capture; // likewise
    rib_inspect::json_style style;
};

std::unique_ptr<message_sink> create_messages(const message_output &output, const zidl::message_descriptor &type);

} // namespace ribtool
