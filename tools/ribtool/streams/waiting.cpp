#include "tools/ribtool/streams/waiting.hpp"

#include "tools/ribtool/interruption.hpp"

#include <cerrno>
#include <poll.h>

namespace ribtool
{

waited wait_for(int descriptor, short events, int milliseconds)
{
    pollfd both[] = {{descriptor, events, 0}, {interruption_descriptor(), POLLIN, 0}};
    int ready = 0;
    do {
        ready = poll(both, 2, milliseconds);
    } while (ready < 0 && errno == EINTR && !interrupted());
    if (interrupted())
        return waited::interrupted;
    return ready == 0 ? waited::too_long : waited::ready;
}

} // namespace ribtool
