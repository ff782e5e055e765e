// Plain copies from a message's members into those of a client record.

#ifndef IP_RIB_LIB_SRC_COPY_MEMBER_HPP
#define IP_RIB_LIB_SRC_COPY_MEMBER_HPP

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "ip/rib/lib/src/witness.hpp"

namespace rib_client
{

// A narrower member keeps the low bits.
template <class Member, class Value>
inline void copy(Member &member, IN_PLACE(Value) value)
{
    member = static_cast<Member>(value);
    SHOWS_AS(value, member, reason::narrowed);
}

// The member of an absent field keeps what it holds.
template <class Member, class Value>
inline void copy_if(bool present, Member &member, IN_PLACE(Value) value)
{
    if (present)
        copy(member, value);
}

// The same for a field of a message of the type zidl_`type`: its presence and its value cannot drift apart.
#define COPY_PRESENT(member, type, msg, field) copy_if(zidl_##type##_has_##field(&(msg)), member, (msg).field)

// Unlike memcpy it takes any pointer, null too, when there is nothing to copy.
inline void copy_bytes(void *dst, const void *src, size_t size)
{
    if (size != 0)
        memcpy(dst, src, size);
    SHOWS_BYTES(src, size);
}

// For lists that mostly have one or two elements: those take no call, and no branch between the two.
template <class Element>
inline void copy_few(Element *dst, const Element *src, uint32_t count)
{
    if (count == 0 || count > 2) {
        copy_bytes(dst, src, count * sizeof *dst);
        return;
    }
    dst[0] = src[0];
    dst[count - 1] = src[count - 1];
    SHOWS_BYTES(src, count * sizeof *dst);
}

} // namespace rib_client

#endif
