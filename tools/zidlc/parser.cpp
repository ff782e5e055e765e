// The grammar of the schema language, by recursive descent: one function a rule.

#include "tools/zidlc/parser.hpp"

#include "tools/zidlc/lexer.hpp"

#include <utility>

namespace zidlc
{

namespace
{

// Thrown where a statement cannot go on, after the report; caught where the next one starts.
struct broken_statement {
    bool at_line_end; // the rest of its line is missing
};

place from_to(const place &first, const place &last)
{
    return {first.file, first.offset, last.offset + last.length - first.offset};
}

bool is_on_one_line(const place &first, const place &last)
{
    const std::string_view text = first.file->text;
    return text.substr(first.offset, last.offset - first.offset).find('\n') == std::string_view::npos;
}

class parser
{
public:
    parser(const source_file &file, diagnostics &errors) : errors_(errors), tokens_(tokens_of(file, errors)) {}

    // file = "group" name ";" { "use" name ";" } { message }
    file_syntax file()
    {
        file_syntax tree;
        attempt([&] { group_statement(tree); }, &parser::skip_statement);
        while (peek().kind != token_kind::end)
            attempt([&] { statement(tree); }, &parser::skip_statement);
        return tree;
    }

private:
    void group_statement(file_syntax &tree)
    {
        if (!at("group"))
            fail("expected 'group NAME;' before anything else");
        tree.comment = take().comment_above;
        tree.group = group_name();
    }

    void statement(file_syntax &tree)
    {
        if (at("use"))
            use_statement(tree);
        else if (at("message"))
            tree.messages.push_back(message());
        else if (at("group"))
            second_group_statement(tree);
        else
            fail("expected 'use' or 'message'");
    }

    void use_statement(file_syntax &tree)
    {
        if (!tree.messages.empty())
            errors_.error(peek().where, "'use' stands before the messages");
        take();
        tree.uses.push_back(group_name());
    }

    void second_group_statement(const file_syntax &tree)
    {
        const place second = take().where;
        if (tree.group.where.file)
            errors_.error(second, note{tree.group.where, "the first one"}, "a file has one 'group' statement");
        else
            errors_.error(second, "a file has one 'group' statement");
        group_name();
    }

    name_syntax group_name()
    {
        name_syntax group = name("a group name");
        end_statement();
        return group;
    }

    // message = "message" name "{" [ omit ] [ dispatch | rare ] { row } "}"
    message_syntax message()
    {
        message_syntax m;
        m.comment = take().comment_above;
        m.name = name("a message name");
        expect("{");
        while (!at("}") && !at_statement())
            attempt([&] { body_statement(m); }, &parser::skip_row);
        statement_start_ = next_;
        expect("}");
        return m;
    }

    void body_statement(message_syntax &m)
    {
        if (at("omit"))
            omit_statement(m);
        else if (at("dispatch"))
            frequency_statement(m, m.dispatch);
        else if (at("rare"))
            frequency_statement(m, m.rare);
        else if (peek().kind == token_kind::number)
            row(m);
        else
            fail("expected a field number or '}'");
    }

    // omit = "omit" argument { "," argument } ";"
    void omit_statement(message_syntax &m)
    {
        if (!m.omissions.empty() || !m.rows.empty())
            errors_.error(peek().where, "'omit' stands once, before the rows");
        take();
        do {
            const name_syntax operation = name("an operation");
            expect(".");
            const name_syntax argument = name("an argument");
            m.omissions.push_back({operation.text, argument.text, from_to(operation.where, argument.where)});
        } while (accept(","));
        end_statement();
    }

    // dispatch = "dispatch" ";"    rare = "rare" ";"
    void frequency_statement(message_syntax &m, bool &said)
    {
        if (m.dispatch || m.rare || !m.rows.empty())
            errors_.error(peek().where, "'dispatch' or 'rare' stands once, before the rows");
        take();
        said = true;
        end_statement();
    }

    // row = number name ":" type ";"  |  number [ ".." number ] "unassigned" ";"
    void row(message_syntax &m)
    {
        const std::vector<std::string> comment_above = peek().comment_above;
        const number_syntax first = number();
        if (at("..") || at("unassigned")) {
            m.rows.emplace_back(unassigned(first));
            return;
        }
        field_syntax f = field(first);
        f.comment_above = comment_above;
        m.rows.emplace_back(std::move(f));
    }

    unassigned_syntax unassigned(const number_syntax &first)
    {
        unassigned_syntax u{first, first, first.where, {}};
        if (accept("..")) {
            u.last = number();
            u.where = from_to(first.where, u.last.where);
        }
        expect("unassigned");
        u.comment = end_statement().comment_behind;
        return u;
    }

