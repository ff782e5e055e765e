// Text under construction.

#include "tools/zidlc/printer.hpp"

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

std::size_t text_width(std::string_view text)
{
    std::size_t width = 0;
    for (const char c : text)
        width += (static_cast<unsigned char>(c) & 0xc0u) != 0x80u;
    return width;
}

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

std::vector<std::string> wrap(std::string_view words, std::size_t width)
{
    std::vector<std::string> lines;
    std::size_t start = 0;
    while ((start = words.find_first_not_of(' ', start)) != std::string_view::npos) {
        const std::size_t end = std::min(words.find(' ', start), words.size());
        const std::string_view word = words.substr(start, end - start);
        if (!lines.empty() && text_width(lines.back()) + 1 + text_width(word) <= width)
            lines.back().append(" ").append(word);
        else
            lines.emplace_back(word);
        start = end;
    }
    return lines;
}

std::string enumeration(const std::vector<std::string> &items, std::string_view last_separator)
{
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0)
            text += i + 1 == items.size() ? last_separator : std::string_view(", ");
        text += items[i];
    }
    return text;
}

std::string joined(const std::vector<std::string> &items, std::string_view separator)
{
    return fmt::format("{}", fmt::join(items, separator));
}

std::string in_quotes(std::string_view name)
{
    return fmt::format("'{}'", name);
}

} // namespace zidlc
