#include "inspect/measure.hpp"

#include "inspect/conversion.hpp"
#include "inspect/record_content.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory_resource>
#include <new>
#include <unordered_map>

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::kind;
using zidl::message_descriptor;

namespace
{

// What limits are about, whichever they are: both families of both numberings, types of keys and hops, selectors, the
// largest of a byte and its neighbours.
constexpr uint64_t telling_numbers[] = {0, 1, 2, 3, 4, 10, 13, 14, 0xFF, 0x100, 0x101, 0xFFFF, UINT64_MAX};
constexpr size_t telling_sizes[] = {0, 1, 8, 12, 16, 17, 24, 40, 41, 42, 43, 83, 84};

// Of a text or block that is longer, the bytes in between are flipped whole, and not all of them.
constexpr size_t bytes_by_bit = 48;
constexpr size_t bytes_at_most = 512;

template <class Number>
Number load(const void *at)
{
    Number number;
    std::memcpy(&number, at, sizeof number);
    return number;
}

template <class Number>
void store(void *at, Number number)
{
    std::memcpy(at, &number, sizeof number);
}

uint32_t width(const field_descriptor &field)
{
    return field.type == kind::boolean ? 1 : static_cast<uint32_t>(8 * element_size(field));
}

bool is_number(const field_descriptor &field)
{
    return field.type != kind::string && field.type != kind::bytes && field.type != kind::message;
}

// ---- The decoded message, whose members are changed in place ----

class decoded
{
public:
    decoded(const message_descriptor &type, bytes_view payload) : type_(type), record_(memory_.allocate(type.size, 16))
    {
        std::memset(record_, 0, type.size);
        type.decode(record_, payload.data(), payload.size(), allocate, this, 0);
        if (is_exhausted_)
            throw std::bad_alloc();
    }
    const message_descriptor &type() const { return type_; }
    void *record() const { return record_; }

private:
    static void *allocate(size_t size, void *self)
    try {
        return static_cast<decoded *>(self)->memory_.allocate(size, 16);
    } catch (const std::bad_alloc &) {
        static_cast<decoded *>(self)->is_exhausted_ = true;
        return nullptr;
    }

    std::pmr::monotonic_buffer_resource memory_;
    const message_descriptor &type_;
    void *record_;
    bool is_exhausted_ = false;
};

// A member of a record in memory, which another value takes the place of for a while.
class kept_member
{
public:
    kept_member(void *at, size_t size) : at_(at), size_(size) { std::memcpy(bytes_, at, size); }
    ~kept_member() { std::memcpy(at_, bytes_, size_); }
    kept_member(const kept_member &) = delete;
    kept_member &operator=(const kept_member &) = delete;

private:
    void *at_;
    size_t size_;
    uint8_t bytes_[sizeof(zidl_bytes)];
};

struct message_at {
    const message_descriptor *type;
    uint8_t *record;

    void *member(const field_descriptor &field) const { return record + field.offset; }
    uint32_t count(const field_descriptor &field) const { return load<uint32_t>(record + field.extent_offset); }
    void set_present(const field_descriptor &field, bool present) const
    {
        uint8_t &byte = record[type->presence_offset + field.bit / 8];
        const auto bit = static_cast<uint8_t>(1 << field.bit % 8);
        byte = static_cast<uint8_t>(present ? byte | bit : byte & ~bit);
    }
    bool has(const field_descriptor &field) const
    {
        return (record[type->presence_offset + field.bit / 8] >> field.bit % 8 & 1) != 0;
    }
};

// ---- What was seen of one value ----

// Another content of a slot of the record.
struct slot_change {
    uint32_t slot;
    uint64_t hash;    // of the content
    uint64_t changed; // the bits that differ from how it was; of a slot of more than 64 bits, the bytes
};

// One look at the update with a value changed.
struct sight {
    bool decides = false;
    std::vector<slot_change> changes;

