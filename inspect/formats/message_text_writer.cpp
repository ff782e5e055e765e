#include "inspect/formats/json_text.hpp"
#include "inspect/formats/message_address.hpp"
#include "inspect/formats/message_text.hpp"
#include "inspect/formats/text_wire.hpp"
#include "inspect/wire/hex.hpp"
#include "inspect/wire/walk.hpp"

#include <algorithm>

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::kind;
using zidl::message_descriptor;

namespace
{

constexpr size_t indent_width = 2;

bool is_printable_ascii(uint8_t byte)
{
    return byte >= ' ' && byte < 0x7f;
}

// Bytes of a character that a terminal obeys instead of showing it.
size_t invisible_character(std::string_view text)
{
    const uint32_t code = invisible_code(text);
    return code == 0 ? 0 : code < 0x800 ? 2 : 3;
}

void append_escape(std::string &out, char character)
{
    const uint8_t byte[] = {static_cast<uint8_t>(character)};
    switch (character) {
    case '\n':
        out += "\\n";
        return;
    case '\r':
        out += "\\r";
        return;
    case '\t':
        out += "\\t";
        return;
    case '"':
    case '\\':
        out += '\\';
        out += character;
        return;
    default:
        out += "\\x";
        append_hex(out, byte);
    }
}

// With quotes. What is no UTF-8 as a whole is written as bytes, for nobody knows which characters are meant.
void append_quoted(std::string &out, std::string_view text)
{
    const bool is_text = is_utf8(text);
    out += '"';
    for (size_t i = 0; i < text.size(); ++i) {
        const uint8_t byte = static_cast<uint8_t>(text[i]);
        const size_t invisible = is_text ? invisible_character(text.substr(i)) : 0;
        if (invisible != 0) {
            for (const char part : text.substr(i, invisible))
                append_escape(out, part);
            i += invisible - 1;
        } else if (byte >= 0x80 ? is_text : is_printable_ascii(byte) && byte != '"' && byte != '\\') {
            out += text[i];
        } else {
            append_escape(out, text[i]);
        }
    }
    out += '"';
}

class text_writer
{
public:
    explicit text_writer(bytes_view bytes) : bytes_(bytes) {}

    void take(const walk_event &event)
    {
        switch (event.part) {
        case walk_part::value:
            return value(event);
        case walk_part::enter:
            return enter(event);
        case walk_part::leave:
            return leave(event);
        case walk_part::skipped:
            return skipped(event);
        case walk_part::rest:
            return raw(event);
        }
    }

    // What stands above the lines is known last.
    std::string finish(const message_descriptor &type, const walk_result &result)
    {
        std::string head = std::string("# ") + type.name + ", " + std::to_string(bytes_.size()) + " bytes\n";
        if (const std::string address = message_address(type, bytes_); !address.empty())
            head.insert(head.size() - 1, ": " + address);
        if (result.status != ZIDL_OK) {
            head += "# Decoding fails at byte " + std::to_string(result.offset);
            if (result.path.depth != 0)
                head += ", " + to_string(result.path);
            head += std::string(": ") + rib_reason_name(result.reason) + ", " + rib_reason_text(result.reason) + ".\n";
        }
        return head + out_;
    }

private:
    bytes_view part(size_t begin, size_t end) const { return bytes_.subspan(begin, end - begin); }
    bytes_view contents(const walk_event &event) const { return part(event.value_offset, event.end_offset); }

    std::string_view characters(const walk_event &event) const
    {
        const bytes_view bytes = contents(event);
        return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
    }

    void begin_line(const walk_event &event)
    {
        out_.append(indent_width * event.in->depth, ' ');
        comment_.clear();
        if (event.reason != RIB_REASON_none)
            comment_ = rib_reason_name(event.reason);
    }

    void end_line()
    {
        if (!comment_.empty())
            out_ += "  # " + comment_;
        out_ += '\n';
    }

    void comment(std::string_view text)
    {
        if (!comment_.empty() && !text.empty())
            comment_ += ", ";
        comment_ += text;
    }

    void name(const walk_event &event)
    {
        out_ += event.field->member;
        if (!event.field->repeated)
            return;
        out_ += '[';
        append_number(out_, event.index);
        out_ += ']';
    }

    void mark_unusual(std::string_view name, bytes_view actual, uint64_t usual)
    {
        usual_.clear();
        append_varint(usual_, usual);
        if (std::ranges::equal(actual, usual_))
            return;
        out_ += ' ';
        out_ += name;
        append_hex(out_, actual);
    }

