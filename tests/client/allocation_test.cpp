// What the library allocates, what it gives back and when, and what happens when there is no memory.

#include "tests/client/grid_support.hpp"
#include "tests/client/heap.hpp"
#include "tests/client/recorder.hpp"
#include "tests/client/route_support.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include <sys/resource.h>
#include <sys/wait.h>

#if defined(__SANITIZE_ADDRESS__)
#define RIB_TEST_WITH_ASAN
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define RIB_TEST_WITH_ASAN
#endif
#endif

using namespace rib_test;

namespace
{

// With the arena nothing outlives a call but what a callback keeps, and the codec's requests are the arena's own, except
// for opaque updates.
#ifdef RIB_CLIENT_ARENA
constexpr bool ARENA = true;
#else
constexpr bool ARENA = false;
#endif

// What the callbacks saw.
struct seen {
    int calls = 0;
    size_t live = 0;
    std::vector<void *> releases;
    rib_routetype_ *route = nullptr;
    void *advertisement = nullptr;
    void *attr_blocks[6] = {};
    updatetype_local *update = nullptr;
    uint32_t new_type = 0;
};

seen client;

int on_proto(uint32_t, rib_protoid_map *, void *)
{
    client.calls++;
    client.live = heap().live.size();
    return 0;
}

int on_opaque(uint32_t, uint32_t, rib_opaque_update *, void *)
{
    client.calls++;
    client.live = heap().live.size();
    if (client.update != nullptr)
        client.update->tlv_type = client.new_type;
    return 0;
}

int on_route(uint32_t, rib_routetype_ *route, void *)
{
    client.calls++;
    client.live = heap().live.size();
    client.releases = heap().releases;
    client.route = route;
    client.advertisement = route->rt_advertisement;
    std::memcpy(client.attr_blocks, route->rt_attr_blocks, sizeof client.attr_blocks);
    return 0;
}

int on_grid(void *, void *, uint32_t)
{
    client.calls++;
    client.live = heap().live.size();
    return 0;
}

rib_route_client route_client = {nullptr, nullptr, on_route};

class allocation : public testing::Test
{
protected:
    allocation()
    {
        client = {};
        platform = {};
    }
    ~allocation() override
    {
        end_watch();
        EXPECT_EQ(heap().foreign_releases, 0u);
    }

    // Parses the payload with the given request failing, and tells how many blocks are left behind.
    size_t parse(uint32_t type, const bytes &payload, size_t refused = SIZE_MAX)
    {
        client = {};
        guarded_bytes guarded(payload);
        updatetype_local update = stripped_update(type, guarded);
        watch_heap(refused);
        switch (type) {
        case ENCODED_PROTO:
            rib_lib_pvt_parse_proto_update(on_proto, &update, nullptr);
            break;
        case ENCODED_OPAQUE:
            rib_lib_pvt_parse_opaque_update(on_opaque, &update, nullptr);
            break;
        case ENCODED_ROUTE:
            rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &route_client);
            break;
        default:
            rib_lib_pvt_parse_grid_update(on_grid, &update, nullptr);
        }
        EXPECT_EQ(heap().foreign_releases, 0u);
        return end_watch();
    }

    // How many requests the payload makes when none of them fails.
    size_t requests_of(uint32_t type, const bytes &payload)
    {
        parse(type, payload);
        EXPECT_EQ(client.calls, 1);
        return heap().requests.size();
    }
};

// What a failed decode leaves behind: its own blocks, or nothing with the arena.
size_t left_by_decoder(size_t blocks)
{
    return ARENA ? 0 : blocks;
}

// ---- Protocol updates ----

const bytes proto_with_names = bytes{0x08, 0x01} + field({0x22}, text("one")) + field({0x2A}, text("two"));

TEST_F(allocation, names_of_a_protocol_update_are_released_before_the_callback)
{
    EXPECT_EQ(parse(ENCODED_PROTO, proto_with_names), 0u);
    EXPECT_EQ(client.calls, 1);
    EXPECT_EQ(client.live, 0u);
}

TEST_F(allocation, protocol_update_that_fails_to_decode_keeps_its_names_allocated)
{
    EXPECT_EQ(parse(ENCODED_PROTO, proto_with_names + bytes{0x10}), left_by_decoder(2));
    EXPECT_EQ(client.calls, 0);
}

TEST_F(allocation, protocol_update_without_memory_for_a_name_is_dropped)
{
    const size_t requests = requests_of(ENCODED_PROTO, proto_with_names);
    for (size_t refused = 0; refused < requests; refused++) {
        EXPECT_EQ(parse(ENCODED_PROTO, proto_with_names, refused), left_by_decoder(refused));
        EXPECT_EQ(client.calls, 0);
    }
}

