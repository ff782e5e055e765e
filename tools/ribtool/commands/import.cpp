// ribtool import: turns a table of routes into a capture of encoded route updates.

#include "tools/ribtool/command_line.hpp"
#include "tools/ribtool/encode.hpp"
#include "tools/ribtool/progress.hpp"
#include "tools/ribtool/tables/detect.hpp"

#include <memory>

namespace ribtool
{

namespace
{

struct import_options {
    std::string input;
    std::string output;
    const table_format *from = nullptr; // null: the first bytes tell
    std::optional<uint64_t> limit;      // routes
    uint64_t updates_per_route = 1;
    capture_format format = capture_format::pcap;
};

void say_summary(const import_options &options, const open_table &opened, uint64_t routes, uint64_t paths)
{
    const std::string name = terminal::shown_on(stderr, options.input == "-" ? "standard input" : options.input);
    terminal::say("{}: {}, {} routes with {} paths, {} updates\n", name, opened.format->name, routes, paths,
                  routes * options.updates_per_route);
    for (const left_out &each : opened.routes->left_out_so_far())
        terminal::say("  left out: {} {}\n", each.count, each.what);
}

exit_code run(const import_options &options)
{
    const open_table opened = open_route_source(options.input, options.from);
    route_source &table = *opened.routes;
    require_other_file(options.input, options.output);
    capture_writer writer(options.output, options.format);
    progress_bar progress("import", table.size());
    scratch memory;
    table_route route;
    uint64_t time_us = 0;
    uint64_t routes = 0;
    uint64_t paths = 0;
    while ((!options.limit || routes < *options.limit) && table.next(route, time_us)) {
        memory.reset();
        const byte_vector payload = encoded(route_message(route, memory));
        if (payload.size() > MAX_PAYLOAD_LEN)
            fail(EXIT_MALFORMED, "{}: the route's {} paths take {} bytes, a frame holds {}", table.place(),
                 route.paths.size(), payload.size(), MAX_PAYLOAD_LEN);
        for (uint64_t copy = 0; copy < options.updates_per_route; ++copy)
            writer.write(time_us, framed(RIB_TLV_ROUTE, payload));
        ++routes;
        paths += route.paths.size();
        progress.show(table.position(), routes);
    }
    writer.close();
    progress.clear();
    say_summary(options, opened, routes, paths);
    return EXIT_DONE;
}

void add_table_format(CLI::App &line, const table_format *&from)
{
    std::map<std::string, const table_format *> choices;
    std::string names;
    for (const table_format &format : table_formats()) {
        choices.emplace(format.name, &format);
        names += fmt::format("{}{}", names.empty() ? "" : "|", format.name);
    }
    add_choice(line, "--from", from, choices, "The format of FILE (default: its first bytes tell)")->option_text(names);
}

} // namespace

command add_import(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("import", "Turn a table of routes, whatever its format (packed or not), into a "
                                                  "capture of encoded route updates.");
    const auto options = std::make_shared<import_options>();
    line->add_option("FILE", options->input, "The table, - for the standard input")->option_text(" ")->required();
    add_table_format(*line, options->from);
    add_output(*line, options->output);
    add_limit(*line, options->limit, "routes");
    line->add_option("--updates-per-route", options->updates_per_route, "Write each route N times (default: 1)")
        ->option_text("N")
        ->check(whole_number(1));
    add_format(*line, options->format);
    return {line, "ribtool import rib.tsv.xz -o rib.pcap", [options] { return run(*options); }};
}

} // namespace ribtool
