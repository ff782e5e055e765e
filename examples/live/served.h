/* The server's table, as a list in the order of the last change, in which every peer has a place of its own.
 *
 * What lies behind a peer's place is what it has not been sent yet. A changed entry moves to the end of the list, so that a slow
 * peer gets its last state and none of those before: nothing is buffered for anybody. Withdrawn entries stay in the list until
 * every peer has passed them; when they become more than the table ever had, served_hindrance names the peer that is furthest
 * behind, for the server to let it go. */

#ifndef LIVE_SERVED_H
#define LIVE_SERVED_H

#include <rib_frames.h>

#include "table.h"

struct link {
    struct link *previous;
    struct link *next;
    int is_place; /* of a peer; else it is an entry's */
};

struct served_entry {
    struct table_entry entry;
    struct link link;
    int is_withdrawn;
    uint32_t size;
    uint8_t frame[]; /* as it is sent, header and payload */
};

struct served {
    struct table table;
    struct link list;  /* `next` is the oldest, `previous` the newest */
    size_t most;       /* entries that were not withdrawn, at any one time */
    size_t withdrawn;  /* that are still in the list */
    size_t collect_at; /* so many of them: to be freed, if they can be */
};

/* Returns 0 when there is no memory. */
int served_init(struct served *served);
void served_free(struct served *served);

/* Puts `frame`, of which a copy is kept, under the key. Returns 0 when there is no memory. */
int served_change(struct served *served, const struct table_key *key, int withdraws, const uint8_t *frame, size_t size);

/* A peer's place: before the whole table at first. */
void served_join(struct served *served, struct link *place);
void served_leave(struct link *place);

/* What the peer at the place is to be sent next, or null; served_pass goes on behind it. */
const struct served_entry *served_next(const struct served *served, const struct link *place);
void served_pass(const struct served_entry *entry, struct link *place);

/* To be called now and then: frees withdrawn entries when there are many of them. Returns null, or the place of the peer that
 * is furthest behind when that has not helped: to be called again when that peer has left. */
struct link *served_hindrance(struct served *served);

#endif
