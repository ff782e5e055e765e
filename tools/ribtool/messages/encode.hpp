// Payloads out of messages.

#pragma once

#include "messages/ip_rib.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tools/ribtool/frames/frame.hpp"

namespace ribtool
{

inline size_t encode(const zidl_rib_route &msg, uint8_t *buf, size_t len)
{
    return zidl_rib_route_encode_ext(&msg, buf, len, nullptr, nullptr, 0);
}
inline size_t encode(const zidl_rib_grid_sync_list &msg, uint8_t *buf, size_t len)
{
    return zidl_rib_grid_sync_list_encode_ext(&msg, buf, len, nullptr, nullptr, 0);
}
inline size_t encode(const zidl_rib_nhid_update &msg, uint8_t *buf, size_t len)
{
    return zidl_rib_nhid_update_encode_ext(&msg, buf, len, nullptr, nullptr, 0);
}
inline size_t encode(const zidl_ip_rib_proto_update &msg, uint8_t *buf, size_t len)
{
    return zidl_ip_rib_proto_update_encode_ext(&msg, buf, len, nullptr, nullptr, 0);
}
inline size_t encode(const zidl_ip_rib_opaque &msg, uint8_t *buf, size_t len)
{
    return zidl_ip_rib_opaque_encode_ext(&msg, buf, len, nullptr, nullptr, 0);
}

template <class Message>
size_t encoded_size(const Message &msg)
{
    return encode(msg, nullptr, 0);
}

template <class Message>
byte_vector encoded(const Message &msg)
{
    byte_vector payload(encoded_size(msg));
    encode(msg, payload.data(), payload.size());
    return payload;
}

} // namespace ribtool
