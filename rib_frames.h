/* Frames in a stream of bytes: for whoever reads updates from a socket or a file, and for whoever sends them.
 *
 * An update travels in a frame: a header of eight bytes, numbers in network byte order, and the payload right behind it.
 *
 *     0  4 bytes  not read by this library
 *     4  2 bytes  type code: RIB_TLV_ of <rib.h>, or RIB_FRAME_DELIMITER
 *     6  2 bytes  length of the payload in bytes
 *
 * A stream keeps no boundaries: a read yields many frames, or the middle of one. A reader takes all whole frames out of what
 * it has and moves what is left over to the front, before it reads on behind that:
 *
 *     uint8_t buf[RIB_FRAME_MAX_LEN];                      // any length from that of the longest frame on
 *     size_t held = 0;
 *     ssize_t got;
 *     while ((got = read(fd, buf + held, sizeof buf - held)) > 0) {
 *         rib_frames frames;
 *         rib_frame frame;
 *         rib_frames_begin(&frames, buf, held + (size_t)got);
 *         while (rib_frames_next(&frames, &frame)) {
 *             if (!rib_frame_is_delimiter(&frame))
 *                 take(&frame);                            // looks at the code before it chooses the entry point
 *         }
 *         held = rib_frames_rest_len(&frames);
 *         memmove(buf, rib_frames_rest(&frames), held);
 *     }
 *
 * Nothing here does input or output, allocates, keeps state of its own or needs the library: this header is all there is to
 * it. No pointer needs to be aligned. docs/client-guide.md has whole readers and writers. */

#ifndef RIB_FRAMES_H
#define RIB_FRAMES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "codec/zidl.h"

/* rib_frame_iovec needs struct iovec. Where there is no <sys/uio.h>, or none is wanted, define RIB_FRAMES_WITHOUT_IOVEC. */
#if !defined(RIB_FRAMES_WITHOUT_IOVEC) && (defined(__unix__) || defined(__APPLE__))
#define RIB_FRAMES_HAVE_IOVEC 1
#include <sys/uio.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

enum {
    RIB_FRAME_HEADER_LEN = 8,
    RIB_FRAME_MAX_PAYLOAD = 65535, /* what the length of a header can say */
    RIB_FRAME_MAX_LEN = RIB_FRAME_HEADER_LEN + RIB_FRAME_MAX_PAYLOAD,
    RIB_FRAME_DELIMITER = 0 /* the code of frames that stand between updates and carry nothing */
};

/* ---- One frame ---- */

/* What a header says. Its eight bytes must be there, in network byte order: the entry points of the library convert a header
 * in place, so look before one is called. */
static inline uint16_t rib_frame_code(const void *header)
{
    const uint8_t *const bytes = (const uint8_t *)header;
    return (uint16_t)(bytes[4] << 8 | bytes[5]);
}

static inline size_t rib_frame_payload_len(const void *header)
{
    const uint8_t *const bytes = (const uint8_t *)header;
    return (size_t)bytes[6] << 8 | bytes[7];
}

/* The size of the frame that begins at `p`, header and payload, when all of it lies in the `n` bytes there; else 0: more
 * bytes are needed. `p` may be null when `n` is 0. */
static inline size_t rib_frame_size(const void *p, size_t n)
{
    if (n < RIB_FRAME_HEADER_LEN || n - RIB_FRAME_HEADER_LEN < rib_frame_payload_len(p))
        return 0;
    return RIB_FRAME_HEADER_LEN + rib_frame_payload_len(p);
}

/* Writes a header, all eight bytes at `p`; those that nobody reads become 0. The payload belongs right behind them. False,
 * and nothing is written, when `payload_len` is above RIB_FRAME_MAX_PAYLOAD: no frame holds that. */
static inline bool rib_frame_put_header(void *p, uint16_t code, size_t payload_len)
{
    uint8_t *const bytes = (uint8_t *)p;
    if (payload_len > RIB_FRAME_MAX_PAYLOAD)
        return false;
    bytes[0] = bytes[1] = bytes[2] = bytes[3] = 0;
    bytes[4] = (uint8_t)(code >> 8);
    bytes[5] = (uint8_t)(code & 0xFF);
    bytes[6] = (uint8_t)(payload_len >> 8);
    bytes[7] = (uint8_t)(payload_len & 0xFF);
    return true;
}

