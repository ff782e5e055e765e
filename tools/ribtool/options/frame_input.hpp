// Where a command takes its frames from: a file, a pipe or a socket, as its command line says.

#pragma once

#include "tools/ribtool/frames/frame_source.hpp"
#include "tools/ribtool/streams/endpoint.hpp"

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <string>

namespace ribtool
{

struct frame_input {
    std::string file;                // "-" is the standard input
    std::optional<endpoint> connect; // instead of a file
    reach allowed = reach::loopback;
    bool resynchronises = false;
};

// FILE, or --connect ENDPOINT with --allow-remote; --resync. Gives the first two for what they exclude.
struct frame_input_options {
    CLI::Option *file;
    CLI::Option *connect;
};
frame_input_options add_frame_input(CLI::App &line, frame_input &input);

// An option whose value is an ENDPOINT.
CLI::Option *add_endpoint(CLI::App &line, const std::string &option, std::optional<endpoint> &out,
                          const std::string &description);
CLI::Option *add_allow_remote(CLI::App &line, reach &allowed);

// With `only` that frame alone, the first being 1, which a file must have.
std::unique_ptr<frame_source> open_frames(const frame_input &input, std::optional<uint64_t> only = {});

} // namespace ribtool
