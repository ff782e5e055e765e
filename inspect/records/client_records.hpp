// The members of the client's records: one table, from which come their JSON, their content by itself for a comparison, and
// the names under which either shows a member. Nothing here is typed a second time elsewhere: place and size come from the
// library's headers, and a test compares the table with all bytes of each record.

#pragma once

#include "inspect/wire/load_store.hpp"
#include "ip/rib/lib/src/rib_lib.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace rib_inspect
{

enum class member_kind : uint8_t {
    number,     // unsigned, of 1, 2, 4 or 8 bytes
    text,       // characters up to a NUL or the end of the array
    address,    // 16 bytes, read as the family says
    bytes,      // an array
    block,      // a pointer to bytes, which `extent` counts, or null
    record,     // inside this one
    far_record, // a pointer to one, or null
    list,       // of `element`
    attr_block, // a pointer to an array of generic attributes, or null: rib_attr_block_type and the like read it
    layout,     // says where other members lie, and is no content
};

// Which numbering the member speaks that says an address's family.
enum class family_codes : uint8_t { none, always_ipv6, rib, socket };

enum class address_family : uint8_t { unknown, ipv4, ipv6 };

enum class list_place : uint8_t {
    inside,     // an array in the record
    behind,     // right behind the record, or for paths each behind the values of the one before
    pointed_at, // an array elsewhere, or null, which is empty
    counted,    // a block that begins with its 32-bit count, or null
};

// Another number of the same record. None: size 0.
struct number_place {
    uint16_t offset = 0;
    uint8_t size = 0;
};

struct record_type;

struct record_member {
    std::string_view key; // `"name":` as JSON has it; empty for the elements of a list
    uint32_t offset = 0;
    uint32_t size = 0; // in the record: 0 for what lies behind it
    member_kind kind = member_kind::number;
    family_codes families = family_codes::none;
    list_place place = list_place::inside;
    bool shows_all = false;                 // a list that means something beyond its count, too
    uint64_t absent = 0;                    // the number that stands for an absent one
    number_place extent{};                  // counts a list's elements or a block's bytes, or is an address's family
    uint32_t room = 0;                      // most elements; 0: no limit but the count
    uint32_t only_when = 0;                 // of a union: the value of `extent` that chooses this member; 0: no union
    const record_type *type = nullptr;      // of a record, or of what an attribute block holds
    const record_member *element = nullptr; // of a list; its size is the distance to the next one

    constexpr std::string_view name() const { return key.empty() ? key : key.substr(1, key.size() - 3); }
};

struct record_type {
    std::string_view name; // of the C structure; empty for blocks that have none
    uint32_t size;
    std::span<const record_member> members; // in the order of their declaration
};

extern const record_type PROTOID_MAP;
extern const record_type OPAQUE_UPDATE;
extern const record_type ROUTE;
extern const record_type PATH_ENTRY;
extern const record_type GRID_LIST;
extern const record_type NHID_UPDATE;

// Records hold one another no deeper than this; a test goes through all of them.
constexpr uint32_t max_record_depth = 5;

// The records that callbacks get, in this order: all but PATH_ENTRY.
std::span<const record_type *const> client_record_types();

// A record as a callback gets it, with all that it points to.
struct client_record {
    const record_type *type = nullptr;
    const void *data = nullptr; // of any alignment
    // Of an older-form opaque update, whose blocks lie in the payload: they are read up to here, since the library has
    // compared the sum of their lengths only, which wraps. Null for others.
    const uint8_t *payload_end = nullptr;
};

inline client_record view_of(const rib_protoid_map &map)
{
    return {&PROTOID_MAP, &map};
}
inline client_record view_of(const rib_opaque_update &opaque, const uint8_t *payload_end = nullptr)
{
    return {&OPAQUE_UPDATE, &opaque, payload_end};
}
inline client_record view_of(const struct rib_routetype_ &route)
{
    return {&ROUTE, &route};
}
// A path as the list of a route holds it.
inline client_record view_of(const rib_path_entry *path)
{
    return {&PATH_ENTRY, path};
}
inline client_record view_of(const grid_sync_list &list)
{
    return {&GRID_LIST, &list};
}
inline client_record view_of(const nhid_update_local &update)
{
    return {&NHID_UPDATE, &update};
}

// ---- Going through the members ----

// Visits the members of a record in their order. The visitor has
//
//     bool enter(member)                 false leaves the member out; otherwise leave(member) follows
//     void leave(member)
//     void number(member, uint64_t)
//     void text(member, string_view)
//     void address(member, span of 16 bytes, address_family)
//     void bytes(member, span)
//     void null(member)                  in place of a block, a record or a list
//     void begin_record(member), end_record(member)
//     size_t begin_list(member, all, filled)   how many of the elements it wants; then for each element(index) and the
//     void element(index)                      value, whose member has no name
//     void end_list(member)
template <class Visitor>
class record_walk
{
public:
    record_walk(Visitor &visitor, const uint8_t *payload_end) : visitor_(visitor), payload_end_(payload_end) {}

    void members(const record_type &type, const uint8_t *record)
    {
        for (const record_member &member : type.members) {
            const bool is_chosen = member.only_when == 0 || read(record, member.extent) == member.only_when;
            if (member.kind == member_kind::layout || !is_chosen || !visitor_.enter(member))
                continue;
            value(member, record, record + member.offset, 0);
            visitor_.leave(member);
        }
    }

private:
    // `record` holds the member, or the list whose element it is; `at` is where its value lies.
    void value(const record_member &member, const uint8_t *record, const uint8_t *at, uint32_t index)
    {
        switch (member.kind) {
        case member_kind::number:
            return visitor_.number(member, read(at, {0, static_cast<uint8_t>(member.size)}));
        case member_kind::text: {
            const auto *characters = reinterpret_cast<const char *>(at);
            return visitor_.text(member, {characters, strnlen(characters, member.size)});
        }
        case member_kind::address:
            return visitor_.address(member, std::span<const uint8_t, 16>(at, 16), family(member, record));
        case member_kind::bytes:
            return visitor_.bytes(member, std::span(at, member.size));
        case member_kind::block:
            return block(member, pointer(at), static_cast<size_t>(read(record, member.extent)));
        case member_kind::record:
            return nested(member, at);
        case member_kind::far_record:
            return pointer(at) == nullptr ? visitor_.null(member) : nested(member, pointer(at));
        case member_kind::list:
            return list(member, record, at);
        case member_kind::attr_block:
            return attr_block(member, record, pointer(at), index);
        case member_kind::layout:
            return;
        }
    }

    void nested(const record_member &member, const uint8_t *record)
    {
        visitor_.begin_record(member);
        members(*member.type, record);
        visitor_.end_record(member);
    }

    void block(const record_member &member, const uint8_t *bytes, size_t len)
    {
        if (bytes == nullptr)
            return visitor_.null(member);
        if (payload_end_ != nullptr) {
            const auto begin = reinterpret_cast<uintptr_t>(bytes);
            const auto end = reinterpret_cast<uintptr_t>(payload_end_);
            len = begin < end ? std::min<size_t>(len, end - begin) : 0;
        }
        visitor_.bytes(member, std::span(bytes, len));
    }

    void list(const record_member &member, const uint8_t *record, const uint8_t *at)
    {
        uint64_t filled = member.extent.size == 0 ? member.room : read(record, member.extent);
        switch (member.place) {
        case list_place::inside:
        case list_place::behind:
            break;
        case list_place::pointed_at:
            at = pointer(at);
            break;
        case list_place::counted:
            at = pointer(at);
            if (at == nullptr)
                return visitor_.null(member);
            filled = read(at, {0, sizeof(uint32_t)});
            at += sizeof(uint32_t);
            break;
        }
        if (member.room != 0)
            filled = std::min<uint64_t>(filled, member.room);
        const size_t all = at == nullptr ? 0 : static_cast<size_t>(member.shows_all ? member.room : filled);
        const size_t wanted = visitor_.begin_list(member, all, std::min(all, static_cast<size_t>(filled)));
        for (size_t index = 0; index < wanted; ++index, at = next(member, at)) {
            visitor_.element(index);
            value(*member.element, record, at, static_cast<uint32_t>(index));
        }
        visitor_.end_list(member);
    }

    static const uint8_t *next(const record_member &list, const uint8_t *at)
    {
        if (list.element->type == &PATH_ENTRY)
            return reinterpret_cast<const uint8_t *>(
                rib_route_next_path(static_cast<const rib_path_entry *>(static_cast<const void *>(at))));
        return at + list.element->size;
    }

    // The members of a block: its type and its list of attributes, each with its type and its data.
    void attr_block(const record_member &member, const uint8_t *record, const uint8_t *block, uint32_t index)
    {
        if (block == nullptr)
            return visitor_.null(member);
        const uint32_t data_len =
            rib_route_attr_size(static_cast<const struct rib_routetype_ *>(static_cast<const void *>(record)), index);
        visitor_.begin_record(member);
        const record_member &array_type = member.type->members[0];
        if (visitor_.enter(array_type)) {
            visitor_.number(array_type, rib_attr_block_type(block));
            visitor_.leave(array_type);
        }
        const record_member &attrs = member.type->members[1];
        if (visitor_.enter(attrs)) {
            attributes(attrs, block, data_len);
            visitor_.leave(attrs);
        }
        visitor_.end_record(member);
    }

    void attributes(const record_member &attrs, const uint8_t *block, uint32_t data_len)
    {
        const record_member &attr = *attrs.element;
        const record_member &type = attr.type->members[0];
        const record_member &data = attr.type->members[1];
        const size_t count = rib_attr_block_count(block);
        const size_t wanted = visitor_.begin_list(attrs, count, count);
        for (uint32_t index = 0; index < wanted; ++index) {
            visitor_.element(index);
            visitor_.begin_record(attr);
            if (visitor_.enter(type)) {
                visitor_.number(type, rib_attr_type(block, data_len, index));
                visitor_.leave(type);
            }
            if (visitor_.enter(data)) {
                visitor_.bytes(data, std::span(rib_attr_data(block, data_len, index), data_len));
                visitor_.leave(data);
            }
            visitor_.end_record(attr);
        }
        visitor_.end_list(attrs);
    }

    static address_family family(const record_member &member, const uint8_t *record)
    {
        const auto either = [&](uint64_t ipv4, uint64_t ipv6) {
            const uint64_t code = read(record, member.extent);
            return code == ipv4 ? address_family::ipv4 : code == ipv6 ? address_family::ipv6 : address_family::unknown;
        };
        switch (member.families) {
        case family_codes::none:
            break;
        case family_codes::always_ipv6:
            return address_family::ipv6;
        case family_codes::rib:
            return either(RIB_FAMILY_IPV4, RIB_FAMILY_IPV6);
        case family_codes::socket:
            return either(RIB_SOCKET_FAMILY_IPV4, RIB_SOCKET_FAMILY_IPV6);
        }
        return address_family::unknown;
    }

    static const uint8_t *pointer(const uint8_t *at) { return load<const uint8_t *>(at); }

    static uint64_t read(const uint8_t *record, number_place place)
    {
        return load_number(record + place.offset, place.size);
    }

    Visitor &visitor_;
    const uint8_t *payload_end_;
};

template <class Visitor>
void visit_members(const client_record &record, Visitor &visitor)
{
    record_walk<Visitor>(visitor, record.payload_end).members(*record.type, static_cast<const uint8_t *>(record.data));
}

} // namespace rib_inspect