/* ---- All frames of a buffer ---- */

/* A whole frame inside the buffer that rib_frames_begin was given. Its bytes are writable when those of the buffer are, which
 * the library's entry points need. */
typedef struct rib_frame {
    uint8_t *start; /* the header */
    size_t size;    /* header and payload */
    uint16_t code;
    uint16_t payload_len;
    uint8_t *payload; /* never null, also when it is empty */
} rib_frame;

/* Such frames mean nothing to the entry points of the library, which stop the process on them: pass over them, or take them as
 * what the server's own convention says, such as the end of a table. */
static inline bool rib_frame_is_delimiter(const rib_frame *frame)
{
    return frame->code == RIB_FRAME_DELIMITER;
}

/* A place between frames. Members are the functions' own business. */
typedef struct rib_frames {
    uint8_t *rest;
    size_t rest_len;
} rib_frames;

/* Starts at the first of the `len` bytes at `buf`, which must be the first of a frame. `buf` may be null when `len` is 0. */
static inline void rib_frames_begin(rib_frames *frames, const void *buf, size_t len)
{
    frames->rest = (uint8_t *)(uintptr_t)buf;
    frames->rest_len = len;
}

/* Gives the next frame, also a delimiter, and goes on behind it; what is done to a frame's bytes afterwards does not matter.
 * False when the buffer holds no further whole frame: `frame` is left alone then. */
static inline bool rib_frames_next(rib_frames *frames, rib_frame *frame)
{
    const size_t size = rib_frame_size(frames->rest, frames->rest_len);
    if (size == 0)
        return false;
    frame->start = frames->rest;
    frame->size = size;
    frame->code = rib_frame_code(frames->rest);
    frame->payload_len = (uint16_t)(size - RIB_FRAME_HEADER_LEN);
    frame->payload = frames->rest + RIB_FRAME_HEADER_LEN;
    frames->rest += size;
    frames->rest_len -= size;
    return true;
}

/* What has not been given out: after the last frame the beginning of the next one, less than RIB_FRAME_MAX_LEN bytes. At the
 * end of a stream it is empty, or the stream was cut off. */
static inline uint8_t *rib_frames_rest(const rib_frames *frames)
{
    return frames->rest;
}

static inline size_t rib_frames_rest_len(const rib_frames *frames)
{
    return frames->rest_len;
}

/* How many bytes must at least follow what is left over before there is a next frame; 0 when there is one already. While the
 * header itself is cut, that is what is missing of it. */
static inline size_t rib_frames_missing(const rib_frames *frames)
{
    size_t needed = RIB_FRAME_HEADER_LEN;
    if (frames->rest_len >= RIB_FRAME_HEADER_LEN)
        needed += rib_frame_payload_len(frames->rest);
    return frames->rest_len >= needed ? 0 : needed - frames->rest_len;
}

/* ---- The next frame of a damaged stream ----
 *
 * Any eight bytes are a header, so that a stream tells of its damage by a code that nobody knows. From there on its frames
 * are lost, unless one searches. The search takes a place for the beginning of a frame when the header there has one of the
 * given codes, and
 *
 *     - the header right behind its frame has one of them, too, or
 *     - its frame ends exactly where the input ends.
 *
 * Two headers in a row, since one alone occurs by chance in long payloads. RIB_FRAME_DELIMITER counts for none of the codes:
 * zeros are what payloads have most. Of 4000 random places in generated streams the search gave the next frame for all or all
 * but two; with delimiters as links of the chain it went astray at 850 to 2848 of them. Hence a frame in front of a
 * delimiter is found only where the input ends behind it.
 *
 * Search only where that is wanted: a payload can hold a chain that somebody forged, and a searching reader then takes frames
 * out of it that nobody sent as such. A connection is better closed and opened again. */

/* The most bytes that a search needs at once: the longest frame and the header behind it. In a buffer of this length it
 * always gets on. */
