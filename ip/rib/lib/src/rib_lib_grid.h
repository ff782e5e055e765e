/* Grid lists (encapsulation keys with their IDs) and IDs of next hops. rib_lib.h says what holds for all kinds of update. */

#ifndef IP_RIB_LIB_SRC_RIB_LIB_GRID_H
#define IP_RIB_LIB_SRC_RIB_LIB_GRID_H

#include <stddef.h>
#include <stdint.h>

#include "codec/zidl.h"
#include "ip/rib/lib/src/rib_lib_update.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    GRID_MAX_KEYS = 1026,
    GRID_MAX_CARRIERS = 12,
    GRID_MAX_LABELS = 71, /* as many as fill the room of the SRv6 variant */
    GRID_MAX_EXTRA_PREFIXES = 2
};

/* An address with its prefix length. */
struct ip_addr {
    uint8_t family;     /* RIB_SOCKET_FAMILY_IPV4 or _IPV6: not the codes of routes */
    uint8_t prefix_len; /* bits */
    union {
        uint32_t ipv4_addr;    /* the value as decoded; 0 when absent */
        uint8_t ipv6_addr[16]; /* the bytes as received, zeros behind them; more than 16 are refused */
    } addr;
};

/* From a rib_encap_id_path_key_label. */
typedef struct rib_encap_label_key {
    uint32_t label_key_value; /* label_key_value */
    uint8_t label_count;      /* filled labels */
    uint32_t labels[GRID_MAX_LABELS];
} rib_encap_label_key;

/* From a rib_encap_id_path_key_srv6_carrier_info. */
typedef struct rib_encap_carrier {
    uint32_t carrier_value_1;
    uint8_t carrier_value_2;
    uint8_t carrier_bytes[16]; /* what the message holds, zeros behind it */
} rib_encap_carrier;

/* From a rib_encap_id_path_key_srv6_carriers. */
typedef struct rib_encap_srv6_key {
    uint8_t oper_selector; /* oper_selector of oper_type */
    uint8_t oper;          /* oper_when_set or oper_when_clear, by the selector */
    uint8_t carrier_count; /* filled carriers; later ones are dropped */
    rib_encap_carrier carriers[GRID_MAX_CARRIERS];
} rib_encap_srv6_key;

/* One encapsulation key, from the members of the same names of a rib_encap_id_key. A key of type 3 or 4 has only
 * values 1, 2, 4, 12, 16 and 17, its prefix and its type; everything else is 0. */
typedef struct rib_encap_id_path_key_t {
    uint32_t key_value_1;
    uint32_t key_value_2;
    struct ip_addr key_prefix;
    uint8_t key_value_4;
    uint32_t key_value_6;
    uint16_t key_value_13;
    struct ip_addr key_second_prefix;
    uint32_t key_value_8;
    struct ip_addr key_extra_prefixes[GRID_MAX_EXTRA_PREFIXES];
    uint8_t key_extra_prefix_count;
    uint32_t key_type;     /* 1 label, 2 SRv6, 3 and 4 without data of their own */
    uint32_t key_value_15; /* RIB_NO_LABEL when absent */
    uint32_t key_value_16;
    uint16_t key_value_17;
    uint32_t key_value_18;
    uint32_t key_value_19;
    union {
        rib_encap_label_key label; /* key_type 1: label_key */
        rib_encap_srv6_key srv6;   /* key_type 2: srv6_carriers, which must have an oper_type */
    } type_data;
    uint8_t key_bytes_20[16]; /* SRv6 keys only */
    uint32_t key_value_12;
} rib_encap_id_path_key_t;

/* A grid list: what the callback gets for RIB_TLV_GRID. */
typedef struct grid_sync_list {
    uint64_t *encap_ids;           /* the ID of each key; filled only when multi_key is 1 */
    rib_encap_id_path_key_t *keys; /* one record per key */
    uint32_t count;                /* of keys, and of IDs */
    uint8_t multi_key;             /* 1: up to GRID_MAX_KEYS keys; 0: exactly one */
} grid_sync_list;

/* The nhid of a message that has none. */
#define RIB_NO_NHID ((uint64_t)0xFFFFFFFFFFFFFFFE)

/* The ID of one next hop: what the callback gets for RIB_TLV_NHID. */
typedef struct nhid_update_local {
    uint32_t address_family;   /* of nhid_key_address: RIB_FAMILY_IPV4 or _IPV6; any other as it came */
    rib_address_bytes address; /* nhid_key_address */
    uint32_t key_value_3;      /* nhid_key_value_3 */
    uint32_t key_value_1;      /* nhid_key_value_1 */
    uint32_t key_value_4;      /* nhid_key_value_4 */
    uint64_t nhid;             /* nhid; RIB_NO_NHID when absent */
    uint32_t update_value_1;   /* nhid_update_value_1, always present */
} nhid_update_local;

/* `record` is a grid_sync_list or an nhid_update_local, as `tlv_type` says. The result is ignored. */
typedef int (*rib_grid_update_func_pointer)(void *record, void *ctx, uint32_t tlv_type);

/* Parses a grid list or a next-hop ID (RIB_TLV_GRID, RIB_TLV_NHID); any other code stops the process. `callback` and
 * `update` are never null; `ctx` is handed on, update_id is not.
 *
 * An unacceptable list, and a next-hop ID without nhid_update_value_1, is dropped. rib_server_decode_grid_list_update
 * says which lists stop the process; a grid update with an empty payload does too. A grid list takes nearly half a
 * megabyte of the calling thread's stack. */
ZIDL_API void rib_lib_pvt_parse_grid_update(rib_grid_update_func_pointer callback, updatetype_local *update, void *ctx);

/* Converts the `buf_len` bytes of an encoded rib_grid_sync_list at `buf` into the caller's arrays: set `encap_ids` and
 * `keys` to arrays of GRID_MAX_KEYS elements, which are not cleared here.
 *
 * Returns ZERRNO_OK, or ZERRNO_INVALID when the list or one of its keys is not acceptable; keys before that one are
 * then converted. A list has its three fields and 1 to GRID_MAX_KEYS keys, without multi_key one; one that breaks off
 * behind them is accepted, on purpose. A key has its fields 1 to 5, a type from 1 to 4 and the data of that (1: label_key;
 * 2: srv6_carriers with an oper_type), prefixes with a family of 2 or 10 and a length, those of 10 with an ipv6 of at most
 * 16 bytes, and, carriers apart, no more of anything than there is room for.
 *
 * Stops the process when an argument is null or empty, when a list with multi_key has other than one ID per key, and when
 * a key of a type other than 3 and 4 lacks its second prefix. */
ZIDL_API zerrno rib_server_decode_grid_list_update(void *buf, size_t buf_len, grid_sync_list *rib_grid_list);

#ifdef __cplusplus
}
#endif

#endif