TEST_F(allocation, older_form_protocol_update_allocates_nothing)
{
    guarded_bytes payload(bytes(92, 0));
    updatetype_local update = stripped_update(LEGACY_PROTO, payload);
    watch_heap();
    rib_lib_pvt_parse_proto_update(on_proto, &update, nullptr);
    EXPECT_TRUE(heap().requests.empty());
    EXPECT_EQ(client.calls, 1);
}

// ---- Opaque updates ----

const bytes opaque_with_blocks = {
    0x2A, 0x02, 0xA1, 0xA2, // 5 first_block
    0x32, 0x01, 0xB1,       // 6 second_block
};

TEST_F(allocation, blocks_of_an_opaque_update_are_released_after_the_callback)
{
    EXPECT_EQ(parse(ENCODED_OPAQUE, opaque_with_blocks), 0u);
    EXPECT_EQ(client.calls, 1);
    EXPECT_EQ(client.live, 2u);
}

// A callback that keeps the blocks, and remembers what it was given.
rib_opaque_update kept;

int keep_blocks(uint32_t, uint32_t, rib_opaque_update *opaque, void *ctx)
{
    client.calls++;
    kept = *opaque;
    static_cast<updatetype_local *>(ctx)->tlv_type = LEGACY_OPAQUE;
    return 0;
}

bool is_live(const void *block)
{
    const auto &live = heap().live;
    return std::find(live.begin(), live.end(), block) != live.end();
}

TEST_F(allocation, blocks_of_an_opaque_update_stay_when_the_callback_changed_its_type)
{
    guarded_bytes payload(opaque_with_blocks);
    updatetype_local update = stripped_update(ENCODED_OPAQUE, payload);
    client.update = &update;
    client.new_type = LEGACY_OPAQUE;
    watch_heap();
    rib_lib_pvt_parse_opaque_update(on_opaque, &update, nullptr);
    EXPECT_EQ(client.calls, 1);
    EXPECT_EQ(end_watch(), 2u);
}

TEST_F(allocation, blocks_that_a_callback_keeps_are_each_taken_by_free)
{
    const bytes large_block(10000, 0xB1); // larger than any block on the stack
    guarded_bytes payload(field({0x2A}, {0xA1, 0xA2}) + field({0x32}, large_block));
    updatetype_local update = stripped_update(ENCODED_OPAQUE, payload);
    watch_heap();
    rib_lib_pvt_parse_opaque_update(keep_blocks, &update, &update);
    ASSERT_EQ(client.calls, 1);
    ASSERT_TRUE(is_live(kept.first_block) && is_live(kept.second_block));
    EXPECT_EQ(bytes(kept.first_block, kept.first_block + kept.first_len), bytes({0xA1, 0xA2}));
    EXPECT_EQ(bytes(kept.second_block, kept.second_block + kept.second_len), large_block);
    free(kept.second_block);
    free(kept.first_block);
    EXPECT_EQ(heap().foreign_releases, 0u);
    EXPECT_EQ(end_watch(), 0u) << "nothing but the two blocks was left";
}

TEST_F(allocation, empty_blocks_that_a_callback_keeps_are_each_taken_by_free)
{
    guarded_bytes payload({
        0x2A, 0x00, // 5 first_block, empty
        0x32, 0x00, // 6 second_block, empty
    });
    updatetype_local update = stripped_update(ENCODED_OPAQUE, payload);
    watch_heap();
    rib_lib_pvt_parse_opaque_update(keep_blocks, &update, &update);
    ASSERT_EQ(client.calls, 1);
    ASSERT_TRUE(is_live(kept.first_block) && is_live(kept.second_block));
    free(kept.first_block);
    free(kept.second_block);
    EXPECT_EQ(heap().foreign_releases, 0u);
    EXPECT_EQ(end_watch(), 0u);
}

TEST_F(allocation, opaque_update_that_fails_to_decode_keeps_its_blocks_allocated)
{
    EXPECT_EQ(parse(ENCODED_OPAQUE, opaque_with_blocks + bytes{0x10}), left_by_decoder(2));
    EXPECT_EQ(client.calls, 0);
}

TEST_F(allocation, opaque_update_without_memory_for_a_block_is_dropped)
{
    const size_t requests = requests_of(ENCODED_OPAQUE, opaque_with_blocks);
    for (size_t refused = 0; refused < requests; refused++) {
        EXPECT_EQ(parse(ENCODED_OPAQUE, opaque_with_blocks, refused), left_by_decoder(refused));
        EXPECT_EQ(client.calls, 0);
    }
}

TEST_F(allocation, older_form_opaque_update_allocates_and_releases_nothing)
{
    guarded_bytes payload(bytes(9, 0) + bytes{0x01} + bytes(14, 0) + bytes{0xA1}); // first length 1
    updatetype_local update = stripped_update(LEGACY_OPAQUE, payload);
    client.update = &update;
    client.new_type = ENCODED_OPAQUE;
    watch_heap();
    rib_lib_pvt_parse_opaque_update(on_opaque, &update, nullptr);
    EXPECT_TRUE(heap().requests.empty());
    EXPECT_TRUE(heap().releases.empty());
    EXPECT_EQ(heap().foreign_releases, 0u);
    EXPECT_EQ(client.calls, 1);
}

