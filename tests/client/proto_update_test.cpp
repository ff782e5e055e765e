// Protocol updates: the encoded form (code 47) and the older form (code 38), up to the callback.

#include "tests/client/recorder.hpp"
#include "tests/client/support.hpp"

using namespace rib_test;

namespace
{

struct proto_call {
    uint32_t update_id;
    const void *record;
    rib_protoid_map map;
    void *ctx;
};

std::vector<proto_call> calls;

int remember(uint32_t update_id, rib_protoid_map *map, void *ctx)
{
    proto_call call{update_id, map, {}, ctx};
    std::memcpy(&call.map, map, sizeof call.map);
    calls.push_back(call);
    return 1;
}

class proto_update : public testing::Test
{
protected:
    proto_update()
    {
        calls.clear();
        platform = {};
    }

    // Parses an encoded update that nobody may write to.
    void parse(const bytes &payload)
    {
        guarded_bytes guarded(payload);
        guarded.forbid_writing();
        updatetype_local update = stripped_update(ENCODED_PROTO, guarded);
        rib_lib_pvt_parse_proto_update(remember, &update, &client);
    }

    // The one map that was delivered.
    rib_protoid_map delivered()
    {
        EXPECT_EQ(calls.size(), 1u);
        return calls.empty() ? rib_protoid_map{} : calls[0].map;
    }

    int client = 0;
};

// A whole name array: the characters given, and zeros behind them.
template <size_t Size>
std::string whole(const char (&array)[Size])
{
    return std::string(array, Size);
}

std::string padded(std::string characters, size_t size)
{
    characters.resize(size, '\0');
    return characters;
}

void expect_map(const rib_protoid_map &map, uint16_t id, uint16_t sub_id, uint32_t value, const std::string &name,
                const std::string &extra_name)
{
    EXPECT_EQ(map.proto_id, id);
    EXPECT_EQ(map.proto_sub_id, sub_id);
    EXPECT_EQ(map.proto_value, value);
    EXPECT_EQ(whole(map.proto_name), padded(name, 41));
    EXPECT_EQ(whole(map.proto_extra_name), padded(extra_name, 43));
}

const bytes proto_id_1 = {
    0x08, 0x01, // 1 proto_id = 1
};

TEST_F(proto_update, map_has_the_members_in_the_older_forms_places)
{
    EXPECT_EQ(offsetof(rib_protoid_map, proto_id), 0u);
    EXPECT_EQ(offsetof(rib_protoid_map, proto_sub_id), 2u);
    EXPECT_EQ(offsetof(rib_protoid_map, proto_value), 4u);
    EXPECT_EQ(offsetof(rib_protoid_map, proto_name), 8u);
    EXPECT_EQ(offsetof(rib_protoid_map, proto_extra_name), 49u);
    EXPECT_EQ(sizeof(rib_protoid_map), 92u);
    EXPECT_EQ(sizeof(rib_protoid_map::proto_name), 41u);
    EXPECT_EQ(sizeof(rib_protoid_map::proto_extra_name), 43u);
}

TEST_F(proto_update, encoded_update_gives_every_member)
{
    parse(bytes{
              0x08, 0x11,       // 1 proto_id = 17
              0x10, 0x22,       // 2 proto_sub_id = 34
              0x18, 0xB3, 0x02, // 3 proto_value = 307
              0x22, 0x04,       // 4 proto_name, 4 characters
          } +
          text("ospf") +
          bytes{
              0x2A, 0x03, // 5 proto_extra_name, 3 characters
          } +
          text("one"));
    expect_map(delivered(), 17, 34, 307, "ospf", "one");
}

TEST_F(proto_update, callback_gets_update_id_and_context_once)
{
    parse(proto_id_1);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].update_id, 0xC0FFEE01u);
    EXPECT_EQ(calls[0].ctx, &client);
}

TEST_F(proto_update, null_context_is_passed_on)
{
    guarded_bytes payload(proto_id_1);
    updatetype_local update = stripped_update(ENCODED_PROTO, payload);
    rib_lib_pvt_parse_proto_update(remember, &update, nullptr);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].ctx, nullptr);
}

TEST_F(proto_update, encoded_update_leaves_the_update_record_as_it_was)
{
    guarded_bytes payload(proto_id_1);
    updatetype_local update = stripped_update(ENCODED_PROTO, payload);
    update.update_kind = 2;
    rib_lib_pvt_parse_proto_update(remember, &update, &client);
    EXPECT_EQ(update.update_id, 0xC0FFEE01u);
    EXPECT_EQ(update.update_kind, 2);
    EXPECT_EQ(update.tlv_type, ENCODED_PROTO);
    EXPECT_EQ(update.stripped, 1u);
    EXPECT_EQ(update.payload_len, 2u);
    EXPECT_EQ(update.payload, payload.data());
}

