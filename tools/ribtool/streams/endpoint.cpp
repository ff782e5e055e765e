#include "tools/ribtool/streams/endpoint.hpp"

#include "tools/ribtool/errors.hpp"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/un.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace ribtool
{

namespace
{

constexpr std::string_view UNIX_MARK = "unix:";
constexpr std::string_view TCP_MARK = "tcp:";
constexpr size_t MAX_PATH_LEN = sizeof(sockaddr_un::sun_path) - 1; // and a NUL

endpoint parse_path(const std::string &text, std::string_view path)
{
    if (path.empty())
        fail(EXIT_USAGE, "{}: expected the path of a socket behind {}", text, UNIX_MARK);
    if (path.size() > MAX_PATH_LEN)
        fail(EXIT_USAGE, "{}: the path of a socket has at most {} bytes, this one {}", text, MAX_PATH_LEN, path.size());
    return {socket_kind::unix_domain, std::string(path), {}, 0};
}

uint16_t parse_port(const std::string &text, std::string_view digits)
{
    uint16_t port = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (error != std::errc() || end != digits.data() + digits.size())
        fail(EXIT_USAGE, "{}: \"{}\" is not a port from 0 to {}", text, digits, UINT16_MAX);
    return port;
}

endpoint parse_host(const std::string &text, std::string_view host_and_port)
{
    const size_t colon = host_and_port.rfind(':');
    if (colon == std::string_view::npos || colon == 0)
        fail(EXIT_USAGE, "{}: expected unix:PATH, HOST:PORT or [ADDRESS]:PORT", text);
    std::string_view host = host_and_port.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    else if (host.find(':') != std::string_view::npos)
        fail(EXIT_USAGE, "{}: an IPv6 address stands in brackets: [::1]:PORT", text);
    return {socket_kind::tcp, {}, std::string(host), parse_port(text, host_and_port.substr(colon + 1))};
}

socket_address path_address(const endpoint &of)
{
    socket_address address;
    sockaddr_un &in_it = *reinterpret_cast<sockaddr_un *>(&address.storage);
    in_it.sun_family = AF_UNIX;
    std::memcpy(in_it.sun_path, of.path.data(), std::min(of.path.size(), MAX_PATH_LEN));
    address.len = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + of.path.size() + 1);
    return address;
}

bool is_loopback(const socket_address &address)
{
    if (address.storage.ss_family == AF_INET) {
        const sockaddr_in &in_it = *reinterpret_cast<const sockaddr_in *>(&address.storage);
        return ntohl(in_it.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
    }
    const in6_addr &ipv6 = reinterpret_cast<const sockaddr_in6 *>(&address.storage)->sin6_addr;
    return IN6_IS_ADDR_LOOPBACK(&ipv6) || (IN6_IS_ADDR_V4MAPPED(&ipv6) && ipv6.s6_addr[12] == IN_LOOPBACKNET);
}

struct address_list_deleter {
    void operator()(addrinfo *list) const { freeaddrinfo(list); }
};

std::vector<socket_address> host_addresses(const endpoint &of)
{
    addrinfo hints = {};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo *found = nullptr;
    const int status = getaddrinfo(of.host.c_str(), std::to_string(of.port).c_str(), &hints, &found);
    if (status != 0)
        fail(EXIT_FILE, "{}: cannot find the host: {}", endpoint_name(of),
             status == EAI_SYSTEM ? std::strerror(errno) : gai_strerror(status));
    const std::unique_ptr<addrinfo, address_list_deleter> list(found);
    std::vector<socket_address> addresses;
    for (const addrinfo *each = found; each != nullptr; each = each->ai_next) {
        socket_address &address = addresses.emplace_back();
        address.len = std::min(each->ai_addrlen, static_cast<socklen_t>(sizeof address.storage));
        std::memcpy(&address.storage, each->ai_addr, address.len);
    }
    return addresses;
}

// Without the port, as a message about the host names it.
std::string numeric_host(const socket_address &of)
{
    char host[NI_MAXHOST] = "";
    getnameinfo(of.get(), of.len, host, sizeof host, nullptr, 0, NI_NUMERICHOST);
    return host;
}

std::string tcp_name(std::string_view host, uint16_t port)
{
    const bool is_ipv6 = host.find(':') != std::string_view::npos;
    return fmt::format("{}{}{}{}:{}", TCP_MARK, is_ipv6 ? "[" : "", host, is_ipv6 ? "]" : "", port);
}

} // namespace

endpoint parse_endpoint(const std::string &text)
{
    const std::string_view all = text;
    if (all.starts_with(UNIX_MARK))
        return parse_path(text, all.substr(UNIX_MARK.size()));
    if (all.starts_with(TCP_MARK))
        return parse_host(text, all.substr(TCP_MARK.size()));
    return all.find('/') != std::string_view::npos ? parse_path(text, all) : parse_host(text, all);
}

std::string endpoint_name(const endpoint &of)
{
    return of.kind == socket_kind::unix_domain ? fmt::format("{}{}", UNIX_MARK, of.path) : tcp_name(of.host, of.port);
}

std::vector<socket_address> addresses_of(const endpoint &of, reach allowed)
{
    if (of.kind == socket_kind::unix_domain)
        return {path_address(of)};
    std::vector<socket_address> addresses = host_addresses(of);
    for (const socket_address &each : addresses) {
        if (allowed == reach::loopback && !is_loopback(each))
            fail(EXIT_USAGE, "{}: {} is not this machine's loopback; --allow-remote takes it nevertheless",
                 endpoint_name(of), numeric_host(each));
    }
    return addresses;
}

std::string address_name(const socket_address &of)
{
    if (of.storage.ss_family == AF_UNIX) {
        const size_t start = offsetof(sockaddr_un, sun_path);
        const char *path = reinterpret_cast<const sockaddr_un *>(&of.storage)->sun_path;
        return fmt::format("{}{}", UNIX_MARK, of.len <= start ? "" : std::string(path, strnlen(path, of.len - start)));
    }
    const in_port_t port = of.storage.ss_family == AF_INET
                               ? reinterpret_cast<const sockaddr_in *>(&of.storage)->sin_port
                               : reinterpret_cast<const sockaddr_in6 *>(&of.storage)->sin6_port;
    return tcp_name(numeric_host(of), ntohs(port));
}

} // namespace ribtool
