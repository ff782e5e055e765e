#include "kept.h"

#include <arpa/inet.h>
#include <inttypes.h>
#include <rib.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

/* One of these for each path of a route. No member needs padding. */
struct kept_path {
    rib_address_bytes next_hop; /* pe_addr_5 */
    uint32_t family;
    uint32_t value_1;
    uint32_t value_8;
    uint32_t value_10;
    uint32_t value_11;
    uint32_t value_16;
    uint32_t label_count;
    uint32_t label; /* the first of them */
};

/* In front of the two blocks of an opaque update. */
struct kept_opaque {
    uint32_t type;
    uint32_t value;
    uint32_t first_len;
    uint32_t second_len;
};

/* ---- Keeping ---- */

static struct kept_path kept_path_of(const rib_path_entry *path)
{
    struct kept_path kept = {.family = path->pe_addr_5_family,
                             .value_1 = path->pe_value_1,
                             .value_8 = path->pe_value_8,
                             .value_10 = path->pe_value_10,
                             .value_11 = path->pe_value_11,
                             .value_16 = path->pe_value_16,
                             .label_count = path->pe_label_count,
                             .label = path->pe_labels[0]};
    memcpy(kept.next_hop, path->pe_addr_5, sizeof kept.next_hop);
    return kept;
}

static void keep_route(const struct rib_routetype_ *route, uint8_t *dst)
{
    const rib_path_entry *path = rib_route_first_path(route);
    for (uint32_t i = 0; i < route->rt_path_count; i++, path = rib_route_next_path(path)) {
        const struct kept_path kept = kept_path_of(path);
        memcpy(dst + i * sizeof kept, &kept, sizeof kept);
    }
}

static void keep_opaque(const rib_opaque_update *opaque, uint8_t *dst)
{
    const struct kept_opaque kept = {opaque->opaque_type, opaque->opaque_value, opaque->first_len, opaque->second_len};
    memcpy(dst, &kept, sizeof kept);
    if (opaque->first_len != 0)
        memcpy(dst + sizeof kept, opaque->first_block, opaque->first_len);
    if (opaque->second_len != 0)
        memcpy(dst + sizeof kept + opaque->first_len, opaque->second_block, opaque->second_len);
}

size_t kept_size(const struct change *change)
{
    switch (change->key.bytes[0]) {
    case KEY_ROUTE:
        return ((const struct rib_routetype_ *)change->record)->rt_path_count * sizeof(struct kept_path);
    case KEY_OPAQUE: {
        const rib_opaque_update *opaque = change->record;
        return sizeof(struct kept_opaque) + opaque->first_len + opaque->second_len;
    }
    case KEY_PROTO:
        return sizeof(rib_protoid_map);
    case KEY_GRID:
        return sizeof(rib_encap_id_path_key_t);
    default:
        return sizeof(nhid_update_local);
    }
}

void keep(const struct change *change, uint8_t *dst)
{
    switch (change->key.bytes[0]) {
    case KEY_ROUTE:
        keep_route(change->record, dst);
        return;
    case KEY_OPAQUE:
        keep_opaque(change->record, dst);
        return;
    default: /* flat records, small enough to keep as they are */
        memcpy(dst, change->record, kept_size(change));
    }
}

/* ---- As text ---- */

struct line {
    char *text;
    size_t len;
    size_t size;
};

static void append(struct line *line, const char *format, ...)
{
    va_list values;
    va_start(values, format);
    const int len = vsnprintf(line->text + line->len, line->size - line->len, format, values);
    va_end(values);
    if (len > 0)
        line->len += (size_t)len < line->size - line->len ? (size_t)len : line->size - line->len - 1;
}

static void append_hex(struct line *line, const uint8_t *bytes, size_t len)
{
    for (size_t i = 0; i < len; i++)
        append(line, "%02x", bytes[i]);
}

