/* What all message types share: statuses, flags, memory functions, and the contract of the four operations.
 *
 * Every message type T is a plain record `zidl_T` and four functions. What is said here holds for all of them; a
 * generated header adds only its record's facts. A few types leave out arguments that they cannot use; their headers
 * show it.
 *
 * size_t zidl_T_encode_ext(msg, buf, buflen, segs, nsegs, flags)
 *     Writes the encoding of `msg` into `buf` and returns the length of the whole encoding in bytes, also when `buf` is
 *     too small: what fits is written, a string or bytes value that does not fit whole is left out whole, the rest is
 *     dropped. `buf` may be null when `buflen` is 0; with neither buffer nor segment list the call only measures.
 *     `nsegs` may be null. Otherwise it holds the capacity of `segs` and receives the number of entries needed, which
 *     may be larger; only entries below the capacity are written, and none where `segs` is null: a null list has
 *     capacity 0, whatever `nsegs` holds. docs/wire-format.md says what the entries cover.
 *     Never fails, never allocates.
 *
 * int32_t zidl_T_decode_ext(msg, buf, len, alloc_fn, alloc_ctx, flags)
 *     Resets `msg` (without releasing what it held; spare presence bits survive), fills it from `buf` and returns
 *     ZIDL_OK or the first error. Either way `msg` owns what `alloc_fn` returned so far: release it with the same flags.
 *     `alloc_fn` may be null for input that needs no memory. With ZIDL_ZERO_COPY bytes members borrow `buf`, which must
 *     then outlive `msg`; strings and arrays are always allocated.
 *
 * int32_t zidl_T_duplicate(dst, src, alloc_fn, alloc_ctx)
 *     Deep copy into `dst`, whose previous contents are overwritten without being released. Returns ZIDL_OK, or
 *     ZIDL_ERR_NO_MEMORY after copying everything else; a member that could not be copied is then absent in `dst`.
 *     `dst` owns all that it points to (release it with flags 0), also when `src` borrows its bytes.
 *
 * void zidl_T_free_ext(msg, free_fn, free_ctx, flags)
 *     Gives back what `msg` owns, in declaration order, and sets the pointers to null; a second call does nothing.
 *     ZIDL_ZERO_COPY leaves bytes members alone. Never frees `msg` itself. A released record must not be encoded or
 *     duplicated: presence bits, bytes sizes and some counts outlive the memory that they speak of. Decode into it, or
 *     duplicate to it, first.
 *
 * Beside them each member M has inline accessors, which allocate and free nothing:
 *
 * bool zidl_T_has_M(msg)            whether M is present
 * void zidl_T_set_M(msg, value)     M is this number, or this string: the pointer is kept, not the characters
 * void zidl_T_set_M(msg, data, size), (msg, values, count)
 *                                   the same for bytes and for arrays: pointer, size or count, and presence at once
 * void zidl_T_mark_M(msg)           M is present as it stands; what is not marked is not encoded. There is none for numbers,
 *                                   and of embedded messages only empty ones need it: the others are encoded for what
 *                                   they hold
 * void zidl_T_clear_M(msg)          M is absent, and 0 or null with its count or size, as after decoding a message without
 *                                   it; an embedded message so with all that it holds, spare presence bits included
 *
 * What a setter is given stays the caller's, must outlive the encoding, and is only read, so that it may be const. A setter
 * and `clear` forget what the member pointed to: memory that the record owns is released before, or it is lost.
 *
 * All functions are re-entrant; concurrent calls on distinct records are safe. `msg`, `src` and `dst` are never null. */

#ifndef CODEC_ZIDL_H
#define CODEC_ZIDL_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#if defined(__GNUC__)
#define ZIDL_API __attribute__((visibility("default")))
#else
#define ZIDL_API
#endif

/* For the accessors in generated headers alone, without a warning in C and in C++: a pointer to what is only read, as records
 * hold it, and a null one. */
#ifdef __cplusplus
#define ZIDL_MUTABLE(type, pointer) const_cast<type *>(pointer)
#define ZIDL_NULL nullptr
#else
#define ZIDL_MUTABLE(type, pointer) ((type *)(uintptr_t)(pointer))
#define ZIDL_NULL NULL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Statuses of decode and duplicate. A nested message's failure is returned unchanged by everything around it. */
enum {
    ZIDL_OK = 0,
    ZIDL_ERR_MALFORMED = -1,  /* truncated, a length past the end, or a second run of a field that is held whole */
    ZIDL_ERR_WIRE_TYPE = -2,  /* an unknown field with wire type 3, 4, 6 or 7 */
    ZIDL_ERR_FIELD_TYPE = -3, /* a known field with a wire type other than its own */
    ZIDL_ERR_NO_MEMORY = -4   /* alloc_fn returned null, or was needed and is null */
};

/* "ZIDL_ERR_MALFORMED"; "unknown" for a number that is no status. Never null, and constant. A function of librib itself. */
ZIDL_API const char *zidl_status_name(int32_t status);

/* Bit 0 of the flags word; the other bits are ignored. Bytes members are listed as segments instead of copied (encode),
 * borrowed from the input (decode), left alone (release). */
enum { ZIDL_ZERO_COPY = 1 };

/* The only memory functions that the codec calls, always with exactly these arguments. A block is aligned to 8 bytes at
 * least, as the arrays in it need. */
typedef void *(*zidl_alloc_fn)(size_t size, void *alloc_ctx);
typedef void (*zidl_free_fn)(void *ptr, void *free_ctx);

/* One extent of an encoder's scatter-gather output. */
typedef struct zidl_segment {
    const uint8_t *base;
    uint64_t len; /* bytes */
} zidl_segment;

/* One element of a repeated bytes member. */
typedef struct zidl_bytes {
    uint8_t *data;
    uint64_t size; /* bytes */
} zidl_bytes;

#ifdef __cplusplus
}
#endif

#endif
