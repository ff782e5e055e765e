// Grid lists: what is refused, what is stored, and what stops the process.

#include "tests/client/grid_support.hpp"
#include "tests/client/recorder.hpp"

using namespace rib_test;

namespace
{

constexpr const char *GRID_FILE = "ip/rib/lib/src/rib_lib_grid_dec";
constexpr const char *LIST_PROTOTYPE = "zerrno rib_server_decode_grid_list_update(void *, size_t, grid_sync_list *)";

class grid_list : public testing::Test
{
protected:
    grid_list() { platform = {}; }

    // Decoding the payload stops the process with this one assertion.
    void expect_stopped(grid_arrays &arrays, const bytes &payload, const failed_assertion &expected)
    {
        guarded_bytes guarded(payload);
        EXPECT_TRUE(asserts([&] { rib_server_decode_grid_list_update(guarded.data(), guarded.size(), &arrays.list); }));
        ASSERT_EQ(platform.failures.size(), 1u);
        EXPECT_EQ(platform.failures[0], expected);
    }
};

// ---- Which lists are accepted ----

TEST_F(grid_list, single_key_is_stored_with_count_1)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(arrays.decode(one_key_list(plain_key)), 0u);
    EXPECT_EQ(arrays.list.count, 1u);
    EXPECT_EQ(arrays.list.multi_key, 0);
    EXPECT_EQ(arrays.list.keys, arrays.keys.get());
    EXPECT_EQ(arrays.list.encap_ids, arrays.ids.get());
    EXPECT_EQ(arrays.keys[0].key_value_1, 1u);
}

TEST_F(grid_list, single_keys_ids_are_not_copied)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(arrays.decode(id_field(9) + id_field(10) + key_field(plain_key) + multi_key_clear), 0u);
    EXPECT_EQ(arrays.ids[0], 0x5A5A5A5A5A5A5A5Au);
    EXPECT_EQ(arrays.ids[1], 0x5A5A5A5A5A5A5A5Au);
}

TEST_F(grid_list, keys_and_ids_of_a_multi_key_list_match_index_for_index)
{
    grid_arrays arrays(0x5A);
    const bytes other_key =
        bytes{
            0x08, 0x0B, // 1 key_value_1 = 11
            0x10, 0x02, // 2 key_value_2 = 2
        } +
        field({0x1A}, grid_prefix_7) + bytes{0x20, 0x04, 0x28, 0x04};
    const bytes last_id = {0x0A, 0x0B, 0x08, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01}; // minus 2
    ASSERT_EQ(arrays.decode(id_field(9) + last_id + key_field(plain_key) + key_field(other_key) + multi_key_set), 0u);
    EXPECT_EQ(arrays.list.count, 2u);
    EXPECT_EQ(arrays.list.multi_key, 1);
    EXPECT_EQ(arrays.ids[0], 9u);
    EXPECT_EQ(arrays.ids[1], 0xFFFFFFFFFFFFFFFEu);
    EXPECT_EQ(arrays.keys[0].key_value_1, 1u);
    EXPECT_EQ(arrays.keys[1].key_value_1, 11u);
    EXPECT_EQ(arrays.ids[2], 0x5A5A5A5A5A5A5A5Au);
    EXPECT_EQ(rib_reference::differences(arrays.untouched, arrays.keys[2]), "");
}

TEST_F(grid_list, empty_id_is_0)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(arrays.decode(bytes{0x0A, 0x00} + key_field(plain_key) + multi_key_set), 0u);
    EXPECT_EQ(arrays.ids[0], 0u);
}

TEST_F(grid_list, multi_key_list_may_hold_one_key)
{
    grid_arrays arrays(0);
    ASSERT_EQ(arrays.decode(id_field(9) + key_field(plain_key) + multi_key_set), 0u);
    EXPECT_EQ(arrays.list.count, 1u);
    EXPECT_EQ(arrays.list.multi_key, 1);
    EXPECT_EQ(arrays.ids[0], 9u);
}

TEST_F(grid_list, multi_key_of_2_on_the_wire_is_1)
{
    grid_arrays arrays(0);
    ASSERT_EQ(arrays.decode(id_field(9) + key_field(plain_key) + bytes{0x20, 0x02}), 0u);
    EXPECT_EQ(arrays.list.multi_key, 1);
}

TEST_F(grid_list, two_keys_without_multi_key_are_refused)
{
    grid_arrays arrays(0);
    EXPECT_EQ(arrays.decode(id_field(9) + key_field(plain_key) + key_field(plain_key) + multi_key_clear), 22u);
}

