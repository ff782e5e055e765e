// The JSON of messages, rule by rule: what stands beside bytes is what JSON says of them.

#include "inspect/formats/message_json.hpp"
#include "inspect/formats/message_json_names.hpp"
#include "tests/messages/every_message.hpp"

#include <gtest/gtest.h>

#include <set>

namespace
{

using namespace rib_inspect;
using bytes = std::vector<uint8_t>;

const zidl::message_descriptor &type_named(const char *name)
{
    return *zidl::find_message(name);
}

std::string json_of(const char *type, const bytes &message, json_style style = {})
{
    std::string out;
    const auto failure = json_writer(type_named(type), style).append(out, message);
    return failure ? "failure at " + failure->path + ": " + failure->text : out;
}

bytes bytes_of(const char *type, std::string_view json)
{
    bytes out;
    const auto problem = json_reader(type_named(type)).read(json, out);
    EXPECT_FALSE(problem) << problem->offset << ' ' << problem->path << ": " << problem->text;
    return out;
}

// "OFFSET PATH: TEXT"
std::string problem_of(const char *type, std::string_view json)
{
    bytes out = {1};
    const auto problem = json_reader(type_named(type)).read(json, out);
    EXPECT_EQ(out, bytes{1}) << "a problem leaves nothing behind";
    return problem ? std::to_string(problem->offset) + ' ' + problem->path + ": " + problem->text : "none";
}

void expect_both_ways(const char *type, const bytes &message, const std::string &json)
{
    EXPECT_EQ(json_of(type, message), json);
    EXPECT_EQ(bytes_of(type, json), message);
}

// ---- Values ----

TEST(message_json, numbers_of_32_bits_are_numbers)
{
    expect_both_ways("rib_address",
                     {0x08, 0x02,                          // family 2
                      0x10, 0xff, 0xff, 0xff, 0xff, 0x0f}, // ipv4 2^32 - 1
                     R"({"family":2,"ipv4":4294967295})");
}

TEST(message_json, numbers_of_64_bits_are_strings)
{
    expect_both_ways("rib_ipv6_address",
                     {0x08, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x01, // half0 2^64 - 1
                      0x10, 0x00},                                                      // half1 0
                     R"({"half0":"18446744073709551615","half1":"0"})");
}

TEST(message_json, fixed_numbers_are_numbers)
{
    expect_both_ways("rib_encap_id_key", {0x35, 0x04, 0x03, 0x02, 0x01}, R"({"key_value_6":16909060})"); // 0x01020304
}

TEST(message_json, arrays_of_small_numbers_are_arrays_of_numbers)
{
    expect_both_ways("ip_rib_srv6_sid_ctx", {0x10, 0x00, 0x10, 0xff, 0x01}, R"({"values_2":[0,255]})");
}

TEST(message_json, bools_are_true_and_false)
{
    expect_both_ways("rib_path_ip_tunnel_info", {0x28, 0x01}, R"({"tunnel_flag":true})");
    expect_both_ways("rib_path_ip_tunnel_info", {0x28, 0x00}, R"({"tunnel_flag":false})");
}

TEST(message_json, a_bool_is_what_the_library_keeps_of_it)
{
    EXPECT_EQ(json_of("rib_path_ip_tunnel_info", {0x28, 0x82, 0x01}), R"({"tunnel_flag":true})"); // 130
}

TEST(message_json, bytes_are_base64_with_padding)
{
    expect_both_ways("rib_msg_prefix", {0x22, 0x01, 0xfb}, R"({"ipv6":"+w=="})");
    expect_both_ways("rib_msg_prefix", {0x22, 0x02, 0xff, 0xfe}, R"({"ipv6":"//4="})");
    expect_both_ways("rib_msg_prefix", {0x22, 0x03, 0x00, 0x10, 0x83}, R"({"ipv6":"ABCD"})");
    expect_both_ways("rib_encap_id_path_key_srv6", {0x12, 0x01, 0x07, 0x12, 0x00}, R"({"entries":["Bw==",""]})");
}

TEST(message_json, strings_have_their_characters_and_escapes)
{
    expect_both_ways(
        "ip_rib_proto_update",
        {0x22, 0x0c, 'a', '"', '\\', '\n', 0x1f, 0x7f, 0xc3, 0xa9, 0xf0, 0x9f, 0x98, 0x80}, // é, a smiling face
        "{\"proto_name\":\"a\\\"\\\\\\n\\u001f\\u007f\xc3\xa9\xf0\x9f\x98\x80\"}");
}

TEST(message_json, characters_that_a_terminal_obeys_are_escaped)
{
    expect_both_ways(
        "ip_rib_proto_update",
        {0x22, 0x0a, 0xc2, 0x9b, 0xe2, 0x80, 0xae, 0xe2, 0x81, 0xa9, 0xc2, 0xa0}, // the last one is a blank
        "{\"proto_name\":\"\\u009b\\u202e\\u2069\xc2\xa0\"}");
    expect_both_ways( // marks of the direction, as invisible as what turns it
        "ip_rib_proto_update", {0x22, 0x08, 0xd8, 0x9c, 0xe2, 0x80, 0x8e, 0xe2, 0x80, 0x8f},
        "{\"proto_name\":\"\\u061c\\u200e\\u200f\"}");
}

TEST(message_json, what_is_zero_or_empty_is_shown_when_present_and_nothing_when_absent)
{
    expect_both_ways("rib_prefix", {}, "{}");
    expect_both_ways("rib_prefix", {0x0a, 0x00, 0x10, 0x00}, R"({"address":{},"prefix_len":0})");
    expect_both_ways("ip_rib_opaque", {0x2a, 0x00}, R"({"first_block":""})");
    expect_both_ways("ip_rib_proto_update", {0x22, 0x00}, R"({"proto_name":""})");
    expect_both_ways("rib_grid_sync_list", {0x12, 0x00, 0x12, 0x00}, R"({"keys":[{},{}]})");
}

TEST(message_json, values_are_those_that_the_library_keeps)
{
    EXPECT_EQ(json_of("rib_address", {0x08, 0x01,                         // family 1
                                      0x08, 0x82, 0x80, 0x80, 0x80, 0x10, // family again: 2^32 + 2, in 32 bits 2
                                      0x7a, 0x01, 0xff}),                 // field 15, which no address has
              R"({"family":2})");
    EXPECT_EQ(json_of("ip_rib_proto_update", {0x22, 0x03, 'a', 0x00, 'b'}), R"({"proto_name":"a"})");
}

TEST(message_json, indented_json_has_one_member_or_element_a_line)
{
    EXPECT_EQ(json_of("rib_encap_id_path_key_label", {0x08, 0x07, 0x10, 0x01, 0x10, 0x02}, {true, false}),
              "{\n"
              "  \"label_key_value\": 7,\n"
              "  \"labels\": [\n"
              "    1,\n"
              "    2\n"
              "  ]\n"
              "}");
    EXPECT_EQ(json_of("rib_prefix", {0x0a, 0x00}, {true, false}), "{\n  \"address\": {}\n}");
}

// ---- What has no JSON ----

TEST(message_json, a_string_that_is_no_utf8_is_refused_with_its_path)
{
    const bytes message = {0x22, 0x04, 'a', 0xc3, 0x28, 'b'}; // proto_name: a, half a character, (b
    std::string out = "before ";
    const auto failure = json_writer(type_named("ip_rib_proto_update")).append(out, message);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->what, json_failure::not_utf8);
    EXPECT_EQ(failure->path, "proto_name");
    EXPECT_EQ(out, "before ");
}

TEST(message_json, replaced_bytes_are_one_mark_for_each_broken_character)
{
    const json_style replacing = {false, true};
    EXPECT_EQ(json_of("ip_rib_proto_update", {0x22, 0x04, 'a', 0xc3, 0x28, 'b'}, replacing),
              "{\"proto_name\":\"a\xef\xbf\xbd(b\"}");
    EXPECT_EQ(json_of("ip_rib_proto_update", {0x22, 0x03, 0xed, 0xa0, 0x80},
                      replacing), // a surrogate: no character begins so
              "{\"proto_name\":\"\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\"}");
    EXPECT_EQ(json_of("ip_rib_proto_update", {0x22, 0x03, 0xe2, 0x82, 'x'}, replacing),
              "{\"proto_name\":\"\xef\xbf\xbdx\"}");
}

TEST(message_json, an_undecodable_message_is_written_as_far_as_it_was_decoded_under_a_mark)
{
    const bytes message = {0x10, 0x18,             // prefix_len 24
                           0x0a, 0x04, 0x08, 0x01, // address: family 1,
                           0x12, 0x00};            // and ipv4 with a length, which numbers do not have
    std::string out;
    const auto failure = json_writer(type_named("rib_prefix")).append(out, message);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->what, json_failure::undecodable);
    EXPECT_EQ(failure->walk.status, ZIDL_ERR_FIELD_TYPE);
    EXPECT_EQ(failure->walk.offset, 6U);
    EXPECT_EQ(failure->path, "address.ipv4");
    EXPECT_EQ(out, R"({"@partial":{"status":-3,"status_name":"ZIDL_ERR_FIELD_TYPE","reason":"wrong_wire_type",)"
                   R"("path":"address.ipv4","offset":6},"address":{"family":1},"prefix_len":24})");
    EXPECT_EQ(problem_of("rib_prefix", out),
              "1 : expected a whole message: decode marks a partial one with this member, found \"@partial\"");
}

