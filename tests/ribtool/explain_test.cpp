// What becomes of updates written by hand, for people and for programs.

#include "tests/ribtool/run_ribtool.hpp"

namespace ribtool_test
{

namespace
{

const bytes WHOLE = frame(47, {0x08, 0x07});              // 1 proto_id = 7
const bytes STOPPED = frame(47, {0x10, 0x05});            // 2 proto_sub_id = 5, without proto_id
const bytes LOSING = frame(47, {0x08, 0x81, 0x80, 0x04}); // 1 proto_id = 65537, of which 1 is kept
const bytes DROPPED = frame(51, {0x10, 0x05, 0x18});      // 2 route_value_2 = 5, then a tag without value
const bytes REFUSED = frame(38, bytes(91));               // one byte short of its record
const bytes UNKNOWN = frame(48, {1, 2, 3});               // nobody takes code 48
const bytes OLDER_ROUTE = frame(3, bytes(28));            // which the client converts
const bytes DELIMITER = frame(0, {});

const char *const FUNCTION =
    "void rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer, updatetype_local *, void *)";

} // namespace

class explain : public tool_test
{
protected:
    run_result explained(const std::vector<bytes> &frames, const lines &options = {}) const
    {
        bytes stream;
        for (const bytes &each : frames)
            stream.insert(stream.end(), each.begin(), each.end());
        lines arguments = {"explain", write("stream", stream)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return ribtool(arguments);
    }

    // The one line of the one update.
    std::string json_of(const bytes &update) const { return explained({update}, {"--json"}).out; }
};

TEST_F(explain, a_whole_update_takes_one_line)
{
    const run_result result = explained({WHOLE});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "frame 1: protocol (code 47, 2 bytes) is delivered\n");
    EXPECT_EQ(result.err, path("stream") + ": raw frames, 1 updates\n"
                                           "  1 delivered (0 with losses), 0 dropped, 0 stopped, 0 refused\n");
}

TEST_F(explain, a_loss_says_what_the_client_sees_instead_and_why)
{
    const run_result result = explained({LOSING});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out,
              "frame 1: protocol (code 47, 4 bytes) is delivered, with 1 loss\n"
              "    proto_id is 65537; the client sees 1. The member holds fewer bits: the low ones are kept\n"
              "      (narrowed, byte 1).\n");
}

TEST_F(explain, a_dropped_update_says_where_and_why)
{
    const run_result result = explained({DROPPED});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out,
              "frame 1: route (code 51, 3 bytes) is dropped: the client never sees it\n"
              "    A tag or a value ends behind the end of the message that holds it (cut_off): route_value_3,\n"
              "      byte 3. The decoder ends with ZIDL_ERR_MALFORMED.\n");
}

TEST_F(explain, a_route_without_a_family_is_dropped_by_the_conversion)
{
    const bytes prefix_without_family = {0x0a, 0x04, 0x0a, 0x02, 0x10, 0x01}; // 1 route_prefix: 1 address: 2 ipv4 = 1
    const run_result result = explained({frame(51, prefix_without_family)});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out,
              "frame 1: route (code 51, 6 bytes) is dropped: the client never sees it\n"
              "    A field that must be there is missing (missing_field): route_prefix.address.family, byte 4. The\n"
              "      conversion ends with ZERRNO_MALFORMED.\n");
}

