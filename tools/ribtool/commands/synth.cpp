// ribtool synth: writes a stream of generated updates.

#include "tools/ribtool/command_line.hpp"
#include "tools/ribtool/generate/update_stream.hpp"
#include "tools/ribtool/partial_output.hpp"
#include "tools/ribtool/progress.hpp"

#include <memory>

namespace ribtool
{

namespace
{

constexpr uint64_t MICROSECONDS_PER_UPDATE = 10;
constexpr std::string_view DEFAULT_PROFILE = "mixed";

struct synth_options {
    const profile *kind = find_profile(DEFAULT_PROFILE);
    std::optional<uint64_t> updates; // else the profile's own number
    uint64_t seed = 1;
    capture_format format = capture_format::pcap;
    std::string output;
    bool is_partial_kept = false;
};

exit_code run(const synth_options &options)
{
    const uint64_t count = options.updates.value_or(options.kind->updates);
    update_stream stream(*options.kind, options.seed);
    capture_writer writer(options.output, options.format);
    progress_bar progress("synth", count);
    written_part part = {"updates", 0, options.is_partial_kept};
    return write_all(writer.file(), part, [&] {
        if (part.count == count)
            return false;
        const update made = stream.next();
        writer.write(part.count * MICROSECONDS_PER_UPDATE, framed(made.code, made.payload));
        ++part.count;
        progress.show(part.count, part.count);
        return true;
    });
}

void add_profile(CLI::App &line, const profile *&kind)
{
    std::map<std::string, const profile *> choices;
    std::string names;
    for (const profile &each : profiles()) {
        choices.emplace(each.name, &each);
        names += fmt::format("{}{}", names.empty() ? "" : "|", each.name);
    }
    add_choice(line, "--profile", kind, choices, "What to generate")
        ->option_text(fmt::format("{}   (default: {})", names, DEFAULT_PROFILE));
}

} // namespace

command add_synth(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("synth", "Write a stream of generated updates. One seed gives the same bytes "
                                                 "on any machine.");
    const auto options = std::make_shared<synth_options>();
    add_profile(*line, options->kind);
    CLI::Option *updates = line->add_option("--updates", options->updates,
                                            "How many updates (default: 100000; ecmp 10000, grid 1000, worst-case 60)")
                               ->option_text("N")
                               ->check(whole_number(0));
    line->add_option("--routes", options->updates, "The same, for full-table and ecmp, whose updates are routes")
        ->option_text("N")
        ->check(whole_number(0))
        ->excludes(updates);
    line->add_option("--seed", options->seed, "Seed of the random generator (default: 1)")
        ->option_text("S")
        ->check(whole_number(0));
    add_format(*line, options->format);
    add_output(*line, options->output);
    add_partial(*line, options->is_partial_kept);
    line->callback([line, options] {
        if (line->count("--routes") > 0 && !options->kind->is_of_routes)
            throw CLI::ValidationError("--routes is for the profiles full-table and ecmp; use --updates");
    });
    return {line, "ribtool synth --profile ecmp --updates 1000 -o ecmp.pcap", [options] { return run(*options); }};
}

} // namespace ribtool
