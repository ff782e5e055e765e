#include "tools/ribtool/generate/table_source.hpp"

#include "tools/ribtool/generate/histogram.hpp"
#include "tools/ribtool/generate/random_values.hpp"

namespace ribtool
{

namespace
{

constexpr uint32_t PEERS = 64;

// A peer keeps its address.
ip_address peer_address(uint32_t peer, bool is_ipv6)
{
    random_source own(peer);
    return random_address(own, is_ipv6);
}

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

} // namespace ribtool
