/* The framing of updates: our reference version of the router's framing library.
 *
 * An update travels as a header of eight bytes, all numbers in network byte order, with the payload right behind it:
 *
 *     0  4 bytes  not read by this library
 *     4  2 bytes  type code
 *     6  2 bytes  length of the payload in bytes
 *
 * A system that has the real library links that one instead of librib_tlv. Nothing here needs a header to be aligned;
 * read the members of one at an odd address with memcpy.
 *
 * A program that has the router's own declarations, too, includes those first and defines RIB_TLV_DECLARED before any
 * header of this library: nothing is declared here then. They must name uchar_t, an unsigned char, and rib_tlv_t; the
 * library itself reads a header's bytes 4 to 7 alone. */

#ifndef PLATFORM_RIB_TLV_H
#define PLATFORM_RIB_TLV_H

#include <stdint.h>

#ifndef RIB_PLATFORM_API
#if defined(__GNUC__)
#define RIB_PLATFORM_API __attribute__((visibility("default")))
#else
#define RIB_PLATFORM_API
#endif
#endif

#ifndef RIB_TLV_DECLARED

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char uchar_t;

/* A header after rib_tlv_strip: type and length in host byte order, the first four bytes as they came. */
typedef struct rib_tlv_t {
    uint32_t unread;
    uint16_t type;
    uint16_t length; /* bytes of payload */
} rib_tlv_t;

/* Takes the header at *cursor: converts type and length to host byte order in place, advances *cursor past the header to
 * the payload and returns the header. Stripping the same bytes twice converts them back. The eight bytes must be there
 * and writable; the length is not compared with anything. */
RIB_PLATFORM_API rib_tlv_t *rib_tlv_strip(uchar_t **cursor);

/* Deals with the delimiter that follows the payload of an older-form opaque update. Our reference version does nothing:
 * delimiters are frames of type 0, and whoever reads a raw stream of frames skips those. */
RIB_PLATFORM_API void rib_tlv_handle_delim(uchar_t **cursor);

#ifdef __cplusplus
}
#endif

#endif

#endif
