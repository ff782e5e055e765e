// ribtool replay: hands every update of a capture to the library's entry points and prints what the callbacks get.

#include "tools/ribtool/library/library_call.hpp"
#include "tools/ribtool/library/replay_summary.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/options/frame_input.hpp"
#include "tools/ribtool/output/partial_output.hpp"
#include "tools/ribtool/output/progress.hpp"

#include <memory>
#include <optional>
#include <string>

namespace ribtool
{

namespace
{

constexpr uint64_t ASSERTIONS_SHOWN = 10;

enum class replay_forms { both, stripped, unstripped };

struct replay_options {
    frame_input input;
    std::optional<uint64_t> frame;
    std::optional<uint64_t> limit;  // updates
    std::optional<uint64_t> sample; // records printed of each type code and form
    bool print_records = true;
    std::string records_path = "-"; // "-" is the standard output
    rib_inspect::record_json_options json;
    std::optional<rib_inspect::field_selection> fields;
    replay_forms forms = replay_forms::unstripped;
    bool is_partial_kept = false;
};

class replayer
{
public:
    replayer(const replay_options &options, replay_summary &summary) : options_(options), summary_(summary)
    {
        if (options.print_records)
            lines_.emplace(options.records_path, options.json);
    }

    void replay(const captured_frame &frame, const update_type &type)
    {
        if (options_.forms != replay_forms::stripped)
            replay(frame, type, update_form::unstripped);
        if (options_.forms != replay_forms::unstripped)
            replay(frame, type, update_form::stripped);
    }

    // For whoever watches the lines of a live stream.
    void flush()
    {
        if (lines_)
            lines_->flush();
    }

    exit_code finish(uint64_t updates)
    {
        return lines_ ? end_output(lines_->file(), {"updates", updates, options_.is_partial_kept}) : EXIT_DONE;
    }

private:
    void replay(const captured_frame &frame, const update_type &type, update_form form)
    {
        const byte_span payload = byte_span(frame.bytes).subspan(FRAME_HEADER_LEN);
        update_counts &counts = summary_.of(form, type.code);
        ++counts.updates;
        if (type.code == RIB_TLV_ROUTE)
            counts.paths_sent += paths_in_route(payload);

        delivery to;
        to.lines = may_print(counts) ? &*lines_ : nullptr;
        if (to.lines != nullptr)
            to.line = &begun_line(frame, type, form);

        if (const std::string violation = type.violation(payload); !violation.empty()) {
            ++counts.refused;
            if (to.lines != nullptr) {
                to.line->add_text("refused", violation);
                to.lines->print();
            }
            return;
        }
        deliver_update(frame, type, form, to, counts);
    }

    void deliver_update(const captured_frame &frame, const update_type &type, update_form form, delivery &to,
                        update_counts &counts)
    {
        const library_call call = call_library(frame, type, form, to);
        counts.time += call.time;
        counts.callbacks += to.callbacks;
        counts.routes += to.routes;
        counts.paths += to.paths;
        if (call.assertion)
            report(frame, form, *call.assertion, to, counts);
        else if (to.callbacks == 0)
            ++counts.dropped;
    }

    void report(const captured_frame &frame, update_form form, const failed_assertion &assertion, delivery &to,
                update_counts &counts)
    {
        ++counts.stopped;
        if (to.lines != nullptr)
            print(to, assertion);
        if (++assertions_ > ASSERTIONS_SHOWN)
            return;
        complain("frame {} (code {}, {}) stops the process: {}:{}: {}: Assertion `{}' failed.{}", frame.number,
                 frame_code(frame.bytes), form_name(form), assertion.file, assertion.line, assertion.function,
                 assertion.expression, assertions_ == ASSERTIONS_SHOWN ? " Further ones are counted only." : "");
    }

    json_line &begun_line(const captured_frame &frame, const update_type &type, update_form form)
    {
        json_line &line = lines_->begin();
        line.add_number("frame", frame.number);
        line.add_number("type", type.code);
        line.add_text("form", form_name(form));
        return line;
    }

    static void print(delivery &to, const failed_assertion &assertion)
    {
        add_assertion(*to.line, assertion);
        to.lines->print();
    }

    // Asked before the update is counted anywhere but in `updates`.
    bool may_print(const update_counts &counts) const
    {
        const uint64_t printed = counts.callbacks + counts.refused + counts.stopped;
        return lines_ && (!options_.sample || printed < *options_.sample);
    }

