// One path converted by itself: the place that it is written to, and what counts as present in records that did not come
// from the decoder.

#include "tests/client/route_support.hpp"

using namespace rib_test;

namespace
{

// A path with one label more than there is room for.
const bytes eleven_labels = repeat(11, {0x48, 0x05}); // 9 path_values_9 = 5

// The address 0.0.0.7 as it is converted.
const bytes bytes_of_7 = bytes{0x07} + bytes(15, 0);

// A decoded path, released at the end.
class decoded_path
{
public:
    explicit decoded_path(const bytes &fields)
    {
        EXPECT_EQ(zidl_rib_path_decode_ext(
                      &message, fields.data(), fields.size(), [](size_t size, void *) { return std::malloc(size); },
                      nullptr, 0),
                  ZIDL_OK);
    }
    decoded_path(const decoded_path &) = delete;
    decoded_path &operator=(const decoded_path &) = delete;
    ~decoded_path()
    {
        zidl_rib_path_free_ext(
            &message, [](void *ptr, void *) { std::free(ptr); }, nullptr, 0);
    }

    zidl_rib_path message = {};
};

// A place for an entry and five values, full of 0x5A.
struct dirty_place {
    dirty_place() { std::memset(static_cast<void *>(this), 0x5A, sizeof *this); }

    rib_path_entry entry;
    uint64_t values[5];
};

// What converting a path into a dirty place gave.
struct unpacked_path {
    explicit unpacked_path(const zidl_rib_path &path) : size(rib_lib_route_path_unpack(&path, &slot, &ecomm)) {}
    unpacked_path(const unpacked_path &) = delete;
    unpacked_path &operator=(const unpacked_path &) = delete;

