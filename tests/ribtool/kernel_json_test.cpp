// What `ip -j route` prints becomes routes; what is no JSON, or none of routes, is named with its place.

#include "tests/ribtool/run_ribtool.hpp"
#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/tables/kernel_json.hpp"

using namespace ribtool;

namespace ribtool_test
{

class kernel_json_file : public tool_test
{
protected:
    std::vector<table_route> read_routes(std::string_view text)
    {
        source_ = std::make_unique<kernel_json>(std::make_unique<compressed_input>(write("json", text)));
        std::vector<table_route> routes;
        table_route route;
        for (uint64_t time_us = 0; source_->next(route, time_us);)
            routes.push_back(route);
        return routes;
    }

    table_path path_of(std::string_view members)
    {
        const auto routes = read_routes(fmt::format(R"([{{"dst":"10.0.0.0/8",{}}}])", members));
        EXPECT_EQ(routes.size(), 1u);
        EXPECT_EQ(routes.empty() ? 0 : routes[0].paths.size(), 1u);
        return routes.empty() || routes[0].paths.empty() ? table_path() : routes[0].paths[0];
    }

    static std::string text_of(const std::optional<ip_address> &address)
    {
        if (!address)
            return "none";
        return address->is_ipv6 ? ipv6_text(address->bytes.data()) : ipv4_text(read_be32(address->bytes.data()));
    }

    // The prefixes of all routes.
    std::string prefixes(std::string_view text)
    {
        std::string all;
        for (const table_route &route : read_routes(text))
            all += fmt::format("{}/{} ", text_of(route.prefix.address), route.prefix.length);
        return all;
    }

    // What is said behind the file's name.
    std::string complaint(std::string_view text)
    {
        try {
            read_routes(text);
        } catch (const failure &problem) {
            EXPECT_EQ(problem.code(), EXIT_MALFORMED);
            EXPECT_EQ(std::string_view(problem.what()).substr(0, path("json").size()), path("json"));
            return std::string(problem.what()).substr(path("json").size());
        }
        return "";
    }

    std::string left_out_of(std::string_view text)
    {
        read_routes(text);
        std::string all;
        for (const left_out &each : source_->left_out_so_far())
            all += fmt::format("{} {}; ", each.count, each.what);
        return all;
    }

private:
    std::unique_ptr<kernel_json> source_;
};

TEST_F(kernel_json_file, every_member_of_a_route_is_taken)
{
    const auto routes = read_routes(R"([{"ifindex":3,"ifname":"d0"},{"ifindex":4,"ifname":"d1"}]
[{"type":"unicast","dst":"10.1.0.0/16","table":"300","protocol":"static","scope":"global","prefsrc":"192.0.2.200","metric":20,
"flags":[],"nexthops":[{"gateway":"192.0.2.1","dev":"d0","weight":2,"flags":["onlink"]},
{"via":{"family":"inet6","host":"2001:db8::5"},"dev":"d1","weight":1,"flags":["dead","linkdown"]}]}])");
    ASSERT_EQ(routes.size(), 1u);
    EXPECT_EQ(text_of(routes[0].prefix.address), "10.1.0.0");
    EXPECT_EQ(routes[0].prefix.length, 16);
    EXPECT_EQ(routes[0].table, 300u);
    ASSERT_EQ(routes[0].paths.size(), 2u);
    for (const table_path &path : routes[0].paths) {
        EXPECT_EQ(path.kernel_type, 1u);
        EXPECT_EQ(path.protocol, 4u);
        EXPECT_EQ(path.med, 20u);
        EXPECT_EQ(text_of(path.source), "192.0.2.200");
    }
    const table_path &first = routes[0].paths[0];
    EXPECT_EQ(text_of(first.next_hop), "192.0.2.1");
    EXPECT_EQ(first.interface_index, 3u);
    EXPECT_EQ(first.weight, 2u);
    EXPECT_TRUE(first.on_link && !first.dead && !first.link_down);
    const table_path &second = routes[0].paths[1];
    EXPECT_EQ(text_of(second.next_hop), "2001:db8::5");
    EXPECT_EQ(second.interface_index, 4u);
    EXPECT_EQ(second.weight, 1u);
    EXPECT_TRUE(!second.on_link && second.dead && second.link_down);
}

TEST_F(kernel_json_file, entries_of_one_prefix_and_table_are_one_route)
{
    const auto routes =
        read_routes(R"([{"dst":"10.0.0.0/8","metric":1,"table":"5"},{"dst":"10.0.0.0/8","metric":2,"table":"5"},
{"dst":"10.0.0.0/8","table":"6"},{"dst":"10.0.0.0/9","table":"6"}])");
    ASSERT_EQ(routes.size(), 3u);
    ASSERT_EQ(routes[0].paths.size(), 2u);
    EXPECT_EQ(routes[0].paths[0].med, 1u);
    EXPECT_EQ(routes[0].paths[1].med, 2u);
    EXPECT_EQ(routes[1].table, 6u);
    EXPECT_EQ(routes[2].prefix.length, 9);
}