// ---- Routes ----

const bytes attribute_8 = field({0x12}, field({0x12}, bytes(8, 0xDD)));
const bytes attribute_12 = field({0x12}, field({0x12}, bytes(12, 0xDD)));

// A route that makes every kind of request.
const bytes full_route = field({0x0A}, {0x0A, 0x04, 0x08, 0x01, 0x10, 0x07}) +        // 1 route_prefix
                         field({0x8A, 0x01}, {0x08, 0x0A, 0x10, 0x01}) +              // 17 algo_labels
                         field({0xD2, 0x01}, bytes{0x48, 0x05} +                      // 26 paths: labels,
                                                 field({0x8A, 0x01}, {0x08, 0x01}) +  // addresses,
                                                 field({0xAA, 0x01}, {0x08, 0x01}) +  // next-next-hops,
                                                 field({0xD2, 0x01}, {0x10, 0x0A}) +  // ecomm values,
                                                 field({0x8A, 0x02}, {0x18, 0x01})) + // SID infos
                         field({0xDA, 0x01}, {0x08, 0x05}) +                          // 27 client_advertisement
                         field({0xE2, 0x01}, attribute_12) +                          // 28 addr_generic_attrs
                         field({0xEA, 0x01}, attribute_8) +                           // 29 generic_attrs_29
                         field({0xF2, 0x01}, attribute_8) +                           // 30
                         field({0xFA, 0x01}, attribute_8) +                           // 31
                         field({0x82, 0x02}, attribute_8) +                           // 32
                         field({0x8A, 0x02}, attribute_8);                            // 33

// The record's request: the last that is as large as a header, since the message is there before it and side blocks are
// smaller.
size_t record_request()
{
    const auto &requests = heap().requests;
    size_t found = SIZE_MAX;
    for (size_t i = 0; i < requests.size(); i++) {
        if (requests[i].size >= sizeof(rib_routetype_))
            found = i;
    }
    EXPECT_NE(found, SIZE_MAX);
    return found;
}

TEST_F(allocation, message_of_a_route_is_released_before_the_callback)
{
    EXPECT_EQ(parse(ENCODED_ROUTE, full_route), 0u);
    EXPECT_EQ(client.calls, 1);
    EXPECT_EQ(client.live, 8u) << "the record, its advertisement and six attribute blocks";
}

TEST_F(allocation, route_is_released_after_the_callback_side_blocks_first)
{
    EXPECT_EQ(parse(ENCODED_ROUTE, full_route), 0u);
    ASSERT_EQ(client.calls, 1);
    const std::vector<void *> expected = {client.advertisement,  client.attr_blocks[0], client.attr_blocks[1],
                                          client.attr_blocks[2], client.attr_blocks[3], client.attr_blocks[4],
                                          client.attr_blocks[5], client.route};
    const std::vector<void *> after(heap().releases.begin() + static_cast<std::ptrdiff_t>(client.releases.size()),
                                    heap().releases.end());
    EXPECT_EQ(after, expected);
}

// The bytes that the record of these paths takes.
size_t record_size(const bytes &payload)
{
    guarded_bytes guarded(payload);
    rib_routetype_ *record = nullptr;
    watch_heap();
    EXPECT_EQ(rib_lib_route_decode(guarded.data(), static_cast<uint32_t>(guarded.size()), &record), 0u);
    const size_t request = record_request();
    const size_t size = request < heap().requests.size() ? heap().requests[request].size : 0;
    EXPECT_EQ(end_watch(), 1u);
    return size;
}

TEST_F(allocation, record_is_one_cleared_block_of_the_header_and_the_paths)
{
    EXPECT_EQ(record_size({}), sizeof(rib_routetype_));
    EXPECT_EQ(record_size(repeat(3, path_field({}))), sizeof(rib_routetype_) + 3 * sizeof(rib_path_entry));
}

TEST_F(allocation, record_has_room_for_the_ecomm_values)
{
    const bytes two_values = field({0xD2, 0x01}, {0x10, 0x0A, 0x10, 0x0B});
    EXPECT_EQ(record_size(path_field(two_values) + path_field({})),
              sizeof(rib_routetype_) + 2 * sizeof(rib_path_entry) + 2 * 8);
}

TEST_F(allocation, record_has_room_for_the_ecomm_values_of_a_block_with_field_3)
{
    const bytes two_values = field({0xD2, 0x01}, {0x10, 0x0A, 0x10, 0x0B, 0x18, 0x01});
    EXPECT_EQ(record_size(path_field(two_values)), sizeof(rib_routetype_) + sizeof(rib_path_entry) + 2 * 8);
}

