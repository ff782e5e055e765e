// The client's side of older-form routes: ribtool's converter and release function for its own layout.

#pragma once

#include "ip/rib/lib/src/rib_lib.h"

namespace ribtool
{

// A new record out of the payload at *cursor, in which older_route_violation() finds nothing. Null without memory.
struct rib_routetype_ *convert_older_route(rib_tlv_t *header, uchar_t **cursor);

// Remembers that the record was given back and keeps its memory: the library calls this before the callback that still
// sees the record.
void release_older_route(struct rib_routetype_ *route);

// Whether the record that was converted last was given back.
bool older_route_released();

// Frees what was converted since the last call.
void forget_older_routes();

} // namespace ribtool
