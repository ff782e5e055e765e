// The text format: the examples of its manual, and what each kind of value and each oddity looks like.

#include "inspect/formats/message_text.hpp"

#include "inspect/rib_inspect.h"
#include "inspect/wire/hex.hpp"
#include "tests/messages/every_message.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace
{

using namespace rib_inspect;
using bytes = std::vector<uint8_t>;

const zidl::message_descriptor &type_named(const std::string &name)
{
    const zidl::message_descriptor *const type = zidl::find_message(name.c_str());
    return type != nullptr ? *type : throw std::runtime_error("no message is called " + name);
}

// What the text means, in hexadecimal digits, or its error.
std::string read(const char *type, std::string_view text)
{
    const text_message message = from_text(type_named(type), text);
    if (!message.error)
        return to_hex(message.bytes, " ");
    return "line " + std::to_string(message.error->line) + ", column " + std::to_string(message.error->column) +
           ": expected " + message.error->expected;
}

// The text without the lines that begin with a comment.
std::string written(const char *type, const bytes &input)
{
    std::istringstream lines(to_text(type_named(type), input));
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with('#'))
            text += line + '\n';
    }
    return text;
}

// ---- The manual ----

// A fenced block: the words behind its fence, and its lines.
struct block {
    std::string kind;
    std::string type;
    std::string contents;
};

std::vector<block> blocks_of_manual()
{
    std::ifstream file(RIB_DOCS "message-text.md");
    std::vector<block> blocks;
    bool is_inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("```")) {
            is_inside = !is_inside;
            if (!is_inside)
                continue;
            blocks.emplace_back();
            std::istringstream(line.substr(3)) >> blocks.back().kind >> blocks.back().type;
        } else if (is_inside) {
            blocks.back().contents += line + '\n';
        }
    }
    return blocks;
}

TEST(message_text_manual, shows_what_is_written_and_read)
{
    const std::vector<block> blocks = blocks_of_manual();
    ASSERT_GT(blocks.size(), 20u);
    ASSERT_EQ(blocks.size() % 2, 0u);
    for (size_t i = 0; i < blocks.size(); i += 2) {
        const block &given = blocks[i];
        const block &result = blocks[i + 1];
        const zidl::message_descriptor &type = type_named(given.type);
        if (given.kind == "hex") {
            ASSERT_EQ(result.kind, "text");
            EXPECT_EQ(to_text(type, from_hex(given.contents).bytes), result.contents);
            EXPECT_EQ(from_text(type, result.contents).bytes, from_hex(given.contents).bytes) << result.contents;
        } else {
            ASSERT_EQ(given.kind, "typed");
            const std::string expected =
                result.kind == "error" ? result.contents : to_hex(from_hex(result.contents).bytes, " ") + '\n';
            EXPECT_EQ(read(given.type.c_str(), given.contents) + '\n', expected) << given.contents;
        }
    }
}

// ---- Values ----

TEST(message_text, shows_what_the_library_keeps_and_marks_the_rest)
{
    EXPECT_EQ(written("ip_rib_srv6_sid_ctx", {0x10, 0xac, 0x02}), "values_2[0]: 44 !value=ac02\n"); // a u8 of 300
    EXPECT_EQ(written("ip_rib_srv6_mode_info", {0x08, 0x01}), "flag_1: true\n");
    EXPECT_EQ(written("ip_rib_srv6_mode_info", {0x08, 0x02}), "flag_1: true !value=02\n");
    EXPECT_EQ(written("ip_rib_srv6_mode_info", {0x08, 0x80, 0x00}), "flag_1: false !value=8000\n");
    EXPECT_EQ(written("rib_encap_id_key", {0x35, 0x04, 0x03, 0x02, 0x01}), "key_value_6: 16909060\n");
}

TEST(message_text, indents_messages_in_messages)
{
    const bytes input = {
        0x0a, 0x06,             // 1 address
        0x1a, 0x02, 0x08, 0x01, //   3 ipv6: half0 = 1
        0x1a, 0x00,             //   3 ipv6 again
    };
    EXPECT_EQ(written("rib_prefix", input), "address {\n"
                                            "  ipv6 {  # 100::\n"
                                            "    half0: 1\n"
                                            "  }\n"
                                            "  ipv6 {}\n"
                                            "}\n");
}

