// The owned blocks of a route: the advertisement and the six generic attribute arrays.

#include "tests/client/route_support.hpp"

using namespace rib_test;

namespace
{

// The first bytes of a block.
bytes block_bytes(const void *block, size_t size)
{
    const auto *first = static_cast<const uint8_t *>(block);
    return bytes(first, first + size);
}

// ---- Advertisement ----

bytes advertisement(const bytes &fields)
{
    return field({0xDA, 0x01}, fields);
}

TEST(route_advertisement, is_a_count_and_the_low_16_bits_of_each_value)
{
    const converted_route route(advertisement({
        0x08, 0x05,                         // 1 advertised_values = 5
        0x08, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 1 advertised_values = 0x89ABCDEF
    }));
    ASSERT_EQ(route.status, 0u);
    ASSERT_NE(route.record->rt_advertisement, nullptr);
    const bytes expected = {
        0x02, 0x00, 0x00, 0x00, // count, host order
        0x05, 0x00,             // 5
        0xEF, 0xCD,             // 0xCDEF
    };
    EXPECT_EQ(block_bytes(route.record->rt_advertisement, 8), expected);
    EXPECT_EQ(rib_advertisement_count(route.record->rt_advertisement), 2u);
    EXPECT_EQ(rib_advertisement_values(route.record->rt_advertisement)[1], 0xCDEF);
}

TEST(route_advertisement, is_null_when_absent)
{
    const converted_route route(no_fields);
    EXPECT_EQ(route.record->rt_advertisement, nullptr);
}

TEST(route_advertisement, present_empty_message_is_a_block_of_count_0)
{
    const converted_route route(advertisement(no_fields));
    ASSERT_EQ(route.status, 0u);
    ASSERT_NE(route.record->rt_advertisement, nullptr);
    EXPECT_EQ(rib_advertisement_count(route.record->rt_advertisement), 0u);
}

TEST(route_advertisement, may_hold_more_than_65535_values)
{
    const converted_route route(advertisement(repeat(65537, {0x08, 0x09})));
    ASSERT_EQ(route.status, 0u);
    ASSERT_NE(route.record->rt_advertisement, nullptr);
    EXPECT_EQ(rib_advertisement_count(route.record->rt_advertisement), 65537u);
    EXPECT_EQ(rib_advertisement_values(route.record->rt_advertisement)[65536], 9);
}

TEST(route_advertisement, unpacks_by_itself)
{
    uint32_t values[] = {1, 0x10002};
    zidl_rib_client_advertisement message = {};
    message.advertised_values = values;
    message.advertised_values_count = 2;
    void *block = &message;
    ASSERT_EQ(rib_lib_route_advertisement_unpack(&message, &block), 0u);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block_bytes(block, 8), bytes({0x02, 0x00, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00}));
    std::free(block);
}

TEST(route_advertisement, without_values_unpacks_by_itself_to_four_bytes)
{
    const zidl_rib_client_advertisement message = {};
    void *block = nullptr;
    ASSERT_EQ(rib_lib_route_advertisement_unpack(&message, &block), 0u);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block_bytes(block, 4), bytes(4, 0));
    std::free(block);
}

// ---- Generic attributes ----

// The tags of fields 28 to 33.
const bytes array_tags[6] = {{0xE2, 0x01}, {0xEA, 0x01}, {0xF2, 0x01}, {0xFA, 0x01}, {0x82, 0x02}, {0x8A, 0x02}};

// One attribute of the data and type given.
bytes attribute(const bytes &data, uint8_t type)
{
    return field({0x12}, field({0x12}, data) + bytes{0x08, type}); // 2 attrs: 2 attr_data, 1 attr_type
}

const bytes ipv4_prefix = field({0x0A}, {0x0A, 0x04, 0x08, 0x01, 0x10, 0x07});
const bytes ipv6_prefix = field({0x0A}, {0x0A, 0x06, 0x08, 0x02, 0x1A, 0x02, 0x08, 0x05});

const bytes data_8 = {0xD0, 0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7};
const bytes data_12 = data_8 + bytes{0xD8, 0xD9, 0xDA, 0xDB};
const bytes data_24 = data_12 + data_12;

void expect_block(const converted_route &route, unsigned index, const bytes &expected)
{
    ASSERT_EQ(route.status, 0u);
    ASSERT_NE(route.record, nullptr);
    ASSERT_NE(route.record->rt_attr_blocks[index], nullptr);
    EXPECT_EQ(block_bytes(route.record->rt_attr_blocks[index], expected.size()), expected);
    for (unsigned other = 0; other < 6; other++) {
        if (other != index) {
            EXPECT_EQ(route.record->rt_attr_blocks[other], nullptr) << other;
        }
    }
}

// The block of one attribute of type 9 in an array of type 5.
bytes block_of(const bytes &data)
{
    return bytes{0x05, 0x00, 0x01, 0x00} + data + bytes{0x09, 0x00, 0x00, 0x00};
}

