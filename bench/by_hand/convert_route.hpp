// A route by hand: one block from calloc with the header and its paths, side blocks of their own.

#pragma once

#include "bench/by_hand/convert_path.hpp"

#include <cstdlib>

namespace bench::by_hand
{

template <class Route>
void convert_route_scalars(const Route &msg, struct rib_routetype_ &route)
{
    COPY_PRESENT(route.rt_value_2, msg, route_value_2);
    COPY_PRESENT(route.rt_value_3, msg, route_value_3);
    COPY_PRESENT(route.rt_value_4, msg, route_value_4);
    COPY_PRESENT(route.rt_value_5, msg, route_value_5);
    COPY_PRESENT(route.rt_value_6, msg, route_value_6);
    COPY_PRESENT(route.rt_value_7, msg, route_value_7);
    COPY_PRESENT(route.rt_value_8, msg, route_value_8);
    COPY_PRESENT(route.rt_value_9, msg, route_value_9);
    COPY_PRESENT(route.rt_value_10, msg, route_value_10);
    COPY_PRESENT(route.rt_value_11, msg, route_value_11);
    COPY_PRESENT(route.rt_value_12, msg, route_value_12);
    COPY_PRESENT(route.rt_value_13, msg, route_value_13);
    COPY_PRESENT(route.rt_value_14, msg, route_value_14);
    COPY_PRESENT(route.rt_value_15, msg, route_value_15);
    COPY_PRESENT(route.rt_value_16, msg, route_value_16);
    COPY_PRESENT(route.rt_value_18, msg, route_value_18);
    COPY_PRESENT(route.rt_value_19, msg, route_value_19);
    COPY_PRESENT(route.rt_value_20, msg, route_value_20);
    COPY_PRESENT(route.rt_value_21, msg, route_value_21);
    COPY_PRESENT(route.rt_value_22, msg, route_value_22);
    COPY_PRESENT(route.rt_value_25, msg, route_value_25);
    COPY_PRESENT(route.rt_value_35, msg, route_value_35);
    COPY_PRESENT(route.rt_value_37, msg, route_value_37);
    COPY_PRESENT(route.rt_value_38, msg, route_value_38);
    COPY_PRESENT(route.rt_value_40, msg, route_value_40);
    COPY_PRESENT(route.rt_value_41, msg, route_value_41);
    const uint64_t flags = GET(msg, route_flags);
    route.rt_flags = (flags & 0xef) | (flags >> 4 & 0x10) | (flags >> 1 & 0x1f00);
    if ((route.rt_flags & 1 << 2) != 0)
        route.rt_value_35_copy = route.rt_value_35;
}

template <class Route>
void convert_algo_labels(const Route &msg, struct rib_routetype_ &route)
{
    const size_t count = COUNT(msg, algo_labels);
    for (size_t i = 0; i < count && route.rt_algo_label_count < RIB_MAX_ALGO_LABELS; ++i) {
        const auto &label = ELEMENT(msg, algo_labels, i);
        if (!HAS(label, algo_label_value_1) || !HAS(label, algo_label_value_2) || HAS(label, algo_label_value_3))
            continue;
        rib_algo_label_entry &entry = route.rt_algo_labels[route.rt_algo_label_count++];
        entry.algo = static_cast<uint8_t>(GET(label, algo_label_value_2));
        entry.label = GET(label, algo_label_value_1);
        COPY_PRESENT(entry.extra, label, algo_label_value_4);
    }
}

template <class Route>
void convert_route_blocks(const Route &msg, struct rib_routetype_ &route)
{
    if (HAS(msg, route_l2_info)) {
        const auto &l2 = GET(msg, route_l2_info);
        if (GET(l2, route_l2_value_1) <= 1)
            COPY_PRESENT(route.rt_l2_value, l2, route_l2_value_5);
    }
    if (!HAS(msg, route_aft_id))
        return;
    const auto &aft = GET(msg, route_aft_id);
    if (HAS(aft, route_aft_value_1) || !HAS(aft, route_aft_id_value) || !HAS(aft, route_aft_value_6) ||
        !HAS(aft, route_aft_value_7))
        return;
    route.rt_aft_id = GET(aft, route_aft_id_value);
    route.rt_aft_value_6 = GET(aft, route_aft_value_6);
    route.rt_aft_value_7 = GET(aft, route_aft_value_7);
    route.rt_aft_valid = 1;
}

template <class Value>
uint8_t *append(uint8_t *at, Value value)
{
    std::memcpy(at, &value, sizeof value);
    return at + sizeof value;
}

template <class Advertisement>
void *convert_advertisement(const Advertisement &msg)
{
    const size_t count = COUNT(msg, advertised_values);
    auto *const block = static_cast<uint8_t *>(std::malloc(sizeof(uint32_t) + count * sizeof(uint16_t)));
    uint8_t *at = append(block, static_cast<uint32_t>(count));
    for (size_t i = 0; i < count; ++i)
        at = append(at, static_cast<uint16_t>(ELEMENT(msg, advertised_values, i)));
    return block;
}

// Null when an attribute has another size.
template <class Attributes>
void *convert_attributes(const Attributes &msg, size_t size)
{
    const size_t count = COUNT(msg, attrs);
    auto *const block = static_cast<uint8_t *>(std::malloc(2 * sizeof(uint16_t) + count * (size + sizeof(uint32_t))));
    uint8_t *at = append(block, static_cast<uint16_t>(GET(msg, array_type)));
    at = append(at, static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) {
        const auto &attr = ELEMENT(msg, attrs, i);
        const auto data = as_bytes(GET(attr, attr_data));
        if (data.size() != size) {
            std::free(block);
            return nullptr;
        }
        std::memcpy(at, data.data(), size);
        at = append(at + size, static_cast<uint32_t>(GET(attr, attr_type)));
    }
    return block;
}

template <class Route>
void convert_side_blocks(const Route &msg, struct rib_routetype_ &route)
{
    if (HAS(msg, client_advertisement))
        route.rt_advertisement = convert_advertisement(GET(msg, client_advertisement));
#define CONVERT(index, field)                                                                                          \
    if (HAS(msg, field))                                                                                               \
    route.rt_attr_blocks[index] = convert_attributes(GET(msg, field), rib_route_attr_size(&route, index))
    CONVERT(0, addr_generic_attrs);
    CONVERT(1, generic_attrs_29);
    CONVERT(2, generic_attrs_30);
    CONVERT(3, generic_attrs_31);
    CONVERT(4, generic_attrs_32);
    CONVERT(5, generic_attrs_33);
#undef CONVERT
}

template <class Route>
size_t record_size(const Route &msg)
{
    size_t size = sizeof(struct rib_routetype_);
    for (size_t i = 0; i < COUNT(msg, paths); ++i) {
        const auto &path = ELEMENT(msg, paths, i);
        if (!HAS(path, path_value_27))
            size += sizeof(rib_path_entry) + ecomm_room(path) * sizeof(uint64_t);
    }
    return size;
}

template <class Route>
void convert_paths(const Route &msg, struct rib_routetype_ &route)
{
    uint8_t *place = reinterpret_cast<uint8_t *>(&route + 1);
    for (size_t i = 0; i < COUNT(msg, paths) && route.rt_path_count < RIB_MAX_PATHS; ++i) {
        const auto &path = ELEMENT(msg, paths, i);
        if (HAS(path, path_value_27))
            continue;
        auto &entry = *reinterpret_cast<rib_path_entry *>(place);
        const size_t size = sizeof entry + ecomm_room(path) * sizeof(uint64_t);
        if (!convert_path(path, entry)) {
            std::memset(place, 0, size);
            continue;
        }
        route.rt_path_count++;
        place += size;
        if (route.rt_first_ecomm == nullptr && HAS(path, ecomm))
            route.rt_first_ecomm = &entry.pe_ecomm_count;
    }
}

// No calls for blocks that are not there, which are most: the client library saves them, too.
inline void release_route(struct rib_routetype_ *route)
{
    if (route->rt_advertisement != nullptr)
        std::free(route->rt_advertisement);
    for (void *const block : route->rt_attr_blocks) {
        if (block != nullptr)
            std::free(block);
    }
    std::free(route);
}

// Null when the route is not for a client.
template <class Route>
struct rib_routetype_ *convert_route(const Route &msg)
{
    if (HAS(msg, route_value_34))
        return nullptr;
    auto *const route = static_cast<struct rib_routetype_ *>(std::calloc(1, record_size(msg)));
    if (route == nullptr)
        return nullptr;
    if (HAS(msg, route_prefix)) {
        uint32_t len = 0;
        if (!convert_prefix(GET(msg, route_prefix), route->rt_dest, &len, &route->rt_family)) {
            std::free(route);
            return nullptr;
        }
        route->rt_prefix_len = static_cast<uint8_t>(len);
    }
    convert_route_scalars(msg, *route);
    convert_algo_labels(msg, *route);
    convert_route_blocks(msg, *route);
    convert_side_blocks(msg, *route);
    convert_paths(msg, *route);
    return route;
}

} // namespace bench::by_hand
