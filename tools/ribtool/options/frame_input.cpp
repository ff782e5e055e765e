#include "tools/ribtool/options/frame_input.hpp"

#include "tools/ribtool/frames/capture.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/streams/connection.hpp"
#include "tools/ribtool/streams/socket_frames.hpp"

namespace ribtool
{

CLI::Option *add_endpoint(CLI::App &line, const std::string &option, std::optional<endpoint> &out,
                          const std::string &description)
{
    const auto take = [option, &out](const std::string &text) {
        try {
            out = parse_endpoint(text);
        } catch (const failure &wrong) {
            throw CLI::ValidationError(option, wrong.what());
        }
    };
    return line.add_option_function<std::string>(option, take, description)->option_text("ENDPOINT");
}

CLI::Option *add_allow_remote(CLI::App &line, reach &allowed)
{
    return line.add_flag_callback(
        "--allow-remote", [&allowed] { allowed = reach::anywhere; },
        "Take a HOST that is not this machine's loopback: whoever reaches the network then reaches the stream");
}

frame_input_options add_frame_input(CLI::App &line, frame_input &input)
{
    CLI::Option *file =
        line.add_option("FILE", input.file, "pcap capture or frames one after another, - for the standard input")
            ->option_text(" ");
    CLI::Option *connect =
        add_endpoint(line, "--connect", input.connect, "Read a socket instead: unix:PATH or HOST:PORT")->excludes(file);
    add_allow_remote(line, input.allowed)->needs(connect);
    add_resync(line, input.resynchronises);
    line.parse_complete_callback([&input] {
        if (input.file.empty() && !input.connect)
            throw CLI::RequiredError("FILE or --connect");
    });
    return {file, connect};
}

std::unique_ptr<frame_source> open_frames(const frame_input &input, std::optional<uint64_t> only)
{
    if (input.connect)
        return std::make_unique<socket_frames>(connect_to(*input.connect, input.allowed), endpoint_name(*input.connect),
                                               input.resynchronises);
    return std::make_unique<capture_reader>(input.file, only, input.resynchronises);
}

} // namespace ribtool
