#include "tools/ribtool/tables/table_file.hpp"

#include "tools/ribtool/errors.hpp"

#include <algorithm>
#include <charconv>
#include <utility>

namespace ribtool
{

namespace
{

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    while (true) {
        const size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos)
            return parts;
        text.remove_prefix(end + 1);
    }
}

template <class Number>
std::optional<Number> parse_number(std::string_view text, int base = 10)
{
    Number value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size())
        return std::nullopt;
    return value;
}

// "asn:value", 16 bits each, in the low half of 64.
std::optional<uint64_t> parse_community(std::string_view text)
{
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    const auto owner = parse_number<uint16_t>(text.substr(0, colon));
    const auto value = parse_number<uint16_t>(text.substr(colon + 1));
    if (!owner || !value)
        return std::nullopt;
    return uint64_t{*owner} << 16 | *value;
}

// 16 hex digits, the first byte on the wire first.
std::optional<uint64_t> parse_extended_community(std::string_view text)
{
    return text.size() == 16 ? parse_number<uint64_t>(text, 16) : std::nullopt;
}

// A piece of the input as an error shows it: the file may be anything.
std::string shown(std::string_view text)
{
    constexpr size_t MOST_SHOWN = 60;
    std::string result(text.substr(0, MOST_SHOWN));
    std::replace_if(
        result.begin(), result.end(), [](char character) { return character < ' ' || character > '~'; }, '?');
    return text.size() > MOST_SHOWN ? result + "..." : result;
}

std::optional<uint32_t> parse_origin(std::string_view text)
{
    constexpr std::string_view ORIGINS[] = {"IGP", "EGP", "INC"};
    const auto found = std::find(std::begin(ORIGINS), std::end(ORIGINS), text);
    if (found == std::end(ORIGINS))
        return std::nullopt;
    return static_cast<uint32_t>(found - std::begin(ORIGINS));
}

} // namespace

bool is_table_text(byte_span start)
{
    std::string_view text = without_byte_order_mark({reinterpret_cast<const char *>(start.data()), start.size()});
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    if (text.empty() || text.starts_with('#'))
        return true;
    const std::string_view word = text.substr(0, text.find_first_of(" \t\r\n"));
    return word.find_first_not_of("0123456789abcdefABCDEF.:/") == std::string_view::npos &&
           word.find_first_of(".:") != std::string_view::npos;
}

bool table_file::next(table_route &route, uint64_t &time_us)
{
    row current;
    if (waiting_)
        current = *std::exchange(waiting_, std::nullopt);
    else if (!next_row(current))
        return false;

    route.prefix = current.prefix;
    route.paths.clear();
    time_us = current.time_us;
    place_ = current.place;
    if (current.path)
        route.paths.push_back(*std::move(current.path));
    if (is_stream_ || columns_.empty())
        return true;

    row following;
    while (next_row(following)) {
        if (following.prefix_text != current.prefix_text) {
            waiting_ = std::move(following);
            break;
        }
        place_ = following.place;
        if (route.paths.size() == MAX_PATHS)
            fail(EXIT_MALFORMED, "{}: the route has more than {} paths, and no frame holds them", place_, MAX_PATHS);
        route.paths.push_back(*std::move(following.path));
    }
    return true;
}

bool table_file::next_row(row &out)
{
    std::string_view line;
    while (input_.next_line(line)) {
        if (input_.line_number() == 1 && line.starts_with('#')) {
            name_columns(line.substr(1));
            continue;
        }
        if (line.empty() || line.starts_with('#'))
            continue;
        out = parse_row(line);
        ++rows_;
        return true;
    }
    return false;
}

void table_file::name_columns(std::string_view line)
{
    for (const std::string_view name : split(line, '\t'))
        columns_.emplace_back(name);
    const auto has = [&](std::string_view name) {
        return std::find(columns_.begin(), columns_.end(), name) != columns_.end();
    };
    if (!has("prefix"))
        fail(EXIT_MALFORMED, "{}: no column is named prefix", input_.place());
    is_stream_ = has("op");
}

