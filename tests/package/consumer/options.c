/* Prints how the library was built: the bits of rib_version.h. */
#include "rib.h"

#include <stdio.h>

int main(void)
{
    return printf("%u\n", (unsigned)rib_build_options()) < 0;
}
