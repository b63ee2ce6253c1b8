// What the processor at hand can do beyond the baseline that the library is compiled for.
#ifndef ZQSP_CORE_PROCESSOR_HPP
#define ZQSP_CORE_PROCESSOR_HPP

#ifdef __x86_64__
// g++ 12 takes its own way of writing "no value" for the use of one.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop
/// Marks a function that may be called only where haveAvx512() holds.
#define ZQSP_AVX512 __attribute__((target("avx512f,avx512bw,avx512vpopcntdq,popcnt")))
/// The same for havePopcount().
#define ZQSP_POPCOUNT __attribute__((target("popcnt")))
#else
#define ZQSP_POPCOUNT
#endif

namespace zqsp {

namespace wide {

/// Whether the loops for registers of 512 bits are there at all. They may be called where haveAvx512().
#ifdef __x86_64__
inline constexpr bool kCompiled = true;
#else
inline constexpr bool kCompiled = false;
#endif

/// Words of 32 bits in a register of 512.
inline constexpr unsigned kLanes = 16;

} // namespace wide

/// Whether there are registers of 512 bits, with the instructions on bytes and the counting of ones. Never in a build
/// that asks for portable loops.
inline bool haveAvx512()
{
#if defined(__x86_64__) && !defined(ZQSP_PORTABLE_LOOPS)
    static const bool have = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                             __builtin_cpu_supports("avx512vpopcntdq") && __builtin_cpu_supports("popcnt");
    return have;
#else
    return false;
#endif
}

/// Whether there is an instruction that counts ones, which the baseline lacks and few processors do.
inline bool havePopcount()
{
#ifdef __x86_64__
    static const bool have = __builtin_cpu_supports("popcnt");
    return have;
#else
    return false;
#endif
}

} // namespace zqsp

#endif
