// SRv6 keys: the operation type, the carriers and the bytes of field 20.

#include "tests/client/grid_support.hpp"

using namespace rib_test;

namespace
{

const bytes srv6_key_begin = required_but_type + bytes{0x28, 0x02} + second_prefix;

// Carriers with the fields given.
bytes carriers(const bytes &fields)
{
    return field({0x72}, fields);
}

const bytes empty_oper_type = {0x0A, 0x00}; // 1 oper_type, empty

template <class Change>
void expect_srv6_key(const bytes &more, Change &&change)
{
    expect_key(srv6_key_begin + more, [&](rib_encap_id_path_key_t &expected) {
        read_on(expected, 2);
        change(expected);
    });
}

TEST(grid_srv6_key, with_an_empty_operation_type_converts)
{
    expect_srv6_key(carriers(empty_oper_type), [](rib_encap_id_path_key_t &) {});
}

TEST(grid_srv6_key, without_carriers_is_refused)
{
    expect_key_refused(srv6_key_begin);
}

TEST(grid_srv6_key, with_empty_carriers_is_refused)
{
    expect_key_refused(srv6_key_begin + carriers(no_fields));
}

TEST(grid_srv6_key, without_an_operation_type_is_refused)
{
    expect_key_refused(srv6_key_begin + carriers(field({0x12}, {0x08, 0x01})));
}

TEST(grid_srv6_key, does_not_read_field_11)
{
    const bytes srv6_field_11 = field({0x5A}, {0x0A, 0x02, 0x08, 0x01}); // 11 srv6_key with an operation type
    expect_key_refused(srv6_key_begin + srv6_field_11);
}

TEST(grid_srv6_key, set_selector_takes_oper_when_set)
{
    expect_srv6_key(carriers({
                        0x0A, 0x06, // 1 oper_type, 6 bytes
                        0x08, 0x01, //   1 oper_selector = true
                        0x10, 0x0B, //   2 oper_when_set = 11
                        0x18, 0x0C, //   3 oper_when_clear = 12
                    }),
                    [](rib_encap_id_path_key_t &expected) {
                        expected.type_data.srv6.oper_selector = 1;
                        expected.type_data.srv6.oper = 11;
                    });
}

TEST(grid_srv6_key, clear_selector_takes_oper_when_clear)
{
    expect_srv6_key(carriers({
                        0x0A, 0x06, // 1 oper_type, 6 bytes
                        0x08, 0x00, //   1 oper_selector = false
                        0x10, 0x0B, //   2 oper_when_set = 11
                        0x18, 0x0C, //   3 oper_when_clear = 12
                    }),
                    [](rib_encap_id_path_key_t &expected) { expected.type_data.srv6.oper = 12; });
}

TEST(grid_srv6_key, missing_selector_takes_oper_when_clear)
{
    expect_srv6_key(carriers({
                        0x0A, 0x04, // 1 oper_type, 4 bytes
                        0x10, 0x0B, //   2 oper_when_set = 11
                        0x18, 0x0C, //   3 oper_when_clear = 12
                    }),
                    [](rib_encap_id_path_key_t &expected) { expected.type_data.srv6.oper = 12; });
}

// In arrays that are used again and not cleared.
void expect_operation_left(const bytes &oper_type, uint8_t selector)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(arrays.decode(one_key_list(srv6_key_begin + carriers(field({0x0A}, oper_type)))), 0u);
    EXPECT_EQ(arrays.keys[0].type_data.srv6.oper_selector, selector);
    EXPECT_EQ(arrays.keys[0].type_data.srv6.oper, 0x5A);
    EXPECT_EQ(arrays.keys[0].type_data.srv6.carrier_count, 0);
}

TEST(grid_srv6_key, set_selector_without_oper_when_set_leaves_the_operation_that_was_there)
{
    expect_operation_left(
        {
            0x08, 0x01, // 1 oper_selector = true
            0x18, 0x0C, // 3 oper_when_clear = 12
        },
        1);
}

TEST(grid_srv6_key, clear_selector_without_oper_when_clear_leaves_the_operation_that_was_there)
{
    expect_operation_left(
        {
            0x08, 0x00, // 1 oper_selector = false
            0x10, 0x0B, // 2 oper_when_set = 11
        },
        0);
}

TEST(grid_srv6_key, missing_selector_without_oper_when_clear_leaves_the_selector_and_the_operation_that_were_there)
{
    expect_operation_left(
        {
            0x10, 0x0B, // 2 oper_when_set = 11
        },
        0x5A);
}

TEST(grid_srv6_key, operation_keeps_its_low_8_bits)
{
    expect_srv6_key(carriers({
                        0x0A, 0x03,       // 1 oper_type, 3 bytes
                        0x18, 0xAC, 0x02, //   3 oper_when_clear = 300
                    }),
                    [](rib_encap_id_path_key_t &expected) { expected.type_data.srv6.oper = 44; });
}

