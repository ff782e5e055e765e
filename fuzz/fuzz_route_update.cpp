// rib_lib_pvt_parse_route_update on any payload; the callback walks the whole record.

#include "fuzz/assertion_exit.hpp"

namespace
{

int read_route(uint32_t, struct rib_routetype_ *route, void *)
{
    read_all(route, sizeof *route);
    const rib_path_entry *path = rib_route_first_path(route);
    for (unsigned i = 0; i < route->rt_path_count; ++i) {
        read_all(path, sizeof *path);
        read_all(rib_path_ecomm_values(path), size_t{path->pe_ecomm_room} * sizeof(uint64_t));
        path = rib_route_next_path(path);
    }
    if (route->rt_advertisement != nullptr)
        read_all(rib_advertisement_values(route->rt_advertisement),
                 rib_advertisement_count(route->rt_advertisement) * sizeof(uint16_t));
    for (uint32_t i = 0; i < 6; ++i) {
        const void *const block = route->rt_attr_blocks[i];
        const uint32_t size = rib_route_attr_size(route, i);
        for (uint32_t j = 0; block != nullptr && j < rib_attr_block_count(block); ++j)
            read_all(rib_attr_data(block, size, j), size + sizeof(uint32_t));
    }
    return 0;
}

int read_old_route(uint32_t, struct rib_routetype_ *, void *)
{
    return 0;
}

struct rib_routetype_ *convert(rib_tlv_t *, uchar_t **)
{
    return nullptr;
}

void release(struct rib_routetype_ *) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > 65535)
        return 0;
    update_input input(data, size, {RIB_TLV_ROUTE, RIB_TLV_OLD_ROUTE});
    rib_route_client client = {};
    client.encoded_route = read_route;
    if (setjmp(assertion_exit) == 0)
        rib_lib_pvt_parse_route_update(&input.update, read_old_route, convert, release, 0, &client);
    return 0;
}
