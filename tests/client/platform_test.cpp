// All eight type codes through the entry points with the reference platform libraries: frames in network byte order, as
// they travel.

#include "tests/client/grid_support.hpp"

using namespace rib_test;

namespace
{

// A frame as it travels.
bytes frame(uint8_t type, const bytes &payload)
{
    return bytes{
               0xF0,
               0xF1,
               0xF2,
               0xF3, // not read
               0x00,
               type, // type code
               static_cast<uint8_t>(payload.size() >> 8),
               static_cast<uint8_t>(payload.size()),
           } +
           payload;
}

struct client_record {
    int calls = 0;
    uint32_t update_id = 0;
    rib_protoid_map map = {};
    rib_opaque_update opaque = {};
    uint32_t sub_id = 0;
    bytes first_block;
    bytes second_block;
    uint16_t route_value_2 = 0;
    rib_routetype_ *route = nullptr;
    uint32_t grid_count = 0;
    rib_encap_id_path_key_t key = {};
    nhid_update_local nhid = {};
    std::string order;
};

int on_proto(uint32_t update_id, rib_protoid_map *map, void *ctx)
{
    auto *client = static_cast<client_record *>(ctx);
    client->calls++;
    client->update_id = update_id;
    std::memcpy(&client->map, map, sizeof client->map);
    return 0;
}

int on_opaque(uint32_t update_id, uint32_t sub_id, rib_opaque_update *opaque, void *ctx)
{
    auto *client = static_cast<client_record *>(ctx);
    client->calls++;
    client->update_id = update_id;
    client->sub_id = sub_id;
    client->opaque = *opaque;
    client->first_block.assign(opaque->first_block, opaque->first_block + opaque->first_len);
    client->second_block.assign(opaque->second_block, opaque->second_block + opaque->second_len);
    return 0;
}

int on_encoded_route(uint32_t update_id, rib_routetype_ *route, void *ctx)
{
    auto *client = static_cast<client_record *>(ctx);
    client->calls++;
    client->update_id = update_id;
    client->route_value_2 = route->rt_value_2;
    return 0;
}

int on_legacy_route(uint32_t update_id, rib_routetype_ *route, void *ctx)
{
    auto *client = static_cast<client_record *>(ctx);
    client->calls++;
    client->update_id = update_id;
    client->route = route;
    return 0;
}

int on_grid(void *record, void *ctx, uint32_t tlv_type)
{
    auto *client = static_cast<client_record *>(ctx);
    client->calls++;
    if (tlv_type == NHID) {
        client->nhid = *static_cast<const nhid_update_local *>(record);
    } else {
        const auto *list = static_cast<const grid_sync_list *>(record);
        client->grid_count = list->count;
        client->key = list->keys[0];
    }
    return 0;
}

class platform_libraries : public testing::Test
{
protected:
    // The update record of a frame that ends where memory ends.
    updatetype_local framed(uint8_t type, const bytes &payload)
    {
        guarded = std::make_unique<guarded_bytes>(frame(type, payload));
        return framed_update(guarded->data());
    }