enum { RIB_FRAMES_RESYNC_LEN = RIB_FRAME_MAX_LEN + RIB_FRAME_HEADER_LEN };

/* Whether the header's code is one of the `code_count` codes, and not RIB_FRAME_DELIMITER. */
static inline bool rib_frame_code_is_among(const void *header, const uint16_t *codes, size_t code_count)
{
    const uint16_t code = rib_frame_code(header);
    size_t i;
    for (i = 0; i < code_count; i++) {
        if (codes[i] == code)
            return code != RIB_FRAME_DELIMITER;
    }
    return false;
}

/* Searches the `len` bytes at `buf` for the first place where a frame begins. `buf` may be null when `len` is 0.
 *
 * True: a frame begins `*skipped` bytes behind `buf`, and all of it lies in the buffer: rib_frames_begin may go on there.
 *
 * False: there is none before `*skipped`, and more bytes are needed to tell. Drop what lies before it, keep the rest, and
 * search again from there with at least one more byte behind it. With `at_end`, which says that no more bytes will come, nothing
 * is left to keep: `*skipped` is `len`.
 *
 * The answer never depends on how the bytes are cut into pieces: a place that cannot be judged yet is waited for, at most until
 * there are RIB_FRAMES_RESYNC_LEN bytes from it on. To search behind a header that is not to be believed although its code is a
 * known one, begin one byte behind its first. */
static inline bool rib_frames_resync(const void *buf, size_t len, bool at_end, const uint16_t *codes, size_t code_count,
                                     size_t *skipped)
{
    const uint8_t *const bytes = (const uint8_t *)buf;
    size_t pos;
    for (pos = 0; len - pos >= RIB_FRAME_HEADER_LEN; pos++) {
        size_t size;
        bool is_frame;
        if (!rib_frame_code_is_among(bytes + pos, codes, code_count))
            continue;
        size = RIB_FRAME_HEADER_LEN + rib_frame_payload_len(bytes + pos);
        if (len - pos >= size + RIB_FRAME_HEADER_LEN)
            is_frame = rib_frame_code_is_among(bytes + pos + size, codes, code_count);
        else if (at_end)
            is_frame = len - pos == size;
        else
            break;
        if (is_frame) {
            *skipped = pos;
            return true;
        }
    }
    *skipped = at_end ? len : pos;
    return false;
}

/* ---- A frame that is sent out of several places ---- */

#ifdef RIB_FRAMES_HAVE_IOVEC

/* Lists, as writev and sendmsg take it, the frame whose payload the `seg_count` segments are, one after the other: first the
 * header, which is written into the RIB_FRAME_HEADER_LEN bytes at `header`, then the segments. They are those of an encoder's
 * ZIDL_ZERO_COPY (docs/wire-format.md says for which messages these are the whole encoding), or any others. Header and
 * segments must outlive the writing; a call of writev may write a part of them and takes no more than IOV_MAX entries.
 *
 * Returns the number of entries needed: one more than there are segments. When it is above `capacity` nothing is written. 0,
 * and nothing is written, when the segments hold more than RIB_FRAME_MAX_PAYLOAD bytes. `entries` may be null when `capacity`
 * is 0, and `segs` when `seg_count` is 0. */
static inline size_t rib_frame_iovec(void *header, uint16_t code, const zidl_segment *segs, size_t seg_count,
                                     struct iovec *entries, size_t capacity)
{
    size_t payload_len = 0;
    size_t i;
    for (i = 0; i < seg_count; i++) {
        if (segs[i].len > RIB_FRAME_MAX_PAYLOAD - payload_len)
            return 0;
        payload_len += (size_t)segs[i].len;
    }
    if (capacity <= seg_count)
        return seg_count + 1;
    rib_frame_put_header(header, code, payload_len);
    entries[0].iov_base = header;
    entries[0].iov_len = RIB_FRAME_HEADER_LEN;
    for (i = 0; i < seg_count; i++) {
        entries[i + 1].iov_base = (void *)(uintptr_t)segs[i].base;
        entries[i + 1].iov_len = (size_t)segs[i].len;
    }
    return seg_count + 1;
}

#endif

#ifdef __cplusplus
}
#endif

#endif
