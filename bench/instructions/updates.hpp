// Updates of every code, for the entry points of the client library: few and fixed.

#pragma once

#include "bench/client_updates.hpp"

#include <string>
#include <vector>

namespace bench
{

struct named_updates {
    std::string name;
    client_updates updates;
};

std::vector<named_updates> updates_of_every_code();

} // namespace bench
