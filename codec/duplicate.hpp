// Deep copy. The record is copied as a block, then every member that points to memory gets a copy of its own, in
// declaration order. A member whose copy cannot be had is left absent, and the rest is copied all the same.

#pragma once

#include "codec/presence.hpp"
#include "codec/zidl.h"

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

class copier
{
public:
    ZIDL_INLINE copier(zidl_alloc_fn alloc_fn, void *alloc_ctx) : alloc_fn_(alloc_fn), alloc_ctx_(alloc_ctx) {}

    ZIDL_INLINE int32_t status() const { return status_; }

    template <unsigned Bit, class Record>
    ZIDL_INLINE void string(Record &dst, char *&member, const char *src)
    {
        if (src == nullptr)
            return;
        const size_t size = strlen(src) + 1;
        member = static_cast<char *>(allocate(size));
        if (ZIDL_LIKELY(member != nullptr))
            copy_short(member, src, size);
        else
            clear_presence(dst, bit<Bit>);
    }

    template <unsigned Bit, class Record>
    ZIDL_INLINE void bytes(Record &dst, uint8_t *&member, uint64_t &size, const uint8_t *src)
    {
        const bool was_empty = size == 0;
        block(member, size, src);
        if (ZIDL_UNLIKELY(member == nullptr && !was_empty))
            clear_presence(dst, bit<Bit>);
    }

    template <unsigned Bit, class Record, class Element>
    ZIDL_INLINE void array(Record &dst, Element *&member, uint32_t &count, const Element *src)
    {
        if (allocate_array<Bit>(dst, member, count))
            memcpy(member, src, count * sizeof(Element));
    }

    template <unsigned Bit, class Record>
    ZIDL_INLINE void byte_blocks(Record &dst, zidl_bytes *&member, uint32_t &count, const zidl_bytes *src)
    {
        if (!allocate_array<Bit>(dst, member, count))
            return;
        for (uint32_t i = 0; i < count; ++i) {
            member[i] = src[i];
            block(member[i].data, member[i].size, src[i].data);
        }
    }

    // The elements' spare presence bits stay as the allocated memory holds them.
    template <unsigned Bit, class Record, class Element>
    ZIDL_INLINE void messages(Record &dst, Element *&member, uint32_t &count, const Element *src)
    {
        if (!allocate_array<Bit>(dst, member, count))
            return;
        for (uint32_t i = 0; i < count; ++i) {
            copy_record(member[i], src[i]);
            if constexpr (shape<Element>::owns_memory)
                duplicate_owned(*this, member[i], src[i]);
        }
    }

private:
    ZIDL_INLINE void *allocate(uint64_t size)
    {
        const bool may_ask = alloc_fn_ != nullptr && is_addressable(size);
        void *const memory = may_ask ? alloc_fn_(static_cast<size_t>(size), alloc_ctx_) : nullptr;
        if (ZIDL_UNLIKELY(memory == nullptr))
            status_ = ZIDL_ERR_NO_MEMORY;
        return memory;
    }

    ZIDL_INLINE void block(uint8_t *&member, uint64_t &size, const uint8_t *src)
    {
        member = size != 0 ? static_cast<uint8_t *>(allocate(size)) : nullptr;
        if (ZIDL_LIKELY(member != nullptr))
            copy_short(member, src, static_cast<size_t>(size));
        else
            size = 0;
    }

    // False when there is nothing to fill; an array that cannot be had is absent then.
    template <unsigned Bit, class Record, class Element>
    ZIDL_INLINE bool allocate_array(Record &dst, Element *&member, uint32_t &count)
    {
        if (count == 0) {
            member = nullptr;
            return false;
        }
        member = static_cast<Element *>(allocate(uint64_t{count} * sizeof(Element)));
        if (ZIDL_LIKELY(member != nullptr))
            return true;
        count = 0;
        clear_presence(dst, bit<Bit>);
        return false;
    }

    zidl_alloc_fn alloc_fn_;
    void *alloc_ctx_;
    int32_t status_ = ZIDL_OK;
};

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
