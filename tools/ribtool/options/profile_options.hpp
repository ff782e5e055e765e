// What a command line says of a stream that is generated: --profile, --updates, --seed.

#pragma once

#include "tools/ribtool/generate/update_stream.hpp"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>

namespace ribtool
{

struct profile_options {
    const profile *kind = find_profile("mixed");
    std::optional<uint64_t> updates; // else the profile's own number
    uint64_t seed = 1;

    uint64_t count() const { return updates.value_or(kind->updates); }
};

// Gives --profile, in front of which the others mean nothing to a command that reads files, too.
CLI::Option *add_profile_options(CLI::App &line, profile_options &options);

} // namespace ribtool
