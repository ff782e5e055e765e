// ribtool explain: says of every update of a capture what becomes of it, why, and what of it the client does not see; or
// writes that into a copy of the capture.

#include "inspect/rib_inspect.h"
#include "tools/ribtool/explain/explain_summary.hpp"
#include "tools/ribtool/explain/explanation_comment.hpp"
#include "tools/ribtool/explain/explanation_text.hpp"
#include "tools/ribtool/frames/pcapng_writer.hpp"
#include "tools/ribtool/input/payload_input.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/output/partial_output.hpp"
#include "tools/ribtool/output/progress.hpp"

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <string>

namespace ribtool
{

namespace
{

constexpr size_t WIDEST_TEXT = 100; // columns

struct shown_outcomes {
    bool dropped = false;
    bool losses = false; // delivered, but not as a whole
    bool stopped = false;
    bool refused = false;

    bool has(const rib_explanation &explanation) const
    {
        switch (explanation.outcome) {
        case RIB_DELIVERED:
            return losses && !is_whole(explanation);
        case RIB_DROPPED:
            return dropped;
        case RIB_STOPPED:
            return stopped;
        case RIB_REFUSED:
        case RIB_OUTCOME_COUNT:
            break;
        }
        return refused;
    }
};

struct explain_options {
    std::string input;
    std::optional<uint64_t> frame;
    bool resynchronises = false;
    std::optional<uint64_t> limit; // updates
    std::optional<shown_outcomes> only;
    bool is_json = false;
    bool is_quiet = false;
    std::optional<uint32_t> code; // with `from`: the file is one payload
    std::optional<payload_format> from;
    std::string pcapng; // the copy; empty: paragraphs or objects
    bool is_partial_kept = false;
};

explanation_handle explained(const updatetype_local &update, const rib_explain_options &how)
{
    rib_explanation *explanation = nullptr;
    if (rib_explain_update(&update, &how, &explanation) != ZIDL_OK)
        throw std::bad_alloc();
    return explanation_handle(explanation);
}

size_t text_columns()
{
    const size_t width = terminal::width(stdout);
    return width == 0 ? WIDEST_TEXT : std::min(width, WIDEST_TEXT);
}

// Prints what is asked for and counts the rest.
class explainer
{
public:
    explicit explainer(const explain_options &options)
        : options_(options), style_{terminal::painter(stdout), text_columns()}
    {
        if (!options.is_quiet)
            out_.emplace("-");
    }

    void add(const uint64_t *frame, const updatetype_local &update, size_t payload_len)
    {
        const explanation_handle explanation = explained(update, {});
        summary_.add(*explanation);
        if (out_ && (!options_.only || options_.only->has(*explanation)))
            print(frame, payload_len, *explanation);
    }

    void add_delimiter() { summary_.add_delimiter(); }

    bool all_is_whole() const { return summary_.all_is_whole(); }

    void flush()
    {
        if (out_)
            out_->flush();
    }

    void finish()
    {
        if (out_)
            out_->close();
    }

    void print_summary(const std::string &what) const
    {
        if (!options_.is_quiet)
            summary_.print(what);
    }

private:
    void print(const uint64_t *frame, size_t payload_len, const rib_explanation &explanation)
    {
        if (options_.is_json) {
            line_.clear();
            add_explanation(line_, frame, explanation);
            out_->write(line_.finished());
            return;
        }
        text_.clear();
        append_paragraph(text_, frame, payload_len, explanation, style_);
        out_->write(text_);
    }

    const explain_options &options_;
    const paragraph_style style_;
    std::optional<output_file> out_; // none: quiet
    explain_summary summary_;
    json_line line_;
    std::string text_;
};

// One payload without a frame. The update reads it only.
exit_code explain_payload(const explain_options &options)
{
    byte_vector payload = read_payload(options.input, *options.from);
    updatetype_local update = {};
    update.stripped = 1;
    update.tlv_type = *options.code;
    update.payload_len = static_cast<uint32_t>(payload.size());
    update.payload = payload.data();
    explainer each(options);
    each.add(nullptr, update, payload.size());
    each.finish();
    return each.all_is_whole() ? EXIT_DONE : EXIT_UPDATES_FAILED;
}

bool may_draw_progress(const explain_options &options)
{
    return options.is_quiet || !terminal::is_terminal(stdout);
}

exit_code explain_capture(const explain_options &options)
{
    capture_reader reader(options.input, options.frame, options.resynchronises);
    explainer each(options);
    reader.while_waiting([&each] { each.flush(); });
    std::optional<progress_bar> progress;
    if (may_draw_progress(options))
        progress.emplace("explain", reader.size());
    captured_frame frame;
    uint64_t updates = 0;
    while ((!options.limit || updates < *options.limit) && reader.next(frame)) {
        if (frame_code(frame.bytes) == DELIMITER_CODE) {
            each.add_delimiter();
            continue;
        }
        ++updates;
        // A quiet run that has its answer goes on only to see whether the capture is damaged.
        if (!options.is_quiet || each.all_is_whole()) {
            updatetype_local update = {};
            update.payload = frame.bytes.data();
            each.add(&frame.number, update, frame.bytes.size() - FRAME_HEADER_LEN);
        }
        if (progress)
            progress->show(reader.position(), updates);
    }
    if (progress)
        progress->clear();
    each.finish();
    const exit_code result = report_damage(reader, each.all_is_whole() ? EXIT_DONE : EXIT_UPDATES_FAILED);
    each.print_summary(fmt::format("{}: {}", terminal::shown_on(stderr, reader.name()), reader.kind()));
    return result;
}

// A copy of a capture in which updates have what becomes of them as a comment.
class commented_copy
{
public:
    commented_copy(const explain_options &options, frame_source &source)
        : options_(options), source_(source), writer_(options.pcapng), progress_("explain", source.size())
    {
        part_.is_kept = options.is_partial_kept;
    }

