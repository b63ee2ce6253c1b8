#include "core/wide_intersection.hpp"

#include "core/search.hpp"
#include "core/wide_lanes.hpp"

#include <algorithm>

namespace zqsp::wide {

#ifdef __x86_64__
namespace {

/// Which of sixteen numbers are among sixteen others.
ZQSP_AVX512 inline __mmask16 membersOf(const unsigned* others, const unsigned* numbers)
{
    const __m512i asked = _mm512_loadu_si512(numbers);
    __mmask16 found = 0;
    for (unsigned i = 0; i < kLanes; ++i) {
        found = _kor_mask16(found, _mm512_cmpeq_epi32_mask(asked, _mm512_set1_epi32(static_cast<int>(others[i]))));
    }
    return found;
}

ZQSP_AVX512 inline void storeLanes(__mmask16 lanes, unsigned base, unsigned* to)
{
    const __m512i numbered = _mm512_add_epi32(laneNumbers(), _mm512_set1_epi32(static_cast<int>(base)));
    _mm512_storeu_si512(to, _mm512_maskz_compress_epi32(lanes, numbered));
}

} // namespace

ZQSP_AVX512 bool Intersection::next(Finds& finds)
{
    finds.count = 0;
    while (finds.count == 0 && firstCount_ - first_ >= kLanes && secondCount_ - second_ >= kLanes) {
        const unsigned* const mine = firstList_ + first_;
        const unsigned* const theirs = secondList_ + second_;
        if (const __mmask16 found = membersOf(mine, theirs); found != 0) {
            const __mmask16 from = membersOf(theirs, mine);
            finds.count = ones(found);
            storeLanes(found, second_, finds.second.data());
            storeLanes(from, first_, finds.first.data());
            if (finds.count != ones(from)) { // repeats: several are the same one
                for (unsigned i = 0; i < finds.count; ++i) {
                    const unsigned* const one = std::find(mine, mine + kLanes, secondList_[finds.second[i]]);
                    finds.first[i] = static_cast<unsigned>(one - firstList_);
                }
            }
        }
        // Whichever ends first is done; of equal ends the second list, which may repeat.
        const bool secondEnds = theirs[kLanes - 1] <= mine[kLanes - 1];
        second_ += valueIf(secondEnds, kLanes);
        first_ += valueIf(!secondEnds, kLanes);
    }
    return finds.count != 0;
}
#else
bool Intersection::next(Finds&)
{
    return false;
}
#endif

} // namespace zqsp::wide
