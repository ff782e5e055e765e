// rib_lib_pvt_parse_proto_update on any payload.

#include "fuzz/assertion_exit.hpp"

namespace
{

int read_map(uint32_t, rib_protoid_map *map, void *)
{
    read_all(map, sizeof *map);
    return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > 65535)
        return 0;
    update_input input(data, size, {RIB_TLV_PROTO, RIB_TLV_OLD_PROTO}, sizeof(rib_protoid_map));
    if (setjmp(assertion_exit) == 0)
        rib_lib_pvt_parse_proto_update(read_map, &input.update, nullptr);
    return 0;
}
