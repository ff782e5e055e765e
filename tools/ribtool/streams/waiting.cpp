#include "tools/ribtool/streams/waiting.hpp"

#include <cerrno>
#include <poll.h>

namespace ribtool
{

waited wait_for(int descriptor, short events, int milliseconds)
{
    pollfd one = {descriptor, events, 0};
    int ready = 0;
    do {
        ready = poll(&one, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);
    return ready == 0 ? waited::too_long : waited::ready;
}

} // namespace ribtool
