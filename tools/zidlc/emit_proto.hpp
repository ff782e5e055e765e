// The messages of a group as a proto2 file, for programs in other languages and for tests.

#pragma once

#include "tools/zidlc/model.hpp"

#include <string>

namespace zidlc
{

std::string emit_proto(const group &source);

} // namespace zidlc
