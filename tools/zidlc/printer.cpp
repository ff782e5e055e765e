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
    for (std::size_t end; (end = text.find_first_of("\t\v", start)) != std::string::npos; start = end + 1) {
        added.cells.push_back(text.substr(start, end - start));
        if (text[end] == '\v')
            added.may_break = added.cells.size();
    }
    added.cells.push_back(text.substr(start));
    rows_.push_back(std::move(added));
}

std::vector<std::string> table::lines(std::size_t width) const
{
    std::vector<std::size_t> widths;
    for (const row &each : rows_) {
        widths.resize(std::max(widths.size(), each.cells.size()));
        for (std::size_t i = 0; i < each.cells.size(); ++i)
            widths[i] = std::max(widths[i], text_width(each.cells[i]));
    }
    const auto aligned = [&](const row &each, std::size_t first, std::size_t last) {
        std::string line;
        for (std::size_t i = first; i < last; ++i)
            line += each.cells[i] + std::string(widths[i] - text_width(each.cells[i]), ' ');
        trim_end(line);
        return line;
    };
    const bool is_too_wide = std::any_of(rows_.begin(), rows_.end(), [&](const row &each) {
        return each.may_break != 0 && text_width(aligned(each, 0, each.cells.size())) > width;
    });

    std::vector<std::string> lines;
    for (const row &each : rows_) {
        if (each.cells.empty()) {
            lines.push_back(each.line);
        } else if (is_too_wide && each.may_break != 0) {
            lines.push_back(aligned(each, 0, each.may_break));
            const std::string rest = aligned(each, each.may_break, each.cells.size());
            lines.push_back("    " + rest.substr(std::min(rest.find_first_not_of(' '), rest.size())));
        } else {
            lines.push_back(aligned(each, 0, each.cells.size()));
        }
    }
    return lines;
}

bool table::fits() const
{
    const std::vector<std::string> all = lines();
    return std::all_of(all.begin(), all.end(), [](const std::string &line) { return text_width(line) <= widest_line; });
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
    for (const std::string &row : rows.lines(widest_line - indent.size()))
        add_line(row.empty() ? row : std::string(indent) + row);
}

void printer::add_line(std::string_view line)
{
    text_ += line;
    text_ += '\n';
}

} // namespace zidlc