TEST(message_json, a_partial_message_has_the_elements_up_to_the_one_that_fails)
{
    const bytes message = {0x12, 0x02, 0x08, 0x05,       // keys[0]: key_value_1 5
                           0x12, 0x03, 0x10, 0x06, 0x0a, // keys[1]: key_value_2 6, and key_value_1 with a length
                           0x12, 0x00};                  // keys[2]
    std::string out;
    ASSERT_TRUE(json_writer(type_named("rib_grid_sync_list")).append(out, message));
    EXPECT_EQ(out, R"({"@partial":{"status":-3,"status_name":"ZIDL_ERR_FIELD_TYPE","reason":"wrong_wire_type",)"
                   R"("path":"keys[1].key_value_1","offset":8},"keys":[{"key_value_1":5},{"key_value_2":6}]})");
}

TEST(message_json, a_message_cut_inside_a_tag_counts_as_begun)
{
    const bytes message = {0x0a, 0x03, 0x08, 0x01, 0x80}; // address: family 1, and a tag without its end
    std::string out;
    ASSERT_TRUE(json_writer(type_named("rib_prefix")).append(out, message));
    EXPECT_EQ(out, R"({"@partial":{"status":-1,"status_name":"ZIDL_ERR_MALFORMED","reason":"cut_off",)"
                   R"("path":"address","offset":4},"address":{"family":1}})");
}

