// JSON as a stream of tokens, so that files of any size are read in little memory. Several documents one after another are one
// stream, with or without blanks between them. What is no JSON is a failure that says where.

#pragma once

#include "tools/ribtool/input/compressed_input.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ribtool
{

enum class json_kind {
    begin_object,
    end_object,
    begin_array,
    end_array,
    key,
    string,
    number,
    literal, // true, false, null
    end,     // of the file
};

struct json_token {
    json_kind kind;
    std::string_view text; // of keys and strings without quotes and escapes; holds until the next call
};

class json_tokens
{
public:
    explicit json_tokens(std::unique_ptr<compressed_input> input);

    json_token next();

    // The rest of what a token begins, up to its end; of a token that begins nothing there is none.
    void skip_rest_of(const json_token &begun);

    // Of the token that next() gave last, from 1; a column is a byte's.
    uint64_t line() const { return line_; }
    uint64_t column() const { return buffer_offset_ + token_ - line_start_ + 1; }
    std::string place_of(uint64_t line, uint64_t column) const;

    // A failure at that token.
    template <class... Arguments>
    [[noreturn]] void stop(fmt::format_string<Arguments...> format, Arguments &&...arguments) const
    {
        fail(EXIT_MALFORMED, "{}: {}", place_of(line(), column()),
             fmt::format(format, std::forward<Arguments>(arguments)...));
    }

    const compressed_input &input() const { return *input_; }

private:
    enum class expected { value, first_element, first_key, key, colon, comma };

    bool has_byte();
    void require_byte();
    void skip_blanks();
    bool take_separator();
    json_token open(json_kind kind);
    json_token close(json_kind kind);
    json_token value(char first);
    json_token key(char first);
    std::string_view word(bool (*belongs)(char));
    std::string_view quoted();
    void append_escaped();
    void append_code_point();
    uint32_t hex_digits();
    bool is_in_object() const { return !open_.empty() && open_.back(); }
    void value_ended() { expected_ = open_.empty() ? expected::value : expected::comma; }
    [[noreturn]] void unexpected(std::string_view wanted);

    std::unique_ptr<compressed_input> input_;
    std::string buffer_;
    size_t at_ = 0;    // in the buffer, of the next byte
    size_t token_ = 0; // in the buffer, of the last token, which stays there
    size_t end_ = 0;
    uint64_t buffer_offset_ = 0; // of the buffer in the unpacked file
    uint64_t line_ = 1;
    uint64_t line_start_ = 0;
    std::vector<bool> open_; // what the next token stands in: whether each is an object
    expected expected_ = expected::value;
    std::string unescaped_;
};

} // namespace ribtool
