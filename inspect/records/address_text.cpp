#include "inspect/records/address_text.hpp"

#include "inspect/formats/json_text.hpp"
#include "inspect/wire/hex.hpp"

#include <arpa/inet.h>

namespace rib_inspect
{

void append_ipv4(std::string &out, uint32_t value)
{
    for (const unsigned shift : {24u, 16u, 8u, 0u}) {
        append_number(out, value >> shift & 0xff);
        if (shift != 0)
            out += '.';
    }
}

void append_ipv6(std::string &out, std::span<const uint8_t, 16> bytes)
{
    uint64_t halves[2];
    std::memcpy(halves, bytes.data(), sizeof halves);
    if (halves[0] == 0 && halves[1] == 0) { // by far the most
        out += "::";
        return;
    }
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(AF_INET6, bytes.data(), text, sizeof text);
    out += text;
}

void append_address(std::string &out, std::span<const uint8_t, 16> bytes, address_family family)
{
    switch (family) {
    case address_family::unknown:
        append_hex(out, bytes);
        return;
    case address_family::ipv4: {
        uint32_t value;
        std::memcpy(&value, bytes.data(), sizeof value);
        append_ipv4(out, value);
        return;
    }
    case address_family::ipv6:
        append_ipv6(out, bytes);
        return;
    }
}

} // namespace rib_inspect