    dirty_place place;
    void *slot = &place;
    void *ecomm = nullptr;
    size_t size;
};

// The path is converted into the entry of an empty path but for what `change` says.
template <class Change>
void expect_unpacked(const zidl_rib_path &path, Change &&change)
{
    const unpacked_path unpacked(path);
    ASSERT_EQ(unpacked.size, sizeof(rib_path_entry));
    rib_path_entry expected = empty_path();
    change(expected);
    EXPECT_EQ(rib_reference::differences(expected, unpacked.place.entry), "");
}

TEST(route_path_unpack, result_is_a_size)
{
    void *slot = nullptr;
    const zidl_rib_path path = {};
    static_assert(std::is_same_v<decltype(rib_lib_route_path_unpack(&path, &slot, nullptr)), size_t>);
    EXPECT_GT(rib_lib_route_path_unpack(&path, &slot, nullptr), size_t{0});
    std::free(slot);
}

TEST(route_path_unpack, entry_is_written_into_the_place_given_after_clearing_it)
{
    const decoded_path path({0x08, 0x07}); // 1 path_value_1 = 7
    dirty_place place;
    void *slot = &place;
    EXPECT_EQ(rib_lib_route_path_unpack(&path.message, &slot, nullptr), sizeof(rib_path_entry));
    EXPECT_EQ(slot, &place);
    rib_path_entry expected = empty_path();
    expected.pe_value_1 = 7;
    EXPECT_EQ(rib_reference::differences(expected, place.entry), "");
    EXPECT_EQ(place.values[0], 0x5A5A5A5A5A5A5A5Au) << "nothing behind the entry is written";
}

TEST(route_path_unpack, padding_of_the_place_is_cleared_too)
{
    const decoded_path path(no_fields);
    dirty_place dirty;
    dirty_place clean;
    std::memset(static_cast<void *>(&clean), 0, sizeof clean);
    void *slot = &dirty;
    ASSERT_NE(rib_lib_route_path_unpack(&path.message, &slot, nullptr), 0u);
    slot = &clean;
    ASSERT_NE(rib_lib_route_path_unpack(&path.message, &slot, nullptr), 0u);
    EXPECT_EQ(std::memcmp(&dirty.entry, &clean.entry, sizeof(rib_path_entry)), 0);
}

TEST(route_path_unpack, ecomm_values_that_are_not_copied_are_cleared_in_the_place)
{
    const decoded_path path(field({0xD2, 0x01}, {
                                                    0x10, 0x0A, // 2 ecomm_values = 10
                                                    0x10, 0x0B, // 2 ecomm_values = 11
                                                    0x18, 0x01, // 3 ecomm_value_3 = 1: no value is taken
                                                }));
    const unpacked_path unpacked(path.message);
    ASSERT_EQ(unpacked.size, sizeof(rib_path_entry) + 2 * 8);
    EXPECT_EQ(unpacked.place.values[0], 0u);
    EXPECT_EQ(unpacked.place.values[1], 0u);
    EXPECT_EQ(unpacked.place.values[2], 0x5A5A5A5A5A5A5A5Au);
}

TEST(route_path_unpack, size_counts_the_ecomm_values)
{
    const decoded_path path(field({0xD2, 0x01}, {0x10, 0x0A, 0x10, 0x0B, 0x10, 0x0C})); // three values
    const unpacked_path unpacked(path.message);
    EXPECT_EQ(unpacked.size, sizeof(rib_path_entry) + 3 * 8);
    EXPECT_EQ(unpacked.place.values[0], 10u);
    EXPECT_EQ(unpacked.place.values[2], 12u);
    EXPECT_EQ(unpacked.place.values[3], 0x5A5A5A5A5A5A5A5Au);
}

TEST(route_path_unpack, null_slot_receives_a_new_block)
{
    const decoded_path path(bytes{0x08, 0x07} + field({0xD2, 0x01}, {0x10, 0x0A})); // one value
    void *slot = nullptr;
    EXPECT_EQ(rib_lib_route_path_unpack(&path.message, &slot, nullptr), sizeof(rib_path_entry) + 8);
    ASSERT_NE(slot, nullptr);
    const auto *entry = static_cast<const rib_path_entry *>(slot);
    rib_path_entry expected = empty_path();
    expected.pe_value_1 = 7;
    expected.pe_ecomm_count = 1;
    expected.pe_ecomm_room = 1;
    EXPECT_EQ(rib_reference::differences(expected, *entry), "");
    EXPECT_EQ(rib_path_ecomm_values(entry)[0], 10u);
    std::free(slot);
}

TEST(route_path_unpack, path_rejected_after_the_allocation_leaves_the_block_in_the_slot)
{
    const decoded_path path(eleven_labels);
    void *slot = nullptr;
    EXPECT_EQ(rib_lib_route_path_unpack(&path.message, &slot, nullptr), 0u);
    EXPECT_NE(slot, nullptr);
    std::free(slot);
}

TEST(route_path_unpack, value_27_is_judged_before_anything_is_allocated)
{
    const decoded_path path({0xD8, 0x01, 0x01}); // 27 path_value_27 = 1
    void *slot = nullptr;
    EXPECT_EQ(rib_lib_route_path_unpack(&path.message, &slot, nullptr), 0u);
    EXPECT_EQ(slot, nullptr);
}

TEST(route_path_unpack, value_27_leaves_the_place_as_it_was)
{
    const decoded_path path({0xD8, 0x01, 0x01}); // 27 path_value_27 = 1
    dirty_place place;
    const dirty_place before;
    void *slot = &place;
    void *ecomm = &place;
    EXPECT_EQ(rib_lib_route_path_unpack(&path.message, &slot, &ecomm), 0u);
    EXPECT_EQ(std::memcmp(&place, &before, sizeof place), 0);
    EXPECT_EQ(ecomm, &place);
}

TEST(route_path_unpack, ecomm_out_receives_the_block_at_the_end_of_the_entry)
{
    const decoded_path path(field({0xD2, 0x01}, {0x08, 0x07, 0x10, 0x0A})); // value 1 = 7, one value
    const unpacked_path unpacked(path.message);
    ASSERT_EQ(unpacked.size, sizeof(rib_path_entry) + 8);
    EXPECT_EQ(unpacked.ecomm, static_cast<const void *>(&unpacked.place.entry.pe_ecomm_count));
    EXPECT_EQ(rib_ecomm_count(unpacked.ecomm), 1);
    EXPECT_EQ(rib_ecomm_value_1(unpacked.ecomm), 7);
    EXPECT_EQ(rib_ecomm_values(unpacked.ecomm)[0], 10u);
}

TEST(route_path_unpack, ecomm_out_stays_for_a_path_without_a_block)
{
    const decoded_path path(no_fields);
    dirty_place place;
    void *slot = &place;
    void *ecomm = &place;
    ASSERT_NE(rib_lib_route_path_unpack(&path.message, &slot, &ecomm), 0u);
    EXPECT_EQ(ecomm, &place);
}

TEST(route_path_unpack, ecomm_out_receives_the_block_of_a_path_that_is_rejected_later)
{
    const decoded_path path(eleven_labels + field({0xD2, 0x01}, {0x10, 0x0A}));
    const unpacked_path unpacked(path.message);
    EXPECT_EQ(unpacked.size, 0u);
    EXPECT_EQ(unpacked.ecomm, static_cast<const void *>(&unpacked.place.entry.pe_ecomm_count));
}

// ---- Records that did not come from the decoder: a nested bit is enough for presence ----

TEST(route_path_unpack, address_counts_as_present_by_a_bit_inside_it)
{
    zidl_rib_path path = {};
    zidl_rib_address_set_family(&path.path_address_4, 1);
    zidl_rib_address_set_ipv4(&path.path_address_4, 7);
    zidl_rib_address_set_family(&path.path_address_5, 1);
    zidl_rib_address_set_ipv4(&path.path_address_5, 7);
    expect_unpacked(path, [](rib_path_entry &expected) {
        set_address(expected.pe_addr_4, bytes_of_7);
        set_address(expected.pe_addr_5, bytes_of_7);
        expected.pe_addr_5_family = 1;
    });
}

TEST(route_path_unpack, address_counts_as_present_by_a_bit_of_its_ipv6_record)
{
    zidl_rib_path path = {};
    zidl_rib_ipv6_address_set_half1(&path.path_address_4.ipv6, 9);
    const unpacked_path unpacked(path);
    EXPECT_EQ(unpacked.size, 0u) << "present, but without a family";
}

TEST(route_path_unpack, ipv6_address_counts_as_present_by_a_bit_inside_it)
{
    zidl_rib_path path = {};
    zidl_rib_ipv6_address_set_half1(&path.path_ipv6_address, 9);
    const unpacked_path unpacked(path);
    EXPECT_EQ(unpacked.size, 0u) << "present, but without half0";
}

TEST(route_path_unpack, prefix_counts_as_present_by_a_bit_inside_it)
{
    zidl_rib_path path = {};
    zidl_rib_prefix_set_prefix_len(&path.path_prefix, 24);
    const unpacked_path unpacked(path);
    ASSERT_EQ(unpacked.size, sizeof(rib_path_entry));
    EXPECT_EQ(unpacked.place.entry.pe_prefix_len, 24u);
}

TEST(route_path_unpack, prefix_counts_as_present_by_a_bit_of_its_address)
{
    zidl_rib_path path = {};
    zidl_rib_address_set_family(&path.path_prefix.address, 3);
    const unpacked_path unpacked(path);
    EXPECT_EQ(unpacked.size, 0u) << "present, of a foreign family";
}

TEST(route_path_unpack, ecomm_counts_as_present_by_a_bit_inside_it)
{
    zidl_rib_path path = {};
    zidl_rib_ecomm_array_set_ecomm_value_1(&path.ecomm, 7);
    const unpacked_path unpacked(path);
    ASSERT_EQ(unpacked.size, sizeof(rib_path_entry));
    EXPECT_EQ(unpacked.place.entry.pe_ecomm_value_1, 7);
    EXPECT_EQ(unpacked.ecomm, static_cast<const void *>(&unpacked.place.entry.pe_ecomm_count));
}

TEST(route_path_unpack, ecomm_counts_as_present_by_the_bit_of_value_3_alone)
{
    uint64_t values[] = {10, 11};
    zidl_rib_path path = {};
    path.ecomm.ecomm_values = values;
    path.ecomm.ecomm_count = 2;
    zidl_rib_ecomm_array_set_ecomm_value_3(&path.ecomm, 0);
    const unpacked_path unpacked(path);
    ASSERT_EQ(unpacked.size, sizeof(rib_path_entry) + 2 * 8);
    EXPECT_EQ(unpacked.ecomm, static_cast<const void *>(&unpacked.place.entry.pe_ecomm_count));
    EXPECT_EQ(unpacked.place.entry.pe_ecomm_room, 2u);
    EXPECT_EQ(unpacked.place.entry.pe_ecomm_count, 0);
    EXPECT_EQ(unpacked.place.values[0], 0u);
    EXPECT_EQ(unpacked.place.values[1], 0u);
}

TEST(route_path_unpack, ecomm_counts_as_present_by_the_bit_of_its_values_alone)
{
    uint64_t values[] = {10};
    zidl_rib_path path = {};
    path.ecomm.ecomm_values = values;
    path.ecomm.ecomm_count = 1;
    zidl_rib_ecomm_array_mark_ecomm_values(&path.ecomm);
    const unpacked_path unpacked(path);
    ASSERT_EQ(unpacked.size, sizeof(rib_path_entry) + 8);
    EXPECT_EQ(unpacked.place.entry.pe_ecomm_count, 1);
    EXPECT_EQ(unpacked.place.values[0], 10u);
}

TEST(route_path_unpack, prefix_of_the_instance_id_counts_as_present_by_a_bit_inside_it)
{
    zidl_rib_path path = {};
    zidl_rib_path_iid_attr_set_iid_attr_value_1(&path.iid_attr, 1);
    zidl_rib_prefix_set_prefix_len(&path.iid_attr.iid_attr_prefix, 24);
    expect_unpacked(path, [](rib_path_entry &expected) {
        expected.pe_iid_value_1 = 1;
        expected.pe_iid_prefix_len = 24;
    });
}

TEST(route_path_unpack, prefix_of_the_instance_id_counts_as_present_by_a_bit_of_its_address)
{
    zidl_rib_path path = {};
    zidl_rib_path_iid_attr_set_iid_attr_value_1(&path.iid_attr, 1);
    zidl_rib_address_set_family(&path.iid_attr.iid_attr_prefix.address, 1);
    zidl_rib_address_set_ipv4(&path.iid_attr.iid_attr_prefix.address, 7);
    expect_unpacked(path, [](rib_path_entry &expected) {
        expected.pe_iid_value_1 = 1;
        set_address(expected.pe_iid_prefix, bytes_of_7);
        expected.pe_iid_prefix_len = 255;
        expected.pe_iid_prefix_family = 1;
    });
}

TEST(route_path_unpack, prefix_of_the_instance_id_without_any_bit_is_absent)
{
    zidl_rib_path path = {};
    zidl_rib_path_iid_attr_set_iid_attr_value_1(&path.iid_attr, 1);
    path.iid_attr.iid_attr_prefix.prefix_len = 24;
    path.iid_attr.iid_attr_prefix.address.family = 1;
    path.iid_attr.iid_attr_prefix.address.ipv4 = 7;
    expect_unpacked(path, [](rib_path_entry &expected) { expected.pe_iid_value_1 = 1; });
}

TEST(route_path_unpack, blocks_count_as_present_by_their_own_bits)
{
    zidl_rib_path path = {};
    zidl_rib_path_iid_attr_set_iid_attr_value_1(&path.iid_attr, 1);
    zidl_rib_path_l2_info_set_l2_value_5(&path.l2_info, 2);
    zidl_rib_path_via_srv6_sid_set_via_sid_value_3(&path.via_srv6_sid, 3);
    zidl_rib_path_grouping_info_set_grouping_value_2(&path.grouping_info, 4);
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_8(&path.ip_tunnel_info, 5);
    zidl_rib_path_via_aft_id_set_via_aft_id(&path.via_aft_id, 6);
    zidl_rib_path_via_aft_id_set_via_aft_value_6(&path.via_aft_id, 7);
    zidl_rib_path_via_aft_id_set_via_aft_value_7(&path.via_aft_id, 2);
    zidl_rib_path_sl_id_info_set_sl_id_value_2(&path.sl_id_info, 1);
    expect_unpacked(path, [](rib_path_entry &expected) {
        expected.pe_iid_value_1 = 1;
        expected.pe_l2_5 = 2;
        expected.pe_via_sid_value = 3;
        expected.pe_grouping_2 = 4;
        expected.pe_tunnel_flags = 0x08; // bit 3: value 8
        expected.pe_tunnel_8 = 5;
        expected.pe_via_aft_id = 6;
        expected.pe_aft_6 = 7;
        expected.pe_aft_7 = 2;
        expected.pe_sl_kind = 1;
    });
}

TEST(route_path_unpack, tunnel_flag_of_2_is_bit_0_alone)
{
    zidl_rib_path path = {};
    zidl_rib_path_ip_tunnel_info_set_tunnel_flag(&path.ip_tunnel_info, true);
    path.ip_tunnel_info.tunnel_flag = 2; // which the setter cannot store
    zidl_rib_path_mark_ip_tunnel_info(&path);
    expect_unpacked(path, [](rib_path_entry &expected) { expected.pe_tunnel_flags = 0x01; });
}

TEST(route_path_unpack, scalar_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    for (uint32_t *value : {&path.path_value_1, &path.path_value_2, &path.path_value_3, &path.path_value_8,
                            &path.path_value_10, &path.path_value_11, &path.path_value_12, &path.path_value_13,
                            &path.path_value_14, &path.path_value_16, &path.path_value_19, &path.path_value_22,
                            &path.path_value_25, &path.path_value_27, &path.path_value_28, &path.path_value_31})
        *value = 0x11111111;
    expect_unpacked(path, [](rib_path_entry &) {});
}

TEST(route_path_unpack, scalar_without_its_bit_is_not_read_beside_one_that_has_it)
{
    zidl_rib_path path = {};
    for (uint32_t *value : {&path.path_value_8, &path.path_value_12, &path.path_value_13, &path.path_value_16,
                            &path.path_value_19, &path.path_value_22, &path.path_value_25})
        *value = 0x11111111;
    zidl_rib_path_set_path_value_28(&path, 5);
    zidl_rib_path_set_path_value_31(&path, 6);
    expect_unpacked(path, [](rib_path_entry &expected) {
        expected.pe_value_28 = 5;
        expected.pe_value_31 = 6;
    });
}

// ---- Such records: a value whose bit is clear is not read, also in a block that is present ----

constexpr uint32_t NOT_SET = 0x11111111;

TEST(route_path_unpack, iid_attr_value_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_iid_attr(&path);
    zidl_rib_path_iid_attr_set_iid_attr_value_1(&path.iid_attr, 1);
    path.iid_attr.iid_attr_value_2 = NOT_SET;
    path.iid_attr.iid_attr_value_4 = NOT_SET;
    expect_unpacked(path, [](rib_path_entry &expected) { expected.pe_iid_value_1 = 1; });
}

TEST(route_path_unpack, iid_attr_value_1_without_its_bit_drops_the_block)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_iid_attr(&path);
    path.iid_attr.iid_attr_value_1 = NOT_SET;
    zidl_rib_path_iid_attr_set_iid_attr_value_4(&path.iid_attr, 4);
    expect_unpacked(path, [](rib_path_entry &) {});
}

