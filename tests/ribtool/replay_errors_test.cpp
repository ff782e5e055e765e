// What replay says of files that it cannot use and of updates that the library would not survive.

#include "tests/ribtool/run_ribtool.hpp"

namespace ribtool_test
{

namespace
{

const bytes PROTO_UPDATE = {
    0,    0,    0, 0, // not read
    0,    47,         // type code
    0,    2,          // length of the payload
    0x08, 0x07,       // 1 proto_id = 7
};

// A capture's file header, least significant byte first, as this machine writes it.
bytes capture_header(uint8_t link_type)
{
    return {
        0xd4,      0xc3, 0xb2, 0xa1, // magic
        2,         0,    4,    0,    // version 2.4
        0,         0,    0,    0,    // time zone
        0,         0,    0,    0,    // accuracy
        0,         0,    4,    0,    // snap length 262144
        link_type, 0,    0,    0,
    };
}

bytes packet_header(uint8_t captured, uint8_t original)
{
    return {
        1,        0, 0, 0, // seconds
        2,        0, 0, 0, // microseconds
        captured, 0, 0, 0, // bytes in the file
        original, 0, 0, 0, // bytes on the wire
    };
}

std::string first_line(const std::string &text)
{
    return text.substr(0, text.find('\n'));
}

constexpr uint8_t USER0 = 147;
constexpr uint8_t ETHERNET = 1;

} // namespace

class replay_errors : public tool_test
{
};

TEST_F(replay_errors, a_missing_file_is_named)
{
    const run_result result = ribtool({"replay", path("absent.pcap")});
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_EQ(result.err, "ribtool: " + path("absent.pcap") + ": cannot open: No such file or directory\n");
    EXPECT_EQ(result.out, "");
}

TEST_F(replay_errors, a_folder_is_not_a_capture)
{
    const run_result result = ribtool({"replay", path("")});
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_EQ(result.err, "ribtool: " + path("") + ": cannot open: Is a directory\n");
}

TEST_F(replay_errors, an_empty_file_is_not_a_capture)
{
    const run_result result = ribtool({"replay", write("empty", "")});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.err, "ribtool: " + path("empty") + ": empty: neither a capture nor framed updates\n");
}

TEST_F(replay_errors, an_empty_standard_input_is_not_a_capture)
{
    const run_result result = ribtool({"replay", "-"});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.err, "ribtool: standard input: empty: neither a capture nor framed updates\n");
}

TEST_F(replay_errors, a_frame_header_that_is_cut_off_is_located)
{
    const bytes stream = joined({PROTO_UPDATE, {0, 0, 0, 0, 0}});
    const run_result result = ribtool({"replay", write("cut", stream), "--no-json"});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(first_line(result.err),
              "ribtool: " + path("cut") + ": frame 2 at byte 10: truncated: a frame header has 8 bytes, 5 are left");
}

TEST_F(replay_errors, a_payload_that_is_cut_off_is_located)
{
    const bytes stream = joined({PROTO_UPDATE, {0, 0, 0, 0, 0, 47, 1, 0, 0x08, 0x07}});
    const run_result result = ribtool({"replay", write("cut", stream), "--no-json"});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(first_line(result.err),
              "ribtool: " + path("cut") +
                  ": frame 2 at byte 10: truncated: its header promises 256 bytes of payload, 2 are left");
}

TEST_F(replay_errors, updates_before_a_truncation_are_delivered_and_counted)
{
    const bytes stream = joined({PROTO_UPDATE, {0, 0, 0, 0, 0}});
    const run_result result = ribtool({"replay", write("cut", stream), "--stripped"});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.out_lines().size(), 1u);
    const std::string damage =
        "ribtool: " + path("cut") + ": frame 2 at byte 10: truncated: a frame header has 8 bytes, 5 are left\n";
    EXPECT_EQ(result.err.rfind(damage + path("cut") + ": raw frames, 1 updates\n", 0), 0u) << result.err;
    EXPECT_NE(result.err.find("1 callbacks, 0 silent drops, 0 refused, 0 stopped by an assertion\n"),
              std::string::npos);
}

TEST_F(replay_errors, updates_before_an_unknown_type_code_are_counted)
{
    const bytes stream = joined({PROTO_UPDATE, frame(48, {1}), PROTO_UPDATE});
    const run_result result = ribtool({"replay", write("unknown", stream), "--stripped"});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.out_lines().size(), 1u);
    EXPECT_NE(result.err.find(path("unknown") + ": raw frames, 1 updates\n"), std::string::npos);
}

