// Any bytes as the messages of a kernel: in a file of `ip route save`, and as the parts of a dump.

#include "fuzz/kernel_routes.hpp"
#include "fuzz/memory_file.hpp"
#include "tools/ribtool/tables/kernel_table.hpp"
#include "tools/ribtool/tables/route_save.hpp"

#include <algorithm>
#include <array>
#include <sys/socket.h>

namespace
{

constexpr std::array<uint8_t, 4> MARK = {0x24, 0x12, 0x31, 0x45};

void read_file(std::span<const uint8_t> messages)
{
    ribtool::byte_vector contents(MARK.begin(), MARK.end());
    contents.insert(contents.end(), messages.begin(), messages.end());
    const memory_file file(contents);
    ribtool::route_save source(std::make_unique<ribtool::compressed_input>(file.path()));
    kernel_routes_of(source);
}

// What the kernel sends lies in the socket before it is asked; behind it the socket ends.
void read_socket(std::span<const uint8_t> messages, size_t part_len)
{
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0)
        std::abort();
    while (!messages.empty()) {
        const size_t len = std::min(part_len, messages.size());
        if (send(ends[1], messages.data(), len, MSG_DONTWAIT) < 0)
            break;
        messages = messages.subspan(len);
    }
    shutdown(ends[1], SHUT_WR);
    try {
        ribtool::kernel_table source({.ipv6 = false}, ends[0]);
        kernel_routes_of(source);
    } catch (const ribtool::failure &) {
    }
    close(ends[0]);
    close(ends[1]);
}

} // namespace

// The first two bytes are the size of the parts.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const std::span messages(data + 2, size - 2);
    read_file(messages);
    read_socket(messages, std::max<size_t>(ribtool::read_be16(data), 16));
    return 0;
}
