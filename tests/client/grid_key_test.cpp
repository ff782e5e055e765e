// One encapsulation key: its required fields, what each type takes of the others, and label keys.

#include "tests/client/grid_support.hpp"

using namespace rib_test;

namespace
{

// ---- Required fields ----

TEST(grid_key, key_of_the_required_fields_and_type_3_converts)
{
    expect_key(plain_key, [](rib_encap_id_path_key_t &) {});
}

TEST(grid_key, missing_value_1_is_refused)
{
    expect_key_refused(bytes{0x10, 0x02} + field({0x1A}, grid_prefix_7) + bytes{0x20, 0x04} + type_3);
}

TEST(grid_key, missing_value_2_is_refused)
{
    expect_key_refused(bytes{0x08, 0x01} + field({0x1A}, grid_prefix_7) + bytes{0x20, 0x04} + type_3);
}

TEST(grid_key, missing_prefix_is_refused)
{
    expect_key_refused(bytes{0x08, 0x01, 0x10, 0x02, 0x20, 0x04} + type_3);
}

TEST(grid_key, missing_value_4_is_refused)
{
    expect_key_refused(bytes{0x08, 0x01, 0x10, 0x02} + field({0x1A}, grid_prefix_7) + type_3);
}

TEST(grid_key, missing_type_is_refused)
{
    expect_key_refused(required_but_type);
}

TEST(grid_key, empty_key_is_refused)
{
    expect_key_refused(no_fields);
}

TEST(grid_key, missing_field_is_refused_before_the_second_prefix_is_looked_for)
{
    // Type 1 without field 7 would stop the process.
    expect_key_refused(bytes{0x10, 0x02} + field({0x1A}, grid_prefix_7) + bytes{0x20, 0x04, 0x28, 0x01});
}

// ---- Types 3 and 4 ----

TEST(grid_key, value_4_keeps_its_low_8_bits)
{
    expect_key(bytes{0x08, 0x01, 0x10, 0x02} + field({0x1A}, grid_prefix_7) + bytes{0x20, 0xAC, 0x02} + type_3,
               [](rib_encap_id_path_key_t &expected) { expected.key_value_4 = 44; });
}

TEST(grid_key, values_1_and_2_keep_32_bits)
{
    expect_key(bytes{0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 0x10, 0xFE, 0xFF, 0xFF, 0xFF, 0x0F} +
                   field({0x1A}, grid_prefix_7) + bytes{0x20, 0x04} + type_3,
               [](rib_encap_id_path_key_t &expected) {
                   expected.key_value_1 = 0xFFFFFFFF;
                   expected.key_value_2 = 0xFFFFFFFE;
               });
}

// Fields 6 to 20 that a key of type 3 or 4 never reads, each of them such that reading it would show (or be refused).
const bytes unread_fields = bytes{0x35, 0x06, 0x00, 0x00, 0x00} +                         // 6 key_value_6
                            field({0x3A}, no_fields) +                                    // 7 key_second_prefix, empty
                            bytes{0x40, 0x08} +                                           // 8 key_value_8
                            repeat(3, field({0x4A}, no_fields)) +                         // 9 key_extra_prefixes, three
                            field({0x52}, bytes{0x08, 0x0A} + repeat(80, {0x10, 0x01})) + // 10 label_key, 80 labels
                            field({0x5A}, field({0x12}, bytes(20, 0xEE))) +               // 11 srv6_key
                            bytes{0x68, 0x0D} +                                           // 13 key_value_13
                            field({0x72}, field({0x12}, field({0x1A}, bytes(17, 0xEE)))) + // 14 srv6_carriers, too long
                            bytes{0x78, 0x0F} +                                            // 15 key_value_15
                            bytes{0x90, 0x01, 0x12} +                                      // 18 key_value_18
                            bytes{0x98, 0x01, 0x13} +                                      // 19 key_value_19
                            field({0xA2, 0x01}, bytes(17, 0xEE));                          // 20 key_bytes_20, too long

TEST(grid_key, type_3_leaves_the_members_of_fields_6_to_20_untouched)
{
    expect_key(required_but_type + type_3 + unread_fields, [](rib_encap_id_path_key_t &) {});
}

TEST(grid_key, type_4_leaves_the_members_of_fields_6_to_20_untouched)
{
    expect_key(required_but_type + bytes{0x28, 0x04} + unread_fields,
               [](rib_encap_id_path_key_t &expected) { expected.key_type = 4; });
}

TEST(grid_key, type_3_leaves_value_15_at_0)
{
    expect_key(plain_key, [](rib_encap_id_path_key_t &expected) { expected.key_value_15 = 0; });
}

const bytes fields_12_16_17 = {
    0x60, 0x0C,                               // 12 key_value_12 = 12
    0x80, 0x01, 0x10,                         // 16 key_value_16 = 16
    0x88, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08, // 17 key_value_17 = 0x89ABCDEF
};

TEST(grid_key, types_3_and_4_take_values_12_16_and_17)
{
    for (const uint8_t type : bytes{3, 4})
        expect_key(required_but_type + bytes{0x28, type} + fields_12_16_17, [&](rib_encap_id_path_key_t &expected) {
            expected.key_type = type;
            expected.key_value_12 = 12;
            expected.key_value_16 = 16;
            expected.key_value_17 = 0xCDEF;
        });
}

// ---- Types that read on: a key of type 1 with an empty label key is the smallest ----

const bytes empty_label_key = {0x52, 0x00}; // 10 label_key, empty

const bytes label_key_begin = required_but_type + bytes{0x28, 0x01} + second_prefix;
const bytes smallest_label_key = label_key_begin + empty_label_key;

template <class Change>
void expect_label_key(const bytes &more, Change &&change)
{
    expect_key(smallest_label_key + more, [&](rib_encap_id_path_key_t &expected) {
        read_on(expected, 1);
        change(expected);
    });
}

TEST(grid_key, smallest_label_key_has_its_defaults)
{
    expect_label_key(no_fields, [](rib_encap_id_path_key_t &) {});
}

TEST(grid_key, value_6_is_four_bytes_little_endian)
{
    expect_label_key({0x35, 0x78, 0x56, 0x34, 0x12},
                     [](rib_encap_id_path_key_t &expected) { expected.key_value_6 = 0x12345678; });
}

TEST(grid_key, value_8_keeps_32_bits)
{
    expect_label_key({0x40, 0xEF, 0x9B, 0xAF, 0xCD, 0x08},
                     [](rib_encap_id_path_key_t &expected) { expected.key_value_8 = 0x89ABCDEF; });
}

TEST(grid_key, value_12_keeps_32_bits)
{
    expect_label_key({0x60, 0xEF, 0x9B, 0xAF, 0xCD, 0x08},
                     [](rib_encap_id_path_key_t &expected) { expected.key_value_12 = 0x89ABCDEF; });
}

TEST(grid_key, value_13_keeps_its_low_16_bits)
{
    expect_label_key({0x68, 0xEF, 0x9B, 0xAF, 0xCD, 0x08},
                     [](rib_encap_id_path_key_t &expected) { expected.key_value_13 = 0xCDEF; });
}

TEST(grid_key, value_15_replaces_its_default)
{
    expect_label_key({0x78, 0xEF, 0x9B, 0xAF, 0xCD, 0x08},
                     [](rib_encap_id_path_key_t &expected) { expected.key_value_15 = 0x89ABCDEF; });
}

TEST(grid_key, value_15_of_0_replaces_its_default)
{
    expect_label_key({0x78, 0x00}, [](rib_encap_id_path_key_t &expected) { expected.key_value_15 = 0; });
}

TEST(grid_key, value_16_keeps_32_bits)
{
    expect_label_key({0x80, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08},
                     [](rib_encap_id_path_key_t &expected) { expected.key_value_16 = 0x89ABCDEF; });
}

TEST(grid_key, value_17_keeps_its_low_16_bits)
{
    expect_label_key({0x88, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08},
                     [](rib_encap_id_path_key_t &expected) { expected.key_value_17 = 0xCDEF; });
}

TEST(grid_key, value_18_keeps_32_bits)
{
    expect_label_key({0x90, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08},
                     [](rib_encap_id_path_key_t &expected) { expected.key_value_18 = 0x89ABCDEF; });
}

TEST(grid_key, value_19_keeps_32_bits)
{
    expect_label_key({0x98, 0x01, 0xEF, 0x9B, 0xAF, 0xCD, 0x08},
                     [](rib_encap_id_path_key_t &expected) { expected.key_value_19 = 0x89ABCDEF; });
}

TEST(grid_key, value_19_is_cleared_when_absent_also_in_arrays_that_are_not)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(arrays.decode(one_key_list(smallest_label_key)), 0u);
    EXPECT_EQ(arrays.keys[0].key_value_19, 0u);
    EXPECT_EQ(arrays.keys[0].key_value_15, 0x100001u);
    EXPECT_EQ(arrays.keys[0].key_extra_prefix_count, 0);
    EXPECT_EQ(arrays.keys[0].key_value_6, 0x5A5A5A5Au) << "absent members without a default stay";
    EXPECT_EQ(arrays.keys[0].key_value_18, 0x5A5A5A5Au);
    EXPECT_EQ(arrays.keys[0].key_value_8, 0x5A5A5A5Au);
}

