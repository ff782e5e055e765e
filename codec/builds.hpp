// Which build of a group's source this is.
//
// Without ZIDL_DISPATCH there is one, with everything, and the exported functions are what the compiler's flags make of them.
// With it the source is compiled for every processor, and once more for those with BMI2:
//   once      everything that has one build alone: nearly all, and all that is dispatched but not quick
//   baseline  encoders and decoders of messages that are dispatched, for every processor
//   bmi2      the same for processors that deal out and gather bits in one instruction
// The first two are one build, unless ZIDL_ONCE_ALONE or ZIDL_BASELINE_ALONE asks for one of them, which is for those who give
// them different flags.

#pragma once

// Everything below codec/ and messages/ lives in an inline namespace named after the instruction set it is compiled for,
// so that one library can hold several builds of the same code.
#ifndef ZIDL_VARIANT
#ifdef __BMI2__
#define ZIDL_VARIANT bmi2
#else
#define ZIDL_VARIANT baseline
#endif
#endif

#if defined(ZIDL_DISPATCH) && defined(__BMI2__)
#define ZIDL_BMI2_BUILD
#define ZIDL_DISPATCHED_BUILD
#else
#ifndef ZIDL_BASELINE_ALONE
#define ZIDL_ONCE_BUILD
#endif
#ifndef ZIDL_ONCE_ALONE
#define ZIDL_DISPATCHED_BUILD
#endif
#endif

// What one build defines for all stands in the baseline's namespace.
#ifdef ZIDL_BMI2_BUILD
#define ZIDL_COMMON_NAMESPACE namespace baseline
#else
#define ZIDL_COMMON_NAMESPACE inline namespace ZIDL_VARIANT
#endif

// The name of a function of which every build has a copy.
#ifndef ZIDL_DISPATCH
#define ZIDL_BUILD(name) name
#elif defined(ZIDL_BMI2_BUILD)
#define ZIDL_BUILD(name) name##_bmi2
#else
#define ZIDL_BUILD(name) name##_baseline
#endif
