// Every name that generated code gives to something.

#include "tools/zidlc/names.hpp"

#include "tools/zidlc/printer.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <iterator>

namespace zidlc
{

namespace
{

// Keywords of C up to C23 and of C++ up to C++20, macros of <stdbool.h>, and what compilers predefine in their GNU modes.
constexpr std::string_view c_words =
    " alignas alignof and and_eq asm atomic_cancel atomic_commit atomic_noexcept auto bitand bitor bool break "
    "case catch char char16_t char32_t char8_t class co_await co_return co_yield compl concept const "
    "const_cast consteval constexpr constinit continue decltype default delete do double dynamic_cast else "
    "enum explicit export extern false float for friend goto i386 if inline int linux long mutable namespace "
    "new noexcept not not_eq nullptr operator or or_eq private protected public reflexpr register "
    "reinterpret_cast requires restrict return short signed sizeof static static_assert static_cast struct "
    "switch synchronized template this thread_local throw true try typedef typeid typename typeof "
    "typeof_unqual union unix unsigned using virtual void volatile wchar_t while xor xor_eq ";

constexpr std::string_view language_words =
    " by counted group message of omit order out repeated reset unassigned use ";

// Files of these names are the compiler's own: messages/descriptors.hpp, docs/messages/README.md.
constexpr std::string_view file_words = " descriptors readme ";

constexpr std::string_view proto_words = " fixed64 int32 int64 sfixed32 sfixed64 sint32 sint64 uint32 uint64 ";

// What generated code calls with a record, or defines for one.
constexpr std::string_view codec_words =
    " any_presence copy_record decode decode_ext duplicate duplicate_owned each_presence encode "
    "encode_exact encode_ext encoded_bound encoded_size free_ext has memcpy memset release ";

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

std::string file_name(std::string_view folder, std::string_view group, std::string_view extension)
{
    return fmt::format("{}/{}.{}", folder, group, extension);
}

std::string accessor(const message &m, std::string_view verb, const field &f)
{
    return fmt::format("{}_{}_{}", record_type(m), verb, f.name);
}

void append(std::vector<std::string> &list, std::initializer_list<const char *> more)
{
    list.insert(list.end(), more.begin(), more.end());
}

} // namespace

std::string record_type(std::string_view name)
{
    return fmt::format("zidl_{}", name);
}

std::string record_type(const message &m)
{
    return record_type(m.name);
}

std::string presence_type(const message &m)
{
    return fmt::format("uint{}_t", m.presence_bits);
}

std::string element_type(const field &f)
{
    if (f.nested)
        return record_type(*f.nested);
    return std::string(f.repeated ? f.type->element : f.type->member);
}

std::string count_type(const field &f)
{
    if (f.repeated)
        return "uint32_t";
    return f.type->held == storage::block ? "uint64_t" : "";
}

std::string kind_name(const field &f)
{
    return fmt::format("{}{}", f.repeated ? "repeated " : "", f.nested ? f.nested->name : f.type->word);
}

std::string operation::parameter_list() const
{
    return joined(parameters);
}

std::string operation::prototype() const
{
    return fmt::format("{} {}({})", result, name, parameter_list());
}

operation encode_operation(const message &m)
{
    operation encode{"size_t", record_type(m) + "_encode_ext", {fmt::format("const {} *msg", record_type(m))}};
    append(encode.parameters, {"uint8_t *buf", "size_t buflen", "zidl_segment *segs", "uint32_t *nsegs"});
    if (!m.omit.encode_flags)
        append(encode.parameters, {"uint32_t flags"});
    return encode;
}

operation decode_operation(const message &m)
{
    operation decode{"int32_t", record_type(m) + "_decode_ext", {fmt::format("{} *msg", record_type(m))}};
    append(decode.parameters, {"const uint8_t *buf", "size_t len"});
    if (!m.omit.decode_memory)
        append(decode.parameters, {"zidl_alloc_fn alloc_fn", "void *alloc_ctx"});
    if (!m.omit.decode_flags)
        append(decode.parameters, {"uint32_t flags"});
    return decode;
}

operation duplicate_operation(const message &m)
{
    operation duplicate{"int32_t",
                        record_type(m) + "_duplicate",
                        {fmt::format("{} *dst", record_type(m)), fmt::format("const {} *src", record_type(m))}};
    if (!m.omit.duplicate_memory)
        append(duplicate.parameters, {"zidl_alloc_fn alloc_fn", "void *alloc_ctx"});
    return duplicate;
}

operation release_operation(const message &m)
{
    operation release{"void", record_type(m) + "_free_ext", {fmt::format("{} *msg", record_type(m))}};
    append(release.parameters, {"zidl_free_fn free_fn", "void *free_ctx", "uint32_t flags"});
    return release;
}

std::string has_accessor(const message &m, const field &f)
{
    return accessor(m, "has", f);
}

std::string set_accessor(const message &m, const field &f)
{
    return accessor(m, "set", f);
}

std::string mark_accessor(const message &m, const field &f)
{
    return accessor(m, "mark", f);
}

std::vector<std::string> member_names(const field &f)
{
    if (f.count_name.empty())
        return {f.name};
    return {f.name, f.count_name};
}

std::string members(const field &f, std::string_view object)
{
    std::string text;
    for (const std::string &name : member_names(f))
        text += fmt::format("{}{}.{}", text.empty() ? "" : ", ", object, name);
    return text;
}

std::vector<std::string> c_identifiers(const message &m)
{
    std::vector<std::string> names = {record_type(m), encode_operation(m).name, decode_operation(m).name,
                                      duplicate_operation(m).name, release_operation(m).name};
    for (const field &f : m.fields) {
        names.push_back(has_accessor(m, f));
        names.push_back(f.has_setter ? set_accessor(m, f) : mark_accessor(m, f));
    }
    return names;
}

const std::vector<std::string> &shared_c_identifiers()
{
    static const std::vector<std::string> names = {"zidl_alloc_fn", "zidl_bytes", "zidl_free_fn", "zidl_segment"};
    return names;
}

std::string header_path(std::string_view group)
{
    return file_name("messages", group, "h");
}

std::string codec_header_path(std::string_view group)
{
    return file_name("messages", group, "hpp");
}

std::string codec_source_path(std::string_view group)
{
    return file_name("messages", group, "cpp");
}

std::string proto_path(std::string_view group)
{
    return file_name("proto", group, "proto");
}

std::string manual_path(std::string_view group)
{
    return file_name("docs/messages", group, "md");
}

std::string source_path(std::string_view group)
{
    return file_name("schema", group, "zidl");
}

std::string proto_package()
{
    return "zidl.proto";
}

std::string include_guard(std::string_view path)
{
    std::string guard;
    const auto capital = [](char c) { return c == '/' || c == '.' ? '_' : static_cast<char>(std::toupper(c)); };
    std::transform(path.begin(), path.end(), std::back_inserter(guard), capital);
    return guard;
}

std::string generated_line(const group &source)
{
    return fmt::format("Generated by zidlc from {}. Do not edit.", source.source);
}

std::string generated_line(const model &all)
{
    std::vector<std::string> sources;
    for (const auto &each : all.groups)
        sources.push_back(each->source);
    return fmt::format("Generated by zidlc from {}. Do not edit.", enumeration(sources));
}

std::string objection_to_name(std::string_view name)
{
    if (!is_snake_case(name))
        return "names are snake_case: lower-case letters, digits and single underscores, a letter first";
    if (contains(c_words, name))
        return "the word is reserved in C or C++";
    if (contains(language_words, name) || find_kind(name))
        return "the word belongs to the schema language";
    return {};
}

std::string objection_to_member(std::string_view name)
{
    return name == "presence" ? "the presence word of the record has that name" : "";
}

std::string objection_to_message(std::string_view name)
{
    return contains(proto_words, name) ? "proto files have a type of that name" : "";
}

std::string objection_to_function(std::string_view name)
{
    return contains(codec_words, name) ? "the codec has a function of that name" : "";
}

std::string objection_to_group(std::string_view name)
{
    return contains(file_words, name) ? "a generated file of all groups has that name" : "";
}

} // namespace zidlc
