#include "served.h"

#include <stdlib.h>
#include <string.h>

enum { FEW = 4096 }; /* withdrawn entries that are not worth a look */

/* ---- The list ---- */

static void unlink_from_list(struct link *link)
{
    link->previous->next = link->next;
    link->next->previous = link->previous;
}

static void link_behind(struct link *before, struct link *link)
{
    link->previous = before;
    link->next = before->next;
    before->next->previous = link;
    before->next = link;
}

static struct served_entry *entry_of(struct link *link)
{
    return (struct served_entry *)(void *)((char *)link - offsetof(struct served_entry, link));
}

static struct served_entry *served_of(struct table_entry *entry)
{
    return (struct served_entry *)(void *)entry;
}

/* ---- Changes ---- */

static int is_the_same(const struct served_entry *entry, const uint8_t *frame, size_t size)
{
    return entry->size == size && memcmp(entry->frame, frame, size) == 0;
}

static void remove_entry(struct served *served, struct served_entry *entry)
{
    unlink_from_list(&entry->link);
    served->withdrawn -= (size_t)entry->is_withdrawn;
    table_take(&served->table, &entry->entry.key);
    free(entry);
}

static struct served_entry *entry_with(const struct table_key *key, int withdraws, const uint8_t *frame, size_t size)
{
    struct served_entry *made = malloc(sizeof *made + size);
    if (made == NULL)
        return NULL;
    made->entry.key = *key;
    made->link.is_place = 0;
    made->is_withdrawn = withdraws;
    made->size = (uint32_t)size;
    memcpy(made->frame, frame, size);
    return made;
}

/* What is said again is not sent again, nor is the withdrawal of what is not there. */
int served_change(struct served *served, const struct table_key *key, int withdraws, const uint8_t *frame, size_t size)
{
    struct table_entry *found = table_get(&served->table, key);
    struct served_entry *old = found == NULL ? NULL : served_of(found);
    if (old == NULL ? withdraws : is_the_same(old, frame, size) || (withdraws && old->is_withdrawn))
        return 1;
    struct served_entry *made = entry_with(key, withdraws, frame, size);
    if (made == NULL)
        return 0;
    if (old != NULL)
        remove_entry(served, old);
    if (!table_put(&served->table, &made->entry)) {
        free(made);
        return 0;
    }
    link_behind(served->list.previous, &made->link);
    served->withdrawn += withdraws ? 1 : 0;
    if (served->table.count - served->withdrawn > served->most)
        served->most = served->table.count - served->withdrawn;
    return 1;
}

/* ---- Peers ---- */

void served_join(struct served *served, struct link *place)
{
    place->is_place = 1;
    link_behind(&served->list, place);
}

void served_leave(struct link *place)
{
    unlink_from_list(place);
}

const struct served_entry *served_next(const struct served *served, const struct link *place)
{
    struct link *next = place->next;
    while (next != &served->list && next->is_place)
        next = next->next;
    return next == &served->list ? NULL : entry_of(next);
}

void served_pass(const struct served_entry *entry, struct link *place)
{
    unlink_from_list(place);
    link_behind(entry->link.next->previous, place);
}

/* ---- Withdrawn entries ---- */

/* Frees those that all peers have passed. Returns the first place, or null. */
static struct link *collect(struct served *served)
{
    struct link *link = served->list.next;
    while (link != &served->list && !link->is_place) {
        struct served_entry *entry = entry_of(link);
        link = link->next;
        if (entry->is_withdrawn)
            remove_entry(served, entry);
    }
    return link == &served->list ? NULL : link;
}

/* The list is walked again only when many more are withdrawn, so that this costs little a change. */
struct link *served_hindrance(struct served *served)
{
    if (served->withdrawn <= served->collect_at)
        return NULL;
    struct link *first = collect(served);
    const int is_hindered = served->withdrawn > FEW + served->most;
    served->collect_at = is_hindered ? 0 : served->withdrawn + FEW + served->most / 2;
    return is_hindered ? first : NULL;
}

/* ---- Beginning and end ---- */

int served_init(struct served *served)
{
    served->list.previous = &served->list;
    served->list.next = &served->list;
    served->list.is_place = 1;
    served->most = 0;
    served->withdrawn = 0;
    served->collect_at = FEW;
    return table_init(&served->table);
}

static void free_entry(struct table_entry *entry, void *ctx)
{
    (void)ctx;
    free(served_of(entry));
}

void served_free(struct served *served)
{
    table_each(&served->table, free_entry, NULL);
    table_free(&served->table);
}
