// Grid lists on the wire, and arrays to convert them into.

#pragma once

#include "tests/client/support.hpp"
#include "tests/reference/grid_reference.hpp"

#include <memory>

namespace rib_test
{

// Arrays of the size that the conversion expects, every byte set to `filling`.
class grid_arrays
{
public:
    explicit grid_arrays(uint8_t filling)
        : keys(new rib_encap_id_path_key_t[GRID_MAX_KEYS]), ids(new uint64_t[GRID_MAX_KEYS])
    {
        std::memset(keys.get(), filling, GRID_MAX_KEYS * sizeof(rib_encap_id_path_key_t));
        std::memset(ids.get(), filling, GRID_MAX_KEYS * sizeof(uint64_t));
        std::memset(&untouched, filling, sizeof untouched);
        std::memset(&list, filling, sizeof list);
        list.encap_ids = ids.get();
        list.keys = keys.get();
    }

    // Converts a payload that nobody may write to.
    zerrno decode(const bytes &payload)
    {
        guarded_bytes guarded(payload);
        guarded.forbid_writing();
        return rib_server_decode_grid_list_update(guarded.data(), guarded.size(), &list);
    }

    std::unique_ptr<rib_encap_id_path_key_t[]> keys;
    std::unique_ptr<uint64_t[]> ids;
    rib_encap_id_path_key_t untouched;
    grid_sync_list list;
};

// The prefix 0.0.0.7/24.
inline const bytes grid_prefix_7 = {
    0x08, 0x02, // 1 family = 2
    0x10, 0x18, // 2 prefix_len = 24
    0x18, 0x07, // 3 ipv4 = 7
};

inline ip_addr address_7()
{
    ip_addr address = {};
    address.family = 2;
    address.prefix_len = 24;
    address.addr.ipv4_addr = 7;
    return address;
}

inline const bytes sixteen = {0x20, 0x01, 0x0D, 0xB8, 0x00, 0x11, 0x22, 0x33,
                              0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB};

// The fields that every key needs; the type comes with the test.
inline const bytes required_but_type =
    bytes{
        0x08, 0x01, // 1 key_value_1 = 1
        0x10, 0x02, // 2 key_value_2 = 2
    } +
    field({0x1A}, grid_prefix_7) + // 3 key_prefix
    bytes{
        0x20, 0x04, // 4 key_value_4 = 4
    };

inline const bytes type_3 = {0x28, 0x03}; // 5 key_type = 3

// The smallest key that converts.
inline const bytes plain_key = required_but_type + type_3;

inline bytes key_field(const bytes &key)
{
    return field({0x12}, key);
}

inline bytes id_field(uint64_t id)
{
    return field({0x0A}, number({0x08}, id));
}

inline const bytes multi_key_set = {0x20, 0x01};
inline const bytes multi_key_clear = {0x20, 0x00};

// A list of the one key given, with an ID (which a list of one key needs, but does not look at).
inline bytes one_key_list(const bytes &key)
{
    return id_field(9) + key_field(key) + multi_key_clear;
}

// What the smallest key becomes in a cleared place.
inline rib_encap_id_path_key_t plain_key_record()
{
    rib_encap_id_path_key_t key = {};
    key.key_value_1 = 1;
    key.key_value_2 = 2;
    key.key_prefix = address_7();
    key.key_value_4 = 4;
    key.key_type = 3;
    return key;
}

// What the keys of types 1 and 2 need, too.
inline const bytes second_prefix = field({0x3A}, {0x08, 0x02, 0x10, 0x08, 0x18, 0x09}); // 7 key_second_prefix 0.0.0.9/8

// What that adds to the smallest key.
inline void read_on(rib_encap_id_path_key_t &expected, uint32_t type)
{
    expected.key_type = type;
    expected.key_second_prefix.family = 2;
    expected.key_second_prefix.prefix_len = 8;
    expected.key_second_prefix.addr.ipv4_addr = 9;
    expected.key_value_15 = 0x100001;
}

// The key converts, and is the smallest one but for what `change` says.
template <class Change>
void expect_key(const bytes &key, Change &&change)
{
    grid_arrays arrays(0);
    ASSERT_EQ(arrays.decode(one_key_list(key)), 0u);
    EXPECT_EQ(arrays.list.count, 1u);
    rib_encap_id_path_key_t expected = plain_key_record();
    change(expected);
    EXPECT_EQ(rib_reference::differences(expected, arrays.keys[0]), "");
    EXPECT_EQ(rib_reference::differences(arrays.untouched, arrays.keys[1]), "");
}

inline void expect_key_refused(const bytes &key)
{
    grid_arrays arrays(0);
    EXPECT_EQ(arrays.decode(one_key_list(key)), 22u);
}

} // namespace rib_test
