// The names of what the client library returns.

#include "about/named_status.hpp"
#include "ip/rib/lib/src/rib_lib_update.h"

namespace
{

constexpr rib::named_status<zerrno> zerrnos[] = {
    RIB_NAMED(ZERRNO_OK),        RIB_NAMED(ZERRNO_INVALID),     RIB_NAMED(ZERRNO_MALFORMED),
    RIB_NAMED(ZERRNO_NO_MEMORY), RIB_NAMED(ZERRNO_UNSUPPORTED),
};

} // namespace

extern "C" const char *rib_zerrno_name(zerrno status)
{
    return rib::name_of(zerrnos, status);
}
