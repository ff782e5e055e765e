// What the library says of the build that it comes from.

#include "rib_version.h"

extern "C" const char *rib_version(void)
{
    return RIB_VERSION_STRING;
}

extern "C" uint32_t rib_build_options(void)
{
    uint32_t options = 0;
#ifdef RIB_CLIENT_ARENA
    options |= RIB_BUILT_WITH_CLIENT_ARENA;
#endif
#ifdef RIB_DISPATCH
    options |= RIB_BUILT_WITH_DISPATCH;
#endif
    return options;
}
