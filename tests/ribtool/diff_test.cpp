// `ribtool diff`: what it calls added, removed, changed and the same, and when it does not compare at all.

#include "tests/ribtool/run_ribtool.hpp"

namespace ribtool_test
{

namespace
{

// A route of 10.0.0.0/8 with these paths.
bytes route(std::initializer_list<bytes> paths)
{
    bytes payload = {
        0x0a, 0x0b, 0x0a, 0x07, 0x08, 0x01, // 1 route_prefix: 1 address: 1 family = IPv4
        0x10, 0x80, 0x80, 0x80, 0x50,       //   2 ipv4 = 10.0.0.0
        0x10, 0x08,                         //   2 prefix_len = 8
    };
    for (const bytes &path : paths)
        payload.insert(payload.end(), path.begin(), path.end());
    return payload;
}

bytes via(uint8_t next_hop, uint8_t metric)
{
    return {
        0xd2, 0x01,     0x0c, 0x2a, 0x08, 0x08, 0x01, // 26 paths: 5 path_address_5: 1 family = IPv4
        0x10, next_hop, 0x84, 0x80, 0x80, 0x0c,       //     2 ipv4 = 192.0.2.(the low 7 bits)
        0x50, metric,                                 //   10 path_value_10
    };
}

constexpr uint8_t ONE = 0x81; // 192.0.2.1
constexpr uint8_t TWO = 0x82;

const bytes PROTO = {
    0x08, 0x07,                // 1 proto_id = 7
    0x22, 0x03, 'b', 'g', 'p', // 4 proto_name = "bgp"
};

// A list with multi_key of a key of type 3 for each ID.
bytes grid(std::initializer_list<std::pair<uint8_t, uint8_t>> ids_and_values)
{
    bytes ids;
    bytes keys;
    for (const auto &[id, value] : ids_and_values) {
        const bytes encap_id = {0x0a, 0x02, 0x08, id}; // 1 encap_ids: 1 encap_id
        const bytes key = {
            0x12, 0x10,              // 2 keys
            0x08, value, 0x10, 0x01, //   1 key_value_1, 2 key_value_2
            0x1a, 0x06,              //   3 key_prefix
            0x08, 0x02,  0x10, 0x08, //     1 family = IPv4, 2 prefix_len = 8
            0x18, 0x05,              //     3 ipv4 = 0.0.0.5
            0x20, 0x01,  0x28, 0x03, //   4 key_value_4, 5 key_type = 3
        };
        ids.insert(ids.end(), encap_id.begin(), encap_id.end());
        keys.insert(keys.end(), key.begin(), key.end());
    }
    return joined({ids, keys, {0x20, 0x01}}); // 4 multi_key = true
}

} // namespace

class diff : public tool_test
{
protected:
    run_result run_with(const bytes &a, const bytes &b, const std::vector<std::string> &options = {}) const
    {
        std::vector<std::string> arguments = {"diff", write("a", a), write("b", b)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return ribtool(arguments);
    }

    // What is printed, and the counts.
    std::string differences(const bytes &a, const bytes &b, const std::vector<std::string> &options = {}) const
    {
        const run_result result = run_with(a, b, options);
        const std::string counts = result.err.substr(result.err.rfind('\n', result.err.size() - 2) + 1);
        EXPECT_EQ(result.exit_code, counts.starts_with("0 added, 0 removed, 0 changed, ") ? 0 : 1) << result.err;
        return result.out + counts;
    }

    std::string same(int count) const
    {
        return "0 added, 0 removed, 0 changed, " + std::to_string(count) + " the same\n";
    }
};

TEST_F(diff, what_only_one_side_has_is_added_or_removed)
{
    const bytes a = joined({frame(47, PROTO), frame(51, route({via(ONE, 5)}))});
    const bytes b = joined({frame(47, PROTO), frame(0, {}), frame(49, {0x08, 0x01, 0x18, 0x11})}); // 1, and 3 nhid = 17
    EXPECT_EQ(differences(a, b), "-     2  51 route        10.0.0.0/8            1 path   via 192.0.2.1 metric 5\n"
                                 "+     3  49 next-hop ID  no address         nhid 17 value 1\n"
                                 "1 added, 1 removed, 0 changed, 1 the same\n");
}

TEST_F(diff, the_last_update_of_a_key_counts)
{
    const bytes first = frame(51, route({via(ONE, 5)}));
    const bytes second = frame(51, route({via(ONE, 6)}));
    EXPECT_EQ(differences(joined({second, first}), first), same(1));
    EXPECT_EQ(differences(joined({first, second}), second), same(1));
}

TEST_F(diff, a_route_without_paths_takes_away_what_was_there)
{
    const bytes announced = frame(51, route({via(ONE, 5)}));
    EXPECT_EQ(differences(joined({announced, frame(51, route({}))}), frame(51, route({}))), same(0));
    EXPECT_EQ(differences(joined({announced, frame(51, route({})), announced}), announced), same(1));
}

TEST_F(diff, both_values_of_the_members_that_differ_are_shown)
{
    EXPECT_EQ(differences(frame(47, PROTO), frame(47, {0x08, 0x07, 0x18, 0x05})), // 1 proto_id, 3 proto_value
              "~     1  47 protocol     \"\"                 id 7 value 5\n"
              "       proto_value: 0 -> 5\n"
              "       proto_name: \"bgp\" -> \"\"\n"
              "0 added, 0 removed, 1 changed, 0 the same\n");
}

TEST_F(diff, the_order_of_fields_and_of_paths_makes_no_difference)
{
    const bytes prefix_last = {
        0xd2, 0x01, 0x0c, 0x50, 0x05, 0x2a, 0x08, // 26 paths[0]: 10 path_value_10 = 5, 5 path_address_5
        0x10, 0x81, 0x84, 0x80, 0x80, 0x0c,       //     2 ipv4 = 192.0.2.1
        0x08, 0x01,                               //     1 family = IPv4
        0x0a, 0x0b, 0x10, 0x08,                   //  1 route_prefix: 2 prefix_len = 8
        0x0a, 0x07, 0x10, 0x80, 0x80, 0x80, 0x50, //    1 address: 2 ipv4 = 10.0.0.0
        0x08, 0x01,                               //      1 family = IPv4
    };
    EXPECT_EQ(differences(frame(51, route({via(ONE, 5)})), frame(51, prefix_last)), same(1));
    const bytes a = frame(51, route({via(ONE, 5), via(TWO, 6), via(ONE, 5)}));
    EXPECT_EQ(differences(a, frame(51, route({via(TWO, 6), via(ONE, 5), via(ONE, 5)}))), same(1));
    // but how often a path is there does
    EXPECT_EQ(differences(a, frame(51, route({via(TWO, 6), via(ONE, 5), via(TWO, 6)}))),
              "~     1  51 route        10.0.0.0/8            3 paths  via 192.0.2.2 metric 6, via 192.0.2.1 metric 5, "
              "via 192.0.2.2 metric 6\n"
              "       path via 192.0.2.1: pe_addr_5: \"192.0.2.1\" -> \"192.0.2.2\"\n"
              "       path via 192.0.2.1: pe_value_10: 5 -> 6\n"
              "0 added, 0 removed, 1 changed, 0 the same\n");
}

TEST_F(diff, a_path_is_compared_with_the_one_of_its_next_hop)
{
    EXPECT_EQ(differences(frame(51, route({via(ONE, 5), via(TWO, 6)})), frame(51, route({via(TWO, 7)}))),
              "~     1  51 route        10.0.0.0/8            1 path   via 192.0.2.2 metric 7\n"
              "       path via 192.0.2.2: pe_value_10: 6 -> 7\n"
              "     - path {\"pe_addr_5\":\"192.0.2.1\",\"pe_addr_5_family\":1,\"pe_value_10\":5}\n"
              "0 added, 0 removed, 1 changed, 0 the same\n");
}

TEST_F(diff, a_path_more_is_a_difference_though_there_is_one_like_it)
{
    const bytes one = frame(51, route({via(ONE, 5)}));
    const bytes two = frame(51, route({via(ONE, 5), via(ONE, 5)}));
    EXPECT_EQ(differences(one, two),
              "~     1  51 route        10.0.0.0/8            2 paths  via 192.0.2.1 metric 5, via 192.0.2.1 metric 5\n"
              "     + path {\"pe_addr_5\":\"192.0.2.1\",\"pe_addr_5_family\":1,\"pe_value_10\":5}\n"
              "0 added, 0 removed, 1 changed, 0 the same\n");
}

TEST_F(diff, each_key_of_a_grid_list_is_an_entry_of_its_own)
{
    const bytes a = joined({frame(46, grid({{1, 5}, {2, 5}}))});
    const bytes b = joined({frame(46, grid({{2, 5}})), frame(46, grid({{1, 6}}))});
    EXPECT_EQ(differences(a, b), "~     2  46 grid list    1 key               0.0.0.5/8 type 3 id 1\n"
                                 "       key_value_1: 5 -> 6\n"
                                 "0 added, 0 removed, 1 changed, 1 the same\n");
}

TEST_F(diff, both_forms_of_an_update_are_compared)
{
    bytes older(92);
    older[1] = 7; // identifier
    older[8] = 'b';
    older[9] = 'g';
    older[10] = 'p';
    EXPECT_EQ(differences(frame(38, older), frame(47, PROTO)), same(1));
    older[7] = 1; // value
    EXPECT_EQ(differences(frame(38, older), frame(47, PROTO), {"--json"}),
              "{\"change\":\"changed\",\"kind\":\"protocol\",\"key\":{\"proto_id\":7,\"proto_sub_id\":0},\"a_frame\":1,"
              "\"b_frame\":1,\"members\":[{\"name\":\"proto_value\",\"a\":1,\"b\":0}]}\n"
              "0 added, 0 removed, 1 changed, 0 the same\n");
}

TEST_F(diff, a_key_has_its_address_as_the_record_has_it)
{
    bytes older(52);
    older[0] = 7;  // a family that nobody knows
    older[1] = 8;  // prefix length
    older[8] = 10; // address
    older[25] = 1; // paths
    const lines found = run_with(frame(3, older), frame(0, {}), {"--json"}).out_lines();
    ASSERT_EQ(found.size(), 1u);
    const std::string dest = "\"rt_dest\":\"0000000a000000000000000000000000\"";
    const size_t in_key = found[0].find(dest);
    ASSERT_NE(in_key, std::string::npos) << found[0];
    EXPECT_NE(found[0].find(dest, in_key + 1), std::string::npos) << found[0];
    const lines without = run_with(frame(51, via(ONE, 5)), frame(0, {}), {"--json"}).out_lines();
    ASSERT_EQ(without.size(), 1u);
    EXPECT_NE(without[0].find("\"key\":{\"rt_family\":0,\"rt_dest\":\"00000000000000000000000000000000\","),
              std::string::npos)
        << without[0];
}

TEST_F(diff, updates_that_a_client_does_not_get_change_nothing_and_are_counted)
{
    const bytes good = frame(47, PROTO);
    const bytes bad = joined({frame(47, {0x08, 0x07, 0x22}), frame(47, {0x10, 0x05}), frame(99, {})});
    const run_result result = run_with(joined({good, bad}), good);
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, path("a") +
                              ": raw frames, 4 frames, 1 delivered, 1 dropped (1 cut_off), 1 stopped (1 "
                              "missing_proto_id), 1 refused (1 not_tried_unknown_code): 1 entry\n" +
                              path("b") + ": raw frames, 1 frame, 1 delivered: 1 entry\n" + same(1));
}

TEST_F(diff, half_an_input_is_not_compared)
{
    bytes cut = joined({frame(47, PROTO), frame(47, PROTO)});
    cut.pop_back();
    for (const auto &[a, b] : {std::pair(frame(47, PROTO), cut), {cut, frame(47, PROTO)}, {cut, cut}}) {
        const run_result result = run_with(a, b);
        EXPECT_EQ(result.exit_code, 4);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err.find("the same"), std::string::npos) << result.err;
    }
    EXPECT_EQ(run_with(frame(47, PROTO), {}).exit_code, 4);
    const run_result table = run_with(frame(47, PROTO), {'1', '0', '.', '0', '.', '0', '.', '0', '/', '8', '\n', 'x'});
    EXPECT_EQ(table.exit_code, 4);
    EXPECT_EQ(table.out, "");
}

