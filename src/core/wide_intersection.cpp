#include "core/wide_intersection.hpp"

#include "core/search.hpp"

#include <bit>

namespace zqsp::wide {

#ifdef __x86_64__
ZQSP_AVX512 bool Intersection::next(Finds& finds)
{
    const __m512i start = _mm512_set1_epi32(static_cast<int>(start_));
    finds.count = 0;
    while (finds.count == 0 && rowCount_ - row_ >= kLanes && positionCount_ - position_ >= kLanes) {
        const unsigned* const rows = rows_ + row_;
        const unsigned* const positions = positions_ + position_;
        const __m512i wanted = _mm512_sub_epi32(_mm512_loadu_si512(positions), start);
        std::array<unsigned, kLanes> same;
        unsigned any = 0;
        for (unsigned i = 0; i < kLanes; ++i) {
            same[i] = _mm512_cmpeq_epi32_mask(wanted, _mm512_set1_epi32(static_cast<int>(rows[i])));
            any |= same[i];
        }
        for (unsigned i = 0; i < kLanes && any != 0; ++i) {
            for (unsigned lanes = same[i]; lanes != 0; lanes &= lanes - 1) {
                finds.row[finds.count] = row_ + i;
                finds.position[finds.count++] = position_ + static_cast<unsigned>(std::countr_zero(lanes));
            }
        }
        // Whichever ends first is done; of equal ends the positions, which may be repeated.
        const bool positionsEnd = positions[kLanes - 1] - start_ <= rows[kLanes - 1];
        position_ += valueIf(positionsEnd, kLanes);
        row_ += valueIf(!positionsEnd, kLanes);
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
