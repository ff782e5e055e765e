#include "tools/ribtool/streams/connection.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/streams/waiting.hpp"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

#include <cerrno>
#include <cstring>
#include <poll.h>

namespace ribtool
{

namespace
{

constexpr int MILLISECONDS_BETWEEN_TRIES = 20;

void wait(const endpoint &to, int descriptor, short events, int milliseconds)
{
    if (wait_for(descriptor, events, milliseconds) == waited::interrupted)
        fail(EXIT_INTERRUPTED, "{}: interrupted while connecting", endpoint_name(to));
}

int outcome_of(int socket)
{
    int error = 0;
    socklen_t len = sizeof error;
    return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &len) == 0 ? error : errno;
}

// 0 or an errno.
int connect_one(const endpoint &to, int socket, const socket_address &address)
{
    for (;;) {
        if (connect(socket, address.get(), address.len) == 0)
            return 0;
        switch (errno) {
        case EINTR:
            break;
        case EAGAIN: // so many wait at a UNIX socket already that there is no room for one more
            wait(to, -1, 0, MILLISECONDS_BETWEEN_TRIES);
            break;
        case EINPROGRESS:
        case EALREADY:
            wait(to, socket, POLLOUT, WITHOUT_END);
            return outcome_of(socket);
        default:
            return errno;
        }
    }
}

} // namespace

descriptor connect_to(const endpoint &to, reach allowed)
{
    int error = 0;
    for (const socket_address &address : addresses_of(to, allowed)) {
        descriptor made(socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (made)
            error = connect_one(to, made.get(), address);
        else
            error = errno;
        if (!made || error != 0)
            continue;
        fcntl(made.get(), F_SETFL, O_RDWR);
        keep_alive(made.get());
        return made;
    }
    fail(EXIT_FILE, "{}: cannot connect: {}", endpoint_name(to), std::strerror(error));
}

void keep_alive(int socket)
{
    constexpr int ON = 1;
    constexpr int IDLE_SECONDS = 60;
    constexpr int PROBE_SECONDS = 10;
    constexpr int PROBES = 6;
    setsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, &ON, sizeof ON);
    setsockopt(socket, IPPROTO_TCP, TCP_KEEPIDLE, &IDLE_SECONDS, sizeof IDLE_SECONDS);
    setsockopt(socket, IPPROTO_TCP, TCP_KEEPINTVL, &PROBE_SECONDS, sizeof PROBE_SECONDS);
    setsockopt(socket, IPPROTO_TCP, TCP_KEEPCNT, &PROBES, sizeof PROBES);
}

} // namespace ribtool
