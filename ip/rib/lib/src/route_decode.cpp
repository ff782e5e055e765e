// Routes: from the decoded message to one flat record with its packed paths and its side blocks. What every route has, and
// what converts a path, stands in headers of its own, compiled here alone: their functions are static, because a compiler
// inlines what is called once only when it sees that nobody else can.

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "ip/rib/lib/src/decoded_message.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/route_address.hpp"
#include "ip/rib/lib/src/route_extras.hpp"
#include "ip/rib/lib/src/route_header.hpp"
#include "ip/rib/lib/src/route_path.hpp"
#include "ip/rib/lib/src/witness.hpp"
#include "ip/rib/lib/src/zeroed_block.hpp"
#include "messages/rib_common.h"

using namespace rib_client;

// Paths are packed: the ecomm block is the end of an entry, and the values that follow it are aligned.
static_assert(offsetof(rib_path_entry, pe_ecomm_count) + sizeof(uint64_t) == sizeof(rib_path_entry), "");
static_assert(sizeof(rib_path_entry) % sizeof(uint64_t) == 0, "");
static_assert(sizeof(struct rib_routetype_) % alignof(rib_path_entry) == 0, "");

namespace
{

using decoded_route = decoded_message<zidl_rib_route, zidl_rib_route_decode_ext, zidl_rib_route_free_ext>;

size_t record_size(const zidl_rib_route &msg)
{
    size_t size = sizeof(struct rib_routetype_);
    for (uint32_t i = 0; i < msg.paths_count; i++)
        if (!is_skipped(msg.paths[i]))
            size += entry_size(msg.paths[i]);
    return size;
}

// The record has room for every path that is not skipped. Its memory is zero, so that a place needs clearing only after
// a path that was rejected.
void unpack_paths(const zidl_rib_route &msg, struct rib_routetype_ &route)
{
    uint8_t *place = reinterpret_cast<uint8_t *>(&route + 1);
    uint32_t count = 0;
    for (uint32_t i = 0; i < msg.paths_count && count < RIB_MAX_PATHS; i++) {
        TAKES(msg.paths, i + 1, reason::too_many_paths);
        const zidl_rib_path &path = msg.paths[i];
        if (is_skipped(path)) {
            LEFT_OUT(reason::marked_to_be_skipped, path);
            continue;
        }
        rib_path_entry &entry = *reinterpret_cast<rib_path_entry *>(place);
        if (!unpack_path(path, entry)) {
            LEFT_OUT_TOO(path);
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
        return REJECT(reason::marked_unsupported, msg.route_value_34, ZERRNO_UNSUPPORTED);
    auto *route = static_cast<struct rib_routetype_ *>(zeroed_block(record_size(msg)));
    if (route == nullptr)
        return REJECT(reason::no_memory, msg, ZERRNO_NO_MEMORY);
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
    if (is_skipped(*path))
        return REJECT(reason::marked_to_be_skipped, *path, size_t{0});
    const zidl_rib_path complete = completed(*path);
    const size_t size = entry_size(complete);
    if (*slot != nullptr)
        memset(*slot, 0, size);
    else
        *slot = zeroed_block(size);
    if (*slot == nullptr)
        return REJECT(reason::no_memory, *path, size_t{0});
    rib_path_entry &entry = *static_cast<rib_path_entry *>(*slot);
    if (zidl_rib_path_has_ecomm(&complete) && ecomm_out != nullptr)
        *ecomm_out = &entry.pe_ecomm_count;
    return unpack_path(complete, entry) ? size : 0; // a rejected path keeps its block, deliberately
}

extern "C" zerrno rib_lib_route_address_unpack(const zidl_rib_address *addr, void *out16, uint32_t *family_out)
{
    return unpack_address(*addr, static_cast<uint8_t *>(out16), family_out);
}
