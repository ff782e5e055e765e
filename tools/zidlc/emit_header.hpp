// The public C header of a group: records, accessors, and the prototypes of the four operations.

#pragma once

#include "tools/zidlc/model.hpp"

#include <string>

namespace zidlc
{

std::string emit_header(const group &source);

} // namespace zidlc
