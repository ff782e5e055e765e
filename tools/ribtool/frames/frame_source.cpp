#include "tools/ribtool/frames/frame_source.hpp"

namespace ribtool
{

exit_code report_damage(const frame_source &source, exit_code otherwise)
{
    if (!source.found_damage())
        return otherwise;
    complain("{}: {}", source.found_damage()->place, source.found_damage()->text);
    return source.found_damage()->code;
}

} // namespace ribtool
