/* The client's table: what it keeps under each key, marked with the connection that named it last. */

#ifndef LIVE_CLIENT_TABLE_H
#define LIVE_CLIENT_TABLE_H

#include "updates.h"

struct client_table {
    struct table entries;
    size_t memory; /* bytes that the entries take */
    size_t memory_limit;
    uint32_t generation; /* of the connection */
    size_t marked;       /* entries that this connection has named */
};

/* Returns 0 when there is no memory. */
int client_table_init(struct client_table *table, size_t memory_limit);
void client_table_free(struct client_table *table);

/* A change_taker, whose ctx is the table. */
int client_table_change(const struct change *change, void *ctx);

/* A new connection: nothing is marked yet. */
void client_table_begin(struct client_table *table);

/* Takes out every entry that this connection has not named, and returns how many. */
size_t client_table_sweep(struct client_table *table);

/* Writes the table as text. Returns 0, with errno, when that fails. */
int client_table_dump(struct client_table *table, const char *path);

#endif
