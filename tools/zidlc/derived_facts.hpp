// What follows from a declaration: computed once, so that emitters only copy it.

#pragma once

#include "tools/zidlc/model.hpp"

namespace zidlc
{

bool holds_bytes(const field &f); // itself or in what it holds
bool owns_memory(const field &f);

// Bytes that the field's encoding takes at most, tag and length included; 0 where what it holds has no bound.
uint64_t fixed_bound(const field &f);

// The tag of a field whose type and number are set.
void derive(field &f);

// The facts of a message whose fields are complete.
void derive(message &m);

} // namespace zidlc
