// The lines of `ribtool show`: what a client gets of an update, or why it gets nothing.

#include "tests/ribtool/run_ribtool.hpp"

namespace ribtool_test
{

namespace
{

// A route of 10.0.0.0/8 with one path.
const bytes ROUTE = {
    0x0a, 0x0b,                         // 1 route_prefix, 11 bytes
    0x0a, 0x07,                         //   1 address, 7 bytes
    0x08, 0x01,                         //     1 family = IPv4
    0x10, 0x80, 0x80, 0x80, 0x50,       //     2 ipv4 = 10.0.0.0
    0x10, 0x08,                         //   2 prefix_len = 8
    0xd2, 0x01, 0x0c,                   // 26 paths[0], 12 bytes
    0x2a, 0x08,                         //   5 path_address_5, 8 bytes
    0x08, 0x01,                         //     1 family = IPv4
    0x10, 0x81, 0x84, 0x80, 0x80, 0x0c, //     2 ipv4 = 192.0.2.1
    0x50, 0x14,                         //   10 path_value_10 = 20
};

const bytes PROTO = {
    0x08, 0x07,                // 1 proto_id = 7
    0x22, 0x03, 'b', 'g', 'p', // 4 proto_name = "bgp"
};
const bytes PROTO_WITHOUT_ID = {0x10, 0x05};   // 2 proto_sub_id = 5, and no field 1
const bytes NHID_WITHOUT_VALUE = {0x18, 0x05}; // 3 nhid = 5, and no field 1

// The older form of a route in ribtool's own layout: an IPv4 prefix, and paths of next hop 192.0.2.1.
bytes older_route(std::initializer_list<uint8_t> address, uint8_t prefix_len, uint8_t path_count)
{
    bytes payload = {
        1, prefix_len,             // family, prefix length
        0, 1,          0, 0, 0, 0, // kind, metric
    };
    payload.insert(payload.end(), address);
    payload.resize(24);
    const bytes rest = {0, path_count, 0, 0};
    payload.insert(payload.end(), rest.begin(), rest.end());
    for (int path = 0; path < path_count; ++path) {
        payload.insert(payload.end(), {0, 0, 0, 1, 192, 0, 2, 1});
        payload.resize(payload.size() + 16); // the rest of the address, metric
    }
    return payload;
}

} // namespace

class show : public tool_test
{
protected:
    run_result shown(const bytes &stream, const std::vector<std::string> &options = {}) const
    {
        std::vector<std::string> arguments = {"show", write("stream", stream)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return ribtool(arguments);
    }
    lines lines_of(const bytes &stream, const std::vector<std::string> &options = {}) const
    {
        return shown(stream, options).out_lines();
    }
    std::string summary(const std::string &text) const { return path("stream") + ": raw frames, " + text + "\n"; }
};

TEST_F(show, a_line_says_what_a_client_gets_of_each_kind_of_update)
{
    bytes older_proto(92);
    older_proto[1] = 9; // identifier
    older_proto[8] = 'x';
    const bytes older_opaque = {
        0x00, 0x05, 0xff, 0xff, // type, not used
        0x00, 0x00, 0x01, 0x00, // identifier
        0x00, 0x02, 0x00, 0x09, // length of the first block, sub-identifier
        0x00, 0x00, 0x00, 0x08, // value
        0x00, 0x00, 0x00, 0x01, // length of the second block
        0xff, 0xff, 0xff, 0xff, // not used
        0xaa, 0xbb, 0xcc,       // blocks
    };
    const bytes grid = {
        0x0a, 0x02, 0x08, 0x37, // 1 encap_ids[0]: 1 encap_id = 55
        0x12, 0x11,             // 2 keys[0], 17 bytes
        0x08, 0x01, 0x10, 0x01, //   1 key_value_1, 2 key_value_2
        0x1a, 0x07,             //   3 key_prefix, 7 bytes
        0x08, 0x02, 0x10, 0x08, //     1 family = IPv4, 2 prefix_len = 8
        0x18, 0xff, 0x01,       //     3 ipv4 = 0.0.0.255
        0x20, 0x01, 0x28, 0x03, //   4 key_value_4, 5 key_type = 3
        0x20, 0x01,             // 4 multi_key = true
    };
    const bytes nhid = {
        0x08, 0x02,                         // 1 nhid_update_value_1 = 2
        0x12, 0x0a, 0x12, 0x08,             // 2 nhid_encap_key, 10 bytes: 2 nhid_key_address, 8 bytes
        0x08, 0x01,                         //     1 family = IPv4
        0x10, 0x81, 0x84, 0x80, 0x80, 0x0c, //     2 ipv4 = 192.0.2.1
        0x18, 0x11,                         // 3 nhid = 17
    };
    const bytes opaque = {
        0x08, 0x05, 0x10, 0x06, // 1 opaque_type = 5, 2 opaque_id = 6
        0x2a, 0x02, 0x0a, 0xff, // 5 first_block
    };
    const bytes stream =
        joined({frame(51, ROUTE), frame(3, older_route({10, 1, 0, 0}, 16, 2)), frame(47, PROTO), frame(38, older_proto),
                frame(50, opaque), frame(37, older_opaque), frame(46, grid), frame(49, nhid), frame(0, {})});
    const lines expected = {
        "     1  51 route        10.0.0.0/8            1 path   via 192.0.2.1 metric 20",
        "     2   3 old route    10.1.0.0/16           2 paths  via 192.0.2.1, via 192.0.2.1",
        "     3  47 protocol     \"bgp\"              id 7",
        "     4  38 old protocol \"x\"                id 9",
        "     5  50 opaque       type 5             id 6  first 2 bytes 0aff",
        "     6  37 old opaque   type 5             id 256 sub 9 value 8  first 2 bytes aabb  second 1 byte cc",
        "     7  46 grid list    1 key               0.0.0.255/8 type 3 id 55",
        "     8  49 next-hop ID  192.0.2.1          nhid 17 value 2",
        "     9   0 delimiter",
    };
    const run_result result = shown(stream);
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out_lines(), expected);
    EXPECT_EQ(result.err, summary("9 frames read, 9 shown, 8 delivered, 1 delimiter"));
}

TEST_F(show, a_line_says_why_a_client_gets_nothing)
{
    const bytes stream = joined({frame(49, NHID_WITHOUT_VALUE), frame(47, PROTO_WITHOUT_ID), frame(38, bytes(91)),
                                 frame(3, bytes(27)), frame(48, {1}), frame(47, PROTO)});
    const lines expected = {
        "     1  49 next-hop ID  dropped: missing_field at nhid_update_value_1 (+0x00)",
        "     2  47 protocol     stopped: ip/rib/lib/src/rib_lib_api_parse:168: "
        "zidl_ip_rib_proto_update_has_proto_id(&zidl_proto)",
        "     3  38 old protocol refused: not_tried_too_short",
        "     4   3 old route    refused: an older-form route update has at least 28 bytes of payload, this one 27",
        "     5  48 unknown      refused: not_tried_unknown_code",
        "     6  47 protocol     \"bgp\"              id 7",
    };
    const run_result result = shown(stream);
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out_lines(), expected);
    EXPECT_EQ(result.err, summary("6 frames read, 6 shown, 1 delivered, 1 dropped, 1 stopped, 3 refused"));
}

