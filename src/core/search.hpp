// Searching the sorted rows of a column: the binary search, and the gallop for ascending keys. (Many searches at a
// time: lookup/place_search.hpp.)
#ifndef ZQSP_CORE_SEARCH_HPP
#define ZQSP_CORE_SEARCH_HPP

#include "kernels/branch_free.hpp"
#include "kernels/compare_rows.hpp"

#include <algorithm>

namespace zqsp {

/// First position in [lo, hi) whose value is not below `key`; hi when there is none. `sorted` is anything that gives an
/// ascending value for an index. The interval is halved without a branch on the outcome, which a random key would make
/// unpredictable.
template <typename Sorted>
unsigned lowerBound(const Sorted& sorted, unsigned lo, unsigned hi, unsigned key)
{
    unsigned length = hi - lo;
    while (length > 1) {
        const unsigned half = length / 2;
        lo += valueIf(sorted[lo + half - 1] < key, half);
        length -= half;
    }
    return lo + (length == 1 && sorted[lo] < key ? 1U : 0U);
}

/// lowerBound() where the answer is expected near `lo`: doubling steps, then the binary search between the last two.
/// Costs the logarithm of the distance moved (Bentley and Yao, 1976).
template <typename Sorted>
unsigned gallop(const Sorted& sorted, unsigned lo, unsigned hi, unsigned key)
{
    unsigned step = 1;
    while (hi - lo > step && sorted[lo + step - 1] < key) {
        lo += step;
        step *= 2;
    }
    const unsigned reach = hi - lo < step ? hi : lo + step;
    return lowerBound(sorted, lo, reach, key);
}

/// The same for an answer expected within the next few rows, which are compared at once.
[[gnu::noinline]] inline unsigned gallopNear(const unsigned* rows, unsigned lo, unsigned hi, unsigned key)
{
    for (unsigned tries = 0; tries < 2 && hi - lo >= kComparedRows; ++tries) {
        const unsigned rank = rankAmong(rows + lo, kComparedRows, key);
        lo += rank;
        if (rank < kComparedRows) {
            return lo;
        }
    }
    return gallop(rows, lo, hi, key);
}

/// A slot of a column: where `row` is stored, or where it would be inserted.
struct Slot
{
    unsigned position;
    bool stored;
};

inline Slot findRow(const unsigned* ir, unsigned begin, unsigned end, unsigned row)
{
    const unsigned position = lowerBound(ir, begin, end, row);
    return {position, position < end && ir[position] == row};
}

} // namespace zqsp

#endif
