// The macros of ip/rib/lib/src/witness.hpp, which includes this in the inspector's copy of the converters: each takes a note of
// the call that is explained.

#pragma once

#include "inspect/explain/notes.hpp"

#include <type_traits>

#define IN_PLACE(type) const type &
#define LEAVE(why, place) rib_client::leave(why, place)
#define REJECT(why, place, result) (rib_client::leave(why, place), (result))
#define REJECT_FOR(why, msg, member, result) (rib_client::leave(why, msg), rib_client::leave(why, member), (result))
#define REQUIRES(is_present, member) ((is_present) || REJECT(reason::missing_field, member, false))
#define LEFT_OUT(why, msg) rib_client::notes().left_out(why, &(msg), rib_client::extent<decltype(msg)>)
#define LEFT_OUT_TOO(msg) rib_client::notes().left_out_by_exit(&(msg), rib_client::extent<decltype(msg)>)
#define TAKES(list, taken, why) rib_client::notes().takes(list, taken, why)
#define SHOWS(member) rib_client::notes().shows_all(&(member))
#define SHOWS_AS(member, kept, why) rib_client::shows_as(member, kept, why)
#define SHOWS_BYTES(begin, size) rib_client::notes().shows_bytes(begin, size)
#define SHOWS_TEXT(member, own_room, room) rib_client::notes().shows_text(&(member), own_room, room)

#define ENDS_WITH(status) rib_client::notes().ends_with(status)

namespace rib_client
{

// As the converters write them: reason::bad_family.
namespace reason
{
#define REASON(name, text) inline constexpr rib_reason name = RIB_REASON_##name;
#include "inspect/reasons.def"
#undef REASON
} // namespace reason

inline rib_inspect::notes &notes()
{
    return rib_inspect::notes::current();
}

// What a place is to the notes: a message by its size, or a member.
template <class Place, class Type = std::remove_reference_t<Place>>
constexpr uint32_t extent = std::is_class_v<Type> ? static_cast<uint32_t>(sizeof(Type))
                                                  : uint32_t{rib_inspect::notes::of_member};

template <class Place>
void leave(rib_reason why, const Place &place)
{
    notes().exit(why, &place, extent<Place>);
}

template <class Member, class Kept>
void shows_as(const Member &member, Kept kept, rib_reason why)
{
    if constexpr (std::is_pointer_v<Kept>)
        notes().shows_all(&member);
    else
        notes().shows(&member, static_cast<uint64_t>(kept), why);
}

} // namespace rib_client
