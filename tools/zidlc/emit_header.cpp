// The public C header of a group.

#include "tools/zidlc/emit_header.hpp"

#include "tools/zidlc/names.hpp"
#include "tools/zidlc/operations.hpp"
#include "tools/zidlc/ownership.hpp"
#include "tools/zidlc/printer.hpp"
#include "tools/zidlc/text.hpp"

#include <algorithm>
#include <functional>

namespace zidlc
{

namespace
{

constexpr std::size_t comment_width = 112;

void emit_comment(printer &out, const std::vector<std::string> &lines)
{
    for (const std::string &line : lines)
        out.line("//{}{}", line.empty() ? "" : " ", line);
}

// What the message is and what it owns: one line where both fit in one.
void emit_message_comment(printer &out, const message &m)
{
    std::vector<std::string> lines = m.comment;
    const std::string owned = ownership(m);
    if (lines.size() == 1 && lines[0].ends_with('.') && text_width(lines[0]) + 1 + text_width(owned) <= comment_width) {
        lines[0] += " " + owned;
    } else {
        for (std::string &line : wrap(owned, comment_width))
            lines.push_back(std::move(line));
    }
    emit_comment(out, lines);
}

std::string number_and_comment(const field &f)
{
    return f.comment.empty() ? std::to_string(f.number) : fmt::format("{}: {}", f.number, f.comment);
}

std::string bit_range(const message &m)
{
    const std::size_t last = m.fields.size() - 1;
    return last == 0 ? "bit 0" : last == 1 ? "bits 0 and 1" : fmt::format("bits 0 to {}", last);
}

// A star stands beside its member: a record with pointers has a column for it.
std::string declarator(const message &m, std::string_view name, bool pointer)
{
    const bool has_stars = std::any_of(m.fields.begin(), m.fields.end(), std::mem_fn(&field::is_pointer));
    return fmt::format("{}{};", pointer ? "*" : has_stars ? " " : "", name);
}

void emit_record(printer &out, const message &m)
{
    table rows;
    for (const field &f : m.fields) {
        for (const std::string &line : f.comment_above)
            rows.add_line(fmt::format("// {}", line));
        rows.add("{}\t {}\t // {}", element_type(f), declarator(m, f.name, f.is_pointer), number_and_comment(f));
        if (!f.count_name.empty())
            rows.add("{}\t {}", count_type(f), declarator(m, f.count_name, false));
    }
    rows.add("{}\t {}\t // {}", presence_type(m), declarator(m, "presence", false), bit_range(m));

    out.line("typedef struct {} {{", record_type(m));
    out.block(rows, "    ");
    out.line("}} {};", record_type(m));
}

std::string bit_mask(const message &m, const field &f)
{
    return m.presence_bits == 64 ? fmt::format("UINT64_C(1) << {}", f.bit) : fmt::format("1u << {}", f.bit);
}

// Written out: an inverted mask is an int, and too wide for the presence word where compilers are asked to be strict.
std::string other_bits(const message &m, const field &f)
{
    const uint64_t bits = UINT64_MAX >> (64 - m.presence_bits) & ~(uint64_t{1} << f.bit);
    return m.presence_bits == 64 ? fmt::format("UINT64_C({:#x})", bits) : fmt::format("{:#x}u", bits);
}

// An inline function of one line, where all of its kind fit in one; else its body stands below.
struct accessor {
    std::string name; // with what stands before it
    std::vector<std::string> parameters;
    std::vector<std::string> statements; // with tabs where columns end
};

std::string without_tabs(std::string text)
{
    std::erase(text, '\t');
    return text;
}

void emit_body(printer &out, const std::vector<std::string> &statements)
{
    const std::string body = without_tabs(fmt::format("    {{ {} }}", fmt::join(statements, " ")));
    if (text_width(body) <= widest_line)
        return out.line("{}", body);
    out.line("{{");
    for (const std::string &statement : statements)
        out.line("    {}", without_tabs(statement));
    out.line("}}");
}

void emit_accessors(printer &out, const std::vector<accessor> &all)
{
    table rows;
    for (const accessor &each : all)
        rows.add("static inline {}\t({}) {{ {} }}", each.name, fmt::join(each.parameters, ",\t "),
                 fmt::join(each.statements, "\t "));
    if (rows.fits())
        return out.block(rows);
    for (const accessor &each : all) {
        std::vector<std::string> parameters;
        for (const std::string &parameter : each.parameters)
            parameters.push_back(without_tabs(parameter));
        out.list(fmt::format("static inline {}(", each.name), parameters, ")");
        emit_body(out, each.statements);
    }
}

std::string present(const message &m, const field &f)
{
    return fmt::format("msg->presence |= {};", bit_mask(m, f));
}

accessor presence_test(const message &m, const field &f)
{
    return {"bool " + has_accessor(m, f),
            {fmt::format("const {} *msg", record_type(m))},
            {fmt::format("return msg->presence >> {}\t & 1;", f.bit)}};
}

accessor value_setter(const message &m, const field &f)
{
    return {"void " + set_accessor(m, f),
            {record_type(m) + " *msg", fmt::format("{}\t value", f.type->setter)},
            {fmt::format("msg->{}\t = value;", f.name), present(m, f)}};
}

// What the member points to stays the caller's, who need not have it writable: encoders only read.
accessor pointer_setter(const message &m, const field &f)
{
    const std::string element = element_type(f);
    const std::string_view pointer = f.repeated ? "values" : f.count_name.empty() ? "value" : "data";
    accessor set{"void " + set_accessor(m, f),
                 {record_type(m) + " *msg", fmt::format("const {} *{}", element, pointer)},
                 {fmt::format("msg->{} = ZIDL_MUTABLE({}, {});", f.name, element, pointer)}};
    if (!f.count_name.empty()) {
        const std::string_view length = f.repeated ? "count" : "size";
        set.parameters.push_back(fmt::format("{} {}", count_type(f), length));
        set.statements.push_back(fmt::format("msg->{} = {};", f.count_name, length));
    }
    set.statements.push_back(present(m, f));
    return set;
}

accessor mark(const message &m, const field &f)
{
    return {"void " + mark_accessor(m, f), {record_type(m) + " *msg"}, {present(m, f)}};
}

// As if the field had not been received. An embedded record's own presence bits would have it encoded.
accessor clearing(const message &m, const field &f)
{
    accessor clear{"void " + clear_accessor(m, f), {record_type(m) + " *msg"}, {}};
    if (f.is_embedded)
        clear.statements.push_back(fmt::format("memset(&msg->{0}, 0, sizeof msg->{0});", f.name));
    else
        clear.statements.push_back(fmt::format("msg->{} = {};", f.name, f.is_pointer ? "ZIDL_NULL" : "0"));
    if (!f.count_name.empty())
        clear.statements.push_back(fmt::format("msg->{} = 0;", f.count_name));
    clear.statements.push_back(fmt::format("msg->presence &= {};", other_bits(m, f)));
    return clear;
}

void emit_accessors(printer &out, const message &m)
{
    std::vector<accessor> tests;
    std::vector<accessor> value_setters;
    std::vector<accessor> pointer_setters;
    std::vector<accessor> marks;
    std::vector<accessor> clearings;
    for (const field &f : m.fields) {
        tests.push_back(presence_test(m, f));
        if (f.is_value)
            value_setters.push_back(value_setter(m, f));
        else
            marks.push_back(mark(m, f));
        if (f.is_pointer)
            pointer_setters.push_back(pointer_setter(m, f));
        clearings.push_back(clearing(m, f));
    }
    for (const std::vector<accessor> &kind : {tests, value_setters, pointer_setters, marks, clearings})
        emit_accessors(out, kind);
}

void emit_prototypes(printer &out, const message &m)
{
    for (const operation &each :
         {encode_operation(m), decode_operation(m), duplicate_operation(m), release_operation(m)})
        out.list(fmt::format("ZIDL_API {} {}(", each.result, each.name), each.parameters, ");");
}

void emit_message(printer &out, const message &m)
{
    out.line();
    emit_message_comment(out, m);
    out.line();
    emit_record(out, m);
    out.line();
    emit_accessors(out, m);
    out.line();
    emit_prototypes(out, m);
}

void emit_includes(printer &out, const group &source)
{
    out.line("#include \"codec/zidl.h\"");
    for (const std::string &used : source.uses)
        out.line("#include \"{}\"", header_path(source.chosen, used));
}

} // namespace

std::string emit_header(const group &source)
{
    const std::string guard = include_guard(header_path(source.chosen, source.name));
    printer out;
    out.line("// {}", generated_line(source));
    if (!source.comment.empty()) {
        out.line();
        emit_comment(out, source.comment);
    }
    out.line();
    out.line("#ifndef {}", guard);
    out.line("#define {}", guard);
    out.line();
    emit_includes(out, source);
    out.line();
    out.line("#ifdef __cplusplus");
    out.line("extern \"C\" {{");
    out.line("#endif");
    for (const auto &m : source.messages)
        emit_message(out, *m);
    out.line();
    out.line("#ifdef __cplusplus");
    out.line("}}");
    out.line("#endif");
    out.line();
    out.line("#endif");
    return out.take();
}

} // namespace zidlc
