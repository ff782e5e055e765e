// What follows from a declaration: computed once, so that emitters only copy it.

#pragma once

#include "tools/zidlc/model.hpp"

namespace zidlc
{

// The facts of a field that the schema's row is copied to.
void derive(field &f);

// The facts of a message whose fields are complete, and what its fields are because of their neighbours.
void derive(message &m);

} // namespace zidlc
