/* Routes: one flat record with its paths, and the functions that convert parts of it. rib_lib.h says what holds for all kinds
 * of update. */

#ifndef IP_RIB_LIB_SRC_RIB_LIB_ROUTE_H
#define IP_RIB_LIB_SRC_RIB_LIB_ROUTE_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "codec/zidl.h"
#include "ip/rib/lib/src/rib_lib_update.h"
#include "messages/rib_common.h"
#include "platform/rib_tlv.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    RIB_MAX_PATHS = 1024, /* converted paths of a route; the rest is ignored */
    RIB_MAX_ALGO_LABELS = 256,
    RIB_MAX_PATH_LABELS = 10,
    RIB_MAX_PATH_ADDRESSES = 2,
    RIB_MAX_NNH = 512,
    RIB_MAX_SID_INFOS = 24,
    RIB_ATTR_BLOCKS = 6
};

/* A prefix length that the message leaves absent. */
#define RIB_NO_PREFIX_LEN ((uint32_t)0xFFFFFFFF)

/* From a rib_algo_label. */
typedef struct rib_algo_label_entry {
    uint8_t algo;   /* algo_label_value_2 */
    uint32_t label; /* algo_label_value_1 */
    uint32_t extra; /* algo_label_value_4 */
} rib_algo_label_entry;

/* clang-format off */
/* One route: this header, then its paths packed one after another in the same block of memory. Walk them with
 * rib_route_first_path and rib_route_next_path. Sources are members of rib_route. An owned block is null when the
 * message has none, when there was no memory for it, and when one of its attributes has the wrong size. */
struct rib_routetype_ {
    uint32_t rt_family;                    /* RIB_FAMILY_IPV4 or _IPV6, 0 when the route carries no address */
    uint8_t rt_prefix_len;                 /* bits; 255 when the prefix has no length, 0 without a prefix */
    uint8_t rt_value_4;                    /* route_value_4 */
    uint8_t rt_value_5;                    /* route_value_5 */
    uint8_t rt_value_19;                   /* route_value_19 */
    uint16_t rt_value_2;                   /* route_value_2 */
    uint16_t rt_value_3;                   /* route_value_3 */
    uint16_t rt_path_count;                /* converted paths, at most RIB_MAX_PATHS */
    uint16_t rt_value_6;                   /* route_value_6 */
    uint16_t rt_value_7;                   /* route_value_7 */
    uint16_t rt_value_8;                   /* route_value_8 */
    rib_address_bytes rt_dest;             /* address of route_prefix */
    uint32_t rt_value_9;                   /* route_value_9 */
    uint32_t rt_value_10;                  /* route_value_10 */
    uint16_t rt_value_11;                  /* route_value_11 */
    uint16_t rt_value_38;                  /* route_value_38 */
    uint32_t rt_value_12;                  /* route_value_12 */
    uint32_t rt_value_37;                  /* route_value_37 */
    uint32_t rt_value_13;                  /* route_value_13 */
    uint32_t rt_value_14;                  /* route_value_14 */
    uint32_t rt_value_15;                  /* route_value_15 */
    uint32_t rt_value_16;                  /* route_value_16 */
    uint64_t rt_value_40;                  /* route_value_40 */
    uint64_t rt_value_41;                  /* route_value_41 */
    rib_algo_label_entry rt_algo_labels[RIB_MAX_ALGO_LABELS]; /* algo_labels with values 1 and 2, without 3 */
    uint32_t rt_value_18;                  /* route_value_18 */
    uint8_t rt_value_20;                   /* route_value_20 */
    uint8_t rt_value_21;                   /* route_value_21 */
    uint8_t rt_value_22;                   /* route_value_22 */
    uint64_t rt_flags;                     /* bits 0..3, 5..7 of route_flags; its bit 8 as 4, 9..13 as 8..12 */
    uint8_t rt_value_25;                   /* route_value_25 */
    uint8_t rt_l2_value;                   /* route_l2_value_5, unless route_l2_value_1 is present and above 1 */
    uint64_t rt_aft_id;                    /* route_aft_id_value; these three only when rt_aft_valid is 1 */
    uint32_t rt_aft_value_6;               /* route_aft_value_6 */
    uint64_t rt_aft_value_7;               /* route_aft_value_7 */
    uint32_t rt_aft_valid;                 /* 1: route_aft_id has exactly its fields 5, 6 and 7 */
    uint8_t rt_value_35;                   /* route_value_35 */
    uint8_t rt_value_35_copy;              /* the same, when bit 2 of rt_flags is set */
    uint16_t rt_algo_label_count;          /* filled rt_algo_labels; later ones are dropped */
    void *rt_advertisement;                /* owned block, see rib_advertisement_count */
    void *rt_first_ecomm;                  /* see rib_ecomm_count; of the first path that has one; in this record */
    void *rt_attr_blocks[RIB_ATTR_BLOCKS]; /* fields 28 to 33: owned blocks, see rib_attr_block_count */
};
/* clang-format on */

