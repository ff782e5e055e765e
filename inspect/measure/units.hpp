// The parts of an update that do not depend on one another: a path of a route, or a key of a grid list, is measured in an
// update of this one alone.

#pragma once

#include "inspect/measure/trials.hpp"
#include "inspect/measure/values.hpp"

#include <cstdint>
#include <vector>

namespace rib_inspect
{

// What stands at the beginning of its lists is tried first; what is not tried any more says so.
void measure_unit(prober &probe, std::vector<tried_value *> &values, trials &all);

// Each path by itself, each key by itself.
void measure_route(uint32_t code, const decoded_message &msg, value_units &parts, trials &all);
void measure_grid(uint32_t code, const decoded_message &msg, value_units &parts, trials &all);

} // namespace rib_inspect
