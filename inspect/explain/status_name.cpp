#include "inspect/explain/status_name.hpp"

#include "codec/zidl.h"
#include "ip/rib/lib/src/rib_lib.h"

namespace rib_inspect
{

namespace
{

struct status_row {
    int64_t status;
    const char *name;
};

constexpr status_row STATUSES[] = {
    {0, "OK"},
    {ZIDL_ERR_MALFORMED, "ZIDL_ERR_MALFORMED"},
    {ZIDL_ERR_WIRE_TYPE, "ZIDL_ERR_WIRE_TYPE"},
    {ZIDL_ERR_FIELD_TYPE, "ZIDL_ERR_FIELD_TYPE"},
    {ZIDL_ERR_NO_MEMORY, "ZIDL_ERR_NO_MEMORY"},
    {ZERRNO_INVALID, "ZERRNO_INVALID"},
    {ZERRNO_MALFORMED, "ZERRNO_MALFORMED"},
    {ZERRNO_NO_MEMORY, "ZERRNO_NO_MEMORY"},
    {ZERRNO_UNSUPPORTED, "ZERRNO_UNSUPPORTED"},
};

} // namespace

const char *status_name(int64_t status)
{
    for (const status_row &row : STATUSES)
        if (row.status == status)
            return row.name;
    return "?";
}

} // namespace rib_inspect
