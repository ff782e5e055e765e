// The decoder of a message: one line for each field, and what is likely to come behind it. Small messages have two: one
// that reads the fields in order, and one for whatever comes otherwise.

#pragma once

#include "tools/zidlc/model.hpp"
#include "tools/zidlc/printer.hpp"

namespace zidlc
{

void emit_decode(printer &out, const message &msg);

} // namespace zidlc
