#include "tools/ribtool/library/update_types.hpp"

#include "tools/ribtool/library/older_forms.hpp"
#include "tools/ribtool/library/older_route_client.hpp"

#include <algorithm>
#include <functional>
#include <iterator>

namespace ribtool
{

namespace
{

using rib_inspect::view_of;

// ---- Callbacks ----

// Runs `fill`, which adds the callback's arguments to the line, and prints the line.
template <class Fill>
int deliver(delivery &to, Fill fill) noexcept
{
    ++to.callbacks;
    if (to.lines == nullptr)
        return 0;
    const auto started = std::chrono::steady_clock::now();
    try {
        fill(*to.lines, *to.line);
        to.lines->print();
    } catch (...) {
        to.failed = std::current_exception();
    }
    to.in_callbacks += std::chrono::steady_clock::now() - started;
    return 0;
}

template <class... Record>
void note_facts(delivery &to, const Record &...record)
{
    if (to.facts != nullptr)
        *to.facts = facts_of(record...);
}

int on_proto(uint32_t update_id, rib_protoid_map *map, void *ctx)
{
    delivery &to = *static_cast<delivery *>(ctx);
    note_facts(to, *map);
    return deliver(to, [&](record_lines &lines, json_line &line) {
        line.add_number("update_id", update_id);
        lines.add_record(view_of(*map));
    });
}

int on_opaque(uint32_t update_id, uint32_t sub_id, rib_opaque_update *opaque, void *ctx)
{
    delivery &to = *static_cast<delivery *>(ctx);
    note_facts(to, *opaque, to.payload_end == nullptr);
    return deliver(to, [&](record_lines &lines, json_line &line) {
        line.add_number("update_id", update_id);
        line.add_number("sub_id", sub_id);
        lines.add_record(view_of(*opaque, to.payload_end));
    });
}

int deliver_route(delivery &to, uint32_t update_id, const struct rib_routetype_ *route, bool is_older)
{
    ++to.routes;
    to.paths += route == nullptr ? 0 : route->rt_path_count;
    if (route != nullptr)
        note_facts(to, *route);
    return deliver(to, [&](record_lines &lines, json_line &line) {
        line.add_number("update_id", update_id);
        if (is_older)
            line.add_bool("released", older_route_released());
        if (route == nullptr)
            line.add_null("record");
        else
            lines.add_record(view_of(*route));
    });
}

int on_route(uint32_t update_id, struct rib_routetype_ *route, void *ctx)
{
    return deliver_route(*static_cast<delivery *>(ctx), update_id, route, false);
}

int on_older_route(uint32_t update_id, struct rib_routetype_ *route, void *ctx)
{
    return deliver_route(*static_cast<delivery *>(ctx), update_id, route, true);
}

int on_grid(void *record, void *ctx, uint32_t tlv_type)
{
    delivery &to = *static_cast<delivery *>(ctx);
    const auto deliver_record = [&](const auto &known) {
        note_facts(to, known);
        return deliver(to, [&](record_lines &lines, json_line &) { lines.add_record(view_of(known)); });
    };
    return tlv_type == RIB_TLV_GRID ? deliver_record(*static_cast<const grid_sync_list *>(record))
                                    : deliver_record(*static_cast<const nhid_update_local *>(record));
}

// ---- Entry points ----

void parse_proto(entry_call &call)
{
    rib_lib_pvt_parse_proto_update(on_proto, &call.update, call.to);
}

void parse_opaque(entry_call &call)
{
    rib_lib_pvt_parse_opaque_update(on_opaque, &call.update, call.to);
}

void parse_older_opaque(entry_call &call)
{
    call.to->payload_end = call.payload.data() + call.payload.size();
    parse_opaque(call);
}

void parse_route(entry_call &call)
{
    rib_route_client client = {call.to, nullptr, on_route};
    rib_lib_pvt_parse_route_update(&call.update, on_older_route, convert_older_route, release_older_route, 0, &client);
}

void parse_older_route(entry_call &call)
{
    call.update.update_kind = older_route_head_of(call.payload.data()).kind;
    rib_lib_pvt_parse_route_update(&call.update, on_older_route, convert_older_route, release_older_route, 0, call.to);
}

void parse_grid(entry_call &call)
{
    rib_lib_pvt_parse_grid_update(on_grid, &call.update, call.to);
}

std::string any_payload(byte_span)
{
    return {};
}

// ---- The table ----

constexpr update_type TYPES[] = {
    {RIB_TLV_OLD_ROUTE, "route, older form", parse_older_route, older_route_violation},
    {RIB_TLV_OLD_OPAQUE, "opaque, older form", parse_older_opaque, any_payload},
    {RIB_TLV_OLD_PROTO, "protocol, older form", parse_proto, older_proto_violation},
    {RIB_TLV_GRID, "grid list", parse_grid, any_payload},
    {RIB_TLV_PROTO, "protocol", parse_proto, any_payload},
    {RIB_TLV_NHID, "next-hop ID", parse_grid, any_payload},
    {RIB_TLV_OPAQUE, "opaque", parse_opaque, any_payload},
    {RIB_TLV_ROUTE, "route", parse_route, any_payload},
};

// An update that nobody hands over would be counted as one that the library drops.
static_assert(std::ranges::all_of(TYPES,
                                  [](const update_type &type) {
                                      return !type.name.empty() && type.parse != nullptr && type.violation != nullptr;
                                  }),
              "every type of update has a name, an entry point and a check of its payload");
static_assert(TYPES[0].code > DELIMITER_CODE && std::ranges::adjacent_find(TYPES, std::ranges::greater_equal(),
                                                                           &update_type::code) == std::end(TYPES),
              "the codes ascend, and a delimiter's is none of them");

} // namespace

std::span<const update_type> update_types()
{
    return TYPES;
}

const update_type *find_update_type(uint16_t code)
{
    const auto *found = std::ranges::find(TYPES, code, &update_type::code);
    return found == std::end(TYPES) ? nullptr : found;
}

} // namespace ribtool
