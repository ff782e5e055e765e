// The types of the workloads' messages: their only list, how a contender finds its own class for one of them, and the
// codec's functions for each.

#pragma once

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
    row(ip_rib_srv6_cfg_update)

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

template <class Record>
struct record_operations;

#define OPERATIONS(type)                                                                                               \
    template <>                                                                                                        \
    struct record_operations<zidl_##type> {                                                                            \
        static constexpr auto encode = zidl_##type##_encode_ext;                                                       \
        static constexpr auto decode = zidl_##type##_decode_ext;                                                       \
        static constexpr auto duplicate = zidl_##type##_duplicate;                                                     \
        static constexpr auto release = zidl_##type##_free_ext;                                                        \
    }
BENCH_MESSAGE_TYPES(OPERATIONS);
#undef OPERATIONS

} // namespace bench
