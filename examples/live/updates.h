/* From a frame that a peer sent to the changes of a table that it means. Whatever the frame holds, nothing in here stops the
 * process or reads beyond the frame. */

#ifndef LIVE_UPDATES_H
#define LIVE_UPDATES_H

#include <rib_frames.h>

#include "drops.h"
#include "table.h"

/* One change: `record`, which is the library's and valid only in the call, is of the type that table.h names for the key. */
struct change {
    struct table_key key;
    int withdraws; /* a route without a path that could be used: the key goes */
    const void *record;
};

/* Returns 0 when the program has no room for what the change brings. */
typedef int (*change_taker)(const struct change *change, void *ctx);

struct updates {
    change_taker take; /* gets every change of every update */
    void *ctx;
    struct drop_log *drops;
    uint32_t count; /* of updates, delimiters left out */
    int was_called;
    int was_refused; /* by the taker */
};

/* Hands one frame to the library, if that is safe, and logs why nothing came of it, if so. A delimiter means nothing here: keep
 * it from this function. The payloads of older forms are converted in place. Returns whether the update arrived. */
int updates_take(struct updates *updates, const rib_frame *frame);

#endif
