#include "tools/ribtool/generate/random_routes.hpp"

#include "tools/ribtool/generate/random_values.hpp"
#include "tools/ribtool/messages/encode.hpp"

#include <iterator>

namespace ribtool
{

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
               extent size)
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
    add_paths(route, random, memory, path_count, SERVICES[service], extent::usual);
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
    add_paths(route, random, memory, path_count, ECMP_FEATURES[kind], extent::small);
    // With more paths than a client takes, a frame has too little room for all their members.
    while (encoded_size(route) > MAX_PAYLOAD_LEN)
        route.paths_count -= route.paths_count / 16;
    return route;
}

} // namespace ribtool
