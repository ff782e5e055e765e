// The path attributes of BGP, as far as a route keeps them.

#pragma once

#include "tools/ribtool/tables/as_path.hpp"
#include "tools/ribtool/tables/left_out_counts.hpp"
#include "tools/ribtool/tables/table_route.hpp"

#include <array>
#include <cstdint>
#include <optional>

namespace ribtool
{

constexpr uint16_t BGP_AFI_IPV4 = 1;
constexpr uint16_t BGP_AFI_IPV6 = 2;
constexpr uint8_t BGP_SAFI_UNICAST = 1;

// Prefixes of one family, as an update announces or withdraws them. No bytes: none.
struct bgp_prefixes {
    uint16_t afi = BGP_AFI_IPV4;
    uint8_t safi = BGP_SAFI_UNICAST;
    byte_span bytes;

    bool is_kept() const { return (afi == BGP_AFI_IPV4 || afi == BGP_AFI_IPV6) && safi == BGP_SAFI_UNICAST; }
};

struct bgp_attributes {
    table_path path;                       // without its next hop, which depends on the prefix
    std::optional<ip_address> next_hop;    // of NEXT_HOP
    std::optional<ip_address> mp_next_hop; // of MP_REACH_NLRI
    bool has_mp_family = false;            // which MP_REACH_NLRI of an entry may leave out
    bgp_prefixes mp_announced;
    bgp_prefixes mp_withdrawn;

    // Of the prefix of an entry: MP_REACH_NLRI is about it where it names no other family. Whichever next hop is there where the
    // one for the family is not.
    const std::optional<ip_address> &next_hop_of_entry(const ip_prefix &prefix) const
    {
        const uint16_t afi = prefix.address.is_ipv6 ? BGP_AFI_IPV6 : BGP_AFI_IPV4;
        const bool is_mp = mp_next_hop && (!next_hop || !has_mp_family || mp_announced.afi == afi);
        return is_mp ? mp_next_hop : next_hop;
    }
};

// In an entry of a table MP_REACH_NLRI is the next hop with its length, or what an update has, where only the next hop counts.
enum class attributes_of { update, table_entry };

class bgp_attribute_reader
{
public:
    explicit bgp_attribute_reader(left_out_counts &omitted) : omitted_(omitted) {}

    // All attributes of one message or entry. Overwrites `out`, whose spans lie in `bytes`. Throws malformed_bytes.
    void read(byte_span bytes, attributes_of where, as_size size, bgp_attributes &out);

private:
    void index(byte_span bytes);
    void read_scalars(table_path &path) const;
    void read_as_paths(as_size size, table_path &path) const;
    void read_communities(table_path &path);
    void read_next_hops(attributes_of where, bgp_attributes &out);

    const byte_span *find(uint8_t type) const { return found_[type].data() == nullptr ? nullptr : &found_[type]; }

    left_out_counts &omitted_;
    std::array<byte_span, 256> found_; // by type; no data where an attribute is absent
    std::vector<uint8_t> types_;       // of those that are there
};

} // namespace ribtool
