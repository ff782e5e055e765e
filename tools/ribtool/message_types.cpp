#include "tools/ribtool/message_types.hpp"

#include "tools/ribtool/command_line.hpp"
#include "tools/ribtool/errors.hpp"

#include <algorithm>
#include <numeric>
#include <span>
#include <string_view>
#include <vector>

namespace ribtool
{

namespace
{

constexpr size_t NAMES_SHOWN = 3;

// Characters to insert, remove or change.
size_t edit_distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

std::vector<std::string> nearest_names(std::string_view name)
{
    std::vector<std::string> names;
    for (const zidl::message_descriptor *type : std::span(zidl::all_messages, zidl::message_count))
        names.emplace_back(type->name);
    const auto is_nearer = [name](const std::string &a, const std::string &b) {
        return edit_distance(name, a) < edit_distance(name, b);
    };
    std::stable_sort(names.begin(), names.end(), is_nearer);
    names.resize(std::min(names.size(), NAMES_SHOWN));
    return names;
}

} // namespace

const zidl::message_descriptor &message_type_named(const std::string &name)
{
    if (const zidl::message_descriptor *const type = zidl::find_message(name.c_str()); type != nullptr)
        return *type;
    constexpr size_t MAX_NAME = 100; // of what is compared with all names
    fail(EXIT_USAGE, "no message type has the name \"{}\"; the nearest are {}", name,
         enumerated(nearest_names(std::string_view(name).substr(0, MAX_NAME)), " and "));
}

const zidl::message_descriptor *message_type_of(uint16_t code)
{
    switch (code) {
    case RIB_TLV_GRID:
        return zidl::find_message("rib_grid_sync_list");
    case RIB_TLV_PROTO:
        return zidl::find_message("ip_rib_proto_update");
    case RIB_TLV_NHID:
        return zidl::find_message("rib_nhid_update");
    case RIB_TLV_OPAQUE:
        return zidl::find_message("ip_rib_opaque");
    case RIB_TLV_ROUTE:
        return zidl::find_message("rib_route");
    default:
        return nullptr;
    }
}

} // namespace ribtool
