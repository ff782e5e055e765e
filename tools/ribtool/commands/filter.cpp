// ribtool filter: copies the updates of a capture that fit into a new one, with their times and bytes as they are.

#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/options/frame_input.hpp"
#include "tools/ribtool/options/update_selection.hpp"
#include "tools/ribtool/output/partial_output.hpp"
#include "tools/ribtool/output/progress.hpp"

#include <memory>

namespace ribtool
{

namespace
{

struct filter_options {
    frame_input input;
    std::string output;
    capture_format format = capture_format::pcap;
    std::optional<uint64_t> limit; // frames that are written
    bool is_partial_kept = false;
    selection_criteria criteria;
};

// With resynchronisation the input goes on behind its damage.
bool breaks_off(const filter_options &options, const frame_source &source)
{
    return !interrupted() && source.found_damage() && !options.input.resynchronises;
}

// A part that is not kept back has gone out: whether it arrived is said, too.
exit_code end(const filter_options &options, const frame_source &source, output_file &file, const written_part &part)
{
    if (!breaks_off(options, source))
        return end_output(file, part);
    if (file.is_kept_back())
        keep_before_damage(file, part);
    else
        file.close();
    return EXIT_DONE;
}

// What would do something else than it looks like.
void require_sense(const filter_options &options)
{
    const selection_criteria &criteria = options.criteria;
    if ((criteria.or_longer || criteria.or_shorter) && !criteria.has_prefixes)
        fail(EXIT_USAGE, "{} says nothing without --prefix or --prefix-file (see ribtool filter --help)",
             criteria.or_longer ? "--or-longer" : "--or-shorter");
    for (const std::string &file : criteria.prefix_files)
        require_other_file(file, options.output);
}

exit_code run(const filter_options &options)
{
    require_sense(options);
    const std::unique_ptr<frame_source> source = open_frames(options.input);
    require_other_file(options.input.file, options.output);
    capture_writer writer(options.output, options.format);
    source->while_waiting([&writer] { writer.file().flush(); });
    update_selection selection(options.criteria);
    progress_bar progress("filter", source->size());
    captured_frame frame;
    uint64_t read = 0;
    written_part part = {"frames", 0, options.is_partial_kept};
    while (!interrupted() && (!options.limit || part.count < *options.limit) && source->next(frame)) {
        ++read;
        if (selection.takes(frame.bytes)) {
            writer.write(frame.time_us, frame.bytes);
            ++part.count;
        }
        progress.show(source->position(), read);
    }
    progress.clear();
    exit_code result = end(options, *source, writer.file(), part);
    const bool is_lost =
        (result == EXIT_INTERRUPTED || breaks_off(options, *source)) && writer.file().is_kept_back() && !part.is_kept;
    if (result != EXIT_INTERRUPTED)
        result = report_damage(*source, result);
    terminal::say("{}: {}, {} frames read, {} {}\n", terminal::shown_on(stderr, source->name()), source->kind(), read,
                  part.count, is_lost ? "fit, none is written" : "written");
    return result;
}

} // namespace

command add_filter(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("filter", "Copy the updates of a capture that fit all of these options into a "
                                                  "new one, with their times.");
    const auto options = std::make_shared<filter_options>();
    add_frame_input(*line, options->input);
    add_output(*line, options->output);
    add_format(*line, options->format);
    add_codes(*line, options->criteria);
    add_prefixes(*line, options->criteria, "Only routes of these prefixes");
    add_other_criteria(*line, options->criteria);
    add_limit(*line, options->limit, "frames are written");
    add_partial(*line, options->is_partial_kept);
    return {line, "ribtool filter updates.pcap --prefix 10.0.0.0/8 --or-longer -o ten.pcap",
            [options] { return run(*options); }};
}

} // namespace ribtool
