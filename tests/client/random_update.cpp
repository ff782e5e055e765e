// Random updates.

#include "tests/client/random_update.hpp"

#include <algorithm>
#include <map>
#include <string>
#include <unordered_map>

namespace rib_test
{

uint64_t random_source::next()
{
    state += 0x9E3779B97F4A7C15;
    uint64_t mixed = state;
    mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9;
    mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EB;
    return mixed ^ mixed >> 31;
}

namespace
{

// What is special about a field: how often it is present (in percent; 0: the message's own coin decides), what its value
// or its count or size is usually chosen from, and from what in a few cases.
struct field_rule {
    unsigned percent;
    std::vector<uint64_t> usual;
    std::vector<uint64_t> rare = {};
};

const std::map<std::string, field_rule> rules = {
    {"rib_address.family", {97, {1, 2}, {0, 3, 10, 258}}},
    {"rib_address.ipv4", {85, {}}},
    {"rib_address.ipv6", {85, {}}},
    {"rib_ipv6_address.half0", {90, {}}},
    {"rib_ipv6_address.half1", {85, {}}},
    {"rib_nnh.nnh_value_1", {97, {1, 2}, {3, 257}}},
    {"rib_nnh.nnh_value_4", {3, {}}},
    {"rib_algo_label.algo_label_value_1", {90, {}}},
    {"rib_algo_label.algo_label_value_2", {90, {}}},
    {"rib_algo_label.algo_label_value_3", {10, {}}},
    {"rib_path_grouping_info.grouping_value_1", {25, {}}},
    {"rib_path_sl_id_info.sl_id_value_1", {15, {}}},
    {"rib_path_sl_id_info.sl_id_value_2", {90, {0, 1, 2, 3, 257}}},
    {"rib_path_l2_info.l2_value_1", {15, {}}},
    {"rib_path_via_aft_id.via_aft_value_1", {15, {}}},
    {"rib_path_via_aft_id.via_aft_id", {90, {}}},
    {"rib_path_via_aft_id.via_aft_value_6", {90, {}}},
    {"rib_path_via_aft_id.via_aft_value_7", {90, {0, 1, 2, 3, 258}}},
    {"rib_path_ip_tunnel_info.tunnel_value_1", {15, {}}},
    {"rib_path_ip_tunnel_info.tunnel_value_6", {60, {0, 1, 2, 5, 12, 13, 14, 31, 65536}}},
    {"rib_path_iid_attr.iid_attr_value_1", {85, {}}},
    {"rib_path_iid_attr.iid_attr_value_2", {15, {}}},
    {"rib_path_via_srv6_sid.via_sid_value_1", {15, {}}},
    {"rib_path_srv6_sid_info.sid_info_value_3", {60, {0, 1, 255, 256, 257}}},
    {"rib_ecomm_array.ecomm_value_3", {15, {}}},
    {"rib_ecomm_array.ecomm_values", {80, {1, 1, 2, 3, 5, 8}, {40, 300}}},
    {"rib_path.path_address_4", {30, {}}},
    {"rib_path.path_address_5", {30, {}}},
    {"rib_path.path_prefix", {30, {}}},
    {"rib_path.path_ipv6_address", {30, {}}},
    {"rib_path.path_values_9", {40, {1, 2, 3, 5, 9, 10}, {11, 255, 256, 259, 266, 267}}},
    {"rib_path.path_addresses", {30, {1, 2}, {3, 256, 257, 258, 259}}},
    {"rib_path.nnh_entries", {30, {1, 2, 3, 4, 6, 9, 20}, {511, 512, 513, 530}}},
    {"rib_path.srv6_sid_infos", {30, {1, 2, 3, 5}, {23, 24, 25, 256, 258, 281}}},
    {"rib_path.path_value_27", {6, {}}},
    {"rib_route.route_prefix", {80, {}}},
    {"rib_route.algo_labels", {40, {1, 2, 3, 5, 8}, {255, 256, 257, 300}}},
    {"rib_route.paths", {90, {1, 1, 1, 2, 2, 3, 4, 6}}},
    {"rib_route.route_value_34", {2, {}}},
    {"rib_route_l2_info.route_l2_value_1", {50, {0, 1, 2, 65537}}},
    {"rib_route_aft_id.route_aft_value_1", {15, {}}},
    {"rib_route_aft_id.route_aft_id_value", {90, {}}},
    {"rib_route_aft_id.route_aft_value_6", {90, {}}},
    {"rib_route_aft_id.route_aft_value_7", {90, {}}},
    {"rib_generic_attr_array.attrs", {90, {1, 1, 1, 2, 3}}},
    {"rib_generic_attr_info.attr_data", {98, {8, 8, 8, 8, 12, 12, 24}, {7, 0}}},
    {"rib_msg_prefix.family", {99, {2, 10}, {0, 1, 258, 266}}},
    {"rib_msg_prefix.prefix_len", {99, {}}},
    {"rib_msg_prefix.ipv6", {97, {16, 16, 16, 0, 4, 15}, {17}}},
    {"rib_srv6_oper_type.oper_selector", {70, {0, 1}}},
    {"rib_encap_id_path_key_label.labels", {70, {1, 2, 3, 10}, {70, 71, 72, 255, 256, 258}}},
    {"rib_encap_id_path_key_srv6.entries", {50, {1, 2, 3}}},
    {"rib_encap_id_path_key_srv6_carrier_info.carrier_bytes", {70, {16, 16, 16, 0, 1, 8, 15}, {17}}},
    {"rib_encap_id_path_key_srv6_carriers.oper_type", {97, {}}},
    {"rib_encap_id_path_key_srv6_carriers.carriers", {80, {1, 2, 3}, {11, 12, 13, 257}}},
    {"rib_encap_id_key.key_value_1", {99, {}}},
    {"rib_encap_id_key.key_value_2", {99, {}}},
    {"rib_encap_id_key.key_prefix", {99, {}}},
    {"rib_encap_id_key.key_value_4", {99, {}}},
    {"rib_encap_id_key.key_type", {99, {1, 1, 1, 2, 2, 2, 3, 4}, {0, 5, 257}}},
    {"rib_encap_id_key.key_second_prefix", {98, {}}},
    {"rib_encap_id_key.key_extra_prefixes", {40, {1, 2}, {3}}},
    {"rib_encap_id_key.label_key", {96, {}}},
    {"rib_encap_id_key.srv6_carriers", {96, {}}},
    {"rib_encap_id_key.key_bytes_20", {40, {16, 0, 1, 15}, {17}}},
    {"rib_grid_sync_list.encap_ids", {99, {}}},
    {"rib_grid_sync_list.keys", {99, {}}},
    {"rib_grid_sync_list.multi_key", {99, {}}},
    {"rib_nhid_update.nhid_update_value_1", {85, {}}},
    {"rib_nhid_update.nhid_encap_key", {85, {}}},
    {"ip_rib_proto_update.proto_id", {97, {}}},
    {"ip_rib_proto_update.proto_name", {80, {0, 1, 5, 39, 40, 41, 42, 50, 83, 84, 90, 200}}},
    {"ip_rib_proto_update.proto_extra_name", {60, {0, 1, 5, 41, 42, 43, 50, 200}}},
};

void append_varint(bytes &out, uint64_t value)
{
    for (; value > 127; value >>= 7)
        out.push_back(static_cast<uint8_t>(value | 0x80));
    out.push_back(static_cast<uint8_t>(value));
}

void append(bytes &out, const bytes &more)
{
    out.insert(out.end(), more.begin(), more.end());
}

uint64_t pick(random_source &random, const field_rule &rule)
{
    const bool rare = !rule.rare.empty() && random.one_in(40);
    const std::vector<uint64_t> &choices = rare ? rule.rare : rule.usual;
    return choices[random.below(choices.size())];
}

// The field's own rule, or none.
const field_rule &rule_of(const std::string &message, const zidl::field_descriptor &field)
{
    static const field_rule none = {0, {}};
    static std::unordered_map<const zidl::field_descriptor *, const field_rule *> known;
    const field_rule *&rule = known[&field];
    if (rule == nullptr) {
        const auto found = rules.find(message + "." + field.member);
        rule = found == rules.end() ? &none : &found->second;
    }
    return *rule;
}

// Small numbers, powers of two and their neighbours, and anything.
uint64_t scalar(random_source &random)
{
    switch (random.below(4)) {
    case 0:
        return random.below(4);
    case 1:
        return (uint64_t{1} << random.below(64)) + random.below(3) - 1;
    case 2:
        return random.below(300);
    default:
        return random.next();
    }
}

class message_writer
{
public:
    explicit message_writer(random_source &source) : random(source) {}

