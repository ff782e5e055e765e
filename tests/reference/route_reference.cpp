// The second conversion of routes.

#include "tests/reference/route_reference.hpp"

#include <cstdio>
#include <cstring>

namespace rib_reference
{

namespace
{

bool bit(uint64_t word, unsigned number)
{
    return (word >> number) % 2 == 1;
}

// ---- What counts as present: the enclosing bit, or anything inside. Bits are written as the tables number them. ----

bool anything_in(const zidl_rib_ipv6_address &ipv6)
{
    return bit(ipv6.presence, 0) || bit(ipv6.presence, 1);
}

bool anything_in(const zidl_rib_address &address)
{
    return bit(address.presence, 0) || bit(address.presence, 1) || bit(address.presence, 2) ||
           anything_in(address.ipv6);
}

bool anything_in(const zidl_rib_prefix &prefix)
{
    return bit(prefix.presence, 0) || bit(prefix.presence, 1) || anything_in(prefix.address);
}

std::array<uint8_t, 16> sixteen_bytes(const zidl_rib_ipv6_address &ipv6)
{
    std::array<uint8_t, 16> out{};
    for (unsigned i = 0; i < 8; i++) {
        out[i] = static_cast<uint8_t>(ipv6.half0 >> (8 * i));
        out[8 + i] = static_cast<uint8_t>(ipv6.half1 >> (8 * i));
    }
    return out;
}

void put(rib_address_bytes &dst, const std::array<uint8_t, 16> &src)
{
    for (unsigned i = 0; i < 16; i++)
        dst[i] = src[i];
}

void append_16(block &out, uint64_t value)
{
    out.push_back(static_cast<uint8_t>(value % 256));
    out.push_back(static_cast<uint8_t>(value / 256 % 256));
}

void append_32(block &out, uint64_t value)
{
    append_16(out, value % 65536);
    append_16(out, value / 65536);
}

constexpr uint32_t LABEL_DEFAULT = 1048577;
constexpr uint32_t NO_LEN = 4294967295u;

bool usable(const zidl_rib_nnh &nnh)
{
    const bool has_1 = bit(nnh.presence, 0);
    const bool has_2 = bit(nnh.presence, 1);
    const bool has_3 = bit(nnh.presence, 2);
    const bool has_4 = bit(nnh.presence, 3);
    if (!has_1 || has_4)
        return false;
    if (nnh.nnh_value_1 == 2)
        return has_3 && !has_2;
    if (nnh.nnh_value_1 == 1)
        return has_2 && !has_3;
    return false;
}

void convert_nnh(const zidl_rib_path &message, path &out)
{
    bool run_ended = false;
    for (uint32_t i = 0; i < message.nnh_entries_count && i < 512; i++) {
        const zidl_rib_nnh &nnh = message.nnh_entries[i];
        rib_nnh_entry &slot = out.entry.pe_nnh[i];
        const bool value_of_type_1 = nnh.nnh_value_1 == 1 && bit(nnh.presence, 0) && bit(nnh.presence, 1);
        if (!run_ended && usable(nnh)) {
            slot.type = static_cast<uint8_t>(nnh.nnh_value_1);
            slot.value = nnh.nnh_value_1 == 2 ? nnh.nnh_value_3 : nnh.nnh_value_2;
            out.entry.pe_nnh_count++;
        } else if (!run_ended) {
            run_ended = true;
            out.open_nnh_slot = static_cast<int>(i);
            out.open_nnh_value_known = value_of_type_1 && bit(nnh.presence, 2) && !bit(nnh.presence, 3);
            slot.value = out.open_nnh_value_known ? nnh.nnh_value_2 : 0;
        } else {
            slot.type = static_cast<uint8_t>(nnh.nnh_value_1);
            if (value_of_type_1)
                slot.value = nnh.nnh_value_2;
        }
    }
}

void convert_tunnel(const zidl_rib_path_ip_tunnel_info &tunnel, rib_path_entry &out)
{
    if (bit(tunnel.presence, 0))
        return;
    unsigned flags = 0;
    if (bit(tunnel.presence, 1) && tunnel.tunnel_flag != 0)
        flags += 1;
    if (bit(tunnel.presence, 2) && tunnel.tunnel_value_6 <= 13)
        flags += 32 * tunnel.tunnel_value_6;
    if (bit(tunnel.presence, 3)) {
        flags += 2;
        out.pe_tunnel_7 = tunnel.tunnel_value_7 % 16777216;
    }
    if (bit(tunnel.presence, 5)) {
        flags += 4;
        out.pe_tunnel_9 = tunnel.tunnel_value_9 % 16777216;
    }
    if (bit(tunnel.presence, 4)) {
        flags += 8;
        out.pe_tunnel_8 = tunnel.tunnel_value_8;
    }
    if (bit(tunnel.presence, 6)) {
        flags += 16;
        out.pe_tunnel_10 = tunnel.tunnel_value_10;
    }
    out.pe_tunnel_flags = static_cast<uint16_t>(flags);
}

} // namespace

converted_address convert_address(const zidl_rib_address &address)
{
    converted_address out{ZERRNO_MALFORMED, {}, {}};
    if (!bit(address.presence, 0))
        return out;
    out.family = address.family;
    if (address.family == 1) {
        if (bit(address.presence, 1)) {
            for (unsigned i = 0; i < 4; i++)
                out.address[i] = static_cast<uint8_t>(address.ipv4 >> (8 * i));
            out.status = 0;
        }
    } else if (address.family == 2) {
        if (bit(address.presence, 2) || anything_in(address.ipv6))
            out.status = 0;
        if (bit(address.ipv6.presence, 0))
            out.address = sixteen_bytes(address.ipv6);
    } else {
        out.status = ZERRNO_UNSUPPORTED;
    }
    return out;
}

converted_prefix convert_prefix(const zidl_rib_prefix &prefix)
{
    converted_prefix out{0, {}, NO_LEN, {}};
    if (bit(prefix.presence, 1))
        out.len = prefix.prefix_len;
    if (bit(prefix.presence, 0) || anything_in(prefix.address)) {
        const converted_address address = convert_address(prefix.address);
        out.status = address.status;
        out.address = address.address;
        out.family = address.family;
    }
    return out;
}

std::optional<block> convert_attributes(const zidl_rib_generic_attr_array &array, uint32_t elem_size)
{
    block out;
    append_16(out, bit(array.presence, 0) ? array.array_type % 65536 : 0);
    append_16(out, array.attrs_count % 65536);
    for (uint32_t i = 0; i < array.attrs_count; i++) {
        const zidl_rib_generic_attr_info &attr = array.attrs[i];
        if (attr.attr_data_size != elem_size)
            return std::nullopt;
        out.insert(out.end(), attr.attr_data, attr.attr_data + elem_size);
        append_32(out, attr.attr_type);
    }
    return out;
}

block convert_advertisement(const zidl_rib_client_advertisement &advertisement)
{
    block out;
    append_32(out, advertisement.advertised_values_count);
    for (uint32_t i = 0; i < advertisement.advertised_values_count; i++)
        append_16(out, advertisement.advertised_values[i] % 65536);
    return out;
}

std::optional<path> convert_path(const zidl_rib_path &message)
{
    path out{{}, {}, false, -1, false};
    rib_path_entry &entry = out.entry;
    const uint32_t bits = message.presence;
    if (bit(bits, 21))
        return std::nullopt;

    const zidl_rib_ecomm_array &ecomm = message.ecomm;
    out.has_ecomm = bit(bits, 20) || bit(ecomm.presence, 0) || bit(ecomm.presence, 1) || bit(ecomm.presence, 2);
    if (out.has_ecomm) {
        entry.pe_ecomm_room = ecomm.ecomm_count;
        out.ecomm_values.assign(ecomm.ecomm_count, 0);
        if (!bit(ecomm.presence, 2)) {
            entry.pe_ecomm_value_1 = static_cast<uint16_t>(ecomm.ecomm_value_1 % 65536);
            entry.pe_ecomm_count = static_cast<uint16_t>(ecomm.ecomm_count % 65536);
            for (uint32_t i = 0; i < ecomm.ecomm_count; i++)
                out.ecomm_values[i] = ecomm.ecomm_values[i];
        }
    }

    entry.pe_value_1 = bit(bits, 0) ? message.path_value_1 : 0;
    entry.pe_value_2 = bit(bits, 1) ? message.path_value_2 : 0;
    entry.pe_value_3 = bit(bits, 2) ? message.path_value_3 & 0x0FFFF7FF : 0;
    entry.pe_value_8 = bit(bits, 6) ? message.path_value_8 : 0;
    entry.pe_value_10 = bit(bits, 8) ? message.path_value_10 : 0;
    entry.pe_value_11 = bit(bits, 9) ? message.path_value_11 : 0;
    entry.pe_value_12 = bit(bits, 10) ? static_cast<uint16_t>(message.path_value_12 % 65536) : 0;
    entry.pe_value_13 = bit(bits, 11) ? static_cast<uint16_t>(message.path_value_13 % 65536) : 0;
    entry.pe_value_16 = bit(bits, 13) ? message.path_value_16 : 0;
    entry.pe_value_19 = bit(bits, 16) ? message.path_value_19 : LABEL_DEFAULT;
    entry.pe_value_22 = bit(bits, 18) ? message.path_value_22 : 0;
    entry.pe_value_25 = bit(bits, 19) ? message.path_value_25 : 0;
    entry.pe_value_28 = bit(bits, 22) ? static_cast<uint8_t>(message.path_value_28 % 256) : 0;
    entry.pe_value_31 = bit(bits, 25) ? message.path_value_31 : 0;

    if (bit(bits, 3) || anything_in(message.path_address_4)) {
        const converted_address address = convert_address(message.path_address_4);
        if (address.status != 0)
            return std::nullopt;
        put(entry.pe_addr_4, address.address);
    }
    if (bit(bits, 4) || anything_in(message.path_address_5)) {
        const converted_address address = convert_address(message.path_address_5);
        if (address.status != 0)
            return std::nullopt;
        put(entry.pe_addr_5, address.address);
        entry.pe_addr_5_family = address.family.value_or(0);
    }
    if (bit(bits, 15) || anything_in(message.path_ipv6_address)) {
        if (!bit(message.path_ipv6_address.presence, 0))
            return std::nullopt;
        put(entry.pe_ipv6, sixteen_bytes(message.path_ipv6_address));
    }
    entry.pe_prefix_len = NO_LEN;
    if (bit(bits, 5) || anything_in(message.path_prefix)) {
        const converted_prefix prefix = convert_prefix(message.path_prefix);
        if (prefix.status != 0)
            return std::nullopt;
        put(entry.pe_prefix, prefix.address);
        entry.pe_prefix_len = prefix.len;
    }

    if (bit(bits, 7)) {
        const uint32_t count = message.path_values_9_count % 256;
        if (count > 10)
            return std::nullopt;
        entry.pe_label_count = static_cast<uint8_t>(count);
        for (uint32_t i = 0; i < count; i++)
            entry.pe_labels[i] = message.path_values_9[i];
    } else {
        for (uint32_t &label : entry.pe_labels)
            label = LABEL_DEFAULT;
    }

    if (bit(bits, 17))
        convert_nnh(message, out);

    const zidl_rib_path_iid_attr &iid = message.iid_attr;
    if (bit(iid.presence, 0) && !bit(iid.presence, 1)) {
        entry.pe_iid_value_1 = iid.iid_attr_value_1;
        entry.pe_iid_value_4 = bit(iid.presence, 3) ? iid.iid_attr_value_4 : 0;
        if (bit(iid.presence, 2) || anything_in(iid.iid_attr_prefix)) {
            const converted_prefix prefix = convert_prefix(iid.iid_attr_prefix);
            put(entry.pe_iid_prefix, prefix.address);
            entry.pe_iid_prefix_len = static_cast<uint8_t>(prefix.len % 256);
            entry.pe_iid_prefix_family = static_cast<uint8_t>(prefix.family.value_or(0) % 256);
        }
    }

    const zidl_rib_path_l2_info &l2 = message.l2_info;
    if (!bit(l2.presence, 0)) {
        entry.pe_l2_5 = bit(l2.presence, 1) ? l2.l2_value_5 : 0;
        entry.pe_l2_6 = bit(l2.presence, 2) ? l2.l2_value_6 : 0;
        entry.pe_l2_7 = bit(l2.presence, 3) ? l2.l2_value_7 : 0;
        entry.pe_l2_8 = bit(l2.presence, 4) ? l2.l2_value_8 : 0;
    }

    const zidl_rib_path_via_aft_id &aft = message.via_aft_id;
    if (!bit(aft.presence, 0) && bit(aft.presence, 1) && bit(aft.presence, 2) && bit(aft.presence, 3)) {
        entry.pe_via_aft_id = aft.via_aft_id;
        entry.pe_aft_6 = aft.via_aft_value_6;
        entry.pe_aft_7 = aft.via_aft_value_7 < 3 ? aft.via_aft_value_7 : 0;
    }
    const zidl_rib_path_grouping_info &grouping = message.grouping_info;
    if (!bit(grouping.presence, 0) && bit(grouping.presence, 1))
        entry.pe_grouping_2 = grouping.grouping_value_2;
    convert_tunnel(message.ip_tunnel_info, entry);

    const zidl_rib_path_sl_id_info &sl = message.sl_id_info;
    if (!bit(sl.presence, 0) && bit(sl.presence, 1) && (sl.sl_id_value_2 == 1 || sl.sl_id_value_2 == 2)) {
        entry.pe_sl_kind = static_cast<uint8_t>(sl.sl_id_value_2);
        entry.pe_sl_value = bit(sl.presence, 2) ? sl.sl_id_value_3 : 0;
    }

    const zidl_rib_path_via_srv6_sid &via = message.via_srv6_sid;
    if (!bit(via.presence, 0)) {
        if (bit(via.via_sid.presence, 0))
            put(entry.pe_via_sid, sixteen_bytes(via.via_sid));
        entry.pe_via_sid_value = bit(via.presence, 2) ? static_cast<uint8_t>(via.via_sid_value_3 % 256) : 1;
    }

    if (bit(bits, 14)) {
        const uint32_t count = message.path_addresses_count % 256;
        if (count > 2)
            return std::nullopt;
        entry.pe_address_count = static_cast<uint8_t>(count);
        for (uint32_t i = 0; i < count; i++)
            put(entry.pe_addresses[i], convert_address(message.path_addresses[i]).address);
    }
    if (bit(bits, 27)) {
        const uint32_t count = message.srv6_sid_infos_count % 256;
        if (count > 24)
            return std::nullopt;
        entry.pe_sid_info_count = static_cast<uint8_t>(count);
        for (uint32_t i = 0; i < count; i++) {
            const zidl_rib_path_srv6_sid_info &info = message.srv6_sid_infos[i];
            const converted_prefix prefix = convert_prefix(info.sid_info_prefix);
            put(entry.pe_sid_infos[i].address, prefix.address);
            entry.pe_sid_infos[i].prefix_len = prefix.len;
            if (bit(info.presence, 2) && info.sid_info_value_3 % 256 != 0)
                entry.pe_sid_infos[i].marker = 42;
        }
    }
    return out;
}

namespace
{

void convert_header(const zidl_rib_route &message, rib_routetype_ &out)
{
    const uint64_t bits = message.presence;
    // Field N has bit N - 1.
    const auto scalar = [&](unsigned field, uint64_t value) { return bit(bits, field - 1) ? value : 0; };
    const auto low_8 = [&](unsigned field, uint64_t value) { return static_cast<uint8_t>(scalar(field, value)); };
    const auto low_16 = [&](unsigned field, uint64_t value) { return static_cast<uint16_t>(scalar(field, value)); };
    const auto low_32 = [&](unsigned field, uint64_t value) { return static_cast<uint32_t>(scalar(field, value)); };

    out.rt_value_2 = low_16(2, message.route_value_2);
    out.rt_value_3 = low_16(3, message.route_value_3);
    out.rt_value_4 = low_8(4, message.route_value_4);
    out.rt_value_5 = low_8(5, message.route_value_5);
    out.rt_value_6 = low_16(6, message.route_value_6);
    out.rt_value_7 = low_16(7, message.route_value_7);
    out.rt_value_8 = low_16(8, message.route_value_8);
    out.rt_value_9 = low_32(9, message.route_value_9);
    out.rt_value_10 = low_32(10, message.route_value_10);
    out.rt_value_11 = low_16(11, message.route_value_11);
    out.rt_value_12 = low_32(12, message.route_value_12);
    out.rt_value_13 = low_32(13, message.route_value_13);
    out.rt_value_14 = low_32(14, message.route_value_14);
    out.rt_value_15 = low_32(15, message.route_value_15);
    out.rt_value_16 = low_32(16, message.route_value_16);
    out.rt_value_18 = low_32(18, message.route_value_18);
    out.rt_value_19 = low_8(19, message.route_value_19);
    out.rt_value_20 = low_8(20, message.route_value_20);
    out.rt_value_21 = low_8(21, message.route_value_21);
    out.rt_value_22 = low_8(22, message.route_value_22);
    out.rt_value_25 = low_8(25, message.route_value_25);
    out.rt_value_35 = low_8(35, message.route_value_35);
    out.rt_value_37 = low_32(37, message.route_value_37);
    out.rt_value_38 = low_16(38, message.route_value_38);
    out.rt_value_40 = scalar(40, message.route_value_40);
    out.rt_value_41 = scalar(41, message.route_value_41);

    for (uint32_t i = 0; i < message.algo_labels_count; i++) {
        const zidl_rib_algo_label &label = message.algo_labels[i];
        if (!bit(label.presence, 0) || !bit(label.presence, 1) || bit(label.presence, 2))
            continue;
        if (out.rt_algo_label_count == 256)
            break;
        rib_algo_label_entry &entry = out.rt_algo_labels[out.rt_algo_label_count];
        entry.algo = static_cast<uint8_t>(label.algo_label_value_2 % 256);
        entry.label = label.algo_label_value_1;
        entry.extra = bit(label.presence, 3) ? label.algo_label_value_4 : 0;
        out.rt_algo_label_count++;
    }

    // From which bit of route_flags to which of rt_flags.
    static constexpr unsigned moves[][2] = {{0, 0}, {1, 1}, {2, 2},  {3, 3},   {5, 5},   {6, 6},  {7, 7},
                                            {8, 4}, {9, 8}, {10, 9}, {11, 10}, {12, 11}, {13, 12}};
    const uint64_t flags = scalar(24, message.route_flags);
    for (const auto &[from, to] : moves) {
        if (bit(flags, from))
            out.rt_flags += uint64_t{1} << to;
    }
    if (bit(out.rt_flags, 2))
        out.rt_value_35_copy = out.rt_value_35;

    const zidl_rib_route_l2_info &l2 = message.route_l2_info;
    const bool l2_dropped = bit(l2.presence, 0) && l2.route_l2_value_1 > 1;
    if (bit(l2.presence, 1) && !l2_dropped)
        out.rt_l2_value = static_cast<uint8_t>(l2.route_l2_value_5 % 256);

    const zidl_rib_route_aft_id &aft = message.route_aft_id;
    if (!bit(aft.presence, 0) && bit(aft.presence, 1) && bit(aft.presence, 2) && bit(aft.presence, 3)) {
        out.rt_aft_id = aft.route_aft_id_value;
        out.rt_aft_value_6 = aft.route_aft_value_6;
        out.rt_aft_value_7 = aft.route_aft_value_7;
        out.rt_aft_valid = 1;
    }
}

void convert_side_blocks(const zidl_rib_route &message, route &out)
{
    if (bit(message.presence, 26) || bit(message.client_advertisement.presence, 0))
        out.advertisement = convert_advertisement(message.client_advertisement);

    const zidl_rib_generic_attr_array *const arrays[6] = {
        &message.addr_generic_attrs, &message.generic_attrs_29, &message.generic_attrs_30,
        &message.generic_attrs_31,   &message.generic_attrs_32, &message.generic_attrs_33,
    };
    for (unsigned i = 0; i < 6; i++) {
        const bool present =
            bit(message.presence, 27 + i) || bit(arrays[i]->presence, 0) || bit(arrays[i]->presence, 1);
        const uint32_t address_size = out.header.rt_family == 2 ? 24 : 12;
        if (present)
            out.attr_blocks[i] = convert_attributes(*arrays[i], i == 0 ? address_size : 8);
    }
}

} // namespace

route convert_route(int32_t decode_status, const zidl_rib_route &message)
{
    route out{};
    out.first_ecomm = -1;
    if (decode_status != 0) {
        out.status = ZERRNO_MALFORMED;
        return out;
    }
    if (bit(message.presence, 33)) {
        out.status = ZERRNO_UNSUPPORTED;
        return out;
    }

    out.has_record = true;
    out.record_size = sizeof(rib_routetype_);
    for (uint32_t i = 0; i < message.paths_count; i++) {
        const zidl_rib_path &path = message.paths[i];
        if (bit(path.presence, 21))
            continue;
        out.record_size += sizeof(rib_path_entry);
        if (bit(path.presence, 20) || path.ecomm.presence % 8 != 0)
            out.record_size += size_t{8} * path.ecomm.ecomm_count;
    }

    if (bit(message.presence, 0) || anything_in(message.route_prefix)) {
        const converted_prefix prefix = convert_prefix(message.route_prefix);
        if (prefix.status != 0) {
            out.status = ZERRNO_MALFORMED;
            return out;
        }
        put(out.header.rt_dest, prefix.address);
        out.header.rt_prefix_len = static_cast<uint8_t>(prefix.len % 256);
        out.header.rt_family = prefix.family.value_or(0);
    }
    convert_header(message, out.header);
    convert_side_blocks(message, out);

    for (uint32_t i = 0; i < message.paths_count && out.paths.size() < 1024; i++) {
        const std::optional<path> converted = convert_path(message.paths[i]);
        if (!converted)
            continue;
        if (converted->has_ecomm && out.first_ecomm < 0)
            out.first_ecomm = static_cast<int>(out.paths.size());
        out.paths.push_back(*converted);
    }
    out.header.rt_path_count = static_cast<uint16_t>(out.paths.size());
    return out;
}

// ---- Comparison ----

namespace
{

std::string hex(const void *data, size_t size)
{
    const auto *at = static_cast<const uint8_t *>(data);
    std::string out;
    char digits[4];
    for (size_t i = 0; i < size && i < 64; i++) {
        std::snprintf(digits, sizeof digits, "%02X ", at[i]);
        out += digits;
    }
    return out;
}

class comparison
{
public:
    explicit comparison(std::string prefix) : where(std::move(prefix)) {}

