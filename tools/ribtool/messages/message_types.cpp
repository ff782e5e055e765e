#include "tools/ribtool/messages/message_types.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/options/nearest_names.hpp"

#include <span>
#include <vector>

namespace ribtool
{

namespace
{

std::vector<std::string> all_names()
{
    std::vector<std::string> names;
    for (const zidl::message_descriptor *type : std::span(zidl::all_messages, zidl::message_count))
        names.emplace_back(type->name);
    return names;
}

} // namespace

const zidl::message_descriptor &message_type_named(const std::string &name)
{
    if (const zidl::message_descriptor *const type = zidl::find_message(name.c_str()); type != nullptr)
        return *type;
    fail(EXIT_USAGE, "no message type has the name \"{}\"; the nearest are {}", name,
         enumerated(nearest_names(name, all_names()), " and "));
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