TEST_F(allocation, path_with_value_27_takes_no_room)
{
    const bytes two_values = field({0xD2, 0x01}, {0x10, 0x0A, 0x10, 0x0B});
    EXPECT_EQ(record_size(path_field(two_values + bytes{0xD8, 0x01, 0x01}) + path_field({})),
              sizeof(rib_routetype_) + sizeof(rib_path_entry));
}

TEST_F(allocation, path_that_will_be_rejected_has_its_room)
{
    EXPECT_EQ(record_size(path_field(repeat(11, {0x48, 0x05}))), sizeof(rib_routetype_) + sizeof(rib_path_entry));
}

TEST_F(allocation, paths_behind_the_1024th_have_their_room)
{
    EXPECT_EQ(record_size(repeat(1030, path_field({}))), sizeof(rib_routetype_) + 1030 * sizeof(rib_path_entry));
}

TEST_F(allocation, conversion_leaves_the_record_and_its_blocks_alone_live)
{
    guarded_bytes guarded(full_route);
    rib_routetype_ *record = nullptr;
    watch_heap();
    EXPECT_EQ(rib_lib_route_decode(guarded.data(), static_cast<uint32_t>(guarded.size()), &record), 0u);
    EXPECT_EQ(end_watch(), 8u);
}

TEST_F(allocation, attribute_block_of_the_wrong_size_is_released)
{
    const bytes wrong = field({0xEA, 0x01}, field({0x12}, field({0x12}, bytes(7, 0xDD))));
    guarded_bytes guarded(wrong);
    rib_routetype_ *record = nullptr;
    watch_heap();
    EXPECT_EQ(rib_lib_route_decode(guarded.data(), static_cast<uint32_t>(guarded.size()), &record), 0u);
    EXPECT_EQ(record->rt_attr_blocks[1], nullptr);
    EXPECT_EQ(end_watch(), 1u) << "the record alone";
}

// The blocks of the message itself that a conversion which returned early leaves behind.
size_t left_by_conversion(const bytes &payload, zerrno status, bool has_record)
{
    guarded_bytes guarded(payload);
    rib_routetype_ *record = nullptr;
    watch_heap();
    EXPECT_EQ(rib_lib_route_decode(guarded.data(), static_cast<uint32_t>(guarded.size()), &record), status);
    EXPECT_EQ(record != nullptr, has_record);
    return end_watch() - (has_record ? 1 : 0);
}

TEST_F(allocation, route_with_value_34_keeps_its_message_allocated_and_makes_no_record)
{
    const bytes label = field({0x8A, 0x01}, {0x08, 0x0A, 0x10, 0x01});
    EXPECT_EQ(left_by_conversion(label + bytes{0x90, 0x02, 0x01}, 0xA2D28400, false), left_by_decoder(1));
}

TEST_F(allocation, route_with_a_malformed_prefix_keeps_its_message_allocated)
{
    const bytes label = field({0x8A, 0x01}, {0x08, 0x0A, 0x10, 0x01});
    EXPECT_EQ(left_by_conversion(label + bytes{0x0A, 0x02, 0x0A, 0x00}, 0xA2D28000, true), left_by_decoder(1));
}

TEST_F(allocation, route_that_fails_to_decode_keeps_its_message_allocated)
{
    const bytes label = field({0x8A, 0x01}, {0x08, 0x0A, 0x10, 0x01});
    EXPECT_EQ(left_by_conversion(label + bytes{0x10}, 0xA2D28000, false), left_by_decoder(1));
}

TEST_F(allocation, entry_point_releases_the_record_of_a_route_with_a_malformed_prefix)
{
    const bytes label = field({0x8A, 0x01}, {0x08, 0x0A, 0x10, 0x01});
    EXPECT_EQ(parse(ENCODED_ROUTE, label + bytes{0x0A, 0x02, 0x0A, 0x00}), left_by_decoder(1));
    EXPECT_EQ(client.calls, 0);
}

// Embedded messages that come again: what is in the first ones is lost, their lists and the data in them with it.
const bytes route_with_replaced_messages =
    field({0x0A}, {0x0A, 0x04, 0x08, 0x01, 0x10, 0x07, 0x10, 0x18}) + // 1 route_prefix: address 7, length 24
    field({0xDA, 0x01}, {0x08, 0x05, 0x08, 0x06}) +                   // 27 client_advertisement: values 5 and 6
    field({0xEA, 0x01}, attribute_8) +                                // 29 generic_attrs_29: one, with its data
    field({0xA2, 0x02}, {0x28, 0x09}) +                               // 36 route_l2_info: route_l2_value_5 = 9
    field({0x0A}, {0x10, 0x10}) +                                     // 1 again: length 16, no address
    field({0xDA, 0x01}, {0x08, 0x07}) +                               // 27 again: value 7
    field({0xEA, 0x01}, {0x08, 0x03}) +                               // 29 again: array_type = 3, no attributes
    field({0xA2, 0x02}, {});                                          // 36 again: empty

