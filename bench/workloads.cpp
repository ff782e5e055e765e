// Random records are filled over the descriptors, field by field, and encoded; what differs between workloads is which
// fields are present, how long arrays are and how large values are.

#include "bench/workloads.hpp"

#include <algorithm>
#include <cstring>
#include <functional>
#include <stdexcept>

namespace bench
{
namespace
{

class random_source
{
public:
    explicit random_source(uint64_t seed) : state_(seed) {}

    uint64_t next()
    {
        uint64_t z = (state_ += 0x9e3779b97f4a7c15);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(next() % limit); }
    bool one_in(uint32_t chances) { return below(chances) == 0; }

    // Mostly small, as protocol fields are: 1, 2, 3 to 4, and 5 bytes as varints.
    uint32_t value32()
    {
        const uint32_t kind = below(20);
        const unsigned bits = kind < 10 ? 7 : kind < 15 ? 14 : kind < 18 ? 28 : 32;
        return static_cast<uint32_t>(next() & ((uint64_t{1} << bits) - 1));
    }

private:
    uint64_t state_;
};

uint64_t mix(uint64_t a, uint64_t b)
{
    return random_source(a * 0x100000001b3 ^ b).next();
}

// What a workload decides: whether a field is present (`place` tells it from all others in the tree), how many elements an
// array has, and how many bytes a bytes member.
struct recipe {
    std::function<bool(const zidl::message_descriptor &, const zidl::field_descriptor &, uint64_t place)> present;
    std::function<uint32_t(const zidl::field_descriptor &)> count;
    std::function<uint32_t()> size;
};

class record_filler
{
public:
    record_filler(random_source &random, const recipe &how) : random_(random), how_(how) {}

    // A zeroed record, encoded.
    bytes make(const zidl::message_descriptor &type)
    {
        blocks_.clear();
        uint8_t *const record = allocate(type.size);
        fill(type, record, 1);
        bytes encoded(type.encode(record, nullptr, 0, nullptr, nullptr, 0));
        type.encode(record, encoded.data(), encoded.size(), nullptr, nullptr, 0);
        return encoded;
    }

private:
    uint8_t *allocate(size_t size)
    {
        blocks_.push_back(std::make_unique<uint64_t[]>(size / 8 + 1));
        return reinterpret_cast<uint8_t *>(blocks_.back().get());
    }

    template <class Value>
    static void put(uint8_t *at, Value value)
    {
        std::memcpy(at, &value, sizeof value);
    }

    void fill(const zidl::message_descriptor &type, uint8_t *record, uint64_t place)
    {
        uint64_t presence = 0;
        const bool is_address = std::strcmp(type.name, "rib_address") == 0;
        const uint32_t family = random_.one_in(4) ? 2 : 1;
        for (uint32_t i = 0; i < type.field_count; ++i) {
            const zidl::field_descriptor &field = type.fields[i];
            const uint64_t here = mix(place, field.number);
            if (is_address ? i != 0 && i != family : !how_.present(type, field, here))
                continue;
            presence |= uint64_t{1} << field.bit;
            if (field.repeated)
                fill_array(field, record, here);
            else
                fill_field(field, record + field.offset, record, here);
            if (is_address && i == 0)
                put(record + field.offset, family);
        }
        std::memcpy(record + type.presence_offset, &presence, type.presence_size);
    }

    void fill_field(const zidl::field_descriptor &field, uint8_t *member, uint8_t *record, uint64_t place)
    {
        switch (field.type) {
        case zidl::kind::u8:
            return put(member, static_cast<uint8_t>(random_.next()));
        case zidl::kind::boolean:
            return put(member, static_cast<uint8_t>(random_.below(2)));
        case zidl::kind::u32:
        case zidl::kind::fixed32:
            return put(member, std::strcmp(field.member, "ipv4") == 0 ? static_cast<uint32_t>(random_.next())
                                                                      : random_.value32());
        case zidl::kind::u64:
        case zidl::kind::sint64:
            return put(member, random_.next() >> (random_.one_in(2) ? 0 : 24));
        case zidl::kind::string: {
            const uint32_t len = 6 + random_.below(6);
            uint8_t *const text = allocate(len + 1);
            for (uint32_t i = 0; i < len; ++i)
                text[i] = static_cast<uint8_t>('a' + random_.below(26));
            return put(member, text);
        }
        case zidl::kind::bytes: {
            const uint32_t len = how_.size();
            put(member, random_bytes(len));
            return put(record + field.extent_offset, uint64_t{len});
        }
        case zidl::kind::message:
            return fill(*field.message, member, place);
        }
    }

