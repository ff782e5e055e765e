#include "tools/ribtool/tables/kernel_route.hpp"

#include <linux/rtnetlink.h>

namespace ribtool
{

namespace
{

bool ends_packets(uint8_t type)
{
    return type == RTN_BLACKHOLE || type == RTN_UNREACHABLE || type == RTN_PROHIBIT || type == RTN_THROW;
}

bool is_own_address(uint8_t type)
{
    return type == RTN_LOCAL || type == RTN_BROADCAST || type == RTN_ANYCAST || type == RTN_MULTICAST;
}

void add(left_out_counts &counts, omission what, uint64_t count)
{
    if (count > 0)
        counts.add(words(what), count);
}

} // namespace

std::string_view words(omission what)
{
    switch (what) {
    case omission::own_address:
        return "entries for the host's own, broadcast and multicast addresses";
    case omission::unknown_type:
        return "entries of a type that import does not know";
    case omission::other_family:
        return "entries that are neither IPv4 nor IPv6";
    case omission::cached:
        return "cached entries";
    case omission::one_source:
        return "entries for packets from one source only";
    case omission::one_service:
        return "entries for packets of one type of service only";
    case omission::unresolved_hop:
        return "entries with a next-hop object whose hops are not told";
    case omission::encapsulation:
        return "encapsulations of paths";
    case omission::transport_metrics:
        return "sets of metrics like mtu";
    case omission::preference:
        return "router preferences";
    case omission::interface_name:
        return "names of interfaces whose index is not told";
    case omission::table_name:
        return "names of tables that have no number here";
    case omission::protocol_name:
        return "names of protocols that have no number here";
    }
    return "";
}

std::optional<omission> why_left_out(const kernel_route &entry)
{
    if (entry.is_of_other_family)
        return omission::other_family;
    if (is_own_address(entry.type))
        return omission::own_address;
    if (entry.type != RTN_UNICAST && !ends_packets(entry.type))
        return omission::unknown_type;
    if (entry.is_cached)
        return omission::cached;
    if (entry.is_for_one_source)
        return omission::one_source;
    if (entry.is_for_one_service)
        return omission::one_service;
    if (entry.type == RTN_UNICAST && entry.hops.empty() && entry.names_hop_object)
        return omission::unresolved_hop;
    return std::nullopt;
}

void kernel_route::clear()
{
    std::vector<kernel_hop> kept = std::move(hops);
    kept.clear();
    *this = {};
    hops = std::move(kept);
}

void count_losses(const kernel_route &entry, left_out_counts &counts)
{
    if (!ends_packets(entry.type))
        add(counts, omission::interface_name, entry.unknown_interfaces);
    add(counts, omission::table_name, entry.unknown_table != 0);
    add(counts, omission::protocol_name, entry.has_unknown_protocol);
    add(counts, omission::encapsulation, entry.encapsulations);
    add(counts, omission::transport_metrics, entry.has_transport_metrics);
    add(counts, omission::preference, entry.has_preference);
}

void append_paths(const kernel_route &entry, std::vector<table_path> &paths)
{
    table_path path;
    path.med = entry.metric;
    path.kernel_type = entry.type;
    path.protocol = entry.protocol;
    path.source = entry.source;
    // An interface that takes packets which end here is the kernel's own matter: lo.
    if (entry.hops.empty() || ends_packets(entry.type)) {
        paths.push_back(path);
        return;
    }
    for (const kernel_hop &hop : entry.hops) {
        path.next_hop = hop.gateway;
        path.interface_index = hop.interface_index;
        path.weight = hop.weight;
        path.on_link = hop.is_on_link;
        path.dead = hop.is_dead;
        path.link_down = hop.is_link_down;
        paths.push_back(path);
    }
}

} // namespace ribtool
