// The C++ header of a group. Everything in it is named from the root, so that a member called like a type hides nothing.

#include "tools/zidlc/emit_cpp_header.hpp"

#include "tools/zidlc/names.hpp"
#include "tools/zidlc/operations.hpp"
#include "tools/zidlc/printer.hpp"

namespace zidlc
{

namespace
{

// What reads and what sets a member, by how the record holds it.
struct access {
    std::string result;             // what the getter returns
    std::string reads;              // the helper that it calls; empty: none, see emit_getters
    std::string taken;              // what the setter takes
    bool whole_record_only = false; // an embedded message: set as a record, or edited
};

access access_of(const field &f)
{
    const std::string element = element_type(f);
    if (f.repeated && f.nested)
        return {fmt::format("zidl::views<{}>", element), "messages", fmt::format("zidl::borrowed<{}>", element)};
    if (f.repeated && f.type->held == storage::block)
        return {"zidl::blocks", "byte_blocks", "zidl::borrowed<zidl_bytes>"};
    if (f.repeated)
        return {fmt::format("zidl::span<const {}>", element), "array", fmt::format("zidl::borrowed<{}>", element)};
    switch (f.type->held) {
    case storage::value:
        return {std::string(f.type->setter), "value", std::string(f.type->setter)};
    case storage::text:
        return {"std::string_view", "string", "zidl::text"};
    case storage::block:
        return {"zidl::bytes", "array", "zidl::borrowed<uint8_t>"};
    case storage::record:
        return {fmt::format("zidl::view<{}>", element), "", fmt::format("const {} &", element), true};
    }
    return {};
}

std::string read_of(const field &f, const access &how)
{
    if (how.whole_record_only)
        return fmt::format("return held_().{};", f.name);
    const std::string call =
        fmt::format("zidl::member::{}<{}>(held_(), {})", how.reads, f.bit, members(f, "held_()"));
    if (how.result == "bool")
        return fmt::format("return {} != 0;", call);
    return fmt::format("return {};", call);
}

void emit_getters(printer &out, const message &m)
{
    table rows;
    for (const field &f : m.fields) {
        const access how = access_of(f);
        rows.add("bool\t has_{}() const\v {{ return zidl::member::has<{}>(held_()); }}", f.name, f.bit);
        rows.add("{}\t {}() const\v {{ {} }}", how.result, cpp_getter(f), read_of(f, how));
    }
    out.block(rows, "    ");
}

void emit_setters(printer &out, const message &m)
{
    table rows;
    for (const field &f : m.fields) {
        const access how = access_of(f);
        const std::string held = members(f, "held_()");
        const std::string taken = how.taken.ends_with('&') ? how.taken : how.taken + ' ';
        rows.add("Self &set_{}({}value)\v {{ zidl::member::set<{}>(held_(), {}, value); return self_(); }}", f.name,
                 taken, f.bit, held);
        rows.add("Self &clear_{}()\v {{ zidl::member::clear<{}>(held_(), {}); return self_(); }}", f.name, f.bit,
                 held);
        if (!how.whole_record_only)
            continue;
        rows.add("Self &mark_{}()\v {{ zidl::member::mark<{}>(held_()); return self_(); }}", f.name, f.bit);
        rows.add("zidl::editor<{}> edit_{}()\v {{ return held_().{}; }}", element_type(f), f.name, f.name);
    }
    out.block(rows, "    ");
}

// The name that an argument has where every operation has all of them.
std::string argument(const std::string &parameter)
{
    return parameter.substr(parameter.find_last_of(" *") + 1);
}

bool takes(const operation &given, std::string_view name)
{
    for (const std::string &parameter : given.parameters) {
        if (argument(parameter) == name)
            return true;
    }
    return false;
}

// One operation with every argument; what the type goes without has no name.
void emit_operation(printer &out, std::string_view name, const operation &given, const std::vector<std::string> &all)
{
    std::vector<std::string> parameters;
    std::vector<std::string> arguments;
    for (const std::string &parameter : all) {
        const std::string word = argument(parameter);
        const bool is_taken = takes(given, word);
        parameters.push_back(is_taken ? parameter : parameter.substr(0, parameter.size() - word.size()));
        if (is_taken)
            arguments.push_back(word);
        else if (parameters.back().back() == ' ')
            parameters.back().pop_back();
    }
    out.list(fmt::format("    static {} {}(", given.result, name), parameters, ")");
    out.line("    {{");
    out.list(fmt::format("        {}{}(", given.result == "void" ? "" : "return ", given.name), arguments, ");");
    out.line("    }}");
}

void emit_traits(printer &out, const message &m)
{
    const std::string record = record_type(m);
    out.line("template <>");
    out.line("struct traits<{}> {{", record);
    out.line("    static constexpr const char *name = \"{}\";", m.name);
    out.line("    static constexpr bool owns_memory = {};", m.owns_memory);
    out.line("    static constexpr bool may_borrow = {}; // where its decoder is asked to",
             m.holds_bytes && !m.omit.decode_flags);
    out.line();
    emit_operation(out, "encode", encode_operation(m),
                   {fmt::format("const {} *msg", record), "uint8_t *buf", "size_t buflen", "zidl_segment *segs",
                    "uint32_t *nsegs", "uint32_t flags"});
    emit_operation(out, "decode", decode_operation(m),
                   {fmt::format("{} *msg", record), "const uint8_t *buf", "size_t len", "zidl_alloc_fn alloc_fn",
                    "void *alloc_ctx", "uint32_t flags"});
    emit_operation(out, "duplicate", duplicate_operation(m),
                   {fmt::format("{} *dst", record), fmt::format("const {} *src", record), "zidl_alloc_fn alloc_fn",
                    "void *alloc_ctx"});
    emit_operation(out, "release", release_operation(m),
                   {fmt::format("{} *msg", record), "zidl_free_fn free_fn", "void *free_ctx", "uint32_t flags"});
    out.line("}};");
}

void emit_message(printer &out, const message &m)
{
    const std::string record = record_type(m);
    out.line();
    out.line("// {}", m.name);
    out.line();
    emit_traits(out, m);
    out.line();
    out.line("template <class Self>");
    out.line("class fields<{0}, Self> : public encodable<{0}, Self>", record);
    out.line("{{");
    out.line("    const {} &held_() const {{ return *static_cast<const Self &>(*this); }}", record);
    out.line();
    out.line("public:");
    emit_getters(out, m);
    out.line("}};");
    out.line();
    out.line("template <class Self>");
    out.line("class setters<{0}, Self> : public fields<{0}, Self>", record);
    out.line("{{");
    out.line("    Self &self_() {{ return static_cast<Self &>(*this); }}");
    out.line("    {} &held_() {{ return *self_(); }}", record);
    out.line();
    out.line("public:");
    emit_setters(out, m);
    out.line("}};");
}

} // namespace

std::string emit_cpp_header(const group &source)
{
    printer out;
    out.line("// {}", generated_line(source));
    out.line();
    out.line("// The messages of {} in C++17: codec/zidl.hpp says how they are used, {} what their members mean.",
             source.name, header_path(source.chosen, source.name));
    out.line();
    out.line("#pragma once");
    out.line();
    out.line("#include \"codec/zidl.hpp\"");
    out.line("#include \"{}\"", header_path(source.chosen, source.name));
    for (const std::string &used : source.uses)
        out.line("#include \"{}\"", cpp_header_path(source.chosen, used));
    out.line();
    out.line("namespace zidl");
    out.line("{{");
    for (const auto &m : source.messages)
        emit_message(out, *m);
    out.line();
    out.line("}} // namespace zidl");
    return out.take();
}

} // namespace zidlc
