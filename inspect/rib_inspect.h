/* Why an update reached the client or did not, what of it was lost, and what its bytes mean.
 *
 * The library drops in silence what it cannot use. These functions say what it did, and why. They do no input or output, keep no
 * state, and may be called from any thread; nothing that they do is seen by the library itself. */

#ifndef INSPECT_RIB_INSPECT_H
#define INSPECT_RIB_INSPECT_H

#include "codec/zidl.h"
#include "ip/rib/lib/src/rib_lib.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Why something of an update does not reach the client, and why an update does not. The list only grows at its end: a
 * number keeps its meaning. Output for people and programs has names, never numbers. */
enum rib_reason {
#define REASON(name, text) RIB_REASON_##name,
#include "inspect/reasons.def"
#undef REASON
    RIB_REASON_COUNT /* grows */
};

/* The name of a reason ("second_run") and what it means in one sentence; null for a number that is none. */
ZIDL_API const char *rib_reason_name(enum rib_reason reason);
ZIDL_API const char *rib_reason_text(enum rib_reason reason);

#ifdef __cplusplus
}
#endif

#endif
