// Words, numbers and marks of a schema file.

#include "tools/zidlc/lexer.hpp"

#include "tools/zidlc/text.hpp"

#include <algorithm>
#include <charconv>
#include <optional>

namespace zidlc
{

namespace
{

bool is_word_part(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_control(char c)
{
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f;
}

class lexer
{
public:
    lexer(const source_file &file, diagnostics &errors) : file_(file), errors_(errors), text_(file.text) {}

    std::vector<token> run()
    {
        while (pos_ < text_.size())
            next();
        add_end();
        return std::move(tokens_);
    }

private:
    void next()
    {
        const char c = text_[pos_];
        if (c == '\n')
            end_line();
        else if (c == ' ' || c == '\t' || is_line_end())
            ++pos_;
        else if (c == '#')
            comment();
        else if (c == '/' && (text_.substr(pos_, 2) == "//" || text_.substr(pos_, 2) == "/*"))
            foreign_comment();
        else if (is_digit(c))
            number();
        else if (is_word_part(c))
            add(token_kind::word, run_length(is_word_part));
        else if (c == '.' && text_.substr(pos_, 2) == "..")
            add(token_kind::mark, 2);
        else if (std::string_view("{}:;,.").find(c) != std::string_view::npos)
            add(token_kind::mark, 1);
        else
            reject();
    }

    // A carriage return right before the end of the line or of the file belongs to the end.
    bool is_line_end() const { return text_[pos_] == '\r' && (pos_ + 1 == text_.size() || text_[pos_ + 1] == '\n'); }

    void end_line()
    {
        // A blank line parts a comment from what follows; a line without a comment ends the one behind a token.
        if (!line_has_token_ && !line_has_comment_)
            comment_above_.clear();
        if (!line_has_comment_)
            continued_column_.reset();
        line_has_token_ = line_has_comment_ = false;
        line_start_ = ++pos_;
    }

    void add(token_kind kind, std::size_t length)
    {
        token t;
        t.kind = kind;
        t.text = text_.substr(pos_, length);
        t.where = {&file_, pos_, length};
        t.comment_above = std::move(comment_above_);
        comment_above_.clear();
        tokens_.push_back(std::move(t));
        line_has_token_ = true;
        pos_ += length;
    }

    // The end lies behind the last token, where an unfinished statement breaks off.
    void add_end()
    {
        if (!tokens_.empty())
            pos_ = tokens_.back().where.offset + tokens_.back().where.length;
        add(token_kind::end, 0);
    }

    std::size_t run_length(bool (*belongs)(char)) const
    {
        std::size_t end = pos_;
        while (end < text_.size() && belongs(text_[end]))
            ++end;
        return end - pos_;
    }

    void number()
    {
        const std::size_t length = run_length(is_word_part);
        const std::string_view digits = text_.substr(pos_, length);
        uint32_t value = 0;
        const auto [end, status] = std::from_chars(digits.data(), digits.data() + length, value);
        const place where{&file_, pos_, length};
        if (end != digits.data() + length)
            errors_.error(where, "'{}' is neither a number nor a name", digits);
        else if (status != std::errc())
            errors_.error(where, "number {} is too large", digits);
        else if (length > 1 && digits.front() == '0')
            errors_.error(where, "number {} has a leading zero", digits);
        add(token_kind::number, length);
        tokens_.back().number = value;
    }

    // A comment behind a token documents it. One that starts below such a comment continues it. Any other one is
    // about what stands directly below.
    void comment()
    {
        const std::size_t column = text_width(text_.substr(line_start_, pos_ - line_start_));
        const std::string text = comment_text();
        if (line_has_token_) {
            tokens_.back().comment_behind = text;
            continued_column_ = column;
        } else if (continued_column_ == column) {
            tokens_.back().comment_behind += " " + text;
        } else {
            comment_above_.push_back(text);
            continued_column_.reset();
        }
        line_has_comment_ = true;
    }

    // A comment in the manner of C is explained once, and passed over.
    void foreign_comment()
    {
        const std::string_view mark = text_.substr(pos_, 2);
        if (!explained_comments_)
            errors_.error({&file_, pos_, 2}, "comments begin with '#', not with '{}'", mark);
        explained_comments_ = true;
        const std::size_t end = mark == "//" ? text_.find('\n', pos_) : text_.find("*/", pos_ + 2);
        while (pos_ < std::min(end, text_.size()))
            text_[pos_] == '\n' ? end_line() : void(++pos_);
        pos_ = std::min(pos_ + (mark == "//" ? 0 : 2), text_.size());
    }

    // What stands behind the mark, up to the end of the line; one blank behind the mark is not part of it, tabs are blanks.
    std::string comment_text()
    {
        const std::size_t start = pos_ + 1;
        while (pos_ < text_.size() && text_[pos_] != '\n' && !is_line_end()) {
            if (is_control(text_[pos_]))
                report_control();
            ++pos_;
        }
        std::string text(text_.substr(start, pos_ - start));
        std::replace(text.begin(), text.end(), '\t', ' ');
        text.erase(text.find_last_not_of(' ') + 1);
        check_end(text, start);
        return text.substr(text.starts_with(' ') ? 1 : 0);
    }

    // In C a backslash (or its trigraph) at the end of a line would make the next line part of the comment.
    void check_end(const std::string &text, std::size_t start)
    {
        if (text.ends_with('\\'))
            errors_.error({&file_, start + text.size() - 1, 1}, "a comment cannot end with a backslash");
        else if (text.ends_with("?\?/"))
            errors_.error({&file_, start + text.size() - 3, 3}, "a comment cannot end with a trigraph");
    }

    void report_control()
    {
        errors_.error({&file_, pos_, 1}, "unexpected control character 0x{:02x}",
                      static_cast<unsigned char>(text_[pos_]));
    }

    void reject()
    {
        const std::size_t length = run_length([](char c) { return (static_cast<unsigned char>(c) & 0x80u) != 0; });
        if (is_control(text_[pos_]))
            report_control();
        else if (length > 0)
            errors_.error({&file_, pos_, length}, "characters beyond ASCII belong in comments only");
        else
            errors_.error({&file_, pos_, 1}, "unexpected character '{}'", text_[pos_]);
        pos_ += length > 0 ? length : 1;
    }

    const source_file &file_;
    diagnostics &errors_;
    std::string_view text_;
    std::vector<token> tokens_;
    std::vector<std::string> comment_above_;
    std::optional<std::size_t> continued_column_; // where a comment of the line above stands that can be continued
    std::size_t pos_ = 0;
    std::size_t line_start_ = 0;
    bool line_has_token_ = false;
    bool line_has_comment_ = false;
    bool explained_comments_ = false;
};

} // namespace

std::vector<token> tokens_of(const source_file &file, diagnostics &errors)
{
    return lexer(file, errors).run();
}

} // namespace zidlc