TEST_F(show, a_star_marks_an_update_of_which_something_is_lost)
{
    const bytes wide_id = {0x08, 0x87, 0x80, 0x04}; // 1 proto_id = 0x10007, of which the record has 16 bits
    const run_result result = shown(frame(47, wide_id));
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "     1  47 protocol    *\"\"                 id 7\n");
    EXPECT_EQ(result.err, summary("1 frame read, 1 shown, 1 delivered (1 with losses)"));
}

TEST_F(show, a_prefix_picks_its_route_and_longer_ones_inside_it)
{
    const bytes stream = joined({frame(51, ROUTE), frame(3, older_route({10, 1, 0, 0}, 16, 0)),
                                 frame(3, older_route({10, 0, 0, 0}, 7, 0)), frame(3, older_route({11, 0, 0, 0}, 8, 0)),
                                 frame(47, PROTO), frame(48, {}), frame(0, {})});
    const auto prefixes = [&](const char *prefix) {
        std::string found;
        for (const std::string &line : lines_of(stream, {"--prefix", prefix}))
            found += line.substr(24, line.find(' ', 24) - 24) + " ";
        return found;
    };
    EXPECT_EQ(prefixes("10.0.0.0/8"), "10.0.0.0/8 10.1.0.0/16 ");
    EXPECT_EQ(prefixes("10.1.2.3/15"), "10.1.0.0/16 "); // the bits behind the length do not count
    EXPECT_EQ(prefixes("10.0.0.0/7"), "10.0.0.0/8 10.1.0.0/16 10.0.0.0/7 11.0.0.0/8 ");
    EXPECT_EQ(prefixes("0.0.0.0/0"), "10.0.0.0/8 10.1.0.0/16 10.0.0.0/7 11.0.0.0/8 ");
    EXPECT_EQ(prefixes("10.1.0.0/17"), "");
    EXPECT_EQ(prefixes("::/0"), "");
}

