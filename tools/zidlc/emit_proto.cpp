// The messages of a group as a proto2 file.

#include "tools/zidlc/emit_proto.hpp"

#include "tools/zidlc/names.hpp"
#include "tools/zidlc/printer.hpp"
#include "tools/zidlc/text.hpp"

namespace zidlc
{

namespace
{

void emit_comment(printer &out, const std::vector<std::string> &lines)
{
    for (const std::string &line : lines)
        out.line("//{}{}", line.empty() ? "" : " ", line);
}

std::string_view proto_type(const field &f)
{
    return f.nested ? f.nested->name : f.type->proto;
}

// The packed form is no part of the wire format, so it is ruled out whatever the default may be.
std::string options(const field &f)
{
    return f.repeated && f.is_scalar ? " [packed = false]" : "";
}

std::string comment_behind(const std::string &comment)
{
    return comment.empty() ? "" : fmt::format("// {}", comment);
}

void add_field(table &rows, const field &f)
{
    for (const std::string &line : f.comment_above)
        rows.add_line(fmt::format("// {}", line));
    rows.add("{}\t {}\t {}\t = {}{};\t {}", f.repeated ? "repeated" : "optional", proto_type(f), f.name, f.number,
             options(f), comment_behind(f.comment));
}

std::string reserved_range(const number_range &range)
{
    return range.last == range.first ? std::to_string(range.first) : fmt::format("{} to {}", range.first, range.last);
}

// One statement for all, and one for each that has something to say.
void emit_reserved(printer &out, const message &m)
{
    std::vector<std::string> silent;
    for (const number_range &range : m.unassigned) {
        if (range.comment.empty())
            silent.push_back(reserved_range(range));
    }
    if (!silent.empty())
        out.line("    reserved {};", joined(silent));
    for (const number_range &range : m.unassigned) {
        if (!range.comment.empty())
            out.line("    reserved {}; // {}", reserved_range(range), range.comment);
    }
}

void emit_message(printer &out, const message &m)
{
    table rows;
    for (const field &f : m.fields)
        add_field(rows, f);
    out.line();
    emit_comment(out, m.comment);
    out.line("message {} {{", m.name);
    out.block(rows, "    ");
    emit_reserved(out, m);
    out.line("}}");
}

} // namespace

std::string emit_proto(const group &source)
{
    printer out;
    out.line("// {}", generated_line(source));
    if (!source.comment.empty()) {
        out.line();
        emit_comment(out, source.comment);
    }
    out.line();
    out.line("syntax = \"proto2\";");
    out.line();
    out.line("package {};", source.chosen.proto_package);
    if (!source.uses.empty())
        out.line();
    for (const std::string &used : source.uses)
        out.line("import \"{}\";", proto_import(source.chosen, used));
    for (const auto &m : source.messages)
        emit_message(out, *m);
    return out.take();
}

} // namespace zidlc
