#include "tools/ribtool/state/record_difference.hpp"

#include "inspect/records/record_content.hpp"
#include "inspect/records/record_json.hpp"

#include <algorithm>
#include <cstring>
#include <map>
#include <span>

namespace ribtool
{

namespace
{

using rib_inspect::client_record;
using rib_inspect::member_kind;
using rib_inspect::record_member;
using rib_inspect::record_type;
using rib_inspect::view_of;

using paths = std::vector<const rib_path_entry *>;

bool is_list_of_paths(const record_member &member)
{
    return member.kind == member_kind::list && member.element->type == &rib_inspect::PATH_ENTRY;
}

// Paths are compared by themselves, and how many they are says nothing more.
bool is_about_paths(const record_type &type, const record_member &member)
{
    if (is_list_of_paths(member))
        return true;
    return std::ranges::any_of(type.members, [&](const record_member &each) {
        return is_list_of_paths(each) && each.extent.size != 0 && each.extent.offset == member.offset;
    });
}

// What lies in the record itself, without a pointer; more than that has to be looked up.
bool lies_in_record(const record_member &member)
{
    switch (member.kind) {
    case member_kind::number:
    case member_kind::text:
    case member_kind::address:
    case member_kind::bytes:
        return true;
    case member_kind::record:
        return std::ranges::all_of(member.type->members, lies_in_record);
    case member_kind::list:
        return member.place == rib_inspect::list_place::inside && lies_in_record(*member.element);
    case member_kind::block:
    case member_kind::far_record:
    case member_kind::attr_block:
    case member_kind::layout:
        break;
    }
    return false;
}

const uint8_t *bytes_of(const client_record &record)
{
    return static_cast<const uint8_t *>(record.data);
}

bool has_same_bytes(const record_member &member, const client_record &a, const client_record &b)
{
    const auto same = [&](size_t offset, size_t size) {
        return size == 0 || std::memcmp(bytes_of(a) + offset, bytes_of(b) + offset, size) == 0;
    };
    return lies_in_record(member) && same(member.offset, member.size) && same(member.extent.offset, member.extent.size);
}

std::string json_of(const client_record &record)
{
    std::string text;
    rib_inspect::append_json(text, record);
    return text;
}

// `{"rt_value_9":5}` without the braces and the name; empty where the record has no such member, being of another variant.
std::string value_of(const record_member &member, const client_record &of)
{
    const record_type alone = {of.type->name, of.type->size, std::span(&member, 1)};
    const std::string text = json_of({&alone, of.data, of.payload_end});
    return text.size() <= 2 ? "" : text.substr(1 + member.key.size(), text.size() - 2 - member.key.size());
}

// Calls found(member, value in a, value in b) for each member that differs, until it gives false.
template <class Found>
void find_member_differences(const client_record &a, const client_record &b, Found found)
{
    for (const record_member &member : a.type->members) {
        if (member.kind == member_kind::layout || has_same_bytes(member, a, b) || !rib_inspect::is_content(member) ||
            is_about_paths(*a.type, member))
            continue;
        std::string value_a = value_of(member, a);
        std::string value_b = value_of(member, b);
        if (value_a != value_b && !found(member, std::move(value_a), std::move(value_b)))
            return;
    }
}

std::vector<member_difference> member_differences(const client_record &a, const client_record &b)
{
    std::vector<member_difference> differences;
    find_member_differences(a, b, [&](const record_member &member, std::string value_a, std::string value_b) {
        differences.push_back({member.name(), std::move(value_a), std::move(value_b)});
        return true;
    });
    return differences;
}

bool has_member_difference(const client_record &a, const client_record &b)
{
    bool has_one = false;
    find_member_differences(a, b, [&](const record_member &, const std::string &, const std::string &) {
        has_one = true;
        return false;
    });
    return has_one;
}

// ---- Paths ----

paths paths_of(const client_record &record)
{
    paths found;
    if (record.type != &rib_inspect::ROUTE)
        return found;
    const auto &route = *static_cast<const struct rib_routetype_ *>(record.data);
    const rib_path_entry *path = rib_route_first_path(&route);
    for (uint32_t index = 0; index < route.rt_path_count; ++index, path = rib_route_next_path(path))
        found.push_back(path);
    return found;
}

bool has_same_bytes(const rib_path_entry &a, const rib_path_entry &b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 &&
           std::memcmp(rib_path_ecomm_values(&a), rib_path_ecomm_values(&b), a.pe_ecomm_count * sizeof(uint64_t)) == 0;
}

// Takes away what both have in the same place.
void leave_out_same_places(paths &a, paths &b)
{
    const size_t least = std::min(a.size(), b.size());
    size_t kept = 0;
    for (size_t index = 0; index < least; ++index) {
        if (has_same_bytes(*a[index], *b[index]))
            continue;
        a[kept] = a[index];
        b[kept] = b[index];
        ++kept;
    }
    a.erase(a.begin() + static_cast<std::ptrdiff_t>(kept), a.begin() + static_cast<std::ptrdiff_t>(least));
    b.erase(b.begin() + static_cast<std::ptrdiff_t>(kept), b.begin() + static_cast<std::ptrdiff_t>(least));
}

// Takes away each path that the other has, too, as often as it has it.
void leave_out_common(paths &a, paths &b)
{
    std::multimap<std::string, const rib_path_entry *> of_b;
    for (const rib_path_entry *path : b)
        of_b.emplace(json_of(view_of(path)), path);
    std::erase_if(a, [&](const rib_path_entry *path) {
        const auto found = of_b.find(json_of(view_of(path)));
        if (found == of_b.end())
            return false;
        std::erase(b, found->second);
        of_b.erase(found);
        return true;
    });
}

bool has_same_next_hop(const rib_path_entry *a, const rib_path_entry *b)
{
    return a->pe_addr_5_family == b->pe_addr_5_family &&
           std::memcmp(a->pe_addr_5, b->pe_addr_5, sizeof a->pe_addr_5) == 0;
}

void add_pair(record_difference &all, const rib_path_entry *a, const rib_path_entry *b)
{
    all.changed_paths.push_back({a, b, member_differences(view_of(a), view_of(b))});
}

// First paths of one next hop, then the others in their order; what is over on one side was removed or added.
void pair(paths a, paths b, record_difference &all)
{
    std::erase_if(a, [&](const rib_path_entry *path) {
        const auto found =
            std::ranges::find_if(b, [&](const rib_path_entry *other) { return has_same_next_hop(path, other); });
        if (found == b.end())
            return false;
        add_pair(all, path, *found);
        b.erase(found);
        return true;
    });
    const auto least = static_cast<std::ptrdiff_t>(std::min(a.size(), b.size()));
    for (std::ptrdiff_t index = 0; index < least; ++index)
        add_pair(all, a[static_cast<size_t>(index)], b[static_cast<size_t>(index)]);
    all.removed_paths.assign(a.begin() + least, a.end());
    all.added_paths.assign(b.begin() + least, b.end());
}

} // namespace

bool is_same(const client_record &a, const client_record &b)
{
    if (has_member_difference(a, b))
        return false;
    paths of_a = paths_of(a);
    paths of_b = paths_of(b);
    if (of_a.size() != of_b.size())
        return false;
    leave_out_same_places(of_a, of_b);
    leave_out_common(of_a, of_b);
    return of_a.empty();
}

record_difference difference(const client_record &a, const client_record &b)
{
    record_difference all;
    all.members = member_differences(a, b);
    paths of_a = paths_of(a);
    paths of_b = paths_of(b);
    leave_out_same_places(of_a, of_b);
    leave_out_common(of_a, of_b);
    pair(std::move(of_a), std::move(of_b), all);
    return all;
}

} // namespace ribtool
