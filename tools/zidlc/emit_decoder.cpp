#include "tools/zidlc/emit_decoder.hpp"

#include "tools/zidlc/names.hpp"

#include <utility>

namespace zidlc
{
namespace
{

// How many of the fields declared next a decoder tests for before it asks the switch.
constexpr size_t lookahead = 3;

std::string read_call(const field &f, std::string_view reader)
{
    const std::string number = f.repeated ? fmt::format("<{}>", f.number) : "";
    const std::string filled = f.repeated || !f.is_scalar ? fmt::format(", seen & bit<{}>", f.bit) : "";
    return fmt::format("in.{}{}({}{})", reader, number, members(f, "msg"), filled);
}

bool is_run(const block &each)
{
    return each.taken_as == block::form::run;
}

std::string prediction(const block &each)
{
    const field &first = each.fields.front();
    if (is_run(each))
        return fmt::format("ZIDL_THEN_RUN({}, {});", first.number, each.fields.size());
    return fmt::format("ZIDL_THEN({}, {});", first.number, first.type->wire.name);
}

// What likely comes behind a block.
std::string predictions(const message &msg, size_t index)
{
    std::string tests;
    for (size_t next = index + 1; next < msg.reads.size() && next <= index + lookahead; ++next)
        tests += prediction(msg.reads[next]) + " ";
    return tests;
}

// One line for a run, and above it the cases, with the fields by name.
void emit_read_run(printer &out, const message &msg, const block &run, const std::string &behind)
{
    std::string cases;
    for (const field &f : run.fields)
        cases += fmt::format("ZIDL_CASE({}) ", f.number);
    const field &first = run.fields.front();
    out.line("        {}// {} to {}", cases, first.name, run.fields.back().name);
    out.line(
        "        ZIDL_RUN({0}, (in.u32_run<{0}, {1}, {2}>(member_bytes(msg, offsetof({3}, {4})), seen))); {5}continue;",
        first.number, run.fields.size(), first.bit, record_type(msg), first.name, behind);
}

void add_read_row(table &rows, const field &f, std::string_view reader, const std::string &behind)
{
    rows.add("ZIDL_FIELD({},\t {},\t {},\t {});\t {}\tcontinue;", f.number, f.type->wire.name, f.bit,
             read_call(f, reader), behind);
}

void emit_read_rows(printer &out, const message &msg)
{
    table rows;
    for (size_t i = 0; i < msg.reads.size(); ++i) {
        const field &first = msg.reads[i].fields.front();
        if (is_run(msg.reads[i])) {
            out.block(std::exchange(rows, {}), "        ");
            emit_read_run(out, msg, msg.reads[i], predictions(msg, i));
        } else {
            add_read_row(rows, first, first.reader, predictions(msg, i));
        }
    }
    out.block(rows, "        ");
}

// The same for what is seldom read this way: nothing is foreseen.
void emit_patient_rows(printer &out, const message &msg)
{
    table rows;
    for (const field &f : msg.fields)
        add_read_row(rows, f, f.patient_reader, "");
    out.block(rows, "        ");
}

std::string field_numbers(const message &msg)
{
    std::string numbers;
    for (const field &f : msg.fields)
        numbers += (numbers.empty() ? "" : ", ") + std::to_string(f.number);
    return numbers;
}

void add_ordered_row(table &rows, const message &msg, const block &each)
{
    const field &first = each.fields.front();
    if (is_run(each))
        rows.add("in.u32_run<{}, {}, {}>(member_bytes(msg, offsetof({}, {})), seen);", first.number, each.fields.size(),
                 first.bit, record_type(msg), first.name);
    else
        rows.add("if (in.{}<{}>({}))\t seen |= bit<{}>;", first.reader, first.number, members(first, "msg"), first.bit);
}

void emit_decode_in_order(printer &out, const message &msg)
{
    table rows;
    for (const block &each : msg.reads)
        add_ordered_row(rows, msg, each);
    out.line("ZIDL_INLINE void decode_in_order(ordered_reader &in, {} &msg)", record_type(msg));
    out.line("{{");
    out.line("    uint64_t seen = 0;");
    out.block(rows, "    ");
    out.line("    msg.presence = static_cast<{}>(msg.presence | seen);", presence_type(msg));
    out.line("}}");
    out.line();
}

void emit_decoder_head(printer &out, const message &msg, const std::string &linkage_and_name)
{
    out.line("{}({} &msg, const uint8_t *pos, const uint8_t *end, const decode_context &context)", linkage_and_name,
             record_type(msg));
    out.line("{{");
}

// Field after field, whatever comes, until the message ends.
void emit_field_loop(printer &out, const message &msg)
{
    out.line("    while (in.next_tag()) {{");
    out.line("        switch (in.tag()) {{");
    msg.is_small ? emit_patient_rows(out, msg) : emit_read_rows(out, msg);
    out.line("        default:");
    out.line("            if (in.unknown(is_one_of<{}>(in.tag() >> 3)))", field_numbers(msg));
    out.line("                continue;");
    out.line("        }}");
    out.line("        break; // the value could not be read");
    out.line("    }}");
    out.line("    msg.presence = static_cast<{}>(msg.presence | seen);", presence_type(msg));
    out.line("    return in.status();");
    out.line("}}");
    out.line();
}

void emit_decode_small(printer &out, const message &msg)
{
    emit_decoder_head(out, msg, "ZIDL_COLD inline int32_t decode_in_any_order");
    out.line("    patient_reader in(pos, end, context);");
    out.line("    uint64_t seen = msg.presence;");
    emit_field_loop(out, msg);
    emit_decode_in_order(out, msg);
    emit_decoder_head(out, msg, "ZIDL_SMALL int32_t decode");
    out.line("    return decode_small(msg, pos, end, context);");
    out.line("}}");
    out.line();
}

} // namespace

void emit_decode(printer &out, const message &msg)
{
    if (msg.is_small)
        return emit_decode_small(out, msg);
    emit_decoder_head(out, msg, "inline int32_t decode");
    out.line("    reader in(pos, end, context);");
    out.line("    uint64_t seen = 0;");
    out.line("    {}", prediction(msg.reads.front()));
    emit_field_loop(out, msg);
}

} // namespace zidlc
