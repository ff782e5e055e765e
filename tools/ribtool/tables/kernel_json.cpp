#include "tools/ribtool/tables/kernel_json.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/input/text_input.hpp"
#include "tools/ribtool/tables/text_fields.hpp"

#include <linux/rtnetlink.h>

#include <algorithm>
#include <utility>

namespace ribtool
{

enum class kernel_json::member : uint8_t {
    dst,
    from,
    type,
    gateway,
    via,
    dev,
    weight,
    flags,
    nexthops,
    table,
    protocol,
    metric,
    prefsrc,
    tos,
    encap,
    metrics,
    pref,
    cache,
    nhid,
    ifindex,
    ifname,
    host, // in via
    other,
};

namespace
{

using member = kernel_json::member;

// In the order of the enumeration.
constexpr std::string_view MEMBERS[] = {
    "dst",    "from",    "type", "gateway", "via",     "dev",  "weight", "flags", "nexthops", "table",  "protocol",
    "metric", "prefsrc", "tos",  "encap",   "metrics", "pref", "cache",  "nhid",  "ifindex",  "ifname", "host"};
static_assert(std::size(MEMBERS) == static_cast<size_t>(member::other));

// In the order of the kernel's numbers.
constexpr std::string_view ROUTE_TYPES[] = {"none",      "unicast",   "local",       "broadcast", "anycast",
                                      "multicast", "blackhole", "unreachable", "prohibit",  "throw"};

member member_of(std::string_view name)
{
    return static_cast<member>(std::find(std::begin(MEMBERS), std::end(MEMBERS), name) - std::begin(MEMBERS));
}

std::string_view name_of(member which)
{
    return MEMBERS[static_cast<size_t>(which)];
}

// The kernel's number, which `ip -N` prints itself, or one that no route has.
uint8_t type_of(std::string_view name)
{
    const auto found = std::find(std::begin(ROUTE_TYPES), std::end(ROUTE_TYPES), name);
    if (found != std::end(ROUTE_TYPES))
        return static_cast<uint8_t>(found - std::begin(ROUTE_TYPES));
    return parse_number<uint8_t>(name).value_or(RTN_UNSPEC);
}

} // namespace

bool is_kernel_json(byte_span start)
{
    std::string_view text = without_byte_order_mark({reinterpret_cast<const char *>(start.data()), start.size()});
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    return text.starts_with('[') || text.starts_with('{');
}

bool kernel_json::next_entry(kernel_route &entry)
{
    while (next_object()) {
        if (parse_object(entry))
            return true;
    }
    return false;
}

// Goes to the start of the next object.
bool kernel_json::next_object()
{
    for (;;) {
        switch (tokens_.next().kind) {
        case json_kind::begin_object:
            return true;
        case json_kind::begin_array:
            if (std::exchange(is_in_array_, true))
                tokens_.stop("expected an object, as ip -j route prints one for each route");
            break;
        case json_kind::end_array:
            is_in_array_ = false;
            break;
        case json_kind::end:
            return false;
        default:
            tokens_.stop("expected an object, as ip -j route prints one for each route");
        }
    }
}

// False where the object is no route, but is understood.
bool kernel_json::parse_object(kernel_route &entry)
{
    entry.clear();
    entry.type = RTN_UNICAST;
    entry.place_number = tokens_.line();
    entry.place_offset = tokens_.column();
    object from;
    for (json_token token = tokens_.next(); token.kind == json_kind::key; token = tokens_.next()) {
        const member which = member_of(token.text);
        from.is_empty = false;
        parse_member(which, tokens_.next(), from, entry);
    }
    return finish(from, entry);
}

void kernel_json::parse_member(member which, const json_token &value, object &from, kernel_route &entry)
{
    if (parse_hop_member(which, value, from.hop, from, entry)) {
        from.has_hop |= which == member::gateway || which == member::via || which == member::dev;
        from.is_in_encapsulation = which == member::encap;
    } else if (from.is_in_encapsulation && which != member::nexthops) {
        tokens_.skip_rest_of(value);
    } else {
        parse_route_member(which, value, from, entry);
    }
}

void kernel_json::parse_route_member(member which, const json_token &value, object &from, kernel_route &entry)
{
    switch (which) {
    case member::dst:
        parse_destination(value, from);
        return;
    case member::type:
        entry.type = type_of(text(which, value));
        return;
    case member::nexthops:
        parse_hops(value, from, entry);
        return;
    case member::table:
        entry.table = named(which, value, tables_);
        if (!entry.table)
            entry.unknown_table = number_of_unknown_table(value.text);
        return;
    case member::protocol:
        entry.protocol = named(which, value, protocols_);
        entry.has_unknown_protocol = !entry.protocol;
        return;
    case member::metric:
        entry.metric = number(which, value);
        return;
    case member::prefsrc:
        entry.source = address(which, value);
        from.is_ipv6 |= entry.source->is_ipv6;
        return;
    case member::pref: // only IPv6 has it
        from.is_ipv6 = true;
        entry.has_preference = text(which, value) != "medium";
        return;
    case member::from:
        from.is_ipv6 |= text(which, value).find(':') != std::string_view::npos;
        entry.is_for_one_source = true;
        return;
    case member::ifindex:
        from.link_index = number(which, value);
        return;
    case member::ifname:
        from.link_name = text(which, value);
        return;
    default:
        break;
    }
    entry.is_for_one_service |= which == member::tos;
    entry.has_transport_metrics |= which == member::metrics;
    entry.is_cached |= which == member::cache;
    entry.names_hop_object |= which == member::nhid;
    tokens_.skip_rest_of(value);
}

// What a route with one hop and each hop of a route with several say alike; false for any other member.
bool kernel_json::parse_hop_member(member which, const json_token &value, kernel_hop &hop, object &from,
                                   kernel_route &entry)
{
    switch (which) {
    case member::gateway:
        hop.gateway = address(which, value);
        from.is_ipv6 |= hop.gateway->is_ipv6;
        return true;
    case member::via: // a gateway of the other family
        parse_via(value, hop);
        return true;
    case member::dev:
        hop.interface_index = interface_index(value);
        entry.unknown_interfaces += !hop.interface_index;
        return true;
    case member::flags:
        parse_flags(value, hop);
        return true;
    case member::encap:
        ++entry.encapsulations;
        tokens_.skip_rest_of(value);
        return true;
    default:
        return false;
    }
}

void kernel_json::parse_destination(const json_token &value, object &from)
{
    const std::string_view shown = text(member::dst, value);
    from.is_default = shown == "default";
    if (from.is_default)
        return;
    if (const std::optional<ip_address> host = parse_address(shown))
        from.destination = {*host, host->bit_count()};
    else
        from.destination = parse_prefix(shown);
    if (!from.destination)
        bad(member::dst, value);
    ip_address masked = from.destination->address;
    mask_address(masked, from.destination->length);
    if (masked != from.destination->address)
        tokens_.stop("{} has bits behind its prefix length", shown);
}

void kernel_json::parse_via(const json_token &value, kernel_hop &hop)
{
    require(json_kind::begin_object, member::via, value);
    for (json_token token = tokens_.next(); token.kind == json_kind::key; token = tokens_.next()) {
        const bool is_host = member_of(token.text) == member::host;
        const json_token inner = tokens_.next();
        if (is_host)
            hop.gateway = address(member::host, inner);
        else
            tokens_.skip_rest_of(inner);
    }
}

void kernel_json::parse_flags(const json_token &value, kernel_hop &hop)
{
    require(json_kind::begin_array, member::flags, value);
    for (json_token token = tokens_.next(); token.kind != json_kind::end_array; token = tokens_.next()) {
        const std::string_view flag = text(member::flags, token);
        hop.is_on_link |= flag == "onlink";
        hop.is_dead |= flag == "dead";
        hop.is_link_down |= flag == "linkdown";
    }
}

void kernel_json::parse_hops(const json_token &value, object &from, kernel_route &entry)
{
    require(json_kind::begin_array, member::nexthops, value);
    for (json_token each = tokens_.next(); each.kind != json_kind::end_array; each = tokens_.next()) {
        require(json_kind::begin_object, member::nexthops, each);
        if (entry.hops.size() == MAX_PATHS)
            tokens_.stop("more than {} next hops, and no frame holds them", MAX_PATHS);
        kernel_hop &hop = entry.hops.emplace_back();
        for (json_token token = tokens_.next(); token.kind == json_kind::key; token = tokens_.next()) {
            const member which = member_of(token.text);
            const json_token inner = tokens_.next();
            if (which == member::weight)
                hop.weight = number(which, inner);
            else if (!parse_hop_member(which, inner, hop, from, entry))
                tokens_.skip_rest_of(inner);
        }
    }
}

// False where the object is none of a route: `ip -j link` prints those of interfaces, and empty ones for what it does not show.
bool kernel_json::finish(object &from, kernel_route &entry)
{
    if (from.is_default)
        from.destination = ip_prefix{ip_address{.is_ipv6 = from.is_ipv6, .bytes = {}}, 0};
    if (!from.destination) {
        if (from.link_index && !from.link_name.empty())
            interfaces_.insert_or_assign(std::move(from.link_name), *from.link_index);
        else if (!from.is_empty)
            fail(EXIT_MALFORMED, "{}: an object without dst, which each route has",
                 place_of(entry.place_number, entry.place_offset));
        return false;
    }
    entry.prefix = *from.destination;
    if (entry.hops.empty() && from.has_hop)
        entry.hops.push_back(from.hop);
    return true;
}

void kernel_json::require(json_kind kind, member which, const json_token &value) const
{
    if (value.kind != kind)
        tokens_.stop("{} is no {}", name_of(which), kind == json_kind::begin_array ? "array" : "object");
}

std::string_view kernel_json::text(member which, const json_token &value) const
{
    if (value.kind != json_kind::string)
        tokens_.stop("{} is no text", name_of(which));
    return value.text;
}

void kernel_json::bad(member which, const json_token &value) const
{
    constexpr size_t MOST_SHOWN = 60;
    tokens_.stop("bad {} \"{}\"", name_of(which), terminal::visible(value.text.substr(0, MOST_SHOWN)));
}

uint32_t kernel_json::number(member which, const json_token &value) const
{
    const auto parsed = parse_number<uint32_t>(value.text);
    if (!parsed)
        bad(which, value);
    return *parsed;
}

ip_address kernel_json::address(member which, const json_token &value) const
{
    const std::optional<ip_address> parsed = parse_address(text(which, value));
    if (!parsed)
        bad(which, value);
    return *parsed;
}

// Nothing for a name without a number.
std::optional<uint32_t> kernel_json::named(member which, const json_token &value, const name_numbers &names) const
{
    return number_of(names, value.kind == json_kind::number ? value.text : text(which, value));
}

// Tables whose names have no number are told apart all the same.
uint32_t kernel_json::number_of_unknown_table(std::string_view name)
{
    return unknown_tables_.try_emplace(std::string(name), static_cast<uint32_t>(unknown_tables_.size() + 1))
        .first->second;
}

std::optional<uint32_t> kernel_json::interface_index(const json_token &value) const
{
    const auto found = interfaces_.find(text(member::dev, value));
    return found != interfaces_.end() ? std::optional(found->second) : std::nullopt;
}

} // namespace ribtool
