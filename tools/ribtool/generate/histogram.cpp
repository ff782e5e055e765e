#include "tools/ribtool/generate/histogram.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace ribtool
{

void histogram::add(uint32_t value, uint64_t count)
{
    if (count == 0)
        return;
    total_ += count;
    bins_.push_back({total_, value});
}

uint32_t histogram::draw(random_source &random) const
{
    // The totals are far below 2^32, so one 32-bit draw is exact enough and cheap.
    const uint64_t rank = random.below(static_cast<uint32_t>(total_)) + uint64_t{1};
    const auto found =
        std::lower_bound(bins_.begin(), bins_.end(), rank, [](const bin &b, uint64_t r) { return b.last < r; });
    return found->value;
}

namespace
{

constexpr size_t COLUMNS = 4;
using row = std::array<std::string_view, COLUMNS>;

uint32_t number(std::string_view text)
{
    uint32_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size())
        throw std::logic_error("built-in histogram: not a number: " + std::string(text));
    return value;
}

template <class Visitor>
void for_each_row(std::string_view text, Visitor visit)
{
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line.front() == '#')
            continue;
        row columns;
        for (std::string_view &column : columns) {
            const size_t tab = std::min(line.find('\t'), line.size());
            column = line.substr(0, tab);
            line.remove_prefix(std::min(tab + 1, line.size()));
        }
        visit(columns);
    }
}

histogram *member_named(table_statistics &table, std::string_view metric)
{
    if (metric == "paths_per_prefix")
        return &table.paths_per_prefix;
    if (metric == "as_path_len")
        return &table.as_path_len;
    if (metric == "communities_per_path")
        return &table.communities_per_path;
    if (metric == "has_med")
        return &table.has_med;
    if (metric == "atomic_aggregate")
        return &table.atomic_aggregate;
    return nullptr;
}

// The table dumps have no local preference and no extended communities; the feeds have. Both families draw these
// from the feeds together.
histogram *feed_member_named(table_statistics &table, std::string_view metric)
{
    if (metric == "ext_communities_per_path")
        return &table.ext_communities_per_path;
    if (metric == "has_local_pref")
        return &table.has_local_pref;
    return nullptr;
}

void add_distribution(statistics &all, const row &columns)
{
    const auto &[dataset, metric, value, count] = columns;
    const bool is_feed = dataset == "feed_2015" || dataset == "updates_2019";
    for (table_statistics *table : {&all.ipv4, &all.ipv6}) {
        const std::string_view own = table == &all.ipv4 ? "rib_v4_2014" : "rib_v6_2015";
        histogram *member = is_feed          ? feed_member_named(*table, metric)
                            : dataset == own ? member_named(*table, metric)
                                             : nullptr;
        if (member != nullptr)
            member->add(number(value), number(count));
    }
}

statistics parse()
{
    statistics all;
    for_each_row(prefix_lengths_tsv, [&](const row &columns) {
        table_statistics &table = columns[0] == "4" ? all.ipv4 : all.ipv6;
        table.prefix_lengths.add(number(columns[1]), number(columns[2]));
    });
    for_each_row(distributions_tsv, [&](const row &columns) { add_distribution(all, columns); });
    return all;
}

} // namespace

const statistics &table_histograms()
{
    static const statistics parsed = parse();
    return parsed;
}

} // namespace ribtool
