// rib.hpp: updates reach callables, and what no entry point could take is told instead of stopping the process.

#include "rib.hpp"
#include "tests/codec/support.hpp"

namespace
{

using rib_test::bytes;

bytes framed(uint16_t code, const bytes &payload)
{
    bytes frame(RIB_FRAME_HEADER_LEN);
    rib_frame_put_header(frame.data(), code, payload.size());
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

const bytes protocol = {0x08, 0x14, 0x22, 0x03, 'b', 'g', 'p'}; // 1 proto_id = 20, 4 proto_name

TEST(cpp_client, a_protocol_reaches_a_callable_that_captures)
{
    bytes frame = framed(RIB_TLV_PROTO, protocol);
    unsigned id = 0;
    std::string name;
    EXPECT_TRUE(rib::parse_proto(rib::update(frame), [&](const rib_protoid_map &map) {
        id = map.proto_id;
        name = rib::proto_name(map);
    }));
    EXPECT_EQ(id, 20u);
    EXPECT_EQ(name, "bgp");
}

TEST(cpp_client, a_payload_without_its_header_is_an_update_too)
{
    bytes payload = protocol;
    unsigned id = 0;
    EXPECT_TRUE(
        rib::parse_proto(rib::update(RIB_TLV_PROTO, payload), [&](const rib_protoid_map &map) { id = map.proto_id; }));
    EXPECT_EQ(id, 20u);
}

TEST(cpp_client, an_older_protocol_is_handed_over_aligned)
{
    for (size_t shift : {0u, 1u}) {
        bytes room(shift + RIB_FRAME_HEADER_LEN + sizeof(rib_protoid_map));
        rib_frame_put_header(room.data() + shift, RIB_TLV_OLD_PROTO, sizeof(rib_protoid_map));
        room[shift + RIB_FRAME_HEADER_LEN + 1] = 7; // proto_id in network byte order
        room[shift + RIB_FRAME_HEADER_LEN + 8] = 'x';
        unsigned calls = 0;
        EXPECT_TRUE(
            rib::parse_proto(rib::update(zidl::span(room).without_first(shift)), [&](const rib_protoid_map &map) {
                calls++;
                EXPECT_EQ(reinterpret_cast<uintptr_t>(&map) % alignof(rib_protoid_map), 0u);
                EXPECT_EQ(map.proto_id, 7);
                EXPECT_EQ(rib::proto_name(map), "x");
            }));
        EXPECT_EQ(calls, 1u);
    }
}

TEST(cpp_client, opaque_blocks_are_spans)
{
    bytes frame = framed(RIB_TLV_OPAQUE, {0x10, 0x64, 0x18, 0x03, 0x2a, 0x02, 7, 8}); // id 100, sub_id 3, first_block
    unsigned calls = 0;
    EXPECT_TRUE(rib::parse_opaque(rib::update(frame), [&](const rib_opaque_update &opaque, uint32_t sub_id) {
        calls++;
        EXPECT_EQ(opaque.opaque_id, 100u);
        EXPECT_EQ(sub_id, 3u);
        EXPECT_EQ(bytes(rib::first_block(opaque).begin(), rib::first_block(opaque).end()), (bytes{7, 8}));
        EXPECT_TRUE(rib::second_block(opaque).empty());
    }));
    EXPECT_EQ(calls, 1u);
}

TEST(cpp_client, the_sub_id_of_an_opaque_update_reaches_the_one_callable_of_all_records)
{
    bytes frame = framed(RIB_TLV_OPAQUE, {0x10, 0x64, 0x18, 0x03}); // id 100, sub_id 3
    bytes again = frame;
    uint32_t seen = 0;
    EXPECT_TRUE(rib::parse(rib::update(frame), [&](const rib_opaque_update &, uint32_t sub_id) { seen = sub_id; }));
    EXPECT_EQ(seen, 3u);
    EXPECT_TRUE(rib::parse(rib::update(again),
                           rib::overloaded{[&](const rib_opaque_update &opaque) { seen = opaque.opaque_id; },
                                           [](const rib_protoid_map &) { FAIL(); }}));
    EXPECT_EQ(seen, 100u);
}

TEST(cpp_client, an_older_opaque_whose_block_reaches_beyond_its_payload_is_dropped)
{
    struct lengths {
        uint8_t first, end_of_second; // second_len is 0xffffff__
        unsigned calls;
    };
    // Of the 4 bytes behind the fixed part; all sums are at most 4, or wrap to that.
    for (const lengths given : {lengths{5, 0xff, 0}, lengths{3, 0xff, 0}, lengths{4, 0, 1}}) {
        bytes payload(24 + 4);
        payload[9] = given.first;
        if (given.end_of_second != 0)
            payload[16] = payload[17] = payload[18] = payload[19] = given.end_of_second;
        unsigned calls = 0;
        const auto count = [&](const rib_opaque_update &) { calls++; };
        EXPECT_TRUE(rib::parse_opaque(rib::update(RIB_TLV_OLD_OPAQUE, payload), count));
        EXPECT_EQ(calls, given.calls) << unsigned{given.first};
    }
}

TEST(cpp_client, a_next_hop_reaches_the_callable_that_takes_it)
{
    bytes frame = framed(RIB_TLV_NHID, {0x08, 0x01, 0x18, 0x05}); // nhid_update_value_1 = 1, nhid = 5
    bytes again = frame;
    bytes once_more = frame;
    uint64_t nhid = 0;
    EXPECT_TRUE(rib::parse_grid(rib::update(frame), [&](const nhid_update_local &hop) { nhid = hop.nhid; }));
    EXPECT_EQ(nhid, 5u);
    EXPECT_TRUE(rib::parse_grid(rib::update(again), [&](const grid_sync_list &) { nhid = 0; }));
    EXPECT_EQ(nhid, 5u);
    EXPECT_TRUE(rib::parse(rib::update(once_more), rib::overloaded{[&](const nhid_update_local &) { nhid = 6; },
                                                                   [&](const rib_protoid_map &) { nhid = 7; }}));
    EXPECT_EQ(nhid, 6u);
}

bytes two_paths()
{
    static const uint64_t communities[] = {100, 200};
    static zidl::record<zidl_rib_path> paths[2];
    paths[0].set_path_value_1(1).edit_ecomm().set_ecomm_values(communities);
    paths[1].set_path_value_1(2);
    zidl::record<zidl_rib_route> route;
    route.edit_route_prefix().set_prefix_len(24).edit_address().set_family(1).set_ipv4(0xC0000200);
    route.set_paths(paths);
    bytes encoded;
    route.append_to(encoded);
    return encoded;
}

TEST(cpp_client, a_route_has_its_paths_and_their_communities)
{
    bytes frame = framed(RIB_TLV_ROUTE, two_paths());
    std::vector<uint64_t> seen;
    EXPECT_TRUE(rib::parse_route(rib::update(frame), [&](const rib_routetype_ &route) {
        seen.push_back(route.rt_prefix_len);
        for (const rib_path_entry &path : rib::paths(route)) {
            seen.push_back(path.pe_value_1);
            for (const uint64_t community : rib::communities(path))
                seen.push_back(community);
        }
    }));
    EXPECT_EQ(seen, (std::vector<uint64_t>{24, 1, 100, 200, 2}));
}

TEST(cpp_client, a_decoded_route_outlives_its_update)
{
    rib::route_owner route;
    ASSERT_EQ(rib::decode_route(two_paths(), route), ZERRNO_OK);
    EXPECT_EQ(rib::paths(*route).size(), 2u);
    EXPECT_EQ(rib::decode_route(bytes{0x08}, route), ZERRNO_MALFORMED);
    EXPECT_EQ(route, nullptr);
}

using older_owner = rib::route_owner;

older_owner older_route(uint8_t prefix_len)
{
    older_owner route(static_cast<rib_routetype_ *>(calloc(1, sizeof(rib_routetype_))));
    route->rt_prefix_len = prefix_len;
    return route;
}

TEST(cpp_client, an_older_route_is_the_clients_from_its_converter_to_its_callable)
{
    bytes frame = framed(RIB_TLV_OLD_ROUTE, {24});
    std::vector<older_owner> kept;
    unsigned inner = 0;
    const auto convert = [&](rib_tlv_t *header, uchar_t *&cursor) {
        EXPECT_NE(header, nullptr);
        bytes nested = framed(RIB_TLV_OLD_ROUTE, {25}); // a converter may parse, too
        EXPECT_TRUE(rib::parse_route(
            rib::update(nested), [](const rib_routetype_ &) {}, [](rib_tlv_t *, uchar_t *&) { return older_route(25); },
            [&](older_owner route) { inner = route->rt_prefix_len; }));
        return older_route(*cursor);
    };
    EXPECT_TRUE(rib::parse_route(
        rib::update(frame), [](const rib_routetype_ &) {}, convert,
        [&](older_owner route) { kept.push_back(std::move(route)); }));
    EXPECT_EQ(inner, 25u);
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(kept[0]->rt_prefix_len, 24);
}

TEST(cpp_client, older_routes_are_dropped_where_nobody_converts_them)
{
    bytes frame = framed(RIB_TLV_OLD_ROUTE, {24});
    EXPECT_TRUE(rib::parse_route(rib::update(frame), [](const rib_routetype_ &) { FAIL(); }));
}

template <class Result>
void expect_that_results_are_ignored(const Result &result)
{
    unsigned calls = 0;
    const auto take = [&](const auto &) {
        calls++;
        return result;
    };
    const auto take_opaque = [&](const rib_opaque_update &, uint32_t) {
        calls++;
        return result;
    };
    const auto take_older = [&](older_owner) {
        calls++;
        return result;
    };
    const bytes next_hop = framed(RIB_TLV_NHID, {0x08, 0x01, 0x18, 0x05}); // nhid_update_value_1 = 1, nhid = 5
    bytes proto = framed(RIB_TLV_PROTO, protocol);
    bytes older_proto = framed(RIB_TLV_OLD_PROTO, bytes(sizeof(rib_protoid_map)));
    bytes opaque = framed(RIB_TLV_OPAQUE, {0x10, 0x64}); // id 100
    bytes opaque_with_sub_id = opaque;
    bytes grid = next_hop;
    bytes route = framed(RIB_TLV_ROUTE, two_paths());
    bytes older = framed(RIB_TLV_OLD_ROUTE, {24});
    bytes any = next_hop;
    EXPECT_TRUE(rib::parse_proto(rib::update(proto), take));
    EXPECT_TRUE(rib::parse_proto(rib::update(older_proto), take));
    EXPECT_TRUE(rib::parse_opaque(rib::update(opaque), take));
    EXPECT_TRUE(rib::parse_opaque(rib::update(opaque_with_sub_id), take_opaque));
    EXPECT_TRUE(rib::parse_grid(rib::update(grid), take));
    EXPECT_TRUE(rib::parse_route(rib::update(route), take));
    EXPECT_TRUE(rib::parse_route(
        rib::update(older), take, [](rib_tlv_t *, uchar_t *&) { return older_route(24); }, take_older));
    EXPECT_TRUE(rib::parse(rib::update(any), take));
    EXPECT_EQ(calls, 8u);
}

TEST(cpp_client, what_a_callable_returns_is_ignored)
{
    expect_that_results_are_ignored(1);
    expect_that_results_are_ignored(zidl::status(ZIDL_ERR_MALFORMED));
}

TEST(cpp_client, what_is_no_update_of_an_entry_point_is_told_and_left_alone)
{
    const auto never = [](const auto &) { FAIL(); };
    bytes whole = framed(RIB_TLV_PROTO, protocol);
    const bytes before = whole;
    EXPECT_FALSE(rib::parse_opaque(rib::update(whole), never));
    EXPECT_FALSE(rib::parse_grid(rib::update(whole), never));
    EXPECT_FALSE(rib::parse_route(rib::update(whole), never));
    EXPECT_FALSE(rib::parse_proto(rib::update(zidl::span(whole).first(whole.size() - 1)), never));
    EXPECT_FALSE(rib::parse(rib::update(zidl::span(whole).first(7)), never));
    EXPECT_FALSE(rib::parse(rib::update(zidl::span<uint8_t>()), never));
    EXPECT_EQ(whole, before);
    bytes unknown = framed(99, {});
    EXPECT_FALSE(rib::parse(rib::update(unknown), never));
    bytes short_one = framed(RIB_TLV_OLD_PROTO, bytes(sizeof(rib_protoid_map) - 1));
    EXPECT_FALSE(rib::parse(rib::update(short_one), never));
    bytes empty_list = framed(RIB_TLV_GRID, {});
    EXPECT_FALSE(rib::parse(rib::update(empty_list), never));
}

} // namespace