TEST(route_path_unpack, l2_value_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_l2_info(&path);
    path.l2_info.l2_value_1 = NOT_SET;
    path.l2_info.l2_value_5 = NOT_SET;
    path.l2_info.l2_value_6 = NOT_SET;
    path.l2_info.l2_value_7 = NOT_SET;
    path.l2_info.l2_value_8 = NOT_SET;
    expect_unpacked(path, [](rib_path_entry &) {});
}

TEST(route_path_unpack, grouping_value_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_grouping_info(&path);
    path.grouping_info.grouping_value_1 = NOT_SET;
    path.grouping_info.grouping_value_2 = NOT_SET;
    expect_unpacked(path, [](rib_path_entry &) {});
}

TEST(route_path_unpack, tunnel_flag_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_ip_tunnel_info(&path);
    path.ip_tunnel_info.tunnel_flag = 1;
    expect_unpacked(path, [](rib_path_entry &) {});
}

TEST(route_path_unpack, tunnel_value_6_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_ip_tunnel_info(&path);
    path.ip_tunnel_info.tunnel_value_6 = 13; // as high as it may be
    expect_unpacked(path, [](rib_path_entry &) {});
}

TEST(route_path_unpack, tunnel_value_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_ip_tunnel_info(&path);
    path.ip_tunnel_info.tunnel_value_1 = NOT_SET;
    path.ip_tunnel_info.tunnel_value_7 = NOT_SET;
    path.ip_tunnel_info.tunnel_value_8 = NOT_SET;
    path.ip_tunnel_info.tunnel_value_9 = NOT_SET;
    path.ip_tunnel_info.tunnel_value_10 = NOT_SET;
    expect_unpacked(path, [](rib_path_entry &) {});
}