// ---- Reading ----

TEST(message_json, names_in_lower_camel_case_are_read)
{
    EXPECT_EQ(bytes_of("rib_prefix", R"({"prefixLen":8})"), (bytes{0x10, 0x08}));
    EXPECT_EQ(bytes_of("rib_path", R"({"srv6SidInfos":[{"sidInfoValue1":2}]})"), (bytes{0x8a, 0x02, 0x02, 0x08, 0x02}));
}

TEST(message_json, no_two_members_of_a_message_share_a_name)
{
    for (const zidl::message_descriptor *type : every_message()) {
        std::set<std::string> names;
        for (uint32_t i = 0; i < type->field_count; ++i) {
            const std::string name = type->fields[i].member;
            EXPECT_TRUE(names.insert(name).second) << type->name << ' ' << name;
            if (const std::string camel = lower_camel_case(name); camel != name) {
                EXPECT_TRUE(names.insert(camel).second) << type->name << ' ' << camel;
            }
        }
        EXPECT_LE(type->field_count, 64U) << "the reader has a bit for each member";
    }
}

TEST(message_json, members_come_in_any_order_with_any_blanks)
{
    EXPECT_EQ(bytes_of("rib_address", " \t\r\n{ \"ipv4\" : 1 ,\n\"family\":2 }\n "), (bytes{0x08, 0x02, 0x10, 0x01}));
}

TEST(message_json, null_and_the_empty_array_are_absent)
{
    EXPECT_EQ(bytes_of("rib_path", R"({"path_value_1":null,"path_values_9":[],"path_address_4":null,"ecomm":{}})"),
              (bytes{0xd2, 0x01, 0x00})); // ecomm, empty
}

