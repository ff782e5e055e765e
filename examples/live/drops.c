#include "drops.h"

#include <inttypes.h>
#include <stdio.h>

enum { EXPLANATIONS_A_SECOND = 10 };

/* Counts the drop and says whether this second has a line left for it. */
static int may_print(struct drop_log *drops)
{
    drops->total++;
    if (drops->now != drops->second) {
        drops->second = drops->now;
        drops->explained = 0;
    }
    if (drops->explained == EXPLANATIONS_A_SECOND) {
        drops->silent++;
        return 0;
    }
    if (drops->silent != 0)
        fprintf(stderr, "%s: %" PRIu64 " more updates were dropped\n", drops->program, drops->silent);
    drops->silent = 0;
    drops->explained++;
    return 1;
}

static void print_start(const struct drop_log *drops, const updatetype_local *update, const char *outcome)
{
    fprintf(stderr, "%s: update %" PRIu32 " (code %" PRIu32 ", %" PRIu32 " bytes) %s: ", drops->program,
            update->update_id, update->tlv_type, update->payload_len, outcome);
}

static void print_explanation(const struct drop_log *drops, const updatetype_local *update, const rib_explanation *why)
{
    print_start(drops, update, rib_outcome_name(why->outcome));
    fputs(rib_reason_text(why->reason), stderr);
    if (why->path != NULL)
        fprintf(stderr, ", at %s", why->path);
    if (why->offset != RIB_NO_OFFSET)
        fprintf(stderr, ", byte %zu of the payload", why->offset);
    fprintf(stderr, " (%s)\n", rib_reason_name(why->reason));
}

void drops_explain(struct drop_log *drops, const updatetype_local *update)
{
    if (!may_print(drops))
        return;
    const rib_explain_options options = {.without = RIB_WITHOUT_OLDER_ROUTES | RIB_WITHOUT_LOSSES};
    rib_explanation *why;
    if (rib_explain_update(update, &options, &why) != ZIDL_OK) {
        print_start(drops, update, "dropped");
        fputs("there is no memory to say why\n", stderr);
        return;
    }
    print_explanation(drops, update, why);
    rib_explanation_free(why);
}

void drops_note(struct drop_log *drops, const updatetype_local *update, const char *reason)
{
    if (!may_print(drops))
        return;
    print_start(drops, update, "refused");
    fprintf(stderr, "%s\n", reason);
}

void drops_print(struct drop_log *drops, const updatetype_local *update, const rib_explanation *why)
{
    if (may_print(drops))
        print_explanation(drops, update, why);
}
