#include "kernels/avx512.hpp"
#include "kernels/lanes_avx512.hpp"

#include <algorithm>
#include <limits>

namespace zqsp::avx512 {

namespace {

ZQSP_AVX512 void rankRows(unsigned* rows, unsigned count, unsigned* ranks)
{
    std::fill_n(rows + count, kLanes, std::numeric_limits<unsigned>::max());
    if (count <= kLanes) {
        const __m512i all = _mm512_loadu_si512(rows);
        for (unsigned i = 0; i < count; ++i) {
            const __mmask16 below = _mm512_cmplt_epu32_mask(all, _mm512_set1_epi32(static_cast<int>(rows[i])));
            ranks[i] = ones(below);
        }
        return;
    }
    for (unsigned i = 0; i < count; ++i) {
        const __m512i own = _mm512_set1_epi32(static_cast<int>(rows[i]));
        unsigned rank = 0;
        for (unsigned v = 0; v < count; v += kLanes) {
            rank += ones(_mm512_cmplt_epu32_mask(_mm512_loadu_si512(rows + v), own));
        }
        ranks[i] = rank;
    }
}

} // namespace

void setRank(Kernels& table)
{
    table.rankRows = rankRows;
}

} // namespace zqsp::avx512
