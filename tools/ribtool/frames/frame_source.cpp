#include "tools/ribtool/frames/frame_source.hpp"

namespace ribtool
{

damage interruption(const frame_source &source, uint64_t frames_read)
{
    return {source.name(), fmt::format("interrupted after {} frames", frames_read), EXIT_INTERRUPTED};
}

exit_code report_damage(const frame_source &source, exit_code otherwise)
{
    exit_code result = otherwise;
    if (source.skipped() != nullptr && source.skipped()->pieces() != 0) {
        source.skipped()->print(source.name());
        result = EXIT_MALFORMED;
    }
    if (!source.found_damage())
        return result;
    complain("{}: {}", source.found_damage()->place, source.found_damage()->text);
    return source.found_damage()->code;
}

} // namespace ribtool
