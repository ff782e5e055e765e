#include "inspect/measure/units.hpp"

#include "inspect/measure/conclusions.hpp"
#include "inspect/wire/load_store.hpp"

#include <algorithm>
#include <string_view>

namespace rib_inspect
{

using zidl::field_descriptor;

namespace
{

// A list of an update, cut down to a few of its elements for a while.
class cut_list
{
public:
    cut_list(const message_at &in, const field_descriptor &field, uint32_t first, uint32_t count)
        : in_(in), field_(field), array_(load<uint8_t *>(in.member(field))), all_(in.count(field)),
          was_present_(in.has(field))
    {
        first = std::min(first, all_);
        count = std::min(count, all_ - first);
        store(in.member(field), array_ == nullptr ? array_ : array_ + first * element_size(field));
        store(in.record + field.extent_offset, count);
        if (count == 0)
            in.set_present(field, false);
    }
    ~cut_list()
    {
        store(in_.member(field_), array_);
        store(in_.record + field_.extent_offset, all_);
        in_.set_present(field_, was_present_);
    }
    cut_list(const cut_list &) = delete;
    cut_list &operator=(const cut_list &) = delete;

private:
    const message_at in_;
    const field_descriptor &field_;
    uint8_t *const array_;
    const uint32_t all_;
    const bool was_present_;
};

// In all its lists; which path or key it is in does not count, since those are measured one by one.
bool stands_first(const tried_value &of)
{
    constexpr uint32_t FIRST = 16;
    const field_path &path = of.result->path;
    for (uint32_t i = of.unit == 0 ? 0 : 1; i < path.depth; ++i) {
        if (path.steps[i].index >= FIRST)
            return false;
    }
    return true;
}

void try_within_bounds(prober &probe, tried_value &of, trials &all)
{
    of.result->is_measured = all.bytes_left != 0;
    if (!of.result->is_measured)
        return;
    const size_t before = probe.converted();
    try_all(probe, of, all.known);
    all.bytes_left -= std::min(all.bytes_left, probe.converted() - before);
}

uint64_t number_in(const record_content &content, std::string_view member)
{
    for (const record_content::slot &each : content.slots()) {
        if (each.member->name() == member)
            return load<uint64_t>(content.value(each).data());
    }
    return 0;
}

} // namespace

void measure_unit(prober &probe, std::vector<tried_value *> &values, trials &all)
{
    if (!probe.start())
        return;
    for (const bool first : {true, false}) {
        for (tried_value *each : values) {
            if (stands_first(*each) == first)
                try_within_bounds(probe, *each, all);
        }
    }
    conclude(values, probe.base());
}

void measure_route(uint32_t code, const decoded_message &msg, value_units &parts, trials &all)
{
    const message_at route = {&msg.type(), static_cast<uint8_t *>(msg.record())};
    const field_descriptor &paths = *find_field(msg.type(), "paths");
    {
        const cut_list none(route, paths, 0, 0);
        message_prober probe(code, msg.type(), route.record);
        measure_unit(probe, parts[0], all);
    }
    // A route of nothing but the path: what is not in it cannot keep it from being delivered.
    std::vector<uint64_t> memory((msg.type().size + 7) / 8);
    const message_at lone = {&msg.type(), static_cast<uint8_t *>(static_cast<void *>(memory.data()))};
    store(lone.member(paths), load<void *>(route.member(paths)));
    store(lone.record + paths.extent_offset, route.count(paths));
    lone.set_present(paths, true);
    uint64_t converted = 0;
    for (uint32_t unit = 1; unit < parts.size() && converted < RIB_MAX_PATHS; ++unit) {
        const cut_list one(lone, paths, unit - 1, 1);
        message_prober probe(code, msg.type(), lone.record);
        measure_unit(probe, parts[unit], all);
        converted += number_in(probe.base(), "rt_path_count");
    }
}

// What concerns the list as a whole is measured with the first two keys where it has more: one is a case of its own.
void measure_grid(uint32_t code, const decoded_message &msg, value_units &parts, trials &all)
{
    const message_at list = {&msg.type(), static_cast<uint8_t *>(msg.record())};
    const field_descriptor &keys = *find_field(msg.type(), "keys");
    const field_descriptor &ids = *find_field(msg.type(), "encap_ids");
    for (uint32_t unit = 1; unit < parts.size() && unit <= 2; ++unit)
        parts[0].insert(parts[0].end(), parts[unit].begin(), parts[unit].end());
    const auto measure_with = [&](uint32_t first, uint32_t count, std::vector<tried_value *> &values) {
        const uint32_t key = std::min(first, list.count(keys) - 1);
        const cut_list some_ids(list, ids, first, count);
        const cut_list some_keys(list, keys, key, count);
        message_prober probe(code, msg.type(), list.record);
        measure_unit(probe, values, all);
    };
    measure_with(0, 2, parts[0]);
    for (uint32_t unit = 3; unit < parts.size(); ++unit)
        measure_with(unit - 1, 1, parts[unit]);
}

} // namespace rib_inspect