    bytes message(const zidl::message_descriptor &type)
    {
        // The coin of this message: from nearly empty to nearly full.
        static constexpr unsigned coins[] = {5, 20, 50, 50, 80, 100};
        const unsigned coin = coins[random.below(std::size(coins))];
        const std::string name = type.name;
        if (name == "rib_grid_sync_list")
            choose_list();
        if (name == "rib_generic_attr_array")
            attr_size = pick(random, rules.at("rib_generic_attr_info.attr_data"));
        if (name == "rib_nnh" && !random.one_in(8))
            return usable_nnh();

        std::vector<bytes> runs;
        for (uint32_t i = 0; i < type.field_count; i++) {
            const zidl::field_descriptor &field = type.fields[i];
            const field_rule &special = rule_of(name, field);
            if (random.below(100) < (special.percent != 0 ? special.percent : coin))
                runs.push_back(run(name, field, special));
        }
        if (random.one_in(10))
            runs.push_back({0xF8, 0x07, 0x01}); // field 127, unknown to every message
        if (random.one_in(5))
            shuffle(runs);
        bytes out;
        for (const bytes &one : runs)
            append(out, one);
        return out;
    }

private:
    // How many keys and IDs the next list has.
    void choose_list()
    {
        if (random.one_in(400))
            key_count = random.one_in(2) ? 1026 : 1027;
        else
            key_count = random.one_in(2) ? 1 : 1 + random.below(5);
        id_count = random.one_in(50) ? key_count + 1 : key_count;
        multi_key = key_count > 1 ? !random.one_in(30) : random.one_in(2);
        plain_keys = key_count > 1000;
    }

