#include "tools/ribtool/record_json.hpp"

#include "tools/ribtool/addresses.hpp"

#include <algorithm>
#include <cstring>
#include <span>
#include <string>

namespace ribtool
{

namespace
{

constexpr uint32_t KEY_TYPE_LABEL = 1;
constexpr uint32_t KEY_TYPE_SRV6 = 2;

std::string hex(const uint8_t *bytes, size_t count)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * count);
    for (size_t index = 0; index < count; ++index) {
        text.push_back(DIGITS[bytes[index] >> 4]);
        text.push_back(DIGITS[bytes[index] & 15]);
    }
    return text;
}

// A character array that need not be terminated.
std::string text_in(const char *characters, size_t room)
{
    return {characters, strnlen(characters, room)};
}

std::string address(const rib_address_bytes &bytes, uint32_t family)
{
    if (family == RIB_FAMILY_IPV6)
        return ipv6_text(bytes);
    if (family != RIB_FAMILY_IPV4)
        return hex(bytes, sizeof bytes);
    uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return ipv4_text(value);
}

std::string address(const rib_address_bytes &bytes)
{
    return address(bytes, 0);
}

// Calls convert(element) for the first `count` elements.
template <class Element, class Convert>
json list(const Element *elements, size_t count, Convert convert)
{
    json result = json::array();
    for (size_t index = 0; index < count; ++index)
        result.push_back(convert(elements[index]));
    return result;
}

template <class Element>
json list(const Element *elements, size_t count)
{
    return list(elements, count, [](const Element &element) { return json(element); });
}

} // namespace

#define MEMBER(record, member) result[#member] = (record).member

json to_json(const rib_protoid_map &map)
{
    json result;
    MEMBER(map, proto_id);
    MEMBER(map, proto_sub_id);
    MEMBER(map, proto_value);
    result["proto_name"] = text_in(map.proto_name, sizeof map.proto_name);
    result["proto_extra_name"] = text_in(map.proto_extra_name, sizeof map.proto_extra_name);
    return result;
}

namespace
{

json block(const uint8_t *bytes, size_t len, const uint8_t *payload_end)
{
    if (bytes == nullptr)
        return nullptr;
    if (payload_end != nullptr) {
        const auto start = reinterpret_cast<uintptr_t>(bytes);
        const auto end = reinterpret_cast<uintptr_t>(payload_end);
        len = start < end ? std::min(len, end - start) : 0;
    }
    return hex(bytes, len);
}

} // namespace

json to_json(const rib_opaque_update &opaque, const uint8_t *payload_end)
{
    json result;
    MEMBER(opaque, opaque_type);
    MEMBER(opaque, opaque_id);
    MEMBER(opaque, first_len);
    MEMBER(opaque, second_len);
    MEMBER(opaque, opaque_value);
    result["first_block"] = block(opaque.first_block, opaque.first_len, payload_end);
    result["second_block"] = block(opaque.second_block, opaque.second_len, payload_end);
    return result;
}

// ---- Routes ----

