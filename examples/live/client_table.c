#include "client_table.h"

#include <stdlib.h>

#include "dump.h"
#include "kept.h"

struct kept_entry {
    struct table_entry entry;
    uint32_t generation; /* that named it last */
    uint32_t size;
    uint8_t kept[];
};

static struct kept_entry *kept_of(struct table_entry *entry)
{
    return (struct kept_entry *)(void *)entry;
}

static void give_back(struct client_table *table, struct kept_entry *entry)
{
    table->marked -= entry->generation == table->generation;
    table->memory -= sizeof *entry + entry->size;
    free(entry);
}

/* ---- Changes ---- */

static struct kept_entry *new_entry(struct client_table *table, const struct table_key *key, size_t size)
{
    const size_t needed = sizeof(struct kept_entry) + size;
    struct kept_entry *made = table->memory_limit - table->memory < needed ? NULL : malloc(needed);
    if (made == NULL)
        return NULL;
    made->entry.key = *key;
    if (!table_put(&table->entries, &made->entry)) {
        free(made);
        return NULL;
    }
    made->generation = table->generation - 1;
    made->size = (uint32_t)size;
    table->memory += needed;
    return made;
}

/* An entry of `size` bytes under the key: the one that is there, when it has that size. */
static struct kept_entry *entry_for(struct client_table *table, const struct table_key *key, size_t size)
{
    struct table_entry *old = table_get(&table->entries, key);
    if (old != NULL && kept_of(old)->size == size)
        return kept_of(old);
    if (old != NULL)
        give_back(table, kept_of(table_take(&table->entries, key)));
    return new_entry(table, key, size);
}

static void withdraw(struct client_table *table, const struct table_key *key)
{
    if (table_get(&table->entries, key) != NULL)
        give_back(table, kept_of(table_take(&table->entries, key)));
}

int client_table_change(const struct change *change, void *ctx)
{
    struct client_table *table = ctx;
    if (change->withdraws) {
        withdraw(table, &change->key);
        return 1;
    }
    struct kept_entry *entry = entry_for(table, &change->key, kept_size(change));
    if (entry == NULL)
        return 0;
    keep(change, entry->kept);
    table->marked += entry->generation != table->generation;
    entry->generation = table->generation;
    return 1;
}

/* ---- Mark and sweep ---- */

void client_table_begin(struct client_table *table)
{
    table->generation++;
    table->marked = 0;
}

static int take_if_unmarked(struct table_entry *entry, void *ctx)
{
    struct client_table *table = ctx;
    if (kept_of(entry)->generation == table->generation)
        return 0;
    give_back(table, kept_of(entry));
    return 1;
}

/* After a short break the server has named all: nothing to look for. */
size_t client_table_sweep(struct client_table *table)
{
    const size_t count = table->entries.count;
    if (table->marked < count)
        table_remove_if(&table->entries, take_if_unmarked, table);
    return count - table->entries.count;
}

/* ---- As text ---- */

static void add_to_dump(struct table_entry *entry, void *ctx)
{
    const struct kept_entry *kept = kept_of(entry);
    dump_add(ctx, &entry->key, kept->kept, kept->size);
}

int client_table_dump(struct client_table *table, const char *path)
{
    struct dump dump = {0};
    table_each(&table->entries, add_to_dump, &dump);
    return dump_write(&dump, path);
}

/* ---- Beginning and end ---- */

int client_table_init(struct client_table *table, size_t memory_limit)
{
    table->memory = 0;
    table->memory_limit = memory_limit;
    table->generation = 0;
    table->marked = 0;
    return table_init(&table->entries);
}

static void free_entry(struct table_entry *entry, void *ctx)
{
    (void)ctx;
    free(kept_of(entry));
}

void client_table_free(struct client_table *table)
{
    table_each(&table->entries, free_entry, NULL);
    table_free(&table->entries);
}
