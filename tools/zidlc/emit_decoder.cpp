#include "tools/zidlc/emit_decoder.hpp"

#include "tools/zidlc/message_traits.hpp"
#include "tools/zidlc/names.hpp"

#include <utility>

namespace zidlc
{
namespace
{

// How many of the fields declared next a decoder tests for before it asks the switch.
constexpr size_t lookahead = 3;

// The kind as readers name it; numbers in messages with varied values are read without a guess.
std::string_view reader_kind(const field &f, bool varied)
{
    if (f.repeated)
        return f.type->array;
    return varied ? f.type->varied_reader : f.type->reader;
}

std::string read_call(const field &f, bool varied)
{
    const std::string number = f.repeated ? fmt::format("<{}>", f.number) : "";
    const std::string filled = f.repeated || !f.is_scalar() ? fmt::format(", seen & bit<{}>", f.bit) : "";
    return fmt::format("in.{}{}({}{})", reader_kind(f, varied), number, members(f, "msg"), filled);
}

// What a decoder reads with one line: a field, or a run of u32 fields.
struct read_group {
    field_iterator first;
    field_iterator last; // behind the last field

    bool is_run() const { return last - first >= shortest_run; }
};

std::vector<read_group> read_groups(const message &msg)
{
    std::vector<read_group> groups;
    for (auto first = msg.fields.begin(); first != msg.fields.end(); first = groups.back().last) {
        const read_group run{first, end_of_run(first, msg.fields.end())};
        groups.push_back(run.is_run() ? run : read_group{first, first + 1});
    }
    return groups;
}

std::string prediction(const read_group &group)
{
    if (group.is_run())
        return fmt::format("ZIDL_THEN_RUN({}, {});", group.first->number, group.last - group.first);
    return fmt::format("ZIDL_THEN({}, {});", group.first->number, group.first->type->wire.name);
}

// What likely comes behind a group.
std::string predictions(const std::vector<read_group> &groups, size_t index)
{
    std::string tests;
    for (size_t next = index + 1; next < groups.size() && next <= index + lookahead; ++next)
        tests += prediction(groups[next]) + " ";
    return tests;
}

// One line for a run, and above it the cases, with the fields by name.
void emit_read_run(printer &out, const message &msg, const read_group &run, const std::string &behind)
{
    std::string cases;
    for (auto f = run.first; f != run.last; ++f)
        cases += fmt::format("ZIDL_CASE({}) ", f->number);
    const field &first = *run.first;
    out.line("        {}// {} to {}", cases, first.name, std::prev(run.last)->name);
    out.line(
        "        ZIDL_RUN({0}, (in.u32_run<{0}, {1}, {2}>(member_bytes(msg, offsetof({3}, {4})), seen))); {5}continue;",
        first.number, run.last - run.first, first.bit, record_type(msg), first.name, behind);
}

void add_read_row(table &rows, const field &f, bool varied, const std::string &behind)
{
    rows.add("ZIDL_FIELD({},\t {},\t {},\t {});\t {}\tcontinue;", f.number, f.type->wire.name, f.bit,
             read_call(f, varied), behind);
}

void emit_read_rows(printer &out, const message &msg)
{
    const auto groups = read_groups(msg);
    const bool varied = has_varied_values(msg);
    table rows;
    for (size_t i = 0; i < groups.size(); ++i) {
        if (groups[i].is_run()) {
            out.block(std::exchange(rows, {}), "        ");
            emit_read_run(out, msg, groups[i], predictions(groups, i));
        } else {
            add_read_row(rows, *groups[i].first, varied, predictions(groups, i));
        }
    }
    out.block(rows, "        ");
}

// The same for what is seldom read this way: nothing is foreseen.
void emit_patient_rows(printer &out, const message &msg)
{
    table rows;
    for (const field &f : msg.fields)
        add_read_row(rows, f, false, "");
    out.block(rows, "        ");
}

std::string field_numbers(const message &msg)
{
    std::string numbers;
    for (const field &f : msg.fields)
        numbers += (numbers.empty() ? "" : ", ") + std::to_string(f.number);
    return numbers;
}

std::string ordered_read_call(const message &msg, const field &f)
{
    return fmt::format("in.{}<{}>({})", reader_kind(f, has_varied_values(msg)), f.number, members(f, "msg"));
}

void add_ordered_row(table &rows, const message &msg, const read_group &group)
{
    const field &first = *group.first;
    if (group.is_run())
        rows.add("in.u32_run<{}, {}, {}>(member_bytes(msg, offsetof({}, {})), seen);", first.number,
                 group.last - group.first, first.bit, record_type(msg), first.name);
    else
        rows.add("if ({})\t seen |= bit<{}>;", ordered_read_call(msg, first), first.bit);
}

void emit_decode_in_order(printer &out, const message &msg)
{
    table rows;
    for (const read_group &group : read_groups(msg))
        add_ordered_row(rows, msg, group);
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
    is_small(msg) ? emit_patient_rows(out, msg) : emit_read_rows(out, msg);
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
    if (is_small(msg))
        return emit_decode_small(out, msg);
    emit_decoder_head(out, msg, "inline int32_t decode");
    out.line("    reader in(pos, end, context);");
    out.line("    uint64_t seen = 0;");
    out.line("    {}", prediction(read_groups(msg).front()));
    emit_field_loop(out, msg);
}

} // namespace zidlc