TEST(message_json, numbers_are_read_in_each_way_that_means_a_whole_number)
{
    for (const char *text : {"150", "1.5e2", "15E1", "150.0", "1500e-1", "\"150\"", "\"1.5e+2\"", "150.000e0"})
        EXPECT_EQ(bytes_of("rib_address", std::string("{\"ipv4\":") + text + '}'), (bytes{0x10, 0x96, 0x01})) << text;
    for (const char *text : {"0", "-0", "0e9", "0.0", "-0.0e-7"})
        EXPECT_EQ(bytes_of("rib_address", std::string("{\"ipv4\":") + text + '}'), (bytes{0x10, 0x00})) << text;
}

TEST(message_json, large_numbers_without_quotes_are_read_exactly)
{
    const bytes largest = {0x08, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x01};
    EXPECT_EQ(bytes_of("rib_ipv6_address", R"({"half0":18446744073709551615})"), largest);
    EXPECT_EQ(bytes_of("rib_ipv6_address", R"({"half0":1844674407370955161.5e1})"), largest);
}

TEST(message_json, what_is_no_whole_number_in_range_is_refused)
{
    for (const char *text : {"-1", "4294967296", "1.5", "1e-1", "1e99999999999999999999", "18446744073709551616",
                             "true", "\"\"", "\" 1\"", "\"1 \"", "\"0x1\"", "[1]", "{}", "nan", "+1", ".5", "\"1.\""})
        EXPECT_EQ(problem_of("rib_address", std::string("{\"ipv4\":") + text + '}')
                      .find("8 ipv4: expected a whole number from 0 to 4294967295, found "),
                  0U)
            << text;
    EXPECT_EQ(problem_of("ip_rib_srv6_sid_ctx", R"({"values_2":[1,256]})"),
              "15 values_2[1]: expected a whole number from 0 to 255, found 256");
    EXPECT_EQ(problem_of("rib_ipv6_address", R"({"half1":"18446744073709551616"})"),
              "9 half1: expected a whole number from 0 to 18446744073709551615, found \"18446744073709551616\"");
    EXPECT_EQ(problem_of("rib_address", R"({"ipv4":01})"), "9 : expected , or }, found 1");
}

TEST(message_json, bytes_are_read_in_both_alphabets_with_and_without_padding)
{
    for (const char *text : {"+/8=", "-_8=", "+/8", "-_8"})
        EXPECT_EQ(bytes_of("rib_msg_prefix", std::string("{\"ipv6\":\"") + text + "\"}"),
                  (bytes{0x22, 0x02, 0xfb, 0xff}))
            << text;
}

TEST(message_json, what_is_no_base64_is_refused)
{
    // A digit too few, one that is none, padding of a wrong length or in the middle, and bits that would be lost.
    for (const char *text : {"A", "AAAAA", "A*==", "AA=", "AAA==", "=", "A===", "AA==AA==", "AB==", "+/9=", "AAA A"})
        EXPECT_EQ(problem_of("rib_msg_prefix", std::string("{\"ipv6\":\"") + text + "\"}"),
                  std::string("8 ipv6: expected base64, found \"") + text + '"');
    EXPECT_EQ(problem_of("rib_msg_prefix", R"({"ipv6":7})"), "8 ipv6: expected a string with base64, found 7");
}

TEST(message_json, escapes_in_strings_are_read)
{
    EXPECT_EQ(bytes_of("ip_rib_proto_update", R"({"proto_name":"\"\\\/\b\f\n\r\t\u0041\u00e9\u20AC\ud83d\ude00"})"),
              (bytes{0x22, 0x12, '"',  '\\', '/',  8,    12,   10,   13,   9,
                     'A',  0xc3, 0xa9, 0xe2, 0x82, 0xac, 0xf0, 0x9f, 0x98, 0x80}));
    EXPECT_EQ(bytes_of("ip_rib_proto_update", R"({"proto\u005fid":1})"), (bytes{0x08, 0x01}));
}