TEST_F(kernel_json_file, tables_whose_names_have_no_number_are_not_mixed)
{
    const auto routes = read_routes(R"([{"dst":"default","gateway":"192.0.2.1","table":"no such"},
{"dst":"default","gateway":"192.0.2.2","table":"no such"},{"dst":"default","gateway":"192.0.2.3","table":"nor this"},
{"dst":"default","gateway":"192.0.2.4"}])");
    ASSERT_EQ(routes.size(), 3u);
    EXPECT_EQ(routes[0].paths.size(), 2u);
    EXPECT_EQ(text_of(routes[1].paths[0].next_hop), "192.0.2.3");
    EXPECT_EQ(text_of(routes[2].paths[0].next_hop), "192.0.2.4");
}

TEST_F(kernel_json_file, an_address_without_a_length_is_a_host)
{
    EXPECT_EQ(prefixes(R"([{"dst":"10.0.0.1"},{"dst":"2001:db8::1"}])"), "10.0.0.1/32 2001:db8::1/128 ");
}

TEST_F(kernel_json_file, the_family_of_a_default_route_is_that_of_its_other_members)
{
    EXPECT_EQ(prefixes(R"([{"dst":"default","gateway":"192.0.2.1"}])"), "0.0.0.0/0 ");
    EXPECT_EQ(prefixes(R"([{"dst":"default","dev":"d0","scope":"link"}])"), "0.0.0.0/0 ");
    EXPECT_EQ(prefixes(R"([{"dst":"default","via":{"family":"inet6","host":"2001:db8::1"}}])"), "0.0.0.0/0 ");
    EXPECT_EQ(prefixes(R"([{"dst":"default","gateway":"2001:db8::1"}])"), "::/0 ");
    EXPECT_EQ(prefixes(R"([{"dst":"default","nexthops":[{"gateway":"2001:db8::1","weight":1}]}])"), "::/0 ");
    EXPECT_EQ(prefixes(R"([{"dst":"default","dev":"d0","metric":1024,"pref":"medium"}])"), "::/0 ");
    EXPECT_EQ(prefixes(R"([{"dst":"default","dev":"d0","prefsrc":"2001:db8::1"}])"), "::/0 ");
}

TEST_F(kernel_json_file, members_of_an_encapsulation_are_not_the_routes)
{
    const auto routes =
        read_routes(R"([{"dst":"10.0.0.0/8","encap":"ip","id":100,"src":"0.0.0.0","dst":"192.0.2.77","ttl":0,
"tos":0,"table":"9","gateway":"192.0.2.1","table":"7"}])");
    ASSERT_EQ(routes.size(), 1u);
    EXPECT_EQ(text_of(routes[0].prefix.address), "10.0.0.0");
    EXPECT_EQ(routes[0].table, 7u);
    EXPECT_EQ(text_of(routes[0].paths[0].next_hop), "192.0.2.1");
}

TEST_F(kernel_json_file, types_and_protocols_may_be_numbers)
{
    EXPECT_EQ(path_of(R"("type":"blackhole")").kernel_type, 6u);
    EXPECT_EQ(path_of(R"("type":"7")").kernel_type, 7u);
    EXPECT_EQ(path_of(R"("protocol":"201")").protocol, 201u);
    EXPECT_EQ(path_of(R"("protocol":202)").protocol, 202u);
}

TEST_F(kernel_json_file, packets_that_end_here_have_no_hop)
{
    const auto routes = read_routes(R"([{"ifindex":1,"ifname":"lo"}]
[{"type":"blackhole","dst":"2001:db8::/32","dev":"lo","metric":1024}])");
    ASSERT_EQ(routes.size(), 1u);
    ASSERT_EQ(routes[0].paths.size(), 1u);
    EXPECT_FALSE(routes[0].paths[0].interface_index) << "which is the kernel's own matter";
    EXPECT_EQ(routes[0].paths[0].med, 1024u);
    EXPECT_EQ(left_out_of(R"([{"type":"prohibit","dst":"2001:db8::/32","dev":"lo"}])"), "");
}

