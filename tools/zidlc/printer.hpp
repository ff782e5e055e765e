// Text under construction: lines in the layout of the output, and tables whose columns align themselves.

#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zidlc
{

// No line of code is longer, in characters.
constexpr std::size_t widest_line = 140;

// Rows whose cells end at a tab. Every cell is padded to the widest of its column; what separates columns (blanks,
// commas) stands in the rows themselves, so that a row looks like the line that it yields:
//     rows.add("{}\t{};\t // {}", type, member, number);
// A cell may end at a vertical tab instead: where some row is too wide for a line, all of them go on below, from there.
class table
{
public:
    template <class... Args>
    void add(fmt::format_string<Args...> text, Args &&...args)
    {
        add_row(fmt::format(text, std::forward<Args>(args)...));
    }

    // A line among the rows that takes no part in their columns.
    void add_line(std::string line) { rows_.push_back({{}, 0, std::move(line)}); }

    bool empty() const { return rows_.empty(); }

    // Whether no row is wider than a line.
    bool fits() const;

    // The aligned rows, without blanks at their ends, for lines of `width` characters.
    std::vector<std::string> lines(std::size_t width = widest_line) const;

private:
    struct row {
        std::vector<std::string> cells;
        std::size_t may_break = 0; // the cell that may begin a line of its own; 0: none
        std::string line;          // instead of cells
    };

    void add_row(const std::string &text);

    std::vector<row> rows_;
};

// `items` between `head` and `tail` in as many lines as it takes, each but the first indented as wide as `head`. The lines will
// stand behind `indent` more blanks.
std::vector<std::string> filled(std::string head, const std::vector<std::string> &items, std::string_view separator,
                                std::string_view tail, std::size_t indent = 0);

class printer
{
public:
    template <class... Args>
    void line(fmt::format_string<Args...> text, Args &&...args)
    {
        add_line(fmt::format(text, std::forward<Args>(args)...));
    }

    // A blank line.
    void line() { text_ += '\n'; }

    // `items` with commas between `head` and `tail`.
    void list(std::string head, const std::vector<std::string> &items, std::string_view tail);

    // Text that is already laid out: one or more whole lines, each ended by a newline.
    void raw(std::string_view lines) { text_ += lines; }

    // The rows of a table, each behind `indent`.
    void block(const table &rows, std::string_view indent = "");

    std::string take() { return std::move(text_); }

private:
    void add_line(std::string_view line);

    std::string text_;
};

} // namespace zidlc