TEST_F(explain, a_list_that_breaks_off_is_delivered_but_not_as_a_whole)
{
    const bytes payload = {
        0x0a, 0x02, 0x08, 0x65,             // 1 encap_ids[0] = 101
        0x12, 0x10, 0x08, 0x01, 0x10, 0x02, // 2 keys[0], 16 bytes: 1 key_value_1 = 1, 2 key_value_2 = 2
        0x1a, 0x06, 0x08, 0x02, 0x10, 0x20, //   3 key_prefix: family 2, prefix_len 32
        0x18, 0x01,                         //     ipv4 = 1
        0x20, 0x04, 0x28, 0x03,             //   4 key_value_4 = 4, 5 key_type = 3
        0x20, 0x01,                         // 4 multi_key = true
        0x08,                               // 1 encap_ids, but a number without its value
    };
    const run_result result = explained({frame(46, payload)});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out,
              "frame 1: grid list (code 46, 25 bytes) is delivered, with 1 loss\n"
              "    The message breaks off here; what was read before is used (lenient_end): encap_ids[1], byte 24.\n"
              "      The decoder ends with ZIDL_ERR_FIELD_TYPE.\n"
              "    encap_ids[1], which is 08, does not reach the client. The message breaks off here; what was read\n"
              "      before is used (lenient_end, byte 24).\n");
    EXPECT_EQ(explained({frame(46, payload)}, {"-q"}).exit_code, 1);
    EXPECT_EQ(explained({frame(46, payload)}, {"--only", "losses", "--json"}).out_lines().size(), 1u);
}

TEST_F(explain, an_update_that_stops_the_process_shows_its_assertion)
{
    const run_result result = explained({STOPPED});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(squeezed(result.out),
              "frame 1: protocol (code 47, 2 bytes) is stopped: an assertion ends the client's process\n"
              " A protocol update has no identifier (missing_proto_id): proto_id, byte 0. Assertion\n"
              " `zidl_ip_rib_proto_update_has_proto_id(&zidl_proto)' fails at\n"
              " ip/rib/lib/src/rib_lib_api_parse:168 in void\n"
              " rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer, updatetype_local *, void *).\n");
}

TEST_F(explain, what_only_the_client_can_tell_is_refused_and_the_run_goes_on)
{
    const run_result result = explained({UNKNOWN, OLDER_ROUTE, REFUSED, WHOLE});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(
        result.out,
        "frame 1: update (code 48, 3 bytes) is refused: the library alone cannot tell what becomes of it\n"
        "    No entry point takes updates of this code (not_tried_unknown_code).\n"
        "frame 2: route, older form (code 3, 28 bytes) is refused: the library alone cannot tell what becomes of it\n"
        "    The client itself converts this form (not_tried_converter).\n"
        "frame 3: protocol, older form (code 38, 91 bytes) is refused: the library alone cannot tell what becomes of "
        "it\n"
        "    The payload is shorter than the record that it must be, which nothing checks\n"
        "      (not_tried_too_short).\n"
        "frame 4: protocol (code 47, 2 bytes) is delivered\n");
}

TEST_F(explain, a_route_is_named_and_what_a_path_loses_is_said_once)
{
    const bytes payload = {
        0x0a, 0x0b,                                           // 1 route_prefix, 11 bytes
        0x0a, 0x07, 0x08, 0x01, 0x10, 0x80, 0x80, 0x80, 0x50, //   1 address: family 1, 10.0.0.0
        0x10, 0x08,                                           //   2 prefix_len = 8
        0xd2, 0x01, 0x07,                                     // 26 paths[0], 7 bytes
        0x08, 0x01,                                           //   1 path_value_1 = 1
        0x10, 0x02,                                           //   2 path_value_2 = 2
        0xd8, 0x01, 0x01,                                     //   27 path_value_27 = 1: to be skipped
    };
    const run_result result = explained({frame(51, payload)});
    EXPECT_EQ(result.out.substr(0, result.out.find('\n')),
              "frame 1: route 10.0.0.0/8 (code 51, 23 bytes) is delivered, with 3 losses");
    EXPECT_EQ(squeezed(result.out.substr(result.out.find('\n') + 1)),
              "paths[0].path_value_1, which is 1, and 2 more values of paths[0] do not reach the client. The\n"
              " path has the field that marks it to be skipped (marked_to_be_skipped, byte 17).\n");
}