const bytes array_type_5 = {0x08, 0x05}; // 1 array_type = 5

TEST(route_attributes, field_28_of_an_ipv4_route_has_12_bytes)
{
    expect_block(converted_route(ipv4_prefix + field(array_tags[0], array_type_5 + attribute(data_12, 9))), 0,
                 block_of(data_12));
}

TEST(route_attributes, field_28_of_an_ipv6_route_has_24_bytes)
{
    expect_block(converted_route(ipv6_prefix + field(array_tags[0], array_type_5 + attribute(data_24, 9))), 0,
                 block_of(data_24));
}

TEST(route_attributes, field_28_of_a_route_without_a_family_has_12_bytes)
{
    expect_block(converted_route(field(array_tags[0], array_type_5 + attribute(data_12, 9))), 0, block_of(data_12));
}

TEST(route_attributes, field_28_takes_the_family_of_a_prefix_further_down_the_message)
{
    expect_block(converted_route(field(array_tags[0], array_type_5 + attribute(data_24, 9)) + ipv6_prefix), 0,
                 block_of(data_24));
}

TEST(route_attributes, fields_29_to_33_have_8_bytes_in_their_own_slots)
{
    for (unsigned index = 1; index < 6; index++)
        expect_block(converted_route(field(array_tags[index], array_type_5 + attribute(data_8, 9))), index,
                     block_of(data_8));
}

TEST(route_attributes, fields_29_to_33_have_8_bytes_in_an_ipv6_route_too)
{
    for (unsigned index = 1; index < 6; index++)
        expect_block(converted_route(ipv6_prefix + field(array_tags[index], array_type_5 + attribute(data_8, 9))),
                     index, block_of(data_8));
}

TEST(route_attributes, elements_keep_their_order_with_data_before_type)
{
    expect_block(converted_route(field(array_tags[1], attribute(data_8, 1) + attribute(bytes(8, 0xEE), 2))), 1,
                 bytes{
                     0x00, 0x00, // no array_type
                     0x02, 0x00, // count
                 } + data_8 +
                     bytes{0x01, 0x00, 0x00, 0x00} + bytes(8, 0xEE) + bytes{0x02, 0x00, 0x00, 0x00});
}

TEST(route_attributes, array_type_keeps_its_low_16_bits)
{
    expect_block(converted_route(field(array_tags[1], {0x08, 0xEF, 0x9B, 0xAF, 0xCD, 0x08})), 1,
                 {
                     0xEF, 0xCD, // array_type, low 16 bits of 0x89ABCDEF
                     0x00, 0x00, // count
                 });
}

TEST(route_attributes, attribute_type_keeps_32_bits)
{
    const bytes one = field({0x12}, field({0x12}, data_8) + bytes{0x08, 0xEF, 0x9B, 0xAF, 0xCD, 0x08});
    expect_block(converted_route(field(array_tags[1], one)), 1,
                 bytes{0x00, 0x00, 0x01, 0x00} + data_8 + bytes{0xEF, 0xCD, 0xAB, 0x89});
}

TEST(route_attributes, missing_attribute_type_is_0)
{
    expect_block(converted_route(field(array_tags[1], field({0x12}, field({0x12}, data_8)))), 1,
                 bytes{0x00, 0x00, 0x01, 0x00} + data_8 + bytes{0x00, 0x00, 0x00, 0x00});
}

TEST(route_attributes, present_empty_array_is_a_block_of_count_0)
{
    expect_block(converted_route(field(array_tags[3], no_fields)), 3, {0x00, 0x00, 0x00, 0x00});
}

TEST(route_attributes, accessors_read_the_block)
{
    const converted_route route(ipv6_prefix +
                                field(array_tags[0], array_type_5 + attribute(data_24, 9) + attribute(data_24, 10)));
    ASSERT_EQ(route.status, 0u);
    const void *block = route.record->rt_attr_blocks[0];
    ASSERT_NE(block, nullptr);
    const uint32_t size = rib_route_attr_size(route.record, 0);
    EXPECT_EQ(size, 24u);
    EXPECT_EQ(rib_route_attr_size(route.record, 1), 8u);
    EXPECT_EQ(rib_attr_block_type(block), 5);
    EXPECT_EQ(rib_attr_block_count(block), 2);
    EXPECT_EQ(block_bytes(rib_attr_data(block, size, 1), 24), data_24);
    EXPECT_EQ(rib_attr_type(block, size, 0), 9u);
    EXPECT_EQ(rib_attr_type(block, size, 1), 10u);
}

TEST(route_attributes, size_of_field_28_is_told_by_all_32_bits_of_the_family)
{
    rib_routetype_ route = {};
    for (const uint32_t family : {0u, 1u, 3u, 0x102u, 0x10002u, 0x80000002u}) {
        route.rt_family = family;
        EXPECT_EQ(rib_route_attr_size(&route, 0), 12u) << family;
    }
    route.rt_family = 2;
    EXPECT_EQ(rib_route_attr_size(&route, 0), 24u);
}