TEST(grid_key, bytes_of_field_20_are_not_taken_by_a_label_key)
{
    expect_label_key(field({0xA2, 0x01}, bytes(17, 0xEE)), [](rib_encap_id_path_key_t &) {});
}

TEST(grid_key, srv6_fields_do_not_matter_to_a_label_key)
{
    expect_label_key(field({0x5A}, field({0x12}, bytes(20, 0xEE))) + field({0x72}, field({0x12}, {0x08, 0x01})),
                     [](rib_encap_id_path_key_t &) {});
}

TEST(grid_key, second_prefix_may_be_ipv6)
{
    expect_key(required_but_type + bytes{0x28, 0x01} +
                   field({0x3A}, bytes{0x08, 0x0A, 0x10, 0x40} + field({0x22}, sixteen)) + empty_label_key,
               [](rib_encap_id_path_key_t &expected) {
                   expected.key_type = 1;
                   expected.key_value_15 = 0x100001;
                   expected.key_second_prefix.family = 10;
                   expected.key_second_prefix.prefix_len = 64;
                   std::memcpy(expected.key_second_prefix.addr.ipv6_addr, sixteen.data(), 16);
               });
}

TEST(grid_key, second_prefix_that_does_not_convert_is_refused)
{
    expect_key_refused(required_but_type + bytes{0x28, 0x01} + field({0x3A}, {0x08, 0x02}) + empty_label_key);
}