    bytes usable_nnh()
    {
        bytes out = {0x08, static_cast<uint8_t>(1 + random.below(2))};
        out.push_back(out[1] == 1 ? 0x10 : 0x18);
        append_varint(out, scalar(random) & 0xFFFFFFFF);
        return out;
    }

    uint64_t count_of(const std::string &message, const zidl::field_descriptor &field, const field_rule &special)
    {
        const std::string member = field.member;
        if (message == "rib_grid_sync_list")
            return member == "keys" ? key_count : id_count;
        if (message == "rib_route" && member == "paths") {
            plain_paths = random.one_in(400);
            return plain_paths ? 1000 + random.below(60) : pick(random, special);
        }
        return special.usual.empty() ? 1 + random.below(4) : pick(random, special);
    }

    bytes run(const std::string &message, const zidl::field_descriptor &field, const field_rule &special)
    {
        const bool sized = field.type == zidl::kind::bytes || field.type == zidl::kind::string;
        const uint64_t count = field.repeated ? count_of(message, field, special) : 1;
        // A scalar may come twice: the last one holds.
        const uint64_t times = !field.repeated && !sized && random.one_in(40) ? 2 : count;
        bytes out;
        for (uint64_t i = 0; i < times; i++)
            element(out, message, field, special, sized);
        return out;
    }

