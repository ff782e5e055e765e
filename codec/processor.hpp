// What the processor can. It is asked once a load, since a hypervisor takes microseconds for each answer.
//
// The answer is one word that starts as a constant and that nothing but code of the same shared object or program reaches.
// So the dynamic linker's resolvers may read it while nothing is relocated yet, and functions here do without what the C
// library sets up for a thread: no stack protector. Threads may ask at the same time: all store the same word.

#pragma once

#if defined(__x86_64__)

#include <cstdint>

#include <cpuid.h>

#pragma GCC visibility push(hidden)

namespace zidl::detail::processor
{

enum ability : uint32_t {
    known = 1 << 0,         // the processor has been asked
    moves_bits = 1 << 1,    // BMI1 and BMI2, and they are quick
    fills_by_word = 1 << 2, // AVX2, and a loop clears kilobytes sooner than the string instructions of the C library do
};

inline uint32_t abilities = 0;

// The system saves the upper halves of the vector registers when it changes threads.
__attribute__((always_inline)) inline bool system_keeps_vectors(uint32_t features)
{
    constexpr uint32_t xsave_in_use = 1U << 27;
    constexpr uint32_t sse_and_avx = 6;
    if ((features & xsave_in_use) == 0)
        return false;
    uint32_t kept, upper;
    __asm__ volatile("xgetbv" : "=a"(kept), "=d"(upper) : "c"(0)); // not before the test above: it would fault
    return (kept & sse_and_avx) == sse_and_avx;
}

__attribute__((noinline, cold, no_stack_protector)) inline uint32_t ask()
{
    constexpr uint32_t end_of_amd = 0x444d4163;   // "cAMD", the last letters of the maker's name
    constexpr uint32_t end_of_hygon = 0x656e6975; // "uine"
    constexpr uint32_t bmi = 1U << 3, avx2 = 1U << 5, bmi2 = 1U << 8;

    uint32_t eax, ebx, ecx, edx;
    __cpuid(0, eax, ebx, ecx, edx);
    const uint32_t maker = ecx;
    uint32_t found = known;
    if (eax >= 7) {
        uint32_t signature, features;
        __cpuid(1, signature, ebx, features, edx);
        __cpuid_count(7, 0, eax, ebx, ecx, edx);
        // Families 17h and 18h have the instructions, too, but take up to three hundred cycles for one.
        const uint32_t family = (signature >> 8 & 0xf) + (signature >> 20 & 0xff);
        if ((ebx & bmi) != 0 && (ebx & bmi2) != 0 && family != 0x17 && family != 0x18)
            found |= moves_bits;
        // Other makers' string instructions fill a line a cycle, and a loop's stores would hold up the loads behind it.
        if ((maker == end_of_amd || maker == end_of_hygon) && (ebx & avx2) != 0 && system_keeps_vectors(features))
            found |= fills_by_word;
    }
    __atomic_store_n(&abilities, found, __ATOMIC_RELAXED);
    return found;
}

__attribute__((always_inline)) inline bool has(ability wanted)
{
    uint32_t found = __atomic_load_n(&abilities, __ATOMIC_RELAXED);
    if (__builtin_expect(found == 0, 0))
        found = ask();
    return (found & wanted) != 0;
}

} // namespace zidl::detail::processor

#pragma GCC visibility pop

#endif
