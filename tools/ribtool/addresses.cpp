#include "tools/ribtool/addresses.hpp"

#include "ip/rib/lib/src/rib_lib.h"
#include "tools/ribtool/frames/frame.hpp"

#include <arpa/inet.h>

#include <fmt/format.h>

#include <charconv>

namespace ribtool
{

namespace
{

// The number that has these eight bytes in memory, least significant first: the same on any machine.
uint64_t memory_image(const uint8_t *bytes)
{
    uint64_t image = 0;
    for (size_t index = 0; index < sizeof image; ++index)
        image |= uint64_t{bytes[index]} << 8 * index;
    return image;
}

} // namespace

std::optional<ip_address> parse_address(std::string_view text)
{
    if (text.find('\0') != std::string_view::npos) // inet_pton would see the end there
        return std::nullopt;
    const std::string terminated(text);
    ip_address address;
    address.is_ipv6 = text.find(':') != std::string_view::npos;
    if (inet_pton(address.is_ipv6 ? AF_INET6 : AF_INET, terminated.c_str(), address.bytes.data()) != 1)
        return std::nullopt;
    return address;
}

std::optional<ip_prefix> parse_prefix(std::string_view text)
{
    const size_t slash = text.find('/');
    if (slash == std::string_view::npos)
        return std::nullopt;
    const std::optional<ip_address> address = parse_address(text.substr(0, slash));
    const std::string_view digits = text.substr(slash + 1);
    uint8_t length = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), length);
    if (!address || digits.empty() || result.ec != std::errc() || result.ptr != digits.data() + digits.size() ||
        length > address->bit_count())
        return std::nullopt;
    return ip_prefix{*address, length};
}

std::string ipv4_text(uint32_t value)
{
    return fmt::format("{}.{}.{}.{}", value >> 24, value >> 16 & 0xff, value >> 8 & 0xff, value & 0xff);
}

std::string ipv6_text(const uint8_t *bytes)
{
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(AF_INET6, bytes, text, sizeof text);
    return text;
}

std::string prefix_text(const ip_prefix &prefix)
{
    const uint8_t *bytes = prefix.address.bytes.data();
    return fmt::format("{}/{}", prefix.address.is_ipv6 ? ipv6_text(bytes) : ipv4_text(read_be32(bytes)), prefix.length);
}

void mask_address(ip_address &address, uint8_t length)
{
    for (size_t index = 0; index < address.bytes.size(); ++index) {
        const size_t first_bit = 8 * index;
        if (first_bit >= length)
            address.bytes[index] = 0;
        else if (first_bit + 8 > length)
            address.bytes[index] &= static_cast<uint8_t>(0xff00 >> (length - first_bit));
    }
}

zidl_rib_ipv6_address ipv6_message(const ip_address &address)
{
    zidl_rib_ipv6_address msg = {};
    zidl_rib_ipv6_address_set_half0(&msg, memory_image(address.bytes.data()));
    zidl_rib_ipv6_address_set_half1(&msg, memory_image(address.bytes.data() + 8));
    return msg;
}

zidl_rib_address address_message(const ip_address &address)
{
    zidl_rib_address msg = {};
    zidl_rib_address_set_family(&msg, address.is_ipv6 ? RIB_FAMILY_IPV6 : RIB_FAMILY_IPV4);
    if (address.is_ipv6) {
        msg.ipv6 = ipv6_message(address);
        zidl_rib_address_mark_ipv6(&msg);
    } else {
        zidl_rib_address_set_ipv4(&msg, read_be32(address.bytes.data()));
    }
    return msg;
}

zidl_rib_prefix prefix_message(const ip_prefix &prefix)
{
    zidl_rib_prefix msg = {};
    msg.address = address_message(prefix.address);
    zidl_rib_prefix_mark_address(&msg);
    zidl_rib_prefix_set_prefix_len(&msg, prefix.length);
    return msg;
}

zidl_rib_msg_prefix flat_prefix_message(const ip_prefix &prefix, scratch &memory)
{
    zidl_rib_msg_prefix msg = {};
    zidl_rib_msg_prefix_set_family(&msg, prefix.address.is_ipv6 ? RIB_SOCKET_FAMILY_IPV6 : RIB_SOCKET_FAMILY_IPV4);
    zidl_rib_msg_prefix_set_prefix_len(&msg, prefix.length);
    if (prefix.address.is_ipv6) {
        msg.ipv6 = memory.bytes(prefix.address.bytes);
        msg.ipv6_size = prefix.address.bytes.size();
        zidl_rib_msg_prefix_mark_ipv6(&msg);
    } else {
        zidl_rib_msg_prefix_set_ipv4(&msg, read_be32(prefix.address.bytes.data()));
    }
    return msg;
}

} // namespace ribtool
