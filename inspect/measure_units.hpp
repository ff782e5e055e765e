// The parts of an update that do not depend on one another: a path of a route, or a key of a grid list, is measured in an
// update of this one alone.

#pragma once

#include "inspect/measure_trials.hpp"
#include "inspect/measure_values.hpp"

#include <cstdint>
#include <vector>

namespace rib_inspect
{

// What is known of plain copies holds for all the values of an update.
void measure_unit(prober &probe, std::vector<tried_value *> &values, plain_copies &known);

// Each path by itself, each key by itself.
void measure_route(uint32_t code, const decoded_message &msg, value_units &parts);
void measure_grid(uint32_t code, const decoded_message &msg, value_units &parts);

} // namespace rib_inspect
