// The framing of updates. A header may sit at any address, so its numbers are read and written byte by byte.

#include "platform/rib_tlv.h"

#include <stddef.h>
#include <string.h>

namespace
{

void to_host_order(uchar_t *number)
{
    const auto value = static_cast<uint16_t>(number[0] << 8 | number[1]);
    memcpy(number, &value, sizeof value);
}

} // namespace

extern "C" rib_tlv_t *rib_tlv_strip(uchar_t **cursor)
{
    uchar_t *header = *cursor;
    to_host_order(header + offsetof(rib_tlv_t, type));
    to_host_order(header + offsetof(rib_tlv_t, length));
    *cursor = header + sizeof(rib_tlv_t);
    return reinterpret_cast<rib_tlv_t *>(header);
}

extern "C" void rib_tlv_handle_delim(uchar_t **) {}
