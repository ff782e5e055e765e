// Updates as large and as deeply nested as a frame allows: what costs a client most.

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/generate/random.hpp"
#include "tools/ribtool/messages/scratch.hpp"

#include <cstdint>

namespace ribtool
{

// Kinds that take turns.
constexpr uint32_t worst_case_kinds = 15;

// `kind` is below worst_case_kinds.
update worst_case_update(uint32_t kind, random_source &random, scratch &memory);

} // namespace ribtool