TEST(grid_srv6_key, carriers_take_their_values_and_bytes)
{
    expect_srv6_key(carriers(empty_oper_type +
                             field({0x12},
                                   bytes{
                                       0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 1 = 0xFFFFFFFF
                                       0x10, 0xAC, 0x02,                   // 2 = 300
                                   } + field({0x1A}, sixteen)) +
                             field({0x12}, {0x1A, 0x02, 0xC1, 0xC2}) + field({0x12}, no_fields)),
                    [](rib_encap_id_path_key_t &expected) {
                        rib_encap_srv6_key &srv6 = expected.type_data.srv6;
                        srv6.carrier_count = 3;
                        srv6.carriers[0].carrier_value_1 = 0xFFFFFFFF;
                        srv6.carriers[0].carrier_value_2 = 44;
                        std::memcpy(srv6.carriers[0].carrier_bytes, sixteen.data(), 16);
                        srv6.carriers[1].carrier_bytes[0] = 0xC1;
                        srv6.carriers[1].carrier_bytes[1] = 0xC2;
                    });
}

TEST(grid_srv6_key, absent_parts_of_a_carrier_stay_as_they_were)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(
        arrays.decode(one_key_list(srv6_key_begin + carriers(empty_oper_type + field({0x12}, {0x1A, 0x01, 0xC1})))),
        0u);
    const rib_encap_carrier &carrier = arrays.keys[0].type_data.srv6.carriers[0];
    EXPECT_EQ(carrier.carrier_value_1, 0x5A5A5A5Au);
    EXPECT_EQ(carrier.carrier_value_2, 0x5A);
    EXPECT_EQ(bytes(carrier.carrier_bytes, carrier.carrier_bytes + 16), bytes{0xC1} + bytes(15, 0x5A));
}

TEST(grid_srv6_key, twelve_carriers_fill_the_room)
{
    expect_srv6_key(carriers(empty_oper_type + repeat(12, field({0x12}, {0x08, 0x07}))),
                    [](rib_encap_id_path_key_t &expected) {
                        expected.type_data.srv6.carrier_count = 12;
                        for (rib_encap_carrier &carrier : expected.type_data.srv6.carriers)
                            carrier.carrier_value_1 = 7;
                    });
}

TEST(grid_srv6_key, carrier_13_is_dropped)
{
    expect_srv6_key(carriers(empty_oper_type + repeat(12, field({0x12}, {0x08, 0x07})) + field({0x12}, {0x08, 0x0D})),
                    [](rib_encap_id_path_key_t &expected) {
                        expected.type_data.srv6.carrier_count = 12;
                        for (rib_encap_carrier &carrier : expected.type_data.srv6.carriers)
                            carrier.carrier_value_1 = 7;
                    });
}

TEST(grid_srv6_key, carrier_13_is_not_looked_at)
{
    const bytes too_long = field({0x12}, field({0x1A}, bytes(17, 0xEE)));
    expect_srv6_key(carriers(empty_oper_type + repeat(12, field({0x12}, {0x08, 0x07})) + too_long),
                    [](rib_encap_id_path_key_t &expected) {
                        expected.type_data.srv6.carrier_count = 12;
                        for (rib_encap_carrier &carrier : expected.type_data.srv6.carriers)
                            carrier.carrier_value_1 = 7;
                    });
}

TEST(grid_srv6_key, count_of_257_carriers_is_capped_by_the_full_count)
{
    expect_srv6_key(carriers(empty_oper_type + repeat(257, field({0x12}, {0x08, 0x07}))),
                    [](rib_encap_id_path_key_t &expected) {
                        expected.type_data.srv6.carrier_count = 12;
                        for (rib_encap_carrier &carrier : expected.type_data.srv6.carriers)
                            carrier.carrier_value_1 = 7;
                    });
}

TEST(grid_srv6_key, carrier_of_17_bytes_is_refused)
{
    expect_key_refused(srv6_key_begin + carriers(empty_oper_type + field({0x12}, field({0x1A}, bytes(17, 0xEE)))));
}

TEST(grid_srv6_key, takes_the_bytes_of_field_20)
{
    expect_srv6_key(carriers(empty_oper_type) + field({0xA2, 0x01}, sixteen),
                    [](rib_encap_id_path_key_t &expected) { std::memcpy(expected.key_bytes_20, sixteen.data(), 16); });
}

TEST(grid_srv6_key, fewer_bytes_of_field_20_leave_the_rest)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(arrays.decode(one_key_list(srv6_key_begin + carriers(empty_oper_type) + field({0xA2, 0x01}, {0xC1}))),
              0u);
    const uint8_t *kept = arrays.keys[0].key_bytes_20;
    EXPECT_EQ(bytes(kept, kept + 16), bytes{0xC1} + bytes(15, 0x5A));
}

TEST(grid_srv6_key, empty_field_20_is_accepted)
{
    expect_srv6_key(carriers(empty_oper_type) + field({0xA2, 0x01}, no_fields), [](rib_encap_id_path_key_t &) {});
}

TEST(grid_srv6_key, field_20_of_17_bytes_is_refused)
{
    expect_key_refused(srv6_key_begin + carriers(empty_oper_type) + field({0xA2, 0x01}, bytes(17, 0xEE)));
}

TEST(grid_srv6_key, does_not_look_at_label_fields)
{
    expect_srv6_key(carriers(empty_oper_type) + field({0x52}, repeat(80, {0x10, 0x05})),
                    [](rib_encap_id_path_key_t &) {});
}

} // namespace
