/* The client library: turns framed updates from the RIB server into plain records and hands each to a callback.
 *
 * Four entry points, one per kind of update. Each takes an updatetype_local, removes the frame unless that has been
 * done, chooses by the TLV type code between an encoded message and an older raw form, fills the client's record and
 * calls the client's callback once, on the calling thread.
 *
 * - A record handed to a callback, and all that it points to, is borrowed: it is valid until the callback returns.
 * - An encoded update that cannot be decoded is dropped: no callback, no sign. A grid list is judged by what was read.
 * - A programming error (a type code that the entry point does not know, a missing mandatory field) stops the process
 *   through __assert_fail, in every kind of build.
 * - Entry points are re-entrant; concurrent calls on distinct update records are safe, and a callback may parse
 *   further updates. One update record is for one thread at a time: the entry points write to it.
 * - Numbers in records are in host byte order. A member whose source is absent is 0 unless its comment says otherwise;
 *   where the source is wider, the member keeps the low bits.
 *
 * Each kind of update has a header of its own, with its records, its callback and its functions; this one has them all. */

#ifndef IP_RIB_LIB_SRC_RIB_LIB_H
#define IP_RIB_LIB_SRC_RIB_LIB_H

#include "ip/rib/lib/src/rib_lib_grid.h"
#include "ip/rib/lib/src/rib_lib_opaque.h"
#include "ip/rib/lib/src/rib_lib_proto.h"
#include "ip/rib/lib/src/rib_lib_route.h"
#include "ip/rib/lib/src/rib_lib_update.h"

#endif