    void fill_array(const zidl::field_descriptor &field, uint8_t *record, uint64_t place)
    {
        const uint32_t count = how_.count(field);
        const size_t size = element_size(field);
        uint8_t *const array = allocate(count * size);
        for (uint32_t i = 0; i < count; ++i) {
            if (field.type == zidl::kind::bytes) {
                const zidl_bytes block{random_bytes(16), 16};
                put(array + i * size, block);
            } else {
                fill_field(field, array + i * size, nullptr, place);
            }
        }
        put(record + field.offset, array);
        put(record + field.extent_offset, count);
    }

    uint8_t *random_bytes(uint32_t len)
    {
        uint8_t *const block = allocate(len);
        for (uint32_t i = 0; i < len; ++i)
            block[i] = static_cast<uint8_t>(random_.next());
        return block;
    }

    static size_t element_size(const zidl::field_descriptor &field)
    {
        switch (field.type) {
        case zidl::kind::message:
            return field.message->size;
        case zidl::kind::bytes:
            return sizeof(zidl_bytes);
        case zidl::kind::u64:
        case zidl::kind::sint64:
            return 8;
        case zidl::kind::u8:
        case zidl::kind::boolean:
            return 1;
        case zidl::kind::u32:
        case zidl::kind::fixed32:
            return 4;
        case zidl::kind::string:
            break;
        }
        return sizeof(char *);
    }

