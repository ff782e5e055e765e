// ribtool record: writes what comes out of a socket or a pipe into captures, with the times at which it came.

#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/options/frame_input.hpp"
#include "tools/ribtool/output/interruption.hpp"
#include "tools/ribtool/output/progress.hpp"
#include "tools/ribtool/streams/connection.hpp"
#include "tools/ribtool/streams/reconnecting_frames.hpp"
#include "tools/ribtool/streams/recording.hpp"
#include "tools/ribtool/streams/socket_frames.hpp"

#include <fcntl.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>

namespace ribtool
{

namespace
{

constexpr uint64_t SMALLEST_ROTATION = 1024;

struct record_options {
    std::optional<endpoint> from; // else the standard input
    reach allowed = reach::loopback;
    bool reconnects = false;
    bool resynchronises = false;
    std::string output;
    capture_format format = capture_format::pcap;
    std::optional<uint64_t> rotate_bytes;
    std::optional<uint64_t> limit; // frames
};

std::unique_ptr<frame_source> open_standard_input(bool resynchronises)
{
    descriptor copy(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!copy)
        fail(EXIT_FILE, "standard input: cannot open: {}", std::strerror(errno));
    return std::make_unique<socket_frames>(std::move(copy), "standard input", resynchronises);
}

std::unique_ptr<frame_source> open_source(const record_options &options)
{
    if (!options.from)
        return open_standard_input(options.resynchronises);
    if (options.reconnects)
        return std::make_unique<reconnecting_frames>(*options.from, options.allowed, options.resynchronises);
    return std::make_unique<socket_frames>(connect_to(*options.from, options.allowed), endpoint_name(*options.from),
                                           options.resynchronises);
}

// A capture of a pipe would be taken for frames of strange codes.
void require_frames(const captured_frame &first, const frame_source &source)
{
    if (is_pcap(first.bytes))
        fail(EXIT_MALFORMED, "{}: a pcap capture, which is recorded already: expected frames one after another",
             source.name());
}

// A signal is how a recording ends.
exit_code end_of(const frame_source &source)
{
    const std::optional<damage> &found = source.found_damage();
    if (found && found->code == EXIT_INTERRUPTED) {
        if (source.skipped() != nullptr)
            source.skipped()->print(source.name());
        return EXIT_DONE;
    }
    return report_damage(source, EXIT_DONE);
}

exit_code run(const record_options &options)
{
    const std::unique_ptr<frame_source> source = open_source(options);
    recording to(options.output, options.format, options.rotate_bytes);
    progress_bar progress("record", 0, options.output == "-");
    source->while_waiting([&to] { to.flush(); });
    captured_frame frame;
    while ((!options.limit || to.frames() < *options.limit) && source->next(frame)) {
        if (to.frames() == 0 && !options.from)
            require_frames(frame, *source);
        to.write(frame);
        progress.show(source->position(), to.frames());
    }
    progress.clear();
    to.close();
    const exit_code result = end_of(*source);
    terminal::say("{}: {} frames, {} bytes recorded in {} file{}\n", terminal::shown_on(stderr, source->name()),
                  to.frames(), to.bytes(), to.files(), to.files() == 1 ? "" : "s");
    return result;
}

// "10M": bytes, or units of 1024, 1024^2 or 1024^3.
uint64_t parse_size(const std::string &text)
{
    uint64_t value = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    const std::string_view unit(stop, static_cast<size_t>(end - stop));
    const unsigned shift = unit == "K" ? 10 : unit == "M" ? 20 : unit == "G" ? 30 : 0;
    if (error != std::errc() || (shift == 0 && !unit.empty()) || value > UINT64_MAX >> shift ||
        value << shift < SMALLEST_ROTATION)
        throw CLI::ValidationError("--rotate", fmt::format("\"{}\" is not a size from {} on, such as 500K, 100M or 2G",
                                                           text, SMALLEST_ROTATION));
    return value << shift;
}

void add_from(CLI::App &line, record_options &options)
{
    const auto take = [&options](const std::string &text) {
        if (text == "-")
            return;
        try {
            options.from = parse_endpoint(text);
        } catch (const failure &wrong) {
            throw CLI::ValidationError("ENDPOINT", wrong.what());
        }
    };
    line.add_option_function<std::string>("ENDPOINT", take,
                                          "unix:PATH or HOST:PORT, or - for frames on the standard input")
        ->option_text(" ")
        ->required();
}

} // namespace

command add_record(CLI::App &app)
{
    CLI::App *line =
        app.add_subcommand("record", "Write what a socket or a pipe brings into a capture, each frame with "
                                     "the time at which it came, until it ends or a signal comes.");
    const auto options = std::make_shared<record_options>();
    add_from(*line, *options);
    add_allow_remote(*line, options->allowed);
    line->add_flag("--reconnect", options->reconnects, "Connect again whenever the connection ends or there is none");
    add_resync(*line, options->resynchronises);
    add_output(*line, options->output);
    add_format(*line, options->format);
    line->add_option_function<std::string>(
            "--rotate", [options](const std::string &text) { options->rotate_bytes = parse_size(text); },
            "Begin a new file before one grows beyond SIZE bytes (500K, 100M, 2G); they are numbered: NAME.000001.pcap")
        ->option_text("SIZE");
    add_limit(*line, options->limit, "frames");
    line->parse_complete_callback([options] {
        if (options->reconnects && !options->from)
            throw CLI::ValidationError("--reconnect", "the standard input cannot be connected to again");
        if (options->rotate_bytes && options->output == "-")
            throw CLI::ValidationError("--rotate", "the standard output cannot be rotated");
    });
    return {line, "ribtool record unix:/tmp/rib -o updates.pcap --rotate 100M", [options] { return run(*options); }};
}

} // namespace ribtool
