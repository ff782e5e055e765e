#include "tools/ribtool/stats/stats_formats.hpp"
#include "tools/terminal/terminal.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <bit>

namespace ribtool
{

namespace
{

using nanoseconds = std::chrono::nanoseconds;

// Per update, rounded.
uint64_t each(uint64_t sum, uint64_t updates)
{
    return updates == 0 ? 0 : (sum + updates / 2) / updates;
}

std::string_view reason_text(const stats_key &key)
{
    return key.reason == RIB_REASON_none ? "" : rib_reason_name(key.reason);
}

// Of the columns whose texts have many lengths.
struct text_widths {
    size_t name = std::string_view("update").size();
    size_t reason = std::string_view("reason").size();
};

text_widths widths_of(const update_stats &stats)
{
    text_widths widths;
    for (const auto &[key, counts] : stats.rows()) {
        widths.name = std::max(widths.name, type_name(key.code).size());
        widths.reason = std::max(widths.reason, reason_text(key).size());
    }
    return widths;
}

void append_row(std::string &to, const text_widths &widths, std::string_view code, std::string_view name,
                std::string_view outcome, std::string_view reason, const stats_counts &counts)
{
    const time_histogram &times = counts.times;
    const double allocations =
        times.count() == 0 ? 0 : static_cast<double>(counts.allocations.number) / static_cast<double>(times.count());
    to += fmt::format("  {:>5} {:<{}} {:<9} {:<{}} {:>9} {:>12} {:>8} {:>8} {:>9} {:>7.1f} {:>9} {:>9}\n", code, name,
                      widths.name, outcome, reason, widths.reason, counts.updates, counts.bytes,
                      times.quantile(0.5).count(), times.quantile(0.99).count(), times.longest().count(), allocations,
                      each(counts.allocations.bytes, times.count()), each(counts.record_bytes, counts.updates));
}

void append_table(std::string &to, const update_stats &stats)
{
    const text_widths widths = widths_of(stats);
    to += fmt::format("  {:>5} {:<{}} {:<9} {:<{}} {:>9} {:>12} {:>8} {:>8} {:>9} {:>7} {:>9} {:>9}\n", "code",
                      "update", widths.name, "outcome", "reason", widths.reason, "updates", "bytes", "p50 ns", "p99 ns",
                      "most ns", "allocs", "allocated", "record");
    for (const auto &[key, counts] : stats.rows())
        append_row(to, widths, std::to_string(key.code), type_name(key.code), rib_outcome_name(key.outcome),
                   reason_text(key), counts);
    append_row(to, widths, "", "all", "", "", stats.total());
}

constexpr size_t LINE_COLUMNS = 110;

// Entries one behind the other, in as many lines as they take; none for none.
void append_list(std::string &to, std::string_view title, const std::vector<std::string> &entries)
{
    std::string line;
    for (const std::string &entry : entries) {
        if (!line.empty() && line.size() + entry.size() + 2 > LINE_COLUMNS) {
            to += line + '\n';
            line.clear();
        }
        if (line.empty())
            line = fmt::format("  {:<15}", &entry == entries.data() ? title : "");
        line += "  " + entry;
    }
    if (!line.empty())
        to += line + '\n';
}

template <class Lengths>
void append_lengths(std::string &to, std::string_view title, const Lengths &lengths)
{
    std::vector<std::string> entries;
    for (size_t len = 0; len < lengths.size(); ++len) {
        if (lengths[len] != 0)
            entries.push_back(len == route_shapes::NO_LENGTH ? fmt::format("no length: {}", lengths[len])
                                                             : fmt::format("/{}: {}", len, lengths[len]));
    }
    append_list(to, title, entries);
}

// 0, 1, 2, 3-4, 5-8 and so on.
void append_paths(std::string &to, const std::vector<uint64_t> &path_counts)
{
    std::vector<std::string> entries;
    for (size_t first = 0; first < path_counts.size();) {
        const size_t last = first == 0 ? 0 : std::bit_ceil(first);
        uint64_t routes = 0;
        for (size_t paths = first; paths <= last && paths < path_counts.size(); ++paths)
            routes += path_counts[paths];
        if (routes != 0)
            entries.push_back(first == last ? fmt::format("{}: {}", first, routes)
                                            : fmt::format("{}-{}: {}", first, last, routes));
        first = last + 1;
    }
    append_list(to, "routes by paths", entries);
}

} // namespace

std::string_view type_name(uint16_t code)
{
    const update_type *const type = find_update_type(code);
    return type == nullptr ? "unknown" : type->name;
}

std::string stats_text(const stats_report &report)
{
    const stats_counts all = report.stats.total();
    std::string text = fmt::format("{}: {}, {} updates, {} bytes", terminal::shown_on(stdout, report.source.name()),
                                   report.source.kind(), all.updates, all.bytes);
    if (report.stats.delimiters() != 0)
        text += fmt::format(", {} delimiters skipped", report.stats.delimiters());
    if (report.updates_per_second)
        text += fmt::format(", {:.0f} updates a second", *report.updates_per_second);
    text += '\n';
    if (all.updates == 0)
        return text;
    append_table(text, report.stats);
    append_lengths(text, "IPv4 prefixes", report.stats.routes().of(ip_family::ipv4));
    append_lengths(text, "IPv6 prefixes", report.stats.routes().of(ip_family::ipv6));
    if (const uint64_t others = report.stats.routes().without_prefix; others != 0)
        append_list(text, "other routes", {fmt::format("no prefix: {}", others)});
    append_paths(text, report.stats.routes().path_counts);
    text += fmt::format("  {:.3f} s in the library, {:.3f} s of processor time in all\n", seconds(all.times.total()),
                        seconds(report.processor_time));
    return text;
}

} // namespace ribtool
