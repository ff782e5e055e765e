// The frame of an update, and the numbers in it and in older-form payloads, which may start at any address.

#ifndef IP_RIB_LIB_SRC_UPDATE_FRAME_HPP
#define IP_RIB_LIB_SRC_UPDATE_FRAME_HPP

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "ip/rib/lib/src/rib_lib.h"
#include "platform/rib_tlv.h"

namespace rib_client
{

inline uint16_t load_u16(const uint8_t *number)
{
    uint16_t value;
    memcpy(&value, number, sizeof value);
    return value;
}

inline uint32_t load_u32(const uint8_t *number)
{
    uint32_t value;
    memcpy(&value, number, sizeof value);
    return value;
}

inline void swap_u16(uint8_t *number)
{
    const uint16_t value = __builtin_bswap16(load_u16(number));
    memcpy(number, &value, sizeof value);
}

inline void swap_u32(uint8_t *number)
{
    const uint32_t value = __builtin_bswap32(load_u32(number));
    memcpy(number, &value, sizeof value);
}

// Leaves `cursor` where the platform's strip left it, which is the payload with most. Returns the header, null when the
// update came stripped.
inline rib_tlv_t *strip_frame(updatetype_local &update, uchar_t *&cursor)
{
    cursor = update.payload;
    if (update.stripped != 0)
        return nullptr;
    rib_tlv_t *header = rib_tlv_strip(&cursor);
    uint8_t *bytes = reinterpret_cast<uint8_t *>(header);
    update.tlv_type = load_u16(bytes + offsetof(rib_tlv_t, type));
    update.payload = bytes + sizeof(rib_tlv_t);
    update.payload_len = load_u16(bytes + offsetof(rib_tlv_t, length));
    return header;
}

} // namespace rib_client

#endif
