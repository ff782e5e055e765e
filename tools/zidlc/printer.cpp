// Text under construction.

#include "tools/zidlc/printer.hpp"

#include "tools/zidlc/text.hpp"

#include <algorithm>

namespace zidlc
{

namespace
{

void trim_end(std::string &text)
{
    text.erase(text.find_last_not_of(' ') + 1);
}

} // namespace

void table::add_row(const std::string &text)
{
    row added;
    std::size_t start = 0;
    for (std::size_t tab = text.find('\t'); tab != std::string::npos; tab = text.find('\t', start)) {
        added.cells.push_back(text.substr(start, tab - start));
        start = tab + 1;
    }
    added.cells.push_back(text.substr(start));
    rows_.push_back(std::move(added));
}

std::vector<std::string> table::lines() const
{
    std::vector<std::size_t> widths;
    for (const row &each : rows_) {
        widths.resize(std::max(widths.size(), each.cells.size()));
        for (std::size_t i = 0; i < each.cells.size(); ++i)
            widths[i] = std::max(widths[i], text_width(each.cells[i]));
    }

    std::vector<std::string> lines;
    for (const row &each : rows_) {
        std::string line = each.line;
        for (std::size_t i = 0; i < each.cells.size(); ++i)
            line += each.cells[i] + std::string(widths[i] - text_width(each.cells[i]), ' ');
        trim_end(line);
        lines.push_back(std::move(line));
    }
    return lines;
}

void printer::block(const table &rows, std::string_view indent)
{
    for (const std::string &row : rows.lines())
        add_line(row.empty() ? row : std::string(indent) + row);
}

void printer::add_line(std::string_view line)
{
    text_ += line;
    text_ += '\n';
}

} // namespace zidlc