TEST_F(allocation, entry_point_keeps_the_lists_of_embedded_messages_that_later_ones_replaced)
{
    EXPECT_EQ(parse(ENCODED_ROUTE, route_with_replaced_messages), left_by_decoder(3));
    EXPECT_EQ(client.calls, 1);
}

TEST_F(allocation, record_is_made_of_the_embedded_messages_that_came_last)
{
    guarded_bytes guarded(route_with_replaced_messages);
    rib_routetype_ *record = nullptr;
    watch_heap();
    ASSERT_EQ(rib_lib_route_decode(guarded.data(), static_cast<uint32_t>(guarded.size()), &record), 0u);
    EXPECT_EQ(record->rt_family, 0u);
    EXPECT_EQ(record->rt_prefix_len, 16);
    EXPECT_EQ(bytes(record->rt_dest, record->rt_dest + 16), bytes(16, 0));
    EXPECT_EQ(record->rt_l2_value, 0);
    EXPECT_EQ(rib_advertisement_count(record->rt_advertisement), 1u);
    EXPECT_EQ(rib_advertisement_values(record->rt_advertisement)[0], 7);
    EXPECT_EQ(rib_attr_block_type(record->rt_attr_blocks[1]), 3);
    EXPECT_EQ(rib_attr_block_count(record->rt_attr_blocks[1]), 0);
    EXPECT_EQ(end_watch(), 3u + left_by_decoder(3)) << "the record and two side blocks, and what was replaced";
}

TEST_F(allocation, entry_point_releases_the_record_when_there_is_no_callback)
{
    route_client.encoded_route = nullptr;
    EXPECT_EQ(parse(ENCODED_ROUTE, full_route), 0u);
    route_client.encoded_route = on_route;
    EXPECT_EQ(client.calls, 0);
}

TEST_F(allocation, route_without_memory_for_its_record_is_dropped_and_keeps_its_message_allocated)
{
    const bytes label = field({0x8A, 0x01}, {0x08, 0x0A, 0x10, 0x01});
    parse(ENCODED_ROUTE, label);
    const size_t request = record_request();
    guarded_bytes guarded(label);
    rib_routetype_ *record = reinterpret_cast<rib_routetype_ *>(&client);
    watch_heap(request);
    EXPECT_EQ(rib_lib_route_decode(guarded.data(), static_cast<uint32_t>(guarded.size()), &record), 0xA2D28200u);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(end_watch(), left_by_decoder(1));
    EXPECT_EQ(parse(ENCODED_ROUTE, label, request), left_by_decoder(1));
    EXPECT_EQ(client.calls, 0);
}

TEST_F(allocation, each_failing_request_of_a_route_has_its_own_consequence)
{
    parse(ENCODED_ROUTE, full_route);
    const size_t requests = heap().requests.size();
    const size_t record_at = record_request();
    // The record, then the advertisement and the six attribute blocks, are asked for after the whole message.
    ASSERT_EQ(requests, record_at + 8);
    for (size_t refused = 0; refused < requests; refused++) {
        guarded_bytes guarded(full_route);
        rib_routetype_ *record = nullptr;
        watch_heap(refused);
        const zerrno status = rib_lib_route_decode(guarded.data(), static_cast<uint32_t>(guarded.size()), &record);
        if (refused < record_at) {
            EXPECT_EQ(status, 0xA2D28000u) << refused;
            EXPECT_EQ(record, nullptr);
            EXPECT_EQ(end_watch(), left_by_decoder(refused));
        } else if (refused == record_at) {
            EXPECT_EQ(status, 0xA2D28200u);
            EXPECT_EQ(record, nullptr);
            EXPECT_EQ(end_watch(), left_by_decoder(record_at));
        } else {
            EXPECT_EQ(status, 0u) << refused;
            ASSERT_NE(record, nullptr);
            EXPECT_EQ(record->rt_advertisement == nullptr, refused == record_at + 1);
            for (unsigned i = 0; i < 6; i++)
                EXPECT_EQ(record->rt_attr_blocks[i] == nullptr, refused == record_at + 2 + i) << refused << ' ' << i;
            EXPECT_EQ(record->rt_path_count, 1);
            EXPECT_EQ(end_watch(), 7u) << "one block less, the message released";
        }
    }
}

TEST_F(allocation, route_whose_side_blocks_cannot_be_allocated_is_delivered_without_them)
{
    parse(ENCODED_ROUTE, full_route);
    const size_t record_at = record_request();
    guarded_bytes guarded(full_route);
    updatetype_local update = stripped_update(ENCODED_ROUTE, guarded);
    client = {};
    watch_heap(record_at + 1, true);
    rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &route_client);
    EXPECT_EQ(end_watch(), 0u);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(client.advertisement, nullptr);
    for (const void *block : client.attr_blocks)
        EXPECT_EQ(block, nullptr);
}

