#include "tools/ribtool/tables/json_tokens.hpp"

#include "inspect/formats/json_text.hpp"
#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/input/text_input.hpp"

#include <algorithm>
#include <charconv>

namespace ribtool
{

namespace
{

constexpr size_t MAX_TOKEN_LEN = 1 << 20;
constexpr size_t MAX_DEPTH = 256;
constexpr size_t LONGEST_MARK = 3; // that may stand in front of a text

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_of_number(char c)
{
    return is_digit(c) || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

bool is_of_literal(char c)
{
    return c >= 'a' && c <= 'z';
}

// Takes the digits that a text begins with; false where there are none.
bool take_digits(std::string_view &text)
{
    const size_t len = std::min(text.find_first_not_of("0123456789"), text.size());
    text.remove_prefix(len);
    return len > 0;
}

bool take_one_of(std::string_view &text, std::string_view choices)
{
    if (text.empty() || choices.find(text.front()) == std::string_view::npos)
        return false;
    text.remove_prefix(1);
    return true;
}

bool is_number(std::string_view text)
{
    take_one_of(text, "-");
    if (!take_one_of(text, "0") && !take_digits(text))
        return false;
    if (take_one_of(text, ".") && !take_digits(text))
        return false;
    if (take_one_of(text, "eE")) {
        take_one_of(text, "+-");
        if (!take_digits(text))
            return false;
    }
    return text.empty();
}

} // namespace

json_tokens::json_tokens(std::unique_ptr<compressed_input> input) : input_(std::move(input))
{
    input_->peek(LONGEST_MARK);
    has_byte();
    const auto start = std::string_view(buffer_).substr(0, end_);
    line_start_ = token_ = at_ = end_ - without_byte_order_mark(start).size();
}

std::string json_tokens::place_of(uint64_t line, uint64_t column) const
{
    return fmt::format("{}:{}:{}", input_->name(), line, column);
}

// Whether there is a byte at at_; reads on where the buffer ends, and keeps what the last token has of it.
bool json_tokens::has_byte()
{
    if (at_ < end_)
        return true;
    if (at_ - token_ > MAX_TOKEN_LEN)
        stop("a text of more than {} bytes", MAX_TOKEN_LEN);
    buffer_.erase(0, token_);
    buffer_offset_ += token_;
    at_ -= token_;
    end_ -= token_;
    token_ = 0;
    buffer_.resize(end_ + READ_BLOCK_LEN);
    const size_t got = input_->read({reinterpret_cast<uint8_t *>(buffer_.data()) + end_, READ_BLOCK_LEN});
    if (got == 0 && input_->error())
        fail(input_->error()->code, "{}: {}", place_of(line(), column()), input_->error()->text);
    end_ += got;
    return got > 0;
}

void json_tokens::require_byte()
{
    if (!has_byte())
        stop("cut: the file ends inside of what begins here");
}

void json_tokens::skip_blanks()
{
    for (token_ = at_; has_byte(); token_ = at_) {
        const char c = buffer_[at_];
        if (c != ' ' && c != '\n' && c != '\t' && c != '\r')
            return;
        ++at_;
        if (c == '\n') {
            ++line_;
            line_start_ = buffer_offset_ + at_;
        }
    }
}

void json_tokens::unexpected(std::string_view wanted)
{
    if (!has_byte())
        stop("cut: expected {}, found the end", wanted);
    stop("expected {}, found \"{}\"", wanted, terminal::visible({&buffer_[at_], 1}));
}

json_token json_tokens::next()
{
    skip_blanks();
    if (!has_byte() && open_.empty())
        return {json_kind::end, {}};
    if (!has_byte())
        stop("cut: the file ends inside of an {}", is_in_object() ? "object" : "array");
    const char c = buffer_[at_];
    const bool may_end =
        expected_ == expected::comma || expected_ == expected::first_element || expected_ == expected::first_key;
    if (may_end && c == (is_in_object() ? '}' : ']'))
        return close(is_in_object() ? json_kind::end_object : json_kind::end_array);
    if (take_separator()) {
        skip_blanks();
        if (!has_byte())
            unexpected(expected_ == expected::key ? "a name" : "a value");
    }
    const bool is_name = expected_ == expected::key || expected_ == expected::first_key;
    return is_name ? key(buffer_[at_]) : value(buffer_[at_]);
}

// The comma or the colon that must stand here.
bool json_tokens::take_separator()
{
    if (expected_ != expected::comma && expected_ != expected::colon)
        return false;
    const bool is_comma = expected_ == expected::comma;
    if (buffer_[at_] != (is_comma ? ',' : ':'))
        unexpected(!is_comma        ? "a colon"
                   : is_in_object() ? "a comma or the end of the object"
                                    : "a comma or the end of the array");
    ++at_;
    expected_ = is_comma && is_in_object() ? expected::key : expected::value;
    return true;
}

json_token json_tokens::open(json_kind kind)
{
    if (open_.size() == MAX_DEPTH)
        stop("nested more than {} deep", MAX_DEPTH);
    const bool is_object = kind == json_kind::begin_object;
    open_.push_back(is_object);
    expected_ = is_object ? expected::first_key : expected::first_element;
    ++at_;
    return {kind, {}};
}

json_token json_tokens::close(json_kind kind)
{
    open_.pop_back();
    value_ended();
    ++at_;
    return {kind, {}};
}

json_token json_tokens::key(char first)
{
    if (first != '"')
        unexpected("a name");
    expected_ = expected::colon;
    return {json_kind::key, quoted()};
}

json_token json_tokens::value(char first)
{
    if (first == '{')
        return open(json_kind::begin_object);
    if (first == '[')
        return open(json_kind::begin_array);
    value_ended();
    if (first == '"')
        return {json_kind::string, quoted()};
    if (first == '-' || is_digit(first)) {
        const std::string_view text = word(is_of_number);
        if (!is_number(text))
            stop("bad number \"{}\"", text);
        return {json_kind::number, text};
    }
    if (!is_of_literal(first))
        unexpected("a value");
    const std::string_view text = word(is_of_literal);
    if (text != "true" && text != "false" && text != "null")
        stop("bad value \"{}\"", text);
    return {json_kind::literal, text};
}

void json_tokens::skip_rest_of(const json_token &begun)
{
    if (begun.kind != json_kind::begin_object && begun.kind != json_kind::begin_array)
        return;
    const size_t outer = open_.size() - 1;
    while (open_.size() > outer)
        next();
}

// As many bytes as belong to a number or a literal; none where the file ends.
std::string_view json_tokens::word(bool (*belongs)(char))
{
    while (has_byte() && belongs(buffer_[at_]))
        ++at_;
    return std::string_view(buffer_).substr(token_, at_ - token_);
}

// What stands between quotes, the first of which is at at_.
std::string_view json_tokens::quoted()
{
    bool has_escapes = false;
    size_t plain_start = 1; // behind token_: of what is not in unescaped_ yet
    for (++at_;; ++at_) {
        require_byte();
        const char c = buffer_[at_];
        if (c == '"')
            break;
        if (static_cast<uint8_t>(c) < 0x20)
            stop("an unescaped control character in a text");
        if (c != '\\')
            continue;
        if (!has_escapes)
            unescaped_.clear();
        has_escapes = true;
        unescaped_.append(buffer_, token_ + plain_start, at_ - token_ - plain_start);
        append_escaped();
        plain_start = at_ + 1 - token_;
    }
    const auto plain = std::string_view(buffer_).substr(token_ + plain_start, at_ - token_ - plain_start);
    ++at_;
    return has_escapes ? std::string_view(unescaped_.append(plain)) : plain;
}

// Goes from the backslash to the last byte that belongs to it.
void json_tokens::append_escaped()
{
    ++at_;
    require_byte();
    const char letter = buffer_[at_];
    if (letter == 'u') {
        append_code_point();
        return;
    }
    constexpr std::string_view LETTERS = "\"\\/bfnrt", MEANINGS = "\"\\/\b\f\n\r\t";
    const size_t which = LETTERS.find(letter);
    if (which == std::string_view::npos)
        stop("bad escape \"\\{}\"", terminal::visible({&letter, 1}));
    unescaped_ += MEANINGS[which];
}

// Half of a pair of surrogates without the other is no character.
void json_tokens::append_code_point()
{
    uint32_t code = hex_digits();
    if (code >= 0xd800 && code < 0xdc00) {
        for (const char wanted : {'\\', 'u'}) {
            ++at_;
            require_byte();
            if (buffer_[at_] != wanted)
                stop("half a pair of surrogates in a text");
        }
        const uint32_t second = hex_digits();
        if (second < 0xdc00 || second >= 0xe000)
            stop("half a pair of surrogates in a text");
        code = 0x10000 + ((code - 0xd800) << 10) + (second - 0xdc00);
    } else if (code >= 0xdc00 && code < 0xe000) {
        stop("half a pair of surrogates in a text");
    }
    rib_inspect::append_utf8(unescaped_, code);
}

// The four digits behind at_, which ends at the last of them.
uint32_t json_tokens::hex_digits()
{
    char digits[4];
    for (char &digit : digits) {
        ++at_;
        require_byte();
        digit = buffer_[at_];
    }
    uint32_t code = 0;
    const auto [stopped, status] = std::from_chars(digits, std::end(digits), code, 16);
    if (status != std::errc() || stopped != std::end(digits))
        stop("bad escape \"\\u{}\"", terminal::visible({digits, sizeof digits}));
    return code;
}

} // namespace ribtool
