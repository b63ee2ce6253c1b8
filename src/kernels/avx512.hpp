// What the files of loops for registers of 512 bits share. They may be run only where choose.cpp finds the
// instructions.
#ifndef ZQSP_KERNELS_AVX512_HPP
#define ZQSP_KERNELS_AVX512_HPP

#include "kernels/kernels.hpp"

// g++ 12 takes its own way of writing "no value" for the use of one.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop

/// Marks a function of these loops. (Where the instructions are emulated, the emulation defines it empty.)
#ifndef ZQSP_AVX512
#define ZQSP_AVX512 __attribute__((target("avx512f,avx512bw,avx512vpopcntdq,popcnt")))
#endif

namespace zqsp::avx512 {

/// Puts the loops over entries into a table.
void setEntries(Kernels& table);

/// Words of 32 bits in a register.
inline constexpr unsigned kLanes = 16;

/// The first `count` lanes; all where there are more.
ZQSP_AVX512 inline __mmask16 lanesOf(unsigned count)
{
    return static_cast<__mmask16>(count >= kLanes ? 0xFFFFU : (1U << count) - 1);
}

ZQSP_AVX512 inline __m512i inAll(unsigned word)
{
    return _mm512_set1_epi32(static_cast<int>(word));
}

/// 0, 1, ..., 15.
ZQSP_AVX512 inline __m512i laneNumbers()
{
    return _mm512_set_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
}

} // namespace zqsp::avx512

#endif
