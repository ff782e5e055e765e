#include "tools/ribtool/tables/netlink_messages.hpp"

#include <fmt/format.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cstring>
#include <type_traits>

namespace ribtool
{

namespace
{

template <class... Arguments>
[[noreturn]] void reject(fmt::format_string<Arguments...> format, Arguments &&...arguments)
{
    throw netlink_error(fmt::format(format, std::forward<Arguments>(arguments)...));
}

// The structure that lies in front of the bytes, which are at least as many.
template <class Structure>
Structure load(byte_span bytes)
{
    static_assert(std::is_trivially_copyable_v<Structure>);
    Structure loaded;
    std::memcpy(&loaded, bytes.data(), sizeof loaded);
    return loaded;
}

struct attribute {
    uint16_t type;
    size_t offset; // in the message
    byte_span value;
};

// Goes over attributes, one after another. Each says its own length, which is not trusted.
class attribute_reader
{
public:
    // `offset` is that of the bytes in their message.
    attribute_reader(byte_span bytes, size_t offset) : rest_(bytes), offset_(offset) {}

    bool next(attribute &out)
    {
        if (rest_.empty())
            return false;
        if (rest_.size() < sizeof(rtattr))
            reject("{} bytes at +{} are too few for an attribute", rest_.size(), offset_);
        const auto header = load<rtattr>(rest_);
        if (header.rta_len < sizeof(rtattr) || header.rta_len > rest_.size())
            reject("attribute {} at +{} says that it has {} bytes, there are {}", header.rta_type & NLA_TYPE_MASK,
                   offset_, header.rta_len, rest_.size());
        out = {static_cast<uint16_t>(header.rta_type & NLA_TYPE_MASK), offset_,
               rest_.subspan(sizeof(rtattr), header.rta_len - sizeof(rtattr))};
        const size_t step =
            std::min(netlink_aligned(header.rta_len), rest_.size()); // the last one may lack its filling
        rest_ = rest_.subspan(step);
        offset_ += step;
        return true;
    }

private:
    byte_span rest_;
    size_t offset_;
};

uint32_t number(const attribute &from)
{
    if (from.value.size() != sizeof(uint32_t))
        reject("attribute {} at +{} has {} bytes, a number has 4", from.type, from.offset, from.value.size());
    return load<uint32_t>(from.value);
}

ip_address address(const attribute &from, byte_span bytes, bool is_ipv6)
{
    ip_address parsed;
    parsed.is_ipv6 = is_ipv6;
    const size_t len = parsed.bit_count() / 8;
    if (bytes.size() != len)
        reject("attribute {} at +{} has an address of {} bytes, this family's have {}", from.type, from.offset,
               bytes.size(), len);
    std::memcpy(parsed.bytes.data(), bytes.data(), len);
    return parsed;
}

// RTA_VIA: a family of its own, then an address of it. How an IPv4 route names an IPv6 gateway.
ip_address address_with_family(const attribute &from)
{
    if (from.value.size() < sizeof(rtvia))
        reject("attribute {} at +{} has {} bytes, no room for a family", from.type, from.offset, from.value.size());
    const uint16_t family = load<rtvia>(from.value).rtvia_family;
    if (family != AF_INET && family != AF_INET6)
        reject("attribute {} at +{} has an address of family {}", from.type, from.offset, family);
    return address(from, from.value.subspan(sizeof(rtvia)), family == AF_INET6);
}

void set_flags(kernel_hop &hop, uint32_t flags)
{
    hop.is_on_link = (flags & RTNH_F_ONLINK) != 0;
    hop.is_dead = (flags & RTNH_F_DEAD) != 0;
    hop.is_link_down = (flags & RTNH_F_LINKDOWN) != 0;
}

// What a route with one hop and each hop of a route with several say alike; false for any other attribute.
bool takes_hop_attribute(const attribute &from, bool is_ipv6, kernel_hop &hop, kernel_route &entry)
{
    switch (from.type) {
    case RTA_GATEWAY:
        hop.gateway = address(from, from.value, is_ipv6);
        return true;
    case RTA_VIA:
        hop.gateway = address_with_family(from);
        return true;
    case RTA_ENCAP:
        ++entry.encapsulations;
        return true;
    default:
        return false;
    }
}

void add_hops(const attribute &from, bool is_ipv6, kernel_route &entry)
{
    byte_span rest = from.value;
    size_t offset = from.offset + sizeof(rtattr);
    while (!rest.empty()) {
        if (rest.size() < sizeof(rtnexthop))
            reject("{} bytes at +{} are too few for a next hop", rest.size(), offset);
        const auto header = load<rtnexthop>(rest);
        if (header.rtnh_len < sizeof(rtnexthop) || header.rtnh_len > rest.size())
            reject("the next hop at +{} says that it has {} bytes, there are {}", offset, header.rtnh_len, rest.size());
        kernel_hop &hop = entry.hops.emplace_back();
        hop.weight = header.rtnh_hops + 1u;
        if (header.rtnh_ifindex != 0)
            hop.interface_index = static_cast<uint32_t>(header.rtnh_ifindex);
        set_flags(hop, header.rtnh_flags);
        attribute_reader attributes(rest.subspan(sizeof(rtnexthop), header.rtnh_len - sizeof(rtnexthop)),
                                    offset + sizeof(rtnexthop));
        for (attribute each; attributes.next(each);)
            takes_hop_attribute(each, is_ipv6, hop, entry);
        const size_t step = std::min(netlink_aligned(header.rtnh_len), rest.size());
        rest = rest.subspan(step);
        offset += step;
    }
}

void set_prefix(const rtmsg &header, const std::optional<ip_address> &destination, kernel_route &entry)
{
    entry.prefix.address.is_ipv6 = header.rtm_family == AF_INET6;
    if (header.rtm_dst_len > entry.prefix.address.bit_count())
        reject("a prefix length of {}", header.rtm_dst_len);
    entry.prefix.length = header.rtm_dst_len;
    if (!destination) {
        if (header.rtm_dst_len != 0)
            reject("a prefix length of {} without an address", header.rtm_dst_len);
        return;
    }
    entry.prefix.address = *destination;
    mask_address(entry.prefix.address, header.rtm_dst_len);
    if (entry.prefix.address.bytes != destination->bytes)
        reject("an address with bits behind its prefix length of {}", header.rtm_dst_len);
}

// A hop that stands in the route itself; there is none where it says nothing.
void add_single_hop(const rtmsg &header, const kernel_hop &hop, kernel_route &entry)
{
    if (!entry.hops.empty() || (!hop.gateway && !hop.interface_index))
        return;
    entry.hops.push_back(hop);
    set_flags(entry.hops.back(), header.rtm_flags);
}

void parse_attributes(byte_span bytes, size_t offset, const rtmsg &header, kernel_route &entry)
{
    const bool is_ipv6 = header.rtm_family == AF_INET6;
    std::optional<ip_address> destination;
    kernel_hop hop;
    attribute_reader attributes(bytes, offset);
    for (attribute each; attributes.next(each);) {
        if (takes_hop_attribute(each, is_ipv6, hop, entry))
            continue;
        switch (each.type) {
        case RTA_DST:
            destination = address(each, each.value, is_ipv6);
            break;
        case RTA_OIF:
            hop.interface_index = number(each);
            break;
        case RTA_PRIORITY:
            entry.metric = number(each);
            break;
        case RTA_TABLE:
            entry.table = number(each);
            break;
        case RTA_PREFSRC:
            entry.source = address(each, each.value, is_ipv6);
            break;
        case RTA_MULTIPATH:
            add_hops(each, is_ipv6, entry);
            break;
        case RTA_METRICS:
            entry.has_transport_metrics = true;
            break;
        case RTA_NH_ID:
            entry.names_hop_object = true;
            break;
        case RTA_PREF:
            entry.has_preference = !each.value.empty() && each.value[0] != 0;
            break;
        default:
            break;
        }
    }
    set_prefix(header, destination, entry);
    add_single_hop(header, hop, entry);
}

} // namespace

nlmsghdr netlink_header(byte_span bytes)
{
    return load<nlmsghdr>(bytes);
}

void parse_route_message(byte_span message, kernel_route &entry)
{
    constexpr size_t HEADERS_LEN = sizeof(nlmsghdr) + sizeof(rtmsg);
    if (message.size() < HEADERS_LEN)
        reject("{} bytes are too few for a route", message.size());
    entry.clear();
    const auto header = load<rtmsg>(message.subspan(sizeof(nlmsghdr)));
    entry.is_of_other_family = header.rtm_family != AF_INET && header.rtm_family != AF_INET6;
    if (entry.is_of_other_family)
        return;
    entry.table = header.rtm_table; // RTA_TABLE takes its place where a byte has no room
    entry.type = header.rtm_type;
    entry.protocol = header.rtm_protocol;
    entry.is_cached = (header.rtm_flags & RTM_F_CLONED) != 0;
    entry.is_for_one_source = header.rtm_src_len != 0;
    entry.is_for_one_service = header.rtm_tos != 0;
    parse_attributes(message.subspan(HEADERS_LEN), HEADERS_LEN, header, entry);
}

} // namespace ribtool
