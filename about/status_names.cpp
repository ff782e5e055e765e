// The names of what the codec and the client library return, as their headers spell them. The rows hold the characters
// themselves: of pointers the dynamic linker would have to set every one in every process.

#include "codec/zidl.h"
#include "ip/rib/lib/src/rib_lib_update.h"

namespace
{

template <class Status>
struct named {
    Status status;
    char name[20];
};

#define NAMED(status)                                                                                                  \
    {                                                                                                                  \
        status, #status                                                                                                \
    }

constexpr named<int32_t> statuses[] = {
    NAMED(ZIDL_OK),
    NAMED(ZIDL_ERR_MALFORMED),
    NAMED(ZIDL_ERR_WIRE_TYPE),
    NAMED(ZIDL_ERR_FIELD_TYPE),
    NAMED(ZIDL_ERR_NO_MEMORY),
};

constexpr named<zerrno> zerrnos[] = {
    NAMED(ZERRNO_OK),        NAMED(ZERRNO_INVALID),     NAMED(ZERRNO_MALFORMED),
    NAMED(ZERRNO_NO_MEMORY), NAMED(ZERRNO_UNSUPPORTED),
};

#undef NAMED

template <class Status, size_t Count>
const char *name_of(const named<Status> (&rows)[Count], Status status)
{
    for (const named<Status> &row : rows) {
        if (row.status == status)
            return row.name;
    }
    return "unknown";
}

} // namespace

extern "C" const char *zidl_status_name(int32_t status)
{
    return name_of(statuses, status);
}

extern "C" const char *rib_zerrno_name(zerrno status)
{
    return name_of(zerrnos, status);
}
