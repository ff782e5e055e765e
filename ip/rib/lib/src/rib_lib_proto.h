/* Protocol updates: the identity of a routing protocol. rib_lib.h says what holds for all kinds of update. */

#ifndef IP_RIB_LIB_SRC_RIB_LIB_PROTO_H
#define IP_RIB_LIB_SRC_RIB_LIB_PROTO_H

#include <stdint.h>

#include "codec/zidl.h"
#include "ip/rib/lib/src/rib_lib_update.h"

#ifdef __cplusplus
extern "C" {
#endif

/* One entry of the protocol-ID map. Encoded updates fill it from an ip_rib_proto_update. */
typedef struct rib_protoid_map {
    uint16_t proto_id;         /* proto_id, which must be present */
    uint16_t proto_sub_id;     /* proto_sub_id */
    uint32_t proto_value;      /* proto_value */
    char proto_name[41];       /* proto_name; 41 characters and more run on into proto_extra_name (83 at most) */
    char proto_extra_name[43]; /* proto_extra_name, at most 42 characters; overwrites the tail of a long first name */
} rib_protoid_map;

/* The result is ignored. */
typedef int (*rib_protoid_map_func_pointer)(uint32_t update_id, rib_protoid_map *map, void *ctx);

/* Parses a protocol update (RIB_TLV_PROTO, RIB_TLV_OLD_PROTO); any other code stops the process, and so does an encoded
 * update without proto_id. `callback` and `update` are never null; `ctx` is handed on.
 *
 * The payload of the older form is by contract a whole rib_protoid_map of 92 readable and writable bytes, numbers in
 * network byte order, names with their NULs, whatever payload_len says: nothing checks it. It is converted in place (a
 * second parse would convert it back) and handed on as it lies, aligned or not. */
ZIDL_API void rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer callback, updatetype_local *update,
                                             void *ctx);

#ifdef __cplusplus
}
#endif

#endif
