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

// ---- Members of a path that are treated alike ----

// Scalars that are copied without a look at their bits, which would cost more; scalars that are asked for once, all of them
// together; and of those the ones whose place in an entry is far behind all else, and untouched without them.
#define USUAL_PATH_SCALARS(EACH) EACH(1) EACH(2) EACH(3) EACH(10) EACH(11)
#define OTHER_PATH_SCALARS(EACH) EACH(8) EACH(12) EACH(13) EACH(16) EACH(28)
#define FAR_PATH_SCALARS(EACH) EACH(22) EACH(25) EACH(31)
// Blocks that give nothing when they are empty.
#define PATH_BLOCKS(EACH)                                                                                              \
    EACH(iid_attr)                                                                                                     \
    EACH(l2_info)                                                                                                      \
    EACH(via_srv6_sid)                                                                                                 \
    EACH(grouping_info)                                                                                                \
    EACH(ip_tunnel_info)                                                                                               \
    EACH(via_aft_id)                                                                                                   \
    EACH(sl_id_info)

// What a decoded path is like: the bits of its blocks say all, and a scalar without its bit is 0.
zidl_rib_path completed(const zidl_rib_path &src)
{
    zidl_rib_path path = src;
#define CLEAR(number)                                                                                                  \
    if (!zidl_rib_path_has_path_value_##number(&path))                                                                 \
        path.path_value_##number = 0;
    USUAL_PATH_SCALARS(CLEAR)
    OTHER_PATH_SCALARS(CLEAR)
    FAR_PATH_SCALARS(CLEAR)
#undef CLEAR
#define MARK_IF_ANY(block)                                                                                             \
    if (has_any(path.block))                                                                                           \
        zidl_rib_path_mark_##block(&path);
    MARK_IF_ANY(path_address_4)
    MARK_IF_ANY(path_address_5)
    MARK_IF_ANY(path_prefix)
    MARK_IF_ANY(path_ipv6_address)
    MARK_IF_ANY(ecomm)
#undef MARK_IF_ANY
#define MARK(block) zidl_rib_path_mark_##block(&path);
    PATH_BLOCKS(MARK)
#undef MARK
    return path;
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

// ---- One path, decoded or completed. The entry is all zero before, and no part of the message: what has been read of
// that need not be read again after a store ----

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

void unpack_scalars(const zidl_rib_path &__restrict path, rib_path_entry &__restrict entry)
{
    constexpr uint32_t VALUE_3_MASK = 0x0FFFF7FF; // drops bit 11 and the top four, deliberately
#define OR_HAS(number) || zidl_rib_path_has_path_value_##number(&path)
#define COPY(number) copy(entry.pe_value_##number, path.path_value_##number);
    USUAL_PATH_SCALARS(COPY)
    entry.pe_value_3 &= VALUE_3_MASK;
    entry.pe_value_19 = RIB_NO_LABEL;
    if (!(false OR_HAS(19) OTHER_PATH_SCALARS(OR_HAS) FAR_PATH_SCALARS(OR_HAS)))
        return;
    copy_if(zidl_rib_path_has_path_value_19(&path), entry.pe_value_19, path.path_value_19);
    OTHER_PATH_SCALARS(COPY)
    if (false FAR_PATH_SCALARS(OR_HAS)) {
        FAR_PATH_SCALARS(COPY)
    }
#undef COPY
#undef OR_HAS
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
    copy_few(entry.pe_labels, path.path_values_9, count);
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
constexpr uint8_t VIA_SID_VALUE_OF_ABSENT = 1;

void unpack_via_srv6_sid(const zidl_rib_path_via_srv6_sid &via, rib_path_entry &entry)
{
    if (zidl_rib_path_via_srv6_sid_has_via_sid_value_1(&via)) {
        entry.pe_via_sid_value = 0;
        return;
    }
    if (zidl_rib_ipv6_address_has_half0(&via.via_sid))
        copy_ipv6(entry.pe_via_sid, via.via_sid);
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

// Of the values behind an entry whose path has an ecomm block.
size_t ecomm_size(const zidl_rib_path &path)
{
    return path.ecomm.ecomm_count * sizeof(uint64_t);
}

size_t entry_size(const zidl_rib_path &path)
{
    return sizeof(rib_path_entry) + (zidl_rib_path_has_ecomm(&path) ? ecomm_size(path) : 0);
}

bool has_extras(const zidl_rib_path &path)
{
#define OR_HAS(block) || zidl_rib_path_has_##block(&path)
    return false PATH_BLOCKS(OR_HAS) OR_HAS(nnh_entries) OR_HAS(path_addresses) OR_HAS(srv6_sid_infos);
#undef OR_HAS
}

// Out of line, so that a path without extras does not pay for them.
__attribute__((noinline)) bool unpack_extras(const zidl_rib_path &path, rib_path_entry &entry)
{
    unpack_next_next_hops(path, entry);
#define UNPACK(block)                                                                                                  \
    if (zidl_rib_path_has_##block(&path))                                                                              \
        unpack_##block(path.block, entry);
    PATH_BLOCKS(UNPACK)
#undef UNPACK
    return unpack_address_list(path, entry) && unpack_sid_infos(path, entry);
}

// False when the path is rejected; the entry is then partly filled.
bool unpack_path(const zidl_rib_path &__restrict path, rib_path_entry &__restrict entry)
{
    unpack_ecomm(path, entry);
    unpack_scalars(path, entry);
    if (!unpack_addresses(path, entry) || !unpack_ipv6(path, entry) || !unpack_path_prefix(path, entry) ||
        !unpack_labels(path, entry))
        return false;
    entry.pe_via_sid_value = VIA_SID_VALUE_OF_ABSENT;
    return !has_extras(path) || unpack_extras(path, entry);
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
    size_t size = sizeof(struct rib_routetype_) + msg.paths_count * sizeof(rib_path_entry);
    for (uint32_t i = 0; i < msg.paths_count; i++) {
        const zidl_rib_path &path = msg.paths[i];
        if (zidl_rib_path_has_path_value_27(&path)) // never converted
            size -= sizeof(rib_path_entry);
        else if (zidl_rib_path_has_ecomm(&path))
            size += ecomm_size(path);
    }
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

// A decoded scalar without its bit is 0: the first are copied without a look at their bits, which would cost more, and the
// others are asked for once, all of them together.
void unpack_scalars(const zidl_rib_route &__restrict msg, struct rib_routetype_ &__restrict route)
{
#define USUAL(EACH)                                                                                                    \
    EACH(2) EACH(3) EACH(5) EACH(9) EACH(10) EACH(12) EACH(13) EACH(14) EACH(15) EACH(16) EACH(40) EACH(41)
#define OTHERS(EACH)                                                                                                   \
    EACH(4)                                                                                                            \
    EACH(6) EACH(7) EACH(8) EACH(11) EACH(18) EACH(19) EACH(20) EACH(21) EACH(22) EACH(25) EACH(37) EACH(38)
#define OR_HAS(number) || zidl_rib_route_has_route_value_##number(&msg)
#define COPY(number) copy(route.rt_value_##number, msg.route_value_##number);
    USUAL(COPY)
    if (false OTHERS(OR_HAS)) {
        OTHERS(COPY)
    }
#undef COPY
#undef OR_HAS
#undef OTHERS
#undef USUAL
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

bool has_extras(const zidl_rib_route &msg)
{
#define HAS(field) zidl_rib_route_has_##field(&msg)
    return HAS(algo_labels) || HAS(route_l2_info) || HAS(route_aft_id) || HAS(client_advertisement) ||
           HAS(addr_generic_attrs) || HAS(generic_attrs_29) || HAS(generic_attrs_30) || HAS(generic_attrs_31) ||
           HAS(generic_attrs_32) || HAS(generic_attrs_33);
#undef HAS
}

// Out of line, so that a route without extras does not pay for them.
__attribute__((noinline)) void unpack_extras(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    unpack_algo_labels(msg, route);
    unpack_l2_info(msg.route_l2_info, route);
    unpack_aft_id(msg.route_aft_id, route);
    unpack_side_blocks(msg, route);
}

// The record has room for every path that is not skipped. Its memory is zero, so that a place needs clearing only after
// a path that was rejected.
void unpack_paths(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    uint8_t *place = reinterpret_cast<uint8_t *>(&route + 1);
    uint32_t count = 0;
    for (uint32_t i = 0; i < msg.paths_count && count < RIB_MAX_PATHS; i++) {
        const zidl_rib_path &path = msg.paths[i];
        if (zidl_rib_path_has_path_value_27(&path))
            continue;
        rib_path_entry &entry = *reinterpret_cast<rib_path_entry *>(place);
        if (!unpack_path(path, entry)) {
            memset(place, 0, entry_size(path));
            continue;
        }
        count++;
        place += sizeof entry;
        if (!zidl_rib_path_has_ecomm(&path))
            continue;
        place += ecomm_size(path);
        if (route.rt_first_ecomm == nullptr)
            route.rt_first_ecomm = &entry.pe_ecomm_count;
    }
    route.rt_path_count = static_cast<uint16_t>(count);
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
    unpack_flags(msg, *route);
    if (has_extras(msg))
        unpack_extras(msg, *route);
    unpack_paths(msg, *route);
    decoded.release();
    return ZERRNO_OK;
}

extern "C" size_t rib_lib_route_path_unpack(const zidl_rib_path *path, void **slot, void **ecomm_out)
{
    if (zidl_rib_path_has_path_value_27(path))
        return 0;
    const zidl_rib_path complete = completed(*path);
    const size_t size = entry_size(complete);
    if (*slot != nullptr)
        memset(*slot, 0, size);
    else
        *slot = calloc(1, size);
    if (*slot == nullptr)
        return 0;
    rib_path_entry &entry = *static_cast<rib_path_entry *>(*slot);
    if (zidl_rib_path_has_ecomm(&complete) && ecomm_out != nullptr)
        *ecomm_out = &entry.pe_ecomm_count;
    return unpack_path(complete, entry) ? size : 0; // a rejected path keeps its block, deliberately
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
