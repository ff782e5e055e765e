// protobuf-c's structs, out of malloc and out of a bump allocator that is reset after each update.

#include "bench/bump.hpp"
#include "bench/by_hand/deliver.hpp"

#include "rib/ip_rib.pb-c.h"
#include "rib/rib_common.pb-c.h"
#include "rib/rib_encap.pb-c.h"

namespace bench::by_hand
{
namespace
{

struct bump_with_block {
    bytes block = bytes(first_block_size);
    bump arena{block};
};

void *bump_alloc(void *from, size_t size)
{
    return static_cast<bump *>(from)->take(size);
}

void bump_free(void *, void *) {}

template <class Message>
using deliver_function = void (*)(const Message &, const client_callbacks &);

template <class Message, deliver_function<Message> deliver>
void unpack_and_deliver(const ProtobufCMessageDescriptor &type, ProtobufCAllocator *allocator,
                        std::span<const uint8_t> payload, const client_callbacks &client)
{
    ProtobufCMessage *const message = protobuf_c_message_unpack(&type, allocator, payload.size(), payload.data());
    if (message == nullptr)
        return;
    deliver(*reinterpret_cast<const Message *>(message), client);
    if (allocator == nullptr)
        protobuf_c_message_free_unpacked(message, nullptr);
}

template <class Message, deliver_function<Message> deliver>
void add(std::vector<contender> &all, uint16_t code, const ProtobufCMessageDescriptor &type)
{
    all.push_back({"protobuf-c", "heap", code, [code, &type](auto frames, const client_callbacks &client) {
                       for_each_payload(frames, code, [&](std::span<const uint8_t> payload) {
                           unpack_and_deliver<Message, deliver>(type, nullptr, payload, client);
                       });
                   }});
    auto memory = std::make_shared<bump_with_block>();
    all.push_back({"protobuf-c", "bump", code, [code, &type, memory](auto frames, const client_callbacks &client) {
                       ProtobufCAllocator allocator{bump_alloc, bump_free, &memory->arena};
                       for_each_payload(frames, code, [&](std::span<const uint8_t> payload) {
                           unpack_and_deliver<Message, deliver>(type, &allocator, payload, client);
                           memory->arena.reset();
                       });
                   }});
}

} // namespace

std::vector<contender> protobuf_c_contenders()
{
    std::vector<contender> all;
    add<Zidl__Proto__RibRoute, deliver_route>(all, RIB_TLV_ROUTE, zidl__proto__rib_route__descriptor);
    add<Zidl__Proto__RibGridSyncList, deliver_grid>(all, RIB_TLV_GRID, zidl__proto__rib_grid_sync_list__descriptor);
    add<Zidl__Proto__RibNhidUpdate, deliver_nhid>(all, RIB_TLV_NHID, zidl__proto__rib_nhid_update__descriptor);
    add<Zidl__Proto__IpRibProtoUpdate, deliver_proto>(all, RIB_TLV_PROTO, zidl__proto__ip_rib_proto_update__descriptor);
    add<Zidl__Proto__IpRibOpaque, deliver_opaque>(all, RIB_TLV_OPAQUE, zidl__proto__ip_rib_opaque__descriptor);
    return all;
}

} // namespace bench::by_hand
