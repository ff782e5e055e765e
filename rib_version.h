/* The version of the headers that a program is compiled with, and version and build options of the library that it runs with.
 *
 * Versions of one major number are compatible: a program runs with the library whose headers it was compiled with and with
 * every later one, and a later one's headers compile what the earlier ones' did. */

#ifndef RIB_VERSION_H
#define RIB_VERSION_H

#include <stdint.h>

#include "codec/zidl.h"

#ifdef __cplusplus
extern "C" {
#endif

#define RIB_VERSION_MAJOR 1
#define RIB_VERSION_MINOR 1
#define RIB_VERSION_PATCH 0

/* A version as one number, for comparisons: #if RIB_VERSION >= RIB_VERSION_NUMBER(1, 1, 0). There was no such macro in 1.0. */
#define RIB_VERSION_NUMBER(major, minor, patch) ((major)*1000000 + (minor)*1000 + (patch))
#define RIB_VERSION RIB_VERSION_NUMBER(RIB_VERSION_MAJOR, RIB_VERSION_MINOR, RIB_VERSION_PATCH)

/* "1.1.0", as rib_version returns it. */
#define RIB_VERSION_STRING                                                                                             \
    RIB_VERSION_QUOTED(RIB_VERSION_MAJOR)                                                                              \
    "." RIB_VERSION_QUOTED(RIB_VERSION_MINOR) "." RIB_VERSION_QUOTED(RIB_VERSION_PATCH)
#define RIB_VERSION_QUOTED(number) RIB_VERSION_QUOTED_AS_IT_STANDS(number)
#define RIB_VERSION_QUOTED_AS_IT_STANDS(number) #number

/* The version of the library that is loaded, which may be a later one than RIB_VERSION_STRING. */
ZIDL_API const char *rib_version(void);

/* What was chosen when the library was built. More bits may come. */
enum {
    RIB_BUILT_WITH_CLIENT_ARENA = 1, /* RIB_CLIENT_ARENA: updates are decoded out of an arena that lives for one call */
    RIB_BUILT_WITH_DISPATCH = 2      /* RIB_DISPATCH: the hottest code is there for BMI2, too, and chosen at load */
};

/* The RIB_BUILT_WITH_ bits of the library that is loaded. */
ZIDL_API uint32_t rib_build_options(void);

#ifdef __cplusplus
}
#endif

#endif
