// The encoder of a message: one line for each field, in the order in which they are written.

#pragma once

#include "tools/zidlc/model.hpp"
#include "tools/zidlc/printer.hpp"

namespace zidlc
{

void emit_encode(printer &out, const message &msg);

// What bounds the encoding of a message with bytes members.
void emit_sizes(printer &out, const message &msg);

// Asks for the elements of message arrays before they are needed.
void emit_prefetches(printer &out, const message &msg, const std::string &object);

} // namespace zidlc
