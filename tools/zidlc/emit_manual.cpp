// The reference manual.

#include "tools/zidlc/emit_manual.hpp"

#include "tools/zidlc/names.hpp"
#include "tools/zidlc/operations.hpp"
#include "tools/zidlc/ownership.hpp"
#include "tools/zidlc/printer.hpp"
#include "tools/zidlc/text.hpp"

namespace zidlc
{

namespace
{

constexpr std::string_view index_text = R"(
# Messages

Every message is a plain C record and four functions. `codec/zidl.h` says what all of them share, the pages say what each
one adds. A row of their tables is one field:

- **Field**: its number on the wire. Rows stand in the order of declaration, which is the order of the members, of the
  presence bits and of the encoding.
- **Member**: of the record. An array comes with its count, bytes with their size.
- **Kind**: as the schema has it. `bool` is one byte; arrays of scalars are not packed.
- **Wire type**: 0 varint, 2 length-delimited, 5 four bytes. Any other one for this field is an error.
- **Tag**: the bytes that introduce the field, in hexadecimal.
- **Bit**: of the presence word.
)";

constexpr std::string_view landings_text =
    R"(- **Lands in**: the member of the client's record that has the value, as measured by changing it: in front of the arrow stand
  the ways to the field where they lead to different members. Where fewer bits arrive the others are lost. A value that
  decides changes what becomes of the update, how many elements a list has, or members of other fields. Nothing changes
  with the others. Of a message the member that counts it is named; its values land by its fields.
)";

// Comments are text: what would be markup in a table or on a page is not.
std::string escaped(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        if (c == '|' || c == '<' || c == '*' || c == '\\')
            result += '\\';
        result += c;
    }
    return result;
}

std::string code(std::string_view text)
{
    return fmt::format("`{}`", text);
}

// The page of a group names messages of its own and of other pages.
std::string link(const message &m, std::string_view page)
{
    return m.group == page ? fmt::format("[`{0}`](#{0})", m.name) : fmt::format("[`{0}`]({1}.md#{0})", m.name, m.group);
}

std::string tag_bytes(const field &f)
{
    std::string bytes;
    uint32_t rest = f.tag;
    for (; rest > 127; rest >>= 7)
        bytes += fmt::format("{:02x} ", (rest & 127) | 128);
    return code(bytes + fmt::format("{:02x}", rest));
}

std::string kind_cell(const field &f, std::string_view page)
{
    if (!f.nested)
        return kind_name(f);
    return fmt::format("{}{}", f.repeated ? "repeated " : "", link(*f.nested, page));
}

std::string members_cell(const field &f)
{
    std::vector<std::string> members;
    for (const std::string &name : member_names(f))
        members.push_back(code(name));
    return joined(members);
}

std::string notes_cell(const field &f)
{
    std::vector<std::string> notes;
    for (const std::string &line : f.comment_above)
        notes.push_back(escaped(line));
    if (!f.comment.empty())
        notes.push_back(escaped(f.comment));
    if (f.out_of_order)
        notes.push_back("(out of order)");
    return joined(notes, " ");
}

// Names are code, words are not: "pe_value_3, bits 11 and 28 to 31 lost, decides".
std::string marked_up(std::string_view landing)
{
    std::string result;
    while (!landing.empty()) {
        const std::size_t end = std::min(landing.find(", "), landing.size());
        const std::string_view piece = landing.substr(0, end);
        landing.remove_prefix(std::min(end + 2, landing.size()));
        const bool is_name = piece != "decides" && piece != "nothing" && piece.find(' ') == std::string_view::npos &&
                             piece.find_first_not_of("0123456789") != std::string_view::npos;
        result += (result.empty() ? "" : ", ") + (is_name ? code(piece) : std::string(piece));
    }
    return result;
}

// What comes in one way needs none; several ways to the same end share a line.
std::string landings_cell(const std::vector<landing> &ways)
{
    std::vector<std::string> lines;
    std::vector<bool> is_said(ways.size());
    for (std::size_t i = 0; i < ways.size(); ++i) {
        if (is_said[i])
            continue;
        std::vector<std::string> same;
        for (std::size_t j = i; j < ways.size(); ++j) {
            if (ways[j].text != ways[i].text)
                continue;
            same.push_back(code(ways[j].way));
            is_said[j] = true;
        }
        lines.push_back(same.size() == ways.size() ? marked_up(ways[i].text)
                                                   : fmt::format("{} → {}", joined(same), marked_up(ways[i].text)));
    }
    return joined(lines, "<br>");
}

