// ribtool serve: gives captures, tables or a generated stream to all who connect to a socket.

#include "tools/ribtool/frames/joined_frames.hpp"
#include "tools/ribtool/generate/synth_frames.hpp"
#include "tools/ribtool/input/compressed_input.hpp"
#include "tools/ribtool/library/update_types.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/options/frame_input.hpp"
#include "tools/ribtool/options/profile_options.hpp"
#include "tools/ribtool/streams/stream_server.hpp"
#include "tools/ribtool/tables/table_frames.hpp"

#include <sys/stat.h>

#include <memory>

namespace ribtool
{

namespace
{

enum class source_kind { by_first_bytes, capture, table };

struct serve_options {
    std::vector<std::string> files;
    source_kind from = source_kind::by_first_bytes;
    bool is_generated = false;
    profile_options generated;
    std::optional<endpoint> listen;
    reach allowed = reach::loopback;
    serve_terms terms;
    uint64_t stall_seconds = 60;
    std::optional<uint64_t> clients;
    bool has_delimiter = false;
};

// What is no regular file can be read once only: it is taken for a capture.
bool is_capture(const std::string &path)
{
    struct stat status = {};
    if (path == "-" || stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return true;
    compressed_input input(path);
    const byte_span start = input.peek(FRAME_HEADER_LEN);
    return start.size() < FRAME_HEADER_LEN || starts_like_capture(start);
}

std::unique_ptr<frame_source> open_source(const std::string &path, const serve_options &options)
{
    const bool reads_capture =
        options.from == source_kind::by_first_bytes ? is_capture(path) : options.from == source_kind::capture;
    if (!reads_capture)
        return std::make_unique<table_frames>(path, open_route_source(path));
    auto capture = std::make_unique<capture_reader>(path);
    const bool needs_times = options.terms.pace.by == serve_pace::kind::multiplier;
    if (needs_times && capture->format() == capture_format::raw)
        fail(EXIT_USAGE, "{}: raw frames have no times, as --multiplier needs them; --rate N needs none",
             capture->name());
    return capture;
}

std::unique_ptr<frame_source> open_sources(const serve_options &options)
{
    if (options.files.empty() != options.is_generated)
        fail(EXIT_USAGE, "either SOURCE or --profile is required (see ribtool serve --help)");
    std::vector<std::unique_ptr<frame_source>> sources;
    for (const std::string &path : options.files)
        sources.push_back(open_source(path, options));
    if (options.is_generated)
        sources.push_back(
            std::make_unique<synth_frames>(options.generated.kind, options.generated.count(), options.generated.seed));
    return std::make_unique<joined_frames>(std::move(sources), options.has_delimiter);
}

// For scripts, which may have chosen port 0: one line, at once.
void say_where(const listener &at)
{
    output_file output("-");
    output.write(fmt::format("listening on {}\n", at.name()));
    output.close();
}

exit_code run(const serve_options &options)
{
    std::unique_ptr<frame_source> source = open_sources(options);
    listener at(*options.listen, options.allowed);
    say_where(at);
    const bool keeps_times = options.terms.pace.by == serve_pace::kind::multiplier;
    stream_store store(std::move(source), keeps_times ? stream_store::times::kept : stream_store::times::left_out);
    stream_server server(at, store, options.terms);
    const exit_code result = server.run(options.clients);
    server.print_summary();
    return result;
}

void add_sources(CLI::App &line, serve_options &options)
{
    CLI::Option *files =
        line.add_option("SOURCE", options.files,
                        "Captures and tables, one after the other; - for a capture on the standard input")
            ->option_text(" ");
    add_choice(line, "--from", options.from, {{"capture", source_kind::capture}, {"table", source_kind::table}},
               "What SOURCE is (default: its first bytes tell; what is no regular file is a capture)")
        ->option_text("capture|table");
    CLI::Option *profile = add_profile_options(line, options.generated)->excludes(files);
    for (const char *name : {"--updates", "--routes", "--seed"})
        line.get_option(name)->needs(profile);
    profile->each([&options](const std::string &) { options.is_generated = true; });
}

void add_pace(CLI::App &line, serve_pace &pace)
{
    const auto add = [&](const char *name, serve_pace::kind kind, const char *text, const char *description) {
        return line
            .add_option_function<double>(
                name,
                [&pace, kind](double factor) {
                    pace = {kind, factor};
                },
                description)
            ->option_text(text)
            ->check(positive_number());
    };
    CLI::Option *rate = add("--rate", serve_pace::kind::rate, "N", "So many frames a second to each client");
    CLI::Option *multiplier =
        add("--multiplier", serve_pace::kind::multiplier, "X", "X times as fast as the times of the source say");
    line.add_flag_callback(
            "--topspeed", [&pace] { pace = {}; }, "As fast as each client takes it (default)")
        ->excludes(rate, multiplier);
    rate->excludes(multiplier);
}

void add_ends(CLI::App &line, serve_options &options)
{
    CLI::Option *clients = line.add_option("--clients", options.clients, "End when N clients have had everything")
                               ->option_text("N")
                               ->check(whole_number(0));
    CLI::Option *keep_open = line.add_flag_callback(
        "--keep-open", [&options] { options.terms.then = at_end::keep_open; },
        "Leave connections open when all has been sent");
    line.add_flag_callback(
            "--loop", [&options] { options.terms.then = at_end::begin_again; },
            "Send everything again and again, without end")
        ->excludes(keep_open, clients);
    line.add_flag("--delimiter", options.has_delimiter, "Send a delimiter behind the last frame: the table is whole");
    line.add_option("--stall-timeout", options.stall_seconds,
                    "Drop a client that takes nothing for N seconds; 0: never (default: 60)")
        ->option_text("N")
        ->check(whole_number(0));
}

} // namespace

command add_serve(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("serve", "Send captures, tables or a generated stream to all who connect to a "
                                                 "socket, to each from the beginning.");
    const auto options = std::make_shared<serve_options>();
    add_sources(*line, *options);
    add_endpoint(*line, "--listen", options->listen, "Where: unix:PATH or HOST:PORT; port 0 is any that is free")
        ->option_text("ENDPOINT   (required)")
        ->required();
    add_allow_remote(*line, options->allowed);
    add_pace(*line, options->terms.pace);
    add_ends(*line, *options);
    return {line, "ribtool serve full.pcap --listen unix:/tmp/rib --rate 10000", [options] {
                constexpr uint64_t LONGEST = 1000 * 1000 * 1000;
                options->terms.stall = std::chrono::seconds(std::min(options->stall_seconds, LONGEST));
                return run(*options);
            }};
}

} // namespace ribtool
