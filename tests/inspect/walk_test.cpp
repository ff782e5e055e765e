// The walk over a message's bytes: what it says of each piece, and where and why it ends.

#include "inspect/wire/walk.hpp"

#include "messages/ip_rib.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"
#include "tests/messages/every_message.hpp"
#include "tests/messages/exhaustive.hpp"
#include "tests/messages/repeated_mapping.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

namespace
{

using namespace rib_inspect;
using bytes = std::vector<uint8_t>;
using lines = std::vector<std::string>;

// An event as a line: the part, the path, where the tag, the length and the value begin and the value ends, the number or
// length as it stands and, where it is another, as it is kept; then what is unusual.
std::string line_of(const walk_event &event)
{
    static const char *const parts[] = {"value", "enter", "leave", "skipped", "rest"};
    const bool has_tag = event.length_offset != event.tag_offset;
    std::string line = parts[static_cast<size_t>(event.part)];
    line += ' ' + to_string(has_tag ? path_of(event) : path_of(*event.in)) + ' ' + std::to_string(event.tag_offset) +
            ' ' + std::to_string(event.length_offset) + ' ' + std::to_string(event.value_offset) + ' ' +
            std::to_string(event.end_offset);
    if (event.part != walk_part::rest)
        line += " = " + std::to_string(event.raw);
    if (event.value != event.raw && event.part != walk_part::rest)
        line += " kept " + std::to_string(event.value);
    if (event.replaces != no_offset)
        line += " replaces " + std::to_string(event.replaces);
    if (event.is_cut)
        line += " cut";
    if (event.reason != RIB_REASON_none)
        line += std::string(" ") + rib_reason_name(event.reason);
    if (!event.is_read)
        line += " unread";
    return line;
}

lines events_of(const char *type, const bytes &input, bool goes_on = false)
{
    lines events;
    walk({zidl::find_message(type), input, nullptr, goes_on},
         [&](const walk_event &event) { events.push_back(line_of(event)); });
    return events;
}

// How a walk ends, without its numbers where nothing failed.
std::string end_of(const char *type, const bytes &input)
{
    const walk_result result = walk({zidl::find_message(type), input}, [](const walk_event &) {});
    if (result.status == ZIDL_OK)
        return "good";
    return std::to_string(result.status) + ' ' + rib_reason_name(result.reason) + " at " +
           std::to_string(result.offset) + " of " + std::to_string(result.tag_offset) + " in " + to_string(result.path);
}

// ---- What is read ----

TEST(walk, tells_where_each_tag_length_and_value_stands)
{
    const bytes input = {
        0x0a, 0x07,                   // 1 address, 7 bytes
        0x08, 0x01,                   //   1 family = 1
        0x10, 0x85, 0x80, 0x80, 0x50, // 2 ipv4 = 10.0.0.5
        0x10, 0x18,                   // 2 prefix_len = 24
    };
    EXPECT_EQ(events_of("rib_prefix", input), (lines{
                                                  "enter address 0 1 2 9 = 7",
                                                  "value address.family 2 3 3 4 = 1",
                                                  "value address.ipv4 4 5 5 9 = 167772165",
                                                  "leave address 0 1 2 9 = 7",
                                                  "value prefix_len 9 10 10 11 = 24",
                                              }));
}

TEST(walk, keeps_of_numbers_what_a_record_keeps)
{
    const bytes u8s = {
        0x10, 0xac, 0x02, // 2 values_2 = 300
        0x10, 0x07,       // 2 = 7
    };
    EXPECT_EQ(events_of("ip_rib_srv6_sid_ctx", u8s),
              (lines{"value values_2[0] 0 1 1 3 = 300 kept 44", "value values_2[1] 3 4 4 5 = 7"}));
    const bytes wide_u32 = {
        0x08, 0x81, 0x80, 0x80, 0x80, 0x10, // 1 family = 2^32 + 1
    };
    EXPECT_EQ(events_of("rib_address", wide_u32), (lines{"value family 0 1 1 6 = 4294967297 kept 1"}));
    const bytes flag = {
        0x08, 0x80, 0x80, 0x80, 0x80, 0x10, // 1 flag_1 = 2^32: all 64 bits count
    };
    EXPECT_EQ(events_of("ip_rib_srv6_mode_info", flag), (lines{"value flag_1 0 1 1 6 = 4294967296 kept 1"}));
    const bytes fixed = {
        0x35, 0x04, 0x03, 0x02, 0x01, // 6 key_value_6, least significant byte first
    };
    EXPECT_EQ(events_of("rib_encap_id_key", fixed), (lines{"value key_value_6 0 1 1 5 = 16909060"}));
    const zidl::field_descriptor zigzag = {"member", 1, zidl::kind::sint64, false, 0, 0, 0, nullptr};
    EXPECT_EQ(kept_value(zigzag, 3), static_cast<uint64_t>(-2));
    EXPECT_EQ(kept_value(zigzag, UINT64_MAX), static_cast<uint64_t>(INT64_MIN));
}

TEST(walk, drops_bits_above_64_and_reads_varints_of_any_length)
{
    const bytes input = {
        0x08, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
        0xff, 0xff, 0xff, 0xff, 0x80, 0x00, // 1 half0 of 12 bytes, all 64 bits set
    };
    EXPECT_EQ(events_of("rib_ipv6_address", input), (lines{"value half0 0 1 1 13 = 18446744073709551615"}));
}

TEST(walk, takes_the_low_32_bits_of_a_tag_of_any_length)
{
    const bytes input = {
        0x88, 0x80, 0x80, 0x80, 0xf0, 0x00, 0x05, // 1 family: bits 32 and up do not count
    };
    EXPECT_EQ(events_of("rib_address", input), (lines{"value family 0 6 6 7 = 5"}));
}

TEST(walk, skips_unknown_fields_of_four_wire_types_also_past_the_end)
{
    const bytes all = {
        0x20, 0x96, 0x01,                                     // 4 varint
        0x21, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // 4 fixed64
        0x22, 0x01, 0xff,                                     // 4 delimited
        0x05, 0x02, 0x00, 0x00, 0x00,                         // 0 fixed32
    };
    EXPECT_EQ(events_of("rib_address", all), (lines{"skipped 4 0 1 1 3 = 150", "skipped 4 3 4 4 12 = 1",
                                                    "skipped 4 12 13 14 15 = 1", "skipped 0 15 16 16 20 = 2"}));
    EXPECT_EQ(events_of("rib_address", {0x21, 0x01}), (lines{"skipped 4 0 1 1 2 = 0 cut"}));
    EXPECT_EQ(events_of("rib_address", {0x22, 0x09}), (lines{"skipped 4 0 1 2 2 = 9 cut"}));
    EXPECT_EQ(end_of("rib_address", {0x25, 0x01}), "good");
}

TEST(walk, says_which_value_a_singular_field_replaces)
{
    const bytes input = {
        0x10, 0x01,             // 2 prefix_len = 1
        0x0a, 0x02, 0x08, 0x01, // 1 address: family = 1
        0x10, 0x02,             // 2 prefix_len = 2
        0x0a, 0x02, 0x10, 0x03, // 1 address: ipv4 = 3
    };
    EXPECT_EQ(events_of("rib_prefix", input),
              (lines{"value prefix_len 0 1 1 2 = 1", "enter address 2 3 4 6 = 2", "value address.family 4 5 5 6 = 1",
                     "leave address 2 3 4 6 = 2", "value prefix_len 6 7 7 8 = 2 replaces 0",
                     "enter address 8 9 10 12 = 2 replaces 2", "value address.ipv4 10 11 11 12 = 3",
                     "leave address 8 9 10 12 = 2 replaces 2"}));
}

TEST(walk, hands_out_the_addresses_of_members_and_elements)
{
    const bytes input = {
        0x08, 0x01, // 1 ecomm_value_1 = 1
        0x10, 0x05, // 2 ecomm_values = 5
        0x10, 0x06, // 2 = 6
    };
    zidl_rib_ecomm_array record;
    ASSERT_EQ(
        zidl_rib_ecomm_array_decode_ext(
            &record, input.data(), input.size(), [](size_t size, void *) { return std::malloc(size); }, nullptr, 0),
        ZIDL_OK);
    std::vector<void *> members;
    walk({zidl::find_message("rib_ecomm_array"), input, &record},
         [&](const walk_event &event) { members.push_back(event.member); });
    EXPECT_EQ(members, (std::vector<void *>{&record.ecomm_value_1, &record.ecomm_values[0], &record.ecomm_values[1]}));
    std::free(record.ecomm_values);
}

// ---- Where it fails ----

TEST(walk, of_empty_input_ends_well)
{
    EXPECT_EQ(end_of("rib_route", {}), "good");
}

TEST(walk, names_what_is_cut_off)
{
    EXPECT_EQ(end_of("rib_address", {0x08, 0x01, 0x80}), "-1 cut_off at 2 of 2 in ");              // a tag
    EXPECT_EQ(end_of("rib_address", {0x08, 0x01, 0x10}), "-1 cut_off at 3 of 2 in ipv4");          // a value, not begun
    EXPECT_EQ(end_of("rib_address", {0x08, 0x01, 0x10, 0x80}), "-1 cut_off at 3 of 2 in ipv4");    // a value
    EXPECT_EQ(end_of("rib_address", {0x1a, 0x80}), "-1 cut_off at 1 of 0 in ipv6");                // a length
    EXPECT_EQ(end_of("rib_encap_id_key", {0x35, 1, 2, 3}), "-1 cut_off at 1 of 0 in key_value_6"); // a fixed32
    EXPECT_EQ(end_of("rib_address", {0x20, 0x80}), "-1 cut_off at 1 of 0 in 4");                   // an unknown varint
    EXPECT_EQ(end_of("rib_address", {0x22, 0x80}), "-1 cut_off at 1 of 0 in 4");                   // an unknown length
}

TEST(walk, names_lengths_past_the_end_of_the_message_around_them)
{
    const bytes nested = {
        0x0a, 0x04,             // 1 address, 4 bytes
        0x1a, 0x03, 0x08, 0x01, //   3 ipv6, 3 bytes: one more than there are
        0x10, 0x18,             // 2 prefix_len
    };
    EXPECT_EQ(end_of("rib_prefix", nested), "-1 past_the_end at 3 of 2 in address.ipv6");
    EXPECT_EQ(end_of("ip_rib_proto_update", {0x22, 0x02, 'a'}), "-1 past_the_end at 1 of 0 in proto_name");
    EXPECT_EQ(end_of("ip_rib_opaque", {0x2a, 0xff, 0xff, 0xff, 0xff, 0x0f}),
              "-1 past_the_end at 1 of 0 in first_block");
}

TEST(walk, names_wrong_wire_types_before_all_else)
{
    EXPECT_EQ(end_of("rib_address", {0x0d}), "-3 wrong_wire_type at 0 of 0 in family");
    const bytes packed = {
        0x08, 0x01,             // 1 ecomm_value_1
        0x12, 0x02, 0x05, 0x06, // 2 ecomm_values, packed
    };
    EXPECT_EQ(end_of("rib_ecomm_array", packed), "-3 wrong_wire_type at 2 of 2 in ecomm_values[0]");
    const bytes second_block = {
        0x2a, 0x00, // 5 first_block
        0x28, 0x00, // 5 again, as a varint
    };
    EXPECT_EQ(end_of("ip_rib_opaque", second_block), "-3 wrong_wire_type at 2 of 2 in first_block");
}

TEST(walk, names_unknown_wire_types)
{
    for (const int type : {3, 4, 6, 7})
        EXPECT_EQ(end_of("rib_address", {0x08, 0x01, static_cast<uint8_t>(0x20 | type)}),
                  "-2 unknown_wire_type at 2 of 2 in 4");
}

TEST(walk, names_strings_and_bytes_that_come_twice)
{
    EXPECT_EQ(end_of("ip_rib_proto_update", {0x22, 0x00, 0x08, 0x01, 0x22, 0x7f}),
              "-1 second_value at 4 of 4 in proto_name");
    EXPECT_EQ(end_of("ip_rib_opaque", {0x2a, 0x00, 0x2a, 0x00}), "-1 second_value at 2 of 2 in first_block");
    const bytes in_two_messages = {
        0x1a, 0x02, 0x22, 0x00, // 3 key_prefix: ipv6
        0x1a, 0x02, 0x22, 0x00, // 3 key_prefix again: what it replaces does not count
    };
    EXPECT_EQ(end_of("rib_encap_id_key", in_two_messages), "good");
}

TEST(walk, names_the_second_run_of_a_repeated_field)
{
    const bytes input = {
        0x10, 0x05, // 2 ecomm_values = 5
        0x10, 0x06, // 2 = 6
        0x08, 0x01, // 1 ecomm_value_1
        0x10, 0x80, // 2 again: that its value is cut off does not matter any more
    };
    EXPECT_EQ(end_of("rib_ecomm_array", input), "-1 second_run at 6 of 6 in ecomm_values[2]");
}

TEST(walk, counts_a_run_before_it_reads_its_elements)
{
    const bytes input = {
        0x32, 0x02, 0x0b, 0x00, // 6 lss_prefixes: a wire type that cannot be read
        0x32, 0x09,             // 6 past the end
    };
    EXPECT_EQ(end_of("ip_rib_iid_lss_ctx", input), "-1 past_the_end at 5 of 4 in lss_prefixes[1]");
    const bytes tag_behind = {
        0x32, 0x00, // 6 lss_prefixes
        0x32, 0x00, // 6
        0x88,       // the tag behind the run
    };
    EXPECT_EQ(end_of("ip_rib_iid_lss_ctx", tag_behind), "-1 cut_off at 4 of 4 in ");
    EXPECT_TRUE(events_of("ip_rib_iid_lss_ctx", tag_behind).empty()); // no element is read
}

TEST(walk, looks_at_the_wire_type_of_a_runs_first_element_alone)
{
    const bytes input = {
        0x10, 0x05, // 2 ecomm_values = 5
        0x15, 0x06, // 2 with the wire type of a fixed32, read as a varint
        0x17, 0x07, // 2 with one that there is not
    };
    EXPECT_EQ(events_of("rib_ecomm_array", input),
              (lines{"value ecomm_values[0] 0 1 1 2 = 5", "value ecomm_values[1] 2 3 3 4 = 6",
                     "value ecomm_values[2] 4 5 5 6 = 7"}));
}

TEST(walk, gives_the_whole_path_of_a_nested_failure)
{
    const bytes input = {
        0xd2, 0x01, 0x00, // 26 paths[0]
        0xd2, 0x01, 0x08, // 26 paths[1], 8 bytes
        0xd2, 0x01, 0x05, //   26 ecomm, 5 bytes
        0x10, 0x05,       //     2 ecomm_values = 5
        0x10, 0x06,       //     2 = 6
        0x0a,             //     1 ecomm_value_1, as bytes
    };
    EXPECT_EQ(end_of("rib_route", input), "-3 wrong_wire_type at 13 of 13 in paths[1].ecomm.ecomm_value_1");
    const bytes element = {
        0xd2, 0x01, 0x07, // 26 paths[0], 7 bytes
        0xd2, 0x01, 0x04, //   26 ecomm, 4 bytes
        0x10, 0x05,       //     2 ecomm_values = 5
        0x10, 0x80,       //     2, cut off
    };
    EXPECT_EQ(end_of("rib_route", element), "-1 cut_off at 9 of 8 in paths[0].ecomm.ecomm_values[1]");
}

// Four thousand million elements take seconds.
TEST(walk, counts_elements_with_32_bits)
{
    if (!exhaustive())
        GTEST_SKIP() << "RIB_EXHAUSTIVE is not set";
    const uint64_t elements = uint64_t{1} << 32;
    const repeated_mapping input({0x10, 0x00}, 2 * elements); // 2 ecomm_values = 0
    const bytes_view view(input.data(), 2 * elements);
    const walk_result result = walk({zidl::find_message("rib_ecomm_array"), view}, [](const walk_event &) {});
    EXPECT_EQ(result.status, ZIDL_ERR_MALFORMED);
    EXPECT_EQ(result.reason, RIB_REASON_too_many_elements);
    EXPECT_EQ(result.offset, 0u);
}

// ---- Behind a failure ----

TEST(walk_behind_a_failure, goes_on_with_the_fields_behind_a_wrong_wire_type)
{
    const bytes input = {
        0x0a, 0x03,       // 1 address, 3 bytes
        0x0a, 0x01, 0xff, //   1 family, as bytes
        0x10, 0x18,       // 2 prefix_len = 24
    };
    EXPECT_EQ(events_of("rib_prefix", input, true),
              (lines{"enter address 0 1 2 5 = 3", "skipped address.family 2 3 4 5 = 1 wrong_wire_type unread",
                     "leave address 0 1 2 5 = 3 unread", "value prefix_len 5 6 6 7 = 24 unread"}));
}

TEST(walk_behind_a_failure, looks_into_a_message_that_is_cut_off)
{
    const bytes input = {
        0x0a, 0x09, // 1 address, 9 bytes: four are left
        0x08, 0x01, //   1 family = 1
        0x10, 0x80, //   2 ipv4, cut off
    };
    EXPECT_EQ(events_of("rib_prefix", input, true),
              (lines{"enter address 0 1 2 6 = 9 cut past_the_end unread", "value address.family 2 3 3 4 = 1 unread",
                     "rest address.ipv4 4 5 5 6 cut_off unread", "leave address 0 1 2 6 = 9 cut past_the_end unread"}));
}

TEST(walk_behind_a_failure, leaves_what_has_no_length_as_a_rest)
{
    const bytes input = {
        0x0a, 0x03,       // 1 address, 3 bytes
        0x23, 0x08, 0x01, //   4 with a wire type that cannot be skipped
        0x90,             // a tag, cut off
    };
    EXPECT_EQ(events_of("rib_prefix", input, true),
              (lines{"enter address 0 1 2 5 = 3", "rest address.4 2 3 3 5 unknown_wire_type unread",
                     "leave address 0 1 2 5 = 3 unread", "rest  5 5 5 6 cut_off unread"}));
}

TEST(walk_behind_a_failure, counts_on_in_a_second_run_and_reads_second_values)
{
    const bytes run = {
        0x10, 0x05, // 2 ecomm_values[0]
        0x08, 0x01, // 1
        0x10, 0x06, // 2 ecomm_values[1]
        0x10, 0x07, // 2 ecomm_values[2]
    };
    EXPECT_EQ(
        events_of("rib_ecomm_array", run, true),
        (lines{"value ecomm_values[0] 0 1 1 2 = 5", "value ecomm_value_1 2 3 3 4 = 1",
               "value ecomm_values[1] 4 5 5 6 = 6 second_run unread", "value ecomm_values[2] 6 7 7 8 = 7 unread"}));
    EXPECT_EQ(events_of("ip_rib_opaque", {0x2a, 0x00, 0x2a, 0x01, 0xff}, true),
              (lines{"value first_block 0 1 2 2 = 0", "value first_block 2 3 4 5 = 1 second_value unread"}));
}

TEST(walk_behind_a_failure, names_the_first_fault_of_a_field_that_has_two)
{
    EXPECT_EQ(events_of("ip_rib_opaque", {0x2a, 0x00, 0x2a, 0x05}, true),
              (lines{"value first_block 0 1 2 2 = 0", "value first_block 2 3 4 4 = 5 cut second_value unread"}));
}

TEST(walk_behind_a_failure, knows_no_members_though_the_record_has_them)
{
    const bytes input = {
        0x08, 0x01,             // 1 family = 1
        0x0d,                   // 1 as a fixed32
        0x02, 0x00, 0x00, 0x00, //
        0x10, 0x03,             // 2 ipv4 = 3
    };
    zidl_rib_address record;
    ASSERT_EQ(zidl_rib_address_decode_ext(&record, input.data(), input.size(), nullptr, nullptr, 0),
              ZIDL_ERR_FIELD_TYPE);
    std::vector<void *> members;
    walk({zidl::find_message("rib_address"), input, &record, true},
         [&](const walk_event &event) { members.push_back(event.member); });
    EXPECT_EQ(members, (std::vector<void *>{&record.family, nullptr, nullptr}));
}

// ---- What it relies on ----

uint32_t depth_of(const zidl::message_descriptor &type)
{
    uint32_t deepest = 0;
    for (const zidl::field_descriptor &field : std::span(type.fields, type.field_count)) {
        if (field.message != nullptr)
            deepest = std::max(deepest, depth_of(*field.message));
    }
    return 1 + deepest;
}

TEST(walk, has_room_for_the_deepest_path_and_the_most_fields)
{
    for (const zidl::message_descriptor *type : every_message()) {
        EXPECT_LE(depth_of(*type), max_path_depth) << type->name;
        EXPECT_LE(type->field_count, 64u) << type->name;
    }
}

} // namespace