TEST_F(proto_update, proto_id_65537_alone_gives_id_1_and_zeros)
{
    parse({
        0x08, 0x81, 0x80, 0x04, // 1 proto_id = 65537
    });
    expect_map(delivered(), 1, 0, 0, "", "");
    EXPECT_TRUE(platform.copies.empty());
}

TEST_F(proto_update, proto_id_0_is_present)
{
    parse({
        0x08, 0x00, // 1 proto_id = 0
    });
    expect_map(delivered(), 0, 0, 0, "", "");
}

TEST_F(proto_update, sub_id_keeps_its_low_16_bits)
{
    parse({
        0x08, 0x01,                         // 1 proto_id = 1
        0x10, 0xF8, 0xAC, 0xD1, 0x91, 0x01, // 2 proto_sub_id = 0x12345678
    });
    expect_map(delivered(), 1, 0x5678, 0, "", "");
}

TEST_F(proto_update, value_keeps_its_low_32_bits)
{
    parse({
        0x08, 0x01,                                                 // 1 proto_id = 1
        0x18, 0xF0, 0xBD, 0xF3, 0xD5, 0x89, 0xCF, 0x95, 0x9A, 0x12, // 3 proto_value = 0x123456789ABCDEF0
    });
    expect_map(delivered(), 1, 0, 0x9ABCDEF0, "", "");
}

TEST_F(proto_update, names_are_copied_with_bounds_84_and_43_in_that_order)
{
    parse(bytes{
              0x2A, 0x03, // 5 proto_extra_name first on the wire
          } +
          text("two") +
          bytes{
              0x22, 0x03, // 4 proto_name
          } +
          text("one") + proto_id_1);
    ASSERT_EQ(calls.size(), 1u);
    ASSERT_EQ(platform.copies.size(), 2u);
    EXPECT_EQ(platform.copies[0].size, 84u);
    EXPECT_EQ(platform.copies[0].src, "one");
    EXPECT_EQ(platform.copies[1].size, 43u);
    EXPECT_EQ(platform.copies[1].src, "two");
    EXPECT_EQ(platform.copies[0].dst, static_cast<const char *>(calls[0].record) + 8);
    EXPECT_EQ(platform.copies[1].dst, static_cast<const char *>(calls[0].record) + 49);
}

TEST_F(proto_update, absent_first_name_is_not_copied)
{
    parse(proto_id_1 + field({0x2A}, text("two")));
    expect_map(delivered(), 1, 0, 0, "", "two");
    ASSERT_EQ(platform.copies.size(), 1u);
    EXPECT_EQ(platform.copies[0].size, 43u);
}

TEST_F(proto_update, absent_second_name_is_not_copied)
{
    parse(proto_id_1 + field({0x22}, text("one")));
    expect_map(delivered(), 1, 0, 0, "one", "");
    ASSERT_EQ(platform.copies.size(), 1u);
    EXPECT_EQ(platform.copies[0].size, 84u);
}

TEST_F(proto_update, present_empty_name_is_copied)
{
    parse({
        0x08, 0x01, // 1 proto_id = 1
        0x22, 0x00, // 4 proto_name = ""
    });
    expect_map(delivered(), 1, 0, 0, "", "");
    ASSERT_EQ(platform.copies.size(), 1u);
    EXPECT_EQ(platform.copies[0].src, "");
}

TEST_F(proto_update, name_of_40_characters_stays_in_its_array)
{
    parse(proto_id_1 + field({0x22}, text("0123456789012345678901234567890123456789")));
    expect_map(delivered(), 1, 0, 0, "0123456789012345678901234567890123456789", "");
}

TEST_F(proto_update, name_of_41_characters_fills_its_array_without_a_terminator)
{
    parse(proto_id_1 + field({0x22}, text("01234567890123456789012345678901234567890")));
    expect_map(delivered(), 1, 0, 0, "01234567890123456789012345678901234567890", "");
}

TEST_F(proto_update, name_of_50_characters_leaves_its_tail_in_the_second_array)
{
    parse(proto_id_1 + field({0x22}, text("0123456789012345678901234567890123456789abcdefghij")));
    expect_map(delivered(), 1, 0, 0, "0123456789012345678901234567890123456789a", "bcdefghij");
}

