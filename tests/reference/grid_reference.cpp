// The second conversion of grid lists and next-hop IDs.

#include "tests/reference/grid_reference.hpp"

#include "tests/reference/route_reference.hpp"

#include <cstdio>
#include <cstring>

namespace rib_reference
{

namespace
{

enum class outcome { converted, refused, stopped };

bool bit(uint64_t word, unsigned number)
{
    return (word >> number) % 2 == 1;
}

uint8_t low_8(uint64_t value)
{
    return static_cast<uint8_t>(value % 256);
}

uint16_t low_16(uint64_t value)
{
    return static_cast<uint16_t>(value % 65536);
}

bool convert_prefix(const zidl_rib_msg_prefix &prefix, ip_addr &out)
{
    if (!bit(prefix.presence, 0) || !bit(prefix.presence, 1))
        return false;
    out.family = low_8(prefix.family);
    out.prefix_len = low_8(prefix.prefix_len);
    if (prefix.family == 2) {
        out.addr.ipv4_addr = bit(prefix.presence, 2) ? prefix.ipv4 : 0;
        return true;
    }
    if (prefix.family != 10 || !bit(prefix.presence, 3) || prefix.ipv6_size > 16)
        return false;
    for (uint64_t i = 0; i < prefix.ipv6_size; i++)
        out.addr.ipv6_addr[i] = prefix.ipv6[i];
    return true;
}

bool convert_label_key(const zidl_rib_encap_id_key &message, rib_encap_label_key &out)
{
    const zidl_rib_encap_id_path_key_label &label = message.label_key;
    if (!bit(message.presence, 9) && !bit(label.presence, 0) && !bit(label.presence, 1))
        return false;
    const unsigned count = low_8(label.labels_count);
    if (count > 71)
        return false;
    // A label_key without its value gives 0.
    out.label_key_value = label.label_key_value;
    out.label_count = low_8(count);
    for (unsigned i = 0; i < count; i++)
        out.labels[i] = label.labels[i];
    return true;
}

bool convert_srv6_key(const zidl_rib_encap_id_key &message, rib_encap_id_path_key_t &key)
{
    const zidl_rib_encap_id_path_key_srv6_carriers &carriers = message.srv6_carriers;
    const zidl_rib_srv6_oper_type &oper = carriers.oper_type;
    rib_encap_srv6_key &out = key.type_data.srv6;
    if (!bit(carriers.presence, 0) && oper.presence % 8 == 0)
        return false;
    out.carrier_count = carriers.carriers_count > 12 ? 12 : low_8(carriers.carriers_count);
    for (unsigned i = 0; i < out.carrier_count; i++) {
        const zidl_rib_encap_id_path_key_srv6_carrier_info &carrier = carriers.carriers[i];
        if (bit(carrier.presence, 0))
            out.carriers[i].carrier_value_1 = carrier.carrier_value_1;
        if (bit(carrier.presence, 1))
            out.carriers[i].carrier_value_2 = low_8(carrier.carrier_value_2);
        if (bit(carrier.presence, 2)) {
            if (carrier.carrier_bytes_size > 16)
                return false;
            for (uint64_t byte = 0; byte < carrier.carrier_bytes_size; byte++)
                out.carriers[i].carrier_bytes[byte] = carrier.carrier_bytes[byte];
        }
    }
    const bool selected = bit(oper.presence, 0) && oper.oper_selector != 0;
    if (bit(oper.presence, 0))
        out.oper_selector = oper.oper_selector;
    if (selected && bit(oper.presence, 1))
        out.oper = low_8(oper.oper_when_set);
    if (!selected && bit(oper.presence, 2))
        out.oper = low_8(oper.oper_when_clear);
    if (bit(message.presence, 19)) {
        if (message.key_bytes_20_size > 16)
            return false;
        for (uint64_t i = 0; i < message.key_bytes_20_size; i++)
            key.key_bytes_20[i] = message.key_bytes_20[i];
    }
    return true;
}

// Field N has bit N - 1.
outcome convert_key(const zidl_rib_encap_id_key &message, rib_encap_id_path_key_t &out)
{
    const auto has = [&](unsigned field) { return bit(message.presence, field - 1); };
    const bool has_prefix = has(3) || message.key_prefix.presence % 16 != 0;
    if (!has(1) || !has(2) || !has_prefix || !has(4) || !has(5))
        return outcome::refused;

    out.key_value_1 = message.key_value_1;
    out.key_value_2 = message.key_value_2;
    out.key_value_4 = low_8(message.key_value_4);
    if (has(16))
        out.key_value_16 = message.key_value_16;
    if (has(17))
        out.key_value_17 = low_16(message.key_value_17);
    if (!convert_prefix(message.key_prefix, out.key_prefix))
        return outcome::refused;
    if (has(12))
        out.key_value_12 = message.key_value_12;
    out.key_type = message.key_type;
    if (message.key_type == 3 || message.key_type == 4)
        return outcome::converted;

    if (has(6))
        out.key_value_6 = message.key_value_6;
    if (has(13))
        out.key_value_13 = low_16(message.key_value_13);
    out.key_value_15 = has(15) ? message.key_value_15 : 1048577;
    if (has(18))
        out.key_value_18 = message.key_value_18;
    if (!has(7) && message.key_second_prefix.presence % 16 == 0)
        return outcome::stopped;
    if (!convert_prefix(message.key_second_prefix, out.key_second_prefix))
        return outcome::refused;
    if (has(8))
        out.key_value_8 = message.key_value_8;
    out.key_value_19 = has(19) ? message.key_value_19 : 0;

    if (message.key_extra_prefixes_count > 2)
        return outcome::refused;
    out.key_extra_prefix_count = low_8(message.key_extra_prefixes_count);
    for (uint32_t i = 0; i < message.key_extra_prefixes_count; i++) {
        if (!convert_prefix(message.key_extra_prefixes[i], out.key_extra_prefixes[i]))
            return outcome::refused;
    }

    bool converted = false;
    if (message.key_type == 1)
        converted = convert_label_key(message, out.type_data.label);
    else if (message.key_type == 2)
        converted = convert_srv6_key(message, out);
    return converted ? outcome::converted : outcome::refused;
}

} // namespace

grid_list convert_grid_list(const zidl_rib_grid_sync_list &message, const rib_encap_id_path_key_t &untouched)
{
    grid_list out;
    out.status = 22;
    if (message.presence % 8 != 7)
        return out;
    const uint32_t count = message.keys_count;
    if (message.multi_key != 0 ? (count < 1 || count > 1026) : count != 1)
        return out;
    out.multi_key = message.multi_key;
    out.count = count;
    if (message.multi_key != 0) {
        if (message.encap_ids_count != count) {
            out.failed_line = 443;
            return out;
        }
        for (uint32_t i = 0; i < count; i++)
            out.ids.push_back(message.encap_ids[i].encap_id);
    }
    for (uint32_t i = 0; i < count; i++) {
        rib_encap_id_path_key_t key = untouched;
        const outcome result = convert_key(message.keys[i], key);
        if (result != outcome::converted) {
            out.open_key = true;
            out.failed_line = result == outcome::stopped ? 43 : 0;
            return out;
        }
        out.keys.push_back(key);
    }
    out.status = 0;
    return out;
}

std::optional<nhid_update_local> convert_nhid(int32_t decode_status, const zidl_rib_nhid_update &message)
{
    if (decode_status != 0 || !bit(message.presence, 0))
        return std::nullopt;
    nhid_update_local out = {};
    out.nhid = bit(message.presence, 2) ? message.nhid : 18446744073709551614u;
    out.update_value_1 = message.nhid_update_value_1;

    const zidl_rib_nhid_encap_key &key = message.nhid_encap_key;
    if (bit(key.presence, 0))
        out.key_value_1 = key.nhid_key_value_1;
    if (bit(key.presence, 2))
        out.key_value_3 = key.nhid_key_value_3;
    if (bit(key.presence, 3))
        out.key_value_4 = key.nhid_key_value_4;
    // Without an address there is no family either, and nothing is written.
    const converted_address address = convert_address(key.nhid_key_address);
    for (unsigned i = 0; i < 16; i++)
        out.address[i] = address.address[i];
    out.address_family = address.family.value_or(0);
    return out;
}

// ---- Comparison ----

namespace
{

class comparison
{
public:
    template <class Member>
    void member(const std::string &name, const Member &expected, const Member &actual)
    {
        if (std::memcmp(&expected, &actual, sizeof(Member)) != 0)
            result +=
                name + ": expected " + hex(&expected, sizeof(Member)) + ", got " + hex(&actual, sizeof(Member)) + "\n";
    }

