#include "tools/ribtool/tables/mrt_file.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/tables/mrt_names.hpp"

#include <algorithm>

namespace ribtool
{

namespace
{

constexpr size_t MRT_HEADER_LEN = 12;
constexpr size_t MARKER_LEN = 16;
constexpr size_t BGP_HEADER_LEN = MARKER_LEN + 3;
constexpr uint8_t BGP_UPDATE = 2;

constexpr uint8_t PEER_HAS_IPV6 = 1;
constexpr uint8_t PEER_HAS_AS4 = 2;

byte_span address_bytes(byte_reader &in, bool is_ipv6)
{
    return in.take(is_ipv6 ? 16 : 4);
}

ip_address read_address(byte_reader &in, bool is_ipv6)
{
    ip_address address;
    address.is_ipv6 = is_ipv6;
    const byte_span bytes = address_bytes(in, is_ipv6);
    std::copy(bytes.begin(), bytes.end(), address.bytes.begin());
    return address;
}

// As BGP writes it: the length in bits and so many bytes as they need. What the last one has behind them means nothing.
ip_prefix read_prefix(byte_reader &in, bool is_ipv6)
{
    ip_prefix prefix;
    prefix.address.is_ipv6 = is_ipv6;
    const uint8_t most = prefix.address.bit_count();
    if (!in.is_at_end() && in.left()[0] > most)
        in.fail("a prefix of length {}, {} has at most {}", in.left()[0], is_ipv6 ? "IPv6" : "IPv4", most);
    prefix.length = in.u8();
    const byte_span bytes = in.take((prefix.length + 7u) / 8);
    std::copy(bytes.begin(), bytes.end(), prefix.address.bytes.begin());
    mask_address(prefix.address, prefix.length);
    return prefix;
}

as_size as_size_of(uint16_t message_subtype)
{
    switch (message_subtype) {
    case BGP4MP_MESSAGE_AS4:
    case BGP4MP_MESSAGE_AS4_LOCAL:
    case BGP4MP_MESSAGE_AS4_ADDPATH:
    case BGP4MP_MESSAGE_AS4_LOCAL_ADDPATH:
        return as_size::four_bytes;
    default:
        return as_size::two_bytes;
    }
}

bool is_message(uint16_t subtype)
{
    return subtype == BGP4MP_MESSAGE || subtype == BGP4MP_MESSAGE_AS4 ||
           (subtype >= BGP4MP_MESSAGE_LOCAL && subtype <= BGP4MP_MESSAGE_AS4_LOCAL_ADDPATH);
}

} // namespace

bool is_mrt(byte_span start)
{
    return start.size() >= MRT_HEADER_LEN &&
           is_known_mrt_record(read_be16(start.data() + 4), read_be16(start.data() + 6));
}

bool mrt_file::next_row(table_row &row)
{
    while (true) {
        if (given_updates_ < updates_.size()) {
            give_update(row);
            return true;
        }
        if (!records_.next(record_))
            return false;
        try {
            if (read_record(row))
                return true;
        } catch (const malformed_bytes &bytes) {
            fail(EXIT_MALFORMED, "{}: {} (byte {})", place_of(record_.number, record_.offset), bytes.text,
                 records_.offset_of(bytes.at));
        }
    }
}

// Whether there is a row of it. Updates of a message wait in updates_.
bool mrt_file::read_record(table_row &row)
{
    row.number = record_.number;
    row.offset = record_.offset;
    row.time_us = record_.time_us;
    if (record_.type == MRT_TABLE_DUMP_V2)
        return read_table_record(row);
    if ((record_.type == MRT_BGP4MP || record_.type == MRT_BGP4MP_ET) && is_message(record_.subtype))
        read_message_record();
    else
        skip_record();
    return false;
}

void mrt_file::skip_record()
{
    left_out_.add("records of " + mrt_record_name(record_.type, record_.subtype));
}

// ---- Tables ----

bool mrt_file::read_table_record(table_row &row)
{
    byte_reader in(record_.body, "record");
    switch (record_.subtype) {
    case PEER_INDEX_TABLE:
        read_peer_table();
        return false;
    case RIB_IPV4_UNICAST:
    case RIB_IPV4_UNICAST_ADDPATH:
    case RIB_IPV6_UNICAST:
    case RIB_IPV6_UNICAST_ADDPATH: {
        in.be32(); // sequence number
        const bool is_ipv6 = record_.subtype == RIB_IPV6_UNICAST || record_.subtype == RIB_IPV6_UNICAST_ADDPATH;
        const ip_prefix prefix = read_prefix(in, is_ipv6);
        return read_entries(in, prefix, record_.subtype >= RIB_IPV4_UNICAST_ADDPATH, row);
    }
    case RIB_GENERIC:
    case RIB_GENERIC_ADDPATH: {
        in.be32(); // sequence number
        const uint16_t afi = in.be16();
        const bgp_prefixes family = {afi, in.u8(), {}};
        if (!family.is_kept()) {
            left_out_.add(fmt::format("records of {} with {}", mrt_record_name(record_.type, record_.subtype),
                                      bgp_family_name(family.afi, family.safi)));
            return false;
        }
        const ip_prefix prefix = read_prefix(in, afi == BGP_AFI_IPV6);
        return read_entries(in, prefix, record_.subtype == RIB_GENERIC_ADDPATH, row);
    }
    default:
        skip_record();
        return false;
    }
}

// Only how many there are is kept: entries name their peers by place.
void mrt_file::read_peer_table()
{
    byte_reader in(record_.body, "PEER_INDEX_TABLE");
    in.be32();          // the collector
    in.take(in.be16()); // the view's name
    const uint16_t count = in.be16();
    for (uint16_t peer = 0; peer < count; ++peer) {
        const uint8_t type = in.u8();
        in.be32(); // the peer's BGP identifier
        address_bytes(in, (type & PEER_HAS_IPV6) != 0);
        in.take((type & PEER_HAS_AS4) != 0 ? 4 : 2);
    }
    if (!in.is_at_end())
        in.fail("{} bytes behind the last of {} peers", in.left().size(), count);
    peer_count_ = count;
}

bool mrt_file::read_entries(byte_reader &in, const ip_prefix &prefix, bool has_path_ids, table_row &row)
{
    if (!peer_count_)
        in.fail("no PEER_INDEX_TABLE in front of it");
    row.prefix = prefix;
    const uint16_t count = in.be16();
    for (uint16_t entry = 0; entry < count; ++entry) {
        const byte_reader start = in;
        const uint16_t peer = in.be16();
        if (peer >= *peer_count_)
            start.fail("peer {} of {}", peer, *peer_count_);
        const uint64_t originated_us = uint64_t{in.be32()} * 1000000;
        if (has_path_ids) {
            in.be32();
            left_out_.add("path identifiers");
        }
        attribute_reader_.read(in.take(in.be16()), attributes_of::table_entry, as_size::four_bytes, attributes_);
        table_path &path = row.paths.emplace_back(attributes_.path);
        path.peer_index = peer;
        path.age_s = static_cast<uint32_t>((record_.time_us - std::min(originated_us, record_.time_us)) / 1000000);
        path.next_hop = attributes_.next_hop_of_entry(prefix);
    }
    if (!in.is_at_end())
        in.fail("{} bytes behind the last of {} entries", in.left().size(), count);
    if (count == 0)
        left_out_.add("prefixes without an entry");
    return count > 0;
}

// ---- Messages ----

void mrt_file::read_message_record()
{
    updates_.clear();
    given_updates_ = 0;
    byte_reader in(record_.body, "record");
    const as_size size = as_size_of(record_.subtype);
    const uint32_t peer_as = size == as_size::four_bytes ? in.be32() : in.be16();
    in.take(static_cast<size_t>(size)); // the local AS
    in.be16();                          // the interface
    const byte_reader family = in;
    const uint16_t afi = in.be16();
    if (afi != BGP_AFI_IPV4 && afi != BGP_AFI_IPV6)
        family.fail("peers of unknown AFI {}", afi);
    const uint32_t peer = peers_.number_of(read_address(in, afi == BGP_AFI_IPV6), peer_as);
    address_bytes(in, afi == BGP_AFI_IPV6); // the local one
    const byte_reader message = in;
    const byte_span marker = in.take(MARKER_LEN);
    if (std::any_of(marker.begin(), marker.end(), [](uint8_t byte) { return byte != 0xff; }))
        message.fail("no BGP message: its marker is not all ones");
    const uint16_t len = in.be16();
    if (len < BGP_HEADER_LEN || len != message.left().size())
        message.fail("a BGP message of {} bytes, {} left", len, message.left().size());
    const uint8_t type = in.u8();
    if (type != BGP_UPDATE) {
        left_out_.add("BGP messages " + bgp_message_name(type));
        return;
    }
    has_path_ids_ = record_.subtype >= BGP4MP_MESSAGE_ADDPATH;
    read_update_message(in, size);
    attributes_.path.peer_index = peer;
}

// What is withdrawn comes first: a prefix that is in both lists is announced. NEXT_HOP is not for the prefixes of MP_REACH_NLRI,
// which may be IPv4, too, nor its next hop for the others.
void mrt_file::read_update_message(byte_reader &message, as_size size)
{
    const bgp_prefixes withdrawn = {BGP_AFI_IPV4, BGP_SAFI_UNICAST, message.take(message.be16())};
    attribute_reader_.read(message.take(message.be16()), attributes_of::update, size, attributes_);
    add_updates(withdrawn, {.is_withdrawn = true});
    add_updates(attributes_.mp_withdrawn, {.is_withdrawn = true});
    add_updates({BGP_AFI_IPV4, BGP_SAFI_UNICAST, message.left()}, {.next_hop = attributes_.next_hop});
    add_updates(attributes_.mp_announced, {.next_hop = attributes_.mp_next_hop});
    if (updates_.empty() && attributes_.mp_withdrawn.is_kept() && attributes_.mp_announced.is_kept())
        left_out_.add("BGP messages UPDATE without a prefix");
}

// `update` is what all of them are but for the prefix.
void mrt_file::add_updates(const bgp_prefixes &prefixes, bgp_update update)
{
    if (!prefixes.is_kept()) {
        left_out_.add(fmt::format("attributes {} of {}", update.is_withdrawn ? "MP_UNREACH_NLRI" : "MP_REACH_NLRI",
                                  bgp_family_name(prefixes.afi, prefixes.safi)));
        return;
    }
    byte_reader in(prefixes.bytes, "prefixes");
    while (!in.is_at_end()) {
        if (has_path_ids_) {
            in.be32();
            left_out_.add("path identifiers");
        }
        update.prefix = read_prefix(in, prefixes.afi == BGP_AFI_IPV6);
        updates_.push_back(update);
    }
}

void mrt_file::give_update(table_row &row)
{
    const bgp_update &update = updates_[given_updates_++];
    row.prefix = update.prefix;
    row.time_us = record_.time_us;
    row.is_whole = true;
    row.number = record_.number;
    row.offset = record_.offset;
    if (update.is_withdrawn)
        return;
    table_path &path = row.paths.emplace_back(attributes_.path);
    path.next_hop = update.next_hop;
}

} // namespace ribtool
