/* Bounded string copy: our reference version of the router's string utility library. A system that has the real library
 * links that one instead of librib_strutil. */

#ifndef PLATFORM_RIB_STRUTIL_H
#define PLATFORM_RIB_STRUTIL_H

#include <stddef.h>

#ifndef RIB_PLATFORM_API
#if defined(__GNUC__)
#define RIB_PLATFORM_API __attribute__((visibility("default")))
#else
#define RIB_PLATFORM_API
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Copies the string src into the size bytes at dst, cut to size - 1 characters, and always terminates it. What lies
 * behind the NUL is left alone. With a size of 0 nothing is written. dst and src do not overlap. */
RIB_PLATFORM_API void __strcpy_to_buf(size_t size, char *dst, const char *src);

#ifdef __cplusplus
}
#endif

#endif
