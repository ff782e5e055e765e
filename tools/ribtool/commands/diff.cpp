// ribtool diff: what two streams of updates, each folded to what a client has at its end, differ in.

#include "tools/ribtool/explain/one_line.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/output/interruption.hpp"
#include "tools/ribtool/output/progress.hpp"
#include "tools/ribtool/state/difference_output.hpp"
#include "tools/ribtool/state/folded_state.hpp"
#include "tools/ribtool/tables/table_frames.hpp"

#include <algorithm>
#include <memory>
#include <vector>

namespace ribtool
{

namespace
{

struct diff_options {
    std::string inputs[2];
    bool is_json = false;
    bool is_brief = false;
    std::optional<uint64_t> limit; // differences that are shown
};

struct side {
    folded_state state;
    std::string summary;
};

// Gives what diff ends with where the input is not read to its end.
exit_code fold(const std::string &path, side &into)
{
    const std::unique_ptr<frame_source> source = open_capture_or_table(path);
    progress_bar progress("diff", source->size());
    captured_frame frame;
    while (!interrupted() && source->next(frame)) {
        into.state.take(frame);
        progress.show(source->position(), frame.number);
    }
    progress.clear();
    into.summary =
        fmt::format("{}: {}, {}\n", terminal::shown_on(stderr, source->name()), source->kind(), into.state.summary());
    return report_damage(*source, interrupted() ? EXIT_INTERRUPTED : EXIT_DONE);
}

// Whether a client would see a difference: different bytes may say the same.
bool has_same_content(const state_table &a, const kept_update &in_a, const state_table &b, const kept_update &in_b)
{
    const byte_span content_a = a.content(in_a);
    const byte_span content_b = b.content(in_b);
    if (in_a.code == in_b.code && std::ranges::equal(content_a, content_b))
        return true;
    return is_same(record_of(a, in_a).view(), record_of(b, in_b).view());
}

struct found_difference {
    const kept_update *a; // null: added
    const kept_update *b; // null: removed

    const update_key &key() const { return (a != nullptr ? a : b)->key; }
};

class comparison
{
public:
    comparison(const state_table &a, const state_table &b) : a_(a), b_(b)
    {
        a.for_each([&](const kept_update &in_a) {
            const kept_update *const in_b = b.find(in_a.key);
            if (in_b != nullptr && has_same_content(a, in_a, b, *in_b))
                ++same_;
            else
                found_.push_back({&in_a, in_b});
        });
        b.for_each([&](const kept_update &in_b) {
            if (a.find(in_b.key) == nullptr)
                found_.push_back({nullptr, &in_b});
        });
        std::ranges::sort(found_, {}, &found_difference::key);
    }

    bool is_same_throughout() const { return found_.empty(); }

    void print(difference_output &out, uint64_t most) const
    {
        for (const found_difference &each : std::span(found_).first(std::min<uint64_t>(most, found_.size()))) {
            if (interrupted())
                return;
            if (each.a == nullptr)
                out.print_added(b_, *each.b);
            else if (each.b == nullptr)
                out.print_removed(a_, *each.a);
            else
                out.print_changed(a_, *each.a, b_, *each.b);
        }
    }

    // "3 added, 1 removed, 2 changed, 812 the same"
    std::string summary() const
    {
        const auto count = [this](auto is) { return std::ranges::count_if(found_, is); };
        return fmt::format("{} added, {} removed, {} changed, {} the same",
                           count([](const found_difference &each) { return each.a == nullptr; }),
                           count([](const found_difference &each) { return each.b == nullptr; }),
                           count([](const found_difference &each) { return each.a != nullptr && each.b != nullptr; }),
                           same_);
    }

private:
    const state_table &a_;
    const state_table &b_;
    std::vector<found_difference> found_;
    uint64_t same_ = 0;
};

void print(const comparison &compared, const diff_options &options)
{
    const auto out = make_difference_output(options.is_json);
    compared.print(*out, options.limit.value_or(UINT64_MAX));
    out->close();
}

exit_code run(const diff_options &options)
{
    if (options.inputs[0] == "-" && options.inputs[1] == "-")
        fail(EXIT_USAGE, "only one of the two can be the standard input");
    side sides[2];
    exit_code worst = EXIT_DONE;
    for (size_t index = 0; index < 2 && !interrupted(); ++index)
        worst = std::max(worst, fold(options.inputs[index], sides[index]));
    if (worst != EXIT_DONE) {
        terminal::say("{}{}", sides[0].summary, sides[1].summary);
        complain("nothing is compared: what would have come behind the end of an input is not known");
        return worst;
    }
    const comparison compared(sides[0].state.table(), sides[1].state.table());
    const exit_code answer = compared.is_same_throughout() ? EXIT_DONE : EXIT_UPDATES_FAILED;
    try {
        if (!options.is_brief)
            print(compared, options);
    } catch (const closed_pipe &) {
        return answer; // of differences there are no fewer because nobody reads on
    }
    terminal::say("{}{}{}\n", sides[0].summary, sides[1].summary, compared.summary());
    return interrupted() ? EXIT_INTERRUPTED : answer;
}

} // namespace

command add_diff(CLI::App &app)
{
    CLI::App *line =
        app.add_subcommand("diff", "Compare what a client has at the end of two captures or tables: what was "
                                   "added, removed and changed from A to B.");
    const auto options = std::make_shared<diff_options>();
    for (const auto &[name, input] : {std::pair("A", &options->inputs[0]), {"B", &options->inputs[1]}})
        line->add_option(name, *input, "A capture, or a table as import reads it, - for the standard input")
            ->option_text(" ")
            ->required();
    CLI::Option *const json = line->add_flag("--json", options->is_json, "One JSON object for each difference");
    line->add_flag("-q,--brief", options->is_brief, "No differences, only how many there are")->excludes(json);
    line->add_option("--limit", options->limit, "Show no more than N differences; all are counted")
        ->option_text("N")
        ->check(whole_number(0));
    return {line, "ribtool diff yesterday.pcap today.pcap", [options] { return run(*options); }};
}

} // namespace ribtool
