// Next-hop-ID updates (code 49), up to the grid callback.

#include "tests/client/recorder.hpp"
#include "tests/client/support.hpp"
#include "tests/reference/grid_reference.hpp"

using namespace rib_test;

namespace
{

struct nhid_call {
    nhid_update_local record;
    void *ctx;
    uint32_t tlv_type;
};

std::vector<nhid_call> calls;

int remember(void *record, void *ctx, uint32_t tlv_type)
{
    calls.push_back({*static_cast<const nhid_update_local *>(record), ctx, tlv_type});
    return 1;
}

class nhid_update : public testing::Test
{
protected:
    nhid_update()
    {
        calls.clear();
        platform = {};
    }

    void parse(const bytes &payload)
    {
        guarded_bytes guarded(payload);
        guarded.forbid_writing();
        updatetype_local update = stripped_update(NHID, guarded);
        rib_lib_pvt_parse_grid_update(remember, &update, &client);
    }

    // The update is delivered with the initial values but for what `change` says.
    template <class Change>
    void expect_delivered(const bytes &payload, Change &&change)
    {
        parse(payload);
        ASSERT_EQ(calls.size(), 1u);
        nhid_update_local expected = {};
        expected.nhid = 0xFFFFFFFFFFFFFFFE;
        change(expected);
        EXPECT_EQ(rib_reference::differences(expected, calls[0].record), "");
    }

    int client = 0;
};

const bytes value_1_of_5 = {0x08, 0x05}; // 1 nhid_update_value_1 = 5

// The nested key with the fields given.
bytes key(const bytes &fields)
{
    return field({0x12}, fields);
}

TEST_F(nhid_update, record_has_its_members_in_the_documented_order)
{
    EXPECT_LT(offsetof(nhid_update_local, address_family), offsetof(nhid_update_local, address));
    EXPECT_LT(offsetof(nhid_update_local, address), offsetof(nhid_update_local, key_value_3));
    EXPECT_LT(offsetof(nhid_update_local, key_value_3), offsetof(nhid_update_local, key_value_1));
    EXPECT_LT(offsetof(nhid_update_local, key_value_1), offsetof(nhid_update_local, key_value_4));
    EXPECT_LT(offsetof(nhid_update_local, key_value_4), offsetof(nhid_update_local, nhid));
    EXPECT_LT(offsetof(nhid_update_local, nhid), offsetof(nhid_update_local, update_value_1));
}

TEST_F(nhid_update, every_member_is_filled)
{
    expect_delivered(bytes{0x08, 0x05} +                   // 1 nhid_update_value_1 = 5
                         key(bytes{0x08, 0x0B} +           //   1 nhid_key_value_1 = 11
                             field({0x12}, {0x08, 0x01,    //   2 nhid_key_address: family = 1
                                            0x10, 0x07}) + //     ipv4 = 7
                             bytes{0x18, 0x0C} +           //   3 nhid_key_value_3 = 12
                             bytes{0x20, 0x0D}) +          //   4 nhid_key_value_4 = 13
                         bytes{0x18, 0x0E},                // 3 nhid = 14
                     [](nhid_update_local &expected) {
                         expected.update_value_1 = 5;
                         expected.key_value_1 = 11;
                         expected.address_family = 1;
                         expected.address[0] = 7;
                         expected.key_value_3 = 12;
                         expected.key_value_4 = 13;
                         expected.nhid = 14;
                     });
}

TEST_F(nhid_update, callback_gets_context_and_type)
{
    parse(value_1_of_5);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].ctx, &client);
    EXPECT_EQ(calls[0].tlv_type, NHID);
}

TEST_F(nhid_update, missing_nhid_is_minus_2)
{
    expect_delivered(value_1_of_5, [](nhid_update_local &expected) {
        expected.update_value_1 = 5;
        expected.nhid = 0xFFFFFFFFFFFFFFFE;
    });
}

TEST_F(nhid_update, nhid_of_0_replaces_the_initial_value)
{
    expect_delivered(value_1_of_5 + bytes{0x18, 0x00}, [](nhid_update_local &expected) {
        expected.update_value_1 = 5;
        expected.nhid = 0;
    });
}

TEST_F(nhid_update, nhid_keeps_64_bits)
{
    expect_delivered(value_1_of_5 + bytes{0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01},
                     [](nhid_update_local &expected) {
                         expected.update_value_1 = 5;
                         expected.nhid = 0xFFFFFFFFFFFFFFFF;
                     });
}

TEST_F(nhid_update, missing_value_1_calls_no_callback)
{
    parse(key({0x08, 0x0B}) + bytes{0x18, 0x0E});
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(platform.failures.empty());
}

