#include "inspect/measure/prober.hpp"

#include "inspect/wire/load_store.hpp"

#include <algorithm>

namespace rib_inspect
{

namespace
{

uint64_t hash_of(std::span<const uint8_t> bytes)
{
    uint64_t hash = 0xCBF29CE484222325 + bytes.size();
    for (const uint8_t byte : bytes)
        hash = (hash ^ byte) * 0x100000001B3;
    return hash;
}

uint64_t changed_bits(std::span<const uint8_t> before, std::span<const uint8_t> after)
{
    if (before.size() == sizeof(uint64_t) && after.size() == sizeof(uint64_t))
        return load<uint64_t>(before.data()) ^ load<uint64_t>(after.data());
    uint64_t mask = 0;
    const size_t common = std::min(before.size(), after.size());
    for (size_t i = 0; i < common; ++i) {
        if (before[i] != after[i])
            mask |= uint64_t{1} << i % 64;
    }
    for (size_t i = common; i < std::max(before.size(), after.size()) && i < common + 64; ++i)
        mask |= uint64_t{1} << i % 64;
    return mask;
}

class content_reader final : public record_taker
{
public:
    explicit content_reader(record_content &into) : into_(into) {}
    void take(const client_record &record) override { into_.read(record); }
    void take_number(const record_member &, uint64_t) override {}

private:
    record_content &into_;
};

} // namespace

template <class Each>
void prober::for_each_changed(const record_content &now, Each &&each)
{
    if (by_key_.empty()) {
        for (uint32_t i = 0; i < base_.slots().size(); ++i)
            by_key_.push_back({base_.slots()[i].key, i});
        std::sort(by_key_.begin(), by_key_.end());
    }
    for (const record_content::slot &slot : now.slots()) {
        const auto found = std::lower_bound(by_key_.begin(), by_key_.end(), std::pair<uint64_t, uint32_t>(slot.key, 0));
        if (found == by_key_.end() || found->first != slot.key)
            continue;
        const std::span<const uint8_t> value = now.value(slot);
        if (!std::ranges::equal(base_.value(base_.slots()[found->second]), value))
            each(found->second, value);
    }
}

std::vector<uint32_t> prober::changed_counts()
{
    record_content now;
    content_reader into(now);
    std::vector<uint32_t> changed;
    if (convert(code_, encoded(), into) == RIB_DELIVERED)
        for_each_changed(now, [&](uint32_t slot, std::span<const uint8_t>) {
            if (base_.is_count(base_.slots()[slot]))
                changed.push_back(slot);
        });
    return changed;
}

const sight &prober::look()
{
    const bytes_view now = encoded();
    converted_ += now.size();
    is_base_ = false;
    now_.decides = false;
    now_.changes.clear();
    now_.decides |= convert(code_, now, *this) != RIB_DELIVERED;
    return now_;
}

void prober::take(const client_record &record)
{
    if (is_base_)
        return base_.read(record);
    if (base_.slots().empty())
        return; // it was not delivered before
    const bool is_shaped_alike = base_.compare(
        record, 0, [&](size_t slot, std::span<const uint8_t> value) { note(static_cast<uint32_t>(slot), value); });
    if (!is_shaped_alike)
        compare_others(record);
}

void prober::take_number(const record_member &member, uint64_t value)
{
    if (is_base_)
        return base_.add_number(member, value);
    const auto last = static_cast<uint32_t>(base_.slots().size() - 1);
    if (!base_.holds(base_.slots()[last], value))
        note(last, {reinterpret_cast<const uint8_t *>(&value), sizeof value});
}

void prober::note(uint32_t slot, std::span<const uint8_t> value)
{
    now_.changes.push_back({slot, hash_of(value), changed_bits(base_.value(base_.slots()[slot]), value)});
}

void prober::compare_others(const client_record &record)
{
    now_.decides = true;
    now_.changes.clear();
    if (record.type != &GRID_LIST)
        return;
    other_.clear();
    other_.read(record);
    for_each_changed(other_, [this](uint32_t slot, std::span<const uint8_t> value) {
        if (base_.is_in_key(base_.slots()[slot]) && !base_.is_count(base_.slots()[slot]))
            note(slot, value);
    });
}

bytes_view message_prober::encoded()
{
    size_t len = type_.encode(record_, buf_.data(), buf_.size(), nullptr, nullptr, 0);
    if (len > buf_.size()) {
        buf_.resize(len + 64);
        len = type_.encode(record_, buf_.data(), buf_.size(), nullptr, nullptr, 0);
    }
    return {buf_.data(), len};
}

} // namespace rib_inspect
