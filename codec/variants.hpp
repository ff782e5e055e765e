// The choice between two builds of an operation in one library. Messages that their schema says to dispatch have an encoder
// and a decoder in both, under names of their own (builds.hpp), and the dynamic linker binds the exported name to one of them
// (processor.hpp says what can be asked so early).

#pragma once

#include "codec/wire.hpp"

#if !defined(ZIDL_DISPATCH) || !defined(ZIDL_ONCE_BUILD)

#define ZIDL_BUILT_ONCE(Record)
#define ZIDL_EXACT_ENCODER(Record)
#define ZIDL_DISPATCHED(name)

#else

#include "codec/processor.hpp"

// What the other builds have no copy of, see built_once.hpp and encode_exact.
#define ZIDL_BUILT_ONCE(Record) template struct zidl::detail::built_once<Record>;
#define ZIDL_EXACT_ENCODER(Record)                                                                                     \
    template size_t zidl::detail::encode_exact(const Record &, uint8_t *, size_t, zidl_segment *, uint32_t *, uint32_t);

#define ZIDL_DISPATCHED(name)                                                                                          \
    decltype(name) name##_baseline __attribute__((visibility("hidden")));                                              \
    decltype(name) name##_bmi2 __attribute__((visibility("hidden")));                                                  \
    __attribute__((used, no_stack_protector)) decltype(&name) name##_chosen()                                          \
    {                                                                                                                  \
        return zidl::detail::processor::has(zidl::detail::processor::moves_bits) ? name##_bmi2 : name##_baseline;      \
    }                                                                                                                  \
    decltype(name) name __attribute__((ifunc(#name "_chosen")));

#endif
