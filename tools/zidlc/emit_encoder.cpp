#include "tools/zidlc/emit_encoder.hpp"

#include "tools/zidlc/derived_facts.hpp"
#include "tools/zidlc/message_traits.hpp"
#include "tools/zidlc/names.hpp"

#include <algorithm>

namespace zidlc
{
namespace
{

void add_encode_row(table &rows, const message &msg, const field &f)
{
    const auto helper = !f.repeated && has_varied_values(msg) ? f.type->varied_writer : helper_kind(f);
    rows.add("encode_{}\t<{}>\t(out, has<{}>(msg),\t {});", helper, f.number, f.bit, members(f, "msg"));
}

// Neighbouring embedded messages are mostly absent together: one test passes them all.
std::string absent_test(field_iterator first, field_iterator last)
{
    uint64_t bits = 0;
    std::string words;
    for (auto f = first; f != last; ++f) {
        bits |= uint64_t{1} << f->bit;
        words += fmt::format("{}any_presence(msg.{})", words.empty() ? "" : " | ", f->name);
    }
    return fmt::format("(msg.presence & {:#x}) != 0 || ({}) != 0", bits, words);
}

// One line for a run that is long enough to be worth a loop over its set presence bits; the fields by name beside it.
void add_run_row(table &rows, const message &msg, field_iterator first, field_iterator after)
{
    rows.add("encode_u32_run<{}, {}, {}, offsetof({}, {})>(out, msg); // {} to {}", first->number, first->bit,
             after - first, record_type(msg), first->name, first->name, std::prev(after)->name);
}

void emit_encode_rows(printer &out, const message &msg, field_iterator first, field_iterator last,
                      const std::string &indent)
{
    table rows;
    while (first != last) {
        if (const auto end = end_of_run(first, last); end - first >= shortest_run) {
            out.block(std::exchange(rows, {}), indent);
            add_run_row(rows, msg, first, end);
            out.block(std::exchange(rows, {}), indent);
            first = end;
            continue;
        }
        const auto after = std::find_if_not(first, last, is_embedded);
        if (after - first < 2) {
            add_encode_row(rows, msg, *first++);
            continue;
        }
        out.block(std::exchange(rows, {}), indent);
        out.line("{}if ({}) {{", indent, absent_test(first, after));
        for (; first != after; ++first)
            add_encode_row(rows, msg, *first);
        out.block(std::exchange(rows, {}), indent + "    ");
        out.line("{}}}", indent);
    }
    out.block(rows, indent);
}

// Fields of bounded size that stand together, below one test of the room that they need.
void emit_bounded_run(printer &out, const message &msg, field_iterator first, field_iterator last)
{
    uint64_t bound = 0;
    for (auto f = first; f != last; ++f)
        bound += fixed_bound(*f);
    out.line("    {{");
    out.line("        ZIDL_ROOM({}, out);", bound);
    emit_encode_rows(out, msg, first, last, "        ");
    out.line("    }}");
}

// A message that is bounded as a whole relies on the room that was made around it.
void emit_encode_body(printer &out, const message &msg)
{
    if (!msg.owns_memory)
        return emit_encode_rows(out, msg, msg.fields.begin(), msg.fields.end(), "    ");
    for (auto first = msg.fields.begin(); first != msg.fields.end();) {
        const bool is_variable = owns_memory(*first);
        const auto last =
            std::find_if(first, msg.fields.end(), [&](const field &f) { return owns_memory(f) != is_variable; });
        if (is_variable)
            emit_encode_rows(out, msg, first, last, "    ");
        else
            emit_bounded_run(out, msg, first, last);
        first = last;
    }
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
    emit_encode_body(out, msg);
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
        else if (f.nested != nullptr && f.nested->owns_memory)
            rows.add("add_sizes\t(sizes, msg.{});", f.name);
    }
    out.line("ZIDL_INLINE void add_sizes(content_sizes &sizes, const {} &msg)", record_type(msg));
    out.line("{{");
    out.block(rows, "    ");
    out.line("}}");
    out.line();
}

} // namespace zidlc