TEST_F(show, codes_and_a_limit_pick_lines)
{
    const bytes stream = joined({frame(51, ROUTE), frame(47, PROTO), frame(0, {}), frame(51, ROUTE), frame(47, PROTO)});
    EXPECT_EQ(lines_of(stream, {"--code", "47"}).size(), 2u);
    EXPECT_EQ(lines_of(stream, {"--code", "47,0"}).size(), 3u);
    EXPECT_EQ(lines_of(stream, {"--code", "47", "--code", "51"}).size(), 4u);
    const run_result limited = shown(stream, {"--code", "51", "--limit", "1"});
    EXPECT_EQ(limited.out_lines().size(), 1u);
    EXPECT_EQ(limited.err, summary("1 frame read, 1 shown, 1 delivered"));
}

TEST_F(show, a_code_or_a_prefix_that_is_none_is_wrong_usage)
{
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--code", "route"}, "--code: \"route\" is not a type code from 0 to 65535"},
        {{"--code", "65536"}, "--code: \"65536\" is not a type code from 0 to 65535"},
        {{"--prefix", "10.0.0.0"}, "--prefix: \"10.0.0.0\" is not a prefix such as 10.0.0.0/8"},
        {{"--width", "-1"}, "--width: \"-1\" is not a whole number"},
    };
    for (const auto &[options, reason] : cases) {
        const run_result result = shown(PROTO, options);
        EXPECT_EQ(result.exit_code, 2) << reason;
        EXPECT_NE(result.err.find(reason), std::string::npos) << result.err;
    }
}

TEST_F(show, lines_are_cut_where_they_are_asked_to_be)
{
    EXPECT_EQ(shown(frame(51, ROUTE), {"--width", "40"}).out, "     1  51 route        10.0.0.0/8     …\n");
    EXPECT_EQ(shown(frame(51, ROUTE), {"--width", "0"}).out,
              "     1  51 route        10.0.0.0/8            1 path   via 192.0.2.1 metric 20\n");
}

TEST_F(show, lines_fit_the_terminal_and_are_coloured)
{
    const std::string file = write("stream", frame(51, ROUTE));
    const auto first_line = [&](const std::vector<std::string> &options, const std::vector<std::string> &variables) {
        std::vector<std::string> arguments = {"show", file};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const std::string text = run_on_terminal(RIBTOOL, arguments, 40, variables);
        return text.substr(0, text.find("\r\n"));
    };
    const std::vector<std::string> xterm = {"TERM=xterm"};
    EXPECT_EQ(first_line({"--color=never"}, xterm), "     1  51 route        10.0.0.0/8     …");
    EXPECT_EQ(first_line({"--color=never"}, {"TERM=xterm", "COLUMNS=20"}), "     1  51 route   …");
    EXPECT_EQ(first_line({}, xterm),
              "\x1b[2m     1\x1b[0m\x1b[36m  51\x1b[0m route        \x1b[1m10.0.0.0/8\x1b[0m     …\x1b[0m");
}

TEST_F(show, names_cannot_break_a_line_or_command_a_terminal)
{
    const bytes payload = {0x08, 0x07, 0x22, 0x05, 'a', '\n', 0x1b, 'c', 0xff}; // 1 proto_id, 4 proto_name
    EXPECT_EQ(shown(frame(47, payload)).out, "     1  47 protocol     \"a\\x0a\\x1bc\\xff\"   id 7\n");
}

TEST_F(show, long_lists_say_how_much_follows)
{
    const run_result result = shown(frame(3, older_route({10, 0, 0, 0}, 8, 10)));
    EXPECT_NE(result.out.find("  10 paths  via "), std::string::npos) << result.out;
    EXPECT_NE(result.out.find(", and 2 more\n"), std::string::npos) << result.out;
}

TEST_F(show, blocks_of_the_older_form_are_never_read_beyond_the_payload)
{
    bytes payload(24 + 4, 0xee);
    const bytes wrapping = {
        0x00, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, // type, not used, identifier
        0x00, 0x08, 0x00, 0x00,                         // 8 bytes in the first block, 4 beyond the payload
        0x00, 0x00, 0x00, 0x00,                         // value
        0xff, 0xff, 0xff, 0xf8,                         // the second block: with the first one 2^32
    };
    std::copy(wrapping.begin(), wrapping.end(), payload.begin());
    EXPECT_EQ(shown(frame(37, payload)).out,
              "     1  37 old opaque   type 5             id 1  first 8 bytes eeeeeeee  second 4294967288 bytes …\n");
}

} // namespace ribtool_test