TEST(message_text, shows_bytes_as_text_where_they_may_be_meant_so)
{
    EXPECT_EQ(written("ip_rib_opaque", {0x2a, 0x03, 'a', '"', 'c'}), "first_block: 61 22 63  # \"a\\\"c\"\n");
    EXPECT_EQ(written("ip_rib_opaque", {0x2a, 0x02, 'a', 'b'}), "first_block: 61 62\n");
    EXPECT_EQ(written("ip_rib_opaque", {0x2a, 0x03, 'a', 'b', 0x7f}), "first_block: 61 62 7f\n");
}

TEST(message_text, escapes_what_does_not_show_itself)
{
    const auto name = [](const char *contents) {
        bytes input = {0x22, static_cast<uint8_t>(std::strlen(contents))};
        input.insert(input.end(), contents, contents + std::strlen(contents));
        return written("ip_rib_proto_update", input);
    };
    EXPECT_EQ(name("a b\\\"\t\r\n\x01\x7f"), "proto_name: \"a b\\\\\\\"\\t\\r\\n\\x01\\x7f\"\n");
    EXPECT_EQ(name("\xc2\x9b"
                   "2J"),
              "proto_name: \"\\xc2\\x9b2J\"\n"); // a control of two bytes
    EXPECT_EQ(name("\xe2\x80\xae"
                   "a"),
              "proto_name: \"\\xe2\\x80\\xaea\"\n"); // turns the line around
    EXPECT_EQ(name("\xd8\x9c\xe2\x80\x8f"),
              "proto_name: \"\\xd8\\x9c\\xe2\\x80\\x8f\"\n"); // marks of the direction
    EXPECT_EQ(name("\xc3\xa4\xe2\x82\xac"), "proto_name: \"\xc3\xa4\xe2\x82\xac\"\n");
    EXPECT_EQ(name("\xc3\xa4\xff"), "proto_name: \"\\xc3\\xa4\\xff\"\n"); // no UTF-8
}

TEST(message_text, shows_addresses_of_every_type_that_is_one)
{
    const auto first_line = [](const char *type, const bytes &input) {
        const std::string text = to_text(type_named(type), input);
        const std::string line = text.substr(0, text.find('\n'));
        const size_t colon = line.find(": ");
        return colon == line.npos ? "none" : line.substr(colon + 2);
    };
    const bytes halves = {
        0x08, 0xa0, 0x82, 0xb4, 0xc0, 0x0b,                         // 1 half0: memory 20 01 0d b8 0 0 0 0
        0x10, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01, // 2 half1: memory 0 0 0 0 0 0 0 1
    };
    EXPECT_EQ(first_line("rib_ipv6_address", halves), "2001:db8::1");
    EXPECT_EQ(first_line("rib_address", {0x08, 0x01, 0x10, 0x01}), "0.0.0.1");
    EXPECT_EQ(first_line("rib_address", {0x08, 0x02, 0x1a, 0x02, 0x08, 0x01}), "100::");
    EXPECT_EQ(first_line("rib_address", {0x08, 0x02, 0x10, 0x01}), "none"); // of the other family
    EXPECT_EQ(first_line("rib_prefix", {0x0a, 0x04, 0x08, 0x01, 0x10, 0x01, 0x10, 0x20}), "0.0.0.1/32");
    EXPECT_EQ(first_line("rib_msg_prefix", {0x08, 0x02, 0x10, 0x08, 0x18, 0x02}), "0.0.0.2/8");
    EXPECT_EQ(first_line("rib_msg_prefix", {0x08, 0x0a, 0x22, 0x02, 0xfe, 0x80}), "fe80::");
    EXPECT_EQ(first_line("srv6_prefix", {0x0a, 0x04, 0x0a, 0x01, 0x02, 0x03, 0x10, 0x10}), "10.1.2.3/16");
    EXPECT_EQ(first_line("ip_rib_srv6_prefix", {0x0a, 0x02, 0x0a, 0x01}), "none");
    EXPECT_EQ(first_line("rib_address", {0x08, 0x01, 0x10, 0x01, 0x08}), "none"); // does not decode
}

// ---- What is read ----

TEST(message_text, reads_numbers_in_decimal_and_hexadecimal)
{
    EXPECT_EQ(read("rib_ipv6_address", "half0: 0xFFFFFFFFFFFFFFFF"), "08 ff ff ff ff ff ff ff ff ff 01");
    EXPECT_EQ(read("rib_ipv6_address", "half0: 18446744073709551615"), "08 ff ff ff ff ff ff ff ff ff 01");
    EXPECT_EQ(read("rib_encap_id_key", "key_value_6: 0x01020304"), "35 04 03 02 01");
    EXPECT_EQ(read("ip_rib_srv6_mode_info", "flag_1: true\nflag_1: false"), "08 01 08 00");
    EXPECT_EQ(read("ip_rib_srv6_sid_ctx", "values_2: 255"), "10 ff 01");
}

