#include "inspect/measure/measure.hpp"

#include "inspect/explain/conversion.hpp"
#include "inspect/measure/fixed.hpp"
#include "inspect/measure/prober.hpp"
#include "inspect/measure/trials.hpp"
#include "inspect/measure/units.hpp"
#include "inspect/measure/values.hpp"

#include <algorithm>

namespace rib_inspect
{

using zidl::message_descriptor;

namespace
{

void measure_message(uint32_t code, const message_descriptor &type, bytes_view payload, measuring how, trials all,
                     measurement &out)
{
    const decoded_message msg(type, payload);
    value_list values(msg, payload, out);
    value_units parts = values.by_unit(how == measuring::reduced);
    if (how == measuring::reduced && code == RIB_TLV_ROUTE)
        return measure_route(code, msg, parts, all);
    if (how == measuring::reduced && code == RIB_TLV_GRID)
        return measure_grid(code, msg, parts, all);
    message_prober probe(code, type, msg.record());
    measure_unit(probe, parts[0], all);
}

class nobody : public record_taker
{
public:
    void take(const client_record &) override {}
    void take_number(const record_member &, uint64_t) override {}
};

} // namespace

const message_descriptor *message_of_code(uint32_t code)
{
    switch (code) {
    case RIB_TLV_PROTO:
        return zidl::find_message("ip_rib_proto_update");
    case RIB_TLV_OPAQUE:
        return zidl::find_message("ip_rib_opaque");
    case RIB_TLV_ROUTE:
        return zidl::find_message("rib_route");
    case RIB_TLV_GRID:
        return zidl::find_message("rib_grid_sync_list");
    case RIB_TLV_NHID:
        return zidl::find_message("rib_nhid_update");
    default:
        return nullptr;
    }
}

measurement measure(uint32_t code, bytes_view payload, measuring how, size_t converted_at_most)
{
    measurement out;
    nobody nobody;
    out.outcome = convert(code, payload, nobody);
    if (out.outcome != RIB_DELIVERED)
        return out;
    if (const message_descriptor *type = message_of_code(code))
        measure_message(code, *type, payload, how, {{}, converted_at_most}, out);
    else
        measure_fixed(code, payload, out);
    return out;
}

std::vector<field_path> deciding_presence(uint32_t code, bytes_view payload)
{
    std::vector<field_path> deciding;
    const message_descriptor *const type = message_of_code(code);
    if (type == nullptr)
        return deciding;
    const decoded_message msg(*type, payload);
    message_prober probe(code, *type, msg.record());
    if (probe.start())
        return deciding;
    walk({type, payload, msg.record(), false}, [&](const walk_event &event) {
        if (event.part != walk_part::value || event.field->repeated || event.member == nullptr)
            return;
        const message_at in = message_of(event);
        in.set_present(*event.field, false);
        if (!probe.look().decides)
            deciding.push_back(path_of(event));
        in.set_present(*event.field, true);
    });
    return deciding;
}

const measured_value *measurement::find(size_t tag_offset) const
{
    const auto found =
        std::lower_bound(values.begin(), values.end(), tag_offset,
                         [](const measured_value &each, size_t offset) { return each.tag_offset < offset; });
    return found != values.end() && found->tag_offset == tag_offset ? &*found : nullptr;
}

} // namespace rib_inspect