    const replay_options &options_;
    std::optional<record_lines> lines_;
    replay_summary &summary_;
    uint64_t assertions_ = 0;
};

void complain_of_code(const frame_source &reader, uint16_t code)
{
    std::vector<std::string> known;
    for (const update_type &each : update_types())
        known.push_back(std::to_string(each.code));
    complain("{}: unknown type code {} (known: {}; {} is a delimiter)", reader.place(), code, enumerated(known),
             DELIMITER_CODE);
}

exit_code run(const replay_options &options)
{
    const std::unique_ptr<frame_source> source = open_frames(options.input, options.frame);
    frame_source &reader = *source;
    if (options.print_records)
        require_other_file(options.input.file, options.records_path);
    replay_summary summary;
    replayer each(options, summary);
    reader.while_waiting([&each] { each.flush(); });
    progress_bar progress("replay", reader.size(), options.print_records && goes_to_terminal(options.records_path));
    captured_frame frame;
    uint64_t updates = 0;
    std::optional<uint16_t> unknown_code; // ends the replay
    while ((!options.limit || updates < *options.limit) && reader.next(frame)) {
        const uint16_t code = frame_code(frame.bytes);
        if (code == DELIMITER_CODE) {
            summary.add_delimiter();
            continue;
        }
        const update_type *type = find_update_type(code);
        if (type == nullptr) {
            unknown_code = code;
            break;
        }
        each.replay(frame, *type);
        progress.show(reader.position(), ++updates);
    }
    progress.clear();
    const exit_code written = each.finish(updates);
    exit_code result = written;
    if (written == EXIT_DONE)
        result = report_damage(reader, summary.all_went_through() ? EXIT_DONE : EXIT_UPDATES_FAILED);
    if (unknown_code) {
        complain_of_code(reader, *unknown_code);
        result = EXIT_MALFORMED;
    }
    summary.print(reader.name(), reader.kind(), updates);
    return result;
}

void add_records(CLI::App &line, replay_options &options)
{
    CLI::Option *records =
        line.add_option("--json", options.records_path, "Where the records go (default: -, the standard output)")
            ->option_text("FILE|-");
    line.add_flag_callback(
            "--no-json", [&options] { options.print_records = false; }, "Print the summary only")
        ->excludes(records);
}

void select_fields(replay_options &options, const std::string &list)
{
    options.fields.emplace();
    for (const std::string &name : CLI::detail::split(list, ',')) {
        if (!options.fields->add(name))
            throw CLI::ValidationError("--fields", fmt::format("no client record has a member \"{}\"", name));
    }
    options.json.fields = &*options.fields;
}

void add_members(CLI::App &line, replay_options &options)
{
    line.add_flag("--compact", options.json.is_compact,
                  "Leave out members that hold 0, null, nothing, or what stands for an absent value");
    line.add_option_function<std::string>(
            "--fields", [&options](const std::string &list) { select_fields(options, list); },
            "Print only these members of records, wherever they are (rt_dest,paths.pe_addr_5)")
        ->option_text("A,B");
}

void add_forms(CLI::App &line, replay_forms &forms)
{
    const auto add = [&](const char *option, replay_forms form, const char *description) {
        return line.add_flag_callback(
            option, [&forms, form] { forms = form; }, description);
    };
    CLI::Option *stripped = add("--stripped", replay_forms::stripped, "Hand over payloads only");
    CLI::Option *unstripped = add("--unstripped", replay_forms::unstripped, "Hand over whole frames only (default)");
    CLI::Option *both = add("--both", replay_forms::both, "Hand over each update both ways");
    stripped->excludes(unstripped, both);
    unstripped->excludes(both);
}

} // namespace

command add_replay(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("replay", "Hand every update of a capture to the library's entry points; "
                                                  "print the client records as JSON Lines and a summary on the "
                                                  "standard error.");
    const auto options = std::make_shared<replay_options>();
    const frame_input_options input = add_frame_input(*line, options->input);
    add_frame(*line, options->frame)->excludes(input.connect);
    add_limit(*line, options->limit, "updates");
    line->add_option("--sample", options->sample, "Print only the first N records of each type code and form")
        ->option_text("N")
        ->check(whole_number(0));
    add_records(*line, *options);
    add_members(*line, *options);
    add_forms(*line, options->forms);
    add_partial(*line, options->is_partial_kept);
    return {line, "ribtool replay updates.pcap --compact --fields rt_dest,paths.pe_addr_5",
            [options] { return run(*options); }};
}

} // namespace ribtool
