// Grid lists: from the decoded message to the client's key records. The static steps carry the names that their
// assertions report.

#include <stddef.h>
#include <stdint.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/decoded_message.hpp"
#include "ip/rib/lib/src/rib_assert.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "messages/rib_encap.h"

using namespace rib_client;

namespace
{

using decoded_grid_sync_list =
    decoded_message<zidl_rib_grid_sync_list, zidl_rib_grid_sync_list_decode_ext, zidl_rib_grid_sync_list_free_ext>;

enum key_type : uint32_t { LABEL_KEY = 1, SRV6_KEY = 2, PLAIN_KEY = 3, OTHER_PLAIN_KEY = 4 };

// ---- What is present: a nested message is when its own bit says so or anything inside it is ----

bool has_any(const zidl_rib_msg_prefix &prefix)
{
    return zidl_rib_msg_prefix_has_family(&prefix) || zidl_rib_msg_prefix_has_prefix_len(&prefix) ||
           zidl_rib_msg_prefix_has_ipv4(&prefix) || zidl_rib_msg_prefix_has_ipv6(&prefix);
}

bool has_prefix(const zidl_rib_encap_id_key &key)
{
    return zidl_rib_encap_id_key_has_key_prefix(&key) || has_any(key.key_prefix);
}

bool has_second_prefix(const zidl_rib_encap_id_key &key)
{
    return zidl_rib_encap_id_key_has_key_second_prefix(&key) || has_any(key.key_second_prefix);
}

bool has_label_key(const zidl_rib_encap_id_key &key)
{
    return zidl_rib_encap_id_key_has_label_key(&key) ||
           zidl_rib_encap_id_path_key_label_has_label_key_value(&key.label_key) ||
           zidl_rib_encap_id_path_key_label_has_labels(&key.label_key);
}

bool has_oper_type(const zidl_rib_encap_id_path_key_srv6_carriers &carriers)
{
    const zidl_rib_srv6_oper_type &oper_type = carriers.oper_type;
    return zidl_rib_encap_id_path_key_srv6_carriers_has_oper_type(&carriers) ||
           zidl_rib_srv6_oper_type_has_oper_selector(&oper_type) ||
           zidl_rib_srv6_oper_type_has_oper_when_set(&oper_type) ||
           zidl_rib_srv6_oper_type_has_oper_when_clear(&oper_type);
}

bool has_required_members(const zidl_rib_encap_id_key &key)
{
    return REQUIRES(zidl_rib_encap_id_key_has_key_value_1(&key), key.key_value_1) &&
           REQUIRES(zidl_rib_encap_id_key_has_key_value_2(&key), key.key_value_2) &&
           REQUIRES(has_prefix(key), key.key_prefix) &&
           REQUIRES(zidl_rib_encap_id_key_has_key_value_4(&key), key.key_value_4) &&
           REQUIRES(zidl_rib_encap_id_key_has_key_type(&key), key.key_type);
}

bool has_required_members(const zidl_rib_grid_sync_list &msg)
{
    return REQUIRES(zidl_rib_grid_sync_list_has_encap_ids(&msg), msg.encap_ids) &&
           REQUIRES(zidl_rib_grid_sync_list_has_keys(&msg), msg.keys) &&
           REQUIRES(zidl_rib_grid_sync_list_has_multi_key(&msg), msg.multi_key);
}

// ---- Addresses ----

zerrno rib_server_decode_ip_addr(struct ip_addr *rib_prefix, const zidl_rib_msg_prefix *zidl_prefix)
{
    static constexpr char prototype[] =
        "zerrno rib_server_decode_ip_addr(struct ip_addr *, const struct zidl_rib_msg_prefix *)";
    RIB_ASSERT(GRID_DEC, 43, zidl_prefix && rib_prefix, reason::missing_second_prefix);
    if (!zidl_rib_msg_prefix_has_family(zidl_prefix) || !zidl_rib_msg_prefix_has_prefix_len(zidl_prefix))
        return REJECT_FOR(reason::missing_field, *zidl_prefix,
                          zidl_rib_msg_prefix_has_family(zidl_prefix) ? zidl_prefix->prefix_len : zidl_prefix->family,
                          ZERRNO_INVALID);
    rib_prefix->family = static_cast<uint8_t>(zidl_prefix->family);
    rib_prefix->prefix_len = static_cast<uint8_t>(zidl_prefix->prefix_len);
    SHOWS_AS(zidl_prefix->family, rib_prefix->family, reason::narrowed);
    SHOWS_AS(zidl_prefix->prefix_len, rib_prefix->prefix_len, reason::narrowed);
    LEAVE(reason::other_family, *zidl_prefix); // what remains unseen, if nothing below is wrong

    switch (zidl_prefix->family) { // all 32 bits, not the stored copy
    case RIB_SOCKET_FAMILY_IPV4:
        rib_prefix->addr.ipv4_addr = zidl_rib_msg_prefix_has_ipv4(zidl_prefix) ? zidl_prefix->ipv4 : 0;
        SHOWS(zidl_prefix->ipv4);
        return ZERRNO_OK;
    case RIB_SOCKET_FAMILY_IPV6:
        if (!zidl_rib_msg_prefix_has_ipv6(zidl_prefix) || zidl_prefix->ipv6_size > sizeof rib_prefix->addr.ipv6_addr)
            return REJECT(zidl_rib_msg_prefix_has_ipv6(zidl_prefix) ? reason::too_many_bytes : reason::missing_field,
                          zidl_prefix->ipv6, ZERRNO_INVALID);
        copy_bytes(rib_prefix->addr.ipv6_addr, zidl_prefix->ipv6, zidl_prefix->ipv6_size);
        return ZERRNO_OK;
    default:
        return REJECT(reason::bad_family, zidl_prefix->family, ZERRNO_INVALID);
    }
}

// Takes as many as the record has room for; a message with more is refused after its count was stored.
zerrno decode_extra_prefixes(const zidl_rib_encap_id_key &msg, rib_encap_id_path_key_t &key)
{
    key.key_extra_prefix_count = static_cast<uint8_t>(msg.key_extra_prefixes_count);
    if (msg.key_extra_prefixes_count > GRID_MAX_EXTRA_PREFIXES)
        return REJECT(reason::too_many_extra_prefixes, msg.key_extra_prefixes, ZERRNO_INVALID);
    for (uint32_t i = 0; i < msg.key_extra_prefixes_count; i++)
        if (rib_server_decode_ip_addr(&key.key_extra_prefixes[i], &msg.key_extra_prefixes[i]) != ZERRNO_OK)
            return ZERRNO_INVALID;
    return ZERRNO_OK;
}

// ---- What belongs to a type of key ----

zerrno decode_label_key(const zidl_rib_encap_id_key &msg, rib_encap_label_key &label)
{
    if (!has_label_key(msg))
        return REJECT(reason::missing_field, msg.label_key, ZERRNO_INVALID);
    const zidl_rib_encap_id_path_key_label &src = msg.label_key;
    label.label_key_value = src.label_key_value; // 0 when absent, unlike the other members, which keep what they hold
    SHOWS(src.label_key_value);
    label.label_count = static_cast<uint8_t>(src.labels_count); // deliberately also where the count is above 255
    if (label.label_count > GRID_MAX_LABELS)
        return REJECT(reason::too_many_labels, src.labels, ZERRNO_INVALID);
    TAKES(src.labels, label.label_count, reason::count_wraps);
    copy_bytes(label.labels, src.labels, label.label_count * sizeof label.labels[0]);
    return ZERRNO_OK;
}

zerrno decode_carrier(const zidl_rib_encap_id_path_key_srv6_carrier_info &msg, rib_encap_carrier &carrier)
{
    COPY_PRESENT(carrier.carrier_value_1, rib_encap_id_path_key_srv6_carrier_info, msg, carrier_value_1);
    COPY_PRESENT(carrier.carrier_value_2, rib_encap_id_path_key_srv6_carrier_info, msg, carrier_value_2);
    if (!zidl_rib_encap_id_path_key_srv6_carrier_info_has_carrier_bytes(&msg))
        return ZERRNO_OK;
    if (msg.carrier_bytes_size > sizeof carrier.carrier_bytes)
        return REJECT(reason::too_many_bytes, msg.carrier_bytes, ZERRNO_INVALID);
    copy_bytes(carrier.carrier_bytes, msg.carrier_bytes, msg.carrier_bytes_size);
    return ZERRNO_OK;
}

void decode_oper(const zidl_rib_srv6_oper_type &msg, rib_encap_srv6_key &srv6)
{
    LEAVE(reason::ruled_out, msg); // the operation that is not selected
    COPY_PRESENT(srv6.oper_selector, rib_srv6_oper_type, msg, oper_selector);
    if (msg.oper_selector != 0)
        COPY_PRESENT(srv6.oper, rib_srv6_oper_type, msg, oper_when_set);
    else
        COPY_PRESENT(srv6.oper, rib_srv6_oper_type, msg, oper_when_clear);
}

zerrno decode_srv6_key(const zidl_rib_encap_id_path_key_srv6_carriers &msg, rib_encap_srv6_key &srv6)
{
    if (!has_oper_type(msg))
        return REJECT(reason::missing_field, msg.oper_type, ZERRNO_INVALID);
    constexpr uint32_t MOST = GRID_MAX_CARRIERS;
    srv6.carrier_count = static_cast<uint8_t>(msg.carriers_count < MOST ? msg.carriers_count : MOST);
    TAKES(msg.carriers, MOST, reason::too_many_carriers);
    for (uint32_t i = 0; i < srv6.carrier_count; i++)
        if (decode_carrier(msg.carriers[i], srv6.carriers[i]) != ZERRNO_OK)
            return ZERRNO_INVALID;
    decode_oper(msg.oper_type, srv6);
    return ZERRNO_OK;
}

zerrno decode_bytes_20(const zidl_rib_encap_id_key &msg, rib_encap_id_path_key_t &key)
{
    if (!zidl_rib_encap_id_key_has_key_bytes_20(&msg))
        return ZERRNO_OK;
    if (msg.key_bytes_20_size > sizeof key.key_bytes_20)
        return REJECT(reason::too_many_bytes, msg.key_bytes_20, ZERRNO_INVALID);
    copy_bytes(key.key_bytes_20, msg.key_bytes_20, msg.key_bytes_20_size);
    return ZERRNO_OK;
}

zerrno decode_type_data(const zidl_rib_encap_id_key &msg, rib_encap_id_path_key_t &key)
{
    switch (msg.key_type) {
    case LABEL_KEY:
        return decode_label_key(msg, key.type_data.label);
    case SRV6_KEY:
        if (decode_srv6_key(msg.srv6_carriers, key.type_data.srv6) != ZERRNO_OK)
            return ZERRNO_INVALID;
        return decode_bytes_20(msg, key);
    default:
        return REJECT(reason::unknown_key_type, msg.key_type, ZERRNO_INVALID);
    }
}

// ---- Keys and lists ----

zerrno rib_server_decode_encap_id_key_internal(const zidl_rib_encap_id_key *zidl_rib_key,
                                               rib_encap_id_path_key_t *rib_key)
{
    static constexpr char prototype[] = "zerrno rib_server_decode_encap_id_key_internal("
                                        "const struct zidl_rib_encap_id_key *, rib_encap_id_path_key_t *)";
    RIB_ASSERT(GRID_DEC, 386, zidl_rib_key && rib_key, reason::assertion);
    const zidl_rib_encap_id_key &msg = *zidl_rib_key;
    rib_encap_id_path_key_t &key = *rib_key;
    LEAVE(reason::other_key_type, msg); // what remains unseen, if nothing below is wrong
    LEAVE(reason::ignored, msg.srv6_key);
    if (!has_required_members(msg))
        return ZERRNO_INVALID;

    COPY_PRESENT(key.key_value_1, rib_encap_id_key, msg, key_value_1);
    COPY_PRESENT(key.key_value_2, rib_encap_id_key, msg, key_value_2);
    COPY_PRESENT(key.key_value_16, rib_encap_id_key, msg, key_value_16);
    COPY_PRESENT(key.key_value_4, rib_encap_id_key, msg, key_value_4);
    COPY_PRESENT(key.key_value_17, rib_encap_id_key, msg, key_value_17);
    if (rib_server_decode_ip_addr(&key.key_prefix, &msg.key_prefix) != ZERRNO_OK)
        return ZERRNO_INVALID;
    COPY_PRESENT(key.key_value_12, rib_encap_id_key, msg, key_value_12);
    COPY_PRESENT(key.key_type, rib_encap_id_key, msg, key_type);
    if (msg.key_type == PLAIN_KEY || msg.key_type == OTHER_PLAIN_KEY)
        return ZERRNO_OK;

    key.key_value_15 = RIB_NO_LABEL;
    COPY_PRESENT(key.key_value_6, rib_encap_id_key, msg, key_value_6);
    COPY_PRESENT(key.key_value_13, rib_encap_id_key, msg, key_value_13);
    COPY_PRESENT(key.key_value_15, rib_encap_id_key, msg, key_value_15);
    COPY_PRESENT(key.key_value_18, rib_encap_id_key, msg, key_value_18);
    // Without a second prefix the assertion stops the process, before the type is judged, deliberately.
    const zidl_rib_msg_prefix *second_prefix = has_second_prefix(msg) ? &msg.key_second_prefix : nullptr;
    if (second_prefix == nullptr)
        LEAVE(reason::missing_second_prefix, msg.key_second_prefix);
    if (rib_server_decode_ip_addr(&key.key_second_prefix, second_prefix) != ZERRNO_OK)
        return ZERRNO_INVALID;
    key.key_value_19 = 0;
    COPY_PRESENT(key.key_value_8, rib_encap_id_key, msg, key_value_8);
    COPY_PRESENT(key.key_value_19, rib_encap_id_key, msg, key_value_19);
    if (decode_extra_prefixes(msg, key) != ZERRNO_OK)
        return ZERRNO_INVALID;
    return decode_type_data(msg, key);
}

zerrno rib_server_decode_encap_ids_and_keys(const zidl_rib_grid_sync_list &msg, grid_sync_list &list)
{
    static constexpr char prototype[] =
        "zerrno rib_server_decode_encap_ids_and_keys(struct zidl_rib_grid_sync_list *, grid_sync_list *)";
    const zidl_rib_encap_id_key *zidl_rib_keys = msg.keys;
    const zidl_rib_encap_id *zidl_rib_ids = msg.encap_ids;
    const uint32_t num_keys = msg.keys_count;
    const uint32_t num_ids = msg.encap_ids_count;
    const uint32_t max_keys = msg.multi_key != 0 ? GRID_MAX_KEYS : 1;
    if (num_keys < 1 || num_keys > max_keys)
        return REJECT(num_keys < 1 ? reason::missing_field : reason::too_many_keys, msg.keys, ZERRNO_INVALID);

    list.multi_key = msg.multi_key;
    SHOWS(msg.multi_key);
    RIB_ASSERT(GRID_DEC, 433, zidl_rib_keys, reason::assertion);
    list.count = num_keys;
    if (msg.multi_key != 0) {
        RIB_ASSERT(GRID_DEC, 442, zidl_rib_ids, reason::assertion);
        if (num_keys != num_ids)
            LEAVE(reason::ids_differ_from_keys, msg.encap_ids);
        RIB_ASSERT(GRID_DEC, 443, num_keys == num_ids, reason::ids_differ_from_keys);
        for (uint32_t i = 0; i < num_ids; i++) {
            list.encap_ids[i] = zidl_rib_ids[i].encap_id;
            SHOWS(zidl_rib_ids[i].encap_id);
        }
    }
    for (uint32_t i = 0; i < num_keys; i++) {
        const zerrno status = rib_server_decode_encap_id_key_internal(&zidl_rib_keys[i], &list.keys[i]);
        if (status != ZERRNO_OK)
            return status;
    }
    return ZERRNO_OK;
}

} // namespace

extern "C" zerrno rib_server_decode_grid_list_update(void *buf, size_t buf_len, grid_sync_list *rib_grid_list)
{
    static constexpr char prototype[] = "zerrno rib_server_decode_grid_list_update(void *, size_t, grid_sync_list *)";
    RIB_ASSERT(GRID_DEC, 512, buf && buf_len > 0 && rib_grid_list, reason::empty_grid_list);
    decoded_grid_sync_list decoded;
    decoded.decode(static_cast<const uint8_t *>(buf), buf_len); // presence decides, not the status, deliberately
    zerrno status = ZERRNO_INVALID;
    if (has_required_members(decoded.msg))
        status = rib_server_decode_encap_ids_and_keys(decoded.msg, *rib_grid_list);
    decoded.release();
    return status;
}
