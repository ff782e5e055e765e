#include "tools/ribtool/tables/bgp_attributes.hpp"

#include "tools/ribtool/tables/byte_reader.hpp"
#include "tools/ribtool/tables/mrt_names.hpp"

#include <algorithm>
#include <string_view>

namespace ribtool
{

namespace
{

enum attribute_type : uint8_t {
    ORIGIN = 1,
    AS_PATH = 2,
    NEXT_HOP = 3,
    MULTI_EXIT_DISC = 4,
    LOCAL_PREF = 5,
    ATOMIC_AGGREGATE = 6,
    AGGREGATOR = 7,
    COMMUNITIES = 8,
    MP_REACH_NLRI = 14,
    MP_UNREACH_NLRI = 15,
    EXTENDED_COMMUNITIES = 16,
    AS4_PATH = 17,
    AS4_AGGREGATOR = 18,
};

constexpr uint8_t READ_TYPES[] = {
    ORIGIN,      AS_PATH,       NEXT_HOP,        MULTI_EXIT_DISC, LOCAL_PREF,     ATOMIC_AGGREGATE,    AGGREGATOR,
    COMMUNITIES, MP_REACH_NLRI, MP_UNREACH_NLRI, AS4_PATH,        AS4_AGGREGATOR, EXTENDED_COMMUNITIES};

constexpr uint8_t LONG_LENGTH_FLAG = 0x10;
constexpr uint32_t MAX_ORIGIN = 2;
constexpr uint16_t AS_TRANS = 23456; // stands for an AS whose number takes 4 bytes

constexpr size_t IPV4_LEN = 4;
constexpr size_t IPV6_LEN = 16;

uint32_t number_of_4_bytes(byte_span attribute, std::string_view name)
{
    byte_reader in(attribute, name);
    if (attribute.size() != 4)
        in.fail("{}: {} bytes instead of 4", name, attribute.size());
    return in.be32();
}

ip_address address_of(byte_span bytes)
{
    ip_address address;
    address.is_ipv6 = bytes.size() == IPV6_LEN;
    std::copy(bytes.begin(), bytes.end(), address.bytes.begin());
    return address;
}

// IPv4, IPv6, or IPv6 with the address of the link behind it, which a route does not keep.
ip_address next_hop_of(byte_span bytes, std::string_view name)
{
    if (bytes.size() == 2 * IPV6_LEN)
        return address_of(bytes.first(IPV6_LEN));
    if (bytes.size() != IPV4_LEN && bytes.size() != IPV6_LEN)
        byte_reader(bytes, name).fail("{}: a next hop of {} bytes", name, bytes.size());
    return address_of(bytes);
}

} // namespace

// Where each attribute lies. Of one that is repeated the first counts.
void bgp_attribute_reader::index(byte_span bytes)
{
    for (const uint8_t type : types_)
        found_[type] = {};
    types_.clear();
    byte_reader in(bytes, "path attributes");
    while (!in.is_at_end()) {
        const uint8_t flags = in.u8();
        const uint8_t type = in.u8();
        const size_t len = (flags & LONG_LENGTH_FLAG) != 0 ? in.be16() : in.u8();
        if (len > in.left().size())
            in.fail("{}: {} bytes, {} left", bgp_attribute_name(type), len, in.left().size());
        const byte_span value = in.take(len);
        if (find(type) != nullptr) {
            omitted_.add("attributes that are repeated");
            continue;
        }
        // A span that begins at the end of all bytes still has data.
        found_[type] = value;
        types_.push_back(type);
        if (std::find(std::begin(READ_TYPES), std::end(READ_TYPES), type) == std::end(READ_TYPES))
            omitted_.add("attributes " + bgp_attribute_name(type));
    }
}

void bgp_attribute_reader::read(byte_span bytes, attributes_of where, as_size size, bgp_attributes &out)
{
    index(bytes);
    std::vector<uint64_t> communities = std::move(out.path.communities); // its memory
    communities.clear();
    out = {};
    out.path.communities = std::move(communities);
    read_scalars(out.path);
    read_as_paths(size, out.path);
    read_communities(out.path);
    read_next_hops(where, out);
}

void bgp_attribute_reader::read_scalars(table_path &path) const
{
    if (const byte_span *value = find(ORIGIN)) {
        if (value->size() != 1 || (*value)[0] > MAX_ORIGIN)
            byte_reader(*value, "ORIGIN").fail("bad ORIGIN");
        path.origin = (*value)[0];
    }
    if (const byte_span *value = find(MULTI_EXIT_DISC))
        path.med = number_of_4_bytes(*value, "MULTI_EXIT_DISC");
    if (const byte_span *value = find(LOCAL_PREF))
        path.local_pref = number_of_4_bytes(*value, "LOCAL_PREF");
    path.atomic_aggregate = find(ATOMIC_AGGREGATE) != nullptr;
    path.aggregator = find(AGGREGATOR) != nullptr;
}

// AS4_PATH and AS4_AGGREGATOR come through speakers of 2-byte numbers, which do not know them. Where one of these aggregated the
// route itself, they are of an older path.
void bgp_attribute_reader::read_as_paths(as_size size, table_path &path) const
{
    const byte_span *value = find(AS_PATH);
    if (value == nullptr)
        return;
    as_path whole = read_as_path(*value, size, "AS_PATH");
    const byte_span *wide = find(AS4_PATH);
    const byte_span *aggregator = find(AGGREGATOR);
    const bool is_outdated = find(AS4_AGGREGATOR) != nullptr && aggregator != nullptr && aggregator->size() >= 2 &&
                             read_be16(aggregator->data()) != AS_TRANS;
    if (size == as_size::two_bytes && wide != nullptr && !is_outdated)
        whole = merged(whole, read_as_path(*wide, as_size::four_bytes, "AS4_PATH"));
    set_as_path(path, whole);
}

void bgp_attribute_reader::read_communities(table_path &path)
{
    const byte_span *plain = find(COMMUNITIES);
    const byte_span *extended = find(EXTENDED_COMMUNITIES);
    if (plain != nullptr && extended != nullptr)
        omitted_.add("attributes COMMUNITIES beside EXTENDED_COMMUNITIES");
    const byte_span *value = extended != nullptr ? extended : plain;
    if (value == nullptr)
        return;
    path.communities_are = extended != nullptr ? community_kind::extended : community_kind::widened;
    const size_t len = extended != nullptr ? 8 : 4;
    byte_reader in(*value, "communities");
    if (value->size() % len != 0)
        in.fail("{}: {} bytes, of {} each", extended != nullptr ? "EXTENDED_COMMUNITIES" : "COMMUNITIES", value->size(),
                len);
    while (!in.is_at_end()) {
        const uint64_t high = len == 8 ? uint64_t{in.be32()} << 32 : 0;
        path.communities.push_back(high | in.be32());
    }
}

void bgp_attribute_reader::read_next_hops(attributes_of where, bgp_attributes &out)
{
    if (const byte_span *value = find(NEXT_HOP)) {
        if (value->size() != IPV4_LEN)
            byte_reader(*value, "NEXT_HOP").fail("NEXT_HOP: {} bytes instead of 4", value->size());
        out.next_hop = address_of(*value);
    }
    if (const byte_span *value = find(MP_REACH_NLRI)) {
        byte_reader in(*value, "MP_REACH_NLRI");
        // The first byte is that of a length or, being 0, that of a family.
        const bool is_short = where == attributes_of::table_entry && !value->empty() && (*value)[0] != 0;
        if (!is_short) {
            out.mp_announced.afi = in.be16();
            out.mp_announced.safi = in.u8();
            out.has_mp_family = true;
        }
        const byte_span next_hop = in.take(in.u8());
        if (is_short && !in.is_at_end())
            in.fail("MP_REACH_NLRI: {} bytes behind the next hop", in.left().size());
        if (out.mp_announced.is_kept())
            out.mp_next_hop = next_hop_of(next_hop, "MP_REACH_NLRI");
        else if (where == attributes_of::table_entry)
            omitted_.add("attributes MP_REACH_NLRI of " + bgp_family_name(out.mp_announced.afi, out.mp_announced.safi));
        if (where == attributes_of::update) {
            in.u8(); // reserved
            out.mp_announced.bytes = in.left();
        }
    }
    if (const byte_span *value = find(MP_UNREACH_NLRI); value != nullptr && where == attributes_of::update) {
        byte_reader in(*value, "MP_UNREACH_NLRI");
        out.mp_withdrawn.afi = in.be16();
        out.mp_withdrawn.safi = in.u8();
        out.mp_withdrawn.bytes = in.left();
    }
}

} // namespace ribtool