table_file::row table_file::parse_row(std::string_view line)
{
    row parsed;
    parsed.place = input_.place();
    cells_ = split(line, '\t');
    std::string_view prefix_text = line;
    bool withdrawn = false;
    if (!columns_.empty()) {
        const std::string_view op = cell("op").value_or("A");
        if (op != "A" && op != "W")
            bad_cell("op", op);
        withdrawn = op == "W";
        const size_t needed =
            withdrawn
                ? static_cast<size_t>(std::find(columns_.begin(), columns_.end(), "prefix") - columns_.begin()) + 1
                : columns_.size();
        if (cells_.size() != needed)
            fail(EXIT_MALFORMED, "{}: {} columns, expected {}", parsed.place, cells_.size(), needed);
        prefix_text = cell("prefix").value_or("-");
    }
    const std::optional<ip_prefix> prefix = parse_prefix(prefix_text);
    if (!prefix)
        bad_cell("prefix", prefix_text);
    parsed.prefix = *prefix;
    parsed.prefix_text = prefix_text;

    // A table without times gets one microsecond a row, so that the order stays visible.
    parsed.time_us = rows_;
    if (const auto time = cell("t_us")) {
        const auto value = parse_number<uint64_t>(*time);
        if (!value || *value > uint64_t{UINT32_MAX} * 1000000)
            bad_cell("t_us", *time);
        parsed.time_us = *value;
    }
    if (!withdrawn && !columns_.empty())
        parsed.path = parse_path();
    return parsed;
}

std::optional<table_path> table_file::parse_path()
{
    table_path path;
    path.peer_index = number_cell("peer_index");
    path.age_s = number_cell("age_s");
    if (const auto text = cell("next_hop")) {
        path.next_hop = parse_address(*text);
        if (!path.next_hop)
            bad_cell("next_hop", *text);
    }
    if (const auto text = cell("origin")) {
        path.origin = parse_origin(*text);
        if (!path.origin)
            bad_cell("origin", *text);
    }
    path.as_path_len = number_cell("as_path_len");
    path.neighbor_as = number_cell("neighbor_as");
    path.origin_as = number_cell("origin_as");
    path.med = number_cell("med");
    path.local_pref = number_cell("local_pref");
    if (const auto text = cell("flags")) {
        if (text->find_first_not_of("AG") != std::string_view::npos)
            bad_cell("flags", *text);
        path.atomic_aggregate = text->find('A') != std::string_view::npos;
        path.aggregator = text->find('G') != std::string_view::npos;
    }
    parse_communities(path);
    return path;
}

void table_file::parse_communities(table_path &path) const
{
    const auto plain = cell("communities");
    const auto extended = cell("ext_communities");
    const std::string_view column = extended ? "ext_communities" : "communities";
    path.communities_are = extended ? community_kind::extended : community_kind::widened;
    const auto text = extended ? extended : plain;
    if (!text)
        return;
    for (const std::string_view part : split(*text, ' ')) {
        const auto value = extended ? parse_extended_community(part) : parse_community(part);
        if (!value)
            bad_cell(column, part);
        path.communities.push_back(*value);
    }
}

// The text of the current line in a column; nothing when the column or the attribute is absent.
std::optional<std::string_view> table_file::cell(std::string_view column) const
{
    const auto found = std::find(columns_.begin(), columns_.end(), column);
    const size_t index = static_cast<size_t>(found - columns_.begin());
    if (index >= columns_.size() || index >= cells_.size() || cells_[index] == "-")
        return std::nullopt;
    return cells_[index];
}

std::optional<uint32_t> table_file::number_cell(std::string_view column) const
{
    const auto text = cell(column);
    if (!text)
        return std::nullopt;
    const auto value = parse_number<uint32_t>(*text);
    if (!value)
        bad_cell(column, *text);
    return value;
}

void table_file::bad_cell(std::string_view column, std::string_view text) const
{
    fail(EXIT_MALFORMED, "{}: bad {} \"{}\"", input_.place(), column, shown(text));
}

} // namespace ribtool
