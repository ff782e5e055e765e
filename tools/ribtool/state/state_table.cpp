#include "tools/ribtool/state/state_table.hpp"

#include "tools/ribtool/errors.hpp"

#include <bit>
#include <cstring>
#include <random>

namespace ribtool
{

namespace
{

static_assert(sizeof(kept_update) == 40, "the entries are most of the memory of a table");

constexpr size_t FIRST_SLOTS = 1024;

uint64_t mixed(uint64_t a, uint64_t b)
{
    __extension__ using wide = unsigned __int128;
    const wide product = wide{a} * b;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

} // namespace

// Nobody can write a stream whose keys all meet in one slot. Each half of a key has a seed of its own: a factor that could be made
// 0 would take the other half out of the product.
state_table::state_table() : slots_(FIRST_SLOTS)
{
    std::random_device random;
    for (uint64_t &seed : seeds_)
        seed = uint64_t{random()} << 32 | random();
}

uint32_t state_table::hash(const update_key &key) const
{
    uint64_t halves[2];
    std::memcpy(halves, key.value.data(), sizeof halves);
    const uint64_t rest = static_cast<uint64_t>(key.kind) << 16 | uint64_t{key.family} << 8 | key.prefix_len;
    const uint64_t all = mixed(halves[0] ^ seeds_[0], halves[1] ^ seeds_[1]) ^ rest;
    return static_cast<uint32_t>(mixed(all ^ seeds_[0], 0xBF58476D1CE4E5B9) >> 16);
}

// The slot of the key, or the free one where it would stand.
uint64_t &state_table::slot(const update_key &key, uint32_t hash)
{
    const size_t mask = slots_.size() - 1;
    for (size_t at = hash & mask;; at = (at + 1) & mask) {
        uint64_t &found = slots_[at];
        if (found == 0 || (static_cast<uint32_t>(found) == hash && entry((found >> 32) - 1).key == key))
            return found;
    }
}

const kept_update *state_table::find(const update_key &key) const
{
    const uint64_t found = const_cast<state_table *>(this)->slot(key, hash(key));
    if (found == 0)
        return nullptr;
    const kept_update &update = entry((found >> 32) - 1);
    return update.is_live ? &update : nullptr;
}

kept_update &state_table::entry_of(const update_key &key)
{
    if (count_ >= slots_.size() / 4 * 3)
        grow();
    const uint32_t hashed = hash(key);
    uint64_t &found = slot(key, hashed);
    if (found != 0)
        return entry((found >> 32) - 1);
    if (count_ == UINT32_MAX - 1)
        fail(EXIT_FILE, "there are more than {} keys", count_);
    if (count_ == blocks_.size() * BLOCK)
        blocks_.push_back(std::make_unique<kept_update[]>(BLOCK));
    found = (uint64_t{count_} + 1) << 32 | hashed;
    kept_update &added = entry(count_++);
    added.key = key;
    return added;
}

void state_table::grow()
{
    std::vector<uint64_t> before(2 * slots_.size());
    before.swap(slots_);
    const size_t mask = slots_.size() - 1;
    for (const uint64_t each : before) {
        if (each == 0)
            continue;
        size_t at = static_cast<uint32_t>(each) & mask;
        while (slots_[at] != 0)
            at = (at + 1) & mask;
        slots_[at] = each;
    }
}

void state_table::set(const update_key &key, uint16_t code, byte_span content, uint64_t frame)
{
    kept_update &update = entry_of(key);
    if (update.is_live)
        store_.give_back(update.place, update.len);
    live_ += !update.is_live;
    update.is_live = true;
    update.code = static_cast<uint8_t>(code);
    update.len = static_cast<uint16_t>(content.size());
    update.place = store_.keep(content);
    update.frame = frame;
}

// The entry stays for the key's return.
void state_table::withdraw(const update_key &key)
{
    const uint64_t found = slot(key, hash(key));
    if (found == 0)
        return;
    kept_update &update = entry((found >> 32) - 1);
    if (!update.is_live)
        return;
    store_.give_back(update.place, update.len);
    update.is_live = false;
    --live_;
}

} // namespace ribtool
