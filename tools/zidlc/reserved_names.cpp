// The names that a schema may not give, and those that two of its messages cannot both have.

#include "tools/zidlc/reserved_names.hpp"

#include "tools/zidlc/names.hpp"
#include "tools/zidlc/operations.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace zidlc
{

namespace
{

// Keywords of C up to C23 and of C++ up to C++20, macros of <stdbool.h> and <errno.h>, what compilers predefine in their GNU modes,
// and the types of numbers: in C++ a member called like one hides it from those behind it.
constexpr std::string_view c_words =
    " alignas alignof and and_eq asm atomic_cancel atomic_commit atomic_noexcept auto bitand bitor bool "
    "break case catch char char16_t char32_t char8_t class co_await co_return co_yield compl concept "
    "const const_cast consteval constexpr constinit continue decltype default delete do double "
    "dynamic_cast else enum errno explicit export extern false float for friend goto i386 if inline int "
    "int32_t int64_t linux long mutable namespace new noexcept not not_eq nullptr operator or or_eq "
    "private protected public reflexpr register reinterpret_cast requires restrict return short signed "
    "size_t sizeof static static_assert static_cast struct switch synchronized template this thread_local "
    "throw true try typedef typeid typename typeof typeof_unqual uint16_t uint32_t uint64_t uint8_t union "
    "unix unsigned using virtual void volatile wchar_t while xor xor_eq ";

constexpr std::string_view language_words =
    " by counted dispatch group message of omit order out rare repeated unassigned use ";

// Files of these names are the compiler's own: messages/descriptors.hpp, docs/messages/README.md.
constexpr std::string_view file_words = " descriptors readme ";

constexpr std::string_view proto_words = " fixed64 int32 int64 sfixed32 sfixed64 sint32 uint32 uint64 ";

constexpr shared_identifier shared_identifiers[] = {
    {"zidl_alloc_fn", "codec/zidl.h"},          {"zidl_bytes", "codec/zidl.h"},
    {"zidl_free_fn", "codec/zidl.h"},           {"zidl_segment", "codec/zidl.h"},
    {"zidl_status_name", "codec/zidl.h"},       {"zidl_arena", "codec/zidl_arena.h"},
    {"zidl_arena_alloc", "codec/zidl_arena.h"}, {"zidl_arena_alloc_grown", "codec/zidl_arena.h"},
    {"zidl_arena_block", "codec/zidl_arena.h"}, {"zidl_arena_destroy", "codec/zidl_arena.h"},
    {"zidl_arena_free", "codec/zidl_arena.h"},  {"zidl_arena_grow", "codec/zidl_arena.h"},
    {"zidl_arena_init", "codec/zidl_arena.h"},  {"zidl_arena_reset", "codec/zidl_arena.h"},
    {"zidl_arena_use", "codec/zidl_arena.h"},
};

// Whether a list, whose words stand between blanks, has a name.
bool contains(std::string_view words, std::string_view name)
{
    return words.find(fmt::format(" {} ", name)) != std::string_view::npos;
}

bool is_snake_case(std::string_view name)
{
    const auto is_part = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_'; };
    return std::all_of(name.begin(), name.end(), is_part) && name.front() >= 'a' && name.front() <= 'z' &&
           name.back() != '_' && name.find("__") == std::string_view::npos;
}

} // namespace

std::string objection_to_name(std::string_view name)
{
    if (!is_snake_case(name))
        return "names are snake_case: lower-case letters, digits and single underscores, a letter first";
    if (is_reserved_word(name))
        return "the word is reserved in C or C++";
    if (contains(language_words, name) || find_kind(name))
        return "the word belongs to the schema language";
    return {};
}

bool is_reserved_word(std::string_view name)
{
    return contains(c_words, name);
}

std::string objection_to_member(std::string_view name)
{
    return name == "presence" ? "the presence word of the record has that name" : "";
}

std::string objection_to_message(std::string_view name)
{
    return contains(proto_words, name) ? "proto files have a type of that name" : "";
}

std::string objection_to_group(std::string_view name)
{
    return contains(file_words, name) ? "a generated file of all groups has that name" : "";
}

std::vector<std::string> c_identifiers(const message &m)
{
    std::vector<std::string> names = {record_type(m), encode_operation(m).name, decode_operation(m).name,
                                      duplicate_operation(m).name, release_operation(m).name};
    for (const field &f : m.fields) {
        names.push_back(has_accessor(m, f));
        names.push_back(clear_accessor(m, f));
        if (f.is_value || f.is_pointer)
            names.push_back(set_accessor(m, f));
        if (!f.is_value)
            names.push_back(mark_accessor(m, f));
    }
    return names;
}

std::span<const shared_identifier> shared_c_identifiers()
{
    return shared_identifiers;
}

} // namespace zidlc