// Each of the three values that the block needs, with the bits of the two others.
TEST(route_path_unpack, aft_value_without_its_bit_drops_the_block)
{
    for (int clear = 5; clear <= 7; clear++) {
        zidl_rib_path path = {};
        zidl_rib_path_mark_via_aft_id(&path);
        path.via_aft_id.via_aft_id = 5;
        path.via_aft_id.via_aft_value_6 = 6;
        path.via_aft_id.via_aft_value_7 = 2;
        if (clear != 5)
            zidl_rib_path_via_aft_id_set_via_aft_id(&path.via_aft_id, 5);
        if (clear != 6)
            zidl_rib_path_via_aft_id_set_via_aft_value_6(&path.via_aft_id, 6);
        if (clear != 7)
            zidl_rib_path_via_aft_id_set_via_aft_value_7(&path.via_aft_id, 2);
        expect_unpacked(path, [](rib_path_entry &) {});
    }
}

TEST(route_path_unpack, sl_id_value_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_sl_id_info(&path);
    path.sl_id_info.sl_id_value_1 = NOT_SET;
    zidl_rib_path_sl_id_info_set_sl_id_value_2(&path.sl_id_info, 2);
    path.sl_id_info.sl_id_value_3 = NOT_SET;
    expect_unpacked(path, [](rib_path_entry &expected) { expected.pe_sl_kind = 2; });
}

