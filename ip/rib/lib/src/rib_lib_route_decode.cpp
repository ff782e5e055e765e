// Routes: from the decoded message to one flat record with its packed paths and its side blocks.

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/decoded_message.hpp"
#include "ip/rib/lib/src/rib_assert.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "messages/rib_common.h"

using namespace rib_client;

// Paths are packed: the ecomm block is the end of an entry, and the values that follow it are aligned.
static_assert(offsetof(rib_path_entry, pe_ecomm_count) + sizeof(uint64_t) == sizeof(rib_path_entry), "");
static_assert(sizeof(rib_path_entry) % sizeof(uint64_t) == 0, "");
static_assert(sizeof(struct rib_routetype_) % alignof(rib_path_entry) == 0, "");

namespace
{

constexpr char source_path[] = "ip/rib/lib/src/rib_lib_route_decode";

using decoded_route = decoded_message<zidl_rib_route, zidl_rib_route_decode_ext, zidl_rib_route_free_ext>;

// Families of addresses in routes.
constexpr uint32_t FAMILY_IPV4 = 1;
constexpr uint32_t FAMILY_IPV6 = 2;

// ---- What is present: a nested message is when its own bit says so or anything inside it is. In a decoded message the
// bit of a block is set whenever something inside it is, so that the bit alone decides there ----

bool has_any(const zidl_rib_ipv6_address &ipv6)
{
    return zidl_rib_ipv6_address_has_half0(&ipv6) || zidl_rib_ipv6_address_has_half1(&ipv6);
}

bool has_any(const zidl_rib_address &address)
{
    return zidl_rib_address_has_family(&address) || zidl_rib_address_has_ipv4(&address) ||
           zidl_rib_address_has_ipv6(&address) || has_any(address.ipv6);
}

bool has_address(const zidl_rib_prefix &prefix)
{
    return zidl_rib_prefix_has_address(&prefix) || has_any(prefix.address);
}

bool has_any(const zidl_rib_prefix &prefix)
{
    return has_address(prefix) || zidl_rib_prefix_has_prefix_len(&prefix);
}

bool has_any(const zidl_rib_ecomm_array &ecomm)
{
    return zidl_rib_ecomm_array_has_ecomm_value_1(&ecomm) || zidl_rib_ecomm_array_has_ecomm_values(&ecomm) ||
           zidl_rib_ecomm_array_has_ecomm_value_3(&ecomm);
}

// Makes the bits of the blocks say all, as they do in a decoded path. A block that gives nothing when it is empty may be
// marked whatever it holds.
void mark_blocks(zidl_rib_path &path)
{
#define MARK(block, holds)                                                                                             \
    if (holds)                                                                                                         \
        zidl_rib_path_mark_##block(&path);
    MARK(path_address_4, has_any(path.path_address_4))
    MARK(path_address_5, has_any(path.path_address_5))
    MARK(path_prefix, has_any(path.path_prefix))
    MARK(path_ipv6_address, has_any(path.path_ipv6_address))
    MARK(ecomm, has_any(path.ecomm))
    MARK(iid_attr, true)
    MARK(l2_info, true)
    MARK(grouping_info, true)
    MARK(ip_tunnel_info, true)
    MARK(via_aft_id, true)
    MARK(sl_id_info, true)
#undef MARK
}

// ---- Addresses and prefixes ----

void copy_ipv6(uint8_t *out16, const zidl_rib_ipv6_address &ipv6)
{
    memcpy(out16, &ipv6.half0, sizeof ipv6.half0);
    memcpy(out16 + sizeof ipv6.half0, &ipv6.half1, sizeof ipv6.half1);
}

zerrno unpack_address(const zidl_rib_address &address, uint8_t *out16, uint32_t *family_out)
{
    if (!zidl_rib_address_has_family(&address))
        return ZERRNO_MALFORMED;
    if (family_out != nullptr)
        *family_out = address.family;

    switch (address.family) {
    case FAMILY_IPV4:
        if (!zidl_rib_address_has_ipv4(&address))
            return ZERRNO_MALFORMED;
        memcpy(out16, &address.ipv4, sizeof address.ipv4);
        return ZERRNO_OK;
    case FAMILY_IPV6:
        if (!zidl_rib_address_has_ipv6(&address) && !has_any(address.ipv6))
            return ZERRNO_MALFORMED;
        if (zidl_rib_ipv6_address_has_half0(&address.ipv6)) // without it success all the same, deliberately
            copy_ipv6(out16, address.ipv6);
        return ZERRNO_OK;
    default:
        return ZERRNO_UNSUPPORTED;
    }
}

// The length is stored before the address is looked at, and stays when that fails.
zerrno unpack_prefix(const zidl_rib_prefix &prefix, uint8_t *out16, uint32_t *len_out, uint32_t *family_out)
{
    *len_out = zidl_rib_prefix_has_prefix_len(&prefix) ? prefix.prefix_len : RIB_NO_PREFIX_LEN;
    if (has_address(prefix))
        return unpack_address(prefix.address, out16, family_out);
    memset(out16, 0, sizeof(rib_address_bytes));
    return ZERRNO_OK;
}

// ---- One path, whose blocks' bits say all. The entry is all zero before ----

void unpack_ecomm(const zidl_rib_path &path, rib_path_entry &entry)
{
    if (!zidl_rib_path_has_ecomm(&path))
        return;
    const zidl_rib_ecomm_array &ecomm = path.ecomm;
    entry.pe_ecomm_room = ecomm.ecomm_count;
    if (zidl_rib_ecomm_array_has_ecomm_value_3(&ecomm))
        return;
    copy_if(zidl_rib_ecomm_array_has_ecomm_value_1(&ecomm), entry.pe_ecomm_value_1, ecomm.ecomm_value_1);
    entry.pe_ecomm_count = static_cast<uint16_t>(ecomm.ecomm_count); // low bits only, though all values are copied
    copy_bytes(&entry + 1, ecomm.ecomm_values, ecomm.ecomm_count * sizeof(uint64_t));
}

void unpack_scalars(const zidl_rib_path &path, rib_path_entry &entry)
{
    constexpr uint32_t VALUE_3_MASK = 0x0FFFF7FF; // drops bit 11 and the top four, deliberately
    entry.pe_value_19 = RIB_NO_LABEL;
#define COPY(member, field) copy_if(zidl_rib_path_has_##field(&path), entry.member, path.field)
    COPY(pe_value_1, path_value_1);
    COPY(pe_value_2, path_value_2);
    COPY(pe_value_3, path_value_3);
    COPY(pe_value_8, path_value_8);
    COPY(pe_value_10, path_value_10);
    COPY(pe_value_11, path_value_11);
    COPY(pe_value_12, path_value_12);
    COPY(pe_value_13, path_value_13);
    COPY(pe_value_16, path_value_16);
    COPY(pe_value_19, path_value_19);
    COPY(pe_value_22, path_value_22);
    COPY(pe_value_25, path_value_25);
    COPY(pe_value_28, path_value_28);
    COPY(pe_value_31, path_value_31);
#undef COPY
    entry.pe_value_3 &= VALUE_3_MASK;
}

bool unpack_addresses(const zidl_rib_path &path, rib_path_entry &entry)
{
    if (zidl_rib_path_has_path_address_4(&path) &&
        unpack_address(path.path_address_4, entry.pe_addr_4, nullptr) != ZERRNO_OK)
        return false;
    return !zidl_rib_path_has_path_address_5(&path) ||
           unpack_address(path.path_address_5, entry.pe_addr_5, &entry.pe_addr_5_family) == ZERRNO_OK;
}

bool unpack_ipv6(const zidl_rib_path &path, rib_path_entry &entry)
{
    const zidl_rib_ipv6_address &ipv6 = path.path_ipv6_address;
    if (!zidl_rib_path_has_path_ipv6_address(&path))
        return true;
    if (!zidl_rib_ipv6_address_has_half0(&ipv6))
        return false;
    copy_ipv6(entry.pe_ipv6, ipv6);
    return true;
}

bool unpack_path_prefix(const zidl_rib_path &path, rib_path_entry &entry)
{
    entry.pe_prefix_len = RIB_NO_PREFIX_LEN;
    return !zidl_rib_path_has_path_prefix(&path) ||
           unpack_prefix(path.path_prefix, entry.pe_prefix, &entry.pe_prefix_len, nullptr) == ZERRNO_OK;
}

// Counts of lists in a path are judged by their low byte, which is also the number of elements taken, deliberately.
bool unpack_labels(const zidl_rib_path &path, rib_path_entry &entry)
{
    if (!zidl_rib_path_has_path_values_9(&path)) {
        for (uint32_t &label : entry.pe_labels)
            label = RIB_NO_LABEL;
        return true;
    }
    const auto count = static_cast<uint8_t>(path.path_values_9_count);
    if (count > RIB_MAX_PATH_LABELS)
        return false;
    entry.pe_label_count = count;
    copy_bytes(entry.pe_labels, path.path_values_9, count * sizeof entry.pe_labels[0]);
    return true;
}

bool is_usable(const zidl_rib_nnh &nnh)
{
    if (!zidl_rib_nnh_has_nnh_value_1(&nnh) || zidl_rib_nnh_has_nnh_value_4(&nnh))
        return false;
    const bool has_value_2 = zidl_rib_nnh_has_nnh_value_2(&nnh);
    const bool has_value_3 = zidl_rib_nnh_has_nnh_value_3(&nnh);
    return (nnh.nnh_value_1 == 2 && has_value_3 && !has_value_2) ||
           (nnh.nnh_value_1 == 1 && has_value_2 && !has_value_3);
}

// The first unusable entry ends the run. The walk goes on behind it all the same, deliberately: each slot gets its
// entry's type and, for type 1, its value, without being counted.
void unpack_next_next_hops(const zidl_rib_path &path, rib_path_entry &entry)
{
    if (!zidl_rib_path_has_nnh_entries(&path))
        return;
    bool in_run = true;
    for (uint32_t i = 0; i < path.nnh_entries_count && i < RIB_MAX_NNH; i++) {
        const zidl_rib_nnh &nnh = path.nnh_entries[i];
        rib_nnh_entry &slot = entry.pe_nnh[i];
        slot.type = static_cast<uint8_t>(nnh.nnh_value_1);
        if (nnh.nnh_value_1 == 1 && zidl_rib_nnh_has_nnh_value_2(&nnh))
            slot.value = nnh.nnh_value_2;
        in_run = in_run && is_usable(nnh);
        if (!in_run)
            continue;
        if (nnh.nnh_value_1 == 2)
            slot.value = nnh.nnh_value_3;
        entry.pe_nnh_count++;
    }
}

void unpack_iid_attr(const zidl_rib_path_iid_attr &iid, rib_path_entry &entry)
{
    if (!zidl_rib_path_iid_attr_has_iid_attr_value_1(&iid) || zidl_rib_path_iid_attr_has_iid_attr_value_2(&iid))
        return;
    entry.pe_iid_value_1 = iid.iid_attr_value_1;
    copy_if(zidl_rib_path_iid_attr_has_iid_attr_value_4(&iid), entry.pe_iid_value_4, iid.iid_attr_value_4);
    if (!zidl_rib_path_iid_attr_has_iid_attr_prefix(&iid) && !has_any(iid.iid_attr_prefix))
        return;
    uint32_t len = 0;
    uint32_t family = 0;
    unpack_prefix(iid.iid_attr_prefix, entry.pe_iid_prefix, &len, &family); // what it got to is kept, deliberately
    entry.pe_iid_prefix_len = static_cast<uint8_t>(len);
    entry.pe_iid_prefix_family = static_cast<uint8_t>(family);
}

void unpack_l2_info(const zidl_rib_path_l2_info &l2, rib_path_entry &entry)
{
    if (zidl_rib_path_l2_info_has_l2_value_1(&l2))
        return;
#define COPY(member, field) copy_if(zidl_rib_path_l2_info_has_##field(&l2), entry.member, l2.field)
    COPY(pe_l2_5, l2_value_5);
    COPY(pe_l2_6, l2_value_6);
    COPY(pe_l2_7, l2_value_7);
    COPY(pe_l2_8, l2_value_8);
#undef COPY
}

void unpack_via_aft_id(const zidl_rib_path_via_aft_id &aft, rib_path_entry &entry)
{
    constexpr uint32_t VALUE_7_END = 3;
    if (zidl_rib_path_via_aft_id_has_via_aft_value_1(&aft) || !zidl_rib_path_via_aft_id_has_via_aft_id(&aft) ||
        !zidl_rib_path_via_aft_id_has_via_aft_value_6(&aft) || !zidl_rib_path_via_aft_id_has_via_aft_value_7(&aft))
        return;
    entry.pe_via_aft_id = aft.via_aft_id;
    entry.pe_aft_6 = aft.via_aft_value_6;
    entry.pe_aft_7 = aft.via_aft_value_7 < VALUE_7_END ? aft.via_aft_value_7 : 0;
}

void unpack_grouping_info(const zidl_rib_path_grouping_info &grouping, rib_path_entry &entry)
{
    if (!zidl_rib_path_grouping_info_has_grouping_value_1(&grouping))
        copy_if(zidl_rib_path_grouping_info_has_grouping_value_2(&grouping), entry.pe_grouping_2,
                grouping.grouping_value_2);
}

void unpack_ip_tunnel_info(const zidl_rib_path_ip_tunnel_info &tunnel, rib_path_entry &entry)
{
    constexpr uint32_t VALUE_6_MAX = 13;
    constexpr int VALUE_6_SHIFT = 5;
    constexpr uint32_t LOW_24_BITS = 0x00FFFFFF;
    if (zidl_rib_path_ip_tunnel_info_has_tunnel_value_1(&tunnel))
        return;
    uint32_t flags = 0;
    if (zidl_rib_path_ip_tunnel_info_has_tunnel_flag(&tunnel) && tunnel.tunnel_flag != 0)
        flags |= 1;
    if (zidl_rib_path_ip_tunnel_info_has_tunnel_value_6(&tunnel) && tunnel.tunnel_value_6 <= VALUE_6_MAX)
        flags |= tunnel.tunnel_value_6 << VALUE_6_SHIFT;

#define COPY(flag, member, field, mask)                                                                                \
    if (zidl_rib_path_ip_tunnel_info_has_##field(&tunnel)) {                                                           \
        flags |= 1u << (flag);                                                                                         \
        entry.member = tunnel.field & (mask);                                                                          \
    }
    COPY(1, pe_tunnel_7, tunnel_value_7, LOW_24_BITS)
    COPY(2, pe_tunnel_9, tunnel_value_9, LOW_24_BITS)
    COPY(3, pe_tunnel_8, tunnel_value_8, UINT32_MAX)
    COPY(4, pe_tunnel_10, tunnel_value_10, UINT64_MAX)
#undef COPY
    entry.pe_tunnel_flags = static_cast<uint16_t>(flags);
}

void unpack_sl_id_info(const zidl_rib_path_sl_id_info &sl_id, rib_path_entry &entry)
{
    if (zidl_rib_path_sl_id_info_has_sl_id_value_1(&sl_id) || !zidl_rib_path_sl_id_info_has_sl_id_value_2(&sl_id))
        return;
    if (sl_id.sl_id_value_2 != 1 && sl_id.sl_id_value_2 != 2)
        return;
    entry.pe_sl_kind = static_cast<uint8_t>(sl_id.sl_id_value_2);
    copy_if(zidl_rib_path_sl_id_info_has_sl_id_value_3(&sl_id), entry.pe_sl_value, sl_id.sl_id_value_3);
}

// The value is 1 also when the whole block is absent, but 0 when value 1 rules the block out, deliberately.
void unpack_via_srv6_sid(const zidl_rib_path_via_srv6_sid &via, rib_path_entry &entry)
{
    if (zidl_rib_path_via_srv6_sid_has_via_sid_value_1(&via))
        return;
    if (zidl_rib_ipv6_address_has_half0(&via.via_sid))
        copy_ipv6(entry.pe_via_sid, via.via_sid);
    entry.pe_via_sid_value = 1;
    copy_if(zidl_rib_path_via_srv6_sid_has_via_sid_value_3(&via), entry.pe_via_sid_value, via.via_sid_value_3);
}

bool unpack_address_list(const zidl_rib_path &path, rib_path_entry &entry)
{
    if (!zidl_rib_path_has_path_addresses(&path))
        return true;
    const auto count = static_cast<uint8_t>(path.path_addresses_count);
    if (count > RIB_MAX_PATH_ADDRESSES)
        return false;
    entry.pe_address_count = count;
    for (uint32_t i = 0; i < count; i++)
        unpack_address(path.path_addresses[i], entry.pe_addresses[i], nullptr); // a malformed one stays 0, deliberately
    return true;
}

bool unpack_sid_infos(const zidl_rib_path &path, rib_path_entry &entry)
{
    constexpr uint8_t MARKED = 0x2A;
    if (!zidl_rib_path_has_srv6_sid_infos(&path))
        return true;
    const auto count = static_cast<uint8_t>(path.srv6_sid_infos_count);
    if (count > RIB_MAX_SID_INFOS)
        return false;
    entry.pe_sid_info_count = count;
    for (uint32_t i = 0; i < count; i++) {
        const zidl_rib_path_srv6_sid_info &info = path.srv6_sid_infos[i];
        rib_sid_info_entry &slot = entry.pe_sid_infos[i];
        unpack_prefix(info.sid_info_prefix, slot.address, &slot.prefix_len, nullptr); // its result is ignored, too
        if (zidl_rib_path_srv6_sid_info_has_sid_info_value_3(&info) && static_cast<uint8_t>(info.sid_info_value_3) != 0)
            slot.marker = MARKED;
    }
    return true;
}

size_t entry_size(const zidl_rib_path &path)
{
    return sizeof(rib_path_entry) + (zidl_rib_path_has_ecomm(&path) ? path.ecomm.ecomm_count * sizeof(uint64_t) : 0);
}

// Converts a path into `place`, which is all zero. False when the path is rejected; the place is then partly filled.
bool unpack_path(const zidl_rib_path &path, void *place, void **ecomm_out)
{
    rib_path_entry &entry = *static_cast<rib_path_entry *>(place);
    unpack_ecomm(path, entry);
    if (zidl_rib_path_has_ecomm(&path) && ecomm_out != nullptr)
        *ecomm_out = &entry.pe_ecomm_count;
    unpack_scalars(path, entry);
    if (!unpack_addresses(path, entry) || !unpack_ipv6(path, entry) || !unpack_path_prefix(path, entry) ||
        !unpack_labels(path, entry))
        return false;
    unpack_next_next_hops(path, entry);
#define UNPACK(block)                                                                                                  \
    if (zidl_rib_path_has_##block(&path))                                                                              \
        unpack_##block(path.block, entry);
    UNPACK(iid_attr)
    UNPACK(l2_info)
    UNPACK(via_aft_id)
    UNPACK(grouping_info)
    UNPACK(ip_tunnel_info)
    UNPACK(sl_id_info)
#undef UNPACK
    unpack_via_srv6_sid(path.via_srv6_sid, entry);
    return unpack_address_list(path, entry) && unpack_sid_infos(path, entry);
}

// ---- Side blocks ----

template <class Value>
uint8_t *append(uint8_t *ptr, Value value)
{
    memcpy(ptr, &value, sizeof value);
    return ptr + sizeof value;
}

zerrno unpack_attributes(const zidl_rib_generic_attr_array &array, uint32_t elem_size, void **out)
{
    static constexpr char prototype[] = "zerrno rib_lib_route_generic_attributes_unpack("
                                        "const struct zidl_rib_generic_attr_array *, uint32_t, void **)";
    constexpr size_t HEADER_SIZE = 2 * sizeof(uint16_t);
    *out = nullptr;
    size_t size = 0;
    if (__builtin_mul_overflow(elem_size + sizeof(uint32_t), array.attrs_count, &size) ||
        __builtin_add_overflow(size, HEADER_SIZE, &size))
        return ZERRNO_NO_MEMORY;
    void *attr_array = calloc(1, size);
    if (attr_array == nullptr)
        return ZERRNO_NO_MEMORY;

    const bool has_type = zidl_rib_generic_attr_array_has_array_type(&array);
    uint8_t *ptr = static_cast<uint8_t *>(attr_array);
    ptr = append(ptr, static_cast<uint16_t>(has_type ? array.array_type : 0));
    ptr = append(ptr, static_cast<uint16_t>(array.attrs_count)); // low bits only, though all attributes are copied
    for (uint32_t i = 0; i < array.attrs_count; i++) {
        const zidl_rib_generic_attr_info &attr = array.attrs[i];
        if (attr.attr_data_size != elem_size) {
            free(attr_array);
            return ZERRNO_MALFORMED;
        }
        copy_bytes(ptr, attr.attr_data, elem_size);
        ptr = append(ptr + elem_size, attr.attr_type);
    }
    // clang-format off
    RIB_ASSERT(436, (size_t)(ptr - (uint8_t*)attr_array) == size);
    // clang-format on
    *out = attr_array;
    return ZERRNO_OK;
}

zerrno unpack_advertisement(const zidl_rib_client_advertisement &advertisement, void **out)
{
    const uint32_t count = advertisement.advertised_values_count;
    *out = calloc(1, sizeof(uint32_t) + count * sizeof(uint16_t));
    if (*out == nullptr)
        return ZERRNO_NO_MEMORY;
    uint8_t *ptr = append(static_cast<uint8_t *>(*out), count);
    for (uint32_t i = 0; i < count; i++)
        ptr = append(ptr, static_cast<uint16_t>(advertisement.advertised_values[i]));
    return ZERRNO_OK;
}

// ---- The route. The record is all zero before ----

size_t record_size(const zidl_rib_route &msg)
{
    size_t size = sizeof(struct rib_routetype_);
    for (uint32_t i = 0; i < msg.paths_count; i++)
        if (!zidl_rib_path_has_path_value_27(&msg.paths[i])) // never converted
            size += entry_size(msg.paths[i]);
    return size;
}

bool unpack_destination(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    if (!zidl_rib_route_has_route_prefix(&msg))
        return true;
    uint32_t len = 0;
    uint32_t family = 0;
    if (unpack_prefix(msg.route_prefix, route.rt_dest, &len, &family) != ZERRNO_OK)
        return false;
    route.rt_prefix_len = static_cast<uint8_t>(len);
    route.rt_family = family;
    return true;
}

void unpack_scalars(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
#define COPY(member, field) copy_if(zidl_rib_route_has_##field(&msg), route.member, msg.field)
    COPY(rt_value_2, route_value_2);
    COPY(rt_value_3, route_value_3);
    COPY(rt_value_4, route_value_4);
    COPY(rt_value_5, route_value_5);
    COPY(rt_value_6, route_value_6);
    COPY(rt_value_7, route_value_7);
    COPY(rt_value_8, route_value_8);
    COPY(rt_value_9, route_value_9);
    COPY(rt_value_10, route_value_10);
    COPY(rt_value_11, route_value_11);
    COPY(rt_value_12, route_value_12);
    COPY(rt_value_13, route_value_13);
    COPY(rt_value_14, route_value_14);
    COPY(rt_value_15, route_value_15);
    COPY(rt_value_16, route_value_16);
    COPY(rt_value_18, route_value_18);
    COPY(rt_value_19, route_value_19);
    COPY(rt_value_20, route_value_20);
    COPY(rt_value_21, route_value_21);
    COPY(rt_value_22, route_value_22);
    COPY(rt_value_25, route_value_25);
    COPY(rt_value_37, route_value_37);
    COPY(rt_value_38, route_value_38);
    COPY(rt_value_40, route_value_40);
    COPY(rt_value_41, route_value_41);
#undef COPY
}

void unpack_algo_labels(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    for (uint32_t i = 0; i < msg.algo_labels_count && route.rt_algo_label_count < RIB_MAX_ALGO_LABELS; i++) {
        const zidl_rib_algo_label &label = msg.algo_labels[i];
        if (!zidl_rib_algo_label_has_algo_label_value_1(&label) ||
            !zidl_rib_algo_label_has_algo_label_value_2(&label) || zidl_rib_algo_label_has_algo_label_value_3(&label))
            continue;
        rib_algo_label_entry &entry = route.rt_algo_labels[route.rt_algo_label_count++];
        entry.algo = static_cast<uint8_t>(label.algo_label_value_2);
        entry.label = label.algo_label_value_1;
        copy_if(zidl_rib_algo_label_has_algo_label_value_4(&label), entry.extra, label.algo_label_value_4);
    }
}

// Bits 0 to 3 and 5 to 7 stay, bit 8 becomes bit 4, bits 9 to 13 become 8 to 12; the others are dropped.
uint64_t client_flags(uint64_t flags)
{
    return (flags & 0xEF) | (flags >> 4 & 0x10) | (flags >> 1 & 0x1F00);
}

void unpack_flags(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    constexpr uint64_t COPIES_VALUE_35 = 1 << 2;
    if (zidl_rib_route_has_route_flags(&msg))
        route.rt_flags = client_flags(msg.route_flags);
    if (!zidl_rib_route_has_route_value_35(&msg))
        return;
    route.rt_value_35 = static_cast<uint8_t>(msg.route_value_35);
    if ((route.rt_flags & COPIES_VALUE_35) != 0)
        route.rt_value_35_copy = static_cast<uint8_t>(msg.route_value_35);
}

void unpack_l2_info(const zidl_rib_route_l2_info &l2, struct rib_routetype_ &route)
{
    if (!zidl_rib_route_l2_info_has_route_l2_value_1(&l2) || l2.route_l2_value_1 <= 1)
        copy_if(zidl_rib_route_l2_info_has_route_l2_value_5(&l2), route.rt_l2_value, l2.route_l2_value_5);
}

void unpack_aft_id(const zidl_rib_route_aft_id &aft, struct rib_routetype_ &route)
{
    if (zidl_rib_route_aft_id_has_route_aft_value_1(&aft) || !zidl_rib_route_aft_id_has_route_aft_id_value(&aft) ||
        !zidl_rib_route_aft_id_has_route_aft_value_6(&aft) || !zidl_rib_route_aft_id_has_route_aft_value_7(&aft))
        return;
    route.rt_aft_id = aft.route_aft_id_value;
    route.rt_aft_value_6 = aft.route_aft_value_6;
    route.rt_aft_value_7 = aft.route_aft_value_7;
    route.rt_aft_valid = 1;
}

// A block that cannot be converted stays null; the route is delivered without it, deliberately.
void unpack_side_blocks(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    if (zidl_rib_route_has_client_advertisement(&msg))
        unpack_advertisement(msg.client_advertisement, &route.rt_advertisement);

    constexpr uint32_t IPV4_ATTR_SIZE = 12;
    constexpr uint32_t IPV6_ATTR_SIZE = 24;
    constexpr uint32_t SCALAR_ATTR_SIZE = 8;
    const uint32_t address_attr_size = route.rt_family == FAMILY_IPV6 ? IPV6_ATTR_SIZE : IPV4_ATTR_SIZE;
#define UNPACK(index, field, elem_size)                                                                                \
    if (zidl_rib_route_has_##field(&msg))                                                                              \
        unpack_attributes(msg.field, elem_size, &route.rt_attr_blocks[index]);
    UNPACK(0, addr_generic_attrs, address_attr_size)
    UNPACK(1, generic_attrs_29, SCALAR_ATTR_SIZE)
    UNPACK(2, generic_attrs_30, SCALAR_ATTR_SIZE)
    UNPACK(3, generic_attrs_31, SCALAR_ATTR_SIZE)
    UNPACK(4, generic_attrs_32, SCALAR_ATTR_SIZE)
    UNPACK(5, generic_attrs_33, SCALAR_ATTR_SIZE)
#undef UNPACK
}

// The record has room for every path that is not skipped. Its memory is zero, so that a place needs clearing only after
// a path that was rejected.
void unpack_paths(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    uint8_t *place = reinterpret_cast<uint8_t *>(&route + 1);
    for (uint32_t i = 0; i < msg.paths_count && route.rt_path_count < RIB_MAX_PATHS; i++) {
        const zidl_rib_path &path = msg.paths[i];
        if (zidl_rib_path_has_path_value_27(&path))
            continue;
        const size_t size = entry_size(path);
        void *ecomm = nullptr;
        if (!unpack_path(path, place, &ecomm)) {
            memset(place, 0, size);
            continue;
        }
        if (route.rt_first_ecomm == nullptr)
            route.rt_first_ecomm = ecomm;
        route.rt_path_count++;
        place += size;
    }
}

} // namespace

extern "C" zerrno rib_lib_route_decode(const uint8_t *buf, uint32_t len, struct rib_routetype_ **out)
{
    *out = nullptr;
    decoded_route decoded;
    const zidl_rib_route &msg = decoded.msg;
    if (decoded.decode(buf, len) != ZIDL_OK)
        return ZERRNO_MALFORMED;
    if (zidl_rib_route_has_route_value_34(&msg))
        return ZERRNO_UNSUPPORTED;
    auto *route = static_cast<struct rib_routetype_ *>(calloc(1, record_size(msg)));
    if (route == nullptr)
        return ZERRNO_NO_MEMORY;
    *out = route;

    if (!unpack_destination(msg, *route))
        return ZERRNO_MALFORMED;
    unpack_scalars(msg, *route);
    unpack_algo_labels(msg, *route);
    unpack_flags(msg, *route);
    unpack_l2_info(msg.route_l2_info, *route);
    unpack_aft_id(msg.route_aft_id, *route);
    unpack_side_blocks(msg, *route);
    unpack_paths(msg, *route);
    decoded.release();
    return ZERRNO_OK;
}

extern "C" size_t rib_lib_route_path_unpack(const zidl_rib_path *path, void **slot, void **ecomm_out)
{
    if (zidl_rib_path_has_path_value_27(path))
        return 0;
    zidl_rib_path complete = *path;
    mark_blocks(complete);
    const size_t size = entry_size(complete);
    if (*slot != nullptr)
        memset(*slot, 0, size);
    else
        *slot = calloc(1, size);
    if (*slot == nullptr)
        return 0;
    return unpack_path(complete, *slot, ecomm_out) ? size : 0; // a rejected path keeps its block, deliberately
}

extern "C" zerrno rib_lib_route_address_unpack(const zidl_rib_address *addr, void *out16, uint32_t *family_out)
{
    return unpack_address(*addr, static_cast<uint8_t *>(out16), family_out);
}

extern "C" zerrno rib_lib_route_generic_attributes_unpack(const struct zidl_rib_generic_attr_array *arr,
                                                          uint32_t elem_size, void **out)
{
    return unpack_attributes(*arr, elem_size, out);
}

extern "C" zerrno rib_lib_route_advertisement_unpack(const zidl_rib_client_advertisement *adv, void **out)
{
    return unpack_advertisement(*adv, out);
}
