#include "inspect/formats/json_text.hpp"
#include "inspect/formats/message_json.hpp"
#include "inspect/formats/message_json_names.hpp"
#include "inspect/wire/load_store.hpp"

#include <algorithm>
#include <cstring>
#include <new>

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::kind;

namespace
{

constexpr size_t MAX_SHOWN = 24; // bytes of the text in a problem

constexpr bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// A whole number as JSON writes it: its size and sign, or nothing where it is none, or none that 64 bits hold.
struct whole_number {
    uint64_t size = 0;
    bool is_negative = false;
};

// The digits of a number without its point: `12.50e1` is 1250 with the exponent -1.
struct decimal {
    std::string digits;
    int64_t exponent = 0;
    bool is_negative = false;
};

// The grammar of a JSON number; the length of the text that fits it, 0 for none.
size_t number_len(std::string_view text)
{
    size_t at = 0;
    const auto peek = [&] { return at < text.size() ? text[at] : '\0'; };
    const auto skip_digits = [&] {
        const size_t begin = at;
        while (is_digit(peek()))
            ++at;
        return at - begin;
    };
    at += peek() == '-';
    if (peek() == '0')
        ++at;
    else if (skip_digits() == 0)
        return 0;
    size_t end = at;
    if (peek() == '.') {
        ++at;
        if (skip_digits() == 0)
            return end;
        end = at;
    }
    if (peek() == 'e' || peek() == 'E') {
        ++at;
        at += peek() == '+' || peek() == '-';
        if (skip_digits() != 0)
            end = at;
    }
    return end;
}

decimal decimal_of(std::string_view number)
{
    decimal result;
    result.is_negative = number.starts_with('-');
    number.remove_prefix(result.is_negative);
    const size_t end = std::min(number.find_first_of("eE"), number.size());
    int64_t behind_point = -1;
    for (const char c : number.substr(0, end)) {
        if (c != '.')
            result.digits += c;
        behind_point += c == '.' || behind_point >= 0;
    }
    result.exponent = -std::max<int64_t>(behind_point, 0);
    if (end == number.size())
        return result;
    std::string_view exponent = number.substr(end + 1);
    const bool is_small = exponent.starts_with('-');
    exponent.remove_prefix(is_small || exponent.starts_with('+'));
    int64_t value = 0;
    constexpr int64_t HUGE = int64_t{1} << 40; // beyond the digits of any text
    for (const char c : exponent)
        value = std::min(10 * value + (c - '0'), HUGE);
    result.exponent += is_small ? -value : value;
    return result;
}

// With a point or an exponent, yet whole.
std::optional<whole_number> whole_of(decimal number)
{
    while (number.digits.ends_with('0')) {
        number.digits.pop_back();
        ++number.exponent;
    }
    number.digits.erase(0, number.digits.find_first_not_of('0'));
    if (number.digits.empty())
        return whole_number{0, number.is_negative};
    if (number.exponent < 0 || number.exponent > 20)
        return std::nullopt;
    number.digits.append(static_cast<size_t>(number.exponent), '0');
    whole_number result = {0, number.is_negative};
    const auto [end, error] =
        std::from_chars(number.digits.data(), number.digits.data() + number.digits.size(), result.size);
    if (error != std::errc())
        return std::nullopt;
    return result;
}

// `text` fits the grammar of a number.
std::optional<whole_number> whole_of(std::string_view text)
{
    if (text.find_first_of(".eE") != std::string_view::npos)
        return whole_of(decimal_of(text));
    whole_number result = {0, text.starts_with('-')};
    text.remove_prefix(result.is_negative);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result.size);
    if (error != std::errc())
        return std::nullopt;
    return result;
}

// -1 for what is none. Both alphabets.
int base64_digit(char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (is_digit(c))
        return c - '0' + 52;
    if (c == '+' || c == '-')
        return 62;
    return c == '/' || c == '_' ? 63 : -1;
}

struct number_range {
    uint64_t most;            // of what is not negative
    uint64_t most_below_zero; // the size of the least
};

number_range range_of(kind type)
{
    switch (type) {
    case kind::u8:
        return {UINT8_MAX, 0};
    case kind::u64:
        return {UINT64_MAX, 0};
    case kind::sint64:
        return {INT64_MAX, uint64_t{1} << 63};
    default:
        return {UINT32_MAX, 0};
    }
}

// Reads one message's JSON into a record. Problems are thrown.
class record_reader
{
public:
    record_reader(std::string_view text, record_memory &memory, std::vector<std::vector<uint8_t>> &arrays)
        : text_(text), memory_(memory), arrays_(arrays)
    {
    }