TEST(route_path_unpack, sl_id_kind_without_its_bit_drops_the_block)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_sl_id_info(&path);
    path.sl_id_info.sl_id_value_2 = 2;
    zidl_rib_path_sl_id_info_set_sl_id_value_3(&path.sl_id_info, 9);
    expect_unpacked(path, [](rib_path_entry &) {});
}

TEST(route_path_unpack, via_sid_value_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_via_srv6_sid(&path);
    path.via_srv6_sid.via_sid_value_1 = NOT_SET;
    zidl_rib_path_via_srv6_sid_mark_via_sid(&path.via_srv6_sid);
    path.via_srv6_sid.via_sid.half0 = NOT_SET;
    path.via_srv6_sid.via_sid.half1 = NOT_SET;
    path.via_srv6_sid.via_sid_value_3 = NOT_SET;
    expect_unpacked(path, [](rib_path_entry &) {});
}

TEST(route_path_unpack, sid_info_value_without_its_bit_is_not_read)
{
    zidl_rib_path_srv6_sid_info info = {};
    info.sid_info_value_3 = NOT_SET;
    zidl_rib_path_srv6_sid_info_mark_sid_info_prefix(&info);
    info.sid_info_prefix.prefix_len = 24;
    info.sid_info_prefix.address.family = 1;
    info.sid_info_prefix.address.ipv4 = 7;
    zidl_rib_path path = {};
    path.srv6_sid_infos = &info;
    path.srv6_sid_infos_count = 1;
    zidl_rib_path_mark_srv6_sid_infos(&path);
    expect_unpacked(path, [](rib_path_entry &expected) {
        expected.pe_sid_info_count = 1;
        expected.pe_sid_infos[0].prefix_len = 0xFFFFFFFF;
    });
}

