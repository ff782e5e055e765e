#include "tools/ribtool/state/update_key.hpp"

#include "inspect/wire/hex.hpp"

#include <fmt/format.h>

#include <cstring>

namespace ribtool
{

namespace
{

template <class Number>
void store(uint8_t *to, Number number)
{
    for (size_t index = sizeof number; index-- > 0; number = static_cast<Number>(number >> 7 >> 1))
        to[index] = static_cast<uint8_t>(number);
}

template <class Number>
Number load(const uint8_t *from)
{
    Number number = 0;
    for (size_t index = 0; index < sizeof number; ++index)
        number = static_cast<Number>(number << 7 << 1 | from[index]);
    return number;
}

template <class Number>
update_key key_of(key_kind kind, Number first)
{
    update_key key;
    key.kind = kind;
    store(key.value.data(), first);
    return key;
}

update_key key_of(key_kind kind, uint32_t first, uint32_t second)
{
    update_key key = key_of(kind, first);
    store(key.value.data() + sizeof first, second);
    return key;
}

uint32_t first_of(const update_key &key)
{
    return load<uint32_t>(key.value.data());
}
uint32_t second_of(const update_key &key)
{
    return load<uint32_t>(key.value.data() + sizeof(uint32_t));
}
std::string address_text(const update_key &key)
{
    switch (key.family) {
    case RIB_FAMILY_IPV4:
        return ipv4_text(first_of(key));
    case RIB_FAMILY_IPV6:
        return ipv6_text(key.value.data());
    default:
        return key.family == 0 ? "no address" : fmt::format("family {} {:08x}", key.family, first_of(key));
    }
}

// As the record's JSON has it: the bytes of the record where the family is neither.
std::string address_in_json(const update_key &key)
{
    if (key.family == RIB_FAMILY_IPV4 || key.family == RIB_FAMILY_IPV6)
        return address_text(key);
    rib_address_bytes bytes = {};
    const uint32_t number = first_of(key);
    std::memcpy(bytes, &number, sizeof number);
    return rib_inspect::to_hex(bytes);
}

} // namespace

update_key route_key(uint32_t family, std::span<const uint8_t, 16> address, uint8_t prefix_len)
{
    update_key key;
    key.family = static_cast<uint8_t>(family);
    key.prefix_len = prefix_len;
    std::memcpy(key.value.data(), address.data(), family == RIB_FAMILY_IPV6 ? address.size() : sizeof(uint32_t));
    return key;
}

// Of other families than IPv6 a record has a number, and zeros behind it.
update_key route_key_of_record(uint32_t family, const rib_address_bytes &address, uint8_t prefix_len)
{
    std::array<uint8_t, 16> bytes = {};
    std::memcpy(bytes.data(), address, bytes.size());
    if (family != RIB_FAMILY_IPV6) {
        uint32_t number = 0;
        std::memcpy(&number, address, sizeof number);
        store(bytes.data(), number);
    }
    return route_key(family, bytes, prefix_len);
}

update_key protocol_key(uint16_t id, uint16_t sub_id)
{
    return key_of(key_kind::protocol, uint32_t{id}, uint32_t{sub_id});
}

update_key opaque_key(uint32_t id, uint32_t sub_id)
{
    return key_of(key_kind::opaque, id, sub_id);
}

update_key grid_key(uint64_t encap_id)
{
    return key_of(key_kind::grid, encap_id);
}

update_key next_hop_key(uint64_t nhid)
{
    return key_of(key_kind::next_hop, nhid);
}

uint64_t number_of(const update_key &key)
{
    return load<uint64_t>(key.value.data());
}

std::optional<ip_prefix> prefix_of(const update_key &key)
{
    if (key.kind != key_kind::route || (key.family != RIB_FAMILY_IPV4 && key.family != RIB_FAMILY_IPV6))
        return {};
    const ip_prefix prefix = {{key.family == RIB_FAMILY_IPV6, key.value}, key.prefix_len};
    if (prefix.length > prefix.address.bit_count())
        return {};
    return prefix;
}

std::string_view kind_name(key_kind kind)
{
    switch (kind) {
    case key_kind::route:
        return "route";
    case key_kind::protocol:
        return "protocol";
    case key_kind::opaque:
        return "opaque";
    case key_kind::grid:
        return "grid key";
    case key_kind::next_hop:
        return "next-hop ID";
    }
    return {};
}

std::string key_text(const update_key &key)
{
    switch (key.kind) {
    case key_kind::route:
        return fmt::format("{}/{}", address_text(key), key.prefix_len);
    case key_kind::protocol:
    case key_kind::opaque:
        return fmt::format("id {} sub {}", first_of(key), second_of(key));
    case key_kind::grid:
    case key_kind::next_hop:
        break;
    }
    return key.kind == key_kind::next_hop && number_of(key) == RIB_NO_NHID ? "no nhid"
                                                                           : fmt::format("{}", number_of(key));
}

// The members have the names, and the numbers the form, of the records' JSON.
void add_key(json_line &line, const update_key &key)
{
    line.begin_object("key");
    switch (key.kind) {
    case key_kind::route:
        line.add_number("rt_family", key.family);
        line.add_text("rt_dest", address_in_json(key));
        line.add_number("rt_prefix_len", key.prefix_len);
        break;
    case key_kind::protocol:
        line.add_number("proto_id", first_of(key));
        line.add_number("proto_sub_id", second_of(key));
        break;
    case key_kind::opaque:
        line.add_number("opaque_id", first_of(key));
        line.add_number("sub_id", second_of(key));
        break;
    case key_kind::grid:
        line.add_text("encap_id", fmt::format("{}", number_of(key)));
        break;
    case key_kind::next_hop:
        line.add_text("nhid", fmt::format("{}", number_of(key)));
        break;
    }
    line.end_object();
}

} // namespace ribtool