TEST_F(allocation, older_form_route_allocates_and_releases_nothing)
{
    static rib_routetype_ record;
    guarded_bytes payload({0x01});
    updatetype_local update = stripped_update(LEGACY_ROUTE, payload);
    watch_heap();
    rib_lib_pvt_parse_route_update(
        &update, [](uint32_t, rib_routetype_ *, void *) { return 0; }, [](rib_tlv_t *, uchar_t **) { return &record; },
        nullptr, 1, nullptr);
    EXPECT_TRUE(heap().requests.empty());
    EXPECT_TRUE(heap().releases.empty());
}

TEST_F(allocation, path_without_memory_for_its_block_is_not_converted_and_its_slot_stays_null)
{
    const zidl_rib_path path = {};
    void *slot = nullptr;
    watch_heap(0);
    EXPECT_EQ(rib_lib_route_path_unpack(&path, &slot, nullptr), 0u);
    EXPECT_EQ(slot, nullptr);
    EXPECT_EQ(heap().requests.size(), 1u);
}

TEST_F(allocation, path_in_a_place_of_its_own_allocates_nothing)
{
    const zidl_rib_path path = {};
    rib_path_entry entry;
    void *slot = &entry;
    watch_heap();
    EXPECT_EQ(rib_lib_route_path_unpack(&path, &slot, nullptr), sizeof(rib_path_entry));
    EXPECT_TRUE(heap().requests.empty());
}

TEST_F(allocation, advertisement_without_memory_is_null)
{
    const zidl_rib_client_advertisement message = {};
    void *block = &block;
    watch_heap(0);
    EXPECT_EQ(rib_lib_route_advertisement_unpack(&message, &block), 0xA2D28200u);
    EXPECT_EQ(block, nullptr);
}

TEST_F(allocation, advertisement_is_one_block_of_4_bytes_and_2_per_value)
{
    uint32_t values[] = {1, 2, 3};
    zidl_rib_client_advertisement message = {};
    message.advertised_values = values;
    message.advertised_values_count = 3;
    void *block = nullptr;
    watch_heap();
    EXPECT_EQ(rib_lib_route_advertisement_unpack(&message, &block), 0u);
    ASSERT_EQ(heap().requests.size(), 1u);
    EXPECT_EQ(heap().requests[0].size, 10u);
    EXPECT_EQ(heap().requests[0].block, block);
}

TEST_F(allocation, attributes_without_memory_are_null)
{
    const zidl_rib_generic_attr_array message = {};
    void *block = &block;
    watch_heap(0);
    EXPECT_EQ(rib_lib_route_generic_attributes_unpack(&message, 8, &block), 0xA2D28200u);
    EXPECT_EQ(block, nullptr);
}

TEST_F(allocation, attributes_are_one_block_of_4_bytes_and_data_and_type_of_each)
{
    uint8_t data[8] = {};
    zidl_rib_generic_attr_info infos[3] = {};
    for (zidl_rib_generic_attr_info &info : infos) {
        info.attr_data = data;
        info.attr_data_size = 8;
        zidl_rib_generic_attr_info_mark_attr_data(&info);
    }
    zidl_rib_generic_attr_array message = {};
    message.attrs = infos;
    message.attrs_count = 3;
    zidl_rib_generic_attr_array_mark_attrs(&message);
    void *block = nullptr;
    watch_heap();
    EXPECT_EQ(rib_lib_route_generic_attributes_unpack(&message, 8, &block), 0u);
    ASSERT_EQ(heap().requests.size(), 1u);
    EXPECT_EQ(heap().requests[0].size, 4u + 3u * 12u);
    EXPECT_EQ(heap().requests[0].block, block);
}

// ---- Grids and next-hop IDs ----

// A list that makes every kind of request.
const bytes full_list = id_field(9) +
                        key_field(required_but_type + bytes{0x28, 0x02} +                                      // type 2
                                  field({0x3A}, bytes{0x08, 0x0A, 0x10, 0x40} + field({0x22}, bytes(16, 1))) + // 7
                                  field({0x4A}, bytes{0x08, 0x0A, 0x10, 0x40} + field({0x22}, bytes(16, 1))) + // 9
                                  field({0x52}, {0x10, 0x05}) +          // 10 label_key
                                  field({0x5A}, field({0x12}, {0xE1})) + // 11 srv6_key
                                  field({0x72}, bytes{0x0A, 0x00} + field({0x12}, field({0x1A}, {0xC1}))) + // 14
                                  field({0xA2, 0x01}, {0xF1})) +                                            // 20
                        multi_key_set;

TEST_F(allocation, message_of_a_grid_list_is_released_before_the_callback)
{
    EXPECT_EQ(parse(GRID_LIST, full_list), 0u);
    EXPECT_EQ(client.calls, 1);
    EXPECT_EQ(client.live, 0u);
}

