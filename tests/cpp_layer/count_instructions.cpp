// The same work through the C functions and through the C++ layer, for callgrind to count: check_instructions.py runs it and
// compares each function c_<work> with cpp_<work>.

#include "rib.hpp"

#include <algorithm>
#include <cstdlib>
#include <vector>

#define WORK extern "C" __attribute__((noinline)) uint64_t

namespace
{

void *allocate(size_t size, void *)
{
    return malloc(size != 0 ? size : 1);
}

void give_back(void *ptr, void *)
{
    free(ptr);
}

constexpr unsigned path_count = 8;

// 192.0.2.0/24 with eight paths, each with labels and communities.
std::vector<uint8_t> encoded_route()
{
    static const uint32_t labels[] = {16001, 16002, 3};
    static const uint64_t communities[] = {0x0002FDE800000064, 0x0002FDE8000000C8};
    zidl::record<zidl_rib_path> path[path_count];
    for (unsigned i = 0; i < path_count; ++i) {
        path[i].set_path_value_1(i).set_path_value_8(100).set_path_values_9(labels);
        path[i].edit_path_address_4().set_family(1).set_ipv4(0xC0000201 + i);
        path[i].edit_ecomm().set_ecomm_values(communities);
    }
    zidl::record<zidl_rib_route> route;
    route.edit_route_prefix().set_prefix_len(24).edit_address().set_family(1).set_ipv4(0xC0000200);
    route.set_paths(path);
    std::vector<uint8_t> encoded;
    route.append_to(encoded);
    return encoded;
}

std::vector<uint8_t> encoded_opaque()
{
    const std::vector<uint8_t> block(400, 7);
    zidl::record<zidl_ip_rib_opaque> opaque;
    opaque.set_opaque_type(3).set_opaque_id(100).set_first_block(block);
    std::vector<uint8_t> encoded;
    opaque.append_to(encoded);
    return encoded;
}

std::vector<uint8_t> framed(uint16_t code, const std::vector<uint8_t> &payload)
{
    std::vector<uint8_t> frame(RIB_FRAME_HEADER_LEN + payload.size());
    rib_frame_put_header(frame.data(), code, payload.size());
    std::copy(payload.begin(), payload.end(), frame.begin() + RIB_FRAME_HEADER_LEN);
    return frame;
}

} // namespace

// ---- A route is decoded, read and released ----

WORK c_decode_route(const uint8_t *buf, size_t len)
{
    uint64_t sum = 0;
    zidl_rib_route route = {};
    if (zidl_rib_route_decode_ext(&route, buf, len, allocate, nullptr, 0) == ZIDL_OK) {
        for (uint32_t i = 0; i < route.paths_count; ++i) {
            const zidl_rib_path &path = route.paths[i];
            if (zidl_rib_path_has_path_value_8(&path))
                sum += path.path_value_8;
            for (uint32_t j = 0; j < path.path_values_9_count; ++j)
                sum += path.path_values_9[j];
        }
    }
    zidl_rib_route_free_ext(&route, give_back, nullptr, 0);
    return sum;
}

WORK cpp_decode_route(const uint8_t *buf, size_t len)
{
    uint64_t sum = 0;
    zidl::message<zidl_rib_route> route;
    if (route.decode({buf, len})) {
        for (const auto path : route.paths()) {
            sum += path.path_value_8();
            for (const uint32_t label : path.path_values_9())
                sum += label;
        }
    }
    return sum;
}

// ---- A route goes into a message that is used again and again, out of an arena ----

WORK c_decode_in_arena(const uint8_t *buf, size_t len, zidl_rib_route *route, zidl_arena *arena)
{
    uint64_t sum = 0;
    if (zidl_rib_route_decode_ext(route, buf, len, zidl_arena_alloc, arena, 0) == ZIDL_OK)
        sum = route->paths_count;
    zidl_arena_reset(arena);
    return sum;
}

WORK cpp_decode_in_arena(const uint8_t *buf, size_t len, zidl::arena_message<zidl_rib_route> *route, zidl::arena *arena)
{
    uint64_t sum = 0;
    if (route->decode({buf, len}))
        sum = route->paths().size();
    arena->reset();
    return sum;
}