TEST_F(proto_update, second_name_overwrites_the_tail_of_the_first)
{
    parse(proto_id_1 + field({0x22}, text("0123456789012345678901234567890123456789abcdefghij")) +
          field({0x2A}, text("XY")));
    // The recorder's copy writes "XY" and its NUL; the characters behind them are the first name's.
    const std::string extra("XY\0efghij", 9);
    expect_map(delivered(), 1, 0, 0, "0123456789012345678901234567890123456789a", extra);
}

TEST_F(proto_update, name_of_83_characters_fills_the_record_to_its_last_byte)
{
    const std::string name = std::string(41, 'a') + std::string(41, 'b') + 'c';
    parse(proto_id_1 + field({0x22}, text(name.c_str())));
    expect_map(delivered(), 1, 0, 0, std::string(41, 'a'), std::string(41, 'b') + 'c');
}

TEST_F(proto_update, longer_first_name_is_cut_at_the_end_of_the_record)
{
    parse(proto_id_1 + field({0x22}, bytes(200, 'n')));
    expect_map(delivered(), 1, 0, 0, std::string(41, 'n'), std::string(42, 'n'));
}

TEST_F(proto_update, longer_second_name_is_cut_at_the_end_of_the_record)
{
    parse(proto_id_1 + field({0x2A}, bytes(200, 'x')));
    expect_map(delivered(), 1, 0, 0, "", std::string(42, 'x'));
}

TEST_F(proto_update, name_ends_at_a_nul_inside_it)
{
    parse({
        0x08, 0x01,                           // 1 proto_id = 1
        0x22, 0x05, 'a', 'b', 0x00, 'c', 'd', // 4 proto_name, five bytes
    });
    expect_map(delivered(), 1, 0, 0, "ab", "");
}

TEST_F(proto_update, last_proto_id_wins)
{
    parse({
        0x08, 0x01, // 1 proto_id = 1
        0x08, 0x02, // 1 proto_id = 2
    });
    expect_map(delivered(), 2, 0, 0, "", "");
}

TEST_F(proto_update, unknown_fields_are_skipped)
{
    parse({
        0x30, 0x07, // 6, unknown
        0x08, 0x01, // 1 proto_id = 1
    });
    expect_map(delivered(), 1, 0, 0, "", "");
}

TEST_F(proto_update, truncated_update_is_dropped_silently)
{
    parse({
        0x08, 0x01,      // 1 proto_id = 1
        0x22, 0x05, 'a', // 4 proto_name, cut off
    });
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(platform.failures.empty());
}

TEST_F(proto_update, mistyped_update_is_dropped_silently)
{
    parse({
        0x0A, 0x00, // 1 proto_id, length-delimited
    });
    EXPECT_TRUE(calls.empty());
}

TEST_F(proto_update, update_with_an_unknown_wire_type_is_dropped_silently)
{
    parse({
        0x08, 0x01, // 1 proto_id = 1
        0x33,       // 6, unknown, wire type 3
    });
    EXPECT_TRUE(calls.empty());
}

TEST_F(proto_update, repeated_name_is_dropped_silently)
{
    guarded_bytes payload(proto_id_1 + field({0x22}, text("a")) + field({0x22}, text("a")));
    updatetype_local update = stripped_update(ENCODED_PROTO, payload);
    rib_lib_pvt_parse_proto_update(remember, &update, &client);
    EXPECT_TRUE(calls.empty());
}

TEST_F(proto_update, decode_failure_comes_before_the_missing_proto_id)
{
    parse({
        0x10, // 2 proto_sub_id, cut off
    });
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(platform.failures.empty());
}

constexpr const char *PROTOTYPE =
    "void rib_lib_pvt_parse_proto_update(rib_protoid_map_func_pointer, updatetype_local *, void *)";

TEST_F(proto_update, missing_proto_id_fails_the_assertion_of_line_168)
{
    guarded_bytes payload({
        0x10, 0x01, // 2 proto_sub_id = 1
    });
    updatetype_local update = stripped_update(ENCODED_PROTO, payload);
    EXPECT_TRUE(asserts([&] { rib_lib_pvt_parse_proto_update(remember, &update, &client); }));
    const failed_assertion expected = {"zidl_ip_rib_proto_update_has_proto_id(&zidl_proto)",
                                       "ip/rib/lib/src/rib_lib_api_parse", 168, PROTOTYPE};
    ASSERT_EQ(platform.failures.size(), 1u);
    EXPECT_EQ(platform.failures[0], expected);
    EXPECT_TRUE(calls.empty());
}

