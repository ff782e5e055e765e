#include "tools/ribtool/generate/random_updates.hpp"

#include "tools/ribtool/generate/random_values.hpp"
#include "tools/ribtool/library/older_forms.hpp"
#include "tools/ribtool/messages/encode.hpp"

#include <fmt/format.h>

#include <iterator>
#include <string>
#include <string_view>

namespace ribtool
{

namespace
{

constexpr std::string_view PROTOCOLS[] = {"connected", "static", "bgp", "ospf", "isis", "rip", "subscriber", "te"};

} // namespace

update random_proto(random_source &random, scratch &memory)
{
    const std::string_view protocol = PROTOCOLS[random.below(static_cast<uint32_t>(std::size(PROTOCOLS)))];
    zidl_ip_rib_proto_update msg = {};
    zidl_ip_rib_proto_update_set_proto_id(&msg, random.below(1u << 16));
    if (!random.one_in(8))
        zidl_ip_rib_proto_update_set_proto_sub_id(&msg, random.below(100));
    zidl_ip_rib_proto_update_set_proto_value(&msg, random.magnitude32());
    msg.proto_name = memory.text(fmt::format("{}-{}", protocol, random.below(1000)));
    zidl_ip_rib_proto_update_mark_proto_name(&msg);
    if (random.one_in(2)) {
        msg.proto_extra_name = memory.text(fmt::format("instance-{}", random.below(100)));
        zidl_ip_rib_proto_update_mark_proto_extra_name(&msg);
    }
    return {RIB_TLV_PROTO, encoded(msg)};
}

update random_older_proto(random_source &random)
{
    const std::string_view protocol = PROTOCOLS[random.below(static_cast<uint32_t>(std::size(PROTOCOLS)))];
    const std::string name = fmt::format("{}-{}", protocol, random.below(1000));
    older_proto older;
    older.proto_id = static_cast<uint16_t>(random.below(1u << 16));
    older.proto_sub_id = static_cast<uint16_t>(random.below(100));
    older.proto_value = random.magnitude32();
    older.name = name;
    older.extra_name = random.one_in(2) ? "default" : "";
    return {RIB_TLV_OLD_PROTO, payload_of(older)};
}

update random_opaque(random_source &random, scratch &memory)
{
    zidl_ip_rib_opaque msg = {};
    zidl_ip_rib_opaque_set_opaque_type(&msg, random.below(64));
    zidl_ip_rib_opaque_set_opaque_id(&msg, random.magnitude32());
    if (!random.one_in(4))
        zidl_ip_rib_opaque_set_opaque_sub_id(&msg, random.below(1000));
    if (!random.one_in(4))
        zidl_ip_rib_opaque_set_opaque_value(&msg, random.magnitude32());
    msg.first_block_size = random.below(65);
    msg.first_block = memory.bytes(random_bytes(random, msg.first_block_size));
    zidl_ip_rib_opaque_mark_first_block(&msg);
    if (random.one_in(2)) {
        msg.second_block_size = random.below(129);
        msg.second_block = memory.bytes(random_bytes(random, msg.second_block_size));
        zidl_ip_rib_opaque_mark_second_block(&msg);
    }
    return {RIB_TLV_OPAQUE, encoded(msg)};
}

update random_older_opaque(random_source &random)
{
    const size_t first_len = random.below(65);
    const size_t second_len = random.one_in(2) ? random.below(129) : 0;
    const byte_vector first = random_bytes(random, first_len);
    const byte_vector second = random_bytes(random, second_len);
    older_opaque older;
    older.opaque_type = static_cast<uint16_t>(random.below(64));
    older.opaque_id = random.magnitude32();
    older.sub_id = static_cast<uint16_t>(random.below(1000));
    older.value = random.magnitude32();
    older.first_block = first;
    older.second_block = second;
    return {RIB_TLV_OLD_OPAQUE, payload_of(older)};
}

update random_older_route(random_source &random)
{
    const bool is_ipv6 = random.one_in(4);
    older_route older;
    older.prefix = random_prefix(random, is_ipv6);
    older.kind = random.one_in(4) ? OLDER_ROUTE_WITHDRAWN : OLDER_ROUTE_CURRENT;
    older.metric = random.below(1000);
    const uint32_t path_count = random.one_in(4) ? random.between(2, 8) : 1;
    for (uint32_t index = 0; index < path_count; ++index) {
        older_path path;
        path.next_hop = random_address(random, is_ipv6);
        path.metric = random.below(1000);
        older.paths.push_back(path);
    }
    return {RIB_TLV_OLD_ROUTE, payload_of(older)};
}

update random_nhid(random_source &random)
{
    zidl_rib_nhid_update msg = {};
    // Clients ignore an update without this one; a router sends some.
    if (!random.one_in(64))
        zidl_rib_nhid_update_set_nhid_update_value_1(&msg, random.below(4));
    zidl_rib_nhid_encap_key &key = msg.nhid_encap_key;
    zidl_rib_nhid_encap_key_set_nhid_key_value_1(&key, random.magnitude32());
    const bool is_ipv6 = random.one_in(3);
    key.nhid_key_address = address_message(random_address(random, is_ipv6));
    zidl_rib_nhid_encap_key_mark_nhid_key_address(&key);
    zidl_rib_nhid_encap_key_set_nhid_key_value_3(&key, random.magnitude32());
    zidl_rib_nhid_encap_key_set_nhid_key_value_4(&key, random.below(16));
    zidl_rib_nhid_update_mark_nhid_encap_key(&msg);
    if (!random.one_in(16))
        zidl_rib_nhid_update_set_nhid(&msg, random.magnitude(64));
    return {RIB_TLV_NHID, encoded(msg)};
}

} // namespace ribtool
