#include "kernels/avx512.hpp"
#include "kernels/lanes_avx512.hpp"

namespace zqsp::avx512 {

namespace {

ZQSP_AVX512 void rankRows(const unsigned* rows, unsigned count, unsigned* ranks)
{
    if (count <= kLanes) {
        const __mmask16 lanes = lanesOf(count);
        const __m512i all = _mm512_maskz_loadu_epi32(lanes, rows);
        for (unsigned i = 0; i < count; ++i) {
            const __mmask16 below = _mm512_mask_cmplt_epu32_mask(lanes, all, inAll(rows[i]));
            ranks[i] = ones(below);
        }
        return;
    }
    const unsigned whole = count / kLanes * kLanes;
    const __mmask16 lanes = lanesOf(count - whole);
    const __m512i last = _mm512_maskz_loadu_epi32(lanes, rows + whole);
    for (unsigned i = 0; i < count; ++i) {
        const __m512i own = inAll(rows[i]);
        unsigned rank = 0;
        for (unsigned v = 0; v < whole; v += kLanes) {
            rank += ones(_mm512_cmplt_epu32_mask(_mm512_loadu_si512(rows + v), own));
        }
        rank += ones(_mm512_mask_cmplt_epu32_mask(lanes, last, own));
        ranks[i] = rank;
    }
}

} // namespace

void setRank(Kernels& table)
{
    table.rankRows = rankRows;
}

} // namespace zqsp::avx512