    bool is_nothing() const { return !decides && changes.empty(); }
};

// A slot that changed with the value, and its different contents.
struct touch {
    uint32_t slot;
    std::vector<slot_change> seen{};
};

struct sightings {
    std::vector<touch> touches;
    bool decides = false;
    std::vector<uint32_t> lost;
    uint32_t units = 0; // bits or bytes that were tried

    void add(const sight &one)
    {
        decides |= one.decides;
        for (const slot_change &change : one.changes)
            add(change);
    }

    // What a value's presence alone switches on and off, it decides about.
    void add_absence(const sight &one)
    {
        decides |= one.decides;
        for (const slot_change &change : one.changes) {
            const bool follows = std::any_of(touches.begin(), touches.end(),
                                             [&](const touch &each) { return each.slot == change.slot; });
            if (follows)
                add(change);
            else
                decides = true;
        }
    }

    void add(const slot_change &change)
    {
        std::vector<slot_change> &seen = of(change.slot).seen;
        if (std::none_of(seen.begin(), seen.end(), [&](const slot_change &each) { return each.hash == change.hash; }))
            seen.push_back(change);
    }

private:
    touch &of(uint32_t slot)
    {
        for (touch &each : touches) {
            if (each.slot == slot)
                return each;
        }
        touches.push_back({slot});
        return touches.back();
    }
};

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

// ---- Converting what was changed, and comparing ----

// A delivered update as it is.
class prober : private record_taker
{
public:
    prober(uint32_t code) : code_(code) {}
    virtual ~prober() = default;

    // False unless the update is delivered.
    bool start() { return convert(code_, encoded(), *this) == RIB_DELIVERED; }

    const record_content &base() const { return base_; }

    // Of the members that count the elements of lists, those that are others now.
    std::vector<uint32_t> changed_counts()
    {
        record_content now;
        class reader final : public record_taker
        {
        public:
            explicit reader(record_content &into) : into_(into) {}
            void take(const client_record &record) override { into_.read(record); }
            void take_number(const record_member &, uint64_t) override {}

        private:
            record_content &into_;
        } into(now);
        std::vector<uint32_t> changed;
        if (convert(code_, encoded(), into) == RIB_DELIVERED)
            for_each_changed(now, [&](uint32_t slot, std::span<const uint8_t>) {
                if (base_.is_count(base_.slots()[slot]))
                    changed.push_back(slot);
            });
        return changed;
    }

    // Compares the update as it is now with how it was. What is seen holds until the next look.
    const sight &look()
    {
        is_base_ = false;
        now_.decides = false;
        now_.changes.clear();
        now_.decides |= convert(code_, encoded(), *this) != RIB_DELIVERED;
        return now_;
    }

protected:
    virtual bytes_view encoded() = 0;

private:
    // The first record is what the others are compared with.
    void take(const client_record &record) override
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

    void take_number(const record_member &member, uint64_t value) override
    {
        if (is_base_)
            return base_.add_number(member, value);
        const auto last = static_cast<uint32_t>(base_.slots().size() - 1);
        if (!base_.holds(base_.slots()[last], value))
            note(last, {reinterpret_cast<const uint8_t *>(&value), sizeof value});
    }

    void note(uint32_t slot, std::span<const uint8_t> value)
    {
        now_.changes.push_back({slot, hash_of(value), changed_bits(base_.value(base_.slots()[slot]), value)});
    }

    // Where lists have other lengths it is decided about them, and about their counts. Of the rest the members of keys are
    // worth a look, which have other lists by their type.
    void compare_others(const client_record &record)
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

    // Of the slots that both have.
    template <class Each>
    void for_each_changed(const record_content &now, Each &&each)
    {
        if (by_key_.empty()) {
            for (uint32_t i = 0; i < base_.slots().size(); ++i)
                by_key_.push_back({base_.slots()[i].key, i});
            std::sort(by_key_.begin(), by_key_.end());
        }
        for (const record_content::slot &slot : now.slots()) {
            const auto found =
                std::lower_bound(by_key_.begin(), by_key_.end(), std::pair<uint64_t, uint32_t>(slot.key, 0));
            if (found == by_key_.end() || found->first != slot.key)
                continue;
            const std::span<const uint8_t> value = now.value(slot);
            if (!std::ranges::equal(base_.value(base_.slots()[found->second]), value))
                each(found->second, value);
        }
    }

