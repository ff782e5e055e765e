#include "inspect/measure/values.hpp"

#include <string_view>

namespace rib_inspect
{

using zidl::field_descriptor;

namespace
{

bool holds_parts(const field_descriptor &field)
{
    const std::string_view name = field.member;
    return name == "paths" || name == "keys" || name == "encap_ids";
}

bool is_inside(const field_path &inner, const field_path &outer)
{
    if (inner.depth < outer.depth)
        return false;
    for (uint32_t i = 0; i < outer.depth; ++i) {
        if (inner.steps[i].field != outer.steps[i].field || inner.steps[i].index != outer.steps[i].index)
            return false;
    }
    return true;
}

} // namespace

value_list::value_list(const decoded_message &msg, bytes_view payload, measurement &into)
{
    walk({&msg.type(), payload, msg.record(), false}, [&](const walk_event &event) { add(event); });
    into.values.resize(found_.size());
    for (size_t i = 0; i < found_.size(); ++i) {
        found_[i].result = &into.values[i];
        into.values[i] = {found_[i].tag_offset, found_[i].end_offset, found_[i].path, {}, found_[i].replaced_by};
    }
    for (found &each : found_)
        values_.push_back({each.result, each.in, each.field, each.member, each.unit, each.raw, {}});
}

value_units value_list::by_unit(bool reduced)
{
    value_units parts(1);
    for (tried_value &each : values_) {
        if (each.result->replaced_by != no_offset)
            continue;
        const uint32_t unit = reduced ? each.unit : 0;
        if (unit >= parts.size())
            parts.resize(unit + 1);
        parts[unit].push_back(&each);
    }
    return parts;
}

void value_list::add(const walk_event &event)
{
    if (event.replaces != no_offset && event.part != walk_part::leave)
        replace(event);
    if (event.part != walk_part::value || !event.is_read || event.member == nullptr)
        return;
    const field_path path = path_of(event);
    const uint32_t unit = path.depth > 1 && path.steps[0].field->repeated && holds_parts(*path.steps[0].field)
                              ? path.steps[0].index + 1
                              : 0;
    const message_at in = message_of(event);
    found_.push_back(
        {event.tag_offset, event.end_offset, path, in, event.field, event.member, unit, event.raw, no_offset, nullptr});
}

void value_list::replace(const walk_event &event)
{
    const field_path path = path_of(event);
    for (auto each = found_.rbegin(); each != found_.rend() && each->tag_offset >= event.replaces; ++each) {
        if (each->replaced_by == no_offset && is_inside(each->path, path))
            each->replaced_by = event.tag_offset;
    }
}

} // namespace rib_inspect
