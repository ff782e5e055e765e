#include "inspect/measure/trials.hpp"

#include "inspect/wire/load_store.hpp"

#include <algorithm>
#include <cstring>

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::kind;

namespace
{

// What limits are about, whichever they are: both families of both numberings, types of keys and hops, selectors, the
// largest of a byte and its neighbours.
constexpr uint64_t telling_numbers[] = {0, 1, 2, 3, 4, 10, 13, 14, 0xFF, 0x100, 0x101, 0xFFFF, UINT64_MAX};
constexpr size_t telling_sizes[] = {0, 1, 8, 12, 16, 17, 24, 40, 41, 42, 43, 83, 84};

// Of a text or block that is longer, the bytes in between are flipped whole.
constexpr size_t bytes_by_bit = 48;

uint32_t width(const field_descriptor &field)
{
    return field.type == kind::boolean ? 1 : static_cast<uint32_t>(8 * element_size(field));
}

// A number in the message, which others take the place of for a while.
class changed_number
{
public:
    explicit changed_number(const tried_value &of)
        : at_(of.member), size_(element_size(*of.field)), bits_(width(*of.field)), kept_(of.member, size_)
    {
        std::memcpy(&before_, of.member, size_);
    }

    uint32_t bits() const { return bits_; }
    uint64_t before() const { return before_; }
    uint64_t all_bits() const { return bits_ == 64 ? UINT64_MAX : (uint64_t{1} << bits_) - 1; }
    void set(uint64_t number) { std::memcpy(at_, &number, size_); }