    const uint32_t code_;
    record_content base_;
    record_content other_;
    std::vector<std::pair<uint64_t, uint32_t>> by_key_;
    sight now_;
    bool is_base_ = true;
};

class message_prober : public prober
{
public:
    message_prober(uint32_t code, const message_descriptor &type, const void *record)
        : prober(code), type_(type), record_(record)
    {
    }

private:
    bytes_view encoded() override
    {
        size_t len = type_.encode(record_, buf_.data(), buf_.size(), nullptr, nullptr, 0);
        if (len > buf_.size()) {
            buf_.resize(len + 64);
            len = type_.encode(record_, buf_.data(), buf_.size(), nullptr, nullptr, 0);
        }
        return {buf_.data(), len};
    }

    const message_descriptor &type_;
    const void *record_;
    std::vector<uint8_t> buf_ = std::vector<uint8_t>(512);
};

// An older form: its bytes are changed where they lie.
class payload_prober : public prober
{
public:
    payload_prober(uint32_t code, bytes_view payload) : prober(code), payload_(payload.begin(), payload.end()) {}

    uint8_t &byte(size_t at) { return payload_[at]; }

private:
    bytes_view encoded() override { return payload_; }

    std::vector<uint8_t> payload_;
};

// ---- The values of a message, and what is tried with each ----

struct value {
    measured_value *result;
    message_at in;
    const field_descriptor *field;
    void *member;
    uint32_t unit; // the path or key that it belongs to; or 0
    uint64_t raw;  // a number as it stands in the payload, which may have more bits than the library keeps
    sightings seen{};
};

// A field whose bits each have a place of their own in one member, and do nothing else: a copy, or a part of one.
struct plain_copy {
    const record_member *member;
    std::array<uint64_t, 64> places; // by the field's bits; 0: lost

    uint64_t places_of(uint64_t bits) const
    {
        uint64_t all = 0;
        for (; bits != 0; bits &= bits - 1)
            all |= places[static_cast<size_t>(std::countr_zero(bits))];
        return all;
    }
};

// Fields that were seen to be plain copies, wherever they stand: by the way to them, without indices.
class plain_copies
{
public:
    static std::string key(const field_path &path)
    {
        std::string key;
        for (uint32_t i = 0; i < path.depth; ++i)
            key.append(reinterpret_cast<const char *>(&path.steps[i].field), sizeof path.steps[i].field);
        return key;
    }

    const plain_copy *find(const field_path &path) const
    {
        const auto found = copies_.find(key(path));
        return found == copies_.end() ? nullptr : &found->second;
    }

    void add(const field_path &path, const plain_copy &copy) { copies_.emplace(key(path), copy); }

private:
    std::unordered_map<std::string, plain_copy> copies_;
};

// A number in the message, which others take the place of for a while.
class changed_number
{
public:
    explicit changed_number(const value &of)
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
void try_each_bit(prober &probe, value &of, changed_number &number, plain_copies &known)
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
bool is_copied_like(const plain_copy &copy, prober &probe, value &of, changed_number &number)
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

void try_number(prober &probe, value &of, plain_copies &known)
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
void try_bytes(prober &probe, value &of, std::vector<uint8_t> &bytes, size_t len, Set &&set_size)
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

void try_text(prober &probe, value &of)
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

void try_block(prober &probe, value &of)
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

void try_absence(prober &probe, value &of)
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

void try_all(prober &probe, value &of, plain_copies &known)
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

// ---- From what was seen to what it means ----

// A member that changes with several values belongs to those of them that it follows most: those that give it the most
// contents. A value that only switches it on and off decides about it.
class owners
{
public:
    void add(const sightings &seen)
    {
        for (const touch &each : seen.touches) {
            strengths &best = best_[each.slot];
            const strengths own = strengths_of(each);
            for (size_t bit = 0; bit < own.size(); ++bit)
                best[bit] = std::max(best[bit], own[bit]);
        }
    }