/* An IPv4 address of a record is a number in host byte order. */
static void append_address(struct line *line, uint32_t family, const rib_address_bytes address)
{
    char text[INET6_ADDRSTRLEN] = "none";
    uint32_t number;
    memcpy(&number, address, sizeof number);
    number = htonl(number);
    if (family == RIB_FAMILY_IPV4)
        inet_ntop(AF_INET, &number, text, sizeof text);
    else if (family == RIB_FAMILY_IPV6)
        inet_ntop(AF_INET6, address, text, sizeof text);
    append(line, "%s", text);
}

static void append_prefix(struct line *line, const struct ip_addr *prefix)
{
    char text[INET6_ADDRSTRLEN] = "none";
    const uint32_t number = htonl(prefix->addr.ipv4_addr);
    if (prefix->family == RIB_SOCKET_FAMILY_IPV4)
        inet_ntop(AF_INET, &number, text, sizeof text);
    else if (prefix->family == RIB_SOCKET_FAMILY_IPV6)
        inet_ntop(AF_INET6, prefix->addr.ipv6_addr, text, sizeof text);
    append(line, "%s/%u", text, prefix->prefix_len);
}

static void append_path(struct line *line, const uint8_t *kept)
{
    struct kept_path path;
    memcpy(&path, kept, sizeof path);
    append(line, " | via ");
    append_address(line, path.family, path.next_hop);
    append(line, " values %" PRIu32 " %" PRIu32 " %" PRIu32 " %" PRIu32 " %" PRIu32, path.value_1, path.value_8,
           path.value_10, path.value_11, path.value_16);
    if (path.label_count != 0)
        append(line, " labels %" PRIu32 " %" PRIu32, path.label_count, path.label);
}

static void append_route(struct line *line, const uint8_t *kept, size_t kept_len)
{
    for (size_t at = 0; at < kept_len; at += sizeof(struct kept_path))
        append_path(line, kept + at);
}

/* The first name may run on into the second. */
static void append_proto(struct line *line, const uint8_t *kept)
{
    rib_protoid_map map;
    memcpy(&map, kept, sizeof map);
    const char *names = (const char *)kept + offsetof(rib_protoid_map, proto_name);
    append(line, " value %" PRIu32 " name '%s' '%s'", map.proto_value, names, names + sizeof map.proto_name);
}

static void append_opaque(struct line *line, const uint8_t *kept)
{
    struct kept_opaque opaque;
    memcpy(&opaque, kept, sizeof opaque);
    append(line, " type %" PRIu32 " value %" PRIu32 " blocks ", opaque.type, opaque.value);
    append_hex(line, kept + sizeof opaque, opaque.first_len);
    append(line, ".");
    append_hex(line, kept + sizeof opaque + opaque.first_len, opaque.second_len);
}

static void append_grid(struct line *line, const uint8_t *kept)
{
    rib_encap_id_path_key_t key;
    memcpy(&key, kept, sizeof key);
    append(line, " type %" PRIu32 " prefix ", key.key_type);
    append_prefix(line, &key.key_prefix);
    append(line, " second ");
    append_prefix(line, &key.key_second_prefix);
    append(line, " values %" PRIu32 " %" PRIu32 " %" PRIu32, key.key_value_1, key.key_value_2, key.key_value_8);
}

static void append_nhid(struct line *line, const uint8_t *kept)
{
    nhid_update_local nhid;
    memcpy(&nhid, kept, sizeof nhid);
    append(line, " next hop ");
    append_address(line, nhid.address_family, nhid.address);
    append(line, " value %" PRIu32, nhid.update_value_1);
}

void kept_text(const struct table_key *key, const uint8_t *kept, size_t kept_len, char *text, size_t size)
{
    key_text(key, text, size);
    struct line line = {text, strlen(text), size};
    switch (key->bytes[0]) {
    case KEY_ROUTE:
        append_route(&line, kept, kept_len);
        return;
    case KEY_PROTO:
        append_proto(&line, kept);
        return;
    case KEY_OPAQUE:
        append_opaque(&line, kept);
        return;
    case KEY_GRID:
        append_grid(&line, kept);
        return;
    default:
        append_nhid(&line, kept);
    }
}
