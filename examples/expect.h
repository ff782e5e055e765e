/* What the examples share: the check of a step. */

#ifndef EXAMPLES_EXPECT_H
#define EXAMPLES_EXPECT_H

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Ends the program when a step did not give what it must. */
static inline void expect(int holds, const char *what)
{
    if (holds)
        return;
    fprintf(stderr, "failed: %s\n", what);
    exit(1);
}

#endif