/* From a rib_nnh. */
typedef struct rib_nnh_entry {
    uint8_t type;   /* 1 or 2 */
    uint32_t value; /* nnh_value_2 for type 1, nnh_value_3 for type 2 */
} rib_nnh_entry;

/* From a rib_path_srv6_sid_info. */
typedef struct rib_sid_info_entry {
    rib_address_bytes address;
    uint32_t prefix_len; /* bits, or RIB_NO_PREFIX_LEN */
    uint8_t marker;      /* '*' when the low byte of sid_info_value_3 is not 0 */
} rib_sid_info_entry;

/* clang-format off */
/* One converted path. Sources are members of rib_path. The values of its ecomm block follow right behind it. */
typedef struct rib_path_entry {
    uint32_t pe_value_1;                   /* path_value_1 */
    uint32_t pe_value_2;                   /* path_value_2 */
    uint32_t pe_value_3;                   /* path_value_3 without bit 11 and bits 28 to 31 */
    rib_address_bytes pe_addr_4;           /* path_address_4 */
    rib_address_bytes pe_addr_5;           /* path_address_5 */
    uint32_t pe_addr_5_family;             /* family of path_address_5 */
    rib_address_bytes pe_prefix;           /* address of path_prefix */
    uint32_t pe_prefix_len;                /* bits, or RIB_NO_PREFIX_LEN */
    uint32_t pe_value_8;                   /* path_value_8 */
    uint32_t pe_labels[RIB_MAX_PATH_LABELS]; /* path_values_9; all RIB_NO_LABEL when absent */
    uint32_t pe_value_10;                  /* path_value_10 */
    uint32_t pe_value_11;                  /* path_value_11 */
    uint16_t pe_value_12;                  /* path_value_12 */
    uint16_t pe_value_13;                  /* path_value_13 */
    uint8_t pe_label_count;                /* filled pe_labels */
    uint8_t pe_address_count;              /* filled pe_addresses */
    uint8_t pe_value_28;                   /* path_value_28 */
    uint8_t pe_sid_info_count;             /* filled pe_sid_infos */
    uint32_t pe_value_16;                  /* path_value_16 */
    rib_address_bytes pe_addresses[RIB_MAX_PATH_ADDRESSES]; /* path_addresses; zero where malformed */
    rib_address_bytes pe_ipv6;             /* path_ipv6_address */
    uint32_t pe_value_19;                  /* path_value_19, RIB_NO_LABEL when absent */
    rib_address_bytes pe_via_sid;          /* via_sid of via_srv6_sid */
    uint8_t pe_via_sid_value;              /* via_sid_value_3, 1 when absent; 0 with via_sid_value_1 */
    uint16_t pe_nnh_count;                 /* valid pe_nnh; what lies behind them means nothing */
    rib_nnh_entry pe_nnh[RIB_MAX_NNH];     /* nnh_entries up to the first unusable one */
    uint32_t pe_value_22;                  /* path_value_22 */
    rib_sid_info_entry pe_sid_infos[RIB_MAX_SID_INFOS]; /* srv6_sid_infos */
    uint32_t pe_value_25;                  /* path_value_25 */
    uint32_t pe_value_31;                  /* path_value_31 */
    uint32_t pe_iid_value_1;               /* iid_attr_value_1; these five only with it, without iid_attr_value_2 */
    rib_address_bytes pe_iid_prefix;       /* address of iid_attr_prefix */
    uint8_t pe_iid_prefix_family;          /* family of iid_attr_prefix, also an unknown one */
    uint8_t pe_iid_prefix_len;             /* bits; 255 when the prefix has no length */
    uint32_t pe_iid_value_4;               /* iid_attr_value_4 */
    uint32_t pe_l2_5;                      /* l2_value_5; these four only without l2_value_1 */
    uint32_t pe_l2_6;                      /* l2_value_6 */
    uint32_t pe_l2_7;                      /* l2_value_7 */
    uint32_t pe_l2_8;                      /* l2_value_8 */
    uint32_t pe_grouping_2;                /* grouping_value_2, only without grouping_value_1 */
    uint16_t pe_tunnel_flags;              /* bit 0 tunnel_flag; 1..4 values 7, 9, 8, 10; 5..9 value 6 */
    uint32_t pe_tunnel_7;                  /* low 24 bits of tunnel_value_7; these only without tunnel_value_1 */
    uint32_t pe_tunnel_9;                  /* low 24 bits of tunnel_value_9 */
    uint32_t pe_tunnel_8;                  /* tunnel_value_8 */
    uint64_t pe_tunnel_10;                 /* tunnel_value_10 */
    uint64_t pe_via_aft_id;                /* via_aft_id; these three only with exactly fields 5, 6 and 7 */
    uint32_t pe_aft_6;                     /* via_aft_value_6 */
    uint32_t pe_aft_7;                     /* via_aft_value_7 when below 3, else 0 */
    uint8_t pe_sl_kind;                    /* sl_id_value_2 when 1 or 2 and without sl_id_value_1, else 0 */
    uint32_t pe_sl_value;                  /* sl_id_value_3, when pe_sl_kind is not 0 */
    uint16_t pe_ecomm_count;               /* values; 0 with ecomm_value_3. The ecomm block starts here */
    uint16_t pe_ecomm_value_1;             /* ecomm_value_1, only without ecomm_value_3 */
    uint32_t pe_ecomm_room;                /* values between this entry and the next */
} rib_path_entry;
/* clang-format on */