TEST(message_text, reads_strings_and_bytes)
{
    EXPECT_EQ(read("ip_rib_proto_update", R"(proto_name: "\x00\"\\\n\r\t#")"), "22 07 00 22 5c 0a 0d 09 23");
    EXPECT_EQ(read("ip_rib_opaque", "first_block: 0x01:02 0aFF # four"), "2a 04 01 02 0a ff");
    EXPECT_EQ(read("ip_rib_opaque", "first_block: \"ab\""), "2a 02 61 62");
    EXPECT_EQ(read("ip_rib_opaque", "first_block: \"\""), "2a 00");
}

TEST(message_text, reads_any_layout)
{
    EXPECT_EQ(read("rib_prefix", ""), "");
    EXPECT_EQ(read("rib_prefix", "# nothing"), "");
    EXPECT_EQ(read("rib_prefix", "\r\n\taddress{family:1}\r\n\n prefix_len :8 # end"), "0a 02 08 01 10 08");
    EXPECT_EQ(read("rib_prefix", "address\t{ # begins\n\n}"), "0a 00");
    EXPECT_EQ(read("ip_rib_iid_lss_ctx", "lss_prefixes { prefix: 00 ff }"), "32 04 0a 02 00 ff");
    EXPECT_EQ(read("rib_address", "9: bytes 01\n09: varint 0x7\n!bytes: ff ff"), "4a 01 01 48 07 ff ff");
}

TEST(message_text, reads_marks_in_any_order_and_once)
{
    EXPECT_EQ(read("rib_address", "family: 1 !value=8100 !tag=8800"), "88 00 81 00");
    EXPECT_EQ(read("rib_address", "ipv6 !length=05 !tag=9a00 {}"), "9a 00 05");
    EXPECT_EQ(read("rib_address", "family: 1 !tag=8800 !tag=8800"), "line 1, column 21: expected each mark once");
    EXPECT_EQ(read("rib_address", "family: 1 !length=00"),
              "line 1, column 11: expected no mark of a length, which is not there");
    EXPECT_EQ(read("rib_address", "ipv6 !value=00 {}"),
              "line 1, column 6: expected no mark of a value, which is not there");
    EXPECT_EQ(read("rib_address", "family: 1 !tag=9000"), "line 1, column 11: expected a tag of field 1");
    EXPECT_EQ(read("rib_address", "7: varint 1 !tag=39"),
              "line 1, column 13: expected a tag of field 7 and wire type 0");
    for (const char *bad : {"family: 1 !tag=", "family: 1 !tag=88", "family: 1 !tag=0800"})
        EXPECT_EQ(read("rib_address", bad),
                  "line 1, column 16: expected the bytes of a varint: the last one below 80, the others not");
    EXPECT_EQ(read("rib_address", "family: 1 !tag=8"), "line 1, column 17: expected the second digit of a byte");
}

TEST(message_text, says_what_it_expects_and_where)
{
    EXPECT_EQ(read("rib_address", "famly: 1"), "line 1, column 1: expected the name of a field of rib_address");
    EXPECT_EQ(read("rib_address", "\n  family 1"), "line 2, column 10: expected ':'");
    EXPECT_EQ(read("rib_address", "family: x"), "line 1, column 9: expected a number up to 4294967295");
    EXPECT_EQ(read("rib_address", "family: 0x"), "line 1, column 9: expected a number up to 4294967295");
    EXPECT_EQ(read("rib_address", "family: -1"), "line 1, column 9: expected a number up to 4294967295");
    EXPECT_EQ(read("rib_address", "family: 1 2"), "line 1, column 11: expected the end of the line");
    EXPECT_EQ(read("rib_address", "}"), "line 1, column 1: expected the name of a field of rib_address, or the end");
    EXPECT_EQ(read("rib_address", "ipv6: 1"), "line 1, column 5: expected '{'");
    EXPECT_EQ(read("rib_address", "ipv6 {\n"),
              "line 2, column 1: expected the name of a field of rib_ipv6_address, or '}' for the '{' in line 1");
    EXPECT_EQ(read("rib_address", "7: 1"), "line 1, column 4: expected varint, fixed64, bytes or fixed32");
    EXPECT_EQ(read("rib_address", "536870912: varint 1"), "line 1, column 1: expected a number up to 536870911");
    EXPECT_EQ(read("rib_address", "7: fixed32 4294967296"), "line 1, column 12: expected a number up to 4294967295");
    EXPECT_EQ(read("rib_address", "!bytes:"), "line 1, column 8: expected bytes, of two hexadecimal digits each");
    EXPECT_EQ(read("ip_rib_srv6_sid_ctx", "values_2: 256"), "line 1, column 11: expected a number up to 255");
    EXPECT_EQ(read("ip_rib_srv6_sid_ctx", "values_2[1]: 5"), "line 1, column 10: expected index 0, or none");
    EXPECT_EQ(read("ip_rib_srv6_mode_info", "flag_1: 1"), "line 1, column 9: expected true or false");
    EXPECT_EQ(read("ip_rib_proto_update", "proto_name: abc"), "line 1, column 13: expected '\"'");
    EXPECT_EQ(read("ip_rib_proto_update", "proto_name: \"abc\n\""),
              "line 1, column 17: expected '\"' at the end of the text");
    EXPECT_EQ(read("ip_rib_proto_update", R"(proto_name: "\q")"),
              R"(line 1, column 15: expected one of \" \\ \n \r \t \x)");
    EXPECT_EQ(read("ip_rib_proto_update", R"(proto_name: "\x1")"),
              "line 1, column 17: expected the second digit of a byte");
    EXPECT_EQ(read("ip_rib_opaque", "first_block: 0g"), "line 1, column 15: expected the second digit of a byte");
    EXPECT_EQ(read("ip_rib_opaque", "first_block:"),
              "line 1, column 13: expected bytes, of two hexadecimal digits each");
}

// ---- The C functions ----

TEST(message_text_in_c, goes_both_ways)
{
    const bytes input = {0x08, 0x81, 0x00}; // 1 family, in more bytes than it needs
    char *text = nullptr;
    size_t text_len = 0;
    rib_conversion_error error;
    ASSERT_EQ(rib_message_to_text("rib_address", input.data(), input.size(), &text, &text_len, &error),
              RIB_CONVERSION_OK);
    EXPECT_STREQ(text, "# rib_address, 3 bytes\nfamily: 1 !value=8100\n");
    EXPECT_EQ(text_len, std::strlen(text));
    EXPECT_EQ(error.status, RIB_CONVERSION_OK);
    uint8_t *again = nullptr;
    size_t again_len = 0;
    ASSERT_EQ(rib_message_from_text("rib_address", text, text_len, &again, &again_len, nullptr), RIB_CONVERSION_OK);
    EXPECT_EQ(bytes(again, again + again_len), input);
    rib_inspect_free(again);
    rib_inspect_free(text);
}

TEST(message_text_in_c, takes_nothing_and_gives_nothing)
{
    char *text = nullptr;
    ASSERT_EQ(rib_message_to_text("rib_address", nullptr, 0, &text, nullptr, nullptr), RIB_CONVERSION_OK);
    EXPECT_STREQ(text, "# rib_address, 0 bytes\n");
    rib_inspect_free(text);
    uint8_t *none = nullptr;
    size_t len = 1;
    ASSERT_EQ(rib_message_from_text("rib_address", "", 0, &none, &len, nullptr), RIB_CONVERSION_OK);
    EXPECT_NE(none, nullptr);
    EXPECT_EQ(len, 0u);
    rib_inspect_free(none);
}

TEST(message_text_in_c, says_where_a_text_is_wrong)
{
    const std::string_view wrong = "family: 1\nipv4: x";
    uint8_t *none = nullptr;
    size_t len = 0;
    rib_conversion_error error;
    EXPECT_EQ(rib_message_from_text("rib_address", wrong.data(), wrong.size(), &none, &len, &error),
              RIB_CONVERSION_BAD_TEXT);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(error.offset, 16u);
    EXPECT_STREQ(error.text, "line 2, column 7: expected a number up to 4294967295");
    EXPECT_EQ(rib_message_from_text("rib_nothing", "", 0, &none, &len, nullptr), RIB_CONVERSION_UNKNOWN_TYPE);
    char *text = nullptr;
    EXPECT_EQ(rib_message_to_text("rib_nothing", nullptr, 0, &text, nullptr, nullptr), RIB_CONVERSION_UNKNOWN_TYPE);
    EXPECT_EQ(text, nullptr);
}

} // namespace
