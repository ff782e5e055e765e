// The four operations as the exported functions call them, for any record type: they choose the writer, reset the
// record, set out the context.

#pragma once

#include "codec/decode/fields.hpp"
#include "codec/duplicate.hpp"
#include "codec/encode/exact_writer.hpp"
#include "codec/encode/fast_writer.hpp"
#include "codec/encode/fields.hpp"
#include "codec/release.hpp"

namespace zidl
{
inline namespace ZIDL_VARIANT
{

// Beyond any encoding whose sizes are trusted. (An unchecked writer in place of a fast one without a limit was tried: see
// docs/performance.md, "What made it fast, and what did not".)
constexpr size_t unlimited = size_t{1} << 40;

template <class Record>
ZIDL_COLD size_t encode_exact(const Record &msg, uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t *nsegs,
                              uint32_t flags)
{
    exact_output out(buf, buflen, segs, nsegs, flags);
    encode(exact_writer{&out}, msg);
    return out.finish(nsegs);
}

// Where the fast writer may write to. Into a small buffer it writes only what is known to fit, and then without looking at
// the end any more; a large one it simply tries.
template <class Record>
ZIDL_INLINE fast_writer writer_for(const Record &msg, uint8_t *buf, size_t buflen)
{
    if (ZIDL_LIKELY(buflen >= measured_below))
        return {buf, buf + buflen};
    if (certainly_fits(msg, buflen))
        return {buf, buf + unlimited};
    return {nullptr, nullptr};
}

// The end of the encoding; null where the buffer does not suffice.
template <class Record>
ZIDL_INLINE uint8_t *encode_fast(const Record &msg, uint8_t *buf, size_t buflen)
{
    if constexpr (shape<Record>::is_bounded) {
        const bool fits = ZIDL_LIKELY(bound_fits<0>(msg, buflen)) || certainly_fits(msg, buflen);
        return ZIDL_LIKELY(fits) ? encode(unchecked_writer(buf), msg).pos : nullptr;
    } else {
        const fast_writer out = writer_for(msg, buf, buflen);
        return ZIDL_LIKELY(!out.failed()) ? encode(out, msg).pos : nullptr;
    }
}

constexpr size_t not_written = SIZE_MAX;

// What does without the exact writer. The encoding's length, unless segments are listed, bytes are borrowed or the buffer
// does not suffice: `not_written` then.
template <class Record>
ZIDL_INLINE size_t encode_quickly(const Record &msg, uint8_t *buf, size_t buflen, const uint32_t *nsegs, uint32_t flags)
{
    const bool borrow = shape<Record>::holds_bytes && (flags & ZIDL_ZERO_COPY) != 0;
    prefetch(&msg, 1);
    if (ZIDL_UNLIKELY(nsegs != nullptr))
        return not_written;
    if (buflen == 0)
        return encoded_size(msg, flags);
    if (ZIDL_UNLIKELY(borrow))
        return not_written;
    const uint8_t *const end = encode_fast(msg, buf, buflen);
    return ZIDL_LIKELY(end != nullptr) ? static_cast<size_t>(end - buf) : not_written;
}

template <class Record>
ZIDL_INLINE size_t encode_ext(const Record &msg, uint8_t *buf, size_t buflen, zidl_segment *segs, uint32_t *nsegs,
                              uint32_t flags)
{
    static_assert(bounds_are_right<Record>(),
                  "the schema compiler and the codec disagree on what a field takes at most");
    const size_t len = encode_quickly(msg, buf, buflen, nsegs, flags);
    return ZIDL_LIKELY(len != not_written) ? len : encode_exact(msg, buf, buflen, segs, nsegs, flags);
}

template <class Record>
ZIDL_INLINE int32_t decode_ext(Record &msg, const uint8_t *buf, size_t len, zidl_alloc_fn alloc_fn, void *alloc_ctx,
                               uint32_t flags)
{
    reset(msg);
    if (len == 0)
        return ZIDL_OK;
    const uint8_t *const wide_end = len >= sizeof(uint64_t) ? buf + len - sizeof(uint64_t) : nullptr;
    const uint8_t *const window_end = len >= window_size ? buf + len - window_size : nullptr;
    const decode_context context{alloc_fn, alloc_ctx, wide_end, window_end, (flags & ZIDL_ZERO_COPY) != 0};
    return decode(msg, buf, buf + len, context);
}

template <class Record>
ZIDL_INLINE int32_t duplicate(Record &dst, const Record &src, zidl_alloc_fn alloc_fn, void *alloc_ctx)
{
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
} // namespace zidl