TEST_F(explain, a_run_of_paths_that_are_left_out_is_said_once)
{
    bytes payload;
    for (int path = 0; path < 3; ++path)
        payload.insert(payload.end(), {0xd2, 0x01, 0x05, 0x08, 0x04, 0xd8, 0x01, 0x01}); // 26 paths: 1 = 4, 27 = 1
    payload.insert(payload.end(), {0xd2, 0x01, 0x00});                                   // a path that is not left out
    payload.insert(payload.end(), {0xd2, 0x01, 0x05, 0x08, 0x04, 0xd8, 0x01, 0x01});
    const run_result result = explained({frame(51, payload)});
    EXPECT_NE(result.out.find("    paths[0].path_value_1, which is 4, and 5 more values up to paths[2] do not reach"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("    paths[4].path_value_1, which is 4, and 1 more value of paths[4] do not reach"),
              std::string::npos)
        << result.out;
}

TEST_F(explain, many_losses_end_in_their_number)
{
    bytes payload;
    for (int path = 0; path < 30; ++path)
        payload.insert(payload.end(), {0xd2, 0x01, 0x02, 0x70, 0x01}); // 26 paths: path_value_14, which nothing shows
    const run_result result = explained({frame(51, payload)});
    EXPECT_NE(result.out.find(" with 30 losses\n"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("paths[19]."), std::string::npos) << result.out;
    EXPECT_EQ(result.out.find("paths[20]."), std::string::npos) << result.out;
    EXPECT_EQ(result.out.substr(result.out.rfind("    And ")), "    And 10 more; --json lists all.\n");
}

// ---- For programs ----

TEST_F(explain, json_has_exactly_the_members_that_apply)
{
    EXPECT_EQ(json_of(WHOLE), R"({"frame":1,"type":47,"outcome":"delivered","status":0,"status_name":"OK"})"
                              "\n");
    EXPECT_EQ(json_of(LOSING), R"({"frame":1,"type":47,"outcome":"delivered","status":0,"status_name":"OK","losses":[)"
                               R"({"path":"proto_id","reason":"narrowed","value":"65537","kept":"1"}]})"
                               "\n");
    EXPECT_EQ(json_of(DROPPED), R"({"frame":1,"type":51,"outcome":"dropped","status":-1,)"
                                R"("status_name":"ZIDL_ERR_MALFORMED","reason":"cut_off","path":"route_value_3",)"
                                R"("offset":3})"
                                "\n");
    EXPECT_EQ(json_of(STOPPED), R"json({"frame":1,"type":47,"outcome":"stopped","reason":"missing_proto_id",)json"
                                R"json("path":"proto_id","offset":0,"assertion":{)json"
                                R"json("expression":"zidl_ip_rib_proto_update_has_proto_id(&zidl_proto)",)json"
                                R"json("file":"ip/rib/lib/src/rib_lib_api_parse","line":168,"function":")json" +
                                    std::string(FUNCTION) + "\"}}\n");
    EXPECT_EQ(json_of(UNKNOWN), R"({"frame":1,"type":48,"outcome":"refused","reason":"not_tried_unknown_code"})"
                                "\n");
}

TEST_F(explain, a_value_that_is_lost_as_a_whole_has_nothing_kept)
{
    EXPECT_EQ(json_of(frame(47, {0x08, 0x07, 0xb8, 0x02, 0x2a})), // 1 proto_id = 7, 39, which is unknown, = 42
              R"({"frame":1,"type":47,"outcome":"delivered","status":0,"status_name":"OK","losses":[)"
              R"({"path":"39","reason":"unknown_field","value":"42"}]})"
              "\n");
}

TEST_F(explain, an_unknown_field_is_called_by_its_number)
{
    const bytes payload = {
        0x9a, 0x06, 0x00,             // 99, which is unknown, no bytes
        0xd2, 0x01, 0x03,             // 26 paths[0], 3 bytes
        0xb8, 0x02, 0x2a,             //   39, which is unknown, = 42
        0x9a, 0x06, 0x00, 0x9a, 0x06, // 99, twice
        0x01, 0x07,                   //   one byte
    };
    EXPECT_EQ(explained({frame(51, payload)}).out,
              "frame 1: route (code 51, 16 bytes) is delivered, with 4 losses\n"
              "    field 99, which is empty, does not reach the client. The schema has no field of this number: it\n"
              "      is skipped (unknown_field, byte 3).\n"
              "    field 39 of paths[0], which is 42, does not reach the client. The schema has no field of this\n"
              "      number: it is skipped (unknown_field, byte 8).\n"
              "    field 99, which is empty, and 1 more value of field 99 do not reach the client. The schema has\n"
              "      no field of this number: it is skipped (unknown_field, byte 12).\n");
    const bytes undecodable = {0x9b, 0x06}; // 99 with wire type 3
    EXPECT_EQ(explained({frame(51, undecodable)}).out,
              "frame 1: route (code 51, 2 bytes) is dropped: the client never sees it\n"
              "    An unknown field has a wire type that cannot be skipped (unknown_wire_type): field 99, byte 0.\n"
              "      The decoder ends with ZIDL_ERR_WIRE_TYPE.\n");
}

// ---- Which updates ----

TEST_F(explain, one_frame_of_many_is_chosen_by_its_number)
{
    const std::vector<bytes> stream = {WHOLE, DELIMITER, LOSING, DROPPED};
    EXPECT_EQ(explained(stream, {"--json", "--frame", "3"}).out,
              explained({DELIMITER, DELIMITER, LOSING}, {"--json"}).out);
    const run_result none = explained(stream, {"--frame", "5"});
    EXPECT_EQ(none.exit_code, 2);
    EXPECT_EQ(none.err, "ribtool: " + path("stream") + ": there is no frame 5\n");
    const std::pair<const char *, const char *> others[] = {
        {"show", "     3  47 protocol"},
        {"replay", "{\"frame\":3,"},
        {"annotate", "frame 3: "},
    };
    for (const auto &[command, start] : others) {
        const run_result one = ribtool({command, path("stream"), "--frame", "3"});
        EXPECT_EQ(one.exit_code, 0) << command << one.err;
        EXPECT_EQ(one.out.rfind(start, 0), 0u) << command << one.out;
        EXPECT_EQ(ribtool({command, path("stream"), "--frame", "5"}).exit_code, 2) << command;
    }
}

TEST_F(explain, a_frame_behind_the_damage_is_not_there)
{
    bytes cut = DROPPED;
    cut.pop_back();
    const run_result result = explained({WHOLE, cut}, {"--frame", "2"});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_NE(result.err.find("truncated"), std::string::npos) << result.err;
}

TEST_F(explain, frames_are_numbered_with_delimiters_and_each_comes_once)
{
    const run_result result = explained({DELIMITER, WHOLE, DELIMITER, DROPPED}, {"--json"});
    lines starts;
    for (const std::string &line : result.out_lines())
        starts.push_back(line.substr(0, line.find(",\"out")));
    EXPECT_EQ(starts, (lines{R"({"frame":2,"type":47)", R"({"frame":4,"type":51)"}));
    EXPECT_EQ(result.err.substr(0, result.err.find('\n')),
              path("stream") + ": raw frames, 2 updates, 2 delimiters skipped");
}

TEST_F(explain, only_shows_the_outcomes_that_are_named)
{
    const std::vector<bytes> all = {WHOLE, LOSING, DROPPED, STOPPED, REFUSED};
    const auto shown = [&](const std::string &names) {
        std::string frames;
        for (const std::string &line : explained(all, {"--json", "--only", names}).out_lines())
            frames += line.substr(std::string("{\"frame\":").size(), 1);
        return frames;
    };
    EXPECT_EQ(shown("losses"), "2");
    EXPECT_EQ(shown("dropped"), "3");
    EXPECT_EQ(shown("stopped"), "4");
    EXPECT_EQ(shown("refused"), "5");
    EXPECT_EQ(shown("refused,losses"), "25");
    EXPECT_EQ(shown("dropped,losses,stopped,refused"), "2345");
    const run_result wrong = explained(all, {"--only", "dropped,lost"});
    EXPECT_EQ(wrong.exit_code, 2);
    EXPECT_EQ(
        wrong.err,
        "ribtool: --only: \"lost\" is not one of dropped, losses, stopped, refused (see ribtool explain --help)\n");
}

TEST_F(explain, the_summary_counts_updates_and_lost_values_by_reason)
{
    const run_result result =
        explained({WHOLE, LOSING, LOSING, DROPPED, STOPPED, REFUSED, LOSING}, {"--only", "dropped"});
    EXPECT_EQ(
        squeezed(result.err),
        path("stream") +
            ": raw frames, 7 updates\n"
            " updates lost values reason\n"
            " 3 3 narrowed: the member holds fewer bits: the low ones are kept\n"
            " 1 0 cut_off: a tag or a value ends behind the end of the message that holds it\n"
            " 1 0 not_tried_too_short: the payload is shorter than the record that it must be, which nothing checks\n"
            " 1 0 missing_proto_id: a protocol update has no identifier\n"
            " 4 delivered (3 with losses), 1 dropped, 1 stopped, 1 refused\n");
}

TEST_F(explain, a_limit_counts_updates)
{
    EXPECT_EQ(explained({DELIMITER, WHOLE, DELIMITER, WHOLE, DROPPED}, {"--limit", "2"}).exit_code, 0);
    EXPECT_EQ(explained({WHOLE}, {"--limit", "0"}).out, "");
}

// ---- Exit codes, and other inputs ----

TEST_F(explain, a_quiet_run_only_ends_with_its_answer)
{
    for (const auto &[update, answer] : {std::pair(WHOLE, 0), std::pair(LOSING, 1), std::pair(DROPPED, 1),
                                         std::pair(STOPPED, 1), std::pair(UNKNOWN, 1), std::pair(DELIMITER, 0)}) {
        const run_result result = explained({WHOLE, update, WHOLE}, {"-q"});
        EXPECT_EQ(result.exit_code, answer);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
    }
}

TEST_F(explain, a_damaged_capture_is_explained_up_to_there)
{
    bytes cut = WHOLE;
    cut.pop_back();
    const std::string place = "ribtool: " + path("stream") +
                              ": frame 2 at byte 10: truncated: its header promises 2 bytes of payload, 1 are left\n";
    const run_result result = explained({WHOLE, cut});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.out, "frame 1: protocol (code 47, 2 bytes) is delivered\n");
    EXPECT_EQ(result.err, place + path("stream") +
                              ": raw frames, 1 updates\n"
                              "  1 delivered (0 with losses), 0 dropped, 0 stopped, 0 refused\n");

    const run_result quiet = explained({DROPPED, WHOLE, cut}, {"-q"});
    EXPECT_EQ(quiet.exit_code, 4);
    EXPECT_EQ(quiet.out, "");
}