TEST_F(grid_list, all_1026_keys_are_delivered)
{
    grid_arrays arrays(0);
    bytes payload;
    for (uint64_t i = 0; i < 1026; i++)
        payload = payload + id_field(1000 + i);
    payload = payload + repeat(1026, key_field(plain_key)) + multi_key_set;
    ASSERT_EQ(arrays.decode(payload), 0u);
    EXPECT_EQ(arrays.list.count, 1026u);
    for (uint32_t i = 0; i < 1026; i++) {
        ASSERT_EQ(arrays.ids[i], 1000 + i);
        ASSERT_EQ(rib_reference::differences(plain_key_record(), arrays.keys[i]), "") << i;
    }
}

TEST_F(grid_list, list_of_1027_keys_is_refused_and_nothing_is_stored)
{
    grid_arrays arrays(0x5A);
    EXPECT_EQ(arrays.decode(repeat(1027, id_field(9)) + repeat(1027, key_field(plain_key)) + multi_key_set), 22u);
    EXPECT_EQ(arrays.list.count, 0x5A5A5A5Au);
    EXPECT_EQ(arrays.list.multi_key, 0x5A);
    EXPECT_EQ(arrays.ids[0], 0x5A5A5A5A5A5A5A5Au);
    EXPECT_EQ(rib_reference::differences(arrays.untouched, arrays.keys[0]), "");
}

TEST_F(grid_list, list_without_multi_key_is_refused)
{
    grid_arrays arrays(0);
    EXPECT_EQ(arrays.decode(id_field(9) + key_field(plain_key)), 22u);
}

TEST_F(grid_list, list_without_ids_is_refused)
{
    grid_arrays arrays(0);
    EXPECT_EQ(arrays.decode(key_field(plain_key) + multi_key_set), 22u);
}

TEST_F(grid_list, list_without_ids_is_refused_also_when_they_would_not_be_looked_at)
{
    grid_arrays arrays(0);
    EXPECT_EQ(arrays.decode(key_field(plain_key) + multi_key_clear), 22u);
}

TEST_F(grid_list, list_without_keys_is_refused)
{
    grid_arrays arrays(0);
    EXPECT_EQ(arrays.decode(id_field(9) + multi_key_set), 22u);
    EXPECT_EQ(arrays.decode(id_field(9) + multi_key_clear), 22u);
}

TEST_F(grid_list, undecodable_list_is_refused)
{
    grid_arrays arrays(0);
    EXPECT_EQ(arrays.decode({0x20}), 22u);             // 4 multi_key, cut off
    EXPECT_EQ(arrays.decode({0x12, 0x05, 0x08}), 22u); // 2 keys, running past the end
}

TEST_F(grid_list, presence_decides_not_the_status_of_the_decoder)
{
    grid_arrays arrays(0);
    // All three fields are there before the message goes wrong.
    ASSERT_EQ(arrays.decode(one_key_list(plain_key) + bytes{0x20}), 0u);
    EXPECT_EQ(arrays.list.count, 1u);
    EXPECT_EQ(rib_reference::differences(plain_key_record(), arrays.keys[0]), "");
}

TEST_F(grid_list, second_run_of_keys_is_ignored_with_the_status)
{
    grid_arrays arrays(0);
    ASSERT_EQ(arrays.decode(one_key_list(plain_key) + key_field(plain_key)), 0u);
    EXPECT_EQ(arrays.list.count, 1u);
}

TEST_F(grid_list, failure_inside_a_key_leaves_the_keys_absent)
{
    grid_arrays arrays(0);
    // The key array is there, but its presence bit is not.
    EXPECT_EQ(arrays.decode(multi_key_clear + id_field(9) + key_field({0x08})), 22u);
}

TEST_F(grid_list, keys_in_front_of_a_failing_one_stay_converted)
{
    grid_arrays arrays(0x5A);
    const bytes failing = required_but_type + bytes{0x28, 0x05} + field({0x3A}, grid_prefix_7); // key_type = 5
    EXPECT_EQ(arrays.decode(repeat(3, id_field(9)) + key_field(plain_key) + key_field(failing) + key_field(plain_key) +
                            multi_key_set),
              22u);
    EXPECT_EQ(arrays.list.count, 3u);
    EXPECT_EQ(arrays.list.multi_key, 1);
    EXPECT_EQ(arrays.keys[0].key_value_1, 1u);
    EXPECT_EQ(arrays.keys[0].key_type, 3u);
    EXPECT_EQ(rib_reference::differences(arrays.untouched, arrays.keys[2]), "");
}

TEST_F(grid_list, arrays_given_to_the_conversion_are_not_cleared)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(arrays.decode(one_key_list(plain_key)), 0u);
    rib_encap_id_path_key_t expected = arrays.untouched;
    expected.key_value_1 = 1;
    expected.key_value_2 = 2;
    expected.key_prefix.family = 2;
    expected.key_prefix.prefix_len = 24;
    expected.key_prefix.addr.ipv4_addr = 7; // the other twelve bytes stay
    expected.key_value_4 = 4;
    expected.key_type = 3;
    EXPECT_EQ(rib_reference::differences(expected, arrays.keys[0]), "");
}

