// protozero, which reads into no record of its own: the small updates go straight from the bytes into the client's record.

#include "bench/by_hand/deliver.hpp"

#include <protozero/pbf_reader.hpp>

namespace bench::by_hand
{
namespace
{

using protozero::data_view;
using protozero::pbf_reader;

std::string_view text(data_view view)
{
    return {view.data(), view.size()};
}

uint8_t *block(data_view view, uint32_t &len)
{
    len = static_cast<uint32_t>(view.size());
    return reinterpret_cast<uint8_t *>(const_cast<char *>(view.data()));
}

// The second name overwrites what a long first one ran into, whatever their order.
void take_proto(pbf_reader in, const client_callbacks &client)
{
    rib_protoid_map map = {};
    bool has_id = false;
    data_view name, extra_name;
    while (in.next()) {
        switch (in.tag()) {
        case 1:
            map.proto_id = static_cast<uint16_t>(in.get_uint32());
            has_id = true;
            break;
        case 2:
            map.proto_sub_id = static_cast<uint16_t>(in.get_uint32());
            break;
        case 3:
            map.proto_value = static_cast<uint32_t>(in.get_uint64());
            break;
        case 4:
            name = in.get_view();
            break;
        case 5:
            extra_name = in.get_view();
            break;
        default:
            in.skip();
        }
    }
    copy_text(proto_names(map), proto_names_room, text(name));
    copy_text(map.proto_extra_name, sizeof map.proto_extra_name, text(extra_name));
    if (has_id)
        client.proto(0, &map, client.context);
}

// The blocks lie in the payload.
void take_opaque(pbf_reader in, const client_callbacks &client)
{
    rib_opaque_update opaque = {};
    uint32_t sub_id = 0;
    while (in.next()) {
        switch (in.tag()) {
        case 1:
            opaque.opaque_type = static_cast<uint16_t>(in.get_uint32());
            break;
        case 2:
            opaque.opaque_id = in.get_uint32();
            break;
        case 3:
            sub_id = in.get_uint32();
            break;
        case 4:
            opaque.opaque_value = in.get_uint32();
            break;
        case 5:
            opaque.first_block = block(in.get_view(), opaque.first_len);
            break;
        case 6:
            opaque.second_block = block(in.get_view(), opaque.second_len);
            break;
        default:
            in.skip();
        }
    }
    client.opaque(0, sub_id, &opaque, client.context);
}

void read_ipv6(pbf_reader in, uint8_t *out16)
{
    while (in.next()) {
        if (in.tag() != 1 && in.tag() != 2) {
            in.skip();
            continue;
        }
        uint8_t *const half = out16 + (in.tag() - 1) * sizeof(uint64_t);
        const uint64_t value = in.get_uint64();
        std::memcpy(half, &value, sizeof value);
    }
}

void read_address(pbf_reader in, nhid_update_local &nhid)
{
    uint32_t ipv4 = 0;
    while (in.next()) {
        switch (in.tag()) {
        case 1:
            nhid.address_family = in.get_uint32();
            break;
        case 2:
            ipv4 = in.get_uint32();
            break;
        case 3:
            read_ipv6(in.get_message(), nhid.address);
            break;
        default:
            in.skip();
        }
    }
    if (nhid.address_family == RIB_FAMILY_IPV4)
        std::memcpy(nhid.address, &ipv4, sizeof ipv4);
}

void read_nhid_key(pbf_reader in, nhid_update_local &nhid)
{
    while (in.next()) {
        switch (in.tag()) {
        case 1:
            nhid.key_value_1 = in.get_uint32();
            break;
        case 2:
            read_address(in.get_message(), nhid);
            break;
        case 3:
            nhid.key_value_3 = in.get_uint32();
            break;
        case 4:
            nhid.key_value_4 = in.get_uint32();
            break;
        default:
            in.skip();
        }
    }
}

void take_nhid(pbf_reader in, const client_callbacks &client)
{
    nhid_update_local nhid = {};
    nhid.nhid = RIB_NO_NHID;
    bool has_value_1 = false;
    while (in.next()) {
        switch (in.tag()) {
        case 1:
            nhid.update_value_1 = in.get_uint32();
            has_value_1 = true;
            break;
        case 2:
            read_nhid_key(in.get_message(), nhid);
            break;
        case 3:
            nhid.nhid = in.get_uint64();
            break;
        default:
            in.skip();
        }
    }
    if (has_value_1)
        client.grid(&nhid, client.context, RIB_TLV_NHID);
}

template <void (*take)(pbf_reader, const client_callbacks &)>
contender direct(uint16_t code)
{
    return {"protozero", "direct", code, [code](auto frames, const client_callbacks &client) {
                for_each_payload(frames, code, [&](std::span<const uint8_t> payload) {
                    take({reinterpret_cast<const char *>(payload.data()), payload.size()}, client);
                });
            }};
}

} // namespace

std::vector<contender> protozero_contenders()
{
    return {direct<take_proto>(RIB_TLV_PROTO), direct<take_opaque>(RIB_TLV_OPAQUE), direct<take_nhid>(RIB_TLV_NHID)};
}

} // namespace bench::by_hand