TEST_F(nhid_update, nhid_alone_calls_no_callback)
{
    parse({0x18, 0x0E});
    EXPECT_TRUE(calls.empty());
}

TEST_F(nhid_update, empty_update_calls_no_callback)
{
    parse({});
    EXPECT_TRUE(calls.empty());
}

TEST_F(nhid_update, value_1_of_0_is_delivered)
{
    expect_delivered({0x08, 0x00}, [](nhid_update_local &) {});
}

TEST_F(nhid_update, values_keep_32_bits)
{
    expect_delivered(bytes{0x08, 0xEF, 0x9B, 0xAF, 0xCD, 0x08} + key({
                                                                     0x08, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, //
                                                                     0x18, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, //
                                                                     0x20, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, //
                                                                 }),
                     [](nhid_update_local &expected) {
                         expected.update_value_1 = 0x89ABCDEF;
                         expected.key_value_1 = 0x89ABCDEF;
                         expected.key_value_3 = 0x89ABCDEF;
                         expected.key_value_4 = 0x89ABCDEF;
                     });
}

TEST_F(nhid_update, ipv6_address_is_half0_then_half1_with_family_2)
{
    expect_delivered(value_1_of_5 + key(field({0x12}, {0x08, 0x02, 0x1A, 0x04, 0x08, 0x05, 0x10, 0x09})),
                     [](nhid_update_local &expected) {
                         expected.update_value_1 = 5;
                         expected.address_family = 2;
                         expected.address[0] = 5;
                         expected.address[8] = 9;
                     });
}

TEST_F(nhid_update, family_without_an_address_is_stored)
{
    expect_delivered(value_1_of_5 + key(field({0x12}, {0x08, 0x01})), [](nhid_update_local &expected) {
        expected.update_value_1 = 5;
        expected.address_family = 1;
    });
}

TEST_F(nhid_update, foreign_family_is_stored_without_an_address)
{
    expect_delivered(value_1_of_5 + key(field({0x12}, {0x08, 0x0A, 0x10, 0x07})), [](nhid_update_local &expected) {
        expected.update_value_1 = 5;
        expected.address_family = 10;
    });
}

TEST_F(nhid_update, family_is_judged_and_stored_at_32_bits)
{
    // 1 family = 257, 2 ipv4 = 7
    expect_delivered(value_1_of_5 + key(field({0x12}, {0x08, 0x81, 0x02, 0x10, 0x07})),
                     [](nhid_update_local &expected) {
                         expected.update_value_1 = 5;
                         expected.address_family = 257;
                     });
}

TEST_F(nhid_update, address_without_a_family_changes_nothing)
{
    expect_delivered(value_1_of_5 + key(field({0x12}, {0x10, 0x07})),
                     [](nhid_update_local &expected) { expected.update_value_1 = 5; });
}

TEST_F(nhid_update, present_empty_address_changes_nothing)
{
    expect_delivered(value_1_of_5 + key(field({0x12}, {})),
                     [](nhid_update_local &expected) { expected.update_value_1 = 5; });
}

TEST_F(nhid_update, second_key_replaces_the_first)
{
    expect_delivered(value_1_of_5 + key({0x08, 0x0B, 0x18, 0x0C}) + key({0x20, 0x0D}), [](nhid_update_local &expected) {
        expected.update_value_1 = 5;
        expected.key_value_4 = 13;
    });
}

TEST_F(nhid_update, undecodable_update_calls_no_callback)
{
    parse({0x08});                     // 1 nhid_update_value_1, cut off
    parse(value_1_of_5 + bytes{0x18}); // 3 nhid, cut off behind a value 1 that is there
    parse({0x0A, 0x00});               // 1 nhid_update_value_1, length-delimited
    parse(value_1_of_5 + key({0x08}));
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(platform.failures.empty());
}

TEST_F(nhid_update, nothing_carries_over_from_the_update_before)
{
    parse(value_1_of_5 + key({0x08, 0x0B}) + bytes{0x18, 0x0E});
    calls.clear();
    expect_delivered({0x08, 0x06}, [](nhid_update_local &expected) { expected.update_value_1 = 6; });
}

TEST_F(nhid_update, framed_update_is_delivered)
{
    guarded_bytes framed({
        0x00, 0x00, 0x00, 0x00, // not read
        0x31, 0x00,             // type 49, host order
        0x02, 0x00,             // 2 bytes
        0x08, 0x05,             // 1 nhid_update_value_1 = 5
    });
    updatetype_local update = framed_update(framed.data());
    rib_lib_pvt_parse_grid_update(remember, &update, &client);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].record.update_value_1, 5u);
    EXPECT_EQ(calls[0].tlv_type, NHID);
    EXPECT_TRUE(platform.delims.empty());
}

} // namespace
