// Named exits: where a conversion leaves something out, it says why. In the library that is for the reader alone: the macros are
// nothing, or their last argument, so that its code is what it would be without them. The inspector compiles these sources a
// second time, with RIB_WITNESS, and takes notes (inspect/explain/witness.hpp): they are all that it knows of the rules.
//
// Reasons are those of inspect/reasons.def. A place is a message, or a member of one, absent ones included.

#ifndef IP_RIB_LIB_SRC_WITNESS_HPP
#define IP_RIB_LIB_SRC_WITNESS_HPP

#ifdef RIB_WITNESS
#include "inspect/explain/witness.hpp"
#else

// How a value is handed on whose place matters.
#define IN_PLACE(type) type

// An exit. What the record does not show of `place` by then, or of what is copied later, it does not show because of `why`.
#define LEAVE(why, place) static_cast<void>(0)

// The same, with what the caller is told; and for a message, where one of its members is the cause.
#define REJECT(why, place, result) (result)
#define REJECT_FOR(why, msg, member, result) (result)

// Whether a member is present that must be: if not, it is the cause.
#define REQUIRES(is_present, member) is_present

// Nothing of a message reaches the record, whatever was copied before; the second because of the last exit.
#define LEFT_OUT(why, msg) static_cast<void>(0)
#define LEFT_OUT_TOO(msg) static_cast<void>(0)

// Of a list the first `taken` elements alone are looked at.
#define TAKES(list, taken, why) static_cast<void>(0)

// The record has all of a member's value, or what follows from it; or `kept` of it, which may be less.
#define SHOWS(member) static_cast<void>(0)
#define SHOWS_AS(member, kept, why) static_cast<void>(0)

// The record has so many bytes of an array, or of a block of bytes.
#define SHOWS_BYTES(begin, size) static_cast<void>(0)

// The record has a text up to its first NUL, of at most `room` bytes with the NUL; what is beyond `own_room` stands in the
// next member.
#define SHOWS_TEXT(member, own_room, room) static_cast<void>(0)

// What a conversion ends with that tells its caller more than a reason.
#define ENDS_WITH(status) static_cast<void>(0)

#endif

#endif