    void read_all(const json_type &type, uint8_t *record)
    {
        skip_blanks();
        if (peek() != '{')
            fail("expected the object of a " + std::string(type.type->name));
        read_object(type, record);
        skip_blanks();
        if (at_ < text_.size())
            fail("expected nothing behind the message");
    }

private:
    // ---- Places ----

    [[noreturn]] void fail_at(size_t offset, const std::string &expected) const
    {
        throw json_problem{offset, to_string(path_), expected + ", found " + shown(offset)};
    }

    [[noreturn]] void fail(const std::string &expected) const { fail_at(at_, expected); }

    // Of the member itself, whether or not it is repeated.
    [[noreturn]] void fail_member(const field_descriptor &field, size_t offset, std::string text) const
    {
        throw json_problem{offset, to_string(path_) + (path_.depth > 0 ? "." : "") + field.member, std::move(text)};
    }

    // What stands at a place of the text, fit for a terminal.
    std::string shown(size_t offset) const
    {
        if (offset >= text_.size())
            return "the end of the text";
        std::string_view rest = text_.substr(offset);
        size_t len = 1;
        if (rest[0] == '"')
            len = std::min(rest.find('"', 1), rest.size() - 1) + 1;
        else if (is_word(rest[0]))
            len = static_cast<size_t>(std::find_if_not(rest.begin(), rest.end(), is_word) - rest.begin());
        const bool is_long = len > MAX_SHOWN;
        std::string out;
        for (const char c : rest.substr(0, is_long ? MAX_SHOWN : len))
            append_shown(out, c);
        return is_long ? out + "..." : out;
    }

    static bool is_word(char c)
    {
        return is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' || c == '+' || c == '-' ||
               c == '_';
    }

    static void append_shown(std::string &out, char c)
    {
        constexpr char DIGITS[] = "0123456789abcdef";
        const auto byte = static_cast<uint8_t>(c);
        if (byte >= 0x20 && byte < 0x7f)
            out += c;
        else
            out += {'\\', 'x', DIGITS[byte >> 4], DIGITS[byte & 15]};
    }

    // ---- Characters ----

    char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    void skip_blanks()
    {
        while (at_ < text_.size() && is_blank(text_[at_]))
            ++at_;
    }

    bool take(char wanted)
    {
        if (at_ >= text_.size() || text_[at_] != wanted)
            return false;
        ++at_;
        return true;
    }

    bool take(std::string_view word)
    {
        if (!text_.substr(at_).starts_with(word) ||
            (at_ + word.size() < text_.size() && is_word(text_[at_ + word.size()])))
            return false;
        at_ += word.size();
        return true;
    }

    // ---- Objects ----

    void read_object(const json_type &type, uint8_t *record)
    {
        take('{');
        skip_blanks();
        if (take('}'))
            return;
        uint64_t seen = 0;
        size_t likely = 0; // the member that comes next where a writer keeps the schema's order
        do {
            skip_blanks();
            const json_member &member = read_name(type, likely, seen);
            skip_blanks();
            if (!take(':'))
                fail("expected : behind the member's name");
            skip_blanks();
            read_member(member, record, *type.type);
            skip_blanks();
        } while (take(','));
        if (!take('}'))
            fail("expected , or }");
    }

    const json_member &read_name(const json_type &type, size_t &likely, uint64_t &seen)
    {
        const size_t begin = at_;
        if (peek() != '"')
            fail("expected a member's name in quotes");
        const std::string_view name = read_string();
        const json_member *const member = find_member(type, name, likely);
        if (member == nullptr)
            fail_at(begin, unknown_member(type, name));
        path_step &step = path_.steps[path_.depth];
        step = {member->field, member->field->number, 0};
        likely = static_cast<size_t>(member - type.members.data());
        const uint64_t bit = uint64_t{1} << likely++;
        if ((seen & bit) != 0)
            fail_member(*member->field, begin, "expected each member once, found it again");
        seen |= bit;
        return *member;
    }

    static const json_member *find_member(const json_type &type, std::string_view name, size_t likely)
    {
        if (likely < type.members.size() && type.members[likely].name() == name)
            return &type.members[likely];
        const auto found = type.by_name.find(name);
        return found == type.by_name.end() ? nullptr : found->second;
    }

    static std::string unknown_member(const json_type &type, std::string_view name)
    {
        if (name == "@partial")
            return "expected a whole message: decode marks a partial one with this member";
        return "expected a member of " + std::string(type.type->name);
    }

    void read_member(const json_member &member, uint8_t *record, const zidl::message_descriptor &type)
    {
        if (take("null"))
            return;
        const field_descriptor &field = *member.field;
        if (field.repeated && peek() != '[')
            fail_member(field, at_, "expected an array, found " + shown(at_));
        ++path_.depth;
        if (!field.repeated)
            read_value(member, record + field.offset, record + field.extent_offset);
        else if (!read_array(member, record)) {
            --path_.depth;
            return;
        }
        --path_.depth;
        set_presence(type, field.bit, record);
    }

