#include "tools/ribtool/generate/update_stream.hpp"

#include "tools/ribtool/generate/random_grids.hpp"
#include "tools/ribtool/generate/random_routes.hpp"
#include "tools/ribtool/generate/random_updates.hpp"
#include "tools/ribtool/generate/worst_case.hpp"
#include "tools/ribtool/messages/encode.hpp"

#include <algorithm>
#include <iterator>

namespace ribtool
{

namespace
{

update proto_or_opaque(stream_state &from)
{
    switch (from.random.below(4)) {
    case 0:
        return random_proto(from.random, from.memory);
    case 1:
        return random_older_proto(from.random);
    case 2:
        return random_opaque(from.random, from.memory);
    default:
        return random_older_opaque(from.random);
    }
}

update table_update(stream_state &from)
{
    const table_route route = from.table.draw(from.random);
    return {RIB_TLV_ROUTE, encoded(route_message(route, from.memory))};
}

update single_path_update(stream_state &from)
{
    const table_route route = from.table.draw_single_path(from.random);
    return {RIB_TLV_ROUTE, encoded(route_message(route, from.memory))};
}

// Few paths are usual and many are not; some routes have more than a client takes.
update ecmp_update(stream_state &from)
{
    constexpr uint32_t MOST[] = {8, 8, 16, 16, 32, 64, 128, 256, 512, 1200};
    const uint32_t most = MOST[from.random.below(static_cast<uint32_t>(std::size(MOST)))];
    const uint32_t path_count = from.random.between(2, most);
    return {RIB_TLV_ROUTE, encoded(random_ecmp_route(from.random, from.memory, path_count))};
}

update grid_of_at_most(uint32_t most_keys, stream_state &from)
{
    constexpr uint32_t MOST_USUAL_KEYS = 128; // more do not fit into a frame unless they are small
    random_source &random = from.random;
    const bool multi_key = !random.one_in(8);
    // Each magnitude is as likely as any other, and the most that there can be comes up.
    uint32_t key_count = 1;
    if (multi_key)
        key_count = random.one_in(16) ? most_keys : random.between(1, 1u << random.below(11));
    key_count = std::min(key_count, most_keys);
    const extent size = key_count > MOST_USUAL_KEYS ? extent::small : extent::usual;
    return {RIB_TLV_GRID, encoded(random_grid(random, from.memory, key_count, multi_key, size))};
}

update grid_update(stream_state &from)
{
    return grid_of_at_most(GRID_MAX_KEYS, from);
}

update nhid_update(stream_state &from)
{
    return random_nhid(from.random);
}

// All eight type codes, routes above all.
update any_update(stream_state &from)
{
    constexpr uint32_t MOST_KEYS = 16;
    const uint32_t draw = from.random.below(100);
    if (draw < 35)
        return single_path_update(from);
    if (draw < 39)
        return table_update(from);
    if (draw < 65)
        return {RIB_TLV_ROUTE, encoded(random_service_route(from.random, from.memory))};
    if (draw < 70)
        return random_older_route(from.random);
    if (draw < 90)
        return proto_or_opaque(from);
    if (draw < 96)
        return nhid_update(from);
    return grid_of_at_most(MOST_KEYS, from);
}

update next_worst_case(stream_state &from)
{
    return worst_case_update(static_cast<uint32_t>(from.made % worst_case_kinds), from.random, from.memory);
}

constexpr profile PROFILES[] = {
    {"proto-opaque", 100000, false, proto_or_opaque},
    {"full-table", 100000, true, table_update},
    {"ecmp", 10000, true, ecmp_update},
    {"grid", 1000, false, grid_update},
    {"nhid", 100000, false, nhid_update},
    {"mixed", 100000, false, any_update},
    {"worst-case", 4 * uint64_t{worst_case_kinds}, false, next_worst_case},
};

} // namespace

std::span<const profile> profiles()
{
    return PROFILES;
}

const profile *find_profile(std::string_view name)
{
    const auto *found = std::ranges::find(PROFILES, name, &profile::name);
    return found == std::end(PROFILES) ? nullptr : found;
}

} // namespace ribtool
