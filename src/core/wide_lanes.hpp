// What all loops for registers of 512 bits say of their sixteen lanes. To be called where haveAvx512().
#ifndef ZQSP_CORE_WIDE_LANES_HPP
#define ZQSP_CORE_WIDE_LANES_HPP

#include "core/processor.hpp"

#ifdef __x86_64__

namespace zqsp::wide {

/// The first `count` lanes; all where there are more.
ZQSP_AVX512 inline __mmask16 lanesOf(unsigned count)
{
    return static_cast<__mmask16>(count >= kLanes ? 0xFFFFU : (1U << count) - 1);
}

/// 0, 1, ..., 15.
ZQSP_AVX512 inline __m512i laneNumbers()
{
    return _mm512_set_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
}

ZQSP_AVX512 inline unsigned ones(unsigned bits)
{
    return static_cast<unsigned>(__builtin_popcount(bits));
}

} // namespace zqsp::wide

#endif

#endif