TEST_F(replay_errors, a_type_code_that_nobody_knows_is_located)
{
    const bytes stream = joined({PROTO_UPDATE, frame(48, {1})});
    const run_result result = ribtool({"replay", write("unknown", stream), "--no-json"});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(first_line(result.err),
              "ribtool: " + path("unknown") +
                  ": frame 2 at byte 10: unknown type code 48 (known: 3, 37, 38, 46, 47, 49, 50, 51; 0 is a "
                  "delimiter)");
}

TEST_F(replay_errors, a_truncated_file_header_is_not_a_readable_capture)
{
    bytes header = capture_header(USER0);
    header.resize(20);
    const run_result result = ribtool({"replay", write("cut.pcap", header)});
    EXPECT_EQ(result.exit_code, 4);
    // The rest of the line is libpcap's.
    EXPECT_EQ(result.err.rfind("ribtool: " + path("cut.pcap") + ": not a readable capture: truncated dump file", 0), 0u)
        << result.err;
}

TEST_F(replay_errors, a_truncated_packet_is_located)
{
    const bytes capture = joined({capture_header(USER0), packet_header(10, 10), {0, 0, 0, 0}});
    const run_result result = ribtool({"replay", write("cut.pcap", capture)});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.err.rfind("ribtool: " + path("cut.pcap") + ": packet 1: truncated dump file", 0), 0u)
        << result.err;
}

TEST_F(replay_errors, another_link_type_is_named)
{
    const bytes capture = joined({capture_header(ETHERNET), packet_header(10, 10), PROTO_UPDATE});
    const run_result result = ribtool({"replay", write("ethernet.pcap", capture)});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.err,
              "ribtool: " + path("ethernet.pcap") + ": link type EN10MB (1), but updates have link type USER0 (147)\n");
}

TEST_F(replay_errors, a_packet_shorter_than_a_frame_header_is_located)
{
    const bytes capture = joined({capture_header(USER0), packet_header(3, 3), {0, 0, 0}});
    const run_result result = ribtool({"replay", write("short.pcap", capture)});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(first_line(result.err),
              "ribtool: " + path("short.pcap") + ": packet 1: truncated: a frame header has 8 bytes, the packet 3");
}

TEST_F(replay_errors, a_packet_shorter_than_its_frame_is_located)
{
    const bytes capture = joined({capture_header(USER0), packet_header(9, 9), {0, 0, 0, 0, 0, 47, 0, 2, 0x08}});
    const run_result result = ribtool({"replay", write("short.pcap", capture)});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(first_line(result.err),
              "ribtool: " + path("short.pcap") +
                  ": packet 1: truncated: its header promises 2 bytes of payload, the packet holds 1");
}

TEST_F(replay_errors, a_packet_longer_than_its_frame_is_located)
{
    const bytes capture = joined({capture_header(USER0), packet_header(11, 11), PROTO_UPDATE, {0xff}});
    const run_result result = ribtool({"replay", write("long.pcap", capture)});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(first_line(result.err),
              "ribtool: " + path("long.pcap") +
                  ": packet 1: 1 bytes follow the frame, whose header promises 2 bytes of payload");
}

TEST_F(replay_errors, a_packet_that_was_cut_when_it_was_captured_is_located)
{
    const bytes capture = joined({capture_header(USER0), packet_header(10, 40), PROTO_UPDATE});
    const run_result result = ribtool({"replay", write("snapped.pcap", capture)});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(first_line(result.err),
              "ribtool: " + path("snapped.pcap") + ": packet 1: cut short when it was captured: 10 of 40 bytes");
}

TEST_F(replay_errors, records_that_cannot_be_written_end_the_replay)
{
    const std::string input = write("stream", PROTO_UPDATE);
    const run_result unwritable = ribtool({"replay", input, "--json", path("absent/records")});
    EXPECT_EQ(unwritable.exit_code, 3);
    EXPECT_EQ(unwritable.err, "ribtool: " + path("absent/records") + ": cannot create: No such file or directory\n");

    const run_result full = ribtool({"replay", input, "--json", "/dev/full"});
    EXPECT_EQ(full.exit_code, 3);
    EXPECT_EQ(full.err, "ribtool: /dev/full: cannot write: No space left on device\n");
}

