#include "reference/column_sorter.hpp"

#include "core/wide_lanes.hpp"

#include <algorithm>
#include <cstdint>

namespace zqsp {

namespace {

using wide::kLanes; // and as many as are worth ranking in narrower registers

#ifdef __x86_64__
/// `rows` has whole registers, what lies behind the `count` rows being higher than these.
ZQSP_AVX512 void rankWide(const unsigned* rows, unsigned count, unsigned* ranks)
{
    if (count <= kLanes) {
        const __m512i all = _mm512_loadu_si512(rows);
        for (unsigned i = 0; i < count; ++i) {
            const __mmask16 below = _mm512_cmplt_epu32_mask(all, _mm512_set1_epi32(static_cast<int>(rows[i])));
            ranks[i] = wide::ones(below);
        }
        return;
    }
    for (unsigned i = 0; i < count; ++i) {
        const __m512i own = _mm512_set1_epi32(static_cast<int>(rows[i]));
        unsigned rank = 0;
        for (unsigned v = 0; v < count; v += kLanes) {
            rank += wide::ones(_mm512_cmplt_epu32_mask(_mm512_loadu_si512(rows + v), own));
        }
        ranks[i] = rank;
    }
}
#endif

/// The same for at most sixteen rows. Baseline registers compare signed words: the order of the rows is kept by turning
/// their highest bits.
void rankNarrow(const unsigned* rows, unsigned count, unsigned* ranks)
{
    constexpr unsigned kSign = 0x80000000U;
    std::array<std::int32_t, kLanes> ordered;
    for (unsigned i = 0; i < kLanes; ++i) {
        ordered[i] = static_cast<std::int32_t>(rows[i] ^ kSign);
    }
    for (unsigned i = 0; i < count; ++i) {
        int before = 0;
        for (const std::int32_t other : ordered) {
            before += other < ordered[i] ? 1 : 0;
        }
        ranks[i] = static_cast<unsigned>(before);
    }
}

} // namespace

ColumnSorter::ColumnSorter(unsigned longest, unsigned highest, bool sorts)
    : mostRanked_(haveAvx512() ? kMostRanked : kLanes),
      rows_(Block<unsigned>::make(std::size_t{longest} + kLanes)),
      sources_(Block<unsigned>::make(std::size_t{longest} + kLanes)),
      sorter_(sorts && longest > mostRanked_ ? longest : 0, highest)
{
    if (sorts && longest > mostRanked_) {
        keys_ = Block<Key>::make(longest);
    }
}

void ColumnSorter::rank(unsigned count)
{
    std::fill_n(rows_.get() + count, kLanes - count % kLanes, UINT32_MAX);
#ifdef __x86_64__
    if (haveAvx512()) {
        rankWide(rows_.get(), count, ranks_.data());
        return;
    }
#endif
    rankNarrow(rows_.get(), count, ranks_.data());
}

} // namespace zqsp
