#include "tools/ribtool/state/update_record.hpp"

#include "tools/ribtool/library/older_forms.hpp"
#include "tools/ribtool/library/older_route_client.hpp"

#include <algorithm>
#include <cstring>
#include <new>

namespace ribtool
{

namespace
{

using rib_inspect::client_record;
using rib_inspect::view_of;

// What the elements of a grid list's keys are.
const rib_inspect::record_type &grid_key_type()
{
    const auto list =
        std::ranges::find_if(rib_inspect::GRID_LIST.members, [](const rib_inspect::record_member &member) {
            return member.element != nullptr && member.element->type != nullptr;
        });
    return *list->element->type;
}

// The blocks of an older-form opaque update lie in the inspector's copy of its payload.
client_record view_of_opaque(const rib_explanation &of, size_t payload_len)
{
    const auto &opaque = *static_cast<const rib_opaque_update *>(of.record);
    if (of.tlv_type != RIB_TLV_OLD_OPAQUE)
        return view_of(opaque);
    return view_of(opaque, opaque.first_block + (payload_len - OLDER_OPAQUE_FIXED_LEN));
}

client_record view_of_explained(const rib_explanation &of, size_t payload_len)
{
    switch (of.record_kind) {
    case RIB_RECORD_PROTO:
        return {&rib_inspect::PROTOID_MAP, of.record};
    case RIB_RECORD_OPAQUE:
        return view_of_opaque(of, payload_len);
    case RIB_RECORD_ROUTE:
        return {&rib_inspect::ROUTE, of.record};
    case RIB_RECORD_GRID:
        return {&rib_inspect::GRID_LIST, of.record};
    case RIB_RECORD_NHID:
        return {&rib_inspect::NHID_UPDATE, of.record};
    case RIB_RECORD_NONE:
    case RIB_RECORD_MESSAGE:
    case RIB_RECORD_KIND_COUNT:
        break;
    }
    return {};
}

} // namespace

update_record::update_record(uint16_t code, byte_span payload)
{
    if (code == RIB_TLV_OLD_ROUTE) {
        convert_older_route(payload);
        return;
    }
    explained_ = explain(code, payload, RIB_WITHOUT_LOSSES);
    view_ = view_of_explained(*explained_, payload.size());
}

update_record::update_record(const rib_encap_id_path_key_t &key)
{
    converted_.resize((sizeof key + sizeof(uint64_t) - 1) / sizeof(uint64_t));
    std::memcpy(converted_.data(), &key, sizeof key);
    view_ = {&grid_key_type(), converted_.data()};
}

// The converter keeps one route only.
void update_record::convert_older_route(byte_span payload)
{
    auto *cursor = const_cast<uint8_t *>(payload.data()); // it is only read
    const struct rib_routetype_ *const route = ribtool::convert_older_route(nullptr, &cursor);
    if (route == nullptr)
        throw std::bad_alloc();
    const size_t len = sizeof *route + route->rt_path_count * sizeof(rib_path_entry);
    converted_.resize(len / sizeof(uint64_t));
    std::memcpy(converted_.data(), route, len);
    forget_older_routes();
    view_ = {&rib_inspect::ROUTE, converted_.data()};
}

} // namespace ribtool
