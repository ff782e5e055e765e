// `ribtool filter`: which updates it takes, and that it writes them as they were.

#include "tests/ribtool/run_ribtool.hpp"

#include "tools/ribtool/options/prefix_set.hpp"

namespace ribtool_test
{

namespace
{

const bytes TEN = {
    0x0a, 0x0b, 0x0a, 0x07, 0x08, 0x01, // 1 route_prefix: 1 address: 1 family = IPv4
    0x10, 0x80, 0x80, 0x80, 0x50,       //   2 ipv4 = 10.0.0.0
    0x10, 0x08,                         //   2 prefix_len = 8
};
const bytes TEN_ONE = {
    0x0a, 0x0b, 0x0a, 0x07, 0x08, 0x01, // 1 route_prefix: 1 address: 1 family = IPv4
    0x10, 0x80, 0x80, 0x84, 0x50,       //   2 ipv4 = 10.1.0.0
    0x10, 0x10,                         //   2 prefix_len = 16
};
const bytes TWENTY_HUNDRED = {
    0x0a, 0x0a, 0x0a, 0x06, 0x08, 0x02, // 1 route_prefix: 1 address: 1 family = IPv6
    0x1a, 0x02, 0x08, 0x20,             //     3 ipv6: 1 half0 = 32, the address 2000::
    0x10, 0x10,                         //   2 prefix_len = 16
};
const bytes PROTO_WITHOUT_ID = {0x10, 0x05};   // 2 proto_sub_id = 5, and no field 1
const bytes NHID_WITHOUT_VALUE = {0x18, 0x05}; // 3 nhid = 5, and no field 1
const bytes PROTO_TOO_LARGE = {
    0x08, 0x81, 0x80, 4, // 1 proto_id = 65537
    0x98, 0x06, 0x01,    // 99, which there is not
};

const bytes FRAMES[] = {
    frame(51, TEN),                // 0
    frame(51, TEN_ONE),            // 1
    frame(51, TWENTY_HUNDRED),     // 2
    frame(47, PROTO_WITHOUT_ID),   // 3: stopped
    frame(49, NHID_WITHOUT_VALUE), // 4: dropped
    frame(47, PROTO_TOO_LARGE),    // 5: narrowed, and with an unknown field
    frame(48, {}),                 // 6: refused
    frame(0, {}),                  // 7: a delimiter
};

} // namespace

class filter : public tool_test
{
protected:
    filter()
    {
        bytes all;
        for (const bytes &each : FRAMES)
            all.insert(all.end(), each.begin(), each.end());
        write("in", all);
        write("prefixes", std::string_view("# mine\n10.1.0.0/16 # one\n\n2000::/16\n"));
    }