    void address(const std::string &name, const ip_addr &expected, const ip_addr &actual)
    {
        member(name + ".family", expected.family, actual.family);
        member(name + ".prefix_len", expected.prefix_len, actual.prefix_len);
        member(name + ".addr", expected.addr.ipv6_addr, actual.addr.ipv6_addr);
    }

    std::string result;

private:
    static std::string hex(const void *data, size_t size)
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
};

#define COMPARE(name) out.member(#name, expected.name, actual.name)

void compare_srv6(const rib_encap_srv6_key &expected, const rib_encap_srv6_key &actual, comparison &out)
{
    COMPARE(oper_selector);
    COMPARE(oper);
    COMPARE(carrier_count);
    for (size_t i = 0; i < 12; i++) {
        const rib_encap_carrier &a = expected.carriers[i];
        const rib_encap_carrier &b = actual.carriers[i];
        const std::string name = "carriers[" + std::to_string(i) + "].";
        out.member(name + "carrier_value_1", a.carrier_value_1, b.carrier_value_1);
        out.member(name + "carrier_value_2", a.carrier_value_2, b.carrier_value_2);
        out.member(name + "carrier_bytes", a.carrier_bytes, b.carrier_bytes);
    }
}

void compare_label(const rib_encap_label_key &expected, const rib_encap_label_key &actual, comparison &out)
{
    COMPARE(label_key_value);
    COMPARE(label_count);
    COMPARE(labels);
}

} // namespace

std::string differences(const rib_encap_id_path_key_t &expected, const rib_encap_id_path_key_t &actual)
{
    comparison out;
    COMPARE(key_value_1);
    COMPARE(key_value_2);
    out.address("key_prefix", expected.key_prefix, actual.key_prefix);
    COMPARE(key_value_4);
    COMPARE(key_value_6);
    COMPARE(key_value_13);
    out.address("key_second_prefix", expected.key_second_prefix, actual.key_second_prefix);
    COMPARE(key_value_8);
    out.address("key_extra_prefixes[0]", expected.key_extra_prefixes[0], actual.key_extra_prefixes[0]);
    out.address("key_extra_prefixes[1]", expected.key_extra_prefixes[1], actual.key_extra_prefixes[1]);
    COMPARE(key_extra_prefix_count);
    COMPARE(key_type);
    COMPARE(key_value_15);
    COMPARE(key_value_16);
    COMPARE(key_value_17);
    COMPARE(key_value_18);
    COMPARE(key_value_19);
    // The variant that the type names; for a key without type data both, since neither may be touched.
    if (expected.key_type != 2)
        compare_label(expected.type_data.label, actual.type_data.label, out);
    if (expected.key_type != 1)
        compare_srv6(expected.type_data.srv6, actual.type_data.srv6, out);
    COMPARE(key_bytes_20);
    COMPARE(key_value_12);
    return out.result;
}

std::string differences(const nhid_update_local &expected, const nhid_update_local &actual)
{
    comparison out;
    COMPARE(address_family);
    COMPARE(address);
    COMPARE(key_value_3);
    COMPARE(key_value_1);
    COMPARE(key_value_4);
    COMPARE(nhid);
    COMPARE(update_value_1);
    return out.result;
}

#undef COMPARE

} // namespace rib_reference
