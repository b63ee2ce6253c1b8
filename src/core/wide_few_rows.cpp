#include "core/wide_few_rows.hpp"

#ifdef __x86_64__

namespace zqsp::wide {

void FewRows::add(unsigned row)
{
    const unsigned product = row * kMultiplier;
    first_[product >> kWord] |= 1U << (product >> kBit) % 32;
    const unsigned next = product << kNext;
    second_[next >> kWord] |= 1U << (next >> kBit) % 32;
}

ZQSP_AVX512 unsigned FewRows::firstGroup(const unsigned* ir, unsigned begin, unsigned end, unsigned& lanes) const
{
    const __m512i multiplier = _mm512_set1_epi32(static_cast<int>(kMultiplier));
    const __m512i one = _mm512_set1_epi32(1);
    const __m512i lowFirst = _mm512_loadu_si512(first_.data());
    const __m512i highFirst = _mm512_loadu_si512(first_.data() + kLanes);
    const __m512i lowSecond = _mm512_loadu_si512(second_.data());
    const __m512i highSecond = _mm512_loadu_si512(second_.data() + kLanes);
    for (; end - begin >= kLanes; begin += kLanes) {
        const __m512i product = _mm512_mullo_epi32(_mm512_loadu_si512(ir + begin), multiplier);
        const __m512i next = _mm512_slli_epi32(product, kNext);
        const __m512i first = _mm512_permutex2var_epi32(lowFirst, _mm512_srli_epi32(product, kWord), highFirst);
        const __m512i second = _mm512_permutex2var_epi32(lowSecond, _mm512_srli_epi32(next, kWord), highSecond);
        const __m512i firstBit = _mm512_rorv_epi32(first, _mm512_srli_epi32(product, kBit));
        const __m512i secondBit = _mm512_rorv_epi32(second, _mm512_srli_epi32(next, kBit));
        lanes = _mm512_test_epi32_mask(_mm512_and_si512(firstBit, secondBit), one);
        if (lanes != 0) {
            return begin;
        }
    }
    lanes = 0;
    return begin;
}

} // namespace zqsp::wide

#endif