TEST_F(diff, a_table_is_what_import_makes_of_it)
{
    write("table.tsv", std::string_view("#prefix\tnext_hop\tmed\n10.0.0.0/8\t192.0.2.1\t20\n"));
    ASSERT_EQ(ribtool({"import", path("table.tsv"), "-o", path("table.pcap")}).exit_code, 0);
    EXPECT_EQ(ribtool({"diff", path("table.tsv"), path("table.pcap")}).exit_code, 0);
    const bytes capture = read("table.pcap");
    const std::string piped(capture.begin(), capture.end());
    EXPECT_EQ(ribtool({"diff", path("table.tsv"), "-"}, piped).exit_code, 0);
    EXPECT_EQ(ribtool({"diff", "-", path("table.pcap")}, "10.0.0.0/8\n").exit_code, 1); // without a path
    EXPECT_EQ(ribtool({"diff", "-", "-"}).exit_code, 2);
}

TEST_F(diff, differences_may_be_few_or_none)
{
    const auto made = [&](const char *seed) {
        ASSERT_EQ(ribtool({"synth", "--updates", "500", "--seed", seed, "-o", path(seed)}).exit_code, 0);
    };
    made("1");
    made("2");
    const run_result all = ribtool({"diff", path("1"), path("2")});
    const run_result two = ribtool({"diff", path("1"), path("2"), "--limit", "2"});
    const run_result brief = ribtool({"diff", path("1"), path("2"), "-q"});
    EXPECT_EQ(all.exit_code, 1);
    lines first = all.out_lines();
    first.resize(2);
    EXPECT_EQ(two.out_lines(), first);
    EXPECT_EQ(brief.out, "");
    EXPECT_EQ(two.err, all.err);
    EXPECT_EQ(brief.err, all.err);
}

