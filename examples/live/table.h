/* A hash table of what a program keeps of updates, and the keys of the five kinds of them.
 *
 * The table links entries and never allocates or frees them: an entry is the first member of a structure of the program's own. */

#ifndef LIVE_TABLE_H
#define LIVE_TABLE_H

#include <stddef.h>
#include <stdint.h>

/* What a key says, and what the record of a change with it is. */
enum key_kind {
    KEY_ROUTE = 1, /* a prefix: struct rib_routetype_ */
    KEY_PROTO,     /* proto_id and proto_sub_id: rib_protoid_map */
    KEY_OPAQUE,    /* opaque_id and the sub-identifier: rib_opaque_update */
    KEY_GRID,      /* an encapsulation ID, 0 where the list has none: rib_encap_id_path_key_t */
    KEY_NHID       /* a next-hop ID: nhid_update_local */
};

/* Byte 0 is the kind; the others follow in network byte order, so that keys sort as people read them. */
enum { KEY_LEN = 20 };
struct table_key {
    uint8_t bytes[KEY_LEN];
};

struct table_key key_of_route(uint32_t family, const uint8_t address[16], uint8_t prefix_len);
struct table_key key_of_pair(enum key_kind kind, uint32_t id, uint32_t sub_id);
struct table_key key_of_id(enum key_kind kind, uint64_t id);

/* Writes the key as text, "route 10.0.0.0/8" or "opaque 100.3", with its NUL into `size` bytes. */
void key_text(const struct table_key *key, char *text, size_t size);

struct table_entry {
    struct table_key key;
};

struct table_slot {
    struct table_entry *entry; /* null: free */
    uint32_t hash; /* here and not in the entry, so that a search looks at one entry at most, nearly always */
};

/* Open addressing: an entry lies in the first free slot from that of its hash on. */
struct table {
    struct table_slot *slots;
    size_t slot_count; /* a power of two, at least one slot is free */
    size_t count;
    uint64_t seed[2]; /* random, so that nobody can choose keys that meet in one place */
};

/* Returns 0 when there is no memory. */
int table_init(struct table *table);

/* Gives back the table, but not the entries. */
void table_free(struct table *table);

/* The entry of the key, or null. */
struct table_entry *table_get(const struct table *table, const struct table_key *key);

/* Adds an entry, whose key the table does not have. Returns 0 when there is no memory. */
int table_put(struct table *table, struct table_entry *entry);

/* Takes out the entry of the key, which the table has; it is the caller's then. */
struct table_entry *table_take(struct table *table, const struct table_key *key);

/* Shows every entry to `visit`, in no order; that may free it but not change the table. */
void table_each(const struct table *table, void (*visit)(struct table_entry *entry, void *ctx), void *ctx);

/* Shows every entry to `takes`, in no order. Where that returns 1 the entry is no longer of the table but its own, freed
 * already or not. */
void table_remove_if(struct table *table, int (*takes)(struct table_entry *entry, void *ctx), void *ctx);

#endif
