// rib_lib_pvt_parse_opaque_update on any payload.

#include "fuzz/assertion_exit.hpp"

namespace
{

int read_opaque(uint32_t, uint32_t, rib_opaque_update *opaque, void *ctx)
{
    const updatetype_local &update = *static_cast<updatetype_local *>(ctx);
    read_all(opaque, sizeof *opaque);
    // The lengths of an older-form update may wrap past the payload: its readers check them.
    if (update.tlv_type == RIB_TLV_OPAQUE || uint64_t{opaque->first_len} + opaque->second_len <= update.payload_len) {
        read_all(opaque->first_block, opaque->first_len);
        read_all(opaque->second_block, opaque->second_len);
    }
    return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > 65535)
        return 0;
    update_input input(data, size, {RIB_TLV_OPAQUE, RIB_TLV_OLD_OPAQUE});
    if (setjmp(assertion_exit) == 0)
        rib_lib_pvt_parse_opaque_update(read_opaque, &input.update, &input.update);
    return 0;
}
