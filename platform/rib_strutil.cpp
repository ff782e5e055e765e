// Bounded string copy.

#include "platform/rib_strutil.h"

extern "C" void __strcpy_to_buf(size_t size, char *dst, const char *src)
{
    if (size == 0)
        return;
    size_t len = 0;
    for (; len < size - 1 && src[len] != '\0'; len++)
        dst[len] = src[len];
    dst[len] = '\0';
}
