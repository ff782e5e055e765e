// The members that count the elements of lists.

#include "inspect/measure/measure.hpp"

#include "inspect/measure/prober.hpp"
#include "inspect/measure/values.hpp"
#include "inspect/wire/load_store.hpp"

#include <algorithm>
#include <cstring>

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::message_descriptor;

namespace
{

// A list that is one element longer or shorter for a while; the last one comes twice.
std::vector<uint32_t> counts_of(prober &probe, const message_at &in, const field_descriptor &field)
{
    const kept_member kept(in.member(field), sizeof(void *));
    const uint32_t count = in.count(field);
    const size_t size = element_size(field);
    std::vector<uint64_t> longer((size * (count + 1) + 7) / 8);
    auto *const bytes = static_cast<uint8_t *>(static_cast<void *>(longer.data()));
    std::memcpy(bytes, load<const void *>(in.member(field)), size * count);
    std::memcpy(bytes + size * count, bytes + size * (count - 1), size);
    store(in.member(field), longer.data());
    std::vector<uint32_t> counts;
    for (const uint32_t tried : {count + 1, count - 1}) {
        store(in.record + field.extent_offset, tried);
        for (const uint32_t slot : probe.changed_counts()) {
            if (std::find(counts.begin(), counts.end(), slot) == counts.end())
                counts.push_back(slot);
        }
    }
    store(in.record + field.extent_offset, count);
    return counts;
}

} // namespace

std::vector<measured_list> measure_lists(uint32_t code, bytes_view payload)
{
    std::vector<measured_list> lists;
    const message_descriptor *const type = message_of_code(code);
    if (type == nullptr)
        return lists;
    const decoded_message msg(*type, payload);
    message_prober probe(code, *type, msg.record());
    if (!probe.start())
        return lists;
    walk({type, payload, msg.record(), false}, [&](const walk_event &event) {
        const bool begins = event.part == walk_part::value || event.part == walk_part::enter;
        if (!begins || event.field == nullptr || !event.field->repeated || event.index != 0 || event.member == nullptr)
            return;
        const message_at in = message_of(event);
        measured_list list = {path_of(event), {}};
        for (const uint32_t slot : counts_of(probe, in, *event.field))
            list.lands.members.push_back(probe.base().name(probe.base().slots()[slot]));
        lists.push_back(list);
    });
    return lists;
}

} // namespace rib_inspect
