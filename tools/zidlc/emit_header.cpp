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

// An inline function of one line, where all of its kind fit in one; else its body stands below.
struct accessor {
    std::string name; // with what stands before it
    std::vector<std::string> parameters;
    std::string body; // with tabs where columns end
};

void emit_accessors(printer &out, const std::vector<accessor> &all)
{
    table rows;
    for (const accessor &each : all)
        rows.add("static inline {}\t({}) {{ {} }}", each.name, fmt::join(each.parameters, ",\t "), each.body);
    if (rows.fits())
        return out.block(rows);
    for (const accessor &each : all) {
        std::string body = each.body;
        std::erase(body, '\t');
        std::vector<std::string> parameters = each.parameters;
        for (std::string &parameter : parameters)
            std::erase(parameter, '\t');
        out.list(fmt::format("static inline {}(", each.name), parameters, ")");
        out.line("    {{ {} }}", body);
    }
}

void emit_accessors(printer &out, const message &m)
{
    std::vector<accessor> tests;
    std::vector<accessor> setters;
    std::vector<accessor> marks;
    const std::string record = record_type(m);
    for (const field &f : m.fields) {
        tests.push_back({"bool " + has_accessor(m, f),
                         {fmt::format("const {} *msg", record)},
                         fmt::format("return msg->presence >> {}\t & 1;", f.bit)});
        if (f.has_setter)
            setters.push_back({"void " + set_accessor(m, f),
                               {record + " *msg", fmt::format("{}\t value", f.type->setter)},
                               fmt::format("msg->{}\t = value; msg->presence |= {};", f.name, bit_mask(m, f))});
        else
            marks.push_back({"void " + mark_accessor(m, f),
                             {record + " *msg"},
                             fmt::format("msg->presence |= {};", bit_mask(m, f))});
    }
    emit_accessors(out, tests);
    emit_accessors(out, setters);
    emit_accessors(out, marks);
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
