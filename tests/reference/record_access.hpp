// Reads and writes the members of any message record through its descriptor, one plain memcpy at a time.

#pragma once

#include "codec/zidl.h"
#include "messages/descriptors.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace record_access
{

using zidl::field_descriptor;
using zidl::kind;
using zidl::message_descriptor;

inline std::span<const field_descriptor> fields_of(const message_descriptor &type)
{
    return {type.fields, type.field_count};
}

inline uint8_t *member_address(const field_descriptor &field, void *msg)
{
    return static_cast<uint8_t *>(msg) + field.offset;
}

inline const uint8_t *member_address(const field_descriptor &field, const void *msg)
{
    return static_cast<const uint8_t *>(msg) + field.offset;
}

template <class T>
T load(const void *at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

template <class T>
void store(void *at, T value)
{
    std::memcpy(at, &value, sizeof value);
}

// The count of a repeated member.
inline uint32_t load_count(const field_descriptor &field, const void *msg)
{
    return load<uint32_t>(static_cast<const uint8_t *>(msg) + field.extent_offset);
}

inline void store_count(const field_descriptor &field, void *msg, uint32_t count)
{
    store(static_cast<uint8_t *>(msg) + field.extent_offset, count);
}

// The size of a bytes member.
inline uint64_t load_size(const field_descriptor &field, const void *msg)
{
    return load<uint64_t>(static_cast<const uint8_t *>(msg) + field.extent_offset);
}

inline void store_size(const field_descriptor &field, void *msg, uint64_t size)
{
    store(static_cast<uint8_t *>(msg) + field.extent_offset, size);
}

// A string, bytes or repeated member.
template <class T = uint8_t>
T *load_pointer(const field_descriptor &field, const void *msg)
{
    return load<T *>(member_address(field, msg));
}

inline void store_pointer(const field_descriptor &field, void *msg, const void *pointer)
{
    store(member_address(field, msg), pointer);
}

inline bool is_message(const field_descriptor &field)
{
    return field.type == kind::message;
}

inline bool is_singular(const field_descriptor &field, kind type)
{
    return !field.repeated && field.type == type;
}

inline bool is_number(const field_descriptor &field)
{
    return field.type != kind::string && field.type != kind::bytes && field.type != kind::message;
}

// Bytes of one value of the field's kind in a record or in an array.
inline size_t element_size(const field_descriptor &field)
{
    switch (field.type) {
    case kind::u8:
    case kind::boolean:
        return 1;
    case kind::u32:
    case kind::fixed32:
        return 4;
    case kind::u64:
    case kind::sint64:
        return 8;
    case kind::string:
        return sizeof(char *);
    case kind::bytes:
        return sizeof(zidl_bytes);
    case kind::message:
        return field.message->size;
    }
    return 0;
}

// A number of the field's width at `at`: a member or an array element.
inline uint64_t load_number(const field_descriptor &field, const void *at)
{
    switch (element_size(field)) {
    case 1:
        return load<uint8_t>(at);
    case 4:
        return load<uint32_t>(at);
    default:
        return load<uint64_t>(at);
    }
}

inline void store_number(const field_descriptor &field, void *at, uint64_t value)
{
    switch (element_size(field)) {
    case 1:
        return store(at, static_cast<uint8_t>(value));
    case 4:
        return store(at, static_cast<uint32_t>(value));
    default:
        return store(at, value);
    }
}

// The whole presence word, spare bits included.
inline uint64_t load_presence(const message_descriptor &type, const void *msg)
{
    const uint8_t *const at = static_cast<const uint8_t *>(msg) + type.presence_offset;
    switch (type.presence_size) {
    case 1:
        return load<uint8_t>(at);
    case 2:
        return load<uint16_t>(at);
    case 4:
        return load<uint32_t>(at);
    default:
        return load<uint64_t>(at);
    }
}

inline void store_presence(const message_descriptor &type, void *msg, uint64_t word)
{
    uint8_t *const at = static_cast<uint8_t *>(msg) + type.presence_offset;
    switch (type.presence_size) {
    case 1:
        return store(at, static_cast<uint8_t>(word));
    case 2:
        return store(at, static_cast<uint16_t>(word));
    case 4:
        return store(at, static_cast<uint32_t>(word));
    default:
        return store(at, word);
    }
}

inline bool has(const message_descriptor &type, const field_descriptor &field, const void *msg)
{
    return (load_presence(type, msg) >> field.bit & 1) != 0;
}

inline void set_presence(const message_descriptor &type, const field_descriptor &field, void *msg, bool present)
{
    const uint64_t mask = uint64_t{1} << field.bit;
    const uint64_t word = load_presence(type, msg);
    store_presence(type, msg, present ? word | mask : word & ~mask);
}

} // namespace record_access
