// Tables that describe every record, for tools and tests: one header and one source for all groups.

#pragma once

#include "tools/zidlc/model.hpp"

#include <string>

namespace zidlc
{

std::string emit_descriptors_header(const model &all);
std::string emit_descriptors_source(const model &all);

} // namespace zidlc
