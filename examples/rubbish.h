/* A peer that sends nothing but rubbish: it chooses the code and the payload of a frame, not the client. */

#ifndef EXAMPLES_RUBBISH_H
#define EXAMPLES_RUBBISH_H

#include <rib_frames.h>
#include <stdint.h>
#include <string.h>

/* Hands `take` a frame of every code, once empty and once with bytes that mean nothing. */
static inline void send_rubbish(void (*take)(uint8_t *frame, void *ctx), void *ctx)
{
    enum { LEN = 100, FRAME_LEN = RIB_FRAME_HEADER_LEN + LEN };
    uint8_t frame[FRAME_LEN];
    for (uint32_t code = 0; code <= 0xFFFF; code++) {
        for (size_t len = 0; len <= LEN; len += LEN) {
            rib_frame_put_header(frame, (uint16_t)code, len);
            memset(frame + RIB_FRAME_HEADER_LEN, 0xFF, len);
            take(frame, ctx);
        }
    }
}

#endif
