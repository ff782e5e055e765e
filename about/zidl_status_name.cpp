// The names of what the codec returns. The codec has them also where it stands alone.

#include "about/named_status.hpp"
#include "codec/zidl.h"

namespace
{

constexpr rib::named_status<int32_t> statuses[] = {
    RIB_NAMED(ZIDL_OK),
    RIB_NAMED(ZIDL_ERR_MALFORMED),
    RIB_NAMED(ZIDL_ERR_WIRE_TYPE),
    RIB_NAMED(ZIDL_ERR_FIELD_TYPE),
    RIB_NAMED(ZIDL_ERR_NO_MEMORY),
};

} // namespace

extern "C" const char *zidl_status_name(int32_t status)
{
    return rib::name_of(statuses, status);
}
