// Every name that generated code gives to something.

#include "tools/zidlc/names.hpp"

#include "tools/zidlc/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <iterator>

namespace zidlc
{

namespace
{

std::string file_name(std::string_view folder, std::string_view group, std::string_view extension)
{
    return fmt::format("{}/{}.{}", folder, group, extension);
}

std::string accessor(const message &m, std::string_view verb, const field &f)
{
    return fmt::format("{}_{}_{}", record_type(m), verb, f.name);
}

} // namespace

std::string record_type(const message &m)
{
    return m.record;
}

std::string reset_function(const message &m)
{
    const std::string prefix = m.group + '_';
    const bool is_short =
        m.name.starts_with(prefix) && !std::isdigit(static_cast<unsigned char>(m.name[prefix.size()]));
    return fmt::format("{}_clear", is_short ? m.name.substr(prefix.size()) : m.name);
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

std::string clear_accessor(const message &m, const field &f)
{
    return accessor(m, "clear", f);
}

std::string cpp_getter(const field &f)
{
    constexpr std::string_view verbs[] = {"has_", "set_", "clear_", "edit_", "mark_"};
    // What codec/zidl.hpp calls its classes, which a member function must not be called, and their member functions.
    constexpr std::string_view taken[] = {"adopt",           "append_to",    "clear",  "decode",    "decode_zero_copy",
                                          "detach",          "duplicate",    "editor", "encodable", "encode",
                                          "encode_segments", "encoded_size", "fields", "record",    "release_flags",
                                          "setters",         "view"};
    const bool is_taken = std::any_of(std::begin(verbs), std::end(verbs),
                                      [&](std::string_view verb) { return f.name.starts_with(verb); }) ||
                          std::find(std::begin(taken), std::end(taken), f.name) != std::end(taken);
    return is_taken ? f.name + '_' : f.name;
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

std::string header_path(const naming &chosen, std::string_view group)
{
    return file_name(chosen.folder, group, "h");
}

std::string cpp_header_path(const naming &chosen, std::string_view group)
{
    return file_name(chosen.folder, group, "message.hpp");
}

std::string codec_header_path(const naming &chosen, std::string_view group)
{
    return file_name(chosen.folder, group, "hpp");
}

std::string codec_source_path(const naming &chosen, std::string_view group)
{
    return file_name(chosen.folder, group, "cpp");
}

std::string descriptors_header_path(const naming &chosen)
{
    return codec_header_path(chosen, "descriptors");
}

std::string descriptors_source_path(const naming &chosen)
{
    return codec_source_path(chosen, "descriptors");
}

std::string proto_path(const naming &chosen, std::string_view group)
{
    return "proto/" + proto_import(chosen, group);
}

std::string proto_import(const naming &chosen, std::string_view group)
{
    return file_name(chosen.proto_folder, group, "proto");
}

std::string manual_path(std::string_view group)
{
    return file_name("docs/messages", group, "md");
}

std::string dissector_path(std::string_view protocol)
{
    return file_name("wireshark", protocol, "lua");
}

std::string source_path(std::string_view group)
{
    return file_name("schema", group, "zidl");
}

std::string include_guard(std::string_view path)
{
    std::string guard;
    const auto capital = [](unsigned char c) { return std::isalnum(c) ? static_cast<char>(std::toupper(c)) : '_'; };
    std::transform(path.begin(), path.end(), std::back_inserter(guard), capital);
    return guard;
}

std::string generated_line(const group &source)
{
    return fmt::format("Generated by zidlc from {}. Do not edit.", source.source);
}

std::string generated_line(const model &all, const std::string &other_file)
{
    std::vector<std::string> sources;
    for (const auto &each : all.groups)
        sources.push_back(each->source);
    if (!other_file.empty())
        sources.push_back(other_file);
    return fmt::format("Generated by zidlc from {}. Do not edit.", enumeration(sources));
}

} // namespace zidlc
