// How a command that writes ends: with all of its output, or, where a signal or its input ends it before, with what --partial says.

#pragma once

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/output/interruption.hpp"
#include "tools/ribtool/output/output_file.hpp"

#include <cstdint>
#include <string_view>

namespace ribtool
{

// What has been written so far: whole units, with and without --partial.
struct written_part {
    std::string_view unit; // "updates"
    uint64_t count = 0;
    bool is_kept = false; // --partial
};

// Closes a file that is whole, or as whole as a signal has left it: that one only where it is kept. Says what became of it then and
// gives EXIT_INTERRUPTED.
exit_code end_output(output_file &file, const written_part &part);

// After the input went wrong: keeps what came before it, where that is wanted, and says so.
void keep_before_damage(output_file &file, const written_part &part);

// Calls step() until it gives false, throws or a signal comes, then closes the file.
template <class Step>
exit_code write_all(output_file &file, const written_part &part, Step step)
{
    try {
        while (!interrupted() && step()) {}
    } catch (const failure &problem) {
        if (problem.code() == EXIT_MALFORMED)
            keep_before_damage(file, part);
        if (problem.code() != EXIT_INTERRUPTED)
            throw;
    }
    return end_output(file, part);
}

} // namespace ribtool
