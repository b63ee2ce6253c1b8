#include "kernels/portable.hpp"

namespace zqsp::portable {

namespace {

bool has(const RowWord* rows, unsigned row)
{
    return rows[row / RowWord::kBits].has(row);
}

} // namespace

/// Groups of eight, most of which have none: a branch for all of them is seldom taken.
unsigned siftRows(const RowWord* rows, const FewRows* /*few*/, const unsigned* ir, unsigned begin, unsigned end,
                  unsigned* found)
{
    constexpr unsigned kGroup = 8;
    unsigned count = 0;
    for (unsigned e = begin; e < end;) {
        const unsigned groupEnd = end - e > kGroup ? e + kGroup : end;
        if (groupEnd - e == kGroup) {
            bool any = false;
            for (unsigned i = e; i < groupEnd; ++i) {
                any |= has(rows, ir[i]);
            }
            if (!any) {
                e = groupEnd;
                continue;
            }
        }
        for (; e < groupEnd; ++e) {
            if (has(rows, ir[e])) {
                found[count++] = e;
            }
        }
    }
    return count;
}

} // namespace zqsp::portable