TEST(grid_key, present_empty_second_prefix_is_refused)
{
    expect_key_refused(required_but_type + bytes{0x28, 0x01} + field({0x3A}, no_fields) + empty_label_key);
}

// ---- Extra prefixes ----

const bytes extra_prefix = field({0x4A}, {0x08, 0x02, 0x10, 0x10, 0x18, 0x05}); // 9 key_extra_prefixes 0.0.0.5/16

void set_extra(ip_addr &address)
{
    address.family = 2;
    address.prefix_len = 16;
    address.addr.ipv4_addr = 5;
}

TEST(grid_key, one_extra_prefix_is_taken)
{
    expect_label_key(extra_prefix, [](rib_encap_id_path_key_t &expected) {
        expected.key_extra_prefix_count = 1;
        set_extra(expected.key_extra_prefixes[0]);
    });
}

TEST(grid_key, two_extra_prefixes_are_taken)
{
    expect_label_key(extra_prefix + extra_prefix, [](rib_encap_id_path_key_t &expected) {
        expected.key_extra_prefix_count = 2;
        set_extra(expected.key_extra_prefixes[0]);
        set_extra(expected.key_extra_prefixes[1]);
    });
}

TEST(grid_key, three_extra_prefixes_are_refused)
{
    expect_key_refused(smallest_label_key + repeat(3, extra_prefix));
}

TEST(grid_key, three_extra_prefixes_leave_what_was_converted_before_them_and_their_count)
{
    grid_arrays arrays(0x5A);
    const bytes values = {
        0x35, 0x06, 0x00, 0x00, 0x00, // 6 key_value_6 = 6
        0x40, 0x08,                   // 8 key_value_8 = 8
        0xA2, 0x01, 0x01, 0xF1,       // 20 key_bytes_20
    };
    const bytes label_7 = field({0x52}, {0x08, 0x07}); // 10 label_key: 1 label_key_value = 7
    EXPECT_EQ(arrays.decode(one_key_list(label_key_begin + label_7 + values + repeat(3, extra_prefix))), 22u);
    EXPECT_EQ(arrays.list.count, 1u);
    EXPECT_EQ(arrays.list.multi_key, 0);

    rib_encap_id_path_key_t expected =
        arrays.untouched; // the extra prefixes, the label key and key_bytes_20 among them
    expected.key_value_1 = 1;
    expected.key_value_2 = 2;
    expected.key_prefix.family = 2;
    expected.key_prefix.prefix_len = 24;
    expected.key_prefix.addr.ipv4_addr = 7;
    expected.key_value_4 = 4;
    read_on(expected, 1);
    expected.key_value_6 = 6;
    expected.key_value_8 = 8;
    expected.key_value_19 = 0;
    expected.key_extra_prefix_count = 3;
    EXPECT_EQ(std::memcmp(&expected, &arrays.keys[0], sizeof expected), 0);
    EXPECT_EQ(std::memcmp(&arrays.untouched, &arrays.keys[1], sizeof expected), 0);
    EXPECT_EQ(arrays.ids[0], 0x5A5A5A5A5A5A5A5Au);
}

