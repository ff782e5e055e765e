#include "tools/ribtool/random_updates.hpp"

#include "tools/ribtool/encode.hpp"
#include "tools/ribtool/histogram.hpp"
#include "tools/ribtool/older_forms.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace ribtool
{

namespace
{

constexpr uint32_t PEERS = 64;
constexpr uint32_t LABEL_BITS = 20;

constexpr std::string_view PROTOCOLS[] = {"connected", "static", "bgp", "ospf", "isis", "rip", "subscriber", "te"};

// The length of a random list, by the size of what it is part of.
template <class Size>
uint32_t list_len(random_source &random, Size size, uint32_t small, uint32_t usual, uint32_t full)
{
    if (size == Size::full)
        return full;
    return random.between(1, static_cast<int>(size) == 0 ? small : usual);
}

uint32_t random_label(random_source &random)
{
    return 16 + random.below((1u << LABEL_BITS) - 16);
}

byte_vector random_bytes(random_source &random, size_t count)
{
    byte_vector bytes(count);
    for (uint8_t &byte : bytes)
        byte = static_cast<uint8_t>(random.below(256));
    return bytes;
}

uint32_t random_as(random_source &random)
{
    // A quarter has four bytes.
    return random.one_in(4) ? 131072 + random.below(300000) : 1 + random.below(64495);
}

// A peer keeps its address.
ip_address peer_address(uint32_t peer, bool is_ipv6)
{
    random_source own(peer);
    return random_address(own, is_ipv6);
}

ip_prefix random_prefix(random_source &random, bool is_ipv6)
{
    ip_prefix prefix;
    prefix.address = random_address(random, is_ipv6);
    prefix.length = static_cast<uint8_t>(is_ipv6 ? random.between(32, 128) : random.between(8, 32));
    mask_address(prefix.address, prefix.length);
    return prefix;
}

} // namespace

// An address that a router may forward to: 1.0.0.0 to 223.255.255.255, or out of 2000::/3.
ip_address random_address(random_source &random, bool is_ipv6)
{
    ip_address address;
    address.is_ipv6 = is_ipv6;
    for (size_t index = 0; index < (is_ipv6 ? 16u : 4u); ++index)
        address.bytes[index] = static_cast<uint8_t>(random.below(256));
    if (is_ipv6)
        address.bytes[0] = static_cast<uint8_t>(0x20 | (address.bytes[0] & 0x1f));
    else
        address.bytes[0] = static_cast<uint8_t>(1 + address.bytes[0] % 223);
    return address;
}

// ---- Table routes ----

namespace
{

const table_statistics &statistics_of(bool is_ipv6)
{
    return is_ipv6 ? table_histograms().ipv6 : table_histograms().ipv4;
}

void draw_communities(table_path &path, random_source &random, const table_statistics &table)
{
    const uint32_t extended_count = table.ext_communities_per_path.draw(random);
    const uint32_t plain_count = table.communities_per_path.draw(random);
    if (extended_count > 0) {
        path.communities_are = community_kind::extended;
        for (uint32_t count = 0; count < extended_count; ++count) {
            const uint64_t type = random.one_in(2) ? 2 : 3; // route target or route origin
            const uint64_t owner = random_as(random) & 0xffff;
            path.communities.push_back(type << 48 | owner << 32 | random.next32());
        }
        return;
    }
    for (uint32_t count = 0; count < plain_count; ++count) {
        const uint64_t owner = random_as(random) & 0xffff;
        path.communities.push_back(owner << 16 | random.below(10000));
    }
}

table_path draw_path(random_source &random, bool is_ipv6, uint32_t peer, uint32_t origin_as)
{
    const table_statistics &table = statistics_of(is_ipv6);
    table_path path;
    path.peer_index = peer;
    path.age_s = static_cast<uint32_t>(random.magnitude(21));
    path.next_hop = peer_address(peer, is_ipv6);
    path.origin = random.one_in(10) ? 2 : 0;
    path.as_path_len = table.as_path_len.draw(random);
    path.neighbor_as = random_as(random);
    path.origin_as = origin_as;
    if (table.has_med.draw(random) != 0)
        path.med = static_cast<uint32_t>(random.magnitude(10));
    if (table.has_local_pref.draw(random) != 0)
        path.local_pref = random.one_in(4) ? 80 + random.below(200) : 100;
    path.atomic_aggregate = table.atomic_aggregate.draw(random) != 0;
    path.aggregator = random.one_in(10);
    draw_communities(path, random, table);
    return path;
}

bool draw_is_ipv6(random_source &random)
{
    const uint64_t ipv4_count = table_histograms().ipv4.prefix_lengths.total();
    const uint64_t ipv6_count = table_histograms().ipv6.prefix_lengths.total();
    return random.below(static_cast<uint32_t>(ipv4_count + ipv6_count)) >= ipv4_count;
}

} // namespace

ip_prefix table_source::draw_prefix(random_source &random, bool is_ipv6)
{
    constexpr int ATTEMPTS = 1000;
    ip_prefix prefix;
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        prefix.length = static_cast<uint8_t>(statistics_of(is_ipv6).prefix_lengths.draw(random));
        prefix.address = random_address(random, is_ipv6);
        mask_address(prefix.address, prefix.length);
        if (seen_.insert({prefix.address.bytes, prefix.length | (is_ipv6 ? 256u : 0u)}).second)
            break;
    }
    return prefix;
}

