// See sample_records.hpp.

#include "tests/messages/sample_records.hpp"

#include "tests/reference/record_access.hpp"

#include <algorithm>
#include <iterator>

namespace
{

using namespace record_access;

// Both ends of every encoded length, and what a 32-bit member holds at most.
constexpr uint64_t NUMBERS[] = {
    1,
    0x7f,
    0x80,
    0x3fff,
    0x4000,
    0x1fffff,
    0x200000,
    0xfffffff,
    0x10000000,
    0xffffffff,
    0x7ffffffff,
    0x800000000,
    0,
    uint64_t{1} << 42,
    uint64_t{1} << 49,
    uint64_t{1} << 56,
    uint64_t{1} << 63,
    UINT64_MAX,
};

// An empty one, and one whose length takes two bytes.
constexpr size_t LENGTHS[] = {5, 16, 0, 130, 1};

class sample_filler
{
public:
    sample_filler(sample which, test_arena &memory) : which_(which), memory_(memory) {}

    void fill(const message_descriptor &type, void *msg, unsigned depth)
    {
        uint64_t presence = ~uint64_t{0} << (type.field_count - 1) << 1; // the spare bits
        for (const field_descriptor &field : fields_of(type)) {
            const bool odd = field.bit % 2 != 0;
            if (which_ == sample::dense || odd)
                presence |= uint64_t{1} << field.bit;
            if (which_ == sample::dense || !odd)
                fill_member(field, msg, depth);
            else
                clear_member(field, msg, depth);
        }
        store_presence(type, msg, presence);
    }

private:
    void fill_member(const field_descriptor &field, void *msg, unsigned depth)
    {
        uint8_t *member = member_address(field, msg);
        if (field.repeated) {
            fill_array(field, msg, depth);
        } else if (is_message(field)) {
            fill(*field.message, member, depth + 1);
        } else if (field.type == kind::string) {
            store_pointer(field, msg, block(next(LENGTHS, next_length_), 0));
        } else if (field.type == kind::bytes) {
            const zidl_bytes value = contents();
            store_pointer(field, msg, value.data);
            store_size(field, msg, value.size);
        } else {
            store_number(field, member, number(field));
        }
    }

    void clear_member(const field_descriptor &field, void *msg, unsigned depth)
    {
        uint8_t *member = member_address(field, msg);
        if (is_singular(field, kind::message))
            return fill(*field.message, member, depth + 1);
        if (!field.repeated && is_number(field))
            return store_number(field, member, 0);
        store_pointer(field, msg, nullptr);
        if (field.repeated)
            store_count(field, msg, 0);
        else if (field.type == kind::bytes)
            store_size(field, msg, 0);
    }

    void fill_array(const field_descriptor &field, void *msg, unsigned depth)
    {
        const uint32_t count = depth == 0 ? 3 : 2;
        auto *array = static_cast<uint8_t *>(memory_.allocate(count * element_size(field)));
        for (uint32_t i = 0; i < count; ++i) {
            uint8_t *at = array + i * element_size(field);
            if (is_message(field))
                fill(*field.message, at, depth + 1);
            else if (field.type == kind::bytes)
                store(at, contents());
            else
                store_number(field, at, number(field));
        }
        store_pointer(field, msg, array);
        store_count(field, msg, count);
    }

    uint64_t number(const field_descriptor &field)
    {
        const uint64_t value = next(NUMBERS, next_number_);
        return field.type == kind::boolean ? value & 1 : value;
    }

    zidl_bytes contents()
    {
        const size_t size = next(LENGTHS, next_length_);
        return {block(size, 0xee), size};
    }

    // `len` bytes and a last one, which is the end of a string or belongs to nobody.
    uint8_t *block(size_t len, uint8_t last)
    {
        auto *data = static_cast<uint8_t *>(memory_.allocate(len + 1));
        for (size_t i = 0; i < len; ++i)
            data[i] = static_cast<uint8_t>(0x41 + i % 26);
        data[len] = last;
        return data;
    }

    template <class T, size_t N>
    static T next(const T (&values)[N], size_t &index)
    {
        return values[index++ % N];
    }

