/* The log of updates that do not arrive, with the reason. A peer that sends nothing but rubbish shall not fill the disk: few
 * lines a second, then a count of what went by without one. */

#ifndef LIVE_DROPS_H
#define LIVE_DROPS_H

#include <inspect/rib_inspect.h>
#include <stdint.h>
#include <time.h>

struct drop_log {
    const char *program; /* in front of every line */
    time_t now;          /* the loop sets it once for each batch */
    time_t second;       /* that `explained` counts for */
    unsigned explained;
    uint64_t silent; /* drops without an explanation since the last one */
    uint64_t total;
};

/* The library has dropped this update, or would stop the process: asks the inspector for the reason. The payload must still be
 * as it came, so that payloads of the older forms, which are converted in place, are not to be handed over before. */
void drops_explain(struct drop_log *drops, const updatetype_local *update);

/* The program itself has dropped it, for a reason of its own. */
void drops_note(struct drop_log *drops, const updatetype_local *update, const char *reason);

/* One such line with an explanation that the caller has already. */
void drops_print(struct drop_log *drops, const updatetype_local *update, const rib_explanation *why);

#endif
