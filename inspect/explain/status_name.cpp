#include "inspect/explain/status_name.hpp"

#include "codec/zidl.h"
#include "ip/rib/lib/src/rib_lib.h"

namespace rib_inspect
{

const char *status_name(int64_t status)
{
    if (status == 0)
        return "OK"; // of both
    if (status < 0)
        return zidl_status_name(static_cast<int32_t>(status));
    return rib_zerrno_name(static_cast<zerrno>(status));
}

} // namespace rib_inspect
