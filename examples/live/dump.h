/* A table as a file of text, one line an entry, sorted: two tables are equal when their files are. */

#ifndef LIVE_DUMP_H
#define LIVE_DUMP_H

#include "kept.h"

struct dump {
    char **lines;
    size_t count;
    size_t capacity;
    int failed; /* for want of memory */
};

/* Adds the line of one entry to a dump, which begins all zero. */
void dump_add(struct dump *dump, const struct table_key *key, const uint8_t *kept, size_t kept_len);

/* Writes what was added beside `path` and renames it when it is whole, so that nobody ever reads half a table; then frees it.
 * Returns 0, with errno, when that fails. */
int dump_write(struct dump *dump, const char *path);

#endif