table_route table_source::draw(random_source &random)
{
    const bool is_ipv6 = draw_is_ipv6(random);
    table_route route;
    route.prefix = draw_prefix(random, is_ipv6);
    const uint32_t path_count = statistics_of(is_ipv6).paths_per_prefix.draw(random);
    const uint32_t first_peer = random.below(PEERS);
    const uint32_t origin_as = random_as(random);
    for (uint32_t index = 0; index < path_count; ++index)
        route.paths.push_back(draw_path(random, is_ipv6, (first_peer + index) % PEERS, origin_as));
    return route;
}

table_route table_source::draw_single_path(random_source &random)
{
    const bool is_ipv6 = draw_is_ipv6(random);
    table_route route;
    route.prefix = draw_prefix(random, is_ipv6);
    const uint32_t peer = random.below(PEERS);
    const uint32_t origin_as = random_as(random);
    route.paths.push_back(draw_path(random, is_ipv6, peer, origin_as));
    return route;
}

// ---- Service routes ----

namespace
{

void add_path_labels(zidl_rib_path &msg, random_source &random, scratch &memory, path_size size)
{
    msg.path_values_9_count = list_len(random, size, 2, 4, RIB_MAX_PATH_LABELS);
    msg.path_values_9 = memory.array<uint32_t>(msg.path_values_9_count);
    for (uint32_t index = 0; index < msg.path_values_9_count; ++index)
        msg.path_values_9[index] = random_label(random);
    zidl_rib_path_mark_path_values_9(&msg);
}

void add_next_next_hops(zidl_rib_path &msg, random_source &random, scratch &memory, path_size size)
{
    msg.nnh_entries_count = list_len(random, size, 1, 8, RIB_MAX_NNH);
    msg.nnh_entries = memory.array<zidl_rib_nnh>(msg.nnh_entries_count);
    for (uint32_t index = 0; index < msg.nnh_entries_count; ++index) {
        zidl_rib_nnh &entry = msg.nnh_entries[index];
        const uint32_t type = random.between(1, 2);
        zidl_rib_nnh_set_nnh_value_1(&entry, type);
        if (type == 1)
            zidl_rib_nnh_set_nnh_value_2(&entry, random.below(1u << 24));
        else
            zidl_rib_nnh_set_nnh_value_3(&entry, random_label(random));
    }
    zidl_rib_path_mark_nnh_entries(&msg);
}

void add_srv6(zidl_rib_path &msg, random_source &random, scratch &memory, path_size size)
{
    msg.via_srv6_sid.via_sid = ipv6_message(random_address(random, true));
    zidl_rib_path_via_srv6_sid_mark_via_sid(&msg.via_srv6_sid);
    zidl_rib_path_via_srv6_sid_set_via_sid_value_3(&msg.via_srv6_sid, random.below(8));
    zidl_rib_path_mark_via_srv6_sid(&msg);

    msg.srv6_sid_infos_count = list_len(random, size, 1, 4, RIB_MAX_SID_INFOS);
    msg.srv6_sid_infos = memory.array<zidl_rib_path_srv6_sid_info>(msg.srv6_sid_infos_count);
    for (uint32_t index = 0; index < msg.srv6_sid_infos_count; ++index) {
        zidl_rib_path_srv6_sid_info &info = msg.srv6_sid_infos[index];
        info.sid_info_prefix = prefix_message(random_prefix(random, true));
        zidl_rib_path_srv6_sid_info_mark_sid_info_prefix(&info);
        if (size == path_size::full || random.one_in(3))
            zidl_rib_path_srv6_sid_info_set_sid_info_value_3(&info, 1);
    }
    zidl_rib_path_mark_srv6_sid_infos(&msg);
}

void add_backup_addresses(zidl_rib_path &msg, random_source &random, scratch &memory, path_size size, bool is_ipv6)
{
    msg.path_addresses_count = list_len(random, size, 1, 2, RIB_MAX_PATH_ADDRESSES);
    msg.path_addresses = memory.array<zidl_rib_address>(msg.path_addresses_count);
    for (uint32_t index = 0; index < msg.path_addresses_count; ++index)
        msg.path_addresses[index] = address_message(random_address(random, is_ipv6));
    zidl_rib_path_mark_path_addresses(&msg);
}

void add_iid(zidl_rib_path &msg, random_source &random, bool is_ipv6)
{
    zidl_rib_path_iid_attr_set_iid_attr_value_1(&msg.iid_attr, random.below(100));
    msg.iid_attr.iid_attr_prefix = prefix_message(random_prefix(random, is_ipv6));
    zidl_rib_path_iid_attr_mark_iid_attr_prefix(&msg.iid_attr);
    zidl_rib_path_iid_attr_set_iid_attr_value_4(&msg.iid_attr, random.magnitude32());
    zidl_rib_path_mark_iid_attr(&msg);
}

void add_l2(zidl_rib_path &msg, random_source &random)
{
    zidl_rib_path_l2_info_set_l2_value_5(&msg.l2_info, random.below(4096));
    zidl_rib_path_l2_info_set_l2_value_6(&msg.l2_info, random.magnitude32());
    zidl_rib_path_l2_info_set_l2_value_7(&msg.l2_info, random.below(16));
    zidl_rib_path_l2_info_set_l2_value_8(&msg.l2_info, random.magnitude32());
    zidl_rib_path_mark_l2_info(&msg);
}

void add_tunnel(zidl_rib_path &msg, random_source &random)
{
    zidl_rib_path_ip_tunnel_info &tunnel = msg.ip_tunnel_info;
    zidl_rib_path_ip_tunnel_info_set_tunnel_flag(&tunnel, static_cast<uint8_t>(random.below(2)));
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_6(&tunnel, random.below(14));
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_7(&tunnel, random.below(1u << 24));
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_8(&tunnel, random.magnitude32());
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_9(&tunnel, random.below(1u << 24));
    zidl_rib_path_ip_tunnel_info_set_tunnel_value_10(&tunnel, random.magnitude(64));
    zidl_rib_path_mark_ip_tunnel_info(&msg);
}

void add_aft(zidl_rib_path &msg, random_source &random)
{
    zidl_rib_path_via_aft_id_set_via_aft_id(&msg.via_aft_id, random.magnitude(64));
    zidl_rib_path_via_aft_id_set_via_aft_value_6(&msg.via_aft_id, random.magnitude32());
    zidl_rib_path_via_aft_id_set_via_aft_value_7(&msg.via_aft_id, random.below(4));
    zidl_rib_path_mark_via_aft_id(&msg);
}

void add_grouping(zidl_rib_path &msg, random_source &random)
{
    zidl_rib_path_grouping_info_set_grouping_value_2(&msg.grouping_info, random.magnitude32());
    zidl_rib_path_mark_grouping_info(&msg);
}

void add_sl_id(zidl_rib_path &msg, random_source &random)
{
    zidl_rib_path_sl_id_info_set_sl_id_value_2(&msg.sl_id_info, random.between(1, 2));
    zidl_rib_path_sl_id_info_set_sl_id_value_3(&msg.sl_id_info, random.magnitude32());
    zidl_rib_path_mark_sl_id_info(&msg);
}

void add_ecomm(zidl_rib_path &msg, random_source &random, scratch &memory, path_size size)
{
    zidl_rib_ecomm_array_set_ecomm_value_1(&msg.ecomm, static_cast<uint32_t>(community_kind::extended));
    msg.ecomm.ecomm_count = list_len(random, size, 1, 6, 64);
    msg.ecomm.ecomm_values = memory.array<uint64_t>(msg.ecomm.ecomm_count);
    for (uint32_t index = 0; index < msg.ecomm.ecomm_count; ++index)
        msg.ecomm.ecomm_values[index] = uint64_t{2} << 48 | random.next() >> 16;
    zidl_rib_ecomm_array_mark_ecomm_values(&msg.ecomm);
    zidl_rib_path_mark_ecomm(&msg);
}

void add_scalars(zidl_rib_path &msg, random_source &random, path_size size)
{
    zidl_rib_path_set_path_value_1(&msg, random.below(1u << 14));
    zidl_rib_path_set_path_value_3(&msg, random.below(1u << 11));
    zidl_rib_path_set_path_value_10(&msg, random.below(1u << 14));
    if (size == path_size::small)
        return;
    zidl_rib_path_set_path_value_2(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_8(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_11(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_12(&msg, random.below(256));
    zidl_rib_path_set_path_value_13(&msg, random.below(3));
    zidl_rib_path_set_path_value_16(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_22(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_25(&msg, random.below(1000));
    zidl_rib_path_set_path_value_28(&msg, random.below(256));
    zidl_rib_path_set_path_value_31(&msg, random.magnitude32());
}

void add_whole_addresses(zidl_rib_path &msg, random_source &random, bool is_ipv6)
{
    msg.path_address_4 = address_message(random_address(random, is_ipv6));
    zidl_rib_path_mark_path_address_4(&msg);
    msg.path_prefix = prefix_message(random_prefix(random, is_ipv6));
    zidl_rib_path_mark_path_prefix(&msg);
    msg.path_ipv6_address = ipv6_message(random_address(random, true));
    zidl_rib_path_mark_path_ipv6_address(&msg);
    zidl_rib_path_set_path_value_14(&msg, random.magnitude32());
    zidl_rib_path_set_path_value_19(&msg, random_label(random));
}

} // namespace

zidl_rib_path random_path(random_source &random, scratch &memory, uint32_t features, path_size size)
{
    zidl_rib_path msg = {};
    const bool is_ipv6 = size == path_size::full || (size == path_size::usual && random.one_in(4));
    add_scalars(msg, random, size);
    msg.path_address_5 = address_message(random_address(random, is_ipv6));
    zidl_rib_path_mark_path_address_5(&msg);
    if (size == path_size::full)
        add_whole_addresses(msg, random, is_ipv6);
    if ((features & PATH_LABELS) != 0)
        add_path_labels(msg, random, memory, size);
    if ((features & PATH_NEXT_NEXT_HOPS) != 0)
        add_next_next_hops(msg, random, memory, size);
    if ((features & PATH_SRV6) != 0)
        add_srv6(msg, random, memory, size);
    if ((features & PATH_BACKUP_ADDRESSES) != 0)
        add_backup_addresses(msg, random, memory, size, is_ipv6);
    if ((features & PATH_IID) != 0)
        add_iid(msg, random, is_ipv6);
    if ((features & PATH_L2) != 0)
        add_l2(msg, random);
    if ((features & PATH_TUNNEL) != 0)
        add_tunnel(msg, random);
    if ((features & PATH_AFT) != 0)
        add_aft(msg, random);
    if ((features & PATH_GROUPING) != 0)
        add_grouping(msg, random);
    if ((features & PATH_SL_ID) != 0)
        add_sl_id(msg, random);
    if ((features & PATH_ECOMM) != 0)
        add_ecomm(msg, random, memory, size);
    return msg;
}

void add_algo_labels(zidl_rib_route &route, random_source &random, scratch &memory, uint32_t count)
{
    route.algo_labels = memory.array<zidl_rib_algo_label>(count);
    route.algo_labels_count = count;
    for (uint32_t index = 0; index < count; ++index) {
        zidl_rib_algo_label &label = route.algo_labels[index];
        zidl_rib_algo_label_set_algo_label_value_1(&label, random_label(random));
        zidl_rib_algo_label_set_algo_label_value_2(&label, 128 + index % 128);
        if (random.one_in(2))
            zidl_rib_algo_label_set_algo_label_value_4(&label, random.below(1000));
    }
    zidl_rib_route_mark_algo_labels(&route);
}

void add_advertisement(zidl_rib_route &route, random_source &random, scratch &memory, uint32_t count)
{
    zidl_rib_client_advertisement &list = route.client_advertisement;
    list.advertised_values = memory.array<uint32_t>(count);
    list.advertised_values_count = count;
    for (uint32_t index = 0; index < count; ++index)
        list.advertised_values[index] = random.below(1000);
    zidl_rib_client_advertisement_mark_advertised_values(&list);
    zidl_rib_route_mark_client_advertisement(&route);
}

zidl_rib_generic_attr_array random_attributes(random_source &random, scratch &memory, uint32_t count, uint32_t size)
{
    zidl_rib_generic_attr_array array = {};
    zidl_rib_generic_attr_array_set_array_type(&array, random.below(32));
    array.attrs = memory.array<zidl_rib_generic_attr_info>(count);
    array.attrs_count = count;
    for (uint32_t index = 0; index < count; ++index) {
        zidl_rib_generic_attr_info &attr = array.attrs[index];
        zidl_rib_generic_attr_info_set_attr_type(&attr, random.below(256));
        attr.attr_data = memory.bytes(random_bytes(random, size));
        attr.attr_data_size = size;
        zidl_rib_generic_attr_info_mark_attr_data(&attr);
    }
    zidl_rib_generic_attr_array_mark_attrs(&array);
    return array;
}

namespace
{

constexpr uint32_t ATTR_SIZE = 8;
constexpr uint32_t ADDRESS_ATTR_SIZE_IPV4 = 12;
constexpr uint32_t ADDRESS_ATTR_SIZE_IPV6 = 24;

void add_attributes(zidl_rib_route &route, random_source &random, scratch &memory, bool is_ipv6)
{
    const uint32_t address_size = is_ipv6 ? ADDRESS_ATTR_SIZE_IPV6 : ADDRESS_ATTR_SIZE_IPV4;
    const uint32_t address_count = random.between(1, 3);
    route.addr_generic_attrs = random_attributes(random, memory, address_count, address_size);
    zidl_rib_route_mark_addr_generic_attrs(&route);
    const uint32_t count = random.between(1, 4);
    route.generic_attrs_30 = random_attributes(random, memory, count, ATTR_SIZE);
    zidl_rib_route_mark_generic_attrs_30(&route);
}

void add_route_scalars(zidl_rib_route &route, random_source &random)
{
    zidl_rib_route_set_route_value_2(&route, random.below(1u << 16));
    zidl_rib_route_set_route_value_3(&route, random.below(8));
    zidl_rib_route_set_route_value_5(&route, random.below(256));
    zidl_rib_route_set_route_value_9(&route, random.magnitude32());
    zidl_rib_route_set_route_value_10(&route, random.magnitude32());
    zidl_rib_route_set_route_value_12(&route, random.magnitude32());
    zidl_rib_route_set_route_flags(&route, random.below(1u << 14));
    zidl_rib_route_set_route_value_40(&route, random.magnitude(64));
}

void add_layer_2(zidl_rib_route &route, random_source &random)
{
    zidl_rib_route_l2_info_set_route_l2_value_5(&route.route_l2_info, random.below(256));
    zidl_rib_route_mark_route_l2_info(&route);
}

void add_route_aft(zidl_rib_route &route, random_source &random)
{
    zidl_rib_route_aft_id_set_route_aft_id_value(&route.route_aft_id, random.magnitude(64));
    zidl_rib_route_aft_id_set_route_aft_value_6(&route.route_aft_id, random.magnitude32());
    zidl_rib_route_aft_id_set_route_aft_value_7(&route.route_aft_id, random.magnitude(64));
    zidl_rib_route_mark_route_aft_id(&route);
}

// Features of the paths of a route, one line a kind of service.
constexpr uint32_t SERVICES[] = {
    PATH_LABELS | PATH_ECOMM,
    PATH_LABELS | PATH_NEXT_NEXT_HOPS | PATH_GROUPING,
    PATH_SRV6 | PATH_ECOMM,
    PATH_TUNNEL | PATH_BACKUP_ADDRESSES,
    PATH_L2 | PATH_IID,
    PATH_AFT | PATH_SL_ID,
    PATH_BACKUP_ADDRESSES | PATH_LABELS,
    PATH_EVERYTHING,
};

zidl_rib_route route_to(const ip_prefix &prefix)
{
    zidl_rib_route route = {};
    route.route_prefix = prefix_message(prefix);
    zidl_rib_route_mark_route_prefix(&route);
    return route;
}

void add_paths(zidl_rib_route &route, random_source &random, scratch &memory, uint32_t count, uint32_t features,
               path_size size)
{
    route.paths = memory.array<zidl_rib_path>(count);
    route.paths_count = count;
    for (uint32_t index = 0; index < count; ++index)
        route.paths[index] = random_path(random, memory, features, size);
    zidl_rib_route_mark_paths(&route);
}

} // namespace

zidl_rib_route random_service_route(random_source &random, scratch &memory)
{
    const bool is_ipv6 = random.one_in(4);
    const uint32_t service = random.below(static_cast<uint32_t>(std::size(SERVICES)));
    const uint32_t path_count = random.one_in(4) ? random.between(2, 16) : 1;
    zidl_rib_route route = route_to(random_prefix(random, is_ipv6));
    add_route_scalars(route, random);
    add_paths(route, random, memory, path_count, SERVICES[service], path_size::usual);
    // Clients get no path that is marked like this; a router sends some.
    if (random.one_in(32))
        zidl_rib_path_set_path_value_27(&route.paths[path_count - 1], 1);
    if (random.one_in(8))
        add_algo_labels(route, random, memory, random.between(1, 8));
    if (random.one_in(8))
        add_attributes(route, random, memory, is_ipv6);
    if (random.one_in(16))
        add_advertisement(route, random, memory, random.between(1, 12));
    if (random.one_in(16))
        add_layer_2(route, random);
    if (random.one_in(16))
        add_route_aft(route, random);
    return route;
}

zidl_rib_route random_ecmp_route(random_source &random, scratch &memory, uint32_t path_count)
{
    constexpr uint32_t ECMP_FEATURES[] = {0, PATH_LABELS, PATH_LABELS | PATH_NEXT_NEXT_HOPS, PATH_GROUPING};
    const uint32_t kind = random.below(static_cast<uint32_t>(std::size(ECMP_FEATURES)));
    const bool is_ipv6 = random.one_in(4);
    zidl_rib_route route = route_to(random_prefix(random, is_ipv6));
    add_route_scalars(route, random);
    add_paths(route, random, memory, path_count, ECMP_FEATURES[kind], path_size::small);
    // With more paths than a client takes, a frame has too little room for all their members.
    while (encoded_size(route) > MAX_PAYLOAD_LEN)
        route.paths_count -= route.paths_count / 16;
    return route;
}

// ---- Grids and next-hop IDs ----

namespace
{

constexpr uint32_t KEY_TYPE_LABEL = 1;
constexpr uint32_t KEY_TYPE_SRV6 = 2;

zidl_rib_encap_id_path_key_label random_label_key(random_source &random, scratch &memory, key_size size)
{
    zidl_rib_encap_id_path_key_label msg = {};
    zidl_rib_encap_id_path_key_label_set_label_key_value(&msg, random.below(100));
    msg.labels_count = list_len(random, size, 2, 8, GRID_MAX_LABELS);
    msg.labels = memory.array<uint32_t>(msg.labels_count);
    for (uint32_t index = 0; index < msg.labels_count; ++index)
        msg.labels[index] = random_label(random);
    zidl_rib_encap_id_path_key_label_mark_labels(&msg);
    return msg;
}

zidl_rib_encap_id_path_key_srv6_carriers random_carriers(random_source &random, scratch &memory, key_size size)
{
    zidl_rib_encap_id_path_key_srv6_carriers msg = {};
    zidl_rib_srv6_oper_type_set_oper_selector(&msg.oper_type, static_cast<uint8_t>(random.below(2)));
    zidl_rib_srv6_oper_type_set_oper_when_set(&msg.oper_type, random.below(8));
    zidl_rib_srv6_oper_type_set_oper_when_clear(&msg.oper_type, random.below(8));
    zidl_rib_encap_id_path_key_srv6_carriers_mark_oper_type(&msg);
    msg.carriers_count = list_len(random, size, 1, 4, GRID_MAX_CARRIERS);
    msg.carriers = memory.array<zidl_rib_encap_id_path_key_srv6_carrier_info>(msg.carriers_count);
    for (uint32_t index = 0; index < msg.carriers_count; ++index) {
        zidl_rib_encap_id_path_key_srv6_carrier_info &carrier = msg.carriers[index];
        zidl_rib_encap_id_path_key_srv6_carrier_info_set_carrier_value_1(&carrier, random.below(100));
        zidl_rib_encap_id_path_key_srv6_carrier_info_set_carrier_value_2(&carrier, random.below(256));
        carrier.carrier_bytes_size = size == key_size::compact ? 4 : 16;
        carrier.carrier_bytes = memory.bytes(random_bytes(random, carrier.carrier_bytes_size));
        zidl_rib_encap_id_path_key_srv6_carrier_info_mark_carrier_bytes(&carrier);
    }
    zidl_rib_encap_id_path_key_srv6_carriers_mark_carriers(&msg);
    return msg;
}

void add_usual_members(zidl_rib_encap_id_key &key, random_source &random, scratch &memory, bool is_ipv6)
{
    zidl_rib_encap_id_key_set_key_value_6(&key, random.next32());
    zidl_rib_encap_id_key_set_key_value_8(&key, random.magnitude32());
    key.key_extra_prefixes_count = random.below(GRID_MAX_EXTRA_PREFIXES + 1);
    key.key_extra_prefixes = memory.array<zidl_rib_msg_prefix>(key.key_extra_prefixes_count);
    for (uint32_t index = 0; index < key.key_extra_prefixes_count; ++index)
        key.key_extra_prefixes[index] = flat_prefix_message(random_prefix(random, is_ipv6), memory);
    zidl_rib_encap_id_key_mark_key_extra_prefixes(&key);
    zidl_rib_encap_id_key_set_key_value_12(&key, random.magnitude32());
    zidl_rib_encap_id_key_set_key_value_13(&key, random.below(1u << 16));
    if (random.one_in(2))
        zidl_rib_encap_id_key_set_key_value_15(&key, random_label(random));
    zidl_rib_encap_id_key_set_key_value_16(&key, random.magnitude32());
    zidl_rib_encap_id_key_set_key_value_17(&key, random.below(1u << 16));
    zidl_rib_encap_id_key_set_key_value_18(&key, random.magnitude32());
    if (random.one_in(2))
        zidl_rib_encap_id_key_set_key_value_19(&key, random.magnitude32());
}

void add_type_data(zidl_rib_encap_id_key &key, random_source &random, scratch &memory, key_size size)
{
    if (key.key_type == KEY_TYPE_LABEL) {
        key.label_key = random_label_key(random, memory, size);
        zidl_rib_encap_id_key_mark_label_key(&key);
    }
    if (key.key_type != KEY_TYPE_SRV6)
        return;
    key.srv6_carriers = random_carriers(random, memory, size);
    zidl_rib_encap_id_key_mark_srv6_carriers(&key);
    if (size != key_size::compact) {
        key.key_bytes_20_size = 16;
        key.key_bytes_20 = memory.bytes(random_bytes(random, key.key_bytes_20_size));
        zidl_rib_encap_id_key_mark_key_bytes_20(&key);
    }
}

} // namespace

zidl_rib_encap_id_key random_key(random_source &random, scratch &memory, uint32_t key_type, key_size size)
{
    zidl_rib_encap_id_key key = {};
    const bool is_ipv6 = size == key_size::full || (size == key_size::usual && random.one_in(3));
    zidl_rib_encap_id_key_set_key_value_1(&key, random.below(1u << 14));
    zidl_rib_encap_id_key_set_key_value_2(&key, random.below(100));
    key.key_prefix = flat_prefix_message(random_prefix(random, is_ipv6), memory);
    zidl_rib_encap_id_key_mark_key_prefix(&key);
    zidl_rib_encap_id_key_set_key_value_4(&key, random.below(128));
    zidl_rib_encap_id_key_set_key_type(&key, key_type);
    // The client insists on the second prefix of a key that has data of its own.
    if (key_type == KEY_TYPE_LABEL || key_type == KEY_TYPE_SRV6) {
        key.key_second_prefix = flat_prefix_message(random_prefix(random, is_ipv6), memory);
        zidl_rib_encap_id_key_mark_key_second_prefix(&key);
    }
    if (size != key_size::compact)
        add_usual_members(key, random, memory, is_ipv6);
    add_type_data(key, random, memory, size);
    return key;
}

zidl_rib_grid_sync_list random_grid(random_source &random, scratch &memory, uint32_t key_count, bool multi_key,
                                    key_size size)
{
    constexpr uint32_t KEY_TYPES[] = {KEY_TYPE_LABEL, KEY_TYPE_LABEL, KEY_TYPE_SRV6, 3, 4};
    zidl_rib_grid_sync_list list = {};
    list.encap_ids = memory.array<zidl_rib_encap_id>(key_count);
    list.encap_ids_count = key_count;
    list.keys = memory.array<zidl_rib_encap_id_key>(key_count);
    list.keys_count = key_count;
    for (uint32_t index = 0; index < key_count; ++index) {
        zidl_rib_encap_id_set_encap_id(&list.encap_ids[index], random.below(1u << 28));
        const uint32_t type = KEY_TYPES[random.below(static_cast<uint32_t>(std::size(KEY_TYPES)))];
        list.keys[index] = random_key(random, memory, type, size);
    }
    zidl_rib_grid_sync_list_mark_encap_ids(&list);
    zidl_rib_grid_sync_list_mark_keys(&list);
    zidl_rib_grid_sync_list_set_multi_key(&list, multi_key ? 1 : 0);
    return list;
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

// ---- Protocol and opaque updates ----

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

} // namespace ribtool
