#include "tools/ribtool/streams/listener.hpp"

#include "tools/ribtool/errors.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <optional>

namespace ribtool
{

namespace
{

std::optional<struct stat> file_at(const std::string &path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0)
        return {};
    return status;
}

descriptor new_socket(const socket_address &address)
{
    descriptor made(socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    constexpr int ON = 1;
    if (made && address.storage.ss_family != AF_UNIX) // a server that starts again gets its port again
        setsockopt(made.get(), SOL_SOCKET, SO_REUSEADDR, &ON, sizeof ON);
    return made;
}

} // namespace

listener::listener(const endpoint &at, reach allowed)
    : name_(endpoint_name(at)), path_(at.kind == socket_kind::unix_domain ? at.path : "")
{
    const socket_address address = addresses_of(at, allowed).front();
    socket_ = new_socket(address);
    if (!socket_)
        fail(EXIT_FILE, "{}: cannot listen: {}", name_, std::strerror(errno));
    bind_to(address);
    if (listen(socket_.get(), SOMAXCONN) != 0)
        fail(EXIT_FILE, "{}: cannot listen: {}", name_, std::strerror(errno));
    if (!path_.empty())
        return;
    socket_address bound;
    bound.len = sizeof bound.storage;
    if (getsockname(socket_.get(), bound.get(), &bound.len) == 0)
        name_ = address_name(bound);
}

void listener::bind_to(const socket_address &address)
{
    int status = bind(socket_.get(), address.get(), address.len);
    if (status != 0 && errno == EADDRINUSE && !path_.empty()) {
        const std::optional<struct stat> there = file_at(path_);
        if (there && !S_ISSOCK(there->st_mode))
            fail(EXIT_FILE, "{}: cannot listen: there is a file that is no socket", name_);
        if (!is_stale(address))
            fail(EXIT_FILE, "{}: cannot listen: another process listens there", name_);
        unlink(path_.c_str());
        status = bind(socket_.get(), address.get(), address.len);
    }
    if (status != 0)
        fail(EXIT_FILE, "{}: cannot listen: {}", name_, std::strerror(errno));
    if (const std::optional<struct stat> made = file_at(path_); made && !path_.empty()) {
        device_ = made->st_dev;
        file_ = made->st_ino;
    }
}

// Nobody answers there, for certain: where it cannot be told somebody may.
bool listener::is_stale(const socket_address &address) const
{
    const descriptor probe = new_socket(address);
    return probe && connect(probe.get(), address.get(), address.len) != 0 && errno == ECONNREFUSED;
}

listener::~listener()
{
    const std::optional<struct stat> there = file_at(path_);
    if (there && file_ != 0 && there->st_dev == device_ && there->st_ino == file_)
        unlink(path_.c_str());
}

descriptor listener::accept()
{
    int made = -1;
    do {
        made = accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    } while (made < 0 && (errno == EINTR || errno == ECONNABORTED));
    return descriptor(made);
}

} // namespace ribtool
