#include "kernels/portable.hpp"

namespace zqsp::portable {

/// Groups of eight, most of which have none: a branch for all of them is seldom taken.
unsigned siftRows(const FewRows& few, const unsigned* ir, unsigned begin, unsigned end, unsigned* found)
{
    constexpr unsigned kGroup = 8;
    unsigned count = 0;
    for (unsigned e = begin; e < end;) {
        const unsigned groupEnd = end - e > kGroup ? e + kGroup : end;
        if (groupEnd - e == kGroup) {
            unsigned marks = 0;
            for (unsigned i = e; i < groupEnd; ++i) {
                marks |= few.mark(ir[i]);
            }
            if (marks == 0) {
                e = groupEnd;
                continue;
            }
        }
        for (; e < groupEnd; ++e) {
            if (few.mayHave(ir[e])) {
                found[count++] = e;
            }
        }
    }
    return count;
}

} // namespace zqsp::portable
