#include "table.h"

#include <arpa/inet.h>
#include <inttypes.h>
#include <rib.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* ---- Keys ---- */

static void put_number(uint8_t *dst, uint64_t value, size_t len)
{
    for (size_t i = 0; i < len; i++)
        dst[i] = (uint8_t)(value >> 8 * (len - 1 - i));
}

static uint64_t number_at(const uint8_t *src, size_t len)
{
    uint64_t value = 0;
    for (size_t i = 0; i < len; i++)
        value = value << 8 | src[i];
    return value;
}

/* An IPv4 address of a record is a number in host byte order, an IPv6 address its bytes. */
struct table_key key_of_route(uint32_t family, const uint8_t address[16], uint8_t prefix_len)
{
    struct table_key key = {{KEY_ROUTE, (uint8_t)family}};
    if (family == RIB_FAMILY_IPV4) {
        uint32_t number;
        memcpy(&number, address, sizeof number);
        put_number(key.bytes + 2, number, sizeof number);
    } else {
        memcpy(key.bytes + 2, address, 16);
    }
    key.bytes[18] = prefix_len;
    return key;
}

struct table_key key_of_pair(enum key_kind kind, uint32_t id, uint32_t sub_id)
{
    struct table_key key = {{(uint8_t)kind}};
    put_number(key.bytes + 1, id, sizeof id);
    put_number(key.bytes + 5, sub_id, sizeof sub_id);
    return key;
}

struct table_key key_of_id(enum key_kind kind, uint64_t id)
{
    struct table_key key = {{(uint8_t)kind}};
    put_number(key.bytes + 1, id, sizeof id);
    return key;
}

void key_text(const struct table_key *key, char *text, size_t size)
{
    static const char *const names[] = {"", "route", "proto", "opaque", "grid", "nhid"};
    const uint8_t *bytes = key->bytes;
    const char *name = names[bytes[0]];
    char address[INET6_ADDRSTRLEN] = "no address";
    switch (bytes[0]) {
    case KEY_ROUTE:
        if (bytes[1] != 0)
            inet_ntop(bytes[1] == RIB_FAMILY_IPV4 ? AF_INET : AF_INET6, bytes + 2, address, sizeof address);
        snprintf(text, size, "%s %s/%u", name, address, bytes[18]);
        return;
    case KEY_PROTO:
    case KEY_OPAQUE:
        snprintf(text, size, "%s %" PRIu64 ".%" PRIu64, name, number_at(bytes + 1, 4), number_at(bytes + 5, 4));
        return;
    default:
        snprintf(text, size, "%s %" PRIu64, name, number_at(bytes + 1, 8));
    }
}

/* ---- SipHash-1-3 of a key: peers choose keys, and shall not choose buckets ---- */

static uint64_t rotated(uint64_t value, int bits)
{
    return value << bits | value >> (64 - bits);
}

static void sip_round(uint64_t v[4])
{
    v[0] += v[1];
    v[2] += v[3];
    v[1] = rotated(v[1], 13) ^ v[0];
    v[3] = rotated(v[3], 16) ^ v[2];
    v[0] = rotated(v[0], 32);
    v[2] += v[1];
    v[0] += v[3];
    v[1] = rotated(v[1], 17) ^ v[2];
    v[3] = rotated(v[3], 21) ^ v[0];
    v[2] = rotated(v[2], 32);
}

static uint32_t hash_of(const struct table *table, const struct table_key *key)
{
    uint64_t words[3] = {0, 0, (uint64_t)KEY_LEN << 56};
    memcpy(words, key->bytes, 16);
    uint32_t last;
    memcpy(&last, key->bytes + 16, sizeof last);
    words[2] |= last;

    uint64_t v[4] = {table->seed[0] ^ UINT64_C(0x736f6d6570736575), table->seed[1] ^ UINT64_C(0x646f72616e646f6d),
                     table->seed[0] ^ UINT64_C(0x6c7967656e657261), table->seed[1] ^ UINT64_C(0x7465646279746573)};
    for (int i = 0; i < 3; i++) {
        v[3] ^= words[i];
        sip_round(v);
        v[0] ^= words[i];
    }
    v[2] ^= 0xff;
    for (int i = 0; i < 3; i++)
        sip_round(v);
    return (uint32_t)(v[0] ^ v[1] ^ v[2] ^ v[3]);
}

