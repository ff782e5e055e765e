#include "tools/ribtool/tables/mrt_names.hpp"

#include <fmt/format.h>

#include <span>

namespace ribtool
{

namespace
{

struct number_name {
    unsigned number;
    const char *name;
};

constexpr number_name RECORD_TYPES[] = {
    {MRT_OSPFV2, "OSPFv2"},   {MRT_TABLE_DUMP, "TABLE_DUMP"}, {MRT_ISIS, "ISIS"},
    {MRT_ISIS_ET, "ISIS_ET"}, {MRT_OSPFV3, "OSPFv3"},         {MRT_OSPFV3_ET, "OSPFv3_ET"},
};

constexpr number_name TABLE_SUBTYPES[] = {
    {PEER_INDEX_TABLE, "PEER_INDEX_TABLE"},
    {RIB_IPV4_UNICAST, "RIB_IPV4_UNICAST"},
    {RIB_IPV4_MULTICAST, "RIB_IPV4_MULTICAST"},
    {RIB_IPV6_UNICAST, "RIB_IPV6_UNICAST"},
    {RIB_IPV6_MULTICAST, "RIB_IPV6_MULTICAST"},
    {RIB_GENERIC, "RIB_GENERIC"},
    {GEO_PEER_TABLE, "GEO_PEER_TABLE"},
    {RIB_IPV4_UNICAST_ADDPATH, "RIB_IPV4_UNICAST_ADDPATH"},
    {RIB_IPV4_MULTICAST_ADDPATH, "RIB_IPV4_MULTICAST_ADDPATH"},
    {RIB_IPV6_UNICAST_ADDPATH, "RIB_IPV6_UNICAST_ADDPATH"},
    {RIB_IPV6_MULTICAST_ADDPATH, "RIB_IPV6_MULTICAST_ADDPATH"},
    {RIB_GENERIC_ADDPATH, "RIB_GENERIC_ADDPATH"},
};

constexpr number_name MESSAGE_SUBTYPES[] = {
    {BGP4MP_STATE_CHANGE, "BGP4MP_STATE_CHANGE"},
    {BGP4MP_MESSAGE, "BGP4MP_MESSAGE"},
    {2, "BGP4MP_ENTRY"},
    {3, "BGP4MP_SNAPSHOT"},
    {BGP4MP_MESSAGE_AS4, "BGP4MP_MESSAGE_AS4"},
    {BGP4MP_STATE_CHANGE_AS4, "BGP4MP_STATE_CHANGE_AS4"},
    {BGP4MP_MESSAGE_LOCAL, "BGP4MP_MESSAGE_LOCAL"},
    {BGP4MP_MESSAGE_AS4_LOCAL, "BGP4MP_MESSAGE_AS4_LOCAL"},
    {BGP4MP_MESSAGE_ADDPATH, "BGP4MP_MESSAGE_ADDPATH"},
    {BGP4MP_MESSAGE_AS4_ADDPATH, "BGP4MP_MESSAGE_AS4_ADDPATH"},
    {BGP4MP_MESSAGE_LOCAL_ADDPATH, "BGP4MP_MESSAGE_LOCAL_ADDPATH"},
    {BGP4MP_MESSAGE_AS4_LOCAL_ADDPATH, "BGP4MP_MESSAGE_AS4_LOCAL_ADDPATH"},
};

constexpr number_name MESSAGES[] = {
    {1, "OPEN"}, {2, "UPDATE"}, {3, "NOTIFICATION"}, {4, "KEEPALIVE"}, {5, "ROUTE-REFRESH"},
};

constexpr number_name ATTRIBUTES[] = {
    {1, "ORIGIN"},
    {2, "AS_PATH"},
    {3, "NEXT_HOP"},
    {4, "MULTI_EXIT_DISC"},
    {5, "LOCAL_PREF"},
    {6, "ATOMIC_AGGREGATE"},
    {7, "AGGREGATOR"},
    {8, "COMMUNITIES"},
    {9, "ORIGINATOR_ID"},
    {10, "CLUSTER_LIST"},
    {14, "MP_REACH_NLRI"},
    {15, "MP_UNREACH_NLRI"},
    {16, "EXTENDED COMMUNITIES"},
    {17, "AS4_PATH"},
    {18, "AS4_AGGREGATOR"},
    {22, "PMSI_TUNNEL"},
    {23, "Tunnel Encapsulation"},
    {25, "IPv6 Address Specific Extended Community"},
    {26, "AIGP"},
    {29, "BGP-LS"},
    {32, "LARGE_COMMUNITY"},
    {33, "BGPsec_Path"},
    {35, "OTC"},
    {40, "BGP Prefix-SID"},
    {128, "ATTR_SET"},
};

constexpr number_name AFIS[] = {{1, "IPv4"}, {2, "IPv6"}};
constexpr number_name SAFIS[] = {{1, "unicast"}, {2, "multicast"}, {4, "labelled"}, {128, "VPN"}, {133, "flow"}};

// Null: it has none.
const char *name_in(std::span<const number_name> names, unsigned number)
{
    for (const number_name &each : names) {
        if (each.number == number)
            return each.name;
    }
    return nullptr;
}

const char *known_record_name(uint16_t type, uint16_t subtype)
{
    if (type == MRT_TABLE_DUMP_V2)
        return name_in(TABLE_SUBTYPES, subtype);
    if (type == MRT_BGP4MP || type == MRT_BGP4MP_ET)
        return name_in(MESSAGE_SUBTYPES, subtype);
    const bool is_dump = type == MRT_TABLE_DUMP && (subtype == 1 || subtype == 2);
    return is_dump || (type != MRT_TABLE_DUMP && subtype == 0) ? name_in(RECORD_TYPES, type) : nullptr;
}

} // namespace

bool is_known_mrt_record(uint16_t type, uint16_t subtype)
{
    return known_record_name(type, subtype) != nullptr;
}

std::string mrt_record_name(uint16_t type, uint16_t subtype)
{
    const char *name = known_record_name(type, subtype);
    return name != nullptr ? name : fmt::format("type {} subtype {}", type, subtype);
}

std::string bgp_message_name(uint8_t type)
{
    const char *name = name_in(MESSAGES, type);
    return name != nullptr ? name : fmt::format("of type {}", type);
}

std::string bgp_attribute_name(uint8_t type)
{
    const char *name = name_in(ATTRIBUTES, type);
    return name != nullptr ? name : fmt::format("of type {}", type);
}

std::string bgp_family_name(uint16_t afi, uint8_t safi)
{
    const char *family = name_in(AFIS, afi);
    const char *kind = name_in(SAFIS, safi);
    return family != nullptr && kind != nullptr ? fmt::format("{} {}", family, kind)
                                                : fmt::format("AFI {} SAFI {}", afi, safi);
}

} // namespace ribtool
