// What the page on C++ shows: its functions, each called with what it speaks of.

#include <rib.hpp>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

struct counters {
    std::string name;
    size_t opaque_bytes = 0;
    uint64_t last_nhid = 0;
    size_t communities = 0;
};

#include "change_message.inc"
#include "copy_text.inc"
#include "keep_route.inc"
#include "older_route.inc"
#include "read_route.inc"
#include "take_any.inc"
#include "take_frame.inc"
#include "use_arena.inc"
#include "write_protocol.inc"
#include "write_route.inc"

#define EXPECT(holds)                                                                                                  \
    do {                                                                                                               \
        if (!(holds)) {                                                                                                \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #holds);                                           \
            std::exit(1);                                                                                              \
        }                                                                                                              \
    } while (0)

std::vector<uint8_t> framed(uint16_t code, const std::vector<uint8_t> &payload)
{
    std::vector<uint8_t> frame(RIB_FRAME_HEADER_LEN + payload.size());
    EXPECT(rib_frame_put_header(frame.data(), code, payload.size()));
    for (size_t i = 0; i < payload.size(); ++i)
        frame[RIB_FRAME_HEADER_LEN + i] = payload[i];
    return frame;
}

void check_messages(const std::vector<uint8_t> &route)
{
    EXPECT(count_labels(route) == 2);
    EXPECT(count_labels(zidl::bytes(route).first(route.size() - 1)) == 0);
    EXPECT(count_paths({route, {0xff}, route}) == 4);
    zidl::message<zidl_ip_rib_proto_update> protocol;
    zidl::message<zidl_ip_rib_proto_update> changed;
    EXPECT(protocol.decode(protocol_called(std::string_view("ospfv3").substr(0, 4))));
    EXPECT(renumber(protocol, changed));
    EXPECT(changed.proto_id() == 21 && changed.proto_name() == "ospf");
}

void check_updates(const std::vector<uint8_t> &route)
{
    counters seen;
    std::vector<uint8_t> frame(64);
    const size_t len = write_protocol(frame);
    EXPECT(len != 0 && write_protocol({frame.data(), len - 1}) == 0);
    EXPECT(write_protocol(frame) == len && take_frame({frame.data(), len}, seen) && seen.name == "bgp");
    std::vector<uint8_t> opaque = framed(RIB_TLV_OPAQUE, {0x18, 0x03, 0x2a, 0x02, 7, 8});
    EXPECT(take_frame(opaque, seen) && seen.opaque_bytes == 5);
    const std::vector<uint8_t> hop = framed(RIB_TLV_NHID, {0x08, 0x01, 0x18, 0x05});
    std::vector<uint8_t> first = hop, second = hop;
    EXPECT(take_frame(first, seen) && seen.last_nhid == 5);
    EXPECT(take_any(second, seen) && !take_any({second.data(), 7}, seen));
    std::vector<uint8_t> update = framed(RIB_TLV_ROUTE, route);
    EXPECT(take_any(update, seen) && seen.communities == 2);
}

void check_routes(const std::vector<uint8_t> &route)
{
    std::vector<rib::route_owner> table;
    EXPECT(keep_route(route, table) && !keep_route(std::vector<uint8_t>{0x08}, table));
    std::vector<uint8_t> older = framed(RIB_TLV_OLD_ROUTE, {24});
    EXPECT(take_route(older, table));
    std::vector<uint8_t> none = framed(RIB_TLV_OLD_ROUTE, {24, 24});
    EXPECT(take_route(none, table));
    EXPECT(table.size() == 2 && table[0]->rt_path_count == 2 && table[1]->rt_prefix_len == 24);
}

} // namespace

int main()
{
    const std::vector<uint8_t> route = make_route({16, 17});
    check_messages(route);
    check_updates(route);
    check_routes(route);
    return 0;
}
