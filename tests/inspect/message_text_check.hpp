// Holds the two directions of the text format against each other.

#pragma once

#include "messages/descriptors.hpp"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// What is wrong with bytes that are written as text and read again: empty when they are the same.
std::string check_bytes_through_text(const zidl::message_descriptor &type, std::span<const uint8_t> bytes);

// Any text is either read, and what it means survives the way above, or has an error with a place in it.
std::string check_text(const zidl::message_descriptor &type, std::string_view text);
