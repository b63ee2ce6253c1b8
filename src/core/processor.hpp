// What the processor at hand can do beyond the baseline that the library is compiled for.
#ifndef ZQSP_CORE_PROCESSOR_HPP
#define ZQSP_CORE_PROCESSOR_HPP

#ifdef __x86_64__
#include <immintrin.h>
/// Marks a function that may be called only where haveAvx512() holds.
#define ZQSP_AVX512 __attribute__((target("avx512f,popcnt")))
#endif

namespace zqsp {

/// Whether there are registers of 512 bits, with their basic instructions. Never in a build that asks for portable
/// loops.
inline bool haveAvx512()
{
#if defined(__x86_64__) && !defined(ZQSP_PORTABLE_LOOPS)
    static const bool have = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("popcnt");
    return have;
#else
    return false;
#endif
}

} // namespace zqsp

#endif
