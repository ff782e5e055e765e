// A kernel's routes as its messages have them, in files of `ip route save` and from a socket. The bytes are those of little-endian
// machines.

#include "tests/ribtool/run_ribtool.hpp"
#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/tables/kernel_table.hpp"
#include "tools/ribtool/tables/netlink_messages.hpp"
#include "tools/ribtool/tables/route_save.hpp"

#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <unistd.h>

using namespace ribtool;

namespace ribtool_test
{

namespace
{

// 10.1.0.0/16 by two hops.
const bytes TWO_HOPS = {
    0x70, 0,  0,    0,                     // length: 112
    24,   0,  2,    0,                     // RTM_NEWROUTE, one of many
    1,    0,  0,    0,                     // sequence number
    0,    0,  0,    0,                     // port
    2,    16, 0,    0,                     // IPv4, /16, from anywhere, any service
    254,  4,  0,    1,                     // table main, static, everywhere, unicast
    0,    0,  0,    0,                     // no flags
    8,    0,  15,   0,    0x2c, 1, 0, 0,   // table 300
    8,    0,  1,    0,    10,   1, 0, 0,   // destination
    8,    0,  6,    0,    20,   0, 0, 0,   // metric
    8,    0,  7,    0,    192,  0, 2, 200, // source of the host's own packets
    0x34, 0,  9,    0,                     // hops, 52 bytes
    0x10, 0,  4,    1,    7,    0, 0, 0,   //   16 bytes, on-link, weight 2, interface 7
    8,    0,  5,    0,    192,  0, 2, 1,   //     by 192.0.2.1
    0x1e, 0,  0x11, 0,    8,    0, 0, 0,   //   30 bytes, dead and its link down, weight 1, interface 8
    0x16, 0,  18,   0,    10,   0,         //     by an address of IPv6,
    0x20, 1,  0x0d, 0xb8, 0,    0, 0, 0,   //     2001:db8::5
    0,    0,  0,    0,    0,    0, 0, 5,   //
    0,    0,                               //   filling
};

// ::/0 by an interface alone.
const bytes DEFAULT_ROUTE = {
    0x24, 0, 0, 0,             // length: 36
    24,   0, 2, 0,             // RTM_NEWROUTE, one of many
    1,    0, 0, 0,             // sequence number
    0,    0, 0, 0,             // port
    10,   0, 0, 0,             // IPv6, /0
    254,  3, 0, 1,             // table main, boot, everywhere, unicast
    0,    0, 0, 0,             // no flags
    8,    0, 4, 0, 3, 0, 0, 0, // interface 3
};

const bytes DONE = {
    0x14, 0, 0, 0, // length: 20
    3,    0, 2, 0, // NLMSG_DONE
    1,    0, 0, 0, // sequence number
    0,    0, 0, 0, // port
    0,    0, 0, 0, // no error
};

const bytes MARK = {0x24, 0x12, 0x31, 0x45};

bytes changed(bytes message, std::initializer_list<std::pair<size_t, uint8_t>> changes)
{
    for (const auto &[offset, value] : changes)
        message.at(offset) = value;
    return message;
}

std::string complaint_about(const bytes &message)
{
    kernel_route entry;
    try {
        parse_route_message(message, entry);
    } catch (const netlink_error &problem) {
        return problem.what();
    }
    return "";
}

std::string text_of(const std::optional<ip_address> &address)
{
    if (!address)
        return "none";
    return address->is_ipv6 ? ipv6_text(address->bytes.data()) : ipv4_text(read_be32(address->bytes.data()));
}

} // namespace

TEST(netlink_messages, every_attribute_of_a_route_is_taken)
{
    kernel_route entry;
    parse_route_message(TWO_HOPS, entry);
    EXPECT_EQ(text_of(entry.prefix.address), "10.1.0.0");
    EXPECT_EQ(entry.prefix.length, 16);
    EXPECT_EQ(entry.table, 300u) << "a number above 255 stands in an attribute";
    EXPECT_EQ(entry.type, RTN_UNICAST);
    EXPECT_EQ(entry.protocol, 4u);
    EXPECT_EQ(entry.metric, 20u);
    EXPECT_EQ(text_of(entry.source), "192.0.2.200");
    ASSERT_EQ(entry.hops.size(), 2u);
    EXPECT_EQ(text_of(entry.hops[0].gateway), "192.0.2.1");
    EXPECT_EQ(entry.hops[0].interface_index, 7u);
    EXPECT_EQ(entry.hops[0].weight, 2u);
    EXPECT_TRUE(entry.hops[0].is_on_link && !entry.hops[0].is_dead && !entry.hops[0].is_link_down);
    EXPECT_EQ(text_of(entry.hops[1].gateway), "2001:db8::5");
    EXPECT_EQ(entry.hops[1].interface_index, 8u);
    EXPECT_EQ(entry.hops[1].weight, 1u);
    EXPECT_TRUE(!entry.hops[1].is_on_link && entry.hops[1].is_dead && entry.hops[1].is_link_down);
}

TEST(netlink_messages, a_route_without_a_destination_is_for_all_packets)
{
    kernel_route entry;
    parse_route_message(TWO_HOPS, entry); // of which nothing stays
    parse_route_message(DEFAULT_ROUTE, entry);
    EXPECT_TRUE(entry.prefix.address.is_ipv6);
    EXPECT_EQ(text_of(entry.prefix.address), "::");
    EXPECT_EQ(entry.prefix.length, 0);
    EXPECT_EQ(entry.table, 254u);
    EXPECT_FALSE(entry.metric);
    EXPECT_FALSE(entry.source);
    ASSERT_EQ(entry.hops.size(), 1u);
    EXPECT_FALSE(entry.hops[0].gateway);
    EXPECT_FALSE(entry.hops[0].weight);
    EXPECT_EQ(entry.hops[0].interface_index, 3u);
}

TEST(netlink_messages, what_import_has_no_place_for_is_left_out)
{
    const auto reason = [](const bytes &message) {
        kernel_route entry;
        parse_route_message(message, entry);
        return why_left_out(entry);
    };
    EXPECT_EQ(reason(DEFAULT_ROUTE), std::nullopt);
    EXPECT_EQ(reason(changed(DEFAULT_ROUTE, {{16, 28}})), omission::other_family) << "labels";
    EXPECT_EQ(reason(changed(DEFAULT_ROUTE, {{18, 64}})), omission::one_source);
    EXPECT_EQ(reason(changed(DEFAULT_ROUTE, {{19, 8}})), omission::one_service);
    for (const uint8_t type : bytes{RTN_LOCAL, RTN_BROADCAST, RTN_ANYCAST, RTN_MULTICAST})
        EXPECT_EQ(reason(changed(DEFAULT_ROUTE, {{23, type}})), omission::own_address);
    for (const uint8_t type : bytes{RTN_BLACKHOLE, RTN_UNREACHABLE, RTN_PROHIBIT, RTN_THROW})
        EXPECT_EQ(reason(changed(DEFAULT_ROUTE, {{23, type}})), std::nullopt);
    for (const uint8_t type : bytes{0, 10, 11, 12, 255})
        EXPECT_EQ(reason(changed(DEFAULT_ROUTE, {{23, type}})), omission::unknown_type);
    EXPECT_EQ(reason(changed(DEFAULT_ROUTE, {{25, 2}})), omission::cached) << "RTM_F_CLONED";
    EXPECT_EQ(reason(changed(DEFAULT_ROUTE, {{30, 30}})), omission::unresolved_hop) << "RTA_NH_ID";
}

TEST(netlink_messages, a_length_that_lies_is_named_with_its_place)
{
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{28, 3}})),
              "attribute 15 at +28 says that it has 3 bytes, there are 84");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{28, 0}})),
              "attribute 15 at +28 says that it has 0 bytes, there are 84");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{60, 0x35}})),
              "attribute 9 at +60 says that it has 53 bytes, there are 52");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{61, 0xff}})),
              "attribute 9 at +60 says that it has 65332 bytes, there are 52");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{64, 7}})),
              "the next hop at +64 says that it has 7 bytes, there are 48");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{64, 49}})),
              "the next hop at +64 says that it has 49 bytes, there are 48");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{72, 9}})),
              "attribute 5 at +72 says that it has 9 bytes, there are 8");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{88, 23}})),
              "attribute 18 at +88 says that it has 23 bytes, there are 22");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{72, 7}})),
              "attribute 5 at +72 has an address of 3 bytes, this family's have 4");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{28, 7}})), "attribute 15 at +28 has 3 bytes, a number has 4");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{92, 28}})), "attribute 18 at +88 has an address of family 28");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{88, 5}})), "attribute 18 at +88 has 1 bytes, no room for a family");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{17, 33}})), "a prefix length of 33");
    EXPECT_EQ(complaint_about(changed(TWO_HOPS, {{17, 15}})), "an address with bits behind its prefix length of 15");
    EXPECT_EQ(complaint_about(changed(DEFAULT_ROUTE, {{17, 1}})), "a prefix length of 1 without an address");
}