    bool owns(const touch &of) const
    {
        const strengths &best = best_.at(of.slot);
        const strengths own = strengths_of(of);
        if (of.seen.size() == 1 && is_followed_elsewhere(best, own))
            return false;
        for (size_t bit = 0; bit < own.size(); ++bit) {
            if (own[bit] != 0 && own[bit] == best[bit])
                return true;
        }
        return false;
    }

private:
    using strengths = std::array<uint16_t, 64>; // how many contents each bit changes in

    // Bits that are switched over together, of which some follow another value.
    static bool is_followed_elsewhere(const strengths &best, const strengths &own)
    {
        for (size_t bit = 0; bit < own.size(); ++bit) {
            if (own[bit] != 0 && own[bit] < best[bit])
                return true;
        }
        return false;
    }

    static strengths strengths_of(const touch &of)
    {
        strengths result = {};
        for (const slot_change &each : of.seen) {
            for (uint64_t left = each.changed; left != 0; left &= left - 1)
                ++result[static_cast<size_t>(std::countr_zero(left))];
        }
        return result;
    }

    std::unordered_map<uint32_t, strengths> best_;
};

void conclude(const sightings &seen, const owners &all, const record_content &base, bool is_number, landing &out)
{
    out.is_number = is_number;
    out.decides = seen.decides;
    std::vector<uint32_t> own;
    const bool is_followed =
        std::any_of(seen.touches.begin(), seen.touches.end(), [](const touch &each) { return each.seen.size() > 1; });
    for (const touch &each : seen.touches) {
        const bool is_switched = is_followed && each.seen.size() == 1;
        if (!is_switched && all.owns(each))
            own.push_back(each.slot);
        else
            out.decides = true;
    }
    std::sort(own.begin(), own.end());
    for (const uint32_t slot : own)
        out.members.push_back(base.name(base.slots()[slot]));
    if (!out.members.empty() && seen.lost.size() < seen.units)
        out.lost = seen.lost;
}

void conclude(std::vector<value *> &values, const record_content &base)
{
    owners all;
    for (const value *each : values)
        all.add(each->seen);
    for (const value *each : values)
        conclude(each->seen, all, base, is_number(*each->field), each->result->lands);
}

void measure_unit(prober &probe, std::vector<value *> &values, plain_copies &known)
{
    if (!probe.start())
        return;
    for (value *each : values)
        try_all(probe, *each, known);
    conclude(values, probe.base());
}

// ---- Parts of an update that do not depend on one another ----

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

// The parts: unit 0 is what belongs to no path or key, unit n is number n - 1 of them.
using units = std::vector<std::vector<value *>>;

uint64_t number_in(const record_content &content, std::string_view member)
{
    for (const record_content::slot &each : content.slots()) {
        if (each.member->name() == member)
            return load<uint64_t>(content.value(each).data());
    }
    return 0;
}

void measure_route(uint32_t code, const decoded &msg, units &parts)
{
    plain_copies known;
    const message_at route = {&msg.type(), static_cast<uint8_t *>(msg.record())};
    const field_descriptor &paths = *find_field(msg.type(), "paths");
    {
        const cut_list none(route, paths, 0, 0);
        message_prober probe(code, msg.type(), route.record);
        measure_unit(probe, parts[0], known);
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
        measure_unit(probe, parts[unit], known);
        converted += number_in(probe.base(), "rt_path_count");
    }
}

// What concerns the list as a whole is measured with the first two keys where it has more: one is a case of its own.
void measure_grid(uint32_t code, const decoded &msg, units &parts)
{
    plain_copies known;
    const message_at list = {&msg.type(), static_cast<uint8_t *>(msg.record())};
    const field_descriptor &keys = *find_field(msg.type(), "keys");
    const field_descriptor &ids = *find_field(msg.type(), "encap_ids");
    for (uint32_t unit = 1; unit < parts.size() && unit <= 2; ++unit)
        parts[0].insert(parts[0].end(), parts[unit].begin(), parts[unit].end());
    const auto measure_with = [&](uint32_t first, uint32_t count, std::vector<value *> &values) {
        const uint32_t key = std::min(first, list.count(keys) - 1);
        const cut_list some_ids(list, ids, first, count);
        const cut_list some_keys(list, keys, key, count);
        message_prober probe(code, msg.type(), list.record);
        measure_unit(probe, values, known);
    };
    measure_with(0, 2, parts[0]);
    for (uint32_t unit = 3; unit < parts.size(); ++unit)
        measure_with(unit - 1, 1, parts[unit]);
}

// The values of a message in the order of the payload, and which of them later ones replace.
class value_list
{
public:
    value_list(const decoded &msg, bytes_view payload, measurement &into)
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

