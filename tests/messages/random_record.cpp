// See random_record.hpp.

#include "tests/messages/random_record.hpp"

#include "tests/reference/record_access.hpp"

#include <algorithm>

namespace
{

using namespace record_access;

class record_filler
{
public:
    record_filler(random_source &random, test_arena &memory, unsigned percent_hostile)
        : random_(random), memory_(memory), percent_hostile_(percent_hostile),
          density_(DENSITIES[random.below(std::size(DENSITIES))]), elements_left_(random.below(24))
    {
    }

    void fill(const message_descriptor &type, void *msg)
    {
        uint64_t presence = random_.next() << (type.field_count - 1) << 1; // the spare bits
        for (const field_descriptor &field : fields_of(type)) {
            const bool present = random_.percent(density_);
            if (present)
                presence |= uint64_t{1} << field.bit;
            fill_member(field, msg, random_.percent(present ? 95 : 30));
        }
        store_presence(type, msg, presence);
    }

private:
    static constexpr unsigned DENSITIES[] = {5, 20, 50, 80, 100};

    void fill_member(const field_descriptor &field, void *msg, bool filled)
    {
        uint8_t *member = member_address(field, msg);
        if (field.repeated) {
            fill_array(field, msg, filled);
        } else if (is_message(field)) {
            fill(*field.message, member);
        } else if (field.type == kind::string) {
            store_pointer(field, msg, filled ? text() : nullptr);
        } else if (field.type == kind::bytes) {
            const zidl_bytes value = filled ? contents() : zidl_bytes{nullptr, 0};
            store_pointer(field, msg, value.data);
            store_size(field, msg, value.size);
        } else {
            store_number(field, member, filled ? number(field) : 0);
        }
    }

    // A bool is well formed more often than not, but its byte may be anything.
    uint64_t number(const field_descriptor &field)
    {
        if (field.type == kind::boolean && random_.percent(80))
            return random_.below(2);
        return random_.number();
    }

    void fill_array(const field_descriptor &field, void *msg, bool filled)
    {
        const uint32_t count = filled ? element_count(field) : 0;
        uint8_t *array = nullptr;
        if (count > 0 || random_.percent(5)) // an array without elements is still owned
            array = static_cast<uint8_t *>(memory_.allocate(std::max<size_t>(1, count * element_size(field))));
        for (uint32_t i = 0; i < count; ++i)
            fill_element(field, array + i * element_size(field));
        store_pointer(field, msg, array);
        store_count(field, msg, count);
    }

    uint32_t element_count(const field_descriptor &field)
    {
        if (!is_message(field))
            return static_cast<uint32_t>(random_.percent(4) ? random_.below(random_.percent(2) ? 4000 : 100)
                                                            : random_.below(6));
        const size_t count = std::min(random_.below(6), elements_left_);
        elements_left_ -= count;
        return static_cast<uint32_t>(count);
    }

    void fill_element(const field_descriptor &field, uint8_t *at)
    {
        if (is_message(field))
            fill(*field.message, at);
        else if (field.type == kind::bytes)
            store(at, contents());
        else
            store_number(field, at, number(field));
    }

    size_t length()
    {
        if (random_.percent(90))
            return random_.below(24);
        return random_.below(random_.percent(2) ? 20000 : 300);
    }

    uint8_t *block(size_t size)
    {
        auto *data = static_cast<uint8_t *>(memory_.allocate(size));
        for (size_t i = 0; i < size; ++i)
            data[i] = static_cast<uint8_t>(0x40 + i % 64);
        return data;
    }

    uint8_t *text()
    {
        const size_t len = length();
        uint8_t *data = block(len + 1);
        data[len] = 0;
        return data;
    }

    uint64_t hostile_size()
    {
        constexpr uint64_t SIZES[] = {0x0fffffff, 0x10000000, 0xffffffff, 0x100000000, 0x8000000000000000};
        if (random_.percent(50))
            return SIZES[random_.below(std::size(SIZES))] + random_.below(3);
        return random_.percent(70) ? UINT64_MAX - random_.below(200) : random_.next() | 0x10000000;
    }

    zidl_bytes contents()
    {
        if (random_.percent(percent_hostile_))
            return {block(1), hostile_size()};
        const size_t size = length();
        if (size == 0 && random_.percent(50))
            return {nullptr, 0};
        return {block(size), size};
    }

    random_source &random_;
    test_arena &memory_;
    unsigned percent_hostile_; // of bytes members
    unsigned density_;
    size_t elements_left_; // of messages, all arrays of the record together
};

} // namespace

void fill_at_random(const message_descriptor &type, void *msg, random_source &random, test_arena &memory)
{
    record_filler(random, memory, 0).fill(type, msg);
}

void fill_with_hostile_sizes(const message_descriptor &type, void *msg, random_source &random, test_arena &memory)
{
    record_filler(random, memory, 30).fill(type, msg);
}
