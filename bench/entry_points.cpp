#include "bench/entry_points.hpp"

#include <benchmark/benchmark.h>
#include <cstring>

namespace bench
{
namespace
{

constexpr size_t header_size = 8;
constexpr size_t older_fixed_part = 24; // of an opaque update; a protocol update's numbers take fewer

thread_local size_t delivered;

int deliver(void *record)
{
    benchmark::DoNotOptimize(record);
    ++delivered;
    return 0;
}

// The converter of older routes is the client's: one that costs nothing leaves what the library does.
struct rib_routetype_ *convert_older(rib_tlv_t *, uchar_t **)
{
    static struct rib_routetype_ record;
    return &record;
}

void release_older(struct rib_routetype_ *) {}

void parse_update(const entry_points &entries, updatetype_local &update, uint16_t code, const client_callbacks &client)
{
    rib_route_client route_client = {client.context, nullptr, client.route};
    switch (code) {
    case RIB_TLV_PROTO:
    case RIB_TLV_OLD_PROTO:
        return entries.proto(client.proto, &update, client.context);
    case RIB_TLV_OPAQUE:
    case RIB_TLV_OLD_OPAQUE:
        return entries.opaque(client.opaque, &update, client.context);
    case RIB_TLV_ROUTE:
    case RIB_TLV_OLD_ROUTE:
        return entries.route(&update, client.route, convert_older, release_older, 0, &route_client);
    default:
        return entries.grid(client.grid, &update, client.context);
    }
}

bytes framed(uint16_t code, const bytes &payload)
{
    bytes frame = {0,
                   0,
                   0,
                   0,
                   static_cast<uint8_t>(code >> 8),
                   static_cast<uint8_t>(code),
                   static_cast<uint8_t>(payload.size() >> 8),
                   static_cast<uint8_t>(payload.size())};
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

} // namespace

const client_callbacks counting_callbacks = {
    [](uint32_t, rib_protoid_map *map, void *) { return deliver(map); },
    [](uint32_t, uint32_t, rib_opaque_update *opaque, void *) { return deliver(opaque); },
    [](uint32_t, struct rib_routetype_ *route, void *) { return deliver(route); },
    [](void *record, void *, uint32_t) { return deliver(record); },
    nullptr,
};

arrivals::arrivals(const client_updates &updates, form how) : code_(updates.code), form_(how)
{
    for (const bytes &payload : updates.payloads) {
        updates_.push_back(how == form::framed ? framed(code_, payload) : payload);
        payload_bytes_ += payload.size();
    }
}

template <size_t converted>
void arrivals::parse_each(const entry_points &entries, std::span<bytes> updates, const client_callbacks &client)
{
    uint8_t kept[converted + 1];
    for (bytes &update : updates) {
        std::memcpy(kept, update.data(), converted);
        updatetype_local arrived = {};
        arrived.payload = update.data();
        if (form_ == form::stripped) {
            arrived.stripped = 1;
            arrived.tlv_type = code_;
            arrived.payload_len = static_cast<uint32_t>(update.size());
        }
        parse_update(entries, arrived, code_, client);
        std::memcpy(update.data(), kept, converted);
    }
}

size_t arrivals::parse(const entry_points &entries, size_t first, size_t count, const client_callbacks &client)
{
    delivered = 0;
    const std::span<bytes> chosen = std::span(updates_).subspan(first, count);
    const bool is_older = code_ == RIB_TLV_OLD_PROTO || code_ == RIB_TLV_OLD_OPAQUE;
    if (form_ == form::framed)
        is_older ? parse_each<header_size + older_fixed_part>(entries, chosen, client)
                 : parse_each<header_size>(entries, chosen, client);
    else
        is_older ? parse_each<older_fixed_part>(entries, chosen, client) : parse_each<0>(entries, chosen, client);
    return delivered;
}

} // namespace bench
