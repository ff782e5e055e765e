// Release. What a record owns goes back in declaration order and its pointers become null, so that a second release does
// nothing. The counts of arrays of messages and of bytes become 0 with their pointer; the counts of integer arrays and
// the sizes of bytes members stay: deliberate, clients read them.

#pragma once

#include "codec/presence.hpp"
#include "codec/zidl.h"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

struct releaser {
    zidl_free_fn free_fn;
    void *free_ctx;
    bool borrowed; // ZIDL_ZERO_COPY: bytes members belong to the input

    template <class Element>
    ZIDL_INLINE void array(Element *&member) const
    {
        if (member == nullptr)
            return;
        free_fn(member, free_ctx);
        member = nullptr;
    }

    ZIDL_INLINE void string(char *&member) const { array(member); }

    ZIDL_INLINE void bytes(uint8_t *&member) const
    {
        if (!borrowed)
            array(member);
    }

    ZIDL_INLINE void byte_blocks(zidl_bytes *&member, uint32_t &count) const
    {
        if (member == nullptr)
            return;
        for (uint32_t i = 0; i < count; ++i)
            bytes(member[i].data);
        array(member);
        count = 0;
    }

    template <class Record>
    ZIDL_INLINE void messages(Record *&member, uint32_t &count) const
    {
        if (member == nullptr)
            return;
        if constexpr (shape<Record>::owns_memory) {
            for (uint32_t i = 0; i < count; ++i)
                release(*this, member[i]);
        }
        array(member);
        count = 0;
    }
};

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
