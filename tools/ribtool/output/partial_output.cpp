#include "tools/ribtool/output/partial_output.hpp"

#include "tools/terminal/terminal.hpp"

#include <string>

namespace ribtool
{

namespace
{

std::string shown_name(const output_file &file)
{
    return terminal::shown_on(stderr, file.name());
}

// A reader that takes nothing any more keeps nobody from ending.
void close_if_possible(output_file &file)
{
    try {
        file.close();
    } catch (const failure &problem) {
        if (problem.code() != EXIT_INTERRUPTED)
            throw;
    }
}

} // namespace

exit_code end_output(output_file &file, const written_part &part)
{
    if (!interrupted()) {
        file.close();
        return EXIT_DONE;
    }
    std::string fate;
    if (!file.is_kept_back())
        close_if_possible(file);
    else if (!part.is_kept)
        fate = fmt::format(": {} is not written", shown_name(file));
    else
        file.close();
    if (file.is_kept_back() && part.is_kept)
        fate = fmt::format(", which {} holds", shown_name(file));
    complain("interrupted after {} {}{}", part.count, part.unit, fate);
    return EXIT_INTERRUPTED;
}

void keep_before_damage(output_file &file, const written_part &part)
{
    if (!part.is_kept || !file.is_kept_back())
        return;
    file.close();
    complain("{} holds the {} {} before this:", shown_name(file), part.count, part.unit);
}

} // namespace ribtool
