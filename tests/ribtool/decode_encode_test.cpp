// Messages through decode and encode, in every format and layout.

#include "tests/ribtool/run_ribtool.hpp"

#include <gmock/gmock.h>

namespace ribtool_test
{

namespace
{

using testing::HasSubstr;

std::string as_text(const bytes &contents)
{
    return {contents.begin(), contents.end()};
}

// Two prefixes: 10.0.0.0/8, and /9 without an address.
const bytes FIRST = {0x0a, 0x07, 0x08, 0x01, 0x10, 0x80, 0x80, 0x80, 0x50, 0x10, 0x08};
const bytes SECOND = {0x10, 0x09};
const std::string FIRST_JSON = R"({"address":{"family":1,"ipv4":167772160},"prefix_len":8})";
const std::string SECOND_JSON = R"({"prefix_len":9})";
const std::string FIRST_HEX = "0a07080110808080501008";
const std::string SECOND_HEX = "1009";

bytes behind_their_lengths(const std::vector<bytes> &messages)
{
    bytes stream;
    for (const bytes &each : messages) {
        stream.push_back(static_cast<uint8_t>(each.size()));
        stream.insert(stream.end(), each.begin(), each.end());
    }
    return stream;
}

} // namespace

class decode_encode : public tool_test
{
protected:
    static void expect_failure(const run_result &result, const std::string &line, int exit_code = 4)
    {
        EXPECT_EQ(result.exit_code, exit_code);
        EXPECT_EQ(result.err, "ribtool: " + line + "\n");
    }
};

TEST_F(decode_encode, without_options_bytes_become_json_and_json_bytes)
{
    const run_result decoded = ribtool({"decode", "rib_prefix", write("message", FIRST)});
    EXPECT_EQ(decoded.exit_code, 0) << decoded.err;
    EXPECT_EQ(decoded.out, FIRST_JSON + "\n");
    EXPECT_EQ(decoded.err, "");
    const run_result encoded = ribtool({"encode", "rib_prefix", "-"}, decoded.out);
    EXPECT_EQ(encoded.exit_code, 0) << encoded.err;
    EXPECT_EQ(encoded.out, as_text(FIRST));
}

TEST_F(decode_encode, every_format_becomes_every_other)
{
    std::map<std::string, std::string> formats = {
        {"bin", as_text(FIRST)}, {"hex", FIRST_HEX + "\n"}, {"json", FIRST_JSON + "\n"}};
    formats["text"] = ribtool({"decode", "rib_prefix", "-", "--to", "text"}, as_text(FIRST)).out;
    EXPECT_THAT(formats["text"], HasSubstr("prefix_len: 8\n"));
    for (const auto &[from, contents] : formats) {
        for (const auto &[to, expected] : formats) {
            for (const char *command : {"decode", "encode"}) {
                const run_result result = ribtool({command, "rib_prefix", "-", "--from", from, "--to", to}, contents);
                EXPECT_EQ(result.exit_code, 0) << result.err;
                EXPECT_EQ(result.out, expected) << from << " to " << to;
            }
        }
    }
}

TEST_F(decode_encode, every_format_of_a_stream_becomes_every_other)
{
    const std::string bin = as_text(behind_their_lengths({FIRST, {}, SECOND}));
    std::map<std::string, std::string> formats = {{"bin", bin},
                                                  {"hex", FIRST_HEX + "\n\n" + SECOND_HEX + "\n"},
                                                  {"json", FIRST_JSON + "\n{}\n" + SECOND_JSON + "\n"}};
    formats["text"] = ribtool({"decode", "rib_prefix", "-", "--to", "text", "--delimited"}, bin).out;
    EXPECT_THAT(formats["text"], HasSubstr("\n---\n"));
    for (const auto &[from, contents] : formats) {
        for (const auto &[to, expected] : formats) {
            const run_result result =
                ribtool({"encode", "rib_prefix", "-", "--delimited", "--from", from, "--to", to}, contents);
            EXPECT_EQ(result.exit_code, 0) << result.err;
            EXPECT_EQ(result.out, expected) << from << " to " << to;
        }
    }
}

TEST_F(decode_encode, an_empty_stream_has_no_messages)
{
    for (const char *from : {"bin", "hex", "json", "text"}) {
        const run_result result = ribtool({"decode", "rib_prefix", "-", "--delimited", "--from", from}, "");
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_EQ(result.out, "") << from;
    }
}

TEST_F(decode_encode, an_empty_file_is_an_empty_message)
{
    EXPECT_EQ(ribtool({"decode", "rib_prefix", "-"}, "").out, "{}\n");
}

TEST_F(decode_encode, json_of_a_pipe_may_come_in_any_pieces)
{
    const run_result result = run(
        "bash", {"-c", R"({ printf '{"proto_name":"a\\'; sleep 0.1; printf n; sleep 0.1; printf '"}{}'; } | )" RIBTOOL
                       " encode ip_rib_proto_update - --delimited --to hex"});
    EXPECT_EQ(result.out, "2202610a\n\n") << result.err; // a and a line feed; an empty message
}

TEST_F(decode_encode, json_values_of_a_stream_need_no_lines)
{
    const run_result result = ribtool({"encode", "rib_prefix", "-", "--delimited", "--to", "hex"},
                                      " {\"prefix_len\":\n8}{\"prefix_len\":9}\n\n{ }");
    EXPECT_EQ(result.out, "1008\n1009\n\n");
    const run_result braces = ribtool({"encode", "ip_rib_proto_update", "-", "--delimited", "--to", "hex"},
                                      R"({"proto_name":"}\"{"}{"proto_id":1})");
    EXPECT_EQ(braces.out, "22037d227b\n0801\n");
}

