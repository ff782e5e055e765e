#include "inspect/formats/message_address.hpp"

#include "inspect/records/address_text.hpp"

#include "messages/rib_common.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace rib_inspect
{

namespace
{

constexpr size_t ipv4_size = 4;
constexpr size_t ipv6_size = 16;

std::string ipv4_text(uint32_t address)
{
    std::string text;
    append_ipv4(text, address);
    return text;
}

std::string ipv6_text(const uint8_t *bytes)
{
    std::string text;
    append_ipv6(text, std::span<const uint8_t, ipv6_size>(bytes, ipv6_size));
    return text;
}

// Of an address as bytes; other lengths are none.
std::string bytes_text(const uint8_t *bytes, uint64_t size)
{
    if (size == ipv6_size)
        return ipv6_text(bytes);
    if (size != ipv4_size)
        return {};
    return ipv4_text(uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3]);
}

std::string text_of(const zidl_rib_ipv6_address &msg)
{
    if (!zidl_rib_ipv6_address_has_half0(&msg) && !zidl_rib_ipv6_address_has_half1(&msg))
        return {};
    uint8_t bytes[ipv6_size];
    std::memcpy(bytes, &msg.half0, 8);
    std::memcpy(bytes + 8, &msg.half1, 8);
    return ipv6_text(bytes);
}

std::string text_of(const zidl_rib_address &msg)
{
    if (msg.family == 1 && zidl_rib_address_has_ipv4(&msg))
        return ipv4_text(msg.ipv4);
    return msg.family == 2 ? text_of(msg.ipv6) : "";
}

std::string with_length(std::string address, bool has_length, uint32_t length)
{
    if (!address.empty() && has_length)
        address += '/' + std::to_string(length);
    return address;
}

std::string text_of(const zidl_rib_prefix &msg)
{
    return with_length(text_of(msg.address), zidl_rib_prefix_has_prefix_len(&msg), msg.prefix_len);
}

// Its family codes are others, and its IPv6 bytes may be fewer than 16: the rest is zeros.
std::string text_of(const zidl_rib_msg_prefix &msg)
{
    std::string address;
    if (msg.family == 2 && zidl_rib_msg_prefix_has_ipv4(&msg))
        address = ipv4_text(msg.ipv4);
    if (msg.family == 10 && zidl_rib_msg_prefix_has_ipv6(&msg) && msg.ipv6_size <= ipv6_size) {
        uint8_t bytes[ipv6_size] = {};
        std::copy_n(msg.ipv6, msg.ipv6_size, bytes);
        address = ipv6_text(bytes);
    }
    return with_length(address, zidl_rib_msg_prefix_has_prefix_len(&msg), msg.prefix_len);
}

std::string text_of(const zidl_srv6_prefix &msg)
{
    return with_length(bytes_text(msg.prefix, msg.prefix_size), zidl_srv6_prefix_has_prefix_len(&msg), msg.prefix_len);
}

std::string text_of(const zidl_ip_rib_srv6_prefix &msg)
{
    return with_length(bytes_text(msg.prefix, msg.prefix_size), zidl_ip_rib_srv6_prefix_has_prefix_len(&msg),
                       msg.prefix_len);
}

// None of these types needs memory while it borrows its bytes.
template <class Record>
std::string decoded_text(const zidl::message_descriptor &type, std::span<const uint8_t> encoded)
{
    Record msg = {};
    const int32_t status = type.decode(&msg, encoded.data(), encoded.size(), nullptr, nullptr, ZIDL_ZERO_COPY);
    return status == ZIDL_OK ? text_of(msg) : "";
}

struct address_type {
    std::string_view name;
    std::string (*text)(const zidl::message_descriptor &type, std::span<const uint8_t> encoded);
};
constexpr address_type address_types[] = {
    {"rib_ipv6_address", decoded_text<zidl_rib_ipv6_address>},
    {"rib_address", decoded_text<zidl_rib_address>},
    {"rib_prefix", decoded_text<zidl_rib_prefix>},
    {"rib_msg_prefix", decoded_text<zidl_rib_msg_prefix>},
    {"srv6_prefix", decoded_text<zidl_srv6_prefix>},
    {"ip_rib_srv6_prefix", decoded_text<zidl_ip_rib_srv6_prefix>},
};

} // namespace

std::string message_address(const zidl::message_descriptor &type, std::span<const uint8_t> encoded)
{
    for (const address_type &candidate : address_types) {
        if (candidate.name == type.name)
            return candidate.text(type, encoded);
    }
    return {};
}

} // namespace rib_inspect