TEST(message_json, a_string_that_is_none_is_refused_where_it_goes_wrong)
{
    const auto problem = [](const char *value) {
        return problem_of("ip_rib_proto_update", std::string("{\"proto_name\":") + value + '}');
    };
    EXPECT_EQ(problem("\"a\\x\""), "17 proto_name: expected one of \"\\/bfnrtu behind a backslash, found x");
    EXPECT_EQ(problem("\"a\\ud83dx\""), "16 proto_name: expected both halves of a surrogate pair, found \\");
    EXPECT_EQ(problem("\"a\\ude00\""), "16 proto_name: expected both halves of a surrogate pair, found \\");
    EXPECT_EQ(problem("\"\\u12g4\""), "17 proto_name: expected four hexadecimal digits, found 12g4");
    EXPECT_EQ(problem("\"a\tb\""), "16 proto_name: expected an escape for a control character, found \\x09");
    EXPECT_EQ(problem("\"a\xc3(\""), "16 proto_name: expected UTF-8, found \\xc3");
    EXPECT_EQ(problem("\"a\\u0000b\""),
              "14 proto_name: expected a string without \\u0000, which would end it, found \"a\\u0000b\"");
    EXPECT_EQ(problem("7"), "14 proto_name: expected a string, found 7");
    EXPECT_EQ(problem_of("ip_rib_proto_update", "{\"proto_name\":\"a"),
              "16 proto_name: expected the end of a string, found the end of the text");
}

TEST(message_json, an_unknown_member_is_refused_with_its_place)
{
    EXPECT_EQ(problem_of("rib_prefix", R"({"address":{"family":1,"ipv5":2}})"),
              "23 address: expected a member of rib_address, found \"ipv5\"");
    EXPECT_EQ(problem_of("rib_prefix", R"({"Prefix_len":2})"),
              "1 : expected a member of rib_prefix, found \"Prefix_len\"");
}

TEST(message_json, a_doubled_member_is_refused_with_its_place)
{
    EXPECT_EQ(problem_of("rib_grid_sync_list", R"({"keys":[{},{"key_type":1,"keyType":1}]})"),
              "26 keys[1].key_type: expected each member once, found it again");
    EXPECT_EQ(problem_of("rib_prefix", R"({"prefix_len":null,"prefix_len":1})"),
              "19 prefix_len: expected each member once, found it again");
}

TEST(message_json, what_is_no_message_is_refused_where_it_goes_wrong)
{
    EXPECT_EQ(problem_of("rib_prefix", ""), "0 : expected the object of a rib_prefix, found the end of the text");
    EXPECT_EQ(problem_of("rib_prefix", "[]"), "0 : expected the object of a rib_prefix, found [");
    EXPECT_EQ(problem_of("rib_prefix", "{} {}"), "3 : expected nothing behind the message, found {");
    EXPECT_EQ(problem_of("rib_prefix", "{"), "1 : expected a member's name in quotes, found the end of the text");
    EXPECT_EQ(problem_of("rib_prefix", R"({"prefix_len":1,})"), "16 : expected a member's name in quotes, found }");
    EXPECT_EQ(problem_of("rib_prefix", R"({"prefix_len" 1})"), "14 : expected : behind the member's name, found 1");
    EXPECT_EQ(problem_of("rib_prefix", R"({"address":7})"),
              "11 address: expected the object of a rib_address, found 7");
    EXPECT_EQ(problem_of("rib_grid_sync_list", R"({"multi_key":1})"), "13 multi_key: expected true or false, found 1");
    EXPECT_EQ(problem_of("rib_grid_sync_list", R"({"multi_key":truely})"),
              "13 multi_key: expected true or false, found truely");
    EXPECT_EQ(problem_of("rib_grid_sync_list", R"({"keys":{}})"), "8 keys: expected an array, found {");
    EXPECT_EQ(problem_of("rib_grid_sync_list", R"({"keys":[{},]})"),
              "12 keys[1]: expected the object of a rib_encap_id_key, found ]");
    EXPECT_EQ(problem_of("rib_grid_sync_list", R"({"keys":[null]})"),
              "9 keys[0]: expected the object of a rib_encap_id_key, found null");
    EXPECT_EQ(problem_of("rib_grid_sync_list", R"({"keys":[{})"),
              "11 keys[1]: expected , or ], found the end of the text");
}

TEST(message_json, what_is_found_is_cut_and_fit_for_a_terminal)
{
    EXPECT_EQ(problem_of("rib_prefix", "{\"prefix_len\":\"\x1b[2Jabcdefghijklmnopqrstuvwxyz\"}"),
              "15 prefix_len: expected an escape for a control character, found \\x1b");
    EXPECT_EQ(problem_of("rib_prefix", R"({"abcdefghijklmnopqrstuvwxyz":1})"),
              "1 : expected a member of rib_prefix, found \"abcdefghijklmnopqrstuvw...");
}

// ---- The C functions ----

