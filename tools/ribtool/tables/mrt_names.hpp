// Names and numbers of MRT and BGP, for what is said of what is left out.

#pragma once

#include <cstdint>
#include <string>

namespace ribtool
{

enum mrt_type : uint16_t {
    MRT_OSPFV2 = 11,
    MRT_TABLE_DUMP = 12,
    MRT_TABLE_DUMP_V2 = 13,
    MRT_BGP4MP = 16,
    MRT_BGP4MP_ET = 17,
    MRT_ISIS = 32,
    MRT_ISIS_ET = 33,
    MRT_OSPFV3 = 48,
    MRT_OSPFV3_ET = 49,
};

// Of MRT_TABLE_DUMP_V2.
enum mrt_table_subtype : uint16_t {
    PEER_INDEX_TABLE = 1,
    RIB_IPV4_UNICAST = 2,
    RIB_IPV4_MULTICAST = 3,
    RIB_IPV6_UNICAST = 4,
    RIB_IPV6_MULTICAST = 5,
    RIB_GENERIC = 6,
    GEO_PEER_TABLE = 7,
    RIB_IPV4_UNICAST_ADDPATH = 8,
    RIB_IPV4_MULTICAST_ADDPATH = 9,
    RIB_IPV6_UNICAST_ADDPATH = 10,
    RIB_IPV6_MULTICAST_ADDPATH = 11,
    RIB_GENERIC_ADDPATH = 12,
};

// Of MRT_BGP4MP and MRT_BGP4MP_ET.
enum mrt_message_subtype : uint16_t {
    BGP4MP_STATE_CHANGE = 0,
    BGP4MP_MESSAGE = 1,
    BGP4MP_MESSAGE_AS4 = 4,
    BGP4MP_STATE_CHANGE_AS4 = 5,
    BGP4MP_MESSAGE_LOCAL = 6,
    BGP4MP_MESSAGE_AS4_LOCAL = 7,
    BGP4MP_MESSAGE_ADDPATH = 8,
    BGP4MP_MESSAGE_AS4_ADDPATH = 9,
    BGP4MP_MESSAGE_LOCAL_ADDPATH = 10,
    BGP4MP_MESSAGE_AS4_LOCAL_ADDPATH = 11,
};

std::string mrt_record_name(uint16_t type, uint16_t subtype); // "RIB_IPV4_MULTICAST", "type 99 subtype 1"
bool is_known_mrt_record(uint16_t type, uint16_t subtype);

std::string bgp_message_name(uint8_t type);              // "KEEPALIVE"
std::string bgp_attribute_name(uint8_t type);            // "LARGE_COMMUNITY", "of type 200"
std::string bgp_family_name(uint16_t afi, uint8_t safi); // "IPv4 multicast", "AFI 25 SAFI 65"

} // namespace ribtool
