// The subcommands: what the command line says, and the functions that do it. Each returns the exit code.

#pragma once

#include "tools/ribtool/capture.hpp"
#include "tools/ribtool/errors.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace ribtool
{

enum class profile { proto_opaque, full_table, ecmp, grid, nhid, mixed, worst_case };

struct synth_options {
    profile kind = profile::mixed;
    std::optional<uint64_t> updates; // else the profile's own number
    uint64_t seed = 1;
    capture_format format = capture_format::pcap;
    std::string output;
};
uint64_t default_updates(profile kind);
exit_code run_synth(const synth_options &options);

enum class replay_forms { both, stripped, unstripped };

struct replay_options {
    std::string input;
    std::optional<uint64_t> limit;  // updates
    std::optional<uint64_t> sample; // records printed of each type code and form
    bool print_records = true;
    std::string records_path = "-"; // "-" is the standard output
    replay_forms forms = replay_forms::both;
};
exit_code run_replay(const replay_options &options);

struct import_options {
    std::string input;
    std::string output;
    std::optional<uint64_t> limit; // routes
    uint64_t updates_per_route = 1;
    capture_format format = capture_format::pcap;
};
exit_code run_import(const import_options &options);

} // namespace ribtool