TEST(route_path_unpack, nnh_value_without_its_bit_is_not_read)
{
    zidl_rib_nnh entries[2] = {};
    zidl_rib_nnh_set_nnh_value_1(&entries[0], 1);
    zidl_rib_nnh_set_nnh_value_2(&entries[0], 7);
    entries[0].nnh_value_3 = NOT_SET; // neither makes the entry unusable
    entries[0].nnh_value_4 = NOT_SET;
    zidl_rib_nnh_set_nnh_value_1(&entries[1], 1);
    entries[1].nnh_value_2 = NOT_SET;
    zidl_rib_path path = {};
    path.nnh_entries = entries;
    path.nnh_entries_count = 2;
    zidl_rib_path_mark_nnh_entries(&path);
    const unpacked_path unpacked(path);
    ASSERT_EQ(unpacked.size, sizeof(rib_path_entry));
    EXPECT_EQ(unpacked.place.entry.pe_nnh_count, 1);
    EXPECT_EQ(unpacked.place.entry.pe_nnh[0].value, 7u);
}

TEST(route_path_unpack, ecomm_value_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    zidl_rib_path_mark_ecomm(&path);
    path.ecomm.ecomm_value_1 = NOT_SET;
    path.ecomm.ecomm_value_3 = NOT_SET; // does not empty the block
    uint64_t values[] = {10};
    path.ecomm.ecomm_values = values;
    path.ecomm.ecomm_count = 1;
    zidl_rib_ecomm_array_mark_ecomm_values(&path.ecomm);
    const unpacked_path unpacked(path);
    ASSERT_EQ(unpacked.size, sizeof(rib_path_entry) + 8);
    EXPECT_EQ(unpacked.place.entry.pe_ecomm_value_1, 0);
    EXPECT_EQ(unpacked.place.entry.pe_ecomm_count, 1);
    EXPECT_EQ(unpacked.place.values[0], 10u);
}

TEST(route_path_unpack, address_value_without_its_bit_is_not_read)
{
    zidl_rib_path path = {};
    path.path_address_5.family = 1;
    path.path_address_5.ipv4 = 7;
    path.path_address_5.ipv6.half0 = NOT_SET;
    path.path_ipv6_address.half0 = NOT_SET;
    path.path_prefix.prefix_len = 24;
    path.path_prefix.address.family = 1;
    path.path_prefix.address.ipv4 = 7;
    expect_unpacked(path, [](rib_path_entry &) {});
}

} // namespace
