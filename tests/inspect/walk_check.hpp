// Holds the walk over a message against the real decoder, which is taken as a black box.

#pragma once

#include "messages/descriptors.hpp"

#include <cstdint>
#include <span>
#include <string>

// What is wrong with the walk over these bytes; empty when nothing is. Status, every value and its place in the record are
// the decoder's. Where decoding fails, so must the message that ends with what fails, for the same reason; and the message
// without it is walked in the same way, recursively. Behind a failure every byte still belongs to one event.
std::string check_walk(const zidl::message_descriptor &type, std::span<const uint8_t> bytes);