void emit_fields(printer &out, const message &m, const landings &known)
{
    table rows;
    const bool lands = known.has(m.name);
    rows.add("| Field\t | Member\t | Kind\t | Wire type\t | Tag\t | Bit\t | Notes\t |{}", lands ? " Lands in\t |" : "");
    rows.add("| ---:\t | ---\t | ---\t | ---:\t | ---\t | ---:\t | ---\t |{}", lands ? " ---\t |" : "");
    for (const field &f : m.fields)
        rows.add("| {}\t | {}\t | {}\t | {}\t | {}\t | {}\t | {}\t |{}", f.number, members_cell(f),
                 kind_cell(f, m.group), f.wire_type, tag_bytes(f), f.bit, notes_cell(f),
                 lands ? fmt::format(" {}\t |", landings_cell(known.of(m.name, f.name))) : "");
    out.block(rows);
}

std::string unassigned_numbers(const message &m)
{
    std::vector<std::string> ranges;
    for (const number_range &range : m.unassigned) {
        std::string text = std::to_string(range.first);
        if (range.last != range.first)
            text += fmt::format(" to {}", range.last);
        if (!range.comment.empty())
            text += fmt::format(" ({})", escaped(range.comment));
        ranges.push_back(std::move(text));
    }
    return enumeration(ranges);
}

std::string links(const std::vector<const message *> &messages, std::string_view page)
{
    std::vector<std::string> items;
    for (const message *m : messages)
        items.push_back(link(*m, page));
    return enumeration(items);
}

std::string size_text(const message &m)
{
    if (!m.owns_memory)
        return fmt::format("At most {} bytes on the wire.", m.fixed_bound);
    return "Of any size on the wire.";
}

void emit_facts(printer &out, const message &m, const landings &known)
{
    out.line("- Record {}, presence word {}. {}", code(record_type(m)), code(presence_type(m)), ownership(m));
    out.line("- {}", size_text(m));
    if (!m.unassigned.empty())
        out.line("- Not assigned: {}.", unassigned_numbers(m));
    if (!m.holders.empty())
        out.line("- Held by {}.", links(m.holders, m.group));
    if (!known.empty() && !known.has(m.name))
        out.line("- No entry point converts it.");
}

void emit_operations(printer &out, const message &m)
{
    table rows;
    for (const operation &each :
         {encode_operation(m), decode_operation(m), duplicate_operation(m), release_operation(m)})
        rows.add("{}\t {}\t({});", each.result, each.name, each.parameter_list());
    out.line("```c");
    out.block(rows);
    out.line("```");
}

void emit_text(printer &out, const std::vector<std::string> &lines)
{
    for (const std::string &line : lines)
        out.line("{}", escaped(line));
    if (!lines.empty())
        out.line();
}

void emit_message(printer &out, const message &m, const landings &known)
{
    out.line();
    out.line("## {}", m.name);
    out.line();
    emit_text(out, m.comment);
    emit_fields(out, m, known);
    out.line();
    emit_facts(out, m, known);
    out.line();
    emit_operations(out, m);
}

std::string first_sentence(const message &m)
{
    const std::string text = joined(m.comment, " ");
    const std::size_t end = text.find(". ");
    return escaped(end == std::string::npos ? text : text.substr(0, end + 1));
}

void emit_group_index(printer &out, const group &g)
{
    table rows;
    rows.add("| Message\t | Fields\t | What it is\t |");
    rows.add("| ---\t | ---:\t | ---\t |");
    for (const auto &m : g.messages)
        rows.add("| {}\t | {}\t | {}\t |", link(*m, ""), m->fields.size(), first_sentence(*m));
    out.line();
    out.line("## [{0}]({0}.md)", g.name);
    out.line();
    emit_text(out, g.comment);
    out.block(rows);
}

} // namespace

std::string emit_manual(const group &source, const landings &known)
{
    printer out;
    out.line("<!-- {} -->", generated_line(source));
    out.line();
    out.line("# {}", source.name);
    out.line();
    emit_text(out, source.comment);
    out.line("C header: {}. Proto file: {}. The columns are explained in [README.md](README.md).",
             code(header_path(source.chosen, source.name)), code(proto_path(source.chosen, source.name)));
    for (const auto &m : source.messages)
        emit_message(out, *m, known);
    return out.take();
}

std::string emit_manual_index(const model &all, const landings &known)
{
    printer out;
    out.line("<!-- {} -->", generated_line(all));
    out.raw(index_text);
    if (!known.empty())
        out.raw(landings_text);
    for (const auto &g : all.groups) {
        if (g->requested)
            emit_group_index(out, *g);
    }
    return out.take();
}

} // namespace zidlc
