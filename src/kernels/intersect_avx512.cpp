#include "kernels/avx512.hpp"
#include "kernels/lanes_avx512.hpp"
#include "kernels/portable.hpp"

#include <algorithm>

namespace zqsp::avx512 {

namespace {

/// Which of sixteen numbers are among sixteen others.
ZQSP_AVX512 inline __mmask16 membersOf(const unsigned* others, const unsigned* numbers)
{
    const __m512i asked = _mm512_loadu_si512(numbers);
    __mmask16 found = 0;
    for (unsigned i = 0; i < kLanes; ++i) {
        found = _kor_mask16(found, _mm512_cmpeq_epi32_mask(asked, inAll(others[i])));
    }
    return found;
}

/// Sixteen of the one list are compared with sixteen of the other at a time, whatever comes of it. Measured: a fifth of
/// the time of galloping. (The scheme is that of Schlegel, Willhalm and Lehner, 2011.)
ZQSP_AVX512 Common intersect(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                             unsigned* inFirst, unsigned* inSecond)
{
    unsigned f = 0;
    unsigned s = 0;
    unsigned count = 0;
    while (firstCount - f >= kLanes && secondCount - s >= kLanes) {
        const unsigned* const mine = first + f;
        const unsigned* const theirs = second + s;
        if (const __mmask16 found = membersOf(mine, theirs); found != 0) {
            const __mmask16 from = membersOf(theirs, mine);
            storeLaneNumbers(found, s, inSecond + count);
            storeLaneNumbers(from, f, inFirst + count);
            if (ones(found) != ones(from)) { // repeats: several are the same one
                for (unsigned i = count; i < count + ones(found); ++i) {
                    inFirst[i] = static_cast<unsigned>(std::find(mine, mine + kLanes, second[inSecond[i]]) - first);
                }
            }
            count += ones(found);
        }
        // Whichever ends first is done; of equal ends the second list, which may repeat.
        const bool secondEnds = theirs[kLanes - 1] <= mine[kLanes - 1];
        s += valueIf(secondEnds, kLanes);
        f += valueIf(!secondEnds, kLanes);
    }
    return portable::intersectRest(first, firstCount, second, secondCount, {count, f, s}, inFirst, inSecond);
}

} // namespace

void setIntersect(Kernels& table)
{
    table.intersect = intersect;
}

} // namespace zqsp::avx512
