// The arguments that operations go without.

#pragma once

#include "tools/zidlc/model.hpp"
#include "tools/zidlc/parser.hpp"
#include "tools/zidlc/source.hpp"

namespace zidlc
{

// Notes what `syntax` omits in `m`, whose derived facts are complete, and reports arguments that are unknown, named
// twice, or needed by a field.
void add_omissions(const message_syntax &syntax, message &m, diagnostics &errors);

} // namespace zidlc
