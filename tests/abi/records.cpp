// Prints size and place of every member of every public record: what a program compiled against the headers relies on.
//
//     abi_records              to standard output, for a comparison with records.txt
//     abi_records --write F    into the file F, after a deliberate change
//
// Message records come from the descriptors, which take sizes and offsets from the headers; the others stand here by
// name. Bytes that belong to no member are printed as padding, so that a member forgotten here shows.

#include "messages/descriptors.hpp"
#include "rib.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{

struct member {
    std::string name;
    size_t offset;
    size_t size;
};

struct record {
    std::string name;
    size_t size;
    std::vector<member> members;
};

size_t value_size(const zidl::field_descriptor &field)
{
    switch (field.type) {
    case zidl::kind::u8:
    case zidl::kind::boolean:
        return sizeof(uint8_t);
    case zidl::kind::u32:
    case zidl::kind::fixed32:
        return sizeof(uint32_t);
    case zidl::kind::u64:
    case zidl::kind::sint64:
        return sizeof(uint64_t);
    case zidl::kind::message:
        return field.message->size;
    case zidl::kind::string:
    case zidl::kind::bytes:
        break;
    }
    return sizeof(void *);
}

record message_record(const zidl::message_descriptor &message)
{
    record out{std::string("zidl_") + message.name, message.size, {}};
    for (const zidl::field_descriptor *field = message.fields; field != message.fields + message.field_count; field++) {
        const std::string name = field->member;
        out.members.push_back({name, field->offset, field->repeated ? sizeof(void *) : value_size(*field)});
        if (field->repeated)
            out.members.push_back({name + ": its count", field->extent_offset, sizeof(uint32_t)});
        else if (field->type == zidl::kind::bytes)
            out.members.push_back({name + ": its size", field->extent_offset, sizeof(uint64_t)});
    }
    out.members.push_back({"presence", message.presence_offset, message.presence_size});
    return out;
}

#define MEMBER(type, name)                                                                                             \
    {                                                                                                                  \
#name, offsetof(type, name), sizeof(static_cast <type *>(nullptr)->name)                                       \
    }

