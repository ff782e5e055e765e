// The grid entry point: how it delivers lists (code 46), and the stack that a list takes.

#include "tests/client/grid_support.hpp"
#include "tests/client/recorder.hpp"

#include <pthread.h>

using namespace rib_test;

namespace
{

struct grid_delivery {
    const void *record;
    void *ctx;
    uint32_t tlv_type;
    grid_sync_list list;
    std::vector<uint64_t> ids;
    std::vector<rib_encap_id_path_key_t> keys;
};

std::vector<grid_delivery> deliveries;

// Takes over the whole arrays, also what lies behind the count.
int remember(void *record, void *ctx, uint32_t tlv_type)
{
    const auto *list = static_cast<const grid_sync_list *>(record);
    deliveries.push_back({record,
                          ctx,
                          tlv_type,
                          *list,
                          {list->encap_ids, list->encap_ids + GRID_MAX_KEYS},
                          {list->keys, list->keys + GRID_MAX_KEYS}});
    return 1;
}

class grid_entry : public testing::Test
{
protected:
    grid_entry()
    {
        deliveries.clear();
        platform = {};
    }

    void parse(const bytes &payload)
    {
        guarded_bytes guarded(payload);
        guarded.forbid_writing();
        updatetype_local update = stripped_update(GRID_LIST, guarded);
        rib_lib_pvt_parse_grid_update(remember, &update, &client);
    }

