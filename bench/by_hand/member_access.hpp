// The members of a decoded message, the same way for protobuf's classes and protobuf-c's structs, so that a conversion is
// written once. All of it is resolved by the compiler.

#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include <protobuf-c/protobuf-c.h>

namespace bench::by_hand
{

// protobuf-c points to nested messages, alone and in arrays.
template <class Value>
decltype(auto) dereferenced(const Value &value)
{
    if constexpr (std::is_pointer_v<Value> && std::is_class_v<std::remove_pointer_t<Value>>)
        return (*value);
    else
        return (value);
}

inline std::span<const uint8_t> as_bytes(std::string_view text)
{
    return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

inline std::span<const uint8_t> as_bytes(const ProtobufCBinaryData &data)
{
    return {data.data, data.len};
}

} // namespace bench::by_hand

// Whether a field is present. protobuf-c has no bit for what it points to.
#define HAS(msg, field)                                                                                                \
    [](const auto &m_) -> bool {                                                                                       \
        if constexpr (requires { m_.has_##field(); })                                                                  \
            return m_.has_##field();                                                                                   \
        else if constexpr (requires { m_.has_##field; })                                                               \
            return m_.has_##field != 0;                                                                                \
        else                                                                                                           \
            return m_.field != nullptr;                                                                                \
    }(msg)

// The value of a field, which is present when it is a message.
#define GET(msg, field)                                                                                                \
    [](const auto &m_) -> decltype(auto) {                                                                             \
        if constexpr (requires { m_.field(); })                                                                        \
            return m_.field();                                                                                         \
        else                                                                                                           \
            return bench::by_hand::dereferenced(m_.field);                                                             \
    }(msg)

#define TEXT(msg, field) std::string_view(GET(msg, field))

// The elements of a repeated field.
#define COUNT(msg, field)                                                                                              \
    [](const auto &m_) -> size_t {                                                                                     \
        if constexpr (requires { m_.field##_size(); })                                                                 \
            return static_cast<size_t>(m_.field##_size());                                                             \
        else                                                                                                           \
            return m_.n_##field;                                                                                       \
    }(msg)
#define ELEMENT(msg, field, index)                                                                                     \
    [](const auto &m_, size_t i_) -> decltype(auto) {                                                                  \
        if constexpr (requires { m_.field(0); })                                                                       \
            return m_.field(static_cast<int>(i_));                                                                     \
        else                                                                                                           \
            return bench::by_hand::dereferenced(m_.field[i_]);                                                         \
    }(msg, index)

// A member of the client's record from a field, when that is present.
#define COPY_PRESENT(member, msg, field)                                                                               \
    do {                                                                                                               \
        if (HAS(msg, field))                                                                                           \
            (member) = static_cast<std::remove_reference_t<decltype(member)>>(GET(msg, field));                        \
    } while (false)
