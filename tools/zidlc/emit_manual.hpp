// The reference manual: a page for each group, and an index of all messages.

#pragma once

#include "tools/zidlc/model.hpp"

#include <string>

namespace zidlc
{

std::string emit_manual(const group &source);
std::string emit_manual_index(const model &all);

} // namespace zidlc
