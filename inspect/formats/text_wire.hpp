// What the writer and the reader of the text format share: encodings without oddities, and the names that they go by.

#pragma once

#include "messages/descriptors.hpp"

#include <cstdint>
#include <string_view>
#include <vector>

namespace rib_inspect
{

inline void append_varint(std::vector<uint8_t> &out, uint64_t value)
{
    for (; value > 127; value >>= 7)
        out.push_back(static_cast<uint8_t>(value | 128));
    out.push_back(static_cast<uint8_t>(value));
}

// The varint that an encoder writes for a number of a field as a record keeps it.
inline uint64_t encoded_number(const zidl::field_descriptor &field, uint64_t kept)
{
    return field.type == zidl::kind::sint64 ? kept << 1 ^ (0 - (kept >> 63)) : kept;
}

// Fields by number have their wire type's name before the value.
namespace wire_name
{
constexpr std::string_view varint = "varint";
constexpr std::string_view fixed64 = "fixed64";
constexpr std::string_view bytes = "bytes";
constexpr std::string_view fixed32 = "fixed32";
} // namespace wire_name

// Behind a value stand the bytes of its tag, its length or itself where they are not those that an encoder writes.
namespace mark
{
constexpr std::string_view tag = "!tag=";
constexpr std::string_view length = "!length=";
constexpr std::string_view value = "!value=";
constexpr std::string_view raw = "!bytes:"; // a line of its own: bytes that are no field
} // namespace mark

} // namespace rib_inspect