TEST_F(diff, differences_that_nobody_reads_are_differences)
{
    ASSERT_EQ(ribtool({"synth", "--updates", "2000", "-o", path("many")}).exit_code, 0); // more than a pipe holds
    const std::string line = RIBTOOL " diff " + path("many") + " " + write("one", frame(47, PROTO)) + " | true";
    EXPECT_EQ(run("/bin/bash", {"-o", "pipefail", "-c", line}).exit_code, 1);
}

TEST_F(diff, differences_are_sorted_by_key)
{
    const bytes a =
        joined({frame(49, {0x08, 0x01, 0x18, 0x11}), frame(49, {0x08, 0x01, 0x18, 0x02})}); // 3 nhid = 17, 2
    const bytes b = joined({frame(47, PROTO), frame(51, route({via(ONE, 5)}))});
    EXPECT_EQ(differences(a, b), "+     2  51 route        10.0.0.0/8            1 path   via 192.0.2.1 metric 5\n"
                                 "+     1  47 protocol     \"bgp\"              id 7\n"
                                 "-     2  49 next-hop ID  no address         nhid 2 value 1\n"
                                 "-     1  49 next-hop ID  no address         nhid 17 value 1\n"
                                 "2 added, 2 removed, 0 changed, 0 the same\n");
}

} // namespace ribtool_test
