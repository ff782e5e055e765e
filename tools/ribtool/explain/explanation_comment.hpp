// What became of an update, as a comment of its packet.

#pragma once

#include "inspect/rib_inspect.h"

#include <string>

namespace ribtool
{

// In one line: outcome, reason, the field's path and place, and of losses the first few. "dropped: second_run at paths[1], byte 5".
std::string comment_of(const rib_explanation &explanation);

} // namespace ribtool
