#include "tools/ribtool/output/json_line.hpp"
#include "tools/ribtool/stats/stats_formats.hpp"

#include <fmt/format.h>

namespace ribtool
{

namespace
{

void add_times(json_line &line, const time_histogram &times)
{
    line.begin_object("ns");
    line.add_number("total", times.total().count());
    line.add_number("p50", times.quantile(0.5).count());
    line.add_number("p99", times.quantile(0.99).count());
    line.add_number("max", times.longest().count());
    line.end_object();
}

void add_counts(json_line &line, const stats_counts &counts)
{
    line.add_number("updates", counts.updates);
    line.add_number("bytes", counts.bytes);
    add_times(line, counts.times);
    line.add_number("allocations", counts.allocations.number);
    line.add_number("allocated_bytes", counts.allocations.bytes);
    line.add_number("record_bytes", counts.record_bytes);
}

void add_row(json_line &line, const stats_key &key, const stats_counts &counts)
{
    line.begin_element();
    line.add_number("type", key.code);
    line.add_text("name", type_name(key.code));
    line.add_text("outcome", rib_outcome_name(key.outcome));
    line.add_text("reason", rib_reason_name(key.reason));
    add_counts(line, counts);
    line.end_object();
}

// {"24":17,"32":1}: what was met.
template <class Counts>
void add_histogram(json_line &line, std::string_view name, const Counts &counts, size_t limit)
{
    line.begin_object(name);
    for (size_t index = 0; index < counts.size() && index < limit; ++index) {
        if (counts[index] != 0)
            line.add_number(std::to_string(index), counts[index]);
    }
    line.end_object();
}

void add_routes(json_line &line, const route_shapes &routes)
{
    const auto &ipv4 = routes.of(ip_family::ipv4);
    const auto &ipv6 = routes.of(ip_family::ipv6);
    line.begin_object("prefix_lengths");
    add_histogram(line, "ipv4", ipv4, route_shapes::NO_LENGTH);
    add_histogram(line, "ipv6", ipv6, route_shapes::NO_LENGTH);
    line.add_number("without", routes.without_prefix + ipv4[route_shapes::NO_LENGTH] + ipv6[route_shapes::NO_LENGTH]);
    line.end_object();
    add_histogram(line, "path_counts", routes.path_counts, SIZE_MAX);
}

} // namespace

std::string stats_json(const stats_report &report)
{
    json_line line;
    line.add_text("input", report.source.name());
    line.add_text("kind", report.source.kind());
    line.add_number("delimiters", report.stats.delimiters());
    line.add_number("processor_ns", report.processor_time.count());
    if (report.updates_per_second)
        line.add("updates_per_second") += fmt::format("{:.1f}", *report.updates_per_second);
    add_counts(line, report.stats.total());
    line.begin_list("rows");
    for (const auto &[key, counts] : report.stats.rows())
        add_row(line, key, counts);
    line.end_list();
    add_routes(line, report.stats.routes());
    return std::string(line.finished());
}

} // namespace ribtool
