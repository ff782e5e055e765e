// Pieces of ribtool that stand on their own: random numbers, histograms, addresses, older forms, the assertion guard.

#include "tools/ribtool/addresses.hpp"
#include "tools/ribtool/frames/capture.hpp"
#include "tools/ribtool/generate/histogram.hpp"
#include "tools/ribtool/generate/random.hpp"
#include "tools/ribtool/library/assertion_guard.hpp"
#include "tools/ribtool/library/older_forms.hpp"
#include "tools/ribtool/library/replay_summary.hpp"
#include "tools/ribtool/output/progress.hpp"
#include "tools/ribtool/stats/time_histogram.hpp"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

// Declared by <cassert> in builds with assertions only.
extern "C" __attribute__((noreturn)) void __assert_fail(const char *, const char *, unsigned, const char *) noexcept;

namespace ribtool
{

// Numbers of the generator's published reference implementation.
TEST(random_source, gives_the_published_numbers)
{
    random_source zero(0);
    EXPECT_EQ(zero.next(), 0x99ec5f36cb75f2b4u);
    EXPECT_EQ(zero.next(), 0xbf6e1f784956452au);
    EXPECT_EQ(zero.next(), 0x1a5f849d4933e6e0u);
    EXPECT_EQ(zero.next(), 0x6aa594f1262d2d2cu);
    random_source one(1);
    EXPECT_EQ(one.next(), 0xb3f2af6d0fc710c5u);
    EXPECT_EQ(one.next(), 0x853b559647364ceau);
}

TEST(random_source, scales_the_high_bits)
{
    random_source one(1);
    for (const uint32_t expected : {70u, 52u, 57u, 39u, 69u, 14u, 7u, 38u})
        EXPECT_EQ(one.below(100), expected);
}

TEST(random_source, keeps_to_its_bounds_and_reaches_them)
{
    random_source random(3);
    std::vector<int> seen(4);
    for (int draw = 0; draw < 200; ++draw) {
        const uint32_t value = random.between(5, 8);
        ASSERT_GE(value, 5u);
        ASSERT_LE(value, 8u);
        ++seen[value - 5];
        ASSERT_LT(random.magnitude(20), 1u << 20);
    }
    for (const int count : seen)
        EXPECT_GT(count, 20);
}

TEST(histogram, draws_each_value_as_often_as_it_was_counted)
{
    histogram values;
    values.add(7, 30);
    values.add(8, 0);
    values.add(9, 10);
    random_source random(1);
    int sevens = 0;
    for (int draw = 0; draw < 4000; ++draw) {
        const uint32_t value = values.draw(random);
        ASSERT_TRUE(value == 7 || value == 9) << value;
        sevens += value == 7;
    }
    EXPECT_NEAR(sevens, 3000, 120);
}

TEST(histogram, the_built_in_ones_hold_all_that_was_counted)
{
    const statistics &all = table_histograms();
    EXPECT_EQ(all.ipv4.prefix_lengths.total(), 901899u);
    EXPECT_EQ(all.ipv6.prefix_lengths.total(), 160147u);
    EXPECT_EQ(all.ipv4.paths_per_prefix.total(), 9072u);
    EXPECT_EQ(all.ipv6.paths_per_prefix.total(), 6870u);
    for (const histogram *each :
         {&all.ipv4.as_path_len, &all.ipv4.communities_per_path, &all.ipv4.has_med, &all.ipv4.atomic_aggregate})
        EXPECT_EQ(each->total(), 270005u);
    for (const histogram *each :
         {&all.ipv6.as_path_len, &all.ipv6.communities_per_path, &all.ipv6.has_med, &all.ipv6.atomic_aggregate})
        EXPECT_EQ(each->total(), 149578u);
    for (const table_statistics *table : {&all.ipv4, &all.ipv6}) {
        EXPECT_EQ(table->ext_communities_per_path.total(), 577737u + 159948u);
        EXPECT_EQ(table->has_local_pref.total(), 577737u + 159948u);
    }
}

TEST(addresses, prefixes_are_read_exactly)
{
    const auto ipv4 = parse_prefix("10.1.2.0/23");
    ASSERT_TRUE(ipv4);
    EXPECT_FALSE(ipv4->address.is_ipv6);
    EXPECT_EQ(ipv4->length, 23);
    EXPECT_EQ(address_message(ipv4->address).ipv4, 0x0a010200u);
    const auto ipv6 = parse_prefix("2001:db8::/128");
    ASSERT_TRUE(ipv6);
    EXPECT_EQ(ipv6->length, 128);
    const zidl_rib_ipv6_address halves = ipv6_message(ipv6->address);
    EXPECT_EQ(halves.half0, 0xb80d0120u); // the bytes 20 01 0d b8 in memory
    EXPECT_EQ(halves.half1, 0u);
    for (const char *text : {"", "/", "10.0.0.0", "10.0.0.0/", "10.0.0.0/33", "10.0.0.0/-1", "10.0.0.0/8 ", "10.0.0/8",
                             "::/129", "2001:db8::/12x", "10.0.0.0/256", "/8", "10.0.0.0//8"})
        EXPECT_FALSE(parse_prefix(text)) << text;
    EXPECT_FALSE(parse_prefix(std::string_view("10.0.0.0\0/8", 11)));
}

TEST(addresses, masks_clear_the_bits_behind_the_prefix)
{
    ip_address address = {
        true, {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}};
    mask_address(address, 20);
    const std::array<uint8_t, 16> expected = {0xff, 0xff, 0xf0};
    EXPECT_EQ(address.bytes, expected);
    mask_address(address, 0);
    EXPECT_EQ(address.bytes, (std::array<uint8_t, 16>{}));
}

TEST(older_forms, a_protocol_record_is_laid_out_as_the_library_reads_it)
{
    const byte_vector payload = payload_of({0x0102, 0x0304, 0x05060708, "bgp", "x"});
    byte_vector expected = {1, 2, 3, 4, 5, 6, 7, 8, 'b', 'g', 'p'};
    expected.resize(49);
    expected.push_back('x');
    expected.resize(92);
    EXPECT_EQ(payload, expected);
}

TEST(older_forms, names_keep_their_terminator)
{
    const std::string name(100, 'n');
    const byte_vector payload = payload_of({0, 0, 0, name, name});
    ASSERT_EQ(payload.size(), 92u);
    EXPECT_EQ(payload[8 + 39], 'n');
    EXPECT_EQ(payload[8 + 40], 0);
    EXPECT_EQ(payload[90], 'n');
    EXPECT_EQ(payload[91], 0);
}

TEST(older_forms, an_opaque_update_is_laid_out_as_the_library_reads_it)
{
    const byte_vector first = {0xaa, 0xbb};
    const byte_vector second = {0xcc};
    const byte_vector expected = {0, 5, 0, 0, 0, 0, 1, 0, 0, 2, 0,    9,    0,   0,
                                  0, 8, 0, 0, 0, 1, 0, 0, 0, 0, 0xaa, 0xbb, 0xcc};
    EXPECT_EQ(payload_of({5, 256, 9, 8, first, second}), expected);
}

TEST(paths_in_route, counts_paths_and_stops_at_what_is_malformed)
{
    const auto count = [](const byte_vector &payload) { return paths_in_route(payload); };
    EXPECT_EQ(count({}), 0u);
    EXPECT_EQ(count({0xd2, 0x01, 0x00, 0x10, 0x05, 0xd2, 0x01, 0x01, 0xff}), 2u);
    EXPECT_EQ(count({0xd2, 0x01, 0x00, 0xd2, 0x01, 0x05}), 2u); // the second runs past the end
    EXPECT_EQ(count({0x0b, 0xd2, 0x01, 0x00}), 0u);             // a group cannot be skipped
    EXPECT_EQ(count({0xd2}), 0u);                               // half a tag
    EXPECT_EQ(count({0x0d, 1, 2, 3, 4, 0x09, 1, 2, 3, 4, 5, 6, 7, 8, 0xd2, 0x01, 0x00}), 1u);
}

TEST(assertion_guard, reports_the_assertion_that_ended_the_call)
{
    const auto fails = [](void *) { __assert_fail("x > 0", "a/file", 12, "void f()"); };
    const auto assertion = run_guarded(fails, nullptr);
    ASSERT_TRUE(assertion);
    EXPECT_STREQ(assertion->expression, "x > 0");
    EXPECT_STREQ(assertion->file, "a/file");
    EXPECT_EQ(assertion->line, 12u);
    EXPECT_STREQ(assertion->function, "void f()");
}

TEST(assertion_guard, reports_nothing_of_a_call_that_returns)
{
    int calls = 0;
    EXPECT_FALSE(run_guarded([](void *count) { ++*static_cast<int *>(count); }, &calls));
    EXPECT_EQ(calls, 1);
}

TEST(assertion_guard_death, an_assertion_outside_of_a_guarded_call_ends_the_process)
{
    EXPECT_EXIT(__assert_fail("x > 0", "a/file", 12, "void f()"), testing::KilledBySignal(SIGABRT),
                "ribtool: a/file:12: void f\\(\\): Assertion `x > 0' failed.");
}

namespace
{

// What `run` writes to a standard error that is a terminal.
template <class Run>
std::string on_a_terminal(Run run, unsigned short columns = 0)
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_EQ(grantpt(terminal), 0);
    EXPECT_EQ(unlockpt(terminal), 0);
    const int other_end = open(ptsname(terminal), O_RDWR | O_NOCTTY);
    const winsize size = {24, columns, 0, 0};
    ioctl(terminal, TIOCSWINSZ, &size);
    const int saved = dup(STDERR_FILENO);
    dup2(other_end, STDERR_FILENO);
    run();
    dup2(saved, STDERR_FILENO);
    close(saved);
    close(other_end);
    std::string shown;
    char block[256];
    ssize_t got = 0;
    while ((got = read(terminal, block, sizeof block)) > 0)
        shown.append(block, static_cast<size_t>(got));
    close(terminal);
    return shown;
}

void work_for_a_while(progress_bar &bar)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    for (int update = 0; update < 64; ++update)
        bar.show(25, 12);
}

} // namespace

