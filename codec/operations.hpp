// The four operations as the exported functions call them, for any record type: they choose the writer, reset the
// record, set out the context.

#pragma once

#include "codec/built_once.hpp"
#include "codec/decode/fields.hpp"
#include "codec/decode/padded_input.hpp"
#include "codec/duplicate.hpp"
#include "codec/encode/exact_writer.hpp"
#include "codec/encode/fast_writer.hpp"
#include "codec/encode/fields.hpp"
#include "codec/release.hpp"

// (The formatter takes the namespace for a block.)
// clang-format off
namespace zidl::detail
{
ZIDL_COMMON_NAMESPACE
{

// As the contract has it for every buffer. Of a message that is dispatched there is one, see ZIDL_EXACT_ENCODER.
template <class Record>
ZIDL_COLD size_t encode_exact(const Record &msg, uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t *nsegs,
                              uint32_t flags)
#ifdef ZIDL_ONCE_BUILD
{
    exact_output out(buf, buflen, segs, nsegs, flags);
    encode(exact_writer{&out}, msg);
    return out.finish(nsegs);
}
#else
    ;
#endif

} // ZIDL_COMMON_NAMESPACE
} // namespace zidl::detail
// clang-format on

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

#ifdef ZIDL_BMI2_BUILD
using baseline::encode_exact;
#endif

// The end of an encoding that is stored beside a small buffer first and copied when it fits as a whole; null where it does
// not. While the buffer may suffice, nothing is measured: the block reaches so far beyond the buffer's end.
template <class Record>
ZIDL_NOINLINE uint8_t *encode_beside(const Record &msg, uint8_t *buf, size_t buflen)
{
    uint8_t beside[2 * measured_below];
    const uint8_t *const end = encode(fast_writer{beside, beside + measured_below + buflen}, msg).pos;
    if (end == nullptr)
        return nullptr;
    const size_t len = static_cast<size_t>(end - beside);
    if (len > buflen)
        return nullptr;
    memcpy(buf, beside, len);
    return buf + len;
}

// A caller may call a buffer longer than the address space: lengths are differences, which come out right all the same.
ZIDL_INLINE uint8_t *end_of(uint8_t *buf, size_t buflen)
{
    return reinterpret_cast<uint8_t *>(reinterpret_cast<uintptr_t>(buf) + buflen);
}

// The end of the encoding; null where the buffer does not suffice.
template <class Record>
ZIDL_INLINE uint8_t *encode_fast(const Record &msg, uint8_t *buf, size_t buflen)
{
    // Bytes that were stored too low must not remain where a string is left out. Bodies of bounded size move as well, but within
    // room that was made for all of them.
    constexpr bool stays_in_place = !bound_counter::counted<Record>().moves_bodies;
    if constexpr (shape<Record>::is_bounded) {
        if (ZIDL_LIKELY(bound_fits<0>(msg, buflen)))
            return encode(unchecked_writer(buf), msg).pos;
    }
    if constexpr (!shape<Record>::owns_memory)
        return measured(msg).len <= buflen ? encode(unchecked_writer(buf), msg).pos : nullptr;
    else if (stays_in_place || ZIDL_LIKELY(buflen >= measured_below))
        return encode(fast_writer{buf, end_of(buf, buflen)}, msg).pos;
    else
        return encode_beside(msg, buf, buflen);
}

template <class Record>
ZIDL_INLINE size_t encode_ext(const Record &msg, uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t *nsegs,
                              uint32_t flags)
{
    static_assert(bounds_are_right<Record>(),
                  "the schema compiler and the codec disagree on what a field takes at most");
    const bool borrow = shape<Record>::holds_bytes && (flags & ZIDL_ZERO_COPY) != 0;
    prefetch(&msg, 1);
    if (ZIDL_UNLIKELY(nsegs != nullptr))
        return encode_exact(msg, buf, buflen, segs, nsegs, flags);
    if (buflen == 0)
        return encoded_size(msg, flags);
    if (ZIDL_UNLIKELY(borrow))
        return encode_exact(msg, buf, buflen, nullptr, nullptr, flags);
    const uint8_t *const end = encode_fast(msg, buf, buflen);
    return ZIDL_LIKELY(end != nullptr) ? static_cast<size_t>(end - buf)
                                       : encode_exact(msg, buf, buflen, nullptr, nullptr, 0);
}

template <class Record>
ZIDL_INLINE int32_t decode_ext(Record &msg, const uint8_t *buf, size_t len, zidl_alloc_fn alloc_fn, void *alloc_ctx,
                               uint32_t flags)
{
    reset(msg);
    if (len == 0)
        return ZIDL_OK;
    // A short input gets room behind it. Not for types that own memory: their bytes may borrow the caller's buffer, and their
    // time goes into blocks.
    [[maybe_unused]] padded_input copy;
    size_t readable = len;
    if constexpr (!shape<Record>::owns_memory) {
        if (len <= padded_input::max_len) {
            copy.take(buf, len);
            buf = copy.begin();
            readable = copy.size();
        }
    }
    const uint8_t *const wide_end = readable >= sizeof(uint64_t) ? buf + readable - sizeof(uint64_t) : nullptr;
    const uint8_t *const window_end = readable >= window_size ? buf + readable - window_size : nullptr;
    const decode_context context{alloc_fn, alloc_ctx, wide_end, window_end, (flags & ZIDL_ZERO_COPY) != 0};
    return decode(msg, buf, buf + len, context);
}

template <class Record>
ZIDL_INLINE int32_t duplicate(Record &dst, const Record &src, zidl_alloc_fn alloc_fn, void *alloc_ctx)
{
    prefetch(&src, 1);
    copy_record(dst, src);
    if constexpr (shape<Record>::owns_memory) {
        copier mem(alloc_fn, alloc_ctx);
        duplicate_owned(mem, dst, src);
        return mem.status();
    }
    return ZIDL_OK;
}

template <class Record>
ZIDL_INLINE void free_ext(Record &msg, zidl_free_fn free_fn, void *free_ctx, uint32_t flags)
{
    if constexpr (shape<Record>::owns_memory)
        release(releaser{free_fn, free_ctx, (flags & ZIDL_ZERO_COPY) != 0}, msg);
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail
