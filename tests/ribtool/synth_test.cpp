// Generated streams: what is in them, and that one seed gives the same bytes.

#include "tests/ribtool/run_ribtool.hpp"
#include "tools/ribtool/frames/capture.hpp"
#include "tools/ribtool/generate/histogram.hpp"
#include "tools/ribtool/generate/update_stream.hpp"
#include "tools/ribtool/generate/worst_case.hpp"
#include "tools/ribtool/library/older_forms.hpp"

#include "messages/rib_encap.h"

#include <cstdlib>
#include <functional>
#include <map>
#include <set>

namespace ribtool_test
{

namespace
{

using ribtool::capture_reader;
using ribtool::captured_frame;

std::vector<captured_frame> frames_of(const std::string &path)
{
    capture_reader reader(path);
    std::vector<captured_frame> frames;
    captured_frame frame;
    while (reader.next(frame))
        frames.push_back(frame);
    return frames;
}

ribtool::byte_span payload_of(const captured_frame &frame)
{
    return ribtool::byte_span(frame.bytes).subspan(ribtool::FRAME_HEADER_LEN);
}

void *allocate(size_t size, void *)
{
    return std::malloc(size);
}
void release(void *block, void *)
{
    std::free(block);
}

// FNV-1a.
uint64_t digest(const bytes &contents)
{
    uint64_t hash = 0xcbf29ce484222325;
    for (const uint8_t byte : contents)
        hash = (hash ^ byte) * 0x100000001b3;
    return hash;
}

struct profile_case {
    const char *name;
    const char *updates;
    std::set<uint16_t> codes; // exactly those that come up
    uint64_t digest;          // of the raw stream with seed 1
};

void PrintTo(const profile_case &profile, std::ostream *out)
{
    *out << profile.name;
}

} // namespace

class synth : public tool_test
{
protected:
    std::string make(std::vector<std::string> arguments, std::string_view name = "stream") const
    {
        arguments.insert(arguments.begin(), "synth");
        arguments.insert(arguments.end(), {"-o", path(name)});
        const run_result result = ribtool(arguments);
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return path(name);
    }
};

class synth_profile : public synth, public testing::WithParamInterface<profile_case>
{
};

TEST_P(synth_profile, has_the_updates_that_were_asked_for_and_only_its_own_codes)
{
    const auto frames = frames_of(make({"--profile", GetParam().name, "--updates", GetParam().updates}));
    std::set<uint16_t> codes;
    for (const captured_frame &frame : frames)
        codes.insert(ribtool::frame_code(frame.bytes));
    EXPECT_EQ(std::to_string(frames.size()), GetParam().updates);
    EXPECT_EQ(codes, GetParam().codes);
}

TEST_P(synth_profile, replays_in_both_forms_from_either_format_without_a_refusal)
{
    for (const char *format : {"pcap", "raw"}) {
        const std::string stream =
            make({"--profile", GetParam().name, "--updates", GetParam().updates, "--format", format});
        const run_result result = ribtool({"replay", stream, "--both", "--json", path("records")});
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_NE(result.err.find(" 0 refused, 0 stopped by an assertion\n"), std::string::npos) << result.err;
        const uint64_t updates = std::stoull(GetParam().updates);
        // A few next-hop IDs are there to be dropped.
        const bytes records = read("records");
        const auto count = static_cast<uint64_t>(std::count(records.begin(), records.end(), '\n'));
        EXPECT_LE(count, 2 * updates);
        EXPECT_GE(count, 2 * updates - updates / 16);
    }
}

TEST_P(synth_profile, holds_the_same_frames_in_either_format)
{
    const auto in_pcap = frames_of(make({"--profile", GetParam().name, "--updates", "20", "--format", "pcap"}, "pcap"));
    const auto raw = frames_of(make({"--profile", GetParam().name, "--updates", "20", "--format", "raw"}, "raw"));
    ASSERT_EQ(in_pcap.size(), raw.size());
    for (size_t index = 0; index < raw.size(); ++index)
        EXPECT_EQ(in_pcap[index].bytes, raw[index].bytes);
}

TEST_P(synth_profile, gives_the_same_bytes_for_one_seed_and_others_for_another)
{
    const std::vector<std::string> arguments = {"--profile", GetParam().name, "--updates", "20", "--seed"};
    const auto with_seed = [&](const char *seed, const char *name) {
        auto all = arguments;
        all.emplace_back(seed);
        make(all, name);
        return read(name);
    };
    const bytes first = with_seed("7", "first");
    EXPECT_EQ(with_seed("7", "again"), first);
    EXPECT_NE(with_seed("8", "other"), first);
}

// Pins the bytes, so that they are the same with any compiler and on any machine. A deliberate change of what a profile
// generates changes its number here.
TEST_P(synth_profile, gives_the_bytes_that_it_always_gave)
{
    make({"--profile", GetParam().name, "--updates", "50", "--seed", "1", "--format", "raw"});
    EXPECT_EQ(digest(read("stream")), GetParam().digest);
}

const std::set<uint16_t> ALL_CODES = {3, 37, 38, 46, 47, 49, 50, 51};

INSTANTIATE_TEST_SUITE_P(every, synth_profile,
                         testing::Values(profile_case{"proto-opaque", "500", {37, 38, 47, 50}, 0x4f40bea45e36b8e9},
                                         profile_case{"full-table", "60", {51}, 0x446189b8e6be9a4},
                                         profile_case{"ecmp", "40", {51}, 0x6a1a209778272550},
                                         profile_case{"grid", "60", {46}, 0x9d00c7f784a43842},
                                         profile_case{"nhid", "500", {49}, 0x9dd324468730364c},
                                         profile_case{"mixed", "1000", ALL_CODES, 0xb8912d6f7f909b76},
                                         profile_case{"worst-case", "15", ALL_CODES, 0x2c3da994ea4d6f36}),
                         [](const testing::TestParamInfo<profile_case> &tested) {
                             std::string name = tested.param.name;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST_F(synth, frames_start_with_a_header_in_network_byte_order)
{
    for (const captured_frame &frame : frames_of(make({"--profile", "nhid", "--updates", "5"}))) {
        const bytes header(frame.bytes.begin(), frame.bytes.begin() + 8);
        const size_t payload_len = frame.bytes.size() - 8;
        const bytes expected = {
            0, 0, 0, 0, 0, 49, static_cast<uint8_t>(payload_len >> 8), static_cast<uint8_t>(payload_len)};
        EXPECT_EQ(header, expected);
    }
}

TEST_F(synth, updates_are_ten_microseconds_apart)
{
    const auto frames = frames_of(make({"--profile", "nhid", "--updates", "3"}));
    EXPECT_EQ(frames[0].time_us, 0u);
    EXPECT_EQ(frames[1].time_us, 10u);
    EXPECT_EQ(frames[2].time_us, 20u);
}

TEST_F(synth, the_numbers_of_updates_are_those_of_the_manual)
{
    EXPECT_EQ(ribtool::find_profile("full-table")->updates, 100000u);
    EXPECT_EQ(ribtool::find_profile("mixed")->updates, 100000u);
    EXPECT_EQ(ribtool::find_profile("proto-opaque")->updates, 100000u);
    EXPECT_EQ(ribtool::find_profile("nhid")->updates, 100000u);
    EXPECT_EQ(ribtool::find_profile("ecmp")->updates, 10000u);
    EXPECT_EQ(ribtool::find_profile("grid")->updates, 1000u);
    EXPECT_EQ(ribtool::find_profile("worst-case")->updates, 60u);
}

TEST_F(synth, a_full_table_has_the_frequencies_of_real_tables)
{
    constexpr double ROUTES = 4000;
    double ipv4 = 0;
    double ipv4_of_24 = 0;
    double ipv6_of_48 = 0;
    double ipv4_paths = 0;
    double ipv4_paths_with_med = 0;
    std::set<std::pair<uint32_t, uint32_t>> ipv4_prefixes;
    for (const captured_frame &frame : frames_of(make({"--profile", "full-table", "--routes", "4000"}))) {
        zidl_rib_route route = {};
        ASSERT_EQ(
            zidl_rib_route_decode_ext(&route, payload_of(frame).data(), payload_of(frame).size(), allocate, nullptr, 0),
            ZIDL_OK);
        const zidl_rib_prefix &prefix = route.route_prefix;
        if (prefix.address.family == 1) {
            ++ipv4;
            ipv4_of_24 += prefix.prefix_len == 24;
            ipv4_prefixes.insert({prefix.address.ipv4, prefix.prefix_len});
            ipv4_paths += route.paths_count;
            for (uint32_t index = 0; index < route.paths_count; ++index)
                ipv4_paths_with_med += zidl_rib_path_has_path_value_10(&route.paths[index]);
        } else {
            ipv6_of_48 += prefix.prefix_len == 48;
        }
        zidl_rib_route_free_ext(&route, release, nullptr, 0);
    }
    EXPECT_NEAR(ipv4 / ROUTES, 901899. / 1062046, 0.02);
    EXPECT_NEAR(ipv4_of_24 / ipv4, 537698. / 901899, 0.03);
    EXPECT_NEAR(ipv6_of_48 / (ROUTES - ipv4), 75488. / 160147, 0.07);
    EXPECT_NEAR(ipv4_paths / ipv4, 270005. / 9072, 0.6);
    EXPECT_NEAR(ipv4_paths_with_med / ipv4_paths, 103580. / 270005, 0.02);
    EXPECT_EQ(ipv4_prefixes.size(), static_cast<size_t>(ipv4));
}

TEST_F(synth, grids_have_one_key_to_1026_with_and_without_multi_key)
{
    std::map<bool, std::set<uint32_t>> counts; // by multi_key
    for (const captured_frame &frame : frames_of(make({"--profile", "grid", "--updates", "400"}))) {
        zidl_rib_grid_sync_list list = {};
        ASSERT_EQ(zidl_rib_grid_sync_list_decode_ext(&list, payload_of(frame).data(), payload_of(frame).size(),
                                                     allocate, nullptr, 0),
                  ZIDL_OK);
        counts[list.multi_key != 0].insert(list.keys_count);
        zidl_rib_grid_sync_list_free_ext(&list, release, nullptr, 0);
    }
    EXPECT_EQ(counts[false], std::set<uint32_t>{1});
    EXPECT_EQ(*counts[true].begin(), 1u);
    EXPECT_EQ(*counts[true].rbegin(), 1026u);
    EXPECT_GT(counts[true].size(), 30u);
}

TEST_F(synth, ecmp_routes_have_more_paths_than_a_client_takes_and_as_few_as_two)
{
    std::set<uint32_t> counts;
    for (const captured_frame &frame : frames_of(make({"--profile", "ecmp", "--updates", "400"}))) {
        zidl_rib_route route = {};
        ASSERT_EQ(
            zidl_rib_route_decode_ext(&route, payload_of(frame).data(), payload_of(frame).size(), allocate, nullptr, 0),
            ZIDL_OK);
        counts.insert(route.paths_count);
        zidl_rib_route_free_ext(&route, release, nullptr, 0);
    }
    EXPECT_EQ(*counts.begin(), 2u);
    EXPECT_GT(*counts.rbegin(), 1024u);
}

TEST_F(synth, worst_cases_fill_their_frames)
{
    std::vector<size_t> sizes;
    for (const captured_frame &frame : frames_of(make({"--profile", "worst-case", "--updates", "15"})))
        sizes.push_back(payload_of(frame).size());
    ASSERT_EQ(sizes.size(), ribtool::worst_case_kinds);
    EXPECT_EQ(sizes[0], 65535u); // 21 845 empty paths of three bytes
    sizes.pop_back();            // a next-hop ID is short, however long its numbers are
    size_t full = 0;
    for (const size_t size : sizes) {
        EXPECT_GT(size, 45000u);
        full += size > 65000;
    }
    EXPECT_GE(full, 11u);
}

TEST_F(synth, an_output_that_cannot_be_written_is_named)
{
    const run_result absent = ribtool({"synth", "-o", path("absent/stream")});
    EXPECT_EQ(absent.exit_code, 3);
    EXPECT_EQ(absent.err, "ribtool: " + path("absent/stream") + ": cannot create: No such file or directory\n");
    for (const char *format : {"pcap", "raw"}) {
        const run_result full = ribtool({"synth", "--updates", "2000", "--format", format, "-o", "/dev/full"});
        EXPECT_EQ(full.exit_code, 3);
        EXPECT_EQ(full.err, "ribtool: /dev/full: cannot write: No space left on device\n");
        EXPECT_TRUE(std::filesystem::exists("/dev/full"));
    }
}

TEST_F(synth, a_stream_can_go_through_a_pipe)
{
    const run_result made = ribtool({"synth", "--updates", "50", "-o", "-"});
    EXPECT_EQ(made.exit_code, 0);
    const run_result replayed = ribtool({"replay", "-", "--no-json"}, made.out);
    EXPECT_EQ(replayed.exit_code, 0);
    EXPECT_EQ(replayed.err.substr(0, replayed.err.find('\n')), "standard input: pcap, 50 updates");
    EXPECT_NE(ribtool({"synth", "--updates", "50", "--format", "raw", "-o", "-"}).out, made.out);
}

TEST_F(synth, other_tools_read_the_captures)
{
    const std::string capture = make({"--updates", "25", "--format", "pcap"}, "stream.pcap");
    ASSERT_STRNE(CAPINFOS, "CAPINFOS-NOTFOUND") << "install tshark: script/bootstrap does";
    const run_result info = run(CAPINFOS, {"-T", "-m", "-E", "-c", "-r", capture});
    EXPECT_EQ(info.exit_code, 0) << info.err;
    EXPECT_NE(info.out.find("user0"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find(",25"), std::string::npos) << info.out;

    ASSERT_STRNE(TSHARK, "TSHARK-NOTFOUND") << "install tshark: script/bootstrap does";
    const run_result dissected = run(TSHARK, {"-r", capture, "-T", "fields", "-e", "frame.number", "-e", "frame.len",
                                              "-e", "frame.time_relative", "-e", "frame.encap_type"});
    EXPECT_EQ(dissected.exit_code, 0) << dissected.err;
    std::string expected;
    for (const captured_frame &frame : frames_of(capture))
        expected += std::to_string(frame.number) + "\t" + std::to_string(frame.bytes.size()) + "\t0.000" +
                    (frame.time_us < 100 ? "0" : "") + (frame.time_us < 10 ? "0" : "") + std::to_string(frame.time_us) +
                    "000\t45\n"; // 45: the tools' number for USER0
    EXPECT_EQ(dissected.out, expected);
}

} // namespace ribtool_test