TEST_F(explain, one_payload_needs_no_frame)
{
    EXPECT_EQ(ribtool({"explain", "-", "--code", "47", "--from", "hex"}, "08 81:80\n0x04").out,
              "protocol (code 47, 4 bytes) is delivered, with 1 loss\n"
              "    proto_id is 65537; the client sees 1. The member holds fewer bits: the low ones are kept\n"
              "      (narrowed, byte 1).\n");
    const run_result json =
        ribtool({"explain", write("payload", bytes{0x08, 0x07}), "--code", "47", "--from", "bin", "--json"});
    EXPECT_EQ(json.out, R"({"type":47,"outcome":"delivered","status":0,"status_name":"OK"})"
                        "\n");
    EXPECT_EQ(json.exit_code, 0);
    EXPECT_EQ(ribtool({"explain", "-", "--code", "47", "--from", "hex", "-q"}, "1005").exit_code, 1);
}

TEST_F(explain, digits_that_are_none_are_located)
{
    const run_result result = ribtool({"explain", write("digits", "08 07\n1g"), "--code", "47", "--from", "hex"});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.err, "ribtool: " + path("digits") + ":2:2: expected the second digit of a byte\n");
}

TEST_F(explain, a_code_and_a_form_belong_together)
{
    EXPECT_EQ(ribtool({"explain", "x", "--code", "47"}).err,
              "ribtool: --code requires --from (see ribtool explain --help)\n");
    EXPECT_EQ(ribtool({"explain", "x", "--from", "hex"}).err,
              "ribtool: --from requires --code (see ribtool explain --help)\n");
}

} // namespace ribtool_test