    // Members without padding: scalars, byte arrays, arrays of numbers.
    template <class Member>
    void member(const char *name, const Member &expected, const Member &actual)
    {
        if (std::memcmp(&expected, &actual, sizeof(Member)) != 0)
            report(name, hex(&expected, sizeof(Member)), hex(&actual, sizeof(Member)));
    }

    void report(const std::string &name, const std::string &expected, const std::string &actual)
    {
        result += where + name + ": expected " + expected + ", got " + actual + "\n";
    }

    std::string result;

private:
    std::string where;
};

std::string indexed(const char *name, size_t index, const char *member)
{
    return std::string(name) + "[" + std::to_string(index) + "]." + member;
}

#define COMPARE(name) out.member(#name, expected.name, actual.name)

void compare_entries(const rib_path_entry &expected, const rib_path_entry &actual, int open_slot, bool open_value_known,
                     comparison &out)
{
    COMPARE(pe_value_1);
    COMPARE(pe_value_2);
    COMPARE(pe_value_3);
    COMPARE(pe_addr_4);
    COMPARE(pe_addr_5);
    COMPARE(pe_addr_5_family);
    COMPARE(pe_prefix);
    COMPARE(pe_prefix_len);
    COMPARE(pe_value_8);
    COMPARE(pe_labels);
    COMPARE(pe_value_10);
    COMPARE(pe_value_11);
    COMPARE(pe_value_12);
    COMPARE(pe_value_13);
    COMPARE(pe_label_count);
    COMPARE(pe_address_count);
    COMPARE(pe_value_28);
    COMPARE(pe_sid_info_count);
    COMPARE(pe_value_16);
    COMPARE(pe_addresses);
    COMPARE(pe_ipv6);
    COMPARE(pe_value_19);
    COMPARE(pe_via_sid);
    COMPARE(pe_via_sid_value);
    COMPARE(pe_nnh_count);
    for (size_t i = 0; i < 512; i++) {
        const bool open = static_cast<int>(i) == open_slot;
        if (!open && expected.pe_nnh[i].type != actual.pe_nnh[i].type)
            out.report(indexed("pe_nnh", i, "type"), std::to_string(expected.pe_nnh[i].type),
                       std::to_string(actual.pe_nnh[i].type));
        if ((!open || open_value_known) && expected.pe_nnh[i].value != actual.pe_nnh[i].value)
            out.report(indexed("pe_nnh", i, "value"), std::to_string(expected.pe_nnh[i].value),
                       std::to_string(actual.pe_nnh[i].value));
    }
    COMPARE(pe_value_22);
    for (size_t i = 0; i < 24; i++) {
        const rib_sid_info_entry &a = expected.pe_sid_infos[i];
        const rib_sid_info_entry &b = actual.pe_sid_infos[i];
        if (std::memcmp(a.address, b.address, 16) == 0 && a.prefix_len == b.prefix_len && a.marker == b.marker)
            continue;
        out.member(indexed("pe_sid_infos", i, "address").c_str(), a.address, b.address);
        out.member(indexed("pe_sid_infos", i, "prefix_len").c_str(), a.prefix_len, b.prefix_len);
        out.member(indexed("pe_sid_infos", i, "marker").c_str(), a.marker, b.marker);
    }
    COMPARE(pe_value_25);
    COMPARE(pe_value_31);
    COMPARE(pe_iid_value_1);
    COMPARE(pe_iid_prefix);
    COMPARE(pe_iid_prefix_family);
    COMPARE(pe_iid_prefix_len);
    COMPARE(pe_iid_value_4);
    COMPARE(pe_l2_5);
    COMPARE(pe_l2_6);
    COMPARE(pe_l2_7);
    COMPARE(pe_l2_8);
    COMPARE(pe_grouping_2);
    COMPARE(pe_tunnel_flags);
    COMPARE(pe_tunnel_7);
    COMPARE(pe_tunnel_9);
    COMPARE(pe_tunnel_8);
    COMPARE(pe_tunnel_10);
    COMPARE(pe_via_aft_id);
    COMPARE(pe_aft_6);
    COMPARE(pe_aft_7);
    COMPARE(pe_sl_kind);
    COMPARE(pe_sl_value);
    COMPARE(pe_ecomm_count);
    COMPARE(pe_ecomm_value_1);
    COMPARE(pe_ecomm_room);
}

void compare_headers(const rib_routetype_ &expected, const rib_routetype_ &actual, comparison &out)
{
    COMPARE(rt_family);
    COMPARE(rt_prefix_len);
    COMPARE(rt_value_4);
    COMPARE(rt_value_5);
    COMPARE(rt_value_19);
    COMPARE(rt_value_2);
    COMPARE(rt_value_3);
    COMPARE(rt_path_count);
    COMPARE(rt_value_6);
    COMPARE(rt_value_7);
    COMPARE(rt_value_8);
    COMPARE(rt_dest);
    COMPARE(rt_value_9);
    COMPARE(rt_value_10);
    COMPARE(rt_value_11);
    COMPARE(rt_value_38);
    COMPARE(rt_value_12);
    COMPARE(rt_value_37);
    COMPARE(rt_value_13);
    COMPARE(rt_value_14);
    COMPARE(rt_value_15);
    COMPARE(rt_value_16);
    COMPARE(rt_value_40);
    COMPARE(rt_value_41);
    for (size_t i = 0; i < 256; i++) {
        const rib_algo_label_entry &a = expected.rt_algo_labels[i];
        const rib_algo_label_entry &b = actual.rt_algo_labels[i];
        if (a.algo != b.algo || a.label != b.label || a.extra != b.extra) {
            out.member(indexed("rt_algo_labels", i, "algo").c_str(), a.algo, b.algo);
            out.member(indexed("rt_algo_labels", i, "label").c_str(), a.label, b.label);
            out.member(indexed("rt_algo_labels", i, "extra").c_str(), a.extra, b.extra);
        }
    }
    COMPARE(rt_value_18);
    COMPARE(rt_value_20);
    COMPARE(rt_value_21);
    COMPARE(rt_value_22);
    COMPARE(rt_flags);
    COMPARE(rt_value_25);
    COMPARE(rt_l2_value);
    COMPARE(rt_aft_id);
    COMPARE(rt_aft_value_6);
    COMPARE(rt_aft_value_7);
    COMPARE(rt_aft_valid);
    COMPARE(rt_value_35);
    COMPARE(rt_value_35_copy);
    COMPARE(rt_algo_label_count);
}

#undef COMPARE

// How a block's bytes compare; its length is known from what it must hold.
void compare_block(const std::string &name, const std::optional<block> &expected, const void *actual, comparison &out)
{
    if (!expected.has_value() || actual == nullptr) {
        if (expected.has_value() != (actual != nullptr))
            out.report(name, expected ? "a block" : "null", actual != nullptr ? "a block" : "null");
        return;
    }
    if (std::memcmp(expected->data(), actual, expected->size()) != 0)
        out.report(name, hex(expected->data(), expected->size()), hex(actual, expected->size()));
}

} // namespace

std::string differences(const rib_path_entry &expected, const rib_path_entry &actual)
{
    comparison out("");
    compare_entries(expected, actual, -1, false, out);
    return out.result;
}

std::string differences(const path &expected, const rib_path_entry *actual)
{
    comparison out("");
    compare_entries(expected.entry, *actual, expected.open_nnh_slot, expected.open_nnh_value_known, out);
    // Values that lie in the room of a block that counts none of them are whatever the cleared place holds: zeros.
    const size_t size = expected.ecomm_values.size() * sizeof(uint64_t);
    if (size > 0 && std::memcmp(expected.ecomm_values.data(), actual + 1, size) != 0)
        out.report("pe_ecomm_values", hex(expected.ecomm_values.data(), size), hex(actual + 1, size));
    return out.result;
}

std::string differences(const rib_routetype_ &expected, const rib_routetype_ &actual)
{
    comparison out("");
    compare_headers(expected, actual, out);
    return out.result;
}

std::string differences(const route &expected, zerrno status, const rib_routetype_ *record)
{
    comparison out("");
    out.member("status", expected.status, status);
    if (expected.has_record != (record != nullptr))
        out.report("record", expected.has_record ? "a record" : "null", record != nullptr ? "a record" : "null");
    if (!expected.has_record || record == nullptr)
        return out.result;

    compare_headers(expected.header, *record, out);
    if (expected.header.rt_path_count != record->rt_path_count)
        return out.result;
    compare_block("rt_advertisement", expected.advertisement, record->rt_advertisement, out);
    for (unsigned i = 0; i < 6; i++)
        compare_block("rt_attr_blocks[" + std::to_string(i) + "]", expected.attr_blocks[i], record->rt_attr_blocks[i],
                      out);

    const void *first_ecomm = nullptr;
    const auto *place = reinterpret_cast<const uint8_t *>(record + 1);
    for (size_t i = 0; i < expected.paths.size(); i++) {
        const auto *entry = reinterpret_cast<const rib_path_entry *>(place);
        const std::string different = differences(expected.paths[i], entry);
        if (!different.empty())
            out.result += "path " + std::to_string(i) + ":\n" + different;
        if (static_cast<int>(i) == expected.first_ecomm)
            first_ecomm = &entry->pe_ecomm_count;
        place += sizeof(rib_path_entry) + expected.paths[i].ecomm_values.size() * sizeof(uint64_t);
    }
    if (record->rt_first_ecomm != first_ecomm)
        out.report("rt_first_ecomm", "the block of path " + std::to_string(expected.first_ecomm), "another pointer");
    return out.result;
}

} // namespace rib_reference
