// Two builds of the same operation in one library, and the choice between them.
//   baseline  for every processor
//   bmi2      for those that deal out and gather bits in one instruction
// Messages that their schema says to dispatch have an encoder and a decoder in both builds, under names of their own, and
// the dynamic linker binds the exported name to one of them; it asks once. Nothing is kept, nothing is asked later.
// Everything else is in the baseline build alone.
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

#include <cpuid.h>

#define ZIDL_BASELINE(name) name##_baseline
#define ZIDL_DISPATCHED(name)                                                                                          \
    decltype(name) name##_bmi2 __attribute__((visibility("hidden")));                                                  \
    __attribute__((used, no_stack_protector)) decltype(&name) name##_chosen()                                          \
    {                                                                                                                  \
        return zidl::moves_bits_quickly() ? name##_bmi2 : name##_baseline;                                             \
    }                                                                                                                  \
    decltype(name) name __attribute__((ifunc(#name "_chosen")));

namespace zidl
{

// In registers alone and unguarded: the linker asks before the program is set up.
ZIDL_INLINE bool moves_bits_quickly()
{
    constexpr unsigned features = 7;
    constexpr unsigned bmi = 1U << 3;
    constexpr unsigned bmi2 = 1U << 8;
    unsigned eax, ebx, ecx, edx;
    __cpuid(0, eax, ebx, ecx, edx);
    if (eax < features)
        return false;
    // Families 17h and 18h have the instructions, too, but take up to three hundred cycles for one.
    __cpuid(1, eax, ebx, ecx, edx);
    const unsigned family = (eax >> 8 & 0xf) + (eax >> 20 & 0xff);
    if (family == 0x17 || family == 0x18)
        return false;
    __cpuid_count(features, 0, eax, ebx, ecx, edx);
    return (ebx & bmi) != 0 && (ebx & bmi2) != 0;
}

} // namespace zidl

#endif