TEST(message_json_in_c, converts_both_ways)
{
    const bytes message = {0x10, 0x08};
    char *json = nullptr;
    size_t len = 0;
    rib_conversion_error error;
    ASSERT_EQ(rib_message_to_json("rib_prefix", message.data(), message.size(), 0, &json, &len, &error),
              RIB_CONVERSION_OK);
    EXPECT_STREQ(json, R"({"prefix_len":8})");
    EXPECT_EQ(len, 16U);
    EXPECT_EQ(error.status, RIB_CONVERSION_OK);

    uint8_t *encoding = nullptr;
    size_t encoding_len = 0;
    ASSERT_EQ(rib_message_from_json("rib_prefix", json, len, &encoding, &encoding_len, nullptr), RIB_CONVERSION_OK);
    EXPECT_EQ(bytes(encoding, encoding + encoding_len), message);
    rib_inspect_free(json);
    rib_inspect_free(encoding);
}

TEST(message_json_in_c, an_empty_message_is_not_null)
{
    char *json = nullptr;
    ASSERT_EQ(rib_message_to_json("rib_prefix", nullptr, 0, RIB_JSON_INDENTED, &json, nullptr, nullptr),
              RIB_CONVERSION_OK);
    EXPECT_STREQ(json, "{}");
    uint8_t *encoding = nullptr;
    size_t len = 1;
    ASSERT_EQ(rib_message_from_json("rib_prefix", "{}", 2, &encoding, &len, nullptr), RIB_CONVERSION_OK);
    EXPECT_NE(encoding, nullptr);
    EXPECT_EQ(len, 0U);
    rib_inspect_free(json);
    rib_inspect_free(encoding);
}

TEST(message_json_in_c, each_failure_has_its_status)
{
    char *json = nullptr;
    uint8_t *encoding = nullptr;
    size_t len = 0;
    rib_conversion_error error;
    EXPECT_EQ(rib_message_to_json("rib_nothing", nullptr, 0, 0, &json, nullptr, &error), RIB_CONVERSION_UNKNOWN_TYPE);
    EXPECT_EQ(json, nullptr);

    const bytes cut = {0x10};
    EXPECT_EQ(rib_message_to_json("rib_prefix", cut.data(), cut.size(), 0, &json, &len, &error),
              RIB_CONVERSION_UNDECODABLE);
    EXPECT_EQ(error.decode_status, ZIDL_ERR_MALFORMED);
    EXPECT_EQ(error.reason, RIB_REASON_cut_off);
    EXPECT_EQ(error.offset, 1U);
    EXPECT_STREQ(error.path, "prefix_len");
    EXPECT_EQ(std::string(json, len).find("{\"@partial\":"), 0U);
    rib_inspect_free(json);

    const bytes no_text = {0x22, 0x01, 0xff};
    EXPECT_EQ(rib_message_to_json("ip_rib_proto_update", no_text.data(), no_text.size(), 0, &json, &len, &error),
              RIB_CONVERSION_NOT_UTF8);
    EXPECT_EQ(json, nullptr);
    EXPECT_STREQ(error.path, "proto_name");
    EXPECT_EQ(rib_message_to_json("ip_rib_proto_update", no_text.data(), no_text.size(), RIB_JSON_REPLACE, &json, &len,
                                  &error),
              RIB_CONVERSION_OK);
    EXPECT_STREQ(json, "{\"proto_name\":\"\xef\xbf\xbd\"}");
    rib_inspect_free(json);

    EXPECT_EQ(rib_message_from_json("rib_prefix", "{]", 2, &encoding, &len, &error), RIB_CONVERSION_BAD_TEXT);
    EXPECT_EQ(encoding, nullptr);
    EXPECT_EQ(error.offset, 1U);
    EXPECT_STREQ(error.text, "expected a member's name in quotes, found ]");
}

TEST(message_json_in_c, every_type_has_a_name_that_both_functions_know)
{
    size_t count = 0;
    for (; rib_message_name(count) != nullptr; ++count) {
        char *json = nullptr;
        EXPECT_EQ(rib_message_to_json(rib_message_name(count), nullptr, 0, 0, &json, nullptr, nullptr),
                  RIB_CONVERSION_OK);
        rib_inspect_free(json);
    }
    EXPECT_EQ(count, 76U);
}

} // namespace
