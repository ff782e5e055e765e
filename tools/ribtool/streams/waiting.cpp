#include "tools/ribtool/streams/waiting.hpp"

#include "tools/ribtool/output/interruption.hpp"

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

bool wait_with(const std::function<void()> &idle, int descriptor, short events)
{
    constexpr int IDLE_MILLISECONDS = 200;
    waited until = wait_for(descriptor, events, 0);
    while (until == waited::too_long) {
        if (idle)
            idle();
        until = wait_for(descriptor, events, idle ? IDLE_MILLISECONDS : WITHOUT_END);
    }
    return until == waited::ready;
}

} // namespace ribtool