TEST(netlink_messages, only_between_attributes_a_message_may_end)
{
    for (size_t len = 0; len < TWO_HOPS.size(); ++len) {
        const bool is_whole = len == 44 || len == 52 || len == 60;
        const std::string complaint =
            complaint_about({TWO_HOPS.begin(), TWO_HOPS.begin() + static_cast<ptrdiff_t>(len)});
        EXPECT_EQ(complaint.empty(), is_whole) << len << ": " << complaint;
    }
}

class saved_routes : public tool_test
{
protected:
    // The destinations, and behind them what the reader complains about.
    std::string read_routes(const bytes &file) const
    {
        route_save source(std::make_unique<compressed_input>(write("saved", file)));
        std::string found;
        try {
            table_route route;
            for (uint64_t time_us = 0; source.next(route, time_us);)
                found += text_of(route.prefix.address) + " ";
        } catch (const failure &problem) {
            EXPECT_EQ(problem.code(), EXIT_MALFORMED);
            const std::string_view text = problem.what();
            EXPECT_TRUE(text.starts_with(path("saved"))) << text;
            found += text.substr(path("saved").size());
        }
        return found;
    }
};

TEST_F(saved_routes, a_file_is_its_mark_and_routes)
{
    EXPECT_EQ(read_routes(MARK), "");
    EXPECT_EQ(read_routes(joined({MARK, TWO_HOPS, DEFAULT_ROUTE})), "10.1.0.0 :: ");
}

