// The types of the workloads' messages: their only list, how a contender finds its own class for one of them, and the
// codec's functions for each.

#pragma once

#include "bench/workloads.hpp"
#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"

#include <stdexcept>
#include <string>
#include <string_view>

#define BENCH_MESSAGE_TYPES(row)                                                                                       \
    row(rib_route);                                                                                                    \
    row(rib_grid_sync_list);                                                                                           \
    row(ip_rib_proto_update);                                                                                          \
    row(ip_rib_opaque);                                                                                                \
    row(ip_rib_srv6_update)

namespace bench
{

// Calls use.operator()<Record>() with our record of the type. A contender maps it to a class of its own by a template
// that it specialises once for the whole list.
template <class Use>
auto visit_message_type(std::string_view name, Use use)
{
#define VISIT(type)                                                                                                    \
    if (name == #type)                                                                                                 \
    return use.template operator()<zidl_##type>()
    BENCH_MESSAGE_TYPES(VISIT);
#undef VISIT
    throw std::invalid_argument("no workload has messages of this type: " + std::string(name));
}

// The codec's functions for a record, of whichever build of the library.
template <class Record>
struct record_operations {
    size_t (*encode)(const Record *, uint8_t *, size_t, zidl_segment *, uint32_t *, uint32_t);
    int32_t (*decode)(Record *, const uint8_t *, size_t, zidl_alloc_fn, void *, uint32_t);
    int32_t (*duplicate)(Record *, const Record *, zidl_alloc_fn, void *);
    void (*release)(Record *, zidl_free_fn, void *, uint32_t);

    bytes encoded(const Record &record) const
    {
        bytes out(encode(&record, nullptr, 0, nullptr, nullptr, 0));
        encode(&record, out.data(), out.size(), nullptr, nullptr, 0);
        return out;
    }
};

template <class Record>
constexpr record_operations<Record> linked_operations = {};

template <class Record>
constexpr const char *record_name = nullptr;

#define OPERATIONS(type)                                                                                               \
    template <>                                                                                                        \
    inline constexpr record_operations<zidl_##type> linked_operations<zidl_##type> = {                                 \
        zidl_##type##_encode_ext, zidl_##type##_decode_ext, zidl_##type##_duplicate, zidl_##type##_free_ext};          \
    template <>                                                                                                        \
    inline constexpr const char *record_name<zidl_##type> = #type
BENCH_MESSAGE_TYPES(OPERATIONS);
#undef OPERATIONS

} // namespace bench
