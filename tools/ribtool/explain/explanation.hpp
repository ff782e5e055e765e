// Explanations of the inspector as objects.

#pragma once

#include "inspect/rib_inspect.h"
#include "tools/ribtool/frames/frame.hpp"

#include <cstdint>
#include <memory>

namespace ribtool
{

struct explanation_deleter {
    void operator()(rib_explanation *explanation) const { rib_explanation_free(explanation); }
};
using explanation_handle = std::unique_ptr<rib_explanation, explanation_deleter>;

// `without` are RIB_WITHOUT_ bits.
explanation_handle explain(uint16_t code, byte_span payload, uint32_t without = 0);

} // namespace ribtool