TEST_F(decode_encode, values_longer_than_what_is_read_at_once_are_whole)
{
    const std::string name(200000, 'x');
    const std::string stream = R"({"proto_name":")" + name + "\"}\n{\"proto_id\":7}\n";
    const run_result encoded = ribtool({"encode", "ip_rib_proto_update", "-", "--delimited"}, stream);
    EXPECT_EQ(encoded.exit_code, 0) << encoded.err;
    const run_result decoded = ribtool({"decode", "ip_rib_proto_update", "-", "--delimited"}, encoded.out);
    EXPECT_EQ(decoded.out, stream);
    for (const char *format : {"hex", "text"}) {
        const run_result other =
            ribtool({"decode", "ip_rib_proto_update", "-", "--delimited", "--to", format}, encoded.out);
        const run_result back =
            ribtool({"encode", "ip_rib_proto_update", "-", "--delimited", "--from", format}, other.out);
        EXPECT_EQ(back.out, encoded.out) << format;
    }
}

TEST_F(decode_encode, a_capture_gives_the_updates_of_one_type_code)
{
    const std::string capture = write(
        "capture", joined({frame(47, {0x08, 0x01}), frame(0, {}), frame(50, {0x08, 0x02}), frame(47, {0x08, 0x03})}));
    const run_result result = ribtool({"decode", "ip_rib_proto_update", capture, "--code", "47"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "{\"proto_id\":1}\n{\"proto_id\":3}\n");
    EXPECT_EQ(ribtool({"decode", "ip_rib_proto_update", capture, "--code", "47", "--limit", "1"}).out,
              "{\"proto_id\":1}\n");
}

TEST_F(decode_encode, encode_writes_captures)
{
    const run_result result =
        ribtool({"encode", "ip_rib_proto_update", "-", "--code", "47", "--format", "raw", "-o", path("out")},
                "{\"proto_id\":1}{\"proto_id\":3}");
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(read("out"), joined({frame(47, {0x08, 0x01}), frame(47, {0x08, 0x03})}));
    ribtool({"encode", "ip_rib_proto_update", "-", "--code", "47", "-o", path("pcap")},
            "{\"proto_id\":1}{\"proto_id\":3}");
    EXPECT_EQ(ribtool({"decode", "ip_rib_proto_update", path("pcap"), "--code", "47"}).out,
              "{\"proto_id\":1}\n{\"proto_id\":3}\n");
}

TEST_F(decode_encode, json_is_indented_only_when_asked_for_or_on_a_terminal)
{
    EXPECT_EQ(ribtool({"decode", "rib_prefix", "-", "--indent"}, as_text(SECOND)).out, "{\n  \"prefix_len\": 9\n}\n");
}

// ---- What goes wrong ----

TEST_F(decode_encode, an_unknown_type_is_wrong_usage_with_the_nearest_names)
{
    expect_failure(ribtool({"decode", "rib_rout", "-"}),
                   "no message type has the name \"rib_rout\"; the nearest are rib_route, rib_nnh and rib_path", 2);
}

TEST_F(decode_encode, a_code_has_one_type)
{
    expect_failure(ribtool({"decode", "rib_prefix", "-", "--code", "51"}),
                   "--code: the payload of updates of type code 51 is a rib_route, no rib_prefix", 2);
    expect_failure(ribtool({"decode", "rib_route", "-", "--code", "3"}),
                   "--code: no message is the payload of updates of type code 3", 2);
    expect_failure(ribtool({"decode", "rib_route", "-", "--code", "65536"}),
                   "--code: \"65536\" is not a type code from 0 to 65535 (see ribtool decode --help)", 2);
    EXPECT_EQ(ribtool({"decode", "rib_route", "-", "--code", "51", "--delimited"}).exit_code, 2);
}

TEST_F(decode_encode, errors_in_text_have_line_and_column)
{
    const std::string file = write("bad", "{\n  \"prefix_len\": 8,\n  \"address\": {\"family\": -1}\n}\n");
    expect_failure(ribtool({"encode", "rib_prefix", file}),
                   file + ":3:25: address.family: expected a whole number from 0 to 4294967295, found -1");
    expect_failure(ribtool({"encode", "rib_prefix", "-", "--from", "hex"}, "10 08\n0x1 "),
                   "standard input:2:4: expected the second digit of a byte");
    expect_failure(ribtool({"encode", "rib_prefix", "-", "--from", "text"}, "prefix_len: 8\nprefix: 7\n"),
                   "standard input:2:1: expected the name of a field of rib_prefix");
}

TEST_F(decode_encode, errors_in_a_stream_have_the_place_in_the_file)
{
    expect_failure(
        ribtool({"encode", "rib_prefix", "-", "--delimited", "-o", path("out")}, "{}\n{} {\n\"prefix_len\":true}"),
        "standard input:3:14: prefix_len: expected a whole number from 0 to 4294967295, found true");
    EXPECT_FALSE(std::filesystem::exists(path("out"))) << "half a file";
    expect_failure(ribtool({"encode", "rib_prefix", "-", "--delimited"}, "{} [}"),
                   "standard input:1:4: expected the object of a rib_prefix, found [");
    expect_failure(ribtool({"encode", "rib_prefix", "-", "--delimited", "--from", "hex"}, "\n10\n1x\n"),
                   "standard input:3:2: expected the second digit of a byte");
    expect_failure(
        ribtool({"encode", "rib_prefix", "-", "--delimited", "--from", "text"}, "---\nprefix_len: 8\n---\n  ?\n"),
        "standard input:4:3: expected the name of a field of rib_prefix");
}

TEST_F(decode_encode, an_undecodable_message_is_shown_in_part_and_ends_with_4)
{
    const run_result result =
        ribtool({"decode", "rib_prefix", "-"}, as_text({0x10, 0x08, 0x0a, 0x02, 0x08})); // cut off
    expect_failure(
        result, "standard input: address: ZIDL_ERR_MALFORMED at byte 3: a length reaches past the end of the message "
                "that holds it (past_the_end); --to text shows every byte");
    EXPECT_EQ(result.out, R"({"@partial":{"status":-1,"status_name":"ZIDL_ERR_MALFORMED","reason":"past_the_end",)"
                          R"("path":"address","offset":3},"prefix_len":8})"
                          "\n");
    EXPECT_EQ(ribtool({"decode", "rib_prefix", "-", "--to", "hex"}, as_text({0x10, 0x08, 0x0a, 0x02, 0x08})).out,
              "10080a0208\n");
}

TEST_F(decode_encode, messages_behind_an_undecodable_one_are_shown)
{
    const bytes stream = behind_their_lengths({{0x10}, SECOND});
    const run_result result = ribtool({"decode", "rib_prefix", write("stream", stream), "--delimited"});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_THAT(result.err, HasSubstr("stream: message 1 at byte 0: prefix_len: ZIDL_ERR_MALFORMED at byte 1: "));
    ASSERT_EQ(result.out_lines().size(), 2U);
    EXPECT_EQ(result.out_lines()[1], SECOND_JSON);
    const std::string capture = write("capture", joined({frame(51, {0x10}), frame(51, {})}));
    EXPECT_THAT(ribtool({"decode", "rib_route", capture, "--code", "51"}).err,
                HasSubstr("capture: frame 1 at byte 0: "));
}

TEST_F(decode_encode, failures_beyond_the_tenth_are_counted)
{
    const run_result result = ribtool({"decode", "rib_prefix", "-", "--delimited"},
                                      as_text(behind_their_lengths(std::vector<bytes>(12, {0x10}))));
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 11);
    EXPECT_THAT(result.err, HasSubstr("Further ones are counted only.\n"));
    EXPECT_THAT(result.err, HasSubstr("standard input: 12 of 12 messages have no JSON or only a part of it\n"));
}