namespace
{

json to_json(const rib_algo_label_entry &entry)
{
    json result;
    MEMBER(entry, algo);
    MEMBER(entry, label);
    MEMBER(entry, extra);
    return result;
}

json to_json(const rib_nnh_entry &entry)
{
    json result;
    MEMBER(entry, type);
    MEMBER(entry, value);
    return result;
}

json to_json(const rib_sid_info_entry &entry)
{
    json result;
    result["address"] = address(entry.address);
    MEMBER(entry, prefix_len);
    result["marker"] = entry.marker == 0 ? "" : std::string(1, static_cast<char>(entry.marker));
    return result;
}

json ecomm_block(const void *block)
{
    if (block == nullptr)
        return nullptr;
    json result;
    result["pe_ecomm_count"] = rib_ecomm_count(block);
    result["pe_ecomm_value_1"] = rib_ecomm_value_1(block);
    result["pe_ecomm_values"] = list(rib_ecomm_values(block), rib_ecomm_count(block));
    return result;
}

json advertisement_block(const void *block)
{
    return block == nullptr ? json() : list(rib_advertisement_values(block), rib_advertisement_count(block));
}

json attr_block(const void *block, uint32_t elem_size)
{
    if (block == nullptr)
        return nullptr;
    json result;
    result["array_type"] = rib_attr_block_type(block);
    result["attrs"] = json::array();
    for (uint32_t index = 0; index < rib_attr_block_count(block); ++index) {
        json attr;
        attr["attr_type"] = rib_attr_type(block, elem_size, index);
        attr["attr_data"] = hex(rib_attr_data(block, elem_size, index), elem_size);
        result["attrs"].push_back(std::move(attr));
    }
    return result;
}

json attr_blocks(const struct rib_routetype_ &route)
{
    json result = json::array();
    for (uint32_t index = 0; index < RIB_ATTR_BLOCKS; ++index)
        result.push_back(attr_block(route.rt_attr_blocks[index], rib_route_attr_size(&route, index)));
    return result;
}

json to_json(const rib_path_entry &path)
{
    json result;
    MEMBER(path, pe_value_1);
    MEMBER(path, pe_value_2);
    MEMBER(path, pe_value_3);
    result["pe_addr_4"] = address(path.pe_addr_4);
    result["pe_addr_5"] = address(path.pe_addr_5, path.pe_addr_5_family);
    MEMBER(path, pe_addr_5_family);
    result["pe_prefix"] = address(path.pe_prefix);
    MEMBER(path, pe_prefix_len);
    MEMBER(path, pe_value_8);
    result["pe_labels"] = list(path.pe_labels, RIB_MAX_PATH_LABELS);
    MEMBER(path, pe_value_10);
    MEMBER(path, pe_value_11);
    MEMBER(path, pe_value_12);
    MEMBER(path, pe_value_13);
    MEMBER(path, pe_label_count);
    MEMBER(path, pe_address_count);
    MEMBER(path, pe_value_28);
    MEMBER(path, pe_sid_info_count);
    MEMBER(path, pe_value_16);
    const size_t address_count = std::min<size_t>(path.pe_address_count, RIB_MAX_PATH_ADDRESSES);
    result["pe_addresses"] =
        list(path.pe_addresses, address_count, [](const rib_address_bytes &bytes) { return address(bytes); });
    result["pe_ipv6"] = address(path.pe_ipv6, RIB_FAMILY_IPV6);
    MEMBER(path, pe_value_19);
    result["pe_via_sid"] = address(path.pe_via_sid, RIB_FAMILY_IPV6);
    MEMBER(path, pe_via_sid_value);
    MEMBER(path, pe_nnh_count);
    const auto record = [](const auto &entry) { return to_json(entry); };
    result["pe_nnh"] = list(path.pe_nnh, std::min<size_t>(path.pe_nnh_count, RIB_MAX_NNH), record);
    MEMBER(path, pe_value_22);
    const size_t sid_info_count = std::min<size_t>(path.pe_sid_info_count, RIB_MAX_SID_INFOS);
    result["pe_sid_infos"] = list(path.pe_sid_infos, sid_info_count, record);
    MEMBER(path, pe_value_25);
    MEMBER(path, pe_value_31);
    MEMBER(path, pe_iid_value_1);
    result["pe_iid_prefix"] = address(path.pe_iid_prefix, path.pe_iid_prefix_family);
    MEMBER(path, pe_iid_prefix_family);
    MEMBER(path, pe_iid_prefix_len);
    MEMBER(path, pe_iid_value_4);
    MEMBER(path, pe_l2_5);
    MEMBER(path, pe_l2_6);
    MEMBER(path, pe_l2_7);
    MEMBER(path, pe_l2_8);
    MEMBER(path, pe_grouping_2);
    MEMBER(path, pe_tunnel_flags);
    MEMBER(path, pe_tunnel_7);
    MEMBER(path, pe_tunnel_9);
    MEMBER(path, pe_tunnel_8);
    MEMBER(path, pe_tunnel_10);
    MEMBER(path, pe_via_aft_id);
    MEMBER(path, pe_aft_6);
    MEMBER(path, pe_aft_7);
    MEMBER(path, pe_sl_kind);
    MEMBER(path, pe_sl_value);
    MEMBER(path, pe_ecomm_count);
    MEMBER(path, pe_ecomm_value_1);
    result["pe_ecomm_values"] = list(rib_path_ecomm_values(&path), path.pe_ecomm_count);
    return result;
}

json paths(const struct rib_routetype_ &route)
{
    json result = json::array();
    const rib_path_entry *path = rib_route_first_path(&route);
    for (uint32_t index = 0; index < route.rt_path_count; ++index, path = rib_route_next_path(path))
        result.push_back(to_json(*path));
    return result;
}

} // namespace

json to_json(const struct rib_routetype_ &route)
{
    json result;
    MEMBER(route, rt_family);
    MEMBER(route, rt_prefix_len);
    MEMBER(route, rt_value_4);
    MEMBER(route, rt_value_5);
    MEMBER(route, rt_value_19);
    MEMBER(route, rt_value_2);
    MEMBER(route, rt_value_3);
    MEMBER(route, rt_path_count);
    MEMBER(route, rt_value_6);
    MEMBER(route, rt_value_7);
    MEMBER(route, rt_value_8);
    result["rt_dest"] = address(route.rt_dest, route.rt_family);
    MEMBER(route, rt_value_9);
    MEMBER(route, rt_value_10);
    MEMBER(route, rt_value_11);
    MEMBER(route, rt_value_38);
    MEMBER(route, rt_value_12);
    MEMBER(route, rt_value_37);
    MEMBER(route, rt_value_13);
    MEMBER(route, rt_value_14);
    MEMBER(route, rt_value_15);
    MEMBER(route, rt_value_16);
    MEMBER(route, rt_value_40);
    MEMBER(route, rt_value_41);
    const size_t label_count = std::min<size_t>(route.rt_algo_label_count, RIB_MAX_ALGO_LABELS);
    result["rt_algo_labels"] =
        list(route.rt_algo_labels, label_count, [](const rib_algo_label_entry &entry) { return to_json(entry); });
    MEMBER(route, rt_value_18);
    MEMBER(route, rt_value_20);
    MEMBER(route, rt_value_21);
    MEMBER(route, rt_value_22);
    MEMBER(route, rt_flags);
    MEMBER(route, rt_value_25);
    MEMBER(route, rt_l2_value);
    MEMBER(route, rt_aft_id);
    MEMBER(route, rt_aft_value_6);
    MEMBER(route, rt_aft_value_7);
    MEMBER(route, rt_aft_valid);
    MEMBER(route, rt_value_35);
    MEMBER(route, rt_value_35_copy);
    MEMBER(route, rt_algo_label_count);
    result["rt_advertisement"] = advertisement_block(route.rt_advertisement);
    result["rt_first_ecomm"] = ecomm_block(route.rt_first_ecomm);
    result["rt_attr_blocks"] = attr_blocks(route);
    result["paths"] = paths(route);
    return result;
}