    // type = [ "repeated" ] name { "," ( "counted" "by" name | "out" "of" "order" ) }
    field_syntax field(const number_syntax &number)
    {
        field_syntax f;
        f.number = number;
        f.name = name("a member name or 'unassigned'");
        expect(":");
        if (at("repeated"))
            f.repeated = take().where;
        f.type = name("a type");
        while (accept(","))
            annotation(f);
        f.comment = end_statement().comment_behind;
        return f;
    }

    void annotation(field_syntax &f)
    {
        const place start = peek().where;
        if (accept("counted")) {
            check_first(!f.counted_by, start);
            expect("by");
            f.counted_by = name("the name of the count");
        } else if (accept("out")) {
            check_first(!f.out_of_order, start);
            expect("of");
            f.out_of_order = from_to(start, expect("order").where);
        } else {
            fail("expected 'counted by NAME' or 'out of order'");
        }
    }

    void check_first(bool is_first, const place &where)
    {
        if (!is_first)
            errors_.error(where, "this is said already");
    }

    name_syntax name(std::string_view what)
    {
        if (peek().kind != token_kind::word)
            fail(fmt::format("expected {}", what));
        const token &t = take();
        return {std::string(t.text), t.where};
    }

    number_syntax number()
    {
        if (peek().kind != token_kind::number)
            fail("expected a number");
        const token &t = take();
        return {t.number, t.where};
    }

    const token &peek() const { return tokens_[next_]; }

    const token &take() { return tokens_[next_ < tokens_.size() - 1 ? next_++ : next_]; }

    bool at(std::string_view text) const { return peek().text == text; }

    bool accept(std::string_view text)
    {
        if (!at(text))
            return false;
        take();
        return true;
    }

    const token &expect(std::string_view text)
    {
        if (!at(text))
            fail(fmt::format("expected '{}'", text));
        return take();
    }

    // The end of a statement. One that is forgotten at the end of a line or message is reported there, and costs no more.
    const token &end_statement()
    {
        const token &last = tokens_[next_ - 1];
        if (at(";"))
            return take();
        if (peek().kind == token_kind::end || !(is_at_line_end() || at("}")))
            fail("expected ';'");
        errors_.error(behind(last), "expected ';'");
        return last;
    }

    // Whether a statement breaks off at the end of a line.
    bool is_at_line_end() const
    {
        return next_ > statement_start_ && !is_on_one_line(tokens_[next_ - 1].where, peek().where);
    }

    static place behind(const token &t) { return {t.where.file, t.where.offset + t.where.length, 1}; }

    [[noreturn]] void fail(const std::string &expected)
    {
        const bool at_end = peek().kind == token_kind::end;
        const bool at_line_end = !at_end && is_at_line_end();
        if (at_line_end)
            errors_.error(behind(tokens_[next_ - 1]), "{}", expected);
        else if (!at_end)
            errors_.error(peek().where, "{}, not '{}'", expected, peek().text);
        else if (!said_that_file_ends_)
            errors_.error(peek().where, "{}, but the file ends", expected);
        said_that_file_ends_ |= at_end;
        throw broken_statement{at_line_end};
    }

    template <class Statement>
    void attempt(Statement parse_statement, void (parser::*skip)())
    {
        const std::size_t start = statement_start_ = next_;
        try {
            parse_statement();
        } catch (const broken_statement &broken) {
            if (next_ == start && !at_statement())
                take();
            else if (broken.at_line_end && peek().kind == token_kind::number)
                return; // the next line begins a row
            (this->*skip)();
        }
    }

    bool at_statement() const { return at("group") || at("use") || at("message") || peek().kind == token_kind::end; }

    // To behind the `;` or `}` that ends a statement of the file, or to where the next one starts.
    void skip_statement()
    {
        bool in_braces = false;
        while (!at_statement()) {
            const token &t = take();
            if (t.text == "}" || (t.text == ";" && !in_braces))
                return;
            in_braces = in_braces || t.text == "{";
        }
    }

    // To behind the `;` that ends a row, or to the end of the message.
    void skip_row()
    {
        while (!at_statement() && !at("}")) {
            if (take().text == ";")
                return;
        }
    }

    diagnostics &errors_;
    std::vector<token> tokens_;
    std::size_t next_ = 0;
    std::size_t statement_start_ = 0;
    bool said_that_file_ends_ = false;
};

} // namespace

file_syntax parse(const source_file &file, diagnostics &errors)
{
    return parser(file, errors).file();
}

} // namespace zidlc
