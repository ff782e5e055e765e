// The kinds of the schema language, one row each: all that the compiler knows about a kind stands here, and nothing
// else in it tells kinds apart by name.

#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace zidlc
{

// What a tag says about the bytes behind it.
struct wire_type {
    unsigned number;
    std::string_view name; // in the codec
};

// How a record holds a member that does not repeat. One that repeats is an array with a count, whatever its kind.
enum class storage {
    value,  // a number, in the record itself
    text,   // a pointer
    block,  // a pointer and a size
    record, // the record of another message, in the record itself
};

struct kind {
    std::string_view word; // in schemas and manuals; empty: a message, which goes by its own name there, in C and proto
    std::string_view constant; // in the descriptors
    storage held;
    std::string_view member;  // C type of the member, or of what it points to
    std::string_view setter;  // C type that a setter of one value takes; empty: it is no number
    std::string_view element; // C type of an array's elements
    std::string_view array;   // the codec's helpers for arrays; empty: there are none for this kind

    const wire_type &wire;
    unsigned most_bytes;            // of a value on the wire; 0: the contents decide
    std::string_view proto;         // type in proto files
    std::string_view writer;        // the helper of encoders: encode_<writer>
    std::string_view varied_writer; // the same where values vary much
    std::string_view reader;        // the helper of decoders: in.<reader>
    std::string_view varied_reader; // the same where values vary much
    bool makes_runs;                // neighbours are read and written in a loop
};

constexpr unsigned varint_size(uint64_t value)
{
    unsigned size = 1;
    for (; value > 127; value >>= 7)
        ++size;
    return size;
}

inline constexpr wire_type varint = {0, "varint"};
inline constexpr wire_type delimited = {2, "delimited"};
inline constexpr wire_type fixed32 = {5, "fixed32"};

// clang-format off
inline constexpr kind all_kinds[] = {
    // word, constant, how it is held, member, setter, element, helpers of arrays
    //     wire type, most bytes, proto type, writer, varied writer, reader, varied reader, makes runs
    {"u8",      "u8",      storage::value,  "uint8_t",  "uint8_t",  "uint8_t",    "u8s",
     varint,    varint_size(UINT8_MAX),  "uint32",  "u8",      "u8",         "u8",      "u8",         false},
    {"u32",     "u32",     storage::value,  "uint32_t", "uint32_t", "uint32_t",   "u32s",
     varint,    varint_size(UINT32_MAX), "uint32",  "u32",     "varied_u32", "u32",     "varied_u32", true},
    {"u64",     "u64",     storage::value,  "uint64_t", "uint64_t", "uint64_t",   "u64s",
     varint,    varint_size(UINT64_MAX), "uint64",  "u64",     "u64",        "u64",     "varied_u64", false},
    {"sint64",  "sint64",  storage::value,  "int64_t",  "int64_t",  "",           "",
     varint,    varint_size(UINT64_MAX), "sint64",  "sint64",  "sint64",     "sint64",  "sint64",     false},
    {"bool",    "boolean", storage::value,  "uint8_t",  "bool",     "",           "",
     varint,    1,                       "bool",    "bool",    "bool",       "boolean", "boolean",    false},
    {"fixed32", "fixed32", storage::value,  "uint32_t", "uint32_t", "",           "",
     fixed32,   4,                       "fixed32", "fixed32", "fixed32",    "fixed",   "fixed",      false},
    {"string",  "string",  storage::text,   "char",     "",         "",           "",
     delimited, 0,                       "string",  "string",  "string",     "string",  "string",     false},
    {"bytes",   "bytes",   storage::block,  "uint8_t",  "",         "zidl_bytes", "byte_blocks",
     delimited, 0,                       "bytes",   "bytes",   "bytes",      "bytes",   "bytes",      false},
    {"",        "message", storage::record, "",         "",         "",           "messages",
     delimited, 0,                       "",        "message", "message",    "message", "message",    false},
};
// clang-format on

// What holds between the facts of a row.
constexpr bool is_sound(const kind &row)
{
    const bool is_value = row.held == storage::value;
    const bool has_element = row.held == storage::record || !row.element.empty();
    return is_value != row.setter.empty() && is_value == (row.most_bytes > 0) &&
           is_value == (row.wire.number != delimited.number) && has_element != row.array.empty() &&
           (is_value || !row.makes_runs);
}
static_assert(std::all_of(std::begin(all_kinds), std::end(all_kinds), is_sound));

// The kind that schemas call `word`; null where it is none of theirs.
constexpr const kind *find_kind(std::string_view word)
{
    for (const kind &each : all_kinds) {
        if (each.word == word && each.held != storage::record)
            return &each;
    }
    return nullptr;
}

constexpr const kind *message_kind()
{
    for (const kind &each : all_kinds) {
        if (each.held == storage::record)
            return &each;
    }
    return nullptr;
}

} // namespace zidlc
