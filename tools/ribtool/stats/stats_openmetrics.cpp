// OpenMetrics 1.0: each family with its type, its unit as the end of its name, and # EOF at the end.

#include "tools/ribtool/stats/stats_formats.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace ribtool
{

namespace
{

// Codes that nobody knows are one type: a stream could bring 65 528 of them, each a series for ever.
struct series_key {
    std::string_view type;
    rib_outcome outcome;
    rib_reason reason;

    friend auto operator<=>(const series_key &, const series_key &) = default;
};
using all_series = std::map<series_key, stats_counts>;

all_series series_of(const update_stats &stats)
{
    all_series series;
    for (const auto &[key, counts] : stats.rows())
        series[{type_name(key.code), key.outcome, key.reason}].add(counts);
    return series;
}

std::string labels_of(const series_key &key)
{
    return fmt::format(R"(type="{}",outcome="{}",reason="{}")", key.type, rib_outcome_name(key.outcome),
                       rib_reason_name(key.reason));
}

class exposition
{
public:
    void family(std::string_view name, std::string_view type, std::string_view unit, std::string_view help)
    {
        name_ = name;
        text_ += fmt::format("# TYPE {} {}\n", name, type);
        if (!unit.empty())
            text_ += fmt::format("# UNIT {} {}\n", name, unit);
        text_ += fmt::format("# HELP {} {}\n", name, help);
    }

    template <class Value>
    void sample(std::string_view suffix, const std::string &labels, const Value &value)
    {
        text_ += fmt::format("{}{}{}{}{} {}\n", name_, suffix, labels.empty() ? "" : "{", labels,
                             labels.empty() ? "" : "}", value);
    }

    void time(std::string_view suffix, const std::string &labels, std::chrono::nanoseconds time)
    {
        sample(suffix, labels, fmt::format("{:.9f}", seconds(time)));
    }

    std::string finished() { return std::move(text_) + "# EOF\n"; }

private:
    std::string text_;
    std::string_view name_;
};

template <class Value>
void add_counter(exposition &out, const all_series &series, std::string_view name, std::string_view unit,
                 std::string_view help, Value value)
{
    out.family(name, "counter", unit, help);
    for (const auto &[key, counts] : series)
        out.sample("_total", labels_of(key), value(counts));
}

void add_times(exposition &out, const all_series &series)
{
    out.family("rib_update_library_seconds", "summary", "seconds", "Time inside the library for one update.");
    for (const auto &[key, counts] : series) {
        if (counts.times.count() == 0)
            continue;
        const std::string labels = labels_of(key);
        for (const double share : {0.5, 0.99})
            out.time("", fmt::format(R"({},quantile="{}")", labels, share), counts.times.quantile(share));
        out.sample("_count", labels, counts.times.count());
        out.time("_sum", labels, counts.times.total());
    }
    out.family("rib_update_library_longest_seconds", "gauge", "seconds",
               "The longest time inside the library for one update.");
    for (const auto &[key, counts] : series) {
        if (counts.times.count() != 0)
            out.time("", labels_of(key), counts.times.longest());
    }
}

// `bounds` ascend; the histogram's index is what is counted.
template <class Counts, class Bounds>
void add_histogram(exposition &out, const std::string &labels, const Counts &counts, size_t limit, const Bounds &bounds)
{
    uint64_t met = 0;
    uint64_t sum = 0;
    size_t index = 0;
    const auto count_up_to = [&](size_t last) {
        for (; index < std::min(counts.size(), limit) && index <= last; ++index) {
            met += counts[index];
            sum += counts[index] * index;
        }
    };
    const std::string separator = labels.empty() ? "" : ",";
    for (const size_t bound : bounds) {
        count_up_to(bound);
        out.sample("_bucket", fmt::format(R"({}{}le="{}.0")", labels, separator, bound), met);
    }
    count_up_to(SIZE_MAX - 1);
    out.sample("_bucket", fmt::format(R"({}{}le="+Inf")", labels, separator), met);
    out.sample("_count", labels, met);
    out.sample("_sum", labels, sum);
}

std::vector<size_t> every_length(size_t longest)
{
    std::vector<size_t> lengths(longest + 1);
    for (size_t len = 0; len <= longest; ++len)
        lengths[len] = len;
    return lengths;
}

void add_routes(exposition &out, const route_shapes &routes)
{
    out.family("rib_route_prefix_length", "histogram", "", "Prefix lengths of delivered routes, in bits.");
    add_histogram(out, R"(family="ipv4")", routes.of(ip_family::ipv4), route_shapes::NO_LENGTH, every_length(32));
    add_histogram(out, R"(family="ipv6")", routes.of(ip_family::ipv6), route_shapes::NO_LENGTH, every_length(128));
    out.family("rib_route_paths", "histogram", "", "Paths of delivered routes.");
    add_histogram(out, "", routes.path_counts, SIZE_MAX,
                  std::vector<size_t>{0, 1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024});
}

} // namespace

std::string stats_openmetrics(const stats_report &report)
{
    const all_series series = series_of(report.stats);
    exposition out;
    add_counter(out, series, "rib_updates", "", "Updates by what became of them.",
                [](const stats_counts &counts) { return counts.updates; });
    add_counter(out, series, "rib_update_bytes", "bytes", "Bytes of the frames of updates.",
                [](const stats_counts &counts) { return counts.bytes; });
    add_times(out, series);
    add_counter(out, series, "rib_allocations", "", "Blocks of memory that the library asked for.",
                [](const stats_counts &counts) { return counts.allocations.number; });
    add_counter(out, series, "rib_allocated_bytes", "bytes", "Bytes of memory that the library asked for.",
                [](const stats_counts &counts) { return counts.allocations.bytes; });
    add_counter(out, series, "rib_record_bytes", "bytes", "Bytes of the records that clients get.",
                [](const stats_counts &counts) { return counts.record_bytes; });
    add_routes(out, report.stats.routes());
    out.family("rib_delimiters", "counter", "", "Delimiters of the stream, which carry nothing.");
    out.sample("_total", "", report.stats.delimiters());
    out.family("rib_processor_seconds", "counter", "seconds", "Processor time of the process.");
    out.time("_total", "", report.processor_time);
    return out.finished();
}

} // namespace ribtool