TEST(grid_key, count_of_256_extra_prefixes_is_refused_by_the_full_count)
{
    expect_key_refused(smallest_label_key + repeat(256, extra_prefix));
}

TEST(grid_key, extra_prefix_that_does_not_convert_is_refused)
{
    expect_key_refused(smallest_label_key + extra_prefix + field({0x4A}, {0x08, 0x02}));
}

// ---- Label keys ----

TEST(grid_key, label_key_takes_value_and_labels)
{
    expect_key(label_key_begin + field({0x52},
                                       {
                                           0x08, 0x0A,                         // 1 label_key_value = 10
                                           0x10, 0x10,                         // 2 labels = 16
                                           0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, // 2 labels = 0xFFFFFFFF
                                       }),
               [](rib_encap_id_path_key_t &expected) {
                   read_on(expected, 1);
                   expected.type_data.label.label_key_value = 10;
                   expected.type_data.label.label_count = 2;
                   expected.type_data.label.labels[0] = 16;
                   expected.type_data.label.labels[1] = 0xFFFFFFFF;
               });
}

TEST(grid_key, label_key_value_is_copied_also_when_absent)
{
    grid_arrays arrays(0x5A);
    ASSERT_EQ(arrays.decode(one_key_list(smallest_label_key)), 0u);
    EXPECT_EQ(arrays.keys[0].type_data.label.label_key_value, 0u);
    EXPECT_EQ(arrays.keys[0].type_data.label.label_count, 0);
    EXPECT_EQ(arrays.keys[0].type_data.label.labels[0], 0x5A5A5A5Au);
}

TEST(grid_key, missing_label_key_is_refused)
{
    expect_key_refused(label_key_begin);
}

TEST(grid_key, label_key_fills_the_room_with_71_labels)
{
    expect_key(label_key_begin + field({0x52}, repeat(71, {0x10, 0x05})), [](rib_encap_id_path_key_t &expected) {
        read_on(expected, 1);
        expected.type_data.label.label_count = 71;
        for (uint32_t &label : expected.type_data.label.labels)
            label = 5;
    });
}

TEST(grid_key, label_key_of_72_labels_is_refused)
{
    expect_key_refused(label_key_begin + field({0x52}, repeat(72, {0x10, 0x05})));
}

TEST(grid_key, label_key_of_255_labels_is_refused)
{
    expect_key_refused(label_key_begin + field({0x52}, repeat(255, {0x10, 0x05})));
}

TEST(grid_key, labels_are_counted_by_their_low_8_bits)
{
    expect_key(label_key_begin + field({0x52}, repeat(258, {0x10, 0x05})), [](rib_encap_id_path_key_t &expected) {
        read_on(expected, 1);
        expected.type_data.label.label_count = 2;
        expected.type_data.label.labels[0] = 5;
        expected.type_data.label.labels[1] = 5;
    });
}

TEST(grid_key, room_for_labels_is_the_room_of_the_srv6_variant)
{
    EXPECT_GE(offsetof(rib_encap_label_key, labels) + sizeof(rib_encap_label_key::labels), sizeof(rib_encap_srv6_key));
}

// ---- Other types ----

const bytes empty_carriers = field({0x72}, {0x0A, 0x00}); // 14 srv6_carriers with an empty oper_type

TEST(grid_key, other_types_are_refused)
{
    const bytes everything = second_prefix + empty_label_key + empty_carriers;
    expect_key_refused(required_but_type + bytes{0x28, 0x00} + everything);
    expect_key_refused(required_but_type + bytes{0x28, 0x05} + everything);
    expect_key_refused(required_but_type + bytes{0x28, 0x7F} + everything);
}

TEST(grid_key, type_is_judged_at_32_bits)
{
    const bytes everything = second_prefix + empty_label_key + empty_carriers;
    expect_key_refused(required_but_type + bytes{0x28, 0x81, 0x02} + everything);       // 257
    expect_key_refused(required_but_type + bytes{0x28, 0x83, 0x80, 0x04} + everything); // 65539
}

} // namespace