TEST_F(allocation, refused_grid_lists_leave_nothing_behind)
{
    const bytes without_multi_key(full_list.begin(), full_list.end() - 2);
    EXPECT_EQ(parse(GRID_LIST, without_multi_key), 0u);
    EXPECT_EQ(parse(GRID_LIST, without_multi_key + bytes{0x20}), 0u); // undecodable
    EXPECT_EQ(parse(GRID_LIST, full_list + full_list), 0u) << "a second run of IDs";
    EXPECT_EQ(parse(GRID_LIST, id_field(9) + key_field({0x08, 0x01}) + multi_key_set), 0u); // key refused
    EXPECT_EQ(parse(GRID_LIST, id_field(9) + repeat(2, key_field(plain_key)) + multi_key_clear), 0u);
    EXPECT_EQ(parse(GRID_LIST, repeat(1027, id_field(9)) + repeat(1027, key_field(plain_key)) + multi_key_set), 0u);
}

TEST_F(allocation, each_failing_request_of_a_grid_list_drops_it_and_leaves_nothing_behind)
{
    const size_t requests = requests_of(GRID_LIST, full_list);
    if (!ARENA) {
        EXPECT_GE(requests, 1u);
    }
    for (size_t refused = 0; refused < requests; refused++) {
        EXPECT_EQ(parse(GRID_LIST, full_list, refused), 0u) << refused;
        EXPECT_EQ(client.calls, 0) << refused;
    }
}

TEST_F(allocation, conversion_of_a_grid_list_without_memory_is_refused)
{
    const size_t requests = requests_of(GRID_LIST, full_list);
    grid_arrays arrays(0);
    for (size_t refused = 0; refused < requests; refused++) {
        guarded_bytes guarded(full_list);
        watch_heap(refused);
        EXPECT_EQ(rib_server_decode_grid_list_update(guarded.data(), guarded.size(), &arrays.list), 22u) << refused;
        EXPECT_EQ(end_watch(), 0u);
    }
}

TEST_F(allocation, next_hop_id_allocates_nothing)
{
    EXPECT_EQ(parse(NHID, bytes{0x08, 0x05} + field({0x12}, field({0x12}, {0x08, 0x01, 0x10, 0x07}))), 0u);
    EXPECT_EQ(client.calls, 1);
    if (!ARENA) {
        EXPECT_TRUE(heap().requests.empty());
    }
}

// ---- Callbacks that parse further updates of every kind ----

struct parser_in_callback {
    int depth = 0;
    std::vector<uint32_t> order;
    rib_route_client route;
    bytes proto = proto_with_names;
    bytes opaque = opaque_with_blocks;
    bytes grid = full_list;
};

void parse_next(parser_in_callback &self);

int nested_proto(uint32_t, rib_protoid_map *map, void *ctx)
{
    auto &self = *static_cast<parser_in_callback *>(ctx);
    self.order.push_back(ENCODED_PROTO);
    parse_next(self);
    EXPECT_EQ(map->proto_id, 1);
    EXPECT_STREQ(map->proto_name, "one");
    return 0;
}

int nested_opaque(uint32_t, uint32_t, rib_opaque_update *opaque, void *ctx)
{
    auto &self = *static_cast<parser_in_callback *>(ctx);
    self.order.push_back(ENCODED_OPAQUE);
    parse_next(self);
    EXPECT_EQ(bytes(opaque->first_block, opaque->first_block + opaque->first_len), bytes({0xA1, 0xA2}));
    EXPECT_EQ(bytes(opaque->second_block, opaque->second_block + opaque->second_len), bytes({0xB1}));
    return 0;
}

int nested_route(uint32_t, rib_routetype_ *route, void *ctx)
{
    auto &self = *static_cast<parser_in_callback *>(ctx);
    self.order.push_back(ENCODED_ROUTE);
    parse_next(self);
    EXPECT_EQ(route->rt_path_count, 1);
    EXPECT_EQ(rib_advertisement_values(route->rt_advertisement)[0], 5);
    EXPECT_EQ(rib_ecomm_values(route->rt_first_ecomm)[0], 10u);
    return 0;
}

int nested_grid(void *record, void *ctx, uint32_t)
{
    auto &self = *static_cast<parser_in_callback *>(ctx);
    self.order.push_back(GRID_LIST);
    parse_next(self);
    const auto *list = static_cast<const grid_sync_list *>(record);
    EXPECT_EQ(list->encap_ids[0], 9u);
    EXPECT_EQ(list->keys[0].type_data.srv6.carriers[0].carrier_bytes[0], 0xC1);
    return 0;
}

