// protobuf's classes: one object reused for all updates, and objects on an arena with a first block, reset after each.

#include "bench/by_hand/deliver.hpp"

#include "rib/ip_rib.pb.h"
#include "rib/rib_common.pb.h"
#include "rib/rib_encap.pb.h"

#include <google/protobuf/arena.h>

namespace bench::by_hand
{
namespace
{

template <class Message>
bool parse(Message &message, std::span<const uint8_t> payload)
{
    return message.ParseFromArray(payload.data(), static_cast<int>(payload.size()));
}

template <class Message>
using deliver_function = void (*)(const Message &, const client_callbacks &);

template <class Message, deliver_function<Message> deliver>
contender reused(uint16_t code)
{
    return {"protobuf", "reused", code, [code](auto frames, const client_callbacks &client) {
                Message message; // not for ever: its blocks would lie between those of other contenders
                for_each_payload(frames, code, [&](std::span<const uint8_t> payload) {
                    if (parse(message, payload))
                        deliver(message, client);
                });
            }};
}

struct arena_with_block {
    arena_with_block() : block(first_block_size), arena(options(block)) {}

    static google::protobuf::ArenaOptions options(std::vector<char> &block)
    {
        google::protobuf::ArenaOptions chosen;
        chosen.initial_block = block.data();
        chosen.initial_block_size = block.size();
        return chosen;
    }

    std::vector<char> block;
    google::protobuf::Arena arena;
};

template <class Message, deliver_function<Message> deliver>
contender arena(uint16_t code)
{
    return {"protobuf", "arena", code,
            [code, memory = std::make_shared<arena_with_block>()](auto frames, const client_callbacks &client) {
                for_each_payload(frames, code, [&](std::span<const uint8_t> payload) {
                    auto *const message = google::protobuf::Arena::CreateMessage<Message>(&memory->arena);
                    if (parse(*message, payload))
                        deliver(*message, client);
                    memory->arena.Reset();
                });
            }};
}

template <class Message, deliver_function<Message> deliver>
void add(std::vector<contender> &all, uint16_t code)
{
    all.push_back(reused<Message, deliver>(code));
    all.push_back(arena<Message, deliver>(code));
}

} // namespace

std::vector<contender> protobuf_contenders()
{
    using namespace zidl::proto;
    std::vector<contender> all;
    add<rib_route, deliver_route>(all, RIB_TLV_ROUTE);
    add<rib_grid_sync_list, deliver_grid>(all, RIB_TLV_GRID);
    add<rib_nhid_update, deliver_nhid>(all, RIB_TLV_NHID);
    add<ip_rib_proto_update, deliver_proto>(all, RIB_TLV_PROTO);
    add<ip_rib_opaque, deliver_opaque>(all, RIB_TLV_OPAQUE);
    return all;
}

} // namespace bench::by_hand
