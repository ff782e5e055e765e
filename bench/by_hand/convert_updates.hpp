// Protocol updates, opaque updates and IDs of next hops by hand. The records are all 0 before.

#pragma once

#include "bench/by_hand/convert_address.hpp"

#include <algorithm>

namespace bench::by_hand
{

inline void copy_text(char *to, size_t room, std::string_view text)
{
    std::memcpy(to, text.data(), std::min(text.size(), room - 1));
}

// A name of 41 characters and more runs on into the second one.
constexpr size_t proto_names_room = sizeof(rib_protoid_map::proto_name) + sizeof(rib_protoid_map::proto_extra_name);

inline char *proto_names(rib_protoid_map &map)
{
    return reinterpret_cast<char *>(&map) + offsetof(rib_protoid_map, proto_name);
}

template <class Update>
bool convert_proto(const Update &msg, rib_protoid_map &map)
{
    if (!HAS(msg, proto_id))
        return false;
    map.proto_id = static_cast<uint16_t>(GET(msg, proto_id));
    COPY_PRESENT(map.proto_sub_id, msg, proto_sub_id);
    COPY_PRESENT(map.proto_value, msg, proto_value);
    if (HAS(msg, proto_name))
        copy_text(proto_names(map), proto_names_room, TEXT(msg, proto_name));
    if (HAS(msg, proto_extra_name))
        copy_text(map.proto_extra_name, sizeof map.proto_extra_name, TEXT(msg, proto_extra_name));
    return true;
}

// The blocks stay the message's.
template <class Update>
void convert_opaque(const Update &msg, rib_opaque_update &opaque)
{
    COPY_PRESENT(opaque.opaque_type, msg, opaque_type);
    COPY_PRESENT(opaque.opaque_id, msg, opaque_id);
    COPY_PRESENT(opaque.opaque_value, msg, opaque_value);
    if (HAS(msg, first_block)) {
        const auto block = as_bytes(GET(msg, first_block));
        opaque.first_block = const_cast<uint8_t *>(block.data());
        opaque.first_len = static_cast<uint32_t>(block.size());
    }
    if (HAS(msg, second_block)) {
        const auto block = as_bytes(GET(msg, second_block));
        opaque.second_block = const_cast<uint8_t *>(block.data());
        opaque.second_len = static_cast<uint32_t>(block.size());
    }
}

template <class Update>
bool convert_nhid(const Update &msg, nhid_update_local &nhid)
{
    if (!HAS(msg, nhid_update_value_1))
        return false;
    nhid.update_value_1 = GET(msg, nhid_update_value_1);
    nhid.nhid = HAS(msg, nhid) ? GET(msg, nhid) : RIB_NO_NHID;
    if (!HAS(msg, nhid_encap_key))
        return true;
    const auto &key = GET(msg, nhid_encap_key);
    if (HAS(key, nhid_key_address))
        convert_address(GET(key, nhid_key_address), nhid.address, &nhid.address_family);
    COPY_PRESENT(nhid.key_value_1, key, nhid_key_value_1);
    COPY_PRESENT(nhid.key_value_3, key, nhid_key_value_3);
    COPY_PRESENT(nhid.key_value_4, key, nhid_key_value_4);
    return true;
}

} // namespace bench::by_hand
