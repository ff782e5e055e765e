// Converting encoded routes and saying what must come of it.

#pragma once

#include "tests/client/support.hpp"
#include "tests/reference/route_reference.hpp"

#include <cstdlib>

namespace rib_test
{

inline void free_route(rib_routetype_ *record)
{
    if (record == nullptr)
        return;
    std::free(record->rt_advertisement);
    for (void *block : record->rt_attr_blocks)
        std::free(block);
    std::free(record);
}

// What rib_lib_route_decode makes of a payload that nobody may write to.
class converted_route
{
public:
    explicit converted_route(const bytes &payload)
    {
        guarded_bytes guarded(payload);
        guarded.forbid_writing();
        status = rib_lib_route_decode(guarded.data(), static_cast<uint32_t>(guarded.size()), &record);
    }
    converted_route(const converted_route &) = delete;
    converted_route &operator=(const converted_route &) = delete;
    ~converted_route() { free_route(record); }

    const rib_path_entry *path(unsigned index) const
    {
        const rib_path_entry *entry = rib_route_first_path(record);
        for (unsigned i = 0; i < index; i++)
            entry = rib_route_next_path(entry);
        return entry;
    }

    zerrno status;
    // Not null, so that a conversion that forgets to set it is seen.
    rib_routetype_ *record = reinterpret_cast<rib_routetype_ *>(0x5A5A5A5A);
};

// A path field of a route.
inline bytes path_field(const bytes &path)
{
    return field({0xD2, 0x01}, path);
}

// The entry of a path that carries nothing.
inline rib_path_entry empty_path()
{
    rib_path_entry entry = {};
    entry.pe_prefix_len = 0xFFFFFFFF;
    for (uint32_t &label : entry.pe_labels)
        label = 0x100001;
    entry.pe_value_19 = 0x100001;
    entry.pe_via_sid_value = 1;
    return entry;
}

// Sets the sixteen bytes of an address member.
inline void set_address(rib_address_bytes &member, const bytes &address)
{
    ASSERT_EQ(address.size(), 16u);
    std::memcpy(member, address.data(), 16);
}

// The route converts, and its header is all zeros but for what `change` says; no paths, no blocks.
template <class Change>
void expect_header(const bytes &payload, Change &&change)
{
    const converted_route route(payload);
    ASSERT_EQ(route.status, 0u);
    ASSERT_NE(route.record, nullptr);
    rib_routetype_ expected = {};
    change(expected);
    EXPECT_EQ(rib_reference::differences(expected, *route.record), "");
    EXPECT_EQ(route.record->rt_advertisement, nullptr);
    EXPECT_EQ(route.record->rt_first_ecomm, nullptr);
    for (const void *block : route.record->rt_attr_blocks)
        EXPECT_EQ(block, nullptr);
}

// The only path of a route is converted into the entry of an empty path but for what `change` says.
template <class Change>
void expect_path(const bytes &path, Change &&change)
{
    const converted_route route(path_field(path));
    ASSERT_EQ(route.status, 0u);
    ASSERT_NE(route.record, nullptr);
    ASSERT_EQ(route.record->rt_path_count, 1);
    rib_path_entry expected = empty_path();
    change(expected);
    EXPECT_EQ(rib_reference::differences(expected, *route.path(0)), "");
}

// The path is left out, and the next one, an empty one, finds nothing of it in its place.
inline void expect_rejected(const bytes &path)
{
    const converted_route route(path_field(path) + path_field({}));
    ASSERT_EQ(route.status, 0u);
    ASSERT_NE(route.record, nullptr);
    ASSERT_EQ(route.record->rt_path_count, 1);
    EXPECT_EQ(rib_reference::differences(empty_path(), *route.path(0)), "");
    EXPECT_EQ(route.record->rt_first_ecomm, nullptr);
}

} // namespace rib_test
