// Routes, and the lists that a route carries beside its paths.

#pragma once

#include "tools/ribtool/generate/random_paths.hpp"

namespace ribtool
{

// A route of one of the kinds that a router with many services holds: labelled, tunnelled, SRv6, layer 2 ...
zidl_rib_route random_service_route(random_source &random, scratch &memory);
zidl_rib_route random_ecmp_route(random_source &random, scratch &memory, uint32_t path_count);

void add_algo_labels(zidl_rib_route &route, random_source &random, scratch &memory, uint32_t count);
void add_advertisement(zidl_rib_route &route, random_source &random, scratch &memory, uint32_t count);
zidl_rib_generic_attr_array random_attributes(random_source &random, scratch &memory, uint32_t count, uint32_t size);

} // namespace ribtool
