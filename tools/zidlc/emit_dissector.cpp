// A dissector for Wireshark, in Lua.

#include "tools/zidlc/emit_dissector.hpp"

#include "tools/zidlc/dissector/dissector_parts.hpp"
#include "tools/zidlc/names.hpp"
#include "tools/zidlc/printer.hpp"

namespace zidlc
{

namespace
{

// What the reasons mean, in the words of all tools: text_of_cut_off and so on.
#define REASON(name, text) [[maybe_unused]] constexpr std::string_view text_of_##name = text;
#include "inspect/reasons.def"
#undef REASON

struct failure {
    std::string_view reason;
    std::string_view text;
    std::string_view status;
};

// How reading bytes can fail. Other reasons need memory, or more elements than a packet holds.
constexpr failure failures[] = {
    {"cut_off", text_of_cut_off, "ZIDL_ERR_MALFORMED"},
    {"past_the_end", text_of_past_the_end, "ZIDL_ERR_MALFORMED"},
    {"second_run", text_of_second_run, "ZIDL_ERR_MALFORMED"},
    {"second_value", text_of_second_value, "ZIDL_ERR_MALFORMED"},
    {"wrong_wire_type", text_of_wrong_wire_type, "ZIDL_ERR_FIELD_TYPE"},
    {"unknown_wire_type", text_of_unknown_wire_type, "ZIDL_ERR_WIRE_TYPE"},
};

std::string lua_string(std::string_view text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

// The word of the kind; messages have none of their own in schemas.
std::string_view word_of(const kind &k)
{
    return k.held == storage::record ? "message" : k.word;
}

void emit_kinds(printer &out)
{
    table rows;
    for (const kind &each : all_kinds)
        rows.add("[{}]\t = {},\t", lua_string(word_of(each)), each.wire.number);
    out.line("-- The wire type of each kind of field.");
    out.line("local kinds = {{");
    out.block(rows, "    ");
    out.line("}}");
}

void emit_failures(printer &out)
{
    out.line();
    out.line("-- How reading bytes can fail.");
    out.line("local reasons = {{");
    for (const failure &each : failures)
        out.line("    {} = {{ status = {}, text = {} }},", each.reason, lua_string(each.status), lua_string(each.text));
    out.line("}}");
}

void add_field(table &rows, const field &f)
{
    rows.add("{{ {}, \t{}, \t{}{}{} }},", f.number, lua_string(f.name),
             lua_string(f.nested ? f.nested->name : f.type->word), f.repeated ? ", is_repeated = true" : "",
             f.comment.empty() ? "" : ", comment = " + lua_string(f.comment));
}

void emit_message(printer &out, const message &m)
{
    table rows;
    for (const field &f : m.fields)
        add_field(rows, f);
    out.line();
    out.line("messages.{} = {{", m.name);
    out.line("    name = {},", lua_string(m.name));
    out.block(rows, "    ");
    out.line("}}");
}

void emit_messages(printer &out, const model &all)
{
    out.line();
    out.line("-- The messages by name: number, name and kind of each field.");
    out.line("local messages = {{}}");
    for (const auto &g : all.groups) {
        for (const auto &m : g->messages)
            emit_message(out, *m);
    }
}

// The messages that no other holds.
std::vector<std::string> outermost(const model &all)
{
    std::vector<std::string> names;
    for (const auto &g : all.groups) {
        for (const auto &m : g->messages) {
            if (m->holders.empty())
                names.push_back(lua_string(m->name));
        }
    }
    return names;
}

// A Lua file as a function of its own, whose result is what the file returns.
void emit_part(printer &out, std::string_view name, std::string_view text)
{
    out.line();
    out.line("local function load_{}(...)", name);
    out.raw(text);
    out.line("end");
}

} // namespace

std::string emit_dissector(const model &all, const protocol &how)
{
    printer out;
    out.line("-- {}", generated_line(all, how.framing_file));
    out.line();
    out.line("-- A dissector for Wireshark and tshark: tshark -X lua_script:{}.lua -r FILE", how.name);
    out.line();
    out.line("-- Loaded before, from the folder of plugins or by another option: once is enough.");
    out.line("local asked, known = pcall(Dissector.get, {})", lua_string(how.name));
    out.line("if asked and known then");
    out.line("    return");
    out.line("end");
    out.line();
    emit_kinds(out);
    emit_failures(out);
    emit_messages(out, all);
    out.line();
    out.list("local outermost = { ", outermost(all), " }");
    emit_part(out, "walk", walk_lua);
    emit_part(out, "tree", tree_lua);
    emit_part(out, "framing", how.framing.empty() ? messages_lua : how.framing);
    out.line();
    out.line("load_framing(load_tree(messages, load_walk(kinds, messages, reasons)), {}, outermost)",
             lua_string(how.name));
    return out.take();
}

} // namespace zidlc
