// Messages as text for people, without a loss: whatever the bytes are, the text gives them back. docs/message-text.md
// describes the format.

#pragma once

#include "messages/descriptors.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace rib_inspect
{

// The bytes as a message of the type, one line a value; bytes that are none are written, too.
std::string to_text(const zidl::message_descriptor &type, std::span<const uint8_t> bytes);

struct text_error {
    size_t offset;        // bytes into the text
    size_t line;          // from 1
    size_t column;        // from 1, in bytes
    std::string expected; // "a number up to 255"
};

struct text_message {
    std::vector<uint8_t> bytes;
    std::optional<text_error> error; // the first; `bytes` is then empty
};

// The reverse. Text without marks gives the bytes that an encoder writes, in the order of the text; nothing is checked but
// names, numbers and marks: what cannot be decoded can be written.
text_message from_text(const zidl::message_descriptor &type, std::string_view text);

} // namespace rib_inspect
