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

Common intersect(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                 unsigned* inFirst, unsigned* inSecond)
{
    return intersectRest(first, firstCount, second, secondCount, {0, 0, 0}, inFirst, inSecond);
}

} // namespace zqsp::portable
