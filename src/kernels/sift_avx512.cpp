#include "kernels/avx512.hpp"
#include "kernels/choice_avx512.hpp"
#include "kernels/lanes_avx512.hpp"
#include "kernels/portable.hpp"

namespace zqsp::avx512 {

namespace {

ZQSP_AVX512 unsigned siftByTable(const RowWord* rows, const unsigned* ir, unsigned begin, unsigned end, unsigned* found)
{
    __m512i positions = _mm512_add_epi32(laneNumbers(), inAll(begin));
    unsigned count = 0;
    for (; end - begin >= kLanes; begin += kLanes) {
        const __mmask16 selected = choose(ir + begin, RankedRows{rows}).selected;
        _mm512_storeu_si512(found + count, _mm512_maskz_compress_epi32(selected, positions));
        positions = _mm512_add_epi32(positions, _mm512_set1_epi32(kLanes));
        count += ones(selected);
    }
    return count + portable::siftRows(rows, nullptr, ir, begin, end, found + count);
}

/// Measured: with a filter of few rows half the time of looking rows up in a table.
ZQSP_AVX512 unsigned siftRows(const RowWord* rows, const FewRows* few, const unsigned* ir, unsigned begin, unsigned end,
                              unsigned* found)
{
    if (few == nullptr) {
        return siftByTable(rows, ir, begin, end, found);
    }
    const __m512i multiplier = inAll(kHashMultiplier);
    const __m512i one = _mm512_set1_epi32(1);
    const __m512i lowFirst = _mm512_loadu_si512(few->first());
    const __m512i highFirst = _mm512_loadu_si512(few->first() + kLanes);
    const __m512i lowSecond = _mm512_loadu_si512(few->second());
    const __m512i highSecond = _mm512_loadu_si512(few->second() + kLanes);
    unsigned count = 0;
    for (; end - begin >= kLanes; begin += kLanes) {
        const __m512i product = _mm512_mullo_epi32(_mm512_loadu_si512(ir + begin), multiplier);
        const __m512i next = _mm512_slli_epi32(product, FewRows::kNext);
        const __m512i first =
            _mm512_permutex2var_epi32(lowFirst, _mm512_srli_epi32(product, FewRows::kWord), highFirst);
        const __m512i second =
            _mm512_permutex2var_epi32(lowSecond, _mm512_srli_epi32(next, FewRows::kWord), highSecond);
        const __m512i firstBit = _mm512_rorv_epi32(first, _mm512_srli_epi32(product, FewRows::kBit));
        const __m512i secondBit = _mm512_rorv_epi32(second, _mm512_srli_epi32(next, FewRows::kBit));
        // One group in five at most is mistaken for one that has a row.
        unsigned lanes = _mm512_test_epi32_mask(_mm512_and_si512(firstBit, secondBit), one);
        for (; lanes != 0; lanes &= lanes - 1) {
            const unsigned e = begin + static_cast<unsigned>(__builtin_ctz(lanes));
            if (rows[ir[e] / RowWord::kBits].has(ir[e])) {
                found[count++] = e;
            }
        }
    }
    return count + portable::siftRows(rows, few, ir, begin, end, found + count);
}

} // namespace

void setSift(Kernels& table)
{
    table.siftRows = siftRows;
}

} // namespace zqsp::avx512
