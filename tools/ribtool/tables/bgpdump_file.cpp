#include "tools/ribtool/tables/bgpdump_file.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/tables/as_path.hpp"
#include "tools/ribtool/tables/text_fields.hpp"

#include <algorithm>

namespace ribtool
{

namespace
{

// Behind the kind of line: time, B, A, W or STATE, the peer's address and AS, the prefix, what a path has.
enum field_index : size_t { KIND, TIME, OPERATION, PEER_ADDRESS, PEER_AS, PREFIX, BEHIND_PREFIX };

constexpr std::string_view TABLE_KIND = "TABLE_DUMP";
constexpr std::string_view UPDATE_KIND = "BGP4MP";
constexpr std::string_view NO_NEXT_HOP = "255.255.255.255"; // in lines of either family
constexpr std::string_view PATH_ID_MARK = "_AP"; // at the end of a kind: an identifier of the path follows the prefix

struct named_community {
    std::string_view name;
    uint64_t value;
};
constexpr named_community NAMED_COMMUNITIES[] = {
    {"no-export", 0xffffff01}, {"no-advertise", 0xffffff02}, {"local-AS", 0xffffff03}};

struct named_origin {
    std::string_view name;
    uint32_t value;
};
constexpr named_origin ORIGINS[] = {{"IGP", 0}, {"EGP", 1}, {"INCOMPLETE", 2}};

} // namespace

bool is_bgpdump(byte_span start)
{
    const std::string_view text = without_byte_order_mark({reinterpret_cast<const char *>(start.data()), start.size()});
    return text.starts_with(TABLE_KIND) || text.starts_with(UPDATE_KIND);
}

std::string bgpdump_file::place_of(uint64_t number, uint64_t /*offset*/) const
{
    return input_.place_of(number);
}

bool bgpdump_file::next_row(table_row &row)
{
    std::string_view line;
    while (input_.next_line(line)) {
        if (!line.empty() && parse_line(line, row))
            return true;
    }
    return false;
}

// Whether there is a row of it.
bool bgpdump_file::parse_line(std::string_view line, table_row &row)
{
    fields_.clear();
    for (bool is_more = true; is_more;)
        fields_.push_back(next_field(line, '|', is_more));
    const std::string_view kind = fields_[KIND];
    const bool is_table = kind.starts_with(TABLE_KIND);
    if (!is_table && !kind.starts_with(UPDATE_KIND))
        bad_field("kind of line", kind);
    row.number = input_.line_number();
    row.is_whole = !is_table;
    parse_time(field(TIME, "time"), row);
    const std::string_view operation = field(OPERATION, "operation");
    if (operation == "STATE") {
        left_out_.add("lines STATE");
        return false;
    }
    const bool is_withdrawn = !is_table && operation == "W";
    if (!is_withdrawn && operation != (is_table ? "B" : "A"))
        bad_field("operation", operation);
    const uint32_t peer = parse_peer(field(PEER_ADDRESS, "peer's address"), field(PEER_AS, "peer's AS"));
    parse_prefix_field(field(PREFIX, "prefix"), row);
    const bool has_path_id = kind.ends_with(PATH_ID_MARK);
    if (has_path_id)
        left_out_.add("path identifiers");
    if (is_withdrawn)
        return true;
    row.paths.push_back(parse_path(BEHIND_PREFIX + (has_path_id ? 1 : 0)));
    row.paths.back().peer_index = peer;
    return true;
}

// Seconds since 1970, with microseconds behind a point or not.
void bgpdump_file::parse_time(std::string_view text, table_row &row) const
{
    if (text.find('/') != std::string_view::npos)
        fail(EXIT_MALFORMED, "{}: a line of bgpdump -M, of which import reads what bgpdump -m prints", input_.place());
    bool has_fraction = false;
    std::string_view rest = text;
    const auto seconds = parse_number<uint32_t>(next_field(rest, '.', has_fraction));
    const auto microseconds = has_fraction ? parse_number<uint32_t>(rest) : 0;
    if (!seconds || !microseconds || (has_fraction && rest.size() != 6))
        bad_field("time", text);
    row.time_us = uint64_t{*seconds} * 1000000 + *microseconds;
}

uint32_t bgpdump_file::parse_peer(std::string_view address, std::string_view as_number)
{
    const auto parsed = parse_address(address);
    if (!parsed)
        bad_field("peer's address", address);
    const auto number = parse_number<uint32_t>(as_number);
    if (!number)
        bad_field("peer's AS", as_number);
    return peers_.number_of(*parsed, *number);
}

// Bits behind the length, which mean nothing in messages, are printed, too.
void bgpdump_file::parse_prefix_field(std::string_view text, table_row &row) const
{
    const auto prefix = parse_prefix(text);
    if (!prefix)
        bad_field("prefix", text);
    row.prefix = *prefix;
    mask_address(row.prefix.address, row.prefix.length);
}

// AS path, origin, next hop, local preference, metric, communities (with -l large ones, too), AG or NAG, aggregator. A metric that
// is absent is printed as 0: 0 is taken for absent, and so is a local preference of 0. A next hop that is absent has a mark, too.
table_path bgpdump_file::parse_path(size_t first)
{
    table_path path;
    const std::string_view as_path_text = field(first, "AS path");
    const auto parsed = parse_as_path(as_path_text);
    if (!parsed)
        bad_field("AS path", as_path_text);
    set_as_path(path, *parsed);
    const std::string_view origin = field(first + 1, "origin");
    const auto found = std::find_if(std::begin(ORIGINS), std::end(ORIGINS),
                                    [&](const named_origin &each) { return each.name == origin; });
    if (found == std::end(ORIGINS))
        bad_field("origin", origin);
    path.origin = found->value;
    const std::string_view next_hop = field(first + 2, "next hop");
    if (next_hop != NO_NEXT_HOP)
        path.next_hop = parse_address(next_hop);
    if (!path.next_hop && !next_hop.empty() && next_hop != NO_NEXT_HOP)
        bad_field("next hop", next_hop);
    const auto number = [&](size_t index, const char *name) {
        const std::string_view text = field(index, name);
        const auto value = parse_number<uint32_t>(text);
        if (!value)
            bad_field(name, text);
        return *value == 0 ? std::nullopt : value;
    };
    path.local_pref = number(first + 3, "local preference");
    path.med = number(first + 4, "metric");
    parse_communities(field(first + 5, "communities"), path);
    parse_aggregation(first + 6, path);
    return path;
}

void bgpdump_file::parse_communities(std::string_view text, table_path &path) const
{
    for (bool is_more = !text.empty(); is_more;) {
        const std::string_view part = next_field(text, ' ', is_more);
        const auto named = std::find_if(std::begin(NAMED_COMMUNITIES), std::end(NAMED_COMMUNITIES),
                                        [&](const named_community &each) { return each.name == part; });
        const auto value = named != std::end(NAMED_COMMUNITIES) ? named->value : parse_community(part);
        if (!value)
            bad_field("community", part);
        path.communities.push_back(*value);
    }
}

void bgpdump_file::parse_aggregation(size_t first, table_path &path)
{
    size_t index = first;
    const auto is_mark = [](std::string_view text) { return text == "AG" || text == "NAG"; };
    if (!is_mark(field(index, "aggregation"))) {
        ++index;
        if (!is_mark(field(index, "aggregation")))
            bad_field("aggregation", fields_[first]);
        if (!fields_[first].empty())
            left_out_.add("lists of large communities");
    }
    path.atomic_aggregate = fields_[index] == "AG";
    path.aggregator = !field(index + 1, "aggregator").empty();
}

std::string_view bgpdump_file::field(size_t index, const char *name) const
{
    if (index >= fields_.size())
        fail(EXIT_MALFORMED, "{}: ends after {} fields, in front of the {}", input_.place(), fields_.size(), name);
    return fields_[index];
}

void bgpdump_file::bad_field(const char *name, std::string_view text) const
{
    fail(EXIT_MALFORMED, "{}: bad {} \"{}\"", input_.place(), name, shown_text(text));
}

} // namespace ribtool
