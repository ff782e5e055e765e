#include "tools/zidlc/emit_decoder.hpp"

#include "tools/zidlc/names.hpp"

#include <utility>

namespace zidlc
{
namespace
{

// How many of the fields declared next a decoder tests for before it asks the switch. (Two and four: docs/performance.md.)
constexpr size_t lookahead = 3;

std::string read_call(const field &f)
{
    const std::string number = f.repeated ? fmt::format("<{}>", f.number) : "";
    const std::string filled = f.repeated || !f.is_scalar ? fmt::format(", seen & bit<{}>", f.bit) : "";
    return fmt::format("in.{}{}({}{})", f.reader, number, members(f, "msg"), filled);
}

bool is_run(const block &each)
{
    return each.taken_as == block::form::run;
}

std::string prediction(const block &each)
{
    const field &first = each.fields.front();
    if (is_run(each))
        return fmt::format("ZIDL_THEN_RUN({}, {}, {});", first.name, first.number, each.fields.size());
    return fmt::format("ZIDL_THEN({}, {}, {});", first.name, first.number, first.type->wire.name);
}

// What likely comes behind a block.
std::vector<std::string> predictions(const message &msg, size_t index)
{
    std::vector<std::string> tests;
    for (size_t next = index + 1; next < msg.reads.size() && next <= index + lookahead; ++next)
        tests.push_back(prediction(msg.reads[next]));
    return tests;
}

void add_read_row(table &rows, const field &f)
{
    rows.add("ZIDL_FIELD({},\t {},\t {},\t {},\v {});", f.name, f.number, f.type->wire.name, f.bit, read_call(f));
}

// One line for a run, and above it the cases.
void add_run_row(table &rows, const message &msg, const block &run)
{
    const field &first = run.fields.front();
    std::vector<std::string> cases;
    for (const field &f : run.fields)
        cases.push_back(fmt::format("ZIDL_CASE({})", f.number));
    rows.add_line(fmt::format("// {} to {}", first.name, run.fields.back().name));
    for (std::string &line : filled("", cases, " ", "", 8))
        rows.add_line(std::move(line));
    rows.add_line(fmt::format("ZIDL_RUN({}, (in.{}_run<{}, {}, {}>(member_bytes(msg, offsetof({}, {})), seen)));",
                              first.name, first.type->reader, first.number, first.bit, run.fields.size(),
                              record_type(msg), first.name));
}

// Each field, and below it the way to the next one.
void emit_read_rows(printer &out, const message &msg)
{
    table rows;
    for (size_t i = 0; i < msg.reads.size(); ++i) {
        if (is_run(msg.reads[i]))
            add_run_row(rows, msg, msg.reads[i]);
        else
            add_read_row(rows, msg.reads[i].fields.front());
        for (std::string &line : filled("    ", predictions(msg, i), " ", " continue;", 8))
            rows.add_line(std::move(line));
    }
    out.block(rows, "        ");
}

std::vector<std::string> field_numbers(const message &msg)
{
    std::vector<std::string> numbers;
    for (const field &f : msg.fields)
        numbers.push_back(std::to_string(f.number));
    return numbers;
}

// One line for each field or run, for both readers of small messages.
void emit_decode_fields(printer &out, const message &msg)
{
    table rows;
    for (const block &each : msg.reads) {
        const field &first = each.fields.front();
        if (is_run(each))
            rows.add_line(fmt::format("decode_{}_run<{}, {}, {}, offsetof({}, {})>(in, msg); // {} to {}",
                                      first.type->reader, first.number, first.bit, each.fields.size(), record_type(msg),
                                      first.name, first.name, each.fields.back().name));
        else
            rows.add("decode_{}\t<{}, {}>\t(in, {});", first.reader, first.number, first.bit, members(first, "msg"));
    }
    out.line("template <class Reader>");
    out.line("ZIDL_INLINE void decode_fields(Reader &in, {} &msg)", record_type(msg));
    out.line("{{");
    out.block(rows, "    ");
    out.line("}}");
    out.line();
}

// Field after field, whatever comes, until the message ends.
void emit_decode_large(printer &out, const message &msg)
{
    if (msg.rare)
        out.line("#ifndef ZIDL_BMI2_BUILD // which calls this one, see codec/built_once.hpp");
    out.list("inline int32_t decode(",
             {record_type(msg) + " &msg", "const uint8_t *pos", "const uint8_t *end", "const decode_context &context"},
             ")");
    out.line("{{");
    out.line("    reader in(pos, end, context);");
    out.line("    uint64_t seen = 0;");
    out.line("    {}", prediction(msg.reads.front()));
    out.line("    while (in.next_tag()) {{");
    out.line("        switch (in.tag()) {{");
    emit_read_rows(out, msg);
    out.line("        default:");
    out.list("            if (in.unknown(is_one_of<", field_numbers(msg), ">(in.tag() >> 3)))");
    out.line("                continue;");
    out.line("        }}");
    out.line("        break; // the value could not be read");
    out.line("    }}");
    out.line("    msg.presence = static_cast<{}>(msg.presence | seen);", presence_type(msg));
    out.line("    return in.status();");
    out.line("}}");
    if (msg.rare)
        out.line("#endif");
    out.line();
}

} // namespace

void emit_decode(printer &out, const message &msg)
{
    msg.is_small ? emit_decode_fields(out, msg) : emit_decode_large(out, msg);
}

} // namespace zidlc
