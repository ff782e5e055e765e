// ribtool show: one line for each update of a capture, for people.

#include "inspect/rib_inspect.h"
#include "tools/ribtool/explain/explanation.hpp"
#include "tools/ribtool/explain/one_line.hpp"
#include "tools/ribtool/library/older_forms.hpp"
#include "tools/ribtool/library/older_route_client.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/options/update_selection.hpp"
#include "tools/ribtool/output/progress.hpp"
#include "tools/terminal/terminal.hpp"

#include <array>
#include <memory>

namespace ribtool
{

namespace
{

using terminal::style;

struct show_options {
    std::string input;
    selection_criteria criteria;
    std::optional<uint64_t> frame;
    bool resynchronises = false;
    std::optional<uint64_t> limit; // lines
    std::optional<uint64_t> width; // columns; else the terminal's
};

// "missing_field at route_prefix.address (+0x4)"
std::string why(const rib_explanation &of)
{
    if (of.outcome == RIB_STOPPED)
        return fmt::format("{}:{}: {}", of.assertion.file, of.assertion.line, of.assertion.expression);
    std::string text = rib_reason_name(of.reason);
    if (of.path != nullptr && *of.path != 0)
        text += fmt::format(" at {}", of.path);
    if (of.offset != RIB_NO_OFFSET)
        text += fmt::format(" (+0x{:02x})", of.offset);
    return text;
}

style style_of(rib_outcome outcome)
{
    switch (outcome) {
    case RIB_DELIVERED:
    case RIB_OUTCOME_COUNT:
        return style::plain;
    case RIB_DROPPED:
        return style::yellow;
    case RIB_STOPPED:
        return style::red;
    case RIB_REFUSED:
        return style::magenta;
    }
    return style::plain;
}

class shower
{
public:
    explicit shower(const show_options &options)
        : options_(options), selection_(options.criteria), file_("-"), line_(terminal::painter(stdout)),
          width_(options.width ? static_cast<size_t>(*options.width) : terminal::width(stdout))
    {
    }

    void show(captured_frame &frame)
    {
        ++read_;
        if (!selection_.takes(frame.bytes))
            return;
        const uint16_t code = frame_code(frame.bytes);
        line_.begin(frame.number, code);
        if (code == DELIMITER_CODE)
            show_delimiter();
        else if (code == RIB_TLV_OLD_ROUTE)
            show_older_route(frame);
        else
            show_update(frame);
    }

    bool wants_more() const { return !options_.limit || shown_ < *options_.limit; }
    uint64_t shown() const { return shown_; }
    exit_code result() const
    {
        return count_of(RIB_STOPPED) + count_of(RIB_REFUSED) == 0 ? EXIT_DONE : EXIT_UPDATES_FAILED;
    }
    void flush() { file_.flush(); }
    void finish() { file_.close(); }

    void print_summary(const frame_source &reader) const
    {
        std::string text = fmt::format("{}: {}, {} frame{} read, {} shown", terminal::shown_on(stderr, reader.name()),
                                       reader.kind(), read_, read_ == 1 ? "" : "s", shown_);
        for (const rib_outcome outcome : {RIB_DELIVERED, RIB_DROPPED, RIB_STOPPED, RIB_REFUSED}) {
            if (count_of(outcome) != 0)
                text += fmt::format(", {} {}", count_of(outcome), rib_outcome_name(outcome));
            if (outcome == RIB_DELIVERED && with_losses_ != 0)
                text += fmt::format(" ({} with losses)", with_losses_);
        }
        if (delimiters_ != 0)
            text += fmt::format(", {} delimiter{}", delimiters_, delimiters_ == 1 ? "" : "s");
        terminal::say("{}\n", text);
    }

private:
    void show_delimiter()
    {
        ++delimiters_;
        print();
    }

