#include "tools/zidlc/emit_encoder.hpp"

#include "tools/zidlc/names.hpp"

#include <utility>

namespace zidlc
{
namespace
{

// Where the lines of a stretch stand, and what they write to: the message's own sink, or room in it.
struct place {
    std::string_view sink;
    std::string_view indent;
};

void add_encode_row(table &rows, const field &f, const place &at)
{
    rows.add("encode_{}\t<{}>\t({}, has<{}>(msg),\t {});", f.writer, f.number, at.sink, f.bit, members(f, "msg"));
}

// One test for neighbouring embedded messages.
void add_embedded_rows(table &rows, const block &embedded, const place &at)
{
    std::string head = fmt::format("encode_neighbours({}, msg, ", at.sink);
    for (const field &f : embedded.fields) {
        rows.add_line(fmt::format("{}embedded<{}, {}>(msg.{}){}", head, f.number, f.bit, f.name,
                                  &f == &embedded.fields.back() ? ");" : ","));
        head.assign(head.size(), ' ');
    }
}

// One line for a run that is long enough to be worth a loop over its set presence bits; the fields by name beside it.
void add_run_row(table &rows, const message &msg, const block &run, const place &at)
{
    const field &first = run.fields.front();
    rows.add_line(fmt::format("encode_{}_run<{}, {}, {}, offsetof({}, {})>({}, msg); // {} to {}", first.type->writer,
                              first.number, first.bit, run.fields.size(), record_type(msg), first.name, at.sink,
                              first.name, run.fields.back().name));
}

void emit_blocks(printer &out, const message &msg, const std::vector<block> &blocks, const place &at)
{
    table rows;
    for (const block &each : blocks) {
        switch (each.taken_as) {
        case block::form::single:
            add_encode_row(rows, each.fields.front(), at);
            break;
        case block::form::run:
            add_run_row(rows, msg, each, at);
            break;
        case block::form::embedded:
            add_embedded_rows(rows, each, at);
            break;
        }
    }
    out.block(rows, at.indent);
}

// Fields of bounded size that stand together are written within room for all of them.
void emit_stretch(printer &out, const message &msg, const stretch &part)
{
    if (part.room == 0)
        return emit_blocks(out, msg, part.blocks, {"out", "    "});
    out.line("    within<{}>(out, [&](auto &room) ZIDL_INLINE_LAMBDA {{", part.room);
    emit_blocks(out, msg, part.blocks, {"room", "        "});
    out.line("    }});");
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
    out.line("ZIDL_INLINE constexpr void encode_fields(Sink &out, const {} &msg)", record_type(msg));
    out.line("{{");
    emit_prefetches(out, msg, "msg");
    for (const stretch &part : msg.writes)
        emit_stretch(out, msg, part);
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
    out.line("ZIDL_INLINE constexpr void add_sizes(content_sizes &sizes, const {} &msg)", record_type(msg));
    out.line("{{");
    out.block(rows, "    ");
    out.line("}}");
    out.line();
}

} // namespace zidlc