TEST_F(saved_routes, files_one_after_another_are_one)
{
    EXPECT_EQ(read_routes(joined({MARK, TWO_HOPS, MARK, MARK, DEFAULT_ROUTE, MARK})), "10.1.0.0 :: ");
}

TEST_F(saved_routes, a_message_that_means_nothing_is_passed_over)
{
    const bytes no_operation = changed(DONE, {{4, NLMSG_NOOP}});
    EXPECT_EQ(read_routes(joined({MARK, no_operation, TWO_HOPS, no_operation})), "10.1.0.0 ");
}

TEST_F(saved_routes, another_file_is_named)
{
    EXPECT_EQ(read_routes({0x45, 0x31, 0x12, 0x24}),
              ": message 1 at byte 0: was saved on a machine of the other byte order");
    EXPECT_EQ(read_routes(TWO_HOPS), ": message 1 at byte 0: is no file of ip route save");
    EXPECT_EQ(read_routes(joined({MARK, TWO_HOPS, changed(TWO_HOPS, {{4, 20}})})),
              ": message 2 at byte 116: a message of type 20, a route has 24");
}

TEST_F(saved_routes, a_message_that_goes_wrong_is_named_and_those_before_it_are_read)
{
    EXPECT_EQ(read_routes(joined({MARK, TWO_HOPS, changed(DEFAULT_ROUTE, {{28, 9}})})),
              ": message 2 at byte 116: attribute 4 at +28 says that it has 9 bytes, there are 8");
    EXPECT_EQ(read_routes(joined({MARK, DEFAULT_ROUTE, TWO_HOPS, changed(DEFAULT_ROUTE, {{0, 15}})})),
              ":: : message 3 at byte 152: a message of 15 bytes");
    EXPECT_EQ(read_routes(joined({MARK, changed(DEFAULT_ROUTE, {{3, 1}})})),
              ": message 1 at byte 4: a message of 16777252 bytes");
}

TEST_F(saved_routes, a_file_that_is_cut_says_so)
{
    const bytes whole = joined({MARK, DEFAULT_ROUTE});
    for (size_t len = 1; len < whole.size(); ++len) {
        if (len == MARK.size())
            continue;
        const std::string found = read_routes({whole.begin(), whole.begin() + static_cast<ptrdiff_t>(len)});
        EXPECT_NE(found.find(len < MARK.size() ? "is no file" : ": cut: "), std::string::npos) << len << found;
    }
}

// The other end of a socket that keeps messages apart: what a kernel would have sent lies in it before it is asked.
class kernel_answers : public testing::Test
{
protected:
    kernel_answers() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends_.data()), 0); }
    ~kernel_answers() override
    {
        close(ends_[0]);
        close(ends_[1]);
    }

    void answer(const bytes &datagram) const
    {
        ASSERT_EQ(send(ends_[1], datagram.data(), datagram.size(), 0), static_cast<ssize_t>(datagram.size()));
    }

    // The destinations of the IPv4 routes, or what the reader complains about.
    std::string read_routes(const kernel_selection &selection = {.ipv6 = false}) const
    {
        std::string found;
        try {
            kernel_table source(selection, ends_[0]);
            table_route route;
            for (uint64_t time_us = 0; source.next(route, time_us);)
                found += text_of(route.prefix.address) + " ";
        } catch (const failure &problem) {
            return fmt::format("{}: {}", static_cast<int>(problem.code()), problem.what());
        }
        return found;
    }

    bytes asked() const
    {
        bytes datagram(100);
        const ssize_t got = recv(ends_[1], datagram.data(), datagram.size(), MSG_DONTWAIT);
        datagram.resize(got > 0 ? static_cast<size_t>(got) : 0);
        return datagram;
    }

    static bytes error(int code, uint8_t type = NLMSG_DONE)
    {
        const auto low = static_cast<uint8_t>(code);
        return changed(DONE, {{4, type}, {16, low}, {17, 0xff}, {18, 0xff}, {19, 0xff}});
    }

    static constexpr size_t SEQUENCE = 8; // where it stands
    static constexpr size_t FLAGS = 6;
    static constexpr uint8_t INTERRUPTED = 0x12; // one of many, and the dump was interrupted