    // ribtool is the client that brings the converter.
    void show_older_route(captured_frame &frame)
    {
        const byte_span payload = byte_span(frame.bytes).subspan(FRAME_HEADER_LEN);
        if (const std::string violation = older_route_violation(payload); !violation.empty()) {
            print_outcome(RIB_REFUSED, violation);
            return;
        }
        uint8_t *cursor = frame.bytes.data() + FRAME_HEADER_LEN;
        const struct rib_routetype_ *route = convert_older_route(nullptr, &cursor);
        if (route == nullptr)
            throw std::bad_alloc();
        print_route(*route, false);
    }

    void show_update(captured_frame &frame)
    {
        const explanation_handle of =
            explain(frame_code(frame.bytes), byte_span(frame.bytes).subspan(FRAME_HEADER_LEN));
        if (of->outcome != RIB_DELIVERED) {
            print_outcome(of->outcome, why(*of));
            return;
        }
        if (of->loss_count != 0)
            line_.add_loss_mark();
        if (of->record_kind == RIB_RECORD_ROUTE) {
            print_route(*static_cast<const struct rib_routetype_ *>(of->record), of->loss_count != 0);
            return;
        }
        line_.add(*of, byte_span(frame.bytes).subspan(FRAME_HEADER_LEN));
        print_delivered(of->loss_count != 0);
    }

    void print_route(const struct rib_routetype_ &route, bool has_losses)
    {
        line_.add(route);
        ++outcomes_[RIB_DELIVERED];
        with_losses_ += has_losses;
        print();
    }

    void print_delivered(bool has_losses)
    {
        ++outcomes_[RIB_DELIVERED];
        with_losses_ += has_losses;
        print();
    }

    void print_outcome(rib_outcome outcome, std::string_view reason)
    {
        ++outcomes_[outcome];
        line_.add_outcome(style_of(outcome), rib_outcome_name(outcome), reason);
        print();
    }

    void print()
    {
        ++shown_;
        std::string text = terminal::fitted(line_.text(), width_);
        text.erase(text.find_last_not_of(' ') + 1);
        file_.write(text + '\n');
    }

    uint64_t count_of(rib_outcome outcome) const { return outcomes_[outcome]; }

    const show_options &options_;
    update_selection selection_;
    output_file file_;
    one_line line_;
    size_t width_;
    uint64_t read_ = 0;
    uint64_t shown_ = 0;
    uint64_t delimiters_ = 0;
    uint64_t with_losses_ = 0;                           // of the delivered ones
    std::array<uint64_t, RIB_OUTCOME_COUNT> outcomes_{}; // of the lines that are shown
};

exit_code run(const show_options &options)
{
    capture_reader reader(options.input, options.frame, options.resynchronises);
    shower each(options);
    reader.while_waiting([&each] { each.flush(); });
    progress_bar progress("show", reader.size(), goes_to_terminal("-"));
    captured_frame frame;
    while (each.wants_more() && reader.next(frame)) {
        each.show(frame);
        progress.show(reader.position(), frame.number);
    }
    progress.clear();
    forget_older_routes();
    each.finish();
    const exit_code result = report_damage(reader, each.result());
    each.print_summary(reader);
    return result;
}

} // namespace

command add_show(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("show", "Show each update of a capture in one line: what a client gets of it, "
                                                "or why it gets nothing.");
    const auto options = std::make_shared<show_options>();
    line->add_option("FILE", options->input, "pcap capture or frames one after another, - for the standard input")
        ->option_text(" ")
        ->required();
    add_codes(*line, options->criteria);
    add_prefixes(*line, options->criteria, "Only routes of these prefixes and of longer ones inside them");
    options->criteria.or_longer = true;
    add_frame(*line, options->frame);
    add_resync(*line, options->resynchronises);
    add_limit(*line, options->limit, "lines");
    line->add_option("--width", options->width, "Cut lines to N columns, 0 for none (default: the terminal's)")
        ->option_text("N")
        ->check(whole_number(0));
    return {line, "ribtool show updates.pcap --prefix 10.0.0.0/8", [options] { return run(*options); }};
}

} // namespace ribtool
