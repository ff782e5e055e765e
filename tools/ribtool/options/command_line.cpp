#include "tools/ribtool/options/command_line.hpp"

#include <fmt/format.h>

#include <charconv>
#include <cmath>

namespace ribtool
{

std::string enumerated(const std::vector<std::string> &names, std::string_view last)
{
    std::string all;
    for (size_t index = 0; index < names.size(); ++index) {
        if (index > 0)
            all += index + 1 == names.size() ? last : ", ";
        all += names[index];
    }
    return all;
}

CLI::Validator whole_number(uint64_t least)
{
    return CLI::Validator(
        [least](std::string &text) {
            uint64_t value = 0;
            const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
            if (result.ec == std::errc() && result.ptr == text.data() + text.size() && value >= least)
                return std::string();
            return fmt::format("\"{}\" is not a whole number from {} to {}", text, least, UINT64_MAX);
        },
        "");
}

CLI::Validator positive_number()
{
    return CLI::Validator(
        [](std::string &text) {
            double value = 0;
            const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
            if (result.ec == std::errc() && result.ptr == text.data() + text.size() && value > 0 &&
                std::isfinite(value))
                return std::string();
            return fmt::format("\"{}\" is not a number above 0", text);
        },
        "");
}

CLI::Validator type_code()
{
    return CLI::Validator(
        [](std::string &text) {
            uint16_t value = 0;
            const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
            if (result.ec == std::errc() && result.ptr == text.data() + text.size())
                return std::string();
            return fmt::format("\"{}\" is not a type code from 0 to {}", text, UINT16_MAX);
        },
        "");
}

void add_color(CLI::App &line)
{
    using enum terminal::color_when;
    const std::map<std::string, terminal::color_when> choices = {
        {"auto", automatic}, {"always", always}, {"never", never}};
    add_choice(line, "--color", choices, terminal::set_color,
               "When to write in colours (default: auto, on a terminal that NO_COLOR and TERM=dumb do not forbid)")
        ->option_text("auto|always|never");
}

CLI::Option *add_frame(CLI::App &line, std::optional<uint64_t> &frame)
{
    return line.add_option("--frame", frame, "Only this frame, the first being 1")
        ->option_text("N")
        ->check(whole_number(1));
}

CLI::Option *add_resync(CLI::App &line, bool &resynchronises)
{
    return line.add_flag(
        "--resync", resynchronises,
        "Go on behind damage in frames one after another: skip what is no frame, and say so at the end");
}

void add_limit(CLI::App &line, std::optional<uint64_t> &limit, const std::string &what)
{
    line.add_option("--limit", limit, "Stop after N " + what)->option_text("N")->check(whole_number(0));
}

void add_output(CLI::App &line, std::string &path)
{
    line.add_option("-o,--output", path, "The file to write, - for the standard output")
        ->option_text("FILE   (required)")
        ->required();
}

void add_format(CLI::App &line, capture_format &format)
{
    add_choice(line, "--format", format, {{"pcap", capture_format::pcap}, {"raw", capture_format::raw}},
               "pcap capture or frames one after another (default: pcap)")
        ->option_text("pcap|raw");
}

void add_partial(CLI::App &line, bool &is_partial_kept)
{
    line.add_flag(
        "--partial", is_partial_kept,
        "Keep what was written when a signal or the input ends the run (default: the file stays what it was)");
}

} // namespace ribtool