TEST(route_attributes, more_than_65535_attributes_are_all_copied_and_the_count_keeps_its_low_bits)
{
    const converted_route route(field(array_tags[1], repeat(65538, attribute(data_8, 9))));
    ASSERT_EQ(route.status, 0u);
    const void *block = route.record->rt_attr_blocks[1];
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(rib_attr_block_count(block), 2);
    EXPECT_EQ(block_bytes(rib_attr_data(block, 8, 65537), 8), data_8);
    EXPECT_EQ(rib_attr_type(block, 8, 65537), 9u);
}

// An attribute of the wrong size: its block is null, the other blocks and the route stand.
void expect_null_block(const bytes &prefix, unsigned index, const bytes &attributes)
{
    const unsigned other = index == 5 ? 4 : 5;
    const converted_route route(prefix + field(array_tags[index], array_type_5 + attributes) +
                                field(array_tags[other], array_type_5));
    ASSERT_EQ(route.status, 0u);
    EXPECT_EQ(route.record->rt_attr_blocks[index], nullptr);
    EXPECT_NE(route.record->rt_attr_blocks[other], nullptr);
}

TEST(route_attributes, data_of_7_bytes_makes_the_block_of_field_29_null)
{
    expect_null_block(no_fields, 1, attribute(bytes(7, 0xDD), 9));
}

TEST(route_attributes, data_of_9_bytes_makes_the_block_null)
{
    expect_null_block(no_fields, 1, attribute(bytes(9, 0xDD), 9));
}

TEST(route_attributes, missing_data_makes_the_block_null)
{
    expect_null_block(no_fields, 1, field({0x12}, {0x08, 0x09}));
}

TEST(route_attributes, empty_data_makes_the_block_null)
{
    expect_null_block(no_fields, 1, attribute(no_fields, 9));
}

TEST(route_attributes, one_wrong_attribute_behind_good_ones_makes_the_block_null)
{
    expect_null_block(no_fields, 1, attribute(data_8, 9) + attribute(data_8, 9) + attribute(bytes(7, 0xDD), 9));
}

TEST(route_attributes, wide_data_in_an_ipv4_route_makes_the_block_of_field_28_null)
{
    expect_null_block(ipv4_prefix, 0, attribute(data_24, 9));
}

TEST(route_attributes, narrow_data_in_an_ipv6_route_makes_the_block_of_field_28_null)
{
    expect_null_block(ipv6_prefix, 0, attribute(data_12, 9));
}

TEST(route_attributes, wrong_attributes_leave_the_paths_alone)
{
    const converted_route route(field(array_tags[1], attribute(bytes(7, 0xDD), 9)) + path_field({0x08, 0x07}));
    ASSERT_EQ(route.status, 0u);
    ASSERT_EQ(route.record->rt_path_count, 1);
    EXPECT_EQ(route.path(0)->pe_value_1, 7u);
}

// An array of attributes as a record.
struct attribute_array {
    explicit attribute_array(bytes content) : data(std::move(content))
    {
        info.attr_data = data.data();
        info.attr_data_size = data.size();
        zidl_rib_generic_attr_info_mark_attr_data(&info);
        zidl_rib_generic_attr_info_set_attr_type(&info, 9);
        message.attrs = &info;
        message.attrs_count = 1;
        zidl_rib_generic_attr_array_mark_attrs(&message);
    }

    bytes data;
    zidl_rib_generic_attr_info info = {};
    zidl_rib_generic_attr_array message = {};
};

TEST(route_attributes, unpack_by_themselves_at_any_size)
{
    const attribute_array array({0xD0, 0xD1, 0xD2});
    void *block = nullptr;
    ASSERT_EQ(rib_lib_route_generic_attributes_unpack(&array.message, 3, &block), 0u);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block_bytes(block, 11), bytes({0x00, 0x00, 0x01, 0x00, 0xD0, 0xD1, 0xD2, 0x09, 0x00, 0x00, 0x00}));
    std::free(block);
}

TEST(route_attributes, array_type_without_its_bit_is_not_read)
{
    attribute_array array({0xD0});
    array.message.array_type = 0x1111; // which nothing marks
    void *block = nullptr;
    ASSERT_EQ(rib_lib_route_generic_attributes_unpack(&array.message, 1, &block), 0u);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block_bytes(block, 9), bytes({0x00, 0x00, 0x01, 0x00, 0xD0, 0x09, 0x00, 0x00, 0x00}));
    std::free(block);
}

TEST(route_attributes, of_the_wrong_size_unpack_by_themselves_to_null_and_malformed)
{
    const attribute_array array({0xD0, 0xD1, 0xD2});
    void *block = &block;
    EXPECT_EQ(rib_lib_route_generic_attributes_unpack(&array.message, 4, &block), 0xA2D28000u);
    EXPECT_EQ(block, nullptr);
}

} // namespace
