// The rule that a reader can rely on: field numbers ascend without gaps, and every exception is spelled out.

#pragma once

#include "tools/zidlc/parser.hpp"
#include "tools/zidlc/source.hpp"

namespace zidlc
{

// Reports numbers out of range, numbers declared twice, gaps and steps back that the rows do not announce, and rows that
// announce what is not there.
void check_numbering(const message_syntax &m, diagnostics &errors);

} // namespace zidlc