    // Those of the record: of values that are replaced the last one alone.
    units by_unit(bool reduced)
    {
        units parts(1);
        for (value &each : values_) {
            if (each.result->replaced_by != no_offset)
                continue;
            const uint32_t unit = reduced ? each.unit : 0;
            if (unit >= parts.size())
                parts.resize(unit + 1);
            parts[unit].push_back(&each);
        }
        return parts;
    }

private:
    struct found {
        size_t tag_offset;
        size_t end_offset;
        field_path path;
        message_at in;
        const field_descriptor *field;
        void *member;
        uint32_t unit;
        uint64_t raw;
        size_t replaced_by;
        measured_value *result;
    };

    void add(const walk_event &event)
    {
        if (event.replaces != no_offset && event.part != walk_part::leave)
            replace(event);
        if (event.part != walk_part::value || !event.is_read || event.member == nullptr)
            return;
        const field_path path = path_of(event);
        const uint32_t unit = path.depth > 1 && path.steps[0].field->repeated && holds_parts(*path.steps[0].field)
                                  ? path.steps[0].index + 1
                                  : 0;
        const message_at in = {event.in->type, static_cast<uint8_t *>(event.in->record)};
        found_.push_back({event.tag_offset, event.end_offset, path, in, event.field, event.member, unit, event.raw,
                          no_offset, nullptr});
    }

    static bool holds_parts(const field_descriptor &field)
    {
        const std::string_view name = field.member;
        return name == "paths" || name == "keys" || name == "encap_ids";
    }

    // The value that begins at `event.replaces`, with all that it holds.
    void replace(const walk_event &event)
    {
        const field_path path = path_of(event);
        for (auto each = found_.rbegin(); each != found_.rend() && each->tag_offset >= event.replaces; ++each) {
            if (each->replaced_by == no_offset && is_inside(each->path, path))
                each->replaced_by = event.tag_offset;
        }
    }

    static bool is_inside(const field_path &inner, const field_path &outer)
    {
        if (inner.depth < outer.depth)
            return false;
        for (uint32_t i = 0; i < outer.depth; ++i) {
            if (inner.steps[i].field != outer.steps[i].field || inner.steps[i].index != outer.steps[i].index)
                return false;
        }
        return true;
    }

