// The names of the statuses of the codec and the client library, as their headers spell them.

#pragma once

#include <cstdint>

namespace rib_inspect
{

// "OK" for 0, "unknown" for what is none.
const char *status_name(int64_t status);

} // namespace rib_inspect
