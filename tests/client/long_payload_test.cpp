// Encoded updates of more than 65 535 bytes, which only stripped ones can be, and blocks of that length: no length is cut to
// 16 bits.

#include "tests/client/grid_support.hpp"
#include "tests/client/recorder.hpp"

using namespace rib_test;

namespace
{

// What stands behind it is seen only by a parser that has the whole length.
const bytes long_unknown_field =
    bytes{
        0xA2, 0x06,       // 100, which no message has
        0x80, 0x80, 0x04, // 65 536 bytes
    } +
    bytes(65536, 0xEE);

// What the callbacks saw: the number behind the long field, 0 before a callback.
uint64_t seen;

class long_payload : public testing::Test
{
protected:
    long_payload()
    {
        seen = 0;
        platform = {};
    }

    // An update whose last fields stand behind the long one.
    static updatetype_local update_of(uint32_t code, guarded_bytes &payload)
    {
        payload.forbid_writing();
        return stripped_update(code, payload);
    }
};

TEST_F(long_payload, of_a_protocol_update_is_read_to_its_end)
{
    guarded_bytes payload(bytes{0x08, 0x01} + long_unknown_field + bytes{0x08, 0x07}); // 1 proto_id = 1, at the end 7
    updatetype_local update = update_of(ENCODED_PROTO, payload);
    rib_lib_pvt_parse_proto_update(
        [](uint32_t, rib_protoid_map *map, void *) {
            seen = map->proto_id;
            return 0;
        },
        &update, nullptr);
    EXPECT_EQ(seen, 7u);
}

TEST_F(long_payload, of_an_opaque_update_is_read_to_its_end)
{
    guarded_bytes payload(long_unknown_field + bytes{0x10, 0x07}); // 2 opaque_id = 7
    updatetype_local update = update_of(ENCODED_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(
        [](uint32_t, uint32_t, rib_opaque_update *opaque, void *) {
            seen = opaque->opaque_id;
            return 0;
        },
        &update, nullptr);
    EXPECT_EQ(seen, 7u);
}

TEST_F(long_payload, of_a_route_is_read_to_its_end_and_raises_the_high_water_mark)
{
    guarded_bytes payload(long_unknown_field + bytes{0x10, 0x07}); // 2 route_value_2 = 7
    updatetype_local update = update_of(ENCODED_ROUTE, payload);
    rib_route_client client = {nullptr, nullptr, [](uint32_t, rib_routetype_ *route, void *) {
                                   seen = route->rt_value_2;
                                   return 0;
                               }};
    rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &client);
    EXPECT_EQ(seen, 7u);
    EXPECT_GE(rib_lib_route_payload_high_water(), 65543u) << "5 + 65 536 + 2 bytes";
}

TEST_F(long_payload, of_a_grid_list_is_read_to_its_end)
{
    guarded_bytes payload(long_unknown_field + id_field(7) + key_field(plain_key) + multi_key_set);
    updatetype_local update = update_of(GRID_LIST, payload);
    rib_lib_pvt_parse_grid_update(
        [](void *list, void *, uint32_t) {
            seen = static_cast<const grid_sync_list *>(list)->encap_ids[0];
            return 0;
        },
        &update, nullptr);
    EXPECT_EQ(seen, 7u);
}

TEST_F(long_payload, of_a_next_hop_id_is_read_to_its_end)
{
    guarded_bytes payload(long_unknown_field + bytes{0x08, 0x07}); // 1 nhid_update_value_1 = 7
    updatetype_local update = update_of(NHID, payload);
    rib_lib_pvt_parse_grid_update(
        [](void *nhid, void *, uint32_t) {
            seen = static_cast<const nhid_update_local *>(nhid)->update_value_1;
            return 0;
        },
        &update, nullptr);
    EXPECT_EQ(seen, 7u);
}

TEST_F(long_payload, keeps_the_lengths_of_its_blocks_at_32_bits)
{
    guarded_bytes payload(bytes{0x2A, 0x81, 0x80, 0x04} + bytes(65537, 0xA1) +  // 5 first_block, 65 537 bytes
                          bytes{0x32, 0x82, 0x80, 0x08} + bytes(131074, 0xB1)); // 6 second_block, 131 074 bytes
    updatetype_local update = update_of(ENCODED_OPAQUE, payload);
    rib_lib_pvt_parse_opaque_update(
        [](uint32_t, uint32_t, rib_opaque_update *opaque, void *) {
            EXPECT_EQ(opaque->first_len, 65537u);
            EXPECT_EQ(opaque->second_len, 131074u);
            EXPECT_EQ(opaque->first_block[65536], 0xA1);
            EXPECT_EQ(opaque->second_block[131073], 0xB1);
            seen++;
            return 0;
        },
        &update, nullptr);
    EXPECT_EQ(seen, 1u);
}

} // namespace
