#include "tools/ribtool/explain/explanation.hpp"

#include <new>

namespace ribtool
{

explanation_handle explain(uint16_t code, byte_span payload, uint32_t without)
{
    updatetype_local update = {};
    update.tlv_type = code;
    update.stripped = 1;
    update.payload_len = static_cast<uint32_t>(payload.size());
    update.payload = const_cast<uint8_t *>(payload.data()); // it is read from a copy
    rib_explain_options options = {};
    options.without = without;
    rib_explanation *made = nullptr;
    if (rib_explain_update(&update, &options, &made) != ZIDL_OK)
        throw std::bad_alloc();
    return explanation_handle(made);
}

} // namespace ribtool
