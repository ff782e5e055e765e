#include "tools/ribtool/tables/kernel_table.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/tables/netlink_messages.hpp"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace ribtool
{

namespace
{

// The kernel fills at most half of this with one part of a dump.
constexpr size_t DATAGRAM_LEN = 65536;

constexpr int MOST_DUMPS = 10;

// The kernel has no error beyond this one.
constexpr int MAX_ERROR = 4095;

struct dump_request {
    nlmsghdr header;
    rtmsg route;
    rtattr table_attribute;
    uint32_t table;
};

class descriptor_owner
{
public:
    explicit descriptor_owner(int descriptor) : descriptor_(descriptor) {}
    ~descriptor_owner() { close(descriptor_); }
    descriptor_owner(const descriptor_owner &) = delete;
    descriptor_owner &operator=(const descriptor_owner &) = delete;

    int get() const { return descriptor_; }

private:
    int descriptor_;
};

int open_netlink()
{
    const int descriptor = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (descriptor < 0)
        fail(EXIT_FILE, "the kernel: cannot open a netlink socket: {}", std::strerror(errno));
    // With this a kernel sends the asked table only; one that does not know it sends all, which are looked through here.
    const int on = 1;
    setsockopt(descriptor, SOL_NETLINK, NETLINK_GET_STRICT_CHK, &on, sizeof on);
    return descriptor;
}

const char *family_name(uint8_t family)
{
    return family == AF_INET6 ? "IPv6" : "IPv4";
}

} // namespace

kernel_table::kernel_table(const kernel_selection &selection) : selection_(selection)
{
    const descriptor_owner descriptor(open_netlink());
    dump_families(descriptor.get());
}

kernel_table::kernel_table(const kernel_selection &selection, int descriptor) : selection_(selection)
{
    dump_families(descriptor);
}

std::string kernel_table::place_of(uint64_t number, uint64_t) const
{
    return fmt::format("the kernel: message {}", number);
}

void kernel_table::dump_families(int descriptor)
{
    bool has_table = false;
    for (const uint8_t family : {uint8_t{AF_INET}, uint8_t{AF_INET6}}) {
        if (family == AF_INET ? selection_.ipv4 : selection_.ipv6)
            has_table |= dump_family(descriptor, family) == outcome::complete;
    }
    if (!has_table)
        fail(EXIT_FILE, "the kernel has no {} of {}",
             selection_.table ? fmt::format("table {}", *selection_.table) : "table",
             selection_.ipv4 && selection_.ipv6 ? "either family" : family_name(selection_.ipv6 ? AF_INET6 : AF_INET));
}

// Appends the messages of one family.
kernel_table::outcome kernel_table::dump_family(int descriptor, uint8_t family)
{
    const size_t old_len = messages_.size();
    byte_vector datagram(DATAGRAM_LEN);
    for (int attempt = 0; attempt < MOST_DUMPS; ++attempt) {
        messages_.resize(old_len);
        is_interrupted_ = false;
        request(descriptor, family);
        std::optional<outcome> reached;
        while (!reached) {
            const ssize_t got = recv(descriptor, datagram.data(), datagram.size(), MSG_TRUNC);
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                fail(EXIT_FILE, "the kernel: cannot read: {}", std::strerror(errno));
            if (got == 0 || static_cast<size_t>(got) > datagram.size())
                fail(EXIT_MALFORMED, "the kernel: a part of {} bytes, at most {} are expected", got, datagram.size());
            reached = take(std::span(datagram).first(static_cast<size_t>(got)));
        }
        if (*reached != outcome::interrupted)
            return *reached;
    }
    fail(EXIT_FILE, "the kernel: the {} routes changed during each of {} readings", family_name(family), MOST_DUMPS);
}

void kernel_table::request(int descriptor, uint8_t family)
{
    dump_request asked = {};
    const bool has_table = selection_.table.has_value();
    asked.header.nlmsg_len = has_table ? sizeof asked : NLMSG_LENGTH(sizeof(rtmsg));
    asked.header.nlmsg_type = RTM_GETROUTE;
    asked.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    asked.header.nlmsg_seq = ++sequence_;
    asked.route.rtm_family = family;
    asked.table_attribute = {sizeof(rtattr) + sizeof asked.table, RTA_TABLE};
    asked.table = selection_.table.value_or(RT_TABLE_UNSPEC);
    if (send(descriptor, &asked, asked.header.nlmsg_len, MSG_NOSIGNAL) < 0)
        fail(EXIT_FILE, "the kernel: cannot ask for routes: {}", std::strerror(errno));
}

// Keeps the routes of one part of a dump; says how the dump ended where it does.
std::optional<kernel_table::outcome> kernel_table::take(byte_span datagram)
{
    while (!datagram.empty()) {
        if (datagram.size() < sizeof(nlmsghdr))
            fail(EXIT_MALFORMED, "the kernel: {} bytes are too few for a message", datagram.size());
        const nlmsghdr header = netlink_header(datagram);
        if (header.nlmsg_len < sizeof header || header.nlmsg_len > datagram.size())
            fail(EXIT_MALFORMED, "the kernel: a message of {} bytes, there are {}", header.nlmsg_len, datagram.size());
        const byte_span message = datagram.first(header.nlmsg_len);
        datagram = datagram.subspan(std::min(netlink_aligned(header.nlmsg_len), datagram.size()));
        if (header.nlmsg_seq != sequence_)
            continue;
        is_interrupted_ |= (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
        if (header.nlmsg_type == NLMSG_DONE || header.nlmsg_type == NLMSG_ERROR) {
            int32_t code = 0;
            if (message.size() >= sizeof header + sizeof code)
                std::memcpy(&code, message.data() + sizeof header, sizeof code);
            return outcome_of(code);
        }
        if (header.nlmsg_type != RTM_NEWROUTE)
            continue;
        append_bytes(messages_, message);
        messages_.resize(netlink_aligned(messages_.size()));
    }
    return std::nullopt;
}

// A dump ends with 0 or a negative error number. A table that a family does not have is an error to the newer kernels, a family
// that the kernel does not have to all.
kernel_table::outcome kernel_table::outcome_of(int code) const
{
    if ((code == -ENOENT && selection_.table) || code == -EAFNOSUPPORT || code == -EOPNOTSUPP)
        return outcome::no_table;
    if (code == -EINTR || is_interrupted_)
        return outcome::interrupted;
    if (code < -MAX_ERROR)
        fail(EXIT_MALFORMED, "the kernel: an error of number {}", code);
    if (code < 0)
        fail(EXIT_FILE, "the kernel: cannot read its routes: {}", std::strerror(-code));
    return outcome::complete;
}

bool kernel_table::next_entry(kernel_route &entry)
{
    while (start_ < messages_.size()) {
        const byte_span rest = std::span(messages_).subspan(start_);
        const byte_span message = rest.first(netlink_header(rest).nlmsg_len);
        start_ += netlink_aligned(message.size());
        ++message_number_;
        try {
            parse_route_message(message, entry);
        } catch (const netlink_error &problem) {
            fail(EXIT_MALFORMED, "{}: {}", place_of(message_number_, 0), problem.what());
        }
        entry.place_number = message_number_;
        if (!selection_.table || entry.table == selection_.table || entry.is_of_other_family)
            return true;
    }
    return false;
}

} // namespace ribtool
