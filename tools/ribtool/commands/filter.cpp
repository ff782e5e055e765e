// ribtool filter: copies the updates of a capture that fit into a new one, with their times and bytes as they are.

#include "tools/ribtool/command_line.hpp"
#include "tools/ribtool/partial_output.hpp"
#include "tools/ribtool/progress.hpp"
#include "tools/ribtool/update_selection.hpp"

#include <memory>

namespace ribtool
{

namespace
{

struct filter_options {
    std::string input;
    std::string output;
    bool resynchronises = false;
    capture_format format = capture_format::pcap;
    std::optional<uint64_t> limit; // frames that are written
    bool is_partial_kept = false;
    selection_criteria criteria;
};

exit_code run(const filter_options &options)
{
    capture_reader reader(options.input, {}, options.resynchronises);
    require_other_file(options.input, options.output);
    capture_writer writer(options.output, options.format);
    update_selection selection(options.criteria);
    progress_bar progress("filter", reader.size());
    captured_frame frame;
    uint64_t read = 0;
    written_part part = {"frames", 0, options.is_partial_kept};
    exit_code result = write_all(writer.file(), part, [&] {
        if ((options.limit && part.count == *options.limit) || !reader.next(frame))
            return false;
        ++read;
        if (selection.takes(frame.bytes)) {
            writer.write(frame.time_us, frame.bytes);
            ++part.count;
        }
        progress.show(reader.position(), read);
        return true;
    });
    progress.clear();
    if (result == EXIT_DONE)
        result = report_damage(reader, EXIT_DONE);
    terminal::say("{}: {}, {} frames read, {} written\n", terminal::shown_on(stderr, reader.name()), reader.kind(),
                  read, part.count);
    return result;
}

} // namespace

command add_filter(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("filter", "Copy the updates of a capture that fit all of these options into a "
                                                  "new one, with their times.");
    const auto options = std::make_shared<filter_options>();
    line->add_option("FILE", options->input, "pcap capture or frames one after another, - for the standard input")
        ->option_text(" ")
        ->required();
    add_output(*line, options->output);
    add_format(*line, options->format);
    add_codes(*line, options->criteria);
    add_prefixes(*line, options->criteria, "Only routes of these prefixes");
    add_other_criteria(*line, options->criteria);
    add_resync(*line, options->resynchronises);
    add_limit(*line, options->limit, "frames are written");
    add_partial(*line, options->is_partial_kept);
    return {line, "ribtool filter updates.pcap --prefix 10.0.0.0/8 --or-longer -o ten.pcap",
            [options] { return run(*options); }};
}

} // namespace ribtool