// clang-format off
const record plain_records[] = {
    {"zidl_segment", sizeof(zidl_segment), {
        MEMBER(zidl_segment, base),
        MEMBER(zidl_segment, len),
    }},
    {"zidl_bytes", sizeof(zidl_bytes), {
        MEMBER(zidl_bytes, data),
        MEMBER(zidl_bytes, size),
    }},
    {"rib_tlv_t", sizeof(rib_tlv_t), {
        MEMBER(rib_tlv_t, unread),
        MEMBER(rib_tlv_t, type),
        MEMBER(rib_tlv_t, length),
    }},
    {"updatetype_local", sizeof(updatetype_local), {
        MEMBER(updatetype_local, update_id),
        MEMBER(updatetype_local, update_kind),
        MEMBER(updatetype_local, tlv_type),
        MEMBER(updatetype_local, stripped),
        MEMBER(updatetype_local, payload_len),
        MEMBER(updatetype_local, payload),
    }},
    {"rib_protoid_map", sizeof(rib_protoid_map), {
        MEMBER(rib_protoid_map, proto_id),
        MEMBER(rib_protoid_map, proto_sub_id),
        MEMBER(rib_protoid_map, proto_value),
        MEMBER(rib_protoid_map, proto_name),
        MEMBER(rib_protoid_map, proto_extra_name),
    }},
    {"rib_opaque_update", sizeof(rib_opaque_update), {
        MEMBER(rib_opaque_update, opaque_type),
        MEMBER(rib_opaque_update, opaque_id),
        MEMBER(rib_opaque_update, first_len),
        MEMBER(rib_opaque_update, second_len),
        MEMBER(rib_opaque_update, opaque_value),
        MEMBER(rib_opaque_update, first_block),
        MEMBER(rib_opaque_update, second_block),
    }},
    {"rib_algo_label_entry", sizeof(rib_algo_label_entry), {
        MEMBER(rib_algo_label_entry, algo),
        MEMBER(rib_algo_label_entry, label),
        MEMBER(rib_algo_label_entry, extra),
    }},
    {"rib_routetype_", sizeof(rib_routetype_), {
        MEMBER(rib_routetype_, rt_family),
        MEMBER(rib_routetype_, rt_prefix_len),
        MEMBER(rib_routetype_, rt_value_4),
        MEMBER(rib_routetype_, rt_value_5),
        MEMBER(rib_routetype_, rt_value_19),
        MEMBER(rib_routetype_, rt_value_2),
        MEMBER(rib_routetype_, rt_value_3),
        MEMBER(rib_routetype_, rt_path_count),
        MEMBER(rib_routetype_, rt_value_6),
        MEMBER(rib_routetype_, rt_value_7),
        MEMBER(rib_routetype_, rt_value_8),
        MEMBER(rib_routetype_, rt_dest),
        MEMBER(rib_routetype_, rt_value_9),
        MEMBER(rib_routetype_, rt_value_10),
        MEMBER(rib_routetype_, rt_value_11),
        MEMBER(rib_routetype_, rt_value_38),
        MEMBER(rib_routetype_, rt_value_12),
        MEMBER(rib_routetype_, rt_value_37),
        MEMBER(rib_routetype_, rt_value_13),
        MEMBER(rib_routetype_, rt_value_14),
        MEMBER(rib_routetype_, rt_value_15),
        MEMBER(rib_routetype_, rt_value_16),
        MEMBER(rib_routetype_, rt_value_40),
        MEMBER(rib_routetype_, rt_value_41),
        MEMBER(rib_routetype_, rt_algo_labels),
        MEMBER(rib_routetype_, rt_value_18),
        MEMBER(rib_routetype_, rt_value_20),
        MEMBER(rib_routetype_, rt_value_21),
        MEMBER(rib_routetype_, rt_value_22),
        MEMBER(rib_routetype_, rt_flags),
        MEMBER(rib_routetype_, rt_value_25),
        MEMBER(rib_routetype_, rt_l2_value),
        MEMBER(rib_routetype_, rt_aft_id),
        MEMBER(rib_routetype_, rt_aft_value_6),
        MEMBER(rib_routetype_, rt_aft_value_7),
        MEMBER(rib_routetype_, rt_aft_valid),
        MEMBER(rib_routetype_, rt_value_35),
        MEMBER(rib_routetype_, rt_value_35_copy),
        MEMBER(rib_routetype_, rt_algo_label_count),
        MEMBER(rib_routetype_, rt_advertisement),
        MEMBER(rib_routetype_, rt_first_ecomm),
        MEMBER(rib_routetype_, rt_attr_blocks),
    }},
    {"rib_nnh_entry", sizeof(rib_nnh_entry), {
        MEMBER(rib_nnh_entry, type),
        MEMBER(rib_nnh_entry, value),
    }},
    {"rib_sid_info_entry", sizeof(rib_sid_info_entry), {
        MEMBER(rib_sid_info_entry, address),
        MEMBER(rib_sid_info_entry, prefix_len),
        MEMBER(rib_sid_info_entry, marker),
    }},
    {"rib_path_entry", sizeof(rib_path_entry), {
        MEMBER(rib_path_entry, pe_value_1),
        MEMBER(rib_path_entry, pe_value_2),
        MEMBER(rib_path_entry, pe_value_3),
        MEMBER(rib_path_entry, pe_addr_4),
        MEMBER(rib_path_entry, pe_addr_5),
        MEMBER(rib_path_entry, pe_addr_5_family),
        MEMBER(rib_path_entry, pe_prefix),
        MEMBER(rib_path_entry, pe_prefix_len),
        MEMBER(rib_path_entry, pe_value_8),
        MEMBER(rib_path_entry, pe_labels),
        MEMBER(rib_path_entry, pe_value_10),
        MEMBER(rib_path_entry, pe_value_11),
        MEMBER(rib_path_entry, pe_value_12),
        MEMBER(rib_path_entry, pe_value_13),
        MEMBER(rib_path_entry, pe_label_count),
        MEMBER(rib_path_entry, pe_address_count),
        MEMBER(rib_path_entry, pe_value_28),
        MEMBER(rib_path_entry, pe_sid_info_count),
        MEMBER(rib_path_entry, pe_value_16),
        MEMBER(rib_path_entry, pe_addresses),
        MEMBER(rib_path_entry, pe_ipv6),
        MEMBER(rib_path_entry, pe_value_19),
        MEMBER(rib_path_entry, pe_via_sid),
        MEMBER(rib_path_entry, pe_via_sid_value),
        MEMBER(rib_path_entry, pe_nnh_count),
        MEMBER(rib_path_entry, pe_nnh),
        MEMBER(rib_path_entry, pe_value_22),
        MEMBER(rib_path_entry, pe_sid_infos),
        MEMBER(rib_path_entry, pe_value_25),
        MEMBER(rib_path_entry, pe_value_31),
        MEMBER(rib_path_entry, pe_iid_value_1),
        MEMBER(rib_path_entry, pe_iid_prefix),
        MEMBER(rib_path_entry, pe_iid_prefix_family),
        MEMBER(rib_path_entry, pe_iid_prefix_len),
        MEMBER(rib_path_entry, pe_iid_value_4),
        MEMBER(rib_path_entry, pe_l2_5),
        MEMBER(rib_path_entry, pe_l2_6),
        MEMBER(rib_path_entry, pe_l2_7),
        MEMBER(rib_path_entry, pe_l2_8),
        MEMBER(rib_path_entry, pe_grouping_2),
        MEMBER(rib_path_entry, pe_tunnel_flags),
        MEMBER(rib_path_entry, pe_tunnel_7),
        MEMBER(rib_path_entry, pe_tunnel_9),
        MEMBER(rib_path_entry, pe_tunnel_8),
        MEMBER(rib_path_entry, pe_tunnel_10),
        MEMBER(rib_path_entry, pe_via_aft_id),
        MEMBER(rib_path_entry, pe_aft_6),
        MEMBER(rib_path_entry, pe_aft_7),
        MEMBER(rib_path_entry, pe_sl_kind),
        MEMBER(rib_path_entry, pe_sl_value),
        MEMBER(rib_path_entry, pe_ecomm_count),
        MEMBER(rib_path_entry, pe_ecomm_value_1),
        MEMBER(rib_path_entry, pe_ecomm_room),
    }},
    {"rib_route_client", sizeof(rib_route_client), {
        MEMBER(rib_route_client, context),
        MEMBER(rib_route_client, not_used),
        MEMBER(rib_route_client, encoded_route),
    }},
    {"ip_addr", sizeof(ip_addr), {
        MEMBER(ip_addr, family),
        MEMBER(ip_addr, prefix_len),
        MEMBER(ip_addr, addr),
    }},
    {"rib_encap_label_key", sizeof(rib_encap_label_key), {
        MEMBER(rib_encap_label_key, label_key_value),
        MEMBER(rib_encap_label_key, label_count),
        MEMBER(rib_encap_label_key, labels),
    }},
    {"rib_encap_carrier", sizeof(rib_encap_carrier), {
        MEMBER(rib_encap_carrier, carrier_value_1),
        MEMBER(rib_encap_carrier, carrier_value_2),
        MEMBER(rib_encap_carrier, carrier_bytes),
    }},
    {"rib_encap_srv6_key", sizeof(rib_encap_srv6_key), {
        MEMBER(rib_encap_srv6_key, oper_selector),
        MEMBER(rib_encap_srv6_key, oper),
        MEMBER(rib_encap_srv6_key, carrier_count),
        MEMBER(rib_encap_srv6_key, carriers),
    }},
    {"rib_encap_id_path_key_t", sizeof(rib_encap_id_path_key_t), {
        MEMBER(rib_encap_id_path_key_t, key_value_1),
        MEMBER(rib_encap_id_path_key_t, key_value_2),
        MEMBER(rib_encap_id_path_key_t, key_prefix),
        MEMBER(rib_encap_id_path_key_t, key_value_4),
        MEMBER(rib_encap_id_path_key_t, key_value_6),
        MEMBER(rib_encap_id_path_key_t, key_value_13),
        MEMBER(rib_encap_id_path_key_t, key_second_prefix),
        MEMBER(rib_encap_id_path_key_t, key_value_8),
        MEMBER(rib_encap_id_path_key_t, key_extra_prefixes),
        MEMBER(rib_encap_id_path_key_t, key_extra_prefix_count),
        MEMBER(rib_encap_id_path_key_t, key_type),
        MEMBER(rib_encap_id_path_key_t, key_value_15),
        MEMBER(rib_encap_id_path_key_t, key_value_16),
        MEMBER(rib_encap_id_path_key_t, key_value_17),
        MEMBER(rib_encap_id_path_key_t, key_value_18),
        MEMBER(rib_encap_id_path_key_t, key_value_19),
        MEMBER(rib_encap_id_path_key_t, type_data),
        MEMBER(rib_encap_id_path_key_t, key_bytes_20),
        MEMBER(rib_encap_id_path_key_t, key_value_12),
    }},
    {"grid_sync_list", sizeof(grid_sync_list), {
        MEMBER(grid_sync_list, encap_ids),
        MEMBER(grid_sync_list, keys),
        MEMBER(grid_sync_list, count),
        MEMBER(grid_sync_list, multi_key),
    }},
    {"nhid_update_local", sizeof(nhid_update_local), {
        MEMBER(nhid_update_local, address_family),
        MEMBER(nhid_update_local, address),
        MEMBER(nhid_update_local, key_value_3),
        MEMBER(nhid_update_local, key_value_1),
        MEMBER(nhid_update_local, key_value_4),
        MEMBER(nhid_update_local, nhid),
        MEMBER(nhid_update_local, update_value_1),
    }},
};
// clang-format on

