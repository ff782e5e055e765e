#include "inspect/explain/conversion.hpp"

#include "inspect/explain/converters.hpp"
#include "inspect/explain/notes.hpp"

#include <cstring>

namespace rib_inspect
{

namespace
{

constexpr record_member sub_id_member()
{
    record_member member;
    member.key = "\"sub_id\":";
    member.size = sizeof(uint32_t);
    return member;
}

// The second argument of the opaque callback, which is as much the client's as the record.
constexpr record_member SUB_ID = sub_id_member();

// What the callbacks see of one update.
struct delivery {
    record_taker &taker;
    const uint8_t *payload_end; // of the older forms
    bool happened = false;

    void take(const client_record &record)
    {
        happened = true;
        taker.take(record);
    }
};

int take_proto(uint32_t, rib_protoid_map *map, void *to)
{
    static_cast<delivery *>(to)->take(view_of(*map));
    return 0;
}

int take_opaque(uint32_t, uint32_t sub_id, rib_opaque_update *opaque, void *to)
{
    auto &delivered = *static_cast<delivery *>(to);
    delivered.take(view_of(*opaque, delivered.payload_end));
    delivered.taker.take_number(SUB_ID, sub_id);
    return 0;
}

int take_route(uint32_t, struct rib_routetype_ *route, void *to)
{
    static_cast<delivery *>(to)->take(view_of(*route));
    return 0;
}

int take_grid(void *record, void *to, uint32_t code)
{
    auto &delivered = *static_cast<delivery *>(to);
    if (code == RIB_TLV_GRID)
        delivered.take(view_of(*static_cast<grid_sync_list *>(record)));
    else
        delivered.take(view_of(*static_cast<nhid_update_local *>(record)));
    return 0;
}

void run(updatetype_local &update, delivery &to)
{
    switch (update.tlv_type) {
    case RIB_TLV_PROTO:
    case RIB_TLV_OLD_PROTO:
        return rib_witnessed_parse_proto_update(take_proto, &update, &to);
    case RIB_TLV_OPAQUE:
    case RIB_TLV_OLD_OPAQUE:
        return rib_witnessed_parse_opaque_update(take_opaque, &update, &to);
    case RIB_TLV_GRID:
    case RIB_TLV_NHID:
        return rib_witnessed_parse_grid_update(take_grid, &update, &to);
    case RIB_TLV_ROUTE: {
        rib_route_client client = {&to, nullptr, take_route};
        return rib_witnessed_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &client);
    }
    default:
        return;
    }
}

bool is_refused(uint32_t code, size_t len)
{
    switch (code) {
    case RIB_TLV_OLD_PROTO:
        return len < sizeof(rib_protoid_map);
    case RIB_TLV_OLD_OPAQUE:
    case RIB_TLV_GRID:
    case RIB_TLV_PROTO:
    case RIB_TLV_NHID:
    case RIB_TLV_OPAQUE:
    case RIB_TLV_ROUTE:
        return false;
    default:
        return true;
    }
}

bool is_converted_in_place(uint32_t code)
{
    return code == RIB_TLV_OLD_PROTO || code == RIB_TLV_OLD_OPAQUE;
}

} // namespace

rib_outcome convert(uint32_t code, bytes_view payload, record_taker &taker)
{
    if (is_refused(code, payload.size()))
        return RIB_REFUSED;
    notes notes;
    notes.are_kept = false;
    updatetype_local update = {};
    update.tlv_type = code;
    update.stripped = 1;
    update.payload_len = static_cast<uint32_t>(payload.size());
    update.payload = const_cast<uint8_t *>(payload.data());
    if (is_converted_in_place(code)) {
        constexpr size_t room_for_delimiter = 16; // which the platform may look for behind the payload
        update.payload = static_cast<uint8_t *>(notes.memory.own(payload.size() + room_for_delimiter));
        std::memset(update.payload + payload.size(), 0, room_for_delimiter);
        if (!payload.empty())
            std::memcpy(update.payload, payload.data(), payload.size());
    }
    delivery delivered = {taker, is_converted_in_place(code) ? update.payload + payload.size() : nullptr};
    try {
        const notes::scope scope(notes);
        run(update, delivered);
    } catch (const stopped &) {
        return RIB_STOPPED;
    }
    return delivered.happened ? RIB_DELIVERED : RIB_DROPPED;
}

} // namespace rib_inspect
