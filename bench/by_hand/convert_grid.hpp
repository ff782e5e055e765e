// Grid lists by hand. The arrays are cleared, as far as the list is long, before they are filled.

#pragma once

#include "bench/by_hand/member_access.hpp"
#include "ip/rib/lib/src/rib_lib.h"

#include <algorithm>
#include <cstring>

namespace bench::by_hand
{

// False when there are more bytes than fit.
template <size_t room>
bool copy_few_bytes(uint8_t (&to)[room], std::span<const uint8_t> from)
{
    if (from.size() > room)
        return false;
    if (!from.empty())
        std::memcpy(to, from.data(), from.size());
    return true;
}

template <class Prefix>
bool convert_grid_prefix(const Prefix &msg, struct ip_addr &prefix)
{
    if (!HAS(msg, family) || !HAS(msg, prefix_len))
        return false;
    prefix.family = static_cast<uint8_t>(GET(msg, family));
    prefix.prefix_len = static_cast<uint8_t>(GET(msg, prefix_len));
    if (GET(msg, family) == RIB_SOCKET_FAMILY_IPV4) {
        prefix.addr.ipv4_addr = GET(msg, ipv4);
        return true;
    }
    return GET(msg, family) == RIB_SOCKET_FAMILY_IPV6 && HAS(msg, ipv6) &&
           copy_few_bytes(prefix.addr.ipv6_addr, as_bytes(GET(msg, ipv6)));
}

template <class Label>
bool convert_label_key(const Label &msg, rib_encap_label_key &label)
{
    if (COUNT(msg, labels) > GRID_MAX_LABELS)
        return false;
    label.label_key_value = GET(msg, label_key_value);
    label.label_count = static_cast<uint8_t>(COUNT(msg, labels));
    for (size_t i = 0; i < label.label_count; ++i)
        label.labels[i] = ELEMENT(msg, labels, i);
    return true;
}

template <class Carriers>
bool convert_srv6_key(const Carriers &msg, rib_encap_srv6_key &srv6)
{
    if (!HAS(msg, oper_type))
        return false;
    srv6.carrier_count = static_cast<uint8_t>(std::min<size_t>(COUNT(msg, carriers), GRID_MAX_CARRIERS));
    for (size_t i = 0; i < srv6.carrier_count; ++i) {
        const auto &from = ELEMENT(msg, carriers, i);
        rib_encap_carrier &carrier = srv6.carriers[i];
        COPY_PRESENT(carrier.carrier_value_1, from, carrier_value_1);
        COPY_PRESENT(carrier.carrier_value_2, from, carrier_value_2);
        if (HAS(from, carrier_bytes) && !copy_few_bytes(carrier.carrier_bytes, as_bytes(GET(from, carrier_bytes))))
            return false;
    }
    const auto &oper = GET(msg, oper_type);
    srv6.oper_selector = GET(oper, oper_selector) ? 1 : 0;
    if (srv6.oper_selector != 0)
        COPY_PRESENT(srv6.oper, oper, oper_when_set);
    else
        COPY_PRESENT(srv6.oper, oper, oper_when_clear);
    return true;
}

template <class Key>
bool convert_type_data(const Key &msg, rib_encap_id_path_key_t &key)
{
    if (key.key_type == 1)
        return HAS(msg, label_key) && convert_label_key(GET(msg, label_key), key.type_data.label);
    if (key.key_type != 2 || !HAS(msg, srv6_carriers))
        return false;
    return convert_srv6_key(GET(msg, srv6_carriers), key.type_data.srv6) &&
           (!HAS(msg, key_bytes_20) || copy_few_bytes(key.key_bytes_20, as_bytes(GET(msg, key_bytes_20))));
}

template <class Key>
bool convert_grid_key(const Key &msg, rib_encap_id_path_key_t &key)
{
    if (!HAS(msg, key_value_1) || !HAS(msg, key_value_2) || !HAS(msg, key_prefix) || !HAS(msg, key_value_4) ||
        !HAS(msg, key_type))
        return false;
    key.key_value_1 = GET(msg, key_value_1);
    key.key_value_2 = GET(msg, key_value_2);
    key.key_value_4 = static_cast<uint8_t>(GET(msg, key_value_4));
    key.key_type = GET(msg, key_type);
    COPY_PRESENT(key.key_value_12, msg, key_value_12);
    COPY_PRESENT(key.key_value_16, msg, key_value_16);
    COPY_PRESENT(key.key_value_17, msg, key_value_17);
    if (!convert_grid_prefix(GET(msg, key_prefix), key.key_prefix))
        return false;
    if (key.key_type == 3 || key.key_type == 4)
        return true;
    COPY_PRESENT(key.key_value_6, msg, key_value_6);
    COPY_PRESENT(key.key_value_8, msg, key_value_8);
    COPY_PRESENT(key.key_value_13, msg, key_value_13);
    key.key_value_15 = RIB_NO_LABEL;
    COPY_PRESENT(key.key_value_15, msg, key_value_15);
    COPY_PRESENT(key.key_value_18, msg, key_value_18);
    COPY_PRESENT(key.key_value_19, msg, key_value_19);
    if (!HAS(msg, key_second_prefix) || !convert_grid_prefix(GET(msg, key_second_prefix), key.key_second_prefix) ||
        COUNT(msg, key_extra_prefixes) > GRID_MAX_EXTRA_PREFIXES)
        return false;
    key.key_extra_prefix_count = static_cast<uint8_t>(COUNT(msg, key_extra_prefixes));
    for (size_t i = 0; i < key.key_extra_prefix_count; ++i) {
        if (!convert_grid_prefix(ELEMENT(msg, key_extra_prefixes, i), key.key_extra_prefixes[i]))
            return false;
    }
    return convert_type_data(msg, key);
}

// The caller's arrays have room for GRID_MAX_KEYS elements.
template <class List>
bool convert_grid(const List &msg, grid_sync_list &list)
{
    const size_t count = COUNT(msg, keys);
    list.multi_key = GET(msg, multi_key) ? 1 : 0;
    if (!HAS(msg, multi_key) || COUNT(msg, encap_ids) == 0 || count < 1 ||
        count > (list.multi_key != 0 ? size_t{GRID_MAX_KEYS} : 1))
        return false;
    if (list.multi_key != 0 && COUNT(msg, encap_ids) != count)
        return false;
    list.count = static_cast<uint32_t>(count);
    std::memset(list.keys, 0, count * sizeof *list.keys);
    for (size_t i = 0; i < count; ++i) {
        if (list.multi_key != 0)
            list.encap_ids[i] = GET(ELEMENT(msg, encap_ids, i), encap_id);
        if (!convert_grid_key(ELEMENT(msg, keys, i), list.keys[i]))
            return false;
    }
    return true;
}

} // namespace bench::by_hand
