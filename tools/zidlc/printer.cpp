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

std::vector<std::string> filled(std::string head, const std::vector<std::string> &items, std::string_view separator,
                                std::string_view tail, std::size_t indent)
{
    const std::string margin(head.size(), ' ');
    std::vector<std::string> lines;
    std::string line = std::move(head);
    for (std::size_t i = 0; i < items.size(); ++i) {
        const bool is_last = i + 1 == items.size();
        const std::string item = items[i] + std::string(is_last ? tail : separator);
        if (line.size() > margin.size() && indent + line.size() + item.size() > widest_line + (item.back() == ' ')) {
            line.erase(line.find_last_not_of(' ') + 1);
            lines.push_back(std::exchange(line, margin));
        }
        line += item;
    }
    lines.push_back(items.empty() ? line + std::string(tail.substr(tail.find_first_not_of(' '))) : line);
    return lines;
}

void printer::list(std::string head, const std::vector<std::string> &items, std::string_view tail)
{
    for (const std::string &line : filled(std::move(head), items, ", ", tail))
        add_line(line);
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
