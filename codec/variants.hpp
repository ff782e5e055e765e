// Two builds of the same operation in one library, and the choice between them.
//   baseline  for every processor
//   bmi2      for those that deal out and gather bits in one instruction
// Messages that their schema says to dispatch have an encoder and a decoder in both builds, under names of their own, and
// the dynamic linker binds the exported name to one of them (processor.hpp says what can be asked so early). Everything else
// is in the baseline build alone.
//
// With ZIDL_DISPATCH a group's source is compiled twice, the second time for BMI2; without, once, and then the exported
// functions are what the compiler's flags make of them.

#pragma once

#include "codec/wire.hpp"

#if !defined(ZIDL_DISPATCH)

#define ZIDL_BASELINE(name) name
#define ZIDL_DISPATCHED(name)

#elif defined(__BMI2__)

#define ZIDL_BMI2_BUILD

#else

#include "codec/processor.hpp"

#define ZIDL_BASELINE(name) name##_baseline
#define ZIDL_DISPATCHED(name)                                                                                          \
    decltype(name) name##_bmi2 __attribute__((visibility("hidden")));                                                  \
    __attribute__((used, no_stack_protector)) decltype(&name) name##_chosen()                                          \
    {                                                                                                                  \
        return zidl::processor::has(zidl::processor::moves_bits) ? name##_bmi2 : name##_baseline;                      \
    }                                                                                                                  \
    decltype(name) name __attribute__((ifunc(#name "_chosen")));

#endif
