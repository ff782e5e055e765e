// What the emitters of encoders and decoders ask about fields and messages.

#pragma once

#include "tools/zidlc/model.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace zidlc
{

using field_iterator = std::vector<field>::const_iterator;

// How many neighbouring u32 fields make a run: an encoder takes it in a loop over the presence bits, a decoder in a loop
// over the tags.
constexpr ptrdiff_t shortest_run = 4;

bool is_embedded(const field &f);

// The kind as helper names carry it.
std::string_view helper_kind(const field &f);

// The member, and behind it the count or size that goes with it.
std::string members(const field &f, const std::string &object);

// Where the run of u32 fields that starts at `first` ends: numbers one after another, tags that differ in their first byte
// alone.
field_iterator end_of_run(field_iterator first, field_iterator last);

// Messages with runs are many-sided: how long their values are cannot be foreseen. The small ones, an address or an id, look
// the same nearly every time.
bool has_varied_values(const message &msg);

// Small messages are read in the schema's order first: a few singular fields with short tags, and no memory where there is
// a run among them.
bool is_small(const message &msg);

// Whether the sizes of its bytes members bound what the message takes on the wire: nothing has to be looked at, and no string
// to be measured.
bool is_bounded(const message &msg);

} // namespace zidlc
