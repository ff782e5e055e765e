// A framed update by hand: the header read, the payload decoded by some library, the message converted, and the record
// handed to the same callback as the client library's.

#pragma once

#include "bench/by_hand/convert_grid.hpp"
#include "bench/by_hand/convert_route.hpp"
#include "bench/by_hand/convert_updates.hpp"
#include "bench/entry_points.hpp"

#include <functional>
#include <string>

namespace bench::by_hand
{

// Enough for any of the updates, whoever decodes it.
constexpr size_t first_block_size = size_t{1} << 20;

// Someone's way to take framed updates of one type code.
struct contender {
    std::string library;
    std::string memory;
    uint16_t code;
    std::function<void(std::span<const bytes>, const client_callbacks &)> take;
};

std::vector<contender> protobuf_contenders();
std::vector<contender> protobuf_c_contenders();
std::vector<contender> protozero_contenders();

template <class Message>
void deliver_route(const Message &msg, const client_callbacks &client)
{
    struct rib_routetype_ *const route = convert_route(msg);
    if (route == nullptr)
        return;
    client.route(0, route, client.context);
    release_route(route);
}

template <class Message>
void deliver_proto(const Message &msg, const client_callbacks &client)
{
    rib_protoid_map map = {};
    if (convert_proto(msg, map))
        client.proto(0, &map, client.context);
}

template <class Message>
void deliver_opaque(const Message &msg, const client_callbacks &client)
{
    rib_opaque_update opaque = {};
    convert_opaque(msg, opaque);
    client.opaque(0, GET(msg, opaque_sub_id), &opaque, client.context);
}

template <class Message>
void deliver_nhid(const Message &msg, const client_callbacks &client)
{
    nhid_update_local nhid = {};
    if (convert_nhid(msg, nhid))
        client.grid(&nhid, client.context, RIB_TLV_NHID);
}

template <class Message>
void deliver_grid(const Message &msg, const client_callbacks &client)
{
    static uint64_t encap_ids[GRID_MAX_KEYS];
    static rib_encap_id_path_key_t keys[GRID_MAX_KEYS];
    grid_sync_list list = {};
    list.encap_ids = encap_ids;
    list.keys = keys;
    if (convert_grid(msg, list))
        client.grid(&list, client.context, RIB_TLV_GRID);
}

// Calls take(payload) for each update of the code.
template <class Take>
void for_each_payload(std::span<const bytes> frames, uint16_t code, Take take)
{
    constexpr size_t header_size = 8;
    for (const bytes &frame : frames) {
        uint16_t fields[2]; // type, length
        std::memcpy(fields, frame.data() + sizeof(uint32_t), sizeof fields);
        if (__builtin_bswap16(fields[0]) == code)
            take(std::span(frame).subspan(header_size, __builtin_bswap16(fields[1])));
    }
}

} // namespace bench::by_hand
