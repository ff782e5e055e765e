// The message types as the command line names them.

#pragma once

#include "messages/descriptors.hpp"

#include <cstdint>
#include <string>

namespace ribtool
{

// Wrong usage, with the nearest names, where there is no such type.
const zidl::message_descriptor &message_type_named(const std::string &name);

// What the payload of an update is; null for the codes of older forms, and for unknown ones.
const zidl::message_descriptor *message_type_of(uint16_t code);

} // namespace ribtool