    std::vector<found> found_;
    std::vector<value> values_;
};

void measure_message(uint32_t code, const message_descriptor &type, bytes_view payload, measuring how, measurement &out)
{
    const decoded msg(type, payload);
    value_list values(msg, payload, out);
    units parts = values.by_unit(how == measuring::reduced);
    if (how == measuring::reduced && code == RIB_TLV_ROUTE)
        return measure_route(code, msg, parts);
    if (how == measuring::reduced && code == RIB_TLV_GRID)
        return measure_grid(code, msg, parts);
    message_prober probe(code, type, msg.record());
    plain_copies known;
    measure_unit(probe, parts[0], known);
}

// ---- Older forms ----

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

// ---- Lists ----

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

class nobody : public record_taker
{
public:
    void take(const client_record &) override {}
    void take_number(const record_member &, uint64_t) override {}
};

void append_ranges(std::string &out, const std::vector<uint32_t> &numbers)
{
    std::vector<std::string> ranges;
    for (size_t i = 0; i < numbers.size();) {
        size_t end = i + 1;
        while (end < numbers.size() && numbers[end] == numbers[end - 1] + 1)
            ++end;
        std::string range = std::to_string(numbers[i]);
        if (end - i > 1)
            range += (end - i == 2 ? " and " : " to ") + std::to_string(numbers[end - 1]);
        ranges.push_back(range);
        i = end;
    }
    for (size_t i = 0; i < ranges.size(); ++i)
        out += (i == 0 ? "" : i + 1 == ranges.size() ? " and " : ", ") + ranges[i];
}

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

measurement measure(uint32_t code, bytes_view payload, measuring how)
{
    measurement out;
    nobody nobody;
    out.outcome = convert(code, payload, nobody);
    if (out.outcome != RIB_DELIVERED)
        return out;
    if (const message_descriptor *type = message_of_code(code))
        measure_message(code, *type, payload, how, out);
    else
        measure_fixed(code, payload, out);
    return out;
}

std::vector<measured_list> measure_lists(uint32_t code, bytes_view payload)
{
    std::vector<measured_list> lists;
    const message_descriptor *const type = message_of_code(code);
    if (type == nullptr)
        return lists;
    const decoded msg(*type, payload);
    message_prober probe(code, *type, msg.record());
    if (!probe.start())
        return lists;
    walk({type, payload, msg.record(), false}, [&](const walk_event &event) {
        const bool begins = event.part == walk_part::value || event.part == walk_part::enter;
        if (!begins || event.field == nullptr || !event.field->repeated || event.index != 0 || event.member == nullptr)
            return;
        const message_at in = {event.in->type, static_cast<uint8_t *>(event.in->record)};
        measured_list list = {path_of(event), {}};
        for (const uint32_t slot : counts_of(probe, in, *event.field))
            list.lands.members.push_back(probe.base().name(probe.base().slots()[slot]));
        lists.push_back(list);
    });
    return lists;
}

std::vector<field_path> deciding_presence(uint32_t code, bytes_view payload)
{
    std::vector<field_path> deciding;
    const message_descriptor *const type = message_of_code(code);
    if (type == nullptr)
        return deciding;
    const decoded msg(*type, payload);
    message_prober probe(code, *type, msg.record());
    if (probe.start())
        return deciding;
    walk({type, payload, msg.record(), false}, [&](const walk_event &event) {
        if (event.part != walk_part::value || event.field->repeated || event.member == nullptr)
            return;
        const message_at in = {event.in->type, static_cast<uint8_t *>(event.in->record)};
        in.set_present(*event.field, false);
        if (!probe.look().decides)
            deciding.push_back(path_of(event));
        in.set_present(*event.field, true);
    });
    return deciding;
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

const measured_value *measurement::find(size_t tag_offset) const
{
    const auto found =
        std::lower_bound(values.begin(), values.end(), tag_offset,
                         [](const measured_value &each, size_t offset) { return each.tag_offset < offset; });
    return found != values.end() && found->tag_offset == tag_offset ? &*found : nullptr;
}

std::string to_string(const landing &of)
{
    if (of.is_nothing())
        return "nothing";
    std::string out;
    for (const std::string &member : of.members)
        out += (out.empty() ? "" : ", ") + member;
    if (!of.lost.empty()) {
        const char *unit = of.is_number ? "bit" : "byte";
        out += std::string(", ") + unit + (of.lost.size() == 1 ? " " : "s ");
        append_ranges(out, of.lost);
        out += " lost";
    }
    if (of.decides)
        out += out.empty() ? "decides" : ", decides";
    return out;
}

} // namespace rib_inspect
