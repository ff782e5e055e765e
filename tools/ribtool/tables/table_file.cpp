#include "tools/ribtool/tables/table_file.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/tables/text_fields.hpp"

#include <algorithm>
#include <set>

namespace ribtool
{

namespace
{

constexpr std::string_view BLANKS = " \t\r\n";

// 16 hex digits, the first byte on the wire first.
std::optional<uint64_t> parse_extended_community(std::string_view text)
{
    return text.size() == 16 ? parse_number<uint64_t>(text, 16) : std::nullopt;
}

std::optional<uint32_t> parse_origin(std::string_view text)
{
    constexpr std::string_view ORIGINS[] = {"IGP", "EGP", "INC"};
    const auto found = std::find(std::begin(ORIGINS), std::end(ORIGINS), text);
    if (found == std::end(ORIGINS))
        return std::nullopt;
    return static_cast<uint32_t>(found - std::begin(ORIGINS));
}

std::string_view without_blanks_behind(std::string_view text)
{
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string_view without_blanks_around(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return without_blanks_behind(text);
}

} // namespace

const std::array<std::string_view, table_file::COLUMN_COUNT> table_file::COLUMN_NAMES = {
    "prefix",      "op",        "t_us", "peer_index", "age_s", "next_hop",    "origin",         "as_path_len",
    "neighbor_as", "origin_as", "med",  "local_pref", "flags", "communities", "ext_communities"};

bool is_table_text(byte_span start)
{
    std::string_view text = without_byte_order_mark({reinterpret_cast<const char *>(start.data()), start.size()});
    text.remove_prefix(std::min(text.find_first_not_of(BLANKS), text.size()));
    if (text.empty() || text.starts_with('#'))
        return true;
    const std::string_view word = text.substr(0, text.find_first_of(BLANKS));
    return word.find_first_not_of("0123456789abcdefABCDEF.:/") == std::string_view::npos &&
           word.find_first_of(".:") != std::string_view::npos;
}

std::string table_file::place_of(uint64_t number, uint64_t /*offset*/) const
{
    return input_.place_of(number);
}

std::vector<left_out> table_file::left_out_so_far() const
{
    std::vector<left_out> all = left_out_.list();
    for (const other_column &other : others_) {
        if (other.values > 0)
            all.push_back({other.values, fmt::format("values of column {}", shown_text(other.name))});
    }
    return all;
}

bool table_file::next_row(table_row &row)
{
    std::string_view line;
    while (input_.next_line(line)) {
        line = without_blanks_behind(line);
        if (input_.line_number() == 1 && line.starts_with('#')) {
            name_columns(line.substr(1));
            continue;
        }
        if (line.empty() || line.starts_with('#'))
            continue;
        parse_row(line, row);
        ++rows_;
        return true;
    }
    return false;
}

void table_file::name_columns(std::string_view line)
{
    split_cells(line);
    column_count_ = cells_.size();
    std::set<std::string_view> names; // a line may hold a hundred thousand
    for (size_t index = 0; index < cells_.size(); ++index) {
        const std::string_view name = without_blanks_around(cells_[index]);
        if (!names.insert(name).second)
            fail(EXIT_MALFORMED, "{}: two columns are named \"{}\"", input_.place(), shown_text(name));
        const auto found = std::find(COLUMN_NAMES.begin(), COLUMN_NAMES.end(), name);
        if (found != COLUMN_NAMES.end())
            indexes_[static_cast<size_t>(found - COLUMN_NAMES.begin())] = index;
        else
            others_.push_back({index, std::string(name)});
    }
    if (!has(PREFIX))
        fail(EXIT_MALFORMED, "{}: no column is named prefix", input_.place());
}

void table_file::split_cells(std::string_view line)
{
    cells_.clear();
    for (bool is_more = true; is_more;)
        cells_.push_back(next_field(line, '\t', is_more));
}

void table_file::parse_row(std::string_view line, table_row &row)
{
    row.number = input_.line_number();
    row.time_us = rows_; // a table without times gets one microsecond a row, so that the order stays visible
    row.is_whole = column_count_ == 0 || has(OP);
    if (column_count_ == 0) {
        parse_prefix_text(line, row);
        return;
    }
    split_cells(line);
    const std::string_view op = cell(OP).value_or("A");
    if (op != "A" && op != "W")
        bad_cell(OP, op);
    const bool is_withdrawn = op == "W";
    const size_t needed = is_withdrawn ? std::max(*indexes_[PREFIX], *indexes_[OP]) + 1 : column_count_;
    if (cells_.size() != needed)
        fail(EXIT_MALFORMED, "{}: {} columns, expected {}", input_.place(), cells_.size(), needed);
    parse_prefix_text(cell(PREFIX).value_or("-"), row);
    parse_time(row);
    count_other_values();
    if (!is_withdrawn)
        parse_path(row.paths.emplace_back());
}

void table_file::parse_prefix_text(std::string_view text, table_row &row) const
{
    const std::optional<ip_prefix> prefix = parse_prefix(text);
    if (!prefix)
        bad_cell(PREFIX, text);
    row.prefix = *prefix;
    ip_prefix masked = *prefix;
    mask_address(masked.address, masked.length);
    if (masked != *prefix)
        fail(EXIT_MALFORMED, "{}: \"{}\" has bits behind its length: {} has none", input_.place(), shown_text(text),
             prefix_text(masked));
}

void table_file::parse_time(table_row &row) const
{
    const auto text = cell(T_US);
    if (!text)
        return;
    const auto value = parse_number<uint64_t>(*text);
    if (!value || *value > uint64_t{UINT32_MAX} * 1000000)
        bad_cell(T_US, *text);
    row.time_us = *value;
}

void table_file::parse_path(table_path &path)
{
    path.peer_index = number_cell(PEER_INDEX);
    path.age_s = number_cell(AGE_S);
    if (const auto text = cell(NEXT_HOP)) {
        path.next_hop = parse_address(*text);
        if (!path.next_hop)
            bad_cell(NEXT_HOP, *text);
    }
    if (const auto text = cell(ORIGIN)) {
        path.origin = parse_origin(*text);
        if (!path.origin)
            bad_cell(ORIGIN, *text);
    }
    path.as_path_len = number_cell(AS_PATH_LEN);
    path.neighbor_as = number_cell(NEIGHBOR_AS);
    path.origin_as = number_cell(ORIGIN_AS);
    path.med = number_cell(MED);
    path.local_pref = number_cell(LOCAL_PREF);
    if (const auto text = cell(FLAGS)) {
        if (text->find_first_not_of("AG") != std::string_view::npos)
            bad_cell(FLAGS, *text);
        path.atomic_aggregate = text->find('A') != std::string_view::npos;
        path.aggregator = text->find('G') != std::string_view::npos;
    }
    parse_communities(path);
}

void table_file::parse_communities(table_path &path)
{
    const auto plain = cell(COMMUNITIES);
    const auto extended = cell(EXT_COMMUNITIES);
    if (plain && extended)
        left_out_.add("values of column communities beside ext_communities");
    path.communities_are = extended ? community_kind::extended : community_kind::widened;
    const auto text = extended ? extended : plain;
    if (!text)
        return;
    std::string_view rest = *text;
    for (bool is_more = true; is_more;) {
        const std::string_view part = next_field(rest, ' ', is_more);
        const auto value = extended ? parse_extended_community(part) : parse_community(part);
        if (!value)
            bad_cell(extended ? EXT_COMMUNITIES : COMMUNITIES, part);
        path.communities.push_back(*value);
    }
}

void table_file::count_other_values()
{
    for (other_column &other : others_)
        other.values += other.index < cells_.size() && cells_[other.index] != "-" ? 1 : 0;
}

// The text of the current line in a column; nothing when the column or the attribute is absent.
std::optional<std::string_view> table_file::cell(column which) const
{
    const std::optional<size_t> index = indexes_[which];
    if (!index || *index >= cells_.size() || cells_[*index] == "-")
        return std::nullopt;
    return cells_[*index];
}

std::optional<uint32_t> table_file::number_cell(column which) const
{
    const auto text = cell(which);
    if (!text)
        return std::nullopt;
    const auto value = parse_number<uint32_t>(*text);
    if (!value)
        bad_cell(which, *text);
    return value;
}

void table_file::bad_cell(column which, std::string_view text) const
{
    fail(EXIT_MALFORMED, "{}: bad {} \"{}\"", input_.place(), COLUMN_NAMES[which], shown_text(text));
}

} // namespace ribtool