/* The first path of a route. There is one when rt_path_count is above 0. */
static inline const rib_path_entry *rib_route_first_path(const struct rib_routetype_ *route)
{
    return (const rib_path_entry *)(const void *)(route + 1);
}

/* The place behind `path`: the next path, or the end of the record when `path` is the last of rt_path_count. */
static inline const rib_path_entry *rib_route_next_path(const rib_path_entry *path)
{
    const uint8_t *values = (const uint8_t *)(path + 1);
    return (const rib_path_entry *)(const void *)(values + path->pe_ecomm_room * sizeof(uint64_t));
}

/* The extended communities of a path: pe_ecomm_count of them. */
static inline const uint64_t *rib_path_ecomm_values(const rib_path_entry *path)
{
    return (const uint64_t *)(const void *)(path + 1);
}

/* An ecomm block, as rt_first_ecomm and rib_lib_route_path_unpack report it: the last three members of a path entry and
 * the values behind it. `block` is never null in these three. */
static inline uint16_t rib_ecomm_count(const void *block)
{
    uint16_t count;
    memcpy(&count, block, sizeof count);
    return count;
}
static inline uint16_t rib_ecomm_value_1(const void *block)
{
    uint16_t value;
    memcpy(&value, (const uint8_t *)block + sizeof(uint16_t), sizeof value);
    return value;
}
static inline const uint64_t *rib_ecomm_values(const void *block)
{
    return (const uint64_t *)(const void *)((const uint8_t *)block + sizeof(uint64_t));
}

/* An advertisement block: a uint32_t count, then the low 16 bits of each advertised value. `block` is never null. */
static inline uint32_t rib_advertisement_count(const void *block)
{
    uint32_t count;
    memcpy(&count, block, sizeof count);
    return count;
}
static inline const uint16_t *rib_advertisement_values(const void *block)
{
    return (const uint16_t *)(const void *)((const uint8_t *)block + sizeof(uint32_t));
}

/* A block of generic attributes: array_type and the count, the low 16 bits of each, then per attribute its data,
 * elem_size bytes as they came, and its uint32_t attr_type. `block` is never null; `index` is below the count. */
static inline uint16_t rib_attr_block_type(const void *block)
{
    uint16_t type;
    memcpy(&type, block, sizeof type);
    return type;
}
static inline uint16_t rib_attr_block_count(const void *block)
{
    uint16_t count;
    memcpy(&count, (const uint8_t *)block + sizeof(uint16_t), sizeof count);
    return count;
}
static inline const uint8_t *rib_attr_data(const void *block, uint32_t elem_size, uint32_t index)
{
    return (const uint8_t *)block + 2 * sizeof(uint16_t) + (elem_size + sizeof(uint32_t)) * index;
}
static inline uint32_t rib_attr_type(const void *block, uint32_t elem_size, uint32_t index)
{
    uint32_t type;
    memcpy(&type, rib_attr_data(block, elem_size, index) + elem_size, sizeof type);
    return type;
}

/* The elem_size of rt_attr_blocks[block_index], in bytes. */
static inline uint32_t rib_route_attr_size(const struct rib_routetype_ *route, uint32_t block_index)
{
    if (block_index != 0)
        return 8;
    return route->rt_family == RIB_FAMILY_IPV6 ? 24 : 12;
}

/* For encoded routes `ctx` is the client's context value. For older-form routes it is the ctx of the parse call, a
 * rib_route_client, and `route` is what the client's converter returned. The result is ignored. */
typedef int (*rib_route_func_pointer)(uint32_t update_id, struct rib_routetype_ *route, void *ctx);

/* What the ctx of rib_lib_pvt_parse_route_update points to, whichever form the client expects. */
typedef struct rib_route_client {
    void *context;                        /* handed to encoded_route */
    void *not_used;                       /* the client's own business */
    rib_route_func_pointer encoded_route; /* may be null: encoded routes are then converted and dropped */
} rib_route_client;

