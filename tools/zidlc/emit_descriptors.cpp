// Tables that describe every record.

#include "tools/zidlc/emit_descriptors.hpp"

#include "tools/zidlc/names.hpp"
#include "tools/zidlc/operations.hpp"
#include "tools/zidlc/printer.hpp"

namespace zidlc
{

namespace
{

constexpr std::string_view header_start = R"(
// What every record looks like, as tables: for tools and tests. The codec itself does not use them.

#pragma once

#include "codec/zidl.h"

#include <cstddef>
#include <cstdint>

)";

constexpr std::string_view header_text = R"(
struct message_descriptor;

struct field_descriptor {
    const char *member;
    uint32_t number;
    kind type;
    bool repeated;
    uint8_t bit;                       // of the presence word
    uint32_t offset;                   // of the member in the record
    uint32_t extent_offset;            // of the count (repeated) or the size (bytes); 0 otherwise
    const message_descriptor *message; // the nested type, or null
};

// The operations take every argument; a type that goes without one ignores it.
struct message_descriptor {
    const char *name;
    const char *group;
    const field_descriptor *fields; // in declaration order
    uint32_t field_count;
    uint32_t size; // of the record in bytes
    uint32_t presence_offset;
    uint32_t presence_size;
    size_t (*encode)(const void *msg, uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t *nsegs, uint32_t flags);
    int32_t (*decode)(void *msg, const uint8_t *buf, size_t len, zidl_alloc_fn alloc_fn, void *alloc_ctx,
                      uint32_t flags);
    int32_t (*duplicate)(void *dst, const void *src, zidl_alloc_fn alloc_fn, void *alloc_ctx);
    void (*release)(void *msg, zidl_free_fn free_fn, void *free_ctx, uint32_t flags);
};

// A message stands behind those that it holds.
extern const message_descriptor *const all_messages[];
extern const size_t message_count;

const message_descriptor *find_message(const char *name); // null when unknown

)";

// Each list of arguments that an operation can have, behind the one list that all descriptors use.
constexpr std::string_view adaptors = R"(
template <auto function>
struct encoder;

template <class T, size_t (*function)(const T *, uint8_t *, size_t, zidl_segment *, uint32_t *, uint32_t)>
struct encoder<function> {
    static size_t call(const void *msg, uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t *nsegs, uint32_t flags)
    {
        return function(static_cast<const T *>(msg), buf, buflen, segs, nsegs, flags);
    }
};

template <class T, size_t (*function)(const T *, uint8_t *, size_t, zidl_segment *, uint32_t *)>
struct encoder<function> {
    static size_t call(const void *msg, uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t *nsegs, uint32_t)
    {
        return function(static_cast<const T *>(msg), buf, buflen, segs, nsegs);
    }
};

template <auto function>
struct decoder;

template <class T, int32_t (*function)(T *, const uint8_t *, size_t, zidl_alloc_fn, void *, uint32_t)>
struct decoder<function> {
    static int32_t call(void *msg, const uint8_t *buf, size_t len, zidl_alloc_fn alloc_fn, void *ctx, uint32_t flags)
    {
        return function(static_cast<T *>(msg), buf, len, alloc_fn, ctx, flags);
    }
};

template <class T, int32_t (*function)(T *, const uint8_t *, size_t, zidl_alloc_fn, void *)>
struct decoder<function> {
    static int32_t call(void *msg, const uint8_t *buf, size_t len, zidl_alloc_fn alloc_fn, void *ctx, uint32_t)
    {
        return function(static_cast<T *>(msg), buf, len, alloc_fn, ctx);
    }
};

template <class T, int32_t (*function)(T *, const uint8_t *, size_t, uint32_t)>
struct decoder<function> {
    static int32_t call(void *msg, const uint8_t *buf, size_t len, zidl_alloc_fn, void *, uint32_t flags)
    {
        return function(static_cast<T *>(msg), buf, len, flags);
    }
};

template <class T, int32_t (*function)(T *, const uint8_t *, size_t)>
struct decoder<function> {
    static int32_t call(void *msg, const uint8_t *buf, size_t len, zidl_alloc_fn, void *, uint32_t)
    {
        return function(static_cast<T *>(msg), buf, len);
    }
};

template <auto function>
struct duplicator;

template <class T, int32_t (*function)(T *, const T *, zidl_alloc_fn, void *)>
struct duplicator<function> {
    static int32_t call(void *dst, const void *src, zidl_alloc_fn alloc_fn, void *ctx)
    {
        return function(static_cast<T *>(dst), static_cast<const T *>(src), alloc_fn, ctx);
    }
};

