/* What a client keeps of the records that the library hands it. This is the place where a program of your own differs: take
 * what you need of a record, since a route alone has 3 KB, and 5 KB more for each path. */

#ifndef LIVE_KEPT_H
#define LIVE_KEPT_H

#include "updates.h"

/* The bytes that the change's record is kept in; never 0. */
size_t kept_size(const struct change *change);

/* Writes them, kept_size of them. They hold no pointer and no padding that is not 0. */
void keep(const struct change *change, uint8_t *dst);

/* Writes an entry as one line of text without its end, cut at `size` bytes with its NUL. */
void kept_text(const struct table_key *key, const uint8_t *kept, size_t kept_len, char *text, size_t size);

#endif