// ---- The same, out of malloc ----

WORK c_decode_again(const uint8_t *buf, size_t len, zidl_rib_route *route)
{
    zidl_rib_route_free_ext(route, give_back, nullptr, 0);
    return zidl_rib_route_decode_ext(route, buf, len, allocate, nullptr, 0) == ZIDL_OK ? route->paths_count : 0;
}

WORK cpp_decode_again(const uint8_t *buf, size_t len, zidl::message<zidl_rib_route> *route)
{
    return route->decode({buf, len}) ? route->paths().size() : 0;
}

// ---- An opaque message is decoded without copying its block ----

WORK c_decode_zero_copy(const uint8_t *buf, size_t len)
{
    uint64_t sum = 0;
    zidl_ip_rib_opaque opaque = {};
    if (zidl_ip_rib_opaque_decode_ext(&opaque, buf, len, allocate, nullptr, ZIDL_ZERO_COPY) == ZIDL_OK)
        for (uint64_t i = 0; i < opaque.first_block_size; ++i)
            sum += opaque.first_block[i];
    zidl_ip_rib_opaque_free_ext(&opaque, give_back, nullptr, ZIDL_ZERO_COPY);
    return sum;
}

WORK cpp_decode_zero_copy(const uint8_t *buf, size_t len)
{
    uint64_t sum = 0;
    zidl::message<zidl_ip_rib_opaque> opaque;
    if (opaque.decode_zero_copy({buf, len}))
        for (const uint8_t byte : opaque.first_block())
            sum += byte;
    return sum;
}

// ---- A route is copied ----

WORK c_duplicate_route(const zidl_rib_route *route)
{
    zidl_rib_route copy = {};
    const int32_t status = zidl_rib_route_duplicate(&copy, route, allocate, nullptr);
    const uint64_t sum = status == ZIDL_OK ? copy.paths_count : 0;
    zidl_rib_route_free_ext(&copy, give_back, nullptr, 0);
    return sum;
}

WORK cpp_duplicate_route(const zidl_rib_route *route)
{
    zidl::message<zidl_rib_route> copy;
    return copy.duplicate(*route) ? copy.paths().size() : 0;
}

// ---- A route with one path is filled in and encoded ----

WORK c_encode_route(uint8_t *buf, size_t len, const uint32_t *labels, uint32_t count)
{
    zidl_rib_path path = {};
    zidl_rib_path_set_path_value_1(&path, 1);
    zidl_rib_path_set_path_value_8(&path, 100);
    zidl_rib_path_set_path_values_9(&path, labels, count);
    zidl_rib_route route = {};
    zidl_rib_address_set_family(&route.route_prefix.address, 1);
    zidl_rib_address_set_ipv4(&route.route_prefix.address, 0xC0000200);
    zidl_rib_prefix_set_prefix_len(&route.route_prefix, 24);
    zidl_rib_route_set_paths(&route, &path, 1);
    return zidl_rib_route_encode_ext(&route, buf, len, nullptr, nullptr, 0);
}

WORK cpp_encode_route(uint8_t *buf, size_t len, const uint32_t *labels, uint32_t count)
{
    zidl::record<zidl_rib_path> path[1];
    path[0].set_path_value_1(1).set_path_value_8(100).set_path_values_9({labels, count});
    zidl::record<zidl_rib_route> route;
    route.edit_route_prefix().set_prefix_len(24).edit_address().set_family(1).set_ipv4(0xC0000200);
    route.set_paths(path);
    return route.encode({buf, len});
}

// ---- Updates reach a callback ----

namespace
{

int on_route(uint32_t, rib_routetype_ *route, void *ctx)
{
    const rib_path_entry *path = rib_route_first_path(route);
    for (uint32_t i = 0; i < route->rt_path_count; ++i, path = rib_route_next_path(path))
        *static_cast<uint64_t *>(ctx) += path->pe_value_8 + path->pe_ecomm_count;
    return 0;
}

int on_opaque(uint32_t, uint32_t, rib_opaque_update *opaque, void *ctx)
{
    *static_cast<uint64_t *>(ctx) += opaque->first_len;
    return 0;
}

} // namespace

