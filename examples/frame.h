/* What the examples share: the frame that a RIB server puts around an update, and the check of a step. */

#ifndef EXAMPLES_FRAME_H
#define EXAMPLES_FRAME_H

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { HEADER_LEN = 8 };

/* Writes the header of an update with `payload_len` bytes of payload; all numbers travel in network byte order. */
static inline void write_header(uint8_t *header, unsigned type, size_t payload_len)
{
    memset(header, 0, HEADER_LEN);
    header[4] = (uint8_t)(type >> 8);
    header[5] = (uint8_t)type;
    header[6] = (uint8_t)(payload_len >> 8);
    header[7] = (uint8_t)payload_len;
}

/* Ends the program when a step did not give what it must. */
static inline void expect(int holds, const char *what)
{
    if (holds)
        return;
    fprintf(stderr, "failed: %s\n", what);
    exit(1);
}

#endif