// ---- What stops the process ----

TEST_F(grid_list, more_ids_than_keys_stop_the_process)
{
    grid_arrays arrays(0);
    expect_stopped(arrays, repeat(2, id_field(9)) + key_field(plain_key) + multi_key_set,
                   {"num_keys == num_ids", GRID_FILE, 443,
                    "zerrno rib_server_decode_encap_ids_and_keys(struct zidl_rib_grid_sync_list *, grid_sync_list *)"});
}

TEST_F(grid_list, fewer_ids_than_keys_stop_the_process)
{
    grid_arrays arrays(0);
    expect_stopped(arrays, id_field(9) + repeat(2, key_field(plain_key)) + multi_key_set,
                   {"num_keys == num_ids", GRID_FILE, 443,
                    "zerrno rib_server_decode_encap_ids_and_keys(struct zidl_rib_grid_sync_list *, grid_sync_list *)"});
}

TEST_F(grid_list, count_of_keys_is_judged_before_the_ids)
{
    grid_arrays arrays(0);
    EXPECT_EQ(arrays.decode(id_field(9) + repeat(1027, key_field(plain_key)) + multi_key_set), 22u);
}

TEST_F(grid_list, mismatched_ids_stop_the_process_before_a_bad_key_is_looked_at)
{
    grid_arrays arrays(0);
    expect_stopped(arrays, repeat(2, id_field(9)) + key_field({}) + multi_key_set,
                   {"num_keys == num_ids", GRID_FILE, 443,
                    "zerrno rib_server_decode_encap_ids_and_keys(struct zidl_rib_grid_sync_list *, grid_sync_list *)"});
}

TEST_F(grid_list, key_without_its_second_prefix_stops_the_process)
{
    grid_arrays arrays(0);
    expect_stopped(arrays, one_key_list(required_but_type + bytes{0x28, 0x01}),
                   {"zidl_prefix && rib_prefix", GRID_FILE, 43,
                    "zerrno rib_server_decode_ip_addr(struct ip_addr *, const struct zidl_rib_msg_prefix *)"});
}

TEST_F(grid_list, key_of_an_unknown_type_without_its_second_prefix_stops_the_process_before_its_type_is_judged)
{
    grid_arrays arrays(0);
    expect_stopped(arrays, one_key_list(required_but_type + bytes{0x28, 0x05}),
                   {"zidl_prefix && rib_prefix", GRID_FILE, 43,
                    "zerrno rib_server_decode_ip_addr(struct ip_addr *, const struct zidl_rib_msg_prefix *)"});
}

TEST_F(grid_list, null_buffer_stops_the_process)
{
    grid_arrays arrays(0);
    EXPECT_TRUE(asserts([&] { rib_server_decode_grid_list_update(nullptr, 5, &arrays.list); }));
    const failed_assertion expected = {"buf && buf_len > 0 && rib_grid_list", GRID_FILE, 512, LIST_PROTOTYPE};
    ASSERT_EQ(platform.failures.size(), 1u);
    EXPECT_EQ(platform.failures[0], expected);
}

TEST_F(grid_list, zero_length_stops_the_process)
{
    grid_arrays arrays(0);
    uint8_t byte = 0;
    EXPECT_TRUE(asserts([&] { rib_server_decode_grid_list_update(&byte, 0, &arrays.list); }));
    const failed_assertion expected = {"buf && buf_len > 0 && rib_grid_list", GRID_FILE, 512, LIST_PROTOTYPE};
    ASSERT_EQ(platform.failures.size(), 1u);
    EXPECT_EQ(platform.failures[0], expected);
}

TEST_F(grid_list, null_list_stops_the_process)
{
    uint8_t byte = 0;
    EXPECT_TRUE(asserts([&] { rib_server_decode_grid_list_update(&byte, 1, nullptr); }));
    const failed_assertion expected = {"buf && buf_len > 0 && rib_grid_list", GRID_FILE, 512, LIST_PROTOTYPE};
    ASSERT_EQ(platform.failures.size(), 1u);
    EXPECT_EQ(platform.failures[0], expected);
}

TEST_F(grid_list, null_key_array_stops_the_process)
{
    grid_arrays arrays(0);
    arrays.list.keys = nullptr;
    expect_stopped(arrays, one_key_list(plain_key),
                   {"zidl_rib_key && rib_key", GRID_FILE, 386,
                    "zerrno rib_server_decode_encap_id_key_internal(const struct zidl_rib_encap_id_key *, "
                    "rib_encap_id_path_key_t *)"});
}

} // namespace
