#include "tools/ribtool/explain/one_line.hpp"

#include "inspect/wire/hex.hpp"
#include "tools/ribtool/addresses.hpp"
#include "tools/ribtool/library/older_forms.hpp"
#include "tools/ribtool/library/update_types.hpp"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace ribtool
{

namespace
{

using terminal::style;

constexpr size_t SUBJECT_COLUMNS = 18; // any IPv4 prefix
constexpr size_t MOST_BYTES_SHOWN = 8;
constexpr uint8_t NO_PREFIX_LEN = 255;

// "route", "old route", "delimiter": the table's names, short.
std::string short_name(uint16_t code)
{
    constexpr std::string_view OLDER = ", older form";
    if (code == DELIMITER_CODE)
        return "delimiter";
    const update_type *type = find_update_type(code);
    if (type == nullptr)
        return "unknown";
    if (!type->name.ends_with(OLDER))
        return std::string(type->name);
    return fmt::format("old {}", type->name.substr(0, type->name.size() - OLDER.size()));
}

std::string address_text(const rib_address_bytes &bytes, uint32_t family)
{
    if (family == RIB_FAMILY_IPV6)
        return ipv6_text(bytes);
    if (family != RIB_FAMILY_IPV4)
        return {};
    uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return ipv4_text(value);
}

std::string prefix_text(const struct ip_addr &prefix)
{
    if (prefix.family == RIB_SOCKET_FAMILY_IPV6)
        return fmt::format("{}/{}", ipv6_text(prefix.addr.ipv6_addr), prefix.prefix_len);
    return fmt::format("{}/{}", ipv4_text(prefix.addr.ipv4_addr), prefix.prefix_len);
}

// A character array that need not be terminated.
std::string quoted(const char *characters, size_t room)
{
    return fmt::format("\"{}\"", terminal::visible({characters, strnlen(characters, room)}));
}

// The part of a block of the older opaque form that the payload holds: the library has compared the sum of the lengths, which wraps.
byte_span in_payload(byte_span payload, uint64_t start, uint64_t len)
{
    start = std::min<uint64_t>(start, payload.size());
    return payload.subspan(start, std::min<uint64_t>(len, payload.size() - start));
}

std::string_view plural(uint64_t count)
{
    return count == 1 ? "" : "s";
}

} // namespace

void one_line::begin(uint64_t frame, uint16_t code)
{
    text_.clear();
    paint_.append(text_, style::dim, fmt::format("{:>6}", frame));
    paint_.append(text_, style::cyan, fmt::format(" {:>3}", code));
    fmt::format_to(std::back_inserter(text_), " {:<12} ", short_name(code));
}

// In the last column, which begin() has left free.
void one_line::add_loss_mark()
{
    text_.pop_back();
    paint_.append(text_, style::yellow, "*");
}

void one_line::add_subject(std::string_view subject)
{
    paint_.append(text_, style::bold, subject);
    const size_t columns = terminal::columns(subject);
    text_.append(SUBJECT_COLUMNS - std::min(SUBJECT_COLUMNS, columns), ' ');
}

template <class One>
void one_line::add_list(size_t count, One one)
{
    for (size_t index = 0; index < std::min(count, MOST_LISTED); ++index) {
        text_ += index == 0 ? "  " : ", ";
        one(index);
    }
    if (count > MOST_LISTED)
        fmt::format_to(std::back_inserter(text_), ", and {} more", count - MOST_LISTED);
}

std::string route_prefix_text(const struct rib_routetype_ &route)
{
    std::string text = address_text(route.rt_dest, route.rt_family);
    if (!text.empty() && route.rt_prefix_len != NO_PREFIX_LEN)
        text += fmt::format("/{}", route.rt_prefix_len);
    return text;
}

void one_line::add(const struct rib_routetype_ &route)
{
    const std::string prefix = route_prefix_text(route);
    add_subject(prefix.empty() ? "no prefix" : prefix);
    fmt::format_to(std::back_inserter(text_), " {:>4} path{:<1}", route.rt_path_count, plural(route.rt_path_count));
    const rib_path_entry *path = nullptr;
    add_list(route.rt_path_count, [&](size_t index) {
        path = index == 0 ? rib_route_first_path(&route) : rib_route_next_path(path);
        add_path(*path);
    });
}

std::string next_hop_text(const rib_path_entry &path)
{
    const std::string text = address_text(path.pe_addr_5, path.pe_addr_5_family);
    return text.empty() ? "-" : text;
}

void one_line::add_path(const rib_path_entry &path)
{
    text_ += "via ";
    paint_.append(text_, style::green, next_hop_text(path));
    auto out = std::back_inserter(text_);
    if (path.pe_value_10 != 0)
        fmt::format_to(out, " metric {}", path.pe_value_10);
    for (size_t index = 0; index < std::min<size_t>(path.pe_label_count, RIB_MAX_PATH_LABELS); ++index)
        fmt::format_to(out, "{}{}", index == 0 ? " labels " : "/", path.pe_labels[index]);
    if (path.pe_ecomm_count != 0)
        fmt::format_to(out, " {} communit{}", path.pe_ecomm_count, path.pe_ecomm_count == 1 ? "y" : "ies");
}

void one_line::add(const rib_protoid_map &map)
{
    add_subject(quoted(map.proto_name, sizeof map.proto_name));
    auto out = std::back_inserter(text_);
    fmt::format_to(out, " id {}", map.proto_id);
    if (map.proto_sub_id != 0)
        fmt::format_to(out, " sub {}", map.proto_sub_id);
    if (map.proto_value != 0)
        fmt::format_to(out, " value {}", map.proto_value);
    if (map.proto_extra_name[0] != 0)
        fmt::format_to(out, " {}", quoted(map.proto_extra_name, sizeof map.proto_extra_name));
}

void one_line::add(const rib_opaque_update &opaque, uint32_t sub_id, byte_span first_block, byte_span second_block)
{
    add_subject(fmt::format("type {}", opaque.opaque_type));
    auto out = std::back_inserter(text_);
    fmt::format_to(out, " id {}", opaque.opaque_id);
    if (sub_id != 0)
        fmt::format_to(out, " sub {}", sub_id);
    if (opaque.opaque_value != 0)
        fmt::format_to(out, " value {}", opaque.opaque_value);
    add_block("first", opaque.first_len, first_block);
    add_block("second", opaque.second_len, second_block);
}

void one_line::add_block(std::string_view name, size_t len, byte_span bytes)
{
    if (len == 0)
        return;
    fmt::format_to(std::back_inserter(text_), "  {} {} byte{} ", name, len, plural(len));
    rib_inspect::append_hex(text_, bytes.first(std::min(bytes.size(), MOST_BYTES_SHOWN)));
    if (len > MOST_BYTES_SHOWN)
        text_ += "…";
}

void one_line::add(const grid_sync_list &list)
{
    add_subject(fmt::format("{} key{}", list.count, plural(list.count)));
    add_list(list.count, [&](size_t index) {
        const rib_encap_id_path_key_t &key = list.keys[index];
        paint_.append(text_, style::green, prefix_text(key.key_prefix));
        constexpr std::string_view TYPES[] = {" label", " SRv6", " type 3", " type 4"};
        if (key.key_type >= 1 && key.key_type <= std::size(TYPES))
            text_ += TYPES[key.key_type - 1];
        if (list.multi_key != 0)
            fmt::format_to(std::back_inserter(text_), " id {}", list.encap_ids[index]);
    });
}

void one_line::add(const nhid_update_local &update)
{
    const std::string address = address_text(update.address, update.address_family);
    add_subject(address.empty() ? "no address" : address);
    if (update.nhid == RIB_NO_NHID)
        text_ += " no nhid";
    else
        fmt::format_to(std::back_inserter(text_), " nhid {}", update.nhid);
    fmt::format_to(std::back_inserter(text_), " value {}", update.update_value_1);
}

void one_line::add(const rib_explanation &of, byte_span payload)
{
    switch (of.record_kind) {
    case RIB_RECORD_PROTO: {
        rib_protoid_map map; // it may lie anywhere
        std::memcpy(&map, of.record, sizeof map);
        return add(map);
    }
    case RIB_RECORD_OPAQUE:
        return add_opaque(of, payload);
    case RIB_RECORD_ROUTE:
        return add(*static_cast<const struct rib_routetype_ *>(of.record));
    case RIB_RECORD_GRID:
        return add(*static_cast<const grid_sync_list *>(of.record));
    case RIB_RECORD_NHID:
        return add(*static_cast<const nhid_update_local *>(of.record));
    case RIB_RECORD_NONE:
    case RIB_RECORD_MESSAGE:
    case RIB_RECORD_KIND_COUNT:
        break;
    }
}

void one_line::add_opaque(const rib_explanation &of, byte_span payload)
{
    const auto &opaque = *static_cast<const rib_opaque_update *>(of.record);
    if (of.tlv_type != RIB_TLV_OLD_OPAQUE)
        return add(opaque, of.sub_id, byte_span(opaque.first_block, opaque.first_len),
                   byte_span(opaque.second_block, opaque.second_len));
    const uint64_t second_start = uint64_t{OLDER_OPAQUE_FIXED_LEN} + opaque.first_len;
    add(opaque, of.sub_id, in_payload(payload, OLDER_OPAQUE_FIXED_LEN, opaque.first_len),
        in_payload(payload, second_start, opaque.second_len));
}

void one_line::add_outcome(style how, std::string_view outcome, std::string_view why)
{
    paint_.append(text_, how, outcome);
    text_ += ": ";
    text_ += terminal::visible(why);
}

} // namespace ribtool