    random_source &random_;
    const recipe &how_;
    std::vector<std::unique_ptr<uint64_t[]>> blocks_;
};

bool always(const zidl::message_descriptor &, const zidl::field_descriptor &, uint64_t)
{
    return true;
}

// How often a field of a route is there: what every route has, the scalars, and the blocks that few routes have.
uint32_t percent_present(const zidl::message_descriptor &type, const zidl::field_descriptor &field)
{
    const std::string_view message = type.name;
    const std::string_view member = field.member;
    if (message == "rib_route") {
        if (member == "route_prefix" || member == "paths" || member == "route_flags")
            return 100;
        return field.type == zidl::kind::message ? 8 : 25;
    }
    if (message == "rib_path") {
        if (member == "path_address_4" || member == "path_value_1" || member == "path_value_3")
            return 90;
        return field.type == zidl::kind::message ? 12 : 30;
    }
    return message == "rib_prefix" || message == "rib_ipv6_address" ? 100 : 60;
}

// Arrays have two elements but for those that a workload is about: they have `elements`.
std::function<uint32_t(const zidl::field_descriptor &)> two_but(std::initializer_list<std::string_view> members,
                                                                uint32_t elements)
{
    return [members = std::vector<std::string_view>(members), elements](const zidl::field_descriptor &field) {
        return std::find(members.begin(), members.end(), field.member) != members.end() ? elements : 2;
    };
}

std::function<uint32_t()> always_bytes(uint32_t size)
{
    return [size] { return size; };
}

constexpr uint32_t route_bytes = 8;
constexpr uint32_t address_bytes = 16;

constexpr size_t route_total = 130'000;
constexpr size_t update_total = 10'000;
constexpr uint32_t class_total = 12;

// Every coin is its own.
void make_full(workload &made, random_source &random, size_t total)
{
    const recipe how{
        [&](const auto &type, const auto &field, uint64_t) { return random.below(100) < percent_present(type, field); },
        two_but({"paths"}, 1), always_bytes(route_bytes)};
    record_filler filler(random, how);
    for (size_t i = 0; i < total; ++i)
        made.messages.push_back(filler.make(*made.type));
}

// The coins are thrown once a class; routes of one class come in bursts.
void make_mixed(workload &made, random_source &random, size_t total)
{
    uint64_t route_class = 0;
    const recipe how{[&](const auto &type, const auto &field, uint64_t place) {
                         return mix(route_class, place) % 100 < percent_present(type, field);
                     },
                     two_but({"paths"}, 1), always_bytes(route_bytes)};
    record_filler filler(random, how);
    while (made.messages.size() < total) {
        route_class = 1000 + random.below(class_total);
        for (uint32_t burst = 16 + random.below(240); burst > 0 && made.messages.size() < total; --burst)
            made.messages.push_back(filler.make(*made.type));
    }
}

bytes make_one(const char *type, uint64_t seed, const recipe &how)
{
    random_source random(seed);
    return record_filler(random, how).make(*zidl::find_message(type));
}

// A protocol update with a name and an extra name, 27 bytes.
void make_proto(workload &made, random_source &random, size_t total)
{
    for (size_t i = 0; i < total; ++i) {
        bytes encoded = {
            0x08, static_cast<uint8_t>(0x80 | random.below(128)), 0x01, 0x10, static_cast<uint8_t>(random.below(128)),
            0x18, static_cast<uint8_t>(random.below(128))};
        for (const uint8_t tag : bytes{0x22, 0x2a}) {
            encoded.push_back(tag);
            encoded.push_back(8);
            for (int c = 0; c < 8; ++c)
                encoded.push_back(static_cast<uint8_t>('a' + random.below(26)));
        }
        made.messages.push_back(encoded);
    }
}

void make_opaque(workload &made, random_source &random, size_t total)
{
    const recipe how{always, two_but({}, 2), [&] { return 24 + random.below(200); }};
    record_filler filler(random, how);
    for (size_t i = 0; i < total; ++i)
        made.messages.push_back(filler.make(*made.type));
}

} // namespace

size_t workload::total_bytes() const
{
    size_t total = 0;
    for (const bytes &message : messages)
        total += message.size();
    return total;
}

const std::vector<std::string_view> &workload_names()
{
    static const std::vector<std::string_view> names = {"full", "mixed", "wide", "grid", "proto", "opaque", "srv6"};
    return names;
}

const char *type_name(std::string_view workload_name)
{
    if (workload_name == "full" || workload_name == "mixed" || workload_name == "wide")
        return "rib_route";
    if (workload_name == "grid")
        return "rib_grid_sync_list";
    if (workload_name == "proto")
        return "ip_rib_proto_update";
    if (workload_name == "opaque")
        return "ip_rib_opaque";
    if (workload_name == "srv6")
        return "ip_rib_srv6_cfg_update";
    throw std::invalid_argument("no such workload: " + std::string(workload_name));
}

workload make_workload(std::string_view name, size_t limit)
{
    workload made{std::string(name), zidl::find_message(type_name(name)), {}};
    random_source random(2026);
    if (name == "full")
        make_full(made, random, std::min(limit, route_total));
    else if (name == "mixed")
        make_mixed(made, random, std::min(limit, route_total));
    else if (name == "wide")
        made.messages.push_back(make_route(64));
    else if (name == "grid")
        made.messages.push_back(make_grid(1026));
    else if (name == "proto")
        make_proto(made, random, std::min(limit, update_total));
    else if (name == "opaque")
        make_opaque(made, random, std::min(limit, update_total));
    else
        made.messages.push_back(
            make_one("ip_rib_srv6_cfg_update", 3, {always, two_but({"locators"}, 256), always_bytes(address_bytes)}));
    return made;
}

bytes make_route(uint32_t paths)
{
    return make_one("rib_route", 1, {always, two_but({"paths"}, paths), always_bytes(route_bytes)});
}

bytes make_convertible_route(uint32_t paths)
{
    const auto convertible = [](const auto &, const auto &field, uint64_t) {
        const std::string_view member = field.member;
        return member != "route_value_34" && member != "path_value_27";
    };
    return make_one("rib_route", 1, {convertible, two_but({"paths"}, paths), always_bytes(route_bytes)});
}

bytes make_grid(uint32_t keys)
{
    return make_one("rib_grid_sync_list", 2,
                    {always, two_but({"keys", "encap_ids"}, keys), always_bytes(address_bytes)});
}

} // namespace bench
