// The inspector's copy of the client library, under its names of renamed.h. Each call takes notes (inspect/explain/notes.hpp), and throws
// what stops it: rib_inspect::stopped, or std::bad_alloc.

#pragma once

#include "ip/rib/lib/src/rib_lib.h"

extern "C" {
decltype(rib_lib_pvt_parse_proto_update) rib_witnessed_parse_proto_update;
decltype(rib_lib_pvt_parse_opaque_update) rib_witnessed_parse_opaque_update;
decltype(rib_lib_pvt_parse_route_update) rib_witnessed_parse_route_update;
decltype(rib_lib_pvt_parse_grid_update) rib_witnessed_parse_grid_update;
decltype(rib_server_decode_grid_list_update) rib_witnessed_decode_grid_list_update;
}
