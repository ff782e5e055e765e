#include "inspect/measure/fixed.hpp"

#include "inspect/measure/conclusions.hpp"
#include "inspect/measure/prober.hpp"
#include "inspect/measure/trials.hpp"

#include <algorithm>

namespace rib_inspect
{

namespace
{

// Numbers are in network byte order.
uint64_t number_at(bytes_view payload, size_t offset, size_t len)
{
    uint64_t number = 0;
    for (size_t i = 0; i < len; ++i)
        number = number << 8 | payload[offset + i];
    return number;
}

void try_fixed(payload_prober &probe, const fixed_field &field, sightings &seen)
{
    seen.units = static_cast<uint32_t>(field.is_number ? 8 * field.len : field.len);
    const size_t stride = field.len > bytes_at_most ? field.len / bytes_at_most : 1;
    for (size_t i = 0; i < field.len; i += stride) {
        bool changes = false;
        const size_t at = field.is_number ? field.offset + field.len - 1 - i : field.offset + i;
        for (uint32_t bit = 0; bit < 8; ++bit) {
            probe.byte(at) = static_cast<uint8_t>(probe.byte(at) ^ 1 << bit);
            const sight &one = probe.look();
            probe.byte(at) = static_cast<uint8_t>(probe.byte(at) ^ 1 << bit);
            seen.add(one);
            changes |= !one.is_nothing();
            if (field.is_number && one.is_nothing())
                seen.lost.push_back(static_cast<uint32_t>(8 * i + bit));
        }
        if (!field.is_number && !changes)
            seen.lost.push_back(static_cast<uint32_t>(i));
    }
}

} // namespace

void measure_fixed(uint32_t code, bytes_view payload, measurement &out)
{
    payload_prober probe(code, payload);
    if (!probe.start())
        return;
    const std::vector<fixed_field> fields = fixed_fields(code, payload);
    std::vector<sightings> seen(fields.size());
    owners all;
    for (size_t i = 0; i < fields.size(); ++i) {
        try_fixed(probe, fields[i], seen[i]);
        all.add(seen[i]);
    }
    for (size_t i = 0; i < fields.size(); ++i) {
        measured_value value = {fields[i].offset, fields[i].offset + fields[i].len, {}, {}, no_offset};
        conclude(seen[i], all, probe.base(), fields[i].is_number, value.lands);
        out.values.push_back(value);
    }
}

std::vector<fixed_field> fixed_fields(uint32_t code, bytes_view payload)
{
    std::vector<fixed_field> fields;
    size_t offset = 0;
    const auto add = [&](const char *name, size_t len, bool is_number) {
        len = std::min(len, payload.size() - offset);
        if (len != 0)
            fields.push_back({name, offset, len, is_number});
        offset += len;
    };
    if (code == RIB_TLV_OLD_PROTO) {
        add("proto_id", 2, true);
        add("proto_sub_id", 2, true);
        add("proto_value", 4, true);
        add("proto_name", 41, false);
        add("proto_extra_name", 43, false);
    } else if (code == RIB_TLV_OLD_OPAQUE) {
        add("opaque_type", 2, true);
        add("", 2, false);
        add("opaque_id", 4, true);
        add("first_len", 2, true);
        add("sub_id", 2, true);
        add("opaque_value", 4, true);
        add("second_len", 4, true);
        add("", 4, false);
        if (payload.size() >= 24) {
            add("first_block", number_at(payload, 8, 2), false);
            add("second_block", number_at(payload, 16, 4), false);
        }
    }
    add("", SIZE_MAX, false);
    return fields;
}

} // namespace rib_inspect