TEST_F(replay_errors, delimiters_are_skipped_and_counted)
{
    const bytes stream = joined({frame(0, {}), PROTO_UPDATE, frame(0, {1, 2, 3}), PROTO_UPDATE});
    const run_result result = ribtool({"replay", write("stream", stream), "--stripped"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out_lines().size(), 2u);
    EXPECT_EQ(result.err.substr(0, result.err.find('\n')),
              path("stream") + ": raw frames, 2 updates, 2 delimiters skipped");
}

TEST_F(replay_errors, an_update_that_stops_the_process_is_reported_and_the_replay_goes_on)
{
    const bytes without_proto_id = {0x10, 0x05}; // 2 proto_sub_id = 5
    const bytes stream = joined({frame(47, without_proto_id), PROTO_UPDATE});
    const run_result result = ribtool({"replay", write("stream", stream), "--stripped"}, "", leaks::expected);
    EXPECT_EQ(result.exit_code, 1);
    const lines expected = {
        R"json({"frame":1,"type":47,"form":"stripped","assertion":{)json"
        R"json("expression":"zidl_ip_rib_proto_update_has_proto_id(&zidl_proto)",)json"
        R"json("file":"ip/rib/lib/src/rib_lib_api_parse","line":168,)json"
        R"json("function":"void rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer, updatetype_local *, void *)"}})json",
        R"({"frame":2,"type":47,"form":"stripped","update_id":2,"record":{"proto_id":7,"proto_sub_id":0,)"
        R"("proto_value":0,"proto_name":"","proto_extra_name":""}})",
    };
    const bytes one_key_without_ids = {
        0x0a, 0x00, // 1 encap_ids[0], empty
        0x0a, 0x00, // 1 encap_ids[1], empty
        0x12, 0x00, // 2 keys[0], empty
        0x20, 0x01, // 4 multi_key = true
    };
    EXPECT_EQ(result.out_lines(), expected);
    EXPECT_EQ(result.err.substr(0, result.err.find('\n')),
              "ribtool: frame 1 (code 47, stripped) stops the process: ip/rib/lib/src/rib_lib_api_parse:168: void "
              "rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer, updatetype_local *, void *): Assertion "
              "`zidl_ip_rib_proto_update_has_proto_id(&zidl_proto)' failed.");
    EXPECT_NE(result.err.find("1 callbacks, 0 silent drops, 0 refused, 1 stopped by an assertion\n"),
              std::string::npos);
}

TEST_F(replay_errors, only_the_first_ten_assertions_are_written_to_the_standard_error)
{
    bytes stream;
    for (int update = 0; update < 12; ++update)
        stream = joined({stream, frame(46, {})});
    const run_result result = ribtool({"replay", write("stream", stream), "--stripped"}, "", leaks::expected);
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out_lines().size(), 12u);
    size_t reports = 0;
    for (size_t at = 0; (at = result.err.find("stops the process", at)) != std::string::npos; ++at)
        ++reports;
    EXPECT_EQ(reports, 10u);
    EXPECT_NE(
        result.err.find("Assertion `buf && buf_len > 0 && rib_grid_list' failed. Further ones are counted only.\n"),
        std::string::npos);
    EXPECT_NE(result.err.find("12 stopped by an assertion\n"), std::string::npos);
}

TEST_F(replay_errors, an_assertion_of_every_step_that_input_can_reach_is_survived)
{
    const bytes key_without_second_prefix = {
        0x0a, 0x02,             // 1 encap_ids[0], 2 bytes
        0x08, 0x01,             //   1 encap_id = 1
        0x12, 0x10,             // 2 keys[0], 16 bytes
        0x08, 0x01,             //   1 key_value_1 = 1
        0x10, 0x01,             //   2 key_value_2 = 1
        0x1a, 0x06,             //   3 key_prefix, 6 bytes
        0x08, 0x02, 0x10, 0x08, //     1 family = 2, 2 prefix_len = 8
        0x18, 0x0a,             //     3 ipv4 = 10
        0x20, 0x01,             //   4 key_value_4 = 1
        0x28, 0x01,             //   5 key_type = 1
        0x20, 0x01,             // 4 multi_key = true
    };
    const bytes one_key_and_two_ids = {
        0x0a, 0x00, // 1 encap_ids[0], empty
        0x0a, 0x00, // 1 encap_ids[1], empty
        0x12, 0x00, // 2 keys[0], empty
        0x20, 0x01, // 4 multi_key = true
    };
    const bytes stream = joined({frame(46, key_without_second_prefix), frame(46, one_key_and_two_ids), PROTO_UPDATE});
    const run_result result =
        ribtool({"replay", write("stream", stream), "--unstripped", "--no-json"}, "", leaks::expected);
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_NE(result.err.find("rib_lib_grid_dec:43: zerrno rib_server_decode_ip_addr(struct ip_addr *, const struct "
                              "zidl_rib_msg_prefix *): Assertion `zidl_prefix && rib_prefix' failed.\n"),
              std::string::npos);
    EXPECT_NE(
        result.err.find("rib_lib_grid_dec:443: zerrno rib_server_decode_encap_ids_and_keys(struct "
                        "zidl_rib_grid_sync_list *, grid_sync_list *): Assertion `num_keys == num_ids' failed.\n"),
        std::string::npos);
    EXPECT_NE(result.err.find("1 callbacks, 0 silent drops, 0 refused, 2 stopped by an assertion\n"),
              std::string::npos);
}