TEST_F(proto_update, empty_encoded_update_lacks_the_proto_id)
{
    guarded_bytes payload({});
    updatetype_local update = stripped_update(ENCODED_PROTO, payload);
    EXPECT_TRUE(asserts([&] { rib_lib_pvt_parse_proto_update(remember, &update, &client); }));
    ASSERT_EQ(platform.failures.size(), 1u);
    EXPECT_EQ(platform.failures[0].line, 168u);
}

TEST_F(proto_update, encoded_update_is_not_followed_by_a_delimiter)
{
    parse(proto_id_1);
    EXPECT_TRUE(platform.delims.empty());
}

// The older form: a whole map of 92 bytes, its numbers big-endian.
const bytes older_map =
    bytes{
        0x12, 0x34,             // proto_id = 0x1234
        0x56, 0x78,             // proto_sub_id = 0x5678
        0x9A, 0xBC, 0xDE, 0xF0, // proto_value = 0x9ABCDEF0
    } +
    text("older") + bytes(36, 0) + text("form") + bytes(39, 0xEE);

TEST_F(proto_update, older_form_is_swapped_in_place_and_delivered_itself)
{
    guarded_bytes payload(older_map);
    updatetype_local update = stripped_update(LEGACY_PROTO, payload);
    rib_lib_pvt_parse_proto_update(remember, &update, &client);

    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].update_id, 0xC0FFEE01u);
    EXPECT_EQ(calls[0].record, payload.data());
    EXPECT_EQ(calls[0].ctx, &client);
    EXPECT_EQ(calls[0].map.proto_id, 0x1234);
    EXPECT_EQ(calls[0].map.proto_sub_id, 0x5678);
    EXPECT_EQ(calls[0].map.proto_value, 0x9ABCDEF0u);

    const bytes swapped = {
        0x34, 0x12,             // proto_id
        0x78, 0x56,             // proto_sub_id
        0xF0, 0xDE, 0xBC, 0x9A, // proto_value
    };
    EXPECT_EQ(payload.content(), swapped + bytes(older_map.begin() + 8, older_map.end()));
}

TEST_F(proto_update, older_forms_names_are_used_as_they_stand)
{
    guarded_bytes payload(older_map);
    updatetype_local update = stripped_update(LEGACY_PROTO, payload);
    rib_lib_pvt_parse_proto_update(remember, &update, &client);
    const rib_protoid_map map = delivered();
    EXPECT_EQ(whole(map.proto_name), padded("older", 41));
    EXPECT_EQ(whole(map.proto_extra_name), "form" + std::string(39, '\xEE'));
    EXPECT_TRUE(platform.copies.empty());
}

TEST_F(proto_update, older_forms_length_is_not_checked)
{
    for (const uint32_t len : {0u, 7u, 8u, 91u, 0xFFFFFFFFu}) {
        calls.clear();
        guarded_bytes payload(older_map);
        updatetype_local update = stripped_update(LEGACY_PROTO, payload.data(), len);
        rib_lib_pvt_parse_proto_update(remember, &update, &client);
        EXPECT_EQ(delivered().proto_id, 0x1234) << len;
    }
}

TEST_F(proto_update, older_form_parsed_twice_is_swapped_back)
{
    guarded_bytes payload(older_map);
    updatetype_local update = stripped_update(LEGACY_PROTO, payload);
    rib_lib_pvt_parse_proto_update(remember, &update, &client);
    rib_lib_pvt_parse_proto_update(remember, &update, &client);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].map.proto_id, 0x3412);
    EXPECT_EQ(payload.content(), older_map);
}

TEST_F(proto_update, older_form_may_lie_at_an_odd_address)
{
    guarded_bytes odd(older_map + bytes{0x00});
    ASSERT_EQ(reinterpret_cast<uintptr_t>(odd.data()) % 2, 1u);
    updatetype_local update = stripped_update(LEGACY_PROTO, odd.data(), 92);
    rib_lib_pvt_parse_proto_update(remember, &update, &client);
    EXPECT_EQ(delivered().proto_value, 0x9ABCDEF0u);
    EXPECT_EQ(odd.content()[92], 0x00);
}

TEST_F(proto_update, older_form_is_not_followed_by_a_delimiter)
{
    guarded_bytes payload(older_map);
    updatetype_local update = stripped_update(LEGACY_PROTO, payload);
    rib_lib_pvt_parse_proto_update(remember, &update, &client);
    EXPECT_TRUE(platform.delims.empty());
}

} // namespace