    int client = 0;
};

TEST_F(grid_entry, callback_gets_list_context_and_type)
{
    parse(one_key_list(plain_key));
    ASSERT_EQ(deliveries.size(), 1u);
    EXPECT_EQ(deliveries[0].ctx, &client);
    EXPECT_EQ(deliveries[0].tlv_type, GRID_LIST);
    EXPECT_EQ(deliveries[0].list.count, 1u);
    EXPECT_EQ(rib_reference::differences(plain_key_record(), deliveries[0].keys[0]), "");
}

TEST_F(grid_entry, single_key_is_delivered_with_ids_left_at_zero)
{
    parse(one_key_list(plain_key));
    ASSERT_EQ(deliveries.size(), 1u);
    EXPECT_EQ(deliveries[0].list.multi_key, 0);
    EXPECT_EQ(deliveries[0].ids, std::vector<uint64_t>(1026, 0));
}

TEST_F(grid_entry, multi_key_list_of_1026_is_delivered_whole)
{
    bytes payload;
    for (uint64_t i = 0; i < 1026; i++)
        payload = payload + id_field(1000 + i);
    parse(payload + repeat(1026, key_field(plain_key)) + multi_key_set);
    ASSERT_EQ(deliveries.size(), 1u);
    EXPECT_EQ(deliveries[0].list.count, 1026u);
    EXPECT_EQ(deliveries[0].list.multi_key, 1);
    for (uint32_t i = 0; i < 1026; i++) {
        ASSERT_EQ(deliveries[0].ids[i], 1000 + i);
        ASSERT_EQ(rib_reference::differences(plain_key_record(), deliveries[0].keys[i]), "") << i;
    }
}

TEST_F(grid_entry, list_of_1027_is_dropped)
{
    parse(repeat(1027, id_field(9)) + repeat(1027, key_field(plain_key)) + multi_key_set);
    EXPECT_TRUE(deliveries.empty());
}

TEST_F(grid_entry, two_keys_without_multi_key_are_dropped)
{
    parse(id_field(9) + key_field(plain_key) + key_field(plain_key) + multi_key_clear);
    EXPECT_TRUE(deliveries.empty());
}

TEST_F(grid_entry, list_without_multi_key_is_dropped)
{
    parse(id_field(9) + key_field(plain_key));
    EXPECT_TRUE(deliveries.empty());
}

TEST_F(grid_entry, everything_behind_the_keys_is_zero)
{
    parse(one_key_list(plain_key));
    ASSERT_EQ(deliveries.size(), 1u);
    const rib_encap_id_path_key_t zeros = {};
    for (uint32_t i = 1; i < 1026; i++)
        ASSERT_EQ(rib_reference::differences(zeros, deliveries[0].keys[i]), "") << i;
}

TEST_F(grid_entry, nothing_carries_over_from_the_update_before)
{
    // A refused list whose first two keys were converted, then one of a single key.
    const bytes failing = required_but_type + bytes{0x28, 0x05} + field({0x3A}, grid_prefix_7);
    parse(repeat(3, id_field(9)) + repeat(2, key_field(plain_key)) + key_field(failing) + multi_key_set);
    EXPECT_TRUE(deliveries.empty());
    parse(one_key_list(plain_key));
    ASSERT_EQ(deliveries.size(), 1u);
    const rib_encap_id_path_key_t zeros = {};
    EXPECT_EQ(rib_reference::differences(zeros, deliveries[0].keys[1]), "");
    EXPECT_EQ(deliveries[0].ids, std::vector<uint64_t>(1026, 0));
}

TEST_F(grid_entry, empty_payload_stops_the_process)
{
    guarded_bytes payload({});
    updatetype_local update = stripped_update(GRID_LIST, payload);
    EXPECT_TRUE(asserts([&] { rib_lib_pvt_parse_grid_update(remember, &update, &client); }));
    const failed_assertion expected = {"buf && buf_len > 0 && rib_grid_list", "ip/rib/lib/src/rib_lib_grid_dec", 512,
                                       "zerrno rib_server_decode_grid_list_update(void *, size_t, grid_sync_list *)"};
    ASSERT_EQ(platform.failures.size(), 1u);
    EXPECT_EQ(platform.failures[0], expected);
}

TEST_F(grid_entry, null_payload_stops_the_process)
{
    updatetype_local update = stripped_update(GRID_LIST, nullptr, 5);
    EXPECT_TRUE(asserts([&] { rib_lib_pvt_parse_grid_update(remember, &update, &client); }));
    ASSERT_EQ(platform.failures.size(), 1u);
    EXPECT_EQ(platform.failures[0].line, 512u);
}

TEST_F(grid_entry, null_context_is_passed_on)
{
    guarded_bytes payload(one_key_list(plain_key));
    updatetype_local update = stripped_update(GRID_LIST, payload);
    rib_lib_pvt_parse_grid_update(remember, &update, nullptr);
    ASSERT_EQ(deliveries.size(), 1u);
    EXPECT_EQ(deliveries[0].ctx, nullptr);
}

TEST_F(grid_entry, framed_list_is_delivered)
{
    const bytes list = one_key_list(plain_key);
    guarded_bytes framed(bytes{
                             0x00, 0x00, 0x00, 0x00,                  // not read
                             0x2E, 0x00,                              // type 46, host order
                             static_cast<uint8_t>(list.size()), 0x00, // length, host order
                         } +
                         list);
    updatetype_local update = framed_update(framed.data());
    rib_lib_pvt_parse_grid_update(remember, &update, &client);
    ASSERT_EQ(deliveries.size(), 1u);
    EXPECT_EQ(deliveries[0].tlv_type, GRID_LIST);
    EXPECT_TRUE(platform.delims.empty());
}

// ---- The stack that it takes ----

struct stack_run {
    bytes payload;
    uint32_t delivered;
};

int count_keys(void *record, void *ctx, uint32_t)
{
    static_cast<stack_run *>(ctx)->delivered = static_cast<const grid_sync_list *>(record)->count;
    return 0;
}

void *parse_on_thread(void *argument)
{
    auto *run = static_cast<stack_run *>(argument);
    updatetype_local update = stripped_update(GRID_LIST, run->payload.data(), run->payload.size());
    rib_lib_pvt_parse_grid_update(count_keys, &update, run);
    return nullptr;
}

// Parses a full list on a thread with a stack of `size` bytes, and returns how many of them it used.
size_t stack_used(size_t size)
{
    stack_run run = {repeat(1026, id_field(9)) + repeat(1026, key_field(plain_key)) + multi_key_set, 0};
    auto *stack = static_cast<uint8_t *>(
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0));
    std::memset(stack, 0xA5, size);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    EXPECT_EQ(pthread_attr_setstack(&attributes, stack, size), 0);
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, &attributes, parse_on_thread, &run), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(run.delivered, 1026u);

    size_t untouched = 0;
    while (untouched < size && stack[untouched] == 0xA5)
        untouched++;
    munmap(stack, size);
    return size - untouched;
}

TEST_F(grid_entry, thread_with_a_stack_of_1_MiB_can_parse_a_full_list)
{
    EXPECT_LT(stack_used(1024 * 1024), size_t{1024 * 1024});
}

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define WIDENED_FRAMES
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define WIDENED_FRAMES
#endif
#ifndef WIDENED_FRAMES
TEST_F(grid_entry, full_list_takes_less_than_512_KiB_of_stack)
{
    EXPECT_LT(stack_used(1024 * 1024), size_t{512 * 1024});
}
#endif

} // namespace