WORK c_parse_route(uint8_t *frame, size_t len)
{
    uint64_t sum = 0;
    rib_route_client client = {&sum, nullptr, on_route};
    updatetype_local update = {};
    update.payload = frame;
    if (rib_frame_size(frame, len) != 0 && rib_frame_code(frame) == RIB_TLV_ROUTE)
        rib_lib_pvt_parse_route_update(&update, nullptr, nullptr, nullptr, 0, &client);
    return sum;
}

WORK cpp_parse_route(uint8_t *frame, size_t len)
{
    uint64_t sum = 0;
    const bool taken = rib::parse_route(rib::update({frame, len}), [&](const rib_routetype_ &route) {
        for (const rib_path_entry &path : rib::paths(route))
            sum += path.pe_value_8 + path.pe_ecomm_count;
    });
    return taken ? sum : 0;
}

WORK c_parse_opaque(uint8_t *frame, size_t len)
{
    uint64_t sum = 0;
    updatetype_local update = {};
    update.payload = frame;
    if (rib_frame_size(frame, len) != 0 && rib_frame_code(frame) == RIB_TLV_OPAQUE)
        rib_lib_pvt_parse_opaque_update(on_opaque, &update, &sum);
    return sum;
}

WORK cpp_parse_opaque(uint8_t *frame, size_t len)
{
    uint64_t sum = 0;
    const bool taken =
        rib::parse_opaque(rib::update({frame, len}), [&](const rib_opaque_update &opaque) { sum += opaque.first_len; });
    return taken ? sum : 0;
}

int main()
{
    const std::vector<uint8_t> route = encoded_route();
    const std::vector<uint8_t> opaque = encoded_opaque();
    std::vector<uint8_t> route_frame = framed(RIB_TLV_ROUTE, route);
    std::vector<uint8_t> opaque_frame = framed(RIB_TLV_OPAQUE, opaque);
    const uint32_t labels[] = {16001, 16002, 3};
    uint8_t room[512];
    alignas(8) uint8_t block[1 << 14];
    zidl::message<zidl_rib_route> decoded;
    if (!decoded.decode(route))
        return 1;

    // The first round binds the functions of the library; rounds alternate, so that both ways find malloc in the same state.
    for (unsigned round = 0; round < 50; ++round) {
        bool same = c_decode_route(route.data(), route.size()) == cpp_decode_route(route.data(), route.size());
        same &= c_decode_zero_copy(opaque.data(), opaque.size()) == cpp_decode_zero_copy(opaque.data(), opaque.size());
        same &= c_duplicate_route(&*decoded) == cpp_duplicate_route(&*decoded);
        same &= c_encode_route(room, sizeof room, labels, 3) == cpp_encode_route(room, sizeof room, labels, 3);
        for (const auto work : {c_parse_route, cpp_parse_route, c_parse_opaque, cpp_parse_opaque}) {
            const bool takes_route = work == c_parse_route || work == cpp_parse_route;
            std::vector<uint8_t> frame = takes_route ? route_frame : opaque_frame; // a parse writes to it
            same &= work(frame.data(), frame.size()) != 0;
        }
        if (!same)
            return 1;
    }

    // These two leave different orders of blocks to malloc: each has its rounds for itself.
    zidl_rib_route record = {};
    for (unsigned round = 0; round < 50; ++round) {
        if (c_decode_again(route.data(), route.size(), &record) != path_count)
            return 1;
    }
    zidl_rib_route_free_ext(&record, give_back, nullptr, 0);
    zidl::message<zidl_rib_route> again;
    for (unsigned round = 0; round < 50; ++round) {
        if (cpp_decode_again(route.data(), route.size(), &again) != path_count)
            return 1;
    }
    again.clear();

    zidl::arena arena(block, sizeof block);
    zidl::arena_message<zidl_rib_route> in_arena{arena};
    for (unsigned round = 0; round < 50; ++round) {
        if (c_decode_in_arena(route.data(), route.size(), &record, &static_cast<zidl_arena &>(arena)) !=
            cpp_decode_in_arena(route.data(), route.size(), &in_arena, &arena))
            return 1;
    }
    return 0;
}
