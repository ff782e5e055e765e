// rib_lib_pvt_parse_grid_update on any payload.

#include "fuzz/assertion_exit.hpp"

namespace
{

int read_record(void *record, void *, uint32_t tlv_type)
{
    if (tlv_type == RIB_TLV_NHID) {
        read_all(record, sizeof(nhid_update_local));
        return 0;
    }
    const grid_sync_list &list = *static_cast<grid_sync_list *>(record);
    read_all(list.keys, list.count * sizeof *list.keys);
    read_all(list.encap_ids, list.count * sizeof *list.encap_ids);
    return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > 65535)
        return 0;
    update_input input(data, size, {RIB_TLV_GRID, RIB_TLV_NHID});
    if (setjmp(assertion_exit) == 0)
        rib_lib_pvt_parse_grid_update(read_record, &input.update, nullptr);
    return 0;
}
