// Updates of every kind with random contents that look like those of a router. What is drawn depends on the random
// source alone.

#pragma once

#include "tools/ribtool/frame.hpp"
#include "tools/ribtool/random.hpp"
#include "tools/ribtool/scratch.hpp"
#include "tools/ribtool/table_route.hpp"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace ribtool
{

struct update {
    uint16_t code = 0;
    byte_vector payload;
};

ip_address random_address(random_source &random, bool is_ipv6);

// Draws routes of a table: prefix lengths, paths per prefix and attributes with the frequencies of real tables, no
// prefix twice (unless the lengths drawn leave hardly any choice).
class table_source
{
public:
    table_route draw(random_source &random);             // all the paths that a collector sees
    table_route draw_single_path(random_source &random); // the view of one router

private:
    ip_prefix draw_prefix(random_source &random, bool is_ipv6);

    std::set<std::pair<std::array<uint8_t, 16>, uint32_t>> seen_;
};

// What a random path carries besides its scalars and its next hop.
enum path_feature : uint32_t {
    PATH_LABELS = 1 << 0,
    PATH_NEXT_NEXT_HOPS = 1 << 1,
    PATH_SRV6 = 1 << 2,
    PATH_BACKUP_ADDRESSES = 1 << 3,
    PATH_IID = 1 << 4,
    PATH_L2 = 1 << 5,
    PATH_TUNNEL = 1 << 6,
    PATH_AFT = 1 << 7,
    PATH_GROUPING = 1 << 8,
    PATH_SL_ID = 1 << 9,
    PATH_ECOMM = 1 << 10,
    PATH_EVERYTHING = (1 << 11) - 1,
};
// Small paths leave room for a thousand of them in one update; full ones carry as much as the client takes.
enum class path_size { small, usual, full };
zidl_rib_path random_path(random_source &random, scratch &memory, uint32_t features, path_size size);

// A route of one of the kinds that a router with many services holds: labelled, tunnelled, SRv6, layer 2 ...
zidl_rib_route random_service_route(random_source &random, scratch &memory);
zidl_rib_route random_ecmp_route(random_source &random, scratch &memory, uint32_t path_count);

void add_algo_labels(zidl_rib_route &route, random_source &random, scratch &memory, uint32_t count);
void add_advertisement(zidl_rib_route &route, random_source &random, scratch &memory, uint32_t count);
zidl_rib_generic_attr_array random_attributes(random_source &random, scratch &memory, uint32_t count, uint32_t size);

// One encapsulation key. Compact keys leave room for 1026 of them in one update.
enum class key_size { compact, usual, full };
zidl_rib_encap_id_key random_key(random_source &random, scratch &memory, uint32_t key_type, key_size size);
zidl_rib_grid_sync_list random_grid(random_source &random, scratch &memory, uint32_t key_count, bool multi_key,
                                    key_size size);

update random_proto(random_source &random, scratch &memory);
update random_older_proto(random_source &random);
update random_opaque(random_source &random, scratch &memory);
update random_older_opaque(random_source &random);
update random_older_route(random_source &random);
update random_nhid(random_source &random);

} // namespace ribtool