    std::unique_ptr<guarded_bytes> guarded;
    client_record client;
};

TEST_F(platform_libraries, deliver_an_encoded_protocol_update)
{
    updatetype_local update = framed(47, bytes{0x08, 0x81, 0x80, 0x04} + field({0x22}, text("name"))); // proto_id 65537
    rib_lib_pvt_parse_proto_update(on_proto, &update, &client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(client.update_id, 0xC0FFEE02u);
    EXPECT_EQ(client.map.proto_id, 1);
    EXPECT_STREQ(client.map.proto_name, "name");
    EXPECT_EQ(update.tlv_type, 47u);
    EXPECT_EQ(update.payload_len, 10u);
    EXPECT_EQ(update.payload, guarded->data() + 8);
    EXPECT_EQ(update.stripped, 0u);
}

TEST_F(platform_libraries, leave_the_tail_of_a_long_name_in_the_second_array)
{
    updatetype_local update =
        framed(47, bytes{0x08, 0x01} + field({0x22}, text("0123456789012345678901234567890123456789abcdefghij")));
    rib_lib_pvt_parse_proto_update(on_proto, &update, &client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(client.map.proto_name[40], 'a');
    EXPECT_STREQ(client.map.proto_extra_name, "bcdefghij");
}

TEST_F(platform_libraries, let_the_second_name_overwrite_the_tail_of_the_first)
{
    updatetype_local update =
        framed(47, bytes{0x08, 0x01} + field({0x22}, text("0123456789012345678901234567890123456789abcdefghij")) +
                       field({0x2A}, text("extra")));
    rib_lib_pvt_parse_proto_update(on_proto, &update, &client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_STREQ(client.map.proto_extra_name, "extra");
}

TEST_F(platform_libraries, cut_names_at_the_end_of_the_record)
{
    updatetype_local update = framed(47, bytes{0x08, 0x01} + field({0x22}, bytes(300, 'n')));
    rib_lib_pvt_parse_proto_update(on_proto, &update, &client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(std::string(client.map.proto_name, 41), std::string(41, 'n'));
    EXPECT_EQ(std::string(client.map.proto_extra_name), std::string(42, 'n'));
}

TEST_F(platform_libraries, deliver_an_older_form_protocol_update)
{
    updatetype_local update =
        framed(38, bytes{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0} + text("older") + bytes(79, 0));
    rib_lib_pvt_parse_proto_update(on_proto, &update, &client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(client.map.proto_id, 0x1234);
    EXPECT_EQ(client.map.proto_sub_id, 0x5678);
    EXPECT_EQ(client.map.proto_value, 0x9ABCDEF0u);
    EXPECT_STREQ(client.map.proto_name, "older");
}

TEST_F(platform_libraries, deliver_an_encoded_opaque_update)
{
    updatetype_local update =
        framed(50, {0x08, 0x07, 0x10, 0x08, 0x18, 0x09, 0x2A, 0x02, 0xA1, 0xA2, 0x32, 0x01, 0xB1});
    rib_lib_pvt_parse_opaque_update(on_opaque, &update, &client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(client.sub_id, 9u);
    EXPECT_EQ(client.opaque.opaque_type, 7);
    EXPECT_EQ(client.opaque.opaque_id, 8u);
    EXPECT_EQ(client.first_block, bytes({0xA1, 0xA2}));
    EXPECT_EQ(client.second_block, bytes({0xB1}));
}

TEST_F(platform_libraries, deliver_an_older_form_opaque_update)
{
    updatetype_local update = framed(37, {
                                             0x12, 0x34, 0x00, 0x00, //  0 opaque type
                                             0x00, 0x00, 0x00, 0x05, //  4 opaque identifier
                                             0x00, 0x02, 0x00, 0x06, //  8 first length, sub-identifier
                                             0x00, 0x00, 0x00, 0x07, // 12 opaque value
                                             0x00, 0x00, 0x00, 0x01, // 16 second length
                                             0x00, 0x00, 0x00, 0x00, // 20 not used
                                             0xA1, 0xA2, 0xB1,       // 24 both blocks
                                         });
    rib_lib_pvt_parse_opaque_update(on_opaque, &update, &client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(client.opaque.opaque_type, 0x1234);
    EXPECT_EQ(client.opaque.opaque_id, 5u);
    EXPECT_EQ(client.sub_id, 6u);
    EXPECT_EQ(client.opaque.opaque_value, 7u);
    EXPECT_EQ(client.first_block, bytes({0xA1, 0xA2}));
    EXPECT_EQ(client.second_block, bytes({0xB1}));
}

TEST_F(platform_libraries, deliver_an_encoded_route)
{
    rib_route_client route_client = {&client, nullptr, on_encoded_route};
    updatetype_local update = framed(51, bytes{0x10, 0x07} + field({0xD2, 0x01}, {}));
    rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &route_client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(client.update_id, 0xC0FFEE02u);
    EXPECT_EQ(client.route_value_2, 7);
}

TEST_F(platform_libraries, hand_an_older_form_route_to_the_converter)
{
    static rib_routetype_ record;
    static const rib_tlv_t *header;
    static const uchar_t *cursor;
    updatetype_local update = framed(3, {0xAA, 0xBB});
    rib_lib_pvt_parse_route_update(
        &update, on_legacy_route,
        [](rib_tlv_t *stripped, uchar_t **at) {
            header = stripped;
            cursor = *at;
            return &record;
        },
        nullptr, 1, &client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(client.route, &record);
    EXPECT_EQ(static_cast<const void *>(header), guarded->data());
    // The header may lie at any address.
    rib_tlv_t host_order;
    std::memcpy(&host_order, header, sizeof host_order);
    EXPECT_EQ(host_order.type, 3);
    EXPECT_EQ(host_order.length, 2);
    EXPECT_EQ(cursor, guarded->data() + 8);
}

TEST_F(platform_libraries, deliver_a_grid_list)
{
    updatetype_local update = framed(46, one_key_list(plain_key));
    rib_lib_pvt_parse_grid_update(on_grid, &update, &client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(client.grid_count, 1u);
    EXPECT_EQ(rib_reference::differences(plain_key_record(), client.key), "");
}

TEST_F(platform_libraries, deliver_a_next_hop_id)
{
    updatetype_local update = framed(49, {0x08, 0x05, 0x18, 0x0E});
    rib_lib_pvt_parse_grid_update(on_grid, &update, &client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(client.nhid.update_value_1, 5u);
    EXPECT_EQ(client.nhid.nhid, 14u);
}

TEST_F(platform_libraries, strip_a_payload_of_more_than_255_bytes)
{
    rib_route_client route_client = {&client, nullptr, on_encoded_route};
    updatetype_local update = framed(51, repeat(1000, {0x10, 0x07}));
    rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &route_client);
    ASSERT_EQ(client.calls, 1);
    EXPECT_EQ(update.payload_len, 2000u);
}

} // namespace