void print_row(FILE *out, size_t offset, size_t size, const char *name)
{
    std::fprintf(out, "%8zu %6zu  %s\n", offset, size, name);
}

void print(FILE *out, const record &item)
{
    std::fprintf(out, "\n%s: %zu\n", item.name.c_str(), item.size);
    size_t end = 0;
    for (const member &row : item.members) {
        if (row.offset > end)
            print_row(out, end, row.offset - end, "(padding)");
        print_row(out, row.offset, row.size, row.name.c_str());
        end = row.offset + row.size;
    }
    if (item.size > end)
        print_row(out, end, item.size - end, "(padding)");
}

void print_all(FILE *out)
{
    std::fputs("# Every public record with its size, and offset and size of each member, in bytes (x86-64).\n"
               "# Compared with the headers by a test. After a deliberate change: abi_records --write records.txt\n",
               out);
    for (const record &item : plain_records)
        print(out, item);
    std::vector<const zidl::message_descriptor *> messages(zidl::all_messages,
                                                           zidl::all_messages + zidl::message_count);
    std::sort(messages.begin(), messages.end(),
              [](const auto *a, const auto *b) { return std::strcmp(a->name, b->name) < 0; });
    for (const zidl::message_descriptor *message : messages)
        print(out, message_record(*message));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 1) {
        print_all(stdout);
        return 0;
    }
    if (argc != 3 || std::strcmp(argv[1], "--write") != 0) {
        std::fprintf(stderr, "usage: abi_records [--write FILE]\n");
        return 2;
    }
    FILE *out = std::fopen(argv[2], "w");
    if (out == nullptr) {
        std::perror(argv[2]);
        return 1;
    }
    print_all(out);
    return std::fclose(out) == 0 ? 0 : 1;
}