TEST_F(kernel_json_file, what_is_left_out_is_counted)
{
    EXPECT_EQ(
        left_out_of(R"([{"dst":"10.0.0.0/8","type":"local","dev":"lo"},{"dst":"10.0.0.0/8","type":"broadcast"}])"),
        "2 entries for the host's own, broadcast and multicast addresses; ");
    EXPECT_EQ(left_out_of(R"([{"dst":"10.0.0.0/8","type":"quick"}])"),
              "1 entries of a type that import does not know; ");
    EXPECT_EQ(left_out_of(R"([{"dst":"10.0.0.0/8","cache":[]}])"), "1 cached entries; ");
    EXPECT_EQ(left_out_of(R"([{"dst":"::","from":"2001:db8::/64"}])"), "1 entries for packets from one source only; ");
    EXPECT_EQ(left_out_of(R"([{"dst":"10.0.0.0/8","tos":"0x08"}])"),
              "1 entries for packets of one type of service only; ");
    EXPECT_EQ(left_out_of(R"([{"dst":"10.0.0.0/8","nhid":5}])"),
              "1 entries with a next-hop object whose hops are not told; ");
    EXPECT_EQ(left_out_of(R"([{"dst":"10.0.0.0/8","nhid":5,"dev":"d0"}])"),
              "1 names of interfaces whose index is not told; ");
    EXPECT_EQ(left_out_of(R"([{"dst":"10.0.0.0/8","table":"no such","protocol":"neither"}])"),
              "1 names of protocols that have no number here; 1 names of tables that have no number here; ");
    EXPECT_EQ(left_out_of(R"([{"dst":"::","encap":"seg6","segs":["2001:db8::9"],"gateway":"2001:db8::1","pref":"high",
"metrics":[{"mtu":1400}]}])"),
              "1 encapsulations of paths; 1 router preferences; 1 sets of metrics like mtu; ");
}

TEST_F(kernel_json_file, arrays_and_objects_may_follow_one_another)
{
    EXPECT_EQ(prefixes(R"([{"dst":"10.0.0.0/8"}][ ]
{"dst":"10.0.0.0/9"}{"dst":"10.0.0.0/10"}
[{},{"dst":"10.0.0.0/11"}])"),
              "10.0.0.0/8 10.0.0.0/9 10.0.0.0/10 10.0.0.0/11 ");
    EXPECT_EQ(prefixes("[]"), "");
    EXPECT_EQ(prefixes("\xef\xbb\xbf[{\"dst\":\"10.0.0.0/8\"}]"), "10.0.0.0/8 ") << "behind a mark of UTF-8";
}

TEST_F(kernel_json_file, escapes_in_texts_are_understood)
{
    const auto routes = read_routes(R"([{"ifindex":9,"ifname":"a\"\\\/\b\f\n\r\tz\u0041\u00e4\ud83d\ude00"}]
[{"dst":"10.0.0.0\/8","dev":"\u0061\u0022\\/)"
                                    "\\u0008\\u000c\\u000a\\u000d\\u0009zA\xc3\xa4\xf0\x9f\x98\x80\"}]");
    ASSERT_EQ(routes.size(), 1u);
    EXPECT_EQ(routes[0].paths[0].interface_index, 9u);
}

TEST_F(kernel_json_file, what_is_no_route_is_named_with_its_place)
{
    EXPECT_EQ(complaint("[{\"dst\":\"10.0.0.0/8\"},\n {\"gateway\":\"192.0.2.1\"}]"),
              ":2:2: an object without dst, which each route has");
    EXPECT_EQ(complaint(R"([1])"), ":1:2: expected an object, as ip -j route prints one for each route");
    EXPECT_EQ(complaint(R"([[]])"), ":1:2: expected an object, as ip -j route prints one for each route");
    EXPECT_EQ(complaint(R"("dst")"), ":1:1: expected an object, as ip -j route prints one for each route");
    EXPECT_EQ(complaint(R"([{"dst":"10.0.0/8"}])"), ":1:9: bad dst \"10.0.0/8\"");
    EXPECT_EQ(complaint(R"([{"dst":"10.0.0.0/33"}])"), ":1:9: bad dst \"10.0.0.0/33\"");
    EXPECT_EQ(complaint(R"([{"dst":"10.0.0.1/8"}])"), ":1:9: 10.0.0.1/8 has bits behind its prefix length");
    EXPECT_EQ(complaint(R"([{"dst":8}])"), ":1:9: dst is no text");
    EXPECT_EQ(complaint(R"([{"dst":"::","gateway":"x\u001b"}])"), ":1:24: bad gateway \"x\\x1b\"");
    EXPECT_EQ(complaint(R"([{"dst":"::","metric":4294967296}])"), ":1:23: bad metric \"4294967296\"");
    EXPECT_EQ(complaint(R"([{"dst":"::","metric":-1}])"), ":1:23: bad metric \"-1\"");
    EXPECT_EQ(complaint(R"([{"dst":"::","metric":1.5}])"), ":1:23: bad metric \"1.5\"");
    EXPECT_EQ(complaint(R"([{"dst":"::","flags":"onlink"}])"), ":1:22: flags is no array");
    EXPECT_EQ(complaint(R"([{"dst":"::","nexthops":[7]}])"), ":1:26: nexthops is no object");
    EXPECT_EQ(complaint(R"([{"dst":"::","via":"192.0.2.1"}])"), ":1:20: via is no object");
}

