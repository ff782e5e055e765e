// ribtool import: turns a text table of routes into a capture of encoded route updates.

#include "tools/ribtool/command_line.hpp"
#include "tools/ribtool/encode.hpp"
#include "tools/ribtool/progress.hpp"
#include "tools/ribtool/tables/table_file.hpp"

#include <memory>

namespace ribtool
{

namespace
{

struct import_options {
    std::string input;
    std::string output;
    std::optional<uint64_t> limit; // routes
    uint64_t updates_per_route = 1;
    capture_format format = capture_format::pcap;
};

exit_code run(const import_options &options)
{
    table_file table(options.input);
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
    terminal::say("{}: {} routes with {} paths, {} updates\n", terminal::shown_on(stderr, options.input), routes, paths,
                  routes * options.updates_per_route);
    return EXIT_DONE;
}

} // namespace

command add_import(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("import", "Turn a text table of routes (packed or not) into a capture of "
                                                  "encoded route updates.");
    const auto options = std::make_shared<import_options>();
    line->add_option("FILE", options->input, "The table, - for the standard input")->option_text(" ")->required();
    add_output(*line, options->output);
    add_limit(*line, options->limit, "routes");
    line->add_option("--updates-per-route", options->updates_per_route, "Write each route N times (default: 1)")
        ->option_text("N")
        ->check(whole_number(1));
    add_format(*line, options->format);
    return {line, "ribtool import rib.tsv.xz -o rib.pcap", [options] { return run(*options); }};
}

} // namespace ribtool
