// Random records, filled over the descriptors field by field and encoded. What differs between workloads is which fields
// are present, how long arrays are and how many bytes a bytes member has.

#pragma once

#include "bench/workloads.hpp"

#include <cstring>
#include <functional>
#include <initializer_list>

namespace bench
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
    uint32_t between(uint32_t least, uint32_t most) { return least + below(most - least + 1); }
    bool chance(uint32_t percent) { return below(100) < percent; }
    uint64_t bits(unsigned count) { return next() >> (64 - count); }

    // An index, as often as its share of the sum of all says.
    uint32_t pick(std::initializer_list<uint32_t> shares)
    {
        uint32_t sum = 0;
        for (const uint32_t share : shares)
            sum += share;
        uint32_t drawn = below(sum), index = 0;
        for (const uint32_t share : shares) {
            if (drawn < share)
                break;
            drawn -= share;
            ++index;
        }
        return index;
    }

    // Kinds and small counters, metrics, labels, handles of 28 bits, times of 31 bits: varints of one to five bytes, all
    // of them in any field.
    uint32_t value32()
    {
        static constexpr unsigned widths[] = {7, 14, 20, 28, 31};
        return static_cast<uint32_t>(bits(widths[pick({45, 17, 18, 12, 8})]));
    }

private:
    uint64_t state_;
};

inline uint64_t mix(uint64_t a, uint64_t b)
{
    return random_source(a * 0x100000001b3 ^ b).next();
}

// What a workload decides. `place` tells a field from all others in the tree.
struct recipe {
    std::function<bool(const zidl::message_descriptor &, const zidl::field_descriptor &, uint64_t place)> present;
    std::function<uint32_t(const zidl::field_descriptor &)> count;
    std::function<uint32_t(const zidl::field_descriptor &)> size;
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

    static bool is(const zidl::message_descriptor &type, const char *name) { return std::strcmp(type.name, name) == 0; }

    void fill(const zidl::message_descriptor &type, uint8_t *record, uint64_t place)
    {
        if (is(type, "rib_prefix") || is(type, "rib_msg_prefix") || (is(type, "rib_address") && !in_prefix_))
            is_ipv6_ = random_.below(130) < 30;
        in_prefix_ = is(type, "rib_prefix");
        uint64_t presence = 0;
        for (uint32_t i = 0; i < type.field_count; ++i) {
            const zidl::field_descriptor &field = type.fields[i];
            const uint64_t here = mix(place, field.number);
            if (!is_present(type, field, here))
                continue;
            presence |= uint64_t{1} << field.bit;
            if (field.repeated)
                fill_array(field, record, here);
            else
                fill_field(field, record + field.offset, record, here);
        }
        std::memcpy(record + type.presence_offset, &presence, type.presence_size);
        in_prefix_ = false;
    }

    bool is_present(const zidl::message_descriptor &type, const zidl::field_descriptor &field, uint64_t place)
    {
        const std::string_view member = field.member;
        if (is(type, "rib_address") || is(type, "rib_msg_prefix"))
            return member == "ipv4" ? !is_ipv6_ : member == "ipv6" ? is_ipv6_ : true;
        return how_.present(type, field, place);
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
            return put(member, number(field.member));
        case zidl::kind::u64:
        case zidl::kind::sint64:
            return put(member, long_number(field.member));
        case zidl::kind::string: {
            const uint32_t len = random_.between(3, 18);
            uint8_t *const text = allocate(len + 1);
            for (uint32_t i = 0; i < len; ++i)
                text[i] = static_cast<uint8_t>('a' + random_.below(26));
            return put(member, text);
        }
        case zidl::kind::bytes: {
            const uint32_t len = how_.size(field);
            put(member, random_bytes(len));
            return put(record + field.extent_offset, uint64_t{len});
        }
        case zidl::kind::message:
            return fill(*field.message, member, place);
        }
    }

    uint32_t number(std::string_view member)
    {
        if (member == "ipv4")
            return static_cast<uint32_t>(random_.next());
        if (member == "family")
            return is_ipv6_ ? 2 : 1;
        return member == "prefix_len" ? prefix_len() : random_.value32();
    }

    // As often as a full table of the Internet has them: mostly /24 and /48.
    uint32_t prefix_len()
    {
        static constexpr uint32_t ipv4[] = {24, 23, 22, 21, 20, 19, 18, 17, 16, 32};
        static constexpr uint32_t ipv6[] = {48, 32, 44, 40, 36, 29, 46, 64, 128};
        return is_ipv6_ ? ipv6[random_.pick({48, 14, 12, 10, 5, 4, 4, 2, 1})]
                        : ipv4[random_.pick({58, 10, 12, 5, 5, 3, 2, 1, 2, 2})];
    }

    uint64_t long_number(std::string_view member)
    {
        if (member == "encap_id")
            return random_.bits(random_.between(27, 34)) | uint64_t{1} << 26;
        if (member == "half0")
            return random_.next();
        if (member == "half1")
            return random_.chance(70) ? 0 : random_.next();
        return random_.bits(random_.between(8, 64));
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
    bool is_ipv6_ = false;   // the address that is being filled
    bool in_prefix_ = false; // whose family its prefix has drawn
};

} // namespace bench
