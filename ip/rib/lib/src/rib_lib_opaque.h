/* Opaque updates: two blocks of bytes that the library only carries. rib_lib.h says what holds for all kinds of update. */

#ifndef IP_RIB_LIB_SRC_RIB_LIB_OPAQUE_H
#define IP_RIB_LIB_SRC_RIB_LIB_OPAQUE_H

#include <stdint.h>

#include "codec/zidl.h"
#include "ip/rib/lib/src/rib_lib_update.h"

#ifdef __cplusplus
extern "C" {
#endif

/* One opaque update. Encoded updates fill it from an ip_rib_opaque; the blocks are the library's and go when the
 * callback returns.
 *
 * In the older form the blocks lie in the caller's payload, and only the sum of the two lengths, which wraps at 32
 * bits, has been compared with it: a second_len near 4 GiB can get through, with either block reaching beyond the
 * payload. Check each length against your own payload_len where updates are not to be trusted. */
typedef struct rib_opaque_update {
    uint16_t opaque_type;  /* opaque_type */
    uint32_t opaque_id;    /* opaque_id */
    uint32_t first_len;    /* bytes of first_block */
    uint32_t second_len;   /* bytes of second_block */
    uint32_t opaque_value; /* opaque_value */
    uint8_t *first_block;  /* null when absent */
    uint8_t *second_block; /* null when absent, in the older form also when its length is 0 */
} rib_opaque_update;

/* `sub_id` is opaque_sub_id, 0 when absent. The result is ignored. */
typedef int (*rib_opaque_update_func_pointer)(uint32_t update_id, uint32_t sub_id, rib_opaque_update *opaque,
                                              void *ctx);

/* Parses an opaque update (RIB_TLV_OPAQUE, RIB_TLV_OLD_OPAQUE); any other code stops the process. `callback` and
 * `update` are never null; `ctx` is handed on.
 *
 * An older-form payload is converted in place, each number that lies wholly inside it, and rib_tlv_handle_delim is called
 * once, with the cursor where rib_tlv_strip left it; after that the update is dropped when it is shorter than its fixed
 * part of 24 bytes or its blocks do not fit. A callback that changes tlv_type of an encoded update keeps its blocks: each
 * is then the client's, to be given to free, however the library was built. */
ZIDL_API void rib_lib_pvt_parse_opaque_update(rib_opaque_update_func_pointer callback, updatetype_local *update,
                                              void *ctx);

#ifdef __cplusplus
}
#endif

#endif
