// One payload out of a file: its bytes, or their hexadecimal digits as people paste them.

#pragma once

#include "tools/ribtool/frames/frame.hpp"

#include <string>

namespace ribtool
{

enum class payload_format { bin, hex };

// "-" is the standard input; a packed file is unpacked. Digits that are none are a failure with line and column.
byte_vector read_payload(const std::string &path, payload_format format);

} // namespace ribtool
