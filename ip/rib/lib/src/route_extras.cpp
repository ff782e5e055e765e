// See route_extras.hpp.

#include "ip/rib/lib/src/route_extras.hpp"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/library_memory.hpp"
#include "ip/rib/lib/src/rib_assert.hpp"

using namespace rib_client;

namespace
{

void unpack_algo_labels(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    for (uint32_t i = 0; i < msg.algo_labels_count && route.rt_algo_label_count < RIB_MAX_ALGO_LABELS; i++) {
        TAKES(msg.algo_labels, i + 1, reason::too_many_algo_labels);
        const zidl_rib_algo_label &label = msg.algo_labels[i];
        if (!zidl_rib_algo_label_has_algo_label_value_1(&label) ||
            !zidl_rib_algo_label_has_algo_label_value_2(&label) || zidl_rib_algo_label_has_algo_label_value_3(&label)) {
            LEFT_OUT(zidl_rib_algo_label_has_algo_label_value_3(&label) ? reason::ruled_out : reason::incomplete,
                     label);
            continue;
        }
        rib_algo_label_entry &entry = route.rt_algo_labels[route.rt_algo_label_count++];
        entry.algo = static_cast<uint8_t>(label.algo_label_value_2);
        entry.label = label.algo_label_value_1;
        SHOWS_AS(label.algo_label_value_2, entry.algo, reason::narrowed);
        SHOWS(label.algo_label_value_1);
        COPY_PRESENT(entry.extra, rib_algo_label, label, algo_label_value_4);
    }
}

void unpack_l2_info(const zidl_rib_route_l2_info &l2, struct rib_routetype_ &route)
{
    LEAVE(l2.route_l2_value_1 > 1 ? reason::ruled_out : reason::ignored, l2);
    if (!zidl_rib_route_l2_info_has_route_l2_value_1(&l2) || l2.route_l2_value_1 <= 1)
        COPY_PRESENT(route.rt_l2_value, rib_route_l2_info, l2, route_l2_value_5);
}

void unpack_aft_id(const zidl_rib_route_aft_id &aft, struct rib_routetype_ &route)
{
    if (zidl_rib_route_aft_id_has_route_aft_value_1(&aft) || !zidl_rib_route_aft_id_has_route_aft_id_value(&aft) ||
        !zidl_rib_route_aft_id_has_route_aft_value_6(&aft) || !zidl_rib_route_aft_id_has_route_aft_value_7(&aft))
        return LEAVE(zidl_rib_route_aft_id_has_route_aft_value_1(&aft) ? reason::ruled_out : reason::incomplete, aft);
    route.rt_aft_id = aft.route_aft_id_value;
    route.rt_aft_value_6 = aft.route_aft_value_6;
    route.rt_aft_value_7 = aft.route_aft_value_7;
    SHOWS(aft.route_aft_id_value);
    SHOWS(aft.route_aft_value_6);
    SHOWS(aft.route_aft_value_7);
    route.rt_aft_valid = 1;
}

// ---- Side blocks: memory of their own ----

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
        return REJECT(reason::no_memory, array, ZERRNO_NO_MEMORY);
    void *attr_array = new_zeroed_block(size);
    if (attr_array == nullptr)
        return REJECT(reason::no_memory, array, ZERRNO_NO_MEMORY);

    const bool has_type = zidl_rib_generic_attr_array_has_array_type(&array);
    uint8_t *ptr = static_cast<uint8_t *>(attr_array);
    ptr = append(ptr, static_cast<uint16_t>(has_type ? array.array_type : 0));
    SHOWS_AS(array.array_type, static_cast<uint16_t>(array.array_type), reason::narrowed);
    ptr = append(ptr, static_cast<uint16_t>(array.attrs_count)); // low bits only, though all attributes are copied
    TAKES(array.attrs, static_cast<uint16_t>(array.attrs_count), reason::count_wraps);
    for (uint32_t i = 0; i < array.attrs_count; i++) {
        const zidl_rib_generic_attr_info &attr = array.attrs[i];
        if (attr.attr_data_size != elem_size) {
            give_back(attr_array);
            LEFT_OUT(reason::attribute_size, array);
            return REJECT(reason::attribute_size, attr.attr_data, ZERRNO_MALFORMED);
        }
        copy_bytes(ptr, attr.attr_data, elem_size);
        ptr = append(ptr + elem_size, attr.attr_type);
        SHOWS(attr.attr_type);
    }
    // clang-format off
    RIB_ASSERT(ROUTE_DECODE, 436, (size_t)(ptr - (uint8_t*)attr_array) == size, reason::assertion);
    // clang-format on
    *out = attr_array;
    return ZERRNO_OK;
}

zerrno unpack_advertisement(const zidl_rib_client_advertisement &advertisement, void **out)
{
    const uint32_t count = advertisement.advertised_values_count;
    *out = new_zeroed_block(sizeof(uint32_t) + count * sizeof(uint16_t));
    if (*out == nullptr)
        return REJECT(reason::no_memory, advertisement, ZERRNO_NO_MEMORY);
    uint8_t *ptr = append(static_cast<uint8_t *>(*out), count);
    for (uint32_t i = 0; i < count; i++) {
        ptr = append(ptr, static_cast<uint16_t>(advertisement.advertised_values[i]));
        SHOWS_AS(advertisement.advertised_values[i], static_cast<uint16_t>(advertisement.advertised_values[i]),
                 reason::narrowed);
    }
    return ZERRNO_OK;
}

template <uint32_t Index>
void unpack_attr_block(bool present, const zidl_rib_generic_attr_array &array, struct rib_routetype_ &route)
{
    if (present)
        unpack_attributes(array, rib_route_attr_size(&route, Index), &route.rt_attr_blocks[Index]);
}

// A block that cannot be converted stays null; the route is delivered without it, deliberately.
void unpack_side_blocks(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    if (zidl_rib_route_has_client_advertisement(&msg))
        unpack_advertisement(msg.client_advertisement, &route.rt_advertisement);
    unpack_attr_block<0>(zidl_rib_route_has_addr_generic_attrs(&msg), msg.addr_generic_attrs, route);
    unpack_attr_block<1>(zidl_rib_route_has_generic_attrs_29(&msg), msg.generic_attrs_29, route);
    unpack_attr_block<2>(zidl_rib_route_has_generic_attrs_30(&msg), msg.generic_attrs_30, route);
    unpack_attr_block<3>(zidl_rib_route_has_generic_attrs_31(&msg), msg.generic_attrs_31, route);
    unpack_attr_block<4>(zidl_rib_route_has_generic_attrs_32(&msg), msg.generic_attrs_32, route);
    unpack_attr_block<5>(zidl_rib_route_has_generic_attrs_33(&msg), msg.generic_attrs_33, route);
}

} // namespace

void rib_client::unpack_extras(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    unpack_algo_labels(msg, route);
    unpack_l2_info(msg.route_l2_info, route);
    unpack_aft_id(msg.route_aft_id, route);
    unpack_side_blocks(msg, route);
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