TEST_F(decode_encode, a_string_that_is_no_utf8_is_refused_with_a_way_out)
{
    const std::string message = as_text({0x22, 0x02, 0xff, 'a'}); // proto_name
    expect_failure(
        ribtool({"decode", "ip_rib_proto_update", "-"}, message),
        "standard input: proto_name: a string that is no UTF-8; --to text keeps it, --replace writes U+FFFD");
    EXPECT_EQ(ribtool({"decode", "ip_rib_proto_update", "-", "--replace"}, message).out,
              "{\"proto_name\":\"\xef\xbf\xbd"
              "a\"}\n");
    const run_result text = ribtool({"decode", "ip_rib_proto_update", "-", "--to", "text"}, message);
    EXPECT_EQ(ribtool({"encode", "ip_rib_proto_update", "-", "--from", "text"}, text.out).out, message);
}

TEST_F(decode_encode, a_capture_that_is_taken_for_a_message_is_noticed)
{
    const std::string capture = ribtool({"synth", "--updates", "1", "-o", "-"}).out;
    const run_result result = ribtool({"decode", "rib_route", "-"}, capture);
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_THAT(result.err, HasSubstr("; of a capture --code CODE takes the updates\n"));
}

TEST_F(decode_encode, a_cut_stream_is_read_up_to_the_cut)
{
    const auto decoded = [](const bytes &stream) {
        return ribtool({"decode", "rib_prefix", "-", "--delimited"}, as_text(stream));
    };
    const run_result cut = decoded({0x02, 0x10, 0x09, 0x05, 0x10});
    EXPECT_EQ(cut.out, SECOND_JSON + "\n");
    expect_failure(cut, "standard input: message 2 at byte 3: truncated: its length promises 5 bytes, 1 are left");
    expect_failure(decoded({0x80}), "standard input: message 1 at byte 0: truncated inside the length");
    expect_failure(
        decoded({0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x01}),
        "standard input: message 1 at byte 0: its length promises 18446744073709551615 bytes, more than 256 MiB");
    expect_failure(decoded(bytes(11, 0x80)), "standard input: message 1 at byte 0: its length has more than 10 bytes: "
                                             "not a stream of messages behind their lengths");
    const run_result capture =
        ribtool({"decode", "rib_route", "-", "--code", "51"}, as_text({0, 0, 0, 0, 0, 51, 0, 9, 1}));
    expect_failure(capture,
                   "standard input: frame 1 at byte 0: truncated: its header promises 9 bytes of payload, 1 are left");
}

TEST_F(decode_encode, what_cannot_be_read_or_written_ends_with_3)
{
    expect_failure(ribtool({"decode", "rib_prefix", path("absent")}),
                   path("absent") + ": cannot open: No such file or directory", 3);
    expect_failure(ribtool({"decode", "rib_prefix", "-", "-o", path("no/file")}),
                   path("no/file") + ": cannot create: No such file or directory", 3);
    const std::string file = write("message", FIRST);
    EXPECT_NE(ribtool({"decode", "rib_prefix", file, "-o", file}).exit_code, 0);
    EXPECT_EQ(read("message"), FIRST) << "overwritten while it was read";
}

} // namespace ribtool_test
