// ribtool import: turns a table of routes into a capture of encoded route updates.

#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/output/partial_output.hpp"
#include "tools/ribtool/output/progress.hpp"
#include "tools/ribtool/tables/detect.hpp"
#include "tools/ribtool/tables/iproute_names.hpp"
#include "tools/ribtool/tables/kernel_table.hpp"
#include "tools/ribtool/tables/table_frames.hpp"

#include <linux/rtnetlink.h>

#include <memory>

namespace ribtool
{

namespace
{

struct import_options {
    std::string input;
    bool from_kernel = false; // instead of a file
    kernel_selection selection{.table = RT_TABLE_MAIN};
    std::string output;
    const table_format *from = nullptr; // null: the first bytes tell
    std::optional<uint64_t> limit;      // routes
    uint64_t updates_per_route = 1;
    capture_format format = capture_format::pcap;
    bool is_partial_kept = false;
};

// What a table has become so far.
struct import_counts {
    uint64_t routes = 0;
    uint64_t paths = 0;
};

void say_summary(const import_options &options, const open_table &opened, const import_counts &counts, uint64_t updates)
{
    const std::string name = options.from_kernel    ? "the kernel"
                             : options.input == "-" ? "standard input"
                                                    : options.input;
    terminal::say("{}: {}, {} routes with {} paths, {} updates\n", terminal::shown_on(stderr, name), opened.format,
                  counts.routes, counts.paths, updates);
    for (const left_out &each : opened.routes->left_out_so_far())
        terminal::say("  left out: {} {}\n", each.count, each.what);
}

open_table open_input(const import_options &options)
{
    if (!options.from_kernel)
        return open_route_source(options.input, options.from);
    const std::optional<uint32_t> table = options.selection.table;
    return {table ? fmt::format("table {}", *table) : "all tables", std::make_unique<kernel_table>(options.selection)};
}

exit_code run(const import_options &options)
{
    const open_table opened = open_input(options);
    route_source &table = *opened.routes;
    require_other_file(options.input, options.output);
    capture_writer writer(options.output, options.format);
    progress_bar progress("import", table.size());
    scratch memory;
    table_route route;
    uint64_t time_us = 0;
    byte_vector frame;
    uint64_t copies_left = 0; // of the frame. A signal ends them, however many there are.
    import_counts counts;
    written_part part = {"updates", 0, options.is_partial_kept};
    const exit_code result = write_all(writer.file(), part, [&] {
        if (copies_left == 0) {
            if ((options.limit && counts.routes == *options.limit) || !table.next(route, time_us))
                return false;
            frame = framed(RIB_TLV_ROUTE, payload_of(route, memory, table));
            copies_left = options.updates_per_route;
            ++counts.routes;
            counts.paths += route.paths.size();
        }
        writer.write(time_us, frame);
        --copies_left;
        ++part.count;
        progress.show(table.position(), part.count);
        return true;
    });
    progress.clear();
    say_summary(options, opened, counts, part.count);
    return result;
}

CLI::Option *add_table_format(CLI::App &line, const table_format *&from)
{
    std::map<std::string, const table_format *> choices;
    std::string names;
    for (const table_format &format : table_formats()) {
        choices.emplace(format.name, &format);
        names += fmt::format("{}{}", names.empty() ? "" : "|", format.name);
    }
    return add_choice(line, "--from", from, choices, "The format of FILE (default: its first bytes tell)")
        ->option_text(names);
}

// --kernel and what chooses among its routes.
void add_kernel(CLI::App &line, CLI::Option &file, CLI::Option &from, import_options &options)
{
    CLI::Option *kernel =
        line.add_flag("--kernel", options.from_kernel, "Read the routes of the running kernel instead of a file");
    kernel->excludes(&file)->excludes(&from)->option_text(" ");
    line.add_option_function<std::string>(
            "--table",
            [&options](const std::string &text) {
                options.selection.table = number_of(table_numbers(), text);
                const bool is_all = text == "all";
                if (is_all == options.selection.table.has_value() || options.selection.table == RT_TABLE_UNSPEC)
                    throw CLI::ValidationError("--table", fmt::format("\"{}\" is no table", text));
            },
            "The kernel's table: a number, a name or all (default: main)")
        ->option_text("TABLE")
        ->needs(kernel);
    CLI::Option *ipv4 = line.add_flag_callback(
        "-4,--ipv4", [&options] { options.selection.ipv6 = false; }, "Only IPv4 routes of the kernel");
    CLI::Option *ipv6 = line.add_flag_callback(
        "-6,--ipv6", [&options] { options.selection.ipv4 = false; }, "Only IPv6 routes of the kernel");
    ipv4->needs(kernel)->excludes(ipv6)->option_text(" ");
    ipv6->needs(kernel)->option_text(" ");
    line.parse_complete_callback([&options] {
        if (options.input.empty() && !options.from_kernel)
            throw CLI::RequiredError("FILE or --kernel");
    });
}

} // namespace

command add_import(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("import", "Turn a table of routes, whatever its format (packed or not), into a "
                                                  "capture of encoded route updates.");
    const auto options = std::make_shared<import_options>();
    CLI::Option *file =
        line->add_option("FILE", options->input, "The table, - for the standard input")->option_text(" ");
    CLI::Option *from = add_table_format(*line, options->from);
    add_kernel(*line, *file, *from, *options);
    add_output(*line, options->output);
    add_limit(*line, options->limit, "routes");
    line->add_option("--updates-per-route", options->updates_per_route, "Write each route N times (default: 1)")
        ->option_text("N")
        ->check(whole_number(1));
    add_format(*line, options->format);
    add_partial(*line, options->is_partial_kept);
    return {line, "ribtool import rib.tsv.xz -o rib.pcap", [options] { return run(*options); }};
}

} // namespace ribtool
