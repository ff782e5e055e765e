// The older forms, whose values have fixed places instead of tags. Their bytes are changed where they lie.

#pragma once

#include "inspect/measure/measure.hpp"

namespace rib_inspect
{

void measure_fixed(uint32_t code, bytes_view payload, measurement &out);

} // namespace rib_inspect
