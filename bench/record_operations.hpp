// The codec's functions for the record types that the workloads use, to be called by type.

#pragma once

#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"

#include <string_view>

namespace bench
{

template <class Record>
struct record_operations;

#define BENCH_RECORD(type)                                                                                             \
    template <>                                                                                                        \
    struct record_operations<zidl_##type> {                                                                            \
        static constexpr auto encode = zidl_##type##_encode_ext;                                                       \
        static constexpr auto decode = zidl_##type##_decode_ext;                                                       \
        static constexpr auto duplicate = zidl_##type##_duplicate;                                                     \
        static constexpr auto release = zidl_##type##_free_ext;                                                        \
    }

BENCH_RECORD(rib_route);
BENCH_RECORD(rib_grid_sync_list);
BENCH_RECORD(ip_rib_proto_update);
BENCH_RECORD(ip_rib_opaque);
BENCH_RECORD(ip_rib_srv6_cfg_update);

#undef BENCH_RECORD

} // namespace bench
