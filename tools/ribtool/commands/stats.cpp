// ribtool stats: counts what becomes of the updates of a capture or of a live stream, and what they cost.

#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/options/frame_input.hpp"
#include "tools/ribtool/output/interruption.hpp"
#include "tools/ribtool/output/output_file.hpp"
#include "tools/ribtool/output/progress.hpp"
#include "tools/ribtool/stats/stats_formats.hpp"

#include <ctime>
#include <memory>
#include <optional>
#include <string>

namespace ribtool
{

namespace
{

using steady_clock = std::chrono::steady_clock;

enum class stats_format { text, json, openmetrics };

struct stats_options {
    frame_input input;
    std::string output = "-";
    std::optional<uint64_t> limit; // updates
    stats_format format = stats_format::text;
    std::optional<std::chrono::duration<double>> watch; // the time between two reports
};

std::chrono::nanoseconds processor_time()
{
    timespec used = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

std::string formatted(const stats_report &report, stats_format format)
{
    switch (format) {
    case stats_format::text:
        break;
    case stats_format::json:
        return stats_json(report);
    case stats_format::openmetrics:
        return stats_openmetrics(report);
    }
    return stats_text(report);
}

// Writes reports one after another: a file is replaced by each, a terminal shows the last one in place of the one before.
class reporter
{
public:
    explicit reporter(const stats_options &options)
        : options_(options), redraws_(options.watch && options.format == stats_format::text &&
                                      goes_to_terminal(options.output) && !terminal::is_dumb())
    {
    }

    void write(const stats_report &report)
    {
        std::string text = formatted(report, options_.format);
        if (redraws_)
            text = redrawn(text);
        output_file out(options_.output);
        out.write(text);
        out.close();
    }

private:
    // Over what is shown, so that nothing flickers: each line up to the terminal's width and no rest of the line before.
    static std::string redrawn(const std::string &text)
    {
        const size_t columns = terminal::width(stdout);
        std::string drawn = "\x1b[H";
        for (size_t start = 0; start < text.size();) {
            const size_t end = text.find('\n', start);
            drawn += terminal::fitted(text.substr(start, end - start), columns) + "\x1b[K\n";
            start = end + 1;
        }
        return drawn + "\x1b[J";
    }

    const stats_options &options_;
    const bool redraws_;
};

// Reports at their times, and at the end.
class watcher
{
public:
    watcher(const stats_options &options, const frame_source &source)
        : options_(options), source_(source), reporter_(options), last_(steady_clock::now())
    {
    }

    update_stats &stats() { return stats_; }

    void count_update() { ++updates_; }
    uint64_t updates() const { return updates_; }

    void look(steady_clock::time_point now)
    {
        if (options_.watch && now - last_ >= *options_.watch)
            report(now);
    }

    void report(steady_clock::time_point now)
    {
        std::optional<double> rate;
        if (const double passed = std::chrono::duration<double>(now - last_).count(); options_.watch && passed > 0)
            rate = static_cast<double>(updates_ - reported_) / passed;
        reporter_.write({stats_, source_, processor_time(), rate});
        last_ = now;
        reported_ = updates_;
    }

private:
    const stats_options &options_;
    const frame_source &source_;
    reporter reporter_;
    update_stats stats_;
    uint64_t updates_ = 0;
    uint64_t reported_ = 0;
    steady_clock::time_point last_;
};

exit_code run(const stats_options &options)
{
    const std::unique_ptr<frame_source> source = open_frames(options.input);
    if (!options.input.connect)
        require_other_file(options.input.file, options.output);
    watcher each(options, *source);
    source->while_waiting([&each] { each.look(steady_clock::now()); });
    progress_bar progress("stats", source->size(), options.watch.has_value());
    captured_frame frame;
    while ((!options.limit || each.updates() < *options.limit) && source->next(frame)) {
        if (frame_code(frame.bytes) == DELIMITER_CODE) {
            each.stats().add_delimiter();
            continue;
        }
        const steady_clock::time_point now = each.stats().add(frame);
        each.count_update();
        each.look(now);
        progress.show(source->position(), each.updates());
    }
    progress.clear();
    each.report(steady_clock::now());
    return report_damage(*source, each.stats().all_went_through() ? EXIT_DONE : EXIT_UPDATES_FAILED);
}

CLI::Validator number_of_seconds()
{
    return CLI::Validator(
        [](std::string &text) {
            char *end = nullptr;
            const double value = std::strtod(text.c_str(), &end);
            if (end != text.c_str() && *end == '\0' && value >= 0.01 && value <= 1e6)
                return std::string();
            return fmt::format("\"{}\" is not a number of seconds from 0.01 to 1000000", text);
        },
        "");
}

} // namespace

command add_stats(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("stats", "Count the updates of a capture or a live stream by type, outcome and "
                                                 "reason, with the time and the memory that the library takes for "
                                                 "them.");
    const auto options = std::make_shared<stats_options>();
    add_frame_input(*line, options->input);
    CLI::Option *json = line->add_flag_callback(
        "--json", [options] { options->format = stats_format::json; }, "One JSON object a report");
    line->add_flag_callback(
            "--openmetrics", [options] { options->format = stats_format::openmetrics; },
            "OpenMetrics, for what collects such")
        ->excludes(json);
    line->add_option_function<double>(
            "--watch", [options](double seconds) { options->watch = std::chrono::duration<double>(seconds); },
            "Report every so many seconds (default: 1), and at the end")
        ->option_text("[SECONDS]")
        ->expected(0, 1)
        ->default_str("1")
        ->check(number_of_seconds());
    line->add_option("-o,--output", options->output,
                     "The file to write, which each report replaces (default: -, the standard output)")
        ->option_text("FILE");
    add_limit(*line, options->limit, "updates");
    return {line, "ribtool stats updates.pcap --json | jq '.rows[] | {name, outcome, reason, updates}'",
            [options] { return run(*options); }};
}

} // namespace ribtool