    // The bits that setting a telling number changes.
    uint64_t changed_by(uint64_t telling) const { return (before_ ^ telling) & all_bits(); }

private:
    void *at_;
    size_t size_;
    uint32_t bits_;
    kept_member kept_;
    uint64_t before_ = 0;
};

// Each bit by itself, then the telling numbers. What is found out about a plain copy goes to `known`.
void try_each_bit(prober &probe, tried_value &of, changed_number &number, plain_copies &known)
{
    plain_copy copy = {};
    bool is_plain = number.bits() > 1;
    const auto look = [&](uint64_t changed, bool is_bit) {
        number.set(number.before() ^ changed);
        const sight &seen = probe.look();
        of.seen.add(seen);
        uint64_t places = 0;
        if (!seen.changes.empty()) {
            const record_member *const member = probe.base().slots()[seen.changes[0].slot].member;
            is_plain = is_plain && (copy.member == nullptr || copy.member == member);
            copy.member = member;
            places = seen.changes[0].changed;
        }
        is_plain = is_plain && !seen.decides && seen.changes.size() <= 1;
        if (is_bit)
            copy.places[static_cast<size_t>(std::countr_zero(changed))] = places;
        else
            is_plain = is_plain && places == copy.places_of(changed);
        return !seen.is_nothing();
    };
    for (uint32_t bit = 0; bit < number.bits(); ++bit) {
        if (!look(uint64_t{1} << bit, true))
            of.seen.lost.push_back(bit);
    }
    if (number.bits() == 1)
        return;
    for (const uint64_t telling : telling_numbers)
        look(number.changed_by(telling), false);
    if (is_plain && copy.member != nullptr)
        known.add(of.result->path, copy);
}

// Whether the value is a plain copy, too, here where it stands: all its bits at once say so.
bool is_copied_like(const plain_copy &copy, prober &probe, tried_value &of, changed_number &number)
{
    number.set(~number.before());
    const sight &seen = probe.look();
    if (seen.decides || seen.changes.size() != 1)
        return false;
    const uint32_t slot = seen.changes[0].slot;
    if (probe.base().slots()[slot].member != copy.member ||
        seen.changes[0].changed != copy.places_of(number.all_bits()))
        return false;
    const auto add = [&](uint64_t changed) {
        if (const uint64_t places = copy.places_of(changed); places != 0)
            of.seen.add({slot, changed, places});
    };
    for (uint32_t bit = 0; bit < number.bits(); ++bit) {
        add(uint64_t{1} << bit);
        if (copy.places[bit] == 0)
            of.seen.lost.push_back(bit);
    }
    for (const uint64_t telling : telling_numbers)
        add(number.changed_by(telling));
    return true;
}

void try_number(prober &probe, tried_value &of, plain_copies &known)
{
    changed_number number(of);
    of.seen.units = number.bits();
    const plain_copy *const copy = known.find(of.result->path);
    if (copy == nullptr || !is_copied_like(*copy, probe, of, number))
        try_each_bit(probe, of, number, known);
    if (of.field->type == kind::boolean || of.raw <= number.all_bits())
        return;
    for (; of.seen.units < 64; ++of.seen.units)
        of.seen.lost.push_back(of.seen.units);
}

// `set_size` makes the text or block so long.
template <class Set>
void try_bytes(prober &probe, tried_value &of, std::vector<uint8_t> &bytes, size_t len, Set &&set_size)
{
    of.seen.units = static_cast<uint32_t>(len);
    const size_t stride = len > bytes_at_most ? len / bytes_at_most : 1;
    for (size_t at = 0; at < len; at += at < bytes_by_bit || len - at <= 16 ? 1 : std::min(stride, len - at)) {
        const bool by_bit = at < bytes_by_bit || len - at <= 16;
        bool changes = false;
        for (unsigned bit = 0; bit < (by_bit ? 8u : 1u); ++bit) {
            bytes[at] = static_cast<uint8_t>(bytes[at] ^ 1 << bit);
            const sight &seen = probe.look();
            of.seen.add(seen);
            changes |= !seen.is_nothing();
            bytes[at] = static_cast<uint8_t>(bytes[at] ^ 1 << bit);
        }
        if (!changes)
            of.seen.lost.push_back(static_cast<uint32_t>(at));
    }
    for (const size_t size : telling_sizes) {
        set_size(size);
        of.seen.add(probe.look());
    }
    for (const size_t size : {len - (len > 0 ? 1 : 0), len + 1}) {
        set_size(size);
        of.seen.add(probe.look());
    }
}

// A copy with room behind it, for the time being: one more than the longest that is tried.
std::vector<uint8_t> roomy(const void *bytes, size_t len)
{
    std::vector<uint8_t> copy(std::max<size_t>(len + 2, 100), 'x');
    if (len != 0)
        std::memcpy(copy.data(), bytes, len);
    return copy;
}

void try_text(prober &probe, tried_value &of)
{
    const kept_member kept(of.member, sizeof(char *));
    const char *text = load<const char *>(of.member);
    const size_t len = text == nullptr ? 0 : std::strlen(text);
    std::vector<uint8_t> copy = roomy(text, len);
    const uint8_t next = copy[len];
    copy[len] = 0;
    store(of.member, copy.data());
    try_bytes(probe, of, copy, len, [&](size_t size) {
        copy = roomy(text, len);
        copy[len] = next;
        copy[size] = 0;
        store(of.member, copy.data());
    });
}

void try_block(prober &probe, tried_value &of)
{
    const bool in_array = of.field->repeated;
    uint8_t *const size_at = in_array ? static_cast<uint8_t *>(of.member) + offsetof(zidl_bytes, size)
                                      : of.in.record + of.field->extent_offset;
    const kept_member kept(of.member, sizeof(uint8_t *));
    const kept_member kept_size(size_at, sizeof(uint64_t));
    const uint8_t *block = load<const uint8_t *>(of.member);
    const size_t len = static_cast<size_t>(load<uint64_t>(size_at));
    std::vector<uint8_t> copy = roomy(block, len);
    store(of.member, copy.data());
    try_bytes(probe, of, copy, len, [&](size_t size) { store(size_at, static_cast<uint64_t>(size)); });
}

void try_absence(prober &probe, tried_value &of)
{
    if (of.field->repeated)
        return; // an element is never absent
    of.in.set_present(*of.field, false);
    const size_t size = is_number(*of.field) ? element_size(*of.field) : 0;
    const kept_member kept(of.member, size);
    std::memset(of.member, 0, size);
    of.seen.add_absence(probe.look());
    of.in.set_present(*of.field, true);
}

} // namespace

void try_all(prober &probe, tried_value &of, plain_copies &known)
{
    switch (of.field->type) {
    case kind::string:
        try_text(probe, of);
        break;
    case kind::bytes:
        try_block(probe, of);
        break;
    case kind::message:
        return;
    default:
        try_number(probe, of, known);
    }
    try_absence(probe, of);
}

} // namespace rib_inspect
