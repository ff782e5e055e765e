// The C++ header of a group: what codec/zidl.hpp needs to know of each message, and its accessors.

#pragma once

#include "tools/zidlc/model.hpp"

#include <string>

namespace zidlc
{

std::string emit_cpp_header(const group &source);

} // namespace zidlc
