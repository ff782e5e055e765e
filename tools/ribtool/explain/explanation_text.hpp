// What became of an update, for people and for programs.

#pragma once

#include "inspect/rib_inspect.h"
#include "tools/ribtool/explain/explanation.hpp"
#include "tools/ribtool/output/json_line.hpp"
#include "tools/terminal/terminal.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace ribtool
{

// Whether the client gets all that the update says.
inline bool is_whole(const rib_explanation &explanation)
{
    return explanation.outcome == RIB_DELIVERED && explanation.reason == RIB_REASON_none && explanation.loss_count == 0;
}

// A value of a loss: of a long one the beginning.
std::string shortened(const char *value);

struct paragraph_style {
    terminal::painter paint;
    size_t columns; // lines are broken between words to fit
};

// What happened, why, where, and what of the update the client does not see. `frame` is null for a payload without one.
void append_paragraph(std::string &out, const uint64_t *frame, size_t payload_len, const rib_explanation &explanation,
                      const paragraph_style &style);

// The same as members of an object; what is absent has none.
void add_explanation(json_line &line, const uint64_t *frame, const rib_explanation &explanation);

} // namespace ribtool