TEST(progress_bar, is_drawn_on_a_terminal_and_taken_away)
{
    const std::string shown = on_a_terminal([] {
        progress_bar bar("replay", 100);
        work_for_a_while(bar);
    });
    EXPECT_EQ(shown.rfind("\r\x1b[Kreplay [#######.......................]  25 %, ", 0), 0u) << shown;
    EXPECT_NE(shown.find(" s left, 12 updates, "), std::string::npos) << shown;
    EXPECT_EQ(shown.substr(shown.size() - 13), " a second\r\x1b[K") << shown;
}

TEST(progress_bar, fits_the_terminal)
{
    for (const uint16_t columns : std::initializer_list<uint16_t>{20, 46, 60, 70, 100}) {
        const std::string shown = on_a_terminal(
            [] {
                progress_bar bar("replay", 100);
                work_for_a_while(bar);
            },
            columns);
        const std::string start = "\r\x1b[Kreplay ";
        ASSERT_EQ(shown.rfind(start, 0), 0u) << shown;
        const std::string line = shown.substr(4, shown.find('\r', 1) - 4);
        EXPECT_LT(line.size(), columns) << line; // the last column stays free
        EXPECT_EQ(line.find('[') != std::string::npos, columns >= 60) << line;
    }
}

TEST(progress_bar, shows_no_share_of_a_total_that_nobody_knows)
{
    const std::string shown = on_a_terminal([] {
        progress_bar bar("import", 0);
        work_for_a_while(bar);
    });
    EXPECT_EQ(shown.rfind("\r\x1b[Kimport, 12 updates, ", 0), 0u) << shown;
}

