/* What all updates of the client library share: statuses, address families, the update record and its type codes. */

#ifndef IP_RIB_LIB_SRC_RIB_LIB_UPDATE_H
#define IP_RIB_LIB_SRC_RIB_LIB_UPDATE_H

#include <stdint.h>

#include "codec/zidl.h"

#if defined(__SIZEOF_POINTER__) && (__SIZEOF_POINTER__ != 8 || __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__)
#error "librib's client library needs 64-bit pointers and little-endian numbers, for which its records are laid out; messages/*.h alone work without"
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Statuses ---- */

/* What the conversion functions return. */
typedef uint32_t zerrno;

#define ZERRNO_OK ((zerrno)0)
#define ZERRNO_INVALID ((zerrno)22)             /* a grid list that is not acceptable */
#define ZERRNO_MALFORMED ((zerrno)0xA2D28000)   /* a route or an address is malformed or incomplete */
#define ZERRNO_NO_MEMORY ((zerrno)0xA2D28200)   /* an allocation for a route failed */
#define ZERRNO_UNSUPPORTED ((zerrno)0xA2D28400) /* an unknown address family, or a route with route_value_34 */

/* "ZERRNO_MALFORMED"; "unknown" for a number that is none of these. Never null, and constant. */
ZIDL_API const char *rib_zerrno_name(zerrno status);

/* ---- Families of addresses: two numberings, which the library carries and never converts into each other ---- */

enum {
    RIB_FAMILY_IPV4 = 1, /* in rib_address: routes and next-hop IDs */
    RIB_FAMILY_IPV6 = 2,
    RIB_SOCKET_FAMILY_IPV4 = 2, /* in rib_msg_prefix: keys of grid lists */
    RIB_SOCKET_FAMILY_IPV6 = 10
};

/* A converted address: of RIB_FAMILY_IPV4 its 32-bit value in host order in the first four bytes, of RIB_FAMILY_IPV6 its
 * sixteen bytes. */
typedef uint8_t rib_address_bytes[16];

/* Fills label members that the message leaves absent. */
enum { RIB_NO_LABEL = 0x100001 };

/* ---- The update record and the frame. The framing types are those of platform/rib_tlv.h, which also says how to use a
 * router's own declarations of them ---- */

/* TLV type codes of updates from the RIB server. */
enum {
    RIB_TLV_OLD_ROUTE = 3,   /* route, converted by the client */
    RIB_TLV_OLD_OPAQUE = 37, /* opaque, older raw form */
    RIB_TLV_OLD_PROTO = 38,  /* protocol, older raw form */
    RIB_TLV_GRID = 46,       /* grid, message rib_grid_sync_list */
    RIB_TLV_PROTO = 47,      /* protocol, message ip_rib_proto_update */
    RIB_TLV_NHID = 49,       /* grid, message rib_nhid_update */
    RIB_TLV_OPAQUE = 50,     /* opaque, message ip_rib_opaque */
    RIB_TLV_ROUTE = 51       /* route, message rib_route */
};

/* One update, owned by the caller. With `stripped` 0 an entry point fills in tlv_type, payload_len and payload from the
 * frame and leaves `stripped` alone: to hand a record over a second time, set `stripped` first. */
typedef struct updatetype_local {
    uint32_t update_id;   /* handed on to the protocol, opaque and route callbacks */
    uint16_t update_kind; /* older-form routes: with 2, legacy_release runs unless the caller keeps the record */
    uint32_t tlv_type;    /* a RIB_TLV_ code */
    uint32_t stripped;    /* not 0: tlv_type, payload_len and payload are valid as they stand */
    uint32_t payload_len; /* bytes */
    uint8_t *payload;     /* before stripping the header, afterwards the payload; any alignment */
} updatetype_local;

#ifdef __cplusplus
}
#endif

#endif