void parse_next(parser_in_callback &self)
{
    const int depth = self.depth++;
    bytes route = full_route;
    bytes &payload = depth % 4 == 0 ? self.proto : depth % 4 == 1 ? self.opaque : depth % 4 == 2 ? route : self.grid;
    const uint32_t types[] = {ENCODED_PROTO, ENCODED_OPAQUE, ENCODED_ROUTE, GRID_LIST};
    updatetype_local update = stripped_update(types[depth % 4], payload.data(), payload.size());
    if (depth >= 8)
        return;
    if (depth % 4 == 0)
        rib_lib_pvt_parse_proto_update(nested_proto, &update, &self);
    else if (depth % 4 == 1)
        rib_lib_pvt_parse_opaque_update(nested_opaque, &update, &self);
    else if (depth % 4 == 2)
        rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &self.route);
    else
        rib_lib_pvt_parse_grid_update(nested_grid, &update, &self);
}

TEST_F(allocation, callbacks_may_parse_updates_of_every_kind_and_nothing_is_left_behind)
{
    parser_in_callback self;
    self.route = {&self, nullptr, nested_route};
    watch_heap();
    parse_next(self);
    EXPECT_EQ(heap().foreign_releases, 0u);
    EXPECT_EQ(end_watch(), 0u);
    EXPECT_EQ(self.order, std::vector<uint32_t>({47, 50, 51, 46, 47, 50, 51, 46}));
}

// ---- Resident memory ----

// Runs in a process of its own, and tells how many bytes its resident memory grew at most.
uint64_t resident_growth(const std::function<bool()> &work)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        rusage before;
        rusage after;
        getrusage(RUSAGE_SELF, &before);
        const bool done = work();
        getrusage(RUSAGE_SELF, &after);
        const uint64_t growth = done ? static_cast<uint64_t>(after.ru_maxrss - before.ru_maxrss) * 1024 : UINT64_MAX;
        _exit(write(ends[1], &growth, sizeof growth) == sizeof growth ? 0 : 1);
    }
    close(ends[1]);
    uint64_t growth = UINT64_MAX;
    EXPECT_EQ(read(ends[0], &growth, sizeof growth), static_cast<ssize_t>(sizeof growth));
    close(ends[0]);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return growth;
}

void free_record(rib_routetype_ *record)
{
    free(record->rt_advertisement);
    for (void *block : record->rt_attr_blocks)
        free(block);
    free(record);
}

// Converts the same route four times, each record freed before the next is made: the C library takes large blocks fresh
// from the system at first, and moderate ones out of memory that it has kept later on.
uint64_t growth_of_four_conversions(const char *what, const bytes &payload, uint16_t path_count)
{
    const uint64_t growth = resident_growth([&] {
        for (int i = 0; i < 4; i++) {
            rib_routetype_ *record = nullptr;
            const zerrno status = rib_lib_route_decode(payload.data(), static_cast<uint32_t>(payload.size()), &record);
            if (status != 0 || record == nullptr || record->rt_path_count != path_count)
                return false;
            free_record(record);
        }
        return true;
    });
    std::printf("%s: %.1f MB resident at most\n", what, static_cast<double>(growth) / 1e6);
    return growth;
}

class resident_memory : public allocation
{
protected:
    void SetUp() override
    {
#ifdef RIB_TEST_WITH_ASAN
        GTEST_SKIP() << "the sanitizer's allocator keeps what was freed";
#endif
    }
};

TEST_F(resident_memory, of_an_update_of_21845_empty_paths_is_megabytes_not_110_however_often)
{
    const bytes payload = repeat(21845, {0xD2, 0x01, 0x00}); // 65 535 bytes; a record of 109 MB
    ASSERT_EQ(payload.size(), 65535u);
    EXPECT_LT(growth_of_four_conversions("21845 empty paths", payload, 1024), 40u * 1000 * 1000);
}

TEST_F(resident_memory, of_a_record_above_32_mb_leaves_out_the_paths_that_are_never_converted)
{
    // All but the last are rejected: the record has room for all of them, and two places of it are used.
    const bytes payload = repeat(8000, path_field(repeat(11, {0x48, 0x05}))) + path_field({});
    const uint64_t record = 8001 * sizeof(rib_path_entry);
    ASSERT_GT(record, 32u * 1024 * 1024);
    EXPECT_LT(growth_of_four_conversions("8000 rejected paths", payload, 1), record / 2);
}

TEST_F(resident_memory, of_a_record_below_32_mb_is_the_record_and_its_message_at_most_however_often)
{
    const bytes payload = repeat(6000, {0xD2, 0x01, 0x00}); // a record of 30 MB
    const uint64_t record = sizeof(rib_routetype_) + 6000 * sizeof(rib_path_entry);
    const uint64_t message = 6000 * sizeof(zidl_rib_path);
    ASSERT_LT(record, 32u * 1024 * 1024);
    EXPECT_LT(growth_of_four_conversions("6000 empty paths", payload, 1024), record + message + 2 * 1000 * 1000);
}

} // namespace
