#include "kernels/compare_rows.hpp"
#include "kernels/portable.hpp"

namespace zqsp::portable {

/// One step along one of the lists or the other at a time, without a branch on the outcome: where the lists are about
/// as long, it would mostly be mispredicted.
Common intersectRest(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                     Common found, unsigned* inFirst, unsigned* inSecond)
{
    unsigned f = found.first;
    unsigned s = found.second;
    unsigned count = found.count;
    while (f < firstCount && s < secondCount) {
        const unsigned mine = first[f];
        const unsigned theirs = second[s];
        inFirst[count] = f;
        inSecond[count] = s;
        count += mine == theirs ? 1U : 0U;
        f += mine < theirs ? 1U : 0U;
        s += mine >= theirs ? 1U : 0U;
    }
    return {count, f, s};
}

/// Eight of the one list are compared with eight of the other at a time, and gone through step by step only where they
/// have some in common. Measured on lists that mostly differ: a quarter of the time of steps alone.
Common intersect(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                 unsigned* inFirst, unsigned* inSecond)
{
    Common found{0, 0, 0};
    auto& [count, f, s] = found;
    while (firstCount - f >= kCompared && secondCount - s >= kCompared) {
        if (haveCommon(first + f, second + s)) {
            found = intersectRest(first, f + kCompared, second, s + kCompared, found, inFirst, inSecond);
            continue;
        }
        const bool secondEnds = second[s + kCompared - 1] < first[f + kCompared - 1];
        s += valueIf(secondEnds, kCompared);
        f += valueIf(!secondEnds, kCompared);
    }
    return intersectRest(first, firstCount, second, secondCount, found, inFirst, inSecond);
}

} // namespace zqsp::portable
