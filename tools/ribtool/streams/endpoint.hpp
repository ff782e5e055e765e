// Where a socket is: as the command line names it, as the system does, and back.

#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ribtool
{

enum class socket_kind { unix_domain, tcp };

struct endpoint {
    socket_kind kind = socket_kind::unix_domain;
    std::string path; // of a UNIX socket
    std::string host; // of a TCP socket: a name or an address, without brackets
    uint16_t port = 0;
};

// "unix:PATH", any text with a '/' in it, "tcp:HOST:PORT", "HOST:PORT" or "[::1]:PORT". A failure says what is wrong with the text.
endpoint parse_endpoint(const std::string &text);

// The same as a text that parse_endpoint() reads: "unix:/tmp/rib", "tcp:[::1]:4711".
std::string endpoint_name(const endpoint &of);

struct socket_address {
    sockaddr_storage storage = {};
    socklen_t len = 0;

    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&storage); }
    sockaddr *get() { return reinterpret_cast<sockaddr *>(&storage); }
};

enum class reach { loopback, anywhere };

// What the endpoint stands for, at least one, in the system's order. With reach::loopback a host is refused unless all of its
// addresses are this machine talking to itself.
std::vector<socket_address> addresses_of(const endpoint &of, reach allowed);

// "tcp:127.0.0.1:4711"; "unix:PATH", or "unix:" where the socket has no name.
std::string address_name(const socket_address &of);

} // namespace ribtool