    void mark_tag(const walk_event &event, uint8_t wire_type)
    {
        mark_unusual(mark::tag, part(event.tag_offset, event.length_offset), uint64_t{event.number} << 3 | wire_type);
    }

    void mark_length(const walk_event &event)
    {
        mark_unusual(mark::length, part(event.length_offset, event.value_offset),
                     event.end_offset - event.value_offset);
    }

    void value(const walk_event &event)
    {
        begin_line(event);
        name(event);
        out_ += ": ";
        const bool has_length = is_delimited(*event.field);
        if (has_length)
            text_or_bytes(event);
        else
            number(event);
        mark_tag(event, wire_type_of(*event.field));
        if (has_length)
            mark_length(event);
        else if (event.field->type != kind::fixed32)
            mark_unusual(mark::value, contents(event), encoded_number(*event.field, event.value));
        end_line();
    }

    void number(const walk_event &event)
    {
        if (event.field->type == kind::boolean)
            append_bool(out_, event.value != 0);
        else if (event.field->type == kind::sint64)
            append_number(out_, static_cast<int64_t>(event.value));
        else
            append_number(out_, event.value);
    }

    void text_or_bytes(const walk_event &event)
    {
        if (event.field->type == kind::string)
            append_quoted(out_, characters(event));
        else
            block(event);
    }

    // Bytes that happen to be readable are shown as text, too.
    void block(const walk_event &event)
    {
        const bytes_view bytes = contents(event);
        if (bytes.empty()) {
            out_ += "\"\"";
            return;
        }
        append_hex(out_, bytes, " ");
        if (bytes.size() < 3 || !std::ranges::all_of(bytes, is_printable_ascii))
            return;
        std::string text;
        append_quoted(text, characters(event));
        comment(text);
    }

    void enter(const walk_event &event)
    {
        begin_line(event);
        name(event);
        mark_tag(event, delimited);
        mark_length(event);
        out_ += event.value_offset == event.end_offset ? " {}" : " {";
        comment(message_address(*event.field->message, contents(event)));
        end_line();
    }

    void leave(const walk_event &event)
    {
        if (event.value_offset != event.end_offset)
            out_.append(indent_width * event.in->depth, ' ') += "}\n";
    }

    // A field without a name, or not of its name's kind, goes by its number.
    void skipped(const walk_event &event)
    {
        const bool is_fixed = event.wire_type == fixed32 || event.wire_type == fixed64;
        if (is_fixed && event.is_cut)
            return raw(event);
        begin_line(event);
        comment(event.field == nullptr ? "unknown field" : event.field->member);
        append_number(out_, event.number);
        out_ += ": ";
        numbered_value(event);
        mark_tag(event, event.wire_type);
        if (event.wire_type == delimited)
            mark_length(event);
        else if (event.wire_type == varint)
            mark_unusual(mark::value, contents(event), event.value);
        end_line();
    }

    void numbered_value(const walk_event &event)
    {
        out_ += event.wire_type == varint      ? wire_name::varint
                : event.wire_type == delimited ? wire_name::bytes
                : event.wire_type == fixed64   ? wire_name::fixed64
                                               : wire_name::fixed32;
        out_ += ' ';
        if (event.wire_type == delimited)
            block(event);
        else
            append_number(out_, event.value);
    }

    void raw(const walk_event &event)
    {
        begin_line(event);
        out_ += mark::raw;
        out_ += ' ';
        append_hex(out_, part(event.tag_offset, event.end_offset), " ");
        if (event.length_offset != event.tag_offset)
            comment(event.field != nullptr ? event.field->member : "field " + std::to_string(event.number));
        if (event.part == walk_part::skipped)
            comment("it reaches past the end, as unknown fields may");
        end_line();
    }

    const bytes_view bytes_;
    std::string out_;
    std::string comment_;        // of the current line
    std::vector<uint8_t> usual_; // what an encoder writes, while it is compared
};

} // namespace

std::string to_text(const message_descriptor &type, std::span<const uint8_t> bytes)
{
    text_writer writer(bytes);
    const walk_result result =
        walk({&type, bytes, nullptr, true}, [&](const walk_event &event) { writer.take(event); });
    return writer.finish(type, result);
}

} // namespace rib_inspect
