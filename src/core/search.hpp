// Searching the sorted rows of a column: the one binary search, and the gallop for ascending keys.
#ifndef ZQSP_CORE_SEARCH_HPP
#define ZQSP_CORE_SEARCH_HPP

namespace zqsp {

/// `value` where the condition holds, else 0, by a mask: of `condition ? value : 0`, compilers make a branch.
constexpr unsigned valueIf(bool condition, unsigned value)
{
    return value & (0U - static_cast<unsigned>(condition));
}

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

/// The same where the answer is expected near `lo`: doubling steps, then the binary search between the last two.
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
