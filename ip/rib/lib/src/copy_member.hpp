// Plain copies from a message's members into those of a client record.

#ifndef IP_RIB_LIB_SRC_COPY_MEMBER_HPP
#define IP_RIB_LIB_SRC_COPY_MEMBER_HPP

#include <stddef.h>
#include <string.h>

namespace rib_client
{

// A narrower member keeps the low bits; that of an absent field keeps what it holds.
template <class Member, class Value>
inline void copy_if(bool present, Member &member, Value value)
{
    if (present)
        member = static_cast<Member>(value);
}

// Unlike memcpy it takes any pointer, null too, when there is nothing to copy.
inline void copy_bytes(void *dst, const void *src, size_t size)
{
    if (size != 0)
        memcpy(dst, src, size);
}

} // namespace rib_client

#endif
