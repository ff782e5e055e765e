// ribtool synth: writes a stream of generated updates.

#include "tools/ribtool/generate/synth_frames.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/options/profile_options.hpp"
#include "tools/ribtool/output/partial_output.hpp"
#include "tools/ribtool/output/progress.hpp"

#include <memory>

namespace ribtool
{

namespace
{

struct synth_options {
    profile_options stream;
    capture_format format = capture_format::pcap;
    std::string output;
    bool is_partial_kept = false;
};

exit_code run(const synth_options &options)
{
    synth_frames frames(options.stream.kind, options.stream.count(), options.stream.seed);
    capture_writer writer(options.output, options.format);
    progress_bar progress("synth", frames.size());
    captured_frame frame;
    written_part part = {"updates", 0, options.is_partial_kept};
    return write_all(writer.file(), part, [&] {
        if (!frames.next(frame))
            return false;
        writer.write(frame.time_us, frame.bytes);
        ++part.count;
        progress.show(part.count, part.count);
        return true;
    });
}

} // namespace

command add_synth(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("synth", "Write a stream of generated updates. One seed gives the same bytes "
                                                 "on any machine.");
    const auto options = std::make_shared<synth_options>();
    add_profile_options(*line, options->stream);
    add_format(*line, options->format);
    add_output(*line, options->output);
    add_partial(*line, options->is_partial_kept);
    return {line, "ribtool synth --profile ecmp --updates 1000 -o ecmp.pcap", [options] { return run(*options); }};
}

} // namespace ribtool