template <class T, int32_t (*function)(T *, const T *)>
struct duplicator<function> {
    static int32_t call(void *dst, const void *src, zidl_alloc_fn, void *)
    {
        return function(static_cast<T *>(dst), static_cast<const T *>(src));
    }
};

template <auto function>
struct releaser;

template <class T, void (*function)(T *, zidl_free_fn, void *, uint32_t)>
struct releaser<function> {
    static void call(void *msg, zidl_free_fn free_fn, void *ctx, uint32_t flags)
    {
        function(static_cast<T *>(msg), free_fn, ctx, flags);
    }
};
)";

constexpr std::string_view lookup = R"(
const message_descriptor *find_message(const char *name)
{
    for (const message_descriptor *each : all_messages) {
        if (strcmp(each->name, name) == 0)
            return each;
    }
    return nullptr;
}
)";

std::string kind_constants()
{
    std::vector<std::string_view> names;
    for (const kind &each : all_kinds)
        names.push_back(each.constant);
    return fmt::format("enum class kind : uint8_t {{ {} }};\n", fmt::join(names, ", "));
}

std::string table_name(const message &m)
{
    return fmt::format("fields_of_{}", m.name);
}

std::string descriptor_name(const message &m)
{
    return fmt::format("descriptor_of_{}", m.name);
}

std::string offset_of(const message &m, std::string_view member)
{
    return fmt::format("offsetof({}, {})", record_type(m), member);
}

void emit_fields(printer &out, const message &m)
{
    out.line("constexpr field_descriptor {}[] = {{", table_name(m));
    for (const field &f : m.fields)
        out.list("    {",
                 {fmt::format("\"{}\"", f.name), std::to_string(f.number), fmt::format("kind::{}", f.type->constant),
                  f.repeated ? "true" : "false", std::to_string(f.bit), offset_of(m, f.name),
                  f.count_name.empty() ? "0" : offset_of(m, f.count_name),
                  f.nested ? fmt::format("&{}", descriptor_name(*f.nested)) : "nullptr"},
                 "},");
    out.line("}};");
}

void emit_descriptor(printer &out, const message &m)
{
    const std::string record = record_type(m);
    out.line("constexpr message_descriptor {} = {{", descriptor_name(m));
    out.line("    \"{}\", \"{}\", {}, {},", m.name, m.group, table_name(m), m.fields.size());
    out.list("    ",
             {fmt::format("sizeof({})", record), offset_of(m, "presence"), fmt::format("sizeof({}::presence)", record)},
             ",");
    out.line("    encoder<{}>::call,", encode_operation(m).name);
    out.line("    decoder<{}>::call,", decode_operation(m).name);
    out.line("    duplicator<{}>::call,", duplicate_operation(m).name);
    out.line("    releaser<{}>::call,", release_operation(m).name);
    out.line("}};");
}

std::size_t message_count(const model &all)
{
    std::size_t count = 0;
    for (const auto &g : all.groups)
        count += g->messages.size();
    return count;
}

void emit_index(printer &out, const model &all)
{
    out.line("const message_descriptor *const all_messages[] = {{");
    for (const auto &g : all.groups) {
        for (const auto &m : g->messages)
            out.line("    &{},", descriptor_name(*m));
    }
    out.line("}};");
    out.line("const size_t message_count = {};", message_count(all));
}

// Each project has tables of its own.
void open_namespace(printer &out, const model &all)
{
    out.line("namespace {}", all.chosen.prefix);
    out.line("{{");
    out.line();
}

void close_namespace(printer &out, const model &all)
{
    out.line("}} // namespace {}", all.chosen.prefix);
}

} // namespace

std::string emit_descriptors_header(const model &all)
{
    printer out;
    out.line("// {}", generated_line(all));
    out.raw(header_start);
    open_namespace(out, all);
    out.raw(kind_constants());
    out.raw(header_text);
    close_namespace(out, all);
    return out.take();
}

std::string emit_descriptors_source(const model &all)
{
    printer out;
    out.line("// {}", generated_line(all));
    out.line();
    out.line("#include \"{}\"", descriptors_header_path(all.chosen));
    out.line();
    for (const auto &g : all.groups)
        out.line("#include \"{}\"", header_path(all.chosen, g->name));
    out.line();
    out.line("#include <cstring>");
    out.line();
    open_namespace(out, all);
    out.line("namespace");
    out.line("{{");
    out.raw(adaptors);
    for (const auto &g : all.groups) {
        for (const auto &m : g->messages) {
            out.line();
            emit_fields(out, *m);
            emit_descriptor(out, *m);
        }
    }
    out.line();
    out.line("}} // namespace");
    out.line();
    emit_index(out, all);
    out.raw(lookup);
    out.line();
    close_namespace(out, all);
    return out.take();
}

} // namespace zidlc