    void element(bytes &out, const std::string &message_name, const zidl::field_descriptor &field,
                 const field_rule &special, bool sized)
    {
        const bool delimited = sized || field.type == zidl::kind::message;
        const unsigned wire_type = delimited ? 2 : field.type == zidl::kind::fixed32 ? 5 : 0;
        append_varint(out, field.number << 3 | wire_type);
        if (field.type == zidl::kind::message) {
            const bytes body = nested(message_name, field);
            append_varint(out, body.size());
            append(out, body);
        } else if (sized) {
            const uint64_t size = size_of(message_name, special);
            append_varint(out, size);
            for (uint64_t i = 0; i < size; i++)
                out.push_back(static_cast<uint8_t>(field.type == zidl::kind::string ? 'a' + random.below(26)
                                                                                    : random.below(256)));
        } else if (wire_type == 5) {
            const uint64_t value = scalar(random);
            for (unsigned i = 0; i < 4; i++)
                out.push_back(static_cast<uint8_t>(value >> 8 * i));
        } else if (message_name == "rib_grid_sync_list") {
            append_varint(out, multi_key ? 1 : 0);
        } else {
            append_varint(out, special.usual.empty() ? scalar(random) : pick(random, special));
        }
    }

    uint64_t size_of(const std::string &message, const field_rule &special)
    {
        if (message == "rib_generic_attr_info")
            return random.one_in(30) ? random.below(30) : attr_size;
        return special.usual.empty() ? random.below(20) : pick(random, special);
    }

    // The elements of very long lists are small, or a list would hardly ever be whole.
    bytes nested(const std::string &message_name, const zidl::field_descriptor &field)
    {
        if (plain_keys && message_name == "rib_grid_sync_list" && field.number == 2)
            return plain_key();
        if (plain_paths && message_name == "rib_route" && field.number == 26 && !random.one_in(50))
            return {0x08, static_cast<uint8_t>(random.below(128))};
        return message(*field.message);
    }

    // A key of type 3 and a prefix of family 2.
    bytes plain_key()
    {
        const auto value = static_cast<uint8_t>(random.below(128));
        return {0x08, value, 0x10, 0x02, 0x1A, 0x06, 0x08, 0x02, 0x10, 0x18, 0x18, value, 0x20, 0x04, 0x28, 0x03};
    }

    void shuffle(std::vector<bytes> &runs)
    {
        for (size_t i = runs.size(); i > 1; i--)
            std::swap(runs[i - 1], runs[random.below(i)]);
    }

    random_source &random;
    uint64_t key_count = 1;
    uint64_t id_count = 1;
    uint64_t attr_size = 8;
    bool multi_key = false;
    bool plain_keys = false;
    bool plain_paths = false;
};

} // namespace

bytes random_message(random_source &random, const zidl::message_descriptor &message)
{
    return message_writer(random).message(message);
}

bytes mutated(random_source &random, bytes payload)
{
    static constexpr uint8_t telling[] = {0x00, 0x01, 0x7F, 0x80, 0xFF, 0x08, 0x0A, 0x12, 0xD2, 0x0F};
    for (uint64_t change = 1 + random.below(4); change > 0; change--) {
        const size_t at = random.below(payload.size() + 1);
        const auto place = payload.begin() + static_cast<std::ptrdiff_t>(at);
        const size_t left = payload.size() - at;
        switch (random.below(6)) {
        case 0: // one bit
            if (left > 0)
                payload[at] = static_cast<uint8_t>(payload[at] ^ 1 << random.below(8));
            break;
        case 1: // one byte
            if (left > 0)
                payload[at] = telling[random.below(std::size(telling))];
            break;
        case 2: // cut the end off
            if (random.one_in(3))
                payload.erase(place, payload.end());
            break;
        case 3: // cut something out
            payload.erase(place, place + static_cast<std::ptrdiff_t>(std::min<uint64_t>(left, random.below(6))));
            break;
        case 4: // put something in
            payload.insert(place, 1 + random.below(3), telling[random.below(std::size(telling))]);
            break;
        default: { // say something twice
            const bytes twice(place, place + static_cast<std::ptrdiff_t>(std::min<uint64_t>(left, random.below(20))));
            payload.insert(payload.begin() + static_cast<std::ptrdiff_t>(at), twice.begin(), twice.end());
        }
        }
    }
    return payload;
}

} // namespace rib_test