TEST_F(replay_errors, an_older_protocol_update_that_is_too_short_never_reaches_the_library)
{
    const bytes stream = joined({frame(38, bytes(91)), frame(38, bytes(92))});
    const run_result result = ribtool({"replay", write("stream", stream), "--stripped"});
    EXPECT_EQ(result.exit_code, 1);
    const lines expected = {
        R"({"frame":1,"type":38,"form":"stripped","refused":"an older-form protocol update has 92 bytes of payload, this one 91"})",
        R"({"frame":2,"type":38,"form":"stripped","update_id":2,"record":{"proto_id":0,"proto_sub_id":0,"proto_value":0,"proto_name":"","proto_extra_name":""}})",
    };
    EXPECT_EQ(result.out_lines(), expected);
    EXPECT_NE(result.err.find("1 callbacks, 0 silent drops, 1 refused, 0 stopped by an assertion\n"),
              std::string::npos);
}

TEST_F(replay_errors, an_older_route_of_the_wrong_length_never_reaches_the_converter)
{
    bytes one_path_promised(28);
    one_path_promised[25] = 1;
    const bytes stream = joined({frame(3, bytes(27)), frame(3, one_path_promised), frame(3, bytes(29))});
    const run_result result = ribtool({"replay", write("stream", stream), "--stripped"});
    EXPECT_EQ(result.exit_code, 1);
    const lines expected = {
        R"({"frame":1,"type":3,"form":"stripped","refused":"an older-form route update has at least 28 bytes of payload, this one 27"})",
        R"({"frame":2,"type":3,"form":"stripped","refused":"an older-form route update of 1 paths has 52 bytes of payload, this one 28"})",
        R"({"frame":3,"type":3,"form":"stripped","refused":"an older-form route update of 0 paths has 28 bytes of payload, this one 29"})",
    };
    EXPECT_EQ(result.out_lines(), expected);
}

TEST_F(replay_errors, updates_that_the_library_drops_are_counted)
{
    const bytes malformed = {0x08};        // 1 proto_id without its value
    const bytes nhid_alone = {0x18, 0x05}; // 3 nhid = 5, without field 1
    const bytes prefix_without_family = {0x0a, 0x04, 0x0a, 0x02, 0x10, 0x01};
    const bytes stream =
        joined({frame(47, malformed), frame(49, nhid_alone), frame(51, prefix_without_family), frame(37, bytes(23))});
    const run_result result = ribtool({"replay", write("stream", stream), "--stripped"}, "", leaks::expected);
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("0 callbacks, 4 silent drops, 0 refused, 0 stopped by an assertion\n"),
              std::string::npos);
}

TEST_F(replay_errors, records_do_not_go_into_the_capture_that_they_come_from)
{
    const std::string capture = write("stream", PROTO_UPDATE);
    std::filesystem::create_symlink(capture, path("link"));
    const run_result result = ribtool({"replay", capture, "--json", path("link")});
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_EQ(result.err, "ribtool: " + path("link") + ": is the input and cannot be the output, too\n");
    EXPECT_EQ(read("stream"), PROTO_UPDATE);
}

TEST_F(replay_errors, an_input_that_cannot_be_read_is_not_an_empty_one)
{
    const run_result result = run("/bin/sh", {"-c", RIBTOOL " replay - <&-"});
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_EQ(result.err, "ribtool: standard input: cannot read: Bad file descriptor\n");
}

} // namespace ribtool_test