TEST(progress_bar, is_not_drawn_for_a_few_updates)
{
    const std::string shown = on_a_terminal([] {
        progress_bar bar("synth", 100);
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        for (int update = 0; update < 63; ++update)
            bar.show(63, 63);
    });
    EXPECT_EQ(shown, "");
}

TEST(progress_bar, is_not_drawn_elsewhere)
{
    testing::internal::CaptureStderr();
    {
        progress_bar bar("replay", 100);
        work_for_a_while(bar);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// With the writing end open the reader would wait for ever for what it does not need.
TEST(capture_reader, gives_each_frame_of_a_pipe_as_it_comes)
{
    const byte_vector first = framed(RIB_TLV_PROTO, byte_vector{0x08, 0x07});
    const byte_vector second = framed(RIB_TLV_NHID, byte_vector{0x08, 0x01});
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], first.data(), first.size()), static_cast<ssize_t>(first.size()));
    capture_reader reader("/proc/self/fd/" + std::to_string(ends[0]));
    captured_frame frame;
    ASSERT_TRUE(reader.next(frame));
    EXPECT_EQ(frame.bytes, first);
    ASSERT_EQ(write(ends[1], second.data(), second.size()), static_cast<ssize_t>(second.size()));
    ASSERT_TRUE(reader.next(frame));
    EXPECT_EQ(frame.bytes, second);
    EXPECT_EQ(reader.position(), first.size() + second.size());
    close(ends[1]);
    EXPECT_FALSE(reader.next(frame));
    close(ends[0]);
}

TEST(time_histogram, gives_quantiles_a_thirty_second_above_the_exact_ones_at_most)
{
    random_source random(1);
    std::vector<uint64_t> times;
    time_histogram histogram;
    for (int count = 0; count < 1000; ++count) {
        times.push_back(random.next() >> (24 + random.next() % 40)); // up to 18 minutes
        histogram.add(std::chrono::nanoseconds(times.back()));
    }
    std::sort(times.begin(), times.end());
    for (const size_t rank : {1u, 10u, 500u, 990u, 999u, 1000u}) {
        const uint64_t exact = times[rank - 1];
        const auto found = static_cast<uint64_t>(histogram.quantile(static_cast<double>(rank) / 1000).count());
        EXPECT_GE(found, exact) << rank;
        EXPECT_LE(found, exact + exact / 32) << rank;
    }
    EXPECT_EQ(static_cast<uint64_t>(histogram.longest().count()), times.back());
}

TEST(time_histogram, is_exact_below_64_and_empty_at_first)
{
    time_histogram histogram;
    EXPECT_EQ(histogram.quantile(0.5).count(), 0);
    for (const int time : {0, 7, 63})
        histogram.add(std::chrono::nanoseconds(time));
    EXPECT_EQ(histogram.quantile(0.3).count(), 0);
    EXPECT_EQ(histogram.quantile(0.5).count(), 7);
    EXPECT_EQ(histogram.quantile(1).count(), 63);
    time_histogram other;
    other.add(histogram);
    other.add(std::chrono::nanoseconds(1000));
    EXPECT_EQ(other.count(), 4u);
    EXPECT_EQ(other.total().count(), 1070);
    EXPECT_EQ(other.quantile(0.5).count(), 7);
    EXPECT_EQ(other.quantile(1).count(), 1000);
}

} // namespace ribtool
