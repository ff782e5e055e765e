#include "tools/ribtool/generate/worst_case.hpp"

#include "tools/ribtool/generate/random_grids.hpp"
#include "tools/ribtool/generate/random_routes.hpp"
#include "tools/ribtool/generate/random_updates.hpp"
#include "tools/ribtool/library/older_forms.hpp"
#include "tools/ribtool/messages/encode.hpp"

#include <algorithm>
#include <iterator>

namespace ribtool
{

namespace
{

// How many elements fit into a frame, when `size_of(count)` is the size of the payload with that many.
template <class SizeOf>
uint32_t most_that_fit(uint32_t limit, SizeOf size_of)
{
    uint32_t fits = 0;
    uint32_t too_many = limit + 1;
    while (too_many - fits > 1) {
        const uint32_t middle = fits + (too_many - fits) / 2;
        (size_of(middle) <= MAX_PAYLOAD_LEN ? fits : too_many) = middle;
    }
    return fits;
}

// Cuts an array of `msg` to what fits into a frame, and encodes the rest.
template <class Message>
byte_vector encoded_cut(Message &msg, uint32_t &count)
{
    const uint32_t most = count;
    count = most_that_fit(most, [&](uint32_t tried) {
        count = tried;
        return encoded_size(msg);
    });
    return encoded(msg);
}

zidl_rib_route route_with_paths(scratch &memory, uint32_t count)
{
    zidl_rib_route route = {};
    route.paths = memory.array<zidl_rib_path>(count);
    route.paths_count = count;
    zidl_rib_route_mark_paths(&route);
    return route;
}

// Three bytes a path, 5 KB each in the client's record.
update empty_paths(random_source &, scratch &memory)
{
    zidl_rib_route route = route_with_paths(memory, MAX_PAYLOAD_LEN / 3);
    return {RIB_TLV_ROUTE, encoded_cut(route, route.paths_count)};
}

update full_paths(random_source &random, scratch &memory)
{
    zidl_rib_route route = route_with_paths(memory, 64);
    for (uint32_t index = 0; index < route.paths_count; ++index)
        route.paths[index] = random_path(random, memory, PATH_EVERYTHING, extent::full);
    return {RIB_TLV_ROUTE, encoded_cut(route, route.paths_count)};
}

// More paths than a client takes, each with something in it.
update many_paths(random_source &random, scratch &memory)
{
    zidl_rib_route route = route_with_paths(memory, 2 * RIB_MAX_PATHS);
    for (uint32_t index = 0; index < route.paths_count; ++index)
        route.paths[index] = random_path(random, memory, PATH_LABELS, extent::small);
    return {RIB_TLV_ROUTE, encoded_cut(route, route.paths_count)};
}

update many_communities(random_source &random, scratch &memory)
{
    zidl_rib_route route = route_with_paths(memory, 1);
    zidl_rib_ecomm_array &ecomm = route.paths[0].ecomm;
    ecomm.ecomm_count = MAX_PAYLOAD_LEN / 2;
    ecomm.ecomm_values = memory.array<uint64_t>(ecomm.ecomm_count);
    for (uint32_t index = 0; index < ecomm.ecomm_count; ++index)
        ecomm.ecomm_values[index] = random.below(128);
    zidl_rib_ecomm_array_mark_ecomm_values(&ecomm);
    return {RIB_TLV_ROUTE, encoded_cut(route, ecomm.ecomm_count)};
}

update many_attributes(random_source &random, scratch &memory)
{
    zidl_rib_route route = {};
    route.generic_attrs_29 = random_attributes(random, memory, 6000, 8);
    return {RIB_TLV_ROUTE, encoded_cut(route, route.generic_attrs_29.attrs_count)};
}

update many_algo_labels(random_source &random, scratch &memory)
{
    zidl_rib_route route = {};
    add_algo_labels(route, random, memory, 10000);
    return {RIB_TLV_ROUTE, encoded_cut(route, route.algo_labels_count)};
}

update many_advertised_values(random_source &random, scratch &memory)
{
    zidl_rib_route route = {};
    add_advertisement(route, random, memory, MAX_PAYLOAD_LEN / 2);
    return {RIB_TLV_ROUTE, encoded_cut(route, route.client_advertisement.advertised_values_count)};
}

update long_names(random_source &random, scratch &memory)
{
    zidl_ip_rib_proto_update msg = {};
    zidl_ip_rib_proto_update_set_proto_id(&msg, random.below(1u << 16));
    const std::string name(32760, 'n');
    msg.proto_name = memory.text(name);
    zidl_ip_rib_proto_update_mark_proto_name(&msg);
    msg.proto_extra_name = memory.text(name);
    zidl_ip_rib_proto_update_mark_proto_extra_name(&msg);
    return {RIB_TLV_PROTO, encoded(msg)};
}

update large_blocks(random_source &random, scratch &memory)
{
    zidl_ip_rib_opaque msg = {};
    zidl_ip_rib_opaque_set_opaque_id(&msg, random.next32());
    msg.first_block_size = 32700;
    msg.first_block = memory.array<uint8_t>(msg.first_block_size);
    zidl_ip_rib_opaque_mark_first_block(&msg);
    msg.second_block_size = 32800;
    msg.second_block = memory.array<uint8_t>(msg.second_block_size);
    zidl_ip_rib_opaque_mark_second_block(&msg);
    return {RIB_TLV_OPAQUE, encoded(msg)};
}

update large_older_blocks(random_source &random, scratch &)
{
    const byte_vector first(40000, 0x11);
    const byte_vector second(MAX_PAYLOAD_LEN - OLDER_OPAQUE_FIXED_LEN - first.size(), 0x22);
    older_opaque older;
    older.opaque_id = random.next32();
    older.first_block = first;
    older.second_block = second;
    return {RIB_TLV_OLD_OPAQUE, payload_of(older)};
}

// A record of 92 bytes with as much behind it as a frame can carry.
update padded_older_proto(random_source &random, scratch &)
{
    update result = random_older_proto(random);
    result.payload.resize(MAX_PAYLOAD_LEN);
    return result;
}

update many_older_paths(random_source &random, scratch &)
{
    older_route older;
    older.prefix.address = random_address(random, true);
    older.prefix.length = 128;
    older.paths.resize((MAX_PAYLOAD_LEN - OLDER_ROUTE_FIXED_LEN) / OLDER_ROUTE_PATH_LEN);
    for (older_path &path : older.paths)
        path.next_hop = random_address(random, true);
    return {RIB_TLV_OLD_ROUTE, payload_of(older)};
}

update most_keys(random_source &random, scratch &memory)
{
    const zidl_rib_grid_sync_list list = random_grid(random, memory, GRID_MAX_KEYS, true, extent::small);
    return {RIB_TLV_GRID, encoded(list)};
}

// As many keys with all their members, most labels and most carriers as fit; one ID a key.
update largest_keys(random_source &random, scratch &memory)
{
    zidl_rib_grid_sync_list list = random_grid(random, memory, 512, true, extent::full);
    list.keys_count = most_that_fit(list.keys_count, [&](uint32_t tried) {
        list.keys_count = list.encap_ids_count = tried;
        return encoded_size(list);
    });
    list.encap_ids_count = list.keys_count;
    return {RIB_TLV_GRID, encoded(list)};
}

update longest_nhid(random_source &random, scratch &)
{
    zidl_rib_nhid_update msg = {};
    zidl_rib_nhid_update_set_nhid_update_value_1(&msg, UINT32_MAX);
    zidl_rib_nhid_encap_key_set_nhid_key_value_1(&msg.nhid_encap_key, UINT32_MAX);
    msg.nhid_encap_key.nhid_key_address = address_message(random_address(random, true));
    zidl_rib_nhid_encap_key_set_nhid_key_value_3(&msg.nhid_encap_key, UINT32_MAX);
    zidl_rib_nhid_encap_key_set_nhid_key_value_4(&msg.nhid_encap_key, UINT32_MAX);
    zidl_rib_nhid_update_set_nhid(&msg, UINT64_MAX);
    return {RIB_TLV_NHID, encoded(msg)};
}

using maker = update (*)(random_source &, scratch &);
constexpr maker MAKERS[] = {
    empty_paths,
    full_paths,
    many_paths,
    many_communities,
    many_attributes,
    many_algo_labels,
    many_advertised_values,
    long_names,
    large_blocks,
    large_older_blocks,
    padded_older_proto,
    many_older_paths,
    most_keys,
    largest_keys,
    longest_nhid,
};

static_assert(std::size(MAKERS) == worst_case_kinds);

} // namespace

update worst_case_update(uint32_t kind, random_source &random, scratch &memory)
{
    return MAKERS[kind](random, memory);
}

} // namespace ribtool
