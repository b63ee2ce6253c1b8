#include "kernels/avx512.hpp"
#include "kernels/lanes_avx512.hpp"

namespace zqsp::avx512 {

namespace {

/// Measured: a third of the time of registers of 128 bits.
ZQSP_AVX512 bool storeIndices(const double* values, unsigned count, double highest, unsigned* indices)
{
    constexpr unsigned kHalf = kLanes / 2;
    const __m512d good = _mm512_set1_pd(1); // in the lanes behind the last value
    const __m512i one = _mm512_set1_epi32(1);
    const __m512i top = _mm512_set1_epi32(static_cast<int>(highest));
    unsigned bad = 0;
    for (unsigned i = 0; i < count; i += kLanes) {
        const __mmask16 lanes = lanesOf(count - i);
        const __m512d low = _mm512_mask_loadu_pd(good, static_cast<__mmask8>(lanes), values + i);
        const __m512d high = _mm512_mask_loadu_pd(good, static_cast<__mmask8>(lanes >> kHalf), values + i + kHalf);
        const __m256i lowWords = _mm512_cvttpd_epi32(low); // the lowest word for what cannot be converted
        const __m256i highWords = _mm512_cvttpd_epi32(high);
        bad |= _mm512_cmp_pd_mask(_mm512_cvtepi32_pd(lowWords), low, _CMP_NEQ_UQ);
        bad |= _mm512_cmp_pd_mask(_mm512_cvtepi32_pd(highWords), high, _CMP_NEQ_UQ);
        const __m512i words = _mm512_inserti64x4(_mm512_castsi256_si512(lowWords), highWords, 1);
        const __m512i found = _mm512_sub_epi32(words, one);
        bad |= _mm512_cmpge_epu32_mask(found, top);
        _mm512_mask_storeu_epi32(indices + i, lanes, found);
    }
    return bad == 0;
}

ZQSP_AVX512 Steps stepsTo(const unsigned* indices, unsigned count, unsigned expected)
{
    const __m512i step = _mm512_set1_epi32(static_cast<int>(expected));
    unsigned falls = 0;
    unsigned rises = 0;
    unsigned others = 0;
    const unsigned* const before = indices - 1;
    for (unsigned i = 0; i < count; i += kLanes) {
        const __mmask16 lanes = lanesOf(count - i);
        const __m512i to = _mm512_maskz_loadu_epi32(lanes, indices + i);
        const __m512i from = _mm512_maskz_loadu_epi32(lanes, before + i);
        falls |= _mm512_mask_cmplt_epu32_mask(lanes, to, from);
        rises |= _mm512_mask_cmpgt_epu32_mask(lanes, to, from);
        others |= _mm512_mask_cmpneq_epi32_mask(lanes, _mm512_sub_epi32(to, from), step);
    }
    return {falls != 0, rises != 0, others != 0};
}

} // namespace

void setNumbers(Kernels& table)
{
    table.storeIndices = storeIndices;
    table.stepsTo = stepsTo;
}

} // namespace zqsp::avx512
