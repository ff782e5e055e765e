// Routes out of rtnetlink messages, which a kernel sends and `ip route save` stores as they come: numbers in the byte order of
// the machine, everything at multiples of four.

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/tables/kernel_route.hpp"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

struct nlmsghdr;

namespace ribtool
{

// A message that contradicts itself; what() says how, whoever has the message says where.
class netlink_error : public std::runtime_error
{
public:
    using runtime_error::runtime_error;
};

// The size of `len` bytes with what fills them up to a multiple of four.
constexpr size_t netlink_aligned(size_t len)
{
    return (len + 3) & ~size_t{3};
}

// The header of the message that `bytes`, at least as many as a header has, begin with. The length in it may lie.
nlmsghdr netlink_header(byte_span bytes);

// What an RTM_NEWROUTE message, header and all, says. Overwrites `entry`. Throws netlink_error.
void parse_route_message(byte_span message, kernel_route &entry);

} // namespace ribtool
