#include "tools/ribtool/library/older_route_client.hpp"

#include "tools/ribtool/library/older_forms.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace ribtool
{

namespace
{

struct rib_routetype_ *converted = nullptr;
bool released = false;

// Addresses travel in network order; records hold IPv4 as a number.
void store_address(rib_address_bytes &out, uint32_t family, const uint8_t *bytes)
{
    if (family == RIB_FAMILY_IPV6) {
        std::memcpy(out, bytes, sizeof out);
        return;
    }
    const uint32_t value = read_be32(bytes);
    std::memcpy(out, &value, sizeof value);
}

void convert_path(rib_path_entry &entry, const uint8_t *path)
{
    entry.pe_addr_5_family = read_be32(path);
    store_address(entry.pe_addr_5, entry.pe_addr_5_family, path + 4);
    entry.pe_value_10 = read_be32(path + 20);
    std::fill(std::begin(entry.pe_labels), std::end(entry.pe_labels), uint32_t{RIB_NO_LABEL});
    entry.pe_prefix_len = RIB_NO_PREFIX_LEN;
    entry.pe_value_19 = RIB_NO_LABEL;
}

} // namespace

struct rib_routetype_ *convert_older_route(rib_tlv_t *, uchar_t **cursor)
{
    const uint8_t *payload = *cursor;
    const older_route_head head = older_route_head_of(payload);
    void *memory = std::calloc(1, sizeof(struct rib_routetype_) + head.path_count * sizeof(rib_path_entry));
    if (memory == nullptr)
        return nullptr;
    auto *route = static_cast<struct rib_routetype_ *>(memory);
    route->rt_family = head.family;
    route->rt_prefix_len = head.prefix_len;
    route->rt_value_2 = head.kind;
    route->rt_value_9 = head.metric;
    store_address(route->rt_dest, route->rt_family, head.address.data());
    route->rt_path_count = head.path_count;
    auto *entry = reinterpret_cast<rib_path_entry *>(route + 1);
    for (uint32_t index = 0; index < head.path_count; ++index)
        convert_path(entry[index], payload + OLDER_ROUTE_FIXED_LEN + index * OLDER_ROUTE_PATH_LEN);
    forget_older_routes();
    converted = route;
    return route;
}

void release_older_route(struct rib_routetype_ *)
{
    released = true;
}

bool older_route_released()
{
    return released;
}

void forget_older_routes()
{
    std::free(converted);
    converted = nullptr;
    released = false;
}

} // namespace ribtool
