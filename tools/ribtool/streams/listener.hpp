// A socket that others connect to.

#pragma once

#include "tools/ribtool/streams/descriptor.hpp"
#include "tools/ribtool/streams/endpoint.hpp"

#include <sys/types.h>

#include <string>

namespace ribtool
{

class listener
{
public:
    // At the first address of the endpoint; port 0 is any that is free. The file of a UNIX socket at which nobody listens any more
    // is replaced, but no other file. A failure names the endpoint.
    listener(const endpoint &at, reach allowed);

    // Removes the file of a UNIX socket, if it is still the one that was made here.
    ~listener();

    listener(const listener &) = delete;
    listener &operator=(const listener &) = delete;

    int get() const { return socket_.get(); }
    const std::string &name() const { return name_; } // for --connect: with the port that the system chose

    // Not blocking. Nothing where nobody waits, or where the process has no descriptors left: errno says which.
    descriptor accept();

private:
    void bind_to(const socket_address &address);
    bool is_stale(const socket_address &address) const;

    std::string name_;
    std::string path_; // of a UNIX socket
    dev_t device_ = 0; // of its file
    ino_t file_ = 0;
    descriptor socket_;
};

} // namespace ribtool