    run_result run_with(const std::vector<std::string> &options) const
    {
        std::vector<std::string> arguments = {"filter", path("in"), "--format", "raw", "-o", path("out")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return ribtool(arguments);
    }

    // The numbers of the frames that are written.
    std::string taken(const std::vector<std::string> &options) const
    {
        const run_result result = run_with(options);
        EXPECT_EQ(result.exit_code, 0) << result.err;
        const bytes out = read("out");
        std::string numbers;
        auto at = out.begin();
        for (size_t number = 0; number < std::size(FRAMES); ++number) {
            const bytes &each = FRAMES[number];
            if (static_cast<size_t>(out.end() - at) >= each.size() && std::equal(each.begin(), each.end(), at)) {
                numbers += static_cast<char>('0' + number);
                at += static_cast<std::ptrdiff_t>(each.size());
            }
        }
        EXPECT_EQ(at, out.end());
        return numbers;
    }
};

TEST_F(filter, updates_are_taken_by_their_code)
{
    EXPECT_EQ(taken({}), "01234567");
    EXPECT_EQ(taken({"--code", "47,0"}), "357");
    EXPECT_EQ(taken({"--code", "47", "--code", "49"}), "345");
}

TEST_F(filter, routes_are_taken_by_their_prefix)
{
    EXPECT_EQ(taken({"--prefix", "10.0.0.0/8"}), "0");
    EXPECT_EQ(taken({"--prefix", "10.0.0.0/8,2000::/16"}), "02");
    EXPECT_EQ(taken({"--prefix", "10.0.0.0/8", "--or-longer"}), "01");
    EXPECT_EQ(taken({"--prefix", "10.1.0.0/16", "--or-shorter"}), "01");
    EXPECT_EQ(taken({"--prefix", "10.1.2.0/24"}), "");
    EXPECT_EQ(taken({"--prefix", "10.1.2.0/24", "--or-longer"}), "");
    EXPECT_EQ(taken({"--prefix", "10.1.2.0/24", "--or-shorter"}), "01");
    EXPECT_EQ(taken({"--prefix-file", path("prefixes")}), "12");
    EXPECT_EQ(taken({"--prefix-file", path("prefixes"), "--prefix", "10.0.0.0/8"}), "012");
}

TEST_F(filter, routes_are_taken_by_their_family)
{
    EXPECT_EQ(taken({"-4"}), "01");
    EXPECT_EQ(taken({"-6"}), "2");
    EXPECT_EQ(taken({"-4", "-6"}), "012");
    EXPECT_EQ(taken({"-6", "--prefix", "10.0.0.0/8"}), "");
}

TEST_F(filter, updates_are_taken_by_their_outcome_and_its_reason)
{
    EXPECT_EQ(taken({"--outcome", "delivered"}), "0125");
    EXPECT_EQ(taken({"--outcome", "dropped,stopped"}), "34");
    EXPECT_EQ(taken({"--outcome", "refused"}), "6");
    EXPECT_EQ(taken({"--reason", "missing_field,missing_proto_id"}), "34");
    EXPECT_EQ(taken({"--reason", "missing_field,missing_proto_id", "--outcome", "stopped"}), "3");
    EXPECT_EQ(taken({"--reason", "narrowed"}), "5");      // a loss of one that is delivered
    EXPECT_EQ(taken({"--reason", "unknown_field"}), "5"); // and another one of it
    EXPECT_EQ(taken({"--reason", "none"}), "012");
}

TEST_F(filter, the_whole_choice_can_be_inverted)
{
    EXPECT_EQ(taken({"--not", "--code", "51", "--prefix", "10.0.0.0/8"}), "1234567");
    EXPECT_EQ(taken({"--not"}), "");
}

TEST_F(filter, names_that_there_are_not_are_refused_with_the_nearest)
{
    const run_result outcome = run_with({"--outcome", "droped"});
    EXPECT_EQ(outcome.exit_code, 2);
    EXPECT_EQ(outcome.err, "ribtool: --outcome: there is no \"droped\"; the nearest are dropped, stopped and refused "
                           "(see ribtool filter --help)\n");
    EXPECT_NE(run_with({"--reason", "cutoff"}).err.find("the nearest are cut_off, "), std::string::npos);
    EXPECT_EQ(run_with({"--prefix", "10.0.0.0/33"}).exit_code, 2);
}

TEST_F(filter, options_that_widen_prefixes_need_one)
{
    for (const char *option : {"--or-longer", "--or-shorter"}) {
        const run_result result = run_with({option});
        EXPECT_EQ(result.exit_code, 2);
        EXPECT_EQ(result.err, std::string("ribtool: ") + option +
                                  " says nothing without --prefix or --prefix-file (see ribtool filter --help)\n");
    }
}

TEST_F(filter, a_file_of_prefixes_is_not_written_over)
{
    const bytes before = read("prefixes");
    EXPECT_EQ(ribtool({"filter", path("in"), "--prefix-file", path("prefixes"), "-o", path("prefixes")}).exit_code, 2);
    EXPECT_EQ(read("prefixes"), before);
}

TEST_F(filter, a_bad_line_of_a_file_of_prefixes_is_named)
{
    write("prefixes", std::string_view("10.0.0.0/8\n10.0.0.0/33\n"));
    const run_result result = run_with({"--prefix-file", path("prefixes")});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.err, "ribtool: " + path("prefixes") + ":2: \"10.0.0.0/33\" is not a prefix such as 10.0.0.0/8\n");
}

TEST_F(filter, times_and_bytes_stay_as_they_are)
{
    const std::string mixed = path("mixed.pcap");
    ASSERT_EQ(ribtool({"synth", "--updates", "200", "-o", mixed}).exit_code, 0);
    ASSERT_EQ(ribtool({"filter", mixed, "-o", path("copy.pcap")}).exit_code, 0);
    EXPECT_EQ(read("copy.pcap"), read("mixed.pcap"));
}

TEST_F(filter, of_a_damaged_capture_is_written_what_is_before_the_damage_where_that_is_asked_for)
{
    write("out", std::string_view("what was there"));
    bytes cut = read("in");
    cut.resize(FRAMES[0].size() + FRAMES[1].size() + 3);
    write("in", cut);
    const run_result nothing = run_with({"-4"});
    EXPECT_EQ(nothing.exit_code, 4);
    EXPECT_TRUE(nothing.err.ends_with(": raw frames, 2 frames read, 2 fit, none is written\n")) << nothing.err;
    EXPECT_EQ(read("out"), bytes({'w', 'h', 'a', 't', ' ', 'w', 'a', 's', ' ', 't', 'h', 'e', 'r', 'e'}));
    const run_result part = run_with({"-4", "--partial"});
    EXPECT_EQ(part.exit_code, 4);
    EXPECT_TRUE(part.err.ends_with(": raw frames, 2 frames read, 2 written\n")) << part.err;
    EXPECT_EQ(read("out"), joined({FRAMES[0], FRAMES[1]}));
}

// ---- Prefixes ----

namespace
{

ribtool::ip_prefix prefix(const char *text)
{
    return *ribtool::parse_prefix(text);
}

} // namespace

TEST(prefix_set, finds_what_is_the_same_around_and_inside)
{
    ribtool::prefix_set set;
    for (const char *each : {"10.1.0.0/16", "10.1.2.0/24", "10.0.0.0/16", "0.0.0.0/1", "::/0", "2001:db8::/32"})
        set.add(prefix(each));
    set.finish();
    EXPECT_TRUE(set.has(prefix("10.1.2.0/24")));
    EXPECT_TRUE(set.has(prefix("10.1.2.3/24"))); // bits behind the length do not count
    EXPECT_FALSE(set.has(prefix("10.1.2.0/25")));
    EXPECT_TRUE(set.has_one_around(prefix("10.1.2.0/25")));
    EXPECT_TRUE(set.has_one_around(prefix("10.9.0.0/16"))); // 0.0.0.0/1, which others stand behind
    EXPECT_FALSE(set.has_one_around(prefix("128.0.0.0/1")));
    EXPECT_FALSE(set.has_one_around(prefix("0.0.0.0/0"))); // of the other family is one
    EXPECT_TRUE(set.has_one_inside(prefix("10.1.0.0/17")));
    EXPECT_FALSE(set.has_one_inside(prefix("10.1.128.0/17")));
    EXPECT_FALSE(set.has_one_inside(prefix("10.1.2.0/25")));
    EXPECT_TRUE(set.has_one_inside(prefix("2001::/16")));
}

} // namespace ribtool_test
