#include "tools/ribtool/frames/frame_source.hpp"

namespace ribtool
{

damage interruption(const frame_source &source, uint64_t frames_read)
{
    return {source.name(), fmt::format("interrupted after {} frames", frames_read), EXIT_INTERRUPTED};
}

exit_code report_damage(const frame_source &source, exit_code otherwise)
{
    if (!source.found_damage())
        return otherwise;
    complain("{}: {}", source.found_damage()->place, source.found_damage()->text);
    return source.found_damage()->code;
}

} // namespace ribtool