TEST_F(kernel_json_file, what_is_no_json_is_named_with_its_place)
{
    EXPECT_EQ(complaint("[{\"dst\":\"::\"}\n{}]"), ":2:1: expected a comma or the end of the array, found \"{\"");
    EXPECT_EQ(complaint(R"([{"dst" "::"}])"), ":1:9: expected a colon, found \"\"\"");
    EXPECT_EQ(complaint(R"([{"dst":"::" "type":""}])"),
              ":1:14: expected a comma or the end of the object, found \"\"\"");
    EXPECT_EQ(complaint(R"([{"dst":"::",}])"), ":1:14: expected a name, found \"}\"");
    EXPECT_EQ(complaint(R"([{dst:1}])"), ":1:3: expected a name, found \"d\"");
    EXPECT_EQ(complaint(R"([{"x":,}])"), ":1:7: expected a value, found \",\"");
    EXPECT_EQ(complaint("[{\"x\":\xff}]"), ":1:7: expected a value, found \"\\xff\"");
    EXPECT_EQ(complaint(R"([{"x":nil}])"), ":1:7: bad value \"nil\"");
    EXPECT_EQ(complaint(R"([}])"), ":1:2: expected a value, found \"}\"");
    EXPECT_EQ(complaint(R"([]])"), ":1:3: expected a value, found \"]\"");
    for (const std::string_view number : {"01", "-", "1.", ".5", "1e", "1e+", "--1", "+1", "0x1"})
        EXPECT_NE(complaint(fmt::format(R"([{{"dst":"::","x":{}}}])", number)), "") << number;
    for (const std::string_view number : {"0", "-0", "10", "1.5", "1e5", "1E-5", "-1.25e+10"})
        EXPECT_EQ(complaint(fmt::format(R"([{{"dst":"::","x":{}}}])", number)), "") << number;
    EXPECT_EQ(complaint("[{\"dst\":\"\n\"}]"), ":1:9: an unescaped control character in a text");
    EXPECT_EQ(complaint(R"([{"\q":1}])"), ":1:3: bad escape \"\\q\"");
    EXPECT_EQ(complaint(R"([{"\u12g4":1}])"), ":1:3: bad escape \"\\u12g4\"");
    for (const std::string_view half : {R"(\ud800)", R"(\ud800x)", R"(\ud800\n)", R"(\ud800\u0041)", R"(\udc00)"})
        EXPECT_EQ(complaint(fmt::format(R"([{{"{}":1}}])", half)), ":1:3: half a pair of surrogates in a text") << half;
}

TEST_F(kernel_json_file, nesting_without_end_is_refused)
{
    EXPECT_EQ(complaint(R"([{"dst":"::","x":)" + std::string(254, '[') + std::string(254, ']') + "}]"), "");
    EXPECT_EQ(complaint(R"([{"dst":"::","x":)" + std::string(255, '[')), ":1:272: nested more than 256 deep");
}

TEST_F(kernel_json_file, more_hops_than_a_frame_holds_are_refused)
{
    std::string hops = R"([{"dst":"10.0.0.0/8","nexthops":[{})";
    for (size_t hop = 1; hop < MAX_PATHS; ++hop)
        hops += ",{}";
    EXPECT_EQ(complaint(hops + "]}]"), "");
    EXPECT_NE(complaint(hops + ",{}]}]").find(": more than 13107 next hops, and no frame holds them"),
              std::string::npos);
}

TEST_F(kernel_json_file, a_text_without_end_is_refused)
{
    EXPECT_EQ(complaint(R"([{"dst":")" + std::string(2 << 20, 'x')), ":1:9: a text of more than 1048576 bytes");
    EXPECT_EQ(complaint(R"([{"dst":"::","x":)" + std::string(2 << 20, '1')),
              ":1:18: a text of more than 1048576 bytes");
}

TEST_F(kernel_json_file, a_file_that_is_cut_anywhere_says_so)
{
    const std::string whole = R"([{"dst":"10.0.0.0/8","metric":20,"x":[true,{"y":"\u0041"}],"flags":[]}])";
    EXPECT_EQ(complaint(whole), "");
    for (size_t len = 1; len < whole.size(); ++len) {
        const std::string said = complaint(whole.substr(0, len));
        const bool is_in_literal = said.find("bad value \"t") != std::string::npos;
        EXPECT_TRUE(said.find(": cut: ") != std::string::npos || is_in_literal) << whole.substr(0, len) << said;
    }
}

} // namespace ribtool_test
