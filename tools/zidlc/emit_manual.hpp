// The reference manual: a page for each group, and an index of all messages.

#pragma once

#include "tools/zidlc/landings.hpp"
#include "tools/zidlc/model.hpp"

#include <string>

namespace zidlc
{

// With landings each message has a column of them, or says that none of its fields lands anywhere.
std::string emit_manual(const group &source, const landings &known);
std::string emit_manual_index(const model &all, const landings &known);

} // namespace zidlc
