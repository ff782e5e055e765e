// Places in schema files and the errors found there.

#include "tools/zidlc/source.hpp"

#include "tools/zidlc/printer.hpp"

#include <algorithm>

namespace zidlc
{

namespace
{

// A line without its end, whichever end it has.
std::string_view line_around(std::string_view text, std::size_t offset)
{
    const std::size_t before = offset == 0 ? std::string_view::npos : text.rfind('\n', offset - 1);
    const std::size_t start = before == std::string_view::npos ? 0 : before + 1;
    std::string_view line = text.substr(start, text.find('\n', offset) - start);
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return line;
}

// Blanks as wide as the text, tabs kept so that the caret stands below its place on any terminal.
std::string blanks_below(std::string_view text)
{
    std::string blanks;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text_width(text.substr(i, 1)) == 1)
            blanks += text[i] == '\t' ? '\t' : ' ';
    }
    return blanks;
}

std::string described(const place &where, std::string_view message)
{
    const std::string_view text = where.file->text;
    const std::string_view line = line_around(text, where.offset);
    const std::size_t line_start = static_cast<std::size_t>(line.data() - text.data());
    const std::string_view before = line.substr(0, where.offset - line_start);
    const std::string_view marked = line.substr(before.size(), where.length);
    const auto line_number = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(line_start), '\n');
    const std::size_t width = std::max<std::size_t>(text_width(marked), 1);

    return fmt::format("{}:{}:{}: error: {}\n{}\n{}^{}\n", where.file->path, line_number, text_width(before) + 1,
                       message, line, blanks_below(before), std::string(width - 1, '~'));
}

} // namespace

void diagnostics::add(const place &where, std::string text)
{
    reports_.push_back({where, std::move(text)});
}

std::string diagnostics::text() const
{
    std::vector<const source_file *> files;
    for (const report &each : reports_) {
        if (std::find(files.begin(), files.end(), each.where.file) == files.end())
            files.push_back(each.where.file);
    }

    std::vector<report> sorted = reports_;
    const auto file_index = [&](const report &r) { return std::find(files.begin(), files.end(), r.where.file); };
    std::stable_sort(sorted.begin(), sorted.end(), [&](const report &a, const report &b) {
        return std::pair(file_index(a), a.where.offset) < std::pair(file_index(b), b.where.offset);
    });

    std::string all;
    for (const report &each : sorted)
        all += described(each.where, each.text);
    return all;
}

} // namespace zidlc