    exit_code write()
    {
        while (!interrupted() && add_frame()) {}
        progress_.clear();
        if (!breaks_off() && end_output(writer_.file(), part_) == EXIT_INTERRUPTED)
            return EXIT_INTERRUPTED;
        if (breaks_off())
            keep_before_damage(writer_.file(), part_);
        const exit_code result = report_damage(source_, summary_.all_is_whole() ? EXIT_DONE : EXIT_UPDATES_FAILED);
        if (!options_.is_quiet)
            summary_.print(fmt::format("{}: {}", terminal::shown_on(stderr, source_.name()), source_.kind()));
        return result;
    }

private:
    // With resynchronisation the input goes on behind its damage.
    bool breaks_off() const { return !interrupted() && source_.found_damage() && !options_.resynchronises; }

    bool add_frame()
    {
        if ((options_.limit && updates_ == *options_.limit) || !source_.next(frame_))
            return false;
        writer_.write(frame_, comment());
        ++part_.count;
        progress_.show(source_.position(), part_.count);
        return true;
    }

    std::string comment()
    {
        if (frame_code(frame_.bytes) == DELIMITER_CODE) {
            summary_.add_delimiter();
            return {};
        }
        ++updates_;
        updatetype_local update = {};
        update.payload = frame_.bytes.data();
        const explanation_handle explanation = explained(update, {});
        summary_.add(*explanation);
        const bool is_wanted = options_.only ? options_.only->has(*explanation) : !is_whole(*explanation);
        return is_wanted ? comment_of(*explanation) : std::string();
    }

    const explain_options &options_;
    frame_source &source_;
    pcapng_writer writer_;
    progress_bar progress_;
    explain_summary summary_;
    written_part part_ = {"frames", 0, false};
    captured_frame frame_;
    uint64_t updates_ = 0;
};

exit_code copy_with_comments(const explain_options &options)
{
    capture_reader reader(options.input, options.frame, options.resynchronises);
    require_other_file(options.input, options.pcapng);
    return commented_copy(options, reader).write();
}

exit_code run(const explain_options &options)
{
    if (options.from)
        return explain_payload(options);
    return options.pcapng.empty() ? explain_capture(options) : copy_with_comments(options);
}

shown_outcomes outcomes_of(const std::string &list)
{
    shown_outcomes shown;
    for (const std::string &name : CLI::detail::split(list, ',')) {
        if (name == "dropped")
            shown.dropped = true;
        else if (name == "losses")
            shown.losses = true;
        else if (name == "stopped")
            shown.stopped = true;
        else if (name == "refused")
            shown.refused = true;
        else
            throw CLI::ValidationError("--only",
                                       fmt::format("\"{}\" is not one of dropped, losses, stopped, refused", name));
    }
    return shown;
}

CLI::Option *add_one_payload(CLI::App &line, explain_options &options)
{
    CLI::Option *code = line.add_option("--code", options.code, "With --from: the type code of the payload")
                            ->option_text("CODE")
                            ->check(type_code());
    CLI::Option *from = add_choice<payload_format>(
                            line, "--from", {{"bin", payload_format::bin}, {"hex", payload_format::hex}},
                            [&options](payload_format format) { options.from = format; },
                            "FILE is no capture but one payload: its bytes, or hexadecimal digits")
                            ->option_text("bin|hex");
    code->needs(from);
    return from->needs(code);
}

} // namespace

command add_explain(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("explain", "Say of every update what becomes of it, why, and what of it the "
                                                   "client does not see; a summary by reason goes to the standard "
                                                   "error. Exit code 1: not all is delivered without loss.");
    const auto options = std::make_shared<explain_options>();
    line->add_option("FILE", options->input, "pcap capture or frames one after another, - for the standard input")
        ->option_text(" ")
        ->required();
    line->add_option_function<std::string>(
            "--only", [options](const std::string &list) { options->only = outcomes_of(list); },
            "Print or comment on only these: dropped, losses (delivered, but not all of it), stopped, refused")
        ->option_text("A,B");
    CLI::Option *json = line->add_flag("--json", options->is_json, "One JSON object a line instead of a paragraph");
    line->add_flag("-q,--quiet", options->is_quiet, "Print nothing: the exit code says all")->excludes(json);
    CLI::Option *pcapng = line->add_option("--pcapng", options->pcapng,
                                           "Instead of printing, copy the capture to OUT, as pcapng, with a comment on "
                                           "each packet that is not delivered whole")
                              ->option_text("OUT")
                              ->excludes(json);
    add_partial(*line, options->is_partial_kept);
    line->get_option("--partial")->needs(pcapng);
    CLI::Option *frame = add_frame(*line, options->frame);
    CLI::Option *resync = add_resync(*line, options->resynchronises);
    add_limit(*line, options->limit, "updates");
    add_one_payload(*line, *options)->excludes(frame, resync, pcapng);
    return {line, "ribtool explain updates.pcap --only dropped,losses", [options] { return run(*options); }};
}

} // namespace ribtool
