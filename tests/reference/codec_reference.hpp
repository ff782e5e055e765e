// A second implementation of the four message operations, interpreted from the descriptors one byte at a time. It is
// slow and plain on purpose: tests hold the generated code against it. The contract is the one of codec/zidl.h.

#pragma once

#include "codec/zidl.h"
#include "messages/descriptors.hpp"

namespace codec_reference
{

size_t encode(const zidl::message_descriptor &type, const void *msg, uint8_t *buf, size_t buflen, zidl_segment *segs,
              uint32_t *nsegs, uint32_t flags);

int32_t decode(const zidl::message_descriptor &type, void *msg, const uint8_t *buf, size_t len, zidl_alloc_fn alloc_fn,
               void *alloc_ctx, uint32_t flags);

int32_t duplicate(const zidl::message_descriptor &type, void *dst, const void *src, zidl_alloc_fn alloc_fn,
                  void *alloc_ctx);

void release(const zidl::message_descriptor &type, void *msg, zidl_free_fn free_fn, void *free_ctx, uint32_t flags);

} // namespace codec_reference