// ---- Grids and next-hop IDs ----

namespace
{

json to_json(const struct ip_addr &prefix)
{
    json result;
    result["family"] = prefix.family;
    result["prefix_len"] = prefix.prefix_len;
    if (prefix.family == RIB_SOCKET_FAMILY_IPV6)
        result["addr"] = ipv6_text(prefix.addr.ipv6_addr);
    else if (prefix.family == RIB_SOCKET_FAMILY_IPV4)
        result["addr"] = ipv4_text(prefix.addr.ipv4_addr);
    else
        result["addr"] = hex(prefix.addr.ipv6_addr, sizeof prefix.addr.ipv6_addr);
    return result;
}

json to_json(const rib_encap_label_key &key)
{
    json result;
    MEMBER(key, label_key_value);
    MEMBER(key, label_count);
    result["labels"] = list(key.labels, std::min<size_t>(key.label_count, GRID_MAX_LABELS));
    return result;
}

json to_json(const rib_encap_carrier &carrier)
{
    json result;
    MEMBER(carrier, carrier_value_1);
    MEMBER(carrier, carrier_value_2);
    result["carrier_bytes"] = hex(carrier.carrier_bytes, sizeof carrier.carrier_bytes);
    return result;
}

json to_json(const rib_encap_srv6_key &key)
{
    json result;
    MEMBER(key, oper_selector);
    MEMBER(key, oper);
    MEMBER(key, carrier_count);
    result["carriers"] = list(key.carriers, std::min<size_t>(key.carrier_count, GRID_MAX_CARRIERS),
                              [](const rib_encap_carrier &carrier) { return to_json(carrier); });
    return result;
}

json to_json(const rib_encap_id_path_key_t &key)
{
    json result;
    MEMBER(key, key_value_1);
    MEMBER(key, key_value_2);
    result["key_prefix"] = to_json(key.key_prefix);
    MEMBER(key, key_value_4);
    MEMBER(key, key_value_6);
    MEMBER(key, key_value_13);
    result["key_second_prefix"] = to_json(key.key_second_prefix);
    MEMBER(key, key_value_8);
    const size_t extra_count = std::min<size_t>(key.key_extra_prefix_count, GRID_MAX_EXTRA_PREFIXES);
    result["key_extra_prefixes"] =
        list(key.key_extra_prefixes, extra_count, [](const struct ip_addr &prefix) { return to_json(prefix); });
    MEMBER(key, key_extra_prefix_count);
    MEMBER(key, key_type);
    MEMBER(key, key_value_15);
    MEMBER(key, key_value_16);
    MEMBER(key, key_value_17);
    MEMBER(key, key_value_18);
    MEMBER(key, key_value_19);
    if (key.key_type == KEY_TYPE_LABEL)
        result["label"] = to_json(key.type_data.label);
    if (key.key_type == KEY_TYPE_SRV6)
        result["srv6"] = to_json(key.type_data.srv6);
    result["key_bytes_20"] = hex(key.key_bytes_20, sizeof key.key_bytes_20);
    MEMBER(key, key_value_12);
    return result;
}

} // namespace

json to_json(const grid_sync_list &grid)
{
    json result;
    result["encap_ids"] = list(grid.encap_ids, grid.count);
    result["keys"] = list(grid.keys, grid.count, [](const rib_encap_id_path_key_t &key) { return to_json(key); });
    MEMBER(grid, count);
    result["multi_key"] = grid.multi_key;
    return result;
}

json to_json(const nhid_update_local &update)
{
    json result;
    MEMBER(update, address_family);
    result["address"] = address(update.address, update.address_family);
    MEMBER(update, key_value_3);
    MEMBER(update, key_value_1);
    MEMBER(update, key_value_4);
    MEMBER(update, nhid);
    MEMBER(update, update_value_1);
    return result;
}

#undef MEMBER

} // namespace ribtool
