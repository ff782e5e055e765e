#include "tools/zidlc/emit_codec.hpp"

#include "tools/zidlc/emit_decoder.hpp"
#include "tools/zidlc/emit_encoder.hpp"
#include "tools/zidlc/names.hpp"
#include "tools/zidlc/operations.hpp"
#include "tools/zidlc/printer.hpp"

#include <functional>

namespace zidlc
{
namespace
{

void emit_title(printer &out, const message &msg)
{
    out.line("// {}", msg.name);
    out.line();
}

void emit_presence(printer &out, const message &msg)
{
    out.line("template <class Visit>");
    out.line("ZIDL_INLINE constexpr void each_presence({} &msg, const Visit &visit)", record_type(msg));
    out.line("{{");
    for (const field &f : msg.fields) {
        if (f.is_embedded)
            out.line("    each_presence(msg.{}, visit);", f.name);
    }
    out.line("    visit(msg.presence, {:#x});", msg.presence_mask);
    out.line("}}");
    out.line("ZIDL_RESET({}, {})", reset_function(msg), record_type(msg));
    out.line();
}

void emit_shape(printer &out, const message &msg)
{
    out.line("template <>");
    out.line("struct shape<{}> {{", record_type(msg));
    out.line("    static constexpr unsigned presence_words = {};", msg.presence_words);
    out.line("    static constexpr size_t fixed_bound = {};", msg.fixed_bound);
    out.line("    static constexpr bool owns_memory = {};", msg.owns_memory);
    out.line("    static constexpr bool is_small = {};", msg.is_small);
    out.line("    static constexpr bool is_rare = {};", msg.rare);
    out.line("    static constexpr bool is_bounded = {};", msg.is_bounded);
    out.line("    static constexpr bool holds_bytes = {};", msg.holds_bytes);
    out.line("}};");
    out.line();
}

void emit_duplicate(printer &out, const message &msg)
{
    table rows;
    for (const field &f : msg.fields) {
        if (f.is_embedded && f.owns_memory)
            rows.add("duplicate_owned\t(mem,\t dst.{},\t src.{});", f.name, f.name);
        else if (f.owns_memory)
            rows.add("mem.{}\t<{}>(dst,\t {},\t src.{});", f.repeated && f.is_scalar ? "array" : f.writer, f.bit,
                     members(f, "dst"), f.name);
    }
    out.line("// What `dst` shares with `src` becomes its own.");
    out.list("inline void duplicate_owned(",
             {"copier &mem", record_type(msg) + " &dst", "const " + record_type(msg) + " &src"}, ")");
    out.line("{{");
    emit_prefetches(out, msg, "src");
    out.block(rows, "    ");
    out.line("}}");
    out.line();
}

void emit_release(printer &out, const message &msg)
{
    table rows;
    for (const field &f : msg.fields) {
        if (f.is_embedded && f.owns_memory)
            rows.add("release\t(mem, msg.{});", f.name);
        else if (f.repeated && !f.is_scalar)
            rows.add("mem.{}\t({});", f.writer, members(f, "msg"));
        else if (f.owns_memory)
            rows.add("mem.{}\t(msg.{});", f.repeated ? "array" : f.writer, f.name);
    }
    out.line("inline void release(const releaser &mem, {} &msg)", record_type(msg));
    out.line("{{");
    out.block(rows, "    ");
    out.line("}}");
    out.line();
}

void emit_message(printer &out, const message &msg)
{
    emit_title(out, msg);
    emit_shape(out, msg);
    emit_presence(out, msg);
    if (msg.owns_memory && msg.is_bounded)
        emit_sizes(out, msg);
    emit_encode(out, msg);
    emit_decode(out, msg);
    if (msg.owns_memory) {
        emit_duplicate(out, msg);
        emit_release(out, msg);
    }
}

void emit_function(printer &out, const operation &defined, const std::string &name,
                   const std::vector<std::string> &body)
{
    out.list(fmt::format("{} {}(", defined.result, name), defined.parameters, ")");
    out.line("{{");
    for (const std::string &line : body)
        out.line("    {}", line);
    out.line("}}");
    out.line();
}

// The calls of the operations that all types share, with a neutral value for every argument that this type leaves out.

std::string encode_call(const message &msg)
{
    return fmt::format("return zidl::detail::encode_ext(*msg, buf, buflen, segs, nsegs, {});",
                       msg.omit.encode_flags ? "0" : "flags");
}

std::string decode_call(const message &msg)
{
    return fmt::format("return zidl::detail::decode_ext(*msg, buf, len, {}, {});",
                       msg.omit.decode_memory ? "nullptr, nullptr" : "alloc_fn, alloc_ctx",
                       msg.omit.decode_flags ? "0" : "flags");
}

// The encoder and the decoder, and the choice between their copies where there are several.

void emit_whole(printer &out, const message &msg)
{
    emit_function(out, encode_operation(msg), encode_operation(msg).name, {encode_call(msg)});
    emit_function(out, decode_operation(msg), decode_operation(msg).name, {decode_call(msg)});
}

void emit_copy(printer &out, const message &msg)
{
    const auto copy_of = [](const operation &defined) { return fmt::format("ZIDL_BUILD({})", defined.name); };
    emit_title(out, msg);
    emit_function(out, encode_operation(msg), copy_of(encode_operation(msg)), {encode_call(msg)});
    emit_function(out, decode_operation(msg), copy_of(decode_operation(msg)), {decode_call(msg)});
}

void emit_choice(printer &out, const message &msg)
{
    out.line("ZIDL_DISPATCHED({})", encode_operation(msg).name);
    out.line("ZIDL_DISPATCHED({})", decode_operation(msg).name);
    out.line();
}

// What has one build alone.
void emit_once(printer &out, const message &msg)
{
    emit_title(out, msg);
    msg.dispatch ? emit_choice(out, msg) : emit_whole(out, msg);
    const operation duplicate = duplicate_operation(msg);
    const operation release = release_operation(msg);
    emit_function(out, duplicate, duplicate.name,
                  {fmt::format("return zidl::detail::duplicate(*dst, *src, {});",
                               msg.omit.duplicate_memory ? "nullptr, nullptr" : "alloc_fn, alloc_ctx")});
    emit_function(out, release, release.name, {"zidl::detail::free_ext(*msg, free_fn, free_ctx, flags);"});
}

using chosen_messages = std::vector<const message *>;

template <class Property>
chosen_messages those(const group &source, const Property &property)
{
    chosen_messages found;
    for (const auto &msg : source.messages) {
        if (std::invoke(property, *msg))
            found.push_back(msg.get());
    }
    return found;
}

// What one of the builds holds, see codec/builds.hpp.
template <class Emit>
void emit_build(printer &out, std::string_view build, const chosen_messages &messages, const Emit &emit)
{
    if (messages.empty())
        return;
    out.line("#ifdef {}", build);
    out.line();
    for (const message *msg : messages)
        emit(out, *msg);
    out.line("#endif");
    out.line();
}

// What the builds of dispatched messages share.
void emit_shared(printer &out, const group &source)
{
    const chosen_messages rare = those(source, &message::rare);
    const chosen_messages dispatched = those(source, &message::dispatch);
    for (const message *msg : rare)
        out.line("ZIDL_BUILT_ONCE({})", record_type(*msg));
    for (const message *msg : dispatched)
        out.line("ZIDL_EXACT_ENCODER({})", record_type(*msg));
    if (!rare.empty() || !dispatched.empty())
        out.line();
}

} // namespace

std::string emit_codec_header(const group &source)
{
    printer out;
    out.line("// {}", generated_line(source));
    out.line();
    out.line("#pragma once");
    out.line();
    out.line("#include \"codec/operations.hpp\"");
    out.line("#include \"{}\"", header_path(source.chosen, source.name));
    for (const std::string &used : source.uses)
        out.line("#include \"{}\"", codec_header_path(source.chosen, used));
    out.line();
    out.line("namespace zidl::detail");
    out.line("{{");
    out.line("inline namespace ZIDL_VARIANT");
    out.line("{{");
    out.line();
    for (const auto &msg : source.messages)
        emit_message(out, *msg);
    out.line("}} // namespace ZIDL_VARIANT");
    out.line("}} // namespace zidl::detail");
    return out.take();
}

std::string emit_codec_source(const group &source)
{
    printer out;
    out.line("// {}", generated_line(source));
    out.line();
    out.line("#include \"{}\"", codec_header_path(source.chosen, source.name));
    out.line("#include \"codec/variants.hpp\"");
    out.line();
    emit_shared(out, source);
    out.line("extern \"C\" {{");
    out.line();
    const chosen_messages dispatched = those(source, &message::dispatch);
    emit_build(out, "ZIDL_ONCE_BUILD", those(source, [](const message &) { return true; }), emit_once);
    emit_build(out, "ZIDL_DISPATCHED_BUILD", dispatched, emit_copy);
    out.line("}} // extern \"C\"");
    return out.take();
}

} // namespace zidlc
