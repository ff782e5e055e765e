#include "bench/workloads.hpp"

#include "bench/record_filler.hpp"

#include <algorithm>
#include <stdexcept>

namespace bench
{
namespace
{

constexpr uint64_t seed = 2028;
constexpr size_t route_total = 65'536;
constexpr size_t update_total = 1024;
constexpr uint32_t address_bytes = 16;

bool always(const zidl::message_descriptor &, const zidl::field_descriptor &, uint64_t)
{
    return true;
}

bool belongs_to(const zidl::message_descriptor &type, std::initializer_list<std::string_view> names)
{
    return std::find(names.begin(), names.end(), type.name) != names.end();
}

// How often a field of a route is there: what every route and path has, optional numbers, each with a frequency of its own,
// and what few routes have.
uint32_t percent_present(const zidl::message_descriptor &type, const zidl::field_descriptor &field)
{
    static constexpr uint32_t frequencies[] = {5, 10, 15, 20, 30, 40, 50, 60};
    const std::string_view member = field.member;
    if (member == "route_prefix" || member == "paths" || member == "path_address_4" ||
        belongs_to(type, {"rib_prefix", "rib_ipv6_address"}))
        return 100;
    if (!belongs_to(type, {"rib_route", "rib_path"}))
        return 60;
    if (field.repeated || field.type == zidl::kind::message)
        return 7;
    return frequencies[mix(belongs_to(type, {"rib_route"}), field.number) % std::size(frequencies)];
}

// Arrays of the routes of a table.
uint32_t short_count(random_source &random, const zidl::field_descriptor &field)
{
    return std::string_view(field.member) == "paths" ? 1 + random.pick({70, 20, 6, 4}) : random.between(1, 8);
}

uint32_t attribute_bytes(const zidl::field_descriptor &)
{
    return 8;
}

// Every coin is its own.
void make_full(workload &made, random_source &random, size_t total)
{
    const recipe how{
        [&](const auto &type, const auto &field, uint64_t) { return random.chance(percent_present(type, field)); },
        [&](const auto &field) { return short_count(random, field); }, attribute_bytes};
    record_filler filler(random, how);
    for (size_t i = 0; i < total; ++i)
        made.messages.push_back(filler.make(*made.type));
}

// The coins are thrown once for each of twelve classes. One route in five is of another class than the one before it, or
// of the same by chance.
void make_mixed(workload &made, random_source &random, size_t total)
{
    uint64_t route_class = 0;
    const recipe how{[&](const auto &type, const auto &field, uint64_t place) {
                         return mix(route_class, place) % 100 < percent_present(type, field);
                     },
                     [&](const auto &field) { return short_count(random, field); }, attribute_bytes};
    record_filler filler(random, how);
    for (size_t i = 0; i < total; ++i) {
        if (i == 0 || random.chance(20))
            route_class = 1500 + random.pick({450, 180, 90, 20, 20, 20, 20, 20, 20, 20, 20, 20});
        made.messages.push_back(filler.make(*made.type));
    }
}

bytes make_one(const char *type, random_source &random, const recipe &how)
{
    return record_filler(random, how).make(*zidl::find_message(type));
}

void put_name(bytes &encoded, uint8_t tag, const std::string &name)
{
    encoded.push_back(tag);
    encoded.push_back(static_cast<uint8_t>(name.size()));
    encoded.insert(encoded.end(), name.begin(), name.end());
}

// One of eight protocols, and in 60 % of them an instance of it.
void make_proto(workload &made, random_source &random, size_t total)
{
    static constexpr const char *names[] = {"bgp",       "isis",       "ospfv3",    "static",
                                            "connected", "subscriber", "multicast", "lisp-mapping"};
    for (size_t i = 0; i < total; ++i) {
        const std::string name = names[random.below(std::size(names))];
        bytes encoded = {0x08,
                         static_cast<uint8_t>(0x80 | random.below(128)),
                         0x01,
                         0x10,
                         static_cast<uint8_t>(random.below(128)),
                         0x18,
                         static_cast<uint8_t>(0x80 | random.below(128)),
                         static_cast<uint8_t>(1 + random.below(127))};
        put_name(encoded, 0x22, name);
        if (random.chance(60))
            put_name(encoded, 0x2a, name + "-" + std::to_string(random.value32()));
        made.messages.push_back(encoded);
    }
}

void make_opaque(workload &made, random_source &random, size_t total)
{
    const recipe how{always, {}, [&](const auto &field) {
                         return std::string_view(field.member) == "first_block" ? random.between(32, 127)
                                                                                : random.between(16, 255);
                     }};
    record_filler filler(random, how);
    for (size_t i = 0; i < total; ++i)
        made.messages.push_back(filler.make(*made.type));
}

// A whole update of 256 locators, with an opcode and an endpoint of every behaviour.
bytes make_srv6()
{
    random_source random(seed);
    return make_one(
        "ip_rib_srv6_update", random,
        {always,
         [&](const auto &field) { return std::string_view(field.member) == "locators" ? 256 : random.between(2, 8); },
         [](const auto &) { return address_bytes; }});
}

// Nearly every attribute; with `convertible`, none that keeps a client from converting the route.
bytes make_wide(uint32_t paths, bool convertible)
{
    random_source random(seed);
    return make_one("rib_route", random,
                    {[&](const auto &, const auto &field, uint64_t) {
                         const std::string_view member = field.member;
                         if (convertible && (member == "route_value_34" || member == "path_value_27"))
                             return false;
                         return field.repeated || field.type == zidl::kind::message || random.chance(95);
                     },
                     [&](const auto &field) -> uint32_t {
                         const std::string_view member = field.member;
                         if (member == "paths")
                             return paths;
                         if (member == "algo_labels")
                             return 32;
                         return member == "nnh_entries" ? 8 : member == "path_values_9" ? 4 : 2;
                     },
                     attribute_bytes});
}

} // namespace

size_t workload::total_bytes() const
{
    size_t total = 0;
    for (const bytes &message : messages)
        total += message.size();
    return total;
}

const std::vector<std::string_view> &workload_names()
{
    static const std::vector<std::string_view> names = {"full", "mixed", "wide", "grid", "proto", "opaque", "srv6"};
    return names;
}

const char *type_name(std::string_view workload_name)
{
    if (workload_name == "full" || workload_name == "mixed" || workload_name == "wide")
        return "rib_route";
    if (workload_name == "grid")
        return "rib_grid_sync_list";
    if (workload_name == "proto")
        return "ip_rib_proto_update";
    if (workload_name == "opaque")
        return "ip_rib_opaque";
    if (workload_name == "srv6")
        return "ip_rib_srv6_update";
    throw std::invalid_argument("no such workload: " + std::string(workload_name));
}

workload make_workload(std::string_view name, size_t limit)
{
    workload made{std::string(name), zidl::find_message(type_name(name)), {}};
    random_source random(seed);
    if (name == "full")
        make_full(made, random, std::min(limit, route_total));
    else if (name == "mixed")
        make_mixed(made, random, std::min(limit, route_total));
    else if (name == "wide")
        made.messages.push_back(make_route(64));
    else if (name == "grid")
        made.messages.push_back(make_grid(1026));
    else if (name == "proto")
        make_proto(made, random, std::min(limit, update_total));
    else if (name == "opaque")
        make_opaque(made, random, std::min(limit, update_total));
    else
        made.messages.push_back(make_srv6());
    return made;
}

bytes make_route(uint32_t paths)
{
    return make_wide(paths, false);
}

bytes make_convertible_route(uint32_t paths)
{
    return make_wide(paths, true);
}

// Keys that carry labels and keys that carry SRv6 carriers in turns, with what the client library requires of each.
bytes make_grid(uint32_t keys)
{
    random_source random(seed);
    bool is_srv6 = false;
    return make_one("rib_grid_sync_list", random,
                    {[&](const auto &type, const auto &field, uint64_t) {
                         const std::string_view member = field.member;
                         if (!belongs_to(type, {"rib_encap_id_key"}))
                             return true;
                         if (field.number == 1)
                             is_srv6 = !is_srv6;
                         if (member == "label_key" || member == "srv6_carriers")
                             return (member == "srv6_carriers") == is_srv6;
                         return field.number <= 5 || random.chance(25);
                     },
                     [&](const auto &field) -> uint32_t {
                         const std::string_view member = field.member;
                         return member == "keys" || member == "encap_ids" ? keys : random.between(1, 3);
                     },
                     [](const auto &) { return address_bytes; }});
}

} // namespace bench