    static void set_presence(const zidl::message_descriptor &type, unsigned bit, uint8_t *record)
    {
        uint8_t *const word = record + type.presence_offset;
        switch (type.presence_size) {
        case 1:
            return set_bit<uint8_t>(word, bit);
        case 2:
            return set_bit<uint16_t>(word, bit);
        case 4:
            return set_bit<uint32_t>(word, bit);
        default:
            return set_bit<uint64_t>(word, bit);
        }
    }

    template <class Word>
    static void set_bit(uint8_t *at, unsigned bit)
    {
        store(at, static_cast<Word>(load<Word>(at) | Word{1} << bit));
    }

    // False for the empty array, which is an absent member.
    bool read_array(const json_member &member, uint8_t *record)
    {
        take('[');
        skip_blanks();
        if (take(']'))
            return false;
        const size_t size = element_size(*member.field);
        // No other array is read into this one before it is done: those inside its elements are deeper.
        std::vector<uint8_t> &elements = arrays_[path_.depth];
        elements.clear();
        uint32_t &index = path_.steps[path_.depth - 1].index;
        do {
            skip_blanks();
            const size_t len = elements.size();
            elements.resize(len + size);
            uint8_t *const element = elements.data() + len;
            read_value(member, element, element + offsetof(zidl_bytes, size));
            skip_blanks();
            if (++index == UINT32_MAX)
                fail("expected at most 4294967294 elements");
        } while (take(','));
        if (!take(']'))
            fail("expected , or ]");
        void *const array = memory_.allocate(elements.size());
        std::memcpy(array, elements.data(), elements.size());
        store(record + member.field->offset, array);
        store(record + member.field->extent_offset, index);
        return true;
    }

    // ---- Values ----

    // `extent` is where the size of bytes belongs.
    void read_value(const json_member &member, uint8_t *to, uint8_t *extent)
    {
        switch (member.field->type) {
        case kind::boolean:
            return store(to, read_bool());
        case kind::string:
            return store_string(to);
        case kind::bytes:
            return store_bytes(to, extent);
        case kind::message:
            if (peek() != '{')
                fail("expected the object of a " + std::string(member.field->message->name));
            return read_object(*member.message, to);
        default:
            return store_number(member.field->type, to);
        }
    }

    uint8_t read_bool()
    {
        if (take("true"))
            return 1;
        if (!take("false"))
            fail("expected true or false");
        return 0;
    }

    void store_number(kind type, uint8_t *to)
    {
        const uint64_t value = read_number(range_of(type));
        if (type == kind::u8)
            return store(to, static_cast<uint8_t>(value));
        if (type == kind::u64 || type == kind::sint64)
            return store(to, value);
        return store(to, static_cast<uint32_t>(value));
    }

    // In two's complement.
    uint64_t read_number(const number_range &range)
    {
        const size_t begin = at_;
        const bool is_quoted = peek() == '"';
        const std::string_view text = is_quoted ? read_string() : text_.substr(at_);
        const size_t len = number_len(text);
        if (len == 0 || (is_quoted && len != text.size()))
            fail_at(begin, expected_number(range));
        const std::optional<whole_number> number = whole_of(text.substr(0, len));
        if (!number || number->size > (number->is_negative ? range.most_below_zero : range.most))
            fail_at(begin, expected_number(range));
        if (!is_quoted)
            at_ += len;
        return number->is_negative ? 0 - number->size : number->size;
    }

    static std::string expected_number(const number_range &range)
    {
        std::string out = "expected a whole number from ";
        if (range.most_below_zero > 0)
            out += '-';
        append_number(out, range.most_below_zero);
        out += " to ";
        append_number(out, range.most);
        return out;
    }

    void store_string(uint8_t *to)
    {
        const size_t begin = at_;
        if (peek() != '"')
            fail("expected a string");
        const std::string_view text = read_string();
        if (text.find('\0') != std::string_view::npos)
            fail_at(begin, "expected a string without \\u0000, which would end it");
        char *const copy = static_cast<char *>(memory_.allocate(text.size() + 1));
        std::memcpy(copy, text.data(), text.size());
        copy[text.size()] = '\0';
        store(to, copy);
    }

    void store_bytes(uint8_t *to, uint8_t *extent)
    {
        const size_t begin = at_;
        if (peek() != '"')
            fail("expected a string with base64");
        std::string_view text = read_string();
        uint8_t *const bytes = static_cast<uint8_t *>(memory_.allocate(text.size() / 4 * 3 + 3));
        const std::optional<uint64_t> size = from_base64(text, bytes);
        if (!size)
            fail_at(begin, "expected base64");
        store(to, bytes);
        store(extent, *size);
    }