/* ---- The table ---- */

enum { FIRST_SLOTS = 1024 };

static int draw_seed(uint64_t seed[2])
{
    FILE *random = fopen("/dev/urandom", "rb");
    if (random == NULL)
        return 0;
    const size_t drawn = fread(seed, sizeof seed[0], 2, random);
    fclose(random);
    return drawn == 2;
}

int table_init(struct table *table)
{
    table->slots = calloc(FIRST_SLOTS, sizeof *table->slots);
    table->slot_count = FIRST_SLOTS;
    table->count = 0;
    return table->slots != NULL && draw_seed(table->seed);
}

void table_free(struct table *table)
{
    free(table->slots);
    table->slots = NULL;
}

static size_t home_of(const struct table *table, uint32_t hash)
{
    return hash & (table->slot_count - 1);
}

static size_t behind(const struct table *table, size_t slot)
{
    return (slot + 1) & (table->slot_count - 1);
}

/* The slot of the entry of the key; where there is none, the free slot that it would take. */
static size_t find(const struct table *table, const struct table_key *key, uint32_t hash)
{
    size_t i = home_of(table, hash);
    for (; table->slots[i].entry != NULL; i = behind(table, i))
        if (table->slots[i].hash == hash && memcmp(&table->slots[i].entry->key, key, sizeof *key) == 0)
            break;
    return i;
}

struct table_entry *table_get(const struct table *table, const struct table_key *key)
{
    return table->slots[find(table, key, hash_of(table, key))].entry;
}

static int grow(struct table *table)
{
    struct table larger = *table;
    larger.slot_count *= 2;
    larger.slots = calloc(larger.slot_count, sizeof *larger.slots);
    if (larger.slots == NULL)
        return 0;
    for (size_t i = 0; i < table->slot_count; i++) {
        if (table->slots[i].entry == NULL)
            continue;
        size_t to = home_of(&larger, table->slots[i].hash);
        while (larger.slots[to].entry != NULL)
            to = behind(&larger, to);
        larger.slots[to] = table->slots[i];
    }
    free(table->slots);
    *table = larger;
    return 1;
}

int table_put(struct table *table, struct table_entry *entry)
{
    if (table->count >= table->slot_count / 3 * 2 && !grow(table))
        return 0;
    const uint32_t hash = hash_of(table, &entry->key);
    table->slots[find(table, &entry->key, hash)] = (struct table_slot){.entry = entry, .hash = hash};
    table->count++;
    return 1;
}

/* The entries behind the gap move up, so that each can still be reached from its home without a gap. */
static void close_gap(struct table *table, size_t gap)
{
    for (size_t i = behind(table, gap); table->slots[i].entry != NULL; i = behind(table, i)) {
        const size_t from_home = (i - home_of(table, table->slots[i].hash)) & (table->slot_count - 1);
        const size_t from_gap = (i - gap) & (table->slot_count - 1);
        if (from_home < from_gap)
            continue;
        table->slots[gap] = table->slots[i];
        gap = i;
    }
    table->slots[gap].entry = NULL;
}

static void remove_at(struct table *table, size_t slot)
{
    close_gap(table, slot);
    table->count--;
}

struct table_entry *table_take(struct table *table, const struct table_key *key)
{
    const size_t slot = find(table, key, hash_of(table, key));
    struct table_entry *entry = table->slots[slot].entry;
    remove_at(table, slot);
    return entry;
}

void table_each(const struct table *table, void (*visit)(struct table_entry *entry, void *ctx), void *ctx)
{
    for (size_t i = 0; i < table->slot_count; i++)
        if (table->slots[i].entry != NULL)
            visit(table->slots[i].entry, ctx);
}

/* What moves up into the gap comes next. That may be an entry from the other end, which then comes twice. */
void table_remove_if(struct table *table, int (*takes)(struct table_entry *entry, void *ctx), void *ctx)
{
    for (size_t i = 0; i < table->slot_count; i++)
        while (table->slots[i].entry != NULL && takes(table->slots[i].entry, ctx))
            remove_at(table, i);
}
