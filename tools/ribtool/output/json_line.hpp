// One JSON object, written member by member in the order of the calls. Its memory serves the next line, too.

#pragma once

#include "inspect/formats/json_text.hpp"

#include <concepts>
#include <string>
#include <string_view>

namespace ribtool
{

class json_line
{
public:
    void clear() { text_.clear(); }

    void add_number(std::string_view name, std::integral auto number)
    {
        begin_member(name);
        rib_inspect::append_number(text_, number);
    }
    void add_bool(std::string_view name, bool value)
    {
        begin_member(name);
        rib_inspect::append_bool(text_, value);
    }
    void add_text(std::string_view name, std::string_view text)
    {
        begin_member(name);
        rib_inspect::append_string(text_, text);
    }
    void add_null(std::string_view name)
    {
        begin_member(name);
        text_ += "null";
    }

    // For a value that somebody else appends.
    std::string &add(std::string_view name)
    {
        begin_member(name);
        return text_;
    }

    // A member that is an object itself: what is added up to end_object() is in it.
    void begin_object(std::string_view name)
    {
        begin_member(name);
        text_ += '{';
    }
    void end_object() { text_ += '}'; }

    // A list of objects.
    void begin_list(std::string_view name)
    {
        begin_member(name);
        text_ += '[';
    }
    void begin_element() { text_ += text_.back() == '[' ? "{" : ",{"; }
    void end_list() { text_ += ']'; }

    // The whole line. Nothing is added after that until clear().
    std::string_view finished()
    {
        text_ += text_.empty() ? "{}\n" : "}\n";
        return text_;
    }

private:
    void begin_member(std::string_view name)
    {
        if (text_.empty())
            text_ += '{';
        else if (text_.back() != '{')
            text_ += ',';
        text_ += '"';
        text_ += name;
        text_ += "\":";
    }

    std::string text_;
};

// An assertion as __assert_fail reports it.
template <class Assertion>
void add_assertion(json_line &line, const Assertion &assertion)
{
    line.begin_object("assertion");
    line.add_text("expression", assertion.expression);
    line.add_text("file", assertion.file);
    line.add_number("line", assertion.line);
    line.add_text("function", assertion.function);
    line.end_object();
}

} // namespace ribtool