    // With its padding or without; nothing where it is none, or where bits are left over that are not zero.
    static std::optional<uint64_t> from_base64(std::string_view text, uint8_t *to)
    {
        const size_t unpadded = text.find_last_not_of('=') + 1; // npos + 1 is 0
        const size_t padding = text.size() - unpadded;
        if (unpadded % 4 == 1 || (padding != 0 && (padding > 2 || text.size() % 4 != 0)))
            return std::nullopt;
        uint32_t bits = 0;
        unsigned count = 0;
        uint64_t size = 0;
        for (const char c : text.substr(0, unpadded)) {
            const int digit = base64_digit(c);
            if (digit < 0)
                return std::nullopt;
            bits = bits << 6 | static_cast<uint32_t>(digit);
            count += 6;
            if (count < 8)
                continue;
            count -= 8;
            to[size++] = static_cast<uint8_t>(bits >> count);
            bits &= (1U << count) - 1;
        }
        return bits == 0 ? std::optional(size) : std::nullopt;
    }

    // ---- Strings ----

    // The contents of the string that begins here; they hold until the next one is read.
    std::string_view read_string()
    {
        const size_t begin = ++at_;
        skip_plain();
        if (take('"'))
            return checked(begin, text_.substr(begin, at_ - 1 - begin));
        string_.assign(checked(begin, text_.substr(begin, at_ - begin)));
        while (!take('"')) {
            read_escape();
            const size_t piece = at_;
            skip_plain();
            string_ += checked(piece, text_.substr(piece, at_ - piece));
        }
        return string_;
    }

    // Up to a quote, a backslash or what must not stand in a string.
    void skip_plain()
    {
        while (at_ < text_.size() && text_[at_] != '"' && text_[at_] != '\\' &&
               static_cast<uint8_t>(text_[at_]) >= 0x20)
            ++at_;
    }

    std::string_view checked(size_t begin, std::string_view piece) const
    {
        if (const size_t bad = first_invalid_utf8(piece); bad != std::string_view::npos)
            fail_at(begin + bad, "expected UTF-8");
        return piece;
    }

    void read_escape()
    {
        constexpr std::string_view LETTERS = "\"\\/bfnrt", MEANT = "\"\\/\b\f\n\r\t";
        if (at_ >= text_.size() || text_[at_] != '\\')
            fail(at_ < text_.size() ? "expected an escape for a control character" : "expected the end of a string");
        const size_t begin = at_++;
        if (const size_t which = LETTERS.find(peek()); at_ < text_.size() && which != std::string_view::npos) {
            string_ += MEANT[which];
            ++at_;
            return;
        }
        if (!take('u'))
            fail("expected one of \"\\/bfnrtu behind a backslash");
        append_utf8(string_, read_code_point(begin));
    }

    uint32_t read_code_point(size_t begin)
    {
        const uint32_t first = read_four_digits();
        if (first < 0xd800 || first > 0xdfff)
            return first;
        if (first <= 0xdbff && text_.substr(at_).starts_with("\\u")) {
            at_ += 2;
            if (const uint32_t second = read_four_digits(); second >= 0xdc00 && second <= 0xdfff)
                return 0x10000 + ((first - 0xd800) << 10) + (second - 0xdc00);
        }
        fail_at(begin, "expected both halves of a surrogate pair");
    }

    uint32_t read_four_digits()
    {
        uint32_t value = 0;
        const char *const begin = text_.data() + at_;
        const size_t len = std::min<size_t>(4, text_.size() - at_);
        const auto [end, error] = std::from_chars(begin, begin + len, value, 16);
        if (end != begin + 4)
            fail("expected four hexadecimal digits");
        at_ += 4;
        return value;
    }

    std::string_view text_;
    size_t at_ = 0;
    record_memory &memory_;
    std::vector<std::vector<uint8_t>> &arrays_;
    std::string string_; // with escapes
    field_path path_ = {};
};

} // namespace

json_reader::json_reader(const zidl::message_descriptor &type) : type_(type), arrays_(max_path_depth + 1) {}

json_reader::~json_reader() = default;

std::optional<json_problem> json_reader::read(std::string_view text, std::vector<uint8_t> &out)
{
    memory_.take_back();
    uint8_t *const record = static_cast<uint8_t *>(memory_.allocate(type_.size));
    std::memset(record, 0, type_.size);
    try {
        record_reader(text, memory_, arrays_).read_all(json_type_of(type_), record);
    } catch (json_problem &problem) {
        return std::move(problem);
    }
    const size_t old_len = out.size();
    const size_t len = type_.encode(record, nullptr, 0, nullptr, nullptr, 0);
    out.resize(old_len + len);
    type_.encode(record, out.data() + old_len, len, nullptr, nullptr, 0);
    return std::nullopt;
}

} // namespace rib_inspect
