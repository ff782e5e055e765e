/* What the server is fed with: frames, folded into the table that it serves. */

#ifndef LIVE_FEED_H
#define LIVE_FEED_H

#include <rib.h>
#include <rib_frames.h>

#include "dump.h"
#include "served.h"
#include "updates.h"

struct feed {
    struct updates updates;
    struct drop_log drops;
    struct served *served;
    const rib_frame *frame;       /* that is being taken */
    zidl_rib_grid_sync_list list; /* of a grid list with several keys, decoded for taking it apart */
    uint32_t key_count;           /* of that; 0 of any other update */
    uint32_t key_index;           /* of the next change */
    uint8_t copy[RIB_FRAME_MAX_LEN];
};

void feed_init(struct feed *feed, struct served *served);

/* Folds one frame, which may be a delimiter and is left as it is, into the table. */
void feed_take(struct feed *feed, const rib_frame *frame);

/* Writes the served table as text, as a client that has all of it writes its own. Returns 0, with errno, when that fails. */
int feed_dump(struct feed *feed, const char *path);

#endif
