// Holds the two directions of the JSON of messages against each other, and against the codec.

#pragma once

#include "messages/descriptors.hpp"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// What is wrong with the JSON of any bytes: empty when it is well-formed JSON that gives what the library's own codec makes
// of the bytes, or says why the bytes have none.
std::string check_bytes_through_json(const zidl::message_descriptor &type, std::span<const uint8_t> bytes);

// Any text is either read, and what it means survives the way above, or has a problem with a place in it.
std::string check_json_text(const zidl::message_descriptor &type, std::string_view text);
