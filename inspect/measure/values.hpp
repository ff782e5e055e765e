// The values of a message, and their places in the decoded message, where they are changed.

#pragma once

#include "inspect/measure/measure.hpp"
#include "inspect/measure/sightings.hpp"
#include "inspect/wire/field_path.hpp"
#include "inspect/wire/load_store.hpp"
#include "inspect/wire/walk.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory_resource>
#include <new>
#include <vector>

namespace rib_inspect
{

inline bool is_number(const zidl::field_descriptor &field)
{
    return field.type != zidl::kind::string && field.type != zidl::kind::bytes && field.type != zidl::kind::message;
}

// The members of what is decoded are changed in place.
class decoded_message
{
public:
    decoded_message(const zidl::message_descriptor &type, bytes_view payload)
        : type_(type), record_(memory_.allocate(type.size, 16))
    {
        std::memset(record_, 0, type.size);
        type.decode(record_, payload.data(), payload.size(), allocate, this, 0);
        if (is_exhausted_)
            throw std::bad_alloc();
    }
    const zidl::message_descriptor &type() const { return type_; }
    void *record() const { return record_; }

private:
    static void *allocate(size_t size, void *self)
    try {
        return static_cast<decoded_message *>(self)->memory_.allocate(size, 16);
    } catch (const std::bad_alloc &) {
        static_cast<decoded_message *>(self)->is_exhausted_ = true;
        return nullptr;
    }

    std::pmr::monotonic_buffer_resource memory_;
    const zidl::message_descriptor &type_;
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

// A message within the decoded one.
struct message_at {
    const zidl::message_descriptor *type;
    uint8_t *record;

    void *member(const zidl::field_descriptor &field) const { return record + field.offset; }
    uint32_t count(const zidl::field_descriptor &field) const { return load<uint32_t>(record + field.extent_offset); }
    void set_present(const zidl::field_descriptor &field, bool present) const
    {
        uint8_t &byte = record[type->presence_offset + field.bit / 8];
        const auto bit = static_cast<uint8_t>(1 << field.bit % 8);
        byte = static_cast<uint8_t>(present ? byte | bit : byte & ~bit);
    }
    bool has(const zidl::field_descriptor &field) const
    {
        return (record[type->presence_offset + field.bit / 8] >> field.bit % 8 & 1) != 0;
    }
};

// The message that the value of an event stands in.
inline message_at message_of(const walk_event &event)
{
    return {event.in->type, static_cast<uint8_t *>(event.in->record)};
}

// A value of the message, and what was seen of it.
struct tried_value {
    measured_value *result;
    message_at in;
    const zidl::field_descriptor *field;
    void *member;
    uint32_t unit; // the path or key that it belongs to; or 0
    uint64_t raw;  // a number as it stands in the payload, which may have more bits than the library keeps
    sightings seen{};
};

// The parts of an update that do not depend on one another: unit 0 is what belongs to no path or key, unit n is number
// n - 1 of them.
using value_units = std::vector<std::vector<tried_value *>>;

// The values of a message in the order of the payload, and which of them later ones replace.
class value_list
{
public:
    value_list(const decoded_message &msg, bytes_view payload, measurement &into);

    // Those of the record: of values that are replaced the last one alone.
    value_units by_unit(bool reduced);

private:
    struct found {
        size_t tag_offset;
        size_t end_offset;
        field_path path;
        message_at in;
        const zidl::field_descriptor *field;
        void *member;
        uint32_t unit;
        uint64_t raw;
        size_t replaced_by;
        measured_value *result;
    };

    void add(const walk_event &event);

    // The value that begins at `event.replaces`, with all that it holds.
    void replace(const walk_event &event);

    std::vector<found> found_;
    std::vector<tried_value> values_;
};

} // namespace rib_inspect
