#include "inspect/records/client_records.hpp"

namespace rib_inspect
{

namespace
{

struct place {
    std::string_view key;
    size_t offset;
    size_t size;
};

constexpr record_member placed(const place &at, member_kind kind)
{
    record_member member;
    member.key = at.key;
    member.offset = static_cast<uint32_t>(at.offset);
    member.size = static_cast<uint32_t>(at.size);
    member.kind = kind;
    return member;
}

constexpr number_place number_at(const place &at)
{
    return {static_cast<uint16_t>(at.offset), static_cast<uint8_t>(at.size)};
}

constexpr record_member number(const place &at, uint64_t absent = 0)
{
    record_member member = placed(at, member_kind::number);
    member.absent = absent;
    return member;
}

constexpr record_member address(const place &at)
{
    return placed(at, member_kind::address);
}

constexpr record_member ipv6_address(const place &at)
{
    record_member member = address(at);
    member.families = family_codes::always_ipv6;
    return member;
}

constexpr record_member address(const place &at, const place &family, family_codes codes = family_codes::rib)
{
    record_member member = address(at);
    member.families = codes;
    member.extent = number_at(family);
    return member;
}

constexpr record_member block(const place &at, const place &len)
{
    record_member member = placed(at, member_kind::block);
    member.extent = number_at(len);
    return member;
}

constexpr record_member record(const place &at, const record_type &type)
{
    record_member member = placed(at, member_kind::record);
    member.type = &type;
    return member;
}

// One of a union's records, chosen by the value of another member.
constexpr record_member variant(const place &at, std::string_view key, const record_type &type, const place &selector,
                                uint32_t value)
{
    record_member member = record(at, type);
    member.key = key;
    member.extent = number_at(selector);
    member.only_when = value;
    return member;
}

constexpr record_member list(const place &at, const record_member &element, list_place where)
{
    record_member member = placed(at, member_kind::list);
    member.element = &element;
    member.place = where;
    return member;
}

constexpr record_member list(const place &at, const record_member &element, list_place where, const place &count)
{
    record_member member = list(at, element, where);
    member.extent = number_at(count);
    if (where == list_place::inside)
        member.room = member.size / element.size;
    return member;
}

constexpr record_member whole_list(const place &at, const record_member &element, const place &count)
{
    record_member member = list(at, element, list_place::inside, count);
    member.shows_all = true;
    return member;
}

constexpr record_member fixed_list(const place &at, const record_member &element)
{
    record_member member = list(at, element, list_place::inside);
    member.room = member.size / element.size;
    return member;
}

constexpr record_member element_of(member_kind kind, size_t size)
{
    return placed({{}, 0, size}, kind);
}

constexpr record_member element_of(const record_type &type)
{
    record_member member = element_of(member_kind::record, type.size);
    member.type = &type;
    return member;
}

constexpr record_member AN_U16 = element_of(member_kind::number, sizeof(uint16_t));
constexpr record_member AN_U32 = element_of(member_kind::number, sizeof(uint32_t));
constexpr record_member AN_U64 = element_of(member_kind::number, sizeof(uint64_t));
constexpr record_member AN_ADDRESS = element_of(member_kind::address, sizeof(rib_address_bytes));

// Members of the structure that RECORD is. What lies behind it has a place of its own.
#define KEY(name) "\"" name "\":"
#define PLACE(name)                                                                                                    \
    place                                                                                                              \
    {                                                                                                                  \
        KEY(#name), offsetof(RECORD, name), sizeof(static_cast<RECORD *>(nullptr)->name)                               \
    }
#define BEHIND(name)                                                                                                   \
    place                                                                                                              \
    {                                                                                                                  \
        KEY(#name), sizeof(RECORD), 0                                                                                  \
    }
#define NUMBER(name) number(PLACE(name))
#define NUMBER_OR(absent, name) number(PLACE(name), absent)

// clang-format off

// ---- Protocols and opaque updates ----

#define RECORD rib_protoid_map
constexpr record_member PROTOID_MAP_MEMBERS[] = {
    NUMBER(proto_id),
    NUMBER(proto_sub_id),
    NUMBER(proto_value),
    placed(PLACE(proto_name), member_kind::text),
    placed(PLACE(proto_extra_name), member_kind::text),
};
#undef RECORD

#define RECORD rib_opaque_update
constexpr record_member OPAQUE_UPDATE_MEMBERS[] = {
    NUMBER(opaque_type),
    NUMBER(opaque_id),
    NUMBER(first_len),
    NUMBER(second_len),
    NUMBER(opaque_value),
    block(PLACE(first_block), PLACE(first_len)),
    block(PLACE(second_block), PLACE(second_len)),
};
#undef RECORD

// ---- Paths ----

#define RECORD rib_nnh_entry
constexpr record_member NNH_MEMBERS[] = {
    NUMBER(type),
    NUMBER(value),
};
constexpr record_type NNH = {"rib_nnh_entry", sizeof(RECORD), NNH_MEMBERS};
constexpr record_member AN_NNH = element_of(NNH);
#undef RECORD

#define RECORD rib_sid_info_entry
constexpr record_member SID_INFO_MEMBERS[] = {
    address(PLACE(address)),
    NUMBER_OR(RIB_NO_PREFIX_LEN, prefix_len),
    placed(PLACE(marker), member_kind::text),
};
constexpr record_type SID_INFO = {"rib_sid_info_entry", sizeof(RECORD), SID_INFO_MEMBERS};
constexpr record_member A_SID_INFO = element_of(SID_INFO);
#undef RECORD

#define RECORD rib_path_entry
constexpr record_member PATH_ENTRY_MEMBERS[] = {
    NUMBER(pe_value_1),
    NUMBER(pe_value_2),
    NUMBER(pe_value_3),
    address(PLACE(pe_addr_4)),
    address(PLACE(pe_addr_5), PLACE(pe_addr_5_family)),
    NUMBER(pe_addr_5_family),
    address(PLACE(pe_prefix)),
    NUMBER_OR(RIB_NO_PREFIX_LEN, pe_prefix_len),
    NUMBER(pe_value_8),
    whole_list(PLACE(pe_labels), AN_U32, PLACE(pe_label_count)),
    NUMBER(pe_value_10),
    NUMBER(pe_value_11),
    NUMBER(pe_value_12),
    NUMBER(pe_value_13),
    NUMBER(pe_label_count),
    NUMBER(pe_address_count),
    NUMBER(pe_value_28),
    NUMBER(pe_sid_info_count),
    NUMBER(pe_value_16),
    list(PLACE(pe_addresses), AN_ADDRESS, list_place::inside, PLACE(pe_address_count)),
    ipv6_address(PLACE(pe_ipv6)),
    NUMBER_OR(RIB_NO_LABEL, pe_value_19),
    ipv6_address(PLACE(pe_via_sid)),
    NUMBER_OR(1, pe_via_sid_value),
    NUMBER(pe_nnh_count),
    list(PLACE(pe_nnh), AN_NNH, list_place::inside, PLACE(pe_nnh_count)),
    NUMBER(pe_value_22),
    list(PLACE(pe_sid_infos), A_SID_INFO, list_place::inside, PLACE(pe_sid_info_count)),
    NUMBER(pe_value_25),
    NUMBER(pe_value_31),
    NUMBER(pe_iid_value_1),
    address(PLACE(pe_iid_prefix), PLACE(pe_iid_prefix_family)),
    NUMBER(pe_iid_prefix_family),
    NUMBER(pe_iid_prefix_len),
    NUMBER(pe_iid_value_4),
    NUMBER(pe_l2_5),
    NUMBER(pe_l2_6),
    NUMBER(pe_l2_7),
    NUMBER(pe_l2_8),
    NUMBER(pe_grouping_2),
    NUMBER(pe_tunnel_flags),
    NUMBER(pe_tunnel_7),
    NUMBER(pe_tunnel_9),
    NUMBER(pe_tunnel_8),
    NUMBER(pe_tunnel_10),
    NUMBER(pe_via_aft_id),
    NUMBER(pe_aft_6),
    NUMBER(pe_aft_7),
    NUMBER(pe_sl_kind),
    NUMBER(pe_sl_value),
    NUMBER(pe_ecomm_count),
    NUMBER(pe_ecomm_value_1),
    placed(PLACE(pe_ecomm_room), member_kind::layout),
    list(BEHIND(pe_ecomm_values), AN_U64, list_place::behind, PLACE(pe_ecomm_count)),
};
#undef RECORD

// ---- Routes and their blocks ----

#define RECORD rib_algo_label_entry
constexpr record_member ALGO_LABEL_MEMBERS[] = {
    NUMBER(algo),
    NUMBER(label),
    NUMBER(extra),
};
constexpr record_type ALGO_LABEL = {"rib_algo_label_entry", sizeof(RECORD), ALGO_LABEL_MEMBERS};
constexpr record_member AN_ALGO_LABEL = element_of(ALGO_LABEL);
#undef RECORD

// The last three members of a path entry and what is behind it, as rib_ecomm_count and the like read them.
struct ecomm_block {
    uint16_t pe_ecomm_count;
    uint16_t pe_ecomm_value_1;
    uint32_t pe_ecomm_room;
};
static_assert(sizeof(rib_path_entry) - offsetof(rib_path_entry, pe_ecomm_count) == sizeof(ecomm_block));

#define RECORD ecomm_block
constexpr record_member ECOMM_MEMBERS[] = {
    NUMBER(pe_ecomm_count),
    NUMBER(pe_ecomm_value_1),
    placed(PLACE(pe_ecomm_room), member_kind::layout),
    list(BEHIND(pe_ecomm_values), AN_U64, list_place::behind, PLACE(pe_ecomm_count)),
};
constexpr record_type ECOMM = {{}, sizeof(RECORD), ECOMM_MEMBERS};
#undef RECORD

// These lie where rib_attr_type and rib_attr_data find them: no two blocks are alike.
constexpr record_member ATTR_MEMBERS[] = {
    number({KEY("attr_type"), 0, sizeof(uint32_t)}),
    placed({KEY("attr_data"), 0, 0}, member_kind::bytes),
};
constexpr record_type ATTR = {{}, 0, ATTR_MEMBERS};
constexpr record_member AN_ATTR = element_of(ATTR);
constexpr record_member ATTR_BLOCK_MEMBERS[] = {
    number({KEY("array_type"), 0, sizeof(uint16_t)}),
    list({KEY("attrs"), 2 * sizeof(uint16_t), 0}, AN_ATTR, list_place::behind),
};
constexpr record_type ATTR_BLOCK = {{}, 0, ATTR_BLOCK_MEMBERS};

constexpr record_member attr_block_element()
{
    record_member member = element_of(member_kind::attr_block, sizeof(void *));
    member.type = &ATTR_BLOCK;
    return member;
}
constexpr record_member AN_ATTR_BLOCK = attr_block_element();

constexpr record_member far_record(const place &at, const record_type &type)
{
    record_member member = placed(at, member_kind::far_record);
    member.type = &type;
    return member;
}

} // namespace

constexpr record_type PATH_ENTRY = {"rib_path_entry", sizeof(rib_path_entry), PATH_ENTRY_MEMBERS};

namespace
{

constexpr record_member A_PATH = element_of(PATH_ENTRY);

#define RECORD rib_routetype_
constexpr record_member ROUTE_MEMBERS[] = {
    NUMBER(rt_family),
    NUMBER(rt_prefix_len),
    NUMBER(rt_value_4),
    NUMBER(rt_value_5),
    NUMBER(rt_value_19),
    NUMBER(rt_value_2),
    NUMBER(rt_value_3),
    NUMBER(rt_path_count),
    NUMBER(rt_value_6),
    NUMBER(rt_value_7),
    NUMBER(rt_value_8),
    address(PLACE(rt_dest), PLACE(rt_family)),
    NUMBER(rt_value_9),
    NUMBER(rt_value_10),
    NUMBER(rt_value_11),
    NUMBER(rt_value_38),
    NUMBER(rt_value_12),
    NUMBER(rt_value_37),
    NUMBER(rt_value_13),
    NUMBER(rt_value_14),
    NUMBER(rt_value_15),
    NUMBER(rt_value_16),
    NUMBER(rt_value_40),
    NUMBER(rt_value_41),
    list(PLACE(rt_algo_labels), AN_ALGO_LABEL, list_place::inside, PLACE(rt_algo_label_count)),
    NUMBER(rt_value_18),
    NUMBER(rt_value_20),
    NUMBER(rt_value_21),
    NUMBER(rt_value_22),
    NUMBER(rt_flags),
    NUMBER(rt_value_25),
    NUMBER(rt_l2_value),
    NUMBER(rt_aft_id),
    NUMBER(rt_aft_value_6),
    NUMBER(rt_aft_value_7),
    NUMBER(rt_aft_valid),
    NUMBER(rt_value_35),
    NUMBER(rt_value_35_copy),
    NUMBER(rt_algo_label_count),
    list(PLACE(rt_advertisement), AN_U16, list_place::counted),
    far_record(PLACE(rt_first_ecomm), ECOMM),
    fixed_list(PLACE(rt_attr_blocks), AN_ATTR_BLOCK),
    list(BEHIND(paths), A_PATH, list_place::behind, PLACE(rt_path_count)),
};
#undef RECORD

// ---- Grids and next-hop IDs ----

// The member that says the family stands beside the address, in a union.
#define RECORD ip_addr
constexpr record_member IP_ADDR_MEMBERS[] = {
    NUMBER(family),
    NUMBER(prefix_len),
    address(PLACE(addr), PLACE(family), family_codes::socket),
};
constexpr record_type IP_ADDR = {"ip_addr", sizeof(RECORD), IP_ADDR_MEMBERS};
constexpr record_member AN_IP_ADDR = element_of(IP_ADDR);
#undef RECORD

#define RECORD rib_encap_label_key
constexpr record_member LABEL_KEY_MEMBERS[] = {
    NUMBER(label_key_value),
    NUMBER(label_count),
    list(PLACE(labels), AN_U32, list_place::inside, PLACE(label_count)),
};
constexpr record_type LABEL_KEY = {"rib_encap_label_key", sizeof(RECORD), LABEL_KEY_MEMBERS};
#undef RECORD

#define RECORD rib_encap_carrier
constexpr record_member CARRIER_MEMBERS[] = {
    NUMBER(carrier_value_1),
    NUMBER(carrier_value_2),
    placed(PLACE(carrier_bytes), member_kind::bytes),
};
constexpr record_type CARRIER = {"rib_encap_carrier", sizeof(RECORD), CARRIER_MEMBERS};
constexpr record_member A_CARRIER = element_of(CARRIER);
#undef RECORD

#define RECORD rib_encap_srv6_key
constexpr record_member SRV6_KEY_MEMBERS[] = {
    NUMBER(oper_selector),
    NUMBER(oper),
    NUMBER(carrier_count),
    list(PLACE(carriers), A_CARRIER, list_place::inside, PLACE(carrier_count)),
};
constexpr record_type SRV6_KEY = {"rib_encap_srv6_key", sizeof(RECORD), SRV6_KEY_MEMBERS};
#undef RECORD

constexpr uint32_t KEY_TYPE_LABEL = 1;
constexpr uint32_t KEY_TYPE_SRV6 = 2;

#define RECORD rib_encap_id_path_key_t
constexpr record_member KEY_MEMBERS[] = {
    NUMBER(key_value_1),
    NUMBER(key_value_2),
    record(PLACE(key_prefix), IP_ADDR),
    NUMBER(key_value_4),
    NUMBER(key_value_6),
    NUMBER(key_value_13),
    record(PLACE(key_second_prefix), IP_ADDR),
    NUMBER(key_value_8),
    list(PLACE(key_extra_prefixes), AN_IP_ADDR, list_place::inside, PLACE(key_extra_prefix_count)),
    NUMBER(key_extra_prefix_count),
    NUMBER(key_type),
    NUMBER_OR(RIB_NO_LABEL, key_value_15),
    NUMBER(key_value_16),
    NUMBER(key_value_17),
    NUMBER(key_value_18),
    NUMBER(key_value_19),
    variant(PLACE(type_data), KEY("label"), LABEL_KEY, PLACE(key_type), KEY_TYPE_LABEL),
    variant(PLACE(type_data), KEY("srv6"), SRV6_KEY, PLACE(key_type), KEY_TYPE_SRV6),
    placed(PLACE(key_bytes_20), member_kind::bytes),
    NUMBER(key_value_12),
};
constexpr record_type KEY_TYPE = {"rib_encap_id_path_key_t", sizeof(RECORD), KEY_MEMBERS};
constexpr record_member A_KEY = element_of(KEY_TYPE);
#undef RECORD

#define RECORD grid_sync_list
constexpr record_member GRID_LIST_MEMBERS[] = {
    list(PLACE(encap_ids), AN_U64, list_place::pointed_at, PLACE(count)),
    list(PLACE(keys), A_KEY, list_place::pointed_at, PLACE(count)),
    NUMBER(count),
    NUMBER(multi_key),
};
#undef RECORD

#define RECORD nhid_update_local
constexpr record_member NHID_UPDATE_MEMBERS[] = {
    NUMBER(address_family),
    address(PLACE(address), PLACE(address_family)),
    NUMBER(key_value_3),
    NUMBER(key_value_1),
    NUMBER(key_value_4),
    NUMBER_OR(RIB_NO_NHID, nhid),
    NUMBER(update_value_1),
};
#undef RECORD

// clang-format on

#undef NUMBER_OR
#undef NUMBER
#undef BEHIND
#undef PLACE
#undef KEY

} // namespace

constexpr record_type PROTOID_MAP = {"rib_protoid_map", sizeof(rib_protoid_map), PROTOID_MAP_MEMBERS};
constexpr record_type OPAQUE_UPDATE = {"rib_opaque_update", sizeof(rib_opaque_update), OPAQUE_UPDATE_MEMBERS};
constexpr record_type ROUTE = {"rib_routetype_", sizeof(struct rib_routetype_), ROUTE_MEMBERS};
constexpr record_type GRID_LIST = {"grid_sync_list", sizeof(grid_sync_list), GRID_LIST_MEMBERS};
constexpr record_type NHID_UPDATE = {"nhid_update_local", sizeof(nhid_update_local), NHID_UPDATE_MEMBERS};

std::span<const record_type *const> client_record_types()
{
    static constexpr const record_type *TYPES[] = {&PROTOID_MAP, &OPAQUE_UPDATE, &ROUTE, &GRID_LIST, &NHID_UPDATE};
    return TYPES;
}

} // namespace rib_inspect