private:
    std::array<int, 2> ends_{};
};

TEST_F(kernel_answers, routes_are_asked_for_by_exactly_these_bytes)
{
    answer(DONE);
    EXPECT_EQ(read_routes({.table = 300, .ipv6 = false}), "");
    const bytes expected = {
        0x24, 0, 0,  0,                // length: 36
        26,   0, 1,  3,                // RTM_GETROUTE, a request, all of them
        1,    0, 0,  0,                // sequence number
        0,    0, 0,  0,                // port
        2,    0, 0,  0,                // IPv4
        0,    0, 0,  0,                //
        0,    0, 0,  0,                //
        8,    0, 15, 0, 0x2c, 1, 0, 0, // table 300
    };
    EXPECT_EQ(asked(), expected);
    EXPECT_EQ(asked(), bytes());
}

TEST_F(kernel_answers, the_parts_of_a_dump_are_one_table)
{
    answer(joined({TWO_HOPS, TWO_HOPS}));
    answer(DEFAULT_ROUTE);
    answer(DONE);
    EXPECT_EQ(read_routes(), "10.1.0.0 :: ") << "entries of one prefix are one route";
}

TEST_F(kernel_answers, a_table_that_was_not_asked_for_is_passed_over)
{
    answer(joined({TWO_HOPS, DEFAULT_ROUTE, DONE}));
    EXPECT_EQ(read_routes({.table = 300, .ipv6 = false}), "10.1.0.0 ");
}

TEST_F(kernel_answers, an_interrupted_dump_is_read_again_and_its_routes_forgotten)
{
    answer(joined({TWO_HOPS, changed(DEFAULT_ROUTE, {{FLAGS, INTERRUPTED}})}));
    answer(DONE);
    answer(joined({changed(TWO_HOPS, {{SEQUENCE, 2}}), changed(DONE, {{SEQUENCE, 2}})}));
    EXPECT_EQ(read_routes(), "10.1.0.0 ");
}

TEST_F(kernel_answers, a_table_that_never_rests_is_given_up)
{
    for (uint8_t attempt = 1; attempt <= 10; ++attempt)
        answer(changed(DONE, {{SEQUENCE, attempt}, {FLAGS, INTERRUPTED}}));
    EXPECT_EQ(read_routes(), "3: the kernel: the IPv4 routes changed during each of 10 readings");
}

TEST_F(kernel_answers, messages_of_an_earlier_question_are_passed_over)
{
    answer(joined({changed(DEFAULT_ROUTE, {{SEQUENCE, 0}}), changed(DONE, {{SEQUENCE, 0}})}));
    answer(joined({TWO_HOPS, DONE}));
    EXPECT_EQ(read_routes(), "10.1.0.0 ");
}

TEST_F(kernel_answers, an_error_is_told)
{
    for (const uint8_t type : bytes{NLMSG_DONE, NLMSG_ERROR}) {
        answer(error(-EPERM, type));
        EXPECT_EQ(read_routes(), "3: the kernel: cannot read its routes: Operation not permitted");
    }
    answer(changed(error(-EPERM), {{16, 0}, {17, 0}, {18, 0}, {19, 0x80}}));
    EXPECT_EQ(read_routes(), "4: the kernel: an error of number -2147483648");
    answer(error(-ENOENT));
    EXPECT_EQ(read_routes({.table = 300, .ipv6 = false}), "3: the kernel has no table 300 of IPv4");
    answer(error(-EOPNOTSUPP));
    EXPECT_EQ(read_routes({.ipv4 = false}), "3: the kernel has no table of IPv6");
}

TEST_F(kernel_answers, a_message_that_goes_wrong_is_told)
{
    answer(changed(TWO_HOPS, {{0, 0x71}}));
    EXPECT_EQ(read_routes(), "4: the kernel: a message of 113 bytes, there are 112");
    answer({0x70, 0, 0});
    EXPECT_EQ(read_routes(), "4: the kernel: 3 bytes are too few for a message");
    answer(joined({changed(TWO_HOPS, {{28, 3}}), DONE}));
    EXPECT_EQ(read_routes(), "4: the kernel: message 1: attribute 15 at +28 says that it has 3 bytes, there are 84");
    answer(bytes(70000));
    EXPECT_EQ(read_routes(), "4: the kernel: a part of 70000 bytes, at most 65536 are expected");
}

} // namespace ribtool_test