/* Parses a route update (RIB_TLV_ROUTE, RIB_TLV_OLD_ROUTE); any other code stops the process.
 *
 * The peer chooses the form, not the client: `ctx` is always a rib_route_client or null, never a structure of the
 * client's own, which an encoded route would have read as one. A client without older-form routes leaves the three
 * functions null, one without encoded routes the callback inside its rib_route_client: what comes all the same is dropped.
 *
 * An encoded route is converted by rib_lib_route_decode, and the callback of the rib_route_client gets (update_id,
 * record, context) if the conversion succeeded. The record is released when it returns, with its side blocks. With a
 * null `ctx` the route is dropped. `route_cb`, `legacy_convert` and `legacy_release` are not used.
 *
 * An older-form route is converted by `legacy_convert`, called with the stripped header (null when the update came
 * already stripped) and the address of a cursor, which stands at the payload, or at the header when the platform's
 * rib_tlv_strip does not advance it. With `keep` 0 and update_kind 2 its result goes to `legacy_release`, and only then,
 * on purpose, to `route_cb`, with update_id and `ctx`. A null result is handed on. When one of the functions that would
 * be called is null, none is, and the route is dropped. */
ZIDL_API void rib_lib_pvt_parse_route_update(updatetype_local *update, rib_route_func_pointer route_cb,
                                             struct rib_routetype_ *(*legacy_convert)(rib_tlv_t *, uchar_t **),
                                             void (*legacy_release)(struct rib_routetype_ *), int keep, void *ctx);

/* The longest payload of an encoded route, in bytes, that rib_lib_pvt_parse_route_update has met in this process. */
ZIDL_API uint32_t rib_lib_route_payload_high_water(void);

/* Converts the `len` bytes of an encoded rib_route at `buf` into a new record.
 *
 * Returns ZERRNO_OK, ZERRNO_MALFORMED (the message or its prefix), ZERRNO_UNSUPPORTED (route_value_34 is present) or
 * ZERRNO_NO_MEMORY. *out is set to null first and to the record as soon as there is one, so also when the prefix turns
 * out to be malformed. The caller owns the record: free rt_advertisement, the six rt_attr_blocks and then the record.
 *
 * Paths that are malformed or exceed a limit are left out, side blocks that cannot be converted are null; neither
 * fails the route. The record takes about 5 KB of address space for each path of the message, paths left out included.
 * From 128 KB on this function touches only the places of those that are converted; whether calloc has cleared the others
 * before is the C library's choice. That of GNU takes records above 32 MB (6721 paths) fresh from the system, untouched,
 * and smaller ones after the first few out of memory that it keeps: those are resident as a whole, and stay so when
 * freed. */
ZIDL_API zerrno rib_lib_route_decode(const uint8_t *buf, uint32_t len, struct rib_routetype_ **out);

/* Converts one path. Returns the bytes that the entry takes, its ecomm values included, or 0 when the path is not
 * converted: path_value_27 is present, something in it is malformed or exceeds its limit, or no memory.
 *
 * With *slot not null the entry is written there: room for a rib_path_entry and 8 bytes per ecomm value, aligned to 8,
 * cleared first. Otherwise *slot receives a new block from malloc, which the caller frees, also when the path is
 * rejected after that. When the path has an ecomm block and `ecomm_out` is not null, *ecomm_out receives the block's
 * address in the entry, also for a path that is rejected afterwards. */
ZIDL_API size_t rib_lib_route_path_unpack(const zidl_rib_path *path, void **slot, void **ecomm_out);

/* Converts an address into the 16 bytes at `out16`, writing 4 for IPv4 and 16 for IPv6. `family_out` may be null; else
 * it receives the family as soon as there is one, also an unknown one. Returns ZERRNO_OK, ZERRNO_MALFORMED (no family,
 * or no value for it) or ZERRNO_UNSUPPORTED (a family other than 1 and 2). IPv6 without half0 succeeds and writes
 * nothing. */
ZIDL_API zerrno rib_lib_route_address_unpack(const zidl_rib_address *addr, void *out16, uint32_t *family_out);

/* Converts an array of attributes whose data is `elem_size` bytes each into a new block, which the caller frees (see
 * rib_attr_block_count). Returns ZERRNO_OK, ZERRNO_MALFORMED (data of another size) or ZERRNO_NO_MEMORY; then *out is
 * null. */
ZIDL_API zerrno rib_lib_route_generic_attributes_unpack(const struct zidl_rib_generic_attr_array *arr,
                                                        uint32_t elem_size, void **out);

/* Converts an advertisement into a new block, which the caller frees (see rib_advertisement_count). Returns ZERRNO_OK
 * or ZERRNO_NO_MEMORY; then *out is null. */
ZIDL_API zerrno rib_lib_route_advertisement_unpack(const zidl_rib_client_advertisement *adv, void **out);

#ifdef __cplusplus
}
#endif

#endif
