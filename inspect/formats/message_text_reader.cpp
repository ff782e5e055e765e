#include "inspect/formats/message_text.hpp"
#include "inspect/formats/text_wire.hpp"
#include "inspect/wire/hex.hpp"
#include "inspect/wire/walk.hpp"

#include <algorithm>
#include <charconv>

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::kind;
using zidl::message_descriptor;

namespace
{

using byte_string = std::vector<uint8_t>;

// Thrown and caught in this file.
struct unexpected {
    size_t offset;
    std::string expected;
};

bool is_name_character(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

// The bytes of a tag, a length or a number that are not what an encoder writes; empty where they are.
struct marked_bytes {
    byte_string bytes;
    size_t offset = 0; // in the text
};

struct marks {
    marked_bytes tag;
    marked_bytes length;
    marked_bytes value;
};

// A whole varint and nothing else.
bool is_varint(const byte_string &bytes)
{
    return !bytes.empty() && bytes.back() < 128 &&
           std::all_of(bytes.begin(), bytes.end() - 1, [](uint8_t byte) { return byte > 127; });
}

uint64_t varint_value(const byte_string &bytes)
{
    uint64_t value = 0;
    for (size_t i = 0; i < bytes.size() && i < 10; ++i)
        value |= static_cast<uint64_t>(bytes[i] & 127) << 7 * i;
    return value;
}

class text_reader
{
public:
    explicit text_reader(std::string_view text) : text_(text) {}

    byte_string read(const message_descriptor &type)
    {
        items(type);
        if (at_ != text_.size())
            fail(at_, "the name of a field of " + std::string(type.name) + ", or the end");
        return std::move(out_);
    }

private:
    [[noreturn]] static void fail(size_t offset, std::string expected)
    {
        throw unexpected{offset, std::move(expected)};
    }

    // ---- Characters ----

    bool ended() const { return at_ == text_.size(); }
    char next() const { return ended() ? '\0' : text_[at_]; }
    bool stands(char c) const { return !ended() && text_[at_] == c; }

    bool take(char c)
    {
        if (!stands(c))
            return false;
        ++at_;
        return true;
    }

    bool take(std::string_view word)
    {
        if (!text_.substr(at_).starts_with(word))
            return false;
        at_ += word.size();
        return true;
    }

    // The letters, digits and underscores that come next.
    std::string_view name() const
    {
        size_t end = at_;
        while (end < text_.size() && is_name_character(text_[end]))
            ++end;
        return text_.substr(at_, end - at_);
    }

    void need(char c)
    {
        if (!take(c))
            fail(at_, std::string("'") + c + "'");
    }

    void skip_blanks()
    {
        while (stands(' ') || stands('\t') || stands('\r'))
            ++at_;
        if (stands('#'))
            at_ = std::min(text_.find('\n', at_), text_.size());
    }

    void skip_lines()
    {
        for (skip_blanks(); take('\n');)
            skip_blanks();
    }

    void end_item()
    {
        skip_blanks();
        if (!ended() && !stands('\n') && !stands('}'))
            fail(at_, "the end of the line");
    }

    // ---- Numbers, strings, bytes ----

    uint64_t number(uint64_t most)
    {
        const size_t begin = at_;
        const int base = take("0x") || take("0X") ? 16 : 10;
        uint64_t value = 0;
        const auto [end, error] = std::from_chars(text_.data() + at_, text_.data() + text_.size(), value, base);
        if (error != std::errc() || value > most)
            fail(begin, "a number up to " + std::to_string(most));
        at_ = static_cast<size_t>(end - text_.data());
        return value;
    }

    uint64_t signed_number()
    {
        int64_t value = 0;
        const auto [end, error] = std::from_chars(text_.data() + at_, text_.data() + text_.size(), value);
        if (error != std::errc())
            fail(at_, "a number from " + std::to_string(INT64_MIN) + " to " + std::to_string(INT64_MAX));
        at_ = static_cast<size_t>(end - text_.data());
        return static_cast<uint64_t>(value);
    }

    uint64_t boolean()
    {
        if (take("true"))
            return 1;
        if (!take("false"))
            fail(at_, "true or false");
        return 0;
    }

    uint64_t number_of(const field_descriptor &field)
    {
        switch (field.type) {
        case kind::u8:
            return number(UINT8_MAX);
        case kind::u64:
            return number(UINT64_MAX);
        case kind::sint64:
            return signed_number();
        case kind::boolean:
            return boolean();
        case kind::u32:
        case kind::fixed32:
        case kind::string:
        case kind::bytes:
        case kind::message:
            break;
        }
        return number(UINT32_MAX);
    }

    byte_string hex(std::string_view digits)
    {
        hex_bytes read = from_hex(digits);
        if (!read.is_good)
            fail(at_ + read.offset, read.expected);
        at_ += digits.size();
        return std::move(read.bytes);
    }

    // Up to what cannot be a byte's digit.
    byte_string hex_on_this_line()
    {
        std::string_view digits = text_.substr(at_, text_.find_first_of("#!}\n", at_) - at_);
        digits = digits.substr(0, digits.find_last_not_of(" \t\r") + 1);
        if (digits.empty())
            fail(at_, "bytes, of two hexadecimal digits each");
        return hex(digits);
    }

    byte_string quoted()
    {
        byte_string bytes;
        need('"');
        while (!take('"')) {
            if (ended() || stands('\n'))
                fail(at_, "'\"' at the end of the text");
            bytes.push_back(take('\\') ? escape() : static_cast<uint8_t>(text_[at_++]));
        }
        return bytes;
    }

    uint8_t escape()
    {
        constexpr std::string_view letters = "\"\\nrt";
        constexpr std::string_view meanings = "\"\\\n\r\t";
        const size_t letter = ended() ? letters.npos : letters.find(text_[at_]);
        if (letter != letters.npos) {
            ++at_;
            return static_cast<uint8_t>(meanings[letter]);
        }
        if (!take('x'))
            fail(at_, "one of \\\" \\\\ \\n \\r \\t \\x");
        const byte_string byte = text_.size() - at_ >= 2 ? hex(text_.substr(at_, 2)) : byte_string();
        if (byte.size() != 1)
            fail(at_, "two hexadecimal digits");
        return byte[0];
    }

    byte_string quoted_or_hex() { return stands('"') ? quoted() : hex_on_this_line(); }

    // ---- Marks ----

    marks read_marks()
    {
        marks read;
        for (;;) {
            skip_blanks();
            const size_t begin = at_;
            if (take(mark::tag))
                read_mark(read.tag, begin);
            else if (take(mark::length))
                read_mark(read.length, begin);
            else if (take(mark::value))
                read_mark(read.value, begin);
            else
                return read;
        }
    }

    void read_mark(marked_bytes &read, size_t begin)
    {
        if (!read.bytes.empty())
            fail(begin, "each mark once");
        const size_t digits = at_;
        read = {hex(text_.substr(at_, name().size())), begin};
        if (!is_varint(read.bytes))
            fail(digits, "the bytes of a varint: the last one below 80, the others not");
    }

    static void refuse(const marked_bytes &mark, const char *what)
    {
        if (!mark.bytes.empty())
            fail(mark.offset, std::string("no mark of ") + what + ", which is not there");
    }

    // ---- Fields ----

    void append(const byte_string &bytes) { out_.insert(out_.end(), bytes.begin(), bytes.end()); }

    // The bytes that the mark says, or those that an encoder writes.
    void append_marked(const marked_bytes &mark, uint64_t usual)
    {
        if (mark.bytes.empty())
            append_varint(out_, usual);
        else
            append(mark.bytes);
    }

    // A field with a name may have any wire type, in a run of its elements.
    void append_tag(const marks &read, uint32_t number, uint8_t wire_type, bool is_named)
    {
        if (!read.tag.bytes.empty()) {
            const uint32_t tag = static_cast<uint32_t>(varint_value(read.tag.bytes));
            if (tag >> 3 != number || (!is_named && (tag & 7) != wire_type))
                fail(read.tag.offset, "a tag of field " + std::to_string(number) +
                                          (is_named ? "" : " and wire type " + std::to_string(wire_type)));
        }
        append_marked(read.tag, uint64_t{number} << 3 | wire_type);
    }

    void append_contents(const marks &read, const byte_string &contents)
    {
        refuse(read.value, "a value");
        append_marked(read.length, contents.size());
        append(contents);
    }

    void append_fixed(const marks &read, uint64_t value, size_t size)
    {
        refuse(read.value, "a varint");
        for (size_t i = 0; i < size; ++i)
            out_.push_back(static_cast<uint8_t>(value >> 8 * i));
    }

    void items(const message_descriptor &type)
    {
        std::vector<uint32_t> counts(type.field_count);
        for (skip_lines(); !ended() && !stands('}'); skip_lines()) {
            if (take(mark::raw))
                raw();
            else if (is_digit(next()))
                numbered_field();
            else
                named_field(type, counts);
            end_item();
        }
    }

    void raw()
    {
        skip_blanks();
        append(hex_on_this_line());
    }

    void numbered_field()
    {
        const uint32_t field = static_cast<uint32_t>(number(UINT32_MAX >> 3));
        skip_blanks();
        need(':');
        skip_blanks();
        if (take(wire_name::varint)) {
            skip_blanks();
            const uint64_t value = number(UINT64_MAX);
            const marks read = read_marks();
            refuse(read.length, "a length");
            append_tag(read, field, varint, false);
            append_value(read, value, value, varint_value(read.value.bytes));
        } else if (take(wire_name::bytes)) {
            skip_blanks();
            const byte_string contents = quoted_or_hex();
            const marks read = read_marks();
            append_tag(read, field, delimited, false);
            append_contents(read, contents);
        } else if (take(wire_name::fixed64)) {
            fixed_field(field, fixed64, UINT64_MAX);
        } else if (take(wire_name::fixed32)) {
            fixed_field(field, fixed32, UINT32_MAX);
        } else {
            fail(at_, "varint, fixed64, bytes or fixed32");
        }
    }

    void fixed_field(uint32_t field, uint8_t wire_type, uint64_t most)
    {
        skip_blanks();
        const uint64_t value = number(most);
        const marks read = read_marks();
        refuse(read.length, "a length");
        append_tag(read, field, wire_type, false);
        append_fixed(read, value, wire_type == fixed64 ? 8 : 4);
    }

    // What the mark says may be wider than what the library keeps of it, which must be the value.
    void append_value(const marks &read, uint64_t value, uint64_t usual, uint64_t marked)
    {
        if (!read.value.bytes.empty() && marked != value)
            fail(read.value.offset, "bytes of the value before them");
        append_marked(read.value, usual);
    }

    void named_field(const message_descriptor &type, std::vector<uint32_t> &counts)
    {
        const std::string_view member = name();
        const field_descriptor *const field = find_field(type, member);
        if (field == nullptr)
            fail(at_, "the name of a field of " + std::string(type.name));
        at_ += member.size();
        if (field->repeated)
            index(counts[static_cast<size_t>(field - type.fields)]++);
        if (field->type == kind::message)
            return nested(*field);
        skip_blanks();
        need(':');
        skip_blanks();
        single_value(*field);
    }

    // May be left out; where it is not, it must be right.
    void index(uint32_t next)
    {
        if (!take('['))
            return;
        const size_t begin = at_;
        if (number(UINT32_MAX) != next)
            fail(begin, "index " + std::to_string(next) + ", or none");
        need(']');
    }

    void single_value(const field_descriptor &field)
    {
        if (field.type == kind::string || field.type == kind::bytes) {
            const byte_string contents = field.type == kind::string ? quoted() : quoted_or_hex();
            const marks read = read_marks();
            append_tag(read, field.number, delimited, true);
            return append_contents(read, contents);
        }
        const uint64_t value = number_of(field);
        const marks read = read_marks();
        refuse(read.length, "a length");
        append_tag(read, field.number, field.type == kind::fixed32 ? fixed32 : varint, true);
        if (field.type == kind::fixed32)
            return append_fixed(read, value, 4);
        append_value(read, value, encoded_number(field, value), kept_value(field, varint_value(read.value.bytes)));
    }

    void nested(const field_descriptor &field)
    {
        const marks read = read_marks();
        refuse(read.value, "a value");
        skip_blanks();
        const size_t opening = at_;
        need('{');
        append_tag(read, field.number, delimited, true);
        const size_t begin = out_.size();
        items(*field.message);
        if (!take('}'))
            fail(at_, "the name of a field of " + std::string(field.message->name) + ", or '}' for the '{' in line " +
                          std::to_string(place_in(text_, opening).line));
        byte_string length = read.length.bytes;
        if (length.empty())
            append_varint(length, out_.size() - begin);
        out_.insert(out_.begin() + static_cast<ptrdiff_t>(begin), length.begin(), length.end());
    }

    const std::string_view text_;
    size_t at_ = 0;
    byte_string out_;
};

} // namespace

text_message from_text(const message_descriptor &type, std::string_view text)
{
    try {
        return {text_reader(text).read(type), std::nullopt};
    } catch (const unexpected &error) {
        const text_place place = place_in(text, error.offset);
        return {{}, text_error{error.offset, place.line, place.column, error.expected}};
    }
}

} // namespace rib_inspect
