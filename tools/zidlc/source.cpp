// Places in schema files and the errors found there.

#include "tools/zidlc/source.hpp"

#include "tools/terminal/terminal.hpp"
#include "tools/zidlc/text.hpp"

#include <algorithm>
#include <tuple>
#include <vector>

namespace zidlc
{

namespace
{

constexpr std::size_t longest_text = 400;  // bytes of a message, which may cite words of the schema
constexpr std::size_t shown_beside = 100;  // bytes of the line, to either side of the place
constexpr std::size_t shown_of_place = 60; // bytes
constexpr std::string_view left_out = "...";

bool is_inside_character(std::string_view text, std::size_t offset)
{
    return offset < text.size() && (static_cast<unsigned char>(text[offset]) & 0xc0u) == 0x80u;
}

// The start of the text, cut between characters.
std::string_view start_of(std::string_view text, std::size_t most)
{
    if (text.size() <= most)
        return text;
    while (most > 0 && is_inside_character(text, most))
        --most;
    return text.substr(0, most);
}

// The end of the text, cut between characters.
std::string_view end_of(std::string_view text, std::size_t most)
{
    std::size_t start = text.size() - std::min(text.size(), most);
    while (is_inside_character(text, start))
        ++start;
    return text.substr(start);
}

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

std::string described(const place &where, const terminal::painter &paint, terminal::style tone,
                      std::string_view severity, std::string_view message)
{
    const std::string_view text = where.file->text;
    const std::string_view line = line_around(text, where.offset);
    const std::size_t line_start = static_cast<std::size_t>(line.data() - text.data());
    const std::string_view before = line.substr(0, where.offset - line_start);
    const std::string_view marked = line.substr(before.size(), where.length);
    const auto line_number = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(line_start), '\n');
    const std::string_view behind = line.substr(before.size() + marked.size());

    const std::string_view shown_place = start_of(marked, shown_of_place);
    const std::string_view shown_behind = start_of(shown_place.size() < marked.size() ? "" : behind, shown_beside);
    const std::string_view shown_before = end_of(before, shown_beside);
    const std::string start = fmt::format("{}{}", shown_before.size() < before.size() ? left_out : "", shown_before);
    const bool is_cut = before.size() + shown_place.size() + shown_behind.size() < line.size();
    const std::size_t width = std::max<std::size_t>(text_width(shown_place), 1);
    const std::string place_text =
        fmt::format("{}:{}:{}:", terminal::masked(where.file->path), line_number, text_width(before) + 1);
    return fmt::format("{} {} {}\n{}{}{}{}\n{}{}\n", paint(terminal::style::bold, place_text),
                       paint(tone, fmt::format("{}:", severity)), terminal::masked(message), terminal::masked(start),
                       terminal::masked(shown_place), terminal::masked(shown_behind), is_cut ? left_out : "",
                       blanks_below(start),
                       paint(terminal::style::green, fmt::format("^{}", std::string(width - 1, '~'))));
}

} // namespace

void diagnostics::add(report added)
{
    ++count_;
    if (reports_.size() == most_reports)
        return;
    if (added.text.size() > longest_text)
        added.text = fmt::format("{}{}", start_of(added.text, longest_text), left_out);
    reports_.push_back(std::move(added));
}

std::string diagnostics::text(bool in_color) const
{
    const terminal::painter paint(in_color);
    std::vector<const source_file *> files;
    for (const report &each : reports_) {
        if (std::find(files.begin(), files.end(), each.where.file) == files.end())
            files.push_back(each.where.file);
    }

    std::vector<const report *> sorted;
    for (const report &each : reports_)
        sorted.push_back(&each);
    // What is said of one place stays in its order, which is that of the addresses. (A stable sort of the standard library
    // uses what its headers call deprecated, and newer compilers warn of it.)
    const auto place = [&](const report *r) {
        return std::tuple(std::find(files.begin(), files.end(), r->where.file), r->where.offset, r);
    };
    std::sort(sorted.begin(), sorted.end(), [&](const report *a, const report *b) { return place(a) < place(b); });

    std::string all;
    for (const report *each : sorted) {
        all += described(each->where, paint, terminal::style::red, "error", each->text);
        if (each->other)
            all += described(each->other->where, paint, terminal::style::cyan, "note", each->other->text);
    }
    return all;
}

} // namespace zidlc