    sample which_;
    test_arena &memory_;
    size_t next_number_ = 0;
    size_t next_length_ = 0;
};

void collect_growable_fields(const message_descriptor &type, field_path &way, std::vector<field_path> &found)
{
    for (const field_descriptor &field : fields_of(type)) {
        way.push_back(&field);
        if (is_message(field))
            collect_growable_fields(*field.message, way, found);
        else if (field.repeated || !is_number(field))
            found.push_back(way);
        way.pop_back();
    }
}

void fill_text(const field_descriptor &field, void *msg, size_t length, test_arena &memory)
{
    auto *data = static_cast<uint8_t *>(memory.allocate(length + 1));
    std::memset(data, 0x61, length);
    data[length] = 0;
    store_pointer(field, msg, data);
    if (field.type == kind::bytes)
        store_size(field, msg, length);
}

void fill_integers(const field_descriptor &field, void *msg, size_t length, test_arena &memory)
{
    const size_t element_length = field.number < 16 ? 2 : 3; // tag and value
    const size_t count = length / element_length;
    auto *array = static_cast<uint8_t *>(memory.allocate(count * element_size(field)));
    for (size_t i = 0; i < count; ++i)
        store_number(field, array + i * element_size(field), i % 128);
    store_pointer(field, msg, array);
    store_count(field, msg, static_cast<uint32_t>(count));
}

// A repeated bytes field has one element, of `length` bytes.
void fill_bytes_array(const field_descriptor &field, void *msg, size_t length, test_arena &memory)
{
    auto *data = static_cast<uint8_t *>(memory.allocate(length));
    std::memset(data, 0x62, length);
    auto *array = static_cast<uint8_t *>(memory.allocate(sizeof(zidl_bytes)));
    store(array, zidl_bytes{data, length});
    store_pointer(field, msg, array);
    store_count(field, msg, 1);
}

// The embedded record or, in an array made for it, the only element.
uint8_t *step_into(const field_descriptor &field, void *msg, test_arena &memory)
{
    if (!field.repeated)
        return member_address(field, msg);
    auto *array = static_cast<uint8_t *>(memory.allocate(element_size(field)));
    std::memset(array, 0, element_size(field));
    store_pointer(field, msg, array);
    store_count(field, msg, 1);
    return array;
}

void collect_bytes_sizes(const message_descriptor &type, void *msg, std::vector<uint64_t *> &found)
{
    for (const field_descriptor &field : fields_of(type)) {
        if (is_singular(field, kind::bytes))
            found.push_back(reinterpret_cast<uint64_t *>(static_cast<uint8_t *>(msg) + field.extent_offset));
        else if (is_singular(field, kind::message))
            collect_bytes_sizes(*field.message, member_address(field, msg), found);
        for (uint32_t i = 0; field.repeated && i < load_count(field, msg); ++i) {
            uint8_t *const at = load_pointer(field, msg) + i * element_size(field);
            if (is_message(field))
                collect_bytes_sizes(*field.message, at, found);
            else if (field.type == kind::bytes)
                found.push_back(&reinterpret_cast<zidl_bytes *>(at)->size);
        }
    }
}

} // namespace

std::vector<field_path> growable_fields(const message_descriptor &type)
{
    field_path way;
    std::vector<field_path> found;
    collect_growable_fields(type, way, found);
    return found;
}

void fill_only(const message_descriptor &type, void *msg, const field_path &path, size_t length, test_arena &memory)
{
    const message_descriptor *owner = &type;
    std::memset(msg, 0, type.size);
    for (const field_descriptor *field : path) {
        set_presence(*owner, *field, msg, true);
        if (is_message(*field)) {
            msg = step_into(*field, msg, memory);
            owner = field->message;
        } else if (!field->repeated) {
            fill_text(*field, msg, length, memory);
        } else if (field->type == kind::bytes) {
            fill_bytes_array(*field, msg, length, memory);
        } else {
            fill_integers(*field, msg, length, memory);
        }
    }
}

void fill_sample(const message_descriptor &type, void *msg, sample which, test_arena &memory)
{
    sample_filler(which, memory).fill(type, msg, 0);
}

std::vector<uint64_t *> bytes_sizes(const message_descriptor &type, void *msg)
{
    std::vector<uint64_t *> found;
    collect_bytes_sizes(type, msg, found);
    return found;
}
