#include "tools/zidlc/emit_encoder.hpp"

#include "tools/zidlc/names.hpp"

#include <utility>

namespace zidlc
{
namespace
{

void add_encode_row(table &rows, const field &f)
{
    rows.add("encode_{}\t<{}>\t(out, has<{}>(msg),\t {});", f.writer, f.number, f.bit, members(f, "msg"));
}

// Neighbouring embedded messages are mostly absent together: one test passes them all.
std::string absent_test(const block &embedded)
{
    uint64_t bits = 0;
    std::string words;
    for (const field &f : embedded.fields) {
        bits |= uint64_t{1} << f.bit;
        words += fmt::format("{}any_presence(msg.{})", words.empty() ? "" : " | ", f.name);
    }
    return fmt::format("(msg.presence & {:#x}) != 0 || ({}) != 0", bits, words);
}

void emit_embedded(printer &out, const block &embedded, const std::string &indent)
{
    table rows;
    for (const field &f : embedded.fields)
        add_encode_row(rows, f);
    out.line("{}if ({}) {{", indent, absent_test(embedded));
    out.block(rows, indent + "    ");
    out.line("{}}}", indent);
}

// One line for a run that is long enough to be worth a loop over its set presence bits; the fields by name beside it.
void emit_run(printer &out, const message &msg, const block &run, const std::string &indent)
{
    const field &first = run.fields.front();
    out.line("{}encode_u32_run<{}, {}, {}, offsetof({}, {})>(out, msg); // {} to {}", indent, first.number, first.bit,
             run.fields.size(), record_type(msg), first.name, first.name, run.fields.back().name);
}

void emit_blocks(printer &out, const message &msg, const std::vector<block> &blocks, const std::string &indent)
{
    table rows;
    for (const block &each : blocks) {
        if (each.taken_as != block::form::single)
            out.block(std::exchange(rows, {}), indent);
        switch (each.taken_as) {
        case block::form::single:
            add_encode_row(rows, each.fields.front());
            break;
        case block::form::run:
            emit_run(out, msg, each, indent);
            break;
        case block::form::embedded:
            emit_embedded(out, each, indent);
            break;
        }
    }
    out.block(rows, indent);
}

// Fields of bounded size that stand together are written below one test of the room that they need.
void emit_stretch(printer &out, const message &msg, const stretch &part)
{
    if (part.room == 0)
        return emit_blocks(out, msg, part.blocks, "    ");
    out.line("    {{");
    out.line("        ZIDL_ROOM({}, out);", part.room);
    emit_blocks(out, msg, part.blocks, "        ");
    out.line("    }}");
}

} // namespace

void emit_prefetches(printer &out, const message &msg, const std::string &object)
{
    for (const field &f : msg.fields) {
        if (f.repeated && f.nested != nullptr)
            out.line("    prefetch({0}.{1}, {0}.{2});", object, f.name, f.count_name);
    }
}

void emit_encode(printer &out, const message &msg)
{
    out.line("template <class Sink>");
    out.line("Sink encode(Sink out, const {} &msg)", record_type(msg));
    out.line("{{");
    emit_prefetches(out, msg, "msg");
    for (const stretch &part : msg.writes)
        emit_stretch(out, msg, part);
    out.line("    return out;");
    out.line("}}");
    out.line();
}

void emit_sizes(printer &out, const message &msg)
{
    table rows;
    for (const field &f : msg.fields) {
        if (f.type->held == storage::block)
            rows.add("sizes.add<{}>\t(has<{}>(msg), msg.{});", f.number, f.bit, f.count_name);
        else if (f.is_embedded && f.owns_memory)
            rows.add("add_sizes\t(sizes, msg.{});", f.name);
    }
    out.line("ZIDL_INLINE void add_sizes(content_sizes &sizes, const {} &msg)", record_type(msg));
    out.line("{{");
    out.block(rows, "    ");
    out.line("}}");
    out.line();
}

} // namespace zidlc
